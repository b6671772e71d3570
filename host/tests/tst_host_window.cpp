// SPDX-License-Identifier: Apache-2.0
// The window at its sizes, with the keyboard, and as those read it who do not see it.
#include "controlreport.h"
#include "hostapplication.h"
#include "testplugin.h"

#include <encounteredagentinfo.h>
#include <encounteredagentsonhost.h>
#include <networkconfiguration.h>
#include <pluginmanager.h>
#include <systemdocumenthandler.h>
#include <systemview.h>
#include <systemviewclassinstance.h>
#include <quenary.h>
#include <theme.h>

#include <QtCore/QDir>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QRandomGenerator>
#include <QtCore/QTemporaryDir>
#include <QtGui/QAccessible>
#include <QtQml/QQmlApplicationEngine>
#include <QtQml/QQmlComponent>
#include <QtQuick/QQuickItem>
#include <QtQuick/QQuickWindow>
#include <QtTest/QtTest>
#include <QtWidgets/QApplication>

namespace {

void collect(QQuickItem* item, QList<QQuickItem*>* items)
{
    if (item->isVisible()) {
        items->append(item);
        const auto children = item->childItems();
        for (QQuickItem* child : children) {
            collect(child, items);
        }
    }
}

bool canBePressed(const QQuickItem* item)
{
    return item->inherits("QQuickAbstractButton") && item->isEnabled() && item->activeFocusOnTab();
}

QString describe(const QQuickItem* item)
{
    return QStringLiteral("%1 %2 \"%3\"")
        .arg(QLatin1String(item->metaObject()->className()), item->objectName(), item->property("text").toString());
}

} // namespace

class tst_host_window : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void init();
    void nothingIsCutOffAtAnySize_data();
    void nothingIsCutOffAtAnySize();
    void everythingThatCanBePressedHasANameForThoseWhoDoNotSeeIt();
    void keysLeadToEachPage();
    void aHintShowsUnderThePointerAndNotOverWhatAPressOpened();
    void questionsFollowTheChosenTheme();
    void theTabKeyComesByEverythingThatCanBePressed();
    void arrowsChooseAnAgentAndDeleteAsksBeforeItGoes();
    void enterOnAnAgentThatCannotBeStartedSaysWhy();
    void theNetworkIsLeftAndJoinedWithTheKeyboard();
    void theNetworkIsSecuredWithBothPathsOrNotAtAll();
    void theNetworksPageFollowsTheCertificatesOnTheDisk();
    void theReportNamesWhatIsSeenAndWhere();
    void theReportLeavesOutRowsThatAListKeepsForLater();
    void aReportThatCannotBeWrittenIsSaid();

private:
    QList<QQuickItem*> seen() const;
    QQuickItem* named(const QString& name) const;
    QQuickItem* focused() const { return _host->window()->activeFocusItem(); }
    void key(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) { QTest::keyClick(_host->window(), key, modifiers); }
    void type(const QByteArray& text)
    {
        for (const char letter : text) {
            QTest::keyClick(_host->window(), letter);
        }
    }

    QTemporaryDir _folder;
    std::unique_ptr<TestPlugin> _plugin;
    std::unique_ptr<HostApplication> _host;
};

void tst_host_window::initTestCase()
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
    while (!_host->notices().isEmpty()) {
        _host->dismissNotice(0);
    }
}

void tst_host_window::cleanupTestCase()
{
    _host.reset();
    PluginManager::instance()->unregisterModulePlugin(_plugin.get());
}

void tst_host_window::init()
{
    _host->window()->resize(1280, 800);
    QTRY_COMPARE(_host->window()->contentItem()->size(), QSizeF(1280, 800));
    QVERIFY(_host->showModule(QString()));
    QTRY_VERIFY(named("instanceState"));
}

QList<QQuickItem*> tst_host_window::seen() const
{
    QList<QQuickItem*> items;
    collect(_host->window()->contentItem(), &items);
    return items;
}

QQuickItem* tst_host_window::named(const QString& name) const
{
    const auto items = seen();
    for (QQuickItem* item : items) {
        if (item->objectName() == name) {
            return item;
        }
    }
    return nullptr;
}

void tst_host_window::nothingIsCutOffAtAnySize_data()
{
    QTest::addColumn<QSize>("size");
    QTest::newRow("smallest") << QSize(800, 560);
    QTest::newRow("small") << QSize(800, 600);
    QTest::newRow("narrow") << QSize(1059, 700);
    QTest::newRow("wide") << QSize(1060, 700);
    QTest::newRow("as it opens") << QSize(1280, 800);
}

