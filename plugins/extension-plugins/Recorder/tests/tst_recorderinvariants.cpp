// SPDX-License-Identifier: Apache-2.0
#include "models/brokeninvariant.h"
#include "modulefixture.h"
#include "privatemember.h"

#include <library.h>
#include <systemdocument.h>
#include <systemdocumenthandler.h>

static QString RecorderInstance::*uuidOf = nullptr;
template struct OpenMember<uuidOf, &RecorderInstance::_uuid>;

static QString RecorderInstance::*agentUuidOf = nullptr;
template struct OpenMember<agentUuidOf, &RecorderInstance::_agentInstanceUuid>;

static bool (RecorderInstance::*isOnLocalMachine)() = nullptr;
template struct OpenMember<isOnLocalMachine, &RecorderInstance::_isOnLocalMachine>;

static bool (RecorderInstance::*openRecordFile)(const QString&) = nullptr;
template struct OpenMember<openRecordFile, &RecorderInstance::_openRecordFile>;

static void (Recorder::*registerInstance)(RecorderInstance*) = nullptr;
template struct OpenMember<registerInstance, &Recorder::_registerRecorderInstance>;

static void (Recorder::*unlinkAgent)(const QString&) = nullptr;
template struct OpenMember<unlinkAgent, &Recorder::_unlinkRunningAgentInfo>;

namespace {

/// The condition of the assertion that stops the program when the action runs; empty when none does.
QByteArray brokenBy(const std::function<void()>& action)
{
    const QByteArray message = messageOfBrokenInvariant(action);
    const qsizetype begin = message.indexOf("ASSERT: \"") + 9;
    return begin < 9 ? message : message.sliced(begin, message.indexOf("\" in file", begin) - begin);
}

} // namespace

/// What no page may ask for stops the program, and the message says which condition was broken.
class tst_RecorderInvariants : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void anInstanceIsNotMadeWithoutAnExecutablePath();
    void aRegistryIsNotMadeWithoutAClassInstance();
    void aRegistryTakesNothingThatIsNullOrNameless();
    void aRegistryNeedsADocumentAndItsClassInstance();
    void anAgentIsStartedFromAPlaceAndALine();
    void anAgentIsStoppedAndNamedThroughItsClassInstance();
    void aNameIsNeitherEmptyNorCleanedToNothing();
    void anInstanceIsNotRetargetedToNothing();
    void inputsAreNamedByAUuid();
    void aRecordIsNeverNull();
    void everyCommandNeedsBothUuids();
    void anImportIsNotStartedWhileOff();
    void theTimeOfNoRecordIsNotMoved();
    void aDownloadHasAPath();
    void settingsAreNotWrittenWithoutALaunchLine();
};

void tst_RecorderInvariants::anInstanceIsNotMadeWithoutAnExecutablePath()
{
    ModuleFixture fixture(QStringLiteral(""));
    QCOMPARE(brokenBy([&] { fixture.addRecorder("Rec"); }), "!_executablePath.isEmpty()");
}

void tst_RecorderInvariants::aRegistryIsNotMadeWithoutAClassInstance()
{
    ModuleFixture fixture;
    QCOMPARE(brokenBy([] { const Recorder recorder(nullptr, ModuleFixture::executablePath(), nullptr); }),
        "classInstance");
}

