// SPDX-License-Identifier: Apache-2.0
#include "cassandratables.h"

#include <vector>

namespace recorder::testing {

using cassandra::Answer;
using cassandra::Connection;
using cassandra::Cql;
using cassandra::Kind;

StoreResult CassandraTables::connect(const CassandraOptions& options)
{
    if (m_connection) {
        return StoreResult::done();
    }
    m_keyspace = options.keyspace;
    if (StoreResult result = makeCassandraDatabase(options)->connect(); !result) {
        return result;
    }
    cassandra_options given {};
    given.host = options.host.c_str();
    given.port = options.port;
    given.user = options.user.c_str();
    given.password = options.password.c_str();
    given.tls = options.tls ? 1 : 0;
    given.tls_ca_file = options.tlsCaFile.c_str();
    given.consistency = options.consistency.c_str();
    given.connect_timeout_ms = 10'000;
    m_connection = std::make_unique<Connection>(cassandra::Patience());
    StoreResult result = m_connection->open(given);
    if (result) {
        result = m_connection->useKeyspace(m_keyspace);
    }
    if (!result) {
        m_connection.reset();
    }
    return result;
}

// What belongs to a record cannot be found without it: to take the records away is enough, and much quicker than to
// truncate the tables.
StoreResult CassandraTables::makeEmpty()
{
    struct Emptying
    {
        Cql list;
        Cql remove;
    };
    static constexpr Emptying tables[] = {
        { { "SELECT uuid FROM records", Kind::Read },
            { "DELETE FROM records WHERE uuid = ? IF EXISTS", Kind::Conditional } },
        { { "SELECT DISTINCT record FROM work", Kind::Read }, { "DELETE FROM work WHERE record = ?", Kind::Write } },
        { { "SELECT owner FROM owners", Kind::Read }, { "DELETE FROM owners WHERE owner = ?", Kind::Write } },
    };
    for (const Emptying& table : tables) {
        std::vector<std::string> keys;
        StoreResult result = m_connection->forEach(table.list, {}, [&](const Answer& answer, std::size_t row) {
            keys.push_back(answer.text(row, 0));
            return true;
        });
        for (const std::string& key : keys) {
            if (result) {
                result = m_connection->execute(table.remove, { key }).result();
            }
        }
        if (!result) {
            return result;
        }
    }
    return StoreResult::done();
}

StoreResult CassandraTables::run(const std::string& statement)
{
    return m_connection->run(statement).result();
}

std::int64_t CassandraTables::number(const std::string& query)
{
    const auto place = m_queries.try_emplace(query).first;
    place->second = { place->first.c_str(), Kind::Read };
    const Answer answer = m_connection->execute(place->second, {});
    return answer && answer.rows() > 0 ? answer.integer(0, 0) : -1;
}

} // namespace recorder::testing
