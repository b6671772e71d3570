// SPDX-License-Identifier: Apache-2.0
#include "busypages.h"
#include "pagetest.h"

/// Every way in which a recorder can fail to answer: the person is told what happened, and can always go on.
class WaysOutTests : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void anImportThatTheRecorderRefusesIsToldAndCanBeLeft();
    void anImportOfAFileThatIsGoneEndsAndIsTold();
    void anImportThatCanNotBeReadFurtherEndsAndIsTold();
    void aCancelOnTheLastChunkOfAnImportEndsWithTheListOfRecords();
    void aCancelOfAnImportThatNothingEndsCanBeLeftBehind();
    void aDownloadThatTheRecorderEndsIsTold();
    void aDownloadThatCanNotBeWrittenIsTold();
    void aFrozenRecorderCanBeLeftAndDisconnected_data();
    void aFrozenRecorderCanBeLeftAndDisconnected();
    void whatGoesOnForLongCanBeLeft();
    void aFrozenRecorderThatDoesNotStopIsTold();
    void aRecorderThatIsGoneIsToldAndLeavesThePageFree_data();
    void aRecorderThatIsGoneIsToldAndLeavesThePageFree();
    void aRecorderThatLeavesAtRestIsNoNews();
    void aLoadingFailureStaysOnTheTabWhereTheLoadWasAskedFor();
    void aProgramThatIsMissingIsToldAtOnce();
    void aStartThatNobodySeesIsTold();
};

namespace {

void acknowledge(BusyPages& pages, const QString& recordUuid)
{
    pages.recorder.replyWithToken("record_uuid", { recordUuid }, pages.instance->uuid() + "##import");
}

/// Begins one of the things for whose end a recorder is needed.
void begin(BusyPages& pages, const QString& what)
{
    if (what == QStringLiteral("loading")) {
        pages.load();
    } else if (what == QStringLiteral("downloading")) {
        pages.exportRecord();
    } else if (what == QStringLiteral("importing")) {
        pages.import();
    } else if (what == QStringLiteral("canceling")) {
        pages.exportRecord();
        pages.instance->stopExport();
    } else if (what == QStringLiteral("recording")) {
        pages.recorder.progress(pages.instance->recordProgressInput(), 1);
    } else {
        pages.load();
        pages.loaded();
        if (what == QStringLiteral("filtering")) {
            pages.record->agentsFilters()->get(0)->setProperty("checked", false);
            pages.instance->beforeUpdateRecordAgentsFilter(pages.record);
        } else if (what == QStringLiteral("moving")) {
            pages.instance->moveCurrentRecordTime(20);
        } else if (what == QStringLiteral("stopping")) {
            pages.instance->playRecord(pages.record);
            pages.instance->stopRecord(pages.record);
        }
    }
    Pages::settle();
}

} // namespace

void WaysOutTests::anImportThatTheRecorderRefusesIsToldAndCanBeLeft()
{
    BusyPages pages;
    const Told told;
    pages.import();
    QTest::ignoreMessage(QtWarningMsg, "Something went wrong in the recorder when importing, check his logs");
    acknowledge(pages, "");
    QCOMPARE(told.texts(), QStringList("The recorder 'Recorder' refused a part of what was imported: its log says why."));
    // Until the recorder says more the import goes on: it can be canceled, and then left.
    QCOMPARE(pages.overlay().value(1), "Importing record, please wait...");
    pages.setPatience(1, 3600000);
    pages.click("cancelButton");
    QCOMPARE(pages.overlay().value(1), "Canceling...");
    QTRY_VERIFY(pages.isShown("leaveButton"));
    QVERIFY(pages.isShown("disconnectButton"));
    pages.click("leaveButton");
    QVERIFY(pages.isShown("recordersPage"));
    QCOMPARE(pages.overlay(), QStringList());

    // Its second answer ends the import, and with the list of records the cancel.
    pages.open(pages.instance, Pages::Records);
    acknowledge(pages, RECORD_B);
    pages.recorder.records("[]");
    QCOMPARE(pages.overlay(), QStringList());
    QVERIFY(pages.item("pages")->isEnabled());
}

void WaysOutTests::anImportOfAFileThatIsGoneEndsAndIsTold()
{
    BusyPages pages;
    const Told told;
    const QString path = pages.files.path("gone.csv");
    QTest::ignoreMessage(QtWarningMsg, qPrintable("File \"" + path + "\" doesn't exists or cannot be opened"));
    pages.files.import(pages.instance, "gone.csv");
    QTRY_VERIFY(!pages.instance->isImportingRecord());
    QCOMPARE(told.texts(), QStringList("The file \"" + path + "\" does not exist or can not be opened: the import ends here."));
    QCOMPARE(pages.overlay(), QStringList());
}

