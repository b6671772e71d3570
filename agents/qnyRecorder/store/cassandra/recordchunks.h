// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "rows.h"

#include <list>

namespace recorder::cassandra {

// Keeps a record from being deleted, here and by others, as long as it exists.
class Hold
{
public:
    Hold(std::shared_ptr<Context> context, std::string record);
    ~Hold();
    Hold(const Hold&) = delete;
    Hold& operator=(const Hold&) = delete;

    StoreResult take(); // tells the others

    // Whether anybody alive reads a record, here or elsewhere.
    static StoreResult isRead(Context& context, const std::string& record, bool& isRead);

private:
    std::shared_ptr<Context> m_context;
    std::string m_record;
    std::string m_name; // its own row's, so that no other hold's end takes it away
    bool m_isTold = false;
};

// The chunks of one record. A moment is found by the summaries of the buckets, which are few and kept, and the infos of
// one bucket; the packed bytes are read ahead when chunks are asked for one after the other.
class RecordChunks : public ChunkBackend
{
public:
    RecordChunks(std::shared_ptr<Context> context, std::string record);

    // For a reader: keeps the record from being deleted. `extent` was just read, and is the first that is asked for.
    void hold(std::unique_ptr<Hold> hold, const Extent& extent);

    StoreResult chunksAfter(std::int64_t firstUs, std::uint64_t sequence, std::int64_t mostFirstUs,
        std::int64_t leastLastUs, std::size_t most, std::vector<ChunkInfo>& chunks) override;
    StoreResult load(const ChunkInfo& chunk, std::string& packed) override;
    StoreResult stateUpTo(std::int64_t timeUs, StoredState& state, bool& found) override;
    // Reads the row anew: what was stored until now is seen from here on.
    StoreResult extent(Extent& extent) override;

    // The tally as it stood when the record was last written. `damaged` counts chunks that cannot be read.
    StoreResult restoreTally(const StoredRecord& record, Tally& tally, int& damaged);

private:
    struct Bucket
    {
        std::int32_t number = 0;
        std::uint64_t firstSequence = 0;
        std::int64_t firstUs = 0;
        std::int64_t lastUs = 0;
        std::optional<std::int64_t> firstStateUs;
    };
    struct Infos
    {
        std::int32_t bucket = 0;
        std::vector<ChunkInfo> byTime; // by first time, then sequence
    };

    StoreResult see(const Extent& extent);
    std::uint64_t endOf(std::size_t bucket) const;
    StoreResult infos(std::size_t bucket, const std::vector<ChunkInfo>*& byTime);
    StoreResult latestState(std::int64_t timeUs, std::uint64_t mostSequence, StoredState& state, bool& found);
    StoreResult readState(const Bucket& bucket, StoredState& state, bool& found);

    std::shared_ptr<Context> m_context;
    std::string m_record;
    std::unique_ptr<Hold> m_hold;
    std::optional<Extent> m_justRead;
    bool m_isSeen = false;
    Extent m_extent;
    std::vector<Bucket> m_buckets; // in their order
    std::vector<std::size_t> m_byTime; // the same by their first times
    std::list<Infos> m_infos; // of the buckets used last, the latest first
    std::map<std::uint64_t, std::string> m_ahead; // packed chunks read ahead
    std::uint64_t m_nextLoad = 0;
};

} // namespace recorder::cassandra
