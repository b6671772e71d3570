// SPDX-License-Identifier: Apache-2.0
#include "filesfixture.h"
#include "pages.h"
#include "pagetest.h"

/// The upper half of a recorder's page: its name and connection, its recording, its tabs.
class ConfigurationPageTests : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aNewNameIsTakenWhenTypingEnds();
    void anEmptyOrUsedNameIsRefusedWithAWord_data();
    void anEmptyOrUsedNameIsRefusedWithAWord();
    void theNameCanNotBeChangedWhileTheAgentRuns();
    void aNameThatIsTypedWhenTheAgentStartsIsSaidToBeNone();
    void thePageSaysWhereTheRecorderIsAndWhatItDoes();
    void theConnectButtonAsksTheAgentToStopAndSaysWhenItRefuses();
    void deletingTheRecorderAsksFirstAndReturnsToTheList();
    void theRecordButtonStartsAndStopsARecording();
    void aRecordingIsPausedAndResumed();
    void theRunningTimeFollowsTheRecording();
    void importIsOfferedToARunningRecorderOnly();
    void theImportButtonIsHiddenWhileRecordingAndInOfflineMode();
    void theImportButtonAsksForAFileAndImportsIt();
    void theTabsAreNamedAndCountTheRecords();
    void aRunningRecorderOpensWithItsRecordsAnotherWithItsSettings();
};

void ConfigurationPageTests::aNewNameIsTakenWhenTypingEnds()
{
    Pages pages;
    RecorderInstance* const instance = pages.fixture.firstInstanceOf(pages.fixture.addRecorder("Plant"));
    pages.open(instance, Pages::Configuration);
    QCOMPARE(pages.text("recorderName"), "Plant");
    QCOMPARE(pages.property("recorderName", "placeholderText").toString(), "Recorder name");
    pages.fill("recorderName", "Line 2", false);
    QCOMPARE(instance->name(), "Plant");
    pages.key(Qt::Key_Return);
    QCOMPARE(instance->name(), "Line 2");
    QVERIFY2(instance->encounteredAgentInfo()->commandLine().contains("Line 2"), qPrintable(instance->encounteredAgentInfo()->commandLine()));
    QCOMPARE(pages.text("recorderName"), "Line 2");

    // Leaving the field ends typing, Escape gives up what was typed.
    pages.fill("recorderName", "Line 3", false);
    pages.key(Qt::Key_Tab);
    QCOMPARE(instance->name(), "Line 3");
    pages.fill("recorderName", "Line 4", false);
    pages.key(Qt::Key_Escape);
    QCOMPARE(instance->name(), "Line 3");
    QCOMPARE(pages.text("recorderName"), "Line 3");
}

void ConfigurationPageTests::anEmptyOrUsedNameIsRefusedWithAWord_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("error");
    QTest::newRow("nothing") << "" << "Cannot be empty";
    QTest::newRow("blanks") << "   " << "Cannot be empty";
    QTest::newRow("another's") << "Other" << "This name is already used";
}

void ConfigurationPageTests::anEmptyOrUsedNameIsRefusedWithAWord()
{
    QFETCH(const QString, typed);
    QFETCH(const QString, error);
    Pages pages;
    pages.fixture.addRecorder("Other");
    RecorderInstance* const instance = pages.fixture.firstInstanceOf(pages.fixture.addRecorder("Plant"));
    pages.open(instance, Pages::Configuration);
    QVERIFY(!pages.isShown("nameError"));
    pages.fill("recorderName", typed, false);
    QCOMPARE(pages.text("nameError"), error);
    pages.key(Qt::Key_Return);
    QCOMPARE(instance->name(), "Plant");
    QCOMPARE(pages.text("recorderName"), "Plant");
    QVERIFY(!pages.isShown("nameError"));
}

void ConfigurationPageTests::theNameCanNotBeChangedWhileTheAgentRuns()
{
    Pages pages;
    RecorderInstance* const instance = pages.fixture.addRunningRecorder("Plant");
    pages.open(instance, Pages::Configuration);
    QVERIFY(!pages.isAvailable("recorderName"));
    QCOMPARE(pages.hint("recorderName"), "The name cannot be changed while the recorder's agent runs");
    ModuleFixture::leave(instance->agentInstanceUuid());
    QVERIFY(pages.isAvailable("recorderName"));
}

