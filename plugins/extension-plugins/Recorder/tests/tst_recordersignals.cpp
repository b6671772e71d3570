// SPDX-License-Identifier: Apache-2.0
#include "contexttranslator.h"
#include "filesfixture.h"
#include "signallog.h"

#include "recordermoduledata.h"
#include "recorderplugin.h"

#include <host.h>
#include <systemdocument.h>
#include <systemdocumenthandler.h>

#include <QtTest/QSignalSpy>

/// The order of what an instance tells and asks as it is made, connected, records and is disconnected. Pages see every
/// state between two signals.
class tst_RecorderSignals : public QObject
{
    Q_OBJECT

public:
    static void initMain() { QApplication::setAttribute(Qt::AA_DontUseNativeDialogs); }

private Q_SLOTS:
    void aNewInstanceHoldsItsLaunchLine();
    void aNewInstanceTellsItsIdentityThenWhetherItRunsThenItsSettings();
    void aNewRecorderTellsItsClassInstanceThenItsInstances();
    void aNewRecordTellsItsDurationThenItsAgents();
    void theLabelOfANewPluginIsTranslatedAndItsNameIsNot();
    void aNewPluginTellsItsNameLabelIconAndPage();
    void anAgentThatComesIsToldOfBeforeItIsAsked();
    void anAgentThatComesAgainIsNotToldOfTwice();
    void turningOffEndsTheRecordingBeforeItIsTold();
    void anAgentThatLeavesTakesEveryStateAlongInOrder();
    void anAgentThatLeavesAnInstanceAtRestTakesOnlyItself();
    void retargetingTellsThePlaceThenTheSettingsThenTheFilters();
    void anInstanceIsRegisteredBeforeItIsAnnouncedAndGoneBeforeItsEndIs();
    void theEndOfTheCurrentRecorderIsToldTwice();
    void progressTellsItsValueThenTheRecording();
    void silenceEndsTheRecordingThenAsksForTheRecords();
    void aStoppedRecordingIsAskedForBeforeItIsTold();
    void stoppingForgetsTheRecordingBeforeItAsks();
    void startingUnloadsThenEndsThePauseThenAsks();
    void filtersAreKeptBeforeTheyAreTold();
    void aChangedRecordTellsNameEndAndDuration();
    void theWaitingReplayComesBeforeTheEndOfTheCancel();
    void aRecordThatIsListedNoMoreIsUnloadedBeforeItIsCurrentNoMore();
};

// ---- construction -----------------------------------------------------------------------------------------------

// Also the program of the next three: what it makes is told of in a process of its own.
void tst_RecorderSignals::aNewInstanceHoldsItsLaunchLine()
{
    ModuleFixture fixture;
    const RecorderInstance* const instance = fixture.firstInstanceOf(fixture.addRecorder("Rec",
        ModuleFixture::commandLine({ "--verbose", "--cassandra", "db", "--keyspace", "plant", "--qnyCert", "/a",
            "--publicCerts", "/b", "--timestamped_replay" })));
    QVERIFY(instance->isVerbose() && instance->useCustomKeyspace() && instance->isInTimestampedReplayMode());
}

void tst_RecorderSignals::aNewInstanceTellsItsIdentityThenWhetherItRunsThenItsSettings()
{
    QCOMPARE(signalsWhile("aNewInstanceHoldsItsLaunchLine", "RecorderInstance"),
        QStringList({ "uuidChanged", "systemViewChanged", "instanceChanged", "encounteredAgentsOnHostChanged",
            "encounteredAgentInfoChanged", "isRunnableChanged", "defaultCommandLineChanged", "isVerboseChanged",
            "cassandraEndpointChanged", "cassandraEndpointUrlChanged", "offlineModeChanged", "customKeyspaceChanged",
            "useCustomKeyspaceChanged", "privateAgentCertificateFilePathChanged",
            "publicCertificatesDirectoryPathChanged", "isQuenarySecurityActivateChanged",
            "isInTimestampedReplayModeChanged" }));
}

void tst_RecorderSignals::aNewRecorderTellsItsClassInstanceThenItsInstances()
{
    QCOMPARE(signalsWhile("aNewInstanceHoldsItsLaunchLine", "Recorder"),
        QStringList({ "classInstanceChanged", "recorderInstanceCreated" }));
}

void tst_RecorderSignals::aNewRecordTellsItsDurationThenItsAgents()
{
    // The program lists two records.
    QCOMPARE(signalsWhile("aChangedRecordTellsNameEndAndDuration", "RecorderRecord").mid(0, 3),
        QStringList({ "durationInSecondsChanged", "agentsFilterStateChanged", "agentsFilterRecapChanged" }));
}

