// SPDX-License-Identifier: Apache-2.0
#include "expectation.h"
#include "replies.h"

#include <functional>

namespace {

const QString UNKNOWN_RECORD = QStringLiteral("cccccccc-0000-4000-8000-000000000003");
const QString DATE = QStringLiteral("2026-11-21T10:00:00.000");

/// A reply or a progress value, and what it does, whatever state it comes in.
struct Event
{
    const char* name;
    /// Null for a progress value.
    const char* service;
    std::function<void(Stage& stage)> send;
    std::function<void(Expectation& expectation, Stage& stage)> expect;
};

Event reply(const char* name, const char* service, const QVariantList& arguments,
    const std::function<void(Expectation&, Stage&)>& expect, const QString& tokenSuffix = QString())
{
    const auto send = [=](Stage& stage) {
        const QuenaryDouble::Sender sender { stage.instance->name(), stage.agentUuid };
        QVERIFY(QuenaryDouble::callService(service, arguments, stage.instance->uuid() + tokenSuffix, sender));
        ModuleFixture::settle();
    };
    return { name, service, send, expect };
}

void expectNothing(Expectation&, Stage&) { }

// ---- context ----------------------------------------------------------------------------------------------------

void expectContextOfB(Expectation& expectation, Stage&)
{
    if (expectation.recordCount() == 0) {
        expectation.set("waiting context", RECORD_B);
        return;
    }
    const QString record = Expectation::pathOf("records[1]");
    expectation.load(record, { "x", "y" }, { "y" }, 2);
    expectation.setReplaying(record, true);
    expectation.moveTo(record, 0.5);
    expectation.setCurrentRecord(record);
}

void expectContextOfFile(Expectation& expectation, Stage&)
{
    const QString record = Expectation::pathOf("recordFromFile");
    expectation.newRecordFromFile("/r/context.csv");
    expectation.load(record, { "x" }, {}, 1);
    expectation.setReplaying(record, true);
    expectation.moveTo(record, 0.5);
    expectation.setCurrentRecord(record);
}

void expectUnknownRecordOfContext(Expectation& expectation, Stage&)
{
    if (expectation.recordCount() == 0) {
        expectation.set("waiting context", UNKNOWN_RECORD);
    } else {
        expectation.problem("void RecorderInstance::updateContext(const QString &, const QDateTime &, double, double, "
                            "double, bool, const QString &, const QString &, const QString &) unknown record id "
            + logged(UNKNOWN_RECORD));
    }
}

// ---- records ----------------------------------------------------------------------------------------------------

void expectTheSameRecords(Expectation& expectation, Stage&)
{
    expectation.clear({ "isCancelingImport" });
    if (expectation.recordCount() == 0) {
        expectation.set("records", QStringLiteral("2 rows"));
        expectation.newRecord(Expectation::pathOf("records[0]"), RECORD_A, "A");
        expectation.newRecord(Expectation::pathOf("records[1]"), RECORD_B, "B");
    }
}

void expectNoRecords(Expectation& expectation, Stage&)
{
    expectation.removeAllRecords();
    expectation.clear({ "isCancelingImport" });
}

// ---- recording --------------------------------------------------------------------------------------------------

void stopRecording(Stage& stage)
{
    stage.startSilence();
    stage.recorder->reply("recording_stopped");
}

void expectStoppedRecording(Expectation& expectation, Stage&)
{
    expectation.call("get_records");
    expectation.set("recordingProgressInSeconds", 0.0);
    expectation.clear({ "isRecording", "isRecordingPaused" });
}

void expectRecordingProgress(Expectation& expectation, Stage&)
{
    // The second time it says the same: paused.
    const bool isRepeated = expectation.value("recordingProgressInSeconds") == "2.5";
    expectation.set("recordingProgressInSeconds", 2.5);
    expectation.raise("isRecording");
    expectation.clear({ "isRecordingPaused" });
    if (isRepeated) {
        expectation.raise("isRecordingPaused");
    }
}

// ---- loading ----------------------------------------------------------------------------------------------------

void expectLoadedA(Expectation& expectation, Stage&)
{
    expectation.clear({ "isLoadingRecord" });
    if (expectation.recordCount() > 0) {
        expectation.load(Expectation::pathOf("records[0]"), { "a", "b" }, {}, 1);
    } else {
        expectation.problem("void RecorderInstance::recordLoaded(const QString &, const QDateTime &, double, const "
                            "QString &) unknown record id "
            + logged(RECORD_A));
    }
}

void expectLoadedUnknownRecord(Expectation& expectation, Stage&)
{
    expectation.clear({ "isLoadingRecord" });
    expectation.problem("void RecorderInstance::recordLoaded(const QString &, const QDateTime &, double, const "
                        "QString &) unknown record id "
        + logged(UNKNOWN_RECORD));
}

void expectLoadedFile(Expectation& expectation, Stage&)
{
    const QString record = Expectation::pathOf("recordFromFile");
    expectation.clear({ "isLoadingRecord" });
    expectation.newRecordFromFile("/r/loaded.csv");
    expectation.load(record, { "x" }, {}, 1);
    expectation.setCurrentRecord(record);
    expectation.set("currentFilePath", QStringLiteral("/r/loaded.csv"));
    expectation.keepInDocument("file_path", "/r/loaded.csv");
}

// ---- replay -----------------------------------------------------------------------------------------------------

void expectPaused(Expectation& expectation, Stage&)
{
    if (!expectation.currentRecord().isEmpty()) {
        expectation.setReplaying(expectation.currentRecord(), false);
    }
}

void expectMovedTo(Expectation& expectation, double seconds)
{
    const QString record = expectation.currentRecord();
    if (!record.isEmpty()) {
        expectation.moveTo(record, seconds);
    }
    expectation.clear({ "isStoppingRecord", "isMovingRecord" });
    if (expectation.is("isWaitingToFilterAgents") && seconds == 0.0) {
        expectation.clear({ "isWaitingToFilterAgents" });
        expectation.raise("isFilteringRecord");
        expectation.set("records[0].lastActiveAgentsFilter", QStringLiteral("a,c"));
        expectation.call("filter_replaying_agents", R"(["a","c"])");
    }
}

void expectReplayProgress(Expectation& expectation, Stage&)
{
    if (!expectation.currentRecord().isEmpty() && !expectation.is("isMovingRecord")) {
        expectation.moveTo(expectation.currentRecord(), 2.5);
    }
}

void expectTheEndOfTheReplay(Expectation& expectation, Stage& stage)
{
    const QString record = expectation.currentRecord();
    if (!expectation.isOn()) {
        expectation.problem("void RecorderModule::_onReplayEnded(const QString &, const QString &) unknown recorder "
                            "uuid "
            + logged(stage.agentUuid));
    } else if (record.isEmpty()) {
        expectation.problem("void RecorderInstance::replayEnded() no current record");
    } else {
        expectation.raise("isStoppingRecord");
        expectation.raise("isMovingRecord");
        if (expectation.is("isReplaying")) {
            expectation.call("pause");
        } else {
            expectation.problem("Can not pause record " + logged(stage.instance->currentRecord()->name())
                + " because it is not playing");
        }
        expectation.call("move_to", "0");
    }
}

// ---- record files -----------------------------------------------------------------------------------------------

void expectChunk(Expectation& expectation, bool isLast)
{
    if (!expectation.is("isDownloadingRecord")) {
        expectation.problem("void RecorderInstance::receiveExport(const QString &, int, const QString &, const QString "
                            "&) failed to write content to record file, closing file");
    } else if (!isLast && expectation.is("isCancelingExport")) {
        expectation.clear({ "isDownloadingRecord", "isCancelingExport" });
        expectation.set("exportingProgress", 0.0);
        expectation.set("exportRecord", QStringLiteral("null"));
    } else {
        expectation.set("exportingProgress", 50.0);
        if (isLast) {
            expectation.clear({ "isDownloadingRecord" });
        } else {
            expectation.call("export", RECORD_A + ",7,next,-1,false,false");
        }
    }
}

void expectAcknowledgedChunk(Expectation& expectation, Stage& stage)
{
    if (stage.chunksLeft == 0) {
        expectation.call("get_records");
        expectation.clear({ "isImportingRecord" });
        return;
    }
    if (--stage.chunksLeft > 0) {
        expectation.set("importingProgress", 80.0);
    }
    const int rows = stage.chunksLeft > 0 ? 10000 : 5000;
    expectation.call("append", RECORD_B + u',' + QString("a;1;b\n\n").repeated(rows).left(100));
}

// The next chunk is sent by a task.
void acknowledgeChunk(Stage& stage)
{
    stage.recorder->replyWithToken("record_uuid", { RECORD_B }, stage.instance->uuid() + "##import");
    QVERIFY(QTest::qWaitFor([&stage] {
        ModuleFixture::settle();
        const QObjectList& children = stage.instance->children();
        return std::none_of(children.cbegin(), children.cend(),
            [](const QObject* child) { return QByteArray(child->metaObject()->className()).contains("Watcher"); });
    }));
}

const QList<Event>& events()
{
    static const QList<Event> all {
        reply("a context of nothing", "context", { "", "", 0.0, 0.0, 1.0, false, "", "", "" }, expectNothing),
        reply("a context of a recording", "context", { "", "", 0.0, 0.0, 1.0, false, "", "", RECORD_B },
            [](Expectation& expectation, Stage&) { expectation.raise("isRecording"); }),
        reply("a context of B", "context", { RECORD_B, DATE, 3.0, 0.5, 2.0, true, R"(["y","x"])", R"(["y"])", "" },
            expectContextOfB),
        reply("a context of a file", "context", { "/r/context.csv", DATE, 3.0, 0.5, 1.0, true, R"(["x"])", "[]", "" },
            expectContextOfFile),
        reply("a context of an unknown record", "context",
            { UNKNOWN_RECORD, DATE, 3.0, 0.5, 1.0, true, R"(["x"])", "[]", "" }, expectUnknownRecordOfContext),
        reply("the same records", "records", { recordsAandB() }, expectTheSameRecords),
        reply("no records", "records", { "" }, expectNoRecords),
        reply(
            "record_uuid of a recording", "record_uuid", { RECORD_B },
            [](Expectation& expectation, Stage&) { expectation.raise("isRecording"); }, "##record"),
        { "record_uuid of an import", "record_uuid", acknowledgeChunk, expectAcknowledgedChunk },
        reply(
            "record_uuid of a refused import", "record_uuid", { "" },
            [](Expectation& expectation, Stage&) {
                expectation.problem("Something went wrong in the recorder when importing, check his logs");
            },
            "##import"),
        { "recording_stopped", "recording_stopped", stopRecording, expectStoppedRecording },
        reply("record_filters of a file", "record_filters", { true, "pump/*" },
            [](Expectation& expectation, Stage&) {
                expectation.set("recordFilters", QStringLiteral("pump/*"));
                expectation.keepInDocument("filters", "pump/*");
            }),
        reply("record_filters of nothing", "record_filters", { false, "pump/*" },
            [](Expectation& expectation, Stage&) { expectation.call("set_record_filters", "-tank"); }),
        reply("unloaded", "unloaded", {}, expectNothing),
        reply("loading", "loading", { 40.9 },
            [](Expectation& expectation, Stage&) { expectation.set("loadingProgress", 40.0); }),
        reply("loaded A", "loaded", { RECORD_A, DATE, 3.0, R"(["b","a"])" }, expectLoadedA),
        reply("loaded an unknown record", "loaded", { UNKNOWN_RECORD, DATE, 3.0, "[]" }, expectLoadedUnknownRecord),
        reply("loaded a file", "loaded", { "/r/loaded.csv", DATE, 3.0, R"(["x"])" }, expectLoadedFile),
        reply("loading_failed", "loading_failed", { RECORD_A, "no disk" },
            [](Expectation& expectation, Stage&) {
                expectation.set("loadingFailReason", QStringLiteral("no disk"));
                expectation.clear({ "isLoadingRecord" });
            }),
        reply("filter_applied", "filter_applied", {},
            [](Expectation& expectation, Stage&) { expectation.clear({ "isFilteringRecord" }); }),
        reply("paused", "paused", {}, expectPaused),
        reply("moved_to the start", "moved_to", { 0.0 },
            [](Expectation& expectation, Stage&) { expectMovedTo(expectation, 0.0); }),
        reply("moved_to elsewhere", "moved_to", { 2.0 },
            [](Expectation& expectation, Stage&) { expectMovedTo(expectation, 2.0); }),
        reply("a chunk with more to come", "receive_export", { RECORD_A, 7, "next", "a;1500000;x" },
            [](Expectation& expectation, Stage&) { expectChunk(expectation, false); }),
        reply("the last chunk", "receive_export", { RECORD_A, 0, "", "a;1500000;x" },
            [](Expectation& expectation, Stage&) { expectChunk(expectation, true); }),
        reply("replay_ended", "replay_ended", {}, expectTheEndOfTheReplay),
        { "progress of a recording", nullptr, [](Stage& stage) { stage.progress(2.5); }, expectRecordingProgress },
        { "progress of a replay", nullptr,
            [](Stage& stage) { stage.recorder->progress(stage.instance->replayProgressInput(), 2.5); },
            expectReplayProgress },
    };
    return all;
}

QStringList surprisesOfLeaving(Stage& stage, const MessageLog& messages)
{
    Expectation expectation(stage);
    if (expectation.isOn()) {
        expectation.leave();
        ModuleFixture::leave(stage.agentUuid);
    }
    return expectation.surprises(messages);
}

} // namespace

