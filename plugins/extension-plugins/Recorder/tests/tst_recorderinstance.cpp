// SPDX-License-Identifier: Apache-2.0
#include "filesfixture.h"
#include "messagelog.h"
#include "privatemember.h"
#include "signallog.h"

#include "recordermoduledata.h"

#include <host.h>
#include <library.h>
#include <reservedagentandtoolfamilies.h>
#include <systemdocument.h>
#include <systemdocumenthandler.h>

#include <QtTest/QSignalSpy>

static QTimer RecorderInstance::*recordingTimer = nullptr;
template struct OpenMember<recordingTimer, &RecorderInstance::_recordingTimer>;

static bool (RecorderInstance::*isOnLocalMachine)() = nullptr;
template struct OpenMember<isOnLocalMachine, &RecorderInstance::_isOnLocalMachine>;

static QFile* RecorderInstance::*recordFile = nullptr;
template struct OpenMember<recordFile, &RecorderInstance::_recordFile>;

class tst_RecorderInstance : public QObject
{
    Q_OBJECT

public:
    static void initMain() { QApplication::setAttribute(Qt::AA_DontUseNativeDialogs); }

private Q_SLOTS:
    void aNewInstanceHasAUuidAndInputNamesOfItsOwn();
    void aNewInstanceIsAtRest();
    void aNewInstanceReadsWhatTheDocumentKeepsOfIt();
    void anAgentThatComesIsAskedForFiltersRecordsAndContextInThatOrder();
    void anAgentThatLeavesResetsAllRunTimeState();
    void recordingFlagsAreClearedBeforeIsOnChanges();
    void connectAgentOnAnInstanceThatIsOnDoesNothing();
    void aLocalStartRunsTheCommandLine();
    void aLocalStartOfAMissingProgramIsCriticalAndStartsNothing();
    void aProgramThatMayNotBeExecutedIsCritical();
    void anInstanceOnAHostWithoutLauncherIsNotStarted();
    void anInstanceOnAHostWithALauncherIsRequested();
    void disconnectAgentAsksTheAgentToStop();
    void aGroupAttachedToCorvaneMakesTheInstanceRunnable();
    void elsewhereAnInstanceIsRunnableWhenItCanBeLaunched();
    void runnabilityFollowsTheGroupToAnotherMachine();
    void theOwnNameIsNeverAlreadyUsed();
    void aNewNameComesBackThroughTheClassInstance();
    void retargetingReadsTheNewLaunchLineAndEmptiesTheFilters();
    void retargetingFollowsTheRunnabilityOfTheNewLaunchLine();
    void theFirstLaunchLineOnThisMachineIsTakenOver();
    void whatAnInstancePointsToMayGo();
    void theHostsObjectsOfAnInstanceMayGo();
    void anInstanceThatGoesClosesItsFileAndTakesItsRecordsAlong();
};

void tst_RecorderInstance::aNewInstanceHasAUuidAndInputNamesOfItsOwn()
{
    ModuleFixture fixture;
    const RecorderInstance* const first = fixture.firstInstanceOf(fixture.addRecorder("First"));
    const RecorderInstance* const second = fixture.firstInstanceOf(fixture.addRecorder("Second"));
    QVERIFY(!QUuid::fromString(first->uuid()).isNull());
    QVERIFY(!first->uuid().contains(u'{'));
    QCOMPARE_NE(first->uuid(), second->uuid());
    QCOMPARE(first->recordProgressInput(), first->uuid() + "#record_progress");
    QCOMPARE(first->replayProgressInput(), first->uuid() + "#replay_progress");
    QCOMPARE(first->name(), "First");
    QCOMPARE(first->systemView(), SystemDocumentHandler::instance()->currentSystemView());
    QVERIFY(!first->isOn());
}

void tst_RecorderInstance::aNewInstanceIsAtRest()
{
    ModuleFixture fixture;
    RecorderInstance* const instance
        = fixture.firstInstanceOf(fixture.addRecorder("Rec", ModuleFixture::commandLine({ "--name", "Rec" })));
    const QStringList given { "systemView", "instance", "encounteredAgentsOnHost", "encounteredAgentInfo", "name",
        "isRunnable", "records", "offlineMode" };
    const QMetaObject& metaObject = RecorderInstance::staticMetaObject;
    for (int i = metaObject.propertyOffset(); i < metaObject.propertyCount(); ++i) {
        const QMetaProperty property = metaObject.property(i);
        const QVariant value = property.read(instance);
        // Anything that is not given is false, 0, empty or null.
        QVERIFY2(given.contains(property.name()) != (value == QVariant(property.metaType())), property.name());
    }
    QCOMPARE(instance->records()->count(), 0);
    QCOMPARE(instance->agentInstanceUuid(), "");
    QCOMPARE(instance->filePathHint(), "");
    QVERIFY(!(instance->*recordingTimer).isActive());
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
}

