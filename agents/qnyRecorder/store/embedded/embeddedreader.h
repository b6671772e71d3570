// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../chunkedreader.h"
#include "context.h"

namespace recorder {

// The chunks of one record, over a connection of its own. Every query goes by key, so that no long transaction keeps
// the log from being emptied.
class EmbeddedBackend : public ChunkBackend
{
public:
    EmbeddedBackend(std::shared_ptr<EmbeddedContext> context, std::int64_t record);
    ~EmbeddedBackend() override; // gives up the hold

    // Connects and holds the record against deletion.
    StoreResult open();
    Database& database() { return m_database; }

    StoreResult chunksAfter(std::int64_t firstUs, std::uint64_t sequence, std::int64_t mostFirstUs,
        std::int64_t leastLastUs, std::size_t most, std::vector<ChunkInfo>& chunks) override;
    StoreResult load(const ChunkInfo& chunk, std::string& packed) override;
    StoreResult stateUpTo(std::int64_t timeUs, StoredState& state, bool& found) override;
    StoreResult extent(Extent& extent) override;

private:
    std::shared_ptr<EmbeddedContext> m_context;
    std::int64_t m_record;
    Database m_database;
    std::unique_ptr<Statement> m_chunksAfter;
    std::unique_ptr<Statement> m_loadChunk;
};

} // namespace recorder
