// SPDX-License-Identifier: Apache-2.0
// The system view with machines: which have a launcher, what can be added there, and an agent that does not answer.
#include "hostapplication.h"
#include "testplugin.h"

#include <encounteredagentinfo.h>
#include <encounteredagentsonhost.h>
#include <host.h>
#include <library.h>
#include <pluginmanager.h>
#include <reservedagentandtoolfamilies.h>
#include <systemdocument.h>
#include <systemdocumenthandler.h>
#include <systemviewclassinstance.h>

#include <QtCore/QRandomGenerator>
#include <QtCore/QTemporaryDir>
#include <QtQuick/QQuickItem>
#include <QtQuick/QQuickWindow>
#include <QtTest/QtTest>
#include <QtWidgets/QApplication>

class tst_host_machines : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void init();
    void machinesAreListedOnceThereIsMoreThanOne();
    void aMachineOfItsOwnIsListedOnceItHasALauncher();
    void withoutALauncherTheRowSaysWhatToDo();
    void anAgentThatDoesNotAnswerIsEndedAfterAQuestion();

private:
    /// Texts of what is seen under this name, from top to bottom.
    QStringList _texts(const QString& objectName) const;
    QQuickItem* _named(const QString& objectName) const;
    void _key(Qt::Key key) { QTest::keyClick(_host->window(), key); }
    static Host* _machine(const QString& name)
    {
        return SystemDocumentHandler::instance()->currentSystemDocument()->getOrCreateHost(name);
    }

    QTemporaryDir _folder;
    std::unique_ptr<TestPlugin> _plugin;
    std::unique_ptr<HostApplication> _host;
    SystemViewClassInstance* _recorder = nullptr; // on "machine two"
};

namespace {

void collect(QQuickItem* item, const QString& objectName, QList<QQuickItem*>* found)
{
    if (!item->isVisible()) {
        return;
    }
    if (item->objectName() == objectName) {
        found->append(item);
    }
    const QList<QQuickItem*> children = item->childItems();
    for (QQuickItem* child : children) {
        collect(child, objectName, found);
    }
}

} // namespace

void tst_host_machines::initTestCase()
{
    qputenv("XDG_DATA_HOME", _folder.filePath("data").toLocal8Bit());
    qputenv("XDG_CONFIG_HOME", _folder.filePath("config").toLocal8Bit());
    QFile page(_folder.filePath("Page.qml"));
    QVERIFY(page.open(QIODevice::WriteOnly));
    page.write("import QtQuick\nItem { required property var corvaneModule }\n");
    page.close();
    _plugin = std::make_unique<TestPlugin>(QUrl::fromLocalFile(page.fileName()));
    QVERIFY(PluginManager::instance()->registerModulePlugin(_plugin.get()));
    HostOptions options;
    options.device = QStringLiteral("lo");
    options.port = static_cast<quint16>(QRandomGenerator::global()->bounded(20000, 60000));
    options.pluginsDirectory = _folder.path();
    options.page = "system";
    options.rememberSettings = false;
    _host = std::make_unique<HostApplication>();
    QString error;
    QVERIFY2(_host->start(options, &error), qPrintable(error));
    QVERIFY(QTest::qWaitForWindowActive(_host->window()));
}

void tst_host_machines::cleanupTestCase()
{
    _host.reset();
    _plugin.reset();
}

void tst_host_machines::init()
{
    _host->newDocument();
    while (!_host->notices().isEmpty()) {
        _host->dismissNotice(0);
    }
    auto* const handler = SystemDocumentHandler::instance();
    _machine(handler->currentSystemDocument()->localHost()->networkName());
    QVERIFY(!_named("machineName")); // one machine needs no list
    _recorder = qobject_cast<SystemViewClassInstance*>(handler->createInstanceOnHost(
        ReservedAgentAndToolFamilies::RECORDER_CLASS_UUID, "machine two", "/opt/qnyRecorder"));
    QVERIFY(_recorder);
    QTRY_COMPARE(_texts("instanceName"), QStringList { "Recorder" });
}

QStringList tst_host_machines::_texts(const QString& objectName) const
{
    QList<QQuickItem*> items;
    collect(_host->window()->contentItem(), objectName, &items);
    std::sort(items.begin(), items.end(), [](const QQuickItem* left, const QQuickItem* right) {
        return left->mapToScene(QPointF()).y() < right->mapToScene(QPointF()).y();
    });
    QStringList texts;
    for (const QQuickItem* item : std::as_const(items)) {
        texts.append(item->property("text").toString());
    }
    return texts;
}

