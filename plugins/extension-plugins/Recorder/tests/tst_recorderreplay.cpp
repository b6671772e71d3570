// SPDX-License-Identifier: Apache-2.0
#include "contexttranslator.h"
#include "dialoganswer.h"
#include "modulefixture.h"
#include "signallog.h"

#include "recordermoduledata.h"

#include <speed.h>

#include <QtCore/QJsonDocument>
#include <QtCore/QStandardPaths>
#include <QtCore/QTemporaryDir>
#include <QtTest/QSignalSpy>

namespace {

const QString FILE_PATH = QStringLiteral("/records/one.csv");

QStringList agentNames(const RecorderRecord* record)
{
    QStringList names;
    auto* const model = const_cast<RecorderRecord*>(record)->agentsFilters();
    for (int row = 0; row < model->count(); ++row) {
        names.append(model->get(row)->property("name").toString());
    }
    return names;
}

} // namespace

class tst_RecorderReplay : public QObject
{
    Q_OBJECT

public:
    static void initMain() { QApplication::setAttribute(Qt::AA_DontUseNativeDialogs); }

private Q_SLOTS:
    void aLoadedAnswerLoadsItsRecord();
    void aLoadedAnswerForAnUnknownRecordIsWarnedOf();
    void aLoadedAnswerForAFileCreatesOneRecord();
    void aFailedLoadTellsItsReason();
    void aContextThatNamesAKnownRecordMakesItCurrent();
    void aContextThatComesBeforeTheListIsAppliedOnceAfterIt();
    void theWaitingContextIsTheLastOne();
    void aContextThatNamesAnUnknownRecordIsWarnedOf();
    void aContextThatNamesAFileCreatesItsRecord();
    void aContextWithoutReplayButWithARecordSetsIsRecording();
    void progressMovesTheTimelineUnlessAMoveIsPending();
    void typedTimesAreCheckedAgainstTheDuration_data();
    void typedTimesAreCheckedAgainstTheDuration();
    void theEndOfAReplayGoesBackToItsStart();
    void answersWithoutACurrentRecordChangeNothing();
    void agentsListsThatAreNoArraysAreWarnedOf();
    void absurdDurationsDoNotBreakAFileRecord();
    void aFileRecordIsAsLongAsItsMilliseconds();
    void browsingOffersTheDocumentsFirst();
    void browsingStartsAtTheHintAndRemembersIt();
    void aCancelledBrowseChangesNothing();
    void aFileThatIsDroppedWhileOffIsOnlyChosen();
    void aUrlIsLoadedAndAnnounced();
};

void tst_RecorderReplay::aLoadedAnswerLoadsItsRecord()
{
    LoadedRecorder replay;
    QVERIFY(!replay.instance->isLoadingRecord());
    QVERIFY(replay.record->isLoaded());
    QCOMPARE(agentNames(replay.record), QStringList({ "a", "b", "c" }));
    QCOMPARE(replay.record->speed()->value(), 1.0);
}

void tst_RecorderReplay::aLoadedAnswerForAnUnknownRecordIsWarnedOf()
{
    LoadedRecorder replay;
    const QString unknown = "cccccccc-0000-4000-8000-000000000003";
    QTest::ignoreMessage(QtWarningMsg,
        qPrintable(
            "void RecorderInstance::recordLoaded(const QString &, const QDateTime &, double, const QString &) unknown "
            "record id \""
            + unknown + "\""));
    replay.recorder.loaded(unknown, 3.0, "[]");
    QCOMPARE(replay.instance->currentRecord(), replay.record);
    QCOMPARE(replay.instance->recordFromFile(), nullptr);
}

