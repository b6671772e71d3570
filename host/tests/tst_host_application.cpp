// SPDX-License-Identifier: Apache-2.0
#include "hostapplication.h"
#include "sampleplant.h"
#include "testplugin.h"

#include <encounteredagentinfo.h>
#include <encounteredagentsonhost.h>
#include <networkconfiguration.h>
#include <pluginmanager.h>
#include <runningagentinfo.h>
#include <systemdocument.h>
#include <systemdocumenthandler.h>
#include <systemview.h>
#include <systemviewclassinstance.h>
#include <theme.h>

#include <QtCore/QFile>
#include <QtCore/QJsonDocument>
#include <QtCore/QRandomGenerator>
#include <QtCore/QTemporaryDir>
#include <QtGui/QImage>
#include <QtQuick/QQuickItem>
#include <QtQuick/QQuickWindow>
#include <QtTest/QtTest>

#include <csignal>

namespace {

// Depth first, visible items only.
QQuickItem* findItem(QQuickItem* item, const std::function<bool(QQuickItem*)>& matches)
{
    if (!item->isVisible()) {
        return nullptr;
    }
    if (matches(item)) {
        return item;
    }
    const auto children = item->childItems();
    for (QQuickItem* child : children) {
        if (QQuickItem* found = findItem(child, matches)) {
            return found;
        }
    }
    return nullptr;
}

QQuickItem* findText(QQuickItem* item, const QString& text)
{
    return findItem(item, [&text](QQuickItem* one) { return one->property("text").toString() == text; });
}

} // namespace

class tst_host_application : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void opensTheSampleDocumentMadeForThisMachine();
    void showsThePageOfTheModuleWithItsObject();
    void showsEveryInstanceOfTheSystem();
    void drawsBothThemes();
    void startsAndStopsAnAgentFromItsRow();
    void startsAndStopsThePlant();
    void savesAndReopensADocumentWithTheModulesBlock();
    void keepsTheDocumentWhenAnotherCannotBeOpened_data();
    void keepsTheDocumentWhenAnotherCannotBeOpened();
    void showsNoticesOnceUntilTheyAreDismissed();
    void manyNoticesLeaveRoomForThePage();

private:
    SystemViewClassInstance* instance(const QString& name) const;
    QQuickItem* row(const QString& name) const;
    QQuickItem* buttonIn(QQuickItem* item, const QString& text) const;
    void click(QQuickItem* button);

    QTemporaryDir _folder;
    std::unique_ptr<TestPlugin> _plugin;
    std::unique_ptr<HostApplication> _host;
};

void tst_host_application::initTestCase()
{
    qputenv("XDG_DATA_HOME", _folder.filePath(QStringLiteral("data")).toLocal8Bit());
    qputenv("XDG_CONFIG_HOME", _folder.filePath(QStringLiteral("config")).toLocal8Bit());
    QFile page(_folder.filePath(QStringLiteral("Page.qml")));
    QVERIFY(page.open(QIODevice::WriteOnly));
    page.write("import QtQuick\nItem { required property var corvaneModule\n"
               "Text { anchors.centerIn: parent; text: corvaneModule.greeting } }\n");
    page.close();
    _plugin = std::make_unique<TestPlugin>(QUrl::fromLocalFile(page.fileName()));
    QVERIFY(PluginManager::instance()->registerModulePlugin(_plugin.get()));

    HostOptions options;
    options.device = QStringLiteral("lo");
    options.port = static_cast<quint16>(QRandomGenerator::global()->bounded(20000, 60000));
    options.pluginsDirectory = _folder.path();
    options.theme = QStringLiteral("light");
    options.rememberSettings = false;
    _host = std::make_unique<HostApplication>();
    QString error;
    QVERIFY2(_host->start(options, &error), qPrintable(error));
    QVERIFY(NetworkConfiguration::instance()->isConnected());
    QVERIFY(_host->window());
}

