// SPDX-License-Identifier: Apache-2.0
//
// A recorder whose answers come late, twice, in another order or never.
#include "recorderonnetwork.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QSemaphore>
#include <QtTest/QSignalSpy>

namespace {

constexpr int BOUND_MS = RecorderOnNetwork::BOUND_MS;
// The silence that ends a recording, and what a coarse timer may take off it.
constexpr int SILENCE_MS = 500;
constexpr int TOLERANCE_MS = 30;

} // namespace

class TestModuleAnswers : public QObject
{
    Q_OBJECT

public:
    static void initMain() { QApplication::setAttribute(Qt::AA_DontUseNativeDialogs); }

private Q_SLOTS:
    void aRecorderIsAskedForFiltersThenRecordsThenContext();
    void answersToTheFirstQuestionsMayComeInAnyOrder();

    void silenceEndsARecordingOnce();
    void aRepeatedLengthIsAPauseAndNoSilence();
    void theEndOfARecordingAsksForTheListTwice();
    void progressThatComesAfterTheEndOfARecordingIsForgotten();

    void positionsAreDroppedWhileAMoveIsPending();
    void answersThatComeTwiceChangeNothingMore();
    void answersThatComeInAnotherOrderLeaveNothingPending();
    void aFilterWaitsForTheMoveToTheStart();

    void anAcknowledgementMayOvertakeTheTaskThatSentTheFirstChunk();
    void acknowledgementsThatComeTwiceNeitherLoseNorRepeatRows();
    void acknowledgementsThatComeLateAreWaitedFor();
    void anImportThatIsRefusedGoesOnWhenItsUuidComes();
};

// ---- connection -------------------------------------------------------------------------------------------------

void TestModuleAnswers::aRecorderIsAskedForFiltersThenRecordsThenContext()
{
    ModuleOnNetwork network;
    RecorderInstance* const instance
        = network.place("Recorder", ScriptedRecorderProcess::program(), ScriptedRecorderProcess::arguments());
    ScriptedRecorderProcess process;
    QVERIFY(process.start(ScriptedRecorderProcess::friendlyScript()));
    QTRY_COMPARE_WITH_TIMEOUT(process.calls().size(), 3, BOUND_MS);
    QCOMPARE(process.calledServices(), QStringList({ "get_record_filters", "get_records", "get_context" }));
    QCOMPARE(process.calls().at(0).arguments, QJsonArray());
    QCOMPARE(process.calls().at(1).arguments, QJsonArray({ "" }));
    QCOMPARE(process.calls().at(2).arguments, QJsonArray());
    for (const RecorderCall& call : process.calls()) {
        QCOMPARE(call.token, instance->uuid());
    }
}

void TestModuleAnswers::answersToTheFirstQuestionsMayComeInAnyOrder()
{
    // Given a recorder that replays its record and whose list comes last
    ModuleOnNetwork network;
    RecorderInstance* const instance
        = network.place("Recorder", ScriptedRecorderProcess::program(), ScriptedRecorderProcess::arguments());
    ScriptedRecorderProcess process;
    QString script = ScriptedRecorderProcess::friendlyScript();
    script.replace("on get_records: ", "on get_records: wait 200; ");
    script += "on get_record_filters: wait 100; record_filters true \"pump*\"\n"
              "on get_context: context "
        + ScriptedRecorderProcess::RECORD_A
        + " \"2026-11-21T10:00:00.000\" 60.0 12.5 2.0 true [\"pump\",\"valve\"] [\"valve\"] \"\"\n";
    QVERIFY(process.start(script));
    // Then the context is kept until its record is known
    QTRY_COMPARE_WITH_TIMEOUT(instance->recordFilters(), "pump*", BOUND_MS);
    QVERIFY(comesTrue([&] { return instance->currentRecord(); }));
    QCOMPARE(instance->records()->count(), 1);
    QCOMPARE(instance->currentRecord()->uuid(), ScriptedRecorderProcess::RECORD_A);
    QCOMPARE(instance->currentRecord()->replayProgressInSecond(), 12.5);
    QVERIFY(instance->isReplaying());
}

// ---- recording --------------------------------------------------------------------------------------------------

