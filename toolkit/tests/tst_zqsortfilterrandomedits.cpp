// SPDX-License-Identifier: Apache-2.0
#include <zqcustomitemlistmodel.h>
#include <zqsortfilterproxymodel.h>

#include <QtCore/QRandomGenerator>
#include <QtCore/QSet>
#include <QtTest/QAbstractItemModelTester>
#include <QtTest/QTest>

#include <algorithm>

#include "testitems.h"

using List = ZqCustomItemListModel<TestItem>;

/// How the views of these tests sort.
enum class Order
{
    /// By rank.
    Strict,
    /// By rank downwards; items of rank 0 go by their rows, which contradicts the order of the others.
    SomeWithoutKey,
    /// Scissors, stone, paper: no order at all.
    Circular,
    /// Another answer each time.
    Random,
};

class RandomView : public ZqSortFilterProxyModel
{
    Q_OBJECT

public:
    explicit RandomView(Order sortOrder)
        : order(sortOrder)
    {
    }

    bool filterAccepts(QObject* item, int) const override { return rank(item) % 5 != 4; }
    bool hasSortKey(QObject* item, int) const override { return order != Order::SomeWithoutKey || rank(item) != 0; }
    bool isLessThan(QObject* left, int leftSourceRow, QObject* right, int rightSourceRow) const override
    {
        switch (order) {
        case Order::Strict:
            return rank(left) < rank(right);
        case Order::SomeWithoutKey:
            return rank(left) == 0 || rank(right) == 0 ? leftSourceRow < rightSourceRow : rank(left) > rank(right);
        case Order::Circular:
            return rank(right) % 3 == (rank(left) + 1) % 3;
        case Order::Random:
            return random.bounded(2) == 1;
        }
        return false;
    }

    int rank(const QObject* item) const
    {
        wasAskedOfDying = wasAskedOfDying || dying.contains(item);
        return static_cast<const TestItem*>(item)->rank();
    }

    const Order order;
    /// The items whose destruction has begun; nothing may be asked of them.
    QSet<const QObject*> dying;
    mutable bool wasAskedOfDying = false;
    mutable QRandomGenerator random { 8 };
};

class TestZqSortFilterRandomEdits : public QObject
{
    Q_OBJECT

    static void compare(const RandomView& view, const List& list)
    {
        // Every accepted item once, nothing else.
        QSet<QObject*> accepted;
        for (TestItem* item : list.toList()) {
            if (view.filterAccepts(item, 0)) {
                accepted.insert(item);
            }
        }
        QSet<QObject*> shown;
        QList<QObject*> keyed;
        for (int row = 0; row < view.count(); ++row) {
            QObject* const item = view.get(row);
            shown.insert(item);
            if (view.hasSortKey(item, view.sourceRow(row))) {
                keyed.append(item);
            }
            QCOMPARE(view.rowOfSource(view.sourceRow(row)), row);
        }
        QCOMPARE(view.count(), shown.size());
        QCOMPARE(shown, accepted);

        if (view.order == Order::Strict || view.order == Order::SomeWithoutKey) {
            // Those with a key are in order, equals in the order of the source.
            QList<QObject*> sorted = keyed;
            std::sort(sorted.begin(), sorted.end(), [&list, &view](QObject* left, QObject* right) {
                const int order = view.rank(left) - view.rank(right);
                return order == 0 ? list.indexOf(left) < list.indexOf(right)
                                  : (view.order == Order::Strict ? order < 0 : order > 0);
            });
            QCOMPARE(keyed, sorted);
            // No neighbours stand the wrong way round, those without key included.
            for (int row = 1; row < view.count(); ++row) {
                QVERIFY(
                    !view.isLessThan(view.get(row), view.sourceRow(row), view.get(row - 1), view.sourceRow(row - 1)));
            }
        }
    }

    /// A source, its view and whoever edits them at random.
    struct Editor
    {
        explicit Editor(Order order)
            : view(order)
        {
            view.setSourceModel(&list);
        }

        int below(qsizetype bound) { return static_cast<int>(random.bounded(bound)); }
        TestItem* newItem() { return new TestItem({}, below(12), &owner); }
        TestItem* livingItem();
        void edit();

