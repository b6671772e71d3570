// SPDX-License-Identifier: Apache-2.0
// The two that are compared: each is a pair of processes on the loopback device, of which the other one answers.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <sys/types.h>
#include <vector>

namespace bench {

using Clock = std::chrono::steady_clock;

inline double secondsSince(Clock::time_point begin)
{
    return std::chrono::duration<double>(Clock::now() - begin).count();
}

inline double median(std::vector<double> samples)
{
    std::ranges::sort(samples);
    return samples.empty() ? 0.0 : samples[samples.size() / 2];
}

class Side
{
public:
    virtual ~Side() = default;
    // Microseconds from a call of this many bytes until the same bytes are back: the median of so many.
    virtual double roundTrip(size_t bytes, int times) = 0;
    // Messages a second, one by one, until the other one has had all of them.
    virtual double throughput(size_t bytes, uint64_t count) = 0;
    // How many of them never arrived.
    virtual uint64_t lost() const { return 0; }
    // The process that answers.
    virtual pid_t other() const = 0;
};

// Each forks the other process off. Keys are made where `secured` says so.
std::unique_ptr<Side> startRawZmq(bool secured);
std::unique_ptr<Side> startQuenary(bool secured);

} // namespace bench
