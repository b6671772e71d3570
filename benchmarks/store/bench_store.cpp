// SPDX-License-Identifier: Apache-2.0

// What the embedded store does in a second, beside SQLite alone in the same run: a row an event (what the store would
// be without chunks) and bare rows of 32 KiB (what it could be at best). Then how long a seek takes in that record.
//
//   bench_store [events, 1000000] [directory, a temporary one]
//
// One event: a value of 100 bytes of one of 50 outputs of 10 agents, every 100 microseconds.

#include "chunk/packedchunk.h"
#include "csv/exchange.h"
#include "store/embedded/embeddedstore.h"

#include <QTemporaryDir>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <sqlite3.h>
#include <string>
#include <vector>

using namespace recorder;

namespace {

constexpr std::int64_t stepUs = 100;
constexpr int outputCount = 50;

double seconds()
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

void must(bool good, const std::string& what)
{
    if (!good) {
        std::fprintf(stderr, "%s\n", what.c_str());
        std::exit(1);
    }
}

struct Names
{
    std::vector<std::string> agents;
    std::vector<std::string> outputs;
    std::string value = std::string(100, 'v');

    Names()
    {
        for (int i = 0; i < outputCount; ++i) {
            agents.push_back("agent " + std::to_string(i / 5));
            outputs.push_back("output " + std::to_string(i % 5));
        }
    }
    EventView event(std::int64_t number) const
    {
        const auto output = static_cast<std::size_t>(number * 7919 % outputCount);
        return { number * stepUs, agents[output], outputs[output], ValueView::fromString(value) };
    }
};

void tell(const char* what, std::int64_t events, double took)
{
    std::printf("%-46s %10.0f events/s   %7.3f s\n", what, static_cast<double>(events) / took, took);
    std::fflush(stdout);
}

// SQLite alone, with the store's settings.
class Bare
{
public:
    Bare(const std::filesystem::path& file, const char* schema)
    {
        must(sqlite3_open(file.c_str(), &m_database) == SQLITE_OK, "cannot open " + file.string());
        execute("PRAGMA page_size = 16384; PRAGMA journal_mode = WAL; PRAGMA synchronous = NORMAL;");
        execute(schema);
    }
    ~Bare() { sqlite3_close_v2(m_database); }
    Bare(const Bare&) = delete;
    Bare& operator=(const Bare&) = delete;

