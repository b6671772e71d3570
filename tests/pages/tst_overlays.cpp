// SPDX-License-Identifier: Apache-2.0
#include "busypages.h"
#include "pagetest.h"

/// What covers the pages while something goes on.
class OverlaysTests : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aLoadShowsItsProgress();
    void anExportShowsItsProgressAndCanBeCanceled();
    void anImportShowsItsProgressAndCanBeCanceled();
    void loadingComesBeforeExportingAndExportingBeforeImporting();
    void theCancelButtonEndsTheExportBeforeTheImport();
    void filteringStoppingMovingAndCancelingAreNamedInThisOrder();
    void duringAnExportWhoseCancelWasRequestedTheBusyOverlayShowsCanceling();
    void anotherEnterAfterACancelCancelsNothingMore();
    void theOverlayInFrontHasTheKeyboard();
    void anOverlayTakesTheMouseAndTheKeys();
    void theOverlayOfOneRecorderDoesNotCoverAnother();
    void aRecorderThatStaysSilentOffersAWayOut();
    void aCancelThatNothingEndsCanBeLeftBehind();
    void whatALostRecorderLeftOpenCloses();
    void aQuestionIsAskedInTheMiddle_data();
    void aQuestionIsAskedInTheMiddle();
    void aQuestionAboutNothingNamesNothing();
};

namespace {

const QStringList NONE;

QStringList progress(const char* text) { return { "progressFeedback", text }; }
QStringList busy(const char* text) { return { "busyFeedback", text }; }

} // namespace

void OverlaysTests::aLoadShowsItsProgress()
{
    BusyPages pages;
    QCOMPARE(pages.overlay(), NONE);
    pages.load();
    QCOMPARE(pages.overlay(), progress("Loading record, please wait..."));
    QCOMPARE(pages.property("progressBar", "value").toInt(), 0);
    QVERIFY(!pages.isShown("cancelButton"));
    pages.recorder.reply("loading", { 40.0 });
    QCOMPARE(pages.property("progressBar", "value").toInt(), pages.instance->loadingProgress());
    QVERIFY(pages.instance->loadingProgress() > 0);
    pages.loaded();
    QCOMPARE(pages.overlay(), NONE);
    // It covers everything there is.
    pages.instance->unloadRecord(pages.record);
    pages.load();
    const QQuickItem* const root = pages.item("recordAndReplay");
    QCOMPARE(pages.item("progressFeedback")->size(), root->size());
    QCOMPARE(root->size(), QSizeF(Pages::USUAL_SIZE));
}

void OverlaysTests::anExportShowsItsProgressAndCanBeCanceled()
{
    BusyPages pages;
    pages.exportRecord();
    QCOMPARE(pages.overlay(), progress("Downloading record, please wait..."));
    QCOMPARE(pages.text("cancelButton"), "CANCEL");
    pages.recorder.reply("receive_export", { RECORD_A, 1, RECORD_B, "pump;150000000;output;speed;double;1" });
    QCOMPARE(pages.property("progressBar", "value").toInt(), pages.instance->exportingProgress());
    pages.click("cancelButton");
    QVERIFY(pages.instance->isCancelingExport());
    QVERIFY(!pages.instance->isCancelingImport());
}

void OverlaysTests::anImportShowsItsProgressAndCanBeCanceled()
{
    BusyPages pages;
    pages.import();
    QCOMPARE(pages.overlay(), progress("Importing record, please wait..."));
    QCOMPARE(pages.property("progressBar", "value").toInt(), pages.instance->importingProgress());
    QVERIFY(pages.isShown("cancelButton"));
    pages.click("cancelButton");
    QVERIFY(pages.instance->isCancelingImport());
    QVERIFY(!pages.instance->isCancelingExport());
    QCOMPARE(pages.overlay(), busy("Canceling..."));
    pages.recorder.replyWithToken("record_uuid", { RECORD_B }, pages.instance->uuid() + "##import");
    pages.recorder.records("[]");
    QCOMPARE(pages.overlay(), NONE);
}