void tst_host_window::nothingIsCutOffAtAnySize()
{
    QFETCH(QSize, size);
    QVERIFY(_host->window()->minimumWidth() <= 800);
    QVERIFY(_host->window()->minimumHeight() <= 560);
    _host->window()->resize(size);
    QTRY_COMPARE(_host->window()->contentItem()->size(), QSizeF(size));
    _host->window()->grabWindow(); // lays out what waits for it

    const auto items = seen();
    int count = 0;
    for (QQuickItem* item : items) {
        if (!item->inherits("QQuickAbstractButton")) {
            continue;
        }
        ++count;
        const QRectF place = item->mapRectToScene(QRectF(QPointF(), item->size()));
        QVERIFY2(place.left() >= 0 && place.right() <= size.width(), qPrintable(describe(item)));
        // Room for its words.
        QVERIFY2(item->width() + 0.5 >= item->implicitWidth() || item->objectName().endsWith("Entry"),
            qPrintable(describe(item)));
        // And to the right of it nothing lies on it.
        for (const QQuickItem* other : items) {
            if (other != item && other->inherits("QQuickAbstractButton") && !item->isAncestorOf(other)
                && !other->isAncestorOf(item) && other->isEnabled() && item->isEnabled()) {
                const QRectF otherPlace = other->mapRectToScene(QRectF(QPointF(), other->size()));
                QVERIFY2(!(place & otherPlace).isValid(), qPrintable(describe(item) + " and " + describe(other)));
            }
        }
    }
    QVERIFY2(count > 20, qPrintable(QString::number(count)));
}

void tst_host_window::everythingThatCanBePressedHasANameForThoseWhoDoNotSeeIt()
{
    for (const int width : { 800, 1280 }) {
        _host->window()->resize(width, 600);
        QTRY_COMPARE(_host->window()->contentItem()->width(), qreal(width));
        const auto items = seen();
        for (QQuickItem* item : items) {
            if (!canBePressed(item)) {
                continue;
            }
            QAccessibleInterface* accessible = QAccessible::queryAccessibleInterface(item);
            QVERIFY2(accessible, qPrintable(describe(item)));
            QVERIFY2(!accessible->text(QAccessible::Name).isEmpty(), qPrintable(describe(item)));
            QVERIFY2(!accessible->text(QAccessible::Name).contains("&&"), qPrintable(describe(item)));
            QVERIFY2(accessible->role() != QAccessible::NoRole, qPrintable(describe(item)));
        }
    }
    const auto rows = seen();
    const auto isTheValve = [](QQuickItem* item) {
        QAccessibleInterface* accessible = QAccessible::queryAccessibleInterface(item);
        return accessible && accessible->role() == QAccessible::ListItem
            && accessible->text(QAccessible::Name).startsWith("Valve, ")
            && accessible->text(QAccessible::Name).endsWith(", Off");
    };
    QCOMPARE(std::count_if(rows.cbegin(), rows.cend(), isTheValve), 1);
}

void tst_host_window::keysLeadToEachPage()
{
    key(Qt::Key_2, Qt::ControlModifier);
    QVERIFY(_host->currentEntry());
    key(Qt::Key_1, Qt::ControlModifier);
    QVERIFY(!_host->currentEntry());
}

void tst_host_window::aHintShowsUnderThePointerAndNotOverWhatAPressOpened()
{
    const auto hints = [this] {
        const auto items = seen();
        return std::count_if(items.cbegin(), items.cend(), [](const QQuickItem* item) {
            return item->inherits("QQuickText") && item->property("text") == "Add an agent to this system (Ins)";
        });
    };
    QQuickItem* button = named("addInstanceButton");
    QVERIFY(button);
    const QPoint place = button->mapToScene(QPointF(button->width() / 2, button->height() / 2)).toPoint();
    QTest::mouseMove(_host->window(), place);
    QTRY_COMPARE(hints(), 1);

    QTest::mouseClick(_host->window(), Qt::LeftButton, {}, place);
    const auto isMenuOpen = [this] {
        const auto items = seen();
        return std::any_of(
            items.cbegin(), items.cend(), [](const QQuickItem* item) { return item->property("label") == "Recorder"; });
    };
    QTRY_VERIFY(isMenuOpen());
    QTRY_COMPARE(hints(), 0);
    key(Qt::Key_Escape);
    QTRY_VERIFY(!isMenuOpen());

    // Come anew.
    QTest::mouseMove(_host->window(), QPoint(1, 1));
    QTest::mouseMove(_host->window(), place);
    QTRY_COMPARE(hints(), 1);
    QTest::mouseMove(_host->window(), QPoint(1, 1));
    QTRY_COMPARE(hints(), 0);
}

