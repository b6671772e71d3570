// SPDX-License-Identifier: Apache-2.0
#include "filesfixture.h"

#include <QtTest/QSignalSpy>

/// What others may do with the module's instances and records, and what receivers of an instance's signals may do while
/// they are told.
class tst_RecorderReceivers : public QObject
{
    Q_OBJECT

public:
    static void initMain() { QApplication::setAttribute(Qt::AA_DontUseNativeDialogs); }

private Q_SLOTS:
    void whoeverHasTheListOfInstancesMayDeleteThem();
    void aRecordThatWasDeletedIsListedAgain();
    void recordsThatWereTakenOutOfTheirListAreListedAgain();
    void answersForARecordThatWasDeletedAreWarnedOf();

    void whoHearsThatARecordChangedMayDeleteIt();
    void whoHearsThatARecordChangedMayBringTheInstanceToRest();
    void whoHearsThatARecordChangedMayBringAnotherList();
    void whoHearsThatARecordGoesMayDeleteOthers();
    void whoHearsThatARecordGoesMayBringTheInstanceToRest();

    void whoHearsThatARecordIsUnloadedMayMakeAnotherCurrent();
    void whoHearsThatARecordIsUnloadedMayMakeTheNextOneCurrentFirst();
    void whoHearsThatARecordIsLoadedMayUnloadItAtOnce();
    void whoHearsThatARecordIsUnloadedMayLoadItAgain();
    void whoHearsOfAMoveMayUnloadTheRecord();
    void whoHearsOfARunningAgentMayUnlinkIt();

    void whoHearsThatACancelledDownloadEndedMayBeginTheNext();
    void whoHearsOfTheLastProgressOfADownloadMayBeginTheNext();
    void whoHearsThatADownloadGaveWayMayBeginAnother();
};

namespace {

/// Does something the first time that a signal comes.
template <typename Sender, typename Signal, typename Action>
void onceOn(Sender* sender, Signal signal, const Action& action)
{
    QObject::connect(sender, signal, sender, action, Qt::SingleShotConnection);
}

QString list(const QStringList& records)
{
    return u'[' + records.join(u',') + u']';
}

QString bothRecords()
{
    return list({ recordJson(RECORD_A, "First"), recordJson(RECORD_B, "Second") });
}

qsizetype recordsOf(const RecorderInstance* instance)
{
    return instance->findChildren<RecorderRecord*>().size();
}

} // namespace

// ---- instances and records that others delete -------------------------------------------------------------------

void tst_RecorderReceivers::whoeverHasTheListOfInstancesMayDeleteThem()
{
    ModuleFixture fixture;
    Recorder* const recorder = fixture.recorderOf(fixture.addRecorder("Rec"));
    const QPointer<RecorderInstance> instance = recorder->recorderInstances().first();
    const QuenaryDouble::Agent agent = ModuleFixture::run(instance);
    const QString uuid = instance->uuid();
    recorder->instances()->deleteAllItems();
    ModuleFixture::settle();
    QVERIFY(instance.isNull());
    QCOMPARE(recorder->getRecorderInstanceWithUuid(uuid), nullptr);
    QCOMPARE(recorder->getRecorderInstanceWithAgentUuid(agent.uuid), nullptr);
    ModuleFixture::leave(agent.uuid);
    ModuleFixture::enter(agent);
    QCOMPARE(recorder->recorderInstances().size(), 1);
    QVERIFY(recorder->recorderInstances().first()->isOn());
}

void tst_RecorderReceivers::aRecordThatWasDeletedIsListedAgain()
{
    LoadedRecorder setup;
    delete setup.record;
    QCOMPARE(setup.instance->records()->count(), 1);
    QCOMPARE(setup.instance->currentRecord(), nullptr);
    setup.recorder.records(bothRecords());
    QCOMPARE(setup.instance->records()->count(), 2);
    QCOMPARE(setup.instance->records()->get(0), setup.other);
    QCOMPARE(setup.instance->records()->get(1)->property("name").toString(), "First");
    // And no longer when it is listed no more.
    setup.recorder.records(list({ recordJson(RECORD_B, "Second") }));
    QCOMPARE(recordsOf(setup.instance), 1);
}

