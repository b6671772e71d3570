// SPDX-License-Identifier: Apache-2.0
//
// What the framework asks of launchers and makes of their answers; the launcher is a process that plays one.
#include "encounteredagentinfo.h"
#include "encounteredagentsonhost.h"
#include "frameworkfixture.h"
#include "launchers.h"
#include "peer.h"
#include "runningagentinfo.h"
#include "systemviewmanager.h"

#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <quenary.h>
#include <quenary_launcher.h>

using namespace FrameworkFixture;

class TestLaunchers : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
    void aMachineHasALauncherWhileOneRunsThere();
    void aLaunchLineReachesTheLauncherAsAList();
    void withoutALauncherItIsSaidWhatToDo();
    void whatALauncherOffersCanBeAdded();
    void offersThatAreNoneAreLeftOut();
    void whatBecameOfALaunchIsToldOnce_data();
    void whatBecameOfALaunchIsToldOnce();
    void aLaunchOfAnotherDocumentIsNotTold();
    void answersOfStrangersAreNotHeard();
    void aLauncherSpeaksOfItsOwnMachineAlone();
    void aLauncherRefusesNoMoreThanItWasAsked();
    void machinesThatPassByAreForgotten();
    void anAgentThatDoesNotAnswerIsEndedByItsLaunchOrItsProcess();
    void aStandInOfALauncherStartsNothing();
    void theLauncherThatCameLastIsAsked();
    void aLineThatAStrangerBroughtIsNotGivenToAMachinesLauncher();
    void aLineOfTheLaunchersOwnAgentIsGivenToIt();
    void onASecuredNetworkAMachinesLauncherKeepsItsCertificate();

private:
    SystemDocument* _document() const { return handler()->currentSystemDocument(); }
    void _createLine();
    /// The launcher of machine two, which was asked to start the line.
    std::unique_ptr<Peer> _askedLauncher();
    static QStringList _launcherOf(const QString& machine)
    {
        return { "--name", "L", "--launcher", "--host", machine };
    }
    /// Joins a secured network with the certificate "host"; there are "machine" and "insider", too.
    void _secure();
    void _leaveSecured();
    QStringList _with(const char* name, const QStringList& options) const
    {
        return options + QStringList { "--certificate", _keys.filePath(name) + QStringLiteral(".cert_secret") };
    }
    void _write(Peer& peer, const QString& line) const { peer.process().write(line.toUtf8() + '\n'); }

    SystemViewClassInstance* _sensor = nullptr;
    EncounteredAgentInfo* _line = nullptr;
    const QTemporaryDir _keys; // a machine's launcher keeps its certificate as long as this program runs
};

void TestLaunchers::initTestCase()
{
    qRegisterMetaType<EncounteredAgentInfo*>();
    for (const char* name : { "host", "machine", "insider" }) {
        QCOMPARE(qny_certificate_make(_keys.path().toUtf8().constData(), name, nullptr, nullptr), QNY_SUCCESS);
    }
    NetworkConfiguration::instance()->setdevice("lo");
    NetworkConfiguration::instance()->setport(20000 + static_cast<int>(QRandomGenerator::global()->bounded(40000)));
}

void TestLaunchers::init()
{
    beStrict();
    handler()->newDocument();
    QVERIFY(NetworkConfiguration::instance()->connectToNetwork());
    _createLine();
}

void TestLaunchers::cleanup()
{
    handler()->closeDocument();
    QTRY_VERIFY_WITH_TIMEOUT(NetworkAgents::instance()->agents().isEmpty(), 2 * QNY_PRESENCE_BOUND_MS);
}

void TestLaunchers::_createLine()
{
    _sensor = createInstance(SENSOR_FAMILY, "Sensor");
    _line = _sensor->getOrCreateEncounteredAgentInfo(
        _sensor->getOrCreateEncounteredAgentsOnHost(_document()->getOrCreateHost("machine two")),
        "/opt/sensor --name \"Sensor\" --text \"two words\" \"$HOME;\"");
}

void TestLaunchers::_secure()
{
    auto* const network = NetworkConfiguration::instance();
    network->disconnectFromNetwork();
    network->setprivateCertificate(_keys.filePath("host.cert_secret"));
    network->setpublicCertificates(_keys.path());
    QVERIFY(network->connectToNetwork());
}