void TestModuleAnswers::silenceEndsARecordingOnce()
{
    RecorderOnNetwork recorder("on record: record_uuid cccc; stream record_progress 0.05 0.05 50");
    QSignalSpy recordingChanges(recorder.instance, &RecorderInstance::isRecordingChanged);
    QElapsedTimer sinceProgress;
    connect(recorder.instance, &RecorderInstance::recordingProgressInSecondsChanged, recorder.instance,
        [&sinceProgress] { sinceProgress.start(); });
    qint64 silence = 0;
    connect(recorder.instance, &RecorderInstance::isRecordingChanged, recorder.instance, [&] {
        if (!recorder.instance->isRecording()) {
            silence = sinceProgress.elapsed();
        }
    });

    // While values come the recording lasts, for longer than any one silence would
    recorder.instance->startRecording();
    QVERIFY(comesTrue([&] { return recorder.instance->recordingProgressInSeconds() > 0.8; }));
    QVERIFY(recorder.instance->isRecording());
    QCOMPARE(recordingChanges.count(), 1);
    QCOMPARE(recorder.process.calledServices(), QStringList({ "record" }));

    // When they end, so does the recording
    recorder.process.say("stop record_progress");
    QVERIFY(comesTrue([&] { return !recorder.instance->isRecording(); }));
    QVERIFY2(silence >= SILENCE_MS - TOLERANCE_MS, qPrintable(QString::number(silence)));
    QTRY_COMPARE_WITH_TIMEOUT(recorder.process.calledServices(), QStringList({ "record", "get_records" }), BOUND_MS);

    // And the list is asked for no second time
    QVERIFY(!QTest::qWaitFor([&] { return recorder.process.calls().size() > 2; }, SILENCE_MS + 200));
    QCOMPARE(recordingChanges.count(), 2);
}

void TestModuleAnswers::aRepeatedLengthIsAPauseAndNoSilence()
{
    RecorderOnNetwork recorder("on record: record_uuid cccc; stream record_progress 0.05 0.05 50\n"
                               "on pause_record: stream record_progress 2.0 0.0 50\n"
                               "on resume_record: stream record_progress 2.05 0.05 50");
    QSignalSpy recordingChanges(recorder.instance, &RecorderInstance::isRecordingChanged);
    recorder.instance->startRecording();
    QVERIFY(comesTrue([&] { return recorder.instance->recordingProgressInSeconds() > 0.1; }));
    recorder.instance->pauseRecording();
    QVERIFY(comesTrue([&] { return recorder.instance->isRecordingPaused(); }));
    // Longer than a silence
    QVERIFY(!QTest::qWaitFor([&] { return !recorder.instance->isRecordingPaused(); }, SILENCE_MS + 200));
    QVERIFY(recorder.instance->isRecording());
    recorder.instance->resumeRecording();
    QVERIFY(comesTrue([&] { return !recorder.instance->isRecordingPaused(); }));
    QVERIFY(recorder.instance->isRecording());
    QCOMPARE(recordingChanges.count(), 1);
    QCOMPARE(recorder.process.count("get_records"), 0);
}

void TestModuleAnswers::theEndOfARecordingAsksForTheListTwice()
{
    RecorderOnNetwork recorder("on record: record_uuid cccc; stream record_progress 0.05 0.05 50\n"
                               "on stop_recording: stop record_progress; wait 100; recording_stopped");
    recorder.instance->startRecording();
    QVERIFY(comesTrue([&] { return recorder.instance->recordingProgressInSeconds() > 0.1; }));
    recorder.instance->stopRecording();
    QTRY_COMPARE_WITH_TIMEOUT(recorder.process.count("get_records"), 2, BOUND_MS);
    QCOMPARE(
        recorder.process.calledServices(), QStringList({ "record", "stop_recording", "get_records", "get_records" }));
    const QList<RecorderCall> calls = recorder.process.calls();
    const qint64 between = calls.at(3).atMs - calls.at(2).atMs;
    QVERIFY2(between >= SILENCE_MS - TOLERANCE_MS, qPrintable(QString::number(between)));
    QVERIFY(!recorder.instance->isRecording());
    QCOMPARE(recorder.instance->recordingProgressInSeconds(), 0.0);
}

