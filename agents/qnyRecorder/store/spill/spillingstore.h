// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../chunkdatabase.h"
#include "../chunkedwriter.h"
#include "../store.h"

#include <filesystem>
#include <memory>

namespace recorder {

struct SpillOptions
{
    std::filesystem::path directory; // of the journals; made when missing
    std::uint64_t limitBytes = std::uint64_t(4) * 1024 * 1024 * 1024; // for all journals together
    Store::MessageHandler onMessage; // null: messages are dropped
    ChunkingOptions chunking;
    // A batch that the database has not taken after this goes into the journal: with the age at which chunks are
    // stored, it bounds what is lost when the recorder is killed.
    std::int64_t patienceUs = 300'000;
    std::int64_t createPatienceUs = 1'500'000; // the same for a new record's row
    std::int64_t tellAfterUs = 1'000'000; // shorter outages are nobody's concern
    std::int64_t leastPauseUs = 250'000; // between two attempts at a database that does not answer; doubled …
    std::int64_t mostPauseUs = 5'000'000; // … up to this
    std::int64_t endPatienceUs = 3'000'000; // for what still waits when the store ends and the database answers
};

// A store over a database on other machines that loses nothing while that does not answer: what is recorded then goes
// into journals on the local disk, and from there into the database in the background, also after a restart. Null with
// the reason when it makes no sense to go on: the database refuses this recorder or is of a newer version, or the
// journals have no place.
std::unique_ptr<Store> openSpillingStore(
    std::unique_ptr<ChunkDatabase> database, const SpillOptions& options, StoreResult& result);

} // namespace recorder