void TestLaunchers::_leaveSecured()
{
    auto* const network = NetworkConfiguration::instance();
    network->disconnectFromNetwork();
    network->setprivateCertificate({});
    network->setpublicCertificates({});
}

std::unique_ptr<Peer> TestLaunchers::_askedLauncher()
{
    auto launcher = std::make_unique<Peer>(QStringList { "--name", "Launcher", "--launcher", "--host", "machine two" });
    if (!launcher->isReady() || !QTest::qWaitFor([this] { return _line->canBeLaunched(); })) {
        return nullptr;
    }
    Q_EMIT handler()->startAgentRequested(_line);
    return launcher->waitForLine("call") ? std::move(launcher) : nullptr;
}

void TestLaunchers::aMachineHasALauncherWhileOneRunsThere()
{
    Host* const host = _line->group()->host();
    QVERIFY(!host->hasLauncher() && !_line->canBeLaunched());
    {
        Peer launcher({ "--name", "Launcher", "--launcher", "--host", "machine two" });
        QVERIFY(launcher.isReady());
        QTRY_VERIFY(host->hasLauncher());
        QVERIFY(_line->canBeLaunched());
        QVERIFY(_document()->unplacedAgents().isEmpty()); // a launcher is nothing to place
    }
    QTRY_VERIFY(!host->hasLauncher());
    QVERIFY(!_line->canBeLaunched());
}

void TestLaunchers::aLaunchLineReachesTheLauncherAsAList()
{
    const std::unique_ptr<Peer> launcher = _askedLauncher();
    QVERIFY(launcher);
    const QString call = QStringLiteral("call [%1] [/opt/sensor] [--name] [Sensor] [--text] [two words] [$HOME;]");
    QCOMPARE(launcher->lastLine, call.arg(_line->uuid()));
    QVERIFY(SystemViewManager::instance()->startAgent(_line));
    QVERIFY(launcher->waitForLine("call"));
    QCOMPARE(launcher->lastLine, call.arg(_line->uuid()));
}

void TestLaunchers::withoutALauncherItIsSaidWhatToDo()
{
    const QRegularExpression expected(
        "Nothing starts agents on machine two: start qnyLauncher on that machine, on this network\\.");
    QTest::ignoreMessage(QtWarningMsg, expected);
    QVERIFY(!SystemViewManager::instance()->startAgent(_line));
    QTest::ignoreMessage(QtWarningMsg, expected);
    Q_EMIT handler()->startAgentRequested(_line);
    QTest::ignoreMessage(QtWarningMsg, expected);
    QVERIFY(!SystemViewManager::instance()->endAgent(nullptr, _line));
    QVERIFY(expected.match(SystemViewManager::instance()->problem()).hasMatch());
}

