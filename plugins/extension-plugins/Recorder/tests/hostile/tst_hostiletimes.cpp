// SPDX-License-Identifier: Apache-2.0
#include "dialoganswer.h"
#include "replies.h"
#include "stage.h"

#include <systemdocumenthandler.h>

#include <QtCore/QMutex>
#include <QtCore/QPointer>

#include <atomic>
#include <functional>
#include <thread>

namespace {

/// How an instance goes while its recorder still talks.
struct Departure
{
    const char* name;
    std::function<void(Stage& stage)> happen;
};

const QList<Departure>& departures()
{
    static const QList<Departure> all {
        { "taken out of the view",
            [](Stage& stage) { SystemDocumentHandler::instance()->deleteInstance(stage.instance->instance()); } },
        { "the document is closed", [](Stage&) { SystemDocumentHandler::instance()->closeDocument(); } },
        { "another document is opened", [](Stage&) { SystemDocumentHandler::instance()->newDocument(); } },
    };
    return all;
}

/// Every reply, and "record_uuid" once more for what only its token says.
const QList<Reply>& repliesOfEveryKind()
{
    static const QList<Reply> all = [] {
        Reply acknowledgement = replyOf("record_uuid");
        acknowledgement.tokenSuffix = "##import";
        acknowledgement.unknownId
            = "void RecorderModule::_onImportReceived(const QString &, const QString &) unknown recorder id";
        return replies() + QList { acknowledgement };
    }();
    return all;
}

QStringList problemsOfNobody(const Reply& reply, const QString& uuid)
{
    if (reply.service == "replay_ended") {
        return { "warning: void RecorderModule::_onReplayEnded(const QString &, const QString &) unknown recorder "
                 "\"Rec\"" };
    }
    return reply.unknownId.isEmpty() ? QStringList()
                                     : QStringList { "warning: " + reply.unknownId + ' ' + logged(uuid) };
}

/// Calls a service as the agent of "Rec" would, and does not wait until the module has heard it.
bool send(const Reply& reply, const QString& instanceUuid, const QString& agentUuid)
{
    return QuenaryDouble::callService(
        reply.service, reply.arguments, instanceUuid + reply.tokenSuffix, { QStringLiteral("Rec"), agentUuid });
}

} // namespace

/// Replies that come when there is nobody left to take them, or from a thread of their own while everything goes.
class tst_HostileTimes : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    static void initMain() { QApplication::setAttribute(Qt::AA_DontUseNativeDialogs); }

    void aReplyToAnInstanceThatGoesReachesNobody_data();
    void aReplyToAnInstanceThatGoesReachesNobody();
    void aProgressOfAnInstanceThatGoesReachesNobody_data();
    void aProgressOfAnInstanceThatGoesReachesNobody();
    void aReplyToAnInstanceThatWasADuplicateReachesNobody_data();
    void aReplyToAnInstanceThatWasADuplicateReachesNobody();
    void aReplyOnItsWayToAModuleThatGoesIsForgotten_data();
    void aReplyOnItsWayToAModuleThatGoesIsForgotten();
    void aModuleMayGoWhileAnotherThreadAnswers();
    void aLateAcknowledgementSendsNothingToAnAgentThatLeft();
    void acknowledgementsThatComeAllAtOnceAreTakenOneAfterAnother();
    void anythingMayHappenWhileAFileIsChosen_data();
    void anythingMayHappenWhileAFileIsChosen();
};

// ---- instances --------------------------------------------------------------------------------------------------

void tst_HostileTimes::aReplyToAnInstanceThatGoesReachesNobody_data()
{
    QTest::addColumn<int>("departure");
    QTest::addColumn<int>("reply");
    for (int departure = 0; departure < departures().size(); ++departure) {
        for (int reply = 0; reply < repliesOfEveryKind().size(); ++reply) {
            const Reply& sent = repliesOfEveryKind().at(reply);
            QTest::addRow(
                "%s: %s%s", departures().at(departure).name, qPrintable(sent.service), qPrintable(sent.tokenSuffix))
                << departure << reply;
        }
    }
}

