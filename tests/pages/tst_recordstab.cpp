// SPDX-License-Identifier: Apache-2.0
#include "filesfixture.h"
#include "pages.h"
#include "pagetest.h"

#include <QtQml/QQmlEngine>

/// The list of a recorder's records and what each row offers.
class RecordsTabTests : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void anEmptyListSaysWhatToDoNext();
    void recordsAreListedNewestFirst();
    void aRowSaysTheNameTheDateAndTheDuration();
    void selectingARowLoadsItsRecord_data();
    void selectingARowLoadsItsRecord();
    void aLoadThatWouldEndARecordingAsksFirst();
    void theQuestionWhetherToEndARecordingGoesWithWhatItIsAbout();
    void theCurrentRecordIsHighlightedAndOpenedInItsRow();
    void theCurrentRecordIsScrolledIntoView();
    void everyRowHasANameField();
    void aRowFeelsThePointerOverWhatIsInIt_data();
    void aRowFeelsThePointerOverWhatIsInIt();
    void aRecordIsRenamedInItsRow();
    void anEmptyOrUsedRecordNameIsRefusedWithAWord_data();
    void anEmptyOrUsedRecordNameIsRefusedWithAWord();
    void aBlankBehindTheNameIsNoOtherName();
    void renamingIsGivenUpWithEscape();
    void aRecordIsDownloadedIntoTheChosenFile();
    void aRecordIsDeletedOnceThatIsAgreedTo();
    void theQuestionGoesWithItsRecord();
    void nothingIsOfferedWhileTheRecorderIsOff();
    void aLoadThatFailedSaysWhy();
    void hostileNamesAreNoMarkup();
    void nothingIsDrawnWhileNothingHappens();
    void qmlDoesNotSearchEveryRecordForGarbage();
};

namespace {

class Listed : public Pages
{
public:
    Listed()
        : instance(fixture.addRunningRecorder())
        , recorder(instance)
    {
        recorder.records(u'['
            + recordJson(RECORD_A, "First", 3000000, "2026-11-21 10:00:00.000", "2026-11-21 10:00:03.000") + u','
            + recordJson(RECORD_B, "Second", 3723340000, "2026-11-22 10:00:00.000", "2026-11-22 11:02:03.340") + u']');
        first = qobject_cast<RecorderRecord*>(instance->records()->get(0));
        second = qobject_cast<RecorderRecord*>(instance->records()->get(1));
        open(instance, Pages::Records);
    }
    /// Beside the name, where nothing else is pressed.
    void pressRow(int row) { click("recordDuration", row); }
    QQuickItem* row(int index) const { return item("recordDuration", index)->parentItem(); }
    void record() { recorder.progress(instance->recordProgressInput(), ++seconds); }
    void load(const RecorderRecord* record) { recorder.loaded(record->uuid(), record->durationInSeconds(), "[\"a\",\"b\"]"); }

    RecorderInstance* instance;
    ScriptedRecorder recorder;
    RecorderRecord* first = nullptr;
    RecorderRecord* second = nullptr;
    double seconds = 0;
};

QVariantList loadArguments(const RecorderRecord* record)
{
    return { record->uuid(), 0.0, record->durationInSeconds() };
}

} // namespace

void RecordsTabTests::anEmptyListSaysWhatToDoNext()
{
    Pages pages;
    RecorderInstance* const instance = pages.fixture.firstInstanceOf(pages.fixture.addRecorder("Plant"));
    pages.open(instance, Pages::Records);
    QCOMPARE(pages.text("recordsHint"), "Connect the recorder to see its records.");
    ModuleFixture::run(instance);
    QCOMPARE(pages.text("recordsHint"), "Press Record to make one, or drop a CSV file here to import it.");
    ScriptedRecorder recorder(instance);
    recorder.progress(instance->recordProgressInput(), 1);
    QCOMPARE(pages.text("recordsHint"), "What is recorded now is listed here when it ends.");
    recorder.records(u'[' + recordJson(RECORD_A, "First") + u']');
    QVERIFY(!pages.isShown("recordsHint"));
}

