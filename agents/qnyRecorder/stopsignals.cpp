// SPDX-License-Identifier: Apache-2.0
#include "stopsignals.h"

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

namespace recorder {

StopSignals::StopSignals()
{
    sigset_t set;
    sigemptyset(&set);
    for (const int number : { SIGINT, SIGTERM, SIGHUP }) {
        sigaddset(&set, number);
    }
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
    _signals = signalfd(-1, &set, SFD_CLOEXEC);
    _requests = eventfd(0, EFD_CLOEXEC);
    // A log reader that went away must not end a recording.
    std::signal(SIGPIPE, SIG_IGN);
}

StopSignals::~StopSignals()
{
    close(_signals);
    close(_requests);
}

void StopSignals::request()
{
    const uint64_t one = 1;
    // Fails only when the counter is full, that is when a request stands already.
    [[maybe_unused]] const ssize_t written = write(_requests, &one, sizeof one);
}

QString StopSignals::wait()
{
    for (;;) {
        pollfd sources[] = { { _signals, POLLIN, 0 }, { _requests, POLLIN, 0 } };
        if (poll(sources, 2, -1) < 0 && errno != EINTR) {
            return QStringLiteral("an error while waiting");
        }
        if (sources[1].revents & POLLIN) {
            return QStringLiteral("a request from the network");
        }
        if (sources[0].revents & POLLIN) {
            signalfd_siginfo info {};
            if (read(_signals, &info, sizeof info) == sizeof info) {
                return QStringLiteral("signal %1").arg(info.ssi_signo);
            }
        }
    }
}

} // namespace recorder
