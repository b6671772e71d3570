// SPDX-License-Identifier: Apache-2.0
// A machine that has far too much to do lets every process wait for its turn. Whoever waits long himself gives the
// others more time: to take them for gone, and to begin anew with each, would be still more to do.
#pragma once

#include <algorithm>
#include <cstdint>
#include <utility>

namespace qny {

class Lateness
{
public:
    // So long passed between two looks of the network thread, which looks ten times a second by itself.
    void note(int64_t now, int64_t milliseconds)
    {
        if (now >= m_nextPeriod) {
            m_before = std::exchange(m_second, 0);
            m_longest = 0;
            m_nextPeriod = now + periodMilliseconds;
        }
        m_second = std::max(m_second, std::min(milliseconds, m_longest));
        m_longest = std::max(m_longest, milliseconds);
    }
    // How much longer than usual others may be silent.
    int64_t allowance() const
    {
        const int64_t late = std::max(m_second, m_before);
        return late < lateMilliseconds ? 0 : std::min(turns * late, mostMilliseconds);
    }

private:
    static constexpr int64_t periodMilliseconds = 15'000;
    static constexpr int64_t lateMilliseconds = 400;
    // What the other says is on its way through as many threads.
    static constexpr int64_t turns = 4;
    static constexpr int64_t mostMilliseconds = 16'000;

    // Once is not often: a process that was frozen, or a machine that slept, is in time again at once.
    int64_t m_longest = 0; // in this period
    int64_t m_second = 0; // the second longest
    int64_t m_before = 0; // of the last period
    int64_t m_nextPeriod = 0;
};

} // namespace qny
