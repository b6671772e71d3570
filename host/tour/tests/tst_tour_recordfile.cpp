// SPDX-License-Identifier: Apache-2.0
#include "recordfile.h"

#include <QtTest/QTest>

using namespace tour;

class TestTourRecordFile : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aRecordTellsFactsDefinitionsValuesAndEvents()
    {
        RecordFile record;
        QString error;
        QVERIFY2(record.read(";0;record;version;integer;1\n;0;record;name;string;first\n;0;record;name;string;second\n"
                             ";0;record;duration_us;integer;2500000\n"
                             "Pump;0;agent;;string;\"{\"\"inputs\"\":[]}\"\n"
                             "Pump;0;initial;pressure;double;1.5\n"
                             "Pump;10;output;pressure;double;2;further;columns\nValve;20;output;opened;impulse;\n",
                     &error),
            qPrintable(error));
        QCOMPARE(record.facts().value("name"), "second");
        QCOMPARE(record.durationInSeconds(), 2.5);
        QCOMPARE(record.definitions().value("Pump"), "{\"inputs\":[]}");
        QCOMPARE(record.initialValues().size(), 1);
        QCOMPARE(record.events().size(), 2);
        QCOMPARE(record.agents(), QStringList({ "Pump", "Valve" }));
    }

    void readingAgainReplacesWhatWasRead()
    {
        RecordFile record;
        QString error;
        const QByteArray first = ";0;record;version;integer;1\n;0;record;name;string;first\nPump;0;agent;;string;{}\n"
                                 "Pump;0;initial;p;double;1\nPump;10;output;p;double;2\n";
        QVERIFY2(record.read(first, &error), qPrintable(error));
        QVERIFY2(record.read(first, &error), qPrintable(error));
        QCOMPARE(record.events().size(), 1);
        QCOMPARE(record.initialValues().size(), 1);

        QVERIFY2(record.read(";0;record;version;integer;1\nValve;5;output;p;double;3\n", &error), qPrintable(error));
        QVERIFY(!record.facts().contains("name"));
        QVERIFY(record.definitions().isEmpty());
        QVERIFY(record.initialValues().isEmpty());
        QCOMPARE(record.agents(), QStringList("Valve"));
    }

    void whatIsNoRecordIsRefused_data()
    {
        QTest::addColumn<QByteArray>("rows");
        QTest::addColumn<QString>("expected");
        QTest::newRow("fields") << QByteArray("Pump;1;output;p;double\n") << "line 2: 5 fields instead of 6";
        QTest::newRow("kind") << QByteArray("Pump;1;input;p;double;1\n") << "line 2: unknown kind \"input\"";
        QTest::newRow("value") << QByteArray("Pump;1;output;p;double;high\n") << "line 2: \"high\" is no double";
        QTest::newRow("time") << QByteArray("Pump;-1;output;p;double;1\n") << "line 2: \"-1\" is no time";
        QTest::newRow("order") << QByteArray("Pump;9;output;p;double;1\nPump;8;output;p;double;1\n")
                               << "line 3: time 8 of Pump follows time 9";
    }

    void whatIsNoRecordIsRefused()
    {
        QFETCH(QByteArray, rows);
        QFETCH(QString, expected);
        RecordFile record;
        QString error;
        QVERIFY(!record.read(";0;record;version;integer;1\n" + rows, &error));
        QCOMPARE(error, expected);
    }

    void aRecordWithoutVersionIsRefused()
    {
        RecordFile record;
        QString error;
        QVERIFY(!record.read("Pump;1;output;p;double;1\n", &error));
        QCOMPARE(error, "the record tells no version");
    }

    void twoFilesThatDifferInTheNameOnlyAreTheSame()
    {
        const QByteArray first = ";0;record;version;integer;1\n;0;record;name;string;one\nPump;1;output;p;integer;1\n";
        const QByteArray second = ";0;record;version;integer;1\n;0;record;name;string;two\nPump;1;output;p;integer;1\n";
        const QByteArray other = ";0;record;version;integer;1\n;0;record;name;string;two\nPump;1;output;p;integer;2\n";
        QCOMPARE(describeDifference(withoutNameFact(first), withoutNameFact(second)), "the same");
        QCOMPARE(describeDifference(withoutNameFact(first), withoutNameFact(other)),
            "line 2 differs: \"Pump;1;output;p;integer;1\" and \"Pump;1;output;p;integer;2\"");
        QCOMPARE(describeDifference("a\nb", "a"), "line 2 differs: \"b\" and \"(nothing)\"");
    }
};

QTEST_APPLESS_MAIN(TestTourRecordFile)
#include "tst_tour_recordfile.moc"
