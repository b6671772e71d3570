// SPDX-License-Identifier: Apache-2.0
#include <zqcustomitemlistmodel.h>
#include <zqsortfilterproxymodel.h>

#include <QtCore/QStringListModel>
#include <QtTest/QAbstractItemModelTester>
#include <QtTest/QSignalSpy>
#include <QtTest/QTest>

#include "testitems.h"

using List = ZqCustomItemListModel<TestItem>;

class TestZqSortFilterProxyModel : public QObject
{
    Q_OBJECT

    /// With the ranks 0, 10, 20 and so on.
    QList<TestItem*> rankedItems(int count)
    {
        QList<TestItem*> items;
        for (int i = 0; i < count; ++i) {
            items.append(new TestItem({}, 10 * i, this));
        }
        return items;
    }

private slots:
    void init() { QTest::failOnWarning(); }

    void aViewWithoutSourceIsEmpty()
    {
        const ByRank view;
        QCOMPARE(view.count(), 0);
        QCOMPARE(view.get(0), nullptr);
        QCOMPARE(view.indexOf(nullptr), -1);
        QCOMPARE(view.rowOfSource(0), -1);
        QCOMPARE(view.sourceRow(0), -1);
    }

    void byDefaultAViewShowsItsSourceAsItIs()
    {
        TestItem a(QStringLiteral("a"), 2);
        TestItem b(QStringLiteral("b"), 1);
        List list;
        list.appendRows({ &a, &b });
        ZqSortFilterProxyModel view;
        view.setSourceModel(&list);
        list.insertRow(1, new TestItem(QStringLiteral("c"), 0, this));
        QCOMPARE(shown(view), QStringLiteral("acb"));
    }

    void itemsAreFilteredSortedAndKeepTheSourcesRoles()
    {
        TestItem c(QStringLiteral("c"), 3);
        TestItem hidden(QStringLiteral("x"), -1);
        TestItem a(QStringLiteral("a"), 1);
        TestItem b(QStringLiteral("b"), 2);
        List list;
        list.appendRows({ &c, &hidden, &a, &b });
        ByRank view;
        QSignalSpy counts(&view, &ByRank::countChanged);
        view.setSourceModel(&list);
        QCOMPARE(shown(view), QStringLiteral("abc"));
        QCOMPARE(counts.count(), 1);
        QCOMPARE(view.roleNames(), list.roleNames());
        const int nameRole = list.roleNames().key("name");
        QCOMPARE(view.index(1, 0).data(nameRole).toString(), QStringLiteral("b"));
        QCOMPARE(view.index(1, 0).data(List::qtObjectRole()).value<QObject*>(), &b);
    }

    void rowsMapBothWays()
    {
        TestItem c(QStringLiteral("c"), 3);
        TestItem hidden(QStringLiteral("x"), -1);
        TestItem a(QStringLiteral("a"), 1);
        List list;
        list.appendRows({ &c, &hidden, &a });
        ByRank view;
        view.setSourceModel(&list);
        // Often enough that the table of rows answers too.
        for (int round = 0; round < 10; ++round) {
            QCOMPARE(view.sourceRow(0), 2);
            QCOMPARE(view.rowOfSource(2), 0);
            QCOMPARE(view.rowOfSource(0), 1);
            QCOMPARE(view.rowOfSource(1), -1);
            QCOMPARE(view.rowOfSource(3), -1);
            QCOMPARE(view.indexOf(&c), 1);
            QCOMPARE(view.indexOf(&hidden), -1);
            QCOMPARE(view.mapToSource(view.index(1, 0)), list.index(0));
            QCOMPARE(view.mapFromSource(list.index(2)), view.index(0, 0));
            QVERIFY(!view.mapFromSource(list.index(1)).isValid());
        }
    }

    void anAddedItemAppearsInItsPlace()
    {
        TestItem a(QStringLiteral("a"), 1);
        TestItem b(QStringLiteral("b"), 2);
        TestItem c(QStringLiteral("c"), 3);
        List list;
        list.appendRows({ &a, &c });
        ByRank view;
        view.setSourceModel(&list);
        QSignalSpy inserted(&view, &ByRank::rowsInserted);
        list.prependRow(&b);
        QCOMPARE(shown(view), QStringLiteral("abc"));
        QCOMPARE(inserted.count(), 1);
        QCOMPARE(inserted.first().at(1).toInt(), 1);
    }

