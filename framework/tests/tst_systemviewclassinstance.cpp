// SPDX-License-Identifier: Apache-2.0
#include "encounteredagentinfo.h"
#include "encounteredagentsonhost.h"
#include "frameworkfixture.h"
#include "recorderclassplugin.h"
#include "runningagentinfo.h"
#include "systemviewclass.h"
#include "systemviewmanager.h"

#include <abstractzqcustomitemlistmodel.h>

#include <QAbstractItemModelTester>
#include <QProcess>
#include <QSignalSpy>
#include <QTest>

using namespace FrameworkFixture;
using Mode = QAbstractItemModelTester::FailureReportingMode;

class TestSystemViewClassInstance : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        beStrict();
        handler()->newDocument();
    }
    void cleanup()
    {
        handler()->closeDocument();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    void aNewRecorderHasItsLaunchLineForThisMachine();
    void namesAreUniqueInAView();
    void theAttachedGroupIsMadeOnceAndHasItsHost();
    void theAttachedGroupIsAnnouncedOnceWithTheFirstLaunchLine();
    void theAttachedGroupIsNotAnnouncedToWhoHasALaunchLineElsewhere();
    void launchLinesAreMadeOncePerMachineAndMeaning();
    void whatCannotBeALaunchLineGivesNone();
    void aLineThatNamesNoProgramIsRefusedWithAProblem();
    void theLineItselfIsFoundBeforeOneThatEqualsItButForAMaskedValue();
    void aLocalLaunchLineCanBeLaunchedWhenItsProgramIsThere();
    void aRemoteLaunchLineCanBeLaunchedThroughALauncher();
    void aMaskedLaunchLineCannotBeLaunched();
    void aRunningAgentJoinsTheInstanceOfItsNameAndFamily();
    void anAgentOfAnotherMachineThatTakesTheNameOfThisOneBringsNoLaunchLineHere();
    void aRunningAgentWithAMaskedPasswordKeepsTheLaunchLine();
    void aRunningAgentThatLeavesIsAnnouncedWhileItLives();
    void aStandInLeavesNoLaunchLineAndDoesNotCountAsRunning();
    void agentsAlreadyThereAreInANewInstanceBeforeItIsAnnounced();
    void unplacedAgentsCanBePlaced();
    void aPlacedRemoteRecorderGetsNoLocalLaunchLine();
    void aDeletedInstanceLeavesItsAgentsUnplaced();
    void aRenamedInstanceTakesTheAgentsOfItsNewName();
};

void TestSystemViewClassInstance::aNewRecorderHasItsLaunchLineForThisMachine()
{
    QSignalSpy registered(handler(), &SystemDocumentHandler::systemViewBaseInstanceRegistered);
    const SystemViewClassInstance* recorder = createRecorder();

    QVERIFY(recorder);
    QCOMPARE(registered.count(), 1);
    QCOMPARE(recorder->familyUuid(), ReservedAgentAndToolFamilies::RECORDER_CLASS_UUID);
    QCOMPARE(recorder->systemViewClass(),
        handler()->library()->getClassWithUUID(ReservedAgentAndToolFamilies::RECORDER_CLASS_UUID));
    const EncounteredAgentsOnHost* group = recorder->encounteredAgentsOnHostAttachedToCorvane();
    QVERIFY(group);
    QCOMPARE(group->encounteredAgentInfos().size(), 1);
    QCOMPARE(QProcess::splitCommand(group->encounteredAgentInfos().at(0)->commandLine()),
        QStringList({ RecorderClassPlugin::executablePath(), "--name", "Recorder", "--cassandra", "embedded:9042" }));
    QVERIFY(currentView()->viewport().contains(recorder->position()));
}

