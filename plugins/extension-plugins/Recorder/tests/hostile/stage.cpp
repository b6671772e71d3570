// SPDX-License-Identifier: Apache-2.0
#include "stage.h"

#include "dialoganswer.h"

#include <QtCore/QFutureWatcher>

QString recordsAandB()
{
    return u'[' + recordJson(RECORD_A, QStringLiteral("A")) + u',' + recordJson(RECORD_B, QStringLiteral("B")) + u']';
}

Stage::Stage()
    : instance(fixture.addRunningRecorder(QStringLiteral("Rec")))
    , other(fixture.firstInstanceOf(fixture.addRecorder(QStringLiteral("Other"))))
    , recorder(std::make_unique<ScriptedRecorder>(instance))
    , agentUuid(instance->agentInstanceUuid())
{
    instance->setrecordFilters(QStringLiteral("-tank"));
    recorder->records(recordsAandB());
    QuenaryDouble::clearCalls();
}

QStringList Stage::calls()
{
    QStringList texts;
    const QList<QuenaryDouble::ServiceCall> calls = QuenaryDouble::serviceCalls();
    for (const QuenaryDouble::ServiceCall& call : calls) {
        QStringList arguments;
        for (const QVariant& argument : call.arguments) {
            arguments.append(argument.toString().left(100));
        }
        texts.append(call.service + u'(' + arguments.join(u',') + u')');
    }
    return texts;
}

void Stage::progress(double seconds)
{
    startSilence();
    recorder->progress(instance->recordProgressInput(), seconds);
}

void Stage::tellInTime(const std::function<QStringList(Stage& stage)>& run)
{
    constexpr int SILENCE_MS = 400;
    for (int attempt = 0; attempt < 20; ++attempt) {
        Stage stage;
        const QStringList surprises = run(stage);
        if (!stage._silence.isValid() || stage._silence.elapsed() < SILENCE_MS) {
            QCOMPARE(surprises.join(u'\n'), QString());
            return;
        }
    }
    QFAIL("the machine is too slow to tell");
}

// ---- states -----------------------------------------------------------------------------------------------------

const QStringList& Stage::states()
{
    static const QStringList all { "off", "idle", "recording", "paused", "loading", "loaded", "replaying", "moving",
        "stopping", "waiting to filter", "filtering", "exporting", "cancelling the export", "importing",
        "cancelling the import", "replaying a file" };
    return all;
}

void Stage::enter(const QString& state)
{
    if (state == "off") {
        ModuleFixture::leave(agentUuid);
    } else if (state == "recording" || state == "paused") {
        instance->startRecording();
        recorder->replyWithToken("record_uuid", { RECORD_B }, instance->uuid() + "##record");
        if (state == "paused") {
            progress(1.5);
            progress(1.5);
        }
    } else if (state == "loading") {
        instance->loadRecord(recordA());
    } else if (state == "loaded") {
        _load();
    } else if (state == "replaying") {
        _play();
    } else if (state == "moving") {
        _load();
        instance->moveCurrentRecordTime(2.0);
    } else if (state == "stopping") {
        _play();
        instance->stopRecord(recordA());
    } else if (state == "waiting to filter") {
        _play();
        _uncheckAgentB();
        instance->beforeUpdateRecordAgentsFilter(recordA());
    } else if (state == "filtering") {
        _load();
        _uncheckAgentB();
        instance->beforeUpdateRecordAgentsFilter(recordA());
    } else if (state == "exporting" || state == "cancelling the export") {
        _download();
        if (state != "exporting") {
            instance->stopExport();
        }
    } else if (state == "importing" || state == "cancelling the import") {
        _import();
        if (state != "importing") {
            instance->stopImport();
            chunksLeft = 0;
        }
    } else if (state == "replaying a file") {
        instance->loadRecordFile("/r/file.csv");
        recorder->loaded("/r/file.csv", 3.0, R"(["a","b"])");
        instance->playRecord(instance->currentRecord());
    } else {
        QCOMPARE(state, "idle");
    }
    ModuleFixture::settle();
    QuenaryDouble::clearCalls();
}

void Stage::_load()
{
    instance->loadRecord(recordA());
    recorder->loaded(RECORD_A, 3.0, R"(["a","b","c"])");
}

void Stage::_play()
{
    _load();
    instance->playRecord(recordA());
    recorder->progress(instance->replayProgressInput(), 1.5);
}

void Stage::_uncheckAgentB()
{
    qobject_cast<RecordAgentFilter*>(recordA()->agentsFilters()->get(1))->setchecked(false);
}

void Stage::_download()
{
    const MessageLog messages;
    const DialogAnswer answer(folder.filePath("out.csv"));
    instance->downloadRecord(recordA());
    QVERIFY(instance->isDownloadingRecord());
    // The offscreen platform warns of what it does not do with windows.
    for (const QString& problem : messages.problems()) {
        QVERIFY2(problem.startsWith("warning: This plugin does not support"), qPrintable(problem));
    }
}

// In three chunks, of which the first is sent.
void Stage::_import()
{
    constexpr int ROWS = 25000;
    QFile file(folder.filePath("in.csv"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(QByteArray("a;1;b\n").repeated(ROWS));
    file.close();
    instance->importRecord(QUrl::fromLocalFile(file.fileName()));
    chunksLeft = 2;
    // The task sends first and knows later that there is more.
    QVERIFY(QTest::qWaitFor([this] { return instance->importingProgress() == 40; }));
    // And its end is heard later still.
    QVERIFY(QTest::qWaitFor([this] {
        ModuleFixture::settle();
        return instance->findChildren<QFutureWatcherBase*>().isEmpty();
    }));
}
