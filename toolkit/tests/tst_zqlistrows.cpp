// SPDX-License-Identifier: Apache-2.0
#include <zqcustomitemlistmodel.h>

#include <QtTest/QAbstractItemModelTester>
#include <QtTest/QSignalSpy>
#include <QtTest/QTest>

#include "testitems.h"

using List = ZqCustomItemListModel<TestItem>;

class TestZqListRows : public QObject
{
    Q_OBJECT

    TestItem a { QStringLiteral("a") };
    TestItem b { QStringLiteral("b") };
    TestItem c { QStringLiteral("c") };
    TestItem d { QStringLiteral("d") };
    QObject stranger;

    static QString names(const List& list)
    {
        QString names;
        for (const TestItem* item : list.toList()) {
            names += item->name();
        }
        return names;
    }

    /// Expects a warning that ends as the list's warnings about an object do, whatever the object's address.
    static void expectWarning(const QString& pattern)
    {
        QTest::ignoreMessage(
            QtWarningMsg, QRegularExpression(QStringLiteral("^ZqCustomItemListModel< TestItem ") + pattern + u'$'));
    }

    static QList<int> ints(const QList<QVariant>& arguments, const QList<int>& positions)
    {
        QList<int> values;
        for (const int position : positions) {
            values.append(arguments.at(position).toInt());
        }
        return values;
    }

private slots:
    void init() { QTest::failOnWarning(); }

    void aListPassesTheModelTester()
    {
        const SilencedWarnings silence;
        List list;
        const QAbstractItemModelTester tester(&list, QAbstractItemModelTester::FailureReportingMode::QtTest);
        list.appendRows({ &a, &b, &c });
        list.prependRow(&d);
        list.takeRow(1);
        list.moveRows({}, 0, 1, {}, 3);
        a.setname(QStringLiteral("a"));
        list.clear();
        QCOMPARE(list.count(), 0);
    }

    void appendingPutsTheItemAtTheEndAndNotifiesOnce()
    {
        List list;
        list.appendRow(&a);
        QSignalSpy inserted(&list, &List::rowsInserted);
        QSignalSpy counts(&list, &List::countChanged);
        list.appendRow(&b);
        QCOMPARE(names(list), QStringLiteral("ab"));
        QCOMPARE(inserted.count(), 1);
        QCOMPARE(ints(inserted.first(), { 1, 2 }), (QList<int> { 1, 1 }));
        QCOMPARE(counts.count(), 1);
    }

    void addingNullIsIgnoredInSilence()
    {
        List list;
        QSignalSpy counts(&list, &List::countChanged);
        list.appendRow(nullptr);
        list.prependRow(nullptr);
        list.insertRow(0, nullptr);
        list.appendRows({ nullptr, nullptr });
        list.appendObject(nullptr);
        list.prependObject(nullptr);
        list.insertObject(0, nullptr);
        QVERIFY(!list.removeObject(nullptr));
        QVERIFY(list.isEmpty());
        QCOMPARE(counts.count(), 0);
    }

    void appendingTheSameItemTwiceWithDuplicatesDisallowedLeavesOneRowAndWarns()
    {
        List list;
        list.appendRow(&a);
        expectWarning(
            QStringLiteral("> warning: can not append item  TestItem\\(0x[0-9a-f]+\\) because our list does not "
                           "allow duplicate items"));
        list.appendRow(&a);
        QCOMPARE(list.count(), 1);
    }

    void prependingAndInsertingADuplicateLeavesOneRowAndWarns()
    {
        List list;
        list.appendRow(&a);
        expectWarning(
            QStringLiteral("> warning: can not prepend item  TestItem\\(0x[0-9a-f]+\\) because our list does not "
                           "allow duplicate items"));
        list.prependRow(&a);
        expectWarning(
            QStringLiteral("> warning: can not insert item  TestItem\\(0x[0-9a-f]+\\) because our list does not "
                           "allow duplicate items"));
        list.insertRow(0, &a);
        QCOMPARE(list.count(), 1);
    }

    void withWarningsSwitchedOffADuplicateIsRefusedInSilence()
    {
        const SilencedWarnings silence;
        List list;
        list.appendRow(&a);
        list.appendRow(&a);
        QCOMPARE(list.count(), 1);
    }

