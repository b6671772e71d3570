// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "messagelog.h"
#include "modulefixture.h"
#include "snapshot.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QTemporaryDir>

/// One running recorder, "Rec", with two records of three seconds, A and B, and filters of its own; a second one, "Other",
/// that is off and must not notice anything. Records are brought to a state as a user and an honest recorder would do it.
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
    /// The recorder's silence counts as the end of a recording after half a second. When this is true the test was too slow
    /// to tell anything about the state before.
    bool isTooLate() const { return _progress.isValid() && _progress.elapsed() > 400; }
    void progress(double seconds);

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

    QElapsedTimer _progress;
};

/// The list that holds A and B.
QString recordsAandB();