void tst_RecorderReceivers::recordsThatWereTakenOutOfTheirListAreListedAgain()
{
    LoadedRecorder setup;
    setup.instance->records()->deleteAllItems();
    // They still live, until control returns to the event loop.
    setup.instance->updateRecords(bothRecords());
    QCOMPARE(setup.instance->records()->count(), 2);
    ModuleFixture::settle();
    QCOMPARE(setup.instance->records()->count(), 2);
    QCOMPARE(recordsOf(setup.instance), 2);
    setup.recorder.loaded(RECORD_A, 3.0, R"(["a"])");
    QVERIFY(setup.instance->records()->get(0)->property("isLoaded").toBool());
}

void tst_RecorderReceivers::answersForARecordThatWasDeletedAreWarnedOf()
{
    LoadedRecorder setup;
    delete setup.record;
    QTest::ignoreMessage(QtWarningMsg,
        QRegularExpression("^void RecorderInstance::recordLoaded.* unknown record id \"" + RECORD_A + "\"$"));
    setup.recorder.loaded(RECORD_A, 3.0, R"(["a"])");
    QTest::ignoreMessage(QtWarningMsg,
        QRegularExpression("^void RecorderInstance::updateContext.* unknown record id \"" + RECORD_A + "\"$"));
    setup.context(RECORD_A, 1.0, 1.0, true, R"(["a"])", "");
    QCOMPARE(setup.instance->currentRecord(), nullptr);
}

// ---- lists ------------------------------------------------------------------------------------------------------

void tst_RecorderReceivers::whoHearsThatARecordChangedMayDeleteIt()
{
    LoadedRecorder setup;
    RecorderRecord* const record = setup.other;
    onceOn(record, &RecorderRecord::nameChanged, [record] { delete record; });
    const QString third = recordJson("cccccccc-0000-4000-8000-000000000003", "Third");
    setup.recorder.records(list({ third, recordJson(RECORD_A, "First"), recordJson(RECORD_B, "Renamed", 9000000) }));
    // The recorder has it all the same.
    QCOMPARE(setup.instance->records()->count(), 3);
    QCOMPARE(setup.instance->records()->get(0), setup.record);
    QCOMPARE(setup.instance->records()->get(1)->property("name").toString(), "Third");
    QCOMPARE(setup.instance->records()->get(2)->property("durationInSeconds").toDouble(), 9.0);
    QCOMPARE(recordsOf(setup.instance), 3);
}

void tst_RecorderReceivers::whoHearsThatARecordChangedMayBringTheInstanceToRest()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.addRunningRecorder();
    ScriptedRecorder recorder(instance);
    recorder.records(list({ recordJson(RECORD_A, "First") }));
    auto* const record = qobject_cast<RecorderRecord*>(instance->records()->get(0));
    onceOn(record, &RecorderRecord::nameChanged, [instance] { instance->resetOnDisconnect(); });
    const QString longer = list({ recordJson(RECORD_B, "Second"), recordJson(RECORD_A, "Other") });
    recorder.records(longer);
    QCOMPARE(instance->records()->count(), 0);
    QCOMPARE(recordsOf(instance), 0);
    recorder.records(longer);
    QCOMPARE(instance->records()->count(), 2);
}

void tst_RecorderReceivers::whoHearsThatARecordChangedMayBringAnotherList()
{
    LoadedRecorder setup;
    RecorderInstance* const instance = setup.instance;
    const QString third = "cccccccc-0000-4000-8000-000000000003";
    const QString newer = list({ recordJson(third, "Third"), recordJson(RECORD_A, "Newer") });
    onceOn(setup.record, &RecorderRecord::nameChanged, [=] { instance->updateRecords(newer); });
    setup.recorder.records(list({ recordJson(third, "Third"), recordJson(RECORD_A, "Older"),
        recordJson("dddddddd-0000-4000-8000-000000000004", "Fourth") }));
    QCOMPARE(instance->records()->count(), 2);
    QCOMPARE(instance->records()->get(0), setup.record);
    QCOMPARE(setup.record->name(), "Newer");
    QCOMPARE(recordsOf(instance), 2);
    setup.recorder.records(newer);
    QCOMPARE(recordsOf(instance), 2);
}

