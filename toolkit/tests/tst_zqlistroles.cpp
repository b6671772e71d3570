// SPDX-License-Identifier: Apache-2.0
#include <zqcustomitemlistmodel.h>

#include <QtCore/QPointer>
#include <QtTest/QSignalSpy>
#include <QtTest/QTest>

#include "testitems.h"

/// Properties with every name that QML delegates keep for themselves, ordinary ones between them.
class AwkwardItem : public QObject
{
    Q_OBJECT
    Q_PROPERTY(int before MEMBER before CONSTANT)
    Q_PROPERTY(int id MEMBER id CONSTANT)
    Q_PROPERTY(int after MEMBER after CONSTANT)

public:
    int before = 1;
    int id = 2;
    int after = 3;
};

class ReservedNamesItem : public QObject
{
    Q_OBJECT
    Q_PROPERTY(int id MEMBER number CONSTANT)
    Q_PROPERTY(int display MEMBER number CONSTANT)
    Q_PROPERTY(int decoration MEMBER number CONSTANT)
    Q_PROPERTY(int edit MEMBER number CONSTANT)
    Q_PROPERTY(int toolTip MEMBER number CONSTANT)
    Q_PROPERTY(int statusTip MEMBER number CONSTANT)
    Q_PROPERTY(int whatsThis MEMBER number CONSTANT)
    Q_PROPERTY(int QtObject MEMBER number CONSTANT)
    Q_PROPERTY(int qtObject MEMBER number CONSTANT)
    Q_PROPERTY(int last MEMBER number CONSTANT)

public:
    int number = 0;
};

class DiscouragedNamesItem : public QObject
{
    Q_OBJECT
    Q_PROPERTY(int index MEMBER number CONSTANT)
    Q_PROPERTY(int model MEMBER number CONSTANT)

public:
    int number = 5;
};

class SharedSignalItem : public QObject
{
    Q_OBJECT
    Q_PROPERTY(int width MEMBER width NOTIFY sizeChanged)
    Q_PROPERTY(int height MEMBER height NOTIFY sizeChanged)

public:
    int width = 0;
    int height = 0;

signals:
    void sizeChanged();
};

using List = ZqCustomItemListModel<TestItem>;

class TestZqListRoles : public QObject
{
    Q_OBJECT

    static int role(int propertyIndex) { return List::qtObjectRole() + 1 + propertyIndex; }
    static int nameRole() { return role(TestItem::staticMetaObject.indexOfProperty("name")); }

private slots:
    void init() { QTest::failOnWarning(); }
    void cleanup()
    {
        ZqQuickGeneral::instance().setwarningsEnabled(true);
        ZqQuickGeneral::instance().seterrorsEnabled(true);
    }

    void theTwoItemRolesStandAboveTheUserRoleTheSecondTheLarger()
    {
        QVERIFY(List::QtObjectRole() > Qt::UserRole);
        QVERIFY(List::qtObjectRole() > List::QtObjectRole());
    }

    void everyPropertyIsARoleInheritedOnesIncluded()
    {
        const QHash<int, QByteArray> expected {
            { List::QtObjectRole(), "QtObject" },
            { List::qtObjectRole(), "qtObject" },
            { role(0), "objectName" },
            { role(1), "name" },
            { role(2), "rank" },
            { role(3), "birthRank" },
        };
        QCOMPARE(List().roleNames(), expected);
    }

    void aPropertyNamedIdGetsNoRoleOneErrorAndLeavesOneGap()
    {
        const char* text
            = "ZqCustomItemListModel error: class  AwkwardItem  must not have a property named  id , it is a "
              "reserved keyword and can create issues with QML";
        QTest::ignoreMessage(QtCriticalMsg, text);
        const ZqCustomItemListModel<AwkwardItem> list;
        QCOMPARE(list.roleNames().value(role(1)), QByteArray("before"));
        QVERIFY(!list.roleNames().contains(role(2)));
        QCOMPARE(list.roleNames().value(role(3)), QByteArray("after"));

        // Once a construction: a second list says it again.
        QTest::ignoreMessage(QtCriticalMsg, text);
        const ZqCustomItemListModel<AwkwardItem> second;
        QCOMPARE(second.roleNames(), list.roleNames());
    }