void tst_host_window::questionsFollowTheChosenTheme()
{
    const QColor plain = QApplication::palette().color(QPalette::Window);
    _host->setTheme("dark");
    QCOMPARE(QApplication::palette().color(QPalette::Window), Theme::instance()->background());
    QCOMPARE(QApplication::palette().color(QPalette::Text), Theme::instance()->text());
    _host->setTheme("light");
    QCOMPARE(QApplication::palette().color(QPalette::Window), plain);
    _host->setTheme("");
    QCOMPARE(QApplication::palette().color(QPalette::Window), plain);
}

void tst_host_window::theTabKeyComesByEverythingThatCanBePressed()
{
    QSet<QQuickItem*> wanted;
    const auto items = seen();
    for (QQuickItem* item : items) {
        if (canBePressed(item)) {
            wanted.insert(item);
        }
    }
    QVERIFY2(wanted.size() > 8, qPrintable(QString::number(wanted.size())));
    constexpr int most = 200;
    for (int press = 0; press < most && !wanted.isEmpty(); ++press) {
        key(Qt::Key_Tab);
        QVERIFY(focused());
        wanted.remove(focused());
    }
    QVERIFY2(wanted.isEmpty(), qPrintable(wanted.isEmpty() ? QString() : describe(*wanted.cbegin())));
}

void tst_host_window::arrowsChooseAnAgentAndDeleteAsksBeforeItGoes()
{
    QQuickItem* list = named("instancesList");
    QVERIFY(list);
    const SystemView* view = SystemDocumentHandler::instance()->currentSystemView();
    const qsizetype before = view->getAllClassInstances().size();
    list->setProperty("currentIndex", 0);
    list->forceActiveFocus(Qt::TabFocusReason);
    key(Qt::Key_Down);
    key(Qt::Key_Down);
    QCOMPARE(list->property("currentIndex").toInt(), 2);
    auto* chosen = view->getAllClassInstances().at(2);

    // The question begins on Cancel, which Enter takes.
    key(Qt::Key_Delete);
    QTRY_VERIFY(named("confirmDeletionButton"));
    key(Qt::Key_Return);
    QTRY_VERIFY(!named("confirmDeletionButton"));
    QCOMPARE(view->getAllClassInstances().size(), before);
    QVERIFY(view->getAllClassInstances().contains(chosen));

    key(Qt::Key_Delete);
    QTRY_VERIFY(named("confirmDeletionButton"));
    key(Qt::Key_Tab);
    key(Qt::Key_Return);
    QTRY_COMPARE(view->getAllClassInstances().size(), before - 1);
    QVERIFY(!view->getAllClassInstances().contains(chosen));
    QTRY_VERIFY(!named("confirmDeletionButton"));
}

void tst_host_window::enterOnAnAgentThatCannotBeStartedSaysWhy()
{
    SystemViewClassInstance* valve = SystemDocumentHandler::instance()->currentSystemView()->getAgentByName("Valve");
    QVERIFY(valve);
    valve->encounteredAgentsOnHostAttachedToCorvane()->encounteredAgentInfos().constFirst()->setcommandLine(
        "\"/no/such/folder/qnySampleValve\" --name Valve");
    QQuickItem* list = named("instancesList");
    const int row = static_cast<int>(
        SystemDocumentHandler::instance()->currentSystemView()->getAllClassInstances().indexOf(valve));
    list->setProperty("currentIndex", row);
    list->forceActiveFocus(Qt::TabFocusReason);
    key(Qt::Key_Return);
    // In its row.
    const auto problemShown = [this] {
        const auto items = seen();
        return std::any_of(items.cbegin(), items.cend(), [](const QQuickItem* item) {
            return item->objectName() == "instanceProblem"
                && item->property("text") == "No launch line of it can be started from here";
        });
    };
    QTRY_VERIFY(problemShown());
}

