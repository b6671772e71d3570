// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "messagelog.h"

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <array>

/// What a sequence did last, to be told when it fails: also when a sanitizer or an assertion ends the process.
class Journal
{
public:
    static constexpr int STEPS_TOLD = 20;

    /// One at a time in a process.
    explicit Journal(quint64 seed);
    ~Journal();
    Q_DISABLE_COPY_MOVE(Journal)

    /// The next step begins.
    void begin(const QString& what);
    /// More about the present step.
    void note(const QString& what);
    /// The present step came to nothing and does not count.
    void withdraw();
    int steps() const { return _steps; }

    /// Seed, step and the last steps, to the standard error output.
    void print() const;

private:
    const quint64 _seed;
    int _steps = 0;
    std::array<QByteArray, STEPS_TOLD> _lines;
};

/// What the program logs while a sequence runs: warnings and worse must have been announced.
class Messages
{
public:
    Messages();
    ~Messages();
    Q_DISABLE_COPY_MOVE(Messages)

    /// Messages that hold this text are in order until forgetAllowed().
    void allow(const QString& text);
    void forgetAllowed() { _allowed.clear(); }

    /// Warnings and worse that nobody announced, since the last time.
    QStringList takeUnexpected();

    /// To the standard error output, with what was announced.
    void print() const;

private:
    MessageLog _log;
    QStringList _allowed;
};