void OverlaysTests::loadingComesBeforeExportingAndExportingBeforeImporting()
{
    BusyPages pages;
    pages.import();
    QCOMPARE(pages.overlay(), progress("Importing record, please wait..."));
    pages.exportRecord();
    QCOMPARE(pages.overlay(), progress("Downloading record, please wait..."));
    QCOMPARE(pages.property("progressBar", "value").toInt(), 0);
    pages.load();
    QCOMPARE(pages.overlay(), progress("Loading record, please wait..."));
    pages.recorder.reply("loading", { 40.0 });
    QCOMPARE(pages.property("progressBar", "value").toInt(), pages.instance->loadingProgress());
    // What may be canceled may be canceled though a load is in front.
    QVERIFY(pages.isShown("cancelButton"));
    pages.loaded();
    QCOMPARE(pages.overlay(), progress("Downloading record, please wait..."));
    pages.recorder.reply("receive_export", { RECORD_A, 0, "", "pump;1;output;speed;double;1" });
    QCOMPARE(pages.overlay(), progress("Importing record, please wait..."));
}

void OverlaysTests::theCancelButtonEndsTheExportBeforeTheImport()
{
    BusyPages pages;
    pages.import();
    pages.exportRecord();
    pages.click("cancelButton");
    QVERIFY(pages.instance->isCancelingExport());
    QVERIFY(!pages.instance->isCancelingImport());
    // The import goes on, and so does what is shown of it; the cancel is named as well, over it.
    QVERIFY(pages.isShown("busyFeedback"));
    QCOMPARE(pages.text("progressFeedback/feedbackText"), "Importing record, please wait...");
}

void OverlaysTests::filteringStoppingMovingAndCancelingAreNamedInThisOrder()
{
    BusyPages pages;
    pages.load();
    pages.loaded();
    pages.import();
    pages.instance->stopImport();
    Pages::settle();
    QCOMPARE(pages.overlay(), busy("Canceling..."));
    pages.instance->moveCurrentRecordTime(0);
    Pages::settle();
    QCOMPARE(pages.overlay(), busy("Moving replay to desired time, please wait..."));
    QTest::ignoreMessage(QtWarningMsg, "Can not pause record \"First\" because it is not playing");
    pages.instance->stopRecord(pages.record);
    Pages::settle();
    QVERIFY(pages.instance->isMovingRecord());
    QCOMPARE(pages.overlay(), busy("Stopping replay, please wait..."));
    qobject_cast<RecordAgentFilter*>(pages.record->agentsFilters()->get(0))->setchecked(false);
    pages.instance->updateRecordAgentsFilter(pages.record);
    Pages::settle();
    QCOMPARE(pages.overlay(), busy("Filtering record, please wait..."));

    pages.recorder.reply("filter_applied");
    QCOMPARE(pages.overlay(), busy("Stopping replay, please wait..."));
    pages.recorder.reply("moved_to", { 0.0 });
    QCOMPARE(pages.overlay(), busy("Canceling..."));
}

void OverlaysTests::duringAnExportWhoseCancelWasRequestedTheBusyOverlayShowsCanceling()
{
    BusyPages pages;
    pages.exportRecord();
    QCOMPARE(pages.overlay(), progress("Downloading record, please wait..."));
    pages.click("cancelButton");
    QCOMPARE(pages.overlay(), busy("Canceling..."));
    QVERIFY(pages.instance->isDownloadingRecord());
    // The next chunk ends it.
    pages.recorder.reply("receive_export", { RECORD_A, 1, RECORD_B, "pump;1;output;speed;double;1" });
    QVERIFY(!pages.instance->isDownloadingRecord());
    QVERIFY(!pages.instance->isCancelingExport());
    QCOMPARE(pages.overlay(), NONE);
}