void TestSystemViewClassInstance::namesAreUniqueInAView()
{
    QAbstractItemModelTester tester(currentView()->instancesModel(), Mode::QtTest);
    QCOMPARE(createRecorder()->name(), QString("Recorder"));
    QCOMPARE(createRecorder()->name(), QString("Recorder 2"));
    QCOMPARE(createInstance(SENSOR_FAMILY, "Sensor")->name(), QString("Sensor"));
    SystemViewClassInstance* third = createRecorder();
    QCOMPARE(third->name(), QString("Recorder 3"));
    // A name that became free is given again
    handler()->deleteInstance(currentView()->getAgentByName("Recorder 2"));
    QCOMPARE(createRecorder()->name(), QString("Recorder 2"));
    // Agents are found by name among all classes of the view
    QCOMPARE(currentView()->getAgentByName("Recorder 3"), third);
    QCOMPARE(currentView()->getAgentByName("Sensor")->familyUuid(), SENSOR_FAMILY);
    QVERIFY(!currentView()->getAgentByName("sensor"));
    // A taken name is refused to an instance made by hand
    auto* doubled = new SystemViewClassInstance(QString(), third->systemViewClass(), "Sensor", {}, currentView());
    QPointer<QObject> guard(doubled);
    QVERIFY(!currentView()->addInstance(doubled));
    QVERIFY(!guard);
}

void TestSystemViewClassInstance::theAttachedGroupIsMadeOnceAndHasItsHost()
{
    SystemViewClassInstance* sensor = createInstance(SENSOR_FAMILY, "Sensor");
    QVERIFY(!sensor->encounteredAgentsOnHostAttachedToCorvane());
    EncounteredAgentsOnHost* group = sensor->getOrCreateEncounteredAgentsOnHostAttachedToCorvane();
    QVERIFY(group->isAttachedToCorvane());
    QVERIFY(group->host());
    QCOMPARE(group->host()->networkName(), localName());
    QCOMPARE(sensor->getOrCreateEncounteredAgentsOnHostAttachedToCorvane(), group);
    // Reached by its host it is the same
    QCOMPARE(sensor->getOrCreateEncounteredAgentsOnHost(group->host()), group);
    // The refresh of its host changes nothing
    sensor->updateEncounteredAgentsOnHostAttachedToCorvaneBackrefs(handler()->currentSystemDocument());
    QCOMPARE(group->host()->networkName(), localName());
    QVERIFY(!sensor->getOrCreateEncounteredAgentsOnHost(nullptr));
}

namespace {

/// What an instance announces of its launch lines.
QStringList announced(SystemViewClassInstance* instance, const std::function<void()>& act)
{
    QStringList order;
    const auto note = [&order](const char* what) {
        return [&order, what](EncounteredAgentsOnHost* group, EncounteredAgentInfo* info) {
            order.append(QString("%1 %2 %3").arg(what, group->host()->networkName(), info->commandLine()));
        };
    };
    const QObject context;
    QObject::connect(instance, &SystemViewClassInstance::encounteredAgentsOnHostAttachedToCorvaneCreated, &context,
        note("attached"));
    QObject::connect(instance, &SystemViewClassInstance::encounteredAgentInfoCreated, &context, note("line"));
    act();
    return order;
}

EncounteredAgentInfo* addLine(SystemViewClassInstance* instance, const QString& hostName, const QString& commandLine)
{
    return instance->getOrCreateEncounteredAgentInfo(
        instance->getOrCreateEncounteredAgentsOnHost(handler()->currentSystemDocument()->getOrCreateHost(hostName)),
        commandLine);
}

} // namespace

void TestSystemViewClassInstance::theAttachedGroupIsAnnouncedOnceWithTheFirstLaunchLine()
{
    SystemViewClassInstance* sensor = createInstance(SENSOR_FAMILY, "Sensor");
    QCOMPARE(announced(sensor,
                 [sensor] {
                     addLine(sensor, localName(), "/a");
                     addLine(sensor, localName(), "/b");
                     addLine(sensor, "plant-3", "/r");
                     addLine(sensor, localName(), "/a");
                     addLine(sensor, localName(), "/c");
                 }),
        QStringList({ "attached " + localName() + " /a", "line " + localName() + " /a", "line " + localName() + " /b",
            "line plant-3 /r", "line " + localName() + " /c" }));
}

