// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QtCore/QDateTime>
#include <QtCore/QHash>
#include <QtCore/QString>

#include <optional>

/// The start or the end of a record.
///
/// A date that comes from a list of records is kept as an instant and made local time whenever somebody looks: local
/// time costs a look at the zone's clock, and most records of a long list are never looked at.
class RecordDate
{
public:
    /// Invalid: there is no such date, or it is not known.
    RecordDate() = default;

    /// Kept as it is.
    RecordDate(const QDateTime& dateTime);

    /// A local time, given in milliseconds since the epoch.
    static RecordDate fromInstant(qint64 milliseconds);

    bool isValid() const { return _isValid; }

    /// Milliseconds since the epoch; 0 when invalid.
    qint64 instant() const { return _instant; }

    QDateTime toDateTime() const;

    friend bool operator==(const RecordDate& left, const RecordDate& right)
    {
        return left._isValid == right._isValid && left._instant == right._instant;
    }
    friend bool operator!=(const RecordDate& left, const RecordDate& right) { return !(left == right); }

private:
    bool _isValid = false;
    qint64 _instant = 0;
    /// Null for what is made local time when it is asked for.
    QDateTime _given;
};

/// Reads the dates of one list of records: local times in the form "yyyy-MM-dd HH:mm:ss.zzz".
///
/// The results are those of QDateTime::fromString() with this form, which takes half a millisecond a date where the
/// zone has no summer time, minutes for a long list. A reader is made for one list and thrown away with it: what it
/// learns of the local clocks is right until somebody changes the zone.
class RecordDates
{
public:
    /// Invalid for a text that is empty or no date; blanks around it are let pass.
    RecordDate read(const QString& text);

private:
    std::optional<qint64> _offsetAround(const QDate& date);
    qint64 _offsetAt(qint64 step);

    /// The clocks' advance over UTC, in milliseconds, at every step of days that was looked at, and what holds all
    /// around a step: nothing where clocks change.
    QHash<qint64, qint64> _offsets;
    QHash<qint64, std::optional<qint64>> _offsetsAround;
};
