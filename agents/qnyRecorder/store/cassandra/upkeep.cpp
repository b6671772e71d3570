// SPDX-License-Identifier: Apache-2.0
#include "upkeep.h"

#include "sink.h"

#include <chrono>

namespace recorder::cassandra {

Upkeep::Upkeep(std::shared_ptr<Context> context)
    : m_context(std::move(context))
    , m_leases([this] { renewLeases(); })
    , m_work([this] { work(); })
{
}

Upkeep::~Upkeep()
{
    {
        const std::lock_guard guard(m_context->mutex);
        m_isStopping = true;
    }
    m_context->wake.notify_all();
    m_leases.join();
    m_work.join();
}

// False when the database object ends.
bool Upkeep::wait(bool forWork)
{
    std::unique_lock guard(m_context->mutex);
    m_context->wake.wait_for(guard, std::chrono::microseconds(m_context->options.upkeepUs),
        [&] { return m_isStopping || (forWork && m_context->hasWork); });
    if (forWork) {
        m_context->hasWork = false;
    }
    return !m_isStopping;
}

// The same trouble is told once, not every second.
void Upkeep::complain(const StoreResult& result, std::string& trouble)
{
    if (result) {
        trouble.clear();
    } else if (result.message != trouble) {
        trouble = result.message;
        m_context->say(result.message);
    }
}

void Upkeep::renewLeases()
{
    while (wait(false)) {
        complain(m_context->announceOwner(), m_leaseTrouble);
    }
}

void Upkeep::work()
{
    do {
        StoreResult result = closeOrphans();
        if (result) {
            result = repairAbandoned(m_context, Others::GoOn);
        }
        complain(result, m_repairTrouble);
        complain(purgeDeleted(*m_context), m_purgeTrouble);
    } while (wait(true));
}

StoreResult Upkeep::closeOrphans()
{
    std::vector<Context::Orphan> orphans;
    {
        const std::lock_guard guard(m_context->mutex);
        orphans.swap(m_context->orphans);
    }
    StoreResult trouble;
    for (Context::Orphan& orphan : orphans) {
        StoreResult result = Sink(m_context, orphan.record).write(orphan.last);
        if (!result && result.error != StoreError::NotFound) {
            trouble = std::move(result);
            const std::lock_guard guard(m_context->mutex);
            m_context->orphans.push_back(std::move(orphan));
        }
    }
    return trouble;
}

} // namespace recorder::cassandra
