// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "chunkbackend.h"

namespace recorder {

// A reader over a database of chunks. A database's own reader inherits it, and holds the record against deletion.
class ChunkedReader : public RecordReader
{
public:
    ChunkedReader(std::unique_ptr<ChunkBackend> backend, RecordFacts facts, std::vector<AgentDefinition> definitions,
        std::vector<OutputValue> initialValues);
    ~ChunkedReader() override;

    const RecordFacts& facts() const override { return m_facts; }
    const std::vector<AgentDefinition>& definitions() const override { return m_definitions; }
    const std::vector<OutputValue>& initialValues() const override { return m_initialValues; }
    std::unique_ptr<EventCursor> events(std::int64_t startUs, std::int64_t endUs, StoreResult& result) override;
    std::unique_ptr<EventCursor> eventsAfter(const EventPosition& position, StoreResult& result) override;
    StoreResult stateBefore(std::int64_t timeUs, std::vector<OutputValue>& state) override;
    std::vector<Damage> takeDamages() override;

private:
    std::unique_ptr<ChunkBackend> m_backend;
    RecordFacts m_facts;
    std::vector<AgentDefinition> m_definitions;
    std::vector<OutputValue> m_initialValues;
    std::vector<Damage> m_damages;
};

} // namespace recorder
