// SPDX-License-Identifier: Apache-2.0
#include "cassandrastore.h"

#include "cassandradatabase.h"

namespace recorder {

namespace {

// A store that is nothing but its database: what that cannot do now fails.
class DirectStore : public Store
{
public:
    DirectStore(std::unique_ptr<ChunkDatabase> database, const ChunkingOptions& chunking)
        : m_database(std::move(database))
        , m_chunking(chunking)
    {
    }

    std::string describe() const override { return m_database->describe(); }
    StoreResult records(std::string_view namePart, std::vector<RecordSummary>& list) override
    {
        return m_database->records(namePart, list);
    }
    StoreResult listRevision(std::uint64_t& revision) override { return m_database->listRevision(revision); }
    StoreResult create(const RecordFacts& facts, std::unique_ptr<RecordWriter>& writer) override
    {
        WriterStart start;
        start.facts = facts;
        return makeWriter(facts.uuid, m_database->create(facts), std::move(start), writer);
    }
    StoreResult resume(const std::string& uuid, std::unique_ptr<RecordWriter>& writer) override
    {
        WriterStart start;
        StoreResult result = m_database->adopt(uuid, start);
        return makeWriter(uuid, std::move(result), std::move(start), writer);
    }
    StoreResult open(const std::string& uuid, std::unique_ptr<RecordReader>& reader) override
    {
        return m_database->open(uuid, reader);
    }
    StoreResult rename(const std::string& uuid, const std::string& name) override
    {
        return m_database->rename(uuid, name);
    }
    StoreResult remove(const std::string& uuid) override { return m_database->remove(uuid); }

private:
    StoreResult makeWriter(
        const std::string& uuid, StoreResult result, WriterStart start, std::unique_ptr<RecordWriter>& writer)
    {
        if (result) {
            writer = std::make_unique<ChunkedWriter>(m_database->sink(uuid), m_chunking, std::move(start));
        }
        return result;
    }

    std::unique_ptr<ChunkDatabase> m_database;
    ChunkingOptions m_chunking;
};

} // namespace

std::unique_ptr<ChunkDatabase> makeCassandraDatabase(const CassandraOptions& options)
{
    return std::make_unique<cassandra::CassandraDatabase>(options);
}

std::unique_ptr<Store> openCassandraStore(const CassandraOptions& options, StoreResult& result)
{
    std::unique_ptr<ChunkDatabase> database = makeCassandraDatabase(options);
    result = database->connect();
    return result ? std::make_unique<DirectStore>(std::move(database), options.chunking) : nullptr;
}

} // namespace recorder
