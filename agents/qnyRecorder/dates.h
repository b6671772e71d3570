// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace recorder {

// Dates are kept as microseconds since 1970 UTC; these are the texts that others see.

// "yyyy-MM-dd HH:mm:ss.zzz" in local time: what the records list holds.
std::string toListDate(std::int64_t epochUs);
// "yyyy-MM-ddTHH:mm:ss.uuuuuuZ": exact and independent of the machine's time zone; what CSV files hold.
std::string toCsvDate(std::int64_t epochUs);
// Accepts both forms above, blanks around them, an offset such as +02:00 instead of Z, and up to six decimals.
// False when the text is no such date.
bool fromDateText(std::string_view text, std::int64_t& epochUs);
// The present, on the system clock.
std::int64_t nowEpochUs();

// The moment so many microseconds into a record. Those beyond what a number holds are cut there: files say what they
// like.
std::int64_t momentOf(std::int64_t startUs, std::int64_t timeUs);

} // namespace recorder
