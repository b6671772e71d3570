// SPDX-License-Identifier: Apache-2.0

// How many events of 100 bytes a second the real program takes from the network into each store, every one of them,
// beside what the bare parts do with the same bytes in the same run:
//   embedded    a bare ZeroMQ socket, whose reader packs what comes and stores it with bare SQLite
//   csv         the same bytes written into a file
//   cassandra   the bare driver, which writes ready chunks
// One agent publishes as fast as the network takes it. When something is lost so, the rate is lowered until nothing is.
// What was stored is read back and compared, event by event.
//
//   bench_recording [--events 2000000] [--rounds 3] [embedded|csv|HOST:PORT]...   embedded and csv unless stores are
//   named
//
// Everything runs on this machine: publisher, recorder and database share its processors, and with whatever else runs.

#ifdef RR_HAS_CASSANDRA
#include "barecassandra.h"
#endif
#include "baresqlite.h"
#include "csv/csv.h"
#include "measures.h"
#include "recordedpump.h"
#include "storeload.h"

#include <QCoreApplication>
#include <QDir>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <thread>
#include <zmq.h>

using namespace recorder;
using namespace recorder::bench;
using namespace recorder::testing;

namespace {

constexpr std::size_t valueBytes = 100;
constexpr std::size_t pieceBytes = 32 * 1024;

// Of several rounds.
class Series
{
public:
    void add(double perSecond, double processorNs)
    {
        m_perSecond.push_back(perSecond);
        m_processorNs.push_back(processorNs);
    }
    double perSecond() const { return Measures::median(m_perSecond); }
    // Of one event, in all processes that were started for it but a database.
    double processorNs() const { return Measures::median(m_processorNs); }

private:
    std::vector<double> m_perSecond;
    std::vector<double> m_processorNs;
};

struct Limit
{
    std::string what;
    std::function<void(std::int64_t events)> work;
    double goal = 0; // share of it that is asked for; 0: none
    Series series;
};

// Over TCP on the loopback device, as the program has it: one thread sends, this one receives and stores.
void zmqIntoSqlite(const std::filesystem::path& file, std::int64_t events, std::int64_t inMessage)
{
    void* context = zmq_ctx_new();
    void* in = zmq_socket(context, ZMQ_PULL);
    must(zmq_bind(in, "tcp://127.0.0.1:*") == 0, "no free port");
    char endpoint[128];
    std::size_t size = sizeof(endpoint);
    zmq_getsockopt(in, ZMQ_LAST_ENDPOINT, endpoint, &size);
    const std::int64_t messages = events / inMessage;
    std::thread sender([&] {
        void* other = zmq_ctx_new();
        void* out = zmq_socket(other, ZMQ_PUSH);
        zmq_connect(out, endpoint);
        const std::string message(static_cast<std::size_t>(inMessage) * valueBytes, 'v');
        for (std::int64_t i = 0; i < messages; ++i) {
            zmq_send(out, message.data(), message.size(), 0);
        }
        zmq_close(out);
        zmq_ctx_term(other);
    });
    {
        BareChunks chunks(file);
        std::string piece;
        zmq_msg_t message;
        zmq_msg_init(&message);
        for (std::int64_t i = 0; i < messages; ++i) {
            must(zmq_msg_recv(&message, in, 0) >= 0, "nothing received");
            piece.append(static_cast<const char*>(zmq_msg_data(&message)), zmq_msg_size(&message));
            if (piece.size() >= pieceBytes) {
                chunks.add(piece);
                piece.clear();
            }
        }
        chunks.add(piece);
        chunks.commit();
        zmq_msg_close(&message);
    }
    sender.join();
    zmq_close(in);
    zmq_ctx_term(context);
}

std::string rowsOf(std::int64_t events)
{
    const std::string value(valueBytes, 'v');
    std::string rows;
    for (std::int64_t i = 0; i < events; ++i) {
        csv::appendEvent(rows, { i, "pump", "text", ValueView::fromString(value) });
    }
    return rows;
}

void writeFile(const std::filesystem::path& path, const std::string& rows, std::size_t piece)
{
    std::FILE* file = std::fopen(path.c_str(), "wb");
    must(file != nullptr, "cannot write " + path.string());
    for (std::size_t at = 0; at < rows.size(); at += piece) {
        const std::size_t bytes = std::min(piece, rows.size() - at);
        must(std::fwrite(rows.data() + at, 1, bytes, file) == bytes, "the disk is full");
    }
    must(std::fclose(file) == 0, "the disk is full");
}

std::vector<Limit> limitsOf(const StorePlace& place, const std::filesystem::path& directory, std::int64_t events)
{
    std::vector<Limit> limits;
    const std::filesystem::path file = directory / "limit";
    switch (place.settings.store) {
    case StoreKind::Embedded:
        for (const std::int64_t inMessage : { 1, 8 }) {
            limits.push_back({ "bare ZeroMQ, " + std::to_string(inMessage) + " a message, into bare SQLite",
                [file, inMessage](std::int64_t count) { zmqIntoSqlite(file, count, inMessage); }, 0, {} });
        }
        break;
    case StoreKind::None: {
        const auto rows = std::make_shared<std::string>(rowsOf(events));
        const std::size_t row = rows->size() / static_cast<std::size_t>(events);
        limits.push_back({ "the same bytes into a file, a row at a time",
            [file, rows, row](std::int64_t) { writeFile(file, *rows, row); }, 0.5, {} });
        limits.push_back({ "the same bytes into a file, 128 KiB at a time",
            [file, rows](std::int64_t) { writeFile(file, *rows, 128 * 1024); }, 0, {} });
        break;
    }
    case StoreKind::Cassandra:
#ifdef RR_HAS_CASSANDRA
        const auto bare = std::make_shared<BareCassandra>(
            cassandraOptions(place.options.value(1).toStdString(), directory / "no journals"));
        std::uint32_t inOne = 0;
        const std::string packed = readyChunk(Names(), inOne);
        bare->prepare();
        limits.push_back({ "bare driver, ready chunks, 128 in flight",
            [bare, inOne, packed](std::int64_t count) { bare->writeChunks(count, packed, inOne); }, 0.8, {} });
#endif
        break;
    }
    return limits;
}

void removeFiles(const std::filesystem::path& directory)
{
    for (const auto& entry : std::filesystem::directory_iterator(directory)) {
        if (entry.path().filename().string().starts_with("limit")) {
            std::filesystem::remove(entry.path());
        }
    }
}

// Records once; the record is deleted afterwards. Whether nothing was lost.
bool record(ScriptedHost& host, const StorePlace& place, const PumpOptions& options, Series& series, double& perSecond)
{
    RecorderProcess recorder("Bench recorder");
    must(recorder.start(place.options), "the recorder does not start");
    const PumpResult pumped = pump(host, recorder, place, options);
    must(recorder.terminate() == 0, "the recorder does not end well");
    const std::unique_ptr<Store> store = place.open();
    const ReadBack back = readBack(*store, pumped, options);
    must(bool(store->remove(pumped.uuid)), "not deleted");
    perSecond = pumped.perSecond();
    const double perEvent = 1e9 / static_cast<double>(options.events);
    const std::string how = options.perSecond > 0
        ? "recorder, sent at " + std::to_string(static_cast<std::int64_t>(options.perSecond)) + " a second"
        : "recorder, as fast as the network takes them";
    std::printf("  %-50s %10.0f events/s   %6.0f + %.0f ns of processor an event, recorder and publisher;"
                " stored %lld, missing %lld (reported %llu), altered %lld\n",
        how.c_str(), perSecond, pumped.recorderWorked * perEvent, pumped.publisherWorked * perEvent,
        static_cast<long long>(back.stored), static_cast<long long>(back.missing),
        static_cast<unsigned long long>(back.reportedLost), static_cast<long long>(back.altered));
    std::fflush(stdout);
    must(back.altered == 0 && back.missing == static_cast<std::int64_t>(back.reportedLost),
        "what is missing is not what the record says");
    if (back.isWhole()) {
        series.add(perSecond, (pumped.recorderWorked + pumped.publisherWorked) * perEvent);
    }
    return back.isWhole();
}

void tellResult(const StorePlace& place, const std::vector<Limit>& limits, const Series& series, bool isPaced)
{
    std::printf("  => %.0f events/s with nothing lost (%s), %.0f ns of processor an event\n", series.perSecond(),
        isPaced ? "the highest rate that was tried without a loss"
                : "the publisher was held back by the network, not by a rate",
        series.processorNs());
    if (place.settings.store == StoreKind::Embedded) {
        constexpr double goalPerSecond = 2'000'000;
        std::printf("     goal %.0f: %s; two processors with nothing else to do would make %.0f\n", goalPerSecond,
            series.perSecond() >= goalPerSecond ? "met" : "MISSED", 2e9 / series.processorNs());
    }
    for (const Limit& limit : limits) {
        const double share = series.perSecond() / limit.series.perSecond();
        std::printf("     %.2f of \"%s\" (by processor time %.2f)", share, limit.what.c_str(),
            limit.series.processorNs() / series.processorNs());
        if (limit.goal > 0) {
            std::printf(", goal %.1f: %s", limit.goal, share >= limit.goal ? "met" : "MISSED");
        }
        std::printf("\n");
    }
    std::fflush(stdout);
}

void measure(ScriptedHost& host, const QString& word, std::int64_t events, int rounds)
{
    const QTemporaryDir directory;
    const std::filesystem::path files(directory.path().toStdString());
    const StorePlace place = placeOf(word, directory.path());
    std::printf("%s: %lld events of %zu bytes\n", qPrintable(place.name), static_cast<long long>(events), valueBytes);
    std::vector<Limit> limits = limitsOf(place, files, events);
    Series recorded;
    PumpOptions options;
    options.events = events;
    options.bytes = valueBytes;
    for (int round = 0; round < rounds; ++round) {
        for (Limit& limit : limits) {
            const Stopwatch watch;
            limit.work(events);
            const double perSecond = static_cast<double>(events) / watch.passed();
            const double processorNs = watch.worked() / static_cast<double>(events) * 1e9;
            limit.series.add(perSecond, processorNs);
            std::printf("  %-50s %10.0f events/s   %6.0f ns of processor an event\n", limit.what.c_str(), perSecond,
                processorNs);
            std::fflush(stdout);
            removeFiles(files);
        }
        double perSecond = 0;
        while (!record(host, place, options, recorded, perSecond)) {
            options.perSecond = 0.8 * (options.perSecond > 0 ? options.perSecond : perSecond);
        }
    }
    tellResult(place, limits, recorded, options.perSecond > 0);
}

} // namespace

int main(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
    QStringList words = application.arguments().mid(1);
    const std::int64_t events = takeNumber(words, "--events", 2'000'000);
    const auto rounds = static_cast<int>(takeNumber(words, "--rounds", 3));
    must(
        events > 0 && rounds > 0, "usage: bench_recording [--events 2000000] [--rounds 3] [embedded|csv|HOST:PORT]...");
    if (words.isEmpty()) {
        words = { "embedded", "csv" };
    }
    must(TestNetwork::join(), "cannot join the network");
    {
        ScriptedHost host(qny_default_agent());
        for (const QString& word : words) {
            measure(host, word, events, rounds);
        }
    }
    TestNetwork::leave();
    return 0;
}
