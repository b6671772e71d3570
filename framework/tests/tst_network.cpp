// SPDX-License-Identifier: Apache-2.0
//
// The framework on a real network: agents in processes of their own, on the loopback device.
#include "corvaneutils.h"
#include "encounteredagentinfo.h"
#include "encounteredagentsonhost.h"
#include "frameworkfixture.h"
#include "peer.h"
#include "runningagentinfo.h"
#include "systemviewmanager.h"

#include <abstractzqcustomitemlistmodel.h>

#include <QAbstractItemModelTester>
#include <QDir>
#include <QFileInfo>
#include <QJsonDocument>
#include <QProcess>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

#include <functional>
#include <optional>

#include <quenary.h>

using namespace FrameworkFixture;

namespace {

NetworkConfiguration* network()
{
    return NetworkConfiguration::instance();
}

} // namespace

class TestNetwork : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init()
    {
        beStrict();
        handler()->newDocument();
        QVERIFY2(network()->connectToNetwork(), qUtf8Printable(network()->errorText()));
    }
    void cleanup()
    {
        handler()->closeDocument();
        QTRY_VERIFY_WITH_TIMEOUT(NetworkAgents::instance()->agents().isEmpty(), 2 * QNY_PRESENCE_BOUND_MS);
    }

    void theHostJoinsUnderItsNameAndHandsItsNetworkOn();
    void certificatesAreJudgedAsTheNetworkJudgesThem();
    void aConnectionThatFailsSaysWhy();
    void aSecuredHostHandsItsSecurityOn();
    void anAgentThatComesAndGoesIsSeenByItsInstance();
    void aCrashedAgentIsSeenToGo();
    void onlyAnAgentThatLeavesByItselfHasTakenItsLeave_data();
    void onlyAnAgentThatLeavesByItselfHasTakenItsLeave();
    void aChangedDefinitionIsSeen();
    void anAgentStartedHereComesToThisNetworkAndIsStopped();
    void anAgentThatDoesNotAcceptStopsIsSaid();
    void aRunningInstanceKeepsItsName();
    void anAgentThatChangesFasterThanIsShownIsShownAsItIs();
    void agentsThatAreThereBeforeADocumentAreFound();
    void leavingTheNetworkTurnsEveryAgentOff();
};

void TestNetwork::initTestCase()
{
    qRegisterMetaType<RunningAgentInfo*>();
    network()->setdevice("lo");
    network()->setport(20000 + static_cast<int>(QRandomGenerator::global()->bounded(40000)));
}

void TestNetwork::theHostJoinsUnderItsNameAndHandsItsNetworkOn()
{
    network()->disconnectFromNetwork();
    QVERIFY(!network()->isConnected());
    QVERIFY(!qny_is_started());
    QSignalSpy connected(network(), &NetworkConfiguration::isConnectedChanged);
    QVERIFY(network()->connectToNetwork());
    QVERIFY(network()->isConnected());
    QCOMPARE(connected.count(), 1);
    QVERIFY(network()->connectToNetwork()); // again: nothing to do
    QCOMPARE(connected.count(), 1);

    char* name = qny_name();
    QCOMPARE(QString::fromUtf8(name), QString("Corvane"));
    qny_free(name);
    QCOMPARE(qgetenv("QNY_DEVICE"), QByteArray("lo"));
    QCOMPARE(qgetenv("QNY_PORT"), QByteArray::number(network()->port()));
    QVERIFY(qEnvironmentVariableIsEmpty("QNY_PEERS"));
    QVERIFY(network()->availableDevices().contains("lo"));
    QVERIFY(!localName().isEmpty());
    QVERIFY(!network()->isQuenarySecurityActivated());

    network()->setagentName(" Plant/Host ");
    QCOMPARE(network()->agentName(), QString("Plant_Host"));
    name = qny_name();
    QCOMPARE(QString::fromUtf8(name), QString("Plant_Host"));
    qny_free(name);
    network()->setagentName("Corvane");
}

