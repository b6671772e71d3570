// SPDX-License-Identifier: Apache-2.0
#include "modulefixture.h"

#include <host.h>
#include <systemdocument.h>
#include <systemdocumenthandler.h>
#include <systemviewmanager.h>

#include <QtTest/QSignalSpy>

class tst_Recorder : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void eachLaunchLineGetsOneInstance();
    void anEncounteredAgentWithTheCommandLineOfAnInstanceCreatesNothing();
    void aRunningAgentThatMatchesOneOfflineInstanceReusesIt();
    void aRunningAgentThatMatchesNoneCreatesOne();
    void aRunningAgentThatMatchesSeveralLinksNoneAndIsCritical();
    void aRunningAgentOnAnotherMachineGetsAnInstanceOfThatMachine();
    void whenAnAgentLeavesDuplicatesOfItsCommandLineAreDeletedLater();
    void linkingAnAgentTwiceOnlyWarns();
    void unlinkingAnUnknownAgentOnlyWarns();
    void mappingsAreAddedOncePerInstance();
    void mappingsFollowTheNameOfTheClassInstance();
    void lookupsYieldNullForEmptyAndUnknownKeys();
    void deletingAnInstanceAnnouncesItAndDeletesItLater();
    void anUnregisteredInstanceIsNotDeletedTwice();
    void anAgentWhoseInstanceWasDeletedMayLeave();
    void theClassInstanceBecomesNullWhenItIsDestroyed();
    void instancesAreSortedByTheirDatabase();
};

void tst_Recorder::eachLaunchLineGetsOneInstance()
{
    ModuleFixture fixture;
    SystemViewClassInstance* const classInstance = fixture.addRecorder("Rec");
    Recorder* const recorder = fixture.recorderOf(classInstance);
    QSignalSpy created(recorder, &Recorder::recorderInstanceCreated);
    EncounteredAgentInfo* const info
        = classInstance->getOrCreateEncounteredAgentInfo(classInstance->encounteredAgentsOnHostAttachedToCorvane(),
            ModuleFixture::commandLine({ "--name", "Rec", "--cassandra", "other:9042" }));
    QCOMPARE(created.count(), 1);
    QCOMPARE(recorder->recorderInstances().size(), 2);
    RecorderInstance* const instance = recorder->recorderInstances().last();
    QCOMPARE(instance->encounteredAgentInfo(), info);
    QCOMPARE(instance->executablePath(), ModuleFixture::executablePath());
    QCOMPARE(recorder->getRecorderInstanceWithUuid(instance->uuid()), instance);
}

void tst_Recorder::anEncounteredAgentWithTheCommandLineOfAnInstanceCreatesNothing()
{
    ModuleFixture fixture;
    SystemViewClassInstance* const classInstance = fixture.addRecorder("Rec");
    Recorder* const recorder = fixture.recorderOf(classInstance);
    // The same line on another machine: equal, though the program is quoted.
    Host host("elsewhere");
    EncounteredAgentsOnHost* const group = classInstance->getOrCreateEncounteredAgentsOnHost(&host);
    classInstance->getOrCreateEncounteredAgentInfo(
        group, "\"" + ModuleFixture::executablePath() + "\" --name Rec --cassandra db:9042");
    QCOMPARE(recorder->recorderInstances().size(), 1);
}

void tst_Recorder::aRunningAgentThatMatchesOneOfflineInstanceReusesIt()
{
    ModuleFixture fixture;
    SystemViewClassInstance* const classInstance = fixture.addRecorder("Rec");
    Recorder* const recorder = fixture.recorderOf(classInstance);
    RecorderInstance* const instance = recorder->recorderInstances().first();
    const QuenaryDouble::Agent agent = ModuleFixture::run(instance);
    QCOMPARE(recorder->recorderInstances(), QList<RecorderInstance*>({ instance }));
    QVERIFY(instance->isOn());
    QCOMPARE(instance->agentInstanceUuid(), agent.uuid);
    QCOMPARE(instance->runningAgentInfo()->agentUuid(), agent.uuid);
    QCOMPARE(recorder->getRecorderInstanceWithAgentUuid(agent.uuid), instance);

    ModuleFixture::leave(agent.uuid);
    QVERIFY(!instance->isOn());
    QCOMPARE(recorder->getRecorderInstanceWithAgentUuid(agent.uuid), nullptr);
}

