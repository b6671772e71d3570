// SPDX-License-Identifier: Apache-2.0
#include "context.h"

#include "statements.h"

#include <algorithm>

namespace recorder::cassandra {

StoreResult Owners::read(Connection& connection)
{
    m_alive.clear();
    return connection.forEach(cql::listOwners, {}, [this](const Answer& answer, std::size_t row) {
        if (!isKnownToBeGone(answer.bytes(row, 1))) {
            m_alive.insert(answer.text(row, 0));
        }
        return true;
    });
}

Context::Context(const CassandraOptions& given)
    : options(given)
    , server((given.host.find(':') == std::string::npos ? given.host : '[' + given.host + ']') + ':'
          + std::to_string(given.port))
    , token(newRecordUuid())
    , place(placeOfThisProcess())
    , connection(Patience())
{
}

StoreResult Context::requireConnected() const
{
    return isConnected ? StoreResult::done()
                       : StoreResult::failed(StoreError::Unreachable, "Cassandra at " + server + " is out of reach.");
}

StoreResult Context::announceOwner()
{
    const std::int64_t seconds = std::max<std::int64_t>(1, options.leaseUs / 1'000'000);
    return connection.write(cql::putOwner, { token, place, seconds });
}

StoreResult Context::bumpRevision()
{
    // Counted twice is as good as once, so whoever does not know asks again.
    return connection.write(cql::bumpRevision, {});
}

void Context::wakeUpkeep()
{
    {
        const std::lock_guard guard(mutex);
        hasWork = true;
    }
    wake.notify_all();
}

} // namespace recorder::cassandra
