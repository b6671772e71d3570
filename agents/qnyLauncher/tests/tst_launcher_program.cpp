// SPDX-License-Identifier: Apache-2.0
//
// The whole program on a network of the test's own, which is its host.
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMutex>
#include <QProcess>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>
#include <QUuid>

#include <csignal>
#include <sys/stat.h>
#include <unistd.h>

#include <quenary.h>
#include <quenary_families.h>
#include <quenary_launcher.h>

namespace {

struct State
{
    QString launch;
    QString state;
    int number = 0;
    QString text;
    QString lastLines;
};

QMutex mutex; // guards what the library's thread writes
QList<State> states;
QList<QPair<QString, QString>> launchers; // uuid and machine
QString programs;

void onState(const char*, const char*, const char*, qny_service_arg_t* first, size_t count, const char*, void*)
{
    if (count != 5) {
        qFatal("%zu arguments", count);
    }
    State state;
    state.launch = QString::fromUtf8(first->c);
    state.state = QString::fromUtf8((first = first->next)->c);
    state.number = (first = first->next)->i;
    state.text = QString::fromUtf8((first = first->next)->c);
    state.lastLines = QString::fromUtf8((first = first->next)->c);
    const QMutexLocker lock(&mutex);
    states.append(state);
}

void onAgent(qny_agent_event_t event, const qny_agent_info_t* agent, void*)
{
    if (QLatin1String(agent->family) != QLatin1String(QNY_FAMILY_LAUNCHER)) {
        return;
    }
    const QMutexLocker lock(&mutex);
    const QPair<QString, QString> one { agent->uuid, agent->host_name };
    launchers.removeAll(one);
    if (event != QNY_AGENT_EXITED) {
        launchers.append(one);
    }
}

void onPrograms(const qny_publication_t* publication, void*)
{
    const QMutexLocker lock(&mutex);
    programs = QString::fromUtf8(static_cast<const char*>(publication->value));
}

QString newUuid()
{
    return QUuid::createUuid().toString(QUuid::WithoutBraces);
}

} // namespace

class TestProgram : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
    void cleanupTestCase();
    void wrongOptionsAreRefused_data();
    void wrongOptionsAreRefused();
    void itShowsItsMachineAndWhatMayBeStarted();
    void agentsAreStartedOnItsNetworkAndMachine();
    void requestsThatAreNoneAreRefused();
    void itSurvivesAFloodOfRequests();
    void theConfigurationIsReadAgain();
    void agentsOutliveItAndTheNextOneEndsThem();
    void agentsEndWithItWhenThatIsWanted();
    void aSecondOneInTheSamePlaceIsRefused();
    void aPlaceThatSomebodyElseMadeIsRefused();
    void itsSecurityIsThatOfItsAgents();
    void onlyOperatorsAreObeyed();

private:
    void _configure(const QByteArray& more = {});
    QStringList _options(const QStringList& more = {}) const;
    bool _startLauncher(const QStringList& more = {});
    void _endLauncher(int signal = SIGTERM);
    QString _launcherUuid() const;
    void _ask(const QStringList& texts);
    std::optional<State> _told(const QString& launch);
    QByteArray _output(const QString& launch) const;
    void _secure();
    void _join();
    QStringList _securityOptions() const;

    std::unique_ptr<QTemporaryDir> _folder;
    QProcess _launcher;
    QString _agent;
};

void TestProgram::initTestCase()
{
    _agent = QFileInfo(QStringLiteral(TEST_AGENT)).canonicalFilePath();
    qputenv("QNY_DEVICE", "lo");
    qputenv("QNY_PORT", QByteArray::number(QRandomGenerator::global()->bounded(20000, 60000)));
    qny_service_init(QNY_LAUNCH_STATE, &onState, nullptr);
    qny_observe_agents(&onAgent, nullptr);
    QCOMPARE(qny_start(nullptr), QNY_SUCCESS);
}

void TestProgram::cleanupTestCase()
{
    qny_service_remove(QNY_LAUNCH_STATE);
    qny_unobserve_agents(&onAgent, nullptr);
    qny_stop();
}

