// SPDX-License-Identifier: Apache-2.0
#include "messagelog.h"

#include <QtCore/QDebug>
#include <QtCore/QMutex>

namespace {

QMutex mutex;
QStringList collected;
bool isCollecting = false;

void collect(QtMsgType type, const QMessageLogContext&, const QString& text)
{
    if (type == QtDebugMsg || type == QtInfoMsg) {
        return;
    }
    const QMutexLocker locker(&mutex);
    collected.append((type == QtWarningMsg ? QStringLiteral("warning: ") : QStringLiteral("critical: ")) + text);
}

} // namespace

MessageLog::MessageLog()
    : _before(qInstallMessageHandler(collect))
{
    Q_ASSERT(!isCollecting);
    isCollecting = true;
    clear();
}

MessageLog::~MessageLog()
{
    isCollecting = false;
    qInstallMessageHandler(_before);
}

QStringList MessageLog::problems() const
{
    const QMutexLocker locker(&mutex);
    return collected;
}

void MessageLog::clear()
{
    const QMutexLocker locker(&mutex);
    collected.clear();
}

QString logged(const QString& text)
{
    QString written;
    QDebug(&written).nospace() << text;
    return written;
}