void tst_RecorderReplay::aLoadedAnswerForAFileCreatesOneRecord()
{
    LoadedRecorder replay;
    QSignalSpy path(replay.instance, &RecorderInstance::currentFilePathChanged);
    replay.recorder.loaded(FILE_PATH, 3.25, R"(["beta","Alpha"])");
    const QPointer<RecorderRecord> first = replay.instance->recordFromFile();
    QVERIFY(first);
    QCOMPARE(first->name(), FILE_PATH);
    QCOMPARE(first->uuid(), FILE_PATH);
    QCOMPARE(first->durationInSeconds(), 3.25);
    QCOMPARE(first->startDateTime().msecsTo(first->endDateTime()), 3250);
    QCOMPARE(agentNames(first), QStringList({ "Alpha", "beta" }));
    QCOMPARE(first->agentsFilterState(), Qt::Checked);
    QCOMPARE(first->speed()->value(), 1.0);
    QCOMPARE(replay.instance->currentRecord(), first);
    QCOMPARE(replay.instance->currentFilePath(), FILE_PATH);
    QCOMPARE(path.count(), 1);
    QCOMPARE(RecorderModuleData::instance().getFilePath(replay.instance->encounteredAgentInfo()->uuid()), FILE_PATH);
    QVERIFY(!replay.record->isLoaded());
    // It is no record of the list.
    QCOMPARE(replay.instance->records()->count(), 2);

    replay.recorder.loaded("/records/two.csv", 1.0, "[]");
    QVERIFY(first.isNull());
    QCOMPARE(replay.instance->recordFromFile()->name(), "/records/two.csv");
    QCOMPARE(replay.instance->currentRecord(), replay.instance->recordFromFile());
}

void tst_RecorderReplay::aFailedLoadTellsItsReason()
{
    LoadedRecorder replay;
    replay.instance->loadRecordFile(FILE_PATH);
    QVERIFY(replay.instance->isLoadingRecord());
    replay.recorder.reply("loading_failed", { FILE_PATH, "line 3: no number" });
    QCOMPARE(replay.instance->loadingFailReason(), "line 3: no number");
    QVERIFY(!replay.instance->isLoadingRecord());
}

void tst_RecorderReplay::aContextThatNamesAKnownRecordMakesItCurrent()
{
    LoadedRecorder replay;
    replay.context(RECORD_B, 1.5, 2.0, true, R"(["a","b"])", R"(["b"])");
    RecorderRecord* const record = replay.instance->currentRecord();
    QCOMPARE(record->uuid(), RECORD_B);
    QVERIFY(record->isLoaded());
    QVERIFY(replay.instance->isReplaying());
    QCOMPARE(record->replayProgressInSecond(), 1.5);
    QCOMPARE(record->speed()->value(), 2.0);
    QCOMPARE(record->getActiveAgentsFiltersAsStringList(), QStringList({ "b" }));
    QVERIFY(!replay.record->isLoaded());
}

void tst_RecorderReplay::aContextThatComesBeforeTheListIsAppliedOnceAfterIt()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.addRunningRecorder();
    ScriptedRecorder recorder(instance);
    recorder.reply(
        "context", { RECORD_A, "2026-11-21T10:00:00.000", 3.0, 1.5, 2.0, true, R"(["a","b"])", R"(["b"])", "" });
    QCOMPARE(instance->currentRecord(), nullptr);
    const QString list = "[" + recordJson(RECORD_A, "A") + "," + recordJson(RECORD_B, "B") + "]";
    recorder.records(list);
    QVERIFY(instance->currentRecord());
    QCOMPARE(instance->currentRecord()->uuid(), RECORD_A);
    QCOMPARE(instance->currentRecord()->replayProgressInSecond(), 1.5);
    QCOMPARE(instance->currentRecord()->getActiveAgentsFiltersAsStringList(), QStringList({ "b" }));

    // The next list does not bring it back.
    instance->setcurrentRecord(nullptr);
    recorder.records(list);
    QCOMPARE(instance->currentRecord(), nullptr);
}

void tst_RecorderReplay::theWaitingContextIsTheLastOne()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.addRunningRecorder();
    ScriptedRecorder recorder(instance);
    recorder.reply("context", { RECORD_A, "", 3.0, 1.5, 2.0, true, R"(["a"])", "", "" });
    recorder.reply("context", { RECORD_B, "", 3.0, 2.5, 3.0, false, R"(["c","b"])", R"(["c"])", RECORD_A });
    recorder.records("[" + recordJson(RECORD_A, "A") + "," + recordJson(RECORD_B, "B") + "]");
    const RecorderRecord* const record = instance->currentRecord();
    QVERIFY(record);
    QCOMPARE(record->uuid(), RECORD_B);
    QCOMPARE(record->replayProgressInSecond(), 2.5);
    QCOMPARE(record->speed()->value(), 3.0);
    QVERIFY(!record->isReplaying());
    QCOMPARE(agentNames(record), QStringList({ "b", "c" }));
    QCOMPARE(record->getActiveAgentsFiltersAsStringList(), QStringList({ "c" }));
    // What it says of a recording was of then.
    QVERIFY(!instance->isRecording());
}

