// SPDX-License-Identifier: Apache-2.0
#include "modulefixture.h"
#include "signallog.h"

#include "livingmodules.h"
#include "recordermodule_replies.h"
#include "recordermoduledata.h"

#include <QtTest/QSignalSpy>

namespace {

const QVariantList CONTEXT { "", "", 0.0, 0.0, 1.0, false, "", "", "" };

/// A reply is warned of, and neither the module nor the instance that it names hears of it.
void expectDropped(const QString& service, const QVariantList& arguments, const QString& warning,
    const QString& action = QString())
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.addRunningRecorder();
    SignalLog log;
    log.follow(&fixture.module());
    log.follow(instance);
    QTest::ignoreMessage(QtWarningMsg, qPrintable(warning));
    QVERIFY(QuenaryDouble::callService(service, arguments, instance->uuid() + action));
    ModuleFixture::settle();
    QCOMPARE(log.take(), QStringList());
}

} // namespace

class tst_RecorderReplies : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void malformedRepliesAreWarnedOfAndDropped_data();
    void malformedRepliesAreWarnedOfAndDropped();
    void aTokenWithoutAnActionIsNoAnswerToAnything();
    void aTokenThatHoldsTheSeparatorTwiceIsAWrongComposition();
    void anActionInAnotherCaseIsNotCorrect();
    void aStoppedReplyThatCarriesAnArgumentIsRejected();
    void aLoadedReplyWithAWrongDurationOrAgentsIsWarnedOfInWordsOfItsOwn();
    void theFirstWrongArgumentIsTheOneThatIsWarnedOf();
    void repliesWithoutACheckMayCarryAnything();
    void callbacksWithoutAModuleDoNothing();
    void anInputsNameGivesTheInstance();
    void repliesReachTheSignalOfTheirService();
    void repliesAreHandledOnTheModulesThreadLater();
    void anUnparsableDateGivesAnInvalidDate();
    void unloadedRepliesChangeNothing();
    void aReplyWithoutTokenMatchesNoInstance_data();
    void aReplyWithoutTokenMatchesNoInstance();
    void recordUuidRepliesAreRoutedByTheirAction();
    void progressOfAnUnknownInstanceIsWarnedOf();
    void progressInputsReachTheirInstance();
    void filtersFromTheRecordersFileAreTakenOver();
    void filtersNotFromAFileAreAnsweredWithThoseOfTheModule();
    void theEndOfAReplayIsRoutedByTheSender();
    void loadingProgressIsKeptWithinItsBounds();
    void repliesToADeclaredServiceGoToTheModuleThatDeclaredItLast();
};

