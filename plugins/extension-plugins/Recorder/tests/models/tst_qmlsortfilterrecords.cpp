// SPDX-License-Identifier: Apache-2.0
#include <qmlsortfilterrecords.h>
#include <recorderrecord.h>

#include <zqquickgeneral.h>

#include <QtCore/QRandomGenerator>
#include <QtQml/QJSEngine>
#include <QtQml/QQmlComponent>
#include <QtQml/QQmlContext>
#include <QtQml/QQmlEngine>
#include <QtTest/QAbstractItemModelTester>
#include <QtTest/QTest>

#include <algorithm>
#include <memory>

class TestQmlSortFilterRecords : public QObject
{
    Q_OBJECT

    /// A record that started on a day of November; day 0 is no date.
    RecorderRecord* newRecord(const QString& name, int day)
    {
        const QDateTime start = day > 0 ? QDateTime(QDate(2026, 11, day), QTime(12, 0)) : QDateTime();
        return new RecorderRecord(name, name, start, QDateTime(), 0, &_owner);
    }

    static QString shown(const QmlSortFilterRecords& view)
    {
        QString names;
        for (int row = 0; row < view.count(); ++row) {
            names += qobject_cast<RecorderRecord*>(view.get(row))->name();
        }
        return names;
    }

    QObject _owner;

private slots:
    void init() { QTest::failOnWarning(); }

    void onlyRecordsAreShown()
    {
        const QmlSortFilterRecords view;
        QObject stranger;
        QVERIFY(view.filterAccepts(newRecord(QStringLiteral("r"), 1), 5));
        QVERIFY(!view.filterAccepts(&stranger, 0));
        QVERIFY(!view.filterAccepts(nullptr, 0));
    }

    void theLaterStartComesFirst()
    {
        const QmlSortFilterRecords view;
        RecorderRecord* const old = newRecord(QStringLiteral("old"), 1);
        RecorderRecord* const recent = newRecord(QStringLiteral("recent"), 2);
        QVERIFY(view.isLessThan(recent, 7, old, 3));
        QVERIFY(!view.isLessThan(old, 3, recent, 7));
    }

    void recordsOfTheSameStartAnswerNoBothWays()
    {
        const QmlSortFilterRecords view;
        RecorderRecord* const a = newRecord(QStringLiteral("a"), 3);
        RecorderRecord* const b = newRecord(QStringLiteral("b"), 3);
        QVERIFY(!view.isLessThan(a, 0, b, 1));
        QVERIFY(!view.isLessThan(b, 1, a, 0));
    }

    void withoutADateTheSourceRowsDecide()
    {
        const QmlSortFilterRecords view;
        RecorderRecord* const undated = newRecord(QStringLiteral("u"), 0);
        RecorderRecord* const dated = newRecord(QStringLiteral("d"), 5);
        QVERIFY(view.isLessThan(undated, 1, dated, 2));
        QVERIFY(!view.isLessThan(dated, 2, undated, 1));
        QVERIFY(view.isLessThan(dated, 1, undated, 2));
        QVERIFY(!view.isLessThan(undated, 2, dated, 1));
    }

    void whatIsNoRecordIsComparedByItsSourceRow()
    {
        const QmlSortFilterRecords view;
        QObject stranger;
        RecorderRecord* const record = newRecord(QStringLiteral("r"), 5);
        QVERIFY(view.isLessThan(&stranger, 0, record, 1));
        QVERIFY(!view.isLessThan(record, 1, &stranger, 0));
        QVERIFY(view.isLessThan(record, 0, nullptr, 1));
    }

    void recordsAreShownNewestFirst()
    {
        ZqCustomItemListModel<RecorderRecord> records;
        records.appendRows({ newRecord(QStringLiteral("b"), 2), newRecord(QStringLiteral("d"), 4),
            newRecord(QStringLiteral("a"), 1), newRecord(QStringLiteral("c"), 3) });
        QmlSortFilterRecords view;
        view.setSourceModel(&records);
        QCOMPARE(shown(view), QStringLiteral("dcba"));
        records.appendRow(newRecord(QStringLiteral("e"), 9));
        QCOMPARE(shown(view), QStringLiteral("edcba"));
    }