    void aBatchAppearsSortedOneInsertionForEachBlock()
    {
        TestItem a(QStringLiteral("a"), 1);
        TestItem b(QStringLiteral("b"), 2);
        TestItem c(QStringLiteral("c"), 3);
        TestItem d(QStringLiteral("d"), 4);
        List list;
        list.appendRow(&b);
        ByRank view;
        view.setSourceModel(&list);
        QSignalSpy inserted(&view, &ByRank::rowsInserted);
        QSignalSpy layouts(&view, &ByRank::layoutChanged);
        list.appendRows({ &d, &a, &c });
        QCOMPARE(shown(view), QStringLiteral("abcd"));
        QCOMPARE(inserted.count(), 2);
        QCOMPARE(inserted.at(0).at(1).toInt(), 0);
        QCOMPARE(inserted.at(1).at(1).toInt(), 2);
        QCOMPARE(inserted.at(1).at(2).toInt(), 3);
        QCOMPARE(layouts.count(), 0);
    }

    void aBatchThatScattersWidelyIsShownAtOnceAndThenArranged()
    {
        List list;
        QList<TestItem*> even;
        QList<TestItem*> odd;
        for (int i = 0; i < 200; ++i) {
            even.append(new TestItem({}, 2 * i, this));
            odd.append(new TestItem({}, 2 * i + 1, this));
        }
        list.appendRows(even);
        ByRank view;
        view.setSourceModel(&list);
        const QPersistentModelIndex lastEven = view.index(199, 0);
        QSignalSpy inserted(&view, &ByRank::rowsInserted);
        QSignalSpy layouts(&view, &ByRank::layoutChanged);
        list.appendRows(odd);
        QCOMPARE(inserted.count(), 1);
        QCOMPARE(layouts.count(), 1);
        QCOMPARE(lastEven.row(), 398);
        for (int row = 0; row < 400; ++row) {
            QCOMPARE(view.get(row)->property("rank").toInt(), row);
        }
    }

    void aRemovedOrDestroyedItemDisappears()
    {
        TestItem a(QStringLiteral("a"), 1);
        auto* b = new TestItem(QStringLiteral("b"), 2);
        TestItem c(QStringLiteral("c"), 3);
        List list;
        list.appendRows({ &c, b, &a });
        ByRank view;
        view.setSourceModel(&list);
        QSignalSpy removed(&view, &ByRank::rowsRemoved);
        delete b;
        QCOMPARE(shown(view), QStringLiteral("ac"));
        list.takeRow(0);
        QCOMPARE(shown(view), QStringLiteral("a"));
        QCOMPARE(removed.count(), 2);
        list.clear();
        QCOMPARE(view.count(), 0);
    }

    void aDestroyedDuplicateResetsTheView()
    {
        const SilencedWarnings silence;
        TestItem a(QStringLiteral("a"), 1);
        auto* twice = new TestItem(QStringLiteral("t"), 2);
        List list(nullptr, true);
        list.appendRows({ twice, &a, twice });
        ByRank view;
        view.setSourceModel(&list);
        QCOMPARE(shown(view), QStringLiteral("att"));
        delete twice;
        QCOMPARE(shown(view), QStringLiteral("a"));
    }

    void aChangedItemMovesToItsNewPlaceAndKeepsItsPersistentIndex()
    {
        TestItem a(QStringLiteral("a"), 1);
        TestItem b(QStringLiteral("b"), 2);
        TestItem c(QStringLiteral("c"), 3);
        List list;
        list.appendRows({ &a, &b, &c });
        ByRank view;
        view.setSourceModel(&list);
        const QPersistentModelIndex ofA = view.index(0, 0);
        QSignalSpy changes(&view, &ByRank::dataChanged);
        QSignalSpy moves(&view, &ByRank::rowsMoved);
        a.setrank(9);
        QCOMPARE(shown(view), QStringLiteral("bca"));
        QCOMPARE(ofA.row(), 2);
        a.setrank(0);
        QCOMPARE(shown(view), QStringLiteral("abc"));
        QCOMPARE(ofA.row(), 0);
        QCOMPARE(changes.count(), 2);
        QCOMPARE(moves.count(), 2);
    }

