// SPDX-License-Identifier: Apache-2.0
#include "samplerecords.h"
#include "stage.h"

#include <recordagentfilter.h>

namespace {

ScriptedRecorder load(Stage& stage, const QString& agents = SampleRecords::agents())
{
    RecorderInstance* const recorder = stage.recorder();
    ScriptedRecorder played = Stage::started(recorder);
    SampleRecords::load(recorder, played, 0, agents);
    stage.open(recorder, Stage::Records);
    return played;
}

void chooseAgents(RecorderInstance* recorder, const QStringList& names)
{
    const AbstractZqCustomItemListModel* const filters = recorder->currentRecord()->agentsFilters();
    for (int row = 0; row < filters->count(); ++row) {
        auto* const filter = qobject_cast<RecordAgentFilter*>(filters->get(row));
        filter->setchecked(names.contains(filter->name()));
    }
}

void loaded(Stage& stage)
{
    load(stage);
}

void replaying(Stage& stage)
{
    ScriptedRecorder played = load(stage);
    RecorderInstance* const recorder = stage.recorder();
    recorder->playRecord(recorder->currentRecord());
    played.progress(recorder->replayProgressInput(), 126.34);
}

void paused(Stage& stage)
{
    replaying(stage);
    RecorderInstance* const recorder = stage.recorder();
    recorder->pauseRecord(recorder->currentRecord());
    ScriptedRecorder(recorder).reply(QStringLiteral("paused"));
}

void filtered(Stage& stage)
{
    load(stage);
    chooseAgents(stage.recorder(), { QStringLiteral("Pump A"), QStringLiteral("Tank"), QStringLiteral("Valve") });
}

void nobody(Stage& stage)
{
    load(stage);
    chooseAgents(stage.recorder(), {});
}

void agents(Stage& stage)
{
    load(stage, SampleRecords::manyAgents(40));
    chooseAgents(stage.recorder(),
        { QStringLiteral("<i>Controller</i>"), QStringLiteral("Pump 003"), QStringLiteral("Pump 005") });
    stage.click(QStringLiteral("agentsFilter"));
}

void speed(Stage& stage)
{
    load(stage);
    stage.click(QStringLiteral("speedChooser"));
}

void wrongTime(Stage& stage)
{
    load(stage);
    stage.fill(QStringLiteral("positionField"), QStringLiteral("99:00"), false);
}

} // namespace

Scenes replayScenes()
{
    return {
        { "replay-loaded", loaded },
        { "replaying", replaying },
        { "replay-paused", paused },
        { "replay-filtered", filtered },
        { "replay-nobody", nobody },
        { "replay-agents", agents },
        { "replay-speed", speed },
        { "replay-wrong-time", wrongTime },
    };
}