    void recordsOfTheSameStartKeepTheirSourceOrder()
    {
        ZqCustomItemListModel<RecorderRecord> records;
        records.appendRows({ newRecord(QStringLiteral("x"), 2), newRecord(QStringLiteral("y"), 2),
            newRecord(QStringLiteral("n"), 3), newRecord(QStringLiteral("z"), 2) });
        QmlSortFilterRecords view;
        view.setSourceModel(&records);
        QCOMPARE(shown(view), QStringLiteral("nxyz"));
    }

    void aRecordWithoutStartKeepsItsPlaceAndTheDatedOnesAreNewestFirst()
    {
        ZqCustomItemListModel<RecorderRecord> records;
        // The undated record stands between two dated ones that have to change places.
        records.appendRows({ newRecord(QStringLiteral("a"), 1), newRecord(QStringLiteral("-"), 0),
            newRecord(QStringLiteral("b"), 2) });
        QmlSortFilterRecords view;
        view.setSourceModel(&records);
        QCOMPARE(shown(view), QStringLiteral("ba-"));
        records.appendRow(newRecord(QStringLiteral("c"), 3));
        QCOMPARE(shown(view), QStringLiteral("cba-"));
    }

    void anUndatedRecordNeverDisturbsTheOrderOfTheOthers()
    {
        const bool previous = ZqQuickGeneral::instance().warningsEnabled();
        ZqQuickGeneral::instance().setwarningsEnabled(false);
        QRandomGenerator random(1121);
        ZqCustomItemListModel<RecorderRecord> records;
        QmlSortFilterRecords view;
        const QAbstractItemModelTester tester(&view, QAbstractItemModelTester::FailureReportingMode::QtTest);
        view.setSourceModel(&records);
        for (int step = 0; step < 300; ++step) {
            if (records.size() > 20 && random.bounded(2) == 0) {
                delete records.at(random.bounded(records.size()));
            } else {
                const int day = random.bounded(3) == 0 ? 0 : 1 + static_cast<int>(random.bounded(28));
                records.insertRow(static_cast<int>(random.bounded(records.size() + 1)), newRecord(QString(), day));
            }
            QCOMPARE(view.count(), records.count());
            QList<QDateTime> starts;
            for (int row = 0; row < view.count(); ++row) {
                const QDateTime start = qobject_cast<RecorderRecord*>(view.get(row))->startDateTime();
                if (start.isValid()) {
                    starts.append(start);
                }
                QVERIFY(row == 0
                    || !view.isLessThan(
                        view.get(row), view.sourceRow(row), view.get(row - 1), view.sourceRow(row - 1)));
            }
            QVERIFY(std::is_sorted(starts.crbegin(), starts.crend()));
        }
        ZqQuickGeneral::instance().setwarningsEnabled(previous);
    }

    void pagesMakeTheViewAndSetItsSource()
    {
        qmlRegisterType<QmlSortFilterRecords>("RecordsTest", 1, 0, "SortFilterRecords");
        ZqCustomItemListModel<RecorderRecord> records;
        records.appendRows({ newRecord(QStringLiteral("a"), 1), newRecord(QStringLiteral("b"), 2) });
        QQmlEngine engine;
        engine.rootContext()->setContextProperty(QStringLiteral("records"), &records);
        QQmlComponent component(&engine);
        component.setData(R"(
            import QtQml
            import RecordsTest
            QtObject {
                property SortFilterRecords view: SortFilterRecords { sourceModel: records }
                property int shown: view.count
            })",
            QUrl());
        const std::unique_ptr<QObject> page(component.create());
        QVERIFY2(page, qPrintable(component.errorString()));
        QCOMPARE(page->property("shown").toInt(), 2);
        auto* view = page->property("view").value<QmlSortFilterRecords*>();
        QVERIFY(view);
        QCOMPARE(shown(*view), QStringLiteral("ba"));
        QCOMPARE(QJSEngine::objectOwnership(view), QJSEngine::JavaScriptOwnership);
    }
};

QTEST_MAIN(TestQmlSortFilterRecords)
#include "tst_qmlsortfilterrecords.moc"