void tst_RecorderSignals::theLabelOfANewPluginIsTranslatedAndItsNameIsNot()
{
    const ContextTranslator translator("RecorderPlugin");
    const RecorderPlugin plugin;
    QCOMPARE(plugin.modulesMenuLabel(), "translated Record & Replay");
    QCOMPARE(plugin.name(), "Record & Replay");
}

void tst_RecorderSignals::aNewPluginTellsItsNameLabelIconAndPage()
{
    QCOMPARE(signalsWhile("theLabelOfANewPluginIsTranslatedAndItsNameIsNot", "RecorderPlugin"),
        QStringList({ "nameChanged", "modulesMenuLabelChanged", "modulesMenuIconChanged", "qmlItemUrlChanged" }));
}

// ---- connection -------------------------------------------------------------------------------------------------

void tst_RecorderSignals::anAgentThatComesIsToldOfBeforeItIsAsked()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.firstInstanceOf(fixture.addRecorder("Rec"));
    SignalLog log;
    log.follow(instance);
    ModuleFixture::run(instance);
    QCOMPARE(log.take(),
        QStringList({ "runningAgentInfoChanged", "agentInstanceUuidChanged", "isOnChanged", "call get_record_filters",
            "call get_records", "call get_context" }));
}

void tst_RecorderSignals::anAgentThatComesAgainIsNotToldOfTwice()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.addRunningRecorder();
    SignalLog log;
    log.follow(instance);
    instance->updateFromRunningAgentInfo(instance->runningAgentInfo());
    instance->setisOn(true);
    QCOMPARE(log.take(), QStringList({ "call get_record_filters", "call get_records", "call get_context" }));
}

void tst_RecorderSignals::turningOffEndsTheRecordingBeforeItIsTold()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.addRunningRecorder();
    instance->setrecordingProgressInSeconds(2.0);
    instance->setrecordingProgressInSeconds(2.0);
    SignalLog log;
    log.follow(instance);
    instance->setisOn(false);
    QCOMPARE(log.take(), QStringList({ "isRecordingChanged", "isRecordingPausedChanged", "isOnChanged" }));
    instance->setisOn(false);
    QCOMPARE(log.take(), QStringList());
}

void tst_RecorderSignals::anAgentThatLeavesTakesEveryStateAlongInOrder()
{
    const FileFolder folder;
    LoadedRecorder setup;
    RecorderInstance* const instance = setup.instance;
    instance->loadRecord(setup.other);
    setup.recorder.reply("loading", { 50.0 });
    setup.context("/records/one.csv", 1.0, 1.0, true, R"(["a","b"])", "");
    RecorderRecord* const file = instance->recordFromFile();
    file->agentsFilters()->get(0)->setProperty("checked", false);
    instance->updateRecordAgentsFilter(file);
    file->agentsFilters()->get(0)->setProperty("checked", true);
    instance->beforeUpdateRecordAgentsFilter(file);
    instance->setrecordingProgressInSeconds(2.0);
    instance->setrecordingProgressInSeconds(2.0);
    folder.download(instance, setup.record, "out.csv");
    setup.recorder.reply("receive_export", { RECORD_A, 1, "cursor", "a;1500000;output" });
    instance->stopExport();
    folder.write("big.csv", FileFolder::rows(25000));
    QSignalSpy importing(instance, &RecorderInstance::importingProgressChanged);
    folder.import(instance, "big.csv");
    QTRY_COMPARE(importing.count(), 1); // before anybody else listens to the task's thread
    instance->stopImport();

    SignalLog log;
    log.follow(instance);
    ModuleFixture::leave(instance->agentInstanceUuid());
    QCOMPARE(log.take(),
        QStringList({ "runningAgentInfoChanged", "agentInstanceUuidChanged", "isRecordingChanged",
            "isRecordingPausedChanged", "isOnChanged", "recordingProgressInSecondsChanged", "isReplayingChanged",
            "currentRecordChanged", "isLoadingRecordChanged", "loadingProgressChanged", "isImportingRecordChanged",
            "importingProgressChanged", "isCancelingImportChanged", "isWaitingToFilterAgentsChanged",
            "isStoppingRecordChanged", "isMovingRecordChanged", "isFilteringRecordChanged",
            "isDownloadingRecordChanged", "isCancelingExportChanged", "exportingProgressChanged",
            "exportRecordChanged", "recordFromFileChanged" }));
    QCOMPARE(instance->records()->count(), 0);
}

void tst_RecorderSignals::anAgentThatLeavesAnInstanceAtRestTakesOnlyItself()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.addRunningRecorder();
    SignalLog log;
    log.follow(instance);
    ModuleFixture::leave(instance->agentInstanceUuid());
    QCOMPARE(log.take(), QStringList({ "runningAgentInfoChanged", "agentInstanceUuidChanged", "isOnChanged" }));
    instance->resetOnDisconnect();
    QCOMPARE(log.take(), QStringList());
}

