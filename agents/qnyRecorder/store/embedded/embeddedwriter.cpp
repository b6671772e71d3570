// SPDX-License-Identifier: Apache-2.0
#include "embeddedwriter.h"

#include "statements.h"

namespace recorder {

namespace {

StoreResult writeChunks(Statement& statement, std::int64_t record, const std::vector<ChunkRow>& chunks)
{
    for (const ChunkRow& row : chunks) {
        const auto sequence = static_cast<std::int64_t>(row.info.sequence);
        statement.bind(0, chunkKey(record, row.info.sequence)).bind(1, record).bind(2, sequence);
        statement.bind(3, row.info.bucket).bind(4, row.info.firstUs).bind(5, row.info.lastUs);
        statement.bind(6, row.info.count).bindBlob(7, row.packed);
        if (StoreResult result = statement.run(); !result) {
            return result;
        }
    }
    return StoreResult::done();
}

StoreResult writeExtent(Statement& statement, const std::string& owner, std::int64_t record, const Batch& batch)
{
    const Extent& extent = batch.extent;
    statement.bind(0, static_cast<std::int64_t>(batch.recordState)).bind(1, extent.durationUs);
    statement.bind(2, static_cast<std::int64_t>(extent.events)).bind(3, static_cast<std::int64_t>(extent.nextSequence));
    statement.bind(4, extent.bucket).bind(5, extent.highUs).bind(6, extent.maxSpanUs).bind(7, extent.maxLateUs);
    if (batch.last) {
        statement.bindNull(8);
    } else {
        statement.bindText(8, owner);
    }
    return statement.bind(9, record).bindText(10, owner).run();
}

StoreResult writeDefinitions(Database& database, std::int64_t record, const std::vector<DefinitionRow>& rows)
{
    Statement statement(database, sql::putDefinition);
    for (const DefinitionRow& row : rows) {
        statement.bind(0, record).bindText(1, row.definition.agent).bind(2, row.ordinal);
        if (StoreResult result = statement.bindText(3, row.definition.json).run(); !result) {
            return result;
        }
    }
    return StoreResult::done();
}

StoreResult writeInitials(Database& database, std::int64_t record, const std::vector<InitialRow>& rows)
{
    Statement statement(database, sql::putInitial);
    for (const InitialRow& row : rows) {
        const std::string packed = packInitial(row.initial);
        statement.bind(0, record).bindText(1, row.initial.agent).bindText(2, row.initial.output);
        if (StoreResult result = statement.bind(3, row.ordinal).bindBlob(4, packed).run(); !result) {
            return result;
        }
    }
    return StoreResult::done();
}

StoreResult writeRest(Database& database, std::int64_t record, const Batch& batch)
{
    for (const StoredState& state : batch.states) {
        Statement statement(database, sql::putState);
        statement.bind(0, record).bind(1, state.timeUs);
        statement.bind(2, static_cast<std::int64_t>(state.throughSequence)).bindBlob(3, state.packed);
        if (StoreResult result = statement.run(); !result) {
            return result;
        }
    }
    if (batch.completeness) {
        Statement statement(database, sql::updateCounted);
        statement.bindText(0, *batch.completeness).bind(1, static_cast<std::int64_t>(batch.completenessThrough));
        if (StoreResult result = statement.bind(2, record).run(); !result) {
            return result;
        }
    }
    if (batch.facts) {
        Statement statement(database, sql::updateFacts);
        const std::string json = claimToStore(batch.facts->completeness);
        statement.bindText(0, batch.facts->description).bind(1, batch.facts->startUs).bindText(2, json).bind(3, record);
        if (StoreResult result = statement.run(); !result) {
            return result;
        }
    }
    if (batch.listChanged) {
        return Statement(database, sql::bumpRevision).run();
    }
    return StoreResult::done();
}

} // namespace

StoreResult writeBatch(Database& database, Statement& putChunk, Statement& updateExtent, const std::string& owner,
    std::int64_t record, const Batch& batch)
{
    Transaction transaction(database);
    if (!transaction.result()) {
        return transaction.result();
    }
    if (StoreResult result = writeExtent(updateExtent, owner, record, batch); !result) {
        return result;
    }
    if (database.changes() == 0) {
        return StoreResult::failed(StoreError::NotFound,
            "The record was deleted, or another recorder took it over: nothing more is stored in it.");
    }
    if (StoreResult result = writeChunks(putChunk, record, batch.chunks); !result) {
        return result;
    }
    if (StoreResult result = writeDefinitions(database, record, batch.definitions); !result) {
        return result;
    }
    if (StoreResult result = writeInitials(database, record, batch.initials); !result) {
        return result;
    }
    if (StoreResult result = writeRest(database, record, batch); !result) {
        return result;
    }
    return transaction.commit();
}

EmbeddedSink::EmbeddedSink(std::shared_ptr<EmbeddedContext> context, std::int64_t record)
    : m_context(std::move(context))
    , m_record(record)
{
    const std::lock_guard guard(m_context->mutex);
    m_context->writers.insert(m_record);
}

EmbeddedSink::~EmbeddedSink()
{
    m_putChunk.reset();
    m_updateExtent.reset();
    const std::lock_guard guard(m_context->mutex);
    m_context->writers.erase(m_record);
}

StoreResult EmbeddedSink::open()
{
    if (StoreResult result = m_context->connect(m_database); !result) {
        return result;
    }
    m_putChunk = std::make_unique<Statement>(m_database, sql::putChunk);
    m_updateExtent = std::make_unique<Statement>(m_database, sql::updateExtent);
    return m_putChunk->result() ? m_updateExtent->result() : m_putChunk->result();
}

StoreResult EmbeddedSink::write(const Batch& batch)
{
    const auto attempt
        = [&] { return writeBatch(m_database, *m_putChunk, *m_updateExtent, m_context->token, m_record, batch); };
    // A recording that meets a full disk ends; only its end may use what was set aside, and only when that suffices.
    std::uint64_t bytes = 0;
    for (const ChunkRow& chunk : batch.chunks) {
        bytes += chunk.packed.size();
    }
    for (const StoredState& state : batch.states) {
        bytes += state.packed.size();
    }
    const bool mayUseReserve = batch.last && (bytes == 0 || bytes <= m_context->roomForAnEnd());
    return mayUseReserve ? m_context->withRoom(m_database, attempt, EmbeddedContext::Reserve::ForAnEnd) : attempt();
}

void EmbeddedSink::abandon(const Batch& last)
{
    {
        const std::lock_guard guard(m_context->mutex);
        m_context->orphans.push_back({ m_record, last });
    }
    m_context->say("A record could not be closed yet; the store goes on trying.");
    m_context->wakeUpkeep();
}

} // namespace recorder
