// SPDX-License-Identifier: Apache-2.0
#include "samplerecords.h"
#include "stage.h"

namespace {

void off(Stage& stage)
{
    stage.open(stage.recorder(), Stage::Records);
}

void list(Stage& stage, int count, SampleRecords::Names names = SampleRecords::Names::Usual)
{
    ScriptedRecorder played = Stage::started(stage.recorder());
    if (count > 0) {
        played.records(SampleRecords::list(count, names));
    }
    stage.open(stage.recorder(), Stage::Records);
}

void empty(Stage& stage)
{
    list(stage, 0);
}

void one(Stage& stage)
{
    list(stage, 1);
}

void many(Stage& stage)
{
    list(stage, 60, SampleRecords::Names::Strange);
}

void renamed(Stage& stage)
{
    list(stage, 5);
    stage.focusOn(QStringLiteral("recordsList"));
    stage.key(Qt::Key_Down);
    stage.key(Qt::Key_F2);
    stage.fill(QStringLiteral("recordName"), QStringLiteral("Cold start, valve stuck"), false);
}

void deletion(Stage& stage)
{
    list(stage, 5, SampleRecords::Names::Strange);
    stage.click(QStringLiteral("deleteRecordButton"), 2);
}

void dropped(Stage& stage)
{
    list(stage, 5);
    stage.drag(QStringLiteral("recordsTab"), { QUrl(QStringLiteral("file:///home/operator/plant.csv")) });
}

void droppedWrong(Stage& stage)
{
    list(stage, 5);
    stage.drag(QStringLiteral("recordsTab"), { QUrl(QStringLiteral("file:///home/operator/plant.txt")) });
}

void failed(Stage& stage)
{
    list(stage, 5);
    RecorderInstance* const recorder = stage.recorder();
    recorder->loadRecord(SampleRecords::record(recorder, 1));
    ScriptedRecorder(recorder).reply(QStringLiteral("loading_failed"),
        { SampleRecords::uuid(1),
            QStringLiteral(
                "every recorded agent is live: Pump A, Tank, <b>Valve</b>. Stop them, or start the recorder with "
                "--replay_over_live") });
}

void tooltip(Stage& stage)
{
    list(stage, 5, SampleRecords::Names::Strange);
    stage.pointAt(QStringLiteral("recordNameText"), 2);
}

} // namespace

Scenes recordsScenes()
{
    return {
        { "records-off", off },
        { "records-empty", empty },
        { "records-one", one },
        { "records-many", many },
        { "records-long-name", tooltip },
        { "records-renaming", renamed },
        { "records-deletion", deletion },
        { "records-drop", dropped },
        { "records-drop-wrong", droppedWrong },
        { "records-failed", failed },
    };
}
