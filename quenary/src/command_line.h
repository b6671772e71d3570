// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace qny {

// The arguments after the program name, with the values of the masked options replaced by "********".
std::vector<std::string> maskCommandLine(
    const std::vector<std::string>& arguments, const std::vector<std::string>& maskedOptions);

} // namespace qny
