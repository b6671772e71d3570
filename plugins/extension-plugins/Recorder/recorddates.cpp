// SPDX-License-Identifier: Apache-2.0
#include "recorddates.h"

#include <algorithm>

namespace {

const QString FORMAT = QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz");
constexpr int DIGITS_OF_A_DATE = 17;

constexpr qint64 MILLISECONDS_PER_DAY = 24 * 60 * 60 * 1000;

/// Clocks are looked at in these steps: shorter than a week, the least time after which any zone went back on a change
/// since 1970, so that no change hides between two looks that agree.
constexpr qint64 DAYS_PER_STEP = 4;

/// The first year whose dates are not left to Qt altogether.
constexpr int FIRST_YEAR = 1971;

bool isDigit(QChar character)
{
    return character >= u'0' && character <= u'9';
}

struct DateAndTime
{
    QDate date;
    QTime time;
};

/// The fields of a text that has the exact form; nothing for any other, which still can be a date, and for the year 0,
/// which Qt reads in a way of its own.
std::optional<DateAndTime> fieldsOf(QStringView text)
{
    static constexpr QStringView SHAPE = u"0000-00-00 00:00:00.000";
    if (text.size() != SHAPE.size() || text.startsWith(u"0000")) {
        return std::nullopt;
    }
    for (qsizetype i = 0; i < SHAPE.size(); ++i) {
        if (SHAPE[i] == u'0' ? !isDigit(text[i]) : text[i] != SHAPE[i]) {
            return std::nullopt;
        }
    }
    const auto number = [text](qsizetype begin, qsizetype end) {
        int value = 0;
        for (qsizetype i = begin; i < end; ++i) {
            value = value * 10 + (text[i].unicode() - u'0');
        }
        return value;
    };
    return DateAndTime { QDate(number(0, 4), number(5, 7), number(8, 10)),
        QTime(number(11, 13), number(14, 16), number(17, 19), number(20, 23)) };
}

/// Milliseconds since the epoch if the clocks showed UTC.
qint64 asIfUtc(const QDate& date, const QTime& time)
{
    static const qint64 EPOCH = QDate(1970, 1, 1).toJulianDay();
    return (date.toJulianDay() - EPOCH) * MILLISECONDS_PER_DAY + time.msecsSinceStartOfDay();
}

} // namespace

RecordDate::RecordDate(const QDateTime& dateTime)
    : _isValid(dateTime.isValid())
    , _instant(_isValid ? dateTime.toMSecsSinceEpoch() : 0)
    , _given(dateTime)
{
}

RecordDate RecordDate::fromInstant(qint64 milliseconds)
{
    RecordDate date;
    date._isValid = true;
    date._instant = milliseconds;
    return date;
}

QDateTime RecordDate::toDateTime() const
{
    return _given.isNull() && _isValid ? QDateTime::fromMSecsSinceEpoch(_instant) : _given;
}

RecordDate RecordDates::read(const QString& text)
{
    const QStringView trimmed = QStringView(text).trimmed();
    if (const auto fields = fieldsOf(trimmed)) {
        const auto& [date, time] = *fields;
        if (!date.isValid() || !time.isValid()) {
            return RecordDate();
        }
        const std::optional<qint64> offset = date.year() < FIRST_YEAR ? std::nullopt : _offsetAround(date);
        return offset ? RecordDate::fromInstant(asIfUtc(date, time) - *offset) : QDateTime(date, time);
    }
    // Qt reads other blanks and years before our era too, but never a field without all its digits.
    if (std::count_if(trimmed.cbegin(), trimmed.cend(), isDigit) != DIGITS_OF_A_DATE) {
        return RecordDate();
    }
    return QDateTime::fromString(trimmed.toString(), FORMAT);
}

/// How far, in milliseconds, local time is ahead of UTC on a date and the days around it. Nothing when that changes
/// there: then a local time can exist twice or never.
std::optional<qint64> RecordDates::_offsetAround(const QDate& date)
{
    const qint64 step = date.toJulianDay() / DAYS_PER_STEP;
    const auto known = _offsetsAround.constFind(step);
    if (known != _offsetsAround.cend()) {
        return *known;
    }
    // A day of a zone can begin and end a day before or after that of UTC, and clocks change by a day at most.
    std::optional<qint64> offset = _offsetAt(step - 1);
    for (const qint64 later : { step, step + 1, step + 2 }) {
        if (_offsetAt(later) != offset) {
            offset.reset();
            break;
        }
    }
    _offsetsAround.insert(step, offset);
    return offset;
}

qint64 RecordDates::_offsetAt(qint64 step)
{
    const auto known = _offsets.constFind(step);
    if (known != _offsets.cend()) {
        return *known;
    }
    const qint64 utc = asIfUtc(QDate::fromJulianDay(step * DAYS_PER_STEP), QTime(0, 0));
    const QDateTime local = QDateTime::fromMSecsSinceEpoch(utc);
    const qint64 offset = asIfUtc(local.date(), local.time()) - utc;
    _offsets.insert(step, offset);
    return offset;
}
