// SPDX-License-Identifier: Apache-2.0

// How long a store takes to list many records, beside the least that has to be done for it in the same run: the bare
// query of the database, or reading both ends of every file of the folder.
//
//   bench_list [--records 10000] [embedded|csv|HOST:PORT]...      embedded and csv unless stores are named
//
// In Cassandra the keyspace "benchmark" is used, and what was listed is deleted afterwards.

#include "baresqlite.h"
#ifdef RR_HAS_CASSANDRA
#include "barecassandra.h"
#include "store/cassandra/statements.h"
#endif
#include "storeload.h"
#include "storeplaces.h"

#include <QCoreApplication>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <memory>

using namespace recorder;
using namespace recorder::bench;

namespace {

constexpr int rounds = 5;

// Several of each, taking turns; the quickest of each counts.
void tellQuickest(const std::vector<std::pair<std::string, std::function<void()>>>& works)
{
    std::vector<std::vector<double>> took(works.size());
    for (int round = 0; round < rounds; ++round) {
        for (std::size_t i = 0; i < works.size(); ++i) {
            const double began = seconds();
            works[i].second();
            took[i].push_back(seconds() - began);
        }
    }
    for (std::size_t i = 0; i < works.size(); ++i) {
        std::printf(
            "  %-58s %9.1f ms\n", works[i].first.c_str(), *std::min_element(took[i].begin(), took[i].end()) * 1e3);
    }
    std::fflush(stdout);
}

void makeRecords(Store& store, int count)
{
    const Names names;
    const double began = seconds();
    for (int i = 0; i < count; ++i) {
        RecordFacts facts;
        facts.uuid = newRecordUuid();
        facts.name = "record " + std::to_string(i);
        facts.startUs = 1'700'000'000'000'000 + i;
        std::unique_ptr<RecordWriter> writer;
        const StoreResult result = store.create(facts, writer);
        must(bool(result), result.message);
        for (int event = 0; event < 20; ++event) {
            must(bool(writer->append(names.event(event))), "append failed");
        }
        must(bool(writer->close(1'000'000)), "close failed");
    }
    std::printf("  %-58s %9.3f ms each\n", "make them, with 20 events each", (seconds() - began) * 1e3 / count);
    std::fflush(stdout);
}

// The columns that the list needs, and nothing else.
void queryEmbedded(const std::filesystem::path& file, int count)
{
    sqlite3* database = nullptr;
    sqlite3_stmt* statement = nullptr;
    must(sqlite3_open_v2(file.c_str(), &database, SQLITE_OPEN_READONLY, nullptr) == SQLITE_OK
            && sqlite3_prepare_v2(database,
                   "SELECT uuid, name, start_us, duration_us, events, state, owner, origin FROM records", -1,
                   &statement, nullptr)
                == SQLITE_OK,
        "cannot read " + file.string());
    int rows = 0;
    std::size_t bytes = 0;
    while (sqlite3_step(statement) == SQLITE_ROW) {
        ++rows;
        for (int column = 0; column < sqlite3_column_count(statement); ++column) {
            bytes += static_cast<std::size_t>(sqlite3_column_bytes(statement, column));
        }
    }
    must(rows == count && bytes > 0, "the query is not whole");
    sqlite3_finalize(statement);
    sqlite3_close(database);
}

void readEnds(const std::filesystem::path& directory, int count)
{
    constexpr long endBytes = 1024;
    int files = 0;
    char buffer[endBytes];
    for (const auto& entry : std::filesystem::directory_iterator(directory)) {
        std::FILE* file = std::fopen(entry.path().c_str(), "rb");
        must(file != nullptr, "cannot open " + entry.path().string());
        std::size_t got = std::fread(buffer, 1, sizeof(buffer), file);
        std::fseek(file, -std::min<long>(endBytes, static_cast<long>(entry.file_size())), SEEK_END);
        got += std::fread(buffer, 1, sizeof(buffer), file);
        must(got > 0, "an empty file");
        std::fclose(file);
        ++files;
    }
    must(files >= count, "the folder is not whole");
}

std::vector<RecordSummary> listOf(Store& store, int count)
{
    std::vector<RecordSummary> list;
    const StoreResult result = store.records({}, list);
    must(bool(result), result.message);
    must(static_cast<int>(list.size()) == count, "the list is not whole");
    return list;
}

void measure(const StorePlace& place, int count)
{
    std::printf("%s: %d records\n", qPrintable(place.name), count);
    std::unique_ptr<Store> store = place.open();
    std::vector<RecordSummary> before;
    must(bool(store->records({}, before)) && before.empty(), "there are records already");
    makeRecords(*store, count);
    store.reset();
    place.waitUntilDrained();

    const std::filesystem::path directory(place.settings.dataDirectory.toStdString());
    const double began = seconds();
    store = place.open();
    std::printf("  %-58s %9.1f ms\n", "open the store on them", (seconds() - began) * 1e3);
    const auto list = [&] { listOf(*store, count); };
    const auto asJson = [&] { must(!recordsToJson(listOf(*store, count)).empty(), "no text"); };
    std::vector<std::pair<std::string, std::function<void()>>> works;
    if (place.settings.store == StoreKind::Embedded) {
        works.emplace_back("limit: bare query", [&] { queryEmbedded(directory / "records.db", count); });
    } else if (place.settings.store == StoreKind::None) {
        works.emplace_back("limit: read both ends of every file", [&] { readEnds(directory, count); });
        works.emplace_back("list, by a store that was just opened", [&] {
            store.reset();
            store = place.open();
            listOf(*store, count);
        });
    } else {
#ifdef RR_HAS_CASSANDRA
        const auto bare = std::make_shared<BareCassandra>(
            cassandraOptions(place.options.value(1).toStdString(), directory / "journals of nobody"));
        works.emplace_back("limit: bare driver, the same query",
            [bare, count] { must(bare->count(cassandra::cql::listRecords) == count, "the query is not whole"); });
#endif
    }
    works.emplace_back("list", list);
    works.emplace_back("list, as the text that a host is sent", asJson);
    works.emplace_back("ask whether the list changed", [&] {
        std::uint64_t revision = 0;
        must(bool(store->listRevision(revision)), "no revision");
    });
    tellQuickest(works);
    if (place.settings.store == StoreKind::Cassandra) {
        for (const RecordSummary& record : listOf(*store, count)) {
            must(bool(store->remove(record.uuid)), "not deleted");
        }
    }
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    QStringList words = application.arguments().mid(1);
    const auto count = static_cast<int>(takeNumber(words, "--records", 10'000));
    must(count > 0, "usage: bench_list [--records 10000] [embedded|csv|HOST:PORT]...");
    if (words.isEmpty()) {
        words = { "embedded", "csv" };
    }
    const QTemporaryDir directory;
    for (const QString& word : words) {
        measure(placeOf(word, directory.path()), count);
    }
    return 0;
}