void OverlaysTests::anotherEnterAfterACancelCancelsNothingMore()
{
    BusyPages pages;
    pages.focusOn("recordsList");
    pages.exportRecord();
    QCOMPARE(pages.focus(), "progressFeedback");
    pages.focusOn("cancelButton");
    pages.key(Qt::Key_Return);
    QVERIFY(pages.instance->isCancelingExport());
    QCOMPARE(pages.focus(), "busyFeedback");
    pages.key(Qt::Key_Return);
    QVERIFY(!pages.instance->isCancelingImport());
    pages.recorder.reply("receive_export", { RECORD_A, 1, RECORD_B, "pump;1;output;speed;double;1" });
    QCOMPARE(pages.overlay(), NONE);
    QCOMPARE(pages.focus(), "recordsList");

    // A press that comes when nothing is under way any more.
    pages.load();
    QMetaObject::invokeMethod(pages.item("progressFeedback"), "cancelRequested");
    QVERIFY(!pages.instance->isCancelingImport());
    QVERIFY(!pages.instance->isCancelingExport());
}

void OverlaysTests::theOverlayInFrontHasTheKeyboard()
{
    BusyPages pages;
    pages.import();
    pages.exportRecord();
    pages.focusOn("cancelButton");
    pages.key(Qt::Key_Return);
    QCOMPARE(pages.overlay(), progress("Importing record, please wait...") + busy("Canceling..."));
    QCOMPARE(pages.focus(), "busyFeedback");
    pages.recorder.reply("receive_export", { RECORD_A, 1, RECORD_B, "pump;1;output;speed;double;1" });
    QCOMPARE(pages.overlay(), progress("Importing record, please wait..."));
    QVERIFY(pages.item("progressFeedback")->hasActiveFocus());
}

void OverlaysTests::anOverlayTakesTheMouseAndTheKeys()
{
    BusyPages pages;
    const QPoint button = pages.middle("recordButton");
    const QPoint row = pages.middle("recordNameText", 1);
    const QPoint back = pages.middle("backButton");
    pages.load();
    QuenaryDouble::clearCalls();
    for (const QPoint place : { button, row, back }) {
        QTest::mouseClick(&pages.window, Qt::LeftButton, {}, place);
        QTest::mouseDClick(&pages.window, Qt::LeftButton, {}, place);
        QTest::mouseClick(&pages.window, Qt::RightButton, {}, place);
    }
    for (const Qt::Key key : { Qt::Key_F5, Qt::Key_Space, Qt::Key_Delete, Qt::Key_F2, Qt::Key_Return, Qt::Key_Escape }) {
        pages.key(key);
    }
    pages.key(Qt::Key_Left, Qt::AltModifier);
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
    QCOMPARE(pages.module.currentRecorder(), pages.instance);
    QVERIFY(!pages.isShown("question"));
    QVERIFY(!pages.isShown("recordName"));
    QVERIFY(!pages.item("pages")->isEnabled());
}

void OverlaysTests::theOverlayOfOneRecorderDoesNotCoverAnother()
{
    BusyPages pages;
    RecorderInstance* const other = pages.fixture.addRunningRecorder("Other");
    pages.load();
    QCOMPARE(pages.overlay().size(), 2);
    pages.open(other, Pages::Records);
    QCOMPARE(pages.overlay(), NONE);
    pages.module.setcurrentRecorder(nullptr);
    Pages::settle();
    QCOMPARE(pages.overlay(), NONE);
    pages.open(pages.instance, Pages::Records);
    QCOMPARE(pages.overlay().size(), 2);
}