void tst_Recorder::aRunningAgentThatMatchesNoneCreatesOne()
{
    ModuleFixture fixture;
    SystemViewClassInstance* const classInstance = fixture.addRecorder("Rec");
    Recorder* const recorder = fixture.recorderOf(classInstance);
    QuenaryDouble::Agent agent = ModuleFixture::agentOf(recorder->recorderInstances().first(), "agent-1");
    agent.arguments = QStringList({ "--name", "Rec", "--cassandra", "third:9042" });
    ModuleFixture::enter(agent);
    QCOMPARE(recorder->recorderInstances().size(), 2);
    QVERIFY(!recorder->recorderInstances().first()->isOn());
    QVERIFY(recorder->recorderInstances().last()->isOn());
    QCOMPARE(recorder->recorderInstances().last()->cassandraEndpoint(), "third:9042");
}

void tst_Recorder::aRunningAgentThatMatchesSeveralLinksNoneAndIsCritical()
{
    ModuleFixture fixture;
    SystemViewClassInstance* const classInstance = fixture.addRecorder("Rec");
    classInstance->getOrCreateEncounteredAgentInfo(classInstance->encounteredAgentsOnHostAttachedToCorvane(),
        ModuleFixture::commandLine({ "--name", "Rec", "--cassandra", "other:9042" }));
    Recorder* const recorder = fixture.recorderOf(classInstance);
    // Edited into the line of the first.
    recorder->recorderInstances().last()->updateCassandraEndpoint("db");
    QTest::ignoreMessage(QtCriticalMsg,
        "Multiple recorder instance detected with same command line. It is not supposed to be the case. A cleanup "
        "phase "
        "should have removed duplicates command lines after a disconnection of a recorder instance");
    const QuenaryDouble::Agent agent = ModuleFixture::run(recorder->recorderInstances().first());
    QVERIFY(!recorder->recorderInstances().first()->isOn());
    QVERIFY(!recorder->recorderInstances().last()->isOn());
    QTest::ignoreMessage(
        QtWarningMsg, qPrintable("The RunningAgentInfo \"" + agent.uuid + "\" isn't linked to any RecorderInstance"));
    ModuleFixture::leave(agent.uuid);
}

void tst_Recorder::aRunningAgentOnAnotherMachineGetsAnInstanceOfThatMachine()
{
    ModuleFixture fixture;
    SystemViewClassInstance* const classInstance = fixture.addRecorder("Rec");
    Recorder* const recorder = fixture.recorderOf(classInstance);
    QuenaryDouble::Agent agent = ModuleFixture::agentOf(recorder->recorderInstances().first(), "agent-1");
    agent.hostName = "elsewhere";
    agent.executable = "/opt/recorder/qnyRecorder";
    ModuleFixture::enter(agent);
    QCOMPARE(recorder->recorderInstances().size(), 2);
    const RecorderInstance* const instance = recorder->recorderInstances().last();
    QVERIFY(instance->isOn());
    QVERIFY(!instance->encounteredAgentsOnHost()->isAttachedToCorvane());
    QCOMPARE(instance->encounteredAgentsOnHost()->host()->networkName(), "elsewhere");
}

void tst_Recorder::whenAnAgentLeavesDuplicatesOfItsCommandLineAreDeletedLater()
{
    ModuleFixture fixture;
    SystemViewClassInstance* const classInstance = fixture.addRecorder("Rec");
    EncounteredAgentInfo* const second
        = classInstance->getOrCreateEncounteredAgentInfo(classInstance->encounteredAgentsOnHostAttachedToCorvane(),
            ModuleFixture::commandLine({ "--name", "Rec", "--cassandra", "other:9042" }));
    Recorder* const recorder = fixture.recorderOf(classInstance);
    const QuenaryDouble::Agent agent = ModuleFixture::run(recorder->recorderInstances().first());
    // While the first runs, the line of the second becomes the same.
    second->setcommandLine(recorder->recorderInstances().first()->encounteredAgentInfo()->commandLine());
    QSignalSpy removed(recorder, &Recorder::recorderInstanceRemoved);
    const QPointer<RecorderInstance> first = recorder->recorderInstances().first();
    const QPointer<RecorderInstance> duplicate = recorder->recorderInstances().last();
    ModuleFixture::leave(agent.uuid);
    QCOMPARE(removed.count(), 1);
    QVERIFY(!first.isNull());
    QVERIFY(duplicate.isNull());
    QCOMPARE(recorder->recorderInstances(), QList<RecorderInstance*>({ first }));
    QCOMPARE(QuenaryDouble::inputs().size(), 2);
}

