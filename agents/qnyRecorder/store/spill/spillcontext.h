// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../chunkdatabase.h"
#include "journal.h"
#include "spillingstore.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>

namespace recorder {

// What the parts of a spilling store share: the database, whether it answers, and the space that journals take.
// Thread-safe.
class SpillContext
{
public:
    using Clock = std::chrono::steady_clock;

    SpillContext(std::unique_ptr<ChunkDatabase> database, SpillOptions options);

    ChunkDatabase& database() { return *m_database; }
    const SpillOptions& options() const { return m_options; }
    SpillBudget& budget() { return m_budget; }
    const std::string& token() const { return m_token; }
    void say(const std::string& message) const;

    bool isUp() const;
    // Why the database is not used at present, as a result for whoever wanted to use it.
    StoreResult outOfReach() const;
    // Something failed in a way that the next request would share: the database is left alone until it answers.
    void noteFailure(const StoreResult& failure);
    // Whether a failure is of that kind.
    static bool isOutage(const StoreResult& result);
    // Tries to reach the database when it is time for it. May take as long as the database's patience.
    StoreResult reach();
    bool isTimeToReach() const;

    // Events were lost for want of room: told once, until there is room again.
    void noteOverflow(const std::string& reason);
    // Tells when the journals come near their bound.
    void watchBudget();

private:
    const std::unique_ptr<ChunkDatabase> m_database;
    const SpillOptions m_options;
    const std::string m_token;
    SpillBudget m_budget;

    mutable std::mutex m_mutex; // what follows
    bool m_isUp = false;
    StoreResult m_failure;
    Clock::time_point m_nextAttempt;
    Clock::duration m_pause;
    bool m_toldNear = false;
    bool m_toldOverflow = false;

    std::atomic<bool> m_wasTried { false }; // the first refusal is an answer to whoever opens the store
};

// "3.2 GiB", "14 KiB".
std::string sizeText(std::uint64_t bytes);

} // namespace recorder
