// SPDX-License-Identifier: Apache-2.0
#include "samplerecords.h"
#include "stage.h"

#include <networkconfiguration.h>

namespace {

void offline(Stage& stage)
{
    NetworkConfiguration::instance()->disconnectFromNetwork();
    stage.showRecorders();
}

void empty(Stage& stage)
{
    stage.host().newDocument();
    stage.showRecorders();
}

void one(Stage& stage)
{
    stage.showRecorders();
}

/// Every state that a recorder can be in.
void many(Stage& stage)
{
    RecorderInstance* const recording = stage.recorder();
    RecorderInstance* const replaying = stage.addRecorder(
        QStringLiteral("Line 2 recorder"), { QStringLiteral("--cassandra"), QStringLiteral("embedded:9042") });
    RecorderInstance* const paused = stage.addRecorder(QStringLiteral("Night recorder"), {});
    RecorderInstance* const loading = stage.addRecorder(
        QStringLiteral("Archive"), { QStringLiteral("--cassandra"), QStringLiteral("10.1.2.3:9042") });
    RecorderInstance* const ready = stage.addRecorder(
        QStringLiteral("Bench"), { QStringLiteral("--cassandra"), QStringLiteral("db.plant.example:9042") });
    stage.addRecorder(QStringLiteral("Test recorder"),
        { QStringLiteral("--cassandra"), QStringLiteral("embedded:9042") }, QStringLiteral("bench-02"));

    const ScriptedRecorder played = Stage::started(recording);
    const ScriptedRecorder playedPaused = Stage::started(paused);
    ScriptedRecorder playedReplay = Stage::started(replaying);
    SampleRecords::load(replaying, playedReplay);
    replaying->playRecord(replaying->currentRecord());
    playedReplay.progress(replaying->replayProgressInput(), 21.3);
    ScriptedRecorder playedLoading = Stage::started(loading);
    playedLoading.records(SampleRecords::list(3));
    loading->loadRecord(SampleRecords::record(loading, 1));
    Stage::started(ready);
    stage.showRecorders();
    stage.meanwhile = [=, seconds = 767.0]() mutable {
        ScriptedRecorder(recording).progress(recording->recordProgressInput(), seconds);
        ScriptedRecorder(recording).progress(recording->recordProgressInput(), seconds += 1);
        for (const double stood : { 60.0, 61.0, 61.0 }) {
            ScriptedRecorder(paused).progress(paused->recordProgressInput(), stood);
        }
    };
}

/// Names that are long or look like something else, and a recorder that was met on several machines.
void strange(Stage& stage)
{
    stage.addRecorder(
        QStringLiteral("<b>Test</b> of a recorder whose name is longer than anybody would read in a list of recorders"),
        { QStringLiteral("--cassandra"), QStringLiteral("embedded:9042") },
        QStringLiteral("bench-02.a-long-network-name.example"));
    stage.addLaunchLine(QStringLiteral("Plant recorder"), {}, QStringLiteral("<i>bench-03</i>"));
    stage.addLaunchLine(QStringLiteral("Plant recorder"),
        { QStringLiteral("--cassandra"), QStringLiteral("a-database-with-a-long-name.plant.example:9042") });
    stage.showRecorders();
}

void deletion(Stage& stage)
{
    stage.showRecorders();
    stage.click(QStringLiteral("deleteRecorderButton"));
}

void focus(Stage& stage)
{
    stage.showRecorders();
    stage.focusOn(QStringLiteral("recorderInstance"));
}

} // namespace

Scenes recordersScenes()
{
    return {
        { "recorders-offline", offline },
        { "recorders-empty", empty },
        { "recorders-one", one },
        { "recorders-many", many },
        { "recorders-strange", strange },
        { "recorders-deletion", deletion },
        { "recorders-focus", focus },
    };
}
