// SPDX-License-Identifier: Apache-2.0
#include "modulefixture.h"
#include "privatemember.h"
#include "signallog.h"

#include "recordermoduledata.h"

#include <QtCore/QJsonDocument>
#include <QtTest/QSignalSpy>

static QTimer RecorderInstance::* recordingTimer = nullptr;
template struct OpenMember<recordingTimer, &RecorderInstance::_recordingTimer>;

class tst_RecorderControl : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void repeatedProgressPausesAndNewProgressResumes();
    void repeatedZeroWhileIdleIsNoPause();
    void everyProgressValueStartsTheWaitForSilenceAnew();
    void silenceEndsTheRecordingAndAsksForTheRecords();
    void aStoppedRecordingAsksForTheRecordsTwice();
    void theConfirmationOfARecordingNeedsNoProgress();
    void theRecordsListIsReadInItsOrder();
    void theSameListTwiceChangesNothing();
    void aListInAnotherOrderNamesTheSameRecords();
    void aRecordListedTwiceIsOneRecord();
    void aChangedRecordIsUpdatedInPlace();
    void aRecordThatIsListedNoMoreIsUnloadedAndDeleted();
    void theRecordsBeforeALoadedOneLeaveBeforeItIsUnloaded();
    void manyRecordsThatAreListedNoMoreAreDeleted();
    void anOpenEndIsAnInvalidDate();
    void elementsWithoutUuidAndStrangersAreSkipped();
    void anEmptyListEmptiesTheRecordsWithoutAWarning();
    void aListThatIsNoArrayIsWarnedOfAndEmptiesTheRecords();
    void aListThatIsNoJsonIsWarnedOfAndEmptiesTheRecords();
    void aRecordsAnswerEndsTheCancelOfAnImport();
    void aWaitingReplayIsAppliedAfterABadListToo();
    void recordNamesAreComparedExactly();
    void filtersAreKeptInTheDocument();
    void withoutAClassInstanceNothingIsKeptInTheDocument();
    void theCurrentRecordForwardsWhetherItPlays();
};

void tst_RecorderControl::repeatedProgressPausesAndNewProgressResumes()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.addRunningRecorder();
    QSignalSpy progress(instance, &RecorderInstance::recordingProgressInSecondsChanged);
    instance->setrecordingProgressInSeconds(1.0);
    instance->setrecordingProgressInSeconds(2.0);
    QVERIFY(instance->isRecording());
    QVERIFY(!instance->isRecordingPaused());
    instance->setrecordingProgressInSeconds(2.0);
    QVERIFY(instance->isRecording());
    QVERIFY(instance->isRecordingPaused());
    QCOMPARE(progress.count(), 2);
    instance->setrecordingProgressInSeconds(3.0);
    QVERIFY(instance->isRecording());
    QVERIFY(!instance->isRecordingPaused());
}

void tst_RecorderControl::repeatedZeroWhileIdleIsNoPause()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.addRunningRecorder();
    SignalLog log;
    log.follow(instance);
    instance->setrecordingProgressInSeconds(0.0);
    instance->setrecordingProgressInSeconds(0.0);
    QCOMPARE(log.take(), QStringList());
    QVERIFY(!instance->isRecording());
    QVERIFY(!instance->isRecordingPaused());
}

void tst_RecorderControl::everyProgressValueStartsTheWaitForSilenceAnew()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.addRunningRecorder();
    QTimer& timer = instance->*recordingTimer;
    QCOMPARE(timer.interval(), 500);
    QCOMPARE(timer.timerType(), Qt::PreciseTimer);
    QVERIFY(timer.isSingleShot());
    QVERIFY(!timer.isActive());
    // A new value, a repeated one, and the zero of a recorder that is idle.
    for (const double progress : { 1.0, 1.0, 0.0, 0.0 }) {
        timer.stop();
        instance->setrecordingProgressInSeconds(progress);
        QVERIFY(timer.isActive());
    }
}

void tst_RecorderControl::silenceEndsTheRecordingAndAsksForTheRecords()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.addRunningRecorder();
    instance->setrecordingProgressInSeconds(1.0);
    instance->setrecordingProgressInSeconds(1.0);
    QElapsedTimer timer;
    timer.start();
    QTRY_VERIFY(!instance->isRecording());
    QCOMPARE_GE(timer.elapsed(), 400);
    QVERIFY(!instance->isRecordingPaused());
    compareCall(instance, "get_records", { QString("") });
}

