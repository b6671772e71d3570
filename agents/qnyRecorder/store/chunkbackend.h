// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "store.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace recorder {

// What a database offers for one record so that the common reader, cursor and writer of chunks work on it. Every key is
// given by the caller and determines the row, so that any write may be sent again.

// A row of the table of chunks, without the packed bytes.
struct ChunkInfo
{
    std::uint64_t sequence = 0; // 0, 1, 2, … in the order of arrival
    std::int32_t bucket = 0; // runs of chunks; a partition in databases that have such
    std::int64_t firstUs = 0; // least and greatest time in it; chunks may overlap in time
    std::int64_t lastUs = 0;
    std::uint32_t count = 0;
};

struct ChunkRow
{
    ChunkInfo info;
    std::string packed; // ChunkKind::Events
};

// The last value of every output over the chunks before `throughSequence`.
struct StoredState
{
    std::uint64_t throughSequence = 0;
    std::int64_t timeUs = 0; // greatest time of those chunks: right for every moment after it until the next chunk
    std::string packed; // ChunkKind::State
};

struct DefinitionRow
{
    std::uint32_t ordinal = 0; // order of first appearance; the key is the agent
    AgentDefinition definition;
};

struct InitialRow
{
    std::uint32_t ordinal = 0; // the key is agent and output
    OutputValue initial;
};

// What the record's own row says about its chunks. Stored together with them, so that it is true after any crash.
struct Extent
{
    std::int64_t durationUs = 0;
    std::uint64_t events = 0;
    std::uint64_t nextSequence = 0;
    std::int32_t bucket = 0;
    std::int64_t highUs = 0; // greatest time stored
    std::int64_t maxSpanUs = 0; // greatest (last - first) of a chunk
    std::int64_t maxLateUs = 0; // how far a chunk's first time ever lay behind highUs of the chunks before it
};

enum class RecordState
{
    Recording = 0, // has no end yet; repaired when its owner dies
    Whole = 1 // as far as it goes
};

// What one call of the writer brings into the store: all of it or nothing.
struct Batch
{
    std::vector<ChunkRow> chunks;
    std::vector<DefinitionRow> definitions;
    std::vector<InitialRow> initials;
    std::vector<StoredState> states;
    std::optional<RecordFacts> facts; // name, description, start; sent when they changed
    std::optional<std::string> completeness; // JSON …
    std::uint64_t completenessThrough = 0; // … over the chunks before this one
    Extent extent;
    RecordState recordState = RecordState::Recording;
    bool listChanged = false; // the list of records looks different after this batch
    bool last = false; // the writer gives up ownership
};

class ChunkSink
{
public:
    virtual ~ChunkSink() = default;
    virtual StoreResult write(const Batch& batch) = 0;
    // The writer ends although its last batch could not be stored: the store closes the record when it can again.
    virtual void abandon(const Batch& last) = 0;
};

class ChunkBackend
{
public:
    virtual ~ChunkBackend() = default;
    // Chunks that come after (firstUs, sequence) in the order of these two, begin at mostFirstUs at the latest and end
    // at leastLastUs at the earliest; `most` of them.
    virtual StoreResult chunksAfter(std::int64_t firstUs, std::uint64_t sequence, std::int64_t mostFirstUs,
        std::int64_t leastLastUs, std::size_t most, std::vector<ChunkInfo>& chunks)
        = 0;
    // Damaged: this chunk alone cannot be had.
    virtual StoreResult load(const ChunkInfo& chunk, std::string& packed) = 0;
    // The latest state of timeUs or before; found is false when there is none.
    virtual StoreResult stateUpTo(std::int64_t timeUs, StoredState& state, bool& found) = 0;
    virtual StoreResult extent(Extent& extent) = 0;
};

} // namespace recorder
