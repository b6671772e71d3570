// SPDX-License-Identifier: Apache-2.0
#include "modulefixture.h"
#include "privatemember.h"
#include "signallog.h"

#include <host.h>
#include <systemdocument.h>
#include <systemdocumenthandler.h>
#include <systemviewmanager.h>

#include <QtTest/QSignalSpy>

static void (Recorder::*registerInstance)(RecorderInstance*) = nullptr;
template struct OpenMember<registerInstance, &Recorder::_registerRecorderInstance>;

static void (Recorder::*addMappings)(RecorderInstance*) = nullptr;
template struct OpenMember<addMappings, &Recorder::_addMappingRecorderInputs>;

namespace {

/// One more launch line on this machine, for another database.
EncounteredAgentInfo* addLine(SystemViewClassInstance* classInstance, const QString& endpoint)
{
    return classInstance->getOrCreateEncounteredAgentInfo(classInstance->encounteredAgentsOnHostAttachedToCorvane(),
        ModuleFixture::commandLine({ "--name", "Rec", "--cassandra", endpoint }));
}

} // namespace

class tst_Recorder : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void eachLaunchLineGetsOneInstance();
    void anEncounteredAgentWithTheCommandLineOfAnInstanceCreatesNothing();
    void emptyLaunchLinesAreNotTheSame();
    void aRunningAgentThatMatchesOneOfflineInstanceReusesIt();
    void aRunningAgentThatMatchesNoneCreatesOne();
    void aRunningAgentIsTreatedBeforeTheLaunchLines();
    void aRunningAgentThatMatchesSeveralLinksNoneAndIsCritical();
    void aRunningAgentOnAnotherMachineGetsAnInstanceOfThatMachine();
    void anAgentWithoutALaunchLineIsNotLinked();
    void anInstanceThatIsOffWithAnAgentIsWarnedOfAndLinked();
    void whenAnAgentLeavesDuplicatesOfItsCommandLineAreDeletedLater();
    void linkingAnAgentTwiceOnlyWarns();
    void unlinkingAnUnknownAgentOnlyWarns();
    void registeringAnInstanceTwiceWarnsAndLeavesOneEntry();
    void mappingsAreAddedOncePerInstance();
    void mappingsFollowTheNameOfTheClassInstance();
    void withoutAClassInstanceAMappingNamesNobody();
    void anInstanceThatIsDeletedAsSoonAsItIsAnnouncedGetsNoMappings();
    void lookupsYieldNullForEmptyAndUnknownKeys();
    void deletingAnInstanceAnnouncesItAndDeletesItLater();
    void anUnregisteredInstanceIsNotDeletedTwice();
    void anAgentWhoseInstanceWasDeletedMayLeave();
    void aRegistryThatGoesDeletesItsInstancesAndHearsNoMore();
    void theClassInstanceBecomesNullWhenItIsDestroyed();
    void instancesAreSortedByTheirDatabase();
};

void tst_Recorder::eachLaunchLineGetsOneInstance()
{
    ModuleFixture fixture;
    SystemViewClassInstance* const classInstance = fixture.addRecorder("Rec");
    Recorder* const recorder = fixture.recorderOf(classInstance);
    QSignalSpy created(recorder, &Recorder::recorderInstanceCreated);
    QTest::ignoreMessage(QtDebugMsg,
        qPrintable("New recorder instance created from encounteredAgentInfo \""
            + ModuleFixture::commandLine({ "--name", "Rec", "--cassandra", "other:9042" }) + "\""));
    EncounteredAgentInfo* const info = addLine(classInstance, "other:9042");
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
    addLine(classInstance, "other:9042");
    ModuleFixture::run(recorder->recorderInstances().last());
    // The same lines on another machine: equal, though the program is quoted, to an instance that is off and to one
    // that is on.
    Host host("elsewhere");
    EncounteredAgentsOnHost* const group = classInstance->getOrCreateEncounteredAgentsOnHost(&host);
    for (const char* database : { "db:9042", "other:9042" }) {
        QTest::ignoreMessage(QtDebugMsg,
            QRegularExpression("^Cannot create a recorder instance from new encounteredAgentInfo \"[0-9a-f-]{36}\" . A "
                               "recorder instance already exists with the same command line$"));
        QVERIFY(classInstance->getOrCreateEncounteredAgentInfo(
            group, "\"" + ModuleFixture::executablePath() + "\" --name Rec --cassandra " + database));
        QCOMPARE(recorder->recorderInstances().size(), 2);
    }
}

