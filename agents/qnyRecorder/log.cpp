// SPDX-License-Identifier: Apache-2.0
#include "log.h"

#include <QDateTime>
#include <QLoggingCategory>
#include <QString>

#include <quenary.h>

#include <atomic>
#include <cstdio>

namespace recorder {

namespace {

std::atomic<bool> isVerbose { false };

const char* levelName(QtMsgType type)
{
    switch (type) {
    case QtDebugMsg:
        return "debug";
    case QtInfoMsg:
        return "info";
    case QtWarningMsg:
        return "warning";
    case QtCriticalMsg:
    case QtFatalMsg:
        return "error";
    }
    return "info";
}

/// Called from any thread; one fprintf a line keeps lines whole.
void writeMessage(QtMsgType type, const QMessageLogContext&, const QString& message)
{
    if (type == QtDebugMsg && !isVerbose) {
        return;
    }
    QString line = message;
    line.replace(QLatin1Char('\n'), QLatin1String("\n    "));
    const QByteArray time = QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz")).toUtf8();
    std::fprintf(stderr, "%s %s: %s\n", time.constData(), levelName(type), line.toUtf8().constData());
}

void writeNetworkMessage(qny_log_level_t level, const char* message, void*)
{
    const QString text = QStringLiteral("network: ") + QString::fromUtf8(message);
    switch (level) {
    case QNY_LOG_DEBUG:
        qDebug().noquote() << text;
        break;
    case QNY_LOG_INFO:
        qInfo().noquote() << text;
        break;
    case QNY_LOG_WARNING:
        qWarning().noquote() << text;
        break;
    case QNY_LOG_ERROR:
        qCritical().noquote() << text;
        break;
    }
}

} // namespace

void installLog(bool verbose)
{
    isVerbose = verbose;
    qInstallMessageHandler(writeMessage);
    qny_log_set_handler(writeNetworkMessage, nullptr);
}

} // namespace recorder