void TestSystemViewClassInstance::theAttachedGroupIsNotAnnouncedToWhoHasALaunchLineElsewhere()
{
    SystemViewClassInstance* sensor = createInstance(SENSOR_FAMILY, "Sensor");
    QCOMPARE(announced(sensor,
                 [sensor] {
                     addLine(sensor, "plant-3", "/r");
                     addLine(sensor, localName(), "/a");
                     addLine(sensor, localName(), "/b");
                 }),
        QStringList({ "line plant-3 /r", "line " + localName() + " /a", "line " + localName() + " /b" }));
}

void TestSystemViewClassInstance::launchLinesAreMadeOncePerMachineAndMeaning()
{
    SystemViewClassInstance* sensor = createInstance(SENSOR_FAMILY, "Sensor");
    QAbstractItemModelTester groups(sensor->encounteredAgentsOnHostsModel(), Mode::QtTest);
    EncounteredAgentsOnHost* group = sensor->getOrCreateEncounteredAgentsOnHostAttachedToCorvane();
    QAbstractItemModelTester infos(group->encounteredAgentInfosModel(), Mode::QtTest);
    EncounteredAgentInfo* info = sensor->getOrCreateEncounteredAgentInfo(group, "/usr/bin/env --x \"a b\"");
    QVERIFY(!info->uuid().isEmpty());
    QVERIFY(!info->uuid().contains('{'));
    QCOMPARE(info->group(), group);
    QCOMPARE(sensor->getOrCreateEncounteredAgentInfo(group, "  \"/usr/bin/env\"  --x  \"a b\""), info);
    EncounteredAgentInfo* other = sensor->getOrCreateEncounteredAgentInfo(group, "/usr/bin/env --x a b");
    QVERIFY(other != info);
    QVERIFY(other->uuid() != info->uuid());
    // The same line on another machine is another one
    EncounteredAgentsOnHost* remote
        = sensor->getOrCreateEncounteredAgentsOnHost(handler()->currentSystemDocument()->getOrCreateHost("plant-3"));
    QVERIFY(sensor->getOrCreateEncounteredAgentInfo(remote, info->commandLine()) != info);
    QCOMPARE(group->encounteredAgentInfos(), QList<EncounteredAgentInfo*>({ info, other }));
}

void TestSystemViewClassInstance::whatCannotBeALaunchLineGivesNone()
{
    SystemViewClassInstance* sensor = createInstance(SENSOR_FAMILY, "Sensor");
    SystemViewClassInstance* recorder = createRecorder();
    EncounteredAgentsOnHost* group = sensor->getOrCreateEncounteredAgentsOnHostAttachedToCorvane();
    QVERIFY(!sensor->getOrCreateEncounteredAgentInfo(group, ""));
    QVERIFY(!sensor->getOrCreateEncounteredAgentInfo(nullptr, "/a"));
    QVERIFY(!sensor->getOrCreateEncounteredAgentInfo(recorder->encounteredAgentsOnHostAttachedToCorvane(), "/a"));
    QVERIFY(group->encounteredAgentInfos().isEmpty());
    QVERIFY(!sensor->hasLaunchLine());
    QVERIFY(recorder->hasLaunchLine());
}

void TestSystemViewClassInstance::aLineThatNamesNoProgramIsRefusedWithAProblem()
{
    SystemViewClassInstance* sensor = createInstance(SENSOR_FAMILY, "Sensor");
    EncounteredAgentsOnHost* group = sensor->getOrCreateEncounteredAgentsOnHostAttachedToCorvane();
    QSignalSpy raised(SystemViewManager::instance(), &SystemViewManager::problemRaised);
    for (const char* line : { "  ", "\"\"", " \t\"\" " }) {
        QTest::ignoreMessage(QtWarningMsg, "A launch line of 'Sensor' was not added: it must name a program.");
        QVERIFY(!sensor->getOrCreateEncounteredAgentInfo(group, line));
    }
    QCOMPARE(raised.count(), 3);
    QVERIFY(group->encounteredAgentInfos().isEmpty());
}

