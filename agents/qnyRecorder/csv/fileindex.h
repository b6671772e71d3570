// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../store/chunkbackend.h"
#include "../store/tally.h"
#include "csv.h"

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <string>
#include <unordered_map>
#include <vector>

namespace recorder::csv {

// Called with 0 to 100 while a file is looked through; false gives up.
using Progress = std::function<bool(int percent)>;

// A run of rows of the file, taken as a chunk.
struct Block
{
    ChunkInfo info;
    std::uint64_t offset = 0;
    std::uint64_t end = 0;
    std::uint64_t line = 1;
};

// What is known of a record CSV file after looking through it: its facts, and where its events stand by time. A file
// that grows is looked through once, a piece at a time. Small whatever the file's length: the longer the file, the
// longer its blocks. Belongs to one thread at a time.
class FileIndex
{
public:
    enum class BadRows
    {
        Refuse, // the file is no record
        PassOver // they are damages, and everything around them is read
    };

    FileIndex(std::filesystem::path path, BadRows badRows);

    // Looks through what was added since. Of a file that grows, an unfinished last row is waited for. Refused with
    // line, column and reason for what is no record, and when `progress` gave up.
    StoreResult update(bool isGrowing, const Progress& progress = {});
    // Ends the present block, so that every event seen so far is in one.
    void seal();

    const std::filesystem::path& path() const { return m_path; }
    // The completeness is the file's own, corrected by what is really there.
    RecordFacts facts() const;
    // What the file itself says, and what was counted in it.
    const Completeness& claimed() const { return m_facts.completeness; }
    const Tally& tally() const { return m_tally; }
    const std::vector<AgentDefinition>& definitions() const { return m_definitions; }
    const std::vector<OutputValue>& initialValues() const { return m_initialValues; }

    // Sealed blocks only.
    const Extent& extent() const { return m_extent; }
    const Block& block(std::uint64_t sequence) const { return m_blocks[sequence]; }
    // Why the rows of a block cannot be read; null for one that can.
    const std::string* damageOf(std::uint64_t sequence) const;
    std::size_t damages() const { return m_damages.size(); }
    std::string firstDamage() const { return m_damages.empty() ? std::string() : m_damages.begin()->second; }
    void blocksAfter(std::int64_t firstUs, std::uint64_t sequence, std::int64_t mostFirstUs, std::int64_t leastLastUs,
        std::size_t most, std::vector<ChunkInfo>& chunks) const;
    // The latest state of timeUs or before; null when there is none.
    const StoredState* stateUpTo(std::int64_t timeUs) const;

    std::uint64_t events() const { return m_extent.events + m_block.info.count; }
    std::int64_t lastEventUs() const { return m_highUs; }
    // Where the last row that can be read ends.
    std::uint64_t soundEnd() const { return m_soundEnd; }
    // How far the file was looked at.
    std::uint64_t size() const { return m_size; }
    // Where a recorder's last closing rows end (see closing.h); 0 when there are none.
    std::uint64_t closedEnd() const { return m_closedEnd; }

private:
    void begin();
    StoreResult openFile();
    bool feed();
    StoreResult takeRows();
    bool take(Entry& entry, std::string& reason);
    bool takeFact(const Fact& fact, std::string& reason);
    void takeEvent(const Event& event);
    void endBlock(std::uint64_t end);
    void insertByTime(std::uint64_t sequence);
    void keepState();
    void noteBadRow(const std::string& reason, std::uint64_t from);
    void restartAt(std::uint64_t offset, std::uint64_t line);
    std::uint64_t nextLineAfter(std::uint64_t offset);
    void endBadRows(std::uint64_t end);

    std::filesystem::path m_path;
    BadRows m_badRows;
    std::ifstream m_file;

    RecordFacts m_facts;
    std::vector<AgentDefinition> m_definitions;
    std::vector<OutputValue> m_initialValues;
    std::unordered_map<std::string, std::size_t> m_definitionPlaces;
    std::unordered_map<std::string, std::size_t> m_initialPlaces;
    std::vector<Block> m_blocks; // by sequence
    std::vector<std::uint64_t> m_byTime; // sequences in the order of first time, then sequence
    std::map<std::uint64_t, std::string> m_damages; // by sequence
    std::vector<StoredState> m_states; // by time
    Extent m_extent;
    Tally m_tally;
    Block m_block; // the present one
    std::int64_t m_highUs = 0;
    std::uint64_t m_sinceState = 0;
    std::uint64_t m_statesBytes = 0;
    std::uint64_t m_closedEnd = 0;

    // The reader began at m_base and was fed up to m_fed.
    Reader m_reader;
    std::string m_piece;
    std::size_t m_pieceBytes = 0;
    std::uint64_t m_base = 0;
    std::uint64_t m_fed = 0;
    std::uint64_t m_size = 0;
    std::uint64_t m_soundEnd = 0;
    bool m_hasRestarted = false; // the reader begins anew, and there is more to feed it with
    // Rows that cannot be read and after which none was read yet.
    bool m_isBad = false;
    std::uint64_t m_badFrom = 0;
    std::uint32_t m_badRowCount = 0;
    std::string m_badReason;
};

} // namespace recorder::csv
