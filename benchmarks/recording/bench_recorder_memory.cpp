// SPDX-License-Identifier: Apache-2.0

// The most memory that the real program holds while it records and while it replays, for a record and for one ten times
// as long: it must not grow with the record's length. The values have 1,000 bytes; a listener receives what is
// replayed.
//
//   bench_recorder_memory [--mb 256] [--mb_a_second 50] [embedded|csv|HOST:PORT]...  embedded and csv unless stores are
//                         named
//
// It takes about 13 times --mb on the disk of the temporary folder (TMPDIR), for CSV and for the embedded store.

#include "processfigures.h"
#include "recordedpump.h"
#include "storeload.h"

#include <QCoreApplication>
#include <QTemporaryDir>

#include <atomic>
#include <cstdio>

using namespace recorder;
using namespace recorder::bench;
using namespace recorder::testing;

namespace {

constexpr std::size_t valueBytes = 1'000;
constexpr double goal = 1.1;
constexpr int replayPatienceMs = 3'600'000;

// Receives what the stand-in of the pump publishes, and only counts it.
class Listener
{
public:
    Listener()
    {
        qny_agent_input_create(qny_default_agent(), "replayed", QNY_STRING_T, nullptr, 0);
        qny_agent_observe_input_publications(qny_default_agent(), "replayed", onPublication, this);
        qny_agent_mapping_add(qny_default_agent(), "replayed", "pump", "text");
    }
    ~Listener()
    {
        qny_agent_mapping_remove_with_name(qny_default_agent(), "replayed", "pump", "text");
        qny_agent_input_remove(qny_default_agent(), "replayed");
    }
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    std::int64_t count() const { return m_count; }

private:
    static void onPublication(const qny_publication_t* publication, void* self)
    {
        if (publication->stand_in) {
            ++static_cast<Listener*>(self)->m_count;
        }
    }

    std::atomic<std::int64_t> m_count { 0 };
};

struct Peaks
{
    double recordingMiB = 0;
    double replayingMiB = 0;
};

Peaks measureOne(ScriptedHost& host, const StorePlace& place, std::int64_t bytes, double bytesPerSecond)
{
    RecorderProcess recorder("Bench recorder");
    must(recorder.start(place.options), "the recorder does not start: " + recorder.log().toStdString());
    PumpOptions options;
    options.bytes = valueBytes;
    options.events = bytes / static_cast<std::int64_t>(valueBytes);
    options.perSecond = bytesPerSecond / static_cast<double>(valueBytes);
    Peaks peaks;
    forgetPeak(recorder.processId());
    const PumpResult pumped = pump(host, recorder, place, options);
    peaks.recordingMiB = static_cast<double>(peakKiB(recorder.processId())) / 1024;

    must(waitUntil([] { return !qny_agent_is_present("pump"); }, 30'000), "the pump does not leave");
    host.call(recorder.name(), "load", { QByteArray::fromStdString(pumped.uuid), 0.0, 1e9 });
    must(host.reply("loaded", "host-id", 600'000).has_value(), "not loaded: " + recorder.log().toStdString());
    forgetPeak(recorder.processId());
    std::int64_t replayed = 0;
    double took = 0;
    {
        const Listener listener;
        const double began = seconds();
        host.call(recorder.name(), "play");
        must(host.reply("replay_ended", "host-id", replayPatienceMs).has_value(), "the replay does not end");
        took = seconds() - began;
        waitUntil([&] { return listener.count() >= options.events; }, 10'000);
        replayed = listener.count();
    }
    peaks.replayingMiB = static_cast<double>(peakKiB(recorder.processId())) / 1024;
    host.call(recorder.name(), "unload");
    host.reply("unloaded");
    must(recorder.terminate() == 0, "the recorder does not end well");

    const std::unique_ptr<Store> store = place.open();
    const ReadBack back = readBack(*store, pumped, options);
    must(bool(store->remove(pumped.uuid)), "not deleted");
    std::printf("  %8.0f MB: recorded in %.0f s, missing %lld, replayed %lld of %lld in %.0f s; at most %.1f MiB "
                "recording, %.1f MiB replaying\n",
        static_cast<double>(bytes) / 1e6, pumped.storedSeconds, static_cast<long long>(back.missing),
        static_cast<long long>(replayed), static_cast<long long>(back.stored), took, peaks.recordingMiB,
        peaks.replayingMiB);
    std::fflush(stdout);
    return peaks;
}

void tellGrowth(const char* what, double small, double large)
{
    std::printf("     %s: %.2f times the memory for ten times the length, goal at most %.1f: %s\n", what, large / small,
        goal, large / small <= goal ? "met" : "MISSED");
}

} // namespace

int main(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
    QStringList words = application.arguments().mid(1);
    const std::int64_t bytes = takeNumber(words, "--mb", 256) * 1'000'000;
    const double perSecond = static_cast<double>(takeNumber(words, "--mb_a_second", 50)) * 1e6;
    must(bytes > 0 && perSecond > 0,
        "usage: bench_recorder_memory [--mb 256] [--mb_a_second 50] [embedded|csv|HOST:PORT]...");
    if (words.isEmpty()) {
        words = { "embedded", "csv" };
    }
    must(TestNetwork::join(), "cannot join the network");
    {
        ScriptedHost host(qny_default_agent());
        for (const QString& word : words) {
            const QTemporaryDir directory;
            const StorePlace place = placeOf(word, directory.path());
            std::printf("%s\n", qPrintable(place.name));
            const Peaks small = measureOne(host, place, bytes, perSecond);
            const Peaks large = measureOne(host, place, 10 * bytes, perSecond);
            tellGrowth("recording", small.recordingMiB, large.recordingMiB);
            tellGrowth("replaying", small.replayingMiB, large.replayingMiB);
        }
    }
    TestNetwork::leave();
    return 0;
}
