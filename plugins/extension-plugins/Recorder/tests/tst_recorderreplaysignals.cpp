// SPDX-License-Identifier: Apache-2.0
#include "filesfixture.h"
#include "signallog.h"

#include <speed.h>

/// The order of what an instance and its record tell and ask as a record is loaded, replayed, downloaded and imported.
class tst_RecorderReplaySignals : public QObject
{
    Q_OBJECT

public:
    static void initMain() { QApplication::setAttribute(Qt::AA_DontUseNativeDialogs); }

private Q_SLOTS:
    void aLoadedRecordTellsItsAgentsThenItsSpeed();
    void anUnloadedRecordTakesEverythingBackInOrder();
    void aReplayTakenOverTellsAgentsThenPlayThenPositionThenSpeed();
    void loadingARecordStopsUnloadsAndMakesItCurrentBeforeItAsks();
    void loadingAFileStopsUnloadsAndKeepsThePathBeforeItAsks();
    void aLoadedAnswerEndsTheLoadingFirst();
    void aLoadedAnswerForAFileReplacesTheRecordOfTheLastFile();
    void aFailedLoadTellsItsReasonFirst();
    void aContextReplacesTheCurrentRecord();
    void aContextOfAFileReplacesTheRecordOfTheLastFile();
    void anotherCurrentRecordUnloadsTheOneBefore();
    void unloadingTheRecordOfAFileReleasesIt();
    void deletingTheCurrentRecordUnloadsItAndAsksBeforeItGoes();
    void renamingTellsBeforeItAsks();
    void playingTellsBeforeItAsksAndPausingAsksOnly();
    void movingShowsTheMoveThenPausesThenJumpsThenAsks();
    void stoppingShowsTheStopThenPausesThenAsks();
    void aConfirmedMoveSendsTheWaitingFilterLast();
    void anotherSpeedIsToldBeforeItIsAskedFor();

    void aDownloadIsShownBeforeItAsksAndItsRecordAfter();
    void aSecondDownloadEndsTheFirst();
    void aCancelledDownloadIsTakenBackInOrder();
    void anImportForgetsTheLastOneFirst();
};

// ---- records ----------------------------------------------------------------------------------------------------

void tst_RecorderReplaySignals::aLoadedRecordTellsItsAgentsThenItsSpeed()
{
    RecorderRecord record(RECORD_A, "A", QDateTime(), QDateTime(), 0, nullptr);
    SignalLog log;
    log.follow(&record);
    record.load({ "a", "b" });
    QCOMPARE(log.take(),
        QStringList(
            { "isLoadedChanged", "lastActiveAgentsFilterChanged", "agentsFilterRecapChanged", "speedChanged" }));
    // A second load gives up the old speed, which goes with its list.
    record.load({ "a", "b" });
    QCOMPARE(log.take(), QStringList({ "speedChanged", "speedChanged" }));
}

void tst_RecorderReplaySignals::anUnloadedRecordTakesEverythingBackInOrder()
{
    RecorderRecord record(RECORD_A, "A", QDateTime(), QDateTime(), 0, nullptr);
    SignalLog log;
    log.follow(&record);
    record.unload();
    QCOMPARE(log.take(), QStringList());
    record.updateReplayContext(1.5, 2.0, true, { "a", "b" }, { "b" });
    log.take();
    record.unload();
    QCOMPARE(log.take(),
        QStringList({ "isLoadedChanged", "isReplayingChanged", "replayIsAtStartChanged",
            "replayProgressInSecondChanged", "lastActiveAgentsFilterChanged", "agentsFilterStateChanged",
            "agentsFilterRecapChanged", "speedChanged" }));
    record.unload();
    QCOMPARE(log.take(), QStringList());
}

