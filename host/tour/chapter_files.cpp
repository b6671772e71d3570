// SPDX-License-Identifier: Apache-2.0
#include "filedialoganswer.h"
#include "recordingsteps.h"
#include "replaysteps.h"

#include <QtCore/QDateTime>
#include <QtCore/QDirIterator>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QUrl>

namespace tour {

namespace {

Answer checkAgainstJournals(TourContext& tour)
{
    QString error;
    if (!tour.recordFile.readFile(tour.path(QStringLiteral("record.csv")), &error)) {
        return Answer::no(error);
    }
    const RecordCheck check = checkRecord(tour.recordFile, tour.journal, tour.window);
    return { check.passed(), check.summary() };
}

Answer checkReplayAgainstRecord(TourContext& tour, const QString& name)
{
    const auto replay = std::find_if(tour.replays.cbegin(), tour.replays.cend(),
        [&](const TourContext::Replay& played) { return played.name == name; });
    if (replay == tour.replays.cend()) {
        return Answer::no(QStringLiteral("it was not played"));
    }
    QList<Observation> observations;
    QString error;
    if (!tour.observer.read(&observations, &error)) {
        return Answer::no(error);
    }
    const ReplayCheck check = checkReplay(tour.recordFile, observations, replay->stretch);
    return { check.passed(), check.summary() };
}

// A move, a load or a stop publishes nothing.
Answer checkSilence(TourContext& tour)
{
    QList<Observation> observations;
    QString error;
    if (!tour.observer.read(&observations, &error)) {
        return Answer::no(error);
    }
    QStringList strays;
    for (const Observation& observation : std::as_const(observations)) {
        const bool isReplayed
            = std::any_of(tour.replays.cbegin(), tour.replays.cend(), [&](const TourContext::Replay& replay) {
                  return observation.receivedUs >= replay.stretch.playedUs
                      && observation.receivedUs <= replay.stretch.endedUs;
              });
        if (!isReplayed && !observation.isLastValue) {
            strays.append(observation.event.describe());
        }
    }
    return { strays.isEmpty() && !observations.isEmpty(),
        QStringLiteral("%1 publications observed, %2 of them between replays%3")
            .arg(observations.size())
            .arg(strays.size())
            .arg(strays.isEmpty() ? QString() : QStringLiteral("; first: ") + strays.first()) };
}

Answer importRecord(TourContext& tour, const QString& file)
{
    const QList<ObjectHandle> before = tour.instance.items("records");
    QString way = QStringLiteral("dropped");
    if (tour.hasDatabase()) {
        const FileDialogAnswer dialog(file);
        if (const QString fault = tour.instance.call("importRecord"); !fault.isEmpty()) {
            return Answer::no(fault);
        }
        if (!dialog.isAnswered()) {
            return Answer::no(QStringLiteral("no file dialog appeared"));
        }
        way = QStringLiteral("dialog \"%1\"").arg(dialog.title());
    } else if (const QString fault = tour.instance.call("importRecord", { QUrl::fromLocalFile(file) });
        !fault.isEmpty()) {
        // Without a database the page has no button for it: a file is dropped on the list.
        return Answer::no(fault);
    }
    const auto isThere = [&] {
        const QList<ObjectHandle> records = tour.instance.items("records");
        for (const ObjectHandle& record : records) {
            if (!before.contains(record)) {
                tour.imported = record;
            }
        }
        return !tour.imported.isNull() && !tour.instance.isTrue("isImportingRecord");
    };
    return await(QStringLiteral("the import to end with a new record"), isThere, 20'000, [&] {
        return QStringLiteral("%1; record \"%2\" of %3 s")
            .arg(way, tour.imported.text("name"))
            .arg(tour.imported.number("durationInSeconds"), 0, 'f', 3);
    });
}

// Without a database the record is a file in the recorder's data folder, with the same events.
Answer checkOwnFile(TourContext& tour)
{
    QDirIterator found(tour.path(QStringLiteral("home/data/qnyRecorder")), { QStringLiteral("*.csv") }, QDir::Files,
        QDirIterator::Subdirectories);
    // Others may be left of an earlier tour into the same folder.
    QFileInfo newest;
    while (found.hasNext()) {
        found.next();
        if (!newest.exists() || found.fileInfo().lastModified() > newest.lastModified()) {
            newest = found.fileInfo();
        }
    }
    if (!newest.exists()) {
        return Answer::no(QStringLiteral("there is no CSV file in the recorder's data folder"));
    }
    RecordFile own;
    QString error;
    if (!own.readFile(newest.filePath(), &error)) {
        return Answer::no(error);
    }
    const auto same
        = [](const TracedEvent& left, const TracedEvent& right) { return left.describe() == right.describe(); };
    // Rows stand in the order in which they came.
    QList<TracedEvent> events = own.events();
    std::stable_sort(events.begin(), events.end(),
        [](const TracedEvent& left, const TracedEvent& right) { return left.timeUs < right.timeUs; });
    const QList<TracedEvent>& downloaded = tour.recordFile.events();
    const bool isSame
        = std::equal(events.cbegin(), events.cend(), downloaded.cbegin(), downloaded.cend(), same) && !events.isEmpty();
    return { isSame, QStringLiteral("%1: %2 events").arg(newest.fileName()).arg(events.size()) };
}

Answer compareFiles(TourContext& tour)
{
    QFile first(tour.path(QStringLiteral("record.csv")));
    QFile second(tour.path(QStringLiteral("imported-again.csv")));
    if (!first.open(QIODevice::ReadOnly) || !second.open(QIODevice::ReadOnly)) {
        return Answer::no(QStringLiteral("one of the two files cannot be read"));
    }
    const QByteArray left = withoutNameFact(first.readAll());
    const QByteArray right = withoutNameFact(second.readAll());
    const bool isSameLength
        = qFuzzyCompare(tour.record.number("durationInSeconds"), tour.imported.number("durationInSeconds"));
    if (!isSameLength) {
        return Answer::no(QStringLiteral("the records last %1 s and %2 s")
                .arg(tour.record.number("durationInSeconds"))
                .arg(tour.imported.number("durationInSeconds")));
    }
    return { left == right,
        QStringLiteral("%1 bytes but for the name: %2").arg(left.size()).arg(describeDifference(left, right)) };
}

Answer loadFile(TourContext& tour)
{
    const QString file = tour.path(QStringLiteral("record.csv"));
    if (const QString fault = tour.instance.call("loadRecordFile", { file }); !fault.isEmpty()) {
        return Answer::no(fault);
    }
    const Answer loaded = awaitLoaded(tour);
    if (!loaded.passed) {
        return loaded;
    }
    if (tour.instance.child("recordFromFile").isNull() || tour.instance.text("currentFilePath") != file) {
        return Answer::no(QStringLiteral("the loaded record is not the file's"));
    }
    return awaitStandIns(tour);
}

Answer deleteImport(TourContext& tour)
{
    const QString name = tour.imported.text("name");
    const qsizetype before = tour.instance.items("records").size();
    const SignalCounter lists(tour.module, SIGNAL(recordsReceived(QString, QString)));
    if (const QString fault = tour.instance.call("deleteRecord", { argument(tour.imported) }); !fault.isEmpty()) {
        return Answer::no(fault);
    }
    // The module drops it at once: what counts is that the recorder's next list has not got it.
    const bool isGone = tour.comesToList(lists, [&] {
        const QList<ObjectHandle> records = tour.instance.items("records");
        return records.size() == before - 1
            && std::none_of(records.cbegin(), records.cend(),
                [&](const ObjectHandle& record) { return record.text("name") == name; });
    });
    return { isGone && tour.isListed(tour.record),
        QStringLiteral("the recorder lists %1 records").arg(tour.instance.items("records").size()) };
}

} // namespace

