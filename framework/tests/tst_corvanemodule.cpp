// SPDX-License-Identifier: Apache-2.0
#include "corvanemoduleplugin.h"
#include "frameworkfixture.h"
#include "reservedextensions.h"
#include "systemviewcorvanemodule.h"

#include "quenary_families.h"

#include <QMetaProperty>
#include <QSignalSpy>
#include <QTest>

using namespace FrameworkFixture;

namespace {

class NotingModule : public SystemViewCorvaneModule
{
    Q_OBJECT

public:
    void onSystemDocumentChanged() override
    {
        SystemViewCorvaneModule::onSystemDocumentChanged();
        events.append(handler()->currentSystemDocument() == nullptr ? "no document" : "document");
    }
    void onSystemViewBaseInstanceRegistered(SystemViewBaseInstance* instance) override
    {
        events.append("+" + instance->name());
    }
    void onSystemViewBaseInstanceUnregistered(SystemViewBaseInstance* instance) override
    {
        events.append("-" + instance->name());
    }

    QStringList events;
};

class NamedPlugin : public CorvaneModulePlugin
{
    Q_OBJECT

public:
    QString jsonTag() const override { return QStringLiteral("named"); }
    QJsonObject exportToJson() const override { return { { QStringLiteral("a"), 1 } }; }
    int loadFromJson(const QJsonObject& json, QList<JsonDocumentError>& errors) override
    {
        errors.append(JsonDocumentError(json[QStringLiteral("error")].toString()));
        return -1;
    }
    CorvaneModule* createCorvaneModule() override { return new NotingModule; }
    QString uuid() const override { return ReservedExtensions::RECORD_AND_REPLAY; }

    using AbstractCorvaneModulePlugin::setmodulesMenuIcon;
    using AbstractCorvaneModulePlugin::setmodulesMenuLabel;
    using AbstractCorvaneModulePlugin::setname;
    using AbstractCorvaneModulePlugin::setqmlItemUrl;
};

} // namespace

class TestCorvaneModule : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { beStrict(); }
    void cleanup()
    {
        handler()->closeDocument();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    void aModuleFollowsTheDocumentAndItsView();
    void aModuleThatStartsAnewForADocumentAndAViewDoesItOnce();
    void theViewOfTheFormerDocumentIsLeftBeforeTheNewOneComes();
    void aModuleHearsOfInstancesOfTheCurrentViewOnly();
    void aModuleKnowsTheViewFromItsConstruction();
    void aPluginTellsItsProperties();
    void aPluginIsReachedThroughItsInterface();
    void reservedNamesAreThoseOfTheNetwork();
};

void TestCorvaneModule::aModuleFollowsTheDocumentAndItsView()
{
    NotingModule module;
    QSignalSpy viewChanged(&module, &SystemViewCorvaneModule::currentSystemViewChanged);
    QVERIFY(!module.currentSystemView());
    handler()->newDocument();
    QCOMPARE(module.events, QStringList { "document" });
    QCOMPARE(module.currentSystemView(), currentView());
    QCOMPARE(viewChanged.count(), 1);
    SystemView* second = handler()->currentSystemDocument()->createSystemView("Second");
    QCOMPARE(viewChanged.count(), 1);
    handler()->currentSystemDocument()->setcurrentSystemView(second);
    QCOMPARE(module.currentSystemView(), second);
    QCOMPARE(viewChanged.count(), 2);
    handler()->closeDocument();
    QVERIFY(!module.currentSystemView());
    QCOMPARE(viewChanged.count(), 3);
    QCOMPARE(module.events, QStringList({ "document", "no document" }));
}

void TestCorvaneModule::aModuleThatStartsAnewForADocumentAndAViewDoesItOnce()
{
    class StartingModule : public SystemViewCorvaneModule
    {
    public:
        StartingModule()
        {
            connect(this, &SystemViewCorvaneModule::currentSystemViewChanged, this, [this] { start(); });
        }
        void onSystemDocumentChanged() override
        {
            SystemViewCorvaneModule::onSystemDocumentChanged();
            start();
        }
        void start()
        {
            if (currentSystemView() != nullptr) {
                starts.append(currentSystemView()->name());
            }
        }
        QStringList starts;
    };
    handler()->newDocument();
    currentView()->setname("First");
    StartingModule module;
    handler()->newDocument();
    QCOMPARE(module.starts, QStringList({ currentView()->name() }));
    QCOMPARE(module.currentSystemView(), currentView());
    // Told once more of the same document, it keeps the view
    module.onSystemDocumentChanged();
    QCOMPARE(module.starts.size(), 2);
    QCOMPARE(module.currentSystemView(), currentView());
    handler()->closeDocument();
    QCOMPARE(module.starts.size(), 2);
}

