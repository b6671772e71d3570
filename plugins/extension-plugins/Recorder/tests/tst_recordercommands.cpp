// SPDX-License-Identifier: Apache-2.0
#include "messagelog.h"
#include "modulefixture.h"
#include "privatemember.h"
#include "signallog.h"

#include <speed.h>

#include <QtTest/QSignalSpy>

static void (RecorderInstance::*getContext)() = nullptr;
template struct OpenMember<getContext, &RecorderInstance::_getContext>;

static void (RecorderInstance::*getRecordFilters)() = nullptr;
template struct OpenMember<getRecordFilters, &RecorderInstance::_getRecordFilters>;

class tst_RecorderCommands : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void whileOffEachCommandIsRefusedByTheNameOfItsService();
    void nothingIsLoadedFromAnAgentWithoutUuid();
    void startRecordingSendsANameMadeOfTheDate();
    void startRecordingUnloadsTheCurrentRecord();
    void aRecordChosenWhileTheLastOneUnloadsStaysCurrentInARecording();
    void stopRecordingForgetsTheRecordingAtOnce();
    void pauseAndResumeAreRefusedWhileNotRecording();
    void pauseAndResumeAreSentWithoutToken();
    void questionsCarryTheirArguments();
    void recordsAreNotAskedForWithoutADatabase();
    void loadRecordSendsTheWholeWindow();
    void loadRecordOnALoadedRecordSendsNothing();
    void loadRecordUnloadsTheOneBeforeItHereOnly();
    void loadRecordFileSendsThePathAndKeepsIt();
    void loadRecordFileReleasesTheFileBeforeIt();
    void unloadRecordSendsUnloadOnlyWhenLoaded();
    void renamingToTheSameNameSendsNothing();
    void deletingARecordRemovesItAtOnce();
    void playIsRefusedWhilePlaying();
    void pauseIsRefusedWhileNotPlaying();
    void stopRecordPausesAndMovesToTheStart();
    void aNegativeTimeMovesTheTimelineToItsStartAndIsSentAsItIs();
    void movingWhilePlayingPausesFirst();
    void withSomeAgentsCheckedTheFilterIsAListOfTheirNames();
    void withAllOrNoAgentsCheckedTheFilterIsEmpty();
    void namesStandInTheFilterInTheOrderOfTheListAsTheyAre();
    void anUnchangedFilterIsNotSent();
    void theSpeedIsSentOnceForARealChange();
};

void tst_RecorderCommands::whileOffEachCommandIsRefusedByTheNameOfItsService()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.firstInstanceOf(fixture.addRecorder("Rec"));
    RecorderRecord record(RECORD_A, "A", QDateTime(), QDateTime(), 3000000, nullptr);
    record.load({ "a", "b" });
    auto* const speed = qobject_cast<Speed*>(record.speeds()->get(4));
    const std::pair<const char*, std::function<void()>> commands[] = {
        { "record", [&] { instance->startRecording(); } },
        { "stop_recording", [&] { instance->stopRecording(); } },
        { "pause_record", [&] { instance->pauseRecording(); } },
        { "resume_record", [&] { instance->resumeRecording(); } },
        { "get_records", [&] { instance->getRecords(QString()); } },
        { "get_context", [&] { (instance->*getContext)(); } },
        { "get_record_filters", [&] { (instance->*getRecordFilters)(); } },
        { "set_record_filters", [&] { instance->updateRecordFilters("x"); } },
        { "load", [&] { instance->loadRecord(&record); } },
        { "load_file", [&] { instance->loadRecordFile("/a.csv"); } },
        { "unload", [&] { instance->unloadRecord(&record); } },
        { "rename", [&] { instance->updateRecordName(&record, "B"); } },
        { "delete", [&] { instance->deleteRecord(&record); } },
        { "play", [&] { instance->playRecord(&record); } },
        { "pause", [&] { instance->pauseRecord(&record); } },
        { "move_to", [&] { instance->stopRecord(&record); } },
        { "move_to", [&] { instance->moveCurrentRecordTime(1.0); } },
        { "filter_replaying_agents", [&] { instance->updateRecordAgentsFilter(&record); } },
        { "speed", [&] { instance->updateRecordSpeed(&record, speed); } },
    };
    SignalLog log;
    log.follow(instance);
    log.follow(&record);
    for (const auto& [service, command] : commands) {
        const MessageLog messages;
        command();
        // One message, and neither call nor change.
        QCOMPARE(messages.problems(),
            QStringList(QString("warning: Instance is off. Can not call service '%1'").arg(service)));
        QCOMPARE(log.take(), QStringList());
    }
}