void tst_HostileTimes::aReplyToAnInstanceThatGoesReachesNobody()
{
    QFETCH(int, departure);
    QFETCH(int, reply);
    const Reply& sent = repliesOfEveryKind().at(reply);
    Stage stage;
    stage.enter("replaying");
    const QString uuid = stage.instance->uuid();
    const QPointer<RecorderInstance> instance = stage.instance;
    MessageLog messages;

    // The reply is checked and on its way to the main thread; meanwhile its instance goes.
    QVERIFY(send(sent, uuid, stage.agentUuid));
    departures().at(departure).happen(stage);
    ModuleFixture::settle();
    QVERIFY(instance.isNull());
    QCOMPARE(messages.problems(), problemsOfNobody(sent, uuid));
    QCOMPARE(Stage::calls(), QStringList());

    // And later than that.
    messages.clear();
    const Snapshot before = stage.snapshot();
    QVERIFY(send(sent, uuid, stage.agentUuid));
    ModuleFixture::settle();
    QCOMPARE(messages.problems(), problemsOfNobody(sent, uuid));
    QCOMPARE(Stage::calls(), QStringList());
    QCOMPARE(before.changesTo(stage.snapshot()), QStringList());
}

void tst_HostileTimes::aProgressOfAnInstanceThatGoesReachesNobody_data()
{
    QTest::addColumn<int>("departure");
    for (int departure = 0; departure < departures().size(); ++departure) {
        QTest::addRow("%s", departures().at(departure).name) << departure;
    }
}

void tst_HostileTimes::aProgressOfAnInstanceThatGoesReachesNobody()
{
    QFETCH(int, departure);
    Stage stage;
    stage.enter("replaying");
    const QString uuid = stage.instance->uuid();
    const QString recordProgress = stage.instance->recordProgressInput();
    const QString replayProgress = stage.instance->replayProgressInput();
    const MessageLog messages;
    QVERIFY(QuenaryDouble::writeInput(recordProgress, 1.0));
    QVERIFY(QuenaryDouble::writeInput(replayProgress, 2.0));
    departures().at(departure).happen(stage);
    ModuleFixture::settle();
    QCOMPARE(messages.problems(),
        QStringList({ "warning: void RecorderModule::_onRecordingProgressReceived(const QString &, double) unknown "
                      "recorder id "
                + logged(uuid),
            "warning: void RecorderModule::_onReplayProgressReceived(const QString &, double) unknown recorder id "
                + logged(uuid) }));
    QVERIFY(!QuenaryDouble::writeInput(recordProgress, 1.0));
    QVERIFY(!QuenaryDouble::writeInput(replayProgress, 2.0));
}

void tst_HostileTimes::aReplyToAnInstanceThatWasADuplicateReachesNobody_data()
{
    QTest::addColumn<int>("reply");
    for (int reply = 0; reply < repliesOfEveryKind().size(); ++reply) {
        const Reply& sent = repliesOfEveryKind().at(reply);
        QTest::addRow("%s%s", qPrintable(sent.service), qPrintable(sent.tokenSuffix)) << reply;
    }
}

void tst_HostileTimes::aReplyToAnInstanceThatWasADuplicateReachesNobody()
{
    QFETCH(int, reply);
    const Reply& sent = repliesOfEveryKind().at(reply);
    Stage stage;
    // A second launch line becomes the same as the first while that one's agent runs: when it leaves, the second goes.
    Recorder* const recorder = stage.fixture.recorderOf(stage.instance->instance());
    stage.instance->instance()->getOrCreateEncounteredAgentInfo(stage.instance->encounteredAgentsOnHost(),
        ModuleFixture::commandLine({ "--name", "Rec", "--cassandra", "late:9042" }));
    const QPointer<RecorderInstance> second = recorder->recorderInstances().last();
    const QString uuid = second->uuid();
    const QuenaryDouble::Agent agent = ModuleFixture::run(second);
    ModuleFixture::leave(agent.uuid);
    second->updateCassandraEndpoint("db");
    ModuleFixture::leave(stage.agentUuid);
    QuenaryDouble::clearCalls();
    QVERIFY(second.isNull());
    QCOMPARE(recorder->recorderInstances(), QList { stage.instance });

    const MessageLog messages;
    const Snapshot before = stage.snapshot();
    QVERIFY(send(sent, uuid, agent.uuid));
    ModuleFixture::settle();
    QCOMPARE(messages.problems(),
        sent.service == "replay_ended"
            ? QStringList { "warning: void RecorderModule::_onReplayEnded(const QString &, const QString &) unknown "
                            "recorder uuid "
                  + logged(agent.uuid) }
            : problemsOfNobody(sent, uuid));
    QCOMPARE(before.changesTo(stage.snapshot()), QStringList());
    QCOMPARE(Stage::calls(), QStringList());
}

