// SPDX-License-Identifier: Apache-2.0
// Receivers that change the list, its items or the view while they are told of a change.
#include <zqcustomitemlistmodel.h>
#include <zqsortfilterproxymodel.h>

#include <QtTest/QSignalSpy>
#include <QtTest/QTest>

#include "testitems.h"

using List = ZqCustomItemListModel<TestItem>;

class TestZqSortFilterReentrancy : public QObject
{
    Q_OBJECT

    /// Does something once, when a signal comes first.
    template <typename Sender, typename Signal, typename Action>
    static void onceOn(Sender* sender, Signal signal, const Action& action)
    {
        connect(sender, signal, sender, action, Qt::SingleShotConnection);
    }

private slots:
    void init() { QTest::failOnWarning(); }

    void whoHearsThatTheSourceIsGoneReadsNothingOfIt()
    {
        TestItem a(QStringLiteral("a"), 1);
        TestItem b(QStringLiteral("b"), 2);
        auto* list = new List;
        list->appendRows({ &a, &b });
        ByRank view;
        view.setSourceModel(list);
        int heard = 0;
        connect(&view, &ByRank::modelAboutToBeReset, &view, [&] {
            ++heard;
            QCOMPARE(view.get(0), nullptr);
            QCOMPARE(view.indexOf(&a), -1);
            QVERIFY(!view.index(0, 0).data(List::qtObjectRole()).isValid());
        });
        delete list;
        QCOMPARE(heard, 1);
        QCOMPARE(view.count(), 0);
    }

    void aViewAskedAnewWhileARowGoesDoesNotShowItAgain()
    {
        TestItem a(QStringLiteral("a"), 1);
        TestItem b(QStringLiteral("b"), 2);
        TestItem c(QStringLiteral("c"), 3);
        List list;
        list.appendRows({ &a, &b, &c });
        ByRank view;
        view.setSourceModel(&list);
        QSignalSpy asked(&view, &ByRank::rowsRemoved);
        connect(&view, &ByRank::rowsRemoved, &view, [&] {
            view.invalidate();
            QCOMPARE(shown(view), QStringLiteral("ac"));
        });
        connect(&view, &ByRank::countChanged, &view, &ByRank::invalidate);
        list.removeObject(&b);
        QCOMPARE(asked.count(), 1);
        QCOMPARE(shown(view), QStringLiteral("ac"));
        QCOMPARE(view.sourceRow(1), 1);
    }

    void aRowThatGoesStaysHiddenWhenItsItemChanges()
    {
        TestItem a(QStringLiteral("a"), 1);
        TestItem b(QStringLiteral("b"), 2);
        List list;
        list.appendRows({ &a, &b });
        ByRank view;
        view.setSourceModel(&list);
        onceOn(&view, &ByRank::rowsRemoved, [&] { a.setrank(7); });
        list.removeObject(&a);
        QCOMPARE(a.rank(), 7);
        QCOMPARE(shown(view), QStringLiteral("b"));
        QCOMPARE(view.sourceRow(0), 0);
    }

    void theNumberOfRowsIsToldWhenTheSourceHasRemovedThem()
    {
        TestItem a(QStringLiteral("a"), 1);
        TestItem b(QStringLiteral("b"), 2);
        List list;
        list.appendRows({ &a, &b });
        ByRank view;
        view.setSourceModel(&list);
        QList<int> told;
        connect(&view, &ByRank::countChanged, &view, [&] {
            told.append(view.count());
            QCOMPARE(list.count(), view.count());
            // As a page may that keeps no list of one.
            list.clear();
        });
        list.removeObject(&a);
        QCOMPARE(told, (QList<int> { 1, 0 }));
        QCOMPARE(view.count(), 0);
    }

    void whoHearsOfAChangeMayEmptyTheSource()
    {
        TestItem a(QStringLiteral("a"), 1);
        TestItem b(QStringLiteral("b"), 2);
        List list;
        list.appendRows({ &a, &b });
        ByRank view;
        view.setSourceModel(&list);
        onceOn(&view, &ByRank::dataChanged, [&] { list.clear(); });
        a.setrank(9);
        QVERIFY(list.isEmpty());
        QCOMPARE(view.count(), 0);
    }

