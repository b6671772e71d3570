// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "rows.h"

#include <optional>
#include <set>

namespace recorder::cassandra {

// Brings a writer's batches into the database: first everything that belongs to the record, then its row, which makes
// it visible. A batch that is sent again changes nothing that it had brought before.
class Sink : public ChunkSink
{
public:
    Sink(std::shared_ptr<Context> context, std::string record);

    StoreResult write(const Batch& batch) override;
    void abandon(const Batch& last) override;

private:
    struct Bucket
    {
        std::int32_t number = 0;
        std::uint64_t firstSequence = 0;
        std::int64_t firstUs = 0;
        std::int64_t lastUs = 0;
        std::optional<std::int64_t> firstStateUs;
        bool isStored = false; // its row is there
        bool isChanged = false;
    };
    using Buckets = std::vector<Bucket>; // those of one batch, in their order

    StoreResult store(const Batch& batch);
    StoreResult bucketsOf(const Batch& batch, Buckets& buckets);
    StoreResult findBucket(std::int32_t number, std::optional<Bucket>& bucket);
    int chooseSlot() const;
    std::string slotName(int slot) const;
    StoreResult show(const Batch& batch, std::optional<int> slot);
    StoreResult recognise(const Batch& batch);
    void addRow(std::vector<RowToWrite>& rows, const Bucket& bucket) const;

    std::shared_ptr<Context> m_context;
    std::string m_record;
    std::optional<Bucket> m_last; // as it is stored
    const std::string m_name; // of this object, for the rows of counts
    std::set<int> m_slotsInUse; // of those, the one that holds, or may hold
};

} // namespace recorder::cassandra
