// SPDX-License-Identifier: Apache-2.0
//
// Agents in processes of their own, kept by real keepers; the network is the test.
#include "launcher.h"
#include "launchfiles.h"
#include "processes.h"
#include "rotatinglog.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QUuid>

#include <csignal>

#include <quenary_launcher.h>

using namespace launcher;

namespace {

const QByteArray HOST = "host-1";

QString newUuid()
{
    return QUuid::createUuid().toString(QUuid::WithoutBraces);
}

} // namespace

class TestAgents : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void argumentsArriveAsTheyWereGiven();
    void theEnvironmentIsHandedOn();
    void anEndIsToldWithItsStatusAndTheLastLines();
    void aSignalIsTold();
    void whatCannotBeStartedIsToldWithItsReason();
    void aRefusalIsToldAndStartsNothing();
    void aLaunchRunsOnceAtATime();
    void noMoreRunThanAreAllowed();
    void anAgentIsAskedToEndAndToldAsStopped();
    void anAgentThatDoesNotListenIsKilled();
    void aFrozenAgentIsEnded();
    void othersProcessesAreLeftAlone();
    void agentsGoOnWithoutTheLauncherAndTheNextOneKnowsThem();
    void whatEndedMeanwhileIsToldByTheNextLauncher();
    void anAgentWhoseKeeperWasKilledIsToldAsLost();
    void aFolderOfAnotherTimeIsNotTakenForAnAgent();
    void allAreEndedWhenThatIsAskedFor();
    void outputIsBounded();
    void oldOutputGoes();
    void anotherHostIsToldWhenTheOneThatAskedHasLeft();
    void whatAHostThatIsJustLeavingIsNotToldIsToldToOthers();
    void anEndIsToldToWhoStartedTheAgentAndToWhoeverAskedForIt();
    void whoMayNotHearAnyMoreIsToldNoEnd();

private:
    void _restart();
    QString _start(const QStringList& arguments, const QString& uuid = newUuid(),
        const QString& program = QStringLiteral(TEST_AGENT));
    /// The next thing told of a launch; waits for it.
    std::optional<News> _told(const QString& uuid);
    QByteArray _output(const QString& uuid) const;
    static bool _runs(int process) { return identityOf(process).id != 0; }

    std::unique_ptr<QTemporaryDir> _folder;
    Configuration _configuration;
    std::unique_ptr<Launcher> _launcher;
    QList<std::pair<QByteArray, News>> _news;
    QSet<QByteArray> _deaf; // hosts that may not hear how agents end
    QSet<QByteArray> _gone; // hosts that have left, of which the launcher is still to learn
};

void TestAgents::init()
{
    // Refusals are warnings; any other is not expected.
    QTest::failOnWarning(QRegularExpression(QStringLiteral("^(?!Refused)")));
    _folder = std::make_unique<QTemporaryDir>();
    QVERIFY(_folder->isValid());
    QVERIFY(QDir(_folder->path()).mkpath("launches") && QDir(_folder->path()).mkpath("logs"));
    _configuration = Configuration();
    _configuration.programs = { { QFileInfo(QStringLiteral(TEST_AGENT)).canonicalFilePath(), {} } };
    _configuration.secondsToEnd = 1;
    _restart();
    _news.clear();
    _deaf.clear();
    _gone.clear();
    _launcher->hostEntered(HOST);
}

void TestAgents::cleanup()
{
    QSignalSpy ended(_launcher.get(), &Launcher::allEnded);
    _launcher->endAll();
    QTRY_VERIFY(!ended.isEmpty());
    _launcher.reset();
}

void TestAgents::_restart()
{
    _launcher.reset();
    _launcher = std::make_unique<Launcher>(
        _configuration,
        Launcher::Places { _folder->filePath("launches"), _folder->filePath("logs"), QStringLiteral(QNY_LAUNCHER) },
        [this](const QByteArray& host, const News& news) {
            if (_gone.contains(host)) {
                return false;
            }
            _news.append({ host, news });
            return true;
        },
        [this](const QByteArray& host) { return !_deaf.contains(host); });
    _launcher->takeOver();
}