void tst_RecorderCommands::nothingIsLoadedFromAnAgentWithoutUuid()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.firstInstanceOf(fixture.addRecorder("Rec"));
    RecorderRecord record(RECORD_A, "A", QDateTime(), QDateTime(), 3000000, nullptr);
    instance->setisOn(true);
    SignalLog log;
    log.follow(instance);
    instance->loadRecord(&record);
    instance->loadRecordFile("/records/one.csv");
    QCOMPARE(log.take(), QStringList());
}

void tst_RecorderCommands::startRecordingSendsANameMadeOfTheDate()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.addRunningRecorder();
    const QString pattern = "dd/MM/yy - hh:mm:ss";
    const QString before = QDateTime::currentDateTime().toString(pattern);
    instance->startRecording();
    const QString after = QDateTime::currentDateTime().toString(pattern);
    const QString name = lastServiceCall().arguments.value(0).toString();
    QVERIFY2(name == before || name == after, qPrintable(name));
    compareCall(instance, "record", { name, QString(""), QString("") }, instance->uuid() + "##record");
    QVERIFY(!instance->isRecording());
}

void tst_RecorderCommands::startRecordingUnloadsTheCurrentRecord()
{
    LoadedRecorder setup;
    setup.instance->startRecording();
    QCOMPARE(QuenaryDouble::calledServices(), QStringList({ "unload", "record" }));
    QCOMPARE(setup.instance->currentRecord(), nullptr);
    QVERIFY(!setup.record->isLoaded());

    // A file's record goes altogether.
    setup.recorder.loaded("/records/one.csv", 3.0, R"(["a"])");
    const QPointer<RecorderRecord> file = setup.instance->recordFromFile();
    QVERIFY(file);
    QSignalSpy released(setup.instance, &RecorderInstance::recordFromFileChanged);
    setup.instance->startRecording();
    QCOMPARE(setup.instance->recordFromFile(), nullptr);
    QCOMPARE(setup.instance->currentRecord(), nullptr);
    QCOMPARE(released.count(), 1);
    ModuleFixture::settle();
    QVERIFY(file.isNull());
}

void tst_RecorderCommands::aRecordChosenWhileTheLastOneUnloadsStaysCurrentInARecording()
{
    LoadedRecorder setup;
    connect(setup.record, &RecorderRecord::isLoadedChanged, setup.instance, [&setup] {
        if (!setup.record->isLoaded()) {
            setup.instance->setcurrentRecord(setup.other);
        }
    });
    setup.instance->startRecording();
    QCOMPARE(setup.instance->currentRecord(), setup.other);
    QCOMPARE(QuenaryDouble::calledServices(), QStringList({ "unload", "record" }));

    // A file that is loaded takes its place all the same.
    setup.instance->loadRecordFile("/records/one.csv");
    QCOMPARE(setup.instance->currentRecord(), nullptr);
}

void tst_RecorderCommands::stopRecordingForgetsTheRecordingAtOnce()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.addRunningRecorder();
    instance->recordingStarted("r");
    instance->stopRecording();
    QVERIFY(!instance->isRecording());
    compareCall(instance, "stop_recording", {});

    const QString agentUuid = instance->agentInstanceUuid();
    ModuleFixture::leave(agentUuid);
    instance->recordingStarted("r");
    QTest::ignoreMessage(QtWarningMsg, "Instance is off. Can not call service 'stop_recording'");
    instance->stopRecording();
    QVERIFY(!instance->isRecording());
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
}

void tst_RecorderCommands::pauseAndResumeAreRefusedWhileNotRecording()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.addRunningRecorder();
    QTest::ignoreMessage(QtWarningMsg, "Instance is not recording. Can not call service 'pause_record'");
    instance->pauseRecording();
    QTest::ignoreMessage(QtWarningMsg, "Instance is not recording. Can not call service 'resume_record'");
    instance->resumeRecording();
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
}

void tst_RecorderCommands::pauseAndResumeAreSentWithoutToken()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.addRunningRecorder();
    instance->recordingStarted("r");
    SignalLog log;
    log.follow(instance);
    instance->pauseRecording();
    instance->resumeRecording();
    QCOMPARE(log.take(), QStringList({ "call pause_record", "call resume_record" }));
    for (const QuenaryDouble::ServiceCall& call : QuenaryDouble::serviceCalls()) {
        QCOMPARE(call.agent, instance->agentInstanceUuid());
        QVERIFY(call.token.isNull());
        QVERIFY(!call.hasArgumentList);
    }
}