void tst_RecorderInvariants::aRegistryTakesNothingThatIsNullOrNameless()
{
    ModuleFixture fixture;
    SystemViewClassInstance* const classInstance = fixture.addRecorder("Rec");
    Recorder* const recorder = fixture.recorderOf(classInstance);
    RecorderInstance* const instance = recorder->recorderInstances().first();
    EncounteredAgentsOnHost* const group = instance->encounteredAgentsOnHost();
    QCOMPARE(brokenBy([&] { recorder->deleteRecorderInstance(nullptr); }), "recorderInstance");
    QCOMPARE(brokenBy([&] { (recorder->*registerInstance)(nullptr); }), "recorderInstance");
    QCOMPARE(brokenBy([&] { Q_EMIT classInstance->runningAgentInfoCreated(nullptr); }), "runningAgentInfo");
    QCOMPARE(brokenBy([&] { Q_EMIT classInstance->runningAgentInfoRemoved(nullptr); }), "runningAgentInfo");
    QCOMPARE(brokenBy([&] { Q_EMIT classInstance->encounteredAgentInfoCreated(nullptr, nullptr); }),
        "encounteredAgentsOnHost");
    QCOMPARE(brokenBy([&] { Q_EMIT classInstance->encounteredAgentInfoCreated(group, nullptr); }),
        "encounteredAgentInfo");
    QCOMPARE(brokenBy([&] { (recorder->*unlinkAgent)(QString()); }), "!agentUuid.isEmpty()");

    RunningAgentInfo nowhere(NetworkAgent(), nullptr, true);
    QCOMPARE(brokenBy([&] { Q_EMIT classInstance->runningAgentInfoCreated(&nowhere); }), "runningAgentInfo->host()");
    NetworkAgent agent;
    agent.executable = ModuleFixture::executablePath();
    RunningAgentInfo nameless(agent, group->host(), true);
    QCOMPARE(brokenBy([&] { Q_EMIT classInstance->runningAgentInfoCreated(&nameless); }),
        "!runningAgentInfo->agentUuid().isEmpty()");
    const QString uuid = std::exchange(instance->*uuidOf, QString());
    QCOMPARE(brokenBy([&] { (recorder->*registerInstance)(instance); }), "!recorderInstance->uuid().isEmpty()");
    instance->*uuidOf = uuid;
}

void tst_RecorderInvariants::aRegistryNeedsADocumentAndItsClassInstance()
{
    ModuleFixture fixture;
    SystemDocument* const document = SystemDocumentHandler::instance()->currentSystemDocument();
    auto view = std::make_unique<SystemView>(QString(), "view", document);
    auto classInstance = std::make_unique<SystemViewClassInstance>(QString(), nullptr, "Rec", QPointF(), view.get());
    Recorder recorder(classInstance.get(), ModuleFixture::executablePath(), nullptr);
    EncounteredAgentsOnHost group(document->localHost(), nullptr);
    EncounteredAgentInfo info(QString(), ModuleFixture::commandLine({ "-c", "db" }), &group);
    RunningAgentInfo running(NetworkAgent(), document->localHost(), true);
    const auto bring = [&recorder](const char* slot, auto*... arguments) {
        return brokenBy([&] { QMetaObject::invokeMethod(&recorder, slot, arguments...); });
    };
    document->setcurrentSystemView(nullptr);
    QCOMPARE(bring("_onEncounteredAgentInfoCreated", &group, &info), "currentSystemView");
    classInstance.reset();
    QCOMPARE(bring("_onEncounteredAgentInfoCreated", &group, &info), "_classInstance");
    QCOMPARE(bring("_onRunningAgentInfoCreated", &running), "_classInstance");
    SystemDocumentHandler::instance()->closeDocument();
    QCOMPARE(bring("_onRunningAgentInfoCreated", &running), "currentSystemDocument");
}

void tst_RecorderInvariants::anAgentIsStartedFromAPlaceAndALine()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.firstInstanceOf(fixture.addRecorder("Rec"));
    const auto start = [&] { return brokenBy([&] { instance->connectAgent(); }); };
    instance->encounteredAgentInfo()->setcommandLine(" ");
    QCOMPARE(start(), "!splittedCommandLine.isEmpty()");
    instance->encounteredAgentInfo()->setcommandLine(QString());
    QCOMPARE(start(), "!_encounteredAgentInfo->commandLine().isEmpty()");
    delete instance->encounteredAgentInfo();
    QCOMPARE(start(), "_encounteredAgentInfo");
    instance->encounteredAgentsOnHost()->sethost(nullptr);
    QCOMPARE(start(), "_encounteredAgentsOnHost->host()");
    QCOMPARE(brokenBy([&] { (instance->*isOnLocalMachine)(); }), "_encounteredAgentsOnHost->host()");
    delete instance->encounteredAgentsOnHost();
    QCOMPARE(start(), "_encounteredAgentsOnHost");
    QCOMPARE(brokenBy([&] { (instance->*isOnLocalMachine)(); }), "_encounteredAgentsOnHost");
}