Answer download(TourContext& tour, const ObjectHandle& record, const QString& file)
{
    QFile::remove(file); // of an earlier tour: else the dialog would ask whether to overwrite it
    const FileDialogAnswer dialog(file);
    if (const QString fault = tour.instance.call("downloadRecord", { argument(record) }); !fault.isEmpty()) {
        return Answer::no(fault);
    }
    if (!dialog.isAnswered()) {
        return Answer::no(QStringLiteral("no file dialog appeared"));
    }
    const auto isDone = [&] { return !tour.instance.isTrue("isDownloadingRecord"); };
    if (!waitUntil(isDone, 20'000)) {
        return Answer::no(QStringLiteral("waited 20 s in vain for the last chunk, at %1 %")
                .arg(tour.instance.text("exportingProgress")));
    }
    RecordFile downloaded;
    QString error;
    if (!downloaded.readFile(file, &error)) {
        return Answer::no(error);
    }
    return Answer::yes(QStringLiteral("dialog \"%1\"; %2 bytes, %3 events of %4 agents")
            .arg(dialog.title())
            .arg(QFileInfo(file).size())
            .arg(downloaded.events().size())
            .arg(downloaded.agents().size()));
}

void filesChapter(TourContext& tour)
{
    Steps& steps = tour.steps;
    steps.run("downloaded", { "record" }, "download the record into record.csv",
        [&] { return download(tour, tour.record, tour.path(QStringLiteral("record.csv"))); });
    steps.run("record checked", { "downloaded", "stopped plant", "resumed" },
        "compare the record with what the agents say they published", [&] { return checkAgainstJournals(tour); });
    if (!tour.hasDatabase()) {
        steps.run("own file", { "record checked" }, "find the record's own file in the recorder's folder",
            [&] { return checkOwnFile(tour); });
    }
    const QList<std::pair<QString, QString>> replays { { "replay paused", replayNames::firstSeconds },
        { "ended", replayNames::fromTheMiddle }, { "stopped", replayNames::twoAgents } };
    for (const auto& [lastStep, name] : replays) {
        steps.run(QStringLiteral("checked ") + name, { "downloaded", "observer", lastStep },
            QStringLiteral("compare what was observed with the record: ") + name,
            [&tour, &name] { return checkReplayAgainstRecord(tour, name); });
    }
    steps.run("imported", { "downloaded" }, "import that file", [&] {
        const QString copy = tour.path(QStringLiteral("Imported run.csv"));
        QFile::remove(copy);
        if (!QFile::copy(tour.path(QStringLiteral("record.csv")), copy)) {
            return Answer::no(QStringLiteral("%1 cannot be written").arg(copy));
        }
        return importRecord(tour, copy);
    });
    steps.run("downloaded import", { "imported" }, "download the import",
        [&] { return download(tour, tour.imported, tour.path(QStringLiteral("imported-again.csv"))); });
    steps.run("same", { "downloaded import" }, "compare both files", [&] { return compareFiles(tour); });
    steps.run("file loaded", { "downloaded", "stopped plant" }, "load the CSV file for a replay",
        [&] { return loadFile(tour); });
    tour.screenshot(QStringLiteral("csv-file"), TourContext::Tab::CsvFile);
    steps.run("file played", { "file loaded" }, "play the file",
        [&] { return beginPlaying(tour, {}, replayNames::csvFile); });
    steps.run("file ended", { "file played" }, "play it to the end", [&] { return playToEnd(tour); });
    steps.run("file unloaded", { "file loaded" }, "unload the file", [&] { return unload(tour); });
    steps.run("file checked", { "file ended", "observer" }, "compare what was observed with the file",
        [&] { return checkReplayAgainstRecord(tour, replayNames::csvFile); });
    steps.run("silence", { "observer", "unloaded", "file unloaded" }, "between the replays nothing was published",
        [&] { return checkSilence(tour); });
    steps.run("deleted", { "imported" }, "delete the import", [&] { return deleteImport(tour); });
    tour.observer.stop();
}

} // namespace tour