void tst_RecorderControl::aStoppedRecordingAsksForTheRecordsTwice()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.addRunningRecorder();
    instance->setrecordingProgressInSeconds(2.0);
    ScriptedRecorder(instance).reply("recording_stopped");
    QCOMPARE(QuenaryDouble::calledServices(), QStringList({ "get_records" }));
    QCOMPARE(lastServiceCall().arguments, QVariantList({ QString("") }));
    QVERIFY(!instance->isRecording());
    QVERIFY(!instance->isRecordingPaused());
    QCOMPARE(instance->recordingProgressInSeconds(), 0.0);
    QTRY_COMPARE(QuenaryDouble::calledServices(), QStringList({ "get_records", "get_records" }));
}

void tst_RecorderControl::theConfirmationOfARecordingNeedsNoProgress()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.addRunningRecorder();
    SignalLog log;
    log.follow(instance);
    ScriptedRecorder recorder(instance);
    for (int i = 0; i < 2; ++i) {
        recorder.replyWithToken("record_uuid", { RECORD_A }, instance->uuid() + "##record");
        QCOMPARE(log.take(), i == 0 ? QStringList({ "isRecordingChanged" }) : QStringList());
    }
    QVERIFY(!(instance->*recordingTimer).isActive());
    QCOMPARE(instance->recordingProgressInSeconds(), 0.0);
}

void tst_RecorderControl::theRecordsListIsReadInItsOrder()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.addRunningRecorder();
    QSignalSpy inserted(instance->records(), &QAbstractItemModel::rowsInserted);
    ScriptedRecorder(instance).records(
        "[" + recordJson(RECORD_B, "B", 90500000, " 2026-01-02 03:04:05.678 ") + "," + recordJson(RECORD_A, "A") + "]");
    QCOMPARE(instance->records()->count(), 2);
    QCOMPARE(inserted.count(), 1);
    const auto* const record = qobject_cast<RecorderRecord*>(instance->records()->get(0));
    QCOMPARE(record->uuid(), RECORD_B);
    QCOMPARE(record->name(), "B");
    QCOMPARE(record->durationInSeconds(), 90.5);
    QCOMPARE(record->startDateTime(), QDateTime(QDate(2026, 1, 2), QTime(3, 4, 5, 678)));
    QCOMPARE(record->endDateTime(), QDateTime(QDate(2026, 11, 21), QTime(10, 0, 3)));
}

void tst_RecorderControl::theSameListTwiceChangesNothing()
{
    LoadedRecorder setup;
    const QString list
        = "[" + recordJson(RECORD_A, "First") + "," + recordJson(RECORD_B, "B", 1, "2026-11-21 10:00:00.000", "") + "]";
    setup.recorder.records(list);
    SignalLog log;
    log.follow(setup.instance);
    log.follow(setup.record);
    log.follow(setup.other);
    log.follow(setup.instance->records());
    setup.recorder.records(list);
    QCOMPARE(log.take(), QStringList());
    QCOMPARE(setup.instance->records()->get(0), setup.record);
}

void tst_RecorderControl::aListInAnotherOrderNamesTheSameRecords()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.addRunningRecorder();
    ScriptedRecorder recorder(instance);
    const auto list = [](const QStringList& names) {
        QStringList elements;
        for (const QString& name : names) {
            elements.append(recordJson("uuid of " + name, name));
        }
        return '[' + elements.join(',') + ']';
    };
    const auto shown = [instance] {
        QStringList names;
        for (int row = 0; row < instance->records()->count(); ++row) {
            names.append(qobject_cast<RecorderRecord*>(instance->records()->get(row))->name());
        }
        return names;
    };
    recorder.records(list({ "a", "b", "c", "d" }));
    QObject* const first = instance->records()->get(0);
    QSignalSpy data(instance->records(), &QAbstractItemModel::dataChanged);
    QSignalSpy removed(instance->records(), &QAbstractItemModel::rowsRemoved);
    recorder.records(list({ "d", "new", "b", "c", "a" }));
    QCOMPARE(shown(), QStringList({ "a", "b", "c", "d", "new" }));
    QCOMPARE(instance->records()->get(0), first);
    QCOMPARE(removed.count(), 0);
    recorder.records(list({ "b", "new", "a" }));
    QCOMPARE(shown(), QStringList({ "a", "b", "new" }));
    QCOMPARE(data.count(), 0);
}