void tst_RecorderInvariants::anAgentIsStoppedAndNamedThroughItsClassInstance()
{
    ModuleFixture fixture;
    const RecorderInstance* const known = fixture.firstInstanceOf(fixture.addRecorder("Rec"));
    RecorderInstance instance(known->systemView(), nullptr, known->encounteredAgentsOnHost(),
        known->encounteredAgentInfo(), ModuleFixture::executablePath(), nullptr);
    NetworkAgent agent;
    agent.uuid = "agent";
    RunningAgentInfo running(agent, known->encounteredAgentsOnHost()->host(), true);
    instance.updateFromRunningAgentInfo(&running);
    QCOMPARE(brokenBy([&] { instance.disconnectAgent(); }), "_instance");
    QCOMPARE(brokenBy([&] { instance.updateName("New"); }), "_instance");
    QCOMPARE(brokenBy([&] { instance.isRecorderNameAlreadyUsed("New"); }), "_instance");
    QCOMPARE(brokenBy([&] { (instance.*isOnLocalMachine)(); }), "_instance");
    QCOMPARE(brokenBy([&] { instance.updatePrivateAgentCertificateFilePath("/a"); }), "_instance");
    QCOMPARE(brokenBy([&] { instance.updatePublicCertificatesDirectoryPath("/b"); }), "_instance");
    QCOMPARE(brokenBy([&] { instance.updateIsVerbose(true); }), "_instance");
}

void tst_RecorderInvariants::aNameIsNeitherEmptyNorCleanedToNothing()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.firstInstanceOf(fixture.addRecorder("Rec"));
    QCOMPARE(brokenBy([&] { instance->isRecorderNameAlreadyUsed(QString()); }), "!value.isEmpty()");
    QCOMPARE(brokenBy([&] { instance->updateName("   "); }), "!cleanValue.isEmpty()");
    RecorderInstance elsewhere(nullptr, instance->instance(), instance->encounteredAgentsOnHost(),
        instance->encounteredAgentInfo(), ModuleFixture::executablePath(), nullptr);
    QCOMPARE(brokenBy([&] { elsewhere.isRecorderNameAlreadyUsed("New"); }), "_systemView");
}

void tst_RecorderInvariants::anInstanceIsNotRetargetedToNothing()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.firstInstanceOf(fixture.addRecorder("Rec"));
    QCOMPARE(
        brokenBy([&] { instance->onEncounteredAgentsOnHostCreated(nullptr, instance->encounteredAgentInfo()); }),
        "encounteredAgentsOnHost");
    QCOMPARE(
        brokenBy([&] { instance->onEncounteredAgentsOnHostCreated(instance->encounteredAgentsOnHost(), nullptr); }),
        "encounteredAgentInfo");
}

void tst_RecorderInvariants::inputsAreNamedByAUuid()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.firstInstanceOf(fixture.addRecorder("Rec"));
    const QString uuid = std::exchange(instance->*uuidOf, QString());
    QCOMPARE(brokenBy([&] { instance->recordProgressInput(); }), "!_uuid.isEmpty()");
    QCOMPARE(brokenBy([&] { instance->replayProgressInput(); }), "!_uuid.isEmpty()");
    instance->*uuidOf = uuid;
}

void tst_RecorderInvariants::aRecordIsNeverNull()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.addRunningRecorder();
    Speed speed(2.0);
    const std::function<void()> commands[] = { [&] { instance->playRecord(nullptr); },
        [&] { instance->pauseRecord(nullptr); }, [&] { instance->stopRecord(nullptr); },
        [&] { instance->downloadRecord(nullptr); }, [&] { instance->updateRecordName(nullptr, "x"); },
        [&] { instance->updateRecordAgentsFilter(nullptr); }, [&] { instance->updateRecordSpeed(nullptr, &speed); } };
    for (const std::function<void()>& command : commands) {
        QCOMPARE(brokenBy(command), "record");
    }
}