void tst_host_application::cleanupTestCase()
{
    _host.reset();
    QVERIFY(!NetworkConfiguration::instance()->isConnected());
    PluginManager::instance()->unregisterModulePlugin(_plugin.get());
}

SystemViewClassInstance* tst_host_application::instance(const QString& name) const
{
    return SystemDocumentHandler::instance()->currentSystemView()->getAgentByName(name);
}

QQuickItem* tst_host_application::row(const QString& name) const
{
    return findItem(_host->window()->contentItem(), [this, &name](QQuickItem* item) {
        return item->property("instance").value<QObject*>() == instance(name)
            && item->metaObject()->indexOfSignal("deletionRequested()") >= 0;
    });
}

// One that can be pressed, or null.
QQuickItem* tst_host_application::buttonIn(QQuickItem* item, const QString& text) const
{
    return findItem(item, [&text](QQuickItem* one) {
        return one->inherits("QQuickAbstractButton") && one->isEnabled() && one->property("text").toString() == text;
    });
}

void tst_host_application::click(QQuickItem* button)
{
    QTest::mouseClick(_host->window(), Qt::LeftButton, {},
        button->mapToScene(QPointF(button->width() / 2, button->height() / 2)).toPoint());
}

void tst_host_application::opensTheSampleDocumentMadeForThisMachine()
{
    QCOMPARE(_host->documentName(), QStringLiteral("water-plant"));
    QVERIFY(_host->documentPath().startsWith(_folder.path()));
    const SystemView* view = SystemDocumentHandler::instance()->currentSystemView();
    QCOMPARE(view->getAllClassInstances().size(), 7);
    for (SystemViewClassInstance* one : view->getAllClassInstances()) {
        const EncounteredAgentsOnHost* group = one->encounteredAgentsOnHostAttachedToCorvane();
        QVERIFY2(group, qPrintable(one->name()));
        QCOMPARE(group->encounteredAgentInfos().size(), 1);
        QVERIFY2(!group->encounteredAgentInfos().first()->commandLine().contains(QLatin1Char('@')),
            qPrintable(group->encounteredAgentInfos().first()->commandLine()));
    }
    // Opened again it is the same, launch lines and their uuids included.
    QVERIFY(!SystemDocumentHandler::instance()->hasUnsavedChanges());
    const auto lineOfRecorder = [this] {
        return instance(QStringLiteral("Plant recorder"))
            ->encounteredAgentsOnHostAttachedToCorvane()
            ->encounteredAgentInfos()
            .first();
    };
    const QString uuid = lineOfRecorder()->uuid();
    QString error;
    QVERIFY2(_host->openDocument(_host->documentPath(), &error), qPrintable(error));
    QCOMPARE(lineOfRecorder()->uuid(), uuid);
    QCOMPARE(_host->module(QStringLiteral("testModule"))->property("greeting").toString(),
        QStringLiteral("Hello from the module"));
    QVERIFY(!_host->module(QStringLiteral("noSuchModule")));
}

void tst_host_application::showsThePageOfTheModuleWithItsObject()
{
    QVERIFY(_host->showModule(QStringLiteral("testModule")));
    QTRY_VERIFY(findText(_host->window()->contentItem(), QStringLiteral("Hello from the module")));
    QVERIFY(_host->window()->title().startsWith(QLatin1String("Test module")));
    QVERIFY(!_host->showModule(QStringLiteral("noSuchModule")));

    // The menu leads to the system and back.
    QQuickItem* content = _host->window()->contentItem();
    QVERIFY(buttonIn(content, QStringLiteral("System")));
    click(buttonIn(content, QStringLiteral("System")));
    QTRY_VERIFY(!findText(_host->window()->contentItem(), QStringLiteral("Hello from the module")));
    QVERIFY(buttonIn(content, QStringLiteral("Test module")));
    click(buttonIn(content, QStringLiteral("Test module")));
    QTRY_VERIFY(findText(_host->window()->contentItem(), QStringLiteral("Hello from the module")));
}