void TestSystemViewClassInstance::theLineItselfIsFoundBeforeOneThatEqualsItButForAMaskedValue()
{
    SystemViewClassInstance* sensor = createInstance(SENSOR_FAMILY, "Sensor");
    const EncounteredAgentInfo* one = addLine(sensor, localName(), "/x -a one");
    const EncounteredAgentInfo* two = addLine(sensor, localName(), "/x -a two");
    QVERIFY(one != two);
    QCOMPARE(addLine(sensor, localName(), "/x -a two"), two);
    QCOMPARE(addLine(sensor, localName(), "/x -a ********"), one);
    // A masked line that was there first is kept for itself
    const EncounteredAgentInfo* masked = addLine(sensor, "plant-3", "/x -a ********");
    EncounteredAgentInfo* edited = addLine(sensor, "plant-3", "/x -b");
    edited->setcommandLine("/x -a one");
    QCOMPARE(addLine(sensor, "plant-3", "/x -a ********"), masked);
    QCOMPARE(addLine(sensor, "plant-3", "/x -a one"), edited);
}

void TestSystemViewClassInstance::aLocalLaunchLineCanBeLaunchedWhenItsProgramIsThere()
{
    SystemViewClassInstance* sensor = createInstance(SENSOR_FAMILY, "Sensor");
    EncounteredAgentsOnHost* group = sensor->getOrCreateEncounteredAgentsOnHostAttachedToCorvane();
    EncounteredAgentInfo* info = sensor->getOrCreateEncounteredAgentInfo(group, "/nowhere/at/all");
    QVERIFY(!info->canBeLaunched());
    QSignalSpy changed(info, &EncounteredAgentInfo::canBeLaunchedChanged);
    info->setcommandLine(QProcess::splitCommand(QCoreApplication::applicationFilePath()).constFirst());
    QVERIFY(info->canBeLaunched());
    info->setcommandLine("env --x");
    QVERIFY(info->canBeLaunched());
    QCOMPARE(changed.count(), 1);
    info->setcommandLine("/");
    QVERIFY(!info->canBeLaunched());
}

void TestSystemViewClassInstance::aRemoteLaunchLineCanBeLaunchedThroughALauncher()
{
    SystemViewClassInstance* sensor = createInstance(SENSOR_FAMILY, "Sensor");
    Host* remote = handler()->currentSystemDocument()->getOrCreateHost("plant-3");
    QVERIFY(!remote->hasLauncher());
    EncounteredAgentInfo* info
        = sensor->getOrCreateEncounteredAgentInfo(sensor->getOrCreateEncounteredAgentsOnHost(remote), "/opt/sensor");
    QVERIFY(!info->group()->isAttachedToCorvane());
    QVERIFY(!info->canBeLaunched());
    QSignalSpy changed(info, &EncounteredAgentInfo::canBeLaunchedChanged);
    QSignalSpy launcherChanged(remote, &Host::hasLauncherChanged);
    remote->setlauncherUuid("l1");
    QVERIFY(info->canBeLaunched());
    remote->setlauncherUuid("l2");
    QVERIFY(info->canBeLaunched());
    QCOMPARE(launcherChanged.count(), 1);
    remote->setlauncherUuid({});
    QVERIFY(!info->canBeLaunched());
    QCOMPARE(changed.count(), 2);
}

