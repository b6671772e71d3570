// SPDX-License-Identifier: Apache-2.0

// What the Cassandra store does in a second, beside its driver alone in the same run: a row an event (what the store
// would be without chunks) and ready rows of 32 KiB (what it could be at best). Then how long a seek takes in that
// record.
//
//   scripts/cassandra start            in another terminal; it prints the endpoint
//   bench_cassandra HOST:PORT [events, 1000000]
//
// Everything is written into the keyspace "benchmark", which is made.

#include "store/cassandra/cassandrastore.h"
#include "store/cassandra/connection.h"
#include "storeload.h"

#include <QTemporaryDir>

#include <cstdio>
#include <cstdlib>
#include <string_view>

using namespace recorder;
using namespace recorder::bench;
using namespace recorder::cassandra;

namespace {

constexpr std::int64_t rowsAtOnce = 2'048;

// The driver alone.
class Bare
{
public:
    explicit Bare(const CassandraOptions& options)
        : m_connection(Patience())
    {
        cassandra_options given {};
        given.host = options.host.c_str();
        given.port = options.port;
        given.consistency = options.consistency.c_str();
        given.connect_timeout_ms = 10'000;
        const StoreResult opened = m_connection.open(given);
        must(bool(opened), opened.message);
        run("CREATE KEYSPACE IF NOT EXISTS benchmark WITH replication = {'class': 'SimpleStrategy',"
            " 'replication_factor': 1}");
        const StoreResult used = m_connection.useKeyspace("benchmark");
        must(bool(used), used.message);
        run("DROP TABLE IF EXISTS bare");
        run("CREATE TABLE bare (bucket bigint, sequence bigint, value blob, PRIMARY KEY (bucket, sequence))");
    }
    void run(const std::string& statement)
    {
        const StoreResult result = m_connection.run(statement).result();
        must(bool(result), result.message);
    }
    double write(std::int64_t rows, std::int64_t inBucket, std::string_view bytes)
    {
        static constexpr Cql put { "INSERT INTO bare (bucket, sequence, value) VALUES (?, ?, ?)", Kind::Write };
        const double began = seconds();
        for (std::int64_t first = 0; first < rows; first += rowsAtOnce) {
            std::vector<RowToWrite> some;
            for (std::int64_t i = first; i < std::min(rows, first + rowsAtOnce); ++i) {
                some.emplace_back(put, std::initializer_list<Argument> { i / inBucket, i, Argument::blob(bytes) });
            }
            const StoreResult result = m_connection.write(some);
            must(bool(result), result.message);
        }
        return seconds() - began;
    }

private:
    Connection m_connection;
};

} // namespace

int main(int argc, char** argv)
{
    const std::string_view endpoint = argc > 1 ? argv[1] : "";
    const std::size_t colon = endpoint.rfind(':');
    const std::int64_t events = argc > 2 ? std::atoll(argv[2]) : 1'000'000;
    must(colon != std::string_view::npos && events > 0, "usage: bench_cassandra HOST:PORT [events]");
    const QTemporaryDir journals;
    CassandraOptions options;
    options.host = endpoint.substr(0, colon);
    options.port = static_cast<std::uint16_t>(std::atoi(argv[1] + colon + 1));
    options.keyspace = "benchmark";
    options.journals = journals.path().toStdString();
    options.onMessage = [](const std::string& message) { std::printf("%s\n", message.c_str()); };
    std::printf("%lld events of 100 bytes in Cassandra at %s\n", static_cast<long long>(events), argv[1]);

    const Names names;
    {
        Bare bare(options);
        const std::int64_t few = std::min<std::int64_t>(events, 200'000);
        tell("bare driver, a row an event, 128 in flight", few, bare.write(few, 50'000, names.value));
        bare.run("TRUNCATE bare");
        std::uint32_t inOne = 0;
        const std::string packed = readyChunk(names, inOne);
        const std::int64_t chunks = (events + inOne - 1) / inOne;
        tell("bare driver, ready chunks, 128 in flight", chunks * inOne, bare.write(chunks, 1'000, packed));
        bare.run("DROP TABLE bare");
    }
    StoreResult result;
    const std::unique_ptr<Store> store = openCassandraStore(options, result);
    must(bool(result), result.message);
    const std::string uuid = writeStore(*store, names, events, "Cassandra store, through its writer");
    readStore(*store, uuid, events);
    removeRecord(*store, uuid);
    return 0;
}