void tst_host_application::showsEveryInstanceOfTheSystem()
{
    QVERIFY(_host->showModule(QString()));
    for (const char* name : { "Plant recorder", "Pump A", "Pump B", "Tank", "Valve", "Controller", "Operator" }) {
        QTRY_VERIFY2(row(QString::fromLatin1(name)), name);
        QVERIFY2(findText(row(QString::fromLatin1(name)), QStringLiteral("Off")), name);
    }
}

void tst_host_application::drawsBothThemes()
{
    const auto cornerOfPage = [this](const QString& file) {
        QString error;
        if (!_host->screenshot(_folder.filePath(file), &error)) {
            qWarning("%s", qPrintable(error));
        }
        const QImage image(_folder.filePath(file));
        return image.pixelColor(image.width() - 4, image.height() - 4);
    };
    QCOMPARE(cornerOfPage(QStringLiteral("light.png")), QColor(QStringLiteral("#F3F5F8")));
    _host->setTheme(QStringLiteral("dark"));
    QCOMPARE(cornerOfPage(QStringLiteral("dark.png")), QColor(QStringLiteral("#14171C")));
    _host->setTheme(QStringLiteral("light"));

    QString error;
    QVERIFY(!_host->screenshot(_folder.filePath(QStringLiteral("no/such/folder.png")), &error));
    QVERIFY2(error.contains(QLatin1String("no/such/folder.png")), qPrintable(error));
}

void tst_host_application::startsAndStopsAnAgentFromItsRow()
{
    QVERIFY(_host->showModule(QString()));
    SystemViewClassInstance* valve = instance(QStringLiteral("Valve"));
    QVERIFY(!valve->isRunning());
    // Started as a process of its own: a failure below must not leave it behind.
    const auto end = qScopeGuard([valve] {
        for (RunningAgentInfo* agent : valve->runningAgentInfos()) {
            ::kill(static_cast<pid_t>(agent->processId()), SIGTERM);
        }
    });
    // The sample agents stand where the build put them, not beside this test.
    EncounteredAgentsOnHost* group = valve->encounteredAgentsOnHostAttachedToCorvane();
    group->encounteredAgentInfos().first()->setcommandLine(
        QStringLiteral("\"%1/agents/samples/qnySampleValve\" --name Valve").arg(QStringLiteral(BUILD_DIRECTORY)));

    QTRY_VERIFY(buttonIn(row(QStringLiteral("Valve")), QStringLiteral("Connect")));
    click(buttonIn(row(QStringLiteral("Valve")), QStringLiteral("Connect")));
    QVERIFY(findText(row(QStringLiteral("Valve")), QStringLiteral("Starting")));
    QTRY_VERIFY_WITH_TIMEOUT(valve->isRunning(), 10000);
    QTRY_VERIFY(findText(row(QStringLiteral("Valve")), QStringLiteral("Running")));
    QVERIFY(findText(row(QStringLiteral("Valve")), QStringLiteral("this machine")));

    QTRY_VERIFY(buttonIn(row(QStringLiteral("Valve")), QStringLiteral("Disconnect")));
    click(buttonIn(row(QStringLiteral("Valve")), QStringLiteral("Disconnect")));
    QTRY_VERIFY_WITH_TIMEOUT(!valve->isRunning(), 10000);
    QTRY_VERIFY(findText(row(QStringLiteral("Valve")), QStringLiteral("Off")));
}

void tst_host_application::startsAndStopsThePlant()
{
    SamplePlantOptions options;
    options.agentsDirectory = QStringLiteral(BUILD_DIRECTORY "/agents/samples");
    options.device = NetworkConfiguration::instance()->device();
    options.port = static_cast<quint16>(NetworkConfiguration::instance()->port());
    QString error;
    QVERIFY2(_host->plant()->start(options, &error), qPrintable(error));
    QVERIFY(_host->isPlantRunning());
    for (const QString& name : SamplePlant::agentNames()) {
        QTRY_VERIFY2_WITH_TIMEOUT(instance(name)->isRunning(), qPrintable(name), 10000);
    }
    _host->stopPlant();
    QVERIFY(!_host->isPlantRunning());
    for (const QString& name : SamplePlant::agentNames()) {
        QTRY_VERIFY2_WITH_TIMEOUT(!instance(name)->isRunning(), qPrintable(name), 10000);
    }
}