void TestNetwork::aSecuredHostHandsItsSecurityOn()
{
    network()->disconnectFromNetwork();
    const QTemporaryDir directory;
    QVERIFY(directory.isValid());
    const QByteArray path = directory.path().toUtf8();
    QCOMPARE(qny_certificate_make(path.constData(), "host", nullptr, nullptr), QNY_SUCCESS);
    const QString before = QDir::currentPath();
    QVERIFY(QDir::setCurrent(directory.path()));
    network()->setprivateCertificate("host.cert_secret");
    network()->setpublicCertificates(".");
    QVERIFY(network()->isQuenarySecurityActivated());
    QVERIFY2(network()->connectToNetwork(), qUtf8Printable(network()->errorText()));
    QVERIFY(qny_is_secured());
    // Whole paths: what is started from here may run in another folder
    QCOMPARE(qgetenv("QNY_PRIVATE_CERTIFICATE"), path + "/host.cert_secret");
    QCOMPARE(QDir::cleanPath(qEnvironmentVariable("QNY_PUBLIC_CERTIFICATES")), directory.path());
    network()->disconnectFromNetwork();
    QVERIFY(QDir::setCurrent(before));

    // Switched off, it stays off
    network()->setprivateCertificate({});
    network()->setpublicCertificates({});
    QVERIFY(network()->connectToNetwork());
    QVERIFY(!qny_is_secured());
    QVERIFY(!qEnvironmentVariableIsSet("QNY_PRIVATE_CERTIFICATE"));
    QVERIFY(!qEnvironmentVariableIsSet("QNY_PUBLIC_CERTIFICATES"));
}

void TestNetwork::certificatesAreJudgedAsTheNetworkJudgesThem()
{
    const QTemporaryDir directory;
    QVERIFY(QDir(directory.path()).mkpath("shared/keys"));
    const QDir keys(directory.filePath("shared/keys"));
    const QString own = keys.filePath("host.cert_secret");
    QVERIFY2(network()->publicCertificatesIn(keys.path()).problem.startsWith("No certificate"),
        qUtf8Printable(network()->publicCertificatesIn(keys.path()).problem));
    for (const char* name : { "host", "pump" }) {
        QCOMPARE(qny_certificate_make(keys.path().toUtf8().constData(), name, nullptr, nullptr), QNY_SUCCESS);
    }
    const QStringList names { "host", "pump" };
    QCOMPARE(network()->publicCertificatesIn(keys.path()).problem, QString());
    QCOMPARE(network()->publicCertificatesIn(keys.path()).names, names);
    QCOMPARE(network()->privateCertificateAt(own).problem, QString());
    QCOMPARE(network()->privateCertificateAt(own).names, QStringList("host"));
    QVERIFY(network()->privateCertificateAt(keys.filePath("host.cert")).problem.startsWith("This is the public half"));

    // A private one under another name, and a key that stands there twice: those that are let in are named all the same
    const QString misplaced = keys.filePath("valve.cert");
    QVERIFY(QFile::copy(own, misplaced));
    QVERIFY(network()->publicCertificatesIn(keys.path()).problem.startsWith(misplaced + ':'));
    QCOMPARE(network()->publicCertificatesIn(keys.path()).names, names);
    QVERIFY(QFile::remove(misplaced) && QFile::copy(keys.filePath("pump.cert"), misplaced));
    QVERIFY(network()->publicCertificatesIn(keys.path()).problem.contains("this public key stands in"));
    QCOMPARE(network()->publicCertificatesIn(keys.path()).names, names);
    QVERIFY(QFile::remove(misplaced));

    // A folder above into which anybody may write
    const QString shared = directory.filePath("shared");
    const auto everybodys = QFile::permissions(shared) | QFile::WriteOther | QFile::ExeOther;
    QVERIFY(QFile::setPermissions(shared, everybodys));
    const QString said = "anybody may write into " + shared;
    QVERIFY(network()->publicCertificatesIn(keys.path()).problem.contains(said));
    QVERIFY(network()->publicCertificatesIn(keys.path()).names.isEmpty());
    QVERIFY(network()->privateCertificateAt(own).problem.contains(said));
    QVERIFY(network()->privateCertificateAt(own).names.isEmpty());
}

