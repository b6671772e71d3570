// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <journal.h>
#include <recordcheck.h>
#include <recordfile.h>

/// What became of everything that was published while a recorder recorded and was cut off, by its agents' journals: it
/// is in the record, or the record says that it was lost.
struct LossAccount
{
    qsizetype produced = 0; ///< from the start, or the first that is recorded, to the last that is recorded
    qsizetype stored = 0;
    qsizetype late = 0; ///< of these: values that an output still held when its agent was met again
    qsizetype reported = 0; ///< lost, as the record says
    qsizetype unheard = 0; ///< published at the end by agents of which the record says that they had fallen silent
    QStringList faults;

    QString summary() const;
};

LossAccount accountFor(const tour::RecordFile& file, const tour::Journal& journal, const tour::RecordingWindow& window);