void RecordsTabTests::recordsAreListedNewestFirst()
{
    Listed pages;
    QCOMPARE(pages.texts("recordNameText"), QStringList({ "Second", "First" }));
    pages.recorder.records(u'[' + recordJson(RECORD_A, "First") + u','
        + recordJson(QString(RECORD_B).replace('b', 'c'), "Third", 3000000, "2026-11-23 10:00:00.000", "2026-11-23 10:00:03.000")
        + u']');
    QCOMPARE(pages.texts("recordNameText"), QStringList({ "Third", "First" }));
}

void RecordsTabTests::aRowSaysTheNameTheDateAndTheDuration()
{
    const Listed pages;
    const QQuickItem* const row = pages.row(0);
    QCOMPARE(row->property("date").toString(), "22 Nov 2026, 10:00");
    QCOMPARE(row->property("duration").toString(), "01:02:03.340");
    QStringList shown;
    const QList<QQuickItem*> parts = row->childItems();
    for (const QQuickItem* const part : parts) {
        if (part->isVisible() && part->property("text").isValid()) {
            shown.append(part->property("text").toString());
        }
    }
    QCOMPARE(shown, QStringList({ "22 Nov 2026, 10:00", "01:02:03.340" }));
    QCOMPARE(pages.text("recordNameText", 0), "Second");
}

void RecordsTabTests::selectingARowLoadsItsRecord_data()
{
    QTest::addColumn<QString>("how");
    QTest::newRow("click") << "click";
    QTest::newRow("Return") << "Return";
    QTest::newRow("Enter") << "Enter";
}

void RecordsTabTests::selectingARowLoadsItsRecord()
{
    QFETCH(const QString, how);
    Listed pages;
    if (how == QStringLiteral("click")) {
        pages.pressRow(1);
    } else {
        pages.focusOn("recordsList");
        pages.key(Qt::Key_Down);
        QCOMPARE(QuenaryDouble::calledServices(), QStringList());
        pages.key(how == QStringLiteral("Return") ? Qt::Key_Return : Qt::Key_Enter);
    }
    compareCall(pages.instance, "load", loadArguments(pages.first));
    QVERIFY(pages.instance->isLoadingRecord());
    pages.load(pages.first);
    QVERIFY(pages.isShown("playButton"));

    // The other one takes its place.
    QuenaryDouble::clearCalls();
    pages.pressRow(0);
    QVERIFY(QuenaryDouble::calledServices().contains("load"));
    QCOMPARE(pages.instance->currentRecord(), pages.second);
}

void RecordsTabTests::aLoadThatWouldEndARecordingAsksFirst()
{
    Listed pages;
    pages.record();
    QuenaryDouble::clearCalls();
    pages.pressRow(1);
    QCOMPARE(pages.text("question"), "Do you want to end the recording and load 'First' ?");
    QCOMPARE(pages.text("declineButton"), "Cancel");
    QCOMPARE(pages.text("acceptButton"), "END AND LOAD");
    pages.record();
    pages.click("declineButton");
    QVERIFY(!pages.isShown("question"));
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
    QVERIFY(pages.instance->isRecording());

    // With the key as well.
    pages.record();
    pages.key(Qt::Key_Return);
    pages.record();
    QCOMPARE(pages.text("question"), "Do you want to end the recording and load 'First' ?");
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
    pages.click("acceptButton");
    QVERIFY(!pages.isShown("question"));
    QCOMPARE(QuenaryDouble::calledServices(), QStringList({ "stop_recording", "load" }));
    QCOMPARE(lastServiceCall().arguments, loadArguments(pages.first));
    QVERIFY(!pages.instance->isRecording());
    QCOMPARE(pages.instance->currentRecord(), pages.first);
}