void tst_RecorderReplay::aContextThatNamesAnUnknownRecordIsWarnedOf()
{
    LoadedRecorder replay;
    const QString unknown = "cccccccc-0000-4000-8000-000000000003";
    QTest::ignoreMessage(QtWarningMsg,
        qPrintable("void RecorderInstance::updateContext(const QString &, const QDateTime &, double, double, double, "
                   "bool, const QString &, const QString &, const QString &) unknown record id \""
            + unknown + "\""));
    replay.context(unknown, 1.5, 2.0, true, "[]", "[]", "recording");
    QCOMPARE(replay.instance->currentRecord(), replay.record);
    QVERIFY(!replay.instance->isRecording());
}

void tst_RecorderReplay::aContextThatNamesAFileCreatesItsRecord()
{
    LoadedRecorder replay;
    replay.context(FILE_PATH, 1.5, 1.5, true, R"(["a","b"])", "");
    RecorderRecord* const record = replay.instance->recordFromFile();
    QVERIFY(record);
    QCOMPARE(replay.instance->currentRecord(), record);
    QCOMPARE(record->durationInSeconds(), 4.5);
    QCOMPARE(record->replayProgressInSecond(), 1.5);
    QCOMPARE(record->speed()->value(), 1.5);
    QVERIFY(record->isReplaying());
    QCOMPARE(record->agentsFilterState(), Qt::Checked);
}

void tst_RecorderReplay::aContextWithoutReplayButWithARecordSetsIsRecording()
{
    LoadedRecorder replay;
    replay.context("", 0.0, 1.0, false, "", "", "");
    QVERIFY(!replay.instance->isRecording());
    replay.context("", 0.0, 1.0, false, "", "", RECORD_B);
    QVERIFY(replay.instance->isRecording());
    SignalLog log;
    log.follow(replay.instance);
    replay.context("", 0.0, 1.0, false, "", "", RECORD_B);
    QCOMPARE(log.take(), QStringList());
}

void tst_RecorderReplay::progressMovesTheTimelineUnlessAMoveIsPending()
{
    LoadedRecorder replay;
    const QString input = replay.instance->replayProgressInput();
    replay.recorder.progress(input, 1.0);
    QCOMPARE(replay.record->replayProgressInSecond(), 1.0);
    replay.instance->moveCurrentRecordTime(2.5);
    replay.recorder.progress(input, 1.1);
    QCOMPARE(replay.record->replayProgressInSecond(), 2.5);
    replay.recorder.reply("moved_to", { 2.4 });
    QCOMPARE(replay.record->replayProgressInSecond(), 2.4);
    QVERIFY(!replay.instance->isMovingRecord());
    replay.recorder.progress(input, 2.6);
    QCOMPARE(replay.record->replayProgressInSecond(), 2.6);
}

void tst_RecorderReplay::typedTimesAreCheckedAgainstTheDuration_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<double>("seconds");
    QTest::newRow("within") << "00:00:01.500" << 1.5;
    QTest::newRow("equal to the duration") << "00:00:03.000" << 3.0;
    QTest::newRow("beyond the duration") << "00:00:03.001" << -1.0;
    QTest::newRow("no time") << "soon" << -1.0;
    QTest::newRow("nothing") << "" << -2.0;
}

void tst_RecorderReplay::typedTimesAreCheckedAgainstTheDuration()
{
    QFETCH(QString, text);
    QFETCH(double, seconds);
    LoadedRecorder replay;
    if (seconds == -1.0) {
        QTest::ignoreMessage(
            QtWarningMsg, qPrintable("Recorder: Requested time ( \"" + text + "\" ) isn't part of the timeline"));
    }
    replay.instance->updateCurrentRecordTime(text);
    if (seconds < 0.0) {
        QCOMPARE(QuenaryDouble::calledServices(), QStringList());
    } else {
        QCOMPARE(QuenaryDouble::calledServices(), QStringList({ "move_to" }));
        QCOMPARE(lastServiceCall().arguments, QVariantList { seconds });
    }
}

