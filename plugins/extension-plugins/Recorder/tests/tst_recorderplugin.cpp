// SPDX-License-Identifier: Apache-2.0
#include <corvanemodule.h>
#include <corvanemoduleplugin.h>
#include <corvaneqmltypes.h>
#include <quenarydouble.h>
#include <reservedextensions.h>
#include <systemdocumenthandler.h>

#include <QtCore/QDir>
#include <QtCore/QDirIterator>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QJsonArray>
#include <QtCore/QLibrary>
#include <QtCore/QPluginLoader>
#include <QtQml/QQmlComponent>
#include <QtQml/QQmlEngine>
#include <QtTest/QtTest>

/// The plugin as a host meets it: a library in a file.
class tst_RecorderPlugin : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void theMetadataIsReadWithoutMakingThePlugin();
    void thePluginDescribesTheModule();
    void theLibraryExportsQtsTwoEntryPoints();
    void thePagesAndImagesAreInTheResources();
    void everyPageIsWellFormed();
    void theDocumentsBlockIsKeptBeforeAnyModuleExists();
    void aModuleIsCreatedThoughTheExecutableIsMissing();
    void theHostReachesThePluginThroughItsInterface();
    void internalClassesCanNotBeCreatedInQml_data();
    void internalClassesCanNotBeCreatedInQml();
    void theTypesAreRegisteredInTheirOrderAndNoOthers();
    void sortedRecordsCanBeCreatedInQml();
    void singletonsAreReachedInQml();

private:
    CorvaneModulePlugin* plugin();

    QPluginLoader _loader { QStringLiteral(RECORDER_PLUGIN) };
};

void tst_RecorderPlugin::init()
{
    QTest::failOnWarning(QRegularExpression(QStringLiteral(".*")));
}

CorvaneModulePlugin* tst_RecorderPlugin::plugin()
{
    return qobject_cast<CorvaneModulePlugin*>(_loader.instance());
}

void tst_RecorderPlugin::theMetadataIsReadWithoutMakingThePlugin()
{
    const QPluginLoader loader(QStringLiteral(RECORDER_PLUGIN));
    const QJsonObject metadata = loader.metaData();
    QVERIFY(!loader.isLoaded());
    QCOMPARE(metadata.value("IID").toString(), QString(CorvaneModulePluginInterface_iid));
    QVERIFY(QString(CorvaneModulePluginInterface_iid).endsWith(".CorvaneModulePluginInterface/1.0"));
    QCOMPARE(metadata.value("className").toString(), "RecorderPlugin");
    const QJsonObject content = metadata.value("MetaData").toObject();
    QCOMPARE(content,
        QJsonObject({ { "name", "Recorder" }, { "description", "Record and replay agents' data flow" },
            { "version", "0.0.0" } }));
    // Of the Qt that it was built with, which is 6.8 or later: major and minor, never the patch.
    QCOMPARE(metadata.value("version").toInt(), QT_VERSION_CHECK(QT_VERSION_MAJOR, QT_VERSION_MINOR, 0));
    QCOMPARE_GE(QT_VERSION, QT_VERSION_CHECK(6, 8, 0));
    QVERIFY(!loader.isLoaded());
}

void tst_RecorderPlugin::thePluginDescribesTheModule()
{
    QVERIFY2(plugin(), qPrintable(_loader.errorString()));
    QCOMPARE(plugin()->name(), "Record & Replay");
    QCOMPARE(plugin()->modulesMenuLabel(), "Record & Replay");
    QCOMPARE(plugin()->modulesMenuIcon(), QUrl("qrc:/resources/RecordAndReplay/logo.svg"));
    QCOMPARE(plugin()->qmlItemUrl(), QUrl("qrc:/qml/RecordAndReplay/main.qml"));
    QCOMPARE(plugin()->jsonTag(), "recordAndReplay");
    QCOMPARE(plugin()->uuid(), ReservedExtensions::RECORD_AND_REPLAY);
    QCOMPARE(_loader.instance(), static_cast<QObject*>(plugin()));
}

