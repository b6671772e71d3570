// SPDX-License-Identifier: Apache-2.0

// What the Cassandra store does in a second, beside its driver alone in the same run: a row an event (what the store
// would be without chunks) and ready rows of 32 KiB (what it could be at best). Then how long a seek takes in that
// record.
//
//   scripts/cassandra start            in another terminal; it prints the endpoint
//   bench_cassandra HOST:PORT [events, 1000000]
//
// Everything is written into the keyspace "benchmark", which is made.

#include "barecassandra.h"
#include "storeload.h"

#include <QTemporaryDir>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <thread>

using namespace recorder;
using namespace recorder::bench;

namespace {

// What the database could not take while it was recorded is read from the journals and would count as the database's.
void waitUntilDrained(const std::filesystem::path& journals)
{
    constexpr double patience = 300;
    const double began = seconds();
    while (!std::filesystem::is_empty(journals)) {
        must(seconds() - began < patience, "what is in the journals does not come into the database");
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    std::printf("%-46s %.3f s\n", "  until the database has what was in journals", seconds() - began);
}

} // namespace

int main(int argc, char** argv)
{
    const std::int64_t events = argc > 2 ? std::atoll(argv[2]) : 1'000'000;
    must(argc > 1 && events > 0, "usage: bench_cassandra HOST:PORT [events]");
    const QTemporaryDir journals;
    const CassandraOptions options = cassandraOptions(argv[1], journals.path().toStdString());
    std::printf("%lld events of 100 bytes in Cassandra at %s\n", static_cast<long long>(events), argv[1]);

    const Names names;
    {
        BareCassandra bare(options);
        const std::int64_t few = std::min<std::int64_t>(events, 200'000);
        bare.prepare();
        Stopwatch watch;
        bare.write(few, 50'000, names.value);
        tell("bare driver, a row an event, 128 in flight", few, watch);
        std::uint32_t inOne = 0;
        const std::string packed = readyChunk(names, inOne);
        bare.prepare();
        watch = Stopwatch();
        bare.writeChunks(events, packed, inOne);
        tell("bare driver, ready chunks, 128 in flight", events, watch);
        bare.run("DROP TABLE bare");
    }
    StoreResult result;
    const std::unique_ptr<Store> store = openCassandraStore(options, result);
    must(bool(result), result.message);
    const std::string uuid = writeStore(*store, names, events, "Cassandra store, through its writer");
    waitUntilDrained(options.journals);
    readStore(*store, uuid, events);
    removeRecord(*store, uuid);
    return 0;
}
