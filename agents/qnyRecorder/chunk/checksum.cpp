// SPDX-License-Identifier: Apache-2.0
#include "checksum.h"

#include <array>
#include <cstring>
#ifdef __x86_64__
#include <nmmintrin.h>
#endif

namespace recorder {

namespace {

constexpr std::uint32_t polynomial = 0x82F63B78; // reflected
using Tables = std::array<std::array<std::uint32_t, 256>, 8>;

// Table k gives the effect of a byte that k more bytes follow, so that eight bytes go in one step.
constexpr Tables makeTables()
{
    Tables tables {};
    for (std::uint32_t byte = 0; byte < 256; ++byte) {
        std::uint32_t crc = byte;
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc >> 1) ^ ((crc & 1) ? polynomial : 0);
        }
        tables[0][byte] = crc;
    }
    for (std::size_t byte = 0; byte < 256; ++byte) {
        for (std::size_t k = 1; k < 8; ++k) {
            tables[k][byte] = (tables[k - 1][byte] >> 8) ^ tables[0][tables[k - 1][byte] & 0xFF];
        }
    }
    return tables;
}

constexpr Tables tables = makeTables();

std::uint32_t little32(const unsigned char* at)
{
    return static_cast<std::uint32_t>(at[0]) | static_cast<std::uint32_t>(at[1]) << 8
        | static_cast<std::uint32_t>(at[2]) << 16 | static_cast<std::uint32_t>(at[3]) << 24;
}

#ifdef __x86_64__
__attribute__((target("sse4.2"))) std::uint32_t crc32cByInstruction(std::string_view bytes, std::uint32_t start)
{
    std::uint64_t crc = ~start;
    const char* at = bytes.data();
    std::size_t left = bytes.size();
    for (; left >= 8; left -= 8, at += 8) {
        std::uint64_t eight = 0;
        std::memcpy(&eight, at, sizeof(eight));
        crc = _mm_crc32_u64(crc, eight);
    }
    auto rest = static_cast<std::uint32_t>(crc);
    for (; left > 0; --left, ++at) {
        rest = _mm_crc32_u8(rest, static_cast<unsigned char>(*at));
    }
    return ~rest;
}
#endif

} // namespace

std::uint32_t crc32cByTables(std::string_view bytes, std::uint32_t start)
{
    std::uint32_t crc = ~start;
    const auto* at = reinterpret_cast<const unsigned char*>(bytes.data());
    std::size_t left = bytes.size();
    for (; left >= 8; left -= 8, at += 8) {
        const std::uint32_t low = crc ^ little32(at);
        const std::uint32_t high = little32(at + 4);
        crc = tables[7][low & 0xFF] ^ tables[6][(low >> 8) & 0xFF] ^ tables[5][(low >> 16) & 0xFF]
            ^ tables[4][low >> 24] ^ tables[3][high & 0xFF] ^ tables[2][(high >> 8) & 0xFF]
            ^ tables[1][(high >> 16) & 0xFF] ^ tables[0][high >> 24];
    }
    for (; left > 0; --left, ++at) {
        crc = (crc >> 8) ^ tables[0][(crc ^ *at) & 0xFF];
    }
    return ~crc;
}

std::uint32_t crc32c(std::string_view bytes, std::uint32_t start)
{
#ifdef __x86_64__
    static const bool hasInstruction = __builtin_cpu_supports("sse4.2");
    if (hasInstruction) {
        return crc32cByInstruction(bytes, start);
    }
#endif
    return crc32cByTables(bytes, start);
}

} // namespace recorder
