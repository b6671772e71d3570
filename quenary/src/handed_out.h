// SPDX-License-Identifier: Apache-2.0
// Memory that callers own and give back with qny_free().
#pragma once

#include <cstdlib>
#include <cstring>
#include <new>
#include <string_view>

namespace qny {

inline void* allocate(size_t size)
{
    void* memory = std::malloc(size > 0 ? size : 1); // NOLINT: freed by C callers
    if (!memory) {
        throw std::bad_alloc();
    }
    return memory;
}

inline char* duplicate(std::string_view text)
{
    auto* copy = static_cast<char*>(allocate(text.size() + 1));
    if (!text.empty()) {
        std::memcpy(copy, text.data(), text.size());
    }
    copy[text.size()] = '\0';
    return copy;
}

} // namespace qny
