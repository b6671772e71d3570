// SPDX-License-Identifier: Apache-2.0
#include <zqcustomitemlistmodel.h>

#include <QtCore/QPointer>
#include <QtCore/QRandomGenerator>
#include <QtCore/QRegularExpression>
#include <QtTest/QAbstractItemModelTester>
#include <QtTest/QSignalSpy>
#include <QtTest/QTest>

#include <memory>

#include "testitems.h"

using List = ZqCustomItemListModel<TestItem>;

/// An item whose QObject is not its first base: the two addresses differ.
class Ballast
{
public:
    virtual ~Ballast() = default;
    int weight[4] {};
};

class ShiftedItem : public QObject, public Ballast
{
    Q_OBJECT
    Q_PROPERTY(int rank MEMBER rank NOTIFY rankChanged)

public:
    int rank = 0;

signals:
    void rankChanged();
};

class TestZqListFollowsItems : public QObject
{
    Q_OBJECT

    /// Lets a test see how often something listens to an item.
    class CountedItem : public TestItem
    {
    public:
        using TestItem::TestItem;
        int nameListeners() const { return receivers(SIGNAL(nameChanged())); }
        int destructionListeners() const { return receivers(SIGNAL(destroyed(QObject*))); }
    };

    static int nameRole() { return List::qtObjectRole() + 1 + TestItem::staticMetaObject.indexOfProperty("name"); }

private slots:
    void init() { QTest::failOnWarning(); }

    void aChangedPropertyReportsTheRowAndItsRole()
    {
        TestItem first;
        TestItem second;
        List list;
        list.appendRows({ &first, &second });
        QSignalSpy changes(&list, &List::dataChanged);
        second.setname(QStringLiteral("changed"));
        QCOMPARE(changes.count(), 1);
        QCOMPARE(changes.first().at(0).toModelIndex(), list.index(1));
        QCOMPARE(changes.first().at(1).toModelIndex(), list.index(1));
        QCOMPARE(changes.first().at(2).value<QList<int>>(), QList<int> { nameRole() });
    }

    void anInheritedPropertyIsFollowedToo()
    {
        TestItem item;
        List list;
        list.appendRow(&item);
        QSignalSpy changes(&list, &List::dataChanged);
        item.setObjectName(QStringLiteral("named"));
        QCOMPARE(changes.count(), 1);
        QCOMPARE(changes.first().at(2).value<QList<int>>(), QList<int> { List::qtObjectRole() + 1 });
    }

    void aRowIsFoundAfterRowsBeforeItCameAndWent()
    {
        std::vector<std::unique_ptr<TestItem>> items;
        List list;
        for (int i = 0; i < 200; ++i) {
            items.push_back(std::make_unique<TestItem>());
            list.appendRow(items.back().get());
        }
        for (int i = 0; i < 60; ++i) {
            list.takeRow(i);
        }
        TestItem front;
        list.prependRow(&front);
        QSignalSpy changes(&list, &List::dataChanged);
        items.back()->setname(QStringLiteral("last"));
        QCOMPARE(changes.count(), 1);
        QCOMPARE(changes.first().at(0).toModelIndex().row(), 140);
    }

    void withDuplicatesOneChangeReportsBothRows()
    {
        TestItem twice;
        TestItem other;
        List list(nullptr, true);
        list.appendRows({ &twice, &other, &twice });
        QSignalSpy changes(&list, &List::dataChanged);
        twice.setname(QStringLiteral("changed"));
        QCOMPARE(changes.count(), 2);
        QCOMPARE(changes.at(0).at(0).toModelIndex().row(), 0);
        QCOMPARE(changes.at(1).at(0).toModelIndex().row(), 2);
    }

    void anItemInsertedTwiceIsConnectedOnce()
    {
        CountedItem item;
        List list(nullptr, true);
        list.appendRow(&item);
        const int nameListeners = item.nameListeners();
        const int destructionListeners = item.destructionListeners();
        QCOMPARE(nameListeners, 1);
        list.appendRow(&item);
        QCOMPARE(item.nameListeners(), nameListeners);
        QCOMPARE(item.destructionListeners(), destructionListeners);
    }

