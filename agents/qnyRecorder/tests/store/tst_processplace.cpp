// SPDX-License-Identifier: Apache-2.0
#include "store/cassandra/processplace.h"

#include <QCoreApplication>
#include <QProcess>
#include <QTest>

#include <csignal>
#include <sched.h>
#include <string>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

using recorder::cassandra::isKnownToBeGone;
using recorder::cassandra::placeOfThisProcess;

namespace {

constexpr unsigned nobody = 65534;
constexpr int isHereStatus = 40;
constexpr int isGoneStatus = 41;
constexpr int isNotHiddenStatus = 42;

// The place of this process with another process or another start.
std::string placeWith(std::string process, std::string start)
{
    const std::string own = placeOfThisProcess();
    const std::size_t startCut = own.rfind('/');
    const std::size_t processCut = own.rfind('/', startCut - 1);
    if (process.empty()) {
        process = own.substr(processCut + 1, startCut - processCut - 1);
    }
    if (start.empty()) {
        start = own.substr(startCut + 1);
    }
    return own.substr(0, processCut) + '/' + process + '/' + start;
}

} // namespace

// Which processes of this machine are taken for gone.
class TestProcessPlace : public QObject
{
    Q_OBJECT

private slots:
    void aLivingProcessIsNotGone()
    {
        QVERIFY(!placeOfThisProcess().empty());
        QCOMPARE(placeWith({}, {}), placeOfThisProcess());
        QVERIFY(!isKnownToBeGone(placeOfThisProcess()));
    }

    void aProcessThatCameLaterUnderTheSameNumberIsAnother() { QVERIFY(isKnownToBeGone(placeWith({}, "1"))); }

    void aProcessThatEndedIsGoneAlsoBeforeItIsReaped()
    {
        const pid_t child = ::fork();
        if (child == 0) {
            ::_exit(0);
        }
        QVERIFY(child > 0);
        siginfo_t info {};
        QCOMPARE(::waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOWAIT), 0);
        QVERIFY(isKnownToBeGone(placeWith(std::to_string(child), {})));
        QCOMPARE(::waitpid(child, nullptr, 0), child);
        QVERIFY(isKnownToBeGone(placeWith(std::to_string(child), {})));
    }

    void nothingIsKnownOfPlacesElsewhereOrUnreadable()
    {
        QVERIFY(!isKnownToBeGone({}));
        QVERIFY(!isKnownToBeGone("another boot/pid:[1]/1/1"));
        QVERIFY(!isKnownToBeGone(placeWith("-1", {})));
        QVERIFY(!isKnownToBeGone(placeWith("nonsense", {})));
    }

    // As where the processes of other users are hidden, which services are often started with.
    void anotherUsersLivingProcessIsNotGoneWhereItIsHidden()
    {
        if (::geteuid() != 0) {
            QSKIP("Only root can hide processes.");
        }
        QProcess child;
        child.setProgram(QCoreApplication::applicationFilePath());
        child.setArguments({ QStringLiteral("--look"), QString::fromStdString(placeOfThisProcess()),
            QString::number(QCoreApplication::applicationPid()) });
        child.start();
        QVERIFY(child.waitForFinished());
        if (child.exitCode() == isNotHiddenStatus) {
            QSKIP("Processes cannot be hidden here.");
        }
        QCOMPARE(child.exitStatus(), QProcess::NormalExit);
        QCOMPARE(child.exitCode(), isHereStatus);
    }
};

// Looks, as another user from whom processes are hidden, for the place of a process.
static int look(const char* place, const char* process)
{
    const std::string file = std::string("/proc/") + process + "/stat";
    const bool isHidden = ::unshare(CLONE_NEWNS) == 0
        && ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0
        && ::mount("proc", "/proc", "proc", 0, "hidepid=2") == 0 && ::setresgid(nobody, nobody, nobody) == 0
        && ::setresuid(nobody, nobody, nobody) == 0 && ::access(file.c_str(), R_OK) != 0;
    if (!isHidden) {
        return isNotHiddenStatus;
    }
    return isKnownToBeGone(place) ? isGoneStatus : isHereStatus;
}

int main(int argc, char** argv)
{
    if (argc == 4 && std::string(argv[1]) == "--look") {
        return look(argv[2], argv[3]);
    }
    QCoreApplication application(argc, argv);
    TestProcessPlace test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_processplace.moc"
