// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace recorder::cassandra {

// Where this process runs and which it is: this boot of this machine, its space of process numbers, its number and when
// it was started. Empty where the system does not tell.
std::string placeOfThisProcess();

// Whether the process of that place ran on this machine and is gone: known at once, while a lease takes its time. False
// for processes elsewhere.
bool isKnownToBeGone(std::string_view place);

} // namespace recorder::cassandra
