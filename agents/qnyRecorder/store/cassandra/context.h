// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../recordrow.h"
#include "cassandrastore.h"
#include "connection.h"
#include "processplace.h"

#include <atomic>
#include <condition_variable>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <vector>

namespace recorder::cassandra {

// Which owners live: those whose rows are there, but for processes of this machine that are gone.
class Owners
{
public:
    StoreResult read(Connection& connection);
    bool isAlive(const std::string& token) const { return m_alive.contains(token); }

private:
    std::set<std::string> m_alive;
};

// What the parts of one database object share. Outlives sinks, readers and the threads.
struct Context
{
    explicit Context(const CassandraOptions& given);

    CassandraOptions options;
    std::string server; // for messages: "127.0.0.1:9042"
    std::string token; // of this object among the owners
    std::string place;
    Connection connection;
    std::atomic<bool> isConnected = false;

    // Guards what follows; never held while the database works.
    std::mutex mutex;
    std::condition_variable wake; // of the upkeep thread
    bool hasWork = false; // for the upkeep thread, at once
    std::map<std::string, int> readers; // open ones, by record
    std::uint64_t holdsMade = 0;
    struct Orphan
    {
        std::string record;
        Batch last;
    };
    std::vector<Orphan> orphans; // records whose writer could not close them

    void say(const std::string& message) const
    {
        if (options.onMessage) {
            options.onMessage(message);
        }
    }
    StoreResult requireConnected() const;
    // Others learn of this owner no later than of what it owns.
    StoreResult announceOwner();
    StoreResult bumpRevision();
    void wakeUpkeep();
};

} // namespace recorder::cassandra
