// SPDX-License-Identifier: Apache-2.0
//
// What pages get from the framework: the theme, the singletons, the view of a module's page, and Speed.
#include "corvanemoduleentry.h"
#include "corvanemoduleplugin.h"
#include "corvanemoduleview.h"
#include "corvaneqmltypes.h"
#include "frameworkfixture.h"
#include "speed.h"
#include "systemviewcorvanemodule.h"
#include "theme.h"

#include <QFile>
#include <QGuiApplication>
#include <QMetaProperty>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QSignalSpy>
#include <QStyleHints>
#include <QTemporaryDir>
#include <QTest>

using namespace FrameworkFixture;

namespace {

class CountingModule : public SystemViewCorvaneModule
{
    Q_OBJECT
    Q_PROPERTY(int number READ number CONSTANT)

public:
    int number() const { return 7; }
};

class PagePlugin : public CorvaneModulePlugin
{
    Q_OBJECT

public:
    QString jsonTag() const override { return QStringLiteral("page"); }
    QJsonObject exportToJson() const override { return {}; }
    int loadFromJson(const QJsonObject&, QList<JsonDocumentError>&) override { return 0; }
    CorvaneModule* createCorvaneModule() override { return new CountingModule; }
    QString uuid() const override { return QStringLiteral("5a6c7b1e-0000-4000-8000-00000000000a"); }
    using AbstractCorvaneModulePlugin::setqmlItemUrl;
};

double luminance(const QColor& color)
{
    const auto linear = [](double channel) {
        return channel <= 0.04045 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
}

double contrast(const QColor& first, const QColor& second)
{
    const double a = luminance(first) + 0.05;
    const double b = luminance(second) + 0.05;
    return std::max(a, b) / std::min(a, b);
}

} // namespace

class TestPages : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { registerCorvaneQmlTypes(); }
    void init() { beStrict(); }
    void cleanup() { handler()->closeDocument(); }

    void theThemeFollowsTheDesktopUnlessAModeIsChosen();
    void textsAreReadableInBothModes();
    void fadesEndWhenLessMotionIsAsked();
    void everyEngineSeesTheSameSingletons();
    void frameworkTypesCannotBeMadeByPages();
    void aSpeedTellsItsValueAndLabel();
    void aModulesPageGetsItsModule();
    void aPageMayDoWithoutTheProperty();
    void aBrokenPageIsSaid();

private:
    QUrl _page(const QByteArray& text)
    {
        static int number = 0;
        const QString path = _folder.filePath(QStringLiteral("Page%1.qml").arg(++number));
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size()) {
            qFatal("The test's own page cannot be written");
        }
        return QUrl::fromLocalFile(path);
    }

    QTemporaryDir _folder;
};

void TestPages::theThemeFollowsTheDesktopUnlessAModeIsChosen()
{
    Theme* theme = Theme::instance();
    QCOMPARE(theme->mode(), Theme::FollowDesktop);
    QSignalSpy changed(theme, &Theme::isDarkChanged);
    QGuiApplication::styleHints()->setColorScheme(Qt::ColorScheme::Dark);
    const bool isSettable = QGuiApplication::styleHints()->colorScheme() == Qt::ColorScheme::Dark;
    if (isSettable) {
        QTRY_VERIFY(theme->isDark());
    }
    theme->setmode(Theme::Light);
    QVERIFY(!theme->isDark());
    const QColor light = theme->background();
    theme->setmode(Theme::Dark);
    QVERIFY(theme->isDark());
    QVERIFY(theme->background() != light);
    QVERIFY(changed.count() >= 1);
    theme->setmode(Theme::FollowDesktop);
    QCOMPARE(theme->isDark(), QGuiApplication::styleHints()->colorScheme() == Qt::ColorScheme::Dark);
}