void tst_RecorderReceivers::whoHearsThatARecordGoesMayDeleteOthers()
{
    LoadedRecorder setup;
    const QPointer<RecorderRecord> record = setup.record;
    RecorderRecord* const other = setup.other;
    onceOn(setup.record, &RecorderRecord::isLoadedChanged, [other] { delete other; });
    setup.recorder.records("[]");
    QCOMPARE(setup.instance->records()->count(), 0);
    QVERIFY(record.isNull());
    QCOMPARE(setup.instance->currentRecord(), nullptr);
}

void tst_RecorderReceivers::whoHearsThatARecordGoesMayBringTheInstanceToRest()
{
    LoadedRecorder setup;
    RecorderInstance* const instance = setup.instance;
    onceOn(setup.record, &RecorderRecord::isLoadedChanged, [instance] { instance->resetOnDisconnect(); });
    setup.recorder.records(list({ recordJson("cccccccc-0000-4000-8000-000000000003", "Third") }));
    QCOMPARE(instance->records()->count(), 0);
    QCOMPARE(recordsOf(instance), 0);
}

// ---- the current record -----------------------------------------------------------------------------------------

void tst_RecorderReceivers::whoHearsThatARecordIsUnloadedMayMakeAnotherCurrent()
{
    LoadedRecorder setup;
    RecorderInstance* const instance = setup.instance;
    RecorderRecord* const other = setup.other;
    onceOn(setup.record, &RecorderRecord::isLoadedChanged, [=] { instance->setcurrentRecord(other); });
    instance->setcurrentRecord(nullptr);
    QCOMPARE(instance->currentRecord(), nullptr);
    QSignalSpy replaying(instance, &RecorderInstance::isReplayingChanged);
    other->setisReplaying(true);
    QCOMPARE(replaying.count(), 0);
    QVERIFY(!instance->isReplaying());
}

void tst_RecorderReceivers::whoHearsThatARecordIsUnloadedMayMakeTheNextOneCurrentFirst()
{
    LoadedRecorder setup;
    RecorderInstance* const instance = setup.instance;
    RecorderRecord* const other = setup.other;
    onceOn(setup.record, &RecorderRecord::isLoadedChanged, [=] { instance->setcurrentRecord(other); });
    QSignalSpy current(instance, &RecorderInstance::currentRecordChanged);
    instance->setcurrentRecord(other);
    QCOMPARE(current.count(), 1);
    QCOMPARE(instance->currentRecord(), other);
    QSignalSpy replaying(instance, &RecorderInstance::isReplayingChanged);
    other->setisReplaying(true);
    QCOMPARE(replaying.count(), 1);
}

void tst_RecorderReceivers::whoHearsThatARecordIsLoadedMayUnloadItAtOnce()
{
    LoadedRecorder setup;
    RecorderInstance* const instance = setup.instance;
    RecorderRecord* const other = setup.other;
    instance->loadRecord(other);
    QuenaryDouble::clearCalls();
    onceOn(other, &RecorderRecord::isLoadedChanged, [=] { instance->unloadRecord(other); });
    setup.recorder.loaded(RECORD_B, 3.0, R"(["a","b"])");
    QCOMPARE(QuenaryDouble::calledServices(), QStringList({ "unload" }));
    QVERIFY(!other->isLoaded());
    QCOMPARE(other->agentsFilters()->count(), 0);
    QCOMPARE(other->speeds()->count(), 0);
    QCOMPARE(instance->currentRecord(), nullptr);

    onceOn(other, &RecorderRecord::isLoadedChanged, [=] { other->unload(); });
    other->updateReplayContext(1.5, 2.0, true, { "a" }, { "a" });
    QVERIFY(!other->isReplaying());
    QCOMPARE(other->replayProgressInSecond(), 0.0);
    QCOMPARE(other->speeds()->count(), 0);
}

