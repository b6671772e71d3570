// SPDX-License-Identifier: Apache-2.0
#include "crowdjournal.h"
#include "curves.h"
#include "ledger.h"

#include <QtCore/QTemporaryDir>
#include <QtTest/QTest>

using soak::Account;
using soak::Curves;
using soak::Ledger;
using soak::MadeRecord;
using soak::Sample;

namespace {

constexpr qint64 SECOND_US = 1'000'000;
constexpr qint64 START_US = 1'000 * SECOND_US;

} // namespace

// What a soak takes for granted of itself: that it sees what is wrong.
class TestSoakJudgement : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void aSlopeIsThatOfMostPoints();
    void memoryThatStaysIsNoFault();
    void memoryThatGrowsWithTheArrivalsIsAFault();
    void descriptorsThatStayOpenAreAFault();

    void everyEventIsThere();
    void whatIsMissingBeforeTheLastIsAFaultUnlessReported_data();
    void whatIsMissingBeforeTheLastIsAFaultUnlessReported();
    void anEndThatIsMissingIsAFaultUnlessReported_data();
    void anEndThatIsMissingIsAFaultUnlessReported();
    void whatWentDownWithAKilledAgentIsNone();
    void whatNobodyPublishedIsAFault();
    void anEventThatIsThereTwiceIsAFault();
    void aTextThatWasCutIsAFault();
    void whoWasKilledAsHeWroteTakesNoRowOfOthers();

private:
    static Curves _curves(double bytesPerArrival, int moreDescriptors);
    // Publishes the numbers from 1 on, ten a second from before the record's start.
    void _publish(const char* agent, int count, const char* ending);
    Account _settle(const QByteArray& events, int lost = 0);
    static QByteArray _events(int from, int to, int without = 0);

    std::unique_ptr<QTemporaryDir> _folder;
    QByteArray _rows;
};

void TestSoakJudgement::init()
{
    _folder = std::make_unique<QTemporaryDir>();
    _rows.clear();
}

// ---- curves ---------------------------------------------------------------------------------------------------------

Curves TestSoakJudgement::_curves(double bytesPerArrival, int moreDescriptors)
{
    Curves curves;
    Sample sample;
    for (soak::Holding& holding : sample.holdings) {
        holding = { 0, 50'000'000, 20, 8, 0.0 };
    }
    curves.before = sample;
    for (int arrivals = 0; arrivals <= 10'000; arrivals += 100) {
        sample.arrivals = arrivals;
        // Now and then much is held for a moment.
        sample.holdings[1].privateBytes
            = 50'000'000 + static_cast<qint64>(bytesPerArrival * arrivals) + (arrivals % 900 == 0 ? 30'000'000 : 0);
        curves.add(sample);
    }
    sample.holdings[1].descriptors += moreDescriptors;
    curves.after = sample;
    return curves;
}

void TestSoakJudgement::aSlopeIsThatOfMostPoints()
{
    QCOMPARE(soak::medianSlope({ 0, 1, 2, 3, 4 }, { 1, 3, 100, 7, 9 }), 2.0);
    QCOMPARE(soak::medianSlope({ 3, 3 }, { 1, 2 }), 0.0);
}

void TestSoakJudgement::memoryThatStaysIsNoFault()
{
    const Curves curves = _curves(0.0, 0);
    QCOMPARE(curves.faults({}), QStringList());
    QVERIFY(curves.table().contains("before"));
    QVERIFY(curves.writeCsv(_folder->filePath("curves.csv")) && curves.writeSvg(_folder->filePath("curves.svg")));
    QFile csv(_folder->filePath("curves.csv"));
    QVERIFY(csv.open(QIODevice::ReadOnly));
    QCOMPARE(csv.readAll().count('\n'), 102);
}

