// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace recorder {

// When a chunk is closed and when closed chunks are stored.
struct ChunkingOptions
{
    std::uint32_t chunkBytes = 32 * 1024; // closed at this size …
    std::int64_t chunkAgeUs = 250'000; // … or this long after its first event came
    std::uint32_t batchBytes = 512 * 1024; // closed chunks wait for this much, never beyond the age
    std::uint64_t pendingBytes
        = 64 * 1024 * 1024; // kept for a store that fails; beyond it events are lost, and counted
    std::int64_t stateIntervalUs = 5'000'000; // between two stored states
    std::uint32_t bucketChunks = 50'000; // a bucket ends at this many chunks …
    std::uint64_t bucketBytes = 32 * 1024 * 1024; // … or bytes …
    std::int64_t bucketAgeUs = 600'000'000; // … or time in the record
};

} // namespace recorder
