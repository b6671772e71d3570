// SPDX-License-Identifier: Apache-2.0
#include "pages.h"
#include "pagetest.h"

#include <QtGui/QAccessible>

/// The pages without a mouse, and for those who hear them.
class KeyboardTests : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void tabLeadsThroughTheListOfRecorders();
    void tabLeadsThroughARecordersPageAndBack();
    void tabLeadsThroughTheControlsOfALoadedRecord();
    void theArrowKeysChooseATab();
    void f5StartsAndStopsARecording();
    void spacePlaysAndPausesWhateverIsShown();
    void aFieldKeepsItsSpaces();
    void theArrowKeysGoThroughTheRecords();
    void aQuestionTakesTheKeyboardAndGivesItBack();
    void noKeyPassesByAQuestion();
    void anOverlayTakesTheKeyboardAndGivesItBack();
    void escapeClosesWhatUnfolds();
    void spacePlaysAFileFromItsTab();
    void theKeyOfAControlStandsInItsTooltip_data();
    void theKeyOfAControlStandsInItsTooltip();
    void whatHasTheKeyboardIsSeen_data();
    void whatHasTheKeyboardIsSeen();
    void everyControlHasAnAccessibleNameAndRole_data();
    void everyControlHasAnAccessibleNameAndRole();
};

namespace {

QString records(int count)
{
    QStringList records;
    for (int i = 0; i < count; ++i) {
        const QString date = QDateTime(QDate(2026, 1, 1), QTime(10, 0)).addDays(-i).toString("yyyy-MM-dd HH:mm:ss.zzz");
        records.append(recordJson(QStringLiteral("aaaaaaaa-0000-4000-8000-%1").arg(i, 12, 10, QChar('0')),
            QStringLiteral("Record %1").arg(i), 300000000, date, date));
    }
    return u'[' + records.join(u',') + u']';
}

/// A running recorder with five records, the newest of them loaded if asked for.
class Running : public Pages
{
public:
    explicit Running(bool isLoaded = true)
        : instance(fixture.addRunningRecorder())
        , recorder(instance)
    {
        recorder.records(records(5));
        open(instance, Pages::Records);
        record = qobject_cast<RecorderRecord*>(instance->records()->get(0));
        if (isLoaded) {
            instance->loadRecord(record);
            recorder.loaded(record->uuid(), 300, "[\"a\",\"b\"]");
        }
        window.grabWindow();
        QuenaryDouble::clearCalls();
    }
    /// Where the keyboard comes by with so many presses of Tab.
    QStringList tour(int steps, Qt::KeyboardModifiers modifiers = {})
    {
        QStringList places;
        for (int i = 0; i < steps; ++i) {
            key(modifiers ? Qt::Key_Backtab : Qt::Key_Tab, modifiers);
            places.append(focus());
        }
        return places;
    }
    int row() const { return property("recordsList", "currentIndex").toInt(); }

    RecorderInstance* instance;
    ScriptedRecorder recorder;
    RecorderRecord* record = nullptr;
};

/// Brings up one of the places that the pages have.
void show(Running& pages, const QString& place)
{
    if (place == QStringLiteral("list")) {
        pages.module.setcurrentRecorder(nullptr);
    } else if (place == QStringLiteral("settings")) {
        ModuleFixture::leave(pages.instance->agentInstanceUuid());
        pages.showTab(Pages::Configuration);
    } else if (place == QStringLiteral("renaming")) {
        pages.focusOn("recordsList");
        pages.key(Qt::Key_F2);
        QVERIFY(pages.isShown("recordName"));
    } else if (place == QStringLiteral("agents")) {
        QStringList agents;
        for (int i = 0; i < 40; ++i) {
            agents.append(QStringLiteral("\"agent %1\"").arg(i));
        }
        pages.recorder.loaded(pages.record->uuid(), 300, u'[' + agents.join(u',') + u']');
        pages.click("agentsFilter");
        QVERIFY(pages.isShown("agentsSearch"));
    } else if (place == QStringLiteral("speed")) {
        pages.click("speedChooser");
    } else if (place == QStringLiteral("file")) {
        pages.showTab(Pages::File);
    } else if (place == QStringLiteral("loading")) {
        pages.instance->loadRecord(pages.record);
    } else if (place == QStringLiteral("question")) {
        pages.click("deleteRecordButton");
    } else if (place == QStringLiteral("wayOut")) {
        pages.setPatience(1, 3600000);
        pages.instance->moveCurrentRecordTime(20);
        QTRY_VERIFY(pages.isShown("leaveButton"));
    }
    Pages::settle();
    pages.window.grabWindow();
    Pages::settle();
}

QString pathOf(const QQuickItem* item)
{
    QString path;
    for (; item; item = item->parentItem()) {
        path += QString::fromLatin1(item->metaObject()->className()) + u' ' + item->objectName() + " < ";
    }
    return path;
}

/// What can be pressed, typed into or chosen from, and says nothing of itself.
QStringList namelessControls(const QQuickItem* within)
{
    QStringList nameless;
    const QList<QQuickItem*> children = within->childItems();
    for (QQuickItem* const child : children) {
        // A list keeps rows for later, which have no place in it and show nothing.
        if (!child->isVisible() || child->property("index") == -1) {
            continue;
        }
        const bool isControl = child->inherits("QQuickAbstractButton") || child->inherits("QQuickTextField")
            || child->inherits("QQuickTextArea") || child->inherits("QQuickSlider") || child->inherits("QQuickComboBox");
        if (isControl || child->activeFocusOnTab()) {
            QAccessibleInterface* const accessible = QAccessible::queryAccessibleInterface(child);
            if (!accessible || accessible->text(QAccessible::Name).trimmed().isEmpty()
                || accessible->role() == QAccessible::NoRole || accessible->role() == QAccessible::Client) {
                nameless.append(pathOf(child));
            }
        }
        nameless += namelessControls(child);
    }
    return nameless;
}

} // namespace

