// SPDX-License-Identifier: Apache-2.0
#include "samplerecords.h"
#include "stage.h"

namespace {

void off(Stage& stage)
{
    stage.open(stage.recorder(), Stage::Configuration);
}

/// Everything that can be set.
void settings(Stage& stage)
{
    RecorderInstance* const recorder = stage.recorder();
    recorder->updateIsVerbose(true);
    recorder->updateUseCustomKeyspace(true);
    recorder->updateCustomKeyspace(QStringLiteral("plant_2026"));
    recorder->updateUseAuthentication(true);
    recorder->updateUsername(QStringLiteral("operator"));
    recorder->updatePassword(QStringLiteral("secret"));
    recorder->updateIsQuenarySecurityActivate(true);
    recorder->updatePrivateAgentCertificateFilePath(
        QStringLiteral("/home/operator/certificates/of the water plant in the north/recorder_private_key.cert"));
    recorder->updatePublicCertificatesDirectoryPath(QStringLiteral("/home/operator/certificates/public"));
    recorder->updateTimestampedReplayMode(true);
}

void settingsOff(Stage& stage)
{
    settings(stage);
    stage.open(stage.recorder(), Stage::Configuration);
}

void settingsOn(Stage& stage)
{
    settings(stage);
    ScriptedRecorder played = Stage::started(stage.recorder());
    played.reply(QStringLiteral("record_filters"),
        { true, QStringLiteral("# without the operator's notes\n-Valve\n-Operator/note") });
    stage.open(stage.recorder(), Stage::Configuration);
}

void filtersTyped(Stage& stage)
{
    Stage::started(stage.recorder());
    stage.open(stage.recorder(), Stage::Configuration);
    stage.focusOn(QStringLiteral("filtersText"));
    stage.type(QStringLiteral("-Pump B"));
}

void nameUsed(Stage& stage)
{
    stage.addRecorder(QStringLiteral("Night recorder"), {});
    stage.open(stage.recorder(), Stage::Configuration);
    stage.fill(QStringLiteral("recorderName"), QStringLiteral("Night recorder"), false);
}

void connecting(Stage& stage)
{
    stage.open(stage.recorder(), Stage::Records);
    // Not pressed: that would start a program.
    stage.item(QStringLiteral("connectButton"))->setProperty("pending", QStringLiteral("start"));
}

void recording(Stage& stage)
{
    RecorderInstance* const recorder = stage.recorder();
    ScriptedRecorder played = Stage::started(recorder);
    played.records(SampleRecords::list(5));
    stage.open(recorder, Stage::Records);
    stage.meanwhile = [=, seconds = 767.0]() mutable {
        ScriptedRecorder(recorder).progress(recorder->recordProgressInput(), seconds);
        ScriptedRecorder(recorder).progress(recorder->recordProgressInput(), seconds += 1);
    };
}

void recordingPaused(Stage& stage)
{
    recording(stage);
    RecorderInstance* const recorder = stage.recorder();
    stage.meanwhile = [=] {
        // It stands where it stood.
        for (const double seconds : { 767.0, 768.0, 768.0 }) {
            ScriptedRecorder(recorder).progress(recorder->recordProgressInput(), seconds);
        }
    };
}

/// A record was pressed meanwhile.
void recordingAsked(Stage& stage)
{
    recording(stage);
    stage.meanwhile = [&stage, goOn = stage.meanwhile] {
        goOn();
        if (!stage.isShown(QStringLiteral("question"))) {
            stage.click(QStringLiteral("recordDuration"), 1);
        }
    };
}

/// It started while somebody typed.
void heldBack(Stage& stage)
{
    stage.recorder()->updateUseCustomKeyspace(true);
    stage.recorder()->updateUseAuthentication(true);
    stage.open(stage.recorder(), Stage::Configuration);
    stage.fill(QStringLiteral("keyspaceField"), QStringLiteral("plant_2026"), false);
    Stage::started(stage.recorder());
}

void unavailable(Stage& stage)
{
    stage.open(stage.recorder(), Stage::Configuration);
    stage.pointAt(QStringLiteral("recordButton"));
}

} // namespace

Scenes recorderScenes()
{
    return {
        { "recorder-off", off },
        { "recorder-settings-off", settingsOff },
        { "recorder-settings-on", settingsOn },
        { "recorder-filters-typed", filtersTyped },
        { "recorder-name-used", nameUsed },
        { "recorder-connecting", connecting },
        { "recorder-unavailable", unavailable },
        { "recording", recording },
        { "recording-paused", recordingPaused },
        { "recording-asked", recordingAsked },
        { "recorder-held-back", heldBack },
    };
}