void tst_Recorder::emptyLaunchLinesAreNotTheSame()
{
    ModuleFixture fixture;
    SystemViewClassInstance* const classInstance = fixture.addRecorder("Rec");
    Recorder* const recorder = fixture.recorderOf(classInstance);
    EncounteredAgentsOnHost* const group = classInstance->encounteredAgentsOnHostAttachedToCorvane();
    EncounteredAgentInfo empty(QString(), QString(), group);
    for (qsizetype count = 2; count <= 3; ++count) {
        QTest::ignoreMessage(QtWarningMsg, "Recorder: can not extract data from an empty command line");
        Q_EMIT classInstance->encounteredAgentInfoCreated(group, &empty);
        QCOMPARE(recorder->recorderInstances().size(), count);
    }
}

void tst_Recorder::aRunningAgentThatMatchesOneOfflineInstanceReusesIt()
{
    ModuleFixture fixture;
    SystemViewClassInstance* const classInstance = fixture.addRecorder("Rec");
    Recorder* const recorder = fixture.recorderOf(classInstance);
    RecorderInstance* const instance = recorder->recorderInstances().first();
    const QuenaryDouble::Agent agent = ModuleFixture::agentOf(instance, "agent-1");
    QTest::ignoreMessage(QtDebugMsg,
        qPrintable("Recorder instance updated from RunningAgentInfo \""
            + instance->encounteredAgentInfo()->commandLine() + "\""));
    QTest::ignoreMessage(
        QtDebugMsg, qPrintable("Link RunningAgentInfo \"agent-1\" with RecorderInstance \"" + instance->uuid() + "\""));
    ModuleFixture::enter(agent);
    QCOMPARE(recorder->recorderInstances(), QList<RecorderInstance*>({ instance }));
    QVERIFY(instance->isOn());
    QCOMPARE(instance->agentInstanceUuid(), agent.uuid);
    QCOMPARE(instance->runningAgentInfo()->agentUuid(), agent.uuid);
    QCOMPARE(recorder->getRecorderInstanceWithAgentUuid(agent.uuid), instance);

    QTest::ignoreMessage(QtDebugMsg,
        qPrintable("Unlink RunningAgentInfo \"agent-1\" with RecorderInstance \"" + instance->uuid() + "\""));
    ModuleFixture::leave(agent.uuid);
    QVERIFY(!instance->isOn());
    QCOMPARE(recorder->getRecorderInstanceWithAgentUuid(agent.uuid), nullptr);
}

void tst_Recorder::aRunningAgentThatMatchesNoneCreatesOne()
{
    ModuleFixture fixture;
    SystemViewClassInstance* const classInstance = fixture.addRecorder("Rec");
    Recorder* const recorder = fixture.recorderOf(classInstance);
    RecorderInstance* const first = recorder->recorderInstances().first();
    // Of a new launch line: that makes the instance already.
    QuenaryDouble::Agent agent = ModuleFixture::agentOf(first, "agent-1");
    agent.arguments = QStringList({ "--name", "Rec", "--cassandra", "third:9042" });
    ModuleFixture::enter(agent);
    QCOMPARE(recorder->recorderInstances().size(), 2);
    QVERIFY(!first->isOn());
    QVERIFY(recorder->recorderInstances().last()->isOn());
    QCOMPARE(recorder->recorderInstances().last()->cassandraEndpoint(), "third:9042");

    // Of a line whose instance has its agent.
    ModuleFixture::run(first);
    QSignalSpy created(recorder, &Recorder::recorderInstanceCreated);
    QTest::ignoreMessage(QtDebugMsg,
        qPrintable("New recorder instance created from RunningAgentInfo \""
            + first->encounteredAgentInfo()->commandLine() + "\""));
    ModuleFixture::enter(ModuleFixture::agentOf(first, "agent-2"));
    QCOMPARE(created.count(), 1);
    RecorderInstance* const second = recorder->recorderInstances().last();
    QCOMPARE(recorder->recorderInstances().size(), 3);
    QVERIFY(second->isOn() && second != first);
    QCOMPARE(second->encounteredAgentInfo(), first->encounteredAgentInfo());
    QCOMPARE(recorder->getRecorderInstanceWithAgentUuid("agent-2"), second);
}