    void aTakenItemIsNoLongerListenedTo()
    {
        CountedItem item;
        List list;
        list.appendRow(&item);
        list.takeRow(0);
        QCOMPARE(item.nameListeners(), 0);
        QCOMPARE(item.destructionListeners(), 0);
    }

    void aClearedItemIsNoLongerListenedTo()
    {
        CountedItem item;
        List list;
        list.appendRow(&item);
        list.clear();
        QCOMPARE(item.nameListeners(), 0);
        QCOMPARE(item.destructionListeners(), 0);
        QSignalSpy changes(&list, &List::dataChanged);
        item.setname(QStringLiteral("x"));
        QCOMPARE(changes.count(), 0);
    }

    void anItemTakenOnceOfTwoIsStillFollowed()
    {
        CountedItem item;
        List list(nullptr, true);
        list.appendRows({ &item, &item });
        list.takeRow(0);
        QCOMPARE(item.nameListeners(), 1);
        QSignalSpy changes(&list, &List::dataChanged);
        item.setname(QStringLiteral("x"));
        QCOMPARE(changes.count(), 1);
        list.takeRow(0);
        QCOMPARE(item.nameListeners(), 0);
    }

    void anItemDestroyedElsewhereRemovesItsRowWithASingleRowRemoval()
    {
        TestItem first;
        auto* doomed = new TestItem;
        TestItem last;
        List list;
        list.appendRows({ &first, doomed, &last });
        QSignalSpy removed(&list, &List::rowsRemoved);
        QSignalSpy resets(&list, &List::modelReset);
        QSignalSpy counts(&list, &List::countChanged);
        delete doomed;
        QCOMPARE(list.toList(), (QList<TestItem*> { &first, &last }));
        QCOMPARE(removed.count(), 1);
        QCOMPARE(removed.first().at(1).toInt(), 1);
        QCOMPARE(removed.first().at(2).toInt(), 1);
        QCOMPARE(resets.count(), 0);
        QCOMPARE(counts.count(), 1);
    }

    void anItemDestroyedElsewhereThatStandsTwiceRemovesBothRowsWithAResetAndAWarning()
    {
        auto* twice = new TestItem;
        TestItem other;
        List list(nullptr, true);
        list.appendRows({ twice, &other, twice });
        QSignalSpy removed(&list, &List::rowsRemoved);
        QSignalSpy resets(&list, &List::modelReset);
        QSignalSpy counts(&list, &List::countChanged);
        QTest::ignoreMessage(
            QtWarningMsg, "ZqCustomItemListModel< TestItem > warning: removing 2 occurrences of a deleted item");
        delete twice;
        QCOMPARE(list.toList(), QList<TestItem*> { &other });
        QCOMPARE(removed.count(), 0);
        QCOMPARE(resets.count(), 1);
        QCOMPARE(counts.count(), 1);
    }

    void withWarningsSwitchedOffADestroyedDuplicateGoesInSilence()
    {
        const SilencedWarnings silence;
        auto* twice = new TestItem;
        List list(nullptr, true);
        list.appendRows({ twice, twice });
        delete twice;
        QVERIFY(list.isEmpty());
    }

    void anItemWhoseObjectIsNotAtItsAddressIsFollowedAndRemoved()
    {
        auto* doomed = new ShiftedItem;
        ShiftedItem stays;
        ZqCustomItemListModel<ShiftedItem> list;
        list.appendRows({ doomed, &stays });
        QSignalSpy changes(&list, &QAbstractItemModel::dataChanged);
        emit stays.rankChanged();
        QCOMPARE(changes.count(), 1);
        delete doomed;
        QCOMPARE(list.count(), 1);
        QCOMPARE(list.at(0), &stays);
    }

