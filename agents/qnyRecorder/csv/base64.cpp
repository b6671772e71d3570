// SPDX-License-Identifier: Apache-2.0
#include "base64.h"

#include <array>
#include <cstdint>

namespace recorder::csv {

namespace {

constexpr std::string_view letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

constexpr std::array<std::uint8_t, 256> makeNumbers()
{
    std::array<std::uint8_t, 256> numbers {};
    numbers.fill(0xFF);
    for (std::size_t i = 0; i < letters.size(); ++i) {
        numbers[static_cast<unsigned char>(letters[i])] = static_cast<std::uint8_t>(i);
    }
    return numbers;
}

constexpr auto numbers = makeNumbers();

} // namespace

void appendBase64(std::string& out, std::string_view bytes)
{
    out.reserve(out.size() + (bytes.size() + 2) / 3 * 4);
    const auto byte = [&](std::size_t at) {
        return at < bytes.size() ? static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[at])) : 0U;
    };
    for (std::size_t at = 0; at < bytes.size(); at += 3) {
        const std::uint32_t three = byte(at) << 16 | byte(at + 1) << 8 | byte(at + 2);
        out += letters[three >> 18];
        out += letters[(three >> 12) & 63];
        out += at + 1 < bytes.size() ? letters[(three >> 6) & 63] : '=';
        out += at + 2 < bytes.size() ? letters[three & 63] : '=';
    }
}

bool fromBase64(std::string_view text, std::string& bytes)
{
    bytes.clear();
    if (text.size() % 4 != 0) {
        return false;
    }
    std::size_t padding = 0;
    if (text.ends_with("==")) {
        padding = 2;
    } else if (text.ends_with("=")) {
        padding = 1;
    }
    bytes.reserve(text.size() / 4 * 3);
    for (std::size_t at = 0; at < text.size(); at += 4) {
        const std::size_t missing = at + 4 == text.size() ? padding : 0;
        std::uint32_t four = 0;
        for (std::size_t i = 0; i < 4; ++i) {
            const std::uint8_t number
                = i < 4 - missing ? numbers[static_cast<unsigned char>(text[at + i])] : std::uint8_t(0);
            if (number == 0xFF) {
                return false;
            }
            four = four << 6 | number;
        }
        bytes += static_cast<char>(four >> 16);
        if (missing < 2) {
            bytes += static_cast<char>((four >> 8) & 0xFF);
        }
        if (missing < 1) {
            bytes += static_cast<char>(four & 0xFF);
        }
        // Bits that say nothing must be zero: two texts never give the same bytes.
        if ((missing == 2 && (four & 0xFFFF) != 0) || (missing == 1 && (four & 0xFF) != 0)) {
            return false;
        }
    }
    return true;
}

} // namespace recorder::csv
