// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../chunkbackend.h"

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace recorder {

// The space that all journals of a store may take together.
class SpillBudget
{
public:
    explicit SpillBudget(std::uint64_t limit)
        : m_limit(limit)
    {
    }
    bool take(std::uint64_t bytes); // false when it would be too much
    void takeAnyway(std::uint64_t bytes) { m_used += bytes; }
    void giveBack(std::uint64_t bytes) { m_used -= bytes; }
    std::uint64_t used() const { return m_used; }
    std::uint64_t limit() const { return m_limit; }

private:
    const std::uint64_t m_limit;
    std::atomic<std::uint64_t> m_used { 0 };
};

// One record's batches on the local disk, in their order, until the database has them: docs/spill-journal.md. One
// thread may append while another takes out.
class Journal
{
public:
    // What is known beside the batches.
    struct State
    {
        bool isMade = false; // the database has the record's row for certain
        std::vector<std::string> owners; // tokens that may own it there, the latest last
        std::uint64_t drainedThrough = 0; // offset of a frame: the database has what stands before it
        std::uint64_t eventsThrough = 0; // of the record, before that frame
        std::uint64_t damagedEvents = 0; // lost because frames were damaged
        std::uint64_t lossesNumber = 0; // the frame that `losses` comes after
        std::optional<Batch> losses; // what no frame had room for: a batch without events
    };

    ~Journal(); // the file stays
    Journal(const Journal&) = delete;
    Journal& operator=(const Journal&) = delete;

    // Makes the file for a record whose next batch is the first of it. Overflow when there is no room.
    static std::unique_ptr<Journal> create(const std::filesystem::path& file, const RecordFacts& facts, State state,
        SpillBudget& budget, StoreResult& result);
    // Opens what a recorder left behind and cuts a half-written end off. InUse while another recorder has it open;
    // Damaged when it cannot be told whose record it is, and NewerVersion.
    static std::unique_ptr<Journal> open(const std::filesystem::path& file, SpillBudget& budget, StoreResult& result);

    const RecordFacts& facts() const { return m_facts; }
    const std::filesystem::path& file() const { return m_file; }
    State state() const;
    std::uint64_t waitingBytes() const;
    std::uint64_t waitingEvents() const;
    // Of the record with everything in the journal, and whether its end is in it.
    Extent extent() const;
    bool hasLast() const;

    // ---- the writer's side
    // Overflow when the budget or the disk is at its end, or the disk fails: the batch is not in the journal.
    StoreResult append(const Batch& batch);
    // In place of any such kept before: a batch without events, for which room was set aside. What is too large for that
    // is kept without what matters least.
    StoreResult keepLosses(const Batch& batch);

    // ---- the side that drains
    // The first batch that is not drained; false when there is none left. Damaged frames on the way are passed over,
    // and their events counted.
    bool next(Batch& batch);
    // Events lost because frames were damaged, with those before the batch that next() gave.
    std::uint64_t damagedSoFar() const;
    // The database has the batch that next() gave.
    void drained();
    void setMade();
    void addOwner(const std::string& token);
    // To the disk itself, when something came since the last time; and gives the space of what is drained back.
    void sync();
    // The file goes. Nothing but the destructor may follow.
    void remove();

private:
    struct Frame
    {
        std::uint64_t offset = 0;
        std::uint64_t number = 0;
        std::uint32_t length = 0;
        std::uint32_t events = 0;
        std::uint32_t checksum = 0;
        std::uint64_t end() const;
    };

    Journal(std::filesystem::path file, SpillBudget& budget);
    StoreResult failure(StoreError error, const char* doing) const;
    StoreResult lock(bool mustExist);
    // With m_mutex locked, or before others know of this object:
    StoreResult readState();
    bool readSlot(int slot, State& state, std::uint64_t& generation) const;
    bool writeState(const State& state);
    bool readFrame(std::uint64_t offset, Frame& frame) const;
    bool readPayload(const Frame& frame, std::string& payload) const;
    bool findFrame(std::uint64_t from, std::uint64_t before, Frame& frame) const;
    bool readBatch(const Frame& frame, Batch& batch) const;
    bool writeFrame(std::uint32_t events, const std::string& payload);
    void walk();
    void noteBatch(const Batch& batch);
    void persist();

    const std::filesystem::path m_file;
    SpillBudget& m_budget;
    RecordFacts m_facts;
    int m_descriptor = -1;

    mutable std::mutex m_mutex; // what follows
    State m_state;
    std::uint64_t m_generation = 0; // of the slot written last …
    int m_slot = 0; // … and which that is
    int m_syncedSlot = -1; // known to be on the disk itself, with what was written before it
    bool m_newerVersion = false;
    std::uint64_t m_end = 0; // behind the last frame
    std::uint64_t m_nextNumber = 1;
    std::uint64_t m_charged = 0; // of the budget
    std::uint64_t m_waitingEvents = 0;
    Extent m_extent;
    bool m_hasLast = false;
    bool m_mustSync = false;
    bool m_isSyncing = false;
    std::uint64_t m_lossesRevision = 0;

    // What next() gave.
    Frame m_taken;
    bool m_tookLosses = false;
    std::uint64_t m_takenRevision = 0;
    std::uint64_t m_takenEvents = 0; // of the record, with it
    std::uint64_t m_takenDamage = 0; // events in damaged frames before it
    std::uint64_t m_drainedEnd = 0; // behind the last frame drained; State::drainedThrough is its beginning
    std::uint64_t m_drainedEvents = 0;
    std::uint64_t m_persistedEnd = 0; // State::drainedThrough when it was last written down
    std::uint64_t m_punchedEnd = 0; // behind what was given back
};

} // namespace recorder
