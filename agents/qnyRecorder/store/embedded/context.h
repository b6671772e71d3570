// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../recordrow.h"
#include "database.h"
#include "embeddedstore.h"
#include "ownerlock.h"

#include <condition_variable>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <vector>

namespace recorder {

// What the parts of one embedded store share. Outlives writers, readers and the upkeep thread.
struct EmbeddedContext
{
    EmbeddedOptions options;
    std::filesystem::path file;
    std::string token; // of this store object among the owners
    OwnerLock lock;

    // Guards what follows; never held while a database works.
    std::mutex mutex;
    std::condition_variable wake; // of the upkeep thread
    bool isStopping = false;
    bool hasWork = false; // for the upkeep thread, at once
    std::map<std::int64_t, int> readers; // open ones, by record
    std::set<std::int64_t> writers; // records that are being written here
    struct Orphan
    {
        std::int64_t record = 0;
        Batch last;
    };
    std::vector<Orphan> orphans; // records whose writer could not close them

    void say(const std::string& message) const
    {
        if (options.onMessage) {
            options.onMessage(message);
        }
    }
    // Sets the last piece of the reserve aside again, when opening the store on a full disk has taken it.
    ~EmbeddedContext();
    // A connection of one's own.
    StoreResult connect(Database& database) const;
    std::uint64_t logBytes() const;
    void wakeUpkeep();

    // Space set aside so that on a full disk a record can still be closed, the store opened, and records deleted. Full
    // when the disk has not even room for that.
    StoreResult keepReserve() const;
    enum class Reserve
    {
        ForAnEnd, // but for a last piece, without which the store could not be opened any more
        All
    };
    // What a record may bring at its end on a full disk: it stands in the log and then in the file, beside what the log
    // holds already.
    std::uint64_t roomForAnEnd() const;
    // For when the disk is full; false when nothing was gained.
    bool spendReserve(Reserve reserve) const;
    // Moves the log into the file, which frees the log's space.
    bool emptyLog(Database& database) const;
    // Does it again after making room when it failed for want of it.
    template <typename Work> StoreResult withRoom(Database& database, Work work, Reserve reserve = Reserve::All) const
    {
        const auto isFull = [](const StoreResult& result) { return !result && result.error == StoreError::Full; };
        StoreResult result = work();
        if (isFull(result) && spendReserve(reserve)) {
            result = work();
        }
        // Last, for it waits for whoever reads. The file has room for it (Database::takeRoom).
        if (isFull(result) && emptyLog(database)) {
            result = work();
        }
        return result;
    }
};

// A record's row with its key.
struct EmbeddedRow : RecordRow
{
    std::int64_t id = 0;
};

inline std::int64_t chunkKey(std::int64_t record, std::uint64_t sequence)
{
    return (record << 32) + static_cast<std::int64_t>(sequence);
}

StoreResult readRecord(Database& database, std::int64_t id, EmbeddedRow& row);
StoreResult readDefinitions(Database& database, std::int64_t id, std::vector<DefinitionRow>& rows);
StoreResult readInitials(Database& database, std::int64_t id, std::vector<InitialRow>& rows);
// The tally as it stood when the record was last written. `damaged` counts chunks that cannot be read.
StoreResult restoreTally(Database& database, const EmbeddedRow& row, Tally& tally, int& damaged);

// Takes records away from owners that have died: closes them, with a message each.
StoreResult repairAbandoned(Database& database, EmbeddedContext& context);
// Removes the lock files of dead owners that owned nothing.
StoreResult removeStrayLocks(Database& database, const EmbeddedContext& context);

} // namespace recorder