    void execute(const char* sql)
    {
        must(sqlite3_exec(m_database, sql, nullptr, nullptr, nullptr) == SQLITE_OK, sqlite3_errmsg(m_database));
    }
    sqlite3_stmt* prepare(const char* sql)
    {
        sqlite3_stmt* statement = nullptr;
        must(sqlite3_prepare_v2(m_database, sql, -1, &statement, nullptr) == SQLITE_OK, sqlite3_errmsg(m_database));
        return statement;
    }

private:
    sqlite3* m_database = nullptr;
};

void writeRows(const std::filesystem::path& file, const Names& names, std::int64_t events)
{
    Bare bare(file,
        "CREATE TABLE events (id INTEGER PRIMARY KEY, time_us INTEGER, output INTEGER, type INTEGER, value BLOB);"
        "CREATE INDEX by_time ON events (time_us);");
    sqlite3_stmt* insert = bare.prepare("INSERT INTO events (time_us, output, type, value) VALUES (?, ?, ?, ?)");
    const double began = seconds();
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
    tell("bare SQLite, a row an event, 1000 a transaction", events, seconds() - began);
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
    std::sort(took.begin(), took.end());
    std::printf("%-46s median %.3f ms, most %.3f ms\n", "  seek there (one row by index, no state)", took[150] * 1e3,
        took.back() * 1e3);
}

void writeBlobs(const std::filesystem::path& file, const Names& names, std::int64_t events)
{
    // One chunk, packed once and written over and over: nothing but SQLite's own work.
    ChunkBuilder builder;
    const std::uint32_t output = builder.declare("agent", "output");
    while (builder.bytes() < 32 * 1024) {
        builder.add(output, builder.count() * stepUs, ValueView::fromString(names.value));
    }
    const std::string packed = builder.finish(ChunkKind::Events, 0);
    Bare bare(file, "CREATE TABLE chunks (id INTEGER PRIMARY KEY, first_us INTEGER, packed BLOB);");
    sqlite3_stmt* insert = bare.prepare("INSERT INTO chunks (first_us, packed) VALUES (?, ?)");
    const std::int64_t chunks = (events + builder.count() - 1) / builder.count();
    const double began = seconds();
    for (std::int64_t i = 0; i < chunks; ++i) {
        if (i % 16 == 0) {
            bare.execute(i == 0 ? "BEGIN" : "COMMIT; BEGIN");
        }
        sqlite3_bind_int64(insert, 1, i);
        sqlite3_bind_blob64(insert, 2, packed.data(), packed.size(), SQLITE_STATIC);
        must(sqlite3_step(insert) == SQLITE_DONE, "insert failed");
        sqlite3_reset(insert);
    }
    bare.execute("COMMIT");
    tell("bare SQLite, ready chunks, 16 a transaction", chunks * builder.count(), seconds() - began);
    sqlite3_finalize(insert);
}

std::string writeStore(Store& store, const Names& names, std::int64_t events)
{
    RecordFacts facts;
    facts.uuid = newRecordUuid();
    facts.name = "benchmark";
    std::unique_ptr<RecordWriter> writer;
    StoreResult result = store.create(facts, writer);
    must(bool(result), result.message);
    const double began = seconds();
    for (std::int64_t i = 0; i < events; ++i) {
        result = writer->append(names.event(i));
        if (i % 10'000 == 0 && result) {
            result = writer->tick(i * stepUs);
        }
        must(bool(result), result.message);
    }
    result = writer->close(0);
    must(bool(result), result.message);
    tell("embedded store, through its writer", events, seconds() - began);
    return facts.uuid;
}

void readStore(Store& store, const std::string& uuid, std::int64_t events)
{
    std::unique_ptr<RecordReader> reader;
    StoreResult result = store.open(uuid, reader);
    must(bool(result), result.message);
    const double began = seconds();
    auto cursor = reader->events(0, events * stepUs, result);
    EventView event;
    std::int64_t count = 0;
    while (cursor->next(event) == EventCursor::Step::Event) {
        ++count;
    }
    must(count == events, "read " + std::to_string(count) + " events");
    tell("  read whole, in order", events, seconds() - began);

    std::mt19937_64 random(1);
    std::vector<double> seeks;
    std::vector<double> states;
    for (int i = 0; i < 300; ++i) {
        const auto timeUs = static_cast<std::int64_t>(random() % static_cast<std::uint64_t>(events * stepUs));
        double start = seconds();
        cursor = reader->events(timeUs, events * stepUs, result);
        must(cursor->next(event) == EventCursor::Step::Event || timeUs > (events - 1) * stepUs, "seek found nothing");
        seeks.push_back(seconds() - start);
        start = seconds();
        std::vector<OutputValue> state;
        result = reader->stateBefore(timeUs, state);
        must(bool(result), result.message);
        states.push_back(seconds() - start);
    }
    std::sort(seeks.begin(), seeks.end());
    std::sort(states.begin(), states.end());
    std::printf("%-46s median %.3f ms, most %.3f ms\n", "  seek (first event from a moment on)", seeks[150] * 1e3,
        seeks.back() * 1e3);
    std::printf("%-46s median %.3f ms, most %.3f ms\n", "  state (last value of all outputs there)", states[150] * 1e3,
        states.back() * 1e3);

    const double exportBegan = seconds();
    csv::ExportCursor at;
    csv::ExportChunk chunk;
    std::size_t bytes = 0;
    std::size_t chunks = 0;
    do {
        result = csv::exportChunk(*reader, at, chunk);
        must(bool(result), result.message);
        bytes += chunk.content.size();
        ++chunks;
        at = chunk.next;
    } while (!at.isEmpty());
    tell("  export as CSV, in chunks", events, seconds() - exportBegan);
    std::printf("%-46s %zu chunks, %.1f MB\n", "", chunks, static_cast<double>(bytes) / 1e6);
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
    const std::string uuid = writeStore(*store, names, events);
    readStore(*store, uuid, events);

    const double began = seconds();
    result = store->remove(uuid);
    must(bool(result), result.message);
    std::printf("%-46s %.3f ms\n", "  delete (until it is off the list)", (seconds() - began) * 1e3);
    return 0;
}