void TestLaunchers::whatALauncherOffersCanBeAdded()
{
    QSignalSpy changed(_document(), &SystemDocument::launchOffersChanged);
    QVERIFY(_document()->launchOffers().isEmpty());
    {
        Peer launcher({ "--name", "Launcher", "--launcher", "--host", "machine two" });
        QVERIFY(launcher.isReady());
        const QString recorder = ReservedAgentAndToolFamilies::RECORDER_CLASS_UUID;
        _write(launcher,
            QStringLiteral("offer [{\"program\":\"/opt/rr/qnyRecorder\",\"family\":\"%1\"},"
                           "{\"program\":\"/opt/camera\",\"family\":\"0b5bd3a6-3f7a-4a11-8f57-5a5b2f6f00ff\"}]")
                .arg(recorder));
        QTRY_COMPARE(_document()->launchOffers().size(), 2);
        QVERIFY(!changed.isEmpty());
        const QVariantMap offer = _document()->launchOffers().at(0).toMap();
        QCOMPARE(offer["hostName"], "machine two");
        QCOMPARE(offer["className"], "Recorder");
        QCOMPARE(_document()->launchOffers().at(1).toMap()["className"], "camera");

        // When it is added
        const auto* added = qobject_cast<SystemViewClassInstance*>(handler()->createInstanceOnHost(
            offer["familyUuid"].toString(), offer["hostName"].toString(), offer["program"].toString()));
        QVERIFY(added);
        QCOMPARE(added->name(), "Recorder");
        // Then it has one launch line, on that machine
        QCOMPARE(added->encounteredAgentsOnHosts().size(), 1);
        const EncounteredAgentsOnHost* group = added->encounteredAgentsOnHosts().at(0);
        QCOMPARE(group->host()->networkName(), "machine two");
        QVERIFY(!group->isAttachedToCorvane());
        QCOMPARE(group->encounteredAgentInfos().at(0)->splitCommandLine().parts(),
            QStringList({ "/opt/rr/qnyRecorder", "--name", "Recorder", "--cassandra", "embedded:9042" }));
        QVERIFY(group->encounteredAgentInfos().at(0)->canBeLaunched());
        const auto* second = qobject_cast<SystemViewClassInstance*>(
            handler()->createInstanceOnHost("0b5bd3a6-3f7a-4a11-8f57-5a5b2f6f00ff", "machine two", "/opt/camera"));
        QCOMPARE(second->encounteredAgentsOnHosts().at(0)->encounteredAgentInfos().at(0)->splitCommandLine().parts(),
            QStringList({ "/opt/camera", "--name", "camera" }));
    }
    QTRY_VERIFY(_document()->launchOffers().isEmpty());
}

void TestLaunchers::offersThatAreNoneAreLeftOut()
{
    Peer launcher({ "--name", "Launcher", "--launcher", "--host", "machine two" });
    QVERIFY(launcher.isReady());
    for (const char* nonsense : { "7", "{\"program\":\"x\"}", "[{]", "[3,{\"program\":7,\"family\":\"x\"},[]]" }) {
        _write(launcher, QStringLiteral("offer ") + QLatin1String(nonsense));
    }
    _write(launcher, "offer [{\"program\":\"/opt/a\",\"family\":\"\"},{\"program\":\"/opt/b\",\"family\":\"f\"}]");
    QTRY_COMPARE(_document()->launchOffers().size(), 1);
    QCOMPARE(_document()->launchOffers().at(0).toMap()["program"], "/opt/b");
}

void TestLaunchers::whatBecameOfALaunchIsToldOnce_data()
{
    QTest::addColumn<QString>("answer");
    QTest::addColumn<QString>("told"); // empty: nothing
    QTest::addColumn<bool>("canBeEnded");
    QTest::newRow("started") << "started 4711 /opt/sensor" << "" << false;
    QTest::newRow("ended well") << "exited 0 /opt/sensor|bye" << "" << false;
    QTest::newRow("stopped as asked") << "stopped 15 /opt/sensor" << "" << false;
    QTest::newRow("a state of another time") << "teleported 0 /opt/sensor" << "" << false;
    QTest::newRow("refused") << "refused 0 It is not listed."
                             << "\"Sensor\" was not started on machine two: It is not listed." << false;
    QTest::newRow("failed")
        << "failed 8 /opt/sensor could not be started: Exec format error."
        << "\"Sensor\" was not started on machine two: /opt/sensor could not be started: Exec format "
           "error."
        << false;
    QTest::newRow("running already") << "running 4711 /opt/sensor"
                                     << "\"Sensor\" runs on machine two already, as process 4711, but does not answer. "
                                        "End it there, then connect it "
                                        "again."
                                     << true;
    QTest::newRow("ended with an error")
        << "exited 3 /opt/sensor|one|two|three|four|five|no such device: /dev/tty7"
        << "\"Sensor\" ended on machine two with status 3. It said last:\ntwo\nthree\nfour\n"
           "five\nno such device: /dev/tty7"
        << false;
    QTest::newRow("ended with an error in silence")
        << "exited 1 /opt/sensor" << "\"Sensor\" ended on machine two with status 1." << false;
    QTest::newRow("crashed") << "signalled 11 /opt/sensor"
                             << "\"Sensor\" was ended on machine two by the signal SIGSEGV." << false;
    QTest::newRow("an unknown signal") << "signalled 99 /opt/sensor"
                                       << "\"Sensor\" was ended on machine two by the signal 99." << false;
    QTest::newRow("lost")
        << "lost 0 /opt/sensor"
        << "\"Sensor\" ended on machine two; how is not known, because the process that watched it was "
           "ended too."
        << false;
}