void TestModuleAnswers::progressThatComesAfterTheEndOfARecordingIsForgotten()
{
    // Given a recorder that sends a last value after its answer
    RecorderOnNetwork recorder("on record: record_uuid cccc; stream record_progress 0.05 0.05 50\n"
                               "on stop_recording: stop record_progress; wait 100; recording_stopped; wait 50; "
                               "publish record_progress 7.5");
    recorder.instance->startRecording();
    QVERIFY(comesTrue([&] { return recorder.instance->recordingProgressInSeconds() > 0.1; }));
    recorder.instance->stopRecording();
    QTRY_COMPARE_WITH_TIMEOUT(recorder.instance->recordingProgressInSeconds(), 7.5, BOUND_MS);
    // Then it is taken for a recording, until it is silent
    QVERIFY(recorder.instance->isRecording());
    QVERIFY(comesTrue([&] { return !recorder.instance->isRecording(); }));
    QTRY_COMPARE_WITH_TIMEOUT(recorder.process.count("get_records"), 2, BOUND_MS);
}

// ---- replay -----------------------------------------------------------------------------------------------------

namespace {

const char* const REPLAY_SCRIPT
    = "on load: loading 50.0; loaded $1 \"2026-11-21T10:00:00.000\" 60.0 [\"pump\",\"valve\"]\n"
      "on pause: paused\n"
      "on unload: unloaded\n"
      "on filter_replaying_agents: filter_applied\n";

void load(RecorderOnNetwork& recorder)
{
    recorder.instance->loadRecord(recorder.record());
    QVERIFY(comesTrue([&] { return recorder.record()->isLoaded(); }));
    QVERIFY(!recorder.instance->isLoadingRecord());
}

} // namespace

void TestModuleAnswers::positionsAreDroppedWhileAMoveIsPending()
{
    // Given a replay whose recorder goes on telling old positions until it has moved, and a little longer
    RecorderOnNetwork recorder(QLatin1StringView(REPLAY_SCRIPT)
        + "on play: stream replay_progress 5.0 0.01 10\n"
          "on move_to: wait 250; moved_to 30.5; wait 100; stream replay_progress 31.0 0.01 10\n");
    load(recorder);
    recorder.instance->playRecord(recorder.record());
    QVERIFY(comesTrue([&] { return recorder.record()->replayProgressInSecond() > 5.1; }));

    // When a move is pending
    QList<double> positions;
    connect(recorder.record(), &RecorderRecord::replayProgressInSecondChanged, recorder.instance, [&] {
        if (recorder.instance->isMovingRecord()) {
            positions.append(recorder.record()->replayProgressInSecond());
        }
    });
    recorder.instance->moveCurrentRecordTime(30.0);
    QVERIFY(recorder.instance->isMovingRecord());
    QVERIFY(comesTrue([&] { return !recorder.instance->isMovingRecord(); }));

    // Then only the place asked for and the place reached are shown
    QCOMPARE(positions, QList<double>({ 30.0, 30.5 }));
    QCOMPARE(recorder.process.calledServices(), QStringList({ "load", "play", "pause", "move_to" }));
    // And positions are followed again
    QVERIFY(comesTrue([&] { return recorder.record()->replayProgressInSecond() > 31.0; }));
}

void TestModuleAnswers::answersThatComeTwiceChangeNothingMore()
{
    RecorderOnNetwork recorder("on load: loaded $1 \"2026-11-21T10:00:00.000\" 60.0 [\"pump\"]; loaded $1 "
                               "\"2026-11-21T10:00:00.000\" 60.0 [\"pump\"]; publish replay_progress 1.0\n"
                               "on play: publish replay_progress 2.0\n"
                               "on pause: paused; paused; publish replay_progress 3.0\n"
                               "on move_to: moved_to $1; moved_to $1; publish replay_progress 40.0\n");
    load(recorder);
    QTRY_COMPARE_WITH_TIMEOUT(recorder.record()->replayProgressInSecond(), 1.0, BOUND_MS);
    QVERIFY(recorder.record()->isLoaded());
    QCOMPARE(recorder.record()->agentsFilters()->count(), 1);

    recorder.instance->playRecord(recorder.record());
    QTRY_COMPARE_WITH_TIMEOUT(recorder.record()->replayProgressInSecond(), 2.0, BOUND_MS);
    recorder.instance->pauseRecord(recorder.record());
    QTRY_COMPARE_WITH_TIMEOUT(recorder.record()->replayProgressInSecond(), 3.0, BOUND_MS);
    QVERIFY(!recorder.instance->isReplaying());

    recorder.instance->moveCurrentRecordTime(30.0);
    QTRY_COMPARE_WITH_TIMEOUT(recorder.record()->replayProgressInSecond(), 40.0, BOUND_MS);
    QVERIFY(!recorder.instance->isMovingRecord());
    QCOMPARE(recorder.process.calledServices(), QStringList({ "load", "play", "pause", "move_to" }));
}