void tst_RecorderPlugin::theLibraryExportsQtsTwoEntryPoints()
{
    QVERIFY(plugin());
    QLibrary library(QStringLiteral(RECORDER_PLUGIN));
    QVERIFY(library.resolve("qt_plugin_query_metadata_v2"));
    const auto instance = reinterpret_cast<QObject* (*)()>(library.resolve("qt_plugin_instance"));
    QVERIFY(instance);
    // The one plugin, made at the first call.
    QCOMPARE(instance(), plugin());
    QCOMPARE(instance(), plugin());
}

void tst_RecorderPlugin::thePagesAndImagesAreInTheResources()
{
    QVERIFY(plugin());
    const QStringList pages { "main", "pages/RecordersPage", "pages/recorders/RecorderItem", "pages/ConfigurationPage",
        "pages/configuration/ConfigurationTab", "pages/configuration/RecordsTab", "pages/configuration/FileTab",
        "pages/configuration/RecordItem", "pages/configuration/CassandraRecordItem",
        "pages/configuration/FileRecordItem", "pages/configuration/AgentsFilterItem",
        "pages/configuration/AgentFilterListItem", "pages/configuration/AgentFilterCheckbox",
        "pages/configuration/RecordingButton", "pages/configuration/ImportButton",
        "pages/configuration/DropAreaWithOverlay", "pages/configuration/DarkOrLightTextFieldErrorHandler",
        "pages/widgets/RecordSlider", "pages/widgets/DarkOrLightTextButton", "overlays/ProgressFeedback",
        "overlays/BusyFeedback", "overlays/Progressbar", "popups/ConfirmRecordDeletion",
        "popups/ConfirmRecorderDeletion" };
    for (const QString& page : pages) {
        QVERIFY2(QFile::exists(QStringLiteral(":/qml/RecordAndReplay/%1.qml").arg(page)), qPrintable(page));
    }
    for (const char* image : { "logo", "header", "sliderButton", "orange-fin" }) {
        QVERIFY2(QFile::exists(QStringLiteral(":/resources/RecordAndReplay/%1.svg").arg(image)), image);
    }
}

void tst_RecorderPlugin::everyPageIsWellFormed()
{
    QVERIFY(plugin());
    registerCorvaneQmlTypes();
    QQmlEngine engine;
    QDirIterator pages(":/qml/RecordAndReplay", { "*.qml" }, QDir::Files, QDirIterator::Subdirectories);
    int count = 0;
    while (pages.hasNext()) {
        const QString page = pages.next();
        const QQmlComponent component(&engine, QUrl(QStringLiteral("qrc") + page));
        QVERIFY2(component.isReady(), qPrintable(component.errorString()));
        ++count;
    }
    QVERIFY(count > 0);
}

void tst_RecorderPlugin::theDocumentsBlockIsKeptBeforeAnyModuleExists()
{
    QVERIFY(plugin());
    QCOMPARE(plugin()->exportToJson(), QJsonObject());
    const QJsonObject block { { "filters", QJsonObject({ { "u1", "-tank" } }) },
        { "file_path", QJsonObject({ { "u2", "/records/one.csv" } }) } };
    QList<JsonDocumentError> errors;
    QCOMPARE(plugin()->loadFromJson(block, errors), 0);
    QVERIFY(errors.isEmpty());
    QCOMPARE(plugin()->exportToJson(), block);

    QCOMPARE(plugin()->loadFromJson(QJsonObject({ { "filters", 1 } }), errors), -1);
    QCOMPARE(errors.size(), 1);
    QCOMPARE(plugin()->exportToJson(), block);
}