void TestSystemViewClassInstance::aMaskedLaunchLineCannotBeLaunched()
{
    SystemViewClassInstance* sensor = createInstance(SENSOR_FAMILY, "Sensor");
    EncounteredAgentsOnHost* group = sensor->getOrCreateEncounteredAgentsOnHostAttachedToCorvane();
    QVERIFY(!sensor->getOrCreateEncounteredAgentInfo(group, "/usr/bin/env -a ********")->canBeLaunched());
}

void TestSystemViewClassInstance::aRunningAgentJoinsTheInstanceOfItsNameAndFamily()
{
    SystemViewClassInstance* sensor = createInstance(SENSOR_FAMILY, "Sensor");
    SystemViewClassInstance* recorder = createRecorder();
    QAbstractItemModelTester tester(sensor->runningAgentInfosModel(), Mode::QtTest);
    QSignalSpy created(sensor, &SystemViewClassInstance::runningAgentInfoCreated);
    QSignalSpy running(sensor, &SystemViewClassInstance::isRunningChanged);
    const NetworkAgent here = agent("a1", "Sensor", SENSOR_FAMILY, localName(), { "--file", "a b" });
    const NetworkAgent there = agent("a2", "Sensor", SENSOR_FAMILY, "plant-3");
    entered(here);
    entered(there);
    entered(agent("a3", "Sensor", "another-family", localName()));
    entered(agent("a4", "Recorder", SENSOR_FAMILY, localName()));

    QCOMPARE(created.count(), 2);
    QCOMPARE(running.count(), 1);
    QVERIFY(sensor->isRunning());
    QVERIFY(!recorder->isRunning());
    QCOMPARE(sensor->runningAgentInfos().size(), 2);
    const RunningAgentInfo* info = sensor->runningAgentInfos().at(0);
    QCOMPARE(info->agentUuid(), QString("a1"));
    QVERIFY(info->isAttachedToCorvane());
    QCOMPARE(info->host(), handler()->currentSystemDocument()->localHost());
    QCOMPARE(QProcess::splitCommand(info->commandLine()), QStringList({ "/usr/bin/env", "--file", "a b" }));
    QVERIFY(!sensor->runningAgentInfos().at(1)->isAttachedToCorvane());
    QCOMPARE(sensor->runningAgentInfos().at(1)->host()->networkName(), QString("plant-3"));

    // Their launch lines are kept, each with its machine
    QCOMPARE(sensor->encounteredAgentsOnHosts().size(), 2);
    QCOMPARE(sensor->encounteredAgentsOnHostAttachedToCorvane()->encounteredAgentInfos().at(0)->commandLine(),
        info->commandLine());
    // A second arrival of the same agent is none
    entered(here);
    QCOMPARE(created.count(), 2);
    QCOMPARE(handler()->currentSystemDocument()->unplacedAgents().size(), 2);
}

void TestSystemViewClassInstance::anAgentOfAnotherMachineThatTakesTheNameOfThisOneBringsNoLaunchLineHere()
{
    SystemViewClassInstance* sensor = createInstance(SENSOR_FAMILY, "Sensor");
    NetworkAgent stranger = agent("a1", "Sensor", SENSOR_FAMILY, localName(), { "-c", "harm" });
    stranger.address = "192.0.2.9";
    stranger.isOfThisMachine = false;
    entered(stranger);
    QCOMPARE(sensor->runningAgentInfos().size(), 1);
    const RunningAgentInfo* info = sensor->runningAgentInfos().at(0);
    QVERIFY(!info->isAttachedToCorvane());
    QCOMPARE(info->host()->networkName(), localName() + " (192.0.2.9)");
    const EncounteredAgentsOnHost* here = sensor->encounteredAgentsOnHostAttachedToCorvane();
    QVERIFY(here == nullptr || here->encounteredAgentInfos().isEmpty());
    QVERIFY(!sensor->encounteredAgentsOnHosts().constLast()->encounteredAgentInfos().at(0)->canBeLaunched());
}

