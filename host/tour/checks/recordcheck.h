// SPDX-License-Identifier: Apache-2.0
#ifndef CORVANE_TOUR_RECORDCHECK_H
#define CORVANE_TOUR_RECORDCHECK_H

#include "journal.h"
#include "recordfile.h"

#include <QtCore/QStringList>

#include <functional>
#include <optional>

namespace tour {

// When something was asked for and when it was seen done: what it began to hold between the two is not known from
// outside. Microseconds since 1970 UTC.
struct Moment
{
    qint64 askedUs = 0;
    qint64 seenUs = 0;
};

struct RecordingWindow
{
    Moment start;
    std::optional<Moment> pause; // both or none
    std::optional<Moment> resume;
    Moment stop;
    qint64 toleranceUs = 300'000; // how far beyond asked and seen a boundary may lie
    // What the recording's filters let through; unset: everything.
    std::function<bool(const QString& agent, const QString& output)> accepts;
};

// What became of every publication that the journals tell.
struct RecordCheck
{
    qsizetype published = 0; // publications between the record's boundaries, as the journals tell them
    qsizetype recorded = 0; // events of the record
    qsizetype matched = 0; // events that are one publication each, unaltered
    qint64 pauseUs = 0; // length of the pause that the record cut out, from its own times
    QStringList lost;
    QStringList doubled;
    QStringList altered;
    QStringList unknown; // events that nobody published
    QStringList misordered;
    QStringList boundaries; // an event where the recording was paused or not running, a missing run, …
    QStringList initialValues; // values at the start that are not the last publication before it

    bool passed() const;
    // One line: the counts, and the first of each kind of fault.
    QString summary() const;
};

// Compares a record with the journals of its agents: every event one publication, contiguous for each agent but for one
// gap when there was a pause, intervals equal to the microsecond, boundaries near the moments.
// The record's clock may differ from each agent's by a constant: that is found from the events themselves.
RecordCheck checkRecord(const RecordFile& record, const Journal& journal, const RecordingWindow& window);

} // namespace tour

#endif