void TestLaunchers::whatBecameOfALaunchIsToldOnce()
{
    QFETCH(QString, answer);
    QFETCH(QString, told);
    QFETCH(bool, canBeEnded);
    const std::unique_ptr<Peer> launcher = _askedLauncher();
    QVERIFY(launcher);
    QSignalSpy failed(_sensor, &SystemViewClassInstance::launchFailed);
    QSignalSpy raised(SystemViewManager::instance(), &SystemViewManager::problemRaised);
    QSignalSpy stopped(_sensor, &SystemViewClassInstance::launchStopped);
    _write(*launcher, "answer " + _line->uuid() + ' ' + answer);
    _write(*launcher, "answer " + _line->uuid() + " refused 0 the last word"); // answers keep their order
    QTRY_VERIFY(!failed.isEmpty() && failed.last().at(1).toString().endsWith("the last word"));
    QCOMPARE(failed.size(), told.isEmpty() ? 1 : 2);
    QCOMPARE(raised.size(), failed.size());
    QCOMPARE(stopped.size(), answer.startsWith("stopped") ? 1 : 0);
    if (!told.isEmpty()) {
        QCOMPARE(failed.at(0).at(0).value<EncounteredAgentInfo*>(), _line);
        QCOMPARE(failed.at(0).at(1).toString(), told);
        QCOMPARE(failed.at(0).at(2).toBool(), canBeEnded);
        QCOMPARE(raised.at(0).at(0).toString(), told);
    }
}

void TestLaunchers::aLaunchOfAnotherDocumentIsNotTold()
{
    const std::unique_ptr<Peer> launcher = _askedLauncher();
    QVERIFY(launcher);
    const QString uuid = _line->uuid();
    handler()->newDocument();
    _createLine();
    QSignalSpy raised(SystemViewManager::instance(), &SystemViewManager::problemRaised);
    _write(*launcher, "answer " + uuid + " exited 3 /opt/sensor");
    _write(*launcher, "answer - refused 0 Process 1 was not started.");
    QTRY_COMPARE(raised.size(), 1);
    QCOMPARE(raised.at(0).at(0).toString(), "The launcher of machine two refused: Process 1 was not started.");
}

void TestLaunchers::answersOfStrangersAreNotHeard()
{
    // Given a process that speaks like a launcher, and shows itself as something else
    const std::unique_ptr<Peer> launcher = _askedLauncher();
    QVERIFY(launcher);
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("An answer of launcher .* is malformed and was dropped"));
    QSignalSpy raised(SystemViewManager::instance(), &SystemViewManager::problemRaised);
    _write(*launcher, "answer " + _line->uuid() + " malformed 3 x");
    _write(*launcher, "answer " + _line->uuid() + " exited 3 /opt/sensor");
    QTRY_COMPARE(raised.size(), 1);

    Peer stranger({ "--name", "Stranger", "--launcher", "--as", SENSOR_FAMILY });
    QVERIFY(stranger.isReady());
    QTRY_COMPARE(_document()->unplacedAgents().size(), 1);
    const QString strangerUuid = _document()->unplacedAgents().at(0)->agentUuid();
    QCOMPARE(Launchers::askToEnd(strangerUuid, _line, 0), QString());
    QVERIFY(stranger.waitForLine("end"));
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("which is no launcher"));
    _write(stranger, "answer " + _line->uuid() + " exited 3 /opt/sensor");
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("is malformed"));
    _write(stranger, "answer " + _line->uuid() + " malformed 3 x");
    // When it has left, its last words have been heard
    stranger.process().closeWriteChannel();
    QTRY_VERIFY(_document()->unplacedAgents().isEmpty());
    QCOMPARE(raised.size(), 1);
}

