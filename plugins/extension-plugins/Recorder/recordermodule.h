// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "recorder.h"
#include "sortfilterrecorder.h"

#include <systemviewcorvanemodule.h>

#include <QtCore/QDateTime>
#include <QtCore/QHash>
#include <QtCore/QMultiHash>
#include <QtCore/QPointer>

class SystemViewBaseInstance;

/// The object behind the module's pages: one Recorder for each recorder class instance of the current system view, and
/// the reply services on the host's agent by which recorder agents answer.
//
/// Everything runs on the main thread but the reply and input callbacks: those run on the network library's thread and
/// do nothing but emit the signals of the second banner, which reach the private handlers through the event queue.
class RecorderModule : public SystemViewCorvaneModule
{
    Q_OBJECT

    /// Of Recorder, in order of registration.
    Q_PROPERTY(AbstractZqCustomItemListModel* recorders READ recorders CONSTANT)
    /// The same, sorted by name.
    Q_PROPERTY(SortFilterRecorder* sortedRecorders READ sortedRecorders CONSTANT)
    /// The recorder that the pages show, or null.
    Q_PROPERTY(
        RecorderInstance* currentRecorder READ currentRecorder WRITE setcurrentRecorder NOTIFY currentRecorderChanged)

public:
    /// `recorderExecutablePath`: canonical, or empty when the executable is missing.
    RecorderModule(const QString& recorderExecutablePath, QObject* parent);
    ~RecorderModule() override;
    Q_DISABLE_COPY_MOVE(RecorderModule)

    AbstractZqCustomItemListModel* recorders() { return &_recorders; }
    SortFilterRecorder* sortedRecorders() { return &_sortedRecorders; }
    RecorderInstance* currentRecorder() const { return _currentRecorder; }
    void setcurrentRecorder(RecorderInstance* currentRecorder);

    QString recorderExecutablePath() const { return _recorderExecutablePath; }
    bool recorderExecutableExists() const { return _recorderExecutableExists; }

    /// Places a new recorder in the current view. Nothing without one.
    Q_INVOKABLE void createRecorder();
    /// Nothing for a recorder that runs. With the last of a class instance, that goes from the document too.
    Q_INVOKABLE void deleteRecorder(RecorderInstance* recorderInstance);

public Q_SLOTS:
    void onSystemDocumentChanged() override;
    void onSystemViewBaseInstanceRegistered(SystemViewBaseInstance* newInstance) override;
    void onSystemViewBaseInstanceUnregistered(SystemViewBaseInstance* instance) override;

Q_SIGNALS:
    // ---- properties
    void currentRecorderChanged();
    void currentRecorderDestroyed();

    // ---- replies: emitted on the network library's thread (recordermodule_replies.cpp)
    /// `recorderId` is the token of the command that is answered: a RecorderInstance's uuid. Times are in seconds.
    void contextReceived(const QString& recorderId, const QString& replayId, const QDateTime& replayStartDateTime,
        double replayDuration, double replayProgress, double replaySpeed, bool replayIsRunning,
        const QString& replayAllAgents, const QString& replayAgentsFiler, const QString& recordId);
    void recordsReceived(const QString& recorderId, const QString& records);
    void recordingStoppedReceived(const QString& recorderId);
    void recordFiltersReceived(const QString& recorderId, bool fromFile, const QString& filters);
    void recordingIsStarted(const QString& recorderId, const QString& recordUuid);
    void recordingProgressReceived(const QString& recorderId, double elapsedTimeInSeconds);
    void loadingProgess(const QString& recorderId, double percent);
    void recordLoaded(const QString& recorderId, const QString& recordUuid, const QDateTime& startDateTime,
        double durationInSeconds, const QString& agentsList);
    void recordLoadingFailed(const QString& recorderId, const QString& recordUuid, const QString& reason);
    void replayProgressReceived(const QString& recorderId, double elapsedTimeInSeconds);
    void recordPaused(const QString& recorderId);
    void recordMovedTo(const QString& recorderId, double duration);
    void recordFilterApplied(const QString& recorderId);
    void exportReceived(const QString& recorderId, const QString& recordUuid, int nextBucketId, const QString& nextUuid,
        const QString& content);
    void importReceived(const QString& recorderId, const QString& recordUuid);
    /// Names the agent that sent it, not a token.
    void replayEnded(const QString& recorderName, const QString& recorderUuid);

private Q_SLOTS:
    // ---- recordermodule.cpp
    void _oncurrentRecorderDestroyed(QObject* object);
    void _onCurrentSystemViewChanged();
    void _onRecorderInstanceCreated(RecorderInstance* recorderInstance);
    void _onRecorderInstanceRemoved(RecorderInstance* recorderInstance);

