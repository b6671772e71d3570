// SPDX-License-Identifier: Apache-2.0
#include "cassandrastore.h"

#include "../spill/spillingstore.h"
#include "cassandradatabase.h"

namespace recorder {

std::unique_ptr<ChunkDatabase> makeCassandraDatabase(const CassandraOptions& options)
{
    return std::make_unique<cassandra::CassandraDatabase>(options);
}

std::unique_ptr<Store> openCassandraStore(const CassandraOptions& options, StoreResult& result)
{
    SpillOptions spill;
    spill.directory = options.journals;
    spill.limitBytes = options.journalBytes;
    spill.onMessage = options.onMessage;
    spill.chunking = options.chunking;
    return openSpillingStore(makeCassandraDatabase(options), spill, result);
}

} // namespace recorder