    void whoHearsOfAChangeMayTakeOutAnotherItem()
    {
        TestItem a(QStringLiteral("a"), 1);
        TestItem b(QStringLiteral("b"), 2);
        TestItem c(QStringLiteral("c"), 3);
        List list;
        list.appendRows({ &b, &a, &c });
        ByRank view;
        view.setSourceModel(&list);
        QSignalSpy resets(&view, &ByRank::modelReset);
        onceOn(&view, &ByRank::dataChanged, [&] { list.removeObject(&b); });
        a.setrank(9);
        QCOMPARE(shown(view), QStringLiteral("ca"));
        QCOMPARE(view.sourceRow(1), 0);
        QCOMPARE(resets.count(), 0);
    }

    void whoHearsOfAChangeMayChangeAnotherItem()
    {
        TestItem a(QStringLiteral("a"), 1);
        TestItem b(QStringLiteral("b"), 2);
        TestItem c(QStringLiteral("c"), 3);
        List list;
        list.appendRows({ &a, &b, &c });
        ByRank view;
        view.setSourceModel(&list);
        onceOn(&view, &ByRank::dataChanged, [&] { c.setrank(0); });
        a.setrank(9);
        QCOMPARE(shown(view), QStringLiteral("cba"));
    }

    void whoHearsOfAChangeMayDeleteTheItem()
    {
        auto* a = new TestItem(QStringLiteral("a"), 1);
        TestItem b(QStringLiteral("b"), 2);
        List list;
        list.appendRows({ a, &b });
        ByRank view;
        view.setSourceModel(&list);
        onceOn(&view, &ByRank::dataChanged, [&] { delete a; });
        // Told by the list alone: the item itself is not in the middle of telling.
        emit list.dataChanged(list.index(0), list.index(1), {});
        QCOMPARE(shown(view), QStringLiteral("b"));
    }

    void whoHearsOfTheFirstRowsOfABatchMayTakeOutTheOthers()
    {
        TestItem a(QStringLiteral("a"), 1);
        TestItem b(QStringLiteral("b"), 2);
        TestItem c(QStringLiteral("c"), 3);
        TestItem d(QStringLiteral("d"), 4);
        List list;
        list.appendRow(&b);
        ByRank view;
        view.setSourceModel(&list);
        onceOn(&view, &ByRank::rowsInserted, [&] {
            QCOMPARE(shown(view), QStringLiteral("ab"));
            list.removeObject(&c);
        });
        list.appendRows({ &c, &d, &a });
        QCOMPARE(shown(view), QStringLiteral("abd"));
    }

    void whoHearsOfTheFirstHiddenRowsMayAddOthers()
    {
        TestItem a(QStringLiteral("a"), 1);
        TestItem b(QStringLiteral("b"), 2);
        TestItem c(QStringLiteral("c"), 3);
        TestItem d(QStringLiteral("d"), 0);
        List list;
        list.appendRows({ &a, &b, &c });
        ByRank view;
        view.setSourceModel(&list);
        {
            const QSignalBlocker quiet(&list);
            a.setrank(-1);
            c.setrank(-1);
        }
        onceOn(&view, &ByRank::rowsRemoved, [&] { list.prependRow(&d); });
        view.invalidate();
        QCOMPARE(shown(view), QStringLiteral("db"));
    }

    void whoHearsOfAMoveMayMoveMore()
    {
        List list;
        QList<TestItem*> items;
        for (int i = 0; i < 10; ++i) {
            items.append(new TestItem(QString::number(i), 10 * i, this));
        }
        list.appendRows(items);
        ByRank view;
        view.setSourceModel(&list);
        {
            const QSignalBlocker quiet(&list);
            items.at(1)->setrank(95);
            items.at(7)->setrank(5);
        }
        onceOn(&view, &ByRank::rowsMoved, [&] { items.at(3)->setrank(-1); });
        view.invalidate();
        QCOMPARE(shown(view), QStringLiteral("072456891"));
    }

