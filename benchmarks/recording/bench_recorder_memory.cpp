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

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <thread>
#include <vector>

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

struct Memory
{
    double most = 0; // MiB
    double median = 0;
};

// Looks at a process's memory from its making until it is asked.
class MemoryWatch
{
public:
    explicit MemoryWatch(std::int64_t processId)
        : m_processId(processId)
        , m_thread([this] {
            while (!m_mustEnd) {
                m_samples.push_back(memoryKiB(m_processId));
                std::this_thread::sleep_for(std::chrono::milliseconds(20));
            }
        })
    {
    }
    ~MemoryWatch()
    {
        if (m_thread.joinable()) {
            end();
        }
    }
    MemoryWatch(const MemoryWatch&) = delete;
    MemoryWatch& operator=(const MemoryWatch&) = delete;

    Memory end()
    {
        m_mustEnd = true;
        m_thread.join();
        std::sort(m_samples.begin(), m_samples.end());
        return { static_cast<double>(peakKiB(m_processId)) / 1024,
            static_cast<double>(m_samples[m_samples.size() / 2]) / 1024 };
    }

private:
    const std::int64_t m_processId;
    std::atomic<bool> m_mustEnd { false };
    std::vector<long> m_samples; // of the thread, until it ended
    std::thread m_thread;
};

struct Memories
{
    Memory recording;
    Memory replaying;
};

void startIt(RecorderProcess& recorder, const StorePlace& place)
{
    if (!recorder.start(place.options)) {
        must(false, "the recorder does not start: " + recorder.log().toStdString());
    }
}

struct Replay
{
    std::int64_t events = 0;
    double took = 0;
};

Replay replay(ScriptedHost& host, const QString& recorder, const PumpResult& pumped)
{
    must(waitUntil([] { return !qny_agent_is_present("pump"); }, 30'000), "the pump does not leave");
    host.call(recorder, "load", { QByteArray::fromStdString(pumped.uuid), 0.0, 1e9 });
    must(host.reply("loaded", "host-id", 600'000).has_value(), "not loaded");
    const Listener listener;
    Replay replayed;
    const double began = seconds();
    host.call(recorder, "play");
    must(host.reply("replay_ended", "host-id", replayPatienceMs).has_value(), "the replay does not end");
    replayed.took = seconds() - began;
    waitUntil([&] { return listener.count() >= pumped.events; }, 10'000);
    replayed.events = listener.count();
    host.call(recorder, "unload");
    host.reply("unloaded");
    return replayed;
}

Memories measureOne(ScriptedHost& host, const StorePlace& place, std::int64_t bytes, double bytesPerSecond)
{
    PumpOptions options;
    options.bytes = valueBytes;
    options.events = bytes / static_cast<std::int64_t>(valueBytes);
    options.perSecond = bytesPerSecond / static_cast<double>(valueBytes);
    Memories memories;
    PumpResult pumped;
    {
        RecorderProcess recorder("Bench recorder");
        startIt(recorder, place);
        MemoryWatch watch(recorder.processId());
        pumped = pump(host, recorder, place, options);
        memories.recording = watch.end();
        must(recorder.terminate() == 0, "the recorder does not end well");
    }
    Replay replayed;
    {
        RecorderProcess recorder("Bench recorder");
        startIt(recorder, place);
        MemoryWatch watch(recorder.processId());
        replayed = replay(host, recorder.name(), pumped);
        memories.replaying = watch.end();
        must(recorder.terminate() == 0, "the recorder does not end well");
    }
    const std::unique_ptr<Store> store = place.open();
    const ReadBack back = readBack(*store, pumped, options);
    must(bool(store->remove(pumped.uuid)), "not deleted");
    std::printf(
        "  %8.0f MB: recorded in %.0f s, missing %lld (reported %llu), replayed %lld of %lld in %.0f s; recording "
        "%.1f MiB, at most %.1f; replaying %.1f MiB, at most %.1f\n",
        static_cast<double>(bytes) / 1e6, pumped.storedSeconds, static_cast<long long>(back.missing),
        static_cast<unsigned long long>(back.reportedLost), static_cast<long long>(replayed.events),
        static_cast<long long>(back.stored), replayed.took, memories.recording.median, memories.recording.most,
        memories.replaying.median, memories.replaying.most);
    std::fflush(stdout);
    return memories;
}

void tellGrowth(const char* what, const Memory& small, const Memory& large)
{
    const double growth = large.most / small.most;
    std::printf(
        "     %s: %.2f times the memory for ten times the length (half of the time %.2f), goal at most %.1f: %s\n",
        what, growth, large.median / small.median, goal, growth <= goal ? "met" : "MISSED");
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
            const Memories small = measureOne(host, place, bytes, perSecond);
            const Memories large = measureOne(host, place, 10 * bytes, perSecond);
            tellGrowth("recording", small.recording, large.recording);
            tellGrowth("replaying", small.replaying, large.replaying);
        }
    }
    TestNetwork::leave();
    return 0;
}
