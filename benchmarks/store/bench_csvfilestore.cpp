// SPDX-License-Identifier: Apache-2.0

// What the store of CSV files does in a second, beside writing the same bytes into a file in the same run, and beside
// the system's own listing of a folder. Then what memory reading a long record takes.
//
//   bench_csvfilestore [events, 1000000] [records to list, 10000] [directory, a temporary one]

#include "csv/csv.h"
#include "store/csvfile/csvfilestore.h"
#include "storeload.h"

#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

using namespace recorder;
using namespace recorder::bench;

namespace {

// The rows of the events, ready made: what the record's file will hold.
std::string makeRows(const Names& names, std::int64_t events)
{
    std::string rows;
    for (std::int64_t i = 0; i < events; ++i) {
        csv::appendEvent(rows, names.event(i));
    }
    return rows;
}

void writeBytes(const std::filesystem::path& path, const std::string& rows, std::int64_t events, bool rowByRow)
{
    const std::size_t piece = rowByRow ? rows.size() / static_cast<std::size_t>(events) : 128 * 1024;
    std::FILE* file = std::fopen(path.c_str(), "wb");
    must(file != nullptr, "cannot write " + path.string());
    if (!rowByRow) {
        std::setvbuf(file, nullptr, _IONBF, 0);
    }
    const double began = seconds();
    for (std::size_t at = 0; at < rows.size(); at += piece) {
        const std::size_t bytes = std::min(piece, rows.size() - at);
        must(std::fwrite(rows.data() + at, 1, bytes, file) == bytes, "the disk is full");
    }
    std::fclose(file);
    tell(rowByRow ? "the same bytes, a row at a time" : "the same bytes, ready, 128 KiB at a time", events,
        seconds() - began);
    std::filesystem::remove(path);
}

void listRecords(const std::filesystem::path& directory, int count)
{
    CsvFileOptions options;
    options.directory = directory;
    StoreResult result;
    std::unique_ptr<Store> store = openCsvFileStore(options, result);
    must(bool(result), result.message);
    const Names names;
    for (int i = 0; i < count; ++i) {
        RecordFacts facts;
        facts.uuid = newRecordUuid();
        facts.name = "record " + std::to_string(i);
        facts.startUs = 1'700'000'000'000'000 + i;
        std::unique_ptr<RecordWriter> writer;
        result = store->create(facts, writer);
        must(bool(result), result.message);
        for (int event = 0; event < 20; ++event) {
            must(bool(writer->append(names.event(event))), "append failed");
        }
        must(bool(writer->close(1'000'000)), "close failed");
    }
    store.reset();
    double began = seconds();
    std::int64_t bytes = 0;
    for (const auto& entry : std::filesystem::directory_iterator(directory)) {
        bytes += static_cast<std::int64_t>(entry.file_size());
    }
    std::printf("%-46s %.1f ms\n", ("names and sizes of " + std::to_string(count) + " files").c_str(),
        (seconds() - began) * 1e3);
    began = seconds();
    store = openCsvFileStore(options, result);
    must(bool(result), result.message);
    std::printf("%-46s %.1f ms\n", "  open the store on them", (seconds() - began) * 1e3);
    std::vector<RecordSummary> list;
    began = seconds();
    must(bool(store->records({}, list)) && static_cast<int>(list.size()) == count, "the list is not whole");
    std::printf("%-46s %.1f ms\n", "  list them", (seconds() - began) * 1e3);
    std::uint64_t revision = 0;
    began = seconds();
    must(bool(store->listRevision(revision)), "no revision");
    std::printf("%-46s %.3f ms\n", "  ask whether the list changed", (seconds() - began) * 1e3);
}

long peakKb()
{
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.starts_with("VmHWM:")) {
            return std::atol(line.c_str() + 6);
        }
    }
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    const std::int64_t events = argc > 1 ? std::atoll(argv[1]) : 1'000'000;
    const int records = argc > 2 ? std::atoi(argv[2]) : 10'000;
    must(events > 0 && records > 0, "usage: bench_csvfilestore [events] [records] [directory]");
    const QTemporaryDir temporary(
        argc > 3 ? QString::fromLocal8Bit(argv[3]) + "/bench_csvfilestore-XXXXXX" : QString());
    must(temporary.isValid(), "cannot make a temporary directory");
    const std::filesystem::path directory(temporary.path().toStdString());
    std::printf("%lld events of 100 bytes in %s\n", static_cast<long long>(events), directory.c_str());

    const Names names;
    {
        const std::string rows = makeRows(names, events);
        writeBytes(directory / "bytes", rows, events, true);
        writeBytes(directory / "bytes", rows, events, false);
    }
    CsvFileOptions options;
    options.directory = directory / "store";
    StoreResult result;
    std::unique_ptr<Store> store = openCsvFileStore(options, result);
    must(bool(result), result.message);
    const std::string uuid = writeStore(*store, names, events, "CSV file store, through its writer");
    store = openCsvFileStore(options, result);
    must(bool(result), result.message);
    std::ofstream("/proc/self/clear_refs") << "5"; // the peak counts from here
    const long before = peakKb();
    std::unique_ptr<RecordReader> reader;
    const double began = seconds();
    result = store->open(uuid, reader);
    must(bool(result), result.message);
    tell("  open for the first time", events, seconds() - began);
    reader.reset();
    readStore(*store, uuid, events);
    std::printf("%-46s %.1f MiB more at most\n", "  memory for all of this reading",
        static_cast<double>(peakKb() - before) / 1024);
    listRecords(directory / "many", records);
    return 0;
}