void KeyboardTests::tabLeadsThroughTheListOfRecorders()
{
    Pages pages;
    pages.fixture.addRecorder("Ant");
    pages.fixture.addRecorder("Bee");
    pages.window.grabWindow();
    QCOMPARE(pages.focus(), "createRecorderButton");
    QStringList places;
    for (int i = 0; i < 8; ++i) {
        pages.key(Qt::Key_Tab);
        places.append(pages.focus());
    }
    const QStringList entry { "recorderInstance", "connectButton", "configureButton", "deleteRecorderButton" };
    QCOMPARE(places, entry + entry);
    pages.key(Qt::Key_Tab);
    QCOMPARE(pages.focus(), "createRecorderButton");
}

void KeyboardTests::tabLeadsThroughARecordersPageAndBack()
{
    Running pages(false);
    pages.focusOn("recorderTabs");
    const QStringList way { "recordsList", "renameRecordButton", "downloadButton", "deleteRecordButton", "backButton",
        "connectButton", "recordButton", "importButton", "recorderTabs" };
    QCOMPARE(pages.tour(9), way);
    QCOMPARE(pages.tour(9), way);
    // Backwards it is the same way.
    QStringList back = pages.tour(9, Qt::ShiftModifier);
    std::rotate(back.begin(), back.end() - 1, back.end());
    std::reverse(back.begin(), back.end());
    QCOMPARE(back, way);
}

void KeyboardTests::tabLeadsThroughTheControlsOfALoadedRecord()
{
    Running pages;
    pages.instance->moveCurrentRecordTime(20);
    pages.recorder.reply("moved_to", { 20.0 });
    pages.focusOn("recordsList");
    const QStringList places = pages.tour(12);
    const QStringList expected { "playButton", "stopButton", "positionField", "recordSlider", "speedChooser", "unloadButton" };
    QStringList met = places;
    met.removeIf([&expected](const QString& place) { return !expected.contains(place); });
    QCOMPARE(met, expected);
}

void KeyboardTests::theArrowKeysChooseATab()
{
    Running pages(false);
    pages.focusOn("recorderTabs");
    const auto tab = [&pages] { return pages.property("recorderTabs", "currentIndex").toInt(); };
    QCOMPARE(tab(), int(Pages::Records));
    pages.key(Qt::Key_Right);
    QCOMPARE(tab(), int(Pages::File));
    QVERIFY(pages.isShown("fileTab"));
    pages.key(Qt::Key_Right);
    QCOMPARE(tab(), int(Pages::File));
    pages.key(Qt::Key_Left);
    pages.key(Qt::Key_Left);
    QCOMPARE(tab(), int(Pages::Configuration));
    pages.key(Qt::Key_Left);
    QCOMPARE(tab(), int(Pages::Configuration));
}

void KeyboardTests::f5StartsAndStopsARecording()
{
    Running pages(false);
    for (const Pages::Tab tab : { Pages::Configuration, Pages::Records, Pages::File }) {
        pages.showTab(tab);
        pages.key(Qt::Key_F5);
        QCOMPARE(QuenaryDouble::calledServices(), QStringList("record"));
        pages.recorder.progress(pages.instance->recordProgressInput(), 1);
        QuenaryDouble::clearCalls();
        pages.key(Qt::Key_F5);
        QCOMPARE(QuenaryDouble::calledServices(), QStringList("stop_recording"));
        pages.recorder.reply("recording_stopped");
        QuenaryDouble::clearCalls();
    }
    ModuleFixture::leave(pages.instance->agentInstanceUuid());
    pages.key(Qt::Key_F5);
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
}