void tst_RecorderReplaySignals::aReplayTakenOverTellsAgentsThenPlayThenPositionThenSpeed()
{
    RecorderRecord record(RECORD_A, "A", QDateTime(), QDateTime(), 0, nullptr);
    SignalLog log;
    log.follow(&record);
    record.updateReplayContext(1.5, 2.0, true, { "a", "b" }, { "b" });
    QCOMPARE(log.take(),
        QStringList({ "isLoadedChanged", "lastActiveAgentsFilterChanged", "speedChanged",
            "lastActiveAgentsFilterChanged", "agentsFilterStateChanged", "agentsFilterRecapChanged",
            "isReplayingChanged", "replayIsAtStartChanged", "replayProgressInSecondChanged", "speedChanged" }));
    // With all agents at the default speed, the summary comes once and the speed was selected by the load.
    record.unload();
    log.take();
    record.updateReplayContext(0.0, 1.0, false, { "a", "b" }, {});
    QCOMPARE(log.take(),
        QStringList(
            { "isLoadedChanged", "lastActiveAgentsFilterChanged", "speedChanged", "agentsFilterRecapChanged" }));
}

// ---- loading ----------------------------------------------------------------------------------------------------

void tst_RecorderReplaySignals::loadingARecordStopsUnloadsAndMakesItCurrentBeforeItAsks()
{
    LoadedRecorder setup;
    setup.recorder.loaded("/records/one.csv", 3.0, R"(["a"])");
    setup.recorder.reply("loading_failed", { RECORD_B, "no disk" });
    setup.recorder.reply("loading", { 50.0 });
    setup.instance->playRecord(setup.instance->recordFromFile());
    setup.instance->recordingStarted(RECORD_B);
    SignalLog log;
    log.follow(setup.instance);
    log.follow(setup.instance->recordFromFile(), "file");
    setup.instance->loadRecord(setup.other);
    QCOMPARE(log.take(),
        QStringList({ "loadingFailReasonChanged", "isRecordingChanged", "call stop_recording", "file.isLoadedChanged",
            "isReplayingChanged", "file.isReplayingChanged", "file.lastActiveAgentsFilterChanged",
            "file.agentsFilterRecapChanged", "file.speedChanged", "recordFromFileChanged", "loadingProgressChanged",
            "isReplayingChanged", "currentRecordChanged", "isLoadingRecordChanged", "call load" }));
}

void tst_RecorderReplaySignals::loadingAFileStopsUnloadsAndKeepsThePathBeforeItAsks()
{
    LoadedRecorder setup;
    setup.recorder.loaded("/records/one.csv", 3.0, R"(["a"])");
    setup.recorder.reply("loading_failed", { RECORD_B, "no disk" });
    setup.recorder.reply("loading", { 50.0 });
    setup.instance->recordingStarted(RECORD_B);
    SignalLog log;
    log.follow(setup.instance);
    setup.instance->loadRecordFile("/records/two.csv");
    QCOMPARE(log.take(),
        QStringList({ "loadingFailReasonChanged", "isRecordingChanged", "call stop_recording", "call unload",
            "recordFromFileChanged", "isReplayingChanged", "currentRecordChanged", "loadingProgressChanged",
            "isLoadingRecordChanged", "currentFilePathChanged", "call load_file" }));
}

void tst_RecorderReplaySignals::aLoadedAnswerEndsTheLoadingFirst()
{
    LoadedRecorder setup;
    setup.instance->loadRecord(setup.other);
    SignalLog log;
    log.follow(setup.instance);
    log.follow(setup.other, "record");
    setup.recorder.loaded(RECORD_B, 3.0, R"(["a"])");
    QCOMPARE(log.take(),
        QStringList({ "isLoadingRecordChanged", "record.isLoadedChanged", "record.lastActiveAgentsFilterChanged",
            "record.agentsFilterRecapChanged", "record.speedChanged" }));
}

void tst_RecorderReplaySignals::aLoadedAnswerForAFileReplacesTheRecordOfTheLastFile()
{
    LoadedRecorder setup;
    setup.recorder.loaded("/records/one.csv", 3.0, R"(["a"])");
    setup.instance->loadRecordFile("/records/two.csv");
    setup.recorder.loaded("/records/one.csv", 3.0, R"(["a"])");
    SignalLog log;
    log.follow(setup.instance);
    setup.recorder.loaded("/records/three.csv", 3.0, R"(["a"])");
    QCOMPARE(log.take(),
        QStringList({ "recordFromFileChanged", "recordFromFileChanged", "isReplayingChanged", "currentRecordChanged",
            "currentFilePathChanged" }));
    setup.instance->loadRecordFile("/records/three.csv");
    log.take();
    setup.recorder.loaded("/records/three.csv", 3.0, R"(["a"])");
    QCOMPARE(log.take(),
        QStringList(
            { "isLoadingRecordChanged", "recordFromFileChanged", "isReplayingChanged", "currentRecordChanged" }));
}