void TestModuleAnswers::answersThatComeInAnotherOrderLeaveNothingPending()
{
    // Given a recorder that says "loaded" before it says how far it is, and "moved_to" before "paused"
    RecorderOnNetwork recorder("on load: loaded $1 \"2026-11-21T10:00:00.000\" 60.0 [\"pump\"]; wait 50; loading 80.0\n"
                               "on pause: until move_to; wait 100; paused\n"
                               "on move_to: moved_to $1\n");
    load(recorder);
    QTRY_COMPARE_WITH_TIMEOUT(recorder.instance->loadingProgress(), 80, BOUND_MS);
    QVERIFY(!recorder.instance->isLoadingRecord());
    QVERIFY(recorder.record()->isLoaded());

    recorder.instance->playRecord(recorder.record());
    recorder.instance->stopRecord(recorder.record());
    QVERIFY(recorder.instance->isStoppingRecord());
    QVERIFY(comesTrue([&] { return !recorder.instance->isStoppingRecord(); }));
    QVERIFY(comesTrue([&] { return !recorder.instance->isReplaying(); }));
    QVERIFY(!recorder.instance->isMovingRecord());
    QVERIFY(recorder.record()->replayIsAtStart());
}

void TestModuleAnswers::aFilterWaitsForTheMoveToTheStart()
{
    RecorderOnNetwork recorder(QLatin1StringView(REPLAY_SCRIPT)
        + "on play: publish replay_progress 20.0\n"
          "on move_to #1: wait 100; moved_to 0.5\n" // not quite there
          "on move_to #2: wait 100; moved_to 0.0\n"
          "on filter_replaying_agents: wait 100; filter_applied\n");
    load(recorder);
    recorder.instance->playRecord(recorder.record());
    QTRY_COMPARE_WITH_TIMEOUT(recorder.record()->replayProgressInSecond(), 20.0, BOUND_MS);
    qobject_cast<RecordAgentFilter*>(recorder.record()->agentsFilters()->get(0))->setchecked(false);
    recorder.instance->beforeUpdateRecordAgentsFilter(recorder.record());
    QVERIFY(recorder.instance->isWaitingToFilterAgents());
    QVERIFY(comesTrue([&] { return !recorder.instance->isMovingRecord(); }));
    QVERIFY(recorder.instance->isWaitingToFilterAgents());
    QVERIFY(!recorder.instance->isFilteringRecord());

    recorder.instance->moveCurrentRecordTime(0.0);
    QVERIFY(comesTrue([&] { return recorder.instance->isFilteringRecord(); }));
    QVERIFY(!recorder.instance->isWaitingToFilterAgents());
    QVERIFY(comesTrue([&] { return !recorder.instance->isFilteringRecord(); }));
    QCOMPARE(recorder.process.calls().last().service, "filter_replaying_agents");
    QCOMPARE(recorder.process.calls().last().arguments, QJsonArray({ "[\"valve\"]" }));
    QCOMPARE(recorder.process.count("filter_replaying_agents"), 1);
}

// ---- import -----------------------------------------------------------------------------------------------------

