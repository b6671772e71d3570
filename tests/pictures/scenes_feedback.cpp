// SPDX-License-Identifier: Apache-2.0
#include "filesfixture.h"
#include "samplerecords.h"
#include "stage.h"

#include <recordagentfilter.h>

namespace {

ScriptedRecorder loaded(Stage& stage)
{
    ScriptedRecorder played = Stage::started(stage.recorder());
    SampleRecords::load(stage.recorder(), played);
    stage.open(stage.recorder(), Stage::Records);
    return played;
}

void loading(Stage& stage)
{
    ScriptedRecorder played = loaded(stage);
    stage.recorder()->loadRecord(SampleRecords::record(stage.recorder(), 1));
    played.reply(QStringLiteral("loading"), { 40.0 });
}

void exporting(Stage& stage)
{
    ScriptedRecorder played = loaded(stage);
    RecorderInstance* const recorder = stage.recorder();
    const DialogAnswer answer(stage.folder() + QStringLiteral("/plant.csv"));
    recorder->downloadRecord(recorder->currentRecord());
    played.reply(QStringLiteral("receive_export"),
        { SampleRecords::uuid(0), 1, SampleRecords::uuid(1), QStringLiteral("pump;150000000;output;speed;double;1") });
}

void importing(Stage& stage)
{
    loaded(stage);
    RecorderInstance* const recorder = stage.recorder();
    const QString path = stage.folder() + QStringLiteral("/plant.csv");
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(FileFolder::rows(20'000)) < 0) {
        qWarning("There is no file to import");
    }
    file.close();
    recorder->importRecord(QUrl::fromLocalFile(path));
    if (!QTest::qWaitFor([recorder] { return recorder->importingProgress() > 0; })) {
        qWarning("The import does not begin");
    }
}

void canceling(Stage& stage)
{
    exporting(stage);
    stage.click(QStringLiteral("cancelButton"));
}

void moving(Stage& stage)
{
    loaded(stage);
    stage.recorder()->moveCurrentRecordTime(20);
}

void filtering(Stage& stage)
{
    loaded(stage);
    RecorderInstance* const recorder = stage.recorder();
    qobject_cast<RecordAgentFilter*>(recorder->currentRecord()->agentsFilters()->get(0))->setchecked(false);
    recorder->updateRecordAgentsFilter(recorder->currentRecord());
}

void stopping(Stage& stage)
{
    ScriptedRecorder played = loaded(stage);
    RecorderInstance* const recorder = stage.recorder();
    recorder->playRecord(recorder->currentRecord());
    played.progress(recorder->replayProgressInput(), 126.34);
    recorder->stopRecord(recorder->currentRecord());
}

/// The recorder has not answered for long.
void silent(Stage& stage)
{
    moving(stage);
    auto* const wayOut = stage.item(QStringLiteral("busyFeedback"))->findChild<QQuickItem*>(QStringLiteral("wayOut"));
    if (!wayOut || !wayOut->setProperty("patience", 1) || !QTest::qWaitFor([wayOut] { return wayOut->isVisible(); })) {
        qWarning("No way out is offered");
    }
}

} // namespace

Scenes feedbackScenes()
{
    return {
        { "loading", loading },
        { "exporting", exporting },
        { "importing", importing },
        { "canceling", canceling },
        { "moving", moving },
        { "filtering", filtering },
        { "stopping", stopping },
        { "silent", silent },
    };
}
