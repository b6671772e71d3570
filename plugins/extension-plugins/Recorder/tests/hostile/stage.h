// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "messagelog.h"
#include "modulefixture.h"
#include "snapshot.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QTemporaryDir>

#include <functional>

/// One running recorder, "Rec", with two records of three seconds, A and B, and filters of its own; a second one,
/// "Other", that is off and must not notice anything. Records are brought to a state as a user and an honest recorder
/// would do it.
class Stage
{
public:
    Stage();

    /// Every state that a recorder can be in; see the definition.
    static const QStringList& states();
    void enter(const QString& state);

    RecorderRecord* recordA() const { return qobject_cast<RecorderRecord*>(instance->records()->get(0)); }
    Snapshot snapshot() { return Snapshot(fixture.module()); }
    /// Every service that was called since clearCalls(), with its arguments: "move_to(0)".
    static QStringList calls();
    void progress(double seconds);
    /// From now on the recorder's silence counts: half a second of it is the end of a recording.
    void startSilence() { _silence.start(); }

    /// Runs something on a stage of its own that gives back what surprised it. When the machine was so slow that
    /// silence may have ended a recording meanwhile, that does not count, and it is run again.
    static void tellInTime(const std::function<QStringList(Stage& stage)>& run);

    QTemporaryDir folder;
    ModuleFixture fixture;
    RecorderInstance* instance = nullptr;
    RecorderInstance* other = nullptr;
    std::unique_ptr<ScriptedRecorder> recorder;
    QString agentUuid;
    /// Chunks of the file under import that the recorder has not got.
    int chunksLeft = 0;

private:
    void _load();
    void _play();
    void _uncheckAgentB();
    void _download();
    void _import();

    QElapsedTimer _silence;
};

/// The list that holds A and B.
QString recordsAandB();