void ConfigurationPageTests::aNameThatIsTypedWhenTheAgentStartsIsSaidToBeNone()
{
    Pages pages;
    RecorderInstance* const instance = pages.fixture.firstInstanceOf(pages.fixture.addRecorder("Plant"));
    pages.open(instance, Pages::Configuration);
    pages.fill("recorderName", "Line <b>2</b>", false);
    ModuleFixture::run(instance);
    QCOMPARE(instance->name(), "Plant");
    QCOMPARE(pages.text("recorderName"), "Plant");
    QCOMPARE(pages.text("recorderProblem"), QStringLiteral("The agent runs, so that the name did not become “Line <b>2</b>”"));
    QVERIFY(!pages.isShown("heldBack"));
    ModuleFixture::leave(instance->agentInstanceUuid());
    QCOMPARE(pages.text("recorderProblem"), "");
    pages.fill("recorderName", "Line 2");
    QCOMPARE(instance->name(), "Line 2");
}

void ConfigurationPageTests::thePageSaysWhereTheRecorderIsAndWhatItDoes()
{
    Pages pages;
    RecorderInstance* const instance = pages.fixture.firstInstanceOf(pages.fixture.addRecorder("Plant"));
    pages.open(instance, Pages::Configuration);
    QCOMPARE(pages.text("recorderPlace"), QStringLiteral("this machine · db:9042"));
    QCOMPARE(pages.property("recorderState", "word").toString(), "Off");
    ModuleFixture::run(instance);
    QCOMPARE(pages.property("recorderState", "word").toString(), "Ready");
    ScriptedRecorder recorder(instance);
    recorder.progress(instance->recordProgressInput(), 1);
    QCOMPARE(pages.property("recorderState", "word").toString(), "Recording");

    RecorderInstance* const offline = pages.fixture.firstInstanceOf(
        pages.fixture.addRecorder("Bare", ModuleFixture::commandLine({ "--name", "Bare" })));
    pages.open(offline, Pages::Configuration);
    QCOMPARE(pages.text("recorderPlace"), QStringLiteral("this machine · CSV files"));
}

void ConfigurationPageTests::theConnectButtonAsksTheAgentToStopAndSaysWhenItRefuses()
{
    Pages pages;
    RecorderInstance* const instance = pages.fixture.addRunningRecorder();
    pages.open(instance, Pages::Configuration);
    QCOMPARE(pages.text("connectButton"), "Disconnect");
    pages.click("connectButton");
    QCOMPARE(QuenaryDouble::stopRequests(), QStringList(instance->agentInstanceUuid()));
    QCOMPARE(pages.text("connectButton"), "Disconnecting…");
    QCOMPARE(pages.text("recorderProblem"), "");

    QTest::ignoreMessage(QtWarningMsg, "It is <b>busy</b>");
    emit instance->instance()->turnOffFailed(instance->runningAgentInfo(), "It is <b>busy</b>");
    Pages::settle();
    QCOMPARE(pages.text("connectButton"), "Disconnect");
    QCOMPARE(pages.text("recorderProblem"), "It is <b>busy</b>");
    QCOMPARE(pages.property("recorderProblem", "textFormat").toInt(), int(Qt::PlainText));
}

void ConfigurationPageTests::deletingTheRecorderAsksFirstAndReturnsToTheList()
{
    Pages pages;
    RecorderInstance* const instance = pages.fixture.firstInstanceOf(pages.fixture.addRecorder("Plant"));
    pages.open(instance, Pages::Configuration);
    pages.click("deleteRecorderButton");
    QCOMPARE(pages.text("question"), "Do you want to delete recorder 'Plant' ?");
    pages.key(Qt::Key_Escape);
    QVERIFY(!pages.isShown("question"));
    QCOMPARE(pages.module.currentRecorder(), instance);

    pages.click("deleteRecorderButton");
    pages.click("acceptButton");
    QVERIFY(pages.isShown("recordersPage"));
    QCOMPARE(pages.module.recorders()->count(), 0);

    RecorderInstance* const running = pages.fixture.addRunningRecorder();
    pages.open(running, Pages::Configuration);
    QVERIFY(!pages.isAvailable("deleteRecorderButton"));
}