void KeyboardTests::spacePlaysAndPausesWhateverIsShown()
{
    Running pages;
    pages.focusOn("recordsList");
    pages.key(Qt::Key_Space);
    compareCall(pages.instance, "play", {});
    pages.key(Qt::Key_Space);
    compareCall(pages.instance, "pause", {});
    pages.recorder.reply("paused");
    // A button takes it for itself.
    pages.focusOn("playButton");
    pages.key(Qt::Key_Space);
    compareCall(pages.instance, "play", {});
}

void KeyboardTests::aFieldKeepsItsSpaces()
{
    Running pages;
    pages.showTab(Pages::File);
    pages.fill("filePathField", "a", false);
    QTest::keyClick(&pages.window, Qt::Key_Space);
    pages.type("b");
    QCOMPARE(pages.text("filePathField"), "a b");
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
}

void KeyboardTests::theArrowKeysGoThroughTheRecords()
{
    Running pages(false);
    pages.recorder.records(records(200));
    pages.focusOn("recordsList");
    const auto compareRow = [&pages](Qt::Key key, int row) {
        pages.key(key);
        QCOMPARE(pages.row(), row);
    };
    compareRow(Qt::Key_Home, 0);
    compareRow(Qt::Key_Up, 0);
    compareRow(Qt::Key_Down, 1);
    compareRow(Qt::Key_Down, 2);
    compareRow(Qt::Key_Up, 1);
    compareRow(Qt::Key_End, 199);
    compareRow(Qt::Key_Down, 199);
    pages.key(Qt::Key_PageUp);
    QVERIFY(pages.row() < 199 - 3);
    const int row = pages.row();
    pages.key(Qt::Key_PageDown);
    QCOMPARE(pages.row(), 199);
    QVERIFY(row > 150);
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
}

void KeyboardTests::aQuestionTakesTheKeyboardAndGivesItBack()
{
    Running pages(false);
    pages.focusOn("recordsList");
    pages.key(Qt::Key_Down);
    pages.key(Qt::Key_Delete);
    QVERIFY(pages.isShown("question"));
    QCOMPARE(pages.focus(), "declineButton");
    pages.key(Qt::Key_Tab);
    QCOMPARE(pages.focus(), "acceptButton");
    pages.key(Qt::Key_Tab);
    QCOMPARE(pages.focus(), "declineButton");
    pages.key(Qt::Key_Escape);
    QVERIFY(!pages.isShown("question"));
    QCOMPARE(pages.focus(), "recordsList");
    QCOMPARE(pages.row(), 1);

    pages.key(Qt::Key_Delete);
    pages.key(Qt::Key_Tab);
    pages.key(Qt::Key_Return);
    compareCall(pages.instance, "delete", { "aaaaaaaa-0000-4000-8000-000000000001" });
    QCOMPARE(pages.focus(), "recordsList");
    pages.key(Qt::Key_Delete);
    QVERIFY(pages.isShown("question"));
    pages.key(Qt::Key_Space); // on "Cancel"
    QVERIFY(!pages.isShown("question"));
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
}

void KeyboardTests::noKeyPassesByAQuestion()
{
    Running pages;
    pages.focusOn("recordsList");
    pages.key(Qt::Key_Delete);
    QVERIFY(pages.isShown("question"));
    pages.key(Qt::Key_F5);
    pages.key(Qt::Key_Left, Qt::AltModifier);
    pages.key(Qt::Key_F2);
    QVERIFY(pages.isShown("question"));
    QVERIFY(!pages.isShown("recordName"));
    QCOMPARE(pages.module.currentRecorder(), pages.instance);
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
    pages.key(Qt::Key_Escape);
}

void KeyboardTests::anOverlayTakesTheKeyboardAndGivesItBack()
{
    Running pages(false);
    pages.focusOn("recordsList");
    pages.key(Qt::Key_Down);
    pages.key(Qt::Key_Return);
    QVERIFY(pages.isShown("progressFeedback"));
    QCOMPARE(pages.focus(), "progressFeedback");
    pages.recorder.loaded(pages.instance->currentRecord()->uuid(), 300, "[\"a\"]");
    QVERIFY(!pages.isShown("progressFeedback"));
    QCOMPARE(pages.focus(), "recordsList");
    QCOMPARE(pages.row(), 1);
}

void KeyboardTests::escapeClosesWhatUnfolds()
{
    Running pages;
    for (const auto& [button, unfolded] : { std::pair { "agentsFilter", "agentsList" }, { "speedChooser", "speeds" } }) {
        pages.focusOn(button);
        pages.key(Qt::Key_Space);
        QVERIFY2(pages.isShown(unfolded), unfolded);
        pages.key(Qt::Key_Escape);
        QVERIFY2(!pages.isShown(unfolded), unfolded);
        QCOMPARE(pages.focus(), button);
    }
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
    QCOMPARE(pages.module.currentRecorder(), pages.instance);
}