    void aChangeThatMovesNothingIsOnlyReported()
    {
        TestItem a(QStringLiteral("a"), 10);
        TestItem b(QStringLiteral("b"), 20);
        List list;
        list.appendRows({ &b, &a });
        ByRank view;
        view.setSourceModel(&list);
        QSignalSpy changes(&view, &ByRank::dataChanged);
        QSignalSpy moves(&view, &ByRank::rowsMoved);
        b.setrank(15);
        QCOMPARE(changes.count(), 1);
        QCOMPARE(changes.first().at(0).toModelIndex().row(), 1);
        QCOMPARE(changes.first().at(2).value<QList<int>>(), QList<int> { list.roleNames().key("rank") });
        QCOMPARE(moves.count(), 0);
    }

    void aChangeCanHideAndShowAnItem()
    {
        TestItem a(QStringLiteral("a"), 1);
        TestItem b(QStringLiteral("b"), 2);
        List list;
        list.appendRows({ &a, &b });
        ByRank view;
        view.setSourceModel(&list);
        QSignalSpy counts(&view, &ByRank::countChanged);
        a.setrank(-1);
        QCOMPARE(shown(view), QStringLiteral("b"));
        a.setrank(5);
        QCOMPARE(shown(view), QStringLiteral("ba"));
        QCOMPARE(counts.count(), 2);
    }

    void equalItemsKeepTheOrderOfTheSource()
    {
        List list;
        for (const QString& name :
            { QStringLiteral("d"), QStringLiteral("a"), QStringLiteral("c"), QStringLiteral("b") }) {
            list.appendRow(new TestItem(name, 1, this));
        }
        ByRank view;
        view.setSourceModel(&list);
        QCOMPARE(shown(view), QStringLiteral("dacb"));
        list.insertRow(2, new TestItem(QStringLiteral("e"), 1, this));
        QCOMPARE(shown(view), QStringLiteral("daecb"));
        list.move(0, 4);
        QCOMPARE(shown(view), QStringLiteral("aecbd"));
    }

    void invalidatingAsksEverythingAnew()
    {
        TestItem a(QStringLiteral("a"), 1);
        TestItem b(QStringLiteral("b"), 2);
        List list;
        list.appendRows({ &a, &b });
        ByRank view;
        view.setSourceModel(&list);
        view.descending = true;
        QCOMPARE(shown(view), QStringLiteral("ab"));
        view.invalidate();
        QCOMPARE(shown(view), QStringLiteral("ba"));
    }

    void aNewOrderIsToldInTheFewestMoves()
    {
        List list;
        const QList<TestItem*> items = rankedItems(100);
        list.appendRows(items);
        ByRank view;
        view.setSourceModel(&list);
        {
            // Nothing tells the view of these changes.
            const QSignalBlocker quiet(&list);
            items.at(10)->setrank(555);
            items.at(90)->setrank(3);
            items.at(50)->setrank(9999);
        }
        QSignalSpy moves(&view, &ByRank::rowsMoved);
        QSignalSpy layouts(&view, &ByRank::layoutChanged);
        view.invalidate();
        QCOMPARE(moves.count(), 3);
        QCOMPARE(layouts.count(), 0);
        for (int row = 1; row < view.count(); ++row) {
            QVERIFY(view.get(row - 1)->property("rank").toInt() <= view.get(row)->property("rank").toInt());
        }
        view.descending = true;
        view.invalidate();
        QCOMPARE(layouts.count(), 1);
        QCOMPARE(view.get(0)->property("rank").toInt(), 9999);
    }

    void anotherModelThanAnItemListIsRefusedWithAWarning()
    {
        QStringListModel strings({ QStringLiteral("x") });
        ByRank view;
        QTest::ignoreMessage(QtWarningMsg,
            QRegularExpression(QStringLiteral("^ByRank warning: can not use QStringListModel\\(0x[0-9a-f]+\\) "
                                              "as source model, it is not a list of items")));
        view.setSourceModel(&strings);
        QCOMPARE(view.sourceModel(), nullptr);
        QCOMPARE(view.count(), 0);
    }

