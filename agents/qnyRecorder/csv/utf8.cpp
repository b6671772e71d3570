// SPDX-License-Identifier: Apache-2.0
#include "utf8.h"

#include <cstdint>
#include <cstring>

namespace recorder::csv {

namespace {

// Length of the character that a byte begins, 0 for bytes that begin none.
std::size_t lengthFrom(unsigned char first)
{
    if (first < 0x80) {
        return 1;
    }
    if (first >= 0xC2 && first <= 0xDF) {
        return 2;
    }
    if (first >= 0xE0 && first <= 0xEF) {
        return 3;
    }
    return first >= 0xF0 && first <= 0xF4 ? 4 : 0;
}

// The second byte rules out overlong forms, surrogates and what lies beyond the last character.
bool isSecond(unsigned char first, unsigned char second)
{
    switch (first) {
    case 0xE0:
        return second >= 0xA0 && second <= 0xBF;
    case 0xED:
        return second >= 0x80 && second <= 0x9F;
    case 0xF0:
        return second >= 0x90 && second <= 0xBF;
    case 0xF4:
        return second >= 0x80 && second <= 0x8F;
    default:
        return (second & 0xC0) == 0x80;
    }
}

} // namespace

bool isUtf8(std::string_view bytes)
{
    const auto at = [&](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
    std::size_t i = 0;
    while (i < bytes.size()) {
        std::uint64_t eight = 0;
        if (i + sizeof(eight) <= bytes.size()) {
            std::memcpy(&eight, bytes.data() + i, sizeof(eight));
            if ((eight & 0x8080808080808080U) == 0) {
                i += sizeof(eight);
                continue;
            }
        }
        const std::size_t length = lengthFrom(at(i));
        if (length == 0 || i + length > bytes.size() || (length > 1 && !isSecond(at(i), at(i + 1)))) {
            return false;
        }
        for (std::size_t k = 2; k < length; ++k) {
            if ((at(i + k) & 0xC0) != 0x80) {
                return false;
            }
        }
        i += length;
    }
    return true;
}

bool isText(std::string_view bytes)
{
    return bytes.find('\0') == std::string_view::npos && isUtf8(bytes);
}

} // namespace recorder::csv
