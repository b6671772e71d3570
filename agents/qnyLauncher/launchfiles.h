// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "processes.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <optional>

namespace launcher {

/// What a keeper is told, through its standard input: command lines may hold secrets, which belong into no file.
struct KeeperOrder
{
    QString folder; // of this launch
    QString program;
    QStringList arguments;
    QString log;
    qint64 logFileBytes = 0;
    int logFiles = 0;
    int secondsToEnd = 0;

    QByteArray toJson() const;
    static std::optional<KeeperOrder> fromJson(const QByteArray& json);
};

/// An agent that a keeper runs now. Written by the keeper once the agent runs.
struct RunningLaunch
{
    ProcessIdentity keeper;
    pid_t agent = 0;
};

/// How an agent ended. Written by the keeper, its last deed.
struct LaunchEnd
{
    enum How
    {
        Failed, // it never ran: number is the system's error
        Exited, // number is its exit status
        Signalled // number is the signal
    };
    How how = Failed;
    int number = 0;
    bool wasAsked = false; // the keeper was told to end it
    QString lastLines;
};

/// What is kept of a launch: a folder named by its uuid, so that a launcher which is started again finds it.
class LaunchFiles
{
public:
    explicit LaunchFiles(const QString& folder);

    const QString& folder() const { return _folder; }
    /// The launcher's: who asked for what.
    bool writeAsked(const QString& program, const QByteArray& askerUuid);
    QString program() const;
    QByteArray askerUuid() const;
    /// The keeper's.
    bool writeRunning(const RunningLaunch& running);
    std::optional<RunningLaunch> running() const;
    bool writeEnd(const LaunchEnd& end);
    std::optional<LaunchEnd> end() const;
    void remove();

private:
    QString _folder;
};

} // namespace launcher