void tst_RecorderReplay::theEndOfAReplayGoesBackToItsStart()
{
    LoadedRecorder replay;
    replay.instance->playRecord(replay.record);
    replay.recorder.progress(replay.instance->replayProgressInput(), 3.0);
    QuenaryDouble::clearCalls();
    replay.recorder.reply("replay_ended");
    QCOMPARE(QuenaryDouble::calledServices(), QStringList({ "pause", "move_to" }));
    replay.recorder.reply("paused");
    replay.recorder.reply("moved_to", { 0.0 });
    QVERIFY(replay.record->replayIsAtStart());
    QVERIFY(!replay.instance->isReplaying());
}

void tst_RecorderReplay::answersWithoutACurrentRecordChangeNothing()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.addRunningRecorder();
    SignalLog log;
    log.follow(instance);
    ScriptedRecorder recorder(instance);
    recorder.reply("paused");
    recorder.reply("moved_to", { 0.0 });
    recorder.progress(instance->replayProgressInput(), 1.0);
    instance->updateCurrentRecordTime("1");
    QCOMPARE(log.take(), QStringList());
    QVERIFY(!instance->isReplaying());
}

void tst_RecorderReplay::agentsListsThatAreNoArraysAreWarnedOf()
{
    LoadedRecorder replay;
    QTest::ignoreMessage(QtWarningMsg, "Invalid JSON: JSON must define an array of agents");
    replay.recorder.loaded(RECORD_A, 3.0, "{}");
    QCOMPARE(agentNames(replay.record), QStringList());
    QJsonParseError error;
    QJsonDocument::fromJson("[", &error);
    QTest::ignoreMessage(QtWarningMsg,
        qPrintable("An error occured while parsing the agents list json : \"" + error.errorString() + "\""));
    replay.recorder.loaded(RECORD_A, 3.0, "[");
    QCOMPARE(agentNames(replay.record), QStringList());
    replay.recorder.loaded(RECORD_A, 3.0, "");
    QCOMPARE(agentNames(replay.record), QStringList());
    QCOMPARE(replay.record->agentsFilterRecap(), "No agent on record");
}

void tst_RecorderReplay::absurdDurationsDoNotBreakAFileRecord()
{
    LoadedRecorder replay;
    for (const double duration : { std::nan(""), 1e300, -1e300, HUGE_VAL }) {
        replay.recorder.loaded(FILE_PATH, duration, "[]");
        QVERIFY(replay.instance->recordFromFile());
    }
}

void tst_RecorderReplay::aFileRecordIsAsLongAsItsMilliseconds()
{
    LoadedRecorder replay;
    // As a double, 1.005 is a little less: no millisecond may get lost on the way to whole units.
    replay.recorder.loaded(FILE_PATH, 1.005, "[]");
    const RecorderRecord* const file = replay.instance->recordFromFile();
    QVERIFY(file);
    QCOMPARE(file->startDateTime().msecsTo(file->endDateTime()), 1005);
    QCOMPARE(file->durationInSeconds(), 1.005);

    QuenaryDouble::clearCalls();
    replay.instance->updateCurrentRecordTime("00:00:01.005");
    QCOMPARE(QuenaryDouble::calledServices(), QStringList({ "move_to" }));
    QCOMPARE(lastServiceCall().arguments, QVariantList { 1.005 });
}

void tst_RecorderReplay::browsingOffersTheDocumentsFirst()
{
    const QString documents = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
    const bool hadDocuments = QDir(documents).exists();
    QVERIFY(QDir().mkpath(documents));
    const auto cleanUp = qScopeGuard([&] {
        if (!hadDocuments) {
            QDir().rmdir(documents);
        }
    });
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.firstInstanceOf(fixture.addRecorder("Rec"));
    DialogAnswer answer { QString() };
    instance->browseFileToLoad("/no/such/folder");
    QVERIFY(answer.wasAsked);
    QCOMPARE(answer.title, "Load CSV record file");
    QCOMPARE(answer.nameFilters, QStringList({ "CSV Record (*.csv)" }));
    QCOMPARE(answer.folder, documents);
    QCOMPARE(answer.parentWidget, nullptr);
    QCOMPARE(instance->filePathHint(), "");
    if (!hadDocuments) {
        // Without such a folder its name is none to propose.
        QVERIFY(QDir().rmdir(documents));
        const DialogAnswer atHome { QString() };
        instance->browseFileToLoad(QString());
        QVERIFY(atHome.wasAsked);
        QCOMPARE(atHome.folder, QDir::homePath());
        QCOMPARE(atHome.selectedFiles, QStringList());
    }
}

