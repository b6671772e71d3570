// SPDX-License-Identifier: Apache-2.0

// Whether a replay has to wait for its store. A record of events of 100 bytes, 10,000 a second, is read ahead as a
// replay does it, at growing speeds: how many of the events were read only after they were due, and by how much. The
// limit is what the store's reader gives when nobody waits for anything. Then how soon a replay that was moved has its
// state and its first events.
//
//   bench_readahead [--events 10000000] [embedded|csv|HOST:PORT]...      embedded and csv unless stores are named
//
// In Cassandra the keyspace "benchmark" is used, and the record is deleted afterwards.

#include "replay/readahead.h"
#include "storeload.h"
#include "storeplaces.h"

#include <QCoreApplication>
#include <QTemporaryDir>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <random>
#include <thread>

using namespace recorder;
using namespace recorder::bench;

namespace {

constexpr double runSeconds = 3;
constexpr int seeks = 100;
constexpr double mostSeekSeconds = 0.2;

// A replay without a network.
class Replay
{
public:
    Replay(Store& store, const std::string& uuid, std::int64_t events)
        : m_endUs(events * stepUs)
    {
        std::unique_ptr<RecordReader> reader;
        const StoreResult result = store.open(uuid, reader);
        must(bool(result), result.message);
        m_reading = std::make_unique<ReadAhead>(std::move(reader), std::make_shared<OutputNames>(), [this] {
            const std::lock_guard lock(m_mutex);
            m_isReady = true;
            m_ready.notify_one();
        });
    }

    // Seconds until the state and the first events are there.
    double seek(std::int64_t timeUs)
    {
        const double began = seconds();
        m_reading->seek(timeUs, m_endUs);
        take([this](EventBatch& batch) { return m_reading->takeState(batch); });
        takeEvents();
        return seconds() - began;
    }
    // False at the end of the record.
    bool takeEvents()
    {
        return take([this](EventBatch& batch) { return m_reading->take(batch); });
    }
    const EventBatch& batch() const { return m_batch; }
    // Whether what was taken last was not there yet when it was asked for.
    bool hadToWait() const { return m_hadToWait; }

private:
    template <typename Take> bool take(const Take& takeOne)
    {
        m_batch.clear();
        m_hadToWait = false;
        for (;;) {
            switch (takeOne(m_batch)) {
            case ReadAhead::Status::Ready:
                return true;
            case ReadAhead::Status::End:
                return false;
            case ReadAhead::Status::Failed:
                must(false, m_reading->failure());
                break;
            case ReadAhead::Status::Pending: {
                m_hadToWait = true;
                std::unique_lock lock(m_mutex);
                m_ready.wait(lock, [this] { return m_isReady; });
                m_isReady = false;
            }
            }
        }
    }

    const std::int64_t m_endUs;
    std::mutex m_mutex;
    std::condition_variable m_ready;
    bool m_isReady = false;
    bool m_hadToWait = false;
    EventBatch m_batch;
    std::unique_ptr<ReadAhead> m_reading; // calls until it has ended
};

// Plays for some seconds at so many events a second. The first events are there when time begins, as in a replay.
void playAt(Replay& replay, double perSecond)
{
    replay.seek(0);
    const double speed = perSecond * static_cast<double>(stepUs) / 1e6;
    std::int64_t played = 0;
    std::int64_t late = 0;
    double most = 0;
    const double began = seconds();
    for (bool isFirst = true; isFirst || (seconds() - began < runSeconds && replay.takeEvents()); isFirst = false) {
        const EventBatch& batch = replay.batch();
        const double now = seconds() - began;
        // Who was itself too late to ask has not waited for the store.
        if (!isFirst && replay.hadToWait()) {
            for (const EventBatch::Entry& entry : batch.entries) {
                const double lateness = now - static_cast<double>(entry.timeUs) / 1e6 / speed;
                late += lateness > 0 ? 1 : 0;
                most = std::max(most, lateness);
            }
        }
        played += static_cast<std::int64_t>(batch.entries.size());
        // The whole batch is published before the next is taken.
        const double last = static_cast<double>(batch.entries.back().timeUs) / 1e6 / speed;
        while (seconds() - began < last) {
            std::this_thread::sleep_for(
                std::chrono::duration<double>(std::min(0.001, std::max(0.0, last - (seconds() - began)))));
        }
    }
    std::printf("  at %9.0f events/s: %9lld played, %6.3f %% read late, at most %7.3f ms\n", perSecond,
        static_cast<long long>(played), 100.0 * static_cast<double>(late) / static_cast<double>(played), most * 1e3);
    std::fflush(stdout);
}

void measure(const StorePlace& place, std::int64_t events)
{
    std::printf("%s: a record of %lld events\n", qPrintable(place.name), static_cast<long long>(events));
    const std::unique_ptr<Store> store = place.open();
    const std::string uuid = writeStore(*store, Names(), events, "written");
    place.waitUntilDrained();
    {
        Replay replay(*store, uuid, events);
        replay.seek(0);
        auto read = static_cast<std::int64_t>(replay.batch().entries.size());
        std::size_t bytes = replay.batch().bytes();
        const Stopwatch watch;
        while (read < 5'000'000 && replay.takeEvents()) {
            read += static_cast<std::int64_t>(replay.batch().entries.size());
            bytes = std::max(bytes, replay.batch().bytes());
        }
        tell("  limit: read ahead as fast as it goes", read, watch);
        std::printf("  read ahead: up to %zu batches of at most %zu bytes\n", ReadAhead::MOST_ITEMS, bytes);
        for (const double perSecond : { 10'000.0, 100'000.0, 300'000.0, 1'000'000.0 }) {
            playAt(replay, perSecond);
        }
        std::mt19937_64 random(1);
        std::vector<double> took;
        for (int i = 0; i < seeks; ++i) {
            took.push_back(
                replay.seek(static_cast<std::int64_t>(random() % static_cast<std::uint64_t>(events * stepUs))));
        }
        const double most = *std::max_element(took.begin(), took.end());
        tellTimes("  moved to any time until the first events", std::move(took));
        std::printf("  %-44s goal at most %.0f ms: %s\n", "", mostSeekSeconds * 1e3,
            most <= mostSeekSeconds ? "met" : "MISSED");
    }
    must(bool(store->remove(uuid)), "not deleted");
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    QStringList words = application.arguments().mid(1);
    const std::int64_t events = takeNumber(words, "--events", 10'000'000);
    must(events > 0, "usage: bench_readahead [--events 10000000] [embedded|csv|HOST:PORT]...");
    if (words.isEmpty()) {
        words = { "embedded", "csv" };
    }
    const QTemporaryDir directory;
    for (const QString& word : words) {
        measure(placeOf(word, directory.path()), events);
    }
    return 0;
}