void tst_RecorderReplies::malformedRepliesAreWarnedOfAndDropped_data()
{
    QTest::addColumn<QString>("service");
    QTest::addColumn<QVariantList>("arguments");
    QTest::addColumn<QString>("warning");

    const auto row = [](const char* service, const QVariantList& arguments, const char* warning) {
        QTest::addRow("%s, %lld arguments", warning, static_cast<long long>(arguments.size()))
            << QString(service) << arguments << QString(warning);
    };
    const auto contextWith = [](qsizetype index, const QVariant& value) {
        QVariantList arguments = CONTEXT;
        arguments[index] = value;
        return arguments;
    };
    row("context", {}, "'context' reply: invalid number of arguments");
    row("context", CONTEXT + QVariantList { "" }, "'context' reply: invalid number of arguments");
    row("context", contextWith(0, 1.0), "'context' reply: first argument is not a string");
    row("context", contextWith(1, 1.0), "'context' reply: second argument is not a string");
    row("context", contextWith(2, "1"), "'context' reply: third argument is not a double");
    row("context", contextWith(3, 1), "'context' reply: fourth argument is not a double");
    row("context", contextWith(4, "1"), "'context' reply: fifth argument is not a double");
    row("context", contextWith(5, 1), "'context' reply: sixth argument is not a boolean");
    row("context", contextWith(6, 1.0), "'context' reply: seventh argument is not a string");
    row("context", contextWith(7, 1.0), "'context' reply: eighth argument is not a string");
    row("context", contextWith(8, 1.0), "'context' reply: nineth argument is not a string");
    row("records", { "[]", "[]" }, "'records' reply: invalid number of arguments");
    row("records", {}, "'records' reply: invalid number of arguments");
    row("records", { 1 }, "'records' reply: first argument is not a string");
    row("record_uuid", {}, "'record_uuid' reply: invalid number of arguments");
    row("record_uuid", { "r", "r" }, "'record_uuid' reply: invalid number of arguments");
    row("record_uuid", { true }, "'record_uuid' reply: first argument is not a string");
    row("record_filters", { true }, "'record_filters' reply: invalid number of arguments");
    row("record_filters", { true, "", "" }, "'record_filters' reply: invalid number of arguments");
    row("record_filters", { "true", "" }, "'record_filters' reply: first argument is not a bool");
    row("record_filters", { true, 1 }, "'record_filters' reply: second argument is not a string");
    row("loading", {}, "'loading' reply: invalid number of arguments");
    row("loading", { 1.0, 1.0 }, "'loading' reply: invalid number of arguments");
    row("loading", { 50 }, "'loading' reply: first argument is not a double");
    row("loaded", { "r" }, "'loaded' reply: invalid number of arguments");
    row("loaded", { "r", "", 1.0, "", "" }, "'loaded' reply: invalid number of arguments");
    row("loaded", { 1, "", 1.0, "" }, "'loaded' reply: first argument is not a string");
    row("loaded", { "r", 1, 1.0, "" }, "'loaded' reply: second argument is not a string");
    row("loading_failed", { "r" }, "loading_failed reply: invalid number of arguments");
    row("loading_failed", { "r", "", "" }, "loading_failed reply: invalid number of arguments");
    row("loading_failed", { 1, "" }, "loading_failed reply: first argument is not a string");
    row("loading_failed", { "r", 1 }, "loading_failed reply: second argument is not a string");
    row("moved_to", {}, "'moved_to' reply: invalid number of arguments");
    row("moved_to", { 0.0, 0.0 }, "'moved_to' reply: invalid number of arguments");
    row("moved_to", { "0" }, "'moved_to' reply: first argument is not a double");
    row("receive_export", {}, "'receive_export' reply: invalid number of arguments");
    row("receive_export", { "r", 1, "", "", "" }, "'receive_export' reply: invalid number of arguments");
    row("receive_export", { 1, 1, "", "" }, "'receive_export' reply: first argument is not a string");
    row("receive_export", { "r", 1.0, "", "" }, "'receive_export' reply: second argument is not a integer");
    row("receive_export", { "r", 1, 1, "" }, "'receive_export' reply: third argument is not a string");
    row("receive_export", { "r", 1, "", 1 }, "'receive_export' reply: fourth argument is not a string");
}

void tst_RecorderReplies::malformedRepliesAreWarnedOfAndDropped()
{
    QFETCH(QString, service);
    QFETCH(QVariantList, arguments);
    QFETCH(QString, warning);
    // With a right token: "record_uuid" looks at it last.
    expectDropped(service, arguments, warning, service == "record_uuid" ? "##record" : "");
}

void tst_RecorderReplies::aTokenWithoutAnActionIsNoAnswerToAnything()
{
    expectDropped("record_uuid", { "r" }, "'record_uuid' reply: No action sent");
    expectDropped("record_uuid", { "r" }, "'record_uuid' reply: No action sent", "#record");
}

void tst_RecorderReplies::aTokenThatHoldsTheSeparatorTwiceIsAWrongComposition()
{
    ModuleFixture fixture;
    SignalLog log;
    log.follow(&fixture.module());
    for (const char* token : { "a##record##b", "a##record##", "####record" }) {
        QTest::ignoreMessage(QtWarningMsg,
            qPrintable(QString("'record_uuid' reply: Wrong composition of token : \"%1\"").arg(token)));
        QVERIFY(QuenaryDouble::callService("record_uuid", { "r" }, token));
    }
    QCOMPARE(log.take(), QStringList());
}

void tst_RecorderReplies::anActionInAnotherCaseIsNotCorrect()
{
    expectDropped("record_uuid", { "r" }, "'record_uuid' reply: Action sent is not correct : \"Record\"", "##Record");
    expectDropped("record_uuid", { "r" }, "'record_uuid' reply: Action sent is not correct : \"\"", "##");
}

void tst_RecorderReplies::aStoppedReplyThatCarriesAnArgumentIsRejected()
{
    expectDropped("recording_stopped", { "x" }, "'recording_stopped' reply: invalid number of arguments");
    expectDropped("recording_stopped", { 1.0 }, "'recording_stopped' reply: invalid number of arguments");
}

