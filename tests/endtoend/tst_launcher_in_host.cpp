// SPDX-License-Identifier: Apache-2.0
#include "hostapplication.h"
#include "objecthandle.h"
#include "observerprocess.h"
#include "processes.h"

#include <corvaneutils.h>
#include <encounteredagentinfo.h>
#include <encounteredagentsonhost.h>
#include <host.h>
#include <networkagents.h>
#include <reservedagentandtoolfamilies.h>
#include <runningagentinfo.h>
#include <systemdocument.h>
#include <systemdocumenthandler.h>
#include <systemviewclassinstance.h>
#include <systemviewmanager.h>

#include <quenary.h>

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QTemporaryDir>
#include <QtTest/QTest>
#include <QtWidgets/QApplication>

#include <csignal>

using tour::ObjectHandle;
using tour::ObserverProcess;

namespace {

constexpr int LONG_ENOUGH_MS = 20'000;
const QString MACHINE = QStringLiteral("machine two");
constexpr const char* SECURITY[] = { "QNY_PRIVATE_CERTIFICATE", "QNY_PUBLIC_CERTIFICATES" };

/// What an agent of the host's network publishes, and what a recorder does.
const QStringList WATCHED { QStringLiteral("Pump A/vibration/double"),
    QStringLiteral("Recorder/record_progress/double") };

/// What the named agent's process proved to be.
QString certificateOf(const RunningAgentInfo* agent)
{
    for (const NetworkAgent& each : NetworkAgents::instance()->agents()) {
        if (each.uuid == agent->agentUuid()) {
            return each.certificateName;
        }
    }
    return {};
}

} // namespace

// A secured host with its module, and a launcher with a certificate of its own that shows another machine's name: a
// recorder is added there, connected, used and lost. On the same device and port an agent without a certificate
// listens, which must see nothing of it, beside one with the host's, which sees that there is something to see.
class TestLauncherInHost : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void aRecorderIsAddedAndConnectedOnTheOtherMachine();
    void itRecordsAndIsDisconnectedLikeAnyOther();
    void whenItIsKilledThatIsToldWithItsMachine();
    void aFrozenOneIsEndedThroughTheLauncherAndConnectedAgain();
    void aLineThatFailsIsToldWithItsLastWords();
    void aProgramThatIsNotListedIsRefusedAndTold();
    void withoutALauncherThePersonIsToldWhatToDo();
    void aRecorderOfThisMachineHasTheHostsSecurity();
    void whoHasNoCertificateSawNothing();

private:
    void _startLauncher();
    void _recordSomething(const ObjectHandle& instance);
    qsizetype _rowsOf(const ObserverProcess& observer) const
    {
        QList<tour::Observation> rows;
        QString error;
        return observer.read(&rows, &error) ? rows.size() : -1;
    }
    bool _isTold(const QString& pattern) const
    {
        return !_host.notices()
                    .filter(QRegularExpression(pattern, QRegularExpression::DotMatchesEverythingOption))
                    .isEmpty();
    }
    Host* _machine() const
    {
        return SystemDocumentHandler::instance()->currentSystemDocument()->getOrCreateHost(MACHINE);
    }
    EncounteredAgentInfo* _line() const
    {
        return _recorder->encounteredAgentsOnHosts().at(0)->encounteredAgentInfos().at(0);
    }
    pid_t _process() const { return static_cast<pid_t>(_recorder->runningAgentInfos().at(0)->processId()); }

    QTemporaryDir _folder;
    HostApplication _host;
    QProcess _launcher;
    ObserverProcess _insider;
    ObserverProcess _outsider;
    SystemViewClassInstance* _recorder = nullptr;
    ObjectHandle _instance; // the module's, of that recorder
};

