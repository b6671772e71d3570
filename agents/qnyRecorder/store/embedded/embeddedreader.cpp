// SPDX-License-Identifier: Apache-2.0
#include "embeddedreader.h"

#include "statements.h"

#include <algorithm>
#include <limits>

namespace recorder {

EmbeddedBackend::EmbeddedBackend(std::shared_ptr<EmbeddedContext> context, std::int64_t record)
    : m_context(std::move(context))
    , m_record(record)
{
    const std::lock_guard guard(m_context->mutex);
    ++m_context->readers[m_record];
}

EmbeddedBackend::~EmbeddedBackend()
{
    m_chunksAfter.reset();
    m_loadChunk.reset();
    bool isLast = false;
    {
        const std::lock_guard guard(m_context->mutex);
        isLast = --m_context->readers[m_record] == 0;
        if (isLast) {
            m_context->readers.erase(m_record);
        }
    }
    if (isLast && m_database.isOpen()) {
        // When this fails the hold goes with its owner.
        Statement hold(m_database, sql::removeHold);
        (void)hold.bind(0, m_record).bindText(1, m_context->token).run();
    }
}

StoreResult EmbeddedBackend::open()
{
    if (StoreResult result = m_context->connect(m_database); !result) {
        return result;
    }
    // The hold is for other recorders. On a full disk there is none, and the record can be read nevertheless.
    Statement hold(m_database, sql::putHold);
    if (StoreResult result = hold.bind(0, m_record).bindText(1, m_context->token).run();
        !result && result.error != StoreError::Full) {
        return result;
    }
    m_chunksAfter = std::make_unique<Statement>(m_database, sql::chunksAfter);
    m_loadChunk = std::make_unique<Statement>(m_database, sql::loadChunk);
    return m_chunksAfter->result() ? m_loadChunk->result() : m_chunksAfter->result();
}

StoreResult EmbeddedBackend::chunksAfter(std::int64_t firstUs, std::uint64_t sequence, std::int64_t mostFirstUs,
    std::int64_t leastLastUs, std::size_t most, std::vector<ChunkInfo>& chunks)
{
    Statement& statement = *m_chunksAfter;
    const auto greatest = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    statement.bind(0, m_record).bind(1, firstUs).bind(2, static_cast<std::int64_t>(std::min(sequence, greatest)));
    statement.bind(3, mostFirstUs).bind(4, leastLastUs).bind(5, static_cast<std::int64_t>(most));
    while (statement.step()) {
        ChunkInfo info;
        info.sequence = static_cast<std::uint64_t>(statement.integer(0));
        info.bucket = static_cast<std::int32_t>(statement.integer(1));
        info.firstUs = statement.integer(2);
        info.lastUs = statement.integer(3);
        info.count = static_cast<std::uint32_t>(statement.integer(4));
        chunks.push_back(info);
    }
    StoreResult result = statement.result();
    statement.reset();
    return result;
}

StoreResult EmbeddedBackend::load(const ChunkInfo& chunk, std::string& packed)
{
    Statement& statement = *m_loadChunk;
    const bool found = statement.bind(0, chunkKey(m_record, chunk.sequence)).step();
    StoreResult result = statement.result();
    if (found) {
        packed = statement.blob(0);
    } else if (result) {
        result = StoreResult::failed(StoreError::Damaged, "it is missing");
    }
    statement.reset();
    return result;
}

StoreResult EmbeddedBackend::stateUpTo(std::int64_t timeUs, StoredState& state, bool& found)
{
    Statement statement(m_database, sql::stateUpTo);
    found = statement.bind(0, m_record).bind(1, timeUs).step();
    if (found) {
        state.timeUs = statement.integer(0);
        state.throughSequence = static_cast<std::uint64_t>(statement.integer(1));
        state.packed = statement.text(2);
    }
    return statement.result();
}

StoreResult EmbeddedBackend::extent(Extent& extent)
{
    Statement statement(m_database, sql::readSpans);
    if (!statement.bind(0, m_record).step()) {
        return statement.result() ? StoreResult::failed(StoreError::NotFound, "The record was deleted.")
                                  : statement.result();
    }
    extent.durationUs = statement.integer(0);
    extent.nextSequence = static_cast<std::uint64_t>(statement.integer(1));
    extent.highUs = statement.integer(2);
    extent.maxSpanUs = statement.integer(3);
    extent.maxLateUs = statement.integer(4);
    return StoreResult::done();
}

} // namespace recorder