void tst_Recorder::linkingAnAgentTwiceOnlyWarns()
{
    ModuleFixture fixture;
    SystemViewClassInstance* const classInstance = fixture.addRecorder("Rec");
    classInstance->getOrCreateEncounteredAgentInfo(classInstance->encounteredAgentsOnHostAttachedToCorvane(),
        ModuleFixture::commandLine({ "--name", "Rec", "--cassandra", "other:9042" }));
    Recorder* const recorder = fixture.recorderOf(classInstance);
    RecorderInstance* const first = recorder->recorderInstances().first();
    RecorderInstance* const second = recorder->recorderInstances().last();
    const QuenaryDouble::Agent agent = ModuleFixture::run(first);
    second->updateCassandraEndpoint("db");
    // Announced once more while it is linked: the second instance has its line, and is not linked.
    QTest::ignoreMessage(QtWarningMsg,
        qPrintable("The RunningAgentInfo \"" + agent.uuid + "\" is linked already to a RecorderInstance"));
    Q_EMIT classInstance->runningAgentInfoCreated(first->runningAgentInfo());
    QVERIFY(!second->isOn());
    QCOMPARE(recorder->getRecorderInstanceWithAgentUuid(agent.uuid), first);
}

void tst_Recorder::unlinkingAnUnknownAgentOnlyWarns()
{
    ModuleFixture fixture;
    SystemViewClassInstance* const classInstance = fixture.addRecorder("Rec");
    RecorderInstance* const instance = fixture.firstInstanceOf(classInstance);
    const QuenaryDouble::Agent agent = ModuleFixture::run(instance);
    RunningAgentInfo* const info = instance->runningAgentInfo();
    Q_EMIT classInstance->runningAgentInfoRemoved(info);
    QVERIFY(!instance->isOn());
    QTest::ignoreMessage(
        QtWarningMsg, qPrintable("The RunningAgentInfo \"" + agent.uuid + "\" isn't linked to any RecorderInstance"));
    Q_EMIT classInstance->runningAgentInfoRemoved(info);
    QTest::ignoreMessage(
        QtWarningMsg, qPrintable("The RunningAgentInfo \"" + agent.uuid + "\" isn't linked to any RecorderInstance"));
    ModuleFixture::leave(agent.uuid);
}

void tst_Recorder::mappingsAreAddedOncePerInstance()
{
    ModuleFixture fixture;
    QuenaryDouble::clearCalls();
    RecorderInstance* const instance = fixture.firstInstanceOf(fixture.addRecorder("Rec"));
    const QuenaryDouble::Agent agent = ModuleFixture::run(instance);
    const QStringList mappings { instance->recordProgressInput() + " Rec record_progress",
        instance->replayProgressInput() + " Rec replay_progress" };
    QCOMPARE(QuenaryDouble::calls({ "qny_mapping_add" }),
        QStringList({ "qny_mapping_add " + mappings.at(0), "qny_mapping_add " + mappings.at(1) }));
    QCOMPARE(QuenaryDouble::mappings(), mappings);

    ModuleFixture::leave(agent.uuid);
    QCOMPARE(QuenaryDouble::mappings(), QStringList());
    ModuleFixture::run(instance);
    QCOMPARE(QuenaryDouble::mappings(), mappings);
}

void tst_Recorder::mappingsFollowTheNameOfTheClassInstance()
{
    ModuleFixture fixture;
    SystemViewClassInstance* const classInstance = fixture.addRecorder("Rec");
    RecorderInstance* const instance = fixture.firstInstanceOf(classInstance);
    QVERIFY(SystemViewManager::instance()->updateInstanceName(classInstance, "Renamed"));
    const QStringList mappings { instance->recordProgressInput() + " Renamed record_progress",
        instance->replayProgressInput() + " Renamed replay_progress" };
    QCOMPARE(QuenaryDouble::mappings(), mappings);
    ModuleFixture::run(instance);
    QVERIFY(instance->isOn());
    QCOMPARE(QuenaryDouble::mappings(), mappings);
}