QQuickItem* tst_host_machines::_named(const QString& objectName) const
{
    QList<QQuickItem*> items;
    collect(_host->window()->contentItem(), objectName, &items);
    return items.isEmpty() ? nullptr : items.constFirst();
}

void tst_host_machines::machinesAreListedOnceThereIsMoreThanOne()
{
    _machine("machine three");
    const QString here = SystemDocumentHandler::instance()->currentSystemDocument()->localHost()->networkName();
    QTRY_COMPARE(_texts("machineName"), QStringList({ here, "machine two", "machine three" }));
    QCOMPARE(_texts("machineState"), QStringList({ "No launcher", "No launcher" }));
    QVERIFY(_texts("machineExplanation").at(0).startsWith("This machine"));
    QVERIFY(_texts("machineExplanation").at(1).contains("start qnyLauncher on it"));
    _machine("machine two")->setlauncherUuid("00000000-0000-4000-8000-000000000001");
    QTRY_COMPARE(_texts("machineState"), QStringList({ "Launcher", "No launcher" }));
    QVERIFY(_texts("machineExplanation").at(1).contains("starts agents there"));
    _machine("machine two")->setlauncherUuid({});
    QTRY_COMPARE(_texts("machineState"), QStringList({ "No launcher", "No launcher" }));
}

void tst_host_machines::aMachineOfItsOwnIsListedOnceItHasALauncher()
{
    _host->newDocument();
    Host* const here = SystemDocumentHandler::instance()->currentSystemDocument()->localHost();
    QCOMPARE(SystemDocumentHandler::instance()->currentSystemDocument()->hosts().size(), 1);
    QTRY_COMPARE(_texts("machineName"), QStringList());
    here->setlauncherUuid("00000000-0000-4000-8000-000000000002");
    QTRY_COMPARE(_texts("machineName"), QStringList(here->networkName()));
    QCOMPARE(_texts("machineState"), QStringList("Launcher"));
    QVERIFY(_texts("machineExplanation").at(0).contains("for other hosts"));
    here->setlauncherUuid({});
    QTRY_COMPARE(_texts("machineName"), QStringList());
}

void tst_host_machines::withoutALauncherTheRowSaysWhatToDo()
{
    QQuickItem* const list = _named("instancesList");
    list->setProperty("currentIndex", 0);
    list->forceActiveFocus(Qt::TabFocusReason);
    _key(Qt::Key_Return);
    QTRY_COMPARE(_texts("instanceProblem"),
        QStringList { "machine two has no launcher: start qnyLauncher there, on this network" });
    QVERIFY(_host->notices().isEmpty());
}

void tst_host_machines::anAgentThatDoesNotAnswerIsEndedAfterAQuestion()
{
    _machine("machine two")->setlauncherUuid("00000000-0000-4000-8000-000000000001");
    EncounteredAgentInfo* const line = _recorder->encounteredAgentsOnHosts().at(0)->encounteredAgentInfos().at(0);
    QTRY_VERIFY(_named("startInstanceButton"));
    Q_EMIT _recorder->launchFailed(line, "It runs already.\nMore of it.", true);
    QTRY_VERIFY(_named("endInstanceButton"));
    QVERIFY(!_named("startInstanceButton"));
    QCOMPARE(_texts("instanceProblem"), QStringList { "It runs already." });

    // The question begins on Cancel, which changes nothing
    QQuickItem* const list = _named("instancesList");
    list->setProperty("currentIndex", 0);
    list->forceActiveFocus(Qt::TabFocusReason);
    _key(Qt::Key_Return);
    QTRY_VERIFY(_named("confirmEndButton"));
    _key(Qt::Key_Return);
    QTRY_VERIFY(!_named("confirmEndButton"));
    QVERIFY(_named("endInstanceButton"));

    // Confirmed, the launcher is asked; this one is not on the network, and that is told
    list->forceActiveFocus(Qt::TabFocusReason);
    _key(Qt::Key_Return);
    QTRY_VERIFY(_named("confirmEndButton"));
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("The launcher could not be asked"));
    _key(Qt::Key_Tab);
    _key(Qt::Key_Return);
    QTRY_VERIFY(!_host->notices().isEmpty());
    QVERIFY(_host->notices().at(0).startsWith("The launcher could not be asked"));
    QTRY_VERIFY(_named("startInstanceButton"));
    QVERIFY(!_named("endInstanceButton"));
}

QTEST_MAIN(tst_host_machines)
#include "tst_host_machines.moc"
