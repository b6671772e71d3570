// SPDX-License-Identifier: Apache-2.0
#include "lateness.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace recorder {

unsigned LatenessStatistics::bucketOf(uint64_t value)
{
    if (value < (1U << SUB_BITS)) {
        return static_cast<unsigned>(value);
    }
    const auto exponent = static_cast<unsigned>(std::bit_width(value)) - 1 - SUB_BITS;
    const auto step = static_cast<unsigned>(value >> exponent) - (1U << SUB_BITS);
    return ((exponent + 1) << SUB_BITS) + step;
}

uint64_t LatenessStatistics::upperBoundOf(unsigned bucket)
{
    if (bucket < (1U << SUB_BITS)) {
        return bucket;
    }
    const unsigned exponent = (bucket >> SUB_BITS) - 1;
    const uint64_t step = (bucket & ((1U << SUB_BITS) - 1)) + (1U << SUB_BITS);
    return ((step + 1) << exponent) - 1;
}

void LatenessStatistics::add(int64_t latenessNs)
{
    const int64_t late = std::max<int64_t>(0, latenessNs);
    ++_buckets[bucketOf(static_cast<uint64_t>(late))];
    ++_count;
    _maximumNs = std::max(_maximumNs, late);
}

int64_t LatenessStatistics::quantileNs(double share) const
{
    if (_count == 0) {
        return 0;
    }
    const auto wanted = std::max<uint64_t>(1, static_cast<uint64_t>(std::ceil(share * static_cast<double>(_count))));
    uint64_t seen = 0;
    for (unsigned i = 0; i < _buckets.size(); ++i) {
        seen += _buckets[i];
        if (seen >= wanted) {
            return std::min(static_cast<int64_t>(upperBoundOf(i)), _maximumNs);
        }
    }
    return _maximumNs;
}

QString LatenessStatistics::summary() const
{
    const auto ms = [](int64_t ns) { return QString::number(static_cast<double>(ns) / 1e6, 'f', 3); };
    return QStringLiteral("%1 publications, late by %2 ms (median), %3 ms (99 %), %4 ms (most)")
        .arg(QString::number(_count), ms(quantileNs(0.5)), ms(quantileNs(0.99)), ms(_maximumNs));
}

} // namespace recorder
