// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

// What the system tells of a process.
namespace recorder::bench {

// Of a process, all its threads.
double processorSeconds(std::int64_t processId);
// The memory it holds, in KiB.
long memoryKiB(std::int64_t processId);
// The most memory it held since it began, or since forgetPeak(), in KiB.
long peakKiB(std::int64_t processId);
void forgetPeak(std::int64_t processId);

} // namespace recorder::bench