void TestNetwork::aConnectionThatFailsSaysWhy()
{
    network()->disconnectFromNetwork();
    network()->setdevice("nodevice9");
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("nodevice9"));
    QVERIFY(!network()->connectToNetwork());
    QVERIFY(!network()->isConnected());
    QVERIFY2(network()->errorText().contains("Choose one of these devices"), qUtf8Printable(network()->errorText()));
    QVERIFY(network()->errorText().contains("lo"));
    network()->setdevice("lo");

    // Security that cannot be had is refused, not left out
    network()->setprivateCertificate("/nowhere/own.cert");
    network()->setpublicCertificates("/nowhere/public");
    QVERIFY(network()->isQuenarySecurityActivated());
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("Not connected"));
    QVERIFY(!network()->connectToNetwork());
    QVERIFY2(network()->errorText().contains("certificates"), qUtf8Printable(network()->errorText()));
    network()->setprivateCertificate({});
    network()->setpublicCertificates({});
    QVERIFY(!network()->isQuenarySecurityActivated());

    const int port = network()->port();
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("must be from 1 to 65535"));
    network()->setport(70000);
    QCOMPARE(network()->port(), port);

    QVERIFY(network()->connectToNetwork());
    QVERIFY(network()->errorText().isEmpty());
}

void TestNetwork::anAgentThatComesAndGoesIsSeenByItsInstance()
{
    SystemViewClassInstance* sensor = createInstance(SENSOR_FAMILY, "Sensor");
    QAbstractItemModelTester tester(
        sensor->runningAgentInfosModel(), QAbstractItemModelTester::FailureReportingMode::QtTest);
    EncounteredAgentsOnHost* group = sensor->getOrCreateEncounteredAgentsOnHostAttachedToCorvane();
    EncounteredAgentInfo* known = sensor->getOrCreateEncounteredAgentInfo(group,
        CorvaneUtils::joinCommand(
            PEER, { "--name", "Sensor", "--family", SENSOR_FAMILY, "--password", "my \"secret\"" }));
    QString removed;
    connect(sensor, &SystemViewClassInstance::runningAgentInfoRemoved, this,
        [&removed](RunningAgentInfo* info) { removed = info->agentUuid(); });
    QString uuid;
    {
        Peer peer({ "--name", "Sensor", "--family", SENSOR_FAMILY, "--password", "my \"secret\"" });
        QVERIFY(peer.isReady());
        QTRY_VERIFY(sensor->isRunning());
        const RunningAgentInfo* info = sensor->runningAgentInfos().at(0);
        uuid = info->agentUuid();
        QCOMPARE(info->name(), QString("Sensor"));
        QCOMPARE(info->familyUuid(), SENSOR_FAMILY);
        QVERIFY(info->isAttachedToCorvane());
        QCOMPARE(info->processId(), peer.process().processId());
        QVERIFY(info->canBeStopped());
        QVERIFY(!info->isStandIn());
        QCOMPARE(QProcess::splitCommand(info->commandLine()),
            QStringList({ QFileInfo(PEER).canonicalFilePath(), "--name", "Sensor", "--family", SENSOR_FAMILY,
                "--password", SplitCommandLine::MASKED_VALUE }));
        // The launch line with the real password is its own: none was added
        QCOMPARE(group->encounteredAgentInfos(), QList<EncounteredAgentInfo*> { known });
        QVERIFY(known->canBeLaunched());
    }
    QTRY_VERIFY(!sensor->isRunning());
    QCOMPARE(removed, uuid);
}

void TestNetwork::aCrashedAgentIsSeenToGo()
{
    SystemViewClassInstance* sensor = createInstance(SENSOR_FAMILY, "Sensor");
    Peer peer({ "--name", "Sensor", "--family", SENSOR_FAMILY });
    QVERIFY(peer.isReady());
    QTRY_VERIFY(sensor->isRunning());
    peer.process().kill();
    QTRY_VERIFY_WITH_TIMEOUT(!sensor->isRunning(), 2 * QNY_PRESENCE_BOUND_MS);
}

