// SPDX-License-Identifier: Apache-2.0
#include "modulefixture.h"

#include <systemdocument.h>
#include <systemdocumenthandler.h>
#include <systemviewmanager.h>

#include <QtTest/QSignalSpy>

namespace {

/// One more launch line of the class instance on this machine.
EncounteredAgentInfo* addLine(SystemViewClassInstance* classInstance, const QStringList& arguments)
{
    return classInstance->getOrCreateEncounteredAgentInfo(
        classInstance->getOrCreateEncounteredAgentsOnHostAttachedToCorvane(), ModuleFixture::commandLine(arguments));
}

QStringList withPassword(const QString& password)
{
    return { "--name", "Rec", "--cassandra", "db:9042", "--cassandra_username", "me", "--cassandra_password",
        password };
}

/// The recorder with that password enters; the network does not show it.
void runWithPassword(RecorderInstance* instance, const QString& agentUuid)
{
    QuenaryDouble::Agent agent = ModuleFixture::agentOf(instance, agentUuid);
    agent.arguments = withPassword(SplitCommandLine::MASKED_VALUE);
    ModuleFixture::enter(agent);
}

} // namespace

/// Launch lines that are the same, that look the same, and that stand on several machines.
class tst_RecorderLaunchLines : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aRecorderThatCanNotBeLinkedIsToldToTheUserAndIsLinkedWhenItComesAgain();
    void anAgentWithAHiddenPasswordIsLinkedWithTheInstanceThatTheHostTookItFor();
    void instancesWithOtherPasswordsAreKeptWhenAnAgentLeaves();
    void twoInstancesOfOneLaunchLineBecomeOneWhenTheirAgentsLeave();
    void anInstanceEditedWhileItsAgentRanIntoTheLineOfAnotherIsOneWithItWhenTheAgentLeaves();
    void instancesOfAnotherMachineKeepTheirLinesAndFiltersWhenARecorderStartsHere();
};

void tst_RecorderLaunchLines::aRecorderThatCanNotBeLinkedIsToldToTheUserAndIsLinkedWhenItComesAgain()
{
    // Given a line that was edited into that of another
    ModuleFixture fixture;
    SystemViewClassInstance* const classInstance = fixture.addRecorder("Rec");
    addLine(classInstance, { "--name", "Rec", "--cassandra", "other:9042" });
    Recorder* const recorder = fixture.recorderOf(classInstance);
    RecorderInstance* const first = recorder->recorderInstances().first();
    recorder->recorderInstances().last()->updateCassandraEndpoint("db");

    // When a recorder starts with it, then the user is told
    QSignalSpy raised(SystemViewManager::instance(), &SystemViewManager::problemRaised);
    QTest::ignoreMessage(QtCriticalMsg, QRegularExpression("^Multiple recorder instance detected"));
    const QuenaryDouble::Agent agent = ModuleFixture::run(first);
    QCOMPARE(raised.count(), 1);
    QVERIFY(raised.first().first().toString().startsWith("The recorder 'Rec' runs but is shown as off"));

    // And what he is told to do helps
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("isn't linked to any RecorderInstance$"));
    ModuleFixture::leave(agent.uuid);
    QCOMPARE(recorder->recorderInstances(), QList<RecorderInstance*>({ first }));
    ModuleFixture::run(first);
    QVERIFY(first->isOn());
    QCOMPARE(raised.count(), 1);
}

void tst_RecorderLaunchLines::anAgentWithAHiddenPasswordIsLinkedWithTheInstanceThatTheHostTookItFor()
{
    ModuleFixture fixture;
    SystemViewClassInstance* const classInstance
        = fixture.addRecorder("Rec", ModuleFixture::commandLine(withPassword("one")));
    addLine(classInstance, withPassword("two"));
    Recorder* const recorder = fixture.recorderOf(classInstance);
    RecorderInstance* const one = recorder->recorderInstances().first();
    RecorderInstance* const two = recorder->recorderInstances().last();
    QCOMPARE_NE(one, two);
    runWithPassword(one, "agent-1");
    QVERIFY(one->isOn());
    QVERIFY(!two->isOn());
    // A second one can only be the other.
    runWithPassword(one, "agent-2");
    QCOMPARE(two->agentInstanceUuid(), "agent-2");
    QCOMPARE(recorder->recorderInstances().size(), 2);
}

void tst_RecorderLaunchLines::instancesWithOtherPasswordsAreKeptWhenAnAgentLeaves()
{
    ModuleFixture fixture;
    SystemViewClassInstance* const classInstance
        = fixture.addRecorder("Rec", ModuleFixture::commandLine(withPassword("one")));
    Recorder* const recorder = fixture.recorderOf(classInstance);
    RecorderInstance* const one = recorder->recorderInstances().first();
    runWithPassword(one, "agent-1");
    addLine(classInstance, withPassword("two"));
    EncounteredAgentInfo* const third = addLine(classInstance, { "--name", "Rec" });
    const QList<RecorderInstance*> before = recorder->recorderInstances();
    QCOMPARE(before.size(), 3);
    // The third is edited into the first: that is no other password.
    third->setcommandLine(ModuleFixture::commandLine(withPassword("one")));
    ModuleFixture::leave("agent-1");
    QCOMPARE(recorder->recorderInstances(), before.first(2));
}