void RecordsTabTests::theQuestionWhetherToEndARecordingGoesWithWhatItIsAbout()
{
    Listed pages;
    pages.record();
    pages.pressRow(1);
    QVERIFY(pages.isShown("question"));
    pages.recorder.reply("recording_stopped");
    QVERIFY(!pages.isShown("question"));

    pages.record();
    pages.pressRow(1);
    QVERIFY(pages.isShown("question"));
    pages.record();
    pages.recorder.records(u'[' + recordJson(RECORD_B, "Second") + u']');
    QVERIFY(pages.instance->isRecording());
    QVERIFY(!pages.isShown("question"));

    pages.pressRow(0);
    QVERIFY(pages.isShown("question"));
    pages.module.setcurrentRecorder(nullptr);
    Pages::settle();
    QVERIFY(!pages.isShown("question"));
    QVERIFY(!QuenaryDouble::calledServices().contains("load"));
}

void RecordsTabTests::theCurrentRecordIsHighlightedAndOpenedInItsRow()
{
    Listed pages;
    const auto isCurrent = [&pages](int row) { return pages.row(row)->property("isCurrent").toBool(); };
    QVERIFY(!isCurrent(0) && !isCurrent(1));
    pages.instance->loadRecord(pages.first);
    Pages::settle();
    QVERIFY(!isCurrent(0) && isCurrent(1));
    QVERIFY(!pages.isShown("playButton"));
    pages.load(pages.first);
    QVERIFY(pages.isShown("playButton"));
    const QQuickItem* const row = pages.row(1);
    QVERIFY(pages.item("playButton")->mapToItem(row, QPointF()).y() > 0);
    QVERIFY(row->height() > pages.row(0)->height());

    QuenaryDouble::clearCalls();
    pages.click("unloadButton");
    compareCall(pages.instance, "unload", {});
    QVERIFY(!pages.isShown("playButton"));
}

void RecordsTabTests::theCurrentRecordIsScrolledIntoView()
{
    Listed pages;
    QStringList records;
    for (int i = 0; i < 200; ++i) {
        const QString date = QDateTime(QDate(2026, 1, 1), QTime(10, 0)).addDays(i).toString("yyyy-MM-dd HH:mm:ss.zzz");
        records.append(recordJson(QStringLiteral("aaaaaaaa-0000-4000-8000-%1").arg(i, 12, 10, QChar('0')), QStringLiteral("Record %1").arg(i), 3000000, date, date));
    }
    pages.recorder.records(u'[' + records.join(u',') + u']');
    RecorderRecord* oldest = nullptr;
    for (int i = 0; i < 200; ++i) {
        auto* const record = qobject_cast<RecorderRecord*>(pages.instance->records()->get(i));
        oldest = record->name() == QStringLiteral("Record 0") ? record : oldest;
    }
    QVERIFY(oldest);
    pages.instance->loadRecord(oldest);
    pages.load(oldest);
    pages.window.grabWindow();
    QTRY_VERIFY(pages.isShown("playButton"));
    const QQuickItem* const list = pages.item("recordsList");
    const auto isWithin = [list](const QQuickItem* item) {
        const double top = item->mapToItem(list, QPointF()).y();
        return top >= 0 && top + item->height() <= list->height();
    };
    QTRY_VERIFY(isWithin(pages.item("playButton")) && isWithin(pages.item("unloadButton")));
}