void TestLaunchers::aLauncherSpeaksOfItsOwnMachineAlone()
{
    const std::unique_ptr<Peer> launcher = _askedLauncher();
    QVERIFY(launcher);
    Peer other(_launcherOf("machine three"));
    QVERIFY(other.isReady());
    Host* const three = _document()->getOrCreateHost("machine three");
    QTRY_VERIFY(three->hasLauncher());
    QSignalSpy raised(SystemViewManager::instance(), &SystemViewManager::problemRaised);
    QSignalSpy stopped(_sensor, &SystemViewClassInstance::launchStopped);
    QCOMPARE(Launchers::askToEnd(three->launcherUuid(), _line, 0), QString()); // so that it knows whom to tell
    QVERIFY(other.waitForLine("end"));
    for (const char* const said : { " stopped 0 x", " exited 3 /opt/sensor" }) {
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("which is no launcher of that machine"));
        _write(other, "answer " + _line->uuid() + said);
    }
    _write(other, "answer - refused 0 the last word");
    QTRY_COMPARE(raised.size(), 1);
    QVERIFY(raised.at(0).at(0).toString().contains("machine three"));
    QVERIFY(stopped.isEmpty());
}

void TestLaunchers::aLauncherRefusesNoMoreThanItWasAsked()
{
    const std::unique_ptr<Peer> launcher = _askedLauncher();
    QVERIFY(launcher);
    QVERIFY(SystemViewManager::instance()->endAgent(nullptr, _line));
    QVERIFY(launcher->waitForLine("end"));
    QSignalSpy raised(SystemViewManager::instance(), &SystemViewManager::problemRaised);
    for (int i = 0; i < 50; ++i) {
        _write(*launcher, QStringLiteral("answer - refused 0 Word %1.").arg(i));
    }
    _write(*launcher, "answer " + _line->uuid() + " refused 0 the last word"); // answers keep their order
    QTRY_VERIFY(!raised.isEmpty() && raised.last().at(0).toString().endsWith("the last word"));
    QCOMPARE(raised.size(), 3);
}

void TestLaunchers::machinesThatPassByAreForgotten()
{
    const auto agentOn = [](int machine) {
        NetworkAgent agent;
        agent.uuid = QUuid::createUuid().toString(QUuid::WithoutBraces);
        agent.name = QStringLiteral("Passer-by");
        agent.hostName = QStringLiteral("machine-%1").arg(machine);
        return agent;
    };
    const NetworkAgent first = agentOn(0);
    Q_EMIT NetworkAgents::instance()->agentEntered(first);
    for (int machine = 1; machine <= 200; ++machine) {
        const NetworkAgent agent = agentOn(machine);
        Q_EMIT NetworkAgents::instance()->agentEntered(agent);
        Q_EMIT NetworkAgents::instance()->agentExited(agent);
    }
    QStringList names;
    for (const Host* host : _document()->hosts()) {
        names.append(host->networkName());
    }
    QVERIFY2(names.size() < 50, qPrintable(names.join(u' ')));
    // Those on which something runs or is to run stay, and the latest of the others.
    for (const char* const kept : { "machine-0", "machine two", "machine-200" }) {
        QVERIFY2(names.contains(QLatin1String(kept)), kept);
    }
    QVERIFY(!names.contains("machine-1"));
    Q_EMIT NetworkAgents::instance()->agentExited(first);
}

void TestLaunchers::anAgentThatDoesNotAnswerIsEndedByItsLaunchOrItsProcess()
{
    const std::unique_ptr<Peer> launcher = _askedLauncher();
    QVERIFY(launcher);
    QVERIFY(SystemViewManager::instance()->endAgent(nullptr, _line));
    QVERIFY(launcher->waitForLine("end"));
    QCOMPARE(launcher->lastLine, QStringLiteral("end [%1]").arg(_line->uuid()));

    Peer sensor({ "--name", "Sensor", "--family", SENSOR_FAMILY, "--host", "machine two" });
    QVERIFY(sensor.isReady());
    QTRY_VERIFY(_sensor->isRunning());
    QVERIFY(SystemViewManager::instance()->endAgent(_sensor->runningAgentInfos().at(0), _line));
    QVERIFY(launcher->waitForLine("end"));
    QCOMPARE(launcher->lastLine, QStringLiteral("end [%1]").arg(sensor.process().processId()));
}

