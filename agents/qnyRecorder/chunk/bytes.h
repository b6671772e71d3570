// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>

namespace recorder {

// Numbers and texts in packed bytes, as docs/packed-chunk.md describes them.

// ---- writing

template <typename Number> void putLittle(std::string& out, Number number)
{
    using Unsigned = std::make_unsigned_t<Number>;
    auto rest = static_cast<std::uint64_t>(static_cast<Unsigned>(number));
    for (std::size_t i = 0; i < sizeof(Number); ++i, rest >>= 8) {
        out += static_cast<char>(rest & 0xFF);
    }
}

inline void putVarint(std::string& out, std::uint64_t number)
{
    while (number >= 0x80) {
        out += static_cast<char>(number | 0x80);
        number >>= 7;
    }
    out += static_cast<char>(number);
}

// Small magnitudes of either sign become small numbers.
inline std::uint64_t zigzag(std::int64_t number)
{
    return (static_cast<std::uint64_t>(number) << 1) ^ static_cast<std::uint64_t>(number >> 63);
}

inline std::int64_t unzigzag(std::uint64_t number)
{
    return static_cast<std::int64_t>(number >> 1) ^ -static_cast<std::int64_t>(number & 1);
}

inline void putBytes(std::string& out, std::string_view bytes)
{
    putVarint(out, bytes.size());
    out += bytes;
}

// ---- reading

// Takes numbers and bytes off the front; after a failure everything fails.
class Taker
{
public:
    explicit Taker(std::string_view bytes)
        : m_bytes(bytes)
    {
    }

    bool isGood() const { return m_good; }
    void fail() { m_good = false; }
    bool isAtEnd() const { return m_bytes.empty(); }
    std::size_t left() const { return m_bytes.size(); }

    template <typename Number> Number little()
    {
        if (!has(sizeof(Number))) {
            return 0;
        }
        std::uint64_t number = 0;
        for (std::size_t i = 0; i < sizeof(Number); ++i) {
            number |= static_cast<std::uint64_t>(static_cast<unsigned char>(m_bytes[i])) << (8 * i);
        }
        m_bytes.remove_prefix(sizeof(Number));
        return static_cast<Number>(number);
    }

    std::uint64_t varint()
    {
        std::uint64_t number = 0;
        for (unsigned shift = 0; shift < 64; shift += 7) {
            if (!has(1)) {
                return 0;
            }
            const auto byte = static_cast<unsigned char>(m_bytes.front());
            m_bytes.remove_prefix(1);
            number |= static_cast<std::uint64_t>(byte & 0x7F) << shift;
            if (!(byte & 0x80)) {
                return number;
            }
        }
        m_good = false;
        return 0;
    }

    std::string_view bytes()
    {
        const std::uint64_t size = varint();
        if (!has(size)) {
            return {};
        }
        const std::string_view taken = m_bytes.substr(0, static_cast<std::size_t>(size));
        m_bytes.remove_prefix(static_cast<std::size_t>(size));
        return taken;
    }

private:
    bool has(std::uint64_t size)
    {
        m_good = m_good && m_bytes.size() >= size;
        return m_good;
    }

    std::string_view m_bytes;
    bool m_good = true;
};

} // namespace recorder