void tst_RecorderControl::aRecordListedTwiceIsOneRecord()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.addRunningRecorder();
    ScriptedRecorder recorder(instance);
    for (const char* const name : { "B", "C" }) {
        recorder.records("[" + recordJson(RECORD_A, "A") + "," + recordJson(RECORD_A, name) + "]");
        QCOMPARE(instance->records()->count(), 1);
        QCOMPARE(qobject_cast<RecorderRecord*>(instance->records()->get(0))->name(), name);
    }
}

void tst_RecorderControl::aChangedRecordIsUpdatedInPlace()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.addRunningRecorder();
    ScriptedRecorder recorder(instance);
    recorder.records("[" + recordJson(RECORD_A, "A") + "]");
    auto* const record = qobject_cast<RecorderRecord*>(instance->records()->get(0));
    instance->loadRecord(record);
    recorder.loaded(RECORD_A, 3.0, R"(["a"])");
    const QDateTime start = record->startDateTime();
    recorder.records(
        "[" + recordJson(RECORD_A, "New name", 5000000, "2020-01-01 00:00:00.000", "2026-11-21 10:00:05.000") + "]");
    QCOMPARE(instance->records()->get(0), record);
    QCOMPARE(record->name(), "New name");
    QCOMPARE(record->durationInSeconds(), 5.0);
    QCOMPARE(record->endDateTime(), QDateTime(QDate(2026, 11, 21), QTime(10, 0, 5)));
    QCOMPARE(record->startDateTime(), start);
    QVERIFY(record->isLoaded());
    QCOMPARE(instance->currentRecord(), record);
}

void tst_RecorderControl::aRecordThatIsListedNoMoreIsUnloadedAndDeleted()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.addRunningRecorder();
    ScriptedRecorder recorder(instance);
    recorder.records("[" + recordJson(RECORD_A, "A") + "," + recordJson(RECORD_B, "B") + "]");
    const QPointer<RecorderRecord> record = qobject_cast<RecorderRecord*>(instance->records()->get(0));
    instance->loadRecord(record);
    recorder.loaded(RECORD_A, 3.0, R"(["a"])");
    QSignalSpy unloaded(record, &RecorderRecord::isLoadedChanged);
    QuenaryDouble::clearCalls();
    recorder.records("[" + recordJson(RECORD_B, "B") + "]");
    QCOMPARE(unloaded.count(), 1);
    QCOMPARE(instance->currentRecord(), nullptr);
    QCOMPARE(instance->records()->count(), 1);
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
    QVERIFY(record.isNull());
}

void tst_RecorderControl::theRecordsBeforeALoadedOneLeaveBeforeItIsUnloaded()
{
    QStringList heard;
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.addRunningRecorder();
    ScriptedRecorder recorder(instance);
    recorder.records("[" + recordJson("first", "first") + "," + recordJson(RECORD_A, "loaded") + ","
        + recordJson("last", "last") + "," + recordJson("staying", "staying") + "]");
    auto* const record = qobject_cast<RecorderRecord*>(instance->records()->get(1));
    instance->loadRecord(record);
    recorder.loaded(RECORD_A, 3.0, R"(["a"])");
    connect(
        instance->records(), &QAbstractItemModel::rowsRemoved, this, [&heard](const QModelIndex&, int first, int last) {
            heard.append(QStringLiteral("removed %1 to %2").arg(first).arg(last));
        });
    connect(record, &RecorderRecord::isLoadedChanged, this, [&heard] { heard.append("unloaded"); });
    connect(instance, &RecorderInstance::currentRecordChanged, this, [&heard] { heard.append("no current record"); });
    recorder.records("[" + recordJson("staying", "staying") + "]");
    QCOMPARE(
        heard, QStringList({ "removed 0 to 0", "unloaded", "no current record", "removed 0 to 0", "removed 0 to 0" }));
}

