// SPDX-License-Identifier: Apache-2.0
#include "delimitedtable.h"
#include "journal.h"
#include "observation.h"

#include <QtTest/QTest>

using namespace tour;

class TestTourJournal : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aTableKeepsQuotedSeparatorsLineEndsAndQuotes()
    {
        QList<TableRow> rows;
        QString error;
        QVERIFY2(readDelimitedTable("\xEF\xBB\xBF"
                                    "a;\"b;\n\"\"c\"\"\";\"\"\r\n\nd;e",
                     &rows, &error),
            qPrintable(error));
        QCOMPARE(rows.size(), 2);
        QCOMPARE(rows.at(0).fields, QStringList({ "a", "b;\n\"c\"", "" }));
        QCOMPARE(rows.at(1).fields, QStringList({ "d", "e" }));
        QCOMPARE(rows.at(1).line, 4);
    }

    void aBrokenTableIsRefusedWithLineAndColumn_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QString>("expected");
        QTest::newRow("open quote") << QByteArray("a;b\nc;\"d")
                                    << "line 2, column 5: the quote opened on line 2 is never closed";
        QTest::newRow("text after quote") << QByteArray("\"a\"b") << "line 1, column 4: text after a closing quote";
        QTest::newRow("quote inside") << QByteArray("a\"b")
                                      << "line 1, column 2: a quote inside a field that is not quoted";
        QTest::newRow("not UTF-8") << QByteArray("a;\xFF") << "the text is not UTF-8";
    }

    void aBrokenTableIsRefusedWithLineAndColumn()
    {
        QFETCH(QByteArray, text);
        QFETCH(QString, expected);
        QList<TableRow> rows;
        QString error;
        QVERIFY(!readDelimitedTable(text, &rows, &error));
        QCOMPARE(error, expected);
    }

    void aJournalKeepsTheOrderOfEachAgent()
    {
        Journal journal;
        QString error;
        QVERIFY2(
            journal.addRows(
                "Pump;pressure;1;100;double;1.5\nPump;running;1;101;bool;true\nPump;pressure;2;102;double;2\n", &error),
            qPrintable(error));
        QVERIFY2(journal.addRows("Valve;opened;1;5;impulse;\n", &error), qPrintable(error));
        QCOMPARE(journal.agents(), QStringList({ "Pump", "Valve" }));
        QCOMPARE(journal.size(), 4);
        const QList<TracedEvent> pump = journal.eventsByAgent().value("Pump");
        QCOMPARE(pump.at(1).output, "running");
        QCOMPARE(pump.at(2).sequence, 2U);
        QCOMPARE(pump.at(2).timeUs, 102);
    }

    void aJournalGoesOnWhenItsAgentWasStartedAgain()
    {
        Journal journal;
        QString error;
        QVERIFY2(journal.addRows("Pump;p;1;1;integer;1\nPump;p;2;2;integer;2\nPump;p;1;9;integer;3\n", &error),
            qPrintable(error));
        QCOMPARE(journal.size(), 3);
    }

    void aJournalThatIsNoneIsRefused_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QString>("expected");
        QTest::newRow("fields") << QByteArray("Pump;p;1;1;integer\n") << "line 1: 5 fields instead of 6";
        QTest::newRow("time") << QByteArray("Pump;p;1;soon;integer;1\n")
                              << "line 1 is no publication: Pump;p;1;soon;integer;1";
        QTest::newRow("value") << QByteArray("Pump;p;1;1;integer;one\n")
                               << "line 1 is no publication: Pump;p;1;1;integer;one";
        QTest::newRow("gap") << QByteArray("Pump;p;1;1;integer;1\nPump;p;3;2;integer;1\n")
                             << "line 2: number 3 of Pump/p follows number 1";
    }

    void aJournalThatIsNoneIsRefused()
    {
        QFETCH(QByteArray, text);
        QFETCH(QString, expected);
        Journal journal;
        QString error;
        QVERIFY(!journal.addRows(text, &error));
        QCOMPARE(error, expected);
    }

    void aJournalThatIsNotThereIsNamed()
    {
        Journal journal;
        QString error;
        QVERIFY(!journal.addFile("/nowhere/Pump.journal", &error));
        QVERIFY2(error.contains("/nowhere/Pump.journal"), qPrintable(error));
    }

    void valuesAreEqualByWhatTheyMean()
    {
        const auto key = [](const char* type, const char* text) { return TracedValue { type, text }.key(); };
        QCOMPARE(key("double", "1e2"), key("double", "100"));
        QCOMPARE(key("bool", "1"), key("bool", "true"));
        QCOMPARE(key("double", "nan"), key("double", "NaN"));
        QVERIFY(key("double", "0.1") != key("double", "0.10000000000000002"));
        QVERIFY(key("double", "0") != key("double", "-0"));
        QVERIFY(key("integer", "1") != key("bool", "1"));
        QVERIFY(key("string", "a") != key("string", "A"));
        QVERIFY(!(TracedValue { "integer", "3000000000" }.isValid()));
        QVERIFY(!(TracedValue { "data", "*" }.isValid()));
        QVERIFY(!(TracedValue { "colour", "red" }.isValid()));
    }

    void observationsAreReadUpToTheLastWholeRow()
    {
        QList<Observation> observations;
        QString error;
        QVERIFY2(readObservations("Pump;p;4;10;12;double;1.5;1;0;2\nPump;p;5;11;13;double;2;0;1;0\nPump;p;6;1",
                     &observations, &error),
            qPrintable(error));
        QCOMPARE(observations.size(), 2);
        QVERIFY(observations.at(0).isStandIn);
        QVERIFY(!observations.at(0).isLastValue);
        QCOMPARE(observations.at(0).lost, 2U);
        QCOMPARE(observations.at(0).receivedUs, 12);
        QVERIFY(observations.at(1).isLastValue);
        QVERIFY(!readObservations("Pump;p;x;10;12;double;1.5;1;0;0\n", &observations, &error));
    }
};

QTEST_APPLESS_MAIN(TestTourJournal)
#include "tst_tour_journal.moc"