QString TestAgents::_start(const QStringList& arguments, const QString& uuid, const QString& program)
{
    _launcher->startAgent({ uuid, program, arguments, HOST, "Corvane" });
    return uuid;
}

std::optional<News> TestAgents::_told(const QString& uuid)
{
    std::optional<News> found;
    const bool isFound = QTest::qWaitFor(
        [&] {
            for (qsizetype i = 0; i < _news.size(); ++i) {
                if (_news.at(i).second.launchUuid == uuid) {
                    found = _news.takeAt(i).second;
                    return true;
                }
            }
            return false;
        },
        15'000);
    if (!isFound) {
        qCritical("nothing was told of launch %s", qPrintable(uuid));
    }
    return found;
}

QByteArray TestAgents::_output(const QString& uuid) const
{
    QFile file(_folder->filePath("logs/launcherTestAgent-" + uuid + ".log"));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void TestAgents::argumentsArriveAsTheyWereGiven()
{
    const QStringList hostile { "two words", "\"quoted\"", "$HOME", "`id`", "; rm -rf /", "*", "é漢", "a\nb", "",
        "--" };
    const QString uuid = _start(QStringList { "--rest" } + hostile);
    QCOMPARE(_told(uuid)->state, QNY_LAUNCH_STARTED);
    QCOMPARE(_told(uuid)->state, QNY_LAUNCH_EXITED);
    QCOMPARE(QString::fromUtf8(_output(uuid)), '[' + hostile.join("]\n[") + "]\n");
}

void TestAgents::theEnvironmentIsHandedOn()
{
    qputenv("QNY_DEVICE", "lo");
    qputenv("QNY_SOMETHING_NEW", "a value");
    const QString uuid = _start({ "--environment", "QNY_DEVICE", "--environment", "QNY_SOMETHING_NEW" });
    QCOMPARE(_told(uuid)->state, QNY_LAUNCH_STARTED);
    QCOMPARE(_told(uuid)->state, QNY_LAUNCH_EXITED);
    QCOMPARE(_output(uuid), "QNY_DEVICE=lo\nQNY_SOMETHING_NEW=a value\n");
}

void TestAgents::anEndIsToldWithItsStatusAndTheLastLines()
{
    const QString uuid = _start({ "--say", "hello", "--complain", "no such device", "--exit", "3" });
    const std::optional<News> started = _told(uuid);
    QCOMPARE(started->state, QNY_LAUNCH_STARTED);
    QVERIFY(started->number > 1);
    QCOMPARE(started->text, _configuration.programs.at(0).path);
    const std::optional<News> ended = _told(uuid);
    QCOMPARE(ended->state, QNY_LAUNCH_EXITED);
    QCOMPARE(ended->number, 3);
    QCOMPARE(ended->lastLines, "hello\nno such device\n");
    QCOMPARE(_launcher->runningCount(), 0);
    QVERIFY(QDir(_folder->filePath("launches")).isEmpty());
    // It may be started again, and its output goes on
    _start({ "--say", "again" }, uuid);
    QCOMPARE(_told(uuid)->state, QNY_LAUNCH_STARTED);
    QCOMPARE(_told(uuid)->number, 0);
    QCOMPARE(_output(uuid), "hello\nno such device\nagain\n");
}

void TestAgents::aSignalIsTold()
{
    const QString uuid = _start({ "--say", "about to crash", "--raise", QString::number(SIGABRT) });
    QCOMPARE(_told(uuid)->state, QNY_LAUNCH_STARTED);
    const std::optional<News> ended = _told(uuid);
    QCOMPARE(ended->state, QNY_LAUNCH_SIGNALLED);
    QCOMPARE(ended->number, SIGABRT);
    QCOMPARE(ended->lastLines, "about to crash\n");
}

void TestAgents::whatCannotBeStartedIsToldWithItsReason()
{
    QFile file(_folder->filePath("no program"));
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write("neither ELF nor script\n") > 0);
    file.close();
    file.setPermissions(QFileDevice::ReadOwner | QFileDevice::ExeOwner);
    const QString path = QFileInfo(file).canonicalFilePath();
    _configuration.programs.append({ path, {} });
    _launcher->setConfiguration(_configuration);
    const QString uuid = _start({}, newUuid(), path);
    const std::optional<News> news = _told(uuid);
    QCOMPARE(news->state, QNY_LAUNCH_FAILED);
    QCOMPARE(news->number, ENOEXEC);
    QCOMPARE(news->text, path + " could not be started: Exec format error.");
    QCOMPARE(_launcher->runningCount(), 0);
}

void TestAgents::aRefusalIsToldAndStartsNothing()
{
    const QString uuid = _start({}, newUuid(), "/bin/true");
    const std::optional<News> news = _told(uuid);
    QCOMPARE(news->state, QNY_LAUNCH_REFUSED);
    QVERIFY2(news->text.startsWith("/bin/true is not among the programs"), qPrintable(news->text));
    QCOMPARE(_launcher->runningCount(), 0);
    QVERIFY(QDir(_folder->filePath("launches")).isEmpty());
}

void TestAgents::aLaunchRunsOnceAtATime()
{
    const QString uuid = _start({ "--wait" });
    const int process = _told(uuid)->number;
    _start({ "--wait" }, uuid.toUpper());
    const std::optional<News> news = _told(uuid);
    QCOMPARE(news->state, QNY_LAUNCH_RUNNING);
    QCOMPARE(news->number, process);
}

void TestAgents::noMoreRunThanAreAllowed()
{
    _configuration.children = 2;
    _launcher->setConfiguration(_configuration);
    QCOMPARE(_told(_start({ "--wait" }))->state, QNY_LAUNCH_STARTED);
    QCOMPARE(_told(_start({ "--wait" }))->state, QNY_LAUNCH_STARTED);
    const std::optional<News> news = _told(_start({ "--wait" }));
    QCOMPARE(news->state, QNY_LAUNCH_REFUSED);
    QCOMPARE(news->text, "2 agents run already, and no more are allowed here.");
}

void TestAgents::anAgentIsAskedToEndAndToldAsStopped()
{
    const QString uuid = _start({ "--wait" });
    const int process = _told(uuid)->number;
    _launcher->stopAgent({}, process, HOST, "Corvane");
    const std::optional<News> news = _told(uuid);
    QCOMPARE(news->state, QNY_LAUNCH_STOPPED);
    QCOMPARE(news->number, SIGTERM);
    QVERIFY(!_runs(process));
}

void TestAgents::anAgentThatDoesNotListenIsKilled()
{
    const QString uuid = _start({ "--deaf", "--say", "deaf now", "--wait" });
    const int process = _told(uuid)->number;
    QTRY_COMPARE(_output(uuid), "deaf now\n");
    _launcher->stopAgent({}, process, HOST, "Corvane");
    const std::optional<News> news = _told(uuid);
    QCOMPARE(news->state, QNY_LAUNCH_STOPPED);
    QCOMPARE(news->number, SIGKILL);
    QVERIFY(!_runs(process));
}

void TestAgents::aFrozenAgentIsEnded()
{
    const QString uuid = _start({ "--wait" });
    const int process = _told(uuid)->number;
    QCOMPARE(kill(process, SIGSTOP), 0);
    _launcher->stopAgent({}, process, HOST, "Corvane");
    QCOMPARE(_told(uuid)->state, QNY_LAUNCH_STOPPED);
    QVERIFY(!_runs(process));
}

void TestAgents::othersProcessesAreLeftAlone()
{
    QProcess other;
    other.start(QStringLiteral(TEST_AGENT), { "--say", "ready", "--wait" });
    QVERIFY(other.waitForReadyRead());
    const QString uuid = _start({ "--wait" });
    const int process = _told(uuid)->number;
    const RunningLaunch running = *LaunchFiles(QDir(_folder->filePath("launches")).filePath(uuid)).running();
    // Neither another's process, nor the keeper, nor what signals take for "everybody"
    for (const int id : { static_cast<int>(other.processId()), static_cast<int>(running.keeper.id), 0, -1, -process }) {
        _launcher->stopAgent({}, id, HOST, "Corvane");
        const std::optional<News> news = _told(QString());
        QCOMPARE(news->state, QNY_LAUNCH_REFUSED);
        QCOMPARE(news->number, id);
        QCOMPARE(news->text, QString("Process %1 was not started by this launcher, which leaves it alone.").arg(id));
    }
    const QString unknown = newUuid();
    _launcher->stopAgent(unknown, 0, HOST, "Corvane");
    QCOMPARE(_told(unknown)->text, "It does not run under this launcher.");
    QVERIFY(_runs(process));
    QCOMPARE(other.state(), QProcess::Running);
    other.kill();
    QVERIFY(other.waitForFinished());
}

void TestAgents::agentsGoOnWithoutTheLauncherAndTheNextOneKnowsThem()
{
    const QString uuid = _start({ "--say", "here", "--wait" });
    const int process = _told(uuid)->number;
    _restart();
    QVERIFY(_runs(process));
    QCOMPARE(_launcher->runningCount(), 1);
    _launcher->hostEntered(HOST);
    _start({}, uuid);
    QCOMPARE(_told(uuid)->number, process);
    _launcher->stopAgent(uuid, 0, HOST, "Corvane");
    QCOMPARE(_told(uuid)->state, QNY_LAUNCH_STOPPED);
    QVERIFY(!_runs(process));
}

void TestAgents::whatEndedMeanwhileIsToldByTheNextLauncher()
{
    const QString uuid = _start({ "--say", "here", "--wait" });
    const int process = _told(uuid)->number;
    QTRY_COMPARE(_output(uuid), "here\n");
    _launcher.reset();
    QCOMPARE(kill(process, SIGABRT), 0);
    const LaunchFiles files(QDir(_folder->filePath("launches")).filePath(uuid));
    QTRY_VERIFY(files.end());
    _restart();
    QCOMPARE(_launcher->runningCount(), 0);
    QVERIFY(_news.isEmpty());
    _launcher->hostEntered(HOST);
    const std::optional<News> news = _told(uuid);
    QCOMPARE(news->state, QNY_LAUNCH_SIGNALLED);
    QCOMPARE(news->number, SIGABRT);
    QCOMPARE(news->lastLines, "here\n");
}

void TestAgents::anAgentWhoseKeeperWasKilledIsToldAsLost()
{
    const QString uuid = _start({ "--wait" });
    const int process = _told(uuid)->number;
    const LaunchFiles files(QDir(_folder->filePath("launches")).filePath(uuid));
    const RunningLaunch running = *files.running();
    QCOMPARE(running.agent, process);
    QCOMPARE(kill(running.keeper.id, SIGKILL), 0);
    const std::optional<News> news = _told(uuid);
    QCOMPARE(news->state, QNY_LAUNCH_LOST);
    QCOMPARE(news->text, _configuration.programs.at(0).path);
    QTRY_VERIFY(!_runs(process)); // nobody is left who would know of it
}

void TestAgents::aFolderOfAnotherTimeIsNotTakenForAnAgent()
{
    // Given what a crash of the machine left: the process id belongs to another now, to this test
    const QString uuid = newUuid();
    LaunchFiles files(QDir(_folder->filePath("launches")).filePath(uuid));
    QVERIFY(files.writeAsked("/opt/agent", HOST));
    ProcessIdentity another = identityOf(getpid());
    another.bootId = "another start of the machine";
    QVERIFY(files.writeRunning({ another, getpid() }));
    const QString empty = newUuid();
    QVERIFY(QDir(_folder->filePath("launches")).mkdir(empty));
    const QString garbage = newUuid();
    QVERIFY(QDir(_folder->filePath("launches")).mkdir(garbage));
    for (const char* name : { "asked.json", "running.json", "end.json" }) {
        QFile file(_folder->filePath("launches/" + garbage + '/' + name));
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write("{\"how\":7,\"keeper\":1,") > 0);
    }
    QVERIFY(QDir(_folder->filePath("launches")).mkdir("notes of a person"));
    // When a launcher begins
    _restart();
    // Then nothing runs, and nobody is ended
    QCOMPARE(_launcher->runningCount(), 0);
    _launcher->hostEntered(HOST);
    QCOMPARE(_told(uuid)->state, QNY_LAUNCH_LOST);
    QCOMPARE(_told(empty)->state, QNY_LAUNCH_LOST);
    QCOMPARE(_told(garbage)->state, QNY_LAUNCH_LOST);
    QCOMPARE(QDir(_folder->filePath("launches")).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
        QStringList { "notes of a person" });
}

