// SPDX-License-Identifier: Apache-2.0
#include "models/brokeninvariant.h"
#include "modulefixture.h"

/// What no page may ask for stops the program, and the message says which condition was broken.
class tst_RecorderInvariants : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void anInstanceIsNotMadeWithoutAnExecutablePath();
    void aRegistryIsNotMadeWithoutAClassInstance();
    void anEmptyNameIsNotAskedFor();
    void aNameIsNotCleanedToNothing();
    void aRecordIsNeverNull();
    void anImportIsNotStartedWhileOff();
    void theTimeOfNoRecordIsNotMoved();
    void settingsAreNotWrittenWithoutALaunchLine();
};

void tst_RecorderInvariants::anInstanceIsNotMadeWithoutAnExecutablePath()
{
    ModuleFixture fixture(QStringLiteral(""));
    QVERIFY(messageOfBrokenInvariant([&] { fixture.addRecorder("Rec"); }).contains("!_executablePath.isEmpty()"));
}

void tst_RecorderInvariants::aRegistryIsNotMadeWithoutAClassInstance()
{
    ModuleFixture fixture;
    QVERIFY(messageOfBrokenInvariant([] {
        const Recorder recorder(nullptr, ModuleFixture::executablePath(), nullptr);
    }).contains("\"classInstance\""));
}

void tst_RecorderInvariants::anEmptyNameIsNotAskedFor()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.firstInstanceOf(fixture.addRecorder("Rec"));
    QVERIFY(
        messageOfBrokenInvariant([&] { instance->isRecorderNameAlreadyUsed(QString()); }).contains("!value.isEmpty()"));
}

void tst_RecorderInvariants::aNameIsNotCleanedToNothing()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.firstInstanceOf(fixture.addRecorder("Rec"));
    QVERIFY(messageOfBrokenInvariant([&] { instance->updateName("   "); }).contains("!cleanValue.isEmpty()"));
}

void tst_RecorderInvariants::aRecordIsNeverNull()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.addRunningRecorder();
    QVERIFY(messageOfBrokenInvariant([&] { instance->playRecord(nullptr); }).contains("\"record\""));
    QVERIFY(messageOfBrokenInvariant([&] { instance->downloadRecord(nullptr); }).contains("\"record\""));
    QVERIFY(messageOfBrokenInvariant([&] { instance->updateRecordName(nullptr, "x"); }).contains("\"record\""));
}

void tst_RecorderInvariants::anImportIsNotStartedWhileOff()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.firstInstanceOf(fixture.addRecorder("Rec"));
    QVERIFY(messageOfBrokenInvariant([&] {
        instance->importRecord(QUrl("file:///a.csv"));
    }).contains("!_agentInstanceUuid.isEmpty()"));
}

void tst_RecorderInvariants::theTimeOfNoRecordIsNotMoved()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.addRunningRecorder();
    QVERIFY(messageOfBrokenInvariant([&] { instance->moveCurrentRecordTime(1.0); }).contains("\"_currentRecord\""));
}

void tst_RecorderInvariants::settingsAreNotWrittenWithoutALaunchLine()
{
    ModuleFixture fixture;
    SystemViewClassInstance* const classInstance = fixture.addRecorder("Rec");
    RecorderInstance* const instance = fixture.firstInstanceOf(classInstance);
    delete instance->encounteredAgentInfo();
    QVERIFY(messageOfBrokenInvariant([&] { instance->updateIsVerbose(true); }).contains("\"_encounteredAgentInfo\""));
}

QTEST_MAIN(tst_RecorderInvariants)
#include "tst_recorderinvariants.moc"
