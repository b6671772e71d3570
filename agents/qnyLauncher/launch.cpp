// SPDX-License-Identifier: Apache-2.0
#include "launch.h"

#include "keeper.h"

#include <QFile>

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

namespace launcher {

namespace {

void closeAndForget(int& descriptor)
{
    if (descriptor >= 0) {
        close(descriptor);
        descriptor = -1;
    }
}

/// A nameless file with these bytes, read from its beginning; -1 with errno.
int fileWith(const QByteArray& bytes)
{
    int file = memfd_create("keeper", MFD_CLOEXEC);
    if (file >= 0 && (write(file, bytes.constData(), bytes.size()) != bytes.size() || lseek(file, 0, SEEK_SET) != 0)) {
        closeAndForget(file);
    }
    return file;
}

int spawnKeeper(const QString& program, int input, int report, pid_t& keeper)
{
    QByteArray path = QFile::encodeName(program);
    QByteArray word(KEEPER_ARGUMENT);
    char* const argv[] = { path.data(), word.data(), nullptr };

    // Its own session: what is typed at the launcher's terminal is not for agents. No signal stays blocked.
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGMASK);
    sigset_t none;
    sigemptyset(&none);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, report, KEEPER_REPORT);
    const int error = posix_spawn(&keeper, path.constData(), &actions, &attributes, argv, environ);
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    return error;
}

} // namespace

Launch::Launch(const QString& uuid, const QString& folder)
    : _uuid(uuid)
    , _files(folder)
{
}

Launch::~Launch()
{
    _reportNotifier.reset();
    _endNotifier.reset();
    closeAndForget(_report);
    closeAndForget(_keeperDescriptor);
}

int Launch::start(const QString& keeperProgram, const KeeperOrder& order)
{
    int input = fileWith(order.toJson());
    if (input < 0) {
        return errno;
    }
    int report[2] = { -1, -1 };
    if (pipe2(report, O_CLOEXEC) != 0) {
        const int error = errno;
        close(input);
        return error;
    }
    const int error = spawnKeeper(keeperProgram, input, report[1], _keeper);
    close(input);
    close(report[1]);
    _report = report[0];
    if (error != 0) {
        closeAndForget(_report);
        return error;
    }
    _reportNotifier = std::make_unique<QSocketNotifier>(_report, QSocketNotifier::Read);
    connect(_reportNotifier.get(), &QSocketNotifier::activated, this, &Launch::_readReport);
    // Its own child, which nobody else waits for: its id cannot be another's yet.
    const ProcessIdentity identity = identityOf(_keeper);
    if (!_follow(openProcess(identity))) {
        // It has ended already.
        QMetaObject::invokeMethod(this, &Launch::_readReport, Qt::QueuedConnection);
    }
    return 0;
}

bool Launch::adopt()
{
    const std::optional<RunningLaunch> running = _files.running();
    if (!running || _files.end()) {
        return false;
    }
    _agent = running->agent;
    return _follow(openProcess(running->keeper));
}

void Launch::askToEnd()
{
    if (_keeperDescriptor >= 0) {
        sendSignal(_keeperDescriptor, SIGTERM);
    }
}

bool Launch::_follow(int keeperDescriptor)
{
    _keeperDescriptor = keeperDescriptor;
    if (_keeperDescriptor < 0) {
        return false;
    }
    _endNotifier = std::make_unique<QSocketNotifier>(_keeperDescriptor, QSocketNotifier::Read);
    connect(_endNotifier.get(), &QSocketNotifier::activated, this, [this] {
        _readReport(); // an agent that ran for a moment is told as started before it is told as ended
        _endNotifier->setEnabled(false);
        if (_keeper > 0) {
            waitpid(_keeper, nullptr, WNOHANG);
        }
        Q_EMIT ended();
    });
    return true;
}

void Launch::_readReport()
{
    if (_report < 0) {
        return;
    }
    char line[32] = "";
    const ssize_t count = read(_report, line, sizeof line - 1);
    _reportNotifier->setEnabled(false);
    _reportNotifier.release()->deleteLater(); // it may be what calls
    closeAndForget(_report);
    _agent = count > 0 ? static_cast<pid_t>(atoi(line)) : 0;
    if (_agent > 0) {
        Q_EMIT started();
    }
    if (_keeperDescriptor < 0) {
        waitpid(_keeper, nullptr, 0);
        Q_EMIT ended();
    }
}

} // namespace launcher
