// SPDX-License-Identifier: Apache-2.0
#include "dates.h"

#include <QDateTime>
#include <QTimeZone>

#include <chrono>
#include <cstdio>
#include <limits>

namespace recorder {

namespace {

// Division that rounds down, so that dates before 1970 keep their microseconds positive.
std::int64_t floorDivide(std::int64_t value, std::int64_t by)
{
    const std::int64_t quotient = value / by;
    return value % by < 0 ? quotient - 1 : quotient;
}

// Takes exactly `digits` digits off the front.
bool takeNumber(std::string_view& text, int digits, int& number)
{
    if (text.size() < static_cast<std::size_t>(digits)) {
        return false;
    }
    number = 0;
    for (int i = 0; i < digits; ++i) {
        const char c = text[static_cast<std::size_t>(i)];
        if (c < '0' || c > '9') {
            return false;
        }
        number = number * 10 + (c - '0');
    }
    text.remove_prefix(static_cast<std::size_t>(digits));
    return true;
}

bool takeChar(std::string_view& text, std::string_view anyOf)
{
    if (text.empty() || anyOf.find(text.front()) == std::string_view::npos) {
        return false;
    }
    text.remove_prefix(1);
    return true;
}

// ".123456" and shorter; nothing is no decimals.
bool takeDecimals(std::string_view& text, int& microseconds)
{
    microseconds = 0;
    if (!takeChar(text, ".")) {
        return true;
    }
    int digits = 0;
    for (; !text.empty() && text.front() >= '0' && text.front() <= '9'; text.remove_prefix(1), ++digits) {
        if (digits == 6) {
            return false;
        }
        microseconds = microseconds * 10 + (text.front() - '0');
    }
    for (int i = digits; i < 6; ++i) {
        microseconds *= 10;
    }
    return digits > 0;
}

// "Z" or "+02:00" to the end of the text. `local` when there is nothing.
bool takeZone(std::string_view& text, bool& local, int& offsetSeconds)
{
    local = text.empty();
    offsetSeconds = 0;
    if (local || text == "Z" || text == "z") {
        return true;
    }
    const bool minus = text.front() == '-';
    int hours = 0;
    int minutes = 0;
    if (!takeChar(text, "+-") || !takeNumber(text, 2, hours)) {
        return false;
    }
    takeChar(text, ":");
    if (!takeNumber(text, 2, minutes) || !text.empty() || hours > 14 || minutes > 59) {
        return false;
    }
    offsetSeconds = (hours * 60 + minutes) * 60 * (minus ? -1 : 1);
    return true;
}

} // namespace

std::string toListDate(std::int64_t epochUs)
{
    const QDateTime date = QDateTime::fromMSecsSinceEpoch(floorDivide(epochUs, 1000));
    const QDate day = date.date();
    const QTime time = date.time();
    if (day.year() < 0 || day.year() > 9999) {
        return date.toString(QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz")).toStdString();
    }
    // The same by hand: a long list is mostly made of dates, and a format would be read again for each.
    char text[32];
    std::snprintf(text, sizeof(text), "%04d-%02d-%02d %02d:%02d:%02d.%03d", day.year(), day.month(), day.day(),
        time.hour(), time.minute(), time.second(), time.msec());
    return text;
}

std::string toCsvDate(std::int64_t epochUs)
{
    const std::int64_t seconds = floorDivide(epochUs, 1'000'000);
    const QDateTime date = QDateTime::fromSecsSinceEpoch(seconds, QTimeZone::UTC);
    char decimals[16];
    std::snprintf(decimals, sizeof(decimals), ".%06dZ", static_cast<int>(epochUs - seconds * 1'000'000));
    return date.toString(QStringLiteral("yyyy-MM-ddTHH:mm:ss")).toStdString() + decimals;
}

bool fromDateText(std::string_view text, std::int64_t& epochUs)
{
    while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) {
        text.remove_prefix(1);
    }
    while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) {
        text.remove_suffix(1);
    }
    int year = 0;
    int month = 0;
    int day = 0;
    int hour = 0;
    int minute = 0;
    int second = 0;
    int microseconds = 0;
    int offset = 0;
    bool local = false;
    const bool shaped = takeNumber(text, 4, year) && takeChar(text, "-") && takeNumber(text, 2, month)
        && takeChar(text, "-") && takeNumber(text, 2, day) && takeChar(text, "T t") && takeNumber(text, 2, hour)
        && takeChar(text, ":") && takeNumber(text, 2, minute) && takeChar(text, ":") && takeNumber(text, 2, second)
        && takeDecimals(text, microseconds) && takeZone(text, local, offset);
    if (!shaped) {
        return false;
    }
    const QDate date(year, month, day);
    const QTime time(hour, minute, second);
    if (!date.isValid() || !time.isValid()) {
        return false;
    }
    const QDateTime moment = local ? QDateTime(date, time) : QDateTime(date, time, QTimeZone::UTC);
    if (!moment.isValid()) {
        return false;
    }
    // What an offset carries out of the four digits of a year could not be written as a date again.
    constexpr std::int64_t yearOneS = -62'135'596'800;
    constexpr std::int64_t yearTenThousandS = 253'402'300'800;
    const std::int64_t seconds = moment.toSecsSinceEpoch() - offset;
    if (seconds < yearOneS || seconds >= yearTenThousandS) {
        return false;
    }
    epochUs = seconds * 1'000'000 + microseconds;
    return true;
}

std::int64_t momentOf(std::int64_t startUs, std::int64_t timeUs)
{
    std::int64_t moment = 0;
    if (__builtin_add_overflow(startUs, timeUs, &moment)) {
        return timeUs < 0 ? std::numeric_limits<std::int64_t>::min() : std::numeric_limits<std::int64_t>::max();
    }
    return moment;
}

std::int64_t nowEpochUs()
{
    return std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::system_clock::now().time_since_epoch())
        .count();
}

} // namespace recorder