void TestSystemViewClassInstance::aRunningAgentWithAMaskedPasswordKeepsTheLaunchLine()
{
    SystemViewClassInstance* sensor = createInstance(SENSOR_FAMILY, "Sensor");
    EncounteredAgentsOnHost* group = sensor->getOrCreateEncounteredAgentsOnHostAttachedToCorvane();
    const EncounteredAgentInfo* info
        = sensor->getOrCreateEncounteredAgentInfo(group, "/usr/bin/env -u me -a \"my secret\"");
    entered(agent("a1", "Sensor", SENSOR_FAMILY, localName(), { "-u", "me", "-a", "********" }));
    QCOMPARE(group->encounteredAgentInfos().size(), 1);
    QCOMPARE(info->commandLine(), QString("/usr/bin/env -u me -a \"my secret\""));
}

void TestSystemViewClassInstance::aRunningAgentThatLeavesIsAnnouncedWhileItLives()
{
    SystemViewClassInstance* sensor = createInstance(SENSOR_FAMILY, "Sensor");
    const NetworkAgent here = agent("a1", "Sensor", SENSOR_FAMILY, localName());
    entered(here);
    QPointer<RunningAgentInfo> info = sensor->runningAgentInfos().at(0);
    QString removed;
    connect(sensor, &SystemViewClassInstance::runningAgentInfoRemoved, this,
        [&removed](RunningAgentInfo* gone) { removed = gone->agentUuid() + gone->host()->networkName(); });
    exited(here);
    QCOMPARE(removed, "a1" + localName());
    QVERIFY(!sensor->isRunning());
    QVERIFY(sensor->runningAgentInfos().isEmpty());
    QVERIFY(info); // still, for whoever was told
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(!info);
    QCOMPARE(sensor->encounteredAgentsOnHosts().size(), 1); // what was met stays
}

void TestSystemViewClassInstance::aStandInLeavesNoLaunchLineAndDoesNotCountAsRunning()
{
    SystemViewClassInstance* sensor = createInstance(SENSOR_FAMILY, "Sensor");
    NetworkAgent standIn = agent("s1", "Sensor", SENSOR_FAMILY, localName());
    standIn.standIn = true;
    standIn.executable.clear();
    entered(standIn);
    QCOMPARE(sensor->runningAgentInfos().size(), 1);
    QVERIFY(sensor->runningAgentInfos().at(0)->isStandIn());
    QVERIFY(sensor->runningAgentInfos().at(0)->commandLine().isEmpty());
    QVERIFY(!sensor->isRunning());
    QVERIFY(sensor->encounteredAgentsOnHosts().isEmpty());
    // Nor is it offered for placing
    standIn.uuid = "s2";
    standIn.name = "Other";
    entered(standIn);
    QVERIFY(handler()->currentSystemDocument()->unplacedAgents().isEmpty());
}

void TestSystemViewClassInstance::agentsAlreadyThereAreInANewInstanceBeforeItIsAnnounced()
{
    entered(agent("a1", "Sensor", SENSOR_FAMILY, localName()));
    QCOMPARE(handler()->currentSystemDocument()->unplacedAgents().size(), 1);
    qsizetype running = -1;
    const auto connection = connect(handler(), &SystemDocumentHandler::systemViewBaseInstanceRegistered, this,
        [&running](SystemViewBaseInstance* instance) {
            running = qobject_cast<SystemViewClassInstance*>(instance)->runningAgentInfos().size();
        });
    createInstance(SENSOR_FAMILY, "Sensor");
    disconnect(connection);
    QCOMPARE(running, 1);
    QVERIFY(handler()->currentSystemDocument()->unplacedAgents().isEmpty());
}

