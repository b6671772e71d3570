// SPDX-License-Identifier: Apache-2.0
#include "samplerecords.h"
#include "stage.h"

namespace {

const QString PATH
    = QStringLiteral("/home/operator/records of the water plant in the north/2026-11-21 cold start, valve stuck.csv");

void off(Stage& stage)
{
    stage.open(stage.recorder(), Stage::File);
}

void empty(Stage& stage)
{
    Stage::started(stage.recorder());
    stage.open(stage.recorder(), Stage::File);
}

void loaded(Stage& stage)
{
    empty(stage);
    stage.recorder()->loadRecordFile(PATH);
    ScriptedRecorder(stage.recorder()).loaded(PATH, 480.5, SampleRecords::agents());
}

void failed(Stage& stage)
{
    empty(stage);
    stage.recorder()->loadRecordFile(PATH);
    ScriptedRecorder(stage.recorder())
        .reply(QStringLiteral("loading_failed"),
            { PATH,
                QStringLiteral("line 17, column 3: \"<b>x</b>\" is no time; mend the file or choose another one") });
}

void dropped(Stage& stage)
{
    empty(stage);
    stage.drag(QStringLiteral("fileTab"), { QUrl(QStringLiteral("file:///home/operator/plant.csv")) });
}

} // namespace

Scenes fileScenes()
{
    return {
        { "file-off", off },
        { "file-empty", empty },
        { "file-loaded", loaded },
        { "file-failed", failed },
        { "file-drop", dropped },
    };
}