void tst_RecorderInstance::aNewInstanceReadsWhatTheDocumentKeepsOfIt()
{
    ModuleFixture fixture;
    SystemViewClassInstance* const classInstance = fixture.addRecorder("Rec");
    RecorderInstance* const before = fixture.firstInstanceOf(classInstance);
    before->setrecordFilters("-tank");
    before->recordCsvFileDropped(QUrl::fromLocalFile("/records/one.csv"));
    QCOMPARE(RecorderModuleData::instance().getFilters(before->encounteredAgentInfo()->uuid()), "-tank");

    const Recorder again(classInstance, ModuleFixture::executablePath(), nullptr);
    QCOMPARE(again.recorderInstances().first()->recordFilters(), "-tank");
    QCOMPARE(again.recorderInstances().first()->currentFilePath(), "/records/one.csv");
}

void tst_RecorderInstance::anAgentThatComesIsAskedForFiltersRecordsAndContextInThatOrder()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.firstInstanceOf(fixture.addRecorder("Rec"));
    ModuleFixture::run(instance);
    const QList<QuenaryDouble::ServiceCall> calls = QuenaryDouble::serviceCalls();
    QCOMPARE(calls.size(), 3);
    compareCall(calls.at(0), instance, "get_record_filters", {});
    compareCall(calls.at(1), instance, "get_records", { QString("") });
    compareCall(calls.at(2), instance, "get_context", {});
}

void tst_RecorderInstance::anAgentThatLeavesResetsAllRunTimeState()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.addRunningRecorder();
    ScriptedRecorder recorder(instance);
    recorder.records("[" + recordJson(RECORD_A, "A") + "]");
    auto* const record = qobject_cast<RecorderRecord*>(instance->records()->get(0));
    instance->loadRecord(record);
    recorder.loaded(RECORD_A, 3.0, "[\"a\",\"b\"]");
    recorder.reply("loading", { 50.0 });
    recorder.progress(instance->recordProgressInput(), 2.0);
    record->updateReplayProgress(1.0);
    qobject_cast<RecordAgentFilter*>(record->agentsFilters()->get(0))->setProperty("checked", false);
    instance->playRecord(record);
    instance->beforeUpdateRecordAgentsFilter(record);
    instance->stopExport();
    instance->stopImport();
    QVERIFY(instance->isRecording() && instance->isMovingRecord() && instance->isStoppingRecord());
    QVERIFY((instance->*recordingTimer).isActive());
    QVERIFY(instance->isWaitingToFilterAgents() && instance->isReplaying());
    QCOMPARE(instance->currentRecord(), record);

    QSignalSpy reset(instance, &RecorderInstance::recordingProgressInSecondsChanged);
    ModuleFixture::leave(instance->agentInstanceUuid());
    QCOMPARE(instance->agentInstanceUuid(), "");
    QCOMPARE(instance->runningAgentInfo(), nullptr);
    QVERIFY(!instance->isOn());
    QVERIFY(!instance->isRecording() && !instance->isRecordingPaused() && !instance->isReplaying());
    QVERIFY(!instance->isMovingRecord() && !instance->isStoppingRecord() && !instance->isWaitingToFilterAgents());
    QVERIFY(!instance->isLoadingRecord() && !instance->isFilteringRecord());
    QVERIFY(!instance->isDownloadingRecord() && !instance->isCancelingExport());
    QVERIFY(!instance->isImportingRecord() && !instance->isCancelingImport());
    QCOMPARE(instance->recordingProgressInSeconds(), 0.0);
    QCOMPARE(reset.count(), 1);
    QCOMPARE(instance->loadingProgress(), 0);
    QCOMPARE(instance->currentRecord(), nullptr);
    QCOMPARE(instance->records()->count(), 0);
    QVERIFY(!(instance->*recordingTimer).isActive());
}