        QRandomGenerator random { 271828 };
        QObject owner;
        List list;
        RandomView view;
    };

private slots:
    void everyEditLeavesAFaultlessView_data()
    {
        QTest::addColumn<int>("order");
        QTest::newRow("strict order") << static_cast<int>(Order::Strict);
        QTest::newRow("some without key") << static_cast<int>(Order::SomeWithoutKey);
        QTest::newRow("circular") << static_cast<int>(Order::Circular);
        QTest::newRow("random answers") << static_cast<int>(Order::Random);
    }

    void everyEditLeavesAFaultlessView()
    {
        QTest::failOnWarning();
        QFETCH(int, order);
        const SilencedWarnings silence;
        Editor editor(static_cast<Order>(order));
        RandomView& view = editor.view;
        const QAbstractItemModelTester tester(&view, QAbstractItemModelTester::FailureReportingMode::QtTest);
        QPersistentModelIndex watched;
        QObject* watchedItem = nullptr;
        for (int step = 0; step < 1500; ++step) {
            if (view.count() > 0 && step % 10 == 0) {
                watched = view.index(editor.below(view.count()), 0);
                watchedItem = view.get(watched.row());
            }
            editor.edit();
            compare(view, editor.list);
            QVERIFY(!view.wasAskedOfDying);
            if (QTest::currentTestFailed()) {
                qInfo() << "at step" << step;
                return;
            }
            if (watched.isValid()) {
                QCOMPARE(view.get(watched.row()), watchedItem);
            }
        }
    }

    void editsByWhoIsToldOfEditsLeaveAFaultlessView_data() { everyEditLeavesAFaultlessView_data(); }

    void editsByWhoIsToldOfEditsLeaveAFaultlessView()
    {
        QTest::failOnWarning();
        QFETCH(int, order);
        const SilencedWarnings silence;
        Editor editor(static_cast<Order>(order));
        RandomView& view = editor.view;
        int depth = 0;
        int editsWhileTold = 0;
        const auto editAgain = [&] {
            if (depth < 3 && editor.below(3) == 0) {
                ++depth;
                ++editsWhileTold;
                editor.edit();
                --depth;
            }
        };
        connect(&view, &RandomView::rowsInserted, this, editAgain);
        connect(&view, &RandomView::rowsRemoved, this, editAgain);
        connect(&view, &RandomView::rowsMoved, this, editAgain);
        connect(&view, &RandomView::dataChanged, this, editAgain);
        connect(&view, &RandomView::layoutChanged, this, editAgain);
        connect(&view, &RandomView::modelReset, this, editAgain);
        connect(&view, &RandomView::countChanged, this, editAgain);
        for (int step = 0; step < 500; ++step) {
            editor.edit();
            compare(view, editor.list);
            QVERIFY(!view.wasAskedOfDying);
            if (QTest::currentTestFailed()) {
                qInfo() << "at step" << step;
                return;
            }
        }
        QVERIFY(editsWhileTold > 200);
        disconnect(&view, nullptr, this, nullptr);
    }
};

/// Any item of the list, or null when there is none or its destruction has begun.
TestItem* TestZqSortFilterRandomEdits::Editor::livingItem()
{
    return list.isEmpty() ? nullptr : static_cast<TestItem*>(list.itemAt(below(list.size())));
}

void TestZqSortFilterRandomEdits::Editor::edit()
{
    const int size = list.size();
    switch (below(10)) {
    case 0:
    case 1:
        list.insertRow(below(size + 1), newItem());
        break;
    case 2: {
        QList<TestItem*> batch;
        for (int i = below(5); i >= 0; --i) {
            batch.append(newItem());
        }
        list.appendRows(batch);
        break;
    }
    case 3:
        if (TestItem* const item = livingItem()) {
            view.dying.insert(item);
            delete item;
            view.dying.remove(item);
        }
        break;
    case 4:
        if (size > 0) {
            list.deleteNItems(below(size), 1 + below(5));
        }
        break;
    case 5:
        if (size > 1) {
            const int from = below(size);
            const int to = below(size);
            if (from != to) {
                list.move(from, to);
            }
        }
        break;
    case 6:
        if (below(60) == 0) {
            list.clear();
        }
        break;
    case 7:
        if (below(4) == 0) {
            view.invalidate();
        }
        break;
    default:
        if (TestItem* const item = livingItem()) {
            item->setrank(below(12));
        }
        break;
    }
}

QTEST_MAIN(TestZqSortFilterRandomEdits)
#include "tst_zqsortfilterrandomedits.moc"
