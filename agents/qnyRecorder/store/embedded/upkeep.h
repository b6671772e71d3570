// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "context.h"

#include <thread>

namespace recorder {

// The thread of an embedded store that works beside requests: renews the lease, repairs what dead recorders left,
// closes what writers could not, moves the log into the file, and gives back the space of deleted records, a little at
// a time.
class Upkeep
{
public:
    explicit Upkeep(std::shared_ptr<EmbeddedContext> context);
    ~Upkeep(); // ends the thread

private:
    void run();
    bool wait();
    bool isStopping();
    void renewLease();
    void closeOrphans();
    void purgeSome(); // until nothing is left, or the store ends
    StoreResult purgeSlice(bool& more);
    void complain(const StoreResult& result, std::string& trouble);

    std::shared_ptr<EmbeddedContext> m_context;
    Database m_database;
    std::int64_t m_purgeChunks = 128; // chunks removed in one transaction
    // The last trouble of each kind of work.
    std::string m_leaseTrouble;
    std::string m_repairTrouble;
    std::string m_purgeTrouble;
    std::thread m_thread;
};

} // namespace recorder
