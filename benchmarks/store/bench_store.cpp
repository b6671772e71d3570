// SPDX-License-Identifier: Apache-2.0

// What the embedded store does in a second, beside SQLite alone in the same run: a row an event (what the store would
// be without chunks) and bare rows of 32 KiB (what it could be at best). Then how long a seek takes in that record.
//
//   bench_store [events, 1000000] [directory, a temporary one]

#include "baresqlite.h"
#include "store/embedded/embeddedstore.h"
#include "storeload.h"

#include <QTemporaryDir>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

using namespace recorder;
using namespace recorder::bench;

namespace {

void writeRows(const std::filesystem::path& file, const Names& names, std::int64_t events)
{
    BareSqlite bare(file,
        "CREATE TABLE events (id INTEGER PRIMARY KEY, time_us INTEGER, output INTEGER, type INTEGER, value BLOB);"
        "CREATE INDEX by_time ON events (time_us);");
    sqlite3_stmt* insert = bare.prepare("INSERT INTO events (time_us, output, type, value) VALUES (?, ?, ?, ?)");
    const Stopwatch watch;
    for (std::int64_t i = 0; i < events; ++i) {
        if (i % 1000 == 0) {
            bare.execute(i == 0 ? "BEGIN" : "COMMIT; BEGIN");
        }
        sqlite3_bind_int64(insert, 1, i * stepUs);
        sqlite3_bind_int64(insert, 2, i * 7919 % outputCount);
        sqlite3_bind_int(insert, 3, 5);
        sqlite3_bind_blob64(insert, 4, names.value.data(), names.value.size(), SQLITE_STATIC);
        must(sqlite3_step(insert) == SQLITE_DONE, "insert failed");
        sqlite3_reset(insert);
    }
    bare.execute("COMMIT");
    tell("bare SQLite, a row an event, 1000 a transaction", events, watch);
    sqlite3_finalize(insert);

    sqlite3_stmt* find = bare.prepare("SELECT id, value FROM events WHERE time_us >= ? ORDER BY time_us LIMIT 1");
    std::mt19937_64 random(1);
    std::vector<double> took;
    for (int i = 0; i < 300; ++i) {
        sqlite3_bind_int64(find, 1, static_cast<std::int64_t>(random() % static_cast<std::uint64_t>(events * stepUs)));
        const double start = seconds();
        sqlite3_step(find);
        took.push_back(seconds() - start);
        sqlite3_reset(find);
    }
    sqlite3_finalize(find);
    tellTimes("  seek there (one row by index, no state)", std::move(took));
}

void writeBlobs(const std::filesystem::path& file, const Names& names, std::int64_t events)
{
    std::uint32_t inOne = 0;
    const std::string packed = readyChunk(names, inOne);
    BareChunks bare(file);
    const std::int64_t chunks = (events + inOne - 1) / inOne;
    const Stopwatch watch;
    for (std::int64_t i = 0; i < chunks; ++i) {
        bare.add(packed);
    }
    bare.commit();
    tell("bare SQLite, ready chunks, 16 a transaction", chunks * inOne, watch);
}

} // namespace

int main(int argc, char** argv)
{
    const std::int64_t events = argc > 1 ? std::atoll(argv[1]) : 1'000'000;
    must(events > 0, "usage: bench_store [events] [directory]");
    const QTemporaryDir temporary(argc > 2 ? QString::fromLocal8Bit(argv[2]) + "/bench_store-XXXXXX" : QString());
    must(temporary.isValid(), "cannot make a temporary directory");
    const std::filesystem::path directory(temporary.path().toStdString());
    std::printf("%lld events of 100 bytes in %s\n", static_cast<long long>(events), directory.c_str());

    const Names names;
    writeRows(directory / "rows.db", names, events);
    writeBlobs(directory / "chunks.db", names, events);
    EmbeddedOptions options;
    options.directory = directory / "store";
    StoreResult result;
    const std::unique_ptr<Store> store = openEmbeddedStore(options, result);
    must(bool(result), result.message);
    const std::string uuid = writeStore(*store, names, events, "embedded store, through its writer");
    readStore(*store, uuid, events);
    removeRecord(*store, uuid);
    return 0;
}