void tst_RecorderSignals::retargetingTellsThePlaceThenTheSettingsThenTheFilters()
{
    ModuleFixture fixture;
    SystemViewClassInstance* const classInstance = fixture.addRecorder("Rec");
    RecorderInstance* const instance = fixture.firstInstanceOf(classInstance);
    instance->setrecordFilters("-tank");
    Host* const host = SystemDocumentHandler::instance()->currentSystemDocument()->getOrCreateHost("elsewhere");
    EncounteredAgentsOnHost* const group = classInstance->getOrCreateEncounteredAgentsOnHost(host);
    EncounteredAgentInfo* const info
        = classInstance->getOrCreateEncounteredAgentInfo(group, "/opt/qnyRecorder --cassandra far:9043 --verbose");
    SignalLog log;
    log.follow(instance);
    instance->onEncounteredAgentsOnHostCreated(group, info);
    QCOMPARE(log.take(),
        QStringList({ "encounteredAgentsOnHostChanged", "encounteredAgentInfoChanged", "isRunnableChanged",
            "defaultCommandLineChanged", "isVerboseChanged", "cassandraEndpointChanged", "cassandraEndpointUrlChanged",
            "offlineModeChanged", "recordFiltersChanged" }));
    instance->onEncounteredAgentsOnHostCreated(group, info);
    QCOMPARE(log.take(), QStringList());
}

void tst_RecorderSignals::anInstanceIsRegisteredBeforeItIsAnnouncedAndGoneBeforeItsEndIs()
{
    ModuleFixture fixture;
    SystemViewClassInstance* const classInstance = fixture.addRecorder("Rec");
    Recorder* const recorder = fixture.recorderOf(classInstance);
    QStringList seen;
    const auto look = [&](const char* when) {
        return [&seen, recorder, when](RecorderInstance* instance) {
            seen.append(QString("%1: registered %2, listed %3, mappings %4")
                    .arg(when)
                    .arg(recorder->getRecorderInstanceWithUuid(instance->uuid()) == instance)
                    .arg(recorder->instances()->contains(instance))
                    .arg(QuenaryDouble::mappings().filter(instance->uuid()).size()));
        };
    };
    connect(recorder, &Recorder::recorderInstanceCreated, this, look("created"));
    connect(recorder, &Recorder::recorderInstanceRemoved, this, look("removed"));
    classInstance->getOrCreateEncounteredAgentInfo(
        classInstance->encounteredAgentsOnHostAttachedToCorvane(), ModuleFixture::commandLine({ "-c", "other" }));
    recorder->deleteRecorderInstance(recorder->recorderInstances().last());
    QCOMPARE(seen,
        QStringList({ "created: registered 1, listed 1, mappings 2", "removed: registered 0, listed 0, mappings 0" }));
}

void tst_RecorderSignals::theEndOfTheCurrentRecorderIsToldTwice()
{
    ModuleFixture fixture;
    SystemViewClassInstance* const classInstance = fixture.addRecorder("Rec");
    fixture.module().setcurrentRecorder(fixture.firstInstanceOf(classInstance));
    SignalLog log;
    log.follow(&fixture.module());
    SystemDocumentHandler::instance()->deleteInstance(classInstance);
    ModuleFixture::settle();
    QCOMPARE(log.take(), QStringList({ "currentRecorderChanged", "currentRecorderDestroyed" }));
}

// ---- recording --------------------------------------------------------------------------------------------------

void tst_RecorderSignals::progressTellsItsValueThenTheRecording()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.addRunningRecorder();
    SignalLog log;
    log.follow(instance);
    instance->setrecordingProgressInSeconds(1.0);
    QCOMPARE(log.take(), QStringList({ "recordingProgressInSecondsChanged", "isRecordingChanged" }));
    instance->setrecordingProgressInSeconds(1.0 + 1e-14);
    QCOMPARE(log.take(), QStringList({ "isRecordingPausedChanged" }));
    instance->setrecordingProgressInSeconds(1.0);
    QCOMPARE(log.take(), QStringList());
    instance->setrecordingProgressInSeconds(2.0);
    QCOMPARE(log.take(), QStringList({ "recordingProgressInSecondsChanged", "isRecordingPausedChanged" }));
}

void tst_RecorderSignals::silenceEndsTheRecordingThenAsksForTheRecords()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.addRunningRecorder();
    instance->setrecordingProgressInSeconds(1.0);
    instance->setrecordingProgressInSeconds(1.0);
    SignalLog log;
    log.follow(instance);
    QTRY_COMPARE(QuenaryDouble::calledServices().size(), 1);
    QCOMPARE(log.take(), QStringList({ "isRecordingChanged", "isRecordingPausedChanged", "call get_records" }));
}