void RecordsTabTests::everyRowHasANameField()
{
    Listed pages;
    // Looked at it is a text, and under the pointer a field.
    QCOMPARE(pages.items("recordNameFrame").size(), 2);
    const auto hasFrame = [&pages](int row) {
        return pages.item("recordNameFrame", row)->property("border").value<QObject*>()->property("width").toReal() > 0;
    };
    QTest::mouseMove(&pages.window, QPoint(1, 1));
    QVERIFY(!hasFrame(0) && !hasFrame(1));
    QTest::mouseMove(&pages.window, pages.middle("recordNameFrame", 1));
    QTRY_VERIFY(hasFrame(1));
    QVERIFY(!hasFrame(0));
    pages.second->setname(QStringLiteral("A long name ").repeated(20));
    QTest::mouseMove(&pages.window, pages.middle("recordNameFrame", 0));
    QTRY_VERIFY(hasFrame(0));
    QVERIFY(!hasFrame(1));
    pages.second->setname(QStringLiteral("Second"));

    // A click begins typing where it was made, and loads nothing.
    const QQuickItem* const frame = pages.item("recordNameFrame", 1);
    QTest::mouseClick(&pages.window, Qt::LeftButton, {}, frame->mapToScene(QPointF(frame->width() - 12, frame->height() / 2)).toPoint());
    Pages::settle();
    QCOMPARE(pages.text("recordName"), "First");
    QCOMPARE(pages.focus(), "recordName");
    pages.type(" run");
    pages.key(Qt::Key_Return);
    compareCall(pages.instance, "rename", { RECORD_A, "First run" });
    QVERIFY(!pages.instance->isLoadingRecord());

    // Leaving the field ends typing as well.
    pages.click("recordNameFrame", 0);
    pages.key(Qt::Key_End);
    pages.type("!");
    pages.click("recordNameFrame", 0); // of the other row
    compareCall(pages.instance, "rename", { RECORD_B, "Second!" });
    QCOMPARE(pages.items("recordName").size(), 1);
    QCOMPARE(pages.text("recordName"), "First run");
}

void RecordsTabTests::aRowFeelsThePointerOverWhatIsInIt_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("hint");
    QTest::newRow("its text") << "recordDuration" << "";
    QTest::newRow("its name") << "recordNameFrame" << "";
    QTest::newRow("a name that does not fit") << "recordNameText" << QStringLiteral("A long name ").repeated(20).trimmed();
    QTest::newRow("a button") << "downloadButton" << "Download as a CSV file";
}

void RecordsTabTests::aRowFeelsThePointerOverWhatIsInIt()
{
    QFETCH(QString, path);
    QFETCH(QString, hint);
    Listed pages;
    // The keys are on the row above it.
    const int row = 1;
    if (path == u"recordNameText") {
        pages.first->setname(hint);
    }
    QTest::mouseMove(&pages.window, QPoint(1, 1));
    QTRY_VERIFY(!pages.row(row)->property("containsMouse").toBool());
    const int renameButtons = static_cast<int>(pages.items("renameRecordButton").size());
    QTest::mouseMove(&pages.window, pages.middle(path, row));
    // Only under the pointer a row offers to rename it.
    QTRY_COMPARE(pages.items("renameRecordButton").size(), renameButtons + 1);
    QVERIFY(pages.row(row)->property("containsMouse").toBool());
    QVERIFY(!pages.row(1 - row)->property("containsMouse").toBool());
    if (!hint.isEmpty()) {
        QTRY_COMPARE(pages.texts("hint"), QStringList({ hint }));
    }
    QTest::mouseMove(&pages.window, QPoint(1, 1));
    QTRY_COMPARE(pages.items("renameRecordButton").size(), renameButtons);
}

void RecordsTabTests::aRecordIsRenamedInItsRow()
{
    Listed pages;
    pages.focusOn("recordsList");
    pages.key(Qt::Key_Down);
    pages.click("renameRecordButton");
    QCOMPARE(pages.text("recordName"), "First");
    QCOMPARE(pages.property("recordName", "placeholderText").toString(), "Record name");
    pages.type("Night <i>shift</i>"); // over what was selected
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
    pages.key(Qt::Key_Return);
    compareCall(pages.instance, "rename", { RECORD_A, "Night <i>shift</i>" });
    QVERIFY(!pages.isShown("recordName"));
    QCOMPARE(pages.texts("recordNameText"), QStringList({ "Second", "Night <i>shift</i>" }));

    // With the key, and back to the row for the next one.
    QCOMPARE(pages.focus(), "recordsList");
    pages.key(Qt::Key_F2);
    pages.type("Again");
    pages.key(Qt::Key_Return);
    compareCall(pages.instance, "rename", { RECORD_A, "Again" });
}