void WaysOutTests::anImportThatCanNotBeReadFurtherEndsAndIsTold()
{
    BusyPages pages;
    const Told told;
    pages.files.write("zero.csv", QByteArray("a;1;\0\n", 6));
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("^File .+ has a line at byte 0 .+ Nothing is imported\\.$"));
    pages.files.import(pages.instance, "zero.csv");
    QTRY_VERIFY(!pages.instance->isImportingRecord());
    QCOMPARE(told.texts(), QStringList("File \"" + pages.files.path("zero.csv")
        + "\" has a line at byte 0 that is no text in UTF-8: save it as such and import it again. Nothing is imported."));
}

void WaysOutTests::aCancelOnTheLastChunkOfAnImportEndsWithTheListOfRecords()
{
    BusyPages pages;
    pages.files.write("short.csv", FileFolder::rows(3));
    pages.files.import(pages.instance, "short.csv");
    QTRY_VERIFY(QuenaryDouble::calledServices().contains("import"));
    Pages::settle();
    pages.click("cancelButton");
    QCOMPARE(pages.overlay().value(1), "Canceling...");
    acknowledge(pages, RECORD_B);
    QVERIFY(!pages.instance->isImportingRecord());
    QCOMPARE(pages.overlay().value(1), "Canceling...");
    pages.recorder.records("[]");
    QCOMPARE(pages.overlay(), QStringList());
}

void WaysOutTests::aCancelOfAnImportThatNothingEndsCanBeLeftBehind()
{
    BusyPages pages;
    pages.import();
    pages.click("cancelButton");
    acknowledge(pages, RECORD_B);
    QVERIFY(pages.instance->isCancelingImport() && !pages.instance->isImportingRecord());
    pages.setPatience(1, 3600000);
    QTRY_VERIFY(pages.isShown("continueButton"));
    QCOMPARE(pages.text("wayOutText"), "Nothing is under way any more.");
    pages.click("continueButton");
    QCOMPARE(pages.overlay(), QStringList());
    QVERIFY(pages.item("pages")->isEnabled());
}

void WaysOutTests::aDownloadThatTheRecorderEndsIsTold()
{
    BusyPages pages;
    pages.exportRecord();
    const Told told;
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("recordUuid is empty, closing file"));
    pages.recorder.reply("receive_export", { "", 0, "", "" });
    QCOMPARE(told.texts(), QStringList("The recorder 'Recorder' ended the download of a record: the file holds what came before."));
    QCOMPARE(pages.overlay(), QStringList());

    // The same again, when nothing is downloaded, ends nothing.
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("recordUuid is empty, closing file"));
    pages.recorder.reply("receive_export", { "", 0, "", "" });
    QCOMPARE(told.texts().size(), 1);
}

void WaysOutTests::aDownloadThatCanNotBeWrittenIsTold()
{
    BusyPages pages;
    const Told told;
    const QString path = pages.files.path("no such folder/out.csv");
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("failed to open file"));
    const DialogAnswer answer(path);
    pages.instance->downloadRecord(pages.record);
    QVERIFY(answer.wasAsked);
    QCOMPARE(told.texts(), QStringList("The file \"" + path + "\" can not be written: choose another place for the download."));
    QCOMPARE(pages.overlay(), QStringList());
}

void WaysOutTests::aFrozenRecorderCanBeLeftAndDisconnected_data()
{
    QTest::addColumn<QString>("what");
    for (const char* const what : { "loading", "downloading", "importing", "canceling", "filtering", "moving", "stopping" }) {
        QTest::newRow(what) << QString(what);
    }
}

void WaysOutTests::aFrozenRecorderCanBeLeftAndDisconnected()
{
    QFETCH(const QString, what);
    BusyPages pages;
    pages.setPatience(1, 3600000);
    begin(pages, what);
    QCOMPARE(pages.overlay().size(), 2);
    QTRY_VERIFY(pages.isShown("leaveButton"));
    QCOMPARE(pages.text("wayOutText"),
        "The recorder has not answered for a while. You can leave this page while it goes on, or disconnect it.");
    QVERIFY(pages.isAvailable("disconnectButton"));
    // With the keyboard alone.
    QStringList places;
    for (int i = 0; i < 4; ++i) {
        pages.key(Qt::Key_Tab);
        places.append(pages.focus());
    }
    QVERIFY2(places.contains("leaveButton") && places.contains("disconnectButton"), qPrintable(places.join(u' ')));
    pages.click("leaveButton");
    QVERIFY(pages.isShown("recordersPage"));
    pages.click("connectButton");
    QCOMPARE(QuenaryDouble::stopRequests(), QStringList(pages.instance->agentInstanceUuid()));
}

void WaysOutTests::whatGoesOnForLongCanBeLeft()
{
    BusyPages pages;
    pages.setPatience(3600000, 50);
    pages.load();
    QTRY_VERIFY(pages.isShown("leaveButton"));
    QCOMPARE(pages.text("wayOutText"), "This takes long. You can leave this page while it goes on, or disconnect the recorder.");
    pages.recorder.reply("loading", { 40.0 });
    QVERIFY(pages.isShown("leaveButton"));
    pages.loaded();
    QCOMPARE(pages.overlay(), QStringList());
}

