// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../chunkdatabase.h"
#include "../chunkedwriter.h"

#include <filesystem>

namespace recorder {

struct CassandraOptions
{
    std::string host; // a node that is asked first: a name or an address, IPv6 without brackets
    std::uint16_t port = 9042;
    std::string user; // empty: without authentication
    std::string password;
    std::string keyspace = "record_and_replay"; // made when missing …
    std::string replication = "SimpleStrategy:1"; // … so, or "NetworkTopologyStrategy:dc1=3,dc2=2"
    std::string consistency = "LOCAL_QUORUM"; // of reads and writes
    bool tls = false;
    std::string tlsCaFile; // PEM; empty: the authorities that the system trusts
    std::filesystem::path journals; // folder for what the database cannot take; of this keyspace alone
    std::uint64_t journalBytes = std::uint64_t(4) * 1024 * 1024 * 1024; // that they may take
    Store::MessageHandler onMessage; // null: messages are dropped
    ChunkingOptions chunking;
    std::int64_t leaseUs = 5'000'000; // how long an owner on another machine is believed to live without a sign
    std::int64_t upkeepUs = 1'000'000; // leases, repairs and deletions in the background
};

// A database that is not connected yet.
std::unique_ptr<ChunkDatabase> makeCassandraDatabase(const CassandraOptions& options);

// A store over it, which goes on recording into journals while nobody answers. Null with the reason in `result` when
// waiting would not help: a wrong password, no permission, a keyspace of a newer version, no place for the journals.
// Records whose owner is dead are closed before this returns when the database answers.
std::unique_ptr<Store> openCassandraStore(const CassandraOptions& options, StoreResult& result);

} // namespace recorder