void tst_RecorderCommands::questionsCarryTheirArguments()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.addRunningRecorder();
    instance->getRecords("pump");
    compareCall(instance, "get_records", { QString("pump") });
    instance->updateRecordFilters("  -tank\n# é ");
    compareCall(instance, "set_record_filters", { QString("  -tank\n# é ") });
    QCOMPARE(instance->recordFilters(), "");
}

void tst_RecorderCommands::recordsAreNotAskedForWithoutADatabase()
{
    ModuleFixture fixture;
    RecorderInstance* const instance
        = fixture.firstInstanceOf(fixture.addRecorder("Rec", ModuleFixture::commandLine({ "--name", "Rec" })));
    ModuleFixture::run(instance);
    QVERIFY(instance->offlineMode());
    QCOMPARE(QuenaryDouble::calledServices(), QStringList({ "get_record_filters", "get_context" }));
    instance->getRecords(QString());
    QCOMPARE(QuenaryDouble::serviceCalls().size(), 2);
}

void tst_RecorderCommands::loadRecordSendsTheWholeWindow()
{
    LoadedRecorder setup;
    setup.recorder.reply("loading_failed", { RECORD_A, "no disk" });
    setup.recorder.reply("loading", { 80.0 });
    QCOMPARE(setup.instance->loadingFailReason(), "no disk");
    setup.instance->loadRecord(setup.other);
    compareCall(setup.instance, "load", { RECORD_B, 0.0, 3.0 });
    QCOMPARE(setup.instance->currentRecord(), setup.other);
    QVERIFY(setup.instance->isLoadingRecord());
    QCOMPARE(setup.instance->loadingFailReason(), "");
    QCOMPARE(setup.instance->loadingProgress(), 0);
    setup.instance->loadRecord(nullptr);
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
}

void tst_RecorderCommands::loadRecordOnALoadedRecordSendsNothing()
{
    LoadedRecorder setup;
    setup.recorder.reply("loading_failed", { RECORD_B, "no disk" });
    setup.instance->loadRecord(setup.record);
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
    QCOMPARE(setup.instance->loadingFailReason(), "");
    QVERIFY(!setup.instance->isLoadingRecord());

    setup.instance->recordingStarted("r");
    setup.instance->loadRecord(setup.record);
    QCOMPARE(QuenaryDouble::calledServices(), QStringList({ "stop_recording" }));
    QVERIFY(!setup.instance->isRecording());
}

void tst_RecorderCommands::loadRecordUnloadsTheOneBeforeItHereOnly()
{
    LoadedRecorder setup;
    setup.instance->loadRecord(setup.other);
    QVERIFY(!setup.record->isLoaded());
    QCOMPARE(QuenaryDouble::calledServices(), QStringList({ "load" }));

    setup.recorder.loaded("/records/one.csv", 3.0, "[]");
    const QPointer<RecorderRecord> file = setup.instance->recordFromFile();
    QuenaryDouble::clearCalls();
    setup.instance->loadRecord(setup.record);
    QCOMPARE(setup.instance->recordFromFile(), nullptr);
    QCOMPARE(setup.instance->currentRecord(), setup.record);
    QCOMPARE(QuenaryDouble::calledServices(), QStringList({ "load" }));
    ModuleFixture::settle();
    QVERIFY(file.isNull());
    QCOMPARE(setup.instance->currentRecord(), setup.record);
}

void tst_RecorderCommands::loadRecordFileSendsThePathAndKeepsIt()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.addRunningRecorder();
    QSignalSpy changed(instance, &RecorderInstance::currentFilePathChanged);
    instance->loadRecordFile("/records/é.csv");
    compareCall(instance, "load_file", { QString("/records/é.csv") });
    QVERIFY(instance->isLoadingRecord());
    QCOMPARE(instance->currentFilePath(), "/records/é.csv");
    instance->loadRecordFile("/records/é.csv");
    QCOMPARE(changed.count(), 1);
    QuenaryDouble::clearCalls();
    instance->loadRecordFile(QString());
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
}