void TestLauncherInHost::initTestCase()
{
    QVERIFY(_folder.isValid());
    qputenv("XDG_DATA_HOME", _folder.filePath("data").toLocal8Bit());
    qputenv("XDG_CONFIG_HOME", _folder.filePath("config").toLocal8Bit());
    for (const char* name : { "QNY_PORT", SECURITY[0], SECURITY[1] }) {
        qunsetenv(name);
    }
    QVERIFY(QDir(_folder.path()).mkdir("keys"));
    for (const char* name : { "host", "machine" }) {
        QCOMPARE(
            qny_certificate_make(_folder.filePath("keys").toUtf8().constData(), name, nullptr, nullptr), QNY_SUCCESS);
    }
    HostOptions options;
    options.privateCertificate = _folder.filePath("keys/host.cert_secret");
    options.publicCertificates = _folder.filePath("keys");
    options.device = "lo";
    options.port = randomPort();
    options.withWindow = false;
    options.rememberSettings = false;
    options.pluginsDirectory = QStringLiteral(RR_PLUGINS_DIRECTORY);
    QString error;
    QVERIFY2(_host.start(options, &error), qPrintable(error));
    QVERIFY(qny_is_secured());
    _host.newDocument();

    // Agents with what the host hands on to them, and one on the same network without the certificates
    QVERIFY2(
        _insider.start(QStringLiteral(RR_OBSERVER), _folder.filePath("insider"), WATCHED, &error), qPrintable(error));
    QByteArray handedOn[std::size(SECURITY)];
    for (size_t i = 0; i < std::size(SECURITY); ++i) {
        handedOn[i] = qgetenv(SECURITY[i]);
        QVERIFY(!handedOn[i].isEmpty());
        qunsetenv(SECURITY[i]);
    }
    const bool isStarted = _outsider.start(QStringLiteral(RR_OBSERVER), _folder.filePath("outsider"), WATCHED, &error);
    for (size_t i = 0; i < std::size(SECURITY); ++i) {
        qputenv(SECURITY[i], handedOn[i]);
    }
    QVERIFY2(isStarted, qPrintable(error));

    QFile configuration(_folder.filePath("launcher.conf"));
    QVERIFY(configuration.open(QIODevice::WriteOnly));
    configuration.write(
        "seconds-to-end = 1\nprogram = " + QFileInfo(QStringLiteral(RR_RECORDER)).canonicalFilePath().toUtf8()
        + "\nfamily = " + ReservedAgentAndToolFamilies::RECORDER_CLASS_UUID.toUtf8() + '\n');
    configuration.close();
    _startLauncher();
}

void TestLauncherInHost::_startLauncher()
{
    _launcher.setProcessChannelMode(QProcess::ForwardedChannels);
    _launcher.start(QStringLiteral(RR_LAUNCHER),
        { "--configuration", _folder.filePath("launcher.conf"), "--state-directory", _folder.filePath("state"),
            "--host-name", MACHINE, "--end-agents", "--qnyCert", _folder.filePath("keys/machine.cert_secret"),
            "--publicCerts", _folder.filePath("keys") });
    QVERIFY2(_launcher.waitForStarted(), qPrintable(_launcher.errorString()));
    QTRY_VERIFY_WITH_TIMEOUT(_machine()->hasLauncher(), LONG_ENOUGH_MS);
}

void TestLauncherInHost::cleanupTestCase()
{
    if (_launcher.state() != QProcess::NotRunning) {
        _launcher.terminate();
        QVERIFY(_launcher.waitForFinished());
    }
    _host.stop();
}

void TestLauncherInHost::aRecorderIsAddedAndConnectedOnTheOtherMachine()
{
    const SystemDocument* const document = SystemDocumentHandler::instance()->currentSystemDocument();
    QTRY_COMPARE_WITH_TIMEOUT(document->launchOffers().size(), 1, LONG_ENOUGH_MS);
    const QVariantMap offer = document->launchOffers().at(0).toMap();
    QCOMPARE(offer["className"], "Recorder");
    _recorder = qobject_cast<SystemViewClassInstance*>(SystemDocumentHandler::instance()->createInstanceOnHost(
        offer["familyUuid"].toString(), offer["hostName"].toString(), offer["program"].toString()));
    QVERIFY(_recorder);

    const ObjectHandle module(_host.module("recordAndReplay"));
    QTRY_COMPARE(module.items("recorders").size(), 1);
    _instance = module.items("recorders").first().items("instances").first();
    QVERIFY(_instance.isTrue("isRunnable"));
    QCOMPARE(_instance.call("connectAgent"), "");
    QTRY_VERIFY_WITH_TIMEOUT(_instance.isTrue("isOn"), LONG_ENOUGH_MS);
    // It runs there, by the line that it was started with
    const RunningAgentInfo* const agent = _recorder->runningAgentInfos().at(0);
    QCOMPARE(agent->host()->networkName(), MACHINE);
    QVERIFY(!agent->isAttachedToCorvane());
    QCOMPARE(certificateOf(agent), "machine");
    QCOMPARE(_recorder->encounteredAgentsOnHosts().size(), 1);
    QCOMPARE(_recorder->encounteredAgentsOnHosts().at(0)->encounteredAgentInfos().size(), 1);
    QVERIFY2(_host.notices().isEmpty(), qPrintable(_host.notices().join('\n')));
}

