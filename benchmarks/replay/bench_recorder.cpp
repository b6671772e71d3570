// SPDX-License-Identifier: Apache-2.0
// Two measurements of the recorder program over the loopback device:
//   lateness   how late the publications of a replay of 1,000 events a second are, as the recorder measures it, and how
//              regular they arrive at another process;
//   recording  how many events of 100 bytes a second from one agent go through the network into the built-in store,
//              every one of them.
// Usage: bench_recorder [lateness|recording]...   Prints one line a measurement; status 1 when something was lost.
#include "scriptedhost.h"

#include <QCoreApplication>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <thread>

using namespace recorder;
using namespace recorder::testing;

namespace {

constexpr int REPLAYED_EVENTS = 10'000;
constexpr int64_t REPLAY_INTERVAL_US = 1000;
constexpr size_t EVENT_BYTES = 100;
constexpr int RECORDED_EVENTS = 2'000'000;
/// The publisher waits when this much is queued for the recorder: it measures the recorder, not its own queue.
constexpr uint64_t MOST_QUEUED_BYTES = 32 * 1024 * 1024;

double quantile(std::vector<double> values, double share)
{
    const auto rank = std::min(values.size() - 1, static_cast<size_t>(share * static_cast<double>(values.size())));
    std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(rank), values.end());
    return values[rank];
}

