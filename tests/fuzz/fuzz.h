// SPDX-License-Identifier: Apache-2.0
// What the targets share. Each is one program that gets bytes as a stranger may send them (scripts/fuzz), calls the
// very functions that read such bytes, and says with expect() what must hold of whatever they made of them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace fuzz {

// Ends the program, which the fuzzer takes for a finding.
inline void expect(bool holds, const char* what)
{
    if (!holds) {
        std::fprintf(stderr, "does not hold: %s\n", what);
        std::abort();
    }
}

inline std::string_view text(const uint8_t* data, size_t size)
{
    return { reinterpret_cast<const char*>(data), size };
}

// Takes what a target wants to choose off the front of its input. Past the end come zeros and empty texts.
class Input
{
public:
    Input(const uint8_t* data, size_t size)
        : m_rest(text(data, size))
    {
    }

    bool isEmpty() const { return m_rest.empty(); }
    std::string_view rest() const { return m_rest; }

    template <typename T> T number()
    {
        T value {};
        const std::string_view raw = take(sizeof value);
        std::memcpy(&value, raw.data(), raw.size());
        return value;
    }
    // One byte of length, and that many: short texts.
    std::string_view text8() { return take(number<uint8_t>()); }
    // Two bytes of length, and that many.
    std::string_view text16() { return take(number<uint16_t>()); }

private:
    std::string_view take(size_t size)
    {
        const std::string_view taken = m_rest.substr(0, size);
        m_rest.remove_prefix(taken.size());
        return taken;
    }
    static std::string_view text(const uint8_t* data, size_t size) { return fuzz::text(data, size); }

    std::string_view m_rest;
};

} // namespace fuzz