/// Every reply in every state, expected there or not: it does what it is for and nothing else, the second time too; and
/// whatever was pending, asked for and never answered, is forgotten when the agent leaves.
class tst_HostileStates : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    static void initMain() { QApplication::setAttribute(Qt::AA_DontUseNativeDialogs); }

    void everyReplyIsCoveredHere();
    void aReplyDoesWhatItIsForAndNothingElse_data();
    void aReplyDoesWhatItIsForAndNothingElse();
    void whatIsNeverAnsweredIsForgottenWithTheAgent_data();
    void whatIsNeverAnsweredIsForgottenWithTheAgent();
};

void tst_HostileStates::everyReplyIsCoveredHere()
{
    for (const Reply& reply : replies()) {
        QVERIFY2(std::any_of(events().cbegin(), events().cend(),
                     [&reply](const Event& event) { return reply.service == QLatin1StringView(event.service); }),
            qPrintable(reply.service));
    }
}

void tst_HostileStates::aReplyDoesWhatItIsForAndNothingElse_data()
{
    QTest::addColumn<QString>("state");
    QTest::addColumn<int>("event");
    for (const QString& state : Stage::states()) {
        for (int i = 0; i < events().size(); ++i) {
            QTest::addRow("%s: %s", qPrintable(state), events().at(i).name) << state << i;
        }
    }
}

void tst_HostileStates::aReplyDoesWhatItIsForAndNothingElse()
{
    QFETCH(QString, state);
    QFETCH(int, event);
    Stage::tellInTime([&](Stage& stage) {
        stage.enter(state);
        MessageLog messages;
        QStringList surprises;
        for (int time = 1; time <= 2; ++time) {
            Expectation expectation(stage);
            events().at(event).expect(expectation, stage);
            events().at(event).send(stage);
            surprises += expectation.surprises(messages);
            messages.clear();
        }
        return surprises + surprisesOfLeaving(stage, messages);
    });
}

void tst_HostileStates::whatIsNeverAnsweredIsForgottenWithTheAgent_data()
{
    QTest::addColumn<QString>("state");
    for (const QString& state : Stage::states()) {
        if (state != "off") {
            QTest::addRow("%s", qPrintable(state)) << state;
        }
    }
}

void tst_HostileStates::whatIsNeverAnsweredIsForgottenWithTheAgent()
{
    QFETCH(QString, state);
    Stage::tellInTime([&](Stage& stage) {
        stage.enter(state);
        const MessageLog messages;
        return surprisesOfLeaving(stage, messages);
    });
}

QTEST_MAIN(tst_HostileStates)
#include "tst_hostilestates.moc"