void tst_RecorderInstance::recordingFlagsAreClearedBeforeIsOnChanges()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.addRunningRecorder();
    instance->setrecordingProgressInSeconds(2.0);
    instance->setrecordingProgressInSeconds(2.0);
    QVERIFY(instance->isRecording() && instance->isRecordingPaused());
    QStringList order;
    connect(instance, &RecorderInstance::isRecordingChanged, this, [&] { order.append("isRecording"); });
    connect(instance, &RecorderInstance::isRecordingPausedChanged, this, [&] { order.append("isRecordingPaused"); });
    connect(instance, &RecorderInstance::isOnChanged, this, [&] { order.append("isOn"); });
    instance->setisOn(true);
    QCOMPARE(order, QStringList());
    ModuleFixture::leave(instance->agentInstanceUuid());
    QCOMPARE(order, QStringList({ "isRecording", "isRecordingPaused", "isOn" }));
}

void tst_RecorderInstance::connectAgentOnAnInstanceThatIsOnDoesNothing()
{
    ModuleFixture fixture;
    RecorderInstance* const instance
        = fixture.firstInstanceOf(fixture.addRecorder("Rec", "/no/such/recorder --name Rec"));
    QuenaryDouble::Agent agent = ModuleFixture::agentOf(instance, "agent-1");
    ModuleFixture::enter(agent);
    QVERIFY(instance->isOn());
    // A start would say that there is no such program.
    const MessageLog messages;
    instance->connectAgent();
    QCOMPARE(messages.problems(), QStringList());
}

void tst_RecorderInstance::aLocalStartRunsTheCommandLine()
{
    ModuleFixture fixture;
    const FileFolder folder;
    const QString line = "/usr/bin/env touch \"" + folder.path("a mark") + "\"";
    RecorderInstance* const instance = fixture.firstInstanceOf(fixture.addRecorder("Rec", line));
    QTest::ignoreMessage(QtDebugMsg,
        qPrintable("Start agent instance locally with command line " + QDebug::toString(line)));
    instance->connectAgent();
    QTRY_VERIFY(QFile::exists(folder.path("a mark")));
    // Only the network says that it runs.
    QVERIFY(!instance->isOn());
}

void tst_RecorderInstance::aLocalStartOfAMissingProgramIsCriticalAndStartsNothing()
{
    ModuleFixture fixture;
    RecorderInstance* const instance
        = fixture.firstInstanceOf(fixture.addRecorder("Rec", "/no/such/recorder --name Rec"));
    QTest::ignoreMessage(QtCriticalMsg, "\"/no/such/recorder\" not found.");
    instance->connectAgent();
}

void tst_RecorderInstance::aProgramThatMayNotBeExecutedIsCritical()
{
    ModuleFixture fixture;
    const FileFolder folder;
    folder.write("recorder", "no program");
    const QString program = folder.path("recorder");
    RecorderInstance* const instance = fixture.firstInstanceOf(fixture.addRecorder("Rec", program + " --name Rec"));
    QTest::ignoreMessage(QtCriticalMsg,
        qPrintable("\"" + program + "\" could not be started. Check that it may be executed."));
    instance->connectAgent();
}

void tst_RecorderInstance::anInstanceOnAHostWithoutLauncherIsNotStarted()
{
    ModuleFixture fixture;
    SystemViewClassInstance* const classInstance = fixture.addRecorder("Rec");
    QSignalSpy requested(SystemDocumentHandler::instance(), &SystemDocumentHandler::startAgentRequested);
    SystemDocument* const document = SystemDocumentHandler::instance()->currentSystemDocument();
    Host* const host = document->getOrCreateHost("elsewhere");
    EncounteredAgentsOnHost* const group = classInstance->getOrCreateEncounteredAgentsOnHost(host);
    classInstance->getOrCreateEncounteredAgentInfo(group, "/opt/qnyRecorder --name Rec");
    RecorderInstance* const instance = fixture.recorderOf(classInstance)->recorderInstances().last();
    QVERIFY(!host->hasLauncher());
    QVERIFY(!instance->isRunnable());
    instance->connectAgent();
    QCOMPARE(requested.count(), 0);

    // A launcher is not enough when a value in the line is masked.
    classInstance->getOrCreateEncounteredAgentInfo(group, "/opt/qnyRecorder --cassandra_password ********");
    host->setlauncherUuid("launcher");
    RecorderInstance* const masked = fixture.recorderOf(classInstance)->recorderInstances().last();
    QVERIFY(!masked->isRunnable());
    masked->connectAgent();
    QCOMPARE(requested.count(), 0);
}