void KeyboardTests::spacePlaysAFileFromItsTab()
{
    Running pages(false);
    pages.instance->loadRecordFile("/data/plant.csv");
    pages.recorder.loaded("/data/plant.csv", 300, "[\"a\"]");
    pages.showTab(Pages::File);
    QuenaryDouble::clearCalls();
    pages.focusOn("recorderTabs");
    pages.key(Qt::Key_Space);
    compareCall(pages.instance, "play", {});
    pages.key(Qt::Key_Space);
    compareCall(pages.instance, "pause", {});
}

void KeyboardTests::theKeyOfAControlStandsInItsTooltip_data()
{
    QTest::addColumn<QString>("place");
    QTest::addColumn<QString>("control");
    QTest::addColumn<QString>("key");
    QTest::newRow("record") << "records" << "recordButton" << "(F5)";
    QTest::newRow("rename") << "records" << "renameRecordButton" << "(F2)";
    QTest::newRow("delete a record") << "records" << "deleteRecordButton" << "(Del)";
    QTest::newRow("play") << "records" << "playButton" << "(Space)";
    QTest::newRow("back") << "records" << "backButton" << "(Alt+Left)";
    QTest::newRow("keep") << "question" << "declineButton" << "(Esc)";
    QTest::newRow("open") << "list" << "configureButton" << "(Enter)";
    QTest::newRow("delete a recorder") << "listOff" << "deleteRecorderButton" << "(Del)";
}

void KeyboardTests::theKeyOfAControlStandsInItsTooltip()
{
    QFETCH(const QString, place);
    QFETCH(const QString, control);
    QFETCH(const QString, key);
    Running pages;
    if (place == QStringLiteral("listOff")) {
        show(pages, "settings");
    }
    show(pages, place.startsWith("list") ? QStringLiteral("list") : place);
    QVERIFY2(pages.hint(control).endsWith(key), qPrintable(pages.hint(control)));
}

void KeyboardTests::whatHasTheKeyboardIsSeen_data()
{
    QTest::addColumn<QString>("place");
    QTest::addColumn<int>("leastStops");
    QTest::newRow("list") << "list" << 4;
    QTest::newRow("settings") << "settings" << 14;
    QTest::newRow("records") << "records" << 14;
    QTest::newRow("agents") << "agents" << 3;
    QTest::newRow("file") << "file" << 7;
    QTest::newRow("question") << "question" << 2;
    QTest::newRow("wayOut") << "wayOut" << 2;
}

// Each stop of the Tab key against the picture in which the keyboard is elsewhere.
void KeyboardTests::whatHasTheKeyboardIsSeen()
{
    QFETCH(const QString, place);
    QFETCH(const int, leastStops);
    Running pages;
    show(pages, place);
    const QQuickItem* first = nullptr;
    const QQuickItem* last = nullptr;
    QRect lastPlace;
    QImage lastPicture;
    int stops = 0;
    for (int i = 0; i < 60; ++i) {
        QTest::keyClick(&pages.window, Qt::Key_Tab);
        Pages::settle();
        const QImage picture = pages.window.grabWindow();
        const QQuickItem* const item = pages.window.activeFocusItem();
        // What moved meanwhile, because the page followed the keyboard, is another picture anyway.
        if (last && last->mapRectToScene(last->boundingRect()).toAlignedRect() == lastPlace) {
            const QRect around = lastPlace.adjusted(-6, -6, 6, 6);
            QVERIFY2(picture.rect().contains(lastPlace), qPrintable("out of the window: " + pathOf(last)));
            QVERIFY2(picture.copy(around) != lastPicture.copy(around), qPrintable("not seen: " + pathOf(last)));
            ++stops;
        }
        if (item == first) {
            break;
        }
        first = first ? first : item;
        last = item;
        lastPlace = item->mapRectToScene(item->boundingRect()).toAlignedRect();
        lastPicture = picture;
    }
    QVERIFY2(stops >= leastStops, qPrintable(QString::number(stops)));
}

void KeyboardTests::everyControlHasAnAccessibleNameAndRole_data()
{
    QTest::addColumn<QString>("place");
    for (const char* const place :
        { "list", "settings", "records", "renaming", "agents", "speed", "file", "loading", "question", "wayOut" }) {
        QTest::newRow(place) << QString(place);
    }
}

void KeyboardTests::everyControlHasAnAccessibleNameAndRole()
{
    QFETCH(const QString, place);
    Running pages(place != QStringLiteral("loading"));
    show(pages, place);
    QStringList nameless;
    // A row may outlive what it shows for a moment.
    QTRY_VERIFY2((nameless = namelessControls(pages.window.contentItem())).isEmpty(), qPrintable(nameless.join(u'\n')));
}

static const RegisterPageTest<KeyboardTests> keyboardTests;

#include "tst_keyboard.moc"