void tst_RecorderReplies::aLoadedReplyWithAWrongDurationOrAgentsIsWarnedOfInWordsOfItsOwn()
{
    expectDropped("loaded", { "r", "", "1", "" }, "'loaded' reply: third argument is not a string");
    expectDropped("loaded", { "r", "", 1.0, 1.0 }, "'context' reply: fourth argument is not a string");
}

void tst_RecorderReplies::theFirstWrongArgumentIsTheOneThatIsWarnedOf()
{
    expectDropped("loaded", { 1, 1, "1", 1.0 }, "'loaded' reply: first argument is not a string");
    expectDropped("receive_export", { "r", "1", 1, 1 }, "'receive_export' reply: second argument is not a integer");
}

void tst_RecorderReplies::repliesWithoutACheckMayCarryAnything()
{
    LoadedRecorder setup;
    setup.instance->playRecord(setup.record);
    setup.recorder.reply("paused", { "x", 1 });
    QVERIFY(!setup.record->isReplaying());
    setup.instance->moveCurrentRecordTime(1.0);
    setup.check(0, false);
    setup.instance->updateRecordAgentsFilter(setup.record);
    setup.recorder.reply("filter_applied", { 1.0 });
    QVERIFY(!setup.instance->isFilteringRecord());
    QTest::ignoreMessage(QtWarningMsg, "Can not pause record \"First\" because it is not playing");
    setup.recorder.reply("replay_ended", { true });
    QVERIFY(setup.instance->isStoppingRecord());
}

void tst_RecorderReplies::callbacksWithoutAModuleDoNothing()
{
    ModuleFixture fixture;
    double value = 1.0;
    qnyInput_recordProgress(QNY_INPUT_T, "x#record_progress", QNY_DOUBLE_T, &value, sizeof value, nullptr);
    qnyInput_replayProgress(QNY_INPUT_T, "x#replay_progress", QNY_DOUBLE_T, &value, sizeof value, nullptr);
    LivingModules::with(nullptr, [](RecorderModule&) { QFAIL("there is no module"); });
    // Nor with a module that has no value, or one of another type, to hear of.
    SignalLog log;
    log.follow(&fixture.module());
    int number = 1;
    for (const auto callback : { qnyInput_recordProgress, qnyInput_replayProgress }) {
        callback(QNY_INPUT_T, "x#", QNY_DOUBLE_T, nullptr, 0, &fixture.module());
        callback(QNY_INPUT_T, "x#", QNY_INTEGER_T, &number, sizeof number, &fixture.module());
    }
    QCOMPARE(log.take(), QStringList());
}

void tst_RecorderReplies::anInputsNameGivesTheInstance()
{
    ModuleFixture fixture;
    QStringList ids;
    connect(&fixture.module(), &RecorderModule::recordingProgressReceived, this,
        [&ids](const QString& id) { ids.append(id); });
    double value = 1.0;
    for (const char* name : { "x#record_progress", "x", "", "#record_progress", "x#y#z" }) {
        const QString id = QString(name).section('#', 0, 0);
        QTest::ignoreMessage(QtWarningMsg,
            qPrintable("void RecorderModule::_onRecordingProgressReceived(const QString &, double) unknown recorder id "
                       "\"" + id + "\""));
        qnyInput_recordProgress(QNY_INPUT_T, name, QNY_DOUBLE_T, &value, sizeof value, &fixture.module());
    }
    QCOMPARE(ids, QStringList({ "x", "x", "", "", "x" }));
}

