// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "recordermodule.h"

#include <quenarydouble.h>
#include <systemviewmanager.h>

#include <QtCore/QObject>
#include <QtTest/QtTest>

#include <limits>
#include <memory>

/// An open document with one empty view, a module on it, and a network that the test plays. What most tests begin with.
///
/// Every warning that a test does not announce fails it.
class ModuleFixture
{
public:
    /// A null path takes an executable that exists.
    explicit ModuleFixture(const QString& recorderExecutablePath = QString());
    ~ModuleFixture();

    static QString executablePath();

    RecorderModule& module() { return *_module; }
    void destroyModule() { _module.reset(); }

    /// Places a recorder in the view, with this launch line on this machine (null: a line with a database).
    SystemViewClassInstance* addRecorder(const QString& name, const QString& commandLine = QString());
    Recorder* recorderOf(SystemViewClassInstance* classInstance);
    RecorderInstance* firstInstanceOf(SystemViewClassInstance* classInstance);
    static QString commandLine(const QStringList& arguments);

    /// The recorder's program enters the network as this launch line would make it; returns when the module saw it.
    static QuenaryDouble::Agent run(RecorderInstance* instance);
    /// By which no process is known: beyond the numbers that the system gives.
    static constexpr qint64 ENDED_PROCESS = std::numeric_limits<int>::max();
    static QuenaryDouble::Agent agentOf(RecorderInstance* instance, const QString& uuid);
    static void enter(const QuenaryDouble::Agent& agent);
    static void leave(const QString& agentUuid, QuenaryDouble::Exit how = QuenaryDouble::Exit::TakesLeave);

    /// A recorder that runs, its first questions forgotten.
    RecorderInstance* addRunningRecorder(const QString& name = QStringLiteral("Recorder"));

    /// Lets queued signals and deferred deletions happen.
    static void settle();

private:
    std::unique_ptr<RecorderModule> _module;
};

/// What is told in the host's window from here on.
class Told
{
public:
    QStringList texts() const;

private:
    QSignalSpy _raised { SystemViewManager::instance(), &SystemViewManager::problemRaised };
};

/// Plays the recorder's side of one instance: answers as its agent would, and returns when the module heard it.
class ScriptedRecorder
{
public:
    explicit ScriptedRecorder(RecorderInstance* instance);

    void reply(const QString& service, const QVariantList& arguments = {});
    void replyWithToken(const QString& service, const QVariantList& arguments, const QString& token);
    void records(const QString& json);
    void loaded(const QString& recordUuid, double duration, const QString& agents);
    void progress(const QString& input, double seconds);

private:
    QString _token;
    QuenaryDouble::Sender _sender;
};

/// The last call of a recorder's service.
QuenaryDouble::ServiceCall lastServiceCall();

/// Compares the one call since the last time: to the instance's agent, the arguments with their types, and the token
/// (null: the instance's uuid).
void compareCall(const RecorderInstance* instance, const char* service, const QVariantList& arguments,
    const QString& token = QString());
/// The same for one call of several.
void compareCall(const QuenaryDouble::ServiceCall& call, const RecorderInstance* instance, const char* service,
    const QVariantList& arguments, const QString& token = QString());

/// A record as a recorder lists it.
QString recordJson(const QString& uuid, const QString& name, qint64 durationInMicroseconds = 3000000,
    const QString& startDate = QStringLiteral("2026-11-21 10:00:00.000"),
    const QString& endDate = QStringLiteral("2026-11-21 10:00:03.000"));

/// A running recorder with two records, the first of them loaded: three seconds, agents a, b and c.
class LoadedRecorder
{
public:
    LoadedRecorder();

    void check(int agent, bool checked) { record->agentsFilters()->get(agent)->setProperty("checked", checked); }
    /// The recorder says what it replays: four and a half seconds.
    void context(const QString& replayId, double progress, double speed, bool isRunning, const QString& agents,
        const QString& filter, const QString& recordId = QStringLiteral(""));

    ModuleFixture fixture;
    RecorderInstance* instance;
    ScriptedRecorder recorder;
    RecorderRecord* record = nullptr;
    RecorderRecord* other = nullptr;
};

inline const QString RECORD_A = QStringLiteral("aaaaaaaa-0000-4000-8000-000000000001");
inline const QString RECORD_B = QStringLiteral("bbbbbbbb-0000-4000-8000-000000000002");

/// A class's own signals or slots, in order.
QStringList methodSignatures(const QMetaObject& metaObject, QMetaMethod::MethodType type);
