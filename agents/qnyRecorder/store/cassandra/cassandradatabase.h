// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "rows.h"
#include "upkeep.h"

#include <set>

namespace recorder::cassandra {

class CassandraDatabase : public ChunkDatabase
{
public:
    explicit CassandraDatabase(const CassandraOptions& options);
    ~CassandraDatabase() override;

    std::string describe() const override;
    StoreResult connect() override;
    std::string ownerToken() const override { return m_context->token; }
    StoreResult records(std::string_view namePart, std::vector<RecordSummary>& list) override;
    StoreResult listRevision(std::uint64_t& revision) override;
    StoreResult open(const std::string& uuid, std::unique_ptr<RecordReader>& reader) override;
    StoreResult rename(const std::string& uuid, const std::string& name) override;
    StoreResult remove(const std::string& uuid) override;
    StoreResult create(const RecordFacts& facts) override;
    StoreResult adopt(const std::string& uuid, WriterStart& start) override;
    StoreResult reclaim(const std::string& uuid, const std::string& formerOwner) override;
    std::unique_ptr<ChunkSink> sink(const std::string& uuid) override;
    StoreResult repair(const std::string& uuid) override;

private:
    StoreResult connectFirst();
    StoreResult find(const std::string& uuid, Certainty certainty, StoredRecord& record);
    StoreResult take(const StoredRecord& record);
    StoreResult readStart(StoredRecord& record, WriterStart& start);
    StoreResult markDeleted(const StoredRecord& record);
    bool isRemovalUnsure(const std::string& uuid);
    void rememberRemoval(const std::string& uuid, const StoreResult& result);

    std::shared_ptr<Context> m_context;
    std::mutex m_connecting;
    std::mutex m_removalsMutex;
    std::set<std::string> m_unsureRemovals; // removals by this object whose outcome is unknown
    std::unique_ptr<Upkeep> m_upkeep;
};

} // namespace recorder::cassandra
