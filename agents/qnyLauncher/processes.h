// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

#include <sys/types.h>

namespace launcher {

/// A process that no other can be taken for: ids are used again, these three together are not.
struct ProcessIdentity
{
    pid_t id = 0;
    quint64 startTicks = 0; // when it began, in the kernel's ticks since the start of the machine
    QString bootId;

    bool operator==(const ProcessIdentity&) const = default;
};

/// The process that has this id now; an id of 0 in the answer when there is none, or when it has ended already.
ProcessIdentity identityOf(pid_t id);

/// A descriptor that becomes readable when the process ends, and by which it can be sent a signal without fear that its
/// id was given to another; -1 when it has ended already. The caller closes it.
int openProcess(const ProcessIdentity& identity);
/// False when it has ended.
bool sendSignal(int processDescriptor, int signal);

/// "SIGKILL", "signal 77".
QString signalName(int signal);

} // namespace launcher
