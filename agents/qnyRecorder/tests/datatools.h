// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "event.h"
#include "store/store.h"

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QTest>

#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <vector>

// What several of the data side's tests need.
namespace recorder::testing {

// Values that break careless code: limits, signs of zero, line ends, quotes, any Unicode, nothing at all.
inline std::vector<Value> awkwardValues()
{
    using Limits = std::numeric_limits<double>;
    std::string everyByte;
    for (int byte = 0; byte < 256; ++byte) {
        everyByte += static_cast<char>(byte);
    }
    std::vector<Value> values = { ValueView::impulse(), ValueView::fromBool(true), ValueView::fromBool(false) };
    for (const std::int32_t number :
        { 0, 1, -1, std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max() }) {
        values.emplace_back(ValueView::fromInteger(number));
    }
    for (const double number : { 0.0, -0.0, 0.1, 1.0 / 3, 1e300, -1e-300, 123456789.125, Limits::min(), Limits::max(),
             Limits::lowest(), Limits::denorm_min(), Limits::infinity(), -Limits::infinity(), Limits::quiet_NaN(),
             -Limits::quiet_NaN() }) {
        values.emplace_back(ValueView::fromDouble(number));
    }
    for (const char* text : { "", " ", "plain", "a;b", "\"", "\"\"", "say \"hi\"", "line\nline", "\r\n", "\r", "\n",
             "\n\n", "ends with\n", ";", "\xEF\xBB\xBFmark", "grüße 日本語 🚀", "\xF4\x8F\xBF\xBF", "\t tab", "nan",
             "true", "#", "\\n", "'", "a\nb;c\"d\"\r\n;" }) {
        values.emplace_back(ValueView::fromString(text));
    }
    values.emplace_back(ValueView::fromString(std::string(1'000'000, 'x') + "\"\n;"));
    for (const std::string& bytes : { std::string(), std::string("a"), std::string("ab"), std::string("abc"),
             std::string(3, '\0'), everyByte, std::string(1'000'000, '\xFF') }) {
        values.emplace_back(ValueView::fromData(bytes));
    }
    return values;
}

// Events of some agents with small and awkward values; often several at the same time. The same for the same seed.
inline std::vector<Event> randomEvents(std::uint64_t seed, std::size_t count, std::int64_t meanStepUs = 500)
{
    std::mt19937_64 random(seed);
    std::vector<Value> values = awkwardValues();
    std::erase_if(values, [](const Value& value) { return value.view().bytes.size() > 1000; });
    std::vector<Event> events;
    events.reserve(count);
    std::int64_t timeUs = 0;
    for (std::size_t i = 0; i < count; ++i) {
        if (random() % 3 != 0) {
            timeUs += static_cast<std::int64_t>(random() % static_cast<std::uint64_t>(2 * meanStepUs + 1));
        }
        const bool isAwkward = random() % 2 != 0; // two calls in one expression come in any order
        const std::string agent = "agent " + std::to_string(random() % 5) + (isAwkward ? ";ö" : "");
        const std::string output = "out" + std::to_string(random() % 7);
        events.emplace_back(timeUs, agent, output, values[random() % values.size()]);
    }
    return events;
}

// Everything that a cursor gives; false when the store fails.
inline bool readAll(EventCursor& cursor, std::vector<Event>& events)
{
    EventView event;
    EventCursor::Step step = cursor.next(event);
    for (; step == EventCursor::Step::Event; step = cursor.next(event)) {
        events.emplace_back(event);
    }
    return step != EventCursor::Step::Failed;
}

// The test fails when the store does.
inline std::vector<Event> allOf(EventCursor& cursor)
{
    std::vector<Event> events;
    if (!readAll(cursor, events)) {
        QTest::qFail(cursor.result().message.c_str(), __FILE__, __LINE__);
    }
    return events;
}

inline std::vector<Event> eventsOf(
    RecordReader& reader, std::int64_t startUs = 0, std::int64_t endUs = std::numeric_limits<std::int64_t>::max())
{
    StoreResult result;
    const std::unique_ptr<EventCursor> cursor = reader.events(startUs, endUs, result);
    if (!cursor) {
        QTest::qFail(result.message.c_str(), __FILE__, __LINE__);
        return {};
    }
    return allOf(*cursor);
}

// Names the first difference, which a comparison of a million events would not.
inline std::string difference(const std::vector<Event>& got, const std::vector<Event>& wanted)
{
    const auto shown = [](const Event& event) {
        return std::to_string(event.timeUs) + " \"" + event.agent + "\"/\"" + event.output + "\" "
            + std::string(toText(event.value.type()));
    };
    for (std::size_t i = 0; i < std::min(got.size(), wanted.size()); ++i) {
        if (!(got[i] == wanted[i])) {
            return "event " + std::to_string(i) + " is " + shown(got[i]) + " instead of " + shown(wanted[i]);
        }
    }
    if (got.size() != wanted.size()) {
        return std::to_string(got.size()) + " events instead of " + std::to_string(wanted.size());
    }
    return {};
}

// Compares a text with a golden file line by line and prints what differs. RR_UPDATE_GOLDEN=1 writes the file instead.
inline bool matchesGolden(const QString& file, const QByteArray& text)
{
    const QString path = QStringLiteral(RR_GOLDEN_DIRECTORY "/") + file;
    if (qEnvironmentVariableIsSet("RR_UPDATE_GOLDEN")) {
        QFile out(path);
        return out.open(QIODevice::WriteOnly) && out.write(text) == text.size();
    }
    QFile in(path);
    if (!in.open(QIODevice::ReadOnly)) {
        qWarning().noquote() << path << "is missing";
        return false;
    }
    const QList<QByteArray> wanted = in.readAll().split('\n');
    const QList<QByteArray> got = text.split('\n');
    bool same = true;
    for (qsizetype i = 0; i < std::max(wanted.size(), got.size()); ++i) {
        const QByteArray before = i < wanted.size() ? wanted[i] : QByteArray("(no line)");
        const QByteArray now = i < got.size() ? got[i] : QByteArray("(no line)");
        if (before != now) {
            qWarning().noquote() << file << "line" << i + 1 << "\n  -" << before << "\n  +" << now;
            same = false;
        }
    }
    return same;
}

} // namespace recorder::testing

#define RR_SAME_EVENTS(got, wanted)                                                                                    \
    do {                                                                                                               \
        const std::string rrDifference = recorder::testing::difference(got, wanted);                                   \
        QVERIFY2(rrDifference.empty(), rrDifference.c_str());                                                          \
    } while (false)

#define RR_DONE(expression)                                                                                            \
    do {                                                                                                               \
        const recorder::StoreResult rrResult = (expression);                                                           \
        QVERIFY2(bool(rrResult), rrResult.message.c_str());                                                            \
    } while (false)

// For functions that call ones with checks in them.
#define RR_CHECKED(call)                                                                                               \
    do {                                                                                                               \
        call;                                                                                                          \
        if (QTest::currentTestFailed()) {                                                                              \
            return;                                                                                                    \
        }                                                                                                              \
    } while (false)
