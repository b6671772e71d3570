// SPDX-License-Identifier: Apache-2.0
#include "storeload.h"

#include "chunk/packedchunk.h"
#include "csv/exchange.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <random>

namespace recorder::bench {

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

namespace {

double workSeconds()
{
    timespec time {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

} // namespace

Stopwatch::Stopwatch()
    : m_began(seconds())
    , m_workBegan(workSeconds())
{
}

double Stopwatch::passed() const
{
    return seconds() - m_began;
}

double Stopwatch::worked() const
{
    return workSeconds() - m_workBegan;
}

void tell(const char* what, std::int64_t events, const Stopwatch& watch)
{
    const double took = watch.passed();
    const auto count = static_cast<double>(events);
    std::printf("%-46s %10.0f events/s   %7.3f s   %6.0f ns of processor an event\n", what, count / took, took,
        watch.worked() / count * 1e9);
    std::fflush(stdout);
}

void tellTimes(const char* what, std::vector<double> took)
{
    std::sort(took.begin(), took.end());
    std::printf("%-46s median %.3f ms, most %.3f ms\n", what, took[took.size() / 2] * 1e3, took.back() * 1e3);
    std::fflush(stdout);
}

std::string readyChunk(const Names& names, std::uint32_t& events)
{
    ChunkBuilder builder;
    const std::uint32_t output = builder.declare("agent", "output");
    while (builder.bytes() < 32 * 1024) {
        builder.add(output, builder.count() * stepUs, ValueView::fromString(names.value));
    }
    events = builder.count();
    return builder.finish(ChunkKind::Events, 0);
}

std::string writeStore(Store& store, const Names& names, std::int64_t events, const char* what)
{
    RecordFacts facts;
    facts.uuid = newRecordUuid();
    facts.name = "benchmark";
    std::unique_ptr<RecordWriter> writer;
    StoreResult result = store.create(facts, writer);
    must(bool(result), result.message);
    const Stopwatch watch;
    for (std::int64_t i = 0; i < events; ++i) {
        result = writer->append(names.event(i));
        if (i % 10'000 == 0 && result) {
            result = writer->tick(i * stepUs);
        }
        must(bool(result), result.message);
    }
    result = writer->close(0);
    must(bool(result), result.message);
    tell(what, events, watch);
    return facts.uuid;
}

void readStore(Store& store, const std::string& uuid, std::int64_t events)
{
    std::unique_ptr<RecordReader> reader;
    StoreResult result = store.open(uuid, reader);
    must(bool(result), result.message);
    const Stopwatch watch;
    auto cursor = reader->events(0, events * stepUs, result);
    EventView event;
    std::int64_t count = 0;
    while (cursor->next(event) == EventCursor::Step::Event) {
        ++count;
    }
    must(count == events, "read " + std::to_string(count) + " events");
    tell("  read whole, in order", events, watch);

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
    tellTimes("  seek (first event from a moment on)", std::move(seeks));
    tellTimes("  state (last value of all outputs there)", std::move(states));

    const Stopwatch exportWatch;
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
    tell("  export as CSV, in chunks", events, exportWatch);
    std::printf("%-46s %zu chunks, %.1f MB\n", "", chunks, static_cast<double>(bytes) / 1e6);
}

void removeRecord(Store& store, const std::string& uuid)
{
    const double began = seconds();
    const StoreResult result = store.remove(uuid);
    must(bool(result), result.message);
    std::printf("%-46s %.3f ms\n", "  delete (until it is off the list)", (seconds() - began) * 1e3);
}

} // namespace recorder::bench
