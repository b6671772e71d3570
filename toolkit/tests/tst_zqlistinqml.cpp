// SPDX-License-Identifier: Apache-2.0
#include <zqcustomitemlistmodel.h>
#include <zqsortfilterproxymodel.h>

#include <QtQml/QQmlComponent>
#include <QtQml/QQmlContext>
#include <QtQml/QQmlEngine>
#include <QtQml/QQmlExpression>
#include <QtTest/QTest>

#include <memory>

#include "testitems.h"

using List = ZqCustomItemListModel<TestItem>;

class TestZqListInQml : public QObject
{
    Q_OBJECT

    QQmlEngine engine;
    std::unique_ptr<List> list;
    std::unique_ptr<TestItem> a;
    std::unique_ptr<TestItem> b;

    QVariant evaluate(const QString& script)
    {
        QQmlExpression expression(engine.rootContext(), nullptr, script);
        bool isUndefined = false;
        const QVariant value = expression.evaluate(&isUndefined);
        if (expression.hasError()) {
            return expression.error().toString();
        }
        return value;
    }

private slots:
    void init()
    {
        QTest::failOnWarning();
        list = std::make_unique<List>();
        a = std::make_unique<TestItem>(QStringLiteral("a"));
        b = std::make_unique<TestItem>(QStringLiteral("b"));
        engine.rootContext()->setContextProperty(QStringLiteral("list"), list.get());
        engine.rootContext()->setContextProperty(QStringLiteral("a"), a.get());
        engine.rootContext()->setContextProperty(QStringLiteral("b"), b.get());
    }

    void scriptsAddFindReplaceMoveAndRemoveItems()
    {
        evaluate(QStringLiteral("list.appendObject(a)"));
        QCOMPARE(list->toList(), QList<TestItem*> { a.get() });
        evaluate(QStringLiteral("list.prependObject(b)"));
        QCOMPARE(list->toList(), (QList<TestItem*> { b.get(), a.get() }));
        QCOMPARE(evaluate(QStringLiteral("list.count")).toInt(), 2);
        QCOMPARE(evaluate(QStringLiteral("list.indexOf(a)")).toInt(), 1);
        QCOMPARE(evaluate(QStringLiteral("list.contains(b)")).toBool(), true);
        QCOMPARE(evaluate(QStringLiteral("list.get(1).name")).toString(), QStringLiteral("a"));
        QCOMPARE(evaluate(QStringLiteral("list.get(2)")).value<QObject*>(), nullptr);
        QCOMPARE(evaluate(QStringLiteral("list.move(0, 1)")).toBool(), true);
        QCOMPARE(list->toList(), (QList<TestItem*> { a.get(), b.get() }));
        QCOMPARE(evaluate(QStringLiteral("list.toVariantList().map(item => item.name).join()")).toString(),
            QStringLiteral("a,b"));
        QCOMPARE(evaluate(QStringLiteral("list.removeObject(a)")).toBool(), true);
        QCOMPARE(evaluate(QStringLiteral("list.replaceObject(0, a).name")).toString(), QStringLiteral("b"));
        evaluate(QStringLiteral("list.insertObject(1, b)"));
        QCOMPARE(list->toList(), (QList<TestItem*> { a.get(), b.get() }));
        evaluate(QStringLiteral("list.remove(0)"));
        QCOMPARE(list->toList(), QList<TestItem*> { b.get() });
        evaluate(QStringLiteral("list.clear()"));
        QCOMPARE(evaluate(QStringLiteral("list.isEmpty()")).toBool(), true);
    }

    void anItemHandedToAScriptIsNotCollected()
    {
        QPointer<TestItem> item = new TestItem;
        list->appendRow(item);
        QCOMPARE(evaluate(QStringLiteral("list.get(0) !== null")).toBool(), true);
        QCOMPARE(evaluate(QStringLiteral("list.replaceObject(0, a) !== null")).toBool(), true);
        engine.collectGarbage();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(item);
        delete item;
    }

    void aScriptSetsTheSourceOfAViewAndFollowsItsCount()
    {
        ZqSortFilterProxyModel view;
        engine.rootContext()->setContextProperty(QStringLiteral("view"), &view);
        evaluate(QStringLiteral("view.sourceModel = list"));
        QCOMPARE(view.sourceModel(), list.get());
        list->appendRow(a.get());
        QCOMPARE(evaluate(QStringLiteral("view.count")).toInt(), 1);
        QCOMPARE(evaluate(QStringLiteral("view.get(0).name")).toString(), QStringLiteral("a"));
        evaluate(QStringLiteral("view.sourceModel = null"));
        QCOMPARE(evaluate(QStringLiteral("view.count")).toInt(), 0);
    }

    void delegatesBindToTheRoles()
    {
        list->appendRows({ a.get(), b.get() });
        QQmlComponent component(&engine);
        component.setData(R"(
            import QtQml
            Instantiator {
                model: list
                delegate: QtObject {
                    required property string name
                    required property var qtObject
                    readonly property bool sameName: name === qtObject.name
                }
            })",
            QUrl());
        const std::unique_ptr<QObject> instantiator(component.create());
        QVERIFY2(instantiator, qPrintable(component.errorString()));
        QObject* second = nullptr;
        QVERIFY(
            QMetaObject::invokeMethod(instantiator.get(), "objectAt", Q_RETURN_ARG(QObject*, second), Q_ARG(int, 1)));
        QCOMPARE(second->property("name").toString(), QStringLiteral("b"));
        b->setname(QStringLiteral("changed"));
        QCOMPARE(second->property("name").toString(), QStringLiteral("changed"));
        QVERIFY(second->property("sameName").toBool());
    }
};

QTEST_GUILESS_MAIN(TestZqListInQml)
#include "tst_zqlistinqml.moc"
