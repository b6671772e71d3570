// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>

#include <QString>

namespace recorder {

/// How late the publications of a replay were: a histogram of fixed size, exact to about 3 %, whatever their number.
class LatenessStatistics
{
public:
    void add(int64_t latenessNs);
    void clear() { *this = LatenessStatistics(); }

    uint64_t count() const { return _count; }
    int64_t maximumNs() const { return _maximumNs; }
    /// The lateness that the given share (0 to 1) of the publications did not exceed; 0 without any.
    int64_t quantileNs(double share) const;
    /// "1000 publications, late by 0.062 ms (median), 0.110 ms (99 %), 0.301 ms (most)".
    QString summary() const;

private:
    static constexpr unsigned SUB_BITS = 5; // 32 steps to each power of two
    static unsigned bucketOf(uint64_t value);
    static uint64_t upperBoundOf(unsigned bucket);

    std::array<uint64_t, (64 - SUB_BITS + 1) << SUB_BITS> _buckets {};
    uint64_t _count = 0;
    int64_t _maximumNs = 0;
};

} // namespace recorder