    void whatListensToARemovalNeitherReadsNorWritesTheDyingItem()
    {
        auto* doomed = new TestItem(QStringLiteral("doomed"));
        List list;
        list.appendRow(doomed);
        QVariant seen;
        bool wasAsked = false;
        bool wasWritten = true;
        connect(&list, &List::rowsAboutToBeRemoved, this, [&](const QModelIndex&, int row) {
            wasAsked = true;
            QCOMPARE(list.get(row), nullptr);
            seen = list.index(row).data(nameRole());
            wasWritten = list.setData(list.index(row), QStringLiteral("x"), nameRole());
        });
        QTest::ignoreMessage(
            QtWarningMsg, "ZqCustomItemListModel< TestItem > warning in data(): item at index  0  is undefined");
        QTest::ignoreMessage(
            QtWarningMsg, "ZqCustomItemListModel< TestItem > warning in setData(): item at index  0  is undefined");
        delete doomed;
        QVERIFY(wasAsked);
        QVERIFY(!seen.isValid());
        QVERIFY(!wasWritten);
    }

    void whoHearsOfAChangeMayRemoveTheItem()
    {
        TestItem item;
        List list;
        list.appendRow(&item);
        connect(&list, &List::dataChanged, &list, [&list] { list.clear(); });
        item.setname(QStringLiteral("x"));
        QVERIFY(list.isEmpty());
    }

    void whoHearsOfAChangeMayDeleteTheList()
    {
        TestItem item;
        QPointer<List> list = new List;
        list->appendRow(&item);
        connect(list, &List::dataChanged, this, [&list] { delete list; });
        item.setname(QStringLiteral("x"));
        QVERIFY(!list);
        item.setname(QStringLiteral("y"));
    }

    void whoHearsOfAChangeOfTwoRowsMayDeleteTheList()
    {
        TestItem item;
        QPointer<List> list = new List(nullptr, true);
        list->appendRows({ &item, &item });
        int heard = 0;
        connect(list, &List::dataChanged, this, [&] {
            ++heard;
            delete list;
        });
        item.setname(QStringLiteral("x"));
        QCOMPARE(heard, 1);
        QVERIFY(!list);
    }

    void whoHearsThatRowsGoMayChangeTheList()
    {
        TestItem a;
        auto* b = new TestItem;
        TestItem c;
        TestItem d;
        List list;
        list.appendRows({ &a, b, &c, &d });
        connect(
            &list, &List::rowsAboutToBeRemoved, this,
            [&] {
                delete b;
                list.removeObject(&d);
                list.appendRow(&a);
            },
            Qt::SingleShotConnection);
        QSignalSpy resets(&list, &List::modelReset);
        QTest::ignoreMessage(
            QtWarningMsg, QRegularExpression(QStringLiteral("can not append item .*does not allow duplicate items$")));
        // The announced rows 2 and 3 are c's and d's.
        list.remove(2, 2);
        QCOMPARE(list.toList(), QList<TestItem*> { &a });
        QCOMPARE(resets.count(), 1);
        QSignalSpy changes(&list, &List::dataChanged);
        c.setname(QStringLiteral("x"));
        QCOMPARE(changes.count(), 0);
    }

    void whoHearsThatAnItemIsReplacedMayChangeTheList()
    {
        TestItem a;
        TestItem b;
        auto* c = new TestItem;
        List list;
        list.appendRows({ &a, &b, c });
        TestItem first;
        connect(&list, &List::rowsRemoved, this, [&] { list.clear(); }, Qt::SingleShotConnection);
        QCOMPARE(list.replace(2, &first), c);
        QCOMPARE(list.toList(), QList<TestItem*> { &first });

        auto* second = new TestItem;
        list.appendRow(c);
        connect(
            &list, &List::rowsRemoved, this,
            [&] {
                delete c;
                delete second;
            },
            Qt::SingleShotConnection);
        QCOMPARE(list.replace(1, second), nullptr);
        QCOMPARE(list.toList(), QList<TestItem*> { &first });
    }