void tst_Recorder::aRunningAgentIsTreatedBeforeTheLaunchLines()
{
    ModuleFixture fixture;
    SystemViewClassInstance* const classInstance = fixture.addRecorder("Rec");
    addLine(classInstance, "other:9042");
    RecorderInstance* const running = fixture.recorderOf(classInstance)->recorderInstances().last();
    const QuenaryDouble::Agent agent = ModuleFixture::run(running);
    // A registry that is made now finds the agent first: the line of its launch makes no second instance.
    QTest::ignoreMessage(QtDebugMsg,
        qPrintable("Cannot create a recorder instance from new encounteredAgentInfo \""
            + running->encounteredAgentInfo()->uuid()
            + "\" . A recorder instance already exists with the same command line"));
    const Recorder later(classInstance, ModuleFixture::executablePath(), nullptr);
    QCOMPARE(later.recorderInstances().size(), 2);
    QCOMPARE(later.recorderInstances().first()->cassandraEndpoint(), "other:9042");
    QCOMPARE(later.getRecorderInstanceWithAgentUuid(agent.uuid), later.recorderInstances().first());
    QVERIFY(!later.recorderInstances().last()->isOn());
}

void tst_Recorder::aRunningAgentThatMatchesSeveralLinksNoneAndIsCritical()
{
    ModuleFixture fixture;
    SystemViewClassInstance* const classInstance = fixture.addRecorder("Rec");
    addLine(classInstance, "other:9042");
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

void tst_Recorder::anAgentWithoutALaunchLineIsNotLinked()
{
    ModuleFixture fixture;
    SystemViewClassInstance* const classInstance = fixture.addRecorder("Rec");
    Recorder* const recorder = fixture.recorderOf(classInstance);
    // What a replay shows in the place of a recorder.
    QuenaryDouble::Agent agent = ModuleFixture::agentOf(recorder->recorderInstances().first(), "agent-1");
    agent.standIn = true;
    ModuleFixture::enter(agent);
    QCOMPARE(classInstance->runningAgentInfos().size(), 1);
    QCOMPARE(recorder->recorderInstances().size(), 1);
    QVERIFY(!recorder->recorderInstances().first()->isOn());
    QTest::ignoreMessage(QtWarningMsg, "The RunningAgentInfo \"agent-1\" isn't linked to any RecorderInstance");
    ModuleFixture::leave(agent.uuid);
}

void tst_Recorder::anInstanceThatIsOffWithAnAgentIsWarnedOfAndLinked()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.addRunningRecorder();
    instance->setisOn(false);
    QTest::ignoreMessage(QtWarningMsg, "cannot be off with an agent instance uuid");
    ModuleFixture::enter(ModuleFixture::agentOf(instance, "agent-2"));
    QVERIFY(instance->isOn());
    QCOMPARE(instance->agentInstanceUuid(), "agent-2");
}