void TestModuleAnswers::anAcknowledgementMayOvertakeTheTaskThatSentTheFirstChunk()
{
    RecorderOnNetwork recorder("on import: record_uuid bbbb\n"
                               "on append: record_uuid $1");
    recorder.writeRows("big.csv", 25'000);
    // Given a task that has sent its chunk and does not end before the acknowledgement is here
    QSemaphore acknowledged;
    connect(
        &recorder.network.module(), &RecorderModule::importReceived, &recorder.network.module(),
        [&acknowledged] { acknowledged.release(); }, Qt::DirectConnection);
    bool isOvertaken = false;
    QThread* taskThread = nullptr;
    connect(
        recorder.instance, &RecorderInstance::importingProgressChanged, recorder.instance,
        [&] {
            if (!taskThread) {
                taskThread = QThread::currentThread();
                isOvertaken = acknowledged.tryAcquire(1, BOUND_MS);
                QThread::msleep(20); // the main thread meets the acknowledgement
            }
        },
        Qt::DirectConnection);
    recorder.import("big.csv");
    // Then the import goes on to its end all the same
    QVERIFY(comesTrue([&] { return !recorder.instance->isImportingRecord(); }));
    QVERIFY(isOvertaken);
    QVERIFY(taskThread != QThread::currentThread());
    QTRY_COMPARE_WITH_TIMEOUT(
        recorder.process.calledServices(), QStringList({ "import", "append", "append", "get_records" }), BOUND_MS);
    QCOMPARE(recorder.receivedRows().digest, RowDigest::ofGenerated(25'000).hex());
}

void TestModuleAnswers::acknowledgementsThatComeTwiceNeitherLoseNorRepeatRows()
{
    RecorderOnNetwork recorder("on import: record_uuid bbbb; record_uuid bbbb\n"
                               "on append: record_uuid $1; record_uuid $1");
    recorder.writeRows("big.csv", 95'000);
    recorder.import("big.csv");
    QTRY_COMPARE_WITH_TIMEOUT(recorder.process.count("append"), 9, BOUND_MS);
    QVERIFY(comesTrue([&] { return recorder.process.count("get_records") > 1; }));
    QVERIFY(!recorder.instance->isImportingRecord());
    QCOMPARE(recorder.process.count("append"), 9);
    QCOMPARE(recorder.receivedRows().rows, 95'000);
    QCOMPARE(recorder.process.receivedRows().digest, RowDigest::ofGenerated(95'000).hex());
}

void TestModuleAnswers::acknowledgementsThatComeLateAreWaitedFor()
{
    RecorderOnNetwork recorder("on import: wait 200; record_uuid bbbb\n"
                               "on append: wait 200; record_uuid $1");
    recorder.writeRows("big.csv", 15'000);
    recorder.import("big.csv");
    QTRY_COMPARE_WITH_TIMEOUT(recorder.process.calledServices(), QStringList({ "import" }), BOUND_MS);
    QVERIFY(recorder.instance->isImportingRecord());
    QTRY_COMPARE_WITH_TIMEOUT(recorder.process.calledServices(), QStringList({ "import", "append" }), BOUND_MS);
    QVERIFY(recorder.instance->isImportingRecord());
    QVERIFY(comesTrue([&] { return !recorder.instance->isImportingRecord(); }));
    const QList<RecorderCall> calls = recorder.process.calls();
    QVERIFY(calls.at(1).atMs - calls.at(0).atMs >= 190);
    QCOMPARE(recorder.receivedRows().digest, RowDigest::ofGenerated(15'000).hex());
}

void TestModuleAnswers::anImportThatIsRefusedGoesOnWhenItsUuidComes()
{
    RecorderOnNetwork recorder("on import: record_uuid \"\"; wait 100; record_uuid bbbb\n"
                               "on append: record_uuid $1");
    recorder.writeRows("big.csv", 15'000);
    QTest::ignoreMessage(QtWarningMsg, "Something went wrong in the recorder when importing, check his logs");
    recorder.import("big.csv");
    QVERIFY(comesTrue([&] { return !recorder.instance->isImportingRecord(); }));
    QTRY_COMPARE_WITH_TIMEOUT(
        recorder.process.calledServices(), QStringList({ "import", "append", "get_records" }), BOUND_MS);
    QCOMPARE(recorder.receivedRows().rows, 15'000);
}

QTEST_MAIN(TestModuleAnswers)
#include "tst_module_answers.moc"