    void whoHearsThatADyingItemGoesMayDeleteAnother()
    {
        auto* a = new TestItem;
        auto* b = new TestItem;
        TestItem c;
        List list;
        list.appendRows({ a, b, &c });
        connect(&list, &List::rowsAboutToBeRemoved, this, [&] { delete a; }, Qt::SingleShotConnection);
        delete b;
        QCOMPARE(list.toList(), QList<TestItem*> { &c });
    }

    void whoHearsThatADyingItemGoesMayDeleteAllItems()
    {
        QPointer<TestItem> a = new TestItem;
        auto* b = new TestItem;
        List list;
        list.appendRows({ a, b });
        connect(&list, &List::rowsAboutToBeRemoved, this, [&] { list.deleteAllItems(); }, Qt::SingleShotConnection);
        delete b;
        QVERIFY(list.isEmpty());
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(!a);
    }

    void anItemOfTwoListsLeavesBoth()
    {
        auto* doomed = new TestItem;
        List first;
        List second;
        first.appendRow(doomed);
        second.appendRow(doomed);
        delete doomed;
        QVERIFY(first.isEmpty());
        QVERIFY(second.isEmpty());
    }

    void randomEditsPassTheModelTester_data()
    {
        QTest::addColumn<bool>("withDuplicates");
        QTest::newRow("distinct") << false;
        QTest::newRow("duplicates") << true;
    }

    void randomEditsPassTheModelTester()
    {
        QFETCH(bool, withDuplicates);
        const SilencedWarnings silence;
        QRandomGenerator random(31415);
        List list(nullptr, withDuplicates);
        const QAbstractItemModelTester tester(&list, QAbstractItemModelTester::FailureReportingMode::QtTest);
        QSignalSpy counts(&list, &List::countChanged);
        QObject owner;
        QList<TestItem*> alive;
        QList<TestItem*> expected;
        int expectedCounts = 0;
        const auto below = [&random](qsizetype bound) { return static_cast<int>(random.bounded(bound)); };
        for (int step = 0; step < 1500; ++step) {
            const qsizetype before = expected.size();
            switch (below(8)) {
            case 0: {
                auto* item = new TestItem({}, step, &owner);
                alive.append(item);
                list.appendRow(item);
                expected.append(item);
                break;
            }
            case 1: {
                QList<TestItem*> batch;
                for (int i = below(4); i >= 0; --i) {
                    batch.append(new TestItem({}, step, &owner));
                }
                alive += batch;
                list.appendRows(batch);
                expected += batch;
                break;
            }
            case 2: {
                if (withDuplicates && !alive.isEmpty()) {
                    TestItem* const item = alive.at(below(alive.size()));
                    const int row = below(expected.size() + 1);
                    list.insertRow(row, item);
                    expected.insert(row, item);
                }
                break;
            }
            case 3:
                if (!expected.isEmpty()) {
                    const int row = below(expected.size());
                    QCOMPARE(list.takeRow(row), expected.takeAt(row));
                }
                break;
            case 4:
                if (!expected.isEmpty()) {
                    const int row = below(expected.size());
                    const int count = 1 + below(4);
                    list.removeRows(row, count);
                    expected.remove(row, qMin<qsizetype>(count, expected.size() - row));
                }
                break;
            case 5:
                if (!alive.isEmpty()) {
                    TestItem* const doomed = alive.takeAt(below(alive.size()));
                    expected.removeAll(doomed);
                    delete doomed;
                }
                break;
            case 6:
                if (expected.size() > 2) {
                    const int from = below(expected.size());
                    const int to = below(expected.size());
                    if (from != to) {
                        QVERIFY(list.move(from, to));
                        expected.move(from, to);
                    }
                }
                break;
            default:
                if (!alive.isEmpty()) {
                    alive.at(below(alive.size()))->setrank(step);
                }
                break;
            }
            expectedCounts += expected.size() == before ? 0 : 1;
            QCOMPARE(list.toList(), expected);
            QCOMPARE(counts.count(), expectedCounts);
        }
        QVERIFY(expectedCounts > 500);
    }
};

QTEST_MAIN(TestZqListFollowsItems)
#include "tst_zqlistfollowsitems.moc"
