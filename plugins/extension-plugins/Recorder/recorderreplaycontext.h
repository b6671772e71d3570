// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QtCore/QDateTime>
#include <QtCore/QString>

/// What a recorder said of its replay, kept while the record that it names is not known yet.
struct RecorderReplayContext
{
    /// The record's uuid; empty while no context waits.
    QString replayId;
    QDateTime replayStartDateTime;
    /// Seconds.
    double replayDuration = 0.0;
    /// Seconds from the start of the record.
    double replayProgress = 0.0;
    /// Factor of real time.
    double replaySpeed = 1.0;
    bool replayIsRunning = false;
    /// JSON array of agent names.
    QString replayAllAgents;
    /// JSON array of the names that are let through; empty lets all through.
    QString replayAgentsFilter;

    /// Back to what a new context holds.
    void reset();
};