void tst_RecorderReplaySignals::aFailedLoadTellsItsReasonFirst()
{
    LoadedRecorder setup;
    setup.instance->loadRecord(setup.other);
    SignalLog log;
    log.follow(setup.instance);
    setup.recorder.reply("loading_failed", { RECORD_B, "no disk" });
    QCOMPARE(log.take(), QStringList({ "loadingFailReasonChanged", "isLoadingRecordChanged" }));
    setup.recorder.reply("loading_failed", { RECORD_B, "no disk" });
    QCOMPARE(log.take(), QStringList());
}

void tst_RecorderReplaySignals::aContextReplacesTheCurrentRecord()
{
    LoadedRecorder setup;
    SignalLog log;
    log.follow(setup.instance);
    log.follow(setup.record, "before");
    log.follow(setup.other, "after");
    setup.context(RECORD_B, 1.5, 2.0, true, R"(["a"])", "[]");
    QCOMPARE(log.take(),
        QStringList({ "after.isLoadedChanged", "after.lastActiveAgentsFilterChanged", "after.speedChanged",
            "after.agentsFilterRecapChanged", "after.isReplayingChanged", "after.replayIsAtStartChanged",
            "after.replayProgressInSecondChanged", "after.speedChanged", "before.isLoadedChanged",
            "before.lastActiveAgentsFilterChanged", "before.agentsFilterRecapChanged", "before.speedChanged",
            "isReplayingChanged", "currentRecordChanged" }));
}

void tst_RecorderReplaySignals::aContextOfAFileReplacesTheRecordOfTheLastFile()
{
    LoadedRecorder setup;
    setup.recorder.loaded("/records/one.csv", 3.0, R"(["a"])");
    SignalLog log;
    log.follow(setup.instance);
    setup.context("/records/two.csv", 1.5, 2.0, true, R"(["a"])", "[]");
    QCOMPARE(log.take(),
        QStringList(
            { "recordFromFileChanged", "recordFromFileChanged", "isReplayingChanged", "currentRecordChanged" }));
}

void tst_RecorderReplaySignals::anotherCurrentRecordUnloadsTheOneBefore()
{
    LoadedRecorder setup;
    setup.instance->playRecord(setup.record);
    QuenaryDouble::clearCalls();
    SignalLog log;
    log.follow(setup.instance);
    log.follow(setup.record, "record");
    setup.instance->setcurrentRecord(setup.other);
    // The model only: the recorder is told nothing.
    QCOMPARE(log.take(),
        QStringList({ "record.isLoadedChanged", "record.isReplayingChanged", "record.lastActiveAgentsFilterChanged",
            "record.agentsFilterRecapChanged", "record.speedChanged", "isReplayingChanged", "currentRecordChanged" }));
}

void tst_RecorderReplaySignals::unloadingTheRecordOfAFileReleasesIt()
{
    LoadedRecorder setup;
    setup.recorder.loaded("/records/one.csv", 3.0, R"(["a"])");
    const QPointer<RecorderRecord> file = setup.instance->recordFromFile();
    SignalLog log;
    log.follow(setup.instance);
    setup.instance->unloadRecord(file);
    QCOMPARE(
        log.take(), QStringList({ "call unload", "recordFromFileChanged", "isReplayingChanged", "currentRecordChanged" }));
    QVERIFY(!file.isNull());
    ModuleFixture::settle();
    QVERIFY(file.isNull());
    QCOMPARE(log.take(), QStringList());
}