void tst_RecorderCommands::loadRecordFileReleasesTheFileBeforeIt()
{
    LoadedRecorder setup;
    setup.recorder.loaded("/records/one.csv", 3.0, "[]");
    const QPointer<RecorderRecord> file = setup.instance->recordFromFile();
    setup.instance->loadRecordFile("/records/two.csv");
    QCOMPARE(QuenaryDouble::calledServices(), QStringList({ "unload", "load_file" }));
    compareCall(lastServiceCall(), setup.instance, "load_file", { QString("/records/two.csv") });
    QCOMPARE(setup.instance->recordFromFile(), nullptr);
    QCOMPARE(setup.instance->currentRecord(), nullptr);
    ModuleFixture::settle();
    QVERIFY(file.isNull());
}

void tst_RecorderCommands::unloadRecordSendsUnloadOnlyWhenLoaded()
{
    LoadedRecorder setup;
    setup.instance->unloadRecord(setup.other);
    setup.instance->unloadRecord(nullptr);
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
    QCOMPARE(setup.instance->currentRecord(), setup.record);
    setup.instance->unloadRecord(setup.record);
    compareCall(setup.instance, "unload", {});
    QVERIFY(!setup.record->isLoaded());
    QCOMPARE(setup.instance->currentRecord(), nullptr);
}

void tst_RecorderCommands::renamingToTheSameNameSendsNothing()
{
    LoadedRecorder setup;
    setup.instance->updateRecordName(setup.record, "First");
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
    setup.instance->updateRecordName(setup.record, "Renamed");
    compareCall(setup.instance, "rename", { RECORD_A, QString("Renamed") });
    QCOMPARE(setup.record->name(), "Renamed");
}

void tst_RecorderCommands::deletingARecordRemovesItAtOnce()
{
    LoadedRecorder setup;
    const QPointer<RecorderRecord> record = setup.record;
    setup.instance->deleteRecord(record);
    QCOMPARE(QuenaryDouble::calledServices(), QStringList({ "unload", "delete" }));
    compareCall(QuenaryDouble::serviceCalls().first(), setup.instance, "unload", {});
    compareCall(lastServiceCall(), setup.instance, "delete", { RECORD_A });
    QCOMPARE(setup.instance->records()->count(), 1);
    ModuleFixture::settle();
    QVERIFY(record.isNull());
    QCOMPARE(setup.instance->currentRecord(), nullptr);
    // The index forgot it too: an answer that still names it is one of an unknown record.
    QTest::ignoreMessage(QtWarningMsg,
        qPrintable("void RecorderInstance::recordLoaded(const QString &, const QDateTime &, double, const QString &) "
                   "unknown record id \""
            + RECORD_A + "\""));
    setup.recorder.loaded(RECORD_A, 3.0, "[]");
    setup.instance->deleteRecord(nullptr);
}

void tst_RecorderCommands::playIsRefusedWhilePlaying()
{
    LoadedRecorder setup;
    setup.instance->playRecord(setup.record);
    compareCall(setup.instance, "play", {});
    QVERIFY(setup.record->isReplaying());
    QVERIFY(setup.instance->isReplaying());
    QTest::ignoreMessage(QtWarningMsg, "Can not play record \"First\" because it is already playing");
    setup.instance->playRecord(setup.record);
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
}

void tst_RecorderCommands::pauseIsRefusedWhileNotPlaying()
{
    LoadedRecorder setup;
    QTest::ignoreMessage(QtWarningMsg, "Can not pause record \"First\" because it is not playing");
    setup.instance->pauseRecord(setup.record);
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
    setup.instance->playRecord(setup.record);
    QuenaryDouble::clearCalls();
    setup.instance->pauseRecord(setup.record);
    compareCall(setup.instance, "pause", {});
    // Until the recorder answers.
    QVERIFY(setup.record->isReplaying());
    setup.recorder.reply("paused");
    QVERIFY(!setup.record->isReplaying());
}

void tst_RecorderCommands::stopRecordPausesAndMovesToTheStart()
{
    LoadedRecorder setup;
    setup.instance->playRecord(setup.record);
    QuenaryDouble::clearCalls();
    setup.instance->stopRecord(setup.record);
    QCOMPARE(QuenaryDouble::calledServices(), QStringList({ "pause", "move_to" }));
    compareCall(QuenaryDouble::serviceCalls().first(), setup.instance, "pause", {});
    compareCall(lastServiceCall(), setup.instance, "move_to", { 0.0 });
    QVERIFY(setup.instance->isStoppingRecord() && setup.instance->isMovingRecord());

    // On a paused replay the pause is refused, and the move goes out all the same.
    setup.recorder.reply("paused");
    setup.recorder.reply("moved_to", { 0.0 });
    QVERIFY(!setup.instance->isStoppingRecord() && !setup.instance->isMovingRecord());
    QuenaryDouble::clearCalls();
    QTest::ignoreMessage(QtWarningMsg, "Can not pause record \"First\" because it is not playing");
    setup.instance->stopRecord(setup.record);
    compareCall(setup.instance, "move_to", { 0.0 });
}

