// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QtCore/QDateTime>
#include <QtCore/QHash>
#include <QtCore/QString>

#include <optional>

/// Reads the dates of one list of records: local times in the form "yyyy-MM-dd HH:mm:ss.zzz".
///
/// The results are those of QDateTime::fromString() with this form, which takes up to half a millisecond a date where
/// the zone has no summer time, minutes for a long list. A reader is made for one list and thrown away with it: what it
/// learns of the local zone is good for as long as nobody changes the zone.
class RecordDates
{
public:
    /// Invalid for a text that is empty or no date; blanks around it are let pass. `known`, what an earlier list gave
    /// for this date, is returned as it is when the text still says the same.
    QDateTime read(const QString& text, const QDateTime& known = QDateTime());

private:
    QDateTime _toLocal(const QDate& date, const QTime& time);
    std::optional<qint64> _offsetAround(const QDate& date);
    qint64 _offsetAt(qint64 step);

    /// The clocks' advance over UTC, in milliseconds, at every step of days that was asked for.
    QHash<qint64, qint64> _offsets;
};
