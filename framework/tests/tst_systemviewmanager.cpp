// SPDX-License-Identifier: Apache-2.0
#include "systemviewmanager.h"

#include "corvaneutils.h"
#include "encounteredagentinfo.h"
#include "encounteredagentsonhost.h"
#include "frameworkfixture.h"

#include <QFile>
#include <QProcess>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace FrameworkFixture;

namespace {

SystemViewManager* manager()
{
    return SystemViewManager::instance();
}

EncounteredAgentInfo* localInfo(SystemViewClassInstance* instance)
{
    return instance->encounteredAgentsOnHostAttachedToCorvane()->encounteredAgentInfos().at(0);
}

} // namespace

class TestSystemViewManager : public QObject
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

    void placesAreInsideTheViewport();
    void aRecorderIsRenamedInItsLaunchLinesToo();
    void anotherAgentIsRenamedOnlyWhereItsLineNamesIt();
    void aNameIsCleaned();
    void aRenameIsRefused_data();
    void aRenameIsRefused();
    void aReplayedInstanceMayBeRenamed();
    void aLaunchLineIsStored();
    void aLaunchLineMayBringTheName();
    void whatIsNoLaunchLineIsNotStored();
    void aLocalAgentIsStarted();
    void aStartIsRefused_data();
    void aStartIsRefused();
};

void TestSystemViewManager::placesAreInsideTheViewport()
{
    currentView()->setviewport({ -100, 50, 200, 80 });
    for (int i = 0; i < 200; ++i) {
        QVERIFY(currentView()->viewport().contains(manager()->randomInitialPositionInViewport()));
    }
    QVERIFY(manager()->randomInitialPositionInViewport(currentView())
        != manager()->randomInitialPositionInViewport(currentView()));
    handler()->closeDocument();
    QVERIFY(QRectF(0, 0, 960, 640).contains(manager()->randomInitialPositionInViewport()));
}

void TestSystemViewManager::aRecorderIsRenamedInItsLaunchLinesToo()
{
    SystemViewClassInstance* recorder = createRecorder();
    EncounteredAgentsOnHost* remote
        = recorder->getOrCreateEncounteredAgentsOnHost(handler()->currentSystemDocument()->getOrCreateHost("plant-3"));
    EncounteredAgentInfo* shortForm
        = recorder->getOrCreateEncounteredAgentInfo(remote, "/opt/qnyRecorder -n Recorder -v");
    EncounteredAgentInfo* nameless = recorder->getOrCreateEncounteredAgentInfo(remote, "/opt/qnyRecorder -v");
    QStringList linesAtChange;
    connect(recorder, &SystemViewBaseInstance::nameChanged, this,
        [&] { linesAtChange = QProcess::splitCommand(localInfo(recorder)->commandLine()); });

    QVERIFY(manager()->updateInstanceName(recorder, "My \"own\" recorder"));

    QCOMPARE(recorder->name(), QString("My _own_ recorder"));
    QVERIFY(linesAtChange.contains("My _own_ recorder")); // the lines are right when the name is heard of
    QCOMPARE(shortForm->commandLine(), QString("/opt/qnyRecorder --name \"My _own_ recorder\" -v"));
    QCOMPARE(nameless->commandLine(), QString("/opt/qnyRecorder -v --name \"My _own_ recorder\""));
    QVERIFY(manager()->problem().isEmpty());
}