void tst_RecorderReplies::repliesReachTheSignalOfTheirService()
{
    ModuleFixture fixture;
    RecorderModule* const module = &fixture.module();
    // Unknown to the module, so each of the fourteen handlers warns, in words that other tests look at; what counts here
    // is the signal.
    for (int i = 0; i < 14; ++i) {
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("nknown recorder"));
    }
    const QString id = "someone";
    const QDateTime date = QDateTime::fromString("2026-11-21T10:00:00.123", Qt::ISODateWithMs);

    const auto check = [&id](QSignalSpy&& spy, const char* service, const QVariantList& arguments,
                           const QVariantList& expected, const QString& token = QString()) {
        QVERIFY(QuenaryDouble::callService(service, arguments, token.isNull() ? id : token, { "Rec", "agent-uuid" }));
        QCOMPARE(spy.count(), 1);
        QCOMPARE(spy.takeFirst(), expected);
    };
    check(QSignalSpy(module, &RecorderModule::contextReceived), "context",
        { "replay", "2026-11-21T10:00:00.123", 9.5, 1.5, 2.0, true, "[\"a\"]", "[]", "record" },
        { id, "replay", date, 9.5, 1.5, 2.0, true, "[\"a\"]", "[]", "record" });
    check(QSignalSpy(module, &RecorderModule::recordsReceived), "records", { "[é]" }, { id, "[é]" });
    check(QSignalSpy(module, &RecorderModule::recordingStoppedReceived), "recording_stopped", {}, { id });
    check(QSignalSpy(module, &RecorderModule::recordFiltersReceived), "record_filters", { true, "pump/*" },
        { id, true, "pump/*" });
    check(
        QSignalSpy(module, &RecorderModule::recordingIsStarted), "record_uuid", { "r" }, { id, "r" }, id + "##record");
    check(QSignalSpy(module, &RecorderModule::importReceived), "record_uuid", { "r" }, { id, "r" }, id + "##import");
    check(QSignalSpy(module, &RecorderModule::loadingProgess), "loading", { 42.5 }, { id, 42.5 });
    check(QSignalSpy(module, &RecorderModule::recordLoaded), "loaded", { "r", "2026-11-21T10:00:00.123", 3.0, "[]" },
        { id, "r", date, 3.0, "[]" });
    check(QSignalSpy(module, &RecorderModule::recordLoadingFailed), "loading_failed", { "r", "no disk" },
        { id, "r", "no disk" });
    check(QSignalSpy(module, &RecorderModule::recordPaused), "paused", {}, { id });
    check(QSignalSpy(module, &RecorderModule::recordMovedTo), "moved_to", { 1.25 }, { id, 1.25 });
    check(QSignalSpy(module, &RecorderModule::recordFilterApplied), "filter_applied", {}, { id });
    check(QSignalSpy(module, &RecorderModule::exportReceived), "receive_export", { "r", 7, "n", "a;1;x" },
        { id, "r", 7, "n", "a;1;x" });
    check(QSignalSpy(module, &RecorderModule::replayEnded), "replay_ended", {}, { "Rec", "agent-uuid" });
    ModuleFixture::settle();
}

void tst_RecorderReplies::repliesAreHandledOnTheModulesThreadLater()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.addRunningRecorder();
    QVERIFY(QuenaryDouble::callService("record_uuid", { "r" }, instance->uuid() + "##record"));
    QVERIFY(!instance->isRecording());
    QCoreApplication::processEvents();
    QVERIFY(instance->isRecording());
}

void tst_RecorderReplies::anUnparsableDateGivesAnInvalidDate()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.addRunningRecorder();
    QSignalSpy contexts(&fixture.module(), &RecorderModule::contextReceived);
    QSignalSpy loads(&fixture.module(), &RecorderModule::recordLoaded);
    ScriptedRecorder recorder(instance);
    recorder.reply("context", { "", "yesterday", 0.0, 0.0, 1.0, false, "", "", "" });
    recorder.reply("loaded", { "/records/file.csv", "yesterday", 3.0, "[]" });
    QCOMPARE(contexts.count(), 1);
    QVERIFY(!contexts.first().at(2).toDateTime().isValid());
    QCOMPARE(loads.count(), 1);
    QVERIFY(!loads.first().at(2).toDateTime().isValid());
}

void tst_RecorderReplies::unloadedRepliesChangeNothing()
{
    LoadedRecorder setup;
    SignalLog log;
    log.follow(&setup.fixture.module());
    log.follow(setup.instance);
    log.follow(setup.record);
    setup.recorder.reply("unloaded");
    setup.recorder.reply("unloaded", { "with", 1, "argument" });
    setup.recorder.replyWithToken("unloaded", {}, "someone else");
    setup.recorder.replyWithToken("unloaded", {}, QString());
    QCOMPARE(log.take(), QStringList());
    QVERIFY(setup.record->isLoaded());
}