void TestAgents::allAreEndedWhenThatIsAskedFor()
{
    const int first = _told(_start({ "--wait" }))->number;
    const int second = _told(_start({ "--wait" }))->number;
    QSignalSpy ended(_launcher.get(), &Launcher::allEnded);
    _launcher->endAll();
    QTRY_COMPARE(ended.count(), 1);
    QVERIFY(!_runs(first) && !_runs(second));
    QVERIFY(_told(_start({ "--wait" }))->text.contains("about to end"));
}

void TestAgents::outputIsBounded()
{
    _configuration.logFileBytes = 4096;
    _configuration.logFiles = 3;
    _launcher->setConfiguration(_configuration);
    const QString uuid = _start({ "--lines", "20000" });
    QCOMPARE(_told(uuid)->state, QNY_LAUNCH_STARTED);
    const std::optional<News> ended = _told(uuid);
    QVERIFY(ended->lastLines.endsWith("line 19999\nline 20000\n"));
    QVERIFY(ended->lastLines.size() <= RotatingLog::TAIL_BYTES);
    const QFileInfoList files = QDir(_folder->filePath("logs")).entryInfoList(QDir::Files);
    QCOMPARE(files.size(), 3);
    for (const QFileInfo& file : files) {
        QVERIFY(file.size() <= 4096);
    }
    QVERIFY(_output(uuid).endsWith("line 20000\n"));
}