void tst_Recorder::whenAnAgentLeavesDuplicatesOfItsCommandLineAreDeletedLater()
{
    ModuleFixture fixture;
    SystemViewClassInstance* const classInstance = fixture.addRecorder("Rec");
    EncounteredAgentInfo* const infos[] = { addLine(classInstance, "other:9042"), addLine(classInstance, "third:9042"),
        addLine(classInstance, "fourth:9042") };
    Recorder* const recorder = fixture.recorderOf(classInstance);
    const QList<RecorderInstance*> instances = recorder->recorderInstances();
    const QuenaryDouble::Agent agent = ModuleFixture::run(instances.at(0));
    // While the first runs, the lines of the second and the fourth become the same.
    infos[0]->setcommandLine(instances.at(0)->encounteredAgentInfo()->commandLine());
    infos[2]->setcommandLine(instances.at(0)->encounteredAgentInfo()->commandLine());
    QSignalSpy removed(recorder, &Recorder::recorderInstanceRemoved);
    const QPointer<RecorderInstance> second = instances.at(1);
    const QPointer<RecorderInstance> fourth = instances.at(3);
    Q_EMIT classInstance->runningAgentInfoRemoved(instances.at(0)->runningAgentInfo());
    QCOMPARE(removed.count(), 2);
    QCOMPARE(removed.at(0).first().value<RecorderInstance*>(), second.data());
    QCOMPARE(removed.at(1).first().value<RecorderInstance*>(), fourth.data());
    QCOMPARE(recorder->recorderInstances(), QList<RecorderInstance*>({ instances.at(0), instances.at(2) }));
    QCOMPARE(QuenaryDouble::inputs().size(), 4);
    QVERIFY(!second.isNull() && !fourth.isNull());
    ModuleFixture::settle();
    QVERIFY(second.isNull() && fourth.isNull());

    // Its leaving in earnest finds nothing more to do.
    QTest::ignoreMessage(
        QtWarningMsg, qPrintable("The RunningAgentInfo \"" + agent.uuid + "\" isn't linked to any RecorderInstance"));
    ModuleFixture::leave(agent.uuid);
    QCOMPARE(removed.count(), 2);
}

void tst_Recorder::linkingAnAgentTwiceOnlyWarns()
{
    ModuleFixture fixture;
    SystemViewClassInstance* const classInstance = fixture.addRecorder("Rec");
    addLine(classInstance, "other:9042");
    Recorder* const recorder = fixture.recorderOf(classInstance);
    RecorderInstance* const first = recorder->recorderInstances().first();
    RecorderInstance* const second = recorder->recorderInstances().last();
    const QuenaryDouble::Agent agent = ModuleFixture::run(first);
    second->updateCassandraEndpoint("db");
    // Announced once more while it is linked: the second instance has its line, and is not linked.
    QTest::ignoreMessage(QtWarningMsg,
        qPrintable("The RunningAgentInfo \"" + agent.uuid + "\" is linked already to a RecorderInstance"));
    SignalLog log;
    log.follow(recorder);
    log.follow(first);
    log.follow(second);
    QuenaryDouble::clearCalls();
    Q_EMIT classInstance->runningAgentInfoCreated(first->runningAgentInfo());
    QCOMPARE(log.take(), QStringList());
    QCOMPARE(QuenaryDouble::calls(), QStringList());
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
    QuenaryDouble::clearCalls();
    SignalLog log;
    log.follow(instance);
    QTest::ignoreMessage(
        QtWarningMsg, qPrintable("The RunningAgentInfo \"" + agent.uuid + "\" isn't linked to any RecorderInstance"));
    Q_EMIT classInstance->runningAgentInfoRemoved(info);
    QCOMPARE(log.take(), QStringList());
    QCOMPARE(QuenaryDouble::calls(), QStringList());
    QTest::ignoreMessage(
        QtWarningMsg, qPrintable("The RunningAgentInfo \"" + agent.uuid + "\" isn't linked to any RecorderInstance"));
    ModuleFixture::leave(agent.uuid);
}