void TestSoakJudgement::memoryThatGrowsWithTheArrivalsIsAFault()
{
    QCOMPARE(_curves(500.0, 0).faults({}), QStringList());
    const QStringList faults = _curves(1'500.0, 0).faults({});
    QCOMPARE(faults.size(), 1);
    QVERIFY2(faults.first().startsWith("the recorder grows: 15"), qPrintable(faults.first()));
}

void TestSoakJudgement::descriptorsThatStayOpenAreAFault()
{
    QCOMPARE(_curves(0.0, 2).faults({}), QStringList());
    QCOMPARE(_curves(0.0, 3).faults({}),
        QStringList("the recorder had 20 descriptors before the crowd came and has 23 after it went"));
}

// ---- ledger ---------------------------------------------------------------------------------------------------------

void TestSoakJudgement::_publish(const char* agent, int count, const char* ending)
{
    const auto add = [&](const char* what, int number, qint64 timeUs) {
        _rows += QByteArray(agent) + ';' + what + ';' + QByteArray::number(number) + ';' + QByteArray::number(timeUs)
            + '\n';
    };
    const qint64 firstUs = START_US - 5 * SECOND_US;
    add(soak::JOINED, 1, firstUs);
    for (int number = 1; number <= count; ++number) {
        add("note", number, firstUs + number * SECOND_US / 10);
    }
    if (ending != nullptr) {
        add(ending, 1, firstUs + count * SECOND_US / 10 + SECOND_US / 20);
    }
}

// The numbers as a record of ten seconds has them: 51 is the first in it.
QByteArray TestSoakJudgement::_events(int from, int to, int without)
{
    QByteArray events;
    for (int number = from; number <= to; ++number) {
        if (number != without) {
            events += "Somebody;" + QByteArray::number((number - 50) * SECOND_US / 10) + ";output;note;string;"
                + QByteArray::number(number) + ' ' + QByteArray(number, 'x') + '\n';
        }
    }
    return events;
}

Account TestSoakJudgement::_settle(const QByteArray& events, int lost)
{
    const auto write = [this](const char* name, const QByteArray& content) {
        QFile file(_folder->filePath(name));
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(content) == content.size());
    };
    write("journal", _rows);
    write("record.csv",
        ";0;record;version;integer;1\n"
        ";0;record;completeness;string;\"{\"\"outputs\"\":[{\"\"agent\"\":\"\"Somebody\"\",\"\"output\"\":\"\"note\"\","
        "\"\"lost\"\":{\"\"network\"\":"
            + QByteArray::number(lost) + "}}]}\"\n" + events);
    MadeRecord record;
    const QByteArray json = "{\"file\":\"" + _folder->filePath("record.csv").toUtf8()
        + "\",\"start\":{\"asked\":" + QByteArray::number(START_US) + ",\"seen\":" + QByteArray::number(START_US)
        + "},\"stop\":{\"asked\":" + QByteArray::number(START_US + 10 * SECOND_US)
        + ",\"seen\":" + QByteArray::number(START_US + 10 * SECOND_US) + "}}";
    if (!MadeRecord::fromJson(json, &record)) {
        return { .faults = { "the record is not understood" } };
    }
    return Ledger(_folder->filePath("journal")).settle(record);
}

void TestSoakJudgement::everyEventIsThere()
{
    _publish("Somebody", 200, nullptr);
    const Account account = _settle(_events(51, 150));
    QCOMPARE(account.faults, QStringList());
    QCOMPARE(account.recorded, 100);
    QCOMPARE(account.produced, 79); // those not within a second of the start or the end
}

void TestSoakJudgement::whatIsMissingBeforeTheLastIsAFaultUnlessReported_data()
{
    QTest::addColumn<int>("first");
    QTest::addColumn<int>("reported");
    QTest::addColumn<QString>("fault");
    QTest::newRow("not reported") << 51 << 0 << "1 of Somebody/note are missing, 0 are reported lost";
    QTest::newRow("reported") << 51 << 1 << QString();
    QTest::newRow("more is reported") << 51 << 2 << "2 of Somebody/note are reported lost, 1 are missing";
    // As of one that was silent for a while. What was published within a second of the start is not owed.
    QTest::newRow("at the start, not reported") << 71 << 0 << "11 of Somebody/note are missing, 0 are reported lost";
    QTest::newRow("at the start, reported") << 71 << 21 << QString();
    QTest::newRow("at the start, more is reported")
        << 71 << 22 << "22 of Somebody/note are reported lost, 21 are missing";
}