void tst_Recorder::lookupsYieldNullForEmptyAndUnknownKeys()
{
    ModuleFixture fixture;
    Recorder* const recorder = fixture.recorderOf(fixture.addRecorder("Rec"));
    QCOMPARE(recorder->getRecorderInstanceWithUuid(QString()), nullptr);
    QCOMPARE(recorder->getRecorderInstanceWithUuid("x"), nullptr);
    QCOMPARE(recorder->getRecorderInstanceWithAgentUuid(QString()), nullptr);
    QCOMPARE(recorder->getRecorderInstanceWithAgentUuid("x"), nullptr);
}

void tst_Recorder::deletingAnInstanceAnnouncesItAndDeletesItLater()
{
    ModuleFixture fixture;
    Recorder* const recorder = fixture.recorderOf(fixture.addRecorder("Rec"));
    const QPointer<RecorderInstance> instance = recorder->recorderInstances().first();
    const QString uuid = instance->uuid();
    QSignalSpy removed(recorder, &Recorder::recorderInstanceRemoved);
    recorder->deleteRecorderInstance(instance);
    QCOMPARE(removed.count(), 1);
    QVERIFY(!instance.isNull());
    QCOMPARE(recorder->getRecorderInstanceWithUuid(uuid), nullptr);
    QCOMPARE(QuenaryDouble::mappings(), QStringList());
    ModuleFixture::settle();
    QVERIFY(instance.isNull());
}

void tst_Recorder::anUnregisteredInstanceIsNotDeletedTwice()
{
    ModuleFixture fixture;
    Recorder* const recorder = fixture.recorderOf(fixture.addRecorder("Rec"));
    RecorderInstance* const instance = recorder->recorderInstances().first();
    QSignalSpy removed(recorder, &Recorder::recorderInstanceRemoved);
    recorder->deleteRecorderInstance(instance);
    QTest::ignoreMessage(QtWarningMsg, qPrintable("RecorderInstance \"" + instance->uuid() + "\" is not registered"));
    recorder->deleteRecorderInstance(instance);
    QCOMPARE(removed.count(), 1);
}

void tst_Recorder::anAgentWhoseInstanceWasDeletedMayLeave()
{
    ModuleFixture fixture;
    Recorder* const recorder = fixture.recorderOf(fixture.addRecorder("Rec"));
    const QuenaryDouble::Agent agent = ModuleFixture::run(recorder->recorderInstances().first());
    recorder->deleteRecorderInstance(recorder->recorderInstances().first());
    ModuleFixture::settle();
    QCOMPARE(recorder->getRecorderInstanceWithAgentUuid(agent.uuid), nullptr);
    ModuleFixture::leave(agent.uuid);
    QVERIFY(recorder->recorderInstances().isEmpty());
}

void tst_Recorder::theClassInstanceBecomesNullWhenItIsDestroyed()
{
    ModuleFixture fixture;
    SystemViewClassInstance* const classInstance = fixture.addRecorder("Rec");
    auto recorder = std::make_unique<Recorder>(classInstance, ModuleFixture::executablePath(), nullptr);
    QSignalSpy changed(recorder.get(), &Recorder::classInstanceChanged);
    QCOMPARE(recorder->classInstance(), classInstance);
    SystemDocumentHandler::instance()->deleteInstance(classInstance);
    ModuleFixture::settle();
    QCOMPARE(recorder->classInstance(), nullptr);
    QCOMPARE(changed.count(), 1);
    const RecorderInstance* const instance = recorder->recorderInstances().first();
    QCOMPARE(instance->instance(), nullptr);
    QCOMPARE(instance->encounteredAgentInfo(), nullptr);
    QCOMPARE(instance->name(), QString());
}

void tst_Recorder::instancesAreSortedByTheirDatabase()
{
    ModuleFixture fixture;
    SystemViewClassInstance* const classInstance = fixture.addRecorder("Rec");
    classInstance->getOrCreateEncounteredAgentInfo(classInstance->encounteredAgentsOnHostAttachedToCorvane(),
        ModuleFixture::commandLine({ "--name", "Rec", "--cassandra", "a:9042" }));
    Recorder* const recorder = fixture.recorderOf(classInstance);
    RecorderInstance* const later = recorder->recorderInstances().last();
    QCOMPARE(recorder->sortedInstances()->get(0), later);
    later->updateCassandraEndpoint("z");
    QCOMPARE(recorder->sortedInstances()->get(1), later);
}

QTEST_MAIN(tst_Recorder)
#include "tst_recorder.moc"