void TestSystemViewManager::anotherAgentIsRenamedOnlyWhereItsLineNamesIt()
{
    SystemViewClassInstance* sensor = createInstance(SENSOR_FAMILY, "Sensor");
    EncounteredAgentsOnHost* group = sensor->getOrCreateEncounteredAgentsOnHostAttachedToCorvane();
    const EncounteredAgentInfo* named = sensor->getOrCreateEncounteredAgentInfo(group, "/opt/s --name=Sensor -n 5");
    const EncounteredAgentInfo* nameless = sensor->getOrCreateEncounteredAgentInfo(group, "/opt/s -n 5");
    // Of recorders "-a" takes a value.
    const EncounteredAgentInfo* flagFirst = sensor->getOrCreateEncounteredAgentInfo(group, "/opt/s -a --name Sensor");
    QVERIFY(manager()->updateInstanceName(sensor, "Probe"));
    QCOMPARE(named->commandLine(), QString("/opt/s --name Probe -n 5"));
    QCOMPARE(flagFirst->commandLine(), QString("/opt/s -a --name Probe"));
    QCOMPARE(nameless->commandLine(), QString("/opt/s -n 5"));
}

void TestSystemViewManager::aNameIsCleaned()
{
    SystemViewClassInstance* recorder = createRecorder();
    QSignalSpy changed(recorder, &SystemViewBaseInstance::nameChanged);
    QVERIFY(manager()->updateInstanceName(recorder, " Recorder ")); // its own name, once cleaned
    QCOMPARE(changed.count(), 0);
    QVERIFY(manager()->updateInstanceName(recorder, " A#B "));
    QCOMPARE(recorder->name(), QString("A_B"));
}

void TestSystemViewManager::aRenameIsRefused_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("isRunning");
    QTest::addColumn<QString>("said");
    QTest::newRow("while it runs") << "Other" << true << "running";
    QTest::newRow("taken") << "Sensor" << false << "already used";
    QTest::newRow("taken once cleaned") << " Sensor " << false << "already used";
    QTest::newRow("blank") << "  " << false << "visible character";
}

void TestSystemViewManager::aRenameIsRefused()
{
    QFETCH(QString, name);
    QFETCH(bool, isRunning);
    QFETCH(QString, said);
    SystemViewClassInstance* recorder = createRecorder();
    createInstance(SENSOR_FAMILY, "Sensor");
    if (isRunning) {
        entered(agent("r1", "Recorder", ReservedAgentAndToolFamilies::RECORDER_CLASS_UUID, "plant-3"));
    }
    const QString line = localInfo(recorder)->commandLine();
    QSignalSpy raised(manager(), &SystemViewManager::problemRaised);

    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(said));
    QVERIFY(!manager()->updateInstanceName(recorder, name));

    QCOMPARE(recorder->name(), QString("Recorder"));
    QCOMPARE(localInfo(recorder)->commandLine(), line);
    QVERIFY2(manager()->problem().contains(said), qUtf8Printable(manager()->problem()));
    QCOMPARE(raised.count(), 1);
    QCOMPARE(raised.at(0).at(0).toString(), manager()->problem());
}

void TestSystemViewManager::aReplayedInstanceMayBeRenamed()
{
    SystemViewClassInstance* sensor = createInstance(SENSOR_FAMILY, "Sensor");
    NetworkAgent standIn = agent("s1", "Sensor", SENSOR_FAMILY, localName());
    standIn.standIn = true;
    entered(standIn);
    QVERIFY(manager()->updateInstanceName(sensor, "Probe"));
}

void TestSystemViewManager::aLaunchLineIsStored()
{
    SystemViewClassInstance* recorder = createRecorder();
    EncounteredAgentInfo* info = localInfo(recorder);
    QSignalSpy changed(info, &EncounteredAgentInfo::commandLineChanged);
    manager()->udapteEncounteredAgentInfoCommandLineNoUndoRedo(
        recorder, info->group(), info, "/x/rec --name Other -v", false);
    QCOMPARE(info->commandLine(), QString("/x/rec --name Other -v"));
    QCOMPARE(recorder->name(), QString("Recorder"));
    QCOMPARE(changed.count(), 1);
    QVERIFY(handler()->currentSystemDocument()->isModified());
    manager()->udapteEncounteredAgentInfoCommandLineNoUndoRedo(
        recorder, info->group(), info, "/x/rec --name Other -v", false);
    QCOMPARE(changed.count(), 1);
}

