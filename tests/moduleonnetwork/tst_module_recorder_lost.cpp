// SPDX-License-Identifier: Apache-2.0
//
// A recorder whose process stands still or is killed, in every phase of its work.
#include "recorderonnetwork.h"

#include <quenary.h>

#include <QtTest/QSignalSpy>

namespace {

constexpr int BOUND_MS = RecorderOnNetwork::BOUND_MS;
constexpr qint64 FILE_ROWS = 45'000;

// Everything of the recorder's run is as if there never was one.
void verifyIsAtRest(RecorderInstance& instance)
{
    QVERIFY(!instance.isRecording());
    QVERIFY(!instance.isRecordingPaused());
    QCOMPARE(instance.recordingProgressInSeconds(), 0.0);
    QVERIFY(!instance.currentRecord());
    QVERIFY(!instance.recordFromFile());
    QVERIFY(!instance.isReplaying());
    QVERIFY(!instance.isLoadingRecord());
    QCOMPARE(instance.loadingProgress(), 0);
    QVERIFY(!instance.isMovingRecord());
    QVERIFY(!instance.isStoppingRecord());
    QVERIFY(!instance.isWaitingToFilterAgents());
    QVERIFY(!instance.isFilteringRecord());
    QVERIFY(!instance.isDownloadingRecord());
    QVERIFY(!instance.isCancelingExport());
    QCOMPARE(instance.exportingProgress(), 0);
    QVERIFY(!instance.exportRecord());
    QVERIFY(!instance.isImportingRecord());
    QVERIFY(!instance.isCancelingImport());
    QCOMPARE(instance.importingProgress(), 0);
}

// A phase of a recorder's work: how the module gets there, and by which call the recorder knows.
struct Phase
{
    const char* name;
    const char* script;
    void (*begin)(RecorderOnNetwork& recorder);
    const char* lastCall;
    // The answer for which it waits, given by a recorder that dies with it.
    const char* answer;
};

const char* const LOADED = "loaded $1 \"2026-11-21T10:00:00.000\" 60.0 [\"pump\",\"valve\"]";

void load(RecorderOnNetwork& recorder)
{
    recorder.instance->loadRecord(recorder.record());
    QVERIFY(comesTrue([&] { return recorder.record()->isLoaded(); }));
}

const Phase PHASES[] = {
    { "recording", "on record: record_uuid cccc; stream record_progress 0.05 0.05 50",
        [](RecorderOnNetwork& recorder) {
            recorder.instance->startRecording();
            QVERIFY(comesTrue([&] { return recorder.instance->recordingProgressInSeconds() > 0.1; }));
            recorder.instance->stopRecording();
        },
        "stop_recording", "recording_stopped" },
    { "loading", "on load: loading 30.0",
        [](RecorderOnNetwork& recorder) {
            recorder.instance->loadRecord(recorder.record());
            QTRY_COMPARE_WITH_TIMEOUT(recorder.instance->loadingProgress(), 30, BOUND_MS);
            QVERIFY(recorder.instance->isLoadingRecord());
            // Asked again, as a person would who waits for long.
            recorder.instance->loadRecord(recorder.record());
        },
        "load", LOADED },
    { "moving", "on play: stream replay_progress 1.0 0.1 20",
        [](RecorderOnNetwork& recorder) {
            load(recorder);
            recorder.instance->playRecord(recorder.record());
            QVERIFY(comesTrue([&] { return recorder.record()->replayProgressInSecond() > 1.0; }));
            recorder.instance->moveCurrentRecordTime(30.0);
            QVERIFY(recorder.instance->isMovingRecord() && recorder.instance->isReplaying());
        },
        "move_to", "moved_to $1" },
    { "filtering", "on play: publish replay_progress 20.0\non move_to: moved_to $1",
        [](RecorderOnNetwork& recorder) {
            load(recorder);
            recorder.instance->playRecord(recorder.record());
            QTRY_COMPARE_WITH_TIMEOUT(recorder.record()->replayProgressInSecond(), 20.0, BOUND_MS);
            qobject_cast<RecordAgentFilter*>(recorder.record()->agentsFilters()->get(0))->setchecked(false);
            recorder.instance->beforeUpdateRecordAgentsFilter(recorder.record());
            QVERIFY(comesTrue([&] { return recorder.instance->isFilteringRecord(); }));
        },
        "filter_replaying_agents", "filter_applied" },
    { "exporting", "on export #1: chunk 10000 60000\non export #2: chunk 10000 60000",
        [](RecorderOnNetwork& recorder) {
            recorder.download("out.csv");
            QVERIFY(comesTrue([&] { return recorder.instance->exportingProgress() > 30; }));
        },
        "export", "chunk 10000 60000" },
    { "importing", "on import: record_uuid bbbb\non append #1: record_uuid bbbb",
        [](RecorderOnNetwork& recorder) {
            recorder.writeRows("big.csv", FILE_ROWS);
            recorder.import("big.csv");
            QVERIFY(comesTrue([&] { return recorder.instance->importingProgress() > 60; }));
        },
        "append", "record_uuid $1" },
};

} // namespace

