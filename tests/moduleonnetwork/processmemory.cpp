// SPDX-License-Identifier: Apache-2.0
#include "processmemory.h"

#include <QtCore/QFile>
#include <QtCore/QString>

namespace {

QString fileOf(qint64 processId, const char* name)
{
    return QStringLiteral("/proc/%1/%2").arg(processId).arg(QLatin1StringView(name));
}

// "VmRSS:     1234 kB"
qint64 statusBytes(qint64 processId, const QByteArray& field)
{
    QFile status(fileOf(processId, "status"));
    if (!status.open(QIODevice::ReadOnly)) {
        return -1;
    }
    const QList<QByteArray> lines = status.readAll().split('\n');
    for (const QByteArray& line : lines) {
        if (line.startsWith(field + ':')) {
            return line.mid(field.size() + 1).trimmed().split(' ').first().toLongLong() * 1024;
        }
    }
    return -1;
}

} // namespace

qint64 ProcessMemory::resident(qint64 processId)
{
    return statusBytes(processId, "VmRSS");
}

qint64 ProcessMemory::peak(qint64 processId)
{
    return statusBytes(processId, "VmHWM");
}

bool ProcessMemory::forgetPeak(qint64 processId)
{
    QFile file(fileOf(processId, "clear_refs"));
    return file.open(QIODevice::WriteOnly | QIODevice::Unbuffered) && file.write("5") == 1;
}
