// SPDX-License-Identifier: Apache-2.0
#include "modulefixture.h"

#include "recordermoduledata.h"

#include <host.h>
#include <library.h>
#include <reservedagentandtoolfamilies.h>
#include <systemdocument.h>
#include <systemdocumenthandler.h>

#include <QtCore/QTemporaryDir>
#include <QtTest/QSignalSpy>

class tst_RecorderInstance : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aNewInstanceHasAUuidAndInputNamesOfItsOwn();
    void aNewInstanceReadsWhatTheDocumentKeepsOfIt();
    void anAgentThatComesIsAskedForFiltersRecordsAndContextInThatOrder();
    void anAgentThatLeavesResetsAllRunTimeState();
    void recordingFlagsAreClearedBeforeIsOnChanges();
    void connectAgentOnAnInstanceThatIsOnDoesNothing();
    void aLocalStartRunsTheCommandLine();
    void aLocalStartOfAMissingProgramIsCriticalAndStartsNothing();
    void anInstanceOnAHostWithoutLauncherIsNotStarted();
    void anInstanceOnAHostWithALauncherIsRequested();
    void disconnectAgentAsksTheAgentToStop();
    void aGroupAttachedToCorvaneMakesTheInstanceRunnable();
    void elsewhereAnInstanceIsRunnableWhenItCanBeLaunched();
    void theOwnNameIsNeverAlreadyUsed();
    void aNewNameComesBackThroughTheClassInstance();
    void retargetingReadsTheNewLaunchLineAndEmptiesTheFilters();
    void retargetingFollowsTheRunnabilityOfTheNewLaunchLine();
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
    const QuenaryDouble::Agent agent = ModuleFixture::run(instance);
    const QList<QuenaryDouble::ServiceCall> calls = QuenaryDouble::serviceCalls();
    QCOMPARE(QuenaryDouble::calledServices(), QStringList({ "get_record_filters", "get_records", "get_context" }));
    for (const QuenaryDouble::ServiceCall& call : calls) {
        QCOMPARE(call.agent, agent.uuid);
        QCOMPARE(call.token, instance->uuid());
    }
    QVERIFY(!calls.at(0).hasArgumentList);
    QCOMPARE(calls.at(1).arguments, QVariantList({ QString("") }));
    QVERIFY(!calls.at(2).hasArgumentList);
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
    // Nothing is asked of an agent that is gone, now or by the timer of the recording.
    QuenaryDouble::clearCalls();
    QTest::qWait(600);
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
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
    QTemporaryDir folder;
    const QString mark = folder.filePath("mark");
    RecorderInstance* const instance
        = fixture.firstInstanceOf(fixture.addRecorder("Rec", "/usr/bin/env touch " + mark + " --cassandra db:9042"));
    ModuleFixture::run(instance);
    QVERIFY(instance->isOn());
    instance->connectAgent();
    QTest::qWait(300);
    QVERIFY(!QFile::exists(mark));
}

void tst_RecorderInstance::aLocalStartRunsTheCommandLine()
{
    ModuleFixture fixture;
    QTemporaryDir folder;
    const QString mark = folder.filePath("a mark");
    RecorderInstance* const instance
        = fixture.firstInstanceOf(fixture.addRecorder("Rec", "/usr/bin/env touch \"" + mark + "\""));
    instance->connectAgent();
    QTRY_VERIFY(QFile::exists(mark));
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

void tst_RecorderInstance::theOwnNameIsNeverAlreadyUsed()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.firstInstanceOf(fixture.addRecorder("Rec"));
    fixture.addRecorder("Other");
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

QTEST_MAIN(tst_RecorderInstance)
#include "tst_recorderinstance.moc"