    void everyReservedNameIsRefused()
    {
        for (int i = 0; i < 9; ++i) {
            QTest::ignoreMessage(QtCriticalMsg,
                QRegularExpression(QStringLiteral("class  ReservedNamesItem  must not have a property named  %1 ,")
                        .arg(QLatin1String(ReservedNamesItem::staticMetaObject.property(1 + i).name()))));
        }
        const ZqCustomItemListModel<ReservedNamesItem> list;
        const QHash<int, QByteArray> expected {
            { List::QtObjectRole(), "QtObject" },
            { List::qtObjectRole(), "qtObject" },
            { role(0), "objectName" },
            { role(10), "last" },
        };
        QCOMPARE(list.roleNames(), expected);
    }

    void withErrorsSwitchedOffAReservedNameIsRefusedInSilence()
    {
        ZqQuickGeneral::instance().seterrorsEnabled(false);
        bool wasSaid = false;
        static bool* said = nullptr;
        said = &wasSaid;
        const auto previous
            = qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) { *said = true; });
        const ZqCustomItemListModel<AwkwardItem> list;
        qInstallMessageHandler(previous);
        QVERIFY(!wasSaid);
        QVERIFY(!list.roleNames().contains(role(2)));
    }

    void thePropertiesIndexAndModelGetTheirRoleAndAWarning()
    {
        QTest::ignoreMessage(QtWarningMsg,
            "ZqCustomItemListModel warning: class  DiscouragedNamesItem  should not have a property named  index , it "
            "can "
            "create issues with QML");
        QTest::ignoreMessage(QtWarningMsg,
            "ZqCustomItemListModel warning: class  DiscouragedNamesItem  should not have a property named  model , it "
            "can "
            "create issues with QML");
        const ZqCustomItemListModel<DiscouragedNamesItem> list;
        QCOMPARE(list.roleNames().value(role(1)), QByteArray("index"));
        QCOMPARE(list.roleNames().value(role(2)), QByteArray("model"));
    }

    void withWarningsSwitchedOffIndexAndModelGetTheirRoleInSilence()
    {
        const SilencedWarnings silence;
        const ZqCustomItemListModel<DiscouragedNamesItem> list;
        QCOMPARE(list.roleNames().value(role(1)), QByteArray("index"));
    }

    void theItemRolesGiveTheItemAndTheOthersItsProperties()
    {
        TestItem item(QStringLiteral("pump"), 4);
        item.setObjectName(QStringLiteral("object"));
        List list;
        list.appendRow(&item);
        const QModelIndex index = list.index(0);
        QCOMPARE(index.data(List::QtObjectRole()).value<QObject*>(), &item);
        QCOMPARE(index.data(List::qtObjectRole()).value<QObject*>(), &item);
        QCOMPARE(index.data(role(0)).toString(), QStringLiteral("object"));
        QCOMPARE(index.data(nameRole()).toString(), QStringLiteral("pump"));
        QCOMPARE(index.data(role(2)).toInt(), 4);
    }

    void readingAnInvalidIndexWarns()
    {
        const List list;
        QTest::ignoreMessage(QtWarningMsg,
            QRegularExpression(
                QStringLiteral("^ZqCustomItemListModel< TestItem > warning in data\\(\\): invalid index  "
                               "QModelIndex\\(-1,-1,")));
        QVERIFY(!list.data(QModelIndex(), nameRole()).isValid());
    }

    void readingARowThatIsGoneWarns()
    {
        TestItem item;
        List list;
        list.appendRow(&item);
        const QModelIndex index = list.index(0);
        list.clear();
        QTest::ignoreMessage(QtWarningMsg,
            QRegularExpression(QStringLiteral("warning in data\\(\\): invalid index  QModelIndex\\(0,0,")));
        QVERIFY(!list.data(index, nameRole()).isValid());
    }

    void readingAnUnknownRoleWarns()
    {
        TestItem item;
        List list;
        list.appendRow(&item);
        QTest::ignoreMessage(
            QtWarningMsg, "ZqCustomItemListModel< TestItem > warning in data(): invalid role 0 for item at index  0");
        QVERIFY(!list.data(list.index(0), Qt::DisplayRole).isValid());
    }

    void writingARoleWritesThePropertyAndReportsTheRow()
    {
        TestItem first;
        TestItem second;
        List list;
        list.appendRows({ &first, &second });
        QSignalSpy changes(&list, &List::dataChanged);
        QVERIFY(list.setData(list.index(1), QStringLiteral("valve"), nameRole()));
        QCOMPARE(second.name(), QStringLiteral("valve"));
        QVERIFY(!changes.isEmpty());
        for (const QList<QVariant>& change : changes) {
            QCOMPARE(change.at(0).toModelIndex().row(), 1);
            QCOMPARE(change.at(1).toModelIndex().row(), 1);
            QCOMPARE(change.at(2).value<QList<int>>(), QList<int> { nameRole() });
        }
    }

    void theItemRolesCanNotBeWritten()
    {
        TestItem item;
        TestItem other;
        List list;
        list.appendRow(&item);
        QSignalSpy changes(&list, &List::dataChanged);
        QVERIFY(!list.setData(list.index(0), QVariant::fromValue<QObject*>(&other), List::QtObjectRole()));
        QVERIFY(!list.setData(list.index(0), QVariant::fromValue<QObject*>(&other), List::qtObjectRole()));
        QCOMPARE(list.at(0), &item);
        QCOMPARE(changes.count(), 0);
    }

    void aPropertyThatRefusesAValueIsReportedSoThatItsValueIsReadAgain()
    {
        TestItem item({}, 3);
        List list;
        list.appendRow(&item);
        QSignalSpy changes(&list, &List::dataChanged);
        QVERIFY(list.setData(list.index(0), 9, role(3)));
        QCOMPARE(item.birthRank(), 3);
        QCOMPARE(changes.count(), 1);
        QCOMPARE(changes.first().at(0).toModelIndex(), list.index(0));
        QCOMPARE(changes.first().at(2).value<QList<int>>(), QList<int> { role(3) });
    }

    void whoHearsOfAWrittenPropertyMayTakeTheItemOut()
    {
        TestItem taken;
        TestItem next;
        List list;
        list.appendRows({ &taken, &next });
        connect(&taken, &TestItem::nameChanged, &list, [&] { list.removeObject(&taken); });
        QSignalSpy changes(&list, &List::dataChanged);
        QVERIFY(list.setData(list.index(0), QStringLiteral("valve"), nameRole()));
        QCOMPARE(list.count(), 1);
        // Once by the item, while it still stood there; nothing of the item that moved up.
        QCOMPARE(changes.count(), 1);
    }

    void whoHearsOfAWrittenPropertyMayMoveTheItem()
    {
        TestItem moved;
        TestItem next;
        List list;
        list.appendRows({ &moved, &next });
        connect(&moved, &TestItem::nameChanged, &list, [&] { list.move(0, 1); });
        QSignalSpy changes(&list, &List::dataChanged);
        QVERIFY(list.setData(list.index(0), QStringLiteral("valve"), nameRole()));
        QCOMPARE(list.at(1), &moved);
        QCOMPARE(changes.last().at(0).toModelIndex().row(), 1);
    }

    void whoHearsOfAWrittenPropertyMayDeleteItemAndList()
    {
        QPointer<TestItem> item = new TestItem;
        QPointer<List> list = new List;
        list->appendRow(item);
        connect(list, &List::dataChanged, this, [&] {
            delete list;
            delete item;
        });
        QVERIFY(list->setData(list->index(0), QStringLiteral("valve"), nameRole()));
        QVERIFY(!list);
        QVERIFY(!item);
    }

    void writingAnInvalidIndexOrRoleWarns()
    {
        TestItem item;
        List list;
        list.appendRow(&item);
        QTest::ignoreMessage(QtWarningMsg,
            QRegularExpression(
                QStringLiteral("^ZqCustomItemListModel< TestItem > warning in setData\\(\\): invalid index ")));
        QVERIFY(!list.setData(QModelIndex(), 1, nameRole()));
        QTest::ignoreMessage(QtWarningMsg,
            "ZqCustomItemListModel< TestItem > warning in setData(): invalid role 2 for item at index  0");
        QVERIFY(!list.setData(list.index(0), 1, Qt::EditRole));
    }

    void aSignalThatNotifiesTwoPropertiesReportsBothRoles()
    {
        SharedSignalItem item;
        ZqCustomItemListModel<SharedSignalItem> list;
        list.appendRow(&item);
        QSignalSpy changes(&list, &QAbstractItemModel::dataChanged);
        emit item.sizeChanged();
        QCOMPARE(changes.count(), 1);
        const QList<int> both { role(1), role(2) };
        QCOMPARE(changes.first().at(2).value<QList<int>>(), both);
    }
};

QTEST_GUILESS_MAIN(TestZqListRoles)
#include "tst_zqlistroles.moc"