    void withDuplicatesAllowedAnItemStandsTwice()
    {
        List list(nullptr, true);
        list.appendRow(&a);
        list.appendRow(&b);
        list.appendRow(&a);
        list.appendRows({ &b, &b });
        QCOMPARE(names(list), QStringLiteral("ababb"));
        QCOMPARE(list.indexOf(&b), 1);
    }

    void aBatchIsOneInsertionOfTheAcceptedItems()
    {
        List list;
        list.appendRow(&a);
        QSignalSpy inserted(&list, &List::rowsInserted);
        QSignalSpy counts(&list, &List::countChanged);
        expectWarning(QStringLiteral("> warning: can not append item  .*duplicate items"));
        expectWarning(QStringLiteral("> warning: can not append item  .*duplicate items"));
        list.appendRows({ &b, &a, nullptr, &c, &b });
        QCOMPARE(names(list), QStringLiteral("abc"));
        QCOMPARE(inserted.count(), 1);
        QCOMPARE(ints(inserted.first(), { 1, 2 }), (QList<int> { 1, 2 }));
        QCOMPARE(counts.count(), 1);
    }

    void anEmptyBatchNotifiesNobody()
    {
        List list;
        QSignalSpy inserted(&list, &List::rowsInserted);
        QSignalSpy counts(&list, &List::countChanged);
        list.appendRows({});
        QCOMPARE(inserted.count() + counts.count(), 0);
    }

    void prependingPutsTheItemFirst()
    {
        List list;
        list.appendRow(&a);
        list.prependRow(&b);
        list.prependObject(&c);
        QCOMPARE(names(list), QStringLiteral("cba"));
    }

    void insertingPutsTheItemAtTheRow()
    {
        List list;
        list.appendRows({ &a, &b });
        QSignalSpy inserted(&list, &List::rowsInserted);
        list.insertRow(1, &c);
        list.insertObject(3, &d);
        QCOMPARE(names(list), QStringLiteral("acbd"));
        QCOMPARE(ints(inserted.at(0), { 1, 2 }), (QList<int> { 1, 1 }));
        QCOMPARE(ints(inserted.at(1), { 1, 2 }), (QList<int> { 3, 3 }));
    }

    void insertingOutsideTheListIsRefusedWithAWarning()
    {
        List list;
        list.appendRow(&a);
        for (const int row : { -1, 2 }) {
            expectWarning(
                QStringLiteral("> warning: can not insert item  TestItem\\(0x[0-9a-f]+\\) at position %1 because "
                               "the position is out of range")
                    .arg(row));
            list.insertRow(row, &b);
        }
        QCOMPARE(names(list), QStringLiteral("a"));
    }

    void anObjectOfAnotherClassIsRefusedWithAWarning()
    {
        List list;
        list.appendRow(&a);
        const QString object = QStringLiteral("QObject\\(0x[0-9a-f]+\\)");
        expectWarning(QStringLiteral("> warning: can not add item %1  because it has an invalid type").arg(object));
        list.appendObject(&stranger);
        expectWarning(QStringLiteral("> warning: can not prepend item %1  because it has an invalid type").arg(object));
        list.prependObject(&stranger);
        expectWarning(QStringLiteral("> warning: can not insert item %1  at position 1 because it has an invalid type")
                .arg(object));
        list.insertObject(1, &stranger);
        expectWarning(
            QStringLiteral("> warning: invalid parameter in call to replace\\(index, item\\) -  %1 does not match "
                           "the type of our list")
                .arg(object));
        QVERIFY(!list.replaceObject(0, &stranger));
        expectWarning(QStringLiteral("> warning: can not remove item"));
        QVERIFY(!list.removeObject(&stranger));
        QCOMPARE(names(list), QStringLiteral("a"));
    }

    void replacingReturnsTheOldItemWhichLivesOn()
    {
        List list;
        list.appendRows({ &a, &b, &c });
        QCOMPARE(list.replace(1, &d), &b);
        QCOMPARE(names(list), QStringLiteral("adc"));
        QCOMPARE(b.name(), QStringLiteral("b"));
        QCOMPARE(list.replaceObject(0, &b), &a);
        QCOMPARE(names(list), QStringLiteral("bdc"));
    }

    void replacingAnItemByItselfKeepsTheList()
    {
        List list;
        list.appendRows({ &a, &b });
        QCOMPARE(list.replace(1, &b), &b);
        QCOMPARE(names(list), QStringLiteral("ab"));
    }