void tst_RecorderReplaySignals::deletingTheCurrentRecordUnloadsItAndAsksBeforeItGoes()
{
    LoadedRecorder setup;
    SignalLog log;
    log.follow(setup.instance);
    log.follow(setup.instance->records(), "records");
    setup.instance->deleteRecord(setup.record);
    QStringList entries = log.take();
    entries.removeAll("records.dataChanged");
    entries.removeAll("records.rowsAboutToBeRemoved");
    QCOMPARE(entries, QStringList({ "call unload", "call delete", "records.rowsRemoved", "records.countChanged" }));
    ModuleFixture::settle();
    QCOMPARE(log.take(), QStringList({ "isReplayingChanged", "currentRecordChanged" }));
}

void tst_RecorderReplaySignals::renamingTellsBeforeItAsks()
{
    LoadedRecorder setup;
    SignalLog log;
    log.follow(setup.record);
    setup.instance->updateRecordName(setup.record, "Renamed");
    QCOMPARE(log.take(), QStringList({ "nameChanged", "call rename" }));
}

// ---- replay -----------------------------------------------------------------------------------------------------

void tst_RecorderReplaySignals::playingTellsBeforeItAsksAndPausingAsksOnly()
{
    LoadedRecorder setup;
    SignalLog log;
    log.follow(setup.instance);
    log.follow(setup.record, "record");
    setup.instance->playRecord(setup.record);
    QCOMPARE(log.take(), QStringList({ "isReplayingChanged", "record.isReplayingChanged", "call play" }));
    setup.instance->pauseRecord(setup.record);
    QCOMPARE(log.take(), QStringList({ "call pause" }));
    setup.recorder.reply("paused");
    QCOMPARE(log.take(), QStringList({ "isReplayingChanged", "record.isReplayingChanged" }));
    setup.recorder.reply("paused");
    QCOMPARE(log.take(), QStringList());
}

void tst_RecorderReplaySignals::movingShowsTheMoveThenPausesThenJumpsThenAsks()
{
    LoadedRecorder setup;
    setup.instance->playRecord(setup.record);
    SignalLog log;
    log.follow(setup.instance);
    log.follow(setup.record, "record");
    setup.instance->moveCurrentRecordTime(1.5);
    QCOMPARE(log.take(),
        QStringList({ "isMovingRecordChanged", "call pause", "record.replayIsAtStartChanged",
            "record.replayProgressInSecondChanged", "call move_to" }));
    setup.recorder.reply("paused");
    setup.recorder.reply("moved_to", { 1.5 });
    log.take();
    // To where it is already: the flag and the call, but no jump.
    setup.instance->moveCurrentRecordTime(1.5 + 1e-14);
    QCOMPARE(log.take(), QStringList({ "isMovingRecordChanged", "call move_to" }));
    setup.instance->moveCurrentRecordTime(2.5);
    QCOMPARE(log.take(), QStringList({ "record.replayProgressInSecondChanged", "call move_to" }));
}

void tst_RecorderReplaySignals::stoppingShowsTheStopThenPausesThenAsks()
{
    LoadedRecorder setup;
    setup.instance->playRecord(setup.record);
    setup.recorder.progress(setup.instance->replayProgressInput(), 1.0);
    SignalLog log;
    log.follow(setup.instance);
    log.follow(setup.record, "record");
    setup.instance->stopRecord(setup.record);
    QCOMPARE(
        log.take(), QStringList({ "isStoppingRecordChanged", "isMovingRecordChanged", "call pause", "call move_to" }));
}

void tst_RecorderReplaySignals::aConfirmedMoveSendsTheWaitingFilterLast()
{
    LoadedRecorder setup;
    setup.instance->playRecord(setup.record);
    setup.recorder.progress(setup.instance->replayProgressInput(), 1.0);
    setup.check(0, false);
    SignalLog log;
    log.follow(setup.instance);
    log.follow(setup.record, "record");
    setup.instance->beforeUpdateRecordAgentsFilter(setup.record);
    QCOMPARE(log.take(),
        QStringList({ "isWaitingToFilterAgentsChanged", "isStoppingRecordChanged", "isMovingRecordChanged",
            "call pause", "call move_to" }));
    setup.recorder.reply("moved_to", { 0.0 });
    QCOMPARE(log.take(),
        QStringList({ "record.replayIsAtStartChanged", "record.replayProgressInSecondChanged",
            "isStoppingRecordChanged", "isMovingRecordChanged", "record.lastActiveAgentsFilterChanged",
            "isWaitingToFilterAgentsChanged", "isFilteringRecordChanged", "call filter_replaying_agents" }));
    setup.recorder.reply("filter_applied");
    QCOMPARE(log.take(), QStringList({ "isFilteringRecordChanged" }));
}