void tst_RecorderInstance::anInstanceOnAHostWithALauncherIsRequested()
{
    ModuleFixture fixture;
    SystemViewClassInstance* const classInstance = fixture.addRecorder("Rec");
    QSignalSpy requested(SystemDocumentHandler::instance(), &SystemDocumentHandler::startAgentRequested);
    Host* const host = SystemDocumentHandler::instance()->currentSystemDocument()->getOrCreateHost("elsewhere");
    EncounteredAgentInfo* const info = classInstance->getOrCreateEncounteredAgentInfo(
        classInstance->getOrCreateEncounteredAgentsOnHost(host), "/opt/qnyRecorder --name Rec");
    RecorderInstance* const instance = fixture.recorderOf(classInstance)->recorderInstances().last();
    host->setlauncherUuid("launcher");
    QVERIFY(instance->isRunnable());
    instance->connectAgent();
    QCOMPARE(requested.count(), 1);
    QCOMPARE(requested.first().first().value<EncounteredAgentInfo*>(), info);
}

void tst_RecorderInstance::disconnectAgentAsksTheAgentToStop()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.firstInstanceOf(fixture.addRecorder("Rec"));
    instance->disconnectAgent();
    QCOMPARE(QuenaryDouble::stopRequests(), QStringList());
    const QuenaryDouble::Agent agent = ModuleFixture::run(instance);
    instance->disconnectAgent();
    QCOMPARE(QuenaryDouble::stopRequests(), QStringList({ agent.uuid }));
    // It is on until it is gone.
    QVERIFY(instance->isOn());
}

void tst_RecorderInstance::aGroupAttachedToCorvaneMakesTheInstanceRunnable()
{
    ModuleFixture fixture;
    const RecorderInstance* const instance
        = fixture.firstInstanceOf(fixture.addRecorder("Rec", "/no/such/recorder --name Rec"));
    QVERIFY(!instance->encounteredAgentInfo()->canBeLaunched());
    QVERIFY(instance->isRunnable());
}

void tst_RecorderInstance::elsewhereAnInstanceIsRunnableWhenItCanBeLaunched()
{
    ModuleFixture fixture;
    SystemViewClassInstance* const classInstance = fixture.addRecorder("Rec");
    Host* const host = SystemDocumentHandler::instance()->currentSystemDocument()->getOrCreateHost("elsewhere");
    classInstance->getOrCreateEncounteredAgentInfo(
        classInstance->getOrCreateEncounteredAgentsOnHost(host), "/opt/qnyRecorder --name Rec");
    RecorderInstance* const instance = fixture.recorderOf(classInstance)->recorderInstances().last();
    QSignalSpy changed(instance, &RecorderInstance::isRunnableChanged);
    host->setlauncherUuid("launcher");
    QVERIFY(instance->isRunnable());
    host->setlauncherUuid(QString());
    QVERIFY(!instance->isRunnable());
    QCOMPARE(changed.count(), 2);
}

void tst_RecorderInstance::runnabilityFollowsTheGroupToAnotherMachine()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.firstInstanceOf(fixture.addRecorder("Rec"));
    SystemDocument* const document = SystemDocumentHandler::instance()->currentSystemDocument();
    QVERIFY((instance->*isOnLocalMachine)());
    QSignalSpy changed(instance, &RecorderInstance::isRunnableChanged);
    instance->encounteredAgentsOnHost()->sethost(document->getOrCreateHost("elsewhere"));
    QVERIFY(!instance->isRunnable());
    QVERIFY(!(instance->*isOnLocalMachine)());
    instance->encounteredAgentsOnHost()->sethost(document->localHost());
    QVERIFY(instance->isRunnable());
    QCOMPARE(changed.count(), 2);
}

void tst_RecorderInstance::theOwnNameIsNeverAlreadyUsed()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.firstInstanceOf(fixture.addRecorder("Rec"));
    fixture.addRecorder("Other");
    QVERIFY(instance->systemView()->getAgentByName("Rec"));
    QVERIFY(!instance->isRecorderNameAlreadyUsed("Rec"));
    QVERIFY(!instance->isRecorderNameAlreadyUsed("  Rec "));
    QVERIFY(instance->isRecorderNameAlreadyUsed("Other"));
    QVERIFY(instance->isRecorderNameAlreadyUsed(" Other"));
    QVERIFY(!instance->isRecorderNameAlreadyUsed("New"));
}