void tst_RecorderReplies::aReplyWithoutTokenMatchesNoInstance_data()
{
    QTest::addColumn<QString>("service");
    QTest::addColumn<QVariantList>("arguments");
    QTest::addColumn<QString>("warning");
    const auto row = [](const char* service, const QVariantList& arguments, const char* warning) {
        QTest::addRow("%s", service) << QString(service) << arguments << QString(warning);
    };
    row("context", CONTEXT,
        "void RecorderModule::_onContextReceived(const QString &, const QString &, const QDateTime &, double, double, "
        "double, bool, const QString &, const QString &, const QString &) Unknown recorder id");
    row("records", { "[]" },
        "void RecorderModule::_onRecordsReceived(const QString &, const QString &) Unknown recorder id");
    row("recording_stopped", {},
        "void RecorderModule::_onRecordingStoppedReceived(const QString &) unknown recorder id");
    row("record_filters", { true, "" },
        "void RecorderModule::_onRecordFiltersReceived(const QString &, bool, const QString &) Unknown recorder id");
    row("loading", { 1.0 }, "void RecorderModule::_onLoadingProgess(const QString &, double) unknown recorder id");
    row("loaded", { "r", "", 1.0, "[]" },
        "void RecorderModule::_onRecordLoaded(const QString &, const QString &, const QDateTime &, double, const "
        "QString "
        "&) unknown recorder id");
    row("loading_failed", { "r", "x" },
        "void RecorderModule::_onRecordLoadingFailed(const QString &, const QString &, const QString &) unknown "
        "recorder "
        "id");
    row("paused", {}, "void RecorderModule::_onRecordPaused(const QString &) unknown recorder id");
    row("moved_to", { 0.0 }, "void RecorderModule::_onRecordMovedTo(const QString &, double) unknown recorder id");
    row("filter_applied", {}, "void RecorderModule::_onRecordFilterApplied(const QString &) unknown recorder id");
    row("receive_export", { "r", 0, "", "" },
        "void RecorderModule::_onExportReceived(const QString &, const QString &, int, const QString &, const QString "
        "&) "
        "unknown recorder id");
}

void tst_RecorderReplies::aReplyWithoutTokenMatchesNoInstance()
{
    QFETCH(QString, service);
    QFETCH(QVariantList, arguments);
    QFETCH(QString, warning);
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.addRunningRecorder();
    SignalLog log;
    log.follow(instance);
    // No token, an empty one, and one of nobody.
    for (const QString& token : { QString(), QString(""), QString("nobody") }) {
        QTest::ignoreMessage(QtWarningMsg, qPrintable(warning + " \"" + token + "\""));
        QVERIFY(QuenaryDouble::callService(service, arguments, token));
        ModuleFixture::settle();
    }
    QCOMPARE(log.take(), QStringList());
}

void tst_RecorderReplies::recordUuidRepliesAreRoutedByTheirAction()
{
    ModuleFixture fixture;
    QTest::ignoreMessage(QtWarningMsg,
        "void RecorderModule::_onRecordingIsStarted(const QString &, const QString &) unknown recorder id \"x\"");
    QVERIFY(QuenaryDouble::callService("record_uuid", { "r" }, "x##record"));
    ModuleFixture::settle();
    QTest::ignoreMessage(QtWarningMsg,
        "void RecorderModule::_onImportReceived(const QString &, const QString &) unknown recorder id \"x\"");
    QVERIFY(QuenaryDouble::callService("record_uuid", { "r" }, "x##import"));
    ModuleFixture::settle();
}

void tst_RecorderReplies::progressOfAnUnknownInstanceIsWarnedOf()
{
    ModuleFixture fixture;
    QTest::ignoreMessage(QtWarningMsg,
        "void RecorderModule::_onRecordingProgressReceived(const QString &, double) unknown recorder id \"x\"");
    QTest::ignoreMessage(QtWarningMsg,
        "void RecorderModule::_onReplayProgressReceived(const QString &, double) unknown recorder id \"x\"");
    Q_EMIT fixture.module().recordingProgressReceived("x", 1.0);
    Q_EMIT fixture.module().replayProgressReceived("x", 1.0);
}

void tst_RecorderReplies::progressInputsReachTheirInstance()
{
    ModuleFixture fixture;
    RecorderInstance* const first = fixture.addRunningRecorder("First");
    RecorderInstance* const second = fixture.addRunningRecorder("Second");
    ScriptedRecorder(first).progress(first->recordProgressInput(), 1.5);
    QCOMPARE(first->recordingProgressInSeconds(), 1.5);
    QVERIFY(first->isRecording());
    QVERIFY(!second->isRecording());

    ScriptedRecorder recorder(second);
    recorder.records("[" + recordJson(RECORD_A, "A") + "]");
    second->loadRecord(qobject_cast<RecorderRecord*>(second->records()->get(0)));
    recorder.loaded(RECORD_A, 3.0, "[\"a\"]");
    recorder.progress(second->replayProgressInput(), 2.25);
    QCOMPARE(second->currentRecord()->replayProgressInSecond(), 2.25);
}

