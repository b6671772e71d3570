// SPDX-License-Identifier: Apache-2.0
#include "keeper.h"

#include "launchfiles.h"
#include "rotatinglog.h"

#include <QDeadlineTimer>
#include <QFile>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace launcher {

namespace {

/// What an agent's own children may still say after it ended, before their output is left to itself.
constexpr int MOST_READS_AFTER_END = 64;

struct Pipe
{
    int ends[2] = { -1, -1 };
    Pipe()
    {
        if (pipe2(ends, O_CLOEXEC) != 0) {
            ends[0] = ends[1] = -1;
        }
    }
    ~Pipe()
    {
        closeEnd(0);
        closeEnd(1);
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;
    void closeEnd(int end)
    {
        if (ends[end] >= 0) {
            close(ends[end]);
            ends[end] = -1;
        }
    }
};

class Keeper
{
public:
    explicit Keeper(const KeeperOrder& order)
        : _order(order)
        , _files(order.folder)
        , _log(order.log, order.logFileBytes, order.logFiles)
    {
    }

    int run()
    {
        sigset_t watched;
        sigemptyset(&watched);
        for (const int number : { SIGCHLD, SIGTERM, SIGINT, SIGHUP }) {
            sigaddset(&watched, number);
        }
        sigprocmask(SIG_BLOCK, &watched, nullptr);
        _signals = signalfd(-1, &watched, SFD_CLOEXEC | SFD_NONBLOCK);
        const int error = _start();
        if (error != 0) {
            _files.writeEnd({ LaunchEnd::Failed, error, false, {} });
            return 1;
        }
        _files.writeRunning({ identityOf(getpid()), _agent });
        dprintf(KEEPER_REPORT, "%d\n", static_cast<int>(_agent));
        close(KEEPER_REPORT);
        const int status = _watch();
        LaunchEnd end;
        end.how = WIFSIGNALED(status) ? LaunchEnd::Signalled : LaunchEnd::Exited;
        end.number = WIFSIGNALED(status) ? WTERMSIG(status) : WEXITSTATUS(status);
        end.wasAsked = _wasAsked;
        end.lastLines = QString::fromUtf8(_log.tail());
        _files.writeEnd(end);
        return 0;
    }

private:
    /// Zero, or the error of the system.
    int _start()
    {
        // Made before the fork: after it nothing may be allocated.
        std::vector<QByteArray> texts { QFile::encodeName(_order.program) };
        for (const QString& argument : _order.arguments) {
            texts.push_back(argument.toUtf8());
        }
        std::vector<char*> argv;
        for (QByteArray& text : texts) {
            argv.push_back(text.data());
        }
        argv.push_back(nullptr);
        Pipe failure;
        const pid_t keeper = getpid();
        _agent = fork();
        if (_agent == 0) {
            _becomeAgent(argv, failure.ends[1], keeper);
        }
        if (_agent < 0) {
            return errno;
        }
        _output.closeEnd(1);
        failure.closeEnd(1);
        int error = 0;
        // The descriptor closes by itself when the program begins.
        ssize_t count = -1;
        do {
            count = read(failure.ends[0], &error, sizeof error);
        } while (count < 0 && errno == EINTR);
        if (count == sizeof error) {
            waitpid(_agent, nullptr, 0);
            return error;
        }
        fcntl(_output.ends[0], F_SETFL, O_NONBLOCK);
        return 0;
    }

    [[noreturn]] void _becomeAgent(const std::vector<char*>& argv, int failure, pid_t keeper)
    {
        // Without its keeper nobody would read what it says or know how it ended: it is asked to end then.
        prctl(PR_SET_PDEATHSIG, SIGTERM);
        if (getppid() != keeper) {
            _exit(1);
        }
        setpgid(0, 0);
        sigset_t none;
        sigemptyset(&none);
        sigprocmask(SIG_SETMASK, &none, nullptr);
        std::signal(SIGPIPE, SIG_DFL);
        const int nothing = open("/dev/null", O_RDONLY | O_CLOEXEC);
        if (dup2(nothing, STDIN_FILENO) >= 0 && dup2(_output.ends[1], STDOUT_FILENO) >= 0
            && dup2(_output.ends[1], STDERR_FILENO) >= 0) {
            close(KEEPER_REPORT);
            execv(argv.front(), argv.data());
        }
        const int error = errno;
        [[maybe_unused]] const ssize_t told = write(failure, &error, sizeof error);
        _exit(127);
    }

    /// Until the agent has ended; its status as waitpid() gives it.
    int _watch()
    {
        QDeadlineTimer killAt(QDeadlineTimer::Forever);
        for (;;) {
            pollfd sources[] = { { _signals, POLLIN, 0 }, { _output.ends[0], POLLIN, 0 } };
            poll(sources, 2, static_cast<int>(killAt.remainingTime()));
            if (killAt.hasExpired()) {
                kill(_agent, SIGKILL); // not waited for yet: the id is still its own
                killAt.setRemainingTime(-1);
            }
            _read(1);
            signalfd_siginfo info {};
            while (read(_signals, &info, sizeof info) == sizeof info) {
                if (info.ssi_signo != SIGCHLD && !_wasAsked) {
                    _wasAsked = true;
                    kill(_agent, SIGTERM);
                    kill(_agent, SIGCONT); // a stopped process answers nothing
                    killAt.setRemainingTime(_order.secondsToEnd * 1000);
                }
            }
            int status = 0;
            if (waitpid(_agent, &status, WNOHANG) == _agent) {
                _read(MOST_READS_AFTER_END);
                return status;
            }
        }
    }

    void _read(int most)
    {
        char buffer[16 * 1024];
        for (int i = 0; i < most && _output.ends[0] >= 0; ++i) {
            const ssize_t count = read(_output.ends[0], buffer, sizeof buffer);
            if (count > 0) {
                _log.write(QByteArrayView(buffer, count));
            } else if (count == 0) {
                _output.closeEnd(0); // the agent closed its output: poll() passes a negative descriptor over
            } else {
                return;
            }
        }
    }

    const KeeperOrder _order;
    LaunchFiles _files;
    RotatingLog _log;
    Pipe _output;
    int _signals = -1;
    pid_t _agent = 0;
    bool _wasAsked = false;
};

} // namespace

int runKeeper()
{
    // It reads an agent's output in bursts and must not die of a reader that went away.
    std::signal(SIGPIPE, SIG_IGN);
    close_range(KEEPER_REPORT + 1, ~0U, 0);
    fcntl(KEEPER_REPORT, F_SETFD, FD_CLOEXEC);
    QFile input;
    if (!input.open(STDIN_FILENO, QIODevice::ReadOnly)) {
        return 2;
    }
    const std::optional<KeeperOrder> order = KeeperOrder::fromJson(input.readAll());
    return order ? Keeper(*order).run() : 2;
}

} // namespace launcher