void tst_RecorderInstance::aNewNameComesBackThroughTheClassInstance()
{
    ModuleFixture fixture;
    SystemViewClassInstance* const classInstance = fixture.addRecorder("Rec");
    RecorderInstance* const instance = fixture.firstInstanceOf(classInstance);
    QSignalSpy changed(instance, &RecorderInstance::nameChanged);
    instance->updateName("Rec");
    QCOMPARE(changed.count(), 0);
    instance->updateName(" New#name ");
    QCOMPARE(changed.count(), 1);
    QCOMPARE(instance->name(), "New_name");
    QCOMPARE(classInstance->name(), "New_name");
    QVERIFY(instance->encounteredAgentInfo()->commandLine().contains("--name New_name"));
}

void tst_RecorderInstance::retargetingReadsTheNewLaunchLineAndEmptiesTheFilters()
{
    ModuleFixture fixture;
    SystemViewClassInstance* const classInstance = fixture.addRecorder("Rec");
    RecorderInstance* const instance = fixture.firstInstanceOf(classInstance);
    instance->setrecordFilters("-tank");
    Host* const host = SystemDocumentHandler::instance()->currentSystemDocument()->getOrCreateHost("elsewhere");
    EncounteredAgentsOnHost* const group = classInstance->getOrCreateEncounteredAgentsOnHost(host);
    EncounteredAgentInfo* const info
        = classInstance->getOrCreateEncounteredAgentInfo(group, "/opt/qnyRecorder --cassandra far:9043");
    QSignalSpy filters(instance, &RecorderInstance::recordFiltersChanged);
    QSignalSpy groups(instance, &RecorderInstance::encounteredAgentsOnHostChanged);
    QSignalSpy infos(instance, &RecorderInstance::encounteredAgentInfoChanged);
    RecorderModuleData::instance().updateFilters(info->uuid(), "old");
    instance->onEncounteredAgentsOnHostCreated(group, info);
    QCOMPARE(instance->cassandraEndpoint(), "far:9043");
    QCOMPARE(instance->recordFilters(), "");
    QCOMPARE(RecorderModuleData::instance().getFilters(info->uuid()), "");
    QCOMPARE(filters.count(), 1);
    QCOMPARE(groups.count(), 1);
    QCOMPARE(infos.count(), 1);
    instance->onEncounteredAgentsOnHostCreated(group, info);
    QCOMPARE(filters.count(), 1);
    QCOMPARE(groups.count(), 1);
}

void tst_RecorderInstance::retargetingFollowsTheRunnabilityOfTheNewLaunchLine()
{
    ModuleFixture fixture;
    SystemViewClassInstance* const classInstance = fixture.addRecorder("Rec");
    RecorderInstance* const instance = fixture.firstInstanceOf(classInstance);
    QVERIFY(instance->isRunnable());
    Host* const host = SystemDocumentHandler::instance()->currentSystemDocument()->getOrCreateHost("elsewhere");
    EncounteredAgentsOnHost* const group = classInstance->getOrCreateEncounteredAgentsOnHost(host);
    EncounteredAgentInfo* const info
        = classInstance->getOrCreateEncounteredAgentInfo(group, "/opt/qnyRecorder --cassandra far:9043");
    instance->onEncounteredAgentsOnHostCreated(group, info);
    QVERIFY(!instance->isRunnable());
    host->setlauncherUuid("launcher");
    QVERIFY(instance->isRunnable());
}

void tst_RecorderInstance::theFirstLaunchLineOnThisMachineIsTakenOver()
{
    ModuleFixture fixture;
    SystemViewClassInstance* const classInstance = fixture.addRecorder("Rec");
    RecorderInstance* const instance = fixture.firstInstanceOf(classInstance);
    EncounteredAgentsOnHost* const group = instance->encounteredAgentsOnHost();
    EncounteredAgentInfo info(QString(), ModuleFixture::commandLine({ "-c", "new:1" }), group);
    Q_EMIT classInstance->encounteredAgentsOnHostAttachedToCorvaneCreated(group, &info);
    QCOMPARE(instance->encounteredAgentInfo(), &info);
    QCOMPARE(instance->cassandraEndpoint(), "new:1");
}

