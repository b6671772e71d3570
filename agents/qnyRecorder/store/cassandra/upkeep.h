// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "context.h"

#include <thread>

namespace recorder::cassandra {

// Closes a record that this object owns from what is stored of it, and gives up its ownership.
StoreResult closeFromStored(const std::shared_ptr<Context>& context, const std::string& uuid);

enum class Others
{
    GoOn,
    AreAwaited // until they have closed what they are just closing
};

// Takes records away from owners that have died: closes them, with a message each.
StoreResult repairAbandoned(const std::shared_ptr<Context>& context, Others others);

// Removes what was deleted here or by owners that have died, a partition at a time, but for records that somebody still
// reads.
StoreResult purgeDeleted(Context& context);

// The threads that work beside requests. One does nothing but renew the lease, so that nothing delays that; the other
// repairs what dead recorders left, closes what writers could not, and removes deleted records.
class Upkeep
{
public:
    explicit Upkeep(std::shared_ptr<Context> context);
    ~Upkeep(); // ends the threads

private:
    bool wait(bool forWork);
    void renewLeases();
    void work();
    StoreResult closeOrphans();
    void complain(const StoreResult& result, std::string& trouble);

    std::shared_ptr<Context> m_context;
    bool m_isStopping = false; // guarded by the context's mutex
    // The last trouble of each kind of work.
    std::string m_leaseTrouble;
    std::string m_repairTrouble;
    std::string m_purgeTrouble;
    std::thread m_leases;
    std::thread m_work;
};

} // namespace recorder::cassandra