void OverlaysTests::aRecorderThatStaysSilentOffersAWayOut()
{
    BusyPages pages;
    pages.load();
    QVERIFY(!pages.isShown("leaveButton"));
    pages.setPatience(200, 3600000);
    QTRY_VERIFY(pages.isShown("leaveButton"));
    QCOMPARE(pages.text("wayOutText"),
        "The recorder has not answered for a while. You can leave this page while it goes on, or disconnect it.");
    QVERIFY(!pages.isShown("continueButton"));
    // A word from the recorder takes it away.
    pages.recorder.reply("loading", { 40.0 });
    QVERIFY(!pages.isShown("leaveButton"));
    QTRY_VERIFY(pages.isShown("leaveButton"));
    pages.click("disconnectButton");
    QCOMPARE(QuenaryDouble::stopRequests(), QStringList(pages.instance->agentInstanceUuid()));
    pages.click("leaveButton");
    QVERIFY(!pages.module.currentRecorder());
    QCOMPARE(pages.overlay(), NONE);
    QVERIFY(pages.isShown("recordersPage"));
}

void OverlaysTests::aCancelThatNothingEndsCanBeLeftBehind()
{
    BusyPages pages;
    pages.exportRecord();
    pages.click("cancelButton");
    pages.recorder.reply("receive_export", { RECORD_A, 0, "", "pump;1;output;speed;double;1" });
    QVERIFY(!pages.instance->isDownloadingRecord());
    QVERIFY(pages.instance->isCancelingExport());
    QCOMPARE(pages.overlay(), busy("Canceling..."));
    pages.setPatience(1, 3600000);
    QTRY_VERIFY(pages.isShown("continueButton"));
    pages.click("continueButton");
    QCOMPARE(pages.overlay(), NONE);
    QVERIFY(pages.instance->isCancelingExport());
    // Another thing under way is shown all the same.
    pages.load();
    QCOMPARE(pages.overlay(), progress("Loading record, please wait..."));
}

void OverlaysTests::whatALostRecorderLeftOpenCloses()
{
    BusyPages pages;
    pages.load();
    pages.loaded();
    pages.instance->moveCurrentRecordTime(20);
    Pages::settle();
    QCOMPARE(pages.overlay().size(), 2);
    ModuleFixture::leave(pages.instance->agentInstanceUuid());
    QCOMPARE(pages.overlay(), NONE);
    QVERIFY(pages.item("pages")->isEnabled());
}

void OverlaysTests::aQuestionIsAskedInTheMiddle_data()
{
    QTest::addColumn<QSize>("window");
    QTest::addColumn<int>("width");
    QTest::newRow("much room") << QSize(1048, 744) << 600;
    QTest::newRow("just as much") << QSize(680, 600) << 600;
    QTest::newRow("little room") << QSize(560, 600) << 480;
}

void OverlaysTests::aQuestionIsAskedInTheMiddle()
{
    QFETCH(const QSize, window);
    QFETCH(const int, width);
    Pages pages(Pages::Network::Joined, window);
    pages.fixture.addRecorder("Plant");
    Pages::settle();
    pages.focusOn("recorderInstance");
    pages.key(Qt::Key_Delete);
    QVERIFY(pages.isShown("question"));
    const QQuickItem* popup = pages.item("question");
    while (!popup->inherits("QQuickPopupItem")) {
        popup = popup->parentItem();
    }
    QCOMPARE(popup->width(), width);
    const QPointF middle = popup->mapToScene(QPointF(popup->width() / 2, popup->height() / 2));
    const QQuickItem* const root = pages.item("recordAndReplay");
    QVERIFY((middle - QPointF(root->width() / 2, root->height() / 2)).manhattanLength() <= 2);
}

void OverlaysTests::aQuestionAboutNothingNamesNothing()
{
    const Pages pages;
    const auto text = [&pages](const char* popup) { return pages.window.rootObject()->findChild<QObject*>(popup)->property("text"); };
    QCOMPARE(text("confirmRecordDeletion"), "Do you want to delete record ?");
    QCOMPARE(text("confirmRecorderDeletion"), "Do you want to delete recorder ?");
}

static const RegisterPageTest<OverlaysTests> overlaysTests;

#include "tst_overlays.moc"