    void whoHearsThatARowGoesMayTakeOutOrDeleteAnother()
    {
        TestItem a(QStringLiteral("a"), 1);
        auto* b = new TestItem(QStringLiteral("b"), 2);
        auto* c = new TestItem(QStringLiteral("c"), 3);
        TestItem d(QStringLiteral("d"), 4);
        TestItem e(QStringLiteral("e"), 5);
        List list;
        list.appendRows({ &a, b, &e, c, &d });
        ByRank view;
        view.setSourceModel(&list);
        onceOn(&view, &ByRank::rowsRemoved, [&] {
            // The list has not yet removed the row: its number changes under it.
            onceOn(&view, &ByRank::rowsRemoved, [&] { list.removeObject(&a); });
            delete b;
        });
        delete c;
        QCOMPARE(list.toList(), (QList<TestItem*> { &e, &d }));
        QCOMPARE(shown(view), QStringLiteral("de"));
        QCOMPARE(view.sourceRow(0), 1);
    }

    void whoHearsThatARowGoesMayTakeItOutItself()
    {
        TestItem a(QStringLiteral("a"), 1);
        TestItem b(QStringLiteral("b"), 2);
        List list;
        list.appendRows({ &a, &b });
        ByRank view;
        view.setSourceModel(&list);
        onceOn(&view, &ByRank::rowsRemoved, [&] { list.clear(); });
        list.removeObject(&a);
        QVERIFY(list.isEmpty());
        QCOMPARE(view.count(), 0);
        list.appendRow(&b);
        QCOMPARE(shown(view), QStringLiteral("b"));
    }

    void whoHearsThatARowGoesMayAddRows()
    {
        TestItem a(QStringLiteral("a"), 1);
        TestItem b(QStringLiteral("b"), 2);
        TestItem c(QStringLiteral("c"), 3);
        List list;
        list.appendRows({ &a, &b });
        ByRank view;
        view.setSourceModel(&list);
        onceOn(&view, &ByRank::rowsRemoved, [&] { list.prependRow(&c); });
        list.removeObject(&a);
        QCOMPARE(list.toList(), (QList<TestItem*> { &c, &b }));
        QCOMPARE(shown(view), QStringLiteral("bc"));
        QCOMPARE(view.sourceRow(0), 1);
    }

    void whoHearsBeforeTheViewMayChangeTheSource()
    {
        TestItem a(QStringLiteral("a"), 1);
        TestItem b(QStringLiteral("b"), 2);
        TestItem c(QStringLiteral("c"), 3);
        List list;
        list.appendRow(&b);
        ByRank view;
        onceOn(&list, &List::rowsInserted, [&] {
            // The view does not know of the new row yet.
            view.invalidate();
            a.setrank(4);
            list.removeObject(&b);
        });
        onceOn(&list, &List::rowsRemoved, [&] { list.appendRow(&c); });
        view.setSourceModel(&list);
        list.prependRow(&a);
        QCOMPARE(list.toList(), (QList<TestItem*> { &a, &c }));
        QCOMPARE(shown(view), QStringLiteral("ca"));
        QCOMPARE(view.sourceRow(0), 1);
    }

    void aSourceMayBeChangedForAnotherWhileARowGoes()
    {
        TestItem a(QStringLiteral("a"), 1);
        TestItem b(QStringLiteral("b"), 2);
        TestItem c(QStringLiteral("c"), 3);
        List list;
        list.appendRows({ &a, &b });
        List other;
        other.appendRows({ &c });
        ByRank view;
        view.setSourceModel(&list);
        QSignalSpy counts(&view, &ByRank::countChanged);
        onceOn(&view, &ByRank::rowsRemoved, [&] { view.setSourceModel(&other); });
        list.removeObject(&a);
        QCOMPARE(shown(view), QStringLiteral("c"));
        QCOMPARE(counts.count(), 1);
        onceOn(&view, &ByRank::rowsRemoved, [&] { view.setSourceModel(&list); });
        other.clear();
        QCOMPARE(shown(view), QStringLiteral("b"));
    }

    void aSourceSetWhileItRemovesARowIsShownWithoutThatRow()
    {
        TestItem a(QStringLiteral("a"), 1);
        TestItem b(QStringLiteral("b"), 2);
        List list;
        list.appendRows({ &a, &b });
        ByRank view;
        onceOn(&list, &List::rowsAboutToBeRemoved, [&] { view.setSourceModel(&list); });
        list.removeObject(&a);
        QCOMPARE(shown(view), QStringLiteral("b"));
        QCOMPARE(view.sourceRow(0), 0);
    }
};

QTEST_MAIN(TestZqSortFilterReentrancy)
#include "tst_zqsortfilterreentrancy.moc"