    void replacingAtABadIndexOrByNullWarnsAndChangesNothing()
    {
        List list;
        list.appendRow(&a);
        for (const int row : { -1, 1 }) {
            expectWarning(
                QStringLiteral("> warning: invalid index position  %1 in call to replace\\(index, item\\) - index "
                               "out of range")
                    .arg(row));
            QVERIFY(!list.replace(row, &b));
        }
        expectWarning(
            QStringLiteral("> warning: invalid parameter in call to replace\\(index, item\\) - can not replace an "
                           "item by nullptr"));
        QVERIFY(!list.replace(0, nullptr));
        QCOMPARE(names(list), QStringLiteral("a"));
    }

    void takingARowReturnsItsItemAndUnknownRowsGiveNull()
    {
        List list;
        list.appendRows({ &a, &b });
        QSignalSpy removed(&list, &List::rowsRemoved);
        QSignalSpy counts(&list, &List::countChanged);
        QCOMPARE(list.takeRow(0), &a);
        QCOMPARE(names(list), QStringLiteral("b"));
        QVERIFY(!list.takeRow(1));
        QVERIFY(!list.takeRow(-1));
        QCOMPARE(removed.count(), 1);
        QCOMPARE(counts.count(), 1);
    }

    void removingMoreRowsThanAreLeftRemovesWhatIsLeft()
    {
        List list;
        list.appendRows({ &a, &b, &c });
        QSignalSpy removed(&list, &List::rowsRemoved);
        QVERIFY(list.removeRows(1, 10));
        QCOMPARE(names(list), QStringLiteral("a"));
        QCOMPARE(removed.count(), 1);
        QCOMPARE(ints(removed.first(), { 1, 2 }), (QList<int> { 1, 2 }));
    }

    void removingRowsThatDoNotExistReturnsFalse()
    {
        List list;
        list.appendRow(&a);
        QSignalSpy counts(&list, &List::countChanged);
        QVERIFY(!list.removeRows(1, 1));
        QVERIFY(!list.removeRows(-1, 1));
        QVERIFY(!list.removeRows(0, 0));
        QVERIFY(!list.removeRow(7));
        QVERIFY(!list.removeRows(0, 1, list.index(0)));
        QCOMPARE(counts.count(), 0);
        QCOMPARE(list.count(), 1);
    }

    void removeTakesOneRowSeveralOrNone()
    {
        List list;
        list.appendRows({ &a, &b, &c, &d });
        list.remove(0, 0);
        list.remove(0, -1);
        list.remove(9);
        QCOMPARE(list.count(), 4);
        list.remove(0);
        QCOMPARE(names(list), QStringLiteral("bcd"));
        list.remove(1, 2);
        QCOMPARE(names(list), QStringLiteral("b"));
    }

    void removingAnItemRemovesItsFirstRowWithoutDeletingIt()
    {
        List list(nullptr, true);
        list.appendRows({ &b, &a, &b });
        QVERIFY(list.removeObject(&b));
        QCOMPARE(names(list), QStringLiteral("ab"));
        QVERIFY(!list.removeObject(&c));
    }

    void deletingItemsRemovesThemAtOnceAndDeletesThemLater()
    {
        List list;
        QPointer<TestItem> first = new TestItem;
        QPointer<TestItem> second = new TestItem;
        list.appendRows({ &a, first.data(), second.data(), &b });
        QVERIFY(list.deleteNItems(1, 2));
        QCOMPARE(names(list), QStringLiteral("ab"));
        QVERIFY(first && second);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(!first && !second);
        QVERIFY(!list.deleteNItems(2, 1));
    }

    void deletingAllItemsEmptiesTheListWithOneNotification()
    {
        List list;
        QPointer<TestItem> first = new TestItem;
        list.appendRows({ first.data(), new TestItem });
        QSignalSpy removed(&list, &List::rowsRemoved);
        list.deleteAllItems();
        list.deleteAllItems();
        QVERIFY(list.isEmpty());
        QCOMPARE(removed.count(), 1);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(!first);
    }

    void clearingRemovesAllRowsAndDeletesNothing()
    {
        List list;
        list.appendRows({ &a, &b });
        QSignalSpy removed(&list, &List::rowsRemoved);
        QSignalSpy counts(&list, &List::countChanged);
        list.clear();
        QVERIFY(list.isEmpty());
        QCOMPARE(removed.count(), 1);
        QCOMPARE(ints(removed.first(), { 1, 2 }), (QList<int> { 0, 1 }));
        QCOMPARE(counts.count(), 1);
        QCOMPARE(a.name(), QStringLiteral("a"));
    }