void tst_RecorderReplay::browsingStartsAtTheHintAndRemembersIt()
{
    QTemporaryDir folder;
    QFile file(folder.filePath("one.csv"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.close();
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.firstInstanceOf(fixture.addRecorder("Rec"));
    QSignalSpy hints(instance, &RecorderInstance::filePathHintChanged);
    QSignalSpy paths(instance, &RecorderInstance::currentFilePathChanged);
    QSignalSpy selected(instance, &RecorderInstance::filePathSelectedForLoad);
    {
        const DialogAnswer answer(file.fileName());
        instance->browseFileToLoad(file.fileName());
        QCOMPARE(answer.folder, folder.path());
    }
    QCOMPARE(instance->filePathHint(), folder.path());
    QCOMPARE(instance->currentFilePath(), file.fileName());
    QCOMPARE(RecorderModuleData::instance().getFilePath(instance->encounteredAgentInfo()->uuid()), file.fileName());
    QCOMPARE(selected.count(), 1);
    QCOMPARE(selected.first().first().toString(), file.fileName());
    {
        const DialogAnswer answer(file.fileName());
        instance->browseFileToLoad(QString());
        QCOMPARE(answer.folder, folder.path());
    }
    QCOMPARE(hints.count(), 1);
    QCOMPARE(paths.count(), 1);
    QCOMPARE(selected.count(), 2);
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
}

void tst_RecorderReplay::aCancelledBrowseChangesNothing()
{
    QTemporaryDir folder;
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.firstInstanceOf(fixture.addRecorder("Rec"));
    QSignalSpy selected(instance, &RecorderInstance::filePathSelectedForLoad);
    const ContextTranslator translator("RecorderInstance");
    const DialogAnswer answer { QString() };
    instance->browseFileToLoad(folder.path());
    QVERIFY(answer.wasAsked);
    QCOMPARE(answer.title, "translated Load CSV record file");
    QCOMPARE(answer.nameFilters, QStringList({ "translated CSV Record (*.csv)" }));
    // But where to begin the next time.
    QCOMPARE(answer.folder, folder.path());
    QCOMPARE(instance->filePathHint(), folder.path());
    QCOMPARE(instance->currentFilePath(), "");
    QCOMPARE(selected.count(), 0);
}

void tst_RecorderReplay::aFileThatIsDroppedWhileOffIsOnlyChosen()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.firstInstanceOf(fixture.addRecorder("Rec"));
    QSignalSpy selected(instance, &RecorderInstance::filePathSelectedForLoad);
    instance->recordCsvFileDropped(QUrl("http://example.org/one.csv"));
    QCOMPARE(selected.count(), 0);
    instance->recordCsvFileDropped(QUrl::fromLocalFile(FILE_PATH));
    QCOMPARE(instance->currentFilePath(), FILE_PATH);
    QCOMPARE(selected.count(), 1);
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
}

void tst_RecorderReplay::aUrlIsLoadedAndAnnounced()
{
    LoadedRecorder replay;
    QSignalSpy selected(replay.instance, &RecorderInstance::filePathSelectedForLoad);
    replay.instance->loadRecordUrl(QUrl("http://example.org/one.csv"));
    QCOMPARE(selected.count(), 0);
    replay.instance->loadRecordUrl(QUrl::fromLocalFile(FILE_PATH));
    QCOMPARE(selected.count(), 1);
    QCOMPARE(lastServiceCall().service, "load_file");
    QCOMPARE(lastServiceCall().arguments, QVariantList({ FILE_PATH }));
}

QTEST_MAIN(tst_RecorderReplay)
#include "tst_recorderreplay.moc"
