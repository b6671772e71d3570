// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QtLogging>

/// Takes over what the program logs, on every thread, while it lives: whoever has one compares problems() with what is
/// expected, down to the last word. One at a time.
class MessageLog
{
public:
    MessageLog();
    ~MessageLog();
    Q_DISABLE_COPY_MOVE(MessageLog)

    /// Everything above debug messages, in order: "warning: text" or "critical: text".
    QStringList problems() const;
    void clear();

private:
    QtMessageHandler _before;
};

/// A text as the logging stream writes it.
QString logged(const QString& text);
