// SPDX-License-Identifier: Apache-2.0
#include "recordedpump.h"

#include "processfigures.h"
#include "storeload.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <limits>
#include <thread>

namespace recorder::bench {

using namespace recorder::testing;

namespace {

constexpr std::uint64_t mostQueuedBytes = 32 * 1024 * 1024;
constexpr std::size_t digits = 12; // at the beginning of each value

void writeNumber(std::string& value, std::int64_t number)
{
    for (std::size_t i = digits; i > 0; --i) {
        value[i - 1] = static_cast<char>('0' + number % 10);
        number /= 10;
    }
}

std::uint64_t queuedBytes()
{
    qny_statistics_t statistics {};
    qny_statistics(&statistics);
    return statistics.queued_bytes;
}

void pause(std::chrono::microseconds time)
{
    std::this_thread::sleep_for(time);
}

void publish(PlantAgent& agent, const PumpOptions& options)
{
    std::string value(options.bytes, 'v');
    const double began = seconds();
    for (std::int64_t i = 0; i < options.events; ++i) {
        writeNumber(value, i);
        agent.publish("text", value);
        if (i % 256 != 0) {
            continue;
        }
        while (queuedBytes() > mostQueuedBytes) {
            pause(std::chrono::microseconds(500));
        }
        while (options.perSecond > 0 && static_cast<double>(i) > (seconds() - began) * options.perSecond) {
            pause(std::chrono::microseconds(200));
        }
    }
    must(waitUntil([] { return queuedBytes() == 0; }, 120'000), "the network does not take what was published");
}

} // namespace

PumpResult pump(ScriptedHost& host, RecorderProcess& recorder, const StorePlace& place, const PumpOptions& options)
{
    must(options.bytes > digits, "the values have no room for their numbers");
    PlantAgent agent("pump");
    host.call(
        recorder.name(), "record", { QByteArray("rate"), QByteArray(""), QByteArray("") }, QByteArray("id##record"));
    const auto started = host.reply("record_uuid", "id##record");
    must(started.has_value(), "not recording: " + recorder.log().toStdString());
    // Until the recorder has met the new agent; what it publishes before is no part of the record.
    pause(std::chrono::milliseconds(1'000));

    PumpResult result;
    result.events = options.events;
    result.uuid = started->text(0).toStdString();
    const double workBegan = processorSeconds(recorder.processId());
    const Stopwatch watch;
    publish(agent, options);
    result.sentSeconds = watch.passed();
    host.call(recorder.name(), "stop_recording");
    must(host.reply("recording_stopped", "host-id", 300'000).has_value(), "the recording does not stop");
    place.waitUntilDrained();
    result.storedSeconds = watch.passed();
    result.recorderWorked = processorSeconds(recorder.processId()) - workBegan;
    result.publisherWorked = watch.worked();
    return result;
}

ReadBack readBack(Store& store, const PumpResult& pumped, const PumpOptions& options)
{
    std::unique_ptr<RecordReader> reader;
    StoreResult result = store.open(pumped.uuid, reader);
    must(bool(result), result.message);
    const auto cursor = reader->events(0, std::numeric_limits<std::int64_t>::max() / 2, result);
    must(cursor != nullptr, result.message);
    ReadBack back;
    EventView event;
    std::string expected(options.bytes, 'v');
    std::int64_t next = 0;
    EventCursor::Step step = cursor->next(event);
    for (; step == EventCursor::Step::Event; step = cursor->next(event)) {
        ++back.stored;
        const std::int64_t number = std::atoll(std::string(event.value.bytes.substr(0, digits)).c_str());
        writeNumber(expected, number);
        if (event.value.bytes != expected || number < next) {
            ++back.altered;
            continue;
        }
        next = number + 1;
    }
    must(step == EventCursor::Step::End, cursor->result().message);
    back.missing = options.events - back.stored + back.altered;
    back.reportedLost = reader->facts().completeness.lost();
    return back;
}

} // namespace recorder::bench