void tst_RecorderReplaySignals::anotherSpeedIsToldBeforeItIsAskedFor()
{
    LoadedRecorder setup;
    SignalLog log;
    log.follow(setup.record);
    setup.instance->updateRecordSpeed(setup.record, qobject_cast<Speed*>(setup.record->speeds()->get(4)));
    QCOMPARE(log.take(), QStringList({ "speedChanged", "call speed" }));
}

// ---- files ------------------------------------------------------------------------------------------------------

void tst_RecorderReplaySignals::aDownloadIsShownBeforeItAsksAndItsRecordAfter()
{
    Files files;
    SignalLog log;
    log.follow(files.instance);
    files.download("out.csv");
    QCOMPARE(log.take(), QStringList({ "isDownloadingRecordChanged", "call export", "exportRecordChanged" }));
    files.chunk("a;1500000;output", 1, "cursor");
    QCOMPARE(log.take(), QStringList({ "exportingProgressChanged", "call export" }));
    files.chunk("a;1500001;output", 0, "");
    QCOMPARE(log.take(), QStringList({ "isDownloadingRecordChanged" }));
    // The progress and the record stay where they were.
    files.download("again.csv");
    QCOMPARE(log.take(), QStringList({ "isDownloadingRecordChanged", "call export" }));
}

void tst_RecorderReplaySignals::aSecondDownloadEndsTheFirst()
{
    Files files;
    files.download("one.csv");
    SignalLog log;
    log.follow(files.instance);
    files.download("two.csv");
    QCOMPARE(
        log.take(), QStringList({ "isDownloadingRecordChanged", "isDownloadingRecordChanged", "call export" }));
}

void tst_RecorderReplaySignals::aCancelledDownloadIsTakenBackInOrder()
{
    Files files;
    files.download("out.csv");
    files.chunk("a;1500000;output", 1, "cursor");
    SignalLog log;
    log.follow(files.instance);
    files.instance->stopExport();
    QCOMPARE(log.take(), QStringList({ "isCancelingExportChanged" }));
    files.instance->stopExport();
    QCOMPARE(log.take(), QStringList());
    files.chunk("a;1500000;output", 2, "cursor");
    QCOMPARE(log.take(),
        QStringList({ "isDownloadingRecordChanged", "isCancelingExportChanged", "exportingProgressChanged",
            "exportRecordChanged" }));
}

void tst_RecorderReplaySignals::anImportForgetsTheLastOneFirst()
{
    Files files;
    files.write("big.csv", FileFolder::rows(25000));
    SignalLog log;
    log.follow(files.instance);
    files.import("big.csv");
    // The progress is told from the task's thread.
    QStringList told;
    QTRY_COMPARE(told += log.take(),
        QStringList({ "isImportingRecordChanged", "call import", "importingProgressChanged" }));
    files.instance->stopImport();
    QCOMPARE(log.take(), QStringList({ "isCancelingImportChanged" }));
    files.acknowledge();
    QCOMPARE(log.take(), QStringList({ "call get_records", "isImportingRecordChanged" }));
    files.write("small.csv", FileFolder::rows(1));
    files.import("small.csv");
    QCOMPARE(log.take().mid(0, 3),
        QStringList({ "isCancelingImportChanged", "importingProgressChanged", "isImportingRecordChanged" }));
    QTRY_COMPARE(lastServiceCall().service, "import");
}

QTEST_MAIN(tst_RecorderReplaySignals)
#include "tst_recorderreplaysignals.moc"
