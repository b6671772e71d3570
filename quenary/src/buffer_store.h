// SPDX-License-Identifier: Apache-2.0
// Long buffers that were used and are used again: memory that is fresh from the system costs more than what is written
// into it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

namespace qny {

// Every function from any thread.
class BufferStore
{
public:
    // Shorter ones are not worth the trouble.
    static constexpr size_t leastBytes = 64 * 1024;
    // All that it keeps, together.
    static constexpr size_t mostBytes = 8 * 1024 * 1024;

    // Empty, with room for so many bytes.
    std::string take(size_t bytes);
    void give(std::string buffer);
    // To be called now and then: gives back to the system what nobody has taken since the last time.
    void shrink();
    size_t keptBytes() const;

private:
    mutable std::mutex m_mutex;
    std::vector<std::string> m_free; // the last given is taken first
    size_t m_bytes = 0;
    size_t m_idle = 0; // how many of the first were not taken since the last shrink()
};

} // namespace qny