void tst_host_window::theNetworkIsLeftAndJoinedWithTheKeyboard()
{
    auto* network = NetworkConfiguration::instance();
    QVERIFY(network->isConnected());
    key(Qt::Key_Comma, Qt::ControlModifier);
    QTRY_VERIFY(named("disconnectNetworkButton"));
    key(Qt::Key_Tab);
    key(Qt::Key_Return);
    QVERIFY(!network->isConnected());
    QTRY_VERIFY(named("connectNetworkButton"));

    // What is wrong is said beside the fields.
    QQuickItem* device = named("deviceField");
    device->forceActiveFocus();
    key(Qt::Key_A, Qt::ControlModifier);
    type("nosuchdevice");
    key(Qt::Key_Return);
    QVERIFY(!network->isConnected());
    QTRY_VERIFY(named("networkProblem"));
    QVERIFY(named("networkProblem")->property("text").toString().contains("nosuchdevice"));
    key(Qt::Key_A, Qt::ControlModifier);
    type("lo");
    key(Qt::Key_Return);
    QTRY_VERIFY(network->isConnected());
    QTRY_VERIFY(!named("deviceField"));
}

void tst_host_window::theNetworkIsSecuredWithBothPathsOrNotAtAll()
{
    QVERIFY(QDir(_folder.path()).mkpath("certificates"));
    const QString directory = _folder.filePath("certificates");
    QVERIFY(qny_certificate_make(directory.toUtf8().constData(), "host", nullptr, nullptr) == QNY_SUCCESS);
    auto* network = NetworkConfiguration::instance();
    network->disconnectFromNetwork();
    key(Qt::Key_Comma, Qt::ControlModifier);
    QTRY_VERIFY(named("privateCertificateField"));
    QVERIFY(named("securityState")->property("text").toString().startsWith("Open"));
    // Beside each path stands what is there.
    const auto text = [this](const char* field, const char* line) {
        return named(field)->findChild<QQuickItem*>(line)->property("text").toString();
    };
    const auto problem = [&text](const char* field) { return text(field, "certificateProblem"); };
    const auto names = [&text](const char* field) { return text(field, "certificateNames"); };
    named("privateCertificateField")->forceActiveFocus();
    type((directory + "/host.cert").toUtf8());
    QVERIFY(problem("privateCertificateField").contains("public half"));
    QCOMPARE(names("privateCertificateField"), QString());
    type("_secret");
    QCOMPARE(problem("privateCertificateField"), QString());
    QCOMPARE(names("privateCertificateField"), "host");
    key(Qt::Key_Return);
    QVERIFY(!network->isConnected());
    QTRY_VERIFY(named("networkProblem"));
    QVERIFY(named("networkProblem")->property("text").toString().startsWith("Security needs both"));
    named("publicCertificatesField")->forceActiveFocus();
    type((directory + "-gone").toUtf8());
    QVERIFY(problem("publicCertificatesField").contains("no such folder"));
    QVERIFY(QFile::setPermissions(directory, QFile::permissions(directory) | QFile::WriteOther));
    key(Qt::Key_A, Qt::ControlModifier);
    type(directory.toUtf8());
    QVERIFY(problem("publicCertificatesField").contains("Everybody may write"));
    QVERIFY(QFile::setPermissions(directory, QFile::permissions(directory) & ~QFile::WriteOther));
    key(Qt::Key_A, Qt::ControlModifier);
    type(directory.toUtf8());
    QCOMPARE(problem("publicCertificatesField"), QString());
    QCOMPARE(names("publicCertificatesField"), "host");
    QVERIFY(named("securityState")->property("text").toString().startsWith("Secured"));
    key(Qt::Key_Return);
    QTRY_VERIFY2(network->isConnected(), qUtf8Printable(network->errorText()));
    QVERIFY(qny_is_secured());
    QTRY_VERIFY(!named("deviceField"));

    network->disconnectFromNetwork();
    network->setprivateCertificate({});
    network->setpublicCertificates({});
    QVERIFY(network->connectToNetwork());
    QVERIFY(!qny_is_secured());
}

