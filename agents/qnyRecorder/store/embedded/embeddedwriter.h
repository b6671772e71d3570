// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "context.h"

namespace recorder {

// Brings a writer's batches into the embedded store, a transaction each.
class EmbeddedSink : public ChunkSink
{
public:
    EmbeddedSink(std::shared_ptr<EmbeddedContext> context, std::int64_t record);
    ~EmbeddedSink() override;

    StoreResult open();
    StoreResult write(const Batch& batch) override;
    void abandon(const Batch& last) override;

private:
    std::shared_ptr<EmbeddedContext> m_context;
    std::int64_t m_record;
    Database m_database;
    std::unique_ptr<Statement> m_putChunk;
    std::unique_ptr<Statement> m_updateExtent;
};

// Stores one batch in a transaction of its own; also for what a writer left to the upkeep thread.
StoreResult writeBatch(Database& database, Statement& putChunk, Statement& updateExtent, const std::string& owner,
    std::int64_t record, const Batch& batch);

} // namespace recorder
