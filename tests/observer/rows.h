// SPDX-License-Identifier: Apache-2.0
#ifndef TESTS_OBSERVER_ROWS_H
#define TESTS_OBSERVER_ROWS_H

#include <quenary.h>

#include <optional>
#include <string>
#include <string_view>

// What --map asks for: AGENT/OUTPUT/TYPE, for no name may hold a slash.
struct MapRequest
{
    std::string agent;
    std::string output;
    qny_value_type_t type = QNY_UNKNOWN_T;
};

// Nothing when the text has not three parts or the type is unknown.
std::optional<MapRequest> parseMapRequest(std::string_view text);

// agent;output;sequence;time_us;received_us;type;value;stand_in;last_value;lost and a line feed. Doubles in the
// shortest form that reads back the same, data in base64, an impulse empty; a field is quoted where it must be.
std::string rowOf(const qny_publication_t& publication);

#endif