void WaysOutTests::aFrozenRecorderThatDoesNotStopIsTold()
{
    BusyPages pages;
    pages.setPatience(1, 3600000);
    pages.load();
    QTRY_VERIFY(pages.isShown("disconnectButton"));
    pages.item("disconnectButton")->setProperty("patience", 50);
    pages.click("disconnectButton");
    QCOMPARE(pages.text("disconnectButton"), "Disconnecting…");
    QTRY_VERIFY(pages.isShown("wayOutProblem"));
    QVERIFY2(pages.text("wayOutProblem").startsWith("It was asked to stop but goes on running. Go back to the list"),
        qPrintable(pages.text("wayOutProblem")));
    // The same in the list, where the other recorders are.
    pages.click("leaveButton");
    pages.item("connectButton")->setProperty("patience", 50);
    pages.click("connectButton");
    QTRY_COMPARE(pages.text("recorderProgress"), "It was asked to stop but goes on running");
    // The network notices in the end.
    ModuleFixture::leave(pages.instance->agentInstanceUuid());
    QCOMPARE(pages.text("recorderProgress"), "");
    QCOMPARE(pages.text("connectButton"), "Connect");
}

void WaysOutTests::aRecorderThatIsGoneIsToldAndLeavesThePageFree_data()
{
    QTest::addColumn<QString>("what");
    QTest::addColumn<QString>("text");
    QTest::newRow("loading") << "loading" << "The recorder 'Recorder' left while it loaded a record.";
    QTest::newRow("downloading") << "downloading" << "The recorder 'Recorder' left during a download: the file holds what came before.";
    QTest::newRow("importing") << "importing" << "The recorder 'Recorder' left during an import: its record holds what was sent before.";
    QTest::newRow("recording") << "recording" << "The recorder 'Recorder' left during a recording: nothing is recorded any more.";
}

void WaysOutTests::aRecorderThatIsGoneIsToldAndLeavesThePageFree()
{
    QFETCH(const QString, what);
    QFETCH(const QString, text);
    BusyPages pages;
    begin(pages, what);
    const Told told;
    ModuleFixture::leave(pages.instance->agentInstanceUuid());
    QCOMPARE(told.texts(), QStringList(text));
    QCOMPARE(pages.overlay(), QStringList());
    QVERIFY(pages.item("pages")->isEnabled());
    QCOMPARE(pages.property("recorderState", "word").toString(), "Off");
    QVERIFY(pages.isAvailable("connectButton"));
}

void WaysOutTests::aRecorderThatLeavesAtRestIsNoNews()
{
    BusyPages pages;
    const Told told;
    ModuleFixture::leave(pages.instance->agentInstanceUuid());
    QCOMPARE(told.texts(), QStringList());
}

void WaysOutTests::aLoadingFailureStaysOnTheTabWhereTheLoadWasAskedFor()
{
    BusyPages pages;
    pages.load();
    pages.recorder.reply("loading_failed", { RECORD_A, "an agent of it is live" });
    QCOMPARE(pages.text("recordsTab/loadingError"), "Loading error: an agent of it is live");
    // Also when its record goes.
    pages.instance->deleteRecord(pages.record);
    Pages::settle();
    QVERIFY(pages.isShown("recordsTab/loadingError"));
    pages.showTab(Pages::File);
    QVERIFY(!pages.isShown("loadingError"));

    pages.instance->loadRecordFile("/data/plant.csv");
    pages.recorder.reply("loading_failed", { "/data/plant.csv", "line 17 is no row" });
    QCOMPARE(pages.text("fileTab/loadingError"), "Loading error: line 17 is no row");
    pages.showTab(Pages::Records);
    QVERIFY(!pages.isShown("loadingError"));
}

void WaysOutTests::aProgramThatIsMissingIsToldAtOnce()
{
    Pages pages;
    const QString program = QStringLiteral("/no/such/qnyRecorder");
    RecorderInstance* const instance = pages.fixture.firstInstanceOf(pages.fixture.addRecorder("Plant", program + " --name Plant"));
    pages.open(instance, Pages::Configuration);
    const Told told;
    const QString text = "The recorder's program \"" + program + "\" was not found.";
    QTest::ignoreMessage(QtCriticalMsg, qPrintable('"' + program + "\" not found."));
    pages.click("connectButton");
    QCOMPARE(told.texts(), QStringList(text));
    QCOMPARE(pages.text("recorderProblem"), text);
    // It can be tried again.
    QCOMPARE(pages.text("connectButton"), "Connect");
    QVERIFY(pages.isAvailable("connectButton"));
}

void WaysOutTests::aStartThatNobodySeesIsTold()
{
    Pages pages;
    RecorderInstance* const instance = pages.fixture.firstInstanceOf(pages.fixture.addRecorder("Plant"));
    pages.open(instance, Pages::Configuration);
    pages.item("connectButton")->setProperty("patience", 50);
    pages.click("connectButton"); // starts a program that ends at once
    QTRY_COMPARE(pages.text("recorderProblem"), "It was started but did not appear on the network");
    QCOMPARE(pages.text("connectButton"), "Connect");
}

static const RegisterPageTest<WaysOutTests> waysOutTests;

#include "tst_waysout.moc"
