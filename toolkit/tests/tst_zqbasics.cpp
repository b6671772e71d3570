// SPDX-License-Identifier: Apache-2.0
#include <zqabstractqmlenumclass.h>

#include <QtQml/QJSEngine>
#include <QtTest/QSignalSpy>
#include <QtTest/QTest>

#include "testitems.h"

class Seasons : public ZqAbstractQmlEnumClass
{
    Q_OBJECT

public:
    enum Value
    {
        Spring = 1,
        Summer = 2,
        Winter = 7
    };
    Q_ENUM(Value)

    int getEnumeratorIndex() const override { return staticMetaObject.indexOfEnumerator("Value"); }
    QMetaEnum getEnumerator(int index) const override { return staticMetaObject.enumerator(index); }
};

class NoEnumeration : public ZqAbstractQmlEnumClass
{
    Q_OBJECT

public:
    int getEnumeratorIndex() const override { return -1; }
    QMetaEnum getEnumerator(int index) const override { return staticMetaObject.enumerator(index); }
};

class Gauge : public QObject
{
    Q_OBJECT

public:
    double level = 0.5;

signals:
    void levelChanged();
};

class TestZqBasics : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(); }
    void cleanup()
    {
        ZqQuickGeneral::instance().setwarningsEnabled(true);
        ZqQuickGeneral::instance().seterrorsEnabled(true);
    }

    void theTextOfAnEnumerationValueIsItsKey()
    {
        const Seasons seasons;
        QCOMPARE(seasons.text(Seasons::Summer), QStringLiteral("Summer"));
        QCOMPARE(seasons.text(7), QStringLiteral("Winter"));
    }

    void aNumberThatIsNoValueHasNoText()
    {
        QCOMPARE(Seasons().text(3), QString());
        QCOMPARE(Seasons().text(-1), QString());
    }

    void aTextLeadsBackToItsValueAndAnUnknownOneToTheDefault()
    {
        const Seasons seasons;
        QCOMPARE(seasons.value(QStringLiteral("Winter")), 7);
        QCOMPARE(seasons.value(QStringLiteral("Autumn")), -1);
        QCOMPARE(seasons.value(QStringLiteral("Autumn"), 42), 42);
    }

    void aClassWithoutTheEnumerationHasNoTexts()
    {
        QCOMPARE(NoEnumeration().text(0), QString());
        QCOMPARE(NoEnumeration().value(QStringLiteral("Spring")), -1);
    }

    void bothSwitchesAreOnToBeginWith()
    {
        QVERIFY(ZqQuickGeneral::instance().warningsEnabled());
        QVERIFY(ZqQuickGeneral::instance().errorsEnabled());
    }

    void aSwitchSetTwiceNotifiesOnce()
    {
        ZqQuickGeneral& settings = ZqQuickGeneral::instance();
        QSignalSpy warnings(&settings, &ZqQuickGeneral::warningsEnabledChanged);
        QSignalSpy errors(&settings, &ZqQuickGeneral::errorsEnabledChanged);

        settings.setwarningsEnabled(false);
        settings.setwarningsEnabled(false);
        settings.seterrorsEnabled(false);
        settings.seterrorsEnabled(false);

        QCOMPARE(warnings.count(), 1);
        QCOMPARE(errors.count(), 1);
        QVERIFY(!settings.warningsEnabled());
        QVERIFY(!settings.errorsEnabled());
    }

    void everyEngineGetsTheSameSettingsAndOwnsThemNot()
    {
        QObject* const settings = ZqQuickGeneral::qmlSingleton(nullptr, nullptr);
        QCOMPARE(settings, &ZqQuickGeneral::instance());
        QCOMPARE(QJSEngine::objectOwnership(settings), QJSEngine::CppOwnership);
    }

    void assigningAnEqualValueNotifiesNobody()
    {
        TestItem item(QStringLiteral("a"), 1);
        QSignalSpy names(&item, &TestItem::nameChanged);
        item.setname(QStringLiteral("a"));
        QCOMPARE(names.count(), 0);
        item.setname(QStringLiteral("b"));
        QCOMPARE(names.count(), 1);
    }

    void doublesThatDifferByLessThanTheFuzzAreEqual()
    {
        Gauge gauge;
        QSignalSpy changes(&gauge, &Gauge::levelChanged);
        QVERIFY(!ZqProperty::assign(&gauge, gauge.level, 0.5 + 1e-14, &Gauge::levelChanged));
        QCOMPARE(gauge.level, 0.5);
        QCOMPARE(changes.count(), 0);
        QVERIFY(ZqProperty::assign(&gauge, gauge.level, 0.5001, &Gauge::levelChanged));
        QCOMPARE(changes.count(), 1);
    }

    void aDoubleThatIsNoNumberChangesOnceAndNotAgain_data()
    {
        QTest::addColumn<double>("level");
        QTest::newRow("not a number") << qQNaN();
        QTest::newRow("infinity") << qInf();
        QTest::newRow("negative infinity") << -qInf();
    }

    void aDoubleThatIsNoNumberChangesOnceAndNotAgain()
    {
        QFETCH(double, level);
        Gauge gauge;
        QSignalSpy changes(&gauge, &Gauge::levelChanged);
        QVERIFY(ZqProperty::assign(&gauge, gauge.level, level, &Gauge::levelChanged));
        QVERIFY(!ZqProperty::assign(&gauge, gauge.level, level, &Gauge::levelChanged));
        QVERIFY(!ZqProperty::equal(level, 0.5));
        QVERIFY(ZqProperty::assign(&gauge, gauge.level, 0.5, &Gauge::levelChanged));
        QCOMPARE(changes.count(), 2);
    }

    void theTwoInfinitiesDiffer()
    {
        QVERIFY(!ZqProperty::equal(qInf(), -qInf()));
    }
};

QTEST_GUILESS_MAIN(TestZqBasics)
#include "tst_zqbasics.moc"