// ---- modules ----------------------------------------------------------------------------------------------------

void tst_HostileTimes::aReplyOnItsWayToAModuleThatGoesIsForgotten_data()
{
    aReplyToAnInstanceThatWasADuplicateReachesNobody_data();
}

void tst_HostileTimes::aReplyOnItsWayToAModuleThatGoesIsForgotten()
{
    QFETCH(int, reply);
    const Reply& sent = repliesOfEveryKind().at(reply);
    Stage stage;
    stage.enter("replaying");
    const QString uuid = stage.instance->uuid();
    const QString input = stage.instance->replayProgressInput();
    const MessageLog messages;
    QVERIFY(send(sent, uuid, stage.agentUuid));
    QVERIFY(QuenaryDouble::writeInput(input, 2.0));
    stage.fixture.destroyModule();
    ModuleFixture::settle();
    // Afterwards one service is left, and it takes no notice of anything.
    QCOMPARE(QuenaryDouble::services(), QStringList { "loading_failed" });
    QCOMPARE(send(sent, uuid, stage.agentUuid), sent.service == "loading_failed");
    QVERIFY(!QuenaryDouble::writeInput(input, 2.0));
    ModuleFixture::settle();
    QCOMPARE(messages.problems(), QStringList());
    QCOMPARE(Stage::calls(), QStringList());
}

void tst_HostileTimes::aModuleMayGoWhileAnotherThreadAnswers()
{
    constexpr int ROUNDS = 20;
    constexpr int REPLIES_A_ROUND = 60;
    const MessageLog messages;
    std::atomic<int> replyCount = 0;
    std::atomic<bool> isOver = false;
    QMutex mutex;
    QString uuid;
    QString agentUuid;
    std::thread hostile([&] {
        for (int i = 0; !isOver; ++i) {
            QString instanceUuid;
            QString senderUuid;
            {
                const QMutexLocker locker(&mutex);
                instanceUuid = uuid;
                senderUuid = agentUuid;
            }
            send(repliesOfEveryKind().at(i % repliesOfEveryKind().size()), instanceUuid, senderUuid);
            QuenaryDouble::writeInput(instanceUuid + "#record_progress", i);
            QuenaryDouble::writeInput(instanceUuid + "#replay_progress", i);
            ++replyCount;
        }
    });
    for (int round = 0; round < ROUNDS; ++round) {
        ModuleFixture fixture;
        RecorderInstance* const instance = fixture.addRunningRecorder("Rec");
        {
            const QMutexLocker locker(&mutex);
            uuid = instance->uuid();
            agentUuid = instance->agentInstanceUuid();
        }
        // In every other round the replies are still on their way to the main thread when the module goes.
        const int enough = replyCount + REPLIES_A_ROUND;
        while (replyCount < enough) {
            if (round % 2 == 0) {
                ModuleFixture::settle();
            }
            std::this_thread::yield();
        }
        fixture.destroyModule();
        ModuleFixture::settle();
    }
    isOver = true;
    hostile.join();
    ModuleFixture::settle();

    // They were heard, and each warning is one of those that such replies have.
    QVERIFY(!messages.problems().isEmpty());
    const QStringList known { "unknown recorder", "Unknown recorder id", "no current record", "unknown record id",
        "failed to write content to record file", "because it is not playing" };
    for (const QString& problem : messages.problems()) {
        QVERIFY2(problem.startsWith("warning: ")
                && std::any_of(
                    known.cbegin(), known.cend(), [&problem](const QString& words) { return problem.contains(words); }),
            qPrintable(problem));
    }
}

// ---- while something else goes on -------------------------------------------------------------------------------