void TestSystemViewManager::aLaunchLineMayBringTheName()
{
    SystemViewClassInstance* recorder = createRecorder();
    SystemViewClassInstance* second = createRecorder();
    EncounteredAgentInfo* info = localInfo(recorder);
    manager()->udapteEncounteredAgentInfoCommandLineNoUndoRedo(recorder, info->group(), info, "/x/rec -n Other", true);
    QCOMPARE(recorder->name(), QString("Other"));
    QCOMPARE(info->commandLine(), QString("/x/rec -n Other"));
    // A taken name takes the line with it
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("already used"));
    manager()->udapteEncounteredAgentInfoCommandLineNoUndoRedo(
        recorder, info->group(), info, "/y/rec --name \"Recorder 2\"", true);
    QCOMPARE(recorder->name(), QString("Other"));
    QCOMPARE(info->commandLine(), QString("/x/rec -n Other"));
    QCOMPARE(second->name(), QString("Recorder 2"));
}

void TestSystemViewManager::whatIsNoLaunchLineIsNotStored()
{
    SystemViewClassInstance* recorder = createRecorder();
    SystemViewClassInstance* second = createRecorder();
    EncounteredAgentInfo* info = localInfo(recorder);
    const QString line = info->commandLine();
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("must name a program"));
    manager()->udapteEncounteredAgentInfoCommandLineNoUndoRedo(recorder, info->group(), info, "  ", false);
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("not one of the machine"));
    manager()->udapteEncounteredAgentInfoCommandLineNoUndoRedo(
        recorder, second->encounteredAgentsOnHostAttachedToCorvane(), info, "/x", false);
    QCOMPARE(info->commandLine(), line);
}

void TestSystemViewManager::aLocalAgentIsStarted()
{
    // Given a launch line that makes a file
    QTemporaryDir folder;
    const QString path = folder.filePath("made by the agent");
    SystemViewClassInstance* sensor = createInstance(SENSOR_FAMILY, "Sensor");
    EncounteredAgentsOnHost* group = sensor->getOrCreateEncounteredAgentsOnHostAttachedToCorvane();
    EncounteredAgentInfo* info
        = sensor->getOrCreateEncounteredAgentInfo(group, CorvaneUtils::joinCommand("touch", { path }));
    QVERIFY2(manager()->startAgent(info), qUtf8Printable(manager()->problem()));
    QTRY_VERIFY(QFile::exists(path));
}

void TestSystemViewManager::aStartIsRefused_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<bool>("isRemote");
    QTest::addColumn<QString>("said");
    QTest::newRow("program is missing") << "/nowhere/rec -v" << false << "/nowhere/rec was not found";
    QTest::newRow("masked password") << "env -a ********" << false << "hidden password";
    QTest::newRow("no launcher there") << "/opt/rec" << true << "Nothing starts agents on plant-3";
}

void TestSystemViewManager::aStartIsRefused()
{
    QFETCH(QString, line);
    QFETCH(bool, isRemote);
    QFETCH(QString, said);
    SystemViewClassInstance* sensor = createInstance(SENSOR_FAMILY, "Sensor");
    Host* host = isRemote ? handler()->currentSystemDocument()->getOrCreateHost("plant-3")
                          : handler()->currentSystemDocument()->localHost();
    EncounteredAgentInfo* info
        = sensor->getOrCreateEncounteredAgentInfo(sensor->getOrCreateEncounteredAgentsOnHost(host), line);
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QRegularExpression::escape(said)));
    QVERIFY(!manager()->startAgent(info));
    QVERIFY(manager()->problem().contains(said));
    // Asked for by a module, the same is said
    if (isRemote) {
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QRegularExpression::escape(said)));
        QSignalSpy raised(manager(), &SystemViewManager::problemRaised);
        Q_EMIT handler()->startAgentRequested(info);
        QCOMPARE(raised.count(), 1);
    }
}

QTEST_GUILESS_MAIN(TestSystemViewManager)
#include "tst_systemviewmanager.moc"