void tst_RecorderControl::manyRecordsThatAreListedNoMoreAreDeleted()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.addRunningRecorder();
    ScriptedRecorder recorder(instance);
    QStringList all;
    QStringList half;
    const qsizetype childrenBefore = instance->children().size();
    for (int i = 0; i < 1000; ++i) {
        const QString record = recordJson(QStringLiteral("record %1").arg(i), QString::number(i));
        all.append(record);
        if (i % 2 == 1) {
            half.append(record);
        }
    }
    recorder.records('[' + all.join(',') + ']');
    const QPointer<QObject> leaving = instance->records()->get(0);
    recorder.records('[' + half.join(',') + ']');
    QCOMPARE(instance->records()->count(), 500);
    QCOMPARE(qobject_cast<RecorderRecord*>(instance->records()->get(499))->name(), "999");
    QVERIFY(!leaving);
    QCOMPARE(instance->findChildren<RecorderRecord*>().size(), 500);
    recorder.records("[]");
    QCOMPARE(instance->children().size(), childrenBefore);
}

void tst_RecorderControl::anOpenEndIsAnInvalidDate()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.addRunningRecorder();
    ScriptedRecorder(instance).records("[" + recordJson(RECORD_A, "A", 0, "no date", "") + "]");
    const auto* const record = qobject_cast<RecorderRecord*>(instance->records()->get(0));
    QVERIFY(record);
    QVERIFY(!record->endDateTime().isValid());
    QVERIFY(!record->startDateTime().isValid());
}

void tst_RecorderControl::elementsWithoutUuidAndStrangersAreSkipped()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.addRunningRecorder();
    ScriptedRecorder(instance).records(R"([1, "x", null, [], {}, {"uuid":""}, {"name":"nameless"},)"
        + recordJson(RECORD_A, "A") + R"(, {"uuid":"bare","unknown":1}])");
    QCOMPARE(instance->records()->count(), 2);
    const auto* const bare = qobject_cast<RecorderRecord*>(instance->records()->get(1));
    QCOMPARE(bare->uuid(), "bare");
    QCOMPARE(bare->durationInSeconds(), 0.0);
    QCOMPARE(bare->name(), "");
}

void tst_RecorderControl::anEmptyListEmptiesTheRecordsWithoutAWarning()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.addRunningRecorder();
    ScriptedRecorder recorder(instance);
    for (const char* const list : { "[]", "" }) {
        recorder.records("[" + recordJson(RECORD_A, "A") + "]");
        QCOMPARE(instance->records()->count(), 1);
        recorder.records(list);
        QCOMPARE(instance->records()->count(), 0);
    }
}

void tst_RecorderControl::aListThatIsNoArrayIsWarnedOfAndEmptiesTheRecords()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.addRunningRecorder();
    ScriptedRecorder recorder(instance);
    recorder.records("[" + recordJson(RECORD_A, "A") + "]");
    instance->loadRecord(qobject_cast<RecorderRecord*>(instance->records()->get(0)));
    QTest::ignoreMessage(QtWarningMsg, "Invalid JSON: JSON must define an array of records");
    recorder.records("{}");
    QCOMPARE(instance->records()->count(), 0);
    QCOMPARE(instance->currentRecord(), nullptr);
}

void tst_RecorderControl::aListThatIsNoJsonIsWarnedOfAndEmptiesTheRecords()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.addRunningRecorder();
    ScriptedRecorder recorder(instance);
    recorder.records("[" + recordJson(RECORD_A, "A") + "]");
    instance->stopImport();
    QJsonParseError error;
    QJsonDocument::fromJson("[{", &error);
    QTest::ignoreMessage(QtWarningMsg,
        qPrintable("An error occured while parsing the records list json : \"" + error.errorString() + "\""));
    recorder.records("[{");
    QCOMPARE(instance->records()->count(), 0);
    // It is an answer all the same.
    QVERIFY(!instance->isCancelingImport());
}

void tst_RecorderControl::aRecordsAnswerEndsTheCancelOfAnImport()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.addRunningRecorder();
    instance->stopImport();
    QVERIFY(instance->isCancelingImport());
    ScriptedRecorder(instance).records("[]");
    QVERIFY(!instance->isCancelingImport());
}