void TestPages::textsAreReadableInBothModes()
{
    Theme* theme = Theme::instance();
    for (const Theme::Mode mode : { Theme::Light, Theme::Dark }) {
        theme->setmode(mode);
        for (const QColor& ground : { theme->background(), theme->surface(), theme->raised(), theme->selection() }) {
            QVERIFY(contrast(theme->text(), ground) >= 7);
            QVERIFY(contrast(theme->mutedText(), ground) >= 4.5);
            // Dots, bars and triangles, and words in larger type
            for (const QColor& state : { theme->recording(), theme->paused(), theme->replaying(), theme->accent() }) {
                QVERIFY(contrast(state, ground) >= 3);
            }
        }
        for (const QColor& ground : { theme->background(), theme->surface() }) {
            for (const QColor& state : { theme->recording(), theme->paused(), theme->replaying(), theme->accent() }) {
                QVERIFY(contrast(state, ground) >= 4.5);
            }
        }
        QVERIFY(contrast(theme->accentText(), theme->accent()) >= 4.5);
        QCOMPARE(theme->dim().alphaF(), 0.4F);
    }
    theme->setmode(Theme::FollowDesktop);
}

void TestPages::fadesEndWhenLessMotionIsAsked()
{
    Theme* theme = Theme::instance();
    theme->setreducedMotion(false);
    QCOMPARE(theme->fadeDuration(), 120);
    QSignalSpy changed(theme, &Theme::reducedMotionChanged);
    theme->setreducedMotion(true);
    QCOMPARE(theme->fadeDuration(), 0);
    QCOMPARE(changed.count(), 1);
    theme->setreducedMotion(false);
}

void TestPages::everyEngineSeesTheSameSingletons()
{
    handler()->newDocument();
    createRecorder();
    const QUrl page = _page(R"(
        import QtQuick
        import Corvane 1.0
        QtObject {
            property color accent: Theme.accent
            property bool dark: Theme.isDark
            property string machine: NetworkConfiguration.localNetworkName
            property bool connected: NetworkConfiguration.isConnected
            property bool secure: NetworkConfiguration.isQuenarySecurityActivated
            property string problem: SystemViewManager.problem
            property int modules: PluginManager.modules.count
            property int instances: SystemDocumentHandler.currentSystemDocument.currentSystemView.instances.count
            property var first: SystemDocumentHandler.currentSystemDocument.currentSystemView.instances.get(0) as SystemViewClassInstance
            property var found: SystemDocumentHandler.currentSystemDocument.currentSystemView.getAgentByName("Recorder")
        })");
    for (int i = 0; i < 2; ++i) {
        QQmlEngine engine;
        QQmlComponent component(&engine, page);
        const std::unique_ptr<QObject> object(component.create());
        QVERIFY2(object, qUtf8Printable(component.errorString()));
        QCOMPARE(object->property("accent").value<QColor>(), Theme::instance()->accent());
        QCOMPARE(object->property("dark").toBool(), Theme::instance()->isDark());
        QCOMPARE(object->property("machine").toString(), localName());
        QVERIFY(!object->property("connected").toBool());
        QVERIFY(!object->property("secure").toBool());
        QCOMPARE(object->property("modules").toInt(), 0);
        QCOMPARE(object->property("instances").toInt(), 1);
        QCOMPARE(object->property("found").value<QObject*>(), currentView()->getAgentByName("Recorder"));
        QCOMPARE(object->property("first").value<QObject*>(), currentView()->getAgentByName("Recorder"));
        engine.collectGarbage();
    }
    QVERIFY(currentView()->getAgentByName("Recorder")); // no engine took it along
    QCOMPARE(Theme::instance()->spacing(), 12);
}

void TestPages::frameworkTypesCannotBeMadeByPages()
{
    QQmlEngine engine;
    QQmlComponent component(&engine, _page("import Corvane 1.0\nSystemView {}\n"));
    QVERIFY(component.isError());
    QVERIFY(component.errorString().contains("Made by the framework"));
}

void TestPages::aSpeedTellsItsValueAndLabel()
{
    const Speed half(0.5);
    QCOMPARE(half.value(), 0.5);
    QCOMPARE(half.label(), QString::fromUtf8("0.5×"));
    QCOMPARE(Speed(2).label(), QString::fromUtf8("2×"));
    const QMetaProperty value = Speed::staticMetaObject.property(Speed::staticMetaObject.indexOfProperty("value"));
    QCOMPARE(value.typeId(), QMetaType::Double);
    QVERIFY(value.isConstant());
}