void TestSoakJudgement::whatIsMissingBeforeTheLastIsAFaultUnlessReported()
{
    QFETCH(const int, first);
    QFETCH(const int, reported);
    QFETCH(const QString, fault);
    _publish("Somebody", 200, nullptr);
    QCOMPARE(_settle(_events(first, 150, 100), reported).faults, fault.isEmpty() ? QStringList() : QStringList(fault));
}

void TestSoakJudgement::anEndThatIsMissingIsAFaultUnlessReported_data()
{
    QTest::addColumn<int>("reported");
    QTest::addColumn<QString>("fault");
    QTest::newRow("not reported")
        << 0 << "9 of Somebody/note are neither recorded nor reported, from 131 to 139; recorded: 51 to 130";
    QTest::newRow("reported") << 20 << QString();
    QTest::newRow("more is reported") << 40 << "40 of Somebody/note are reported lost, 20 are missing";
}

void TestSoakJudgement::anEndThatIsMissingIsAFaultUnlessReported()
{
    QFETCH(const int, reported);
    QFETCH(const QString, fault);
    _publish("Somebody", 200, nullptr);
    QCOMPARE(_settle(_events(51, 130), reported).faults, fault.isEmpty() ? QStringList() : QStringList(fault));
}

void TestSoakJudgement::whatWentDownWithAKilledAgentIsNone()
{
    _publish("Somebody", 120, soak::KILLED);
    QCOMPARE(_settle(_events(51, 115)).faults, QStringList());
    QCOMPARE(_settle(_events(51, 100)).faults.size(), 1);
    // One that left in order had said everything
    _rows.clear();
    _publish("Somebody", 120, soak::LEFT);
    QCOMPARE(_settle(_events(51, 115)).faults.size(), 1);
}

void TestSoakJudgement::whatNobodyPublishedIsAFault()
{
    _publish("Somebody", 100, soak::LEFT);
    QCOMPARE(_settle(_events(51, 101)).faults.size(), 1);
}

void TestSoakJudgement::anEventThatIsThereTwiceIsAFault()
{
    _publish("Somebody", 200, nullptr);
    const Account account = _settle(_events(51, 150) + _events(150, 150));
    QCOMPARE(account.faults.size(), 1);
    QVERIFY(account.faults.first().startsWith("twice or out of order: Somebody/note"));
}

void TestSoakJudgement::aTextThatWasCutIsAFault()
{
    _publish("Somebody", 200, nullptr);
    QVERIFY(!_settle(_events(51, 149) + "Somebody;10000000;output;note;string;150 xx\n").faults.isEmpty());
}

void TestSoakJudgement::whoWasKilledAsHeWroteTakesNoRowOfOthers()
{
    const QString path = _folder->filePath("crowd.journal");
    QFile file(path);
    QVERIFY(file.open(QIODevice::Append | QIODevice::Unbuffered));
    soak::CrowdJournal journal;
    QVERIFY(journal.open(path.toStdString()));
    const qint64 firstUs = START_US - 5 * SECOND_US;
    journal.add("Somebody", soak::JOINED, 1, firstUs);
    for (int number = 1; number <= 200; ++number) {
        QVERIFY(number % 10 != 1 || file.write("Another;note;26;179") > 0);
        journal.add("Somebody", "note", number, firstUs + number * SECOND_US / 10);
        QVERIFY(journal.write());
    }
    QFile written(path);
    QVERIFY(written.open(QIODevice::ReadOnly));
    _rows = written.readAll();
    QCOMPARE(_settle(_events(51, 150)).faults, QStringList());
}

QTEST_GUILESS_MAIN(TestSoakJudgement)
#include "tst_soak_judgement.moc"
