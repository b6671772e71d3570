// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../event.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace recorder {

// The packed chunk: a run of events in one piece of bytes. docs/packed-chunk.md describes it byte by byte.

inline constexpr std::uint16_t packedChunkVersion = 1;
inline constexpr std::size_t packedChunkHeaderBytes = 52;

enum class ChunkKind : std::uint8_t
{
    Events = 1,
    State = 2 // one event an output: the last that it published so far
};

struct ChunkHeader
{
    ChunkKind kind = ChunkKind::Events;
    std::uint64_t sequence = 0; // position among the record's chunks; of a state: of the first chunk it does not cover
    std::int64_t firstUs = 0; // least and greatest time in it; both 0 in an empty state
    std::int64_t lastUs = 0;
    std::uint32_t count = 0;
};

// Packs events in the order given. Names are declared once and then used by number.
class ChunkBuilder
{
public:
    // Makes the builder empty again, keeping its memory.
    void clear();
    // The number of an output in this chunk. Declaring the same output twice would store it twice: callers remember.
    std::uint32_t declare(std::string_view agent, std::string_view output);
    // Returns where the value begins in body(), for valueAt().
    std::size_t add(std::uint32_t output, std::int64_t timeUs, const ValueView& value);
    // A value packed before. Valid until the next add() or clear().
    ValueView valueAt(std::size_t offset) const;

    bool isEmpty() const { return m_count == 0; }
    std::uint32_t count() const { return m_count; }
    std::int64_t firstUs() const { return m_firstUs; }
    std::int64_t lastUs() const { return m_lastUs; }
    // Of the finished chunk, to within a few bytes.
    std::size_t bytes() const
    {
        return packedChunkHeaderBytes + m_agents.size() + m_outputs.size() + m_events.size() + 10;
    }

    std::string finish(ChunkKind kind, std::uint64_t sequence) const;

private:
    std::string m_agents;
    std::vector<std::string> m_agentNames;
    std::string m_outputs;
    std::string m_events;
    std::uint32_t m_outputCount = 0;
    std::uint32_t m_count = 0;
    std::int64_t m_previousUs = 0;
    std::int64_t m_firstUs = 0;
    std::int64_t m_lastUs = 0;
};

// Reads the header alone and checks the whole's checksum. False with the reason when these bytes are no such chunk.
bool readChunkHeader(std::string_view packed, ChunkHeader& header, std::string& reason);

// Unpacks everything. Names and values look into `packed`, which must stay. False with the reason for damaged bytes,
// whatever they hold; `events` is then empty.
bool unpackChunk(std::string_view packed, ChunkHeader& header, std::vector<EventView>& events, std::string& reason);

// The agents in a chunk. Empty for damaged bytes.
std::vector<std::string> agentsOfChunk(std::string_view packed);

} // namespace recorder