void TestNetwork::onlyAnAgentThatLeavesByItselfHasTakenItsLeave_data()
{
    QTest::addColumn<std::function<void(QProcess&)>>("end");
    QTest::addColumn<bool>("hasTakenLeave");
    const auto row = [](const char* name, const std::function<void(QProcess&)>& end, bool hasTakenLeave) {
        QTest::newRow(name) << end << hasTakenLeave;
    };
    row("it ends", [](QProcess& peer) { peer.closeWriteChannel(); }, true);
    row("it crashes", [](QProcess& peer) { peer.kill(); }, false);
    row("the host leaves the network", [](QProcess&) { network()->disconnectFromNetwork(); }, false);
}

void TestNetwork::onlyAnAgentThatLeavesByItselfHasTakenItsLeave()
{
    QFETCH(const std::function<void(QProcess&)>, end);
    SystemViewClassInstance* sensor = createInstance(SENSOR_FAMILY, "Sensor");
    Peer peer({ "--name", "Sensor", "--family", SENSOR_FAMILY });
    QVERIFY(peer.isReady());
    QTRY_VERIFY(sensor->isRunning());
    QVERIFY(!sensor->runningAgentInfos().at(0)->hasTakenLeave());
    std::optional<bool> hasTakenLeave;
    connect(sensor, &SystemViewClassInstance::runningAgentInfoRemoved, &peer.process(),
        [&hasTakenLeave](RunningAgentInfo* info) { hasTakenLeave = info->hasTakenLeave(); });
    end(peer.process());
    QTRY_VERIFY_WITH_TIMEOUT(hasTakenLeave.has_value(), 2 * QNY_PRESENCE_BOUND_MS);
    QTEST(*hasTakenLeave, "hasTakenLeave");
}

void TestNetwork::aChangedDefinitionIsSeen()
{
    SystemViewClassInstance* sensor = createInstance(SENSOR_FAMILY, "Sensor");
    Peer peer({ "--name", "Sensor", "--family", SENSOR_FAMILY });
    QVERIFY(peer.isReady());
    QTRY_VERIFY(sensor->isRunning());
    RunningAgentInfo* info = sensor->runningAgentInfos().at(0);
    QVERIFY(QJsonDocument::fromJson(info->definition().toUtf8()).object()["outputs"].isArray());
    QVERIFY(!info->definition().contains("flow"));
    QSignalSpy changed(info, &RunningAgentInfo::definitionChanged);
    peer.process().write("redefine\n");
    QTRY_VERIFY(info->definition().contains("flow"));
    QVERIFY(changed.count() >= 1);
    QCOMPARE(sensor->runningAgentInfos().size(), 1);
}

void TestNetwork::anAgentStartedHereComesToThisNetworkAndIsStopped()
{
    // Given an instance with a launch line that names no network
    SystemViewClassInstance* sensor = createInstance(SENSOR_FAMILY, "Sensor");
    EncounteredAgentInfo* info
        = sensor->getOrCreateEncounteredAgentInfo(sensor->getOrCreateEncounteredAgentsOnHostAttachedToCorvane(),
            CorvaneUtils::joinCommand(PEER, { "--name", "Sensor", "--family", SENSOR_FAMILY, "--stay", "60" }));
    // When it is started, it appears; and when it is asked to stop, it goes
    QVERIFY2(SystemViewManager::instance()->startAgent(info), qUtf8Printable(SystemViewManager::instance()->problem()));
    QTRY_VERIFY(sensor->isRunning());
    sensor->turnOff(sensor->runningAgentInfos().at(0));
    QTRY_VERIFY(!sensor->isRunning());
    sensor->turnOff(nullptr);
}

