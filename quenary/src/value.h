// SPDX-License-Identifier: Apache-2.0
// Values as they are kept and sent: the type and its bytes, little-endian, a string with its final zero byte.
#pragma once

#include "quenary.h"

#include <bit>
#include <optional>
#include <string>
#include <string_view>

static_assert(std::endian::native == std::endian::little, "values are kept as they are sent, which is little-endian");

namespace qny {

struct Value
{
    qny_value_type_t type = QNY_UNKNOWN_T;
    std::string bytes;
};

bool isValueType(int type);

// Looks at what a caller handed in, where it is. A failure has its sentence in qny_last_error().
qny_result_t readValue(qny_value_type_t type, const void* value, size_t size, std::string_view& into);
// The same, kept.
qny_result_t readValue(qny_value_type_t type, const void* value, size_t size, Value& into);

// Why these bytes cannot be a value of the type, or null when they can.
const char* bytesProblem(qny_value_type_t type, std::string_view bytes);

// The same value as another type, if it is one: see the header on mappings.
std::optional<Value> convert(qny_value_type_t from, std::string_view bytes, qny_value_type_t to);

// Scalars out of bytes that may lie unaligned in a message.
template <typename T> T scalar(std::string_view bytes)
{
    T value {};
    bytes.copy(reinterpret_cast<char*>(&value), sizeof value);
    return value;
}

} // namespace qny
