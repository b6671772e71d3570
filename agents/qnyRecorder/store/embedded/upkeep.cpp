// SPDX-License-Identifier: Apache-2.0
#include "upkeep.h"

#include "../../dates.h"
#include "embeddedwriter.h"
#include "statements.h"

#include <chrono>
#include <sqlite3.h>

namespace recorder {

Upkeep::Upkeep(std::shared_ptr<EmbeddedContext> context)
    : m_context(std::move(context))
    , m_thread([this] { run(); })
{
}

Upkeep::~Upkeep()
{
    {
        const std::lock_guard guard(m_context->mutex);
        m_context->isStopping = true;
    }
    m_context->wake.notify_all();
    m_thread.join();
}

bool Upkeep::isStopping()
{
    const std::lock_guard guard(m_context->mutex);
    return m_context->isStopping;
}

// False when the store ends.
bool Upkeep::wait()
{
    std::unique_lock guard(m_context->mutex);
    m_context->wake.wait_for(guard, std::chrono::microseconds(m_context->options.upkeepUs),
        [this] { return m_context->isStopping || m_context->hasWork; });
    m_context->hasWork = false;
    return !m_context->isStopping;
}

// The same trouble is told once, not every second.
void Upkeep::complain(const StoreResult& result, std::string& trouble)
{
    if (result) {
        trouble.clear();
    } else if (result.error != StoreError::InUse && result.message != trouble) {
        trouble = result.message;
        m_context->say(result.message);
    }
}

void Upkeep::run()
{
    if (StoreResult result = m_context->connect(m_database); !result) {
        complain(result, m_repairTrouble);
        return;
    }
    do {
        renewLease();
        closeOrphans();
        complain(repairAbandoned(m_database, *m_context), m_repairTrouble);
        purgeSome();
        // Failing (a full disk, a busy reader) leaves the log as it is, which loses nothing.
        sqlite3_wal_checkpoint_v2(m_database.handle(), nullptr, SQLITE_CHECKPOINT_PASSIVE, nullptr, nullptr);
    } while (wait());
}

void Upkeep::renewLease()
{
    {
        const std::lock_guard guard(m_context->mutex);
        if (m_context->writers.empty() && m_context->readers.empty() && m_context->orphans.empty()) {
            return;
        }
    }
    Statement statement(m_database, sql::putOwner);
    statement.bindText(0, m_context->token).bind(1, nowEpochUs() + m_context->options.leaseUs);
    complain(statement.run(), m_leaseTrouble);
}

void Upkeep::closeOrphans()
{
    std::vector<EmbeddedContext::Orphan> orphans;
    {
        const std::lock_guard guard(m_context->mutex);
        orphans.swap(m_context->orphans);
    }
    for (EmbeddedContext::Orphan& orphan : orphans) {
        Statement putChunk(m_database, sql::putChunk);
        Statement updateExtent(m_database, sql::updateExtent);
        StoreResult result
            = writeBatch(m_database, putChunk, updateExtent, m_context->token, orphan.record, orphan.last);
        if (!result && result.error != StoreError::NotFound) {
            complain(result, m_repairTrouble);
            const std::lock_guard guard(m_context->mutex);
            m_context->orphans.push_back(std::move(orphan));
        }
    }
}

void Upkeep::purgeSome()
{
    for (bool more = true; more && !isStopping();) {
        const StoreResult result = m_context->withRoom(m_database, [&] {
            more = false;
            return purgeSlice(more);
        });
        if (result.error == StoreError::Full && m_purgeChunks > 1) {
            // Less at once needs less room in the log.
            m_purgeChunks /= 4;
            more = true;
        } else {
            complain(result, m_purgeTrouble);
        }
    }
    // Pages that became free go back to the disk in small steps too.
    std::int64_t atOnce = 64;
    std::int64_t pages = 0;
    while (!isStopping() && m_database.number("PRAGMA freelist_count", pages) && pages > 0) {
        const std::int64_t before = pages;
        const StoreResult result = m_context->withRoom(m_database,
            [&] { return m_database.execute("PRAGMA incremental_vacuum(" + std::to_string(atOnce) + ')'); });
        if (result.error == StoreError::Full && atOnce > 1) {
            atOnce /= 4;
        } else if (!result || !m_database.number("PRAGMA freelist_count", pages) || pages >= before) {
            break;
        }
    }
}

StoreResult Upkeep::purgeSlice(bool& more)
{
    Statement find(m_database, sql::someDeleted);
    if (!find.step()) {
        return find.result();
    }
    const std::int64_t record = find.integer(0);
    find.reset();
    Transaction transaction(m_database);
    if (!transaction.result()) {
        return transaction.result();
    }
    Statement chunks(m_database, sql::purgeChunks);
    if (StoreResult result
        = chunks.bind(0, chunkKey(record, 0)).bind(1, chunkKey(record + 1, 0)).bind(2, m_purgeChunks).run();
        !result) {
        return result;
    }
    if (m_database.changes() == 0) {
        for (const char* statement :
            { sql::purgeStates, sql::purgeDefinitions, sql::purgeInitials, sql::purgeHolds, sql::purgeRecord }) {
            if (StoreResult result = Statement(m_database, statement).bind(0, record).run(); !result) {
                return result;
            }
        }
    }
    StoreResult result = transaction.commit();
    more = bool(result);
    return result;
}

} // namespace recorder
