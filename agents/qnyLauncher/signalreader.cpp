// SPDX-License-Identifier: Apache-2.0
#include "signalreader.h"

#include <csignal>
#include <sys/signalfd.h>
#include <unistd.h>

namespace launcher {

namespace {

sigset_t watched()
{
    sigset_t set;
    sigemptyset(&set);
    for (const int number : { SIGTERM, SIGINT, SIGHUP }) {
        sigaddset(&set, number);
    }
    return set;
}

} // namespace

void SignalReader::block()
{
    const sigset_t set = watched();
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
}

SignalReader::SignalReader()
{
    const sigset_t set = watched();
    _signals = signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK);
    _notifier = std::make_unique<QSocketNotifier>(_signals, QSocketNotifier::Read);
    connect(_notifier.get(), &QSocketNotifier::activated, this, [this] {
        signalfd_siginfo info {};
        while (read(_signals, &info, sizeof info) == sizeof info) {
            if (info.ssi_signo == SIGHUP) {
                Q_EMIT reloadAsked();
            } else {
                Q_EMIT endAsked(static_cast<int>(info.ssi_signo));
            }
        }
    });
}

SignalReader::~SignalReader()
{
    _notifier.reset();
    close(_signals);
}

} // namespace launcher