void tst_HostileTimes::aLateAcknowledgementSendsNothingToAnAgentThatLeft()
{
    Stage stage;
    stage.enter("importing");
    ModuleFixture::leave(stage.agentUuid);
    const MessageLog messages;
    const Snapshot before = stage.snapshot();
    stage.recorder->replyWithToken("record_uuid", { RECORD_B }, stage.instance->uuid() + "##import");
    QCOMPARE(messages.problems(), QStringList { "warning: Instance is off. Can not call service 'append'" });
    QCOMPARE(before.changesTo(stage.snapshot()), QStringList());
    QCOMPARE(Stage::calls(), QStringList());
}

void tst_HostileTimes::acknowledgementsThatComeAllAtOnceAreTakenOneAfterAnother()
{
    Stage stage;
    stage.enter("importing");
    const MessageLog messages;
    // Two chunks are left, so the rest of them end an import that has ended.
    const QString uuid(10 * 1024 * 1024, u'x');
    for (int i = 0; i < 5; ++i) {
        QVERIFY(QuenaryDouble::callService("record_uuid", { uuid }, stage.instance->uuid() + "##import"));
    }
    const QString chunk = QString("a;1;b\n\n").repeated(1000).left(100);
    const QString append = "append(" + uuid.left(100) + ',' + chunk + ')';
    QTRY_COMPARE(Stage::calls(), QStringList({ append, append, "get_records()", "get_records()", "get_records()" }));
    QVERIFY(!stage.instance->isImportingRecord());
    QCOMPARE(stage.instance->importingProgress(), 80);
    QCOMPARE(messages.problems(), QStringList());
}

void tst_HostileTimes::anythingMayHappenWhileAFileIsChosen_data()
{
    QTest::addColumn<QString>("question");
    QTest::addColumn<QString>("happening");
    QTest::addColumn<QString>("problem"); // %1 is replaced by the path that is chosen
    QTest::addColumn<QStringList>("calls");
    const auto row = [](const char* question, const char* happening, const QString& problem = QString(),
                         const QStringList& calls = {}) {
        QTest::addRow("%s, %s", question, happening) << QString(question) << QString(happening) << problem << calls;
    };
    const QString recordWent
        = "warning: void RecorderInstance::downloadRecord(RecorderRecord *) the record was removed "
          "while a file was chosen for it, nothing is written to %1";
    row("download", "the list is empty", recordWent);
    row("download", "the agent leaves", recordWent);
    row("import", "the list is empty", {}, { "import(in,true,,a;1;b\n\n)" });
    row("import", "the agent leaves", "warning: Instance is off. Can not call service 'import'");
    row("browse", "the list is empty");
    row("browse", "the agent leaves");
    for (const char* question : { "download", "import", "browse" }) {
        for (const Departure& departure : departures()) {
            row(question, departure.name);
        }
    }
}

void tst_HostileTimes::anythingMayHappenWhileAFileIsChosen()
{
    QFETCH(QString, question);
    QFETCH(QString, happening);
    QFETCH(QString, problem);
    QFETCH(QStringList, calls);
    Stage stage;
    QFile file(stage.folder.filePath("in.csv"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("a;1;b\n");
    file.close();
    const auto happen = [&] {
        for (const Departure& departure : departures()) {
            if (happening == QLatin1StringView(departure.name)) {
                departure.happen(stage);
            }
        }
        if (happening == "the list is empty") {
            stage.recorder->records("[]");
        } else if (happening == "the agent leaves") {
            ModuleFixture::leave(stage.agentUuid);
        }
        ModuleFixture::settle();
    };
    const MessageLog messages;
    const DialogAnswer answer(file.fileName(), happen);
    if (question == "download") {
        stage.instance->downloadRecord(stage.recordA());
    } else if (question == "import") {
        stage.instance->importRecord();
    } else {
        stage.instance->browseFileToLoad(QString());
    }
    QVERIFY(answer.wasAsked);
    QTRY_COMPARE(Stage::calls(), calls);
    ModuleFixture::settle();
    QStringList problems = messages.problems();
    problems.removeIf([](const QString& text) { return text.startsWith("warning: This plugin does not support"); });
    QCOMPARE(problems,
        problem.isEmpty() ? QStringList() : QStringList { QString(problem).replace("%1", logged(file.fileName())) });
}

QTEST_MAIN(tst_HostileTimes)
#include "tst_hostiletimes.moc"
