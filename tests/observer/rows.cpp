// SPDX-License-Identifier: Apache-2.0
#include "rows.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstring>

namespace {

std::string quoted(std::string_view text)
{
    if (!text.empty() && text.find_first_of(";\"\r\n") == std::string_view::npos) {
        return std::string(text);
    }
    std::string field = "\"";
    for (const char character : text) {
        field += character;
        if (character == '"') {
            field += '"';
        }
    }
    return field + '"';
}

std::string shortest(double number)
{
    if (std::isnan(number)) {
        return "nan";
    }
    if (std::isinf(number)) {
        return number > 0 ? "inf" : "-inf";
    }
    std::array<char, 40> text {};
    const auto end = std::to_chars(text.data(), text.data() + text.size(), number).ptr;
    return std::string(text.data(), end);
}

std::string base64(const unsigned char* data, size_t size)
{
    static constexpr char alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    for (size_t at = 0; at < size; at += 3) {
        const unsigned second = at + 1 < size ? data[at + 1] : 0U;
        const unsigned third = at + 2 < size ? data[at + 2] : 0U;
        const unsigned group = static_cast<unsigned>(data[at]) << 16 | second << 8 | third;
        text += alphabet[group >> 18 & 63];
        text += alphabet[group >> 12 & 63];
        text += at + 1 < size ? alphabet[group >> 6 & 63] : '=';
        text += at + 2 < size ? alphabet[group & 63] : '=';
    }
    return text;
}

template <typename Value> Value copyOf(const void* value)
{
    Value copied {};
    std::memcpy(&copied, value, sizeof copied);
    return copied;
}

std::string valueOf(const qny_publication_t& publication)
{
    if (publication.value == nullptr) {
        return {};
    }
    switch (publication.type) {
    case QNY_BOOL_T:
        return copyOf<bool>(publication.value) ? "true" : "false";
    case QNY_INTEGER_T:
        return std::to_string(copyOf<int32_t>(publication.value));
    case QNY_DOUBLE_T:
        return shortest(copyOf<double>(publication.value));
    case QNY_STRING_T:
        return quoted(static_cast<const char*>(publication.value));
    case QNY_DATA_T:
        return base64(static_cast<const unsigned char*>(publication.value), publication.size);
    case QNY_IMPULSE_T:
    case QNY_UNKNOWN_T:
        break;
    }
    return {};
}

} // namespace

std::optional<MapRequest> parseMapRequest(std::string_view text)
{
    const size_t first = text.find('/');
    const size_t second = first == std::string_view::npos ? first : text.find('/', first + 1);
    if (second == std::string_view::npos || first == 0 || second == first + 1) {
        return std::nullopt;
    }
    MapRequest request { std::string(text.substr(0, first)), std::string(text.substr(first + 1, second - first - 1)),
        qny_value_type_from_text(std::string(text.substr(second + 1)).c_str()) };
    if (request.type == QNY_UNKNOWN_T) {
        return std::nullopt;
    }
    return request;
}

std::string rowOf(const qny_publication_t& publication)
{
    std::string row = quoted(publication.agent_name) + ';' + quoted(publication.output) + ';';
    row += std::to_string(publication.sequence) + ';' + std::to_string(publication.time_us) + ';';
    row += std::to_string(publication.received_us) + ';' + qny_value_type_text(publication.type) + ';';
    row += valueOf(publication) + ';' + (publication.stand_in ? '1' : '0') + ';' + (publication.last_value ? '1' : '0');
    return row + ';' + std::to_string(publication.lost) + '\n';
}
