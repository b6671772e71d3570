// SPDX-License-Identifier: Apache-2.0
#include "buffer_store.h"

#include <algorithm>
#include <iterator>

namespace qny {

std::string BufferStore::take(size_t bytes)
{
    std::string buffer;
    if (bytes >= leastBytes) {
        const std::lock_guard lock(m_mutex);
        const auto fits = [bytes](const std::string& each) { return each.capacity() >= bytes; };
        const auto it = std::find_if(m_free.rbegin(), m_free.rend(), fits);
        if (it != m_free.rend()) {
            buffer = std::move(*it);
            m_bytes -= buffer.capacity();
            const auto next = m_free.erase(std::next(it).base());
            m_idle -= static_cast<size_t>(next - m_free.begin()) < m_idle ? 1 : 0;
        }
    }
    buffer.reserve(bytes);
    return buffer;
}

void BufferStore::give(std::string buffer)
{
    if (buffer.capacity() < leastBytes) {
        return;
    }
    const std::lock_guard lock(m_mutex);
    if (m_bytes + buffer.capacity() <= mostBytes) {
        buffer.clear();
        m_bytes += buffer.capacity();
        m_free.push_back(std::move(buffer));
    }
}

size_t BufferStore::keptBytes() const
{
    const std::lock_guard lock(m_mutex);
    return m_bytes;
}

void BufferStore::shrink()
{
    std::vector<std::string> unused; // freed after the lock
    const std::lock_guard lock(m_mutex);
    const auto end = m_free.begin() + static_cast<std::ptrdiff_t>(m_idle);
    unused.assign(std::move_iterator(m_free.begin()), std::move_iterator(end));
    m_free.erase(m_free.begin(), end);
    for (const std::string& each : unused) {
        m_bytes -= each.capacity();
    }
    m_idle = m_free.size();
}

} // namespace qny