    void clearingAnEmptyListEmitsNothing()
    {
        List list;
        QSignalSpy removed(&list, &List::rowsRemoved);
        QSignalSpy resets(&list, &List::modelReset);
        QSignalSpy counts(&list, &List::countChanged);
        list.clear();
        QCOMPARE(removed.count() + resets.count() + counts.count(), 0);
    }

    void movingRowsFollowsTheConventionOfQtModels()
    {
        List list;
        list.appendRows({ &a, &b, &c, &d });
        QSignalSpy moved(&list, &List::rowsMoved);
        QVERIFY(list.moveRows({}, 0, 2, {}, 3));
        QCOMPARE(names(list), QStringLiteral("cabd"));
        QVERIFY(list.moveRows({}, 3, 1, {}, 0));
        QCOMPARE(names(list), QStringLiteral("dcab"));
        QVERIFY(list.moveRows({}, 0, 1, {}, 4));
        QCOMPARE(names(list), QStringLiteral("cabd"));
        QCOMPARE(moved.count(), 3);
        QCOMPARE(list.indexOf(&d), 3);
    }

    void moveNamesTheRowWhereTheFirstMovedOneEnds()
    {
        List list;
        list.appendRows({ &a, &b, &c, &d });
        QVERIFY(list.move(0, 2));
        QCOMPARE(names(list), QStringLiteral("bcad"));
        QVERIFY(list.move(2, 0, 2));
        QCOMPARE(names(list), QStringLiteral("adbc"));
    }

    void aMoveIntoTheMovedRowsIsRefusedWithAWarning()
    {
        List list;
        list.appendRows({ &a, &b, &c });
        expectWarning(QStringLiteral("> warning: beginMoveRows has failed, can not move  2 item\\(s\\) from 0 to 1"));
        QVERIFY(!list.moveRows({}, 0, 2, {}, 1));
        QCOMPARE(names(list), QStringLiteral("abc"));
    }

    void aMoveOutsideTheListIsRefusedWithAWarning()
    {
        List list;
        list.appendRows({ &a, &b });
        expectWarning(QStringLiteral("> warning: unhandle case, can not move "));
        QVERIFY(!list.moveRows({}, 2, 1, {}, 0));
        expectWarning(QStringLiteral("> warning: unhandle case, can not move "));
        QVERIFY(!list.moveRows({}, 0, 1, {}, 3));
        expectWarning(QStringLiteral("> warning: unhandle case, can not move "));
        QVERIFY(!list.moveRows({}, 0, 0, {}, 2));
        expectWarning(QStringLiteral("> warning: unhandle case, can not move "));
        QVERIFY(!list.moveRows(list.index(0), 0, 1, {}, 2));
        QCOMPARE(names(list), QStringLiteral("ab"));
    }

    void queriesFindItemsByIdentity()
    {
        List list;
        list.reserve(10);
        list.appendRows({ &a, &b });
        QVERIFY(list.contains(&b));
        QVERIFY(!list.contains(&c));
        QVERIFY(!list.contains(nullptr));
        QVERIFY(!list.contains(&stranger));
        QCOMPARE(list.indexOf(&b), 1);
        QCOMPARE(list.indexOf(&c), -1);
        QCOMPARE(list.get(1), &b);
        QCOMPARE(list.get(2), nullptr);
        QCOMPARE(list.get(-1), nullptr);
        QCOMPARE(list.first(), &a);
        QCOMPARE(list.last(), &b);
        QCOMPARE(list.size(), 2);
        QCOMPARE(list.count(), 2);
        const QVariantList all = list.toVariantList();
        QCOMPARE(all.size(), 2);
        QCOMPARE(all.at(0).value<QObject*>(), &a);
        QCOMPARE(all.at(1).value<QObject*>(), &b);
    }

    void theItemsOutliveTheList()
    {
        QPointer<TestItem> item = new TestItem;
        {
            List list;
            list.appendRow(item);
        }
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(item);
        delete item;
    }
};

QTEST_MAIN(TestZqListRows)
#include "tst_zqlistrows.moc"
