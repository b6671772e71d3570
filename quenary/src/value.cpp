// SPDX-License-Identifier: Apache-2.0
#include "value.h"

#include "report.h"
#include "text.h"

#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

namespace qny {

bool isValueType(int type)
{
    return type >= QNY_IMPULSE_T && type <= QNY_DATA_T;
}

const char* bytesProblem(qny_value_type_t type, std::string_view bytes)
{
    switch (type) {
    case QNY_IMPULSE_T:
        return bytes.empty() ? nullptr : "an impulse has no value";
    case QNY_BOOL_T:
        return bytes.size() == 1 && static_cast<unsigned char>(bytes[0]) <= 1 ? nullptr : "a bool is one byte, 0 or 1";
    case QNY_INTEGER_T:
        return bytes.size() == sizeof(int32_t) ? nullptr : "an integer has 4 bytes";
    case QNY_DOUBLE_T:
        return bytes.size() == sizeof(double) ? nullptr : "a double has 8 bytes";
    case QNY_STRING_T:
        if (bytes.empty() || bytes.back() != '\0') {
            return "a string ends with a zero byte, which its size counts";
        }
        bytes.remove_suffix(1);
        if (bytes.find('\0') != std::string_view::npos) {
            return "a string holds no zero byte before its end";
        }
        return isUtf8(bytes) ? nullptr : "a string must be valid UTF-8";
    case QNY_DATA_T:
        return nullptr;
    case QNY_UNKNOWN_T:
        break;
    }
    return "there is no such type of value";
}

qny_result_t readValue(qny_value_type_t type, const void* value, size_t size, std::string_view& into)
{
    if (!isValueType(type)) {
        return fail(QNY_ERROR_ARGUMENT,
            "There is no type of value with the number " + std::to_string(static_cast<int>(type)) + ".");
    }
    into = {};
    if (type == QNY_IMPULSE_T) {
        return QNY_SUCCESS;
    }
    if (!value) {
        if (type == QNY_DATA_T && size == 0) {
            return QNY_SUCCESS;
        }
        return fail(QNY_ERROR_ARGUMENT, "The pointer to the value is null.");
    }
    if (type == QNY_BOOL_T && size == 1) {
        // Whatever byte a caller's bool is made of, it is sent as 0 or 1.
        unsigned char byte = 0;
        std::memcpy(&byte, value, 1);
        into = byte ? std::string_view("\1", 1) : std::string_view("\0", 1);
        return QNY_SUCCESS;
    }
    const std::string_view bytes(static_cast<const char*>(value), size);
    if (const char* problem = bytesProblem(type, bytes)) {
        const bool utf8
            = type == QNY_STRING_T && !bytes.empty() && bytes.back() == '\0' && bytes.find('\0') + 1 == bytes.size();
        return fail(utf8 ? QNY_ERROR_UTF8 : QNY_ERROR_ARGUMENT,
            std::string("The value does not fit its type: ") + problem + ".");
    }
    into = bytes;
    return QNY_SUCCESS;
}

qny_result_t readValue(qny_value_type_t type, const void* value, size_t size, Value& into)
{
    std::string_view bytes;
    const qny_result_t result = readValue(type, value, size, bytes);
    if (result == QNY_SUCCESS) {
        into.type = type;
        into.bytes.assign(bytes);
    }
    return result;
}

namespace {

template <typename T> Value fromScalar(qny_value_type_t type, T value)
{
    return { type, std::string(reinterpret_cast<const char*>(&value), sizeof value) };
}

Value fromText(std::string_view text)
{
    Value value { QNY_STRING_T, std::string(text) };
    value.bytes.push_back('\0');
    return value;
}

std::optional<Value> integerFromDouble(double number)
{
    const double rounded = std::trunc(number);
    if (!(rounded >= std::numeric_limits<int32_t>::min() && rounded <= std::numeric_limits<int32_t>::max())) {
        return std::nullopt;
    }
    return fromScalar(QNY_INTEGER_T, static_cast<int32_t>(rounded));
}

std::optional<double> numberFromText(std::string_view text)
{
    double number = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
    if (text.empty() || result.ec != std::errc() || result.ptr != text.data() + text.size()) {
        return std::nullopt;
    }
    return number;
}

std::optional<Value> boolFromText(std::string_view text)
{
    if (text == "true" || text == "1") {
        return fromScalar(QNY_BOOL_T, uint8_t { 1 });
    }
    if (text == "false" || text == "0") {
        return fromScalar(QNY_BOOL_T, uint8_t { 0 });
    }
    return std::nullopt;
}

std::string textOf(double number)
{
    char text[64];
    const auto result = std::to_chars(text, text + sizeof text, number);
    return { text, result.ptr };
}

} // namespace

std::optional<Value> convert(qny_value_type_t from, std::string_view bytes, qny_value_type_t to)
{
    if (from == to) {
        return Value { to, std::string(bytes) };
    }
    if (to == QNY_IMPULSE_T) {
        return Value { QNY_IMPULSE_T, {} };
    }
    const bool known = to == QNY_BOOL_T || to == QNY_INTEGER_T || to == QNY_DOUBLE_T || to == QNY_STRING_T;
    if (!known) {
        return std::nullopt;
    }
    switch (from) {
    case QNY_BOOL_T: {
        const bool value = bytes[0] != '\0';
        if (to == QNY_INTEGER_T) {
            return fromScalar(to, int32_t { value });
        }
        return to == QNY_DOUBLE_T ? fromScalar(to, value ? 1.0 : 0.0) : fromText(value ? "true" : "false");
    }
    case QNY_INTEGER_T: {
        const auto value = scalar<int32_t>(bytes);
        if (to == QNY_BOOL_T) {
            return fromScalar(to, static_cast<uint8_t>(value != 0));
        }
        return to == QNY_DOUBLE_T ? fromScalar(to, static_cast<double>(value)) : fromText(std::to_string(value));
    }
    case QNY_DOUBLE_T: {
        const auto value = scalar<double>(bytes);
        if (to == QNY_BOOL_T) {
            return std::isnan(value) ? std::nullopt : std::optional(fromScalar(to, static_cast<uint8_t>(value != 0.0)));
        }
        return to == QNY_INTEGER_T ? integerFromDouble(value) : std::optional(fromText(textOf(value)));
    }
    case QNY_STRING_T: {
        bytes.remove_suffix(1);
        if (to == QNY_BOOL_T) {
            return boolFromText(bytes);
        }
        const std::optional<double> number = numberFromText(bytes);
        if (!number) {
            return std::nullopt;
        }
        return to == QNY_INTEGER_T ? integerFromDouble(*number) : std::optional(fromScalar(QNY_DOUBLE_T, *number));
    }
    default:
        return std::nullopt;
    }
}

} // namespace qny