void tst_RecorderReplies::filtersFromTheRecordersFileAreTakenOver()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.addRunningRecorder();
    QSignalSpy changed(instance, &RecorderInstance::recordFiltersChanged);
    ScriptedRecorder recorder(instance);
    for (int i = 0; i < 2; ++i) {
        QTest::ignoreMessage(QtDebugMsg, "Record filters received (from file) \"pump/*\"");
        recorder.reply("record_filters", { true, "pump/*" });
    }
    QCOMPARE(instance->recordFilters(), "pump/*");
    QCOMPARE(RecorderModuleData::instance().getFilters(instance->encounteredAgentInfo()->uuid()), "pump/*");
    QCOMPARE(changed.count(), 1);
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
}

void tst_RecorderReplies::filtersNotFromAFileAreAnsweredWithThoseOfTheModule()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.addRunningRecorder();
    ScriptedRecorder recorder(instance);
    QTest::ignoreMessage(QtDebugMsg, "Record filters received (NOT from file) \"ignored\"");
    recorder.reply("record_filters", { false, "ignored" });
    QCOMPARE(instance->recordFilters(), "");
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());

    instance->setrecordFilters("-tank");
    recorder.reply("record_filters", { false, "ignored" });
    QCOMPARE(instance->recordFilters(), "-tank");
    compareCall(instance, "set_record_filters", { QString("-tank") });
}

void tst_RecorderReplies::theEndOfAReplayIsRoutedByTheSender()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.addRunningRecorder("Rec");
    const auto end = [](const QString& name, const QString& uuid) {
        QVERIFY(QuenaryDouble::callService("replay_ended", {}, QString(), { name, uuid }));
        ModuleFixture::settle();
    };
    QTest::ignoreMessage(QtWarningMsg,
        "void RecorderModule::_onReplayEnded(const QString &, const QString &) unknown recorder \"Nobody\"");
    end("Nobody", instance->agentInstanceUuid());
    QTest::ignoreMessage(QtWarningMsg,
        "void RecorderModule::_onReplayEnded(const QString &, const QString &) unknown recorder uuid \"x\"");
    end("Rec", "x");
    QTest::ignoreMessage(QtWarningMsg, "void RecorderInstance::replayEnded() no current record");
    end("Rec", instance->agentInstanceUuid());

    ScriptedRecorder recorder(instance);
    recorder.records("[" + recordJson(RECORD_A, "A") + "]");
    auto* const record = qobject_cast<RecorderRecord*>(instance->records()->get(0));
    instance->loadRecord(record);
    recorder.loaded(RECORD_A, 3.0, "[\"a\"]");
    instance->playRecord(record);
    QuenaryDouble::clearCalls();
    end("Rec", instance->agentInstanceUuid());
    QCOMPARE(QuenaryDouble::calledServices(), QStringList({ "pause", "move_to" }));
    QVERIFY(instance->isStoppingRecord());
}

void tst_RecorderReplies::loadingProgressIsKeptWithinItsBounds()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.addRunningRecorder();
    ScriptedRecorder recorder(instance);
    recorder.reply("loading", { 42.9 });
    QCOMPARE(instance->loadingProgress(), 42);
    recorder.reply("loading", { 1e300 });
    QCOMPARE(instance->loadingProgress(), 100);
    recorder.reply("loading", { std::nan("") });
    QCOMPARE(instance->loadingProgress(), 0);
}

void tst_RecorderReplies::repliesToADeclaredServiceGoToTheModuleThatDeclaredItLast()
{
    ModuleFixture fixture;
    fixture.destroyModule();
    RecorderModule second(ModuleFixture::executablePath(), nullptr);
    QSignalSpy failures(&second, &RecorderModule::recordLoadingFailed);
    QTest::ignoreMessage(QtWarningMsg,
        "void RecorderModule::_onRecordLoadingFailed(const QString &, const QString &, const QString &) unknown "
        "recorder id \"someone\"");
    QVERIFY(QuenaryDouble::callService("loading_failed", { "r", "x" }, "someone"));
    ModuleFixture::settle();
    QCOMPARE(failures.count(), 1);
}

QTEST_MAIN(tst_RecorderReplies)
#include "tst_recorderreplies.moc"
