// SPDX-License-Identifier: Apache-2.0
#ifndef CORVANE_TOUR_REPLAYCHECK_H
#define CORVANE_TOUR_REPLAYCHECK_H

#include "observation.h"
#include "recordfile.h"

#include <QtCore/QStringList>

#include <optional>

namespace tour {

// One uninterrupted stretch of a replay, from a play to the end, a pause or a stop.
struct ReplayStretch
{
    double fromSeconds = 0.0; // the position at which it was played
    std::optional<double> toSeconds; // the position at which it was paused; unset: played to the end
    double toToleranceSeconds = 0.1; // how well that position is known
    double speed = 1.0;
    QStringList agents; // that are replayed; empty: all of the record
    // Whether the position was moved to, loaded or stopped at, so that each output's value there comes first.
    bool beginsWithState = true;
    qint64 playedUs = 0; // when play was asked for, microseconds since 1970 UTC
    qint64 endedUs = 0; // when the end, the pause or the stop was seen
};

// Bounds of a replay at the right times, wide enough for a machine that halts for a tenth of a second now and then. How
// near a replay comes on a quiet one is what benchmarks/replay measures.
struct ReplayBounds
{
    double nearMs = 20.0; // within which nearFraction of all events arrive
    double nearFraction = 0.7;
    double wholeMs = 300.0; // by which first to last event may be longer or shorter than recorded
};

struct ReplayCheck
{
    qsizetype expected
        = 0; // events of the record in the stretch, of the agents that are replayed; at a pause the least
    qsizetype observed = 0; // events of stand-ins that arrived, the state at the beginning included
    qsizetype states = 0; // values of the state at the beginning
    QStringList wrongAgents;
    QStringList missing;
    QStringList wrong; // another value, a value too much, or another order
    QStringList lost; // gaps in the stand-ins' numbering
    QStringList timing;

    double medianLateMs = 0.0; // of |arrival - due|, the replay's start being where the median event is on time
    double nearLateMs = 0.0; // the nearFraction quantile of the same
    double oftenLateMs = 0.0; // the 0.95 quantile
    double mostLateMs = 0.0;
    double wholeErrorMs = 0.0; // (last arrival - first arrival) - (last time - first time) / speed

    bool passed() const;
    QString summary() const;
};

// Compares what an observer received from stand-ins with what the record says: for each agent first the state at the
// position (values of initial rows and of events before it; impulses have none), then every event in its order, nothing
// of others, at the recorded intervals divided by the speed.
ReplayCheck checkReplay(const RecordFile& record, const QList<Observation>& observations, const ReplayStretch& stretch,
    const ReplayBounds& bounds = {});

} // namespace tour

#endif