void RecordsTabTests::anEmptyOrUsedRecordNameIsRefusedWithAWord_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("error");
    QTest::newRow("nothing") << "" << "Cannot be empty";
    QTest::newRow("blanks") << "  " << "Cannot be empty";
    QTest::newRow("another's") << "Second" << "This name is already used";
    QTest::newRow("another's between blanks") << " Second " << "This name is already used";
}

void RecordsTabTests::anEmptyOrUsedRecordNameIsRefusedWithAWord()
{
    QFETCH(const QString, typed);
    QFETCH(const QString, error);
    Listed pages;
    pages.focusOn("recordsList");
    pages.key(Qt::Key_Down);
    pages.key(Qt::Key_F2);
    QVERIFY(!pages.isShown("nameError"));
    pages.key(Qt::Key_Delete);
    pages.type(typed);
    QCOMPARE(pages.text("nameError"), error);
    pages.key(Qt::Key_Return);
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
    QCOMPARE(pages.first->name(), "First");
}

void RecordsTabTests::aBlankBehindTheNameIsNoOtherName()
{
    Listed pages;
    pages.focusOn("recordsList");
    pages.key(Qt::Key_F2);
    const QString name = pages.property("recordName", "text").toString();
    pages.type(name + u' ');
    QCOMPARE(pages.property("recordName", "text").toString(), name + u' ');
    QVERIFY(!pages.isShown("nameError"));
    pages.key(Qt::Key_Return);
    QVERIFY(!pages.isShown("recordName"));
}

void RecordsTabTests::renamingIsGivenUpWithEscape()
{
    Listed pages;
    pages.focusOn("recordsList");
    pages.key(Qt::Key_F2);
    pages.type("Nothing of this");
    pages.key(Qt::Key_Escape);
    pages.key(Qt::Key_Escape);
    QVERIFY(!pages.isShown("recordName"));
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
    QCOMPARE(pages.texts("recordNameText"), QStringList({ "Second", "First" }));
    QCOMPARE(pages.focus(), "recordsList");
}

void RecordsTabTests::aRecordIsDownloadedIntoTheChosenFile()
{
    Listed pages;
    const FileFolder files;
    QCOMPARE(pages.hint("downloadButton"), "Download as a CSV file");
    {
        const DialogAnswer answer { QString() };
        pages.click("downloadButton", 1);
        QVERIFY(answer.wasAsked);
        QVERIFY(!pages.instance->isDownloadingRecord());
    }
    const DialogAnswer answer(files.path("first.csv"));
    pages.click("downloadButton", 1);
    QVERIFY(answer.wasAsked);
    compareCall(pages.instance, "export", { RECORD_A, 0, "", -1, true, false });
    QCOMPARE(pages.instance->exportRecord(), pages.first);
    pages.recorder.reply("receive_export", { RECORD_A, 0, "", "pump;1;output;speed;double;1" });
    QVERIFY(!pages.instance->isDownloadingRecord());
    QVERIFY(files.read("first.csv").contains("pump;1;output;speed;double;1"));
}

void RecordsTabTests::aRecordIsDeletedOnceThatIsAgreedTo()
{
    Listed pages;
    pages.click("deleteRecordButton", 1);
    QCOMPARE(pages.text("question"), "Do you want to delete record 'First' ?");
    QCOMPARE(pages.text("declineButton"), "Cancel");
    QCOMPARE(pages.text("acceptButton"), "DELETE");
    pages.click("declineButton");
    QVERIFY(!pages.isShown("question"));
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
    QCOMPARE(pages.texts("recordNameText"), QStringList({ "Second", "First" }));

    pages.focusOn("recordsList");
    pages.key(Qt::Key_End);
    pages.key(Qt::Key_Delete);
    QCOMPARE(pages.text("question"), "Do you want to delete record 'First' ?");
    pages.click("acceptButton");
    compareCall(pages.instance, "delete", { RECORD_A });
    QVERIFY(!pages.isShown("question"));
    QCOMPARE(pages.texts("recordNameText"), QStringList({ "Second" }));
}