void tst_host_application::savesAndReopensADocumentWithTheModulesBlock()
{
    const QString path = _folder.filePath(QStringLiteral("other.json"));
    _plugin->_data = { { QStringLiteral("kept"), 7 } };
    QString error;
    QVERIFY2(_host->saveDocument(path, &error), qPrintable(error));
    QCOMPARE(_host->documentPath(), path);

    _host->newDocument();
    QVERIFY(_host->documentPath().isEmpty());
    QCOMPARE(SystemDocumentHandler::instance()->currentSystemView()->getAllClassInstances().size(), 0);
    QVERIFY(!_host->saveDocument(QString(), &error));
    QVERIFY(!error.isEmpty());

    _plugin->_data = {};
    QVERIFY2(_host->openDocument(path, &error), qPrintable(error));
    QCOMPARE(_host->documentName(), QStringLiteral("other"));
    QCOMPARE(_plugin->_data.value(QLatin1String("kept")).toInt(), 7);
    QVERIFY(instance(QStringLiteral("Pump B")));

    QVERIFY(!_host->saveDocument(_folder.filePath(QStringLiteral("no/such/folder.json")), &error));
    QVERIFY2(error.contains(QLatin1String("no/such/folder.json")), qPrintable(error));
}

void tst_host_application::keepsTheDocumentWhenAnotherCannotBeOpened_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("no JSON") << QByteArray("This is no document.");
    QTest::newRow("cut") << QByteArray("{\"version\": 1, \"views\": [");
    QTest::newRow("a list") << QByteArray("[]");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("of a later version") << QByteArray("{\"version\": 9999, \"views\": []}");
}

void tst_host_application::keepsTheDocumentWhenAnotherCannotBeOpened()
{
    QFETCH(QByteArray, content);
    const QString before = _host->documentPath();
    const QString path = _folder.filePath(QStringLiteral("bad.json"));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(content);
    file.close();

    QString error;
    QVERIFY(!_host->openDocument(path, &error));
    QVERIFY2(error.contains(QLatin1String("bad.json")), qPrintable(error));
    QCOMPARE(_host->documentPath(), before);
    QVERIFY(instance(QStringLiteral("Pump B")));
}

void tst_host_application::showsNoticesOnceUntilTheyAreDismissed()
{
    const QString text = QStringLiteral("The <b>pump</b> is warm.");
    const qsizetype before = _host->notices().size();
    _host->addNotice(text);
    _host->addNotice(text);
    QCOMPARE(_host->notices().size(), before + 1);
    QTRY_VERIFY(findText(_host->window()->contentItem(), text));

    _host->dismissNotice(static_cast<int>(before));
    QTRY_VERIFY(!findText(_host->window()->contentItem(), text));
    _host->dismissNotice(99);
    QCOMPARE(_host->notices().size(), before);
}

void tst_host_application::manyNoticesLeaveRoomForThePage()
{
    const QString longText = QStringLiteral("a long text ").repeated(80);
    for (int i = 0; i < 100; ++i) {
        _host->addNotice(longText + QString::number(i));
    }
    QCOMPARE(_host->notices().size(), 20);
    QVERIFY(_host->notices().constLast().endsWith(" 99"));
    QTRY_VERIFY(findText(_host->window()->contentItem(), _host->notices().constLast()));
    const auto* page = _host->window()->findChild<QQuickItem*>("instancesList");
    QVERIFY(page);
    QTRY_VERIFY2(page->height() > _host->window()->height() / 3, qPrintable(QString::number(page->height())));
    while (!_host->notices().isEmpty()) {
        _host->dismissNotice(0);
    }
}

QTEST_MAIN(tst_host_application)
#include "tst_host_application.moc"
