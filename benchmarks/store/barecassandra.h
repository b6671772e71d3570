// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "store/cassandra/cassandrastore.h"
#include "store/cassandra/connection.h"
#include "storeload.h"

#include <algorithm>

namespace recorder::bench {

// The endpoint HOST:PORT as options of a store in the keyspace "benchmark".
inline CassandraOptions cassandraOptions(const std::string& endpoint, const std::filesystem::path& journals)
{
    const std::size_t colon = endpoint.rfind(':');
    must(colon != std::string::npos, "the endpoint is given as HOST:PORT");
    CassandraOptions options;
    options.host = endpoint.substr(0, colon);
    options.port = static_cast<std::uint16_t>(std::atoi(endpoint.c_str() + colon + 1));
    options.keyspace = "benchmark";
    options.journals = journals;
    options.onMessage = [](const std::string& message) { std::printf("%s\n", message.c_str()); };
    return options;
}

// The driver of the Cassandra store alone, with the store's consistency, in the keyspace "benchmark", which is made.
class BareCassandra
{
public:
    static constexpr std::int64_t chunksInBucket = 1'000;

    explicit BareCassandra(const CassandraOptions& options)
        : m_connection(cassandra::Patience())
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
    }

    void run(const std::string& statement)
    {
        const StoreResult result = m_connection.run(statement).result();
        must(bool(result), result.message);
    }

    // So many rows of the same bytes, in a table of their own that prepare() empties.
    void prepare()
    {
        run("CREATE TABLE IF NOT EXISTS bare (bucket bigint, sequence bigint, value blob,"
            " PRIMARY KEY (bucket, sequence))");
        run("TRUNCATE bare");
    }
    void write(std::int64_t rows, std::int64_t inBucket, std::string_view bytes)
    {
        static constexpr cassandra::Cql put { "INSERT INTO bare (bucket, sequence, value) VALUES (?, ?, ?)",
            cassandra::Kind::Write };
        static constexpr std::int64_t rowsAtOnce = 2'048;
        for (std::int64_t first = 0; first < rows; first += rowsAtOnce) {
            std::vector<cassandra::RowToWrite> some;
            for (std::int64_t i = first; i < std::min(rows, first + rowsAtOnce); ++i) {
                some.emplace_back(put,
                    std::initializer_list<cassandra::Argument> { i / inBucket, i, cassandra::Argument::blob(bytes) });
            }
            const StoreResult result = m_connection.write(some);
            must(bool(result), result.message);
        }
    }

    // The same for so many events in ready chunks.
    void writeChunks(std::int64_t events, const std::string& packed, std::uint32_t inOne)
    {
        write((events + inOne - 1) / inOne, chunksInBucket, packed);
    }

    // Every row of a query, by pages. Returns how many there were.
    std::int64_t count(const cassandra::Cql& query)
    {
        std::int64_t rows = 0;
        const StoreResult result = m_connection.forEach(query, {}, [&](const cassandra::Answer&, std::size_t) {
            ++rows;
            return true;
        });
        must(bool(result), result.message);
        return rows;
    }

private:
    cassandra::Connection m_connection;
};

} // namespace recorder::bench