void TestAgents::oldOutputGoes()
{
    _configuration.logsKept = 2;
    _launcher->setConfiguration(_configuration);
    QString uuid;
    for (int i = 0; i < 4; ++i) {
        uuid = _start({ "--say", "something" });
        QCOMPARE(_told(uuid)->state, QNY_LAUNCH_STARTED);
        QCOMPARE(_told(uuid)->state, QNY_LAUNCH_EXITED);
    }
    QCOMPARE(QDir(_folder->filePath("logs")).entryList(QDir::Files).size(), 2);
    QCOMPARE(_output(uuid), "something\n");
}

void TestAgents::anotherHostIsToldWhenTheOneThatAskedHasLeft()
{
    const QString uuid = _start({ "--wait" });
    const int process = _told(uuid)->number;
    // Given one host that has left and another that is there: it is told
    _launcher->hostExited(HOST);
    _launcher->hostEntered("host-2");
    QCOMPARE(kill(process, SIGABRT), 0);
    QTRY_COMPARE(_news.size(), 1);
    QCOMPARE(_news.at(0).first, "host-2");
    QCOMPARE(_news.takeFirst().second.state, QNY_LAUNCH_SIGNALLED);
    // But not of answers to somebody else
    _start({}, uuid, "/bin/true");
    QTest::qWait(0);
    QVERIFY(_news.isEmpty());
    // Given none: the next that comes
    _launcher->hostExited("host-2");
    const QString second = _start({ "--exit", "1" });
    QTRY_COMPARE(_launcher->runningCount(), 0);
    _launcher->hostEntered("host-3");
    QCOMPARE(_told(second)->state, QNY_LAUNCH_EXITED);
}

