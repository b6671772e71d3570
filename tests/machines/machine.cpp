// SPDX-License-Identifier: Apache-2.0
#include "machine.h"

#include <QtCore/QStandardPaths>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr int endMs = 10'000;

QString systemError(const char* what)
{
    return QStringLiteral("%1: %2").arg(QLatin1String(what), QString::fromLocal8Bit(std::strerror(errno)));
}

// The machine's first process. What is allowed between fork and exec only: others threads may have been running.
[[noreturn]] void runFirst(int leash, const char* hostName, size_t length)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (leash != 3) {
        dup2(leash, 3);
    }
    close_range(4, ~0U, 0);
    std::signal(SIGCHLD, SIG_IGN); // orphans of the machine leave nothing behind
    const bool isSet = sethostname(hostName, length) == 0
        && mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0
        && mount("proc", "/proc", "proc", MS_NOSUID | MS_NODEV | MS_NOEXEC, nullptr) == 0;
    const int error = isSet ? 0 : errno;
    char none = 0;
    if (::write(3, &error, sizeof error) == sizeof error && error == 0) {
        while (read(3, &none, 1) > 0 || errno == EINTR) { }
    }
    _exit(0);
}

int openNamespace(pid_t process, const char* which)
{
    return open(
        qPrintable(QStringLiteral("/proc/%1/ns/%2").arg(process).arg(QLatin1String(which))), O_RDONLY | O_CLOEXEC);
}

void enter(int space, int kind)
{
    if (setns(space, kind) != 0) {
        qFatal("A namespace cannot be entered: %s", std::strerror(errno));
    }
}

} // namespace

QString machinesProblem()
{
    if (QStandardPaths::findExecutable(QStringLiteral("ip")).isEmpty()) {
        return QStringLiteral("Skipped: there is no program \"ip\" (package iproute2), which joins machines.");
    }
    if (geteuid() != 0) {
        return QStringLiteral("Skipped: machines need namespaces of networks and processes, which only root can make.");
    }
    if (!Machine(QStringLiteral("probe")).isThere()) {
        return systemError("Skipped: machines need namespaces of networks and processes, which the system refuses");
    }
    return {};
}

Machine::Machine(const QString& hostName)
    : _hostName(hostName)
{
    std::array<int, 2> ends {};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
        return;
    }
    const QByteArray name = hostName.toUtf8();
    constexpr unsigned long spaces = CLONE_NEWNET | CLONE_NEWPID | CLONE_NEWNS | CLONE_NEWUTS;
    const auto first = static_cast<pid_t>(syscall(SYS_clone, spaces | SIGCHLD, nullptr, nullptr, nullptr, nullptr));
    if (first == 0) {
        runFirst(ends[1], name.constData(), static_cast<size_t>(name.size()));
    }
    const int refused = errno;
    close(ends[1]);
    _leash = ends[0];
    int error = refused;
    if (first > 0 && read(_leash, &error, sizeof error) == sizeof error && error == 0) {
        _network = openNamespace(first, "net");
        _processes = openNamespace(first, "pid");
        _name = openNamespace(first, "uts");
        _mounts = openNamespace(first, "mnt");
        _first = first;
    } else if (first > 0) {
        waitpid(first, nullptr, 0);
    }
    errno = error;
}

Machine::~Machine()
{
    if (_first > 0) {
        // Returns from waiting when the last process of the machine has ended.
        kill(_first, SIGKILL);
        waitpid(_first, nullptr, 0);
    }
    for (const int fd : { _leash, _network, _processes, _name, _mounts }) {
        if (fd >= 0) {
            close(fd);
        }
    }
}

QString Machine::networkPath() const
{
    return QStringLiteral("/proc/%1/ns/net").arg(_first);
}

Machine::Visit::Visit(const Machine& machine)
    : _network(open("/proc/thread-self/ns/net", O_RDONLY | O_CLOEXEC))
    , _name(open("/proc/thread-self/ns/uts", O_RDONLY | O_CLOEXEC))
{
    enter(machine._network, CLONE_NEWNET);
    enter(machine._name, CLONE_NEWUTS);
    enter(machine._processes, CLONE_NEWPID);
}

Machine::Visit::~Visit()
{
    const int processes = open("/proc/thread-self/ns/pid", O_RDONLY | O_CLOEXEC);
    enter(processes, CLONE_NEWPID);
    enter(_name, CLONE_NEWUTS);
    enter(_network, CLONE_NEWNET);
    for (const int fd : { processes, _name, _network }) {
        close(fd);
    }
}

QString Machine::moveIn() const
{
    const bool isIn = setns(_network, CLONE_NEWNET) == 0 && setns(_name, CLONE_NEWUTS) == 0;
    return isIn ? QString() : systemError("the machine cannot be moved into");
}

void Machine::start(QProcess& process, const QString& program, const QStringList& arguments) const
{
    process.setChildProcessModifier([mounts = _mounts] {
        if (setns(mounts, CLONE_NEWNS) != 0) {
            _exit(127);
        }
    });
    _startHere(process, program, arguments);
}

void Machine::_startHere(QProcess& process, const QString& program, const QStringList& arguments) const
{
    const Visit visit(*this);
    process.start(program, arguments);
}

QString Machine::run(const QString& program, const QStringList& arguments, const QByteArray& input) const
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    _startHere(process, program, arguments);
    process.write(input);
    process.closeWriteChannel();
    if (!process.waitForFinished(endMs)) {
        process.kill();
        process.waitForFinished(endMs);
        return QStringLiteral("%1 did not end: %2").arg(program, process.errorString());
    }
    const bool isFine = process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
    const QString said = QString::fromLocal8Bit(process.readAll()).trimmed();
    return isFine ? QString() : QStringLiteral("%1 failed: %2").arg(program, said);
}