void TestCorvaneModule::theViewOfTheFormerDocumentIsLeftBeforeTheNewOneComes()
{
    handler()->newDocument();
    NotingModule module;
    QList<SystemView*> notified;
    connect(&module, &SystemViewCorvaneModule::currentSystemViewChanged, &module,
        [&] { notified.append(module.currentSystemView()); });
    handler()->newDocument();
    QCOMPARE(notified, QList<SystemView*>({ nullptr, currentView() }));
    handler()->closeDocument();
    QCOMPARE(notified.size(), 3);
    QCOMPARE(notified.last(), nullptr);
}

void TestCorvaneModule::aModuleHearsOfInstancesOfTheCurrentViewOnly()
{
    handler()->newDocument();
    NotingModule module;
    SystemViewClassInstance* recorder = createRecorder();
    SystemView* second = handler()->currentSystemDocument()->createSystemView("Second");
    SystemViewBaseInstance* elsewhere = handler()->createInstanceFromPlugin(second,
        PluginManager::instance()->getSystemViewClassPlugin(SENSOR_FAMILY),
        handler()->library()->getOrCreateClass(SENSOR_FAMILY, "Sensor"), { 1, 2 }, {});
    QVERIFY(elsewhere);
    handler()->deleteInstance(elsewhere);
    handler()->deleteInstance(recorder);
    QCOMPARE(module.events, QStringList({ "+Recorder", "-Recorder" }));
}

void TestCorvaneModule::aModuleKnowsTheViewFromItsConstruction()
{
    handler()->newDocument();
    const NotingModule module;
    QCOMPARE(module.currentSystemView(), currentView());
    QVERIFY(module.events.isEmpty());
}

void TestCorvaneModule::aPluginTellsItsProperties()
{
    NamedPlugin plugin;
    const auto check = [&plugin](const char* property, const QVariant& value, const std::function<void()>& set) {
        const QMetaProperty metaProperty
            = plugin.metaObject()->property(plugin.metaObject()->indexOfProperty(property));
        QVERIFY2(metaProperty.isValid(), property);
        QVERIFY2(!metaProperty.isWritable(), property);
        QSignalSpy changed(&plugin, metaProperty.notifySignal());
        set();
        set(); // the same value again is no change
        QCOMPARE(changed.count(), 1);
        QCOMPARE(metaProperty.read(&plugin), value);
    };
    check("name", "N", [&] { plugin.setname("N"); });
    check("modulesMenuLabel", "L", [&] { plugin.setmodulesMenuLabel("L"); });
    check("modulesMenuIcon", QUrl("qrc:/i.svg"), [&] { plugin.setmodulesMenuIcon(QUrl("qrc:/i.svg")); });
    check("qmlItemUrl", QUrl("qrc:/m.qml"), [&] { plugin.setqmlItemUrl(QUrl("qrc:/m.qml")); });
}

void TestCorvaneModule::aPluginIsReachedThroughItsInterface()
{
    NamedPlugin plugin;
    QObject* object = &plugin;
    auto* interface = qobject_cast<CorvaneModulePluginInterface*>(object);
    QVERIFY(interface);
    QCOMPARE(
        QLatin1String(CorvaneModulePluginInterface_iid), QLatin1String("org.corvane.CorvaneModulePluginInterface/1.0"));
    QCOMPARE(interface->uuid(), ReservedExtensions::RECORD_AND_REPLAY);
    QCOMPARE(interface->jsonTag(), QString("named"));
    QCOMPARE(interface->exportToJson(), QJsonObject({ { "a", 1 } }));
    QList<JsonDocumentError> errors;
    QCOMPARE(interface->loadFromJson({ { "error", "wrong" } }, errors), -1);
    QCOMPARE(errors, QList<JsonDocumentError> { JsonDocumentError("wrong") });
    QCOMPARE(errors.at(0).message(), QString("wrong"));
    const std::unique_ptr<CorvaneModule> module(qobject_cast<CorvaneModulePlugin*>(object)->createCorvaneModule());
    QVERIFY(qobject_cast<SystemViewCorvaneModule*>(module.get()));
}

void TestCorvaneModule::reservedNamesAreThoseOfTheNetwork()
{
    QCOMPARE(ReservedAgentAndToolFamilies::RECORDER_CLASS_UUID, QString(QNY_FAMILY_RECORDER));
    QCOMPARE(ReservedAgentAndToolFamilies::LAUNCHER_CLASS_UUID, QString(QNY_FAMILY_LAUNCHER));
    QVERIFY(!ReservedExtensions::RECORD_AND_REPLAY.isEmpty());
    // The recorder class is known from the start
    QVERIFY(handler()->library()->getClassWithUUID(QNY_FAMILY_RECORDER));
    QVERIFY(!handler()->library()->getClassWithUUID("unknown"));
}

QTEST_GUILESS_MAIN(TestCorvaneModule)
#include "tst_corvanemodule.moc"
