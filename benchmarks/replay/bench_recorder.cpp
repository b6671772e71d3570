// SPDX-License-Identifier: Apache-2.0

// How late the publications of a replay of 1,000 events a second are, through the network and with the real program, as
// the recorder measures it, and how regular they arrive at another process. Status 1 when something was lost.
#include "scriptedhost.h"

#include <QCoreApplication>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <algorithm>
#include <cmath>
#include <cstdio>

using namespace recorder;
using namespace recorder::testing;

namespace {

constexpr int REPLAYED_EVENTS = 10'000;
constexpr int64_t REPLAY_INTERVAL_US = 1000;

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

} // namespace

int main(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
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
        isGood = measureLateness(host, recorder, directory.path());
        recorder.terminate();
    }
    TestNetwork::leave();
    return isGood ? 0 : 1;
}