void tst_host_window::theNetworksPageFollowsTheCertificatesOnTheDisk()
{
    QVERIFY(QDir(_folder.path()).mkpath("known"));
    const QString directory = _folder.filePath("known");
    const auto make = [&directory](const char* name) {
        return qny_certificate_make(directory.toUtf8().constData(), name, nullptr, nullptr) == QNY_SUCCESS;
    };
    const auto text = [this](const char* line) {
        return named("publicCertificatesField")->findChild<QQuickItem*>(line)->property("text").toString();
    };
    QVERIFY(make("boiler"));
    auto* network = NetworkConfiguration::instance();
    network->setpublicCertificates(directory);
    const auto forget = qScopeGuard([network] { network->setpublicCertificates({}); });
    key(Qt::Key_Comma, Qt::ControlModifier);
    QTRY_VERIFY(named("publicCertificatesField"));
    QCOMPARE(text("certificateNames"), "boiler");

    // While it is open
    QVERIFY(make("pump"));
    QTRY_COMPARE(text("certificateNames"), "boiler, pump");
    QCOMPARE(text("certificateProblem"), QString());
    // One that is refused hides no other.
    QFile broken(directory + "/broken.cert");
    QVERIFY(broken.open(QIODevice::WriteOnly));
    broken.close();
    QTRY_VERIFY(text("certificateProblem").contains("broken.cert"));
    QCOMPARE(text("certificateNames"), "boiler, pump");
    QVERIFY(broken.remove());
    QTRY_COMPARE(text("certificateProblem"), QString());

    // While it is closed; nothing is read then.
    QQuickItem* const field = named("publicCertificatesField");
    key(Qt::Key_Escape);
    QTRY_VERIFY(!named("publicCertificatesField"));
    QCOMPARE(field->property("names").toString(), QString());
    QVERIFY(QFile::remove(directory + "/pump.cert"));
    key(Qt::Key_Comma, Qt::ControlModifier);
    QTRY_VERIFY(named("publicCertificatesField"));
    QCOMPARE(text("certificateNames"), "boiler");

    // A name that is no text is not chosen in silence, and the dialog is closed for the next time.
    QMetaObject::invokeMethod(field, "take", Q_ARG(QUrl, QUrl("file:///keys/h%F4te")));
    QCOMPARE(field->property("text").toString(), "/keys/h%F4te");
    QVERIFY(text("certificateProblem").contains("no such folder"));
    key(Qt::Key_Escape);
    QTRY_VERIFY(!named("publicCertificatesField"));
}

void tst_host_window::theReportNamesWhatIsSeenAndWhere()
{
    const QString path = _folder.filePath("controls.json");
    ControlReport report(path);
    const auto controlNamed = [&path](const QString& name) {
        QFile file(path);
        if (file.open(QIODevice::ReadOnly)) {
            const QJsonArray controls = QJsonDocument::fromJson(file.readAll())["controls"].toArray();
            for (const QJsonValue& control : controls) {
                if (control["name"] == name) {
                    return control.toObject();
                }
            }
        }
        return QJsonObject();
    };
    QTRY_COMPARE(controlNamed("documentName").value("text").toString(), _host->documentName());
    QTRY_VERIFY(!controlNamed("plantButton").isEmpty() || !_host->isPlantAvailable());
    const QQuickItem* list = named("instancesList");
    const QRect place
        = list->mapRectToScene(QRectF(QPointF(), list->size())).toRect().translated(_host->window()->position());
    QCOMPARE(controlNamed("instancesList").value("rect").toArray(),
        QJsonArray({ place.x(), place.y(), place.width(), place.height() }));

    // What is not shown is not named.
    key(Qt::Key_2, Qt::ControlModifier);
    QTRY_VERIFY(controlNamed("instancesList").isEmpty());
    QVERIFY(!controlNamed("documentName").isEmpty());
}

void tst_host_window::theReportLeavesOutRowsThatAListKeepsForLater()
{
    QQmlComponent component(_host->engine());
    component.setData(R"(
        import QtQuick
        Window {
            width: 200; height: 200; visible: true
            function removeFirst() { list.model.remove(0); }
            ListView {
                id: list
                anchors.fill: parent
                reuseItems: true
                model: ListModel { ListElement { word: "first" } ListElement { word: "second" } }
                delegate: Text { required property int index; required property string word; height: 20; text: word }
            }
        })",
        QUrl());
    const std::unique_ptr<QObject> window(component.create());
    QVERIFY2(window, qPrintable(component.errorString()));
    const auto words = [] {
        QStringList texts;
        const QJsonArray controls = QJsonDocument::fromJson(ControlReport::content())["controls"].toArray();
        for (const QJsonValue& control : controls) {
            const QString text = control["text"].toString();
            if (text == QLatin1String("first") || text == QLatin1String("second")) {
                texts.append(text);
            }
        }
        return texts;
    };
    QTRY_COMPARE(words(), QStringList({ "first", "second" }));
    QVERIFY(QMetaObject::invokeMethod(window.get(), "removeFirst"));
    QTRY_COMPARE(words(), QStringList("second"));
}

void tst_host_window::aReportThatCannotBeWrittenIsSaid()
{
    ControlReport report(_folder.filePath("no/such/folder/controls.json"));
    QSignalSpy failed(&report, &ControlReport::failed);
    QTRY_COMPARE(failed.count(), 1);
    QVERIFY(failed.constFirst().constFirst().toString().contains("no/such/folder/controls.json"));
    // Once.
    QVERIFY(!failed.wait(300));
}

QTEST_MAIN(tst_host_window)
#include "tst_host_window.moc"