void TestLauncherInHost::_recordSomething(const ObjectHandle& instance)
{
    // Given a pump that runs as the host's agents do
    QProcess pump;
    pump.start(QStringLiteral(RR_SAMPLE_PUMP), { "--name", "Pump A" });
    QVERIFY2(pump.waitForStarted(), qPrintable(pump.errorString()));
    QTRY_COMPARE_WITH_TIMEOUT(_insider.liveMappings(), WATCHED.size(), LONG_ENOUGH_MS);
    const qsizetype before = _rowsOf(_insider);
    QCOMPARE(instance.call("startRecording"), "");
    QTRY_VERIFY_WITH_TIMEOUT(instance.isTrue("isRecording"), LONG_ENOUGH_MS);
    QTRY_VERIFY_WITH_TIMEOUT(_rowsOf(_insider) > before, LONG_ENOUGH_MS);
    QCOMPARE(instance.call("stopRecording"), "");
    QTRY_VERIFY_WITH_TIMEOUT(!instance.isTrue("isRecording"), LONG_ENOUGH_MS);
    pump.terminate();
    QVERIFY(pump.waitForFinished());
    // Then it is among the agents of the record
    QTRY_COMPARE_WITH_TIMEOUT(instance.items("records").size(), 1, LONG_ENOUGH_MS);
    const ObjectHandle record = instance.items("records").first();
    QCOMPARE(instance.call("loadRecord", { argument(record) }), "");
    QTRY_VERIFY_WITH_TIMEOUT(record.isTrue("isLoaded"), LONG_ENOUGH_MS);
    QStringList recorded;
    for (const ObjectHandle& agent : record.items("agentsFilters")) {
        recorded.append(agent.text("name"));
    }
    QVERIFY2(recorded.contains("Pump A"), qPrintable(recorded.join(", ")));
    QCOMPARE(instance.call("unloadRecord", { argument(record) }), "");
    QTRY_VERIFY_WITH_TIMEOUT(!record.isTrue("isLoaded"), LONG_ENOUGH_MS);
}

void TestLauncherInHost::itRecordsAndIsDisconnectedLikeAnyOther()
{
    _recordSomething(_instance);
    QCOMPARE(_instance.call("disconnectAgent"), "");
    QTRY_VERIFY_WITH_TIMEOUT(!_instance.isTrue("isOn"), LONG_ENOUGH_MS);
    QTRY_VERIFY(QDir(_folder.filePath("state/launches")).isEmpty());
    QVERIFY2(_host.notices().isEmpty(), qPrintable(_host.notices().join('\n')));
}

void TestLauncherInHost::whenItIsKilledThatIsToldWithItsMachine()
{
    QCOMPARE(_instance.call("connectAgent"), "");
    QTRY_VERIFY_WITH_TIMEOUT(_instance.isTrue("isOn"), LONG_ENOUGH_MS);
    QCOMPARE(kill(_process(), SIGKILL), 0);
    QTRY_VERIFY_WITH_TIMEOUT(
        _isTold("\"Recorder\" was ended on machine two by the signal SIGKILL\\. It said last:\n.*on the network"),
        LONG_ENOUGH_MS);
    QTRY_VERIFY_WITH_TIMEOUT(!_instance.isTrue("isOn"), LONG_ENOUGH_MS);
}