void tst_RecorderInvariants::everyCommandNeedsBothUuids()
{
    LoadedRecorder setup;
    RecorderInstance* const instance = setup.instance;
    instance->recordingStarted(RECORD_B);
    auto* const speed = qobject_cast<Speed*>(setup.record->speeds()->get(4));
    const std::function<void()> commands[] = {
        [&] { instance->startRecording(); },
        [&] { instance->stopRecording(); },
        [&] { instance->pauseRecording(); },
        [&] { instance->resumeRecording(); },
        [&] { instance->getRecords(QString()); },
        [&] { instance->updateRecordFilters("x"); },
        [&] { instance->unloadRecord(setup.record); },
        [&] { instance->updateRecordName(setup.record, "x"); },
        [&] { instance->deleteRecord(setup.record); },
        [&] { instance->playRecord(setup.record); },
        [&] { instance->pauseRecord(setup.record); },
        [&] { instance->stopRecord(setup.record); },
        [&] { instance->moveCurrentRecordTime(1.0); },
        [&] { instance->updateRecordAgentsFilter(setup.record); },
        [&] { instance->updateRecordSpeed(setup.record, speed); },
        [&] { instance->importRecord(QUrl::fromLocalFile("/a.csv")); },
        [&] { instance->receiveExport(RECORD_A, 1, "cursor", "a;1;output"); },
    };
    QVERIFY((instance->*openRecordFile)("/dev/null"));
    const QString agentUuid = std::exchange(instance->*agentUuidOf, QString());
    for (const std::function<void()>& command : commands) {
        QCOMPARE(brokenBy(command), "!_agentInstanceUuid.isEmpty()");
    }
    instance->*agentUuidOf = agentUuid;
    const QString uuid = std::exchange(instance->*uuidOf, QString());
    for (const std::function<void()>& command : commands) {
        QCOMPARE(brokenBy(command), "!_uuid.isEmpty()");
    }
    instance->*uuidOf = uuid;
}

void tst_RecorderInvariants::anImportIsNotStartedWhileOff()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.firstInstanceOf(fixture.addRecorder("Rec"));
    QCOMPARE(brokenBy([&] { instance->importRecord(QUrl("file:///a.csv")); }), "!_agentInstanceUuid.isEmpty()");
}

void tst_RecorderInvariants::theTimeOfNoRecordIsNotMoved()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.addRunningRecorder();
    QCOMPARE(brokenBy([&] { instance->moveCurrentRecordTime(1.0); }), "_currentRecord");
}

void tst_RecorderInvariants::aDownloadHasAPath()
{
    LoadedRecorder setup;
    QCOMPARE(brokenBy([&] { (setup.instance->*openRecordFile)(QString()); }), "!filePath.isEmpty()");
    // What a recorder may answer is no invariant: an empty uuid of a record is only warned of (see the export's tests).
}

void tst_RecorderInvariants::settingsAreNotWrittenWithoutALaunchLine()
{
    ModuleFixture fixture;
    SystemViewClassInstance* const classInstance = fixture.addRecorder("Rec");
    RecorderInstance* const instance = fixture.firstInstanceOf(classInstance);
    delete instance->encounteredAgentInfo();
    const std::function<void()> settings[] = { [&] { instance->updateIsVerbose(true); },
        [&] { instance->updateCassandraEndpoint("other"); }, [&] { instance->updateIsQuenarySecurityActivate(true); } };
    for (const std::function<void()>& setting : settings) {
        QCOMPARE(brokenBy(setting), "_encounteredAgentInfo");
    }
}

QTEST_MAIN(tst_RecorderInvariants)
#include "tst_recorderinvariants.moc"