void tst_RecorderCommands::aNegativeTimeMovesTheTimelineToItsStartAndIsSentAsItIs()
{
    LoadedRecorder setup;
    setup.record->updateReplayProgress(2.0);
    QVERIFY(!setup.record->replayIsAtStart());
    setup.instance->moveCurrentRecordTime(-3.0);
    QCOMPARE(setup.record->replayProgressInSecond(), 0.0);
    QVERIFY(setup.record->replayIsAtStart());
    QVERIFY(setup.instance->isMovingRecord());
    compareCall(setup.instance, "move_to", { -3.0 });
}

void tst_RecorderCommands::movingWhilePlayingPausesFirst()
{
    LoadedRecorder setup;
    setup.instance->playRecord(setup.record);
    QuenaryDouble::clearCalls();
    setup.instance->moveCurrentRecordTime(1.5);
    QCOMPARE(QuenaryDouble::calledServices(), QStringList({ "pause", "move_to" }));
    compareCall(QuenaryDouble::serviceCalls().first(), setup.instance, "pause", {});
    compareCall(lastServiceCall(), setup.instance, "move_to", { 1.5 });
    QCOMPARE(setup.record->replayProgressInSecond(), 1.5);
    QVERIFY(!setup.record->replayIsAtStart());
}

void tst_RecorderCommands::withSomeAgentsCheckedTheFilterIsAListOfTheirNames()
{
    LoadedRecorder setup;
    setup.check(1, false);
    setup.instance->updateRecordAgentsFilter(setup.record);
    compareCall(setup.instance, "filter_replaying_agents", { QString(R"(["a","c"])") });
    QVERIFY(setup.instance->isFilteringRecord());
    QVERIFY(!setup.instance->isWaitingToFilterAgents());
    setup.recorder.reply("filter_applied");
    QVERIFY(!setup.instance->isFilteringRecord());
    QCOMPARE(setup.record->lastActiveAgentsFilter(), QStringList({ "a", "c" }));
}

void tst_RecorderCommands::withAllOrNoAgentsCheckedTheFilterIsEmpty()
{
    LoadedRecorder setup;
    setup.check(0, false);
    setup.check(1, false);
    setup.check(2, false);
    setup.instance->updateRecordAgentsFilter(setup.record);
    compareCall(setup.instance, "filter_replaying_agents", { QString("[]") });
    setup.check(0, true);
    setup.check(1, true);
    setup.check(2, true);
    setup.instance->updateRecordAgentsFilter(setup.record);
    compareCall(setup.instance, "filter_replaying_agents", { QString("[]") });
}

void tst_RecorderCommands::namesStandInTheFilterInTheOrderOfTheListAsTheyAre()
{
    LoadedRecorder setup;
    setup.recorder.loaded(RECORD_A, 3.0, R"(["b","A","ç d","e'"])");
    setup.check(1, false);
    QuenaryDouble::clearCalls();
    setup.instance->updateRecordAgentsFilter(setup.record);
    compareCall(setup.instance, "filter_replaying_agents", { QString(R"(["A","e'","ç d"])") });
    QCOMPARE(setup.record->lastActiveAgentsFilter(), QStringList({ "A", "e'", "ç d" }));
}

void tst_RecorderCommands::anUnchangedFilterIsNotSent()
{
    LoadedRecorder setup;
    setup.instance->updateRecordAgentsFilter(setup.record);
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
    QVERIFY(!setup.instance->isFilteringRecord());
}

void tst_RecorderCommands::theSpeedIsSentOnceForARealChange()
{
    LoadedRecorder setup;
    auto* const speed = qobject_cast<Speed*>(setup.record->speeds()->get(4));
    QSignalSpy changed(setup.record, &RecorderRecord::speedChanged);
    setup.instance->updateRecordSpeed(setup.record, setup.record->speed());
    setup.instance->updateRecordSpeed(setup.record, nullptr);
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
    setup.instance->updateRecordSpeed(setup.record, speed);
    compareCall(setup.instance, "speed", { 4.0 });
    QCOMPARE(setup.record->speed(), speed);
    setup.instance->updateRecordSpeed(setup.record, speed);
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
    QCOMPARE(changed.count(), 1);
}

QTEST_MAIN(tst_RecorderCommands)
#include "tst_recordercommands.moc"