void TestNetwork::anAgentThatDoesNotAcceptStopsIsSaid()
{
    SystemViewClassInstance* sensor = createInstance(SENSOR_FAMILY, "Sensor");
    Peer peer({ "--name", "Sensor", "--family", SENSOR_FAMILY, "--deaf" });
    QVERIFY(peer.isReady());
    QTRY_VERIFY(sensor->isRunning());
    QSignalSpy failed(sensor, &SystemViewClassInstance::turnOffFailed);
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("does not accept being stopped"));
    sensor->turnOff(sensor->runningAgentInfos().at(0));
    QCOMPARE(failed.count(), 1);
    QVERIFY(SystemViewManager::instance()->problem().contains(QString::number(peer.process().processId())));
    QVERIFY(sensor->isRunning());
}

void TestNetwork::aRunningInstanceKeepsItsName()
{
    SystemViewClassInstance* sensor = createInstance(SENSOR_FAMILY, "Sensor");
    {
        Peer peer({ "--name", "Sensor", "--family", SENSOR_FAMILY });
        QVERIFY(peer.isReady());
        QTRY_VERIFY(sensor->isRunning());
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("is running and keeps its name"));
        QVERIFY(!SystemViewManager::instance()->updateInstanceName(sensor, "Probe"));
    }
    QTRY_VERIFY(!sensor->isRunning());
    QVERIFY(SystemViewManager::instance()->updateInstanceName(sensor, "Probe"));
    const QString line
        = sensor->encounteredAgentsOnHostAttachedToCorvane()->encounteredAgentInfos().at(0)->commandLine();
    QCOMPARE(CorvaneUtils::optionValue(line, "--name", {}), QString("Probe"));
}

void TestNetwork::anAgentThatChangesFasterThanIsShownIsShownAsItIs()
{
    Peer peer({ "--name", "first" });
    QVERIFY(peer.isReady());
    QTRY_COMPARE(NetworkAgents::instance()->agents().size(), 1);
    QSignalSpy entered(NetworkAgents::instance(), &NetworkAgents::agentEntered);
    QSignalSpy exited(NetworkAgents::instance(), &NetworkAgents::agentExited);
    // While this thread is busy all of it is told.
    peer.process().write("rename\n");
    QVERIFY(peer.waitForLine("renamed"));
    while (!qny_agent_is_present("renamed 2000")) {
        QThread::msleep(1);
    }
    QThread::msleep(200);
    QTRY_COMPARE(NetworkAgents::instance()->agents().constFirst().name, "renamed 2000");
    QVERIFY2(entered.size() <= 20, qPrintable(QString::number(entered.size())));
    QCOMPARE(exited.size(), entered.size());
    QCOMPARE(exited.at(0).at(0).value<NetworkAgent>().name, "first");
}

void TestNetwork::agentsThatAreThereBeforeADocumentAreFound()
{
    Peer peer({ "--name", "Sensor", "--family", SENSOR_FAMILY });
    QVERIFY(peer.isReady());
    QTRY_COMPARE(handler()->currentSystemDocument()->unplacedAgents().size(), 1);
    handler()->newDocument();
    QCOMPARE(handler()->currentSystemDocument()->unplacedAgents().size(), 1);
    const auto* placed = qobject_cast<SystemViewClassInstance*>(
        handler()->placeAgent(handler()->currentSystemDocument()->unplacedAgents().at(0)));
    QVERIFY(placed);
    QVERIFY(placed->isRunning());
}

void TestNetwork::leavingTheNetworkTurnsEveryAgentOff()
{
    SystemViewClassInstance* sensor = createInstance(SENSOR_FAMILY, "Sensor");
    Peer peer({ "--name", "Sensor", "--family", SENSOR_FAMILY });
    QVERIFY(peer.isReady());
    QTRY_VERIFY(sensor->isRunning());
    network()->disconnectFromNetwork();
    QTRY_VERIFY(!sensor->isRunning());
    QVERIFY(network()->connectToNetwork());
    QTRY_VERIFY(sensor->isRunning());
}

QTEST_GUILESS_MAIN(TestNetwork)
#include "tst_network.moc"