void TestLaunchers::aStandInOfALauncherStartsNothing()
{
    NetworkAgent replayed
        = agent("replayed", "Launcher", ReservedAgentAndToolFamilies::LAUNCHER_CLASS_UUID, "machine two");
    replayed.standIn = true;
    QVERIFY(!Launchers::isLauncher(replayed));
    entered(replayed);
    QVERIFY(!_line->group()->host()->hasLauncher());
    exited(replayed);
}

void TestLaunchers::theLauncherThatCameLastIsAsked()
{
    const auto first = std::make_unique<Peer>(_launcherOf("machine two"));
    QVERIFY(first->isReady());
    QTRY_VERIFY(_line->canBeLaunched());
    const QString before = _line->group()->host()->launcherUuid();
    Peer second(_launcherOf("machine two"));
    QVERIFY(second.isReady());
    QTRY_VERIFY(_line->group()->host()->launcherUuid() != before);
    QVERIFY(SystemViewManager::instance()->startAgent(_line));
    QVERIFY(second.waitForLine("call"));
}

void TestLaunchers::aLineThatAStrangerBroughtIsNotGivenToAMachinesLauncher()
{
    _secure();
    // Shown before its machine has a launcher, and after.
    const QStringList program { "--host", "machine two", "--name", "Sensor", "--family", _sensor->familyUuid() };
    auto* group = _line->group();
    auto stranger = std::make_unique<Peer>(_with("insider", program));
    QVERIFY(stranger->isReady());
    QTRY_COMPARE(group->encounteredAgentInfos().size(), 2);
    EncounteredAgentInfo* brought = group->encounteredAgentInfos().last();
    stranger.reset();
    Peer launcher(_with("machine", _launcherOf("machine two")));
    QTRY_VERIFY(group->host()->hasLauncher() && !_sensor->isRunning());
    const QRegularExpression told("brought by a process with another certificate than that of machine two's launcher");
    QTest::ignoreMessage(QtWarningMsg, told);
    QVERIFY(!SystemViewManager::instance()->startAgent(brought));

    // It is still known where it came from when the document was closed, and its agent got another name
    const QJsonObject saved = brought->exportToJson();
    QCOMPARE(saved["brought_by"].toString(), brought->broughtBy());
    QVERIFY(!brought->broughtBy().isEmpty());
    const QTemporaryDir folder;
    const QString path = folder.filePath("system.json");
    QVERIFY(handler()->saveDocumentAs(path));
    QVERIFY(handler()->openDocument(path));
    _sensor = _document()->systemViews().constFirst()->getAllClassInstances().constFirst();
    group = _sensor->encounteredAgentsOnHosts().constFirst();
    _line = group->encounteredAgentInfos().constFirst();
    brought = group->encounteredAgentInfos().constLast();
    QVERIFY(group->host()->hasLauncher() && brought != _line);
    QVERIFY(SystemViewManager::instance()->updateInstanceName(_sensor, "Probe"));
    QTest::ignoreMessage(QtWarningMsg, told);
    QVERIFY(!SystemViewManager::instance()->startAgent(brought));

    // The document's own line is started, and this one when a person entered it
    QVERIFY(SystemViewManager::instance()->startAgent(_line));
    QVERIFY(launcher.waitForLine("call"));
    SystemViewManager::instance()->udapteEncounteredAgentInfoCommandLineNoUndoRedo(
        _sensor, group, brought, brought->commandLine(), false);
    QVERIFY(SystemViewManager::instance()->startAgent(brought));
    QVERIFY(launcher.waitForLine("call"));
    _leaveSecured();
}

