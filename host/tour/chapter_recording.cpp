// SPDX-License-Identifier: Apache-2.0
#include "../hostapplication.h"
#include "../sampleplant.h"
#include "recordingsteps.h"

#include <cmath>

namespace tour {

namespace {

constexpr double firstRunSeconds = 4.0;
constexpr double secondRunSeconds = 3.0;
constexpr int pauseMs = 1500;
const QString recordName = QStringLiteral("Morning run");

Answer pauseRecording(TourContext& tour)
{
    Moment pause { nowUs(), 0 };
    if (const QString fault = tour.instance.call("pauseRecording"); !fault.isEmpty()) {
        return Answer::no(fault);
    }
    return await(
        QStringLiteral("the recording to stand still"), [&] { return tour.instance.isTrue("isRecordingPaused"); }, 3000,
        [&] {
            pause.seenUs = nowUs();
            tour.window.pause = pause;
            return QStringLiteral("paused at %1 s").arg(recordedSeconds(tour), 0, 'f', 2);
        });
}

Answer keepPaused(TourContext& tour)
{
    const double before = recordedSeconds(tour);
    const bool stayed = holds(
        [&] {
            return tour.instance.isTrue("isRecordingPaused") && tour.instance.isTrue("isRecording")
                && qFuzzyCompare(recordedSeconds(tour), before);
        },
        pauseMs);
    return stayed
        ? Answer::yes(QStringLiteral("still %1 s").arg(before, 0, 'f', 2))
        : Answer::no(QStringLiteral("the recording left its pause at %1 s").arg(recordedSeconds(tour), 0, 'f', 2));
}

Answer resumeRecording(TourContext& tour)
{
    Moment resume { nowUs(), 0 };
    if (const QString fault = tour.instance.call("resumeRecording"); !fault.isEmpty()) {
        return Answer::no(fault);
    }
    const auto runs = [&] { return !tour.instance.isTrue("isRecordingPaused") && tour.instance.isTrue("isRecording"); };
    return await(QStringLiteral("the recording to go on"), runs, 3000, [&] {
        resume.seenUs = nowUs();
        tour.window.resume = resume;
        return QStringLiteral("recording again at %1 s").arg(recordedSeconds(tour), 0, 'f', 2);
    });
}

Answer renameRecord(TourContext& tour)
{
    const SignalCounter lists(tour.module, SIGNAL(recordsReceived(QString, QString)));
    if (const QString fault = tour.instance.call("updateRecordName", { argument(tour.record), recordName });
        !fault.isEmpty()) {
        return Answer::no(fault);
    }
    // The module shows the new name at once: what counts is that the recorder's next list has it.
    const bool isListed = tour.comesToList(lists, [&] { return tour.record.text("name") == recordName; });
    return { isListed, QStringLiteral("the recorder lists \"%1\"").arg(tour.record.text("name")) };
}

} // namespace

double recordedSeconds(const TourContext& tour)
{
    return tour.instance.number("recordingProgressInSeconds");
}

Answer startRecording(TourContext& tour, RecordingWindow* window)
{
    window->start.askedUs = nowUs();
    if (const QString fault = tour.instance.call("startRecording"); !fault.isEmpty()) {
        return Answer::no(fault);
    }
    return await(
        QStringLiteral("the recorder to say that it records"), [&] { return tour.instance.isTrue("isRecording"); },
        5000,
        [&] {
            window->start.seenUs = nowUs();
            return QStringLiteral("recording");
        });
}

Answer recordUntil(TourContext& tour, double seconds)
{
    const int boundMs = static_cast<int>(seconds * 1000) + 5000;
    return await(
        QStringLiteral("%1 s of recording").arg(seconds, 0, 'f', 1),
        [&] { return recordedSeconds(tour) >= seconds && tour.instance.isTrue("isRecording"); }, boundMs,
        [&] { return QStringLiteral("%1 s recorded").arg(recordedSeconds(tour), 0, 'f', 2); });
}

QList<ObjectHandle> endedRecords(const ObjectHandle& instance)
{
    QList<ObjectHandle> records = instance.items("records");
    records.removeIf(
        [](const ObjectHandle& record) { return !record.value("endDateTime").toDateTime().isValid(); });
    return records;
}

Answer stopRecording(TourContext& tour, RecordingWindow* window, ObjectHandle* made, double mostApartSeconds)
{
    const QList<ObjectHandle> before = endedRecords(tour.instance);
    const double progress = recordedSeconds(tour);
    const SignalCounter answers(tour.module, SIGNAL(recordingStoppedReceived(QString)));
    window->stop.askedUs = nowUs();
    if (const QString fault = tour.instance.call("stopRecording"); !fault.isEmpty()) {
        return Answer::no(fault);
    }
    if (!waitUntil([&] { return answers.count() > 0; }, 5000)) {
        return Answer::no(QStringLiteral("waited 5 s in vain for the recorder to say that it stopped"));
    }
    window->stop.seenUs = nowUs();
    const auto isListed = [&] {
        const QList<ObjectHandle> records = endedRecords(tour.instance);
        for (const ObjectHandle& record : records) {
            if (!before.contains(record)) {
                *made = record;
            }
        }
        return !made->isNull();
    };
    const Answer listed
        = await(QStringLiteral("a new record with an end in the list"), isListed, 5000, [] { return QString(); });
    if (!listed.passed) {
        return listed;
    }
    const double duration = made->number("durationInSeconds");
    const QString text = QStringLiteral("record \"%1\" of %2 s; the progress was %3 s")
                             .arg(made->text("name"))
                             .arg(duration, 0, 'f', 3)
                             .arg(progress, 0, 'f', 3);
    return std::abs(duration - progress) < mostApartSeconds ? Answer::yes(text) : Answer::no(text);
}

QString readJournals(const QString& folder, Journal* journal)
{
    QString error;
    const QStringList agents = SamplePlant::agentNames();
    for (const QString& agent : agents) {
        if (!journal->addFile(SamplePlant::journalFile(folder, agent), &error)) {
            return error;
        }
    }
    return {};
}

Answer stopPlant(TourContext& tour, Journal* journal)
{
    tour.host.stopPlant();
    if (tour.host.isPlantRunning()) {
        return Answer::no(QStringLiteral("some agent still runs"));
    }
    if (const QString error = readJournals(tour.host.options().plantJournalDirectory, journal); !error.isEmpty()) {
        return Answer::no(error);
    }
    return Answer::yes(QStringLiteral("%1 publications in the journals of %2 agents")
            .arg(journal->size())
            .arg(SamplePlant::agentNames().size()));
}

void recordingChapter(TourContext& tour)
{
    Steps& steps = tour.steps;
    steps.run(
        "recording", { "cleared", "plant" }, "start recording", [&] { return startRecording(tour, &tour.window); });
    steps.run("first run", { "recording" }, QStringLiteral("record for %1 s").arg(firstRunSeconds),
        [&] { return recordUntil(tour, firstRunSeconds); });
    tour.screenshot(QStringLiteral("recording"), TourContext::Tab::Records);
    steps.run("paused", { "first run" }, "pause the recording", [&] { return pauseRecording(tour); });
    steps.run("still", { "paused" }, QStringLiteral("nothing moves for %1 s").arg(pauseMs / 1000.0),
        [&] { return keepPaused(tour); });
    steps.run("resumed", { "paused" }, "resume the recording", [&] { return resumeRecording(tour); });
    steps.run("second run", { "resumed" }, QStringLiteral("record for %1 s more").arg(secondRunSeconds),
        [&] { return recordUntil(tour, recordedSeconds(tour) + secondRunSeconds); });
    steps.run("record", { "recording" }, "stop recording, and see the new record",
        [&] { return stopRecording(tour, &tour.window, &tour.record); });
    steps.run("renamed", { "record" }, QStringLiteral("rename the record to \"%1\"").arg(recordName),
        [&] { return renameRecord(tour); });
    tour.screenshot(QStringLiteral("records"), TourContext::Tab::Records);
    steps.run("stopped plant", { "plant" }, "stop the sample plant", [&] { return stopPlant(tour, &tour.journal); });
}

} // namespace tour