void tst_RecorderReceivers::whoHearsThatARecordIsUnloadedMayLoadItAgain()
{
    RecorderRecord record(RECORD_A, "A", QDateTime(), QDateTime(), 0, nullptr);
    record.load({ "a", "b" });
    onceOn(&record, &RecorderRecord::isLoadedChanged, [&record] { record.load({ "c" }); });
    record.unload();
    QVERIFY(record.isLoaded());
    QCOMPARE(record.agentsFilters()->count(), 1);
    QCOMPARE(record.agentsFilterRecap(), "All agents");
    QVERIFY(record.speed());
}

void tst_RecorderReceivers::whoHearsOfAMoveMayUnloadTheRecord()
{
    LoadedRecorder setup;
    RecorderInstance* const instance = setup.instance;
    onceOn(instance, &RecorderInstance::isMovingRecordChanged,
        [instance] { instance->unloadRecord(instance->currentRecord()); });
    instance->moveCurrentRecordTime(1.0);
    // Nobody is left to confirm a move.
    QCOMPARE(QuenaryDouble::calledServices(), QStringList({ "unload" }));
    QVERIFY(!instance->isMovingRecord());
    QCOMPARE(setup.record->replayProgressInSecond(), 0.0);
}

void tst_RecorderReceivers::whoHearsOfARunningAgentMayUnlinkIt()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.firstInstanceOf(fixture.addRecorder("Rec"));
    onceOn(instance, &RecorderInstance::runningAgentInfoChanged,
        [instance] { instance->updateFromRunningAgentInfo(nullptr); });
    ModuleFixture::run(instance);
    QCOMPARE(instance->runningAgentInfo(), nullptr);
    QCOMPARE(instance->agentInstanceUuid(), "");
    QVERIFY(!instance->isOn());
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
}

// ---- downloads --------------------------------------------------------------------------------------------------

void tst_RecorderReceivers::whoHearsThatACancelledDownloadEndedMayBeginTheNext()
{
    Files files;
    files.download("first.csv");
    files.instance->stopExport();
    onceOn(files.instance, &RecorderInstance::isDownloadingRecordChanged, [&files] { files.download("second.csv"); });
    files.chunk("a;1500000;x", 1, "next");
    QVERIFY(files.instance->isDownloadingRecord());
    QVERIFY(!files.instance->isCancelingExport());
    QCOMPARE(files.instance->exportRecord(), files.record);
    files.chunk("b;1500000;x", 1, "next");
    QCOMPARE(files.instance->exportingProgress(), 50);
    files.chunk("c;3000000;x", 0, "");
    QCOMPARE(files.read("first.csv"), "a;1500000;x\n");
    QCOMPARE(files.read("second.csv"), "b;1500000;x\nc;3000000;x\n");
    QVERIFY(!files.instance->isDownloadingRecord());
}

void tst_RecorderReceivers::whoHearsOfTheLastProgressOfADownloadMayBeginTheNext()
{
    Files files;
    files.download("first.csv");
    onceOn(files.instance, &RecorderInstance::exportingProgressChanged, [&files] { files.download("second.csv"); });
    files.chunk("a;3000000;x", 0, "");
    QVERIFY(files.instance->isDownloadingRecord());
    files.chunk("b;3000000;x", 0, "");
    QCOMPARE(files.read("first.csv"), "a;3000000;x\n");
    QCOMPARE(files.read("second.csv"), "b;3000000;x\n");
    QVERIFY(!files.instance->isDownloadingRecord());
}

void tst_RecorderReceivers::whoHearsThatADownloadGaveWayMayBeginAnother()
{
    Files files;
    files.download("first.csv");
    onceOn(files.instance, &RecorderInstance::isDownloadingRecordChanged, [&files] { files.download("between.csv"); });
    files.download("last.csv");
    ModuleFixture::settle();
    QVERIFY(files.instance->isDownloadingRecord());
    QCOMPARE(files.instance->findChildren<QFile*>().size(), 1);
    files.chunk("a;3000000;x", 0, "");
    QCOMPARE(files.read("last.csv"), "a;3000000;x\n");
    QCOMPARE(files.read("between.csv"), "");
}

QTEST_MAIN(tst_RecorderReceivers)
#include "tst_recorderreceivers.moc"