void TestProgram::init()
{
    QTest::failOnWarning(QRegularExpression(QStringLiteral(".*")));
    _folder = std::make_unique<QTemporaryDir>();
    QVERIFY(_folder->isValid());
    _configure();
}

void TestProgram::cleanup()
{
    if (_launcher.state() != QProcess::NotRunning) {
        _endLauncher();
    }
    // What a test left is ended by a launcher that is told to.
    const QStringList security = QDir(_folder->filePath("keys")).exists() ? _securityOptions() : QStringList();
    if (!QDir(_folder->filePath("state/launches")).isEmpty()
        && _startLauncher(security + QStringList { "--end-agents" })) {
        _endLauncher();
    }
    if (QDir(_folder->filePath("keys")).exists()) { // back to the open network
        qny_stop();
        QCOMPARE(qny_start(nullptr), QNY_SUCCESS);
    }
    const QMutexLocker lock(&mutex);
    states.clear();
    programs.clear();
}

void TestProgram::_configure(const QByteArray& more)
{
    QFile file(_folder->filePath("launcher.conf"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("program = " + _agent.toUtf8() + "\nfamily = 0b5bd3a6-3f7a-4a11-8f57-5a5b2f6f0001\nseconds-to-end = 1\n"
        + more);
}

QStringList TestProgram::_options(const QStringList& more) const
{
    return QStringList { "--configuration", _folder->filePath("launcher.conf"), "--state-directory",
        _folder->filePath("state"), "--host-name", "machine two" }
    + more;
}

bool TestProgram::_startLauncher(const QStringList& more)
{
    _launcher.setProcessChannelMode(QProcess::MergedChannels);
    _launcher.start(QStringLiteral(QNY_LAUNCHER), _options(more));
    return _launcher.waitForStarted() && QTest::qWaitFor([this] { return !_launcherUuid().isEmpty(); });
}

void TestProgram::_endLauncher(int signal)
{
    QCOMPARE(kill(static_cast<pid_t>(_launcher.processId()), signal), 0);
    QVERIFY(_launcher.waitForFinished());
    QTRY_VERIFY_WITH_TIMEOUT(_launcherUuid().isEmpty(), QNY_PRESENCE_BOUND_MS);
}

QString TestProgram::_launcherUuid() const
{
    const QMutexLocker lock(&mutex);
    return launchers.isEmpty() ? QString() : launchers.last().first;
}

void TestProgram::_ask(const QStringList& texts)
{
    qny_service_arg_t* list = nullptr;
    for (const QString& text : texts) {
        qny_service_args_add_string(&list, text.toUtf8().constData());
    }
    QCOMPARE(qny_service_call(_launcherUuid().toUtf8().constData(), QNY_LAUNCHER_START, &list, nullptr), QNY_SUCCESS);
}

std::optional<State> TestProgram::_told(const QString& launch)
{
    std::optional<State> found;
    const bool isFound = QTest::qWaitFor(
        [&] {
            const QMutexLocker lock(&mutex);
            for (qsizetype i = 0; i < states.size() && !found; ++i) {
                if (states.at(i).launch == launch) {
                    found = states.takeAt(i);
                }
            }
            return found.has_value();
        },
        15'000);
    if (!isFound) {
        qCritical("nothing was told of launch '%s'; the launcher said: %s", qPrintable(launch),
            _launcher.readAll().constData());
    }
    return found;
}

QByteArray TestProgram::_output(const QString& launch) const
{
    QFile file(_folder->filePath("state/logs/launcherTestAgent-" + launch + ".log"));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void TestProgram::wrongOptionsAreRefused_data()
{
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<QByteArray>("configuration");
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("said");
    QTest::newRow("unknown option") << QStringList { "--shell" } << QByteArray() << 2 << "shell";
    QTest::newRow("word") << QStringList { "sh" } << QByteArray() << 2 << "'sh' is no option";
    QTest::newRow("name") << QStringList { "--name", "a/b" } << QByteArray() << 2 << "'a/b' cannot be the name";
    QTest::newRow("port") << QStringList { "--port", "70000" } << QByteArray() << 2 << "'70000' is no port";
    for (const char* const path : { "configuration", "state-directory", "qnyCert", "publicCerts", "operators" }) {
        QTest::addRow("empty %s", path) << QStringList { QStringLiteral("--") + path, "" } << QByteArray() << 2
                                        << QStringLiteral("--%1 is empty").arg(path);
    }
    QTest::newRow("configuration") << QStringList() << QByteArray("program = /nowhere/x\n") << 1
                                   << "launcher\\.conf:4: /nowhere/x does not exist";
    QTest::newRow("checked") << QStringList { "--check" } << QByteArray("children = 0\n") << 1
                             << "launcher\\.conf:4: children is a number";
    QTest::newRow("device") << QStringList { "--device", "nodevice9" } << QByteArray() << 1 << "nodevice9";
    QTest::newRow("certificates") << QStringList { "--qnyCert", "/nowhere/own.cert_secret" } << QByteArray() << 1
                                  << "cannot join the network";
    QTest::newRow("operators in the open")
        << QStringList { "--operators", "/tmp" } << QByteArray() << 1 << "--operators needs a secured network";
    QTest::newRow("sound") << QStringList { "--check" } << QByteArray() << 0 << "launcher\\.conf: 1 programs";
    QTest::newRow("help") << QStringList { "--help" } << QByteArray() << 0 << "--end-agents";
}

void TestProgram::wrongOptionsAreRefused()
{
    QFETCH(QStringList, options);
    QFETCH(QByteArray, configuration);
    QFETCH(int, status);
    QFETCH(QString, said);
    _configure(configuration);
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(QStringLiteral(QNY_LAUNCHER), _options(options));
    QVERIFY(process.waitForFinished());
    const QString output = QString::fromUtf8(process.readAll());
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QVERIFY2(process.exitCode() == status, qPrintable(output));
    QVERIFY2(QRegularExpression(said).match(output).hasMatch(), qPrintable(output));
}

void TestProgram::itShowsItsMachineAndWhatMayBeStarted()
{
    QVERIFY(_startLauncher());
    {
        const QMutexLocker lock(&mutex);
        QCOMPARE(launchers.last().second, "machine two");
    }
    QCOMPARE(qny_monitor_add(_launcherUuid().toUtf8().constData(), &onPrograms, nullptr), QNY_SUCCESS);
    const auto shown = [] {
        const QMutexLocker lock(&mutex);
        return QJsonDocument::fromJson(programs.toUtf8()).array();
    };
    QTRY_COMPARE(shown().size(), 1);
    QCOMPARE(shown().at(0)["program"].toString(), _agent);
    QCOMPARE(shown().at(0)["family"].toString(), "0b5bd3a6-3f7a-4a11-8f57-5a5b2f6f0001");
}

void TestProgram::agentsAreStartedOnItsNetworkAndMachine()
{
    QVERIFY(_startLauncher());
    const QString launch = newUuid();
    _ask({ launch, _agent, "--environment", "QNY_PORT", "--environment", "QNY_HOST_NAME", "--rest", "$HOME", "a b" });
    QCOMPARE(_told(launch)->state, QNY_LAUNCH_STARTED);
    QCOMPARE(_told(launch)->state, QNY_LAUNCH_EXITED);
    QCOMPARE(_output(launch), "QNY_PORT=" + qgetenv("QNY_PORT") + "\nQNY_HOST_NAME=machine two\n[$HOME]\n[a b]\n");
    // What may be a secret stands in no log of the launcher
    _endLauncher();
    const QByteArray log = _launcher.readAll();
    QVERIFY2(log.contains(launch.toUtf8()) && !log.contains("$HOME"), log.constData());
}

void TestProgram::requestsThatAreNoneAreRefused()
{
    QVERIFY(_startLauncher());
    const QByteArray uuid = _launcherUuid().toUtf8();
    qny_service_arg_t* list = nullptr;
    QCOMPARE(qny_service_call(uuid.constData(), QNY_LAUNCHER_START, &list, nullptr), QNY_SUCCESS);
    QVERIFY(_told({})->text.contains("a list of texts"));
    _ask({ newUuid() });
    QVERIFY(_told({})->text.contains("a list of texts"));
    qny_service_args_add_string(&list, "x");
    qny_service_args_add_double(&list, 2.0);
    QCOMPARE(qny_service_call(uuid.constData(), QNY_LAUNCHER_START, &list, nullptr), QNY_SUCCESS);
    QVERIFY(_told({})->text.contains("a list of texts"));
    _ask({ "../../x", _agent });
    QVERIFY(_told("../../x")->text.contains("is no uuid"));
    const QString launch = newUuid();
    _ask(QStringList { launch, _agent } + QStringList(1000, "x"));
    QVERIFY(_told(launch)->text.contains("too long"));
    _ask({ launch, _agent, QString(1'000'000, u'x') });
    QVERIFY(_told(launch)->text.contains("too long"));
    _ask({ launch, "/bin/sh", "-c", "id" });
    QVERIFY(_told(launch)->text.contains("is not among the programs"));
    qny_service_args_add_double(&list, 1.0);
    QCOMPARE(qny_service_call(uuid.constData(), QNY_LAUNCHER_STOP, &list, nullptr), QNY_SUCCESS);
    QVERIFY(_told({})->text.contains("names its launch or its process"));
    qny_service_args_add_string(&list, launch.toUtf8().constData());
    QCOMPARE(qny_service_call(uuid.constData(), QNY_LAUNCHER_STOP, &list, nullptr), QNY_SUCCESS);
    QVERIFY(_told(launch)->text.contains("does not run under this launcher"));
    qny_service_args_add_int(&list, static_cast<int>(QCoreApplication::applicationPid()));
    QCOMPARE(qny_service_call(uuid.constData(), QNY_LAUNCHER_STOP, &list, nullptr), QNY_SUCCESS);
    QVERIFY(_told({})->text.contains("was not started by this launcher"));
    QCOMPARE(_launcher.state(), QProcess::Running);
    QVERIFY(QDir(_folder->filePath("state/launches")).isEmpty());
}

void TestProgram::itSurvivesAFloodOfRequests()
{
    _configure("children = 2\n");
    QVERIFY(_startLauncher());
    for (int i = 0; i < 500; ++i) {
        _ask({ newUuid(), _agent, "--wait" });
    }
    // Each is answered
    const auto count = [](const char* state) {
        const QMutexLocker lock(&mutex);
        return std::count_if(
            states.cbegin(), states.cend(), [state](const State& one) { return one.state == QLatin1String(state); });
    };
    QTRY_COMPARE(count(QNY_LAUNCH_STARTED) + count(QNY_LAUNCH_REFUSED), 500);
    QCOMPARE(count(QNY_LAUNCH_STARTED), 2);
    QCOMPARE(QDir(_folder->filePath("state/launches")).entryList(QDir::Dirs | QDir::NoDotAndDotDot).size(), 2);
}

void TestProgram::theConfigurationIsReadAgain()
{
    QVERIFY(_startLauncher());
    auto isSaid = [this, said = QByteArray()](const char* text) mutable {
        said += _launcher.readAll();
        return said.contains(text);
    };
    const auto processId = static_cast<pid_t>(_launcher.processId());
    _configure("children = none\n");
    QCOMPARE(kill(processId, SIGHUP), 0);
    QTRY_VERIFY(isSaid("The configuration stays as it was"));
    const QString launch = newUuid();
    _ask({ launch, _agent });
    QCOMPARE(_told(launch)->state, QNY_LAUNCH_STARTED);
    QFile file(_folder->filePath("launcher.conf"));
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write("# nothing any more\n") > 0);
    file.close();
    QCOMPARE(kill(processId, SIGHUP), 0);
    QTRY_VERIFY(isSaid("0 programs"));
    const QString refused = newUuid();
    _ask({ refused, _agent });
    QVERIFY(_told(refused)->text.endsWith("nothing at all."));
}

void TestProgram::agentsOutliveItAndTheNextOneEndsThem()
{
    QVERIFY(_startLauncher());
    const QString launch = newUuid();
    _ask({ launch, _agent, "--say", "here", "--wait" });
    const int process = _told(launch)->number;
    // Whether it is asked to end or crashes
    for (const int signal : { SIGTERM, SIGKILL }) {
        _endLauncher(signal);
        QCOMPARE(kill(process, 0), 0);
        QVERIFY(_startLauncher());
        _ask({ launch, _agent });
        const std::optional<State> running = _told(launch);
        QCOMPARE(running->state, QNY_LAUNCH_RUNNING);
        QCOMPARE(running->number, process);
    }
    qny_service_arg_t* list = nullptr;
    qny_service_args_add_int(&list, process);
    QCOMPARE(qny_service_call(_launcherUuid().toUtf8().constData(), QNY_LAUNCHER_STOP, &list, nullptr), QNY_SUCCESS);
    const std::optional<State> stopped = _told(launch);
    QCOMPARE(stopped->state, QNY_LAUNCH_STOPPED);
    QCOMPARE(stopped->number, SIGTERM);
    QVERIFY(kill(process, 0) != 0);
}

void TestProgram::agentsEndWithItWhenThatIsWanted()
{
    QVERIFY(_startLauncher({ "--end-agents" }));
    const QString launch = newUuid();
    _ask({ launch, _agent, "--wait" });
    const int process = _told(launch)->number;
    // Over the network, this time
    QCOMPARE(qny_request_stop(_launcherUuid().toUtf8().constData()), QNY_SUCCESS);
    QCOMPARE(_told(launch)->state, QNY_LAUNCH_STOPPED);
    QTRY_COMPARE(_launcher.state(), QProcess::NotRunning);
    QCOMPARE(_launcher.exitCode(), 0);
    QVERIFY(kill(process, 0) != 0);
    QVERIFY(QDir(_folder->filePath("state/launches")).isEmpty());
}

void TestProgram::aSecondOneInTheSamePlaceIsRefused()
{
    QVERIFY(_startLauncher());
    QProcess second;
    second.setProcessChannelMode(QProcess::MergedChannels);
    second.start(QStringLiteral(QNY_LAUNCHER), _options());
    QVERIFY(second.waitForFinished());
    QCOMPARE(second.exitCode(), 1);
    QVERIFY(second.readAll().contains("another launcher works in " + _folder->filePath("state").toUtf8()));
}

void TestProgram::aPlaceThatSomebodyElseMadeIsRefused()
{
    if (geteuid() != 0) {
        QSKIP("Only root can make what belongs to somebody else.");
    }
    constexpr uid_t SOMEBODY = 54321;
    QVERIFY(QDir(_folder->path()).mkpath("valuable"));
    const QByteArray valuable = _folder->filePath("valuable").toUtf8();
    const QByteArray state = _folder->filePath("state").toUtf8();
    QCOMPARE(chmod(valuable.constData(), 0755), 0);
    // A link of theirs to a folder of ours, and a folder of theirs.
    for (const bool isLink : { true, false }) {
        QCOMPARE(isLink ? symlink(valuable.constData(), state.constData()) : mkdir(state.constData(), 0755), 0);
        QCOMPARE(lchown(state.constData(), SOMEBODY, SOMEBODY), 0);
        QProcess launcher;
        launcher.setProcessChannelMode(QProcess::MergedChannels);
        launcher.start(QStringLiteral(QNY_LAUNCHER), _options());
        QVERIFY(launcher.waitForFinished());
        QCOMPARE(launcher.exitCode(), 1);
        QVERIFY(launcher.readAll().contains(state + " belongs to somebody else"));
        QCOMPARE(isLink ? unlink(state.constData()) : rmdir(state.constData()), 0);
    }
    QVERIFY(QFile::permissions(_folder->filePath("valuable")).testFlag(QFile::ReadOther));
    QVERIFY(QDir(_folder->filePath("valuable")).isEmpty());
}

/// This test's process joins the network anew, with a certificate; so can a launcher with the options.
void TestProgram::_secure()
{
    QVERIFY(QDir(_folder->path()).mkdir("keys"));
    for (const char* name : { "host", "machine" }) {
        QCOMPARE(
            qny_certificate_make(_folder->filePath("keys").toUtf8().constData(), name, nullptr, nullptr), QNY_SUCCESS);
    }
    _join();
}

void TestProgram::_join()
{
    const QByteArray own = _folder->filePath("keys/host.cert_secret").toUtf8();
    const QByteArray all = _folder->filePath("keys").toUtf8();
    qny_options_t options;
    qny_options_init(&options);
    options.private_certificate = own.constData();
    options.public_certificates = all.constData();
    qny_stop();
    QVERIFY2(qny_start(&options) == QNY_SUCCESS, qny_last_error());
}

QStringList TestProgram::_securityOptions() const
{
    return { "--qnyCert", _folder->filePath("keys/machine.cert_secret"), "--publicCerts", _folder->filePath("keys") };
}

void TestProgram::itsSecurityIsThatOfItsAgents()
{
    _secure();
    QVERIFY(_startLauncher(_securityOptions()));
    const QString launch = newUuid();
    _ask({ launch, _agent, "--environment", "QNY_PRIVATE_CERTIFICATE", "--environment", "QNY_PUBLIC_CERTIFICATES" });
    QCOMPARE(_told(launch)->state, QNY_LAUNCH_STARTED);
    QCOMPARE(_told(launch)->state, QNY_LAUNCH_EXITED);
    const QString keys = _folder->filePath("keys");
    QCOMPARE(QString::fromUtf8(_output(launch)),
        QString("QNY_PRIVATE_CERTIFICATE=%1/machine.cert_secret\nQNY_PUBLIC_CERTIFICATES=%1\n").arg(keys));
}

void TestProgram::onlyOperatorsAreObeyed()
{
    _secure();
    QVERIFY(QDir(_folder->path()).mkdir("operators"));
    QVERIFY(_startLauncher(_securityOptions() + QStringList { "--operators", _folder->filePath("operators") }));
    const QString launch = newUuid();
    _ask({ launch, _agent, "--wait" });
    QVERIFY(_told(launch)->text.contains("not among those of the operators"));
    // Once its certificate is there it is obeyed
    QVERIFY(QFile::copy(_folder->filePath("keys/host.cert"), _folder->filePath("operators/host.cert")));
    pid_t process = 0;
    const auto isStarted = [&](const QString& wanted) {
        _ask({ wanted, _agent, "--wait" });
        const State told = *_told(wanted);
        process = told.number;
        return told.state == QNY_LAUNCH_STARTED;
    };
    QVERIFY(QTest::qWaitFor([&] { return isStarted(launch); }, 10'000));
    QVERIFY(QFile::remove(_folder->filePath("operators/host.cert")));
    const auto isRefused = [&] {
        qny_service_arg_t* list = nullptr;
        qny_service_args_add_double(&list, 1.0); // would end nothing
        qny_service_call(_launcherUuid().toUtf8().constData(), QNY_LAUNCHER_STOP, &list, nullptr);
        return _told({})->text.contains("not among those of the operators");
    };
    QVERIFY(QTest::qWaitFor(isRefused, 10'000));
    QCOMPARE(qny_request_stop(_launcherUuid().toUtf8().constData()), QNY_SUCCESS);
    _ask({ launch, _agent });
    QVERIFY(_told(launch)->text.contains("not among those of the operators"));
    QCOMPARE(_launcher.state(), QProcess::Running);

    // How the agent ends is told to nobody who is no operator, not even to one who was when it came, and to the next
    // one who is
    _launcher.readAll();
    QCOMPARE(kill(process, SIGKILL), 0);
    QByteArray log;
    QVERIFY(QTest::qWaitFor([&] { return (log += _launcher.readAll()).contains("is over"); }));
    const QString another = newUuid();
    _ask({ another, _agent });
    QVERIFY(_told(another)->text.contains("not among those of the operators"));
    {
        const QMutexLocker lock(&mutex);
        QVERIFY(states.isEmpty());
    }
    QVERIFY(QFile::copy(_folder->filePath("keys/host.cert"), _folder->filePath("operators/host.cert")));
    QVERIFY(QTest::qWaitFor([&] { return isStarted(another); }, 10'000));
    QCOMPARE(_told(launch)->state, QNY_LAUNCH_SIGNALLED);
    QCOMPARE(kill(process, SIGKILL), 0);
    QCOMPARE(_told(another)->state, QNY_LAUNCH_SIGNALLED);
}

QTEST_GUILESS_MAIN(TestProgram)
#include "tst_launcher_program.moc"
