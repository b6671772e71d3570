// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../chunk/packedchunk.h"
#include "chunkbackend.h"
#include "tally.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <unordered_map>

namespace recorder {

// When a chunk is closed and when closed chunks are stored.
struct ChunkingOptions
{
    std::uint32_t chunkBytes = 32 * 1024; // closed at this size …
    std::int64_t chunkAgeUs = 250'000; // … or this long after its first event came
    std::uint32_t batchBytes = 512 * 1024; // closed chunks wait for this much, never beyond the age
    std::uint64_t pendingBytes
        = 64 * 1024 * 1024; // kept for a store that fails; beyond it events are lost, and counted
    std::int64_t retryUs = 250'000; // between two attempts at a store that fails
    std::int64_t stateIntervalUs = 5'000'000; // time in the record between two stored states …
    std::uint64_t stateIntervalBytes = 16 * 1024 * 1024; // … or that many bytes, never less than the state itself takes
    std::uint32_t bucketChunks = 50'000; // a bucket ends at this many chunks …
    std::uint64_t bucketBytes = 32 * 1024 * 1024; // … or bytes …
    std::int64_t bucketAgeUs = 600'000'000; // … or time in the record
};

// What a writer starts from: a new record's is empty, an imported one's is what the store holds.
struct WriterStart
{
    RecordFacts facts;
    Extent extent;
    std::vector<DefinitionRow> definitions;
    std::vector<InitialRow> initials;
    Tally tally;
    RecordState recordState = RecordState::Recording;
};

// Packs events into chunks and hands them to a database in batches; the same for every database of chunks.
class ChunkedWriter : public RecordWriter
{
public:
    ChunkedWriter(std::unique_ptr<ChunkSink> sink, const ChunkingOptions& options, WriterStart start);
    ~ChunkedWriter() override;

    const std::string& uuid() const override { return m_facts.uuid; }
    StoreResult define(std::string_view agent, std::string_view json) override;
    StoreResult setInitial(std::string_view agent, std::string_view output, const ValueView& value) override;
    StoreResult append(const EventView& event) override;
    void countLost(std::string_view agent, std::string_view output, LostIn where, std::uint64_t events) override;
    StoreResult tick(std::int64_t elapsedUs) override;
    StoreResult flush() override;
    RecordFacts facts() const override;
    StoreResult setFacts(const RecordFacts& facts) override;
    StoreResult settle() override;
    void dropUnstored() override;
    StoreResult close(std::int64_t durationUs) override;
    Completeness completeness() const override;
    void remark(std::string_view sentence) override { m_tally.remark(sentence); }
    std::int64_t lastEventUs() const override { return m_extent.highUs; }
    std::uint64_t eventsStored() const override { return m_storedExtent.events; }

private:
    using Clock = std::chrono::steady_clock;

    bool isImport() const { return m_facts.origin == RecordOrigin::Imported; }
    void touch();
    void closeChunk();
    void addState();
    void addCounts(RecordState recordState);
    StoreResult store(RecordState recordState, bool last);
    StoreResult storeLosses(const StoreResult& reason);
    StoreResult storeIfTime();
    void noteStored(RecordState recordState, bool last);
    void loseChunks();
    StoreResult refuseClosed() const;

    std::unique_ptr<ChunkSink> m_sink;
    ChunkingOptions m_options;
    RecordFacts m_facts;
    Tally m_tally;

    ChunkBuilder m_builder;
    std::vector<Tally::Output*> m_inChunk; // by the chunk's numbers

    // Everything that waits to be stored. Kept until the store has it.
    Batch m_batch;
    std::uint64_t m_batchBytes = 0;
    bool m_dirty = false;
    Clock::time_point m_dirtySince;

    Extent m_extent; // with everything packed so far
    Extent m_storedExtent;
    RecordState m_storedState;
    Clock::time_point m_storedAt;

    std::uint64_t m_bucketBytes = 0;
    std::uint32_t m_bucketChunks = 0;
    std::int64_t m_bucketFirstUs = 0;

    std::uint64_t m_bytesSinceState = 0;
    std::int64_t m_stateUs = 0;
    std::int64_t m_countsUs = 0;

    std::unordered_map<std::string, std::uint32_t> m_definitionOrdinals;
    std::unordered_map<std::string, std::uint32_t> m_initialOrdinals;
    std::vector<std::size_t> m_definitionAt; // by ordinal: where in the batch, if it is there
    std::vector<std::size_t> m_initialAt;

    StoreResult m_failure; // of the last attempt
    Clock::time_point m_failedAt;
    bool m_closed = false;
};

} // namespace recorder