void TestSystemViewClassInstance::unplacedAgentsCanBePlaced()
{
    SystemDocument* document = handler()->currentSystemDocument();
    QAbstractItemModelTester tester(document->unplacedAgentsModel(), Mode::QtTest);
    entered(agent("a1", "Pump 1", SENSOR_FAMILY, "plant-3"));
    entered(agent("a2", "No family", "", localName()));
    QCOMPARE(document->unplacedAgents().size(), 2);

    auto* pump = qobject_cast<SystemViewClassInstance*>(handler()->placeAgent(document->unplacedAgents().at(0)));
    QVERIFY(pump);
    QCOMPARE(pump->name(), QString("Pump 1"));
    QCOMPARE(pump->familyUuid(), SENSOR_FAMILY);
    QVERIFY(pump->isRunning());
    QCOMPARE(pump->encounteredAgentsOnHosts().size(), 1);
    QCOMPARE(pump->encounteredAgentsOnHosts().at(0)->host()->networkName(), QString("plant-3"));
    QCOMPARE(pump->encounteredAgentsOnHosts().at(0)->encounteredAgentInfos().size(), 1);
    QVERIFY(handler()->placeAgent(document->unplacedAgents().at(0)));
    QVERIFY(document->unplacedAgents().isEmpty());

    // Not over another class's instance of that name
    entered(agent("a3", "Pump 1", "another-family", localName()));
    QCOMPARE(document->unplacedAgents().size(), 1);
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("'Pump 1' was not placed"));
    QVERIFY(!handler()->placeAgent(document->unplacedAgents().at(0)));
    QVERIFY(handler()->errorText().contains("Rename"));
}

void TestSystemViewClassInstance::aPlacedRemoteRecorderGetsNoLocalLaunchLine()
{
    entered(agent("r1", "Far recorder", ReservedAgentAndToolFamilies::RECORDER_CLASS_UUID, "plant-3"));
    const auto* recorder = qobject_cast<SystemViewClassInstance*>(
        handler()->placeAgent(handler()->currentSystemDocument()->unplacedAgents().at(0)));
    QVERIFY(recorder);
    QVERIFY(!recorder->encounteredAgentsOnHostAttachedToCorvane());
    QCOMPARE(recorder->encounteredAgentsOnHosts().size(), 1);
}

void TestSystemViewClassInstance::aDeletedInstanceLeavesItsAgentsUnplaced()
{
    QPointer<SystemViewClassInstance> sensor = createInstance(SENSOR_FAMILY, "Sensor");
    entered(agent("a1", "Sensor", SENSOR_FAMILY, localName()));
    QSignalSpy unregistered(handler(), &SystemDocumentHandler::systemViewBaseInstanceUnregistered);
    bool wasAlive = false;
    const auto connection = connect(handler(), &SystemDocumentHandler::systemViewBaseInstanceUnregistered, this,
        [&](SystemViewBaseInstance* instance) { wasAlive = sensor == instance && instance->name() == "Sensor"; });
    handler()->deleteInstance(sensor);
    disconnect(connection);
    QVERIFY(wasAlive);
    QCOMPARE(unregistered.count(), 1);
    QVERIFY(currentView()->getAllInstances().isEmpty());
    QCOMPARE(handler()->currentSystemDocument()->unplacedAgents().size(), 1);
    handler()->deleteInstance(sensor); // once more does nothing
    QCOMPARE(unregistered.count(), 1);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(!sensor);
}

void TestSystemViewClassInstance::aRenamedInstanceTakesTheAgentsOfItsNewName()
{
    SystemViewClassInstance* sensor = createInstance(SENSOR_FAMILY, "Sensor");
    entered(agent("a1", "Thermometer", SENSOR_FAMILY, localName()));
    QVERIFY(!sensor->isRunning());
    sensor->setname("Thermometer");
    QVERIFY(sensor->isRunning());
    QVERIFY(handler()->currentSystemDocument()->unplacedAgents().isEmpty());
    sensor->setname("Sensor");
    QVERIFY(!sensor->isRunning());
    QCOMPARE(handler()->currentSystemDocument()->unplacedAgents().size(), 1);
}

QTEST_GUILESS_MAIN(TestSystemViewClassInstance)
#include "tst_systemviewclassinstance.moc"
