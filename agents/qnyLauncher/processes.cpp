// SPDX-License-Identifier: Apache-2.0
#include "processes.h"

#include <QFile>

#include <csignal>
#include <cstring>
#include <sys/syscall.h>
#include <unistd.h>

namespace launcher {

namespace {

QByteArray readAll(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

ProcessIdentity identityOf(pid_t id)
{
    // "123 (name, which may hold blanks and brackets) S 1 …": the state is the third field, the start the
    // twenty-second.
    const QByteArray line = readAll(QStringLiteral("/proc/%1/stat").arg(id));
    const QList<QByteArray> fields = line.mid(line.lastIndexOf(')') + 2).split(' ');
    if (fields.size() < 20 || fields.at(0) == "Z" || fields.at(0) == "X") {
        return {};
    }
    static const QString bootId
        = QString::fromLatin1(readAll(QStringLiteral("/proc/sys/kernel/random/boot_id")).trimmed());
    return { id, fields.at(19).toULongLong(), bootId };
}

int openProcess(const ProcessIdentity& identity)
{
    if (identity.id <= 0) {
        return -1;
    }
    const int descriptor = static_cast<int>(syscall(SYS_pidfd_open, identity.id, 0));
    // Looked at once it is held: the descriptor stays with the process that it was opened for.
    if (descriptor >= 0 && !(identityOf(identity.id) == identity)) {
        close(descriptor);
        return -1;
    }
    return descriptor;
}

bool sendSignal(int processDescriptor, int signal)
{
    return syscall(SYS_pidfd_send_signal, processDescriptor, signal, nullptr, 0) == 0;
}

QString signalName(int signal)
{
    const char* const name = sigabbrev_np(signal);
    return name == nullptr ? QStringLiteral("signal %1").arg(signal) : QStringLiteral("SIG") + QLatin1String(name);
}

} // namespace launcher