void ConfigurationPageTests::theRecordButtonStartsAndStopsARecording()
{
    Pages pages;
    RecorderInstance* const instance = pages.fixture.firstInstanceOf(pages.fixture.addRecorder("Plant"));
    pages.open(instance, Pages::Configuration);
    QCOMPARE(pages.text("recordButton"), "Record");
    QVERIFY(!pages.isAvailable("recordButton"));
    QCOMPARE(pages.hint("recordButton"), "Connect the recorder to record");
    QVERIFY(!pages.isShown("pauseRecordingButton"));

    ModuleFixture::run(instance);
    QuenaryDouble::clearCalls();
    ScriptedRecorder recorder(instance);
    pages.click("recordButton");
    QCOMPARE(QuenaryDouble::calledServices(), QStringList("record"));
    QCOMPARE(lastServiceCall().arguments.size(), 3);
    QCOMPARE(lastServiceCall().token, instance->uuid() + "##record");
    QuenaryDouble::clearCalls();
    // It shows what the recorder says, not what was clicked.
    QCOMPARE(pages.text("recordButton"), "Record");
    recorder.replyWithToken("record_uuid", { RECORD_A }, instance->uuid() + "##record");
    QCOMPARE(pages.text("recordButton"), "Stop");
    QVERIFY(pages.isShown("pauseRecordingButton"));
    QuenaryDouble::clearCalls();

    pages.click("recordButton");
    compareCall(instance, "stop_recording", {});
    QCOMPARE(pages.text("recordButton"), "Record");
    QVERIFY(!pages.isShown("pauseRecordingButton"));
}

void ConfigurationPageTests::aRecordingIsPausedAndResumed()
{
    Pages pages;
    RecorderInstance* const instance = pages.fixture.addRunningRecorder();
    ScriptedRecorder recorder(instance);
    pages.open(instance, Pages::Records);
    recorder.progress(instance->recordProgressInput(), 1);
    QuenaryDouble::clearCalls();
    QCOMPARE(pages.text("pauseRecordingButton"), "Pause");
    QVERIFY(!pages.isShown("pausedLabel"));
    pages.click("pauseRecordingButton");
    compareCall(instance, "pause_record", {}, QLatin1StringView(""));

    // A recording is paused when its time stands still.
    QTRY_VERIFY([&] {
        recorder.progress(instance->recordProgressInput(), 1);
        return instance->isRecordingPaused();
    }());
    QCOMPARE(pages.text("pauseRecordingButton"), "Resume");
    QCOMPARE(pages.text("pausedLabel"), "paused");
    QCOMPARE(pages.property("recorderState", "word").toString(), "paused");
    pages.click("pauseRecordingButton");
    compareCall(instance, "resume_record", {}, QLatin1StringView(""));
    recorder.progress(instance->recordProgressInput(), 2);
    QCOMPARE(pages.text("pauseRecordingButton"), "Pause");
    QVERIFY(!pages.isShown("pausedLabel"));
}

void ConfigurationPageTests::theRunningTimeFollowsTheRecording()
{
    Pages pages;
    RecorderInstance* const instance = pages.fixture.addRunningRecorder();
    ScriptedRecorder recorder(instance);
    pages.open(instance, Pages::Records);
    QCOMPARE(pages.text("recordingTime"), "00 : 00 : 00");
    recorder.progress(instance->recordProgressInput(), 767.2);
    QCOMPARE(pages.text("recordingTime"), "00 : 12 : 47");
    recorder.progress(instance->recordProgressInput(), 90061);
    QCOMPARE(pages.text("recordingTime"), "25 : 01 : 01");
    recorder.reply("recording_stopped");
    QCOMPARE(pages.text("recordingTime"), "00 : 00 : 00");
}

void ConfigurationPageTests::importIsOfferedToARunningRecorderOnly()
{
    Pages pages;
    RecorderInstance* const instance = pages.fixture.firstInstanceOf(pages.fixture.addRecorder("Plant"));
    pages.open(instance, Pages::Configuration);
    QCOMPARE(pages.text("importButton"), "Import");
    QVERIFY(!pages.isAvailable("importButton"));
    QCOMPARE(pages.hint("importButton"), "Connect the recorder to import a file");
    ModuleFixture::run(instance);
    QVERIFY(pages.isAvailable("importButton"));
}