void TestLaunchers::aLineOfTheLaunchersOwnAgentIsGivenToIt()
{
    _secure();
    auto* const group = _line->group();
    auto agent = std::make_unique<Peer>(
        _with("machine", { "--host", "machine two", "--name", "Sensor", "--family", _sensor->familyUuid() }));
    QVERIFY(agent->isReady());
    QTRY_COMPARE(group->encounteredAgentInfos().size(), 2);
    agent.reset();
    Peer launcher(_with("machine", _launcherOf("machine two")));
    QTRY_VERIFY(group->host()->hasLauncher() && !_sensor->isRunning());
    QVERIFY(SystemViewManager::instance()->startAgent(group->encounteredAgentInfos().last()));
    QVERIFY(launcher.waitForLine("call"));
    QCOMPARE(group->encounteredAgentInfos().last()->broughtBy(), QString());

    // Also when somebody else came with that very line before
    group->encounteredAgentInfos().last()->setbroughtBy("another's");
    agent = std::make_unique<Peer>(
        _with("machine", { "--host", "machine two", "--name", "Sensor", "--family", _sensor->familyUuid() }));
    QVERIFY(agent->isReady());
    QTRY_VERIFY(_sensor->isRunning());
    QCOMPARE(group->encounteredAgentInfos().size(), 2);
    QCOMPARE(group->encounteredAgentInfos().last()->broughtBy(), QString());
    _leaveSecured();
}

void TestLaunchers::onASecuredNetworkAMachinesLauncherKeepsItsCertificate()
{
    _secure();
    Host* const host = _line->group()->host();
    auto launcher = std::make_unique<Peer>(_with("machine", _launcherOf("machine two")));
    QVERIFY(launcher->isReady());
    QTRY_VERIFY(host->hasLauncher());
    const QString uuid = host->launcherUuid();

    // Given another who is let in and takes the machine's name: its own launcher stays, and the user is told
    QSignalSpy raised(SystemViewManager::instance(), &SystemViewManager::problemRaised);
    const QRegularExpression told(
        "^The certificate insider \\(.{8}…\\) shows a launcher of machine two, whose launcher "
        "came with the certificate machine \\(.{8}…\\)\\. It is neither asked nor heard\\.");
    QTest::ignoreMessage(QtWarningMsg, told);
    auto insider = std::make_unique<Peer>(_with("insider", _launcherOf("machine two")));
    QVERIFY(insider->isReady());
    QTRY_COMPARE(raised.count(), 1);
    QVERIFY(told.match(raised.first().first().toString()).hasMatch());
    QCOMPARE(host->launcherUuid(), uuid);
    _write(*insider, "offer [{\"program\":\"/opt/trap\",\"family\":\"f\"}]");
    _write(*launcher, "offer [{\"program\":\"/opt/camera\",\"family\":\"f\"}]");
    QTRY_COMPARE(_document()->launchOffers().size(), 1);
    QCOMPARE(_document()->launchOffers().at(0).toMap()["program"], "/opt/camera");

    // It gets the place not even when that is empty, tells nothing of launches, and what it said is said once
    launcher.reset();
    QTRY_VERIFY(!host->hasLauncher());
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("Nothing starts agents on machine two"));
    QVERIFY(!SystemViewManager::instance()->startAgent(_line));
    QCOMPARE(raised.count(), 2);
    const auto strangers = [] {
        QStringList uuids;
        for (const NetworkAgent& agent : NetworkAgents::instance()->agents()) {
            uuids.append(agent.uuid);
        }
        return uuids;
    };
    QCOMPARE(strangers().size(), 1);
    QCOMPARE(Launchers::askToEnd(strangers().first(), _line, 0), QString()); // so that it knows whom to tell
    QVERIFY(insider->waitForLine("end"));
    _write(*insider, "answer " + _line->uuid() + " exited 3 /opt/sensor");
    insider.reset(); // its last words have been heard when it has left
    QTRY_VERIFY(strangers().isEmpty());
    QCOMPARE(raised.count(), 2);

    // The machine's own comes back to it, and each may stand for another machine
    launcher = std::make_unique<Peer>(_with("machine", _launcherOf("machine two")));
    insider = std::make_unique<Peer>(_with("insider", _launcherOf("machine three")));
    QTRY_VERIFY(host->hasLauncher() && _document()->getOrCreateHost("machine three")->hasLauncher());
    QVERIFY(SystemViewManager::instance()->startAgent(_line));
    QVERIFY(launcher->waitForLine("call"));

    // A document that is opened later knows it, too
    handler()->newDocument();
    QVERIFY(_document()->getOrCreateHost("machine two")->hasLauncher());
    _leaveSecured();
}

QTEST_GUILESS_MAIN(TestLaunchers)
#include "tst_launchers.moc"