void tst_RecorderPlugin::aModuleIsCreatedThoughTheExecutableIsMissing()
{
    QVERIFY(!QFileInfo::exists(QCoreApplication::applicationDirPath() + "/../agents/qnyRecorder/qnyRecorder"));
    QVERIFY(plugin());
    const std::unique_ptr<CorvaneModule> module(plugin()->createCorvaneModule());
    QVERIFY(module);
    QCOMPARE(module->metaObject()->className(), "RecorderModule");
    QCOMPARE(module->parent(), nullptr);
    QVERIFY(QuenaryDouble::services().contains("context"));
    // The plugin makes a new one each time; the host owns each.
    const std::unique_ptr<CorvaneModule> second(plugin()->createCorvaneModule());
    QCOMPARE_NE(module.get(), second.get());
}

void tst_RecorderPlugin::theHostReachesThePluginThroughItsInterface()
{
    auto* const reached = qobject_cast<CorvaneModulePluginInterface*>(_loader.instance());
    QVERIFY(reached);
    QCOMPARE(reached->uuid(), ReservedExtensions::RECORD_AND_REPLAY);
    QCOMPARE(reached->jsonTag(), "recordAndReplay");
    QCOMPARE(reached->exportToJson(), plugin()->exportToJson());
    QList<JsonDocumentError> errors;
    QCOMPARE(reached->loadFromJson(QJsonObject(), errors), 0);
}

void tst_RecorderPlugin::internalClassesCanNotBeCreatedInQml_data()
{
    QTest::addColumn<QString>("type");
    for (const char* type :
        { "RecorderModule", "Recorder", "RecorderInstance", "RecorderRecord", "RecordAgentFilter" }) {
        QTest::newRow(type) << QString(type);
    }
}

void tst_RecorderPlugin::internalClassesCanNotBeCreatedInQml()
{
    QFETCH(QString, type);
    QVERIFY(plugin());
    QQmlEngine engine;
    QQmlComponent component(&engine);
    component.setData(QStringLiteral("import RecordAndReplay 1.0\n%1 {}").arg(type).toUtf8(), QUrl());
    QVERIFY(component.isError());
    QCOMPARE(component.errors().size(), 1);
    QCOMPARE(component.errors().first().description(), "Internal class");
}

void tst_RecorderPlugin::theTypesAreRegisteredInTheirOrderAndNoOthers()
{
    QVERIFY(plugin());
    // An engine knows types by numbers, in the order of their registration.
    int last = -1;
    for (const char* type : { "RecorderUtils", "RecorderTimeFormat", "RecorderModule", "Recorder", "RecorderInstance",
             "RecorderRecord", "RecordAgentFilter", "SortFilterRecords" }) {
        const int id = qmlTypeId("RecordAndReplay", 1, 0, type);
        QVERIFY2(id > last, type);
        last = id;
    }
    for (const char* type : { "RecorderModuleData", "QmlSortFilterRecords", "SortFilterRecorder" }) {
        QVERIFY2(qmlTypeId("RecordAndReplay", 1, 0, type) < 0, type);
    }
}

void tst_RecorderPlugin::sortedRecordsCanBeCreatedInQml()
{
    QVERIFY(plugin());
    QQmlEngine engine;
    QQmlComponent component(&engine);
    component.setData("import RecordAndReplay 1.0\nSortFilterRecords {}", QUrl());
    const std::unique_ptr<QObject> object(component.create());
    QVERIFY2(object, qPrintable(component.errorString()));
    QCOMPARE(object->metaObject()->className(), "QmlSortFilterRecords");
}

void tst_RecorderPlugin::singletonsAreReachedInQml()
{
    QVERIFY(plugin());
    QQmlEngine engine;
    QQmlComponent component(&engine);
    component.setData("import QtQml\nimport RecordAndReplay 1.0\nQtObject { property string text: "
                      "RecorderUtils.prettyPrintTime(90.5, RecorderTimeFormat.HH_MM_SS_ZZZ) }",
        QUrl());
    const std::unique_ptr<QObject> object(component.create());
    QVERIFY2(object, qPrintable(component.errorString()));
    QCOMPARE(object->property("text").toString(), "00:01:30.500");
}

QTEST_MAIN(tst_RecorderPlugin)
#include "tst_recorderplugin.moc"