    // ---- recordermodule_handlers.cpp
    void _onContextReceived(const QString& recorderId, const QString& replayId, const QDateTime& replayStartDateTime,
        double replayDuration, double replayProgress, double replaySpeed, bool replayIsRunning,
        const QString& replayAllAgents, const QString& replayAgentsFiler, const QString& recordId);
    void _onRecordsReceived(const QString& recorderId, const QString& records);
    void _onRecordingStoppedReceived(const QString& recorderId);
    void _onRecordFiltersReceived(const QString& recorderId, bool fromFile, const QString& filters);
    void _onRecordingIsStarted(const QString& recorderId, const QString& recordUuid);
    void _onRecordingProgressReceived(const QString& recorderId, double elapsedTimeInSeconds);
    void _onLoadingProgess(const QString& recorderId, double percent);
    void _onRecordLoaded(const QString& recorderId, const QString& recordUuid, const QDateTime& startDateTime,
        double durationInSeconds, const QString& agentsList);
    void _onRecordLoadingFailed(const QString& recorderId, const QString& recordUuid, const QString& reason);
    void _onReplayProgressReceived(const QString& recorderId, double elapsedTimeInSeconds);
    void _onRecordPaused(const QString& recorderId);
    void _onRecordMovedTo(const QString& recorderId, double duration);
    void _onRecordFilterApplied(const QString& recorderId);
    void _onExportReceived(const QString& recorderId, const QString& recordUuid, int nextBucketId,
        const QString& nextUuid, const QString& content);
    void _onImportReceived(const QString& recorderId, const QString& recordUuid);
    void _onReplayEnded(const QString& recorderName, const QString& recorderUuid);

private:
    // ---- recordermodule_replies.cpp
    void _initialiseServices();
    void _removeServices();

    // ---- recordermodule.cpp
    void _connectReplies();
    void _resetModule();
    void _clearRecorders();
    void _clearRecorder(Recorder* recorder);
    void _createAndRegisterRecorder(SystemViewClassInstance* classInstance);
    void _removeRecorder(SystemViewClassInstance* classInstance);
    void _createRecorderInputs(RecorderInstance* recorderInstance);
    void _removeRecorderInputsAndMappings(RecorderInstance* recorderInstance);

    // ---- recordermodule_handlers.cpp
    Recorder* _getRecorderByName(const QString& name) const;
    RecorderInstance* _getRecorderInstanceById(const QString& recorderId) const;

    ZqCustomItemListModel<Recorder> _recorders;
    SortFilterRecorder _sortedRecorders;
    RecorderInstance* _currentRecorder = nullptr;
    const QString _recorderExecutablePath;
    bool _recorderExecutableExists = false;
    /// Guarded, as the next: whoever has the list of recorders may delete one.
    QHash<SystemViewClassInstance*, QPointer<Recorder>> _recordersByClassInstance;
    /// Routes the answers. Holds no instance that is being deleted: a late answer may still name it.
    QMultiHash<QString, QPointer<RecorderInstance>> _instancesByUuid;
};
