// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "connection.h"

#include <string>

namespace recorder::cassandra {

// Version of the tables; those of a newer one are refused.
inline constexpr int schemaVersion = 1;

// Makes keyspace and tables where they are missing, or checks that these are tables of a version that is known, and
// goes into the keyspace. `replication` is a map as CQL writes it.
StoreResult prepareSchema(Connection& connection, const std::string& keyspace, const std::string& replication);

} // namespace recorder::cassandra
