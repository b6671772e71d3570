// SPDX-License-Identifier: Apache-2.0
#include <recordagentfilter.h>

#include <QtQml/QJSEngine>
#include <QtTest/QSignalSpy>
#include <QtTest/QTest>

class TestRecordAgentFilter : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(); }

    void aNewFilterIsCheckedAndBelongsToNoEngine()
    {
        RecordAgentFilter filter(QStringLiteral("pump"));
        QCOMPARE(filter.name(), QStringLiteral("pump"));
        QVERIFY(filter.checked());
        QCOMPARE(QJSEngine::objectOwnership(&filter), QJSEngine::CppOwnership);
    }

    void checkingTwiceNotifiesOnce()
    {
        RecordAgentFilter filter(QStringLiteral("pump"));
        QSignalSpy changes(&filter, &RecordAgentFilter::checkedChanged);
        filter.setchecked(true);
        QCOMPARE(changes.count(), 0);
        filter.setchecked(false);
        filter.setchecked(false);
        QCOMPARE(changes.count(), 1);
        QVERIFY(!filter.checked());
    }

    void pagesReadTheNameAndWriteTheMark()
    {
        RecordAgentFilter filter(QStringLiteral("pump"));
        QCOMPARE(filter.property("name").toString(), QStringLiteral("pump"));
        QVERIFY(!filter.setProperty("name", QStringLiteral("valve")));
        QVERIFY(filter.setProperty("checked", false));
        QVERIFY(!filter.checked());
    }
};

QTEST_GUILESS_MAIN(TestRecordAgentFilter)
#include "tst_recordagentfilter.moc"