    void aNewSourceReplacesTheOldOne()
    {
        TestItem a(QStringLiteral("a"), 1);
        TestItem b(QStringLiteral("b"), 2);
        List first;
        first.appendRow(&a);
        List second;
        second.appendRow(&b);
        ByRank view;
        view.setSourceModel(&first);
        view.setSourceModel(&second);
        QCOMPARE(shown(view), QStringLiteral("b"));
        first.clear();
        QCOMPARE(shown(view), QStringLiteral("b"));
    }

    void aViewOutlivesItsSource()
    {
        TestItem a(QStringLiteral("a"), 1);
        ByRank view;
        {
            List list;
            list.appendRow(&a);
            view.setSourceModel(&list);
            QCOMPARE(view.count(), 1);
        }
        QCOMPARE(view.count(), 0);
        QCOMPARE(view.sourceModel(), nullptr);
        List other;
        other.appendRow(&a);
        view.setSourceModel(&other);
        QCOMPARE(view.count(), 1);
    }

    void itemsThatAllHaveANumberAreSortedWithoutComparingThem()
    {
        class Numbered : public ByRank
        {
        public:
            std::optional<qint64> sortNumber(QObject* item, int) const override
            {
                const auto* const ranked = qobject_cast<TestItem*>(item);
                return ranked->name() == withoutNumber ? std::nullopt : std::optional<qint64>(ranked->rank());
            }
            QString withoutNumber;
        };
        List list;
        char16_t name = u'a';
        for (const int rank : { 3, 1, 2, 1, 0, 3, 2, 1 }) {
            list.appendRow(new TestItem(QChar(name++), rank, this));
        }
        ByRank compared;
        compared.setSourceModel(&list);
        QVERIFY(compared.questions > 0);
        Numbered view;
        view.setSourceModel(&list);
        QCOMPARE(view.questions, 0);
        QCOMPARE(shown(view), shown(compared));
        // One alone without a number has all compared.
        view.withoutNumber = QStringLiteral("h");
        view.setSourceModel(nullptr);
        view.setSourceModel(&list);
        QVERIFY(view.questions > 0);
        QCOMPARE(shown(view), shown(compared));
    }

    void aChangeInALargeSortedViewAsksAFewQuestions()
    {
        List list;
        const QList<TestItem*> items = rankedItems(20000);
        list.appendRows(items);
        ByRank view;
        view.setSourceModel(&list);
        view.questions = 0;
        items.at(7000)->setrank(70001);
        QVERIFY(view.questions > 0);
        QVERIFY2(view.questions <= 8 + 2 * 16, qPrintable(QString::number(view.questions)));
        view.questions = 0;
        list.appendRow(new TestItem({}, 55, this));
        QVERIFY2(view.questions <= 2 * 17, qPrintable(QString::number(view.questions)));
    }

    void aFewItemsIntoALargeSortedViewAskAFewQuestions()
    {
        List list;
        list.appendRows(rankedItems(20000));
        ByRank view;
        view.setSourceModel(&list);
        view.questions = 0;
        list.appendRows({ new TestItem({}, 70005, this), new TestItem({}, 5, this), new TestItem({}, 70006, this) });
        QVERIFY2(view.questions <= 3 * 2 * 2 * 16, qPrintable(QString::number(view.questions)));
        QCOMPARE(view.get(1)->property("rank").toInt(), 5);
        QCOMPARE(view.get(7002)->property("rank").toInt(), 70005);
        QCOMPARE(view.get(7003)->property("rank").toInt(), 70006);
    }

    void theModelTesterFindsNoFaultInOrdinaryUse()
    {
        const SilencedWarnings silence;
        TestItem a(QStringLiteral("a"), 1);
        TestItem b(QStringLiteral("b"), 2);
        TestItem hidden(QStringLiteral("x"), -1);
        List list;
        ByRank view;
        const QAbstractItemModelTester tester(&view, QAbstractItemModelTester::FailureReportingMode::QtTest);
        list.appendRow(&hidden);
        view.setSourceModel(&list);
        list.appendRows({ &b, &a });
        b.setrank(0);
        a.setrank(-2);
        hidden.setrank(3);
        list.clear();
        QCOMPARE(view.count(), 0);
    }
};

QTEST_MAIN(TestZqSortFilterProxyModel)
#include "tst_zqsortfilterproxymodel.moc"