void tst_Recorder::registeringAnInstanceTwiceWarnsAndLeavesOneEntry()
{
    ModuleFixture fixture;
    Recorder* const recorder = fixture.recorderOf(fixture.addRecorder("Rec"));
    RecorderInstance* const instance = recorder->recorderInstances().first();
    QuenaryDouble::clearCalls();
    QTest::ignoreMessage(QtWarningMsg, qPrintable("RecorderInstance \"" + instance->uuid() + "\" already exists"));
    (recorder->*registerInstance)(instance);
    QCOMPARE(recorder->recorderInstances(), QList<RecorderInstance*>({ instance }));
    QCOMPARE(recorder->getRecorderInstanceWithUuid(instance->uuid()), instance);
    QCOMPARE(QuenaryDouble::calls(), QStringList());
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

    QuenaryDouble::clearCalls();
    ModuleFixture::leave(agent.uuid);
    QCOMPARE(QuenaryDouble::calls({ "qny_mapping_remove_with_name" }),
        QStringList(
            { "qny_mapping_remove_with_name " + mappings.at(0), "qny_mapping_remove_with_name " + mappings.at(1) }));
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

void tst_Recorder::withoutAClassInstanceAMappingNamesNobody()
{
    ModuleFixture fixture;
    SystemViewClassInstance* const classInstance = fixture.addRecorder("Rec");
    Recorder recorder(classInstance, ModuleFixture::executablePath(), nullptr);
    RecorderInstance* const instance = recorder.recorderInstances().first();
    const QuenaryDouble::Agent agent = ModuleFixture::run(instance);
    ModuleFixture::leave(agent.uuid); // takes its mappings along
    SystemDocumentHandler::instance()->deleteInstance(classInstance);
    ModuleFixture::settle();
    QuenaryDouble::clearCalls();
    (recorder.*addMappings)(instance);
    QCOMPARE(QuenaryDouble::calls(),
        QStringList({ "qny_mapping_add " + instance->recordProgressInput() + "  record_progress",
            "qny_mapping_add " + instance->replayProgressInput() + "  replay_progress" }));
}

void tst_Recorder::anInstanceThatIsDeletedAsSoonAsItIsAnnouncedGetsNoMappings()
{
    ModuleFixture fixture;
    SystemViewClassInstance* const classInstance = fixture.addRecorder("Rec");
    Recorder* const recorder = fixture.recorderOf(classInstance);
    RecorderInstance* const first = recorder->recorderInstances().first();
    connect(recorder, &Recorder::recorderInstanceCreated, recorder, &Recorder::deleteRecorderInstance);
    QuenaryDouble::Agent agent = ModuleFixture::agentOf(first, "agent-1");
    agent.arguments.append("--verbose");
    ModuleFixture::enter(agent);
    QCOMPARE(recorder->recorderInstances(), QList<RecorderInstance*>({ first }));
    const QStringList ofFirst { first->recordProgressInput() + " Rec record_progress",
        first->replayProgressInput() + " Rec replay_progress" };
    QCOMPARE(QuenaryDouble::mappings(), ofFirst);
    ModuleFixture::leave("agent-1");
    QCOMPARE(QuenaryDouble::mappings(), ofFirst);
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
    RecorderInstance* const instance = recorder->recorderInstances().first();
    recorder->deleteRecorderInstance(instance);
    // Only unlinking takes it out of the table of agents.
    QCOMPARE(recorder->getRecorderInstanceWithAgentUuid(agent.uuid), instance);
    ModuleFixture::settle();
    QCOMPARE(recorder->getRecorderInstanceWithAgentUuid(agent.uuid), nullptr);
    ModuleFixture::leave(agent.uuid);
    QVERIFY(recorder->recorderInstances().isEmpty());
}

void tst_Recorder::aRegistryThatGoesDeletesItsInstancesAndHearsNoMore()
{
    ModuleFixture fixture;
    SystemViewClassInstance* const classInstance = fixture.addRecorder("Rec");
    auto recorder = std::make_unique<Recorder>(classInstance, ModuleFixture::executablePath(), nullptr);
    const QPointer<RecorderInstance> instance = recorder->recorderInstances().first();
    recorder.reset();
    QVERIFY(!instance.isNull());
    ModuleFixture::settle();
    QVERIFY(instance.isNull());
    addLine(classInstance, "other:9042");
    QCOMPARE(QuenaryDouble::mappings().size(), 6); // two of the module's two, two that the registry left behind
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
    addLine(classInstance, "a:9042");
    Recorder* const recorder = fixture.recorderOf(classInstance);
    RecorderInstance* const later = recorder->recorderInstances().last();
    QCOMPARE(recorder->sortedInstances()->get(0), later);
    later->updateCassandraEndpoint("z");
    QCOMPARE(recorder->sortedInstances()->get(1), later);
}

QTEST_MAIN(tst_Recorder)
#include "tst_recorder.moc"