class TestModuleRecorderLost : public QObject
{
    Q_OBJECT

public:
    static void initMain() { QApplication::setAttribute(Qt::AA_DontUseNativeDialogs); }

private Q_SLOTS:
    void aRecorderThatIsKilledLeavesItsInstanceAtRest_data();
    void aRecorderThatIsKilledLeavesItsInstanceAtRest();

    void aRecordingThatStandsStillEndsAndGoesOn();
    void lateAnswersOfARecorderThatStoodStillChangeNothing();
    void answersOfAnotherThatCarryTheTokenOfALostRecorderChangeNothing();

private:
    static void _begin(RecorderOnNetwork& recorder, const Phase& phase);
    static void _verifyIsLost(RecorderOnNetwork& recorder);
};

// Returns when the recorder has the last call of the phase, and answers it no more.
void TestModuleRecorderLost::_begin(RecorderOnNetwork& recorder, const Phase& phase)
{
    phase.begin(recorder);
    QVERIFY(comesTrue([&] {
        return !recorder.process.calls().isEmpty() && recorder.process.calls().last().service == phase.lastCall;
    }));
}

void TestModuleRecorderLost::_verifyIsLost(RecorderOnNetwork& recorder)
{
    QVERIFY(comesTrue([&] { return !recorder.instance->isOn(); }, 2 * QNY_PRESENCE_BOUND_MS));
    QCOMPARE(recorder.instance->records()->count(), 0);
    verifyIsAtRest(*recorder.instance);
}

void TestModuleRecorderLost::aRecorderThatIsKilledLeavesItsInstanceAtRest_data()
{
    QTest::addColumn<int>("phase");
    for (size_t i = 0; i < std::size(PHASES); ++i) {
        QTest::newRow(PHASES[i].name) << static_cast<int>(i);
    }
}

void TestModuleRecorderLost::aRecorderThatIsKilledLeavesItsInstanceAtRest()
{
    QFETCH(int, phase);
    RecorderOnNetwork recorder(
        QStringLiteral("on load: %1\n%2\n").arg(QLatin1StringView(LOADED), QLatin1StringView(PHASES[phase].script)));
    // While it has not answered
    _begin(recorder, PHASES[phase]);
    recorder.process.kill();
    _verifyIsLost(recorder);

    // And, what was lost being no hindrance, with its answer on the way
    recorder.run();
    verifyIsAtRest(*recorder.instance);
    _begin(recorder, PHASES[phase]);
    recorder.process.say(QStringLiteral("for %1: %2; wait 1; %2; die")
            .arg(QLatin1StringView(PHASES[phase].lastCall), QLatin1StringView(PHASES[phase].answer)));
    _verifyIsLost(recorder);
}

// ---- standing still ---------------------------------------------------------------------------------------------

void TestModuleRecorderLost::aRecordingThatStandsStillEndsAndGoesOn()
{
    RecorderOnNetwork recorder("on record: record_uuid cccc; stream record_progress 0.05 0.05 50");
    recorder.instance->startRecording();
    QVERIFY(comesTrue([&] { return recorder.instance->recordingProgressInSeconds() > 0.1; }));
    // When the recorder is frozen for less than what makes it lost
    recorder.process.freeze();
    QVERIFY(comesTrue([&] { return !recorder.instance->isRecording(); }));
    QVERIFY(recorder.instance->isOn());
    QCOMPARE(recorder.process.count("get_records"), 0);
    // Then the question for its list waits for it, and its next value is a recording again
    recorder.process.resume();
    QVERIFY(comesTrue([&] { return recorder.instance->isRecording(); }));
    QTRY_COMPARE_WITH_TIMEOUT(recorder.process.count("get_records"), 1, BOUND_MS);
    QVERIFY(recorder.instance->isOn());
}

