// SPDX-License-Identifier: Apache-2.0

// What the store of CSV files does in a second, beside writing the same bytes into a file in the same run. Then what
// memory reading a long record takes.
//
//   bench_csvfilestore [events, 1000000] [directory, a temporary one]

#include "csv/csv.h"
#include "processfigures.h"
#include "store/csvfile/csvfilestore.h"
#include "storeload.h"

#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <unistd.h>

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
    const Stopwatch watch;
    for (std::size_t at = 0; at < rows.size(); at += piece) {
        const std::size_t bytes = std::min(piece, rows.size() - at);
        must(std::fwrite(rows.data() + at, 1, bytes, file) == bytes, "the disk is full");
    }
    std::fclose(file);
    tell(rowByRow ? "the same bytes, a row at a time" : "the same bytes, ready, 128 KiB at a time", events, watch);
    std::filesystem::remove(path);
}

} // namespace

int main(int argc, char** argv)
{
    const std::int64_t events = argc > 1 ? std::atoll(argv[1]) : 1'000'000;
    must(events > 0, "usage: bench_csvfilestore [events] [directory]");
    const QTemporaryDir temporary(
        argc > 2 ? QString::fromLocal8Bit(argv[2]) + "/bench_csvfilestore-XXXXXX" : QString());
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
    forgetPeak(::getpid());
    const long before = peakKiB(::getpid());
    std::unique_ptr<RecordReader> reader;
    const Stopwatch watch;
    result = store->open(uuid, reader);
    must(bool(result), result.message);
    tell("  open for the first time", events, watch);
    reader.reset();
    readStore(*store, uuid, events);
    std::printf("%-46s %.1f MiB more at most\n", "  memory for all of this reading",
        static_cast<double>(peakKiB(::getpid()) - before) / 1024);
    return 0;
}