void tst_RecorderControl::aWaitingReplayIsAppliedAfterABadListToo()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.addRunningRecorder();
    ScriptedRecorder recorder(instance);
    const QString list = "[" + recordJson(RECORD_A, "A") + "]";
    // After a list without records there is nothing to apply it to, and it is forgotten.
    for (const char* bad : { "", "[]", "{}", "[{" }) {
        recorder.reply("context", { RECORD_A, "", 3.0, 1.5, 1.0, false, "[]", "[]", "" });
        if (qstrcmp(bad, "{}") == 0) {
            QTest::ignoreMessage(QtWarningMsg, "Invalid JSON: JSON must define an array of records");
        } else if (qstrcmp(bad, "[{") == 0) {
            QTest::ignoreMessage(QtWarningMsg, QRegularExpression("^An error occured while parsing the records list"));
        }
        recorder.records(bad);
        recorder.records(list);
        QCOMPARE(instance->currentRecord(), nullptr);
        recorder.records("");
    }
    // After one that does not have its record, it is warned of.
    recorder.reply("context", { RECORD_B, "", 3.0, 1.5, 1.0, false, "[]", "[]", "" });
    QTest::ignoreMessage(QtWarningMsg,
        qPrintable("void RecorderInstance::updateContext(const QString &, const QDateTime &, double, double, double, "
                   "bool, const QString &, const QString &, const QString &) unknown record id \""
            + RECORD_B + "\""));
    recorder.records(list);
    QCOMPARE(instance->currentRecord(), nullptr);
}

void tst_RecorderControl::recordNamesAreComparedExactly()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.addRunningRecorder();
    ScriptedRecorder(instance).records("[" + recordJson(RECORD_A, "Night") + "," + recordJson(RECORD_B, "Night") + "]");
    QVERIFY(instance->isRecordNameAlreadyUsed("Night"));
    QVERIFY(!instance->isRecordNameAlreadyUsed("night"));
    QVERIFY(!instance->isRecordNameAlreadyUsed(""));
}

void tst_RecorderControl::filtersAreKeptInTheDocument()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.firstInstanceOf(fixture.addRecorder("Rec"));
    const QString key = instance->encounteredAgentInfo()->uuid();
    instance->setProperty("recordFilters", "-tank");
    QCOMPARE(RecorderModuleData::instance().getFilters(key), "-tank");
    instance->setProperty("recordFilters", "");
    QCOMPARE(RecorderModuleData::instance().getFilters(key), "");
}

void tst_RecorderControl::withoutAClassInstanceNothingIsKeptInTheDocument()
{
    ModuleFixture fixture;
    RecorderInstance* const known = fixture.firstInstanceOf(fixture.addRecorder("Rec"));
    RecorderInstance instance(known->systemView(), nullptr, known->encounteredAgentsOnHost(),
        known->encounteredAgentInfo(), ModuleFixture::executablePath(), nullptr);
    QSignalSpy changed(&instance, &RecorderInstance::recordFiltersChanged);
    instance.setrecordFilters("-tank");
    instance.recordCsvFileDropped(QUrl::fromLocalFile("/records/one.csv"));
    QCOMPARE(changed.count(), 1);
    QCOMPARE(instance.recordFilters(), "-tank");
    QCOMPARE(instance.currentFilePath(), "/records/one.csv");
    QCOMPARE(RecorderModuleData::instance().getFilters(known->encounteredAgentInfo()->uuid()), "");
    QCOMPARE(RecorderModuleData::instance().getFilePath(known->encounteredAgentInfo()->uuid()), "");
}

void tst_RecorderControl::theCurrentRecordForwardsWhetherItPlays()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.addRunningRecorder();
    ScriptedRecorder(instance).records("[" + recordJson(RECORD_A, "A") + "," + recordJson(RECORD_B, "B") + "]");
    auto* const first = qobject_cast<RecorderRecord*>(instance->records()->get(0));
    auto* const second = qobject_cast<RecorderRecord*>(instance->records()->get(1));
    QSignalSpy current(instance, &RecorderInstance::currentRecordChanged);
    QSignalSpy replaying(instance, &RecorderInstance::isReplayingChanged);
    instance->setcurrentRecord(first);
    instance->setcurrentRecord(first);
    QCOMPARE(current.count(), 1);
    QCOMPARE(replaying.count(), 1);
    first->setisReplaying(true);
    QCOMPARE(replaying.count(), 2);
    QVERIFY(instance->isReplaying());
    instance->setcurrentRecord(second);
    QCOMPARE(replaying.count(), 3);
    QVERIFY(!instance->isReplaying());
    first->setisReplaying(false);
    QCOMPARE(replaying.count(), 3);
}

QTEST_MAIN(tst_RecorderControl)
#include "tst_recordercontrol.moc"
