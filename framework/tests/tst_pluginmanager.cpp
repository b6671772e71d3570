// SPDX-License-Identifier: Apache-2.0
#include "pluginmanager.h"

#include "corvanemodule.h"
#include "corvanemoduleentry.h"
#include "corvanemoduleplugin.h"
#include "frameworkfixture.h"
#include "recorderclassplugin.h"
#include "reservedagentandtoolfamilies.h"
#include "systemviewcorvanemodule.h"

#include <QAbstractItemModelTester>
#include <QDir>
#include <QFile>
#include <QJsonObject>
#include <QPluginLoader>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <abstractzqcustomitemlistmodel.h>

namespace {

PluginManager* manager()
{
    return PluginManager::instance();
}

const QString FOLDER = QStringLiteral(TEST_PLUGINS_FOLDER);

} // namespace

class TestPluginManager : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { FrameworkFixture::beStrict(); }

    void aMissingFolderIsSaid();
    void whatIsNoModulePluginIsSaid();
    void aModulePluginIsLoadedWithItsMetadata();
    void aPluginOfTheSameTagIsRefused();
    void aTagOfTheDocumentsOwnIsRefused();
    void modulesAreCreatedAndDestroyed();
    void makersOfInstancesAreFoundByFamily();
};

void TestPluginManager::aMissingFolderIsSaid()
{
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("no plugin folder"));
    QCOMPARE(manager()->loadPlugins(FOLDER + "/nowhere"), 0);
    QVERIFY(manager()->errors().constLast().contains("nowhere"));
}

void TestPluginManager::whatIsNoModulePluginIsSaid()
{
    QTemporaryDir folder;
    QFile text(folder.filePath("libtext.so"));
    QVERIFY(text.open(QIODevice::WriteOnly));
    text.write("no library at all");
    text.close();
    QFile readme(folder.filePath("readme.txt")); // passed over without a word
    QVERIFY(readme.open(QIODevice::WriteOnly));
    readme.close();
    const qsizetype errors = manager()->errors().size();

    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("libtext.so was not loaded: it is not a plugin"));
    QCOMPARE(manager()->loadPlugins(folder.path()), 0);
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("its interface is \"org.example.Other/1.0\""));
    QVERIFY(!manager()->loadPlugin(FOLDER + "/libtestPluginOtherInterface.so"));

    QCOMPARE(manager()->errors().size(), errors + 2);
    QVERIFY(manager()->modules().isEmpty());
}

void TestPluginManager::aModulePluginIsLoadedWithItsMetadata()
{
    QAbstractItemModelTester tester(manager()->modulesModel(), QAbstractItemModelTester::FailureReportingMode::QtTest);
    QVERIFY(manager()->loadPlugin(FOLDER + "/libtestPlugin.so"));
    QCOMPARE(manager()->modules().size(), 1);
    const CorvaneModuleEntry* entry = manager()->modules().at(0);
    QCOMPARE(entry->name(), QString("Test module"));
    QCOMPARE(entry->modulesMenuLabel(), QString("Test label"));
    QCOMPARE(entry->modulesMenuIcon(), QUrl("qrc:/icon.svg"));
    QCOMPARE(entry->qmlItemUrl(), QUrl("qrc:/page.qml"));
    QCOMPARE(entry->metaDataName(), QString("Test"));
    QCOMPARE(entry->version(), QString("1.2.3"));
    QCOMPARE(entry->filePath(), FOLDER + "/libtestPlugin.so");
    // Both faces of the one object
    QPluginLoader loader(FOLDER + "/libtestPlugin.so");
    auto* interface = qobject_cast<CorvaneModulePluginInterface*>(loader.instance());
    QVERIFY(interface);
    QCOMPARE(interface, static_cast<CorvaneModulePluginInterface*>(entry->plugin()));
    QCOMPARE(interface->jsonTag(), QString("testModule"));
    QCOMPARE(manager()->modulePlugins(), QList<CorvaneModulePluginInterface*> { interface });
}

void TestPluginManager::aPluginOfTheSameTagIsRefused()
{
    QTest::ignoreMessage(
        QtWarningMsg, QRegularExpression("libtestPluginSameTag.so was not loaded: .* has the same uuid or tag"));
    QVERIFY(!manager()->loadPlugin(FOLDER + "/libtestPluginSameTag.so"));
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("has the same uuid or tag"));
    QVERIFY(!manager()->loadPlugin(FOLDER + "/libtestPlugin.so"));
    QCOMPARE(manager()->modules().size(), 1);
}

void TestPluginManager::aTagOfTheDocumentsOwnIsRefused()
{
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("\"views\" is a key of the document's own"));
    QVERIFY(!manager()->loadPlugin(FOLDER + "/libtestPluginReservedTag.so"));
    QCOMPARE(manager()->modules().size(), 1);
}

void TestPluginManager::modulesAreCreatedAndDestroyed()
{
    CorvaneModuleEntry* entry = manager()->modules().at(0);
    QVERIFY(!entry->module());
    QSignalSpy changed(entry, &CorvaneModuleEntry::moduleChanged);
    manager()->createModules();
    QPointer<CorvaneModule> module = entry->module();
    QVERIFY(qobject_cast<SystemViewCorvaneModule*>(module));
    QVERIFY(!module->parent());
    manager()->createModules();
    QCOMPARE(entry->module(), module.data());
    QCOMPARE(changed.count(), 1);

    // A page is told before the module goes
    bool wasAlive = false;
    connect(entry, &CorvaneModuleEntry::moduleChanged, this, [&] { wasAlive = module && !entry->module(); });
    manager()->destroyModules();
    QVERIFY(wasAlive);
    QVERIFY(!module);
    QCOMPARE(changed.count(), 2);

    // One that is destroyed by somebody else is forgotten
    manager()->createModules();
    delete entry->module();
    QVERIFY(!entry->module());
    QCOMPARE(changed.count(), 4);
}

void TestPluginManager::makersOfInstancesAreFoundByFamily()
{
    QVERIFY(qobject_cast<RecorderClassPlugin*>(
        manager()->getSystemViewClassPlugin(ReservedAgentAndToolFamilies::RECORDER_CLASS_UUID)));
    SystemViewClassPlugin* general = manager()->getSystemViewClassPlugin("any other family");
    QVERIFY(general);
    QVERIFY(!qobject_cast<RecorderClassPlugin*>(general));

    class OwnPlugin : public SystemViewClassPlugin
    {
    public:
        QString familyUuid() const override { return QStringLiteral("own"); }
    };
    auto* own = new OwnPlugin;
    manager()->registerSystemViewClassPlugin(own);
    QCOMPARE(manager()->getSystemViewClassPlugin("own"), own);
    QCOMPARE(manager()->getSystemViewClassPlugin("other"), general);
    QPointer<QObject> first(own);
    manager()->registerSystemViewClassPlugin(new OwnPlugin);
    QVERIFY(!first);
}

QTEST_GUILESS_MAIN(TestPluginManager)
#include "tst_pluginmanager.moc"
