// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace recorder::csv {

// The usual alphabet with padding, without line ends.
void appendBase64(std::string& out, std::string_view bytes);
// False for a text that is not exactly such; `bytes` is then of no use.
bool fromBase64(std::string_view text, std::string& bytes);

} // namespace recorder::csv
