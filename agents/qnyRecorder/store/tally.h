// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../chunk/packedchunk.h"
#include "../event.h"

#include <array>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace recorder {

// Both names of an output as one key, with a byte between them that no name holds.
void joinName(std::string& key, std::string_view agent, std::string_view output);

// What a writer knows of each output: how much was stored and lost, and its last value. Kept in memory while a record
// is written, and made again from what is stored when a record is taken up or repaired.
class Tally
{
public:
    struct Output
    {
        OutputCompleteness counts;
        std::int64_t lastUs = -1; // time of the last event; -1: none yet
        Value last;
        std::uint64_t round = 0; // in which it was touched last
        // The writer's notes about its present chunk.
        std::uint64_t chunk = ~std::uint64_t(0);
        std::uint32_t numberInChunk = 0;
        std::size_t lastOffset = 0;
    };

    // The entry of an output, made when it is missing. Stays where it is.
    Output& output(std::string_view agent, std::string_view name);
    // Counts one stored event. The value is remembered by the caller.
    static void count(Output& output, std::int64_t timeUs);
    void remember(Output& output, const ValueView& value);
    void countLost(std::string_view agent, std::string_view name, LostIn where, std::uint64_t events);
    // The same as counting and remembering for every event of a chunk. False with the reason when it is damaged.
    bool addChunk(std::string_view packed, bool countsToo, std::string& reason);

    // A round is what is stored in one piece. Called for an output before its first event in a round, or more often.
    void touch(Output& output);
    // Everything counted so far is stored: the next round begins.
    void settle();
    // What was counted in this round is not stored and will not be: counts and values are again what they were before
    // it, and its events are counted as lost in the store.
    void loseRound();

    // Starts again from what was stored.
    void restoreCounts(const Completeness& completeness);
    bool restoreState(std::string_view packed, std::string& reason);

    Completeness completeness() const;
    std::string packState(std::uint64_t throughSequence) const;
    // About the size of the packed state.
    std::uint64_t stateBytes() const { return m_stateBytes; }
    void remark(std::string_view sentence); // once each

private:
    // What an output was when the round began.
    struct Before
    {
        Output* output = nullptr;
        std::uint64_t stored = 0;
        std::int64_t longestGapUs = 0;
        std::int64_t lastUs = -1;
        Value last;
    };

    std::deque<Output> m_outputs;
    std::vector<Before> m_before;
    std::uint64_t m_round = 1;
    std::unordered_map<std::string, Output*> m_byName;
    std::string m_key;
    // Who asks again mostly asks with the same strings in memory: where those lie finds the entry without hashing text.
    struct Recent
    {
        const char* agent = nullptr;
        const char* name = nullptr;
        Output* output = nullptr;
    };
    std::array<Recent, 64> m_recent;
    std::vector<std::string> m_remarks;
    std::uint64_t m_stateBytes = 0;
};

// What an imported record's completeness is: what its file claimed, corrected by what really came.
Completeness withClaim(const Completeness& claimed, const Completeness& counted);
// What a recorded record's completeness is: what was said of it last, where events that are not there any more are lost
// in the store.
Completeness withMissing(const Completeness& said, const Completeness& counted);

} // namespace recorder