void TestAgents::whatAHostThatIsJustLeavingIsNotToldIsToldToOthers()
{
    _launcher->hostEntered("host-2");
    const QString uuid = _start({ "--wait" });
    const int process = _told(uuid)->number;
    // Given the one that asked has left, and the launcher has not heard of that
    _gone = { HOST };
    QCOMPARE(kill(process, SIGABRT), 0);
    QTRY_COMPARE(_launcher->runningCount(), 0);
    QVERIFY(_news.isEmpty());
    _launcher->hostExited(HOST);
    QTRY_COMPARE(_news.size(), 1);
    QCOMPARE(_news.takeFirst().first, "host-2");
    // Given the other one, too
    const QString second = _start({ "--exit", "1" });
    _gone = { HOST, "host-2" };
    QTRY_COMPARE(_launcher->runningCount(), 0);
    _launcher->hostExited("host-2");
    _launcher->hostEntered("host-3");
    QCOMPARE(_told(second)->state, QNY_LAUNCH_EXITED);
    QCOMPARE(_news.size(), 0);
}

void TestAgents::anEndIsToldToWhoStartedTheAgentAndToWhoeverAskedForIt()
{
    for (const char* host : { "host-2", "host-3", "host-4" }) {
        _launcher->hostEntered(host);
    }
    const auto hearers = [this] {
        QSet<QByteArray> hosts;
        for (const auto& [host, news] : std::as_const(_news)) {
            if (news.state == QNY_LAUNCH_STOPPED) {
                hosts.insert(host);
            }
        }
        return hosts;
    };
    // One by its launch, one by its process, one that has left before the end
    const QString uuid = _start({ "--deaf", "--say", "deaf now", "--wait" });
    const int process = _told(uuid)->number;
    QTRY_COMPARE(_output(uuid), "deaf now\n");
    _launcher->stopAgent(uuid, 0, "host-2", "Corvane");
    _launcher->stopAgent({}, process, "host-3", "Corvane");
    _launcher->stopAgent(uuid, 0, "host-4", "Corvane");
    _launcher->hostExited("host-4");
    QTRY_COMPARE(_launcher->runningCount(), 0);
    QCOMPARE(hearers(), (QSet<QByteArray> { HOST, "host-2", "host-3" }));
    QCOMPARE(_news.size(), 3);
    // Who asked then is told of that end alone
    _news.clear();
    _start({ "--wait" }, uuid);
    QCOMPARE(_told(uuid)->state, QNY_LAUNCH_STARTED);
    _launcher->stopAgent(uuid, 0, HOST, "Corvane");
    QTRY_COMPARE(_launcher->runningCount(), 0);
    QCOMPARE(hearers(), QSet<QByteArray> { HOST });
}

