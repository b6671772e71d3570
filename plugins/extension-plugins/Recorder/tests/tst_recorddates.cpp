// SPDX-License-Identifier: Apache-2.0
#include "recorddates.h"

#include <QtCore/QRandomGenerator>
#include <QtCore/QTimeZone>
#include <QtTest/QtTest>

#include <ctime>

namespace {

/// What every date must be read as.
QDateTime readByQt(const QString& text)
{
    const QString trimmed = text.trimmed();
    return trimmed.isEmpty() ? QDateTime() : QDateTime::fromString(trimmed, QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz"));
}

void compare(const RecordDate& date, const QDateTime& expected)
{
    QCOMPARE(date.isValid(), expected.isValid());
    QCOMPARE(date, RecordDate(expected));
    const QDateTime actual = date.toDateTime();
    QCOMPARE(actual, expected);
    QCOMPARE(actual.isNull(), expected.isNull());
    QCOMPARE(actual.isValid(), expected.isValid());
    QCOMPARE(actual.timeSpec(), expected.timeSpec());
    QCOMPARE(actual.date(), expected.date());
    QCOMPARE(actual.time(), expected.time());
    if (expected.isValid()) {
        QCOMPARE(actual.toMSecsSinceEpoch(), expected.toMSecsSinceEpoch());
        QCOMPARE(date.instant(), expected.toMSecsSinceEpoch());
        QCOMPARE(actual.offsetFromUtc(), expected.offsetFromUtc());
        QCOMPARE(actual.isDaylightTime(), expected.isDaylightTime());
    }
}

void setZone(const QByteArray& zone)
{
    qputenv("TZ", zone);
    tzset();
}

QString toText(const QDateTime& dateTime)
{
    return dateTime.toString(QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz"));
}

} // namespace

class tst_RecordDates : public QObject
{
    Q_OBJECT

    /// A date changed in up to three places, most of them no dates any more.
    static QString damaged(QString text, QRandomGenerator& random)
    {
        static const QString CHARACTERS
            = QStringLiteral("0123456789-: .+TZ\tx") + QChar(0x00a0) + QChar(0x0663) + QChar(0xff11) + QChar(0x2212);
        const auto below = [&random](qsizetype bound) { return random.bounded(static_cast<int>(bound)); };
        for (int changes = below(4); changes > 0; --changes) {
            const int position = below(text.size());
            const QChar character = CHARACTERS.at(below(CHARACTERS.size()));
            switch (below(4)) {
            case 0:
                text.insert(position, character);
                break;
            case 1:
                text.remove(position, 1);
                break;
            case 2:
                text[position] = character;
                break;
            default:
                text[position] = QChar(u'0' + below(10));
                break;
            }
        }
        return text;
    }

private Q_SLOTS:
    void cleanup() { setZone("UTC"); }

    void edgesAreReadAsQtReadsThem_data();
    void edgesAreReadAsQtReadsThem();
    void randomDatesOfAZoneAreReadAsQtReadsThem_data();
    void randomDatesOfAZoneAreReadAsQtReadsThem();
    void damagedTextsAreReadAsQtReadsThem_data();
    void damagedTextsAreReadAsQtReadsThem();
    void aDateIsKeptAsItIsGiven();
};

void tst_RecordDates::edgesAreReadAsQtReadsThem_data()
{
    QTest::addColumn<QString>("text");
    for (const char* const text : { "", " ", "no date", "2026-11-21 10:00:03.004", " \t2026-11-21 10:00:03.004\n",
             "2026-11-21 10:00:03", "2026-11-21 10:00:03.04", "2026-11-21 10:00:03.0040", "2026-11-21T10:00:03.004",
             "2026-11-21 10:00:03.004Z", "2026-11-21  10:00:03.004", "2026-1-21 10:00:03.0040", "26-11-21 10:00:03.004",
             "-2026-11-21 10:00:03.004", "+2026-11-21 10:00:03.004", "02026-11-21 10:00:03.004",
             "0000-01-01 00:00:00.000", "0001-01-01 00:00:00.000", "1582-10-10 00:00:00.000", "1900-02-29 12:00:00.000",
             "1969-12-31 23:59:59.999", "1970-01-01 00:00:00.000", "1970-12-31 23:59:59.999", "1971-01-01 00:00:00.000",
             "2000-02-29 00:00:00.000", "2024-02-29 23:59:59.999", "2026-02-29 00:00:00.000", "2026-00-10 00:00:00.000",
             "2026-13-10 00:00:00.000", "2026-04-31 00:00:00.000", "2026-04-00 00:00:00.000", "2026-04-10 24:00:00.000",
             "2026-04-10 23:60:00.000", "2026-04-10 23:59:60.000", "2038-01-19 03:14:08.000", "2262-04-12 00:00:00.000",
             "9999-12-31 23:59:59.999", "2026-04-10 10:00:00,000", "2026/04/10 10:00:00.000" }) {
        QTest::newRow(text) << QString::fromLatin1(text);
    }
    QTest::newRow("another blank") << QStringLiteral("2026-11-21") + QChar(0x00a0) + QStringLiteral("10:00:03.004");
    QTest::newRow("digits of another script")
        << QStringLiteral("202") + QChar(0xff16) + QStringLiteral("-11-21 10:00:03.004");
}

void tst_RecordDates::edgesAreReadAsQtReadsThem()
{
    QFETCH(QString, text);
    for (const char* const zone : { "UTC", "Europe/Paris" }) {
        setZone(zone);
        RecordDates dates;
        compare(dates.read(text), readByQt(text));
    }
}

void tst_RecordDates::randomDatesOfAZoneAreReadAsQtReadsThem_data()
{
    QTest::addColumn<QByteArray>("zone");
    // Half hours, a day left out, changes a week apart, summer time that is called winter time, no summer time.
    for (const char* const zone : { "UTC", "Europe/Paris", "Europe/Dublin", "America/New_York", "America/Noronha",
             "America/Sao_Paulo", "Africa/Casablanca", "Asia/Gaza", "Asia/Kathmandu", "Australia/Lord_Howe",
             "Pacific/Apia", "Pacific/Kwajalein" }) {
        QTest::newRow(zone) << QByteArray(zone);
    }
}

void tst_RecordDates::randomDatesOfAZoneAreReadAsQtReadsThem()
{
    QFETCH(QByteArray, zone);
    setZone(zone);
    const quint32 freshSeed = QRandomGenerator::global()->generate();
    qInfo() << "fresh seed" << freshSeed;
    for (const quint32 seed : { 1121U, freshSeed }) {
        QRandomGenerator random(seed);
        RecordDates dates;
        QStringList texts;
        for (int i = 0; i < 100; ++i) {
            const QDate day = QDate(1960, 1, 1).addDays(random.bounded(100 * 365));
            texts.append(toText(QDateTime(day, QTime::fromMSecsSinceStartOfDay(random.bounded(86400000)))));
        }
        // Around changes of the clock, where a local time may exist twice or never.
        const QTimeZone timeZone(zone);
        const auto changes = timeZone.transitions(
            QDateTime(QDate(1971, 1, 1), QTime(0, 0)), QDateTime(QDate(2045, 1, 1), QTime(0, 0)));
        QCOMPARE(changes.isEmpty(), zone == "UTC");
        for (int i = 0; i < 100 && !changes.isEmpty(); ++i) {
            const QDateTime change = changes.at(random.bounded(static_cast<int>(changes.size()))).atUtc;
            const qint64 around = random.bounded(3) == 0 ? 8 * 86400 : 2 * 3600;
            texts.append(toText(change.toUTC()
                                    .addSecs(timeZone.offsetFromUtc(change))
                                    .addSecs(random.bounded(static_cast<int>(2 * around)) - around)
                                    .addMSecs(random.bounded(1000))));
        }
        for (const QString& text : std::as_const(texts)) {
            compare(dates.read(text), readByQt(text));
            if (QTest::currentTestFailed()) {
                qInfo() << text;
                return;
            }
        }
    }
}

void tst_RecordDates::damagedTextsAreReadAsQtReadsThem_data()
{
    QTest::addColumn<quint32>("seed");
    QTest::newRow("fixed seed") << 1121U;
    QTest::newRow("fresh seed") << QRandomGenerator::global()->generate();
}

void tst_RecordDates::damagedTextsAreReadAsQtReadsThem()
{
    QFETCH(quint32, seed);
    qInfo() << "seed" << seed;
    setZone("Europe/Paris");
    QRandomGenerator random(seed);
    RecordDates dates;
    for (int i = 0; i < 3000; ++i) {
        const QDateTime valid(QDate(random.bounded(1, 10000), 1, 1).addDays(random.bounded(366)),
            QTime::fromMSecsSinceStartOfDay(random.bounded(86400000)), QTimeZone::UTC);
        const QString text = damaged(toText(valid), random);
        compare(dates.read(text), readByQt(text));
        if (QTest::currentTestFailed()) {
            qInfo() << text;
            return;
        }
    }
}

void tst_RecordDates::aDateIsKeptAsItIsGiven()
{
    setZone("Europe/Paris");
    const QDateTime local(QDate(2026, 7, 1), QTime(10, 0));
    const QDateTime utc(QDate(2026, 7, 1), QTime(8, 0), QTimeZone::UTC);
    QCOMPARE(RecordDate(local).toDateTime().timeSpec(), Qt::LocalTime);
    QCOMPARE(RecordDate(utc).toDateTime().timeSpec(), Qt::UTC);
    QCOMPARE(RecordDate(local), RecordDate(utc));
    QVERIFY(RecordDate(local) != RecordDate(utc.addMSecs(1)));
    QVERIFY(RecordDate(local) != RecordDate());
    QCOMPARE(RecordDate(), RecordDate(QDateTime()));
    QVERIFY(RecordDate().toDateTime().isNull());
}

QTEST_APPLESS_MAIN(tst_RecordDates)
#include "tst_recorddates.moc"