void tst_RecorderInstance::whatAnInstancePointsToMayGo()
{
    LoadedRecorder setup;
    RecorderInstance* const instance = setup.instance;
    const FileFolder folder;
    folder.download(instance, setup.other, "out.csv");
    SignalLog log;
    log.follow(instance);
    delete instance->exportRecord();
    QCOMPARE(instance->exportRecord(), nullptr);
    QCOMPARE(log.take(), QStringList({ "exportRecordChanged" }));

    delete instance->currentRecord();
    QCOMPARE(instance->currentRecord(), nullptr);
    QCOMPARE(log.take(), QStringList({ "isReplayingChanged", "currentRecordChanged" }));

    setup.recorder.loaded("/records/one.csv", 3.0, "[]");
    instance->setcurrentRecord(nullptr);
    log.take();
    delete instance->recordFromFile();
    QCOMPARE(instance->recordFromFile(), nullptr);
    QCOMPARE(log.take(), QStringList({ "recordFromFileChanged" }));
}

void tst_RecorderInstance::theHostsObjectsOfAnInstanceMayGo()
{
    ModuleFixture fixture;
    SystemDocument* const document = SystemDocumentHandler::instance()->currentSystemDocument();
    auto view = std::make_unique<SystemView>(QString(), "view", document);
    auto classInstance
        = std::make_unique<SystemViewClassInstance>(QString(), nullptr, "Rec", QPointF(), view.get());
    auto group = std::make_unique<EncounteredAgentsOnHost>(document->localHost(), nullptr);
    auto infoGroup = std::make_unique<EncounteredAgentsOnHost>(document->getOrCreateHost("elsewhere"), nullptr);
    infoGroup->host()->setlauncherUuid("launcher");
    auto info = std::make_unique<EncounteredAgentInfo>(
        QString(), ModuleFixture::commandLine({ "-c", "db" }), infoGroup.get());
    NetworkAgent agent;
    agent.uuid = "agent";
    auto running = std::make_unique<RunningAgentInfo>(agent, nullptr, true);
    RecorderInstance instance(
        view.get(), classInstance.get(), group.get(), info.get(), ModuleFixture::executablePath(), nullptr);
    instance.updateFromRunningAgentInfo(running.get());
    SignalLog log;
    log.follow(&instance);

    running.reset();
    QCOMPARE(instance.runningAgentInfo(), nullptr);
    QCOMPARE(log.take(), QStringList({ "runningAgentInfoChanged" }));
    // The line can still be launched by its launcher; without it, nothing can.
    group.reset();
    QCOMPARE(instance.encounteredAgentsOnHost(), nullptr);
    QCOMPARE(log.take(), QStringList({ "encounteredAgentsOnHostChanged" }));
    QVERIFY(instance.isRunnable());
    info.reset();
    QCOMPARE(instance.encounteredAgentInfo(), nullptr);
    QCOMPARE(log.take(), QStringList({ "encounteredAgentInfoChanged", "isRunnableChanged" }));
    classInstance.reset();
    QCOMPARE(instance.instance(), nullptr);
    QCOMPARE(instance.name(), "");
    QCOMPARE(log.take(), QStringList({ "instanceChanged", "nameChanged" }));
    view.reset();
    QCOMPARE(instance.systemView(), nullptr);
    QCOMPARE(log.take(), QStringList({ "systemViewChanged" }));
    infoGroup->host()->setlauncherUuid(QString());
}

void tst_RecorderInstance::anInstanceThatGoesClosesItsFileAndTakesItsRecordsAlong()
{
    LoadedRecorder setup;
    const FileFolder folder;
    setup.recorder.loaded("/records/one.csv", 3.0, "[]");
    folder.download(setup.instance, setup.record, "out.csv");
    setup.recorder.reply("receive_export", { RECORD_A, 1, "cursor", "a;1;output" });
    setup.instance->setrecordingProgressInSeconds(1.0);
    const QPointer<QObject> objects[] = { setup.instance, setup.record, setup.other, setup.instance->recordFromFile(),
        setup.instance->*recordFile };
    for (const QPointer<QObject>& object : objects) {
        QVERIFY(!object.isNull());
    }
    setup.fixture.destroyModule();
    ModuleFixture::settle();
    for (const QPointer<QObject>& object : objects) {
        QVERIFY(object.isNull());
    }
    QCOMPARE(folder.read("out.csv"), QByteArray("a;1;output\n"));
}

QTEST_MAIN(tst_RecorderInstance)
#include "tst_recorderinstance.moc"
