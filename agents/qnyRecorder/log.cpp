// SPDX-License-Identifier: Apache-2.0
#include "log.h"

#include <QDateTime>
#include <QLoggingCategory>
#include <QString>

#include <quenary.h>

#include <atomic>
#include <climits>
#include <mutex>
#include <poll.h>
#include <unistd.h>
#include <utility>

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

/// What a foreign text may not do to the terminal or the file that the log is read in: begin a line of its own making,
/// or control anything.
QString harmless(QString text)
{
    for (QChar& character : text) {
        if (isHarmful(character) && character != u'\n' && character != u'\t') {
            character = u'?';
        }
    }
    return text.replace(u'\n', QLatin1String("\n    "));
}

/// Standard error may be a pipe that nobody reads any more. A recorder must not stand still for its log, nor its
/// network's thread: what finds no room is left out, and told when there is room again.
class Output
{
public:
    void write(const QByteArray& line)
    {
        const std::lock_guard lock(_mutex);
        if (!hasRoom()) {
            ++_leftOut;
            return;
        }
        const quint64 leftOut = std::exchange(_leftOut, 0);
        const QByteArray note
            = leftOut == 0 ? QByteArray() : "(" + QByteArray::number(leftOut) + " lines found no room here)\n";
        // As much as a pipe with room takes without waiting.
        QByteArray text = note + line;
        if (text.size() > PIPE_BUF) {
            text = text.left(PIPE_BUF - 4) + "…\n";
        }
        [[maybe_unused]] const ssize_t written
            = ::write(STDERR_FILENO, text.constData(), static_cast<size_t>(text.size()));
    }

private:
    bool hasRoom()
    {
        // A reader that is busy is waited for; one that did not come is not, until it does.
        constexpr int PATIENCE_MS = 250;
        pollfd output { STDERR_FILENO, POLLOUT, 0 };
        const int ready = poll(&output, 1, _leftOut == 0 ? PATIENCE_MS : 0);
        return ready != 0;
    }

    std::mutex _mutex;
    quint64 _leftOut = 0;
};

/// Called from any thread.
void writeMessage(QtMsgType type, const QMessageLogContext&, const QString& message)
{
    if (type == QtDebugMsg && !isVerbose) {
        return;
    }
    static Output* const output = new Output; // outlives every thread that may still log
    const QByteArray time = QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz")).toUtf8();
    output->write(time + ' ' + levelName(type) + ": " + harmless(message).toUtf8() + '\n');
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