void TestModuleRecorderLost::lateAnswersOfARecorderThatStoodStillChangeNothing()
{
    // Given a recorder that answers some of its calls only after it was met again
    RecorderOnNetwork recorder("on export: until get_context; wait 100; chunk 10000 60000\n"
                               "on import: record_uuid bbbb\n"
                               "on append: until get_context; wait 100; record_uuid bbbb\n"
                               "on move_to: until get_context; wait 100; moved_to 30.0\n"
                               "on filter_replaying_agents: until get_context; wait 100; filter_applied\n"
                               "on load: "
        + QString(LOADED) + "\n");
    load(recorder);
    recorder.download("out.csv");
    recorder.writeRows("big.csv", FILE_ROWS);
    recorder.import("big.csv");
    recorder.instance->moveCurrentRecordTime(30.0);
    QVERIFY(comesTrue([&] {
        return recorder.process.count("append") == 1 && recorder.process.count("move_to") == 1
            && recorder.process.count("export") == 1;
    }));
    QVERIFY(recorder.instance->importingProgress() > 0);

    // When it stands still for so long that it is taken for lost
    recorder.process.freeze();
    QVERIFY(comesTrue([&] { return !recorder.instance->isOn(); }, 2 * QNY_PRESENCE_BOUND_MS));
    verifyIsAtRest(*recorder.instance);
    recorder.process.clearCalls();
    QSignalSpy importChanges(recorder.instance, &RecorderInstance::isImportingRecordChanged);
    QSignalSpy progressChanges(recorder.instance, &RecorderInstance::importingProgressChanged);
    QSignalSpy acknowledgements(&recorder.network.module(), &RecorderModule::importReceived);
    QSignalSpy moves(&recorder.network.module(), &RecorderModule::recordMovedTo);
    QTest::ignoreMessage(QtWarningMsg,
        "void RecorderInstance::receiveExport(const QString &, int, const QString &, const QString &) failed to write "
        "content to record file, closing file");
    recorder.process.resume();

    // Then it is met again, and what it had still to say is heard and has no effect
    QVERIFY(comesTrue([&] { return recorder.instance->isOn(); }));
    QTRY_COMPARE_WITH_TIMEOUT(acknowledgements.count(), 1, BOUND_MS);
    QTRY_COMPARE_WITH_TIMEOUT(moves.count(), 1, BOUND_MS);
    QTRY_COMPARE_WITH_TIMEOUT(recorder.instance->records()->count(), 1, BOUND_MS);
    verifyIsAtRest(*recorder.instance);
    // A further call is answered: what stood before it in the queues has arrived
    load(recorder);
    QCOMPARE(
        recorder.process.calledServices(), QStringList({ "get_record_filters", "get_records", "get_context", "load" }));
    QCOMPARE(importChanges.count(), 0);
    QCOMPARE(progressChanges.count(), 0);
}

void TestModuleRecorderLost::answersOfAnotherThatCarryTheTokenOfALostRecorderChangeNothing()
{
    RecorderOnNetwork recorder(
        "on import: record_uuid bbbb\non export: chunk 10000 60000\non load: " + QString(LOADED) + "\n");
    recorder.writeRows("big.csv", FILE_ROWS);
    recorder.import("big.csv");
    recorder.download("out.csv");
    QVERIFY(comesTrue([&] { return recorder.process.count("append") == 1 && recorder.process.count("export") > 1; }));
    recorder.process.kill();
    QVERIFY(comesTrue([&] { return !recorder.instance->isOn(); }, 2 * QNY_PRESENCE_BOUND_MS));

    // Given another recorder, which no instance of the document stands for
    ScriptedRecorderProcess other("Other recorder");
    QVERIFY(other.start(QString()));
    QSignalSpy progressChanges(recorder.instance, &RecorderInstance::importingProgressChanged);
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("receiveExport.*failed to write content to record file"));
    QTest::ignoreMessage(QtWarningMsg, "Instance is off. Can not call service 'append'");
    other.say(QStringLiteral("token %1##import; record_uuid bbbb; token %1; moved_to 12.0; paused; filter_applied; "
                             "receive_export %2 1 next \"pump;0;output\"; loading 40.0")
            .arg(recorder.instance->uuid(), ScriptedRecorderProcess::RECORD_A));
    // The last of them, which is shown as it stands
    QTRY_COMPARE_WITH_TIMEOUT(recorder.instance->loadingProgress(), 40, BOUND_MS);
    QCOMPARE(progressChanges.count(), 0);
    QVERIFY(!recorder.instance->isImportingRecord());
    QVERIFY(!recorder.instance->isDownloadingRecord());
    QVERIFY(!recorder.instance->isMovingRecord());
    QCOMPARE(RowDigest::ofFile(recorder.path("out.csv")).rows() % 10'000, 0);
}

QTEST_MAIN(TestModuleRecorderLost)
#include "tst_module_recorder_lost.moc"