bool measureLateness(ScriptedHost& host, RecorderProcess& recorder, const QString& directory)
{
    QFile file(directory + "/thousand.csv");
    if (!file.open(QIODevice::WriteOnly)) {
        return false;
    }
    QByteArray rows;
    for (int i = 0; i < REPLAYED_EVENTS; ++i) {
        rows += "clock;" + QByteArray::number(i * REPLAY_INTERVAL_US) + ";output;tick;integer;" + QByteArray::number(i)
            + '\n';
    }
    file.write(rows);
    file.close();
    host.call(recorder.name(), "load_file", { file.fileName().toUtf8() });
    if (!host.reply("loaded")) {
        std::fprintf(stderr, "not loaded\n%s", qPrintable(recorder.log()));
        return false;
    }
    host.listen("clock", "tick");
    host.call(recorder.name(), "play");
    if (!host.reply("replay_ended", "host-id", 60'000)) {
        std::fprintf(stderr, "the replay did not end\n");
        return false;
    }
    const std::vector<Arrival> arrivals = host.arrivals("clock/tick");
    if (arrivals.size() < REPLAYED_EVENTS) {
        std::fprintf(stderr, "%zu of %d publications arrived\n", arrivals.size(), REPLAYED_EVENTS);
        return false;
    }
    // Against the punctual line through the earliest arrival.
    std::vector<double> offsetsUs;
    for (const Arrival& arrival : arrivals) {
        offsetsUs.push_back(static_cast<double>(arrival.atNs) / 1e3 - arrival.number * REPLAY_INTERVAL_US);
    }
    const double earliest = *std::min_element(offsetsUs.begin(), offsetsUs.end());
    std::printf(
        "replay of 1,000 events/s, arrival at another process after the earliest: median %.0f us, 99 %% %.0f us, "
        "most %.0f us\n",
        quantile(offsetsUs, 0.5) - earliest, quantile(offsetsUs, 0.99) - earliest, quantile(offsetsUs, 1.0) - earliest);
    const QRegularExpression summary("Replay ended : (.*)");
    if (const auto match = summary.match(recorder.log()); match.hasMatch()) {
        std::printf("replay of 1,000 events/s, at the recorder: %s\n", qPrintable(match.captured(1)));
    }
    host.call(recorder.name(), "unload");
    return true;
}

/// The completeness that the record tells of itself in its export.
QJsonObject completenessOf(ScriptedHost& host, RecorderProcess& recorder, const QByteArray& uuid)
{
    host.call(recorder.name(), "export", { uuid, 0, QByteArray(""), -1, true, false });
    const auto chunk = host.reply("receive_export");
    if (!chunk) {
        return {};
    }
    for (const QByteArray& row : chunk->text(3).toUtf8().split('\n')) {
        const qsizetype at = row.indexOf(";record;completeness;string;");
        if (at >= 0) {
            QByteArray json = row.mid(row.indexOf(";string;") + 8);
            if (json.startsWith('"')) {
                json = json.mid(1, json.size() - 2).replace("\"\"", "\"");
            }
            return QJsonDocument::fromJson(json).object();
        }
    }
    return {};
}

bool measureRecording(ScriptedHost& host, RecorderProcess& recorder)
{
    PlantAgent pump("pump");
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    host.call(
        recorder.name(), "record", { QByteArray("rate"), QByteArray(""), QByteArray("") }, QByteArray("id##record"));
    const auto started = host.reply("record_uuid", "id##record");
    if (!started) {
        std::fprintf(stderr, "not recording\n%s", qPrintable(recorder.log()));
        return false;
    }
    const QByteArray uuid = started->text(0).toUtf8();
    const std::string payload(EVENT_BYTES, 'x');
    const int64_t begin = monotonicNs();
    qny_statistics_t statistics {};
    for (int i = 0; i < RECORDED_EVENTS; ++i) {
        pump.publishData("image", payload);
        if (i % 256 == 0) {
            do {
                qny_statistics(&statistics);
                if (statistics.queued_bytes > MOST_QUEUED_BYTES) {
                    std::this_thread::sleep_for(std::chrono::milliseconds(1));
                }
            } while (statistics.queued_bytes > MOST_QUEUED_BYTES);
        }
    }
    waitUntil(
        [&] {
            qny_statistics(&statistics);
            return statistics.queued_bytes == 0;
        },
        60'000);
    const double publishSeconds = static_cast<double>(monotonicNs() - begin) / 1e9;
    host.call(recorder.name(), "stop_recording");
    if (!host.reply("recording_stopped", "host-id", 120'000)) {
        std::fprintf(stderr, "not stopped\n");
        return false;
    }
    const double seconds = static_cast<double>(monotonicNs() - begin) / 1e9;
    int64_t stored = 0;
    int64_t lost = 0;
    for (const QJsonValue& output : completenessOf(host, recorder, uuid)["outputs"].toArray()) {
        stored += output["stored"].toInteger();
        const QJsonObject losses = output["lost"].toObject();
        lost += losses["network"].toInteger() + losses["queue"].toInteger() + losses["store"].toInteger();
    }
    std::printf("recording of %d events of %zu bytes: sent in %.2f s, closed after %.2f s: %.0f events/s end to end; "
                "stored %lld, lost %lld\n",
        RECORDED_EVENTS, EVENT_BYTES, publishSeconds, seconds, RECORDED_EVENTS / seconds,
        static_cast<long long>(stored), static_cast<long long>(lost));
    return stored == RECORDED_EVENTS && lost == 0;
}

} // namespace

int main(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
    const QStringList wanted = application.arguments().mid(1);
    const QTemporaryDir directory;
    if (!TestNetwork::join()) {
        std::fprintf(stderr, "cannot join the network: %s\n", qny_last_error());
        return 1;
    }
    bool isGood = true;
    {
        ScriptedHost host(qny_default_agent());
        RecorderProcess recorder("Bench recorder");
        if (!recorder.start({ "-c", "embedded:9042", "--data-directory", directory.path() })) {
            std::fprintf(stderr, "the recorder does not start:\n%s", qPrintable(recorder.log()));
            return 1;
        }
        if (wanted.isEmpty() || wanted.contains("lateness")) {
            isGood = measureLateness(host, recorder, directory.path()) && isGood;
        }
        if (wanted.isEmpty() || wanted.contains("recording")) {
            isGood = measureRecording(host, recorder) && isGood;
        }
        recorder.terminate();
    }
    TestNetwork::leave();
    return isGood ? 0 : 1;
}
