// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QList>
#include <QString>
#include <QStringList>

namespace launcher {

struct Program
{
    QString path; // canonical
    QString family; // class family of its agents, or empty
};

/// What may be started, and how much of it.
struct Configuration
{
    QList<Program> programs;
    int children = 16; // agents running at a time
    qint64 logFileBytes = 1024 * 1024; // one file of an agent's output
    int logFiles = 4; // files kept for each agent
    int logsKept = 64; // launches whose output is kept after they ended
    int secondsToEnd = 10; // from asking an agent to end to killing it

    const Program* find(const QString& canonicalPath) const;
};

/// Reads the file. Lines are empty, comments ("# …") or "key = value"; a path goes to the end of its line. Keys:
///   program         an absolute, canonical path of an executable file; as often as there are programs
///   family          the class family uuid of the program above it
///   children, log-file-bytes, log-files, logs-kept, seconds-to-end    numbers, see Configuration
/// A file or a program that anybody may write to, or exchange from a folder above, is refused: who can could start
/// anything.
/// Returns what is wrong, with file and line, or nothing.
QString readConfiguration(const QString& path, Configuration& configuration);

} // namespace launcher