void TestAgents::whoMayNotHearAnyMoreIsToldNoEnd()
{
    _launcher->hostEntered("host-2");
    const QString uuid = _start({ "--exit", "3" });
    QCOMPARE(_told(uuid)->state, QNY_LAUNCH_STARTED);
    QCOMPARE(_told(uuid)->state, QNY_LAUNCH_EXITED);
    // Given that the one that asked, and is still there, may not any more: the others are told
    _deaf = { HOST };
    const QString second = _start({ "--exit", "4" });
    QTRY_COMPARE(_launcher->runningCount(), 0);
    QCOMPARE(_told(second)->state, QNY_LAUNCH_STARTED); // the answer to its own request
    QCOMPARE(_news.size(), 1);
    QCOMPARE(_news.takeFirst().first, "host-2");
    // Given none that may: whoever asks for something and may again
    _deaf = { HOST, "host-2" };
    const QString third = _start({ "--exit", "5" });
    QTRY_COMPARE(_launcher->runningCount(), 0);
    QCOMPARE(_told(third)->state, QNY_LAUNCH_STARTED);
    QVERIFY(_news.isEmpty());
    _deaf.clear();
    _start({}, newUuid(), "/bin/true");
    QCOMPARE(_told(third)->number, 5);
}

QTEST_GUILESS_MAIN(TestAgents)
#include "tst_launcher_agents.moc"