void ConfigurationPageTests::theImportButtonIsHiddenWhileRecordingAndInOfflineMode()
{
    Pages pages;
    RecorderInstance* const instance = pages.fixture.addRunningRecorder();
    ScriptedRecorder recorder(instance);
    pages.open(instance, Pages::Records);
    QVERIFY(pages.isShown("importButton"));
    recorder.progress(instance->recordProgressInput(), 1);
    QVERIFY(!pages.isShown("importButton"));
    recorder.reply("recording_stopped");
    QVERIFY(pages.isShown("importButton"));

    RecorderInstance* const offline = pages.fixture.firstInstanceOf(
        pages.fixture.addRecorder("Bare", ModuleFixture::commandLine({ "--name", "Bare" })));
    pages.open(offline, Pages::Configuration);
    QVERIFY(offline->offlineMode());
    QVERIFY(!pages.isShown("importButton"));
    ModuleFixture::run(offline);
    QVERIFY(!pages.isShown("importButton"));
}

void ConfigurationPageTests::theImportButtonAsksForAFileAndImportsIt()
{
    Pages pages;
    const FileFolder files;
    files.write("plant.csv", FileFolder::rows(3));
    RecorderInstance* const instance = pages.fixture.addRunningRecorder();
    pages.open(instance, Pages::Records);
    {
        QTest::ignoreMessage(QtWarningMsg, "Path is empty");
        const DialogAnswer answer { QString() };
        pages.click("importButton");
        QVERIFY(answer.wasAsked);
        QCOMPARE(answer.title, "Import record");
        QVERIFY(!instance->isImportingRecord());
    }
    const DialogAnswer answer(files.path("plant.csv"));
    pages.click("importButton");
    QVERIFY(answer.wasAsked);
    QTRY_COMPARE(QuenaryDouble::calledServices(), QStringList("import"));
    QVERIFY(instance->isImportingRecord());
}

void ConfigurationPageTests::theTabsAreNamedAndCountTheRecords()
{
    Pages pages;
    RecorderInstance* const instance = pages.fixture.addRunningRecorder();
    ScriptedRecorder recorder(instance);
    pages.open(instance, Pages::Records);
    const auto names = [&pages] {
        QStringList found;
        for (int i = 0; i < pages.property("recorderTabs", "count").toInt(); ++i) {
            QQuickItem* tab = nullptr;
            QMetaObject::invokeMethod(pages.item("recorderTabs"), "itemAt", Q_RETURN_ARG(QQuickItem*, tab), Q_ARG(int, i));
            found.append(tab->property("text").toString());
        }
        return found;
    };
    QCOMPARE(names(), QStringList({ "CONFIG", "RECORDS (0)", "CSV FILE" }));
    recorder.records(u'[' + recordJson(RECORD_A, "First") + u',' + recordJson(RECORD_B, "Second") + u']');
    QCOMPARE(names(), QStringList({ "CONFIG", "RECORDS (2)", "CSV FILE" }));

    QVERIFY(pages.isShown("recordsTab"));
    for (const auto& [tab, shown] : { std::pair { Pages::Configuration, "configurationTab" }, { Pages::Records, "recordsTab" }, { Pages::File, "fileTab" } }) {
        pages.showTab(tab);
        for (const char* const name : { "configurationTab", "recordsTab", "fileTab" }) {
            QCOMPARE(pages.isShown(name), QLatin1StringView(name) == QLatin1StringView(shown));
        }
    }
}

void ConfigurationPageTests::aRunningRecorderOpensWithItsRecordsAnotherWithItsSettings()
{
    Pages pages;
    RecorderInstance* const off = pages.fixture.firstInstanceOf(pages.fixture.addRecorder("Off"));
    RecorderInstance* const on = pages.fixture.addRunningRecorder("On");
    pages.module.setcurrentRecorder(off);
    Pages::settle();
    QVERIFY(pages.isShown("configurationTab"));
    pages.module.setcurrentRecorder(on);
    Pages::settle();
    QVERIFY(pages.isShown("recordsTab"));
}

static const RegisterPageTest<ConfigurationPageTests> configurationPageTests;

#include "tst_configurationpage.moc"