void TestPages::aModulesPageGetsItsModule()
{
    // Given a module whose page requires it
    PagePlugin plugin;
    plugin.setqmlItemUrl(_page(R"(
        import QtQuick
        import Corvane 1.0
        Item {
            required property var corvaneModule
            property int throughProperty: corvaneModule.number
            property int throughContext: number
            property real widthAtStart: -1
            Component.onCompleted: widthAtStart = width
        })"));
    CorvaneModuleEntry entry(&plugin, QString(), "page", QString(), nullptr);
    QVERIFY(entry.createModule());
    QQmlEngine engine;
    QQmlComponent component(&engine);
    component.setData("import Corvane 1.0\nCorvaneModuleView { width: 640; height: 480 }", QUrl());
    const std::unique_ptr<QObject> object(component.create());
    auto* view = qobject_cast<CorvaneModuleView*>(object.get());
    QVERIFY2(view, qUtf8Printable(component.errorString()));
    QSignalSpy pageChanged(view, &CorvaneModuleView::pageItemChanged);

    // When the view shows it
    view->setentry(&entry);

    // Then the page fills the view and knows its module
    QPointer<QQuickItem> page = view->pageItem();
    QVERIFY2(page, qUtf8Printable(view->errorText()));
    QCOMPARE(page->property("corvaneModule").value<QObject*>(), entry.module());
    QCOMPARE(page->property("throughProperty").toInt(), 7);
    QCOMPARE(page->property("throughContext").toInt(), 7);
    QCOMPARE(page->property("widthAtStart").toDouble(), 640.0);
    view->setSize({ 300, 200 });
    QCOMPARE(page->size(), QSizeF(300, 200));

    // And goes before the module does
    entry.destroyModule();
    QVERIFY(!page);
    QVERIFY(!view->pageItem());
    QCOMPARE(pageChanged.count(), 2);
    QVERIFY(entry.createModule());
    QVERIFY(view->pageItem());
    view->setentry(nullptr);
    QVERIFY(!view->pageItem());
}

void TestPages::aPageMayDoWithoutTheProperty()
{
    PagePlugin plugin;
    plugin.setqmlItemUrl(_page("import QtQuick\nItem { property int seen: number }"));
    CorvaneModuleEntry entry(&plugin, QString(), "page", QString(), nullptr);
    QVERIFY(entry.createModule());
    QQmlEngine engine;
    QQmlComponent component(&engine);
    component.setData("import Corvane 1.0\nCorvaneModuleView {}", QUrl());
    const std::unique_ptr<QObject> object(component.create());
    auto* view = qobject_cast<CorvaneModuleView*>(object.get());
    QVERIFY(view);
    view->setentry(&entry);
    QVERIFY2(view->pageItem(), qUtf8Printable(view->errorText()));
    QCOMPARE(view->pageItem()->property("seen").toInt(), 7);
}

void TestPages::aBrokenPageIsSaid()
{
    PagePlugin plugin;
    CorvaneModuleEntry entry(&plugin, QString(), "page", QString(), nullptr);
    QVERIFY(entry.createModule());
    QQmlEngine engine;
    QQmlComponent component(&engine);
    component.setData("import Corvane 1.0\nCorvaneModuleView {}", QUrl());
    const std::unique_ptr<QObject> object(component.create());
    auto* view = qobject_cast<CorvaneModuleView*>(object.get());
    QVERIFY(view);

    plugin.setqmlItemUrl(_page("import QtQuick\nItem { nonsense }"));
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("cannot be shown: .*nonsense|cannot be shown: .*Page"));
    view->setentry(&entry);
    QVERIFY(!view->pageItem());
    QVERIFY(view->errorText().contains("cannot be shown"));

    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("its root is no Item"));
    plugin.setqmlItemUrl(_page("import QtQml\nQtObject {}"));
    QVERIFY(!view->pageItem());

    plugin.setqmlItemUrl(_page("import QtQuick\nItem {}"));
    QVERIFY(view->pageItem());
    QVERIFY(view->errorText().isEmpty());
}

QTEST_MAIN(TestPages)
#include "tst_pages.moc"
