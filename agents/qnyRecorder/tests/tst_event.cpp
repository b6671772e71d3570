// SPDX-License-Identifier: Apache-2.0
#include "datatools.h"
#include "dates.h"
#include "event.h"
#include "store/tally.h"

#include <QDateTime>
#include <QJsonDocument>

using namespace recorder;
using namespace recorder::testing;

// Values, completeness and dates.
class TestEvent : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        // A zone with summer time and an odd history; set before anything asks for local time.
        qputenv("TZ", "Europe/Berlin");
        tzset();
    }

    void valuesKeepTheirBytes()
    {
        Value value(ValueView::fromString("short"));
        Value copy = value;
        Value moved = std::move(value);
        QVERIFY(moved.view() == ValueView::fromString("short"));
        QVERIFY(copy.view() == ValueView::fromString("short"));
        moved = ValueView::fromData(std::string(100, 'x'));
        copy = moved;
        moved = ValueView::fromInteger(3);
        QVERIFY(copy.view() == ValueView::fromData(std::string(100, 'x')));
        QVERIFY(moved.view().bytes.empty());
        copy = copy.view(); // from itself
        QVERIFY(copy.view() == ValueView::fromData(std::string(100, 'x')));
    }

    void zerosDifferAndAllNaNAreOne()
    {
        QVERIFY(!(ValueView::fromDouble(0.0) == ValueView::fromDouble(-0.0)));
        QVERIFY(ValueView::fromDouble(std::numeric_limits<double>::quiet_NaN())
            == ValueView::fromDouble(-std::numeric_limits<double>::quiet_NaN()));
        QVERIFY(!(ValueView::fromString("a") == ValueView::fromData("a")));
    }

    void rawValuesAreChecked()
    {
        ValueView view;
        const std::int32_t number = -5;
        QVERIFY(ValueView::fromRaw(3, &number, sizeof(number), view));
        QVERIFY(view == ValueView::fromInteger(-5));
        QVERIFY(ValueView::fromRaw(5, "abc", 4, view));
        QVERIFY(view == ValueView::fromString("abc"));
        QVERIFY(ValueView::fromRaw(6, nullptr, 0, view));
        QVERIFY(view == ValueView::fromData(""));
        QVERIFY(ValueView::fromRaw(1, nullptr, 0, view));
        QVERIFY(!ValueView::fromRaw(0, &number, 4, view));
        QVERIFY(!ValueView::fromRaw(7, &number, 4, view));
        QVERIFY(!ValueView::fromRaw(3, &number, 2, view));
        QVERIFY(!ValueView::fromRaw(4, nullptr, 8, view));
        QVERIFY(!ValueView::fromRaw(5, "abc", 3, view)); // no zero byte
        QVERIFY(!ValueView::fromRaw(6, nullptr, 3, view));
    }

    void completenessComesBackFromItsJson()
    {
        Completeness completeness;
        completeness.outputs.push_back({ "a \"quoted\"\\", "o\nü", 5, 1, 2, 3, 1'000'000 });
        completeness.outputs.push_back({ "b", "p", 9'000'000'000'000, 0, 0, 0, 0 });
        completeness.remarks.push_back("Something \"happened\".");
        const std::string json = completeness.toJson();
        QVERIFY(QJsonDocument::fromJson(QByteArray::fromStdString(json)).isObject());
        Completeness back;
        std::string reason;
        QVERIFY2(Completeness::fromJson(json, back, reason), reason.c_str());
        QVERIFY(back == completeness);
        QCOMPARE(back.toJson(), json);
        QVERIFY(!back.isComplete());
        QCOMPARE(back.lost(), 6U);
    }

    void completenessThatCannotBeReadIsRefused()
    {
        for (const char* bad : { "", "[]", "{", R"({"version":2})", R"({"outputs":[{"output":"o","stored":1}]})",
                 R"({"outputs":[{"agent":"a","output":"o","stored":-1}]})",
                 R"({"outputs":[{"agent":"a","output":"o"},{"agent":"a","output":"o"}]})" }) {
            Completeness completeness;
            std::string reason;
            QVERIFY2(!Completeness::fromJson(bad, completeness, reason), bad);
            QVERIFY(!reason.empty());
        }
    }

    void theReportNamesWhatLostMost()
    {
        Completeness completeness;
        for (int i = 0; i < 30; ++i) {
            completeness.outputs.push_back({ "agent", "o" + std::to_string(i), 10, 1, 0, 0, 0 });
        }
        const std::vector<std::string> lines = completeness.report(3);
        QCOMPARE(lines.size(), std::size_t(5));
        QCOMPARE(lines[0], std::string("300 events of 30 outputs stored, 30 lost"));
        QVERIFY(lines[1].find("lost 1 on the network") != std::string::npos);
        QCOMPARE(lines[4], std::string("27 more outputs lost events"));
    }

    void aClaimIsComparedWithWhatCame()
    {
        Completeness claimed;
        claimed.outputs
            = { { "a", "o", 10, 2, 0, 0, 500 }, { "a", "p", 5, 0, 0, 0, 100 }, { "c", "o", 0, 4, 0, 0, 0 } };
        Completeness counted;
        counted.outputs = { { "a", "o", 10, 0, 0, 0, 499 }, { "a", "p", 3, 0, 0, 0, 50 }, { "b", "o", 1, 0, 0, 0, 0 } };
        const Completeness merged = withClaim(claimed, counted);
        QCOMPARE(merged.outputs.size(), std::size_t(4));
        QVERIFY((merged.outputs[0] == OutputCompleteness { "a", "o", 10, 2, 0, 0, 500 }));
        QVERIFY((merged.outputs[1] == OutputCompleteness { "a", "p", 3, 0, 0, 0, 50 }));
        QVERIFY((merged.outputs[2] == OutputCompleteness { "b", "o", 1, 0, 0, 0, 0 }));
        QVERIFY((merged.outputs[3] == OutputCompleteness { "c", "o", 0, 4, 0, 0, 0 }));
        QCOMPARE(merged.remarks.size(), std::size_t(1));
        QVERIFY(withClaim({}, counted) == counted);
        QVERIFY(withClaim(counted, counted) == counted);
    }

    void listDatesAreLocal()
    {
        const std::int64_t winter = 1'768'471'200'123'456; // 2026-01-15 10:00:00.123456 UTC
        QCOMPARE(toListDate(winter), std::string("2026-01-15 11:00:00.123"));
        const std::int64_t summer = 1'784'109'600'000'000; // 2026-07-15 10:00:00 UTC
        QCOMPARE(toListDate(summer), std::string("2026-07-15 12:00:00.000"));
        std::int64_t back = 0;
        QVERIFY(fromDateText("  2026-07-15 12:00:00.000 ", back));
        QCOMPARE(back, summer);
        // Of any year, also of those that no record should have.
        for (const qint64 ms : std::initializer_list<qint64> {
                 -62'135'000'000'000, -70'000'000'000'000, 0, 253'402'000'000'000, 300'000'000'000'000 }) {
            const QString expected
                = QDateTime::fromMSecsSinceEpoch(ms).toString(QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz"));
            QCOMPARE(toListDate(ms * 1000), expected.toStdString());
        }
    }

    void csvDatesAreExact()
    {
        for (const std::int64_t moment : { std::int64_t(0), std::int64_t(-1), std::int64_t(-1'000'000),
                 std::int64_t(1'768'471'200'123'456), std::int64_t(253'402'300'799'999'999) }) {
            std::int64_t back = 0;
            QVERIFY2(fromDateText(toCsvDate(moment), back), toCsvDate(moment).c_str());
            QCOMPARE(back, moment);
        }
        QCOMPARE(toCsvDate(1'768'471'200'123'456), std::string("2026-01-15T10:00:00.123456Z"));
        QCOMPARE(toCsvDate(-1), std::string("1969-12-31T23:59:59.999999Z"));
        std::int64_t back = 0;
        QVERIFY(fromDateText("2026-01-15T12:30:00+02:30", back));
        QCOMPARE(back, 1'768'471'200'000'000);
    }

    void momentsBeyondAllNumbersAreCutThere()
    {
        constexpr auto most = std::numeric_limits<std::int64_t>::max();
        constexpr auto least = std::numeric_limits<std::int64_t>::min();
        QCOMPARE(momentOf(1, 2), 3);
        QCOMPARE(momentOf(most - 1, 2), most);
        QCOMPARE(momentOf(least + 1, -2), least);
        RecordSummary summary;
        summary.startUs = 1'768'471'200'000'000;
        summary.durationUs = most;
        QVERIFY(recordsToJson({ summary }).find("294247-01-10") != std::string::npos);
    }

    void otherTextsAreNoDates()
    {
        for (const char* bad :
            { "", "today", "2026-01-15", "2026-13-01 00:00:00", "2026-02-30 00:00:00", "2026-01-15 25:00:00",
                "2026-01-15 10:00:00.", "2026-01-15 10:00:00.1234567", "2026-01-15 10:00:00 x", "2026-01-15T10:00:00+2",
                // No year of four digits, by their offset.
                "9999-12-31T23:59:59-14:00", "0001-01-01T00:00:00+14:00" }) {
            std::int64_t moment = 7;
            QVERIFY2(!fromDateText(bad, moment), bad);
            QCOMPARE(moment, 7);
        }
    }
};

QTEST_GUILESS_MAIN(TestEvent)
#include "tst_event.moc"