void tst_RecorderLaunchLines::twoInstancesOfOneLaunchLineBecomeOneWhenTheirAgentsLeave()
{
    // Given one line that runs twice, and was edited meanwhile
    ModuleFixture fixture;
    SystemViewClassInstance* const classInstance = fixture.addRecorder("Rec");
    Recorder* const recorder = fixture.recorderOf(classInstance);
    RecorderInstance* const first = recorder->recorderInstances().first();
    const QuenaryDouble::Agent one = ModuleFixture::run(first);
    QuenaryDouble::Agent two = one;
    two.uuid = "agent-2";
    ModuleFixture::enter(two);
    QCOMPARE(recorder->recorderInstances().size(), 2);
    QCOMPARE(recorder->recorderInstances().last()->encounteredAgentInfo(), first->encounteredAgentInfo());
    first->updateIsVerbose(true);

    // When one goes, the other stays on; when both are gone, one instance is left
    ModuleFixture::leave(one.uuid);
    QCOMPARE(recorder->recorderInstances().size(), 2);
    QVERIFY(recorder->recorderInstances().last()->isOn());
    ModuleFixture::leave(two.uuid);
    QCOMPARE(recorder->recorderInstances(), QList<RecorderInstance*>({ first }));

    // Then its edited line is linked when it runs
    ModuleFixture::run(first);
    QVERIFY(first->isOn());
}

void tst_RecorderLaunchLines::anInstanceEditedWhileItsAgentRanIntoTheLineOfAnotherIsOneWithItWhenTheAgentLeaves()
{
    ModuleFixture fixture;
    SystemViewClassInstance* const classInstance = fixture.addRecorder("Rec");
    addLine(classInstance, { "--name", "Rec", "--cassandra", "other:9042" });
    Recorder* const recorder = fixture.recorderOf(classInstance);
    RecorderInstance* const first = recorder->recorderInstances().first();
    const QuenaryDouble::Agent agent = ModuleFixture::run(first);
    first->updateCassandraEndpoint("other");
    ModuleFixture::leave(agent.uuid);
    QCOMPARE(recorder->recorderInstances(), QList<RecorderInstance*>({ first }));
}

void tst_RecorderLaunchLines::instancesOfAnotherMachineKeepTheirLinesAndFiltersWhenARecorderStartsHere()
{
    // Given a class instance with two lines of another machine, one of which runs, and none of this one
    ModuleFixture fixture;
    SystemDocumentHandler* const handler = SystemDocumentHandler::instance();
    SystemView* const view = handler->currentSystemView();
    SystemViewClass* const recorderClass = fixture.addRecorder("Other")->systemViewClass();
    auto* const classInstance = new SystemViewClassInstance(QString(), recorderClass, "Rec", QPointF(), view);
    EncounteredAgentsOnHost* const group = classInstance->getOrCreateEncounteredAgentsOnHost(
        handler->currentSystemDocument()->getOrCreateHost("elsewhere"));
    const QString farLine = "/opt/recorder/qnyRecorder --name Rec --cassandra far:9042";
    classInstance->getOrCreateEncounteredAgentInfo(group, "/opt/recorder/qnyRecorder --name Rec");
    classInstance->getOrCreateEncounteredAgentInfo(group, farLine);
    QVERIFY(view->addInstance(classInstance));
    Recorder* const recorder = fixture.recorderOf(classInstance);
    RecorderInstance* const far = recorder->recorderInstances().last();
    QuenaryDouble::Agent agent = ModuleFixture::agentOf(far, "far");
    agent.hostName = "elsewhere";
    ModuleFixture::enter(agent);
    far->setrecordFilters("-tank");

    // When a recorder of that name starts here
    QuenaryDouble::Agent here = ModuleFixture::agentOf(far, "here");
    here.executable = ModuleFixture::executablePath();
    here.arguments = QStringList({ "--name", "Rec", "--cassandra", "near:9042" });
    ModuleFixture::enter(here);

    // Then it gets an instance of its own, and those of the other machine are as they were
    QCOMPARE(recorder->recorderInstances().size(), 3);
    QCOMPARE(recorder->recorderInstances().last()->agentInstanceUuid(), "here");
    QVERIFY(recorder->recorderInstances().last()->encounteredAgentsOnHost()->isAttachedToCorvane());
    QVERIFY(far->isOn());
    QCOMPARE(far->encounteredAgentsOnHost(), group);
    QCOMPARE(far->encounteredAgentInfo()->commandLine(), farLine);
    QCOMPARE(far->cassandraEndpoint(), "far:9042");
    QCOMPARE(far->recordFilters(), "-tank");
    QCOMPARE(recorder->recorderInstances().first()->encounteredAgentsOnHost(), group);
}

QTEST_MAIN(tst_RecorderLaunchLines)
#include "tst_recorderlaunchlines.moc"
