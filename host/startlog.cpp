// SPDX-License-Identifier: Apache-2.0
#include "startlog.h"

#include "terminaltext.h"

#include <QtCore/QMutex>
#include <QtCore/QtLogging>

#include <algorithm>
#include <cstdio>

namespace {

struct HeldBack
{
    QString text; // as Qt would have written it
    QString message;
};

QBasicMutex mutex; // guards the two below
QList<HeldBack> heldBack;
QtMessageHandler previousHandler = nullptr;

void writeLine(const QString& text)
{
    std::fprintf(stderr, "%s\n", qUtf8Printable(terminalText(text)));
}

void hold(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    const QString text = qFormatLogMessage(type, context, message);
    if (type == QtFatalMsg) {
        // Nobody releases it any more: the program ends after this.
        writeLine(text);
        return;
    }
    const QMutexLocker lock(&mutex);
    heldBack.append({ text, message });
}

} // namespace

StartLog::StartLog()
{
    previousHandler = qInstallMessageHandler(hold);
}

StartLog::~StartLog()
{
    release({});
}

void StartLog::release(const QStringList& saidAlready)
{
    QList<HeldBack> messages;
    {
        const QMutexLocker lock(&mutex);
        messages.swap(heldBack);
    }
    qInstallMessageHandler(previousHandler);
    for (const HeldBack& one : messages) {
        const bool isSaid = std::any_of(
            saidAlready.begin(), saidAlready.end(), [&one](const QString& said) { return said.contains(one.message); });
        if (!isSaid) {
            writeLine(one.text);
        }
    }
}
