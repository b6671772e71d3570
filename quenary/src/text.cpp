// SPDX-License-Identifier: Apache-2.0
#include "text.h"

#include <algorithm>
#include <random>
#include <sodium.h>
#include <sys/random.h>

namespace qny {

bool isUtf8(std::string_view text)
{
    const auto* at = reinterpret_cast<const unsigned char*>(text.data());
    const auto* const end = at + text.size();
    while (at < end) {
        if (*at < 0x80) {
            // Most of most texts: eight at a time.
            uint64_t eight = 0;
            if (end - at >= static_cast<std::ptrdiff_t>(sizeof eight)) {
                std::memcpy(&eight, at, sizeof eight);
                if ((eight & 0x8080808080808080U) == 0) {
                    at += sizeof eight;
                    continue;
                }
            }
            ++at;
            continue;
        }
        int following = 0;
        uint32_t code = 0;
        uint32_t least = 0;
        if ((*at & 0xE0) == 0xC0) {
            following = 1;
            code = *at & 0x1F;
            least = 0x80;
        } else if ((*at & 0xF0) == 0xE0) {
            following = 2;
            code = *at & 0x0F;
            least = 0x800;
        } else if ((*at & 0xF8) == 0xF0) {
            following = 3;
            code = *at & 0x07;
            least = 0x10000;
        } else {
            return false;
        }
        ++at;
        for (; following > 0; --following, ++at) {
            if (at == end || (*at & 0xC0) != 0x80) {
                return false;
            }
            code = (code << 6) | (*at & 0x3FU);
        }
        if (code < least || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) {
            return false;
        }
    }
    return true;
}

bool hasControl(std::string_view text)
{
    for (size_t i = 0; i < text.size(); ++i) {
        const auto c = static_cast<unsigned char>(text[i]);
        if (c < 0x20 || c == 0x7F) {
            return true;
        }
        if (c == 0xC2 && i + 1 < text.size() && static_cast<unsigned char>(text[i + 1]) < 0xA0) {
            return true;
        }
    }
    return false;
}

namespace {

bool isBlank(char c)
{
    return c == ' ' || c == '\t';
}

// Blanks of Unicode that a hand may paste and an eye does not see at the end of a name.
bool blankAtEnd(std::string_view text)
{
    static constexpr std::string_view wide[] = { "\u00A0", "\u1680", "\u2000", "\u2001", "\u2002", "\u2003", "\u2004",
        "\u2005", "\u2006", "\u2007", "\u2008", "\u2009", "\u200A", "\u2028", "\u2029", "\u202F", "\u205F", "\u3000" };
    if (isBlank(text.front()) || isBlank(text.back())) {
        return true;
    }
    const auto isAscii = [](char c) { return static_cast<unsigned char>(c) < 0x80; };
    if (isAscii(text.front()) && isAscii(text.back())) {
        return false;
    }
    return std::ranges::any_of(
        wide, [text](std::string_view blank) { return text.starts_with(blank) || text.ends_with(blank); });
}

} // namespace

std::string nameProblem(std::string_view name, bool ofAgent)
{
    if (name.empty()) {
        return "a name must not be empty";
    }
    if (name.size() > maxNameBytes) {
        return "a name must not be longer than 255 bytes, this one has " + std::to_string(name.size());
    }
    if (!isUtf8(name)) {
        return "a name must be valid UTF-8";
    }
    const auto quoted = [name](const std::string& what) { return "the name '" + std::string(name) + "' " + what; };
    if (hasControl(name)) {
        return "a name must not hold control characters";
    }
    if (const size_t at = name.find_first_of("\"\\/*?"); at != std::string_view::npos) {
        return quoted(std::string("must not hold the character ") + name[at]);
    }
    if (ofAgent && name.find('#') != std::string_view::npos) {
        return quoted("of an agent must not hold the character #");
    }
    if (name.front() == '-') {
        return quoted("must not begin with -");
    }
    if (blankAtEnd(name)) {
        return quoted("must not begin or end with a blank");
    }
    return {};
}

namespace {

void fillRandom(void* memory, size_t size)
{
    auto* bytes = static_cast<unsigned char*>(memory);
    size_t done = 0;
    while (done < size) {
        const ssize_t got = getrandom(bytes + done, size - done, 0);
        if (got > 0) {
            done += static_cast<size_t>(got);
        } else if (errno != EINTR) {
            // No such system call here: the standard library has its own source.
            static thread_local std::random_device device;
            for (; done < size; ++done) {
                bytes[done] = static_cast<unsigned char>(device());
            }
        }
    }
}

int hexDigit(char c)
{
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    if (c >= 'a' && c <= 'f') {
        return c - 'a' + 10;
    }
    if (c >= 'A' && c <= 'F') {
        return c - 'A' + 10;
    }
    return -1;
}

} // namespace

uint64_t randomNumber()
{
    uint64_t number = 0;
    fillRandom(&number, sizeof number);
    return number;
}

size_t hashOf(const void* bytes, size_t size)
{
    using Key = std::array<unsigned char, crypto_shorthash_KEYBYTES>;
    static const Key key = [] {
        Key made {};
        fillRandom(made.data(), made.size());
        return made;
    }();
    size_t hash = 0;
    static_assert(sizeof hash == crypto_shorthash_BYTES);
    crypto_shorthash(
        reinterpret_cast<unsigned char*>(&hash), static_cast<const unsigned char*>(bytes), size, key.data());
    return hash;
}

Uuid newUuid()
{
    Uuid uuid;
    fillRandom(uuid.data(), uuid.size());
    return asUuid(uuid);
}

Uuid asUuid(Uuid uuid)
{
    uuid[6] = static_cast<uint8_t>((uuid[6] & 0x0F) | 0x40);
    uuid[8] = static_cast<uint8_t>((uuid[8] & 0x3F) | 0x80);
    return uuid;
}

std::string toText(const Uuid& uuid)
{
    static constexpr char digits[] = "0123456789abcdef";
    std::string text;
    text.reserve(36);
    for (size_t i = 0; i < uuid.size(); ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10) {
            text += '-';
        }
        text += digits[uuid[i] >> 4];
        text += digits[uuid[i] & 0x0F];
    }
    return text;
}

std::optional<Uuid> uuidFromText(std::string_view text)
{
    if (text.size() != 36) {
        return std::nullopt;
    }
    Uuid uuid {};
    size_t at = 0;
    for (size_t i = 0; i < uuid.size(); ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10) {
            if (text[at++] != '-') {
                return std::nullopt;
            }
        }
        const int high = hexDigit(text[at++]);
        const int low = hexDigit(text[at++]);
        if (high < 0 || low < 0) {
            return std::nullopt;
        }
        uuid[i] = static_cast<uint8_t>(high * 16 + low);
    }
    return uuid;
}

} // namespace qny
