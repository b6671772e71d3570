// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "store/cassandra/cassandrastore.h"
#include "store/cassandra/connection.h"

#include <map>
#include <memory>
#include <string>

namespace recorder::testing {

// The tables of a Cassandra store, behind the store's back.
class CassandraTables
{
public:
    // Makes the tables as the store does, once.
    StoreResult connect(const CassandraOptions& options);
    StoreResult makeEmpty();
    // A statement without values.
    StoreResult run(const std::string& statement);
    // "SELECT count(*) …"; -1 when it fails.
    std::int64_t number(const std::string& query);

private:
    std::unique_ptr<cassandra::Connection> m_connection;
    std::string m_keyspace;
    std::map<std::string, cassandra::Cql> m_queries; // prepared ones are known by their addresses
};

} // namespace recorder::testing
