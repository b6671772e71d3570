// SPDX-License-Identifier: Apache-2.0
#include "spillcontext.h"

#include <algorithm>
#include <cstdio>

namespace recorder {

SpillContext::SpillContext(std::unique_ptr<ChunkDatabase> database, SpillOptions options)
    : m_database(std::move(database))
    , m_options(std::move(options))
    , m_token(m_database->ownerToken())
    , m_budget(m_options.limitBytes)
    , m_failure(StoreResult::failed(StoreError::Unreachable, m_database->describe() + " was not reached yet."))
    , m_pause(std::chrono::microseconds(m_options.leastPauseUs))
{
}

void SpillContext::say(const std::string& message) const
{
    if (m_options.onMessage) {
        m_options.onMessage(message);
    }
}

bool SpillContext::isUp() const
{
    const std::lock_guard guard(m_mutex);
    return m_isUp;
}

StoreResult SpillContext::outOfReach() const
{
    const std::lock_guard guard(m_mutex);
    if (m_failure) {
        return StoreResult::failed(
            StoreError::Unreachable, m_database->describe() + " is still busy with an earlier request.");
    }
    return StoreResult::failed(StoreError::Unreachable,
        "The database is out of reach and is tried again every few seconds: " + m_failure.message);
}

bool SpillContext::isOutage(const StoreResult& result)
{
    return !result
        && (result.outcome == Outcome::Unknown || result.error == StoreError::Unreachable
            || result.error == StoreError::Other || result.error == StoreError::Full);
}

void SpillContext::noteFailure(const StoreResult& failure)
{
    const std::lock_guard guard(m_mutex);
    m_isUp = false;
    m_failure = failure;
    m_nextAttempt = Clock::now() + m_pause;
}

bool SpillContext::isTimeToReach() const
{
    const std::lock_guard guard(m_mutex);
    return !m_isUp && Clock::now() >= m_nextAttempt;
}

StoreResult SpillContext::reach()
{
    StoreResult result = m_database->connect();
    const bool isRefused = result.error == StoreError::Refused || result.error == StoreError::NewerVersion;
    std::unique_lock lock(m_mutex);
    const bool mustTell = isRefused && m_failure.message != result.message;
    m_isUp = bool(result);
    if (result) {
        m_failure = result;
        m_pause = std::chrono::microseconds(m_options.leastPauseUs);
        m_toldOverflow = false;
    } else {
        m_failure = result;
        m_nextAttempt = Clock::now() + m_pause;
        m_pause = std::min<Clock::duration>(m_pause * 2, std::chrono::microseconds(m_options.mostPauseUs));
    }
    lock.unlock();
    if (mustTell && m_wasTried) {
        say("The database does not let this recorder in: " + result.message + " What is recorded waits in "
            + m_options.directory.string() + " meanwhile.");
    }
    m_wasTried = true;
    return result;
}

void SpillContext::noteOverflow(const std::string& reason)
{
    {
        const std::lock_guard guard(m_mutex);
        if (m_toldOverflow) {
            return;
        }
        m_toldOverflow = true;
    }
    say(reason + " More are lost until the database is reached. Start the database " + m_database->describe()
        + " again, or make room for the journals in " + m_options.directory.string() + ": they hold "
        + sizeText(m_budget.used()) + " and may hold " + sizeText(m_budget.limit()) + " (--spill-limit).");
}

void SpillContext::watchBudget()
{
    const std::uint64_t used = m_budget.used();
    const std::uint64_t limit = m_budget.limit();
    {
        const std::lock_guard guard(m_mutex);
        if (used < limit / 2) {
            m_toldNear = false;
            return;
        }
        if (m_toldNear || used < limit / 10 * 8) {
            return;
        }
        m_toldNear = true;
    }
    say("The journals in " + m_options.directory.string() + " hold " + sizeText(used) + " of at most " + sizeText(limit)
        + ": beyond that events are lost. Start the database " + m_database->describe() + " again.");
}

std::string sizeText(std::uint64_t bytes)
{
    static constexpr const char* units[] = { "bytes", "KiB", "MiB", "GiB", "TiB" };
    auto size = static_cast<double>(bytes);
    std::size_t unit = 0;
    for (; size >= 1024 && unit < 4; ++unit) {
        size /= 1024;
    }
    char text[32];
    std::snprintf(text, sizeof text, unit > 0 && size < 10 ? "%.1f %s" : "%.0f %s", size, units[unit]);
    return text;
}

} // namespace recorder