void tst_RecorderSignals::aStoppedRecordingIsAskedForBeforeItIsTold()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.addRunningRecorder();
    instance->setrecordingProgressInSeconds(2.0);
    instance->setrecordingProgressInSeconds(2.0);
    SignalLog log;
    log.follow(instance);
    ScriptedRecorder(instance).reply("recording_stopped");
    QCOMPARE(log.take(),
        QStringList({ "call get_records", "recordingProgressInSecondsChanged", "isRecordingPausedChanged",
            "isRecordingChanged" }));
}

void tst_RecorderSignals::stoppingForgetsTheRecordingBeforeItAsks()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.addRunningRecorder();
    instance->setrecordingProgressInSeconds(2.0);
    instance->setrecordingProgressInSeconds(2.0);
    SignalLog log;
    log.follow(instance);
    instance->stopRecording();
    QCOMPARE(log.take(), QStringList({ "isRecordingChanged", "isRecordingPausedChanged", "call stop_recording" }));
}

void tst_RecorderSignals::startingUnloadsThenEndsThePauseThenAsks()
{
    LoadedRecorder setup;
    setup.recorder.loaded("/records/one.csv", 3.0, R"(["a"])");
    setup.instance->playRecord(setup.instance->recordFromFile());
    setup.instance->setrecordingProgressInSeconds(2.0);
    setup.instance->setrecordingProgressInSeconds(2.0);
    SignalLog log;
    log.follow(setup.instance);
    setup.instance->startRecording();
    QCOMPARE(log.take(),
        QStringList({ "isReplayingChanged", "call unload", "recordFromFileChanged", "isReplayingChanged",
            "currentRecordChanged", "isRecordingPausedChanged", "call record" }));
    setup.recorder.replyWithToken("record_uuid", { RECORD_B }, setup.instance->uuid() + "##record");
    QCOMPARE(log.take(), QStringList());
}

// ---- the list of records ----------------------------------------------------------------------------------------

void tst_RecorderSignals::filtersAreKeptBeforeTheyAreTold()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.firstInstanceOf(fixture.addRecorder("Rec"));
    QString kept;
    connect(instance, &RecorderInstance::recordFiltersChanged, this,
        [&] { kept = RecorderModuleData::instance().getFilters(instance->encounteredAgentInfo()->uuid()); });
    instance->setrecordFilters("-tank");
    QCOMPARE(kept, "-tank");
}

void tst_RecorderSignals::aChangedRecordTellsNameEndAndDuration()
{
    LoadedRecorder setup;
    SignalLog log;
    log.follow(setup.instance);
    log.follow(setup.record, "first");
    log.follow(setup.other, "second");
    const QString second = recordJson(RECORD_B, "Second");
    setup.recorder.records("[" + recordJson(RECORD_A, "First") + "," + second + "]");
    QCOMPARE(log.take(), QStringList());
    setup.recorder.records("["
        + recordJson(RECORD_A, "New", 5000000, "2020-01-01 00:00:00.000", "2026-11-21 10:00:05.000") + "," + second
        + "]");
    QCOMPARE(log.take(),
        QStringList({ "first.nameChanged", "first.endDateTimeChanged", "first.durationInSecondsChanged" }));
}

void tst_RecorderSignals::theWaitingReplayComesBeforeTheEndOfTheCancel()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.addRunningRecorder();
    ScriptedRecorder recorder(instance);
    recorder.reply("context", { RECORD_A, "", 3.0, 0.0, 1.0, false, "[]", "[]", "" });
    instance->stopImport();
    SignalLog log;
    log.follow(instance);
    recorder.records("[" + recordJson(RECORD_A, "A") + "]");
    QCOMPARE(log.take(), QStringList({ "isReplayingChanged", "currentRecordChanged", "isCancelingImportChanged" }));
}

void tst_RecorderSignals::aRecordThatIsListedNoMoreIsUnloadedBeforeItIsCurrentNoMore()
{
    LoadedRecorder setup;
    SignalLog log;
    log.follow(setup.instance);
    log.follow(setup.record, "record");
    setup.recorder.records("[" + recordJson(RECORD_B, "Second") + "]");
    QCOMPARE(log.take(),
        QStringList({ "record.isLoadedChanged", "record.lastActiveAgentsFilterChanged",
            "record.agentsFilterRecapChanged", "record.speedChanged", "isReplayingChanged", "currentRecordChanged" }));
}

QTEST_MAIN(tst_RecorderSignals)
#include "tst_recordersignals.moc"