void TestLauncherInHost::aFrozenOneIsEndedThroughTheLauncherAndConnectedAgain()
{
    QCOMPARE(_instance.call("connectAgent"), "");
    QTRY_VERIFY_WITH_TIMEOUT(_instance.isTrue("isOn"), LONG_ENOUGH_MS);
    const pid_t frozen = _process();
    QCOMPARE(kill(frozen, SIGSTOP), 0);
    QTRY_VERIFY_WITH_TIMEOUT(!_instance.isTrue("isOn"), LONG_ENOUGH_MS);
    QCOMPARE(_instance.call("connectAgent"), "");
    QTRY_VERIFY_WITH_TIMEOUT(
        _isTold(QString("runs on machine two already, as process %1,").arg(frozen)), LONG_ENOUGH_MS);
    QSignalSpy stopped(_recorder, &SystemViewClassInstance::launchStopped);
    QVERIFY(SystemViewManager::instance()->endAgent(nullptr, _line()));
    QTRY_COMPARE_WITH_TIMEOUT(stopped.count(), 1, LONG_ENOUGH_MS);
    QVERIFY(kill(frozen, 0) != 0);
    QCOMPARE(_instance.call("connectAgent"), "");
    QTRY_VERIFY_WITH_TIMEOUT(_instance.isTrue("isOn"), LONG_ENOUGH_MS);
    QCOMPARE(_instance.call("disconnectAgent"), "");
    QTRY_VERIFY_WITH_TIMEOUT(!_instance.isTrue("isOn"), LONG_ENOUGH_MS);
}

void TestLauncherInHost::aLineThatFailsIsToldWithItsLastWords()
{
    _line()->setcommandLine(CorvaneUtils::joinCommand(
        QFileInfo(QStringLiteral(RR_RECORDER)).canonicalFilePath(), { "--name", "Recorder", "--keyspace", "a-b" }));
    QTRY_VERIFY(QDir(_folder.filePath("state/launches")).isEmpty());
    QVERIFY(SystemViewManager::instance()->startAgent(_line()));
    QTRY_VERIFY_WITH_TIMEOUT(
        _isTold("\"Recorder\" ended on machine two with status 2\\. It said last:\nqnyRecorder: .*a-b"),
        LONG_ENOUGH_MS);
}

void TestLauncherInHost::aProgramThatIsNotListedIsRefusedAndTold()
{
    _line()->setcommandLine("/bin/sh -c \"id > " + _folder.filePath("smuggled") + '"');
    QVERIFY(SystemViewManager::instance()->startAgent(_line()));
    QTRY_VERIFY_WITH_TIMEOUT(_isTold("\"Recorder\" was not started on machine two: /bin/sh is not among the programs "
                                     "that may be started on this machine: .*qnyRecorder\\."),
        LONG_ENOUGH_MS);
    QVERIFY(!QFile::exists(_folder.filePath("smuggled")));
}

void TestLauncherInHost::withoutALauncherThePersonIsToldWhatToDo()
{
    _launcher.terminate();
    QVERIFY(_launcher.waitForFinished());
    QTRY_VERIFY_WITH_TIMEOUT(!_machine()->hasLauncher(), LONG_ENOUGH_MS);
    QVERIFY(!SystemViewManager::instance()->startAgent(_line()));
    QVERIFY(_isTold("Nothing starts agents on machine two: start qnyLauncher on that machine, on this network\\."));
}

void TestLauncherInHost::aRecorderOfThisMachineHasTheHostsSecurity()
{
    const ObjectHandle module(_host.module("recordAndReplay"));
    QCOMPARE(module.call("deleteRecorder", { argument(_instance) }), "");
    QTRY_VERIFY(module.items("recorders").isEmpty());
    qputenv("XDG_DATA_HOME", _folder.filePath("data of this machine").toLocal8Bit());
    QCOMPARE(module.call("createRecorder"), "");
    const ObjectHandle instance = module.items("recorders").first().items("instances").first();
    QCOMPARE(instance.call("connectAgent"), "");
    QTRY_VERIFY_WITH_TIMEOUT(instance.isTrue("isOn"), LONG_ENOUGH_MS);
    const auto* const agent = qobject_cast<RunningAgentInfo*>(instance.child("runningAgentInfo").object());
    QVERIFY(agent);
    QVERIFY(agent->isAttachedToCorvane());
    QCOMPARE(certificateOf(agent), "host");
    _recordSomething(instance);
    QCOMPARE(instance.call("disconnectAgent"), "");
    QTRY_VERIFY_WITH_TIMEOUT(!instance.isTrue("isOn"), LONG_ENOUGH_MS);
}

void TestLauncherInHost::whoHasNoCertificateSawNothing()
{
    QVERIFY(_insider.isRunning() && _outsider.isRunning());
    QVERIFY(_rowsOf(_insider) > 0);
    QCOMPARE(_outsider.liveMappings(), 0);
    QCOMPARE(_rowsOf(_outsider), 0);
}

int main(int argc, char** argv)
{
    QApplication application(argc, argv);
    TestLauncherInHost test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_launcher_in_host.moc"