void RecordsTabTests::theQuestionGoesWithItsRecord()
{
    Listed pages;
    pages.click("deleteRecordButton", 1);
    QVERIFY(pages.isShown("question"));
    pages.recorder.records(u'[' + recordJson(RECORD_B, "Second") + u']');
    QVERIFY(!pages.isShown("question"));
    QVERIFY(!QuenaryDouble::calledServices().contains("delete"));

    pages.click("deleteRecordButton", 0);
    QVERIFY(pages.isShown("question"));
    ModuleFixture::leave(pages.instance->agentInstanceUuid());
    QVERIFY(!pages.isShown("question"));
}

void RecordsTabTests::nothingIsOfferedWhileTheRecorderIsOff()
{
    Pages pages;
    RecorderInstance* const instance = pages.fixture.addRunningRecorder();
    ScriptedRecorder(instance).records(u'[' + recordJson(RECORD_A, "First") + u']');
    pages.open(instance, Pages::Records);
    for (const char* const button : { "downloadButton", "deleteRecordButton" }) {
        QVERIFY2(pages.isAvailable(button), button);
    }
    ModuleFixture::leave(instance->agentInstanceUuid());
    QCOMPARE(pages.items("recordNameText").size(), 0);
    QVERIFY(!pages.isAvailable("recordButton"));
    QVERIFY(!pages.isAvailable("importButton"));
}

void RecordsTabTests::aLoadThatFailedSaysWhy()
{
    Listed pages;
    QVERIFY(!pages.isShown("loadingError"));
    pages.pressRow(1);
    pages.recorder.reply("loading_failed", { RECORD_A, "every agent is <b>live</b>" });
    QCOMPARE(pages.text("loadingError"), "Loading error: every agent is <b>live</b>");
    QCOMPARE(pages.property("loadingError", "textFormat").toInt(), int(Qt::PlainText));
    pages.pressRow(0);
    QVERIFY(!pages.isShown("loadingError"));
}

void RecordsTabTests::hostileNamesAreNoMarkup()
{
    Listed pages;
    pages.recorder.records(u'[' + recordJson(RECORD_A, "<b>x</b>") + u']');
    QCOMPARE(pages.text("recordNameText"), "<b>x</b>");
    QCOMPARE(pages.property("recordNameText", "textFormat").toInt(), int(Qt::PlainText));
    pages.click("deleteRecordButton");
    QCOMPARE(pages.text("question"), "Do you want to delete record '<b>x</b>' ?");
    QCOMPARE(pages.property("question", "textFormat").toInt(), int(Qt::PlainText));
}

void RecordsTabTests::nothingIsDrawnWhileNothingHappens()
{
    Listed pages;
    pages.module.setcurrentRecorder(nullptr);
    Pages::settle();
    pages.open(pages.instance, Pages::Records);
    pages.window.grabWindow();
    // What opening did is drawn; something that moves would draw sixty times a second.
    int frames = 0;
    QObject::connect(&pages.window, &QQuickWindow::frameSwapped, &pages.window, [&frames] { ++frames; });
    QTest::qWait(400);
    QVERIFY2(frames <= 8, qPrintable(QString::number(frames)));
}

void RecordsTabTests::qmlDoesNotSearchEveryRecordForGarbage()
{
    // It searches the children of objects without a parent, if it has met them itself.
    const Listed pages;
    const QObject* root = pages.first;
    while (root->parent()) {
        root = root->parent();
    }
    QCOMPARE(root->metaObject(), &QObject::staticMetaObject);
    QVERIFY(!QQmlEngine::contextForObject(root));
}

static const RegisterPageTest<RecordsTabTests> recordsTabTests;

#include "tst_recordstab.moc"
