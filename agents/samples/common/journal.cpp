// SPDX-License-Identifier: Apache-2.0
#include "journal.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstring>

namespace samples {

namespace {

std::string shortestDouble(double number)
{
    // The sign of a nan carries nothing, and is not written.
    if (std::isnan(number)) {
        return "nan";
    }
    std::array<char, 32> text {};
    const auto result = std::to_chars(text.data(), text.data() + text.size(), number);
    return { text.data(), result.ptr };
}

std::string base64(const unsigned char* bytes, std::size_t size)
{
    static constexpr char digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    text.reserve((size + 2) / 3 * 4);
    for (std::size_t index = 0; index < size; index += 3) {
        const std::size_t left = size - index;
        const unsigned group = (static_cast<unsigned>(bytes[index]) << 16U)
            | (left > 1 ? static_cast<unsigned>(bytes[index + 1]) << 8U : 0U)
            | (left > 2 ? static_cast<unsigned>(bytes[index + 2]) : 0U);
        text += digits[group >> 18U];
        text += digits[(group >> 12U) & 63U];
        text += left > 1 ? digits[(group >> 6U) & 63U] : '=';
        text += left > 2 ? digits[group & 63U] : '=';
    }
    return text;
}

} // namespace

std::string quoted(std::string_view field)
{
    if (!field.empty() && field.find_first_of(";\"\r\n") == std::string_view::npos) {
        return std::string(field);
    }
    std::string text = "\"";
    for (const char c : field) {
        text += c;
        if (c == '"') {
            text += c;
        }
    }
    return text + "\"";
}

std::string encodedValue(qny_value_type_t type, const void* value, std::size_t size)
{
    switch (type) {
    case QNY_BOOL_T:
        return *static_cast<const bool*>(value) ? "true" : "false";
    case QNY_INTEGER_T:
        return std::to_string(*static_cast<const std::int32_t*>(value));
    case QNY_DOUBLE_T:
        return shortestDouble(*static_cast<const double*>(value));
    case QNY_STRING_T:
        return quoted({ static_cast<const char*>(value), size > 0 ? size - 1 : 0 });
    case QNY_DATA_T:
        return base64(static_cast<const unsigned char*>(value), size);
    case QNY_IMPULSE_T:
    case QNY_UNKNOWN_T:
        break;
    }
    return {};
}

std::string journalLine(std::string_view agent, std::string_view output, std::uint64_t sequence, std::int64_t timeUs,
    qny_value_type_t type, const void* value, std::size_t size)
{
    std::string line = quoted(agent);
    line += ';';
    line += quoted(output);
    line += ';';
    line += std::to_string(sequence);
    line += ';';
    line += std::to_string(timeUs);
    line += ';';
    line += qny_value_type_text(type);
    line += ';';
    line += encodedValue(type, value, size);
    line += '\n';
    return line;
}

Journal::~Journal()
{
    if (_file) {
        std::fclose(_file);
    }
}

bool Journal::open(const std::string& path, std::string* error)
{
    _file = std::fopen(path.c_str(), "abe");
    if (!_file) {
        *error = std::strerror(errno);
    }
    return _file != nullptr;
}

void Journal::write(const std::string& line)
{
    if (_file && std::fwrite(line.data(), 1, line.size(), _file) != line.size()) {
        _isFailed = true;
    }
}

bool Journal::flush()
{
    if (_file && std::fflush(_file) != 0) {
        _isFailed = true;
    }
    return !_isFailed;
}

} // namespace samples
