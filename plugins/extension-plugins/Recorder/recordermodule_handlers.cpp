// SPDX-License-Identifier: Apache-2.0
#include "recordermodule.h"

#include <QtCore/QDebug>

#include <algorithm>
#include <cmath>

// What the answers of recorder agents do, on the main thread. The signatures that are logged are written out, because
// compilers spell Q_FUNC_INFO differently and logs are searched by them.

Recorder* RecorderModule::_getRecorderByName(const QString& name) const
{
    const QList<Recorder*> recorders = _recorders.toList();
    for (Recorder* recorder : recorders) {
        if (recorder->classInstance() && recorder->classInstance()->name() == name) {
            return recorder;
        }
    }
    return nullptr;
}

RecorderInstance* RecorderModule::_getRecorderInstanceById(const QString& recorderId) const
{
    return recorderId.isEmpty() ? nullptr : _instancesByUuid.value(recorderId).data();
}

// ---- state ------------------------------------------------------------------------------------------------------

void RecorderModule::_onContextReceived(const QString& recorderId, const QString& replayId,
    const QDateTime& replayStartDateTime, double replayDuration, double replayProgress, double replaySpeed,
    bool replayIsRunning, const QString& replayAllAgents, const QString& replayAgentsFiler, const QString& recordId)
{
    RecorderInstance* const recorderInstance = _getRecorderInstanceById(recorderId);
    if (!recorderInstance) {
        qWarning() << "void RecorderModule::_onContextReceived(const QString &, const QString &, const QDateTime &, "
                      "double, double, double, bool, const QString &, const QString &, const QString &)"
                   << "Unknown recorder id" << recorderId;
        return;
    }
    recorderInstance->updateContext(replayId, replayStartDateTime, replayDuration, replayProgress, replaySpeed,
        replayIsRunning, replayAllAgents, replayAgentsFiler, recordId);
}

void RecorderModule::_onRecordsReceived(const QString& recorderId, const QString& records)
{
    RecorderInstance* const recorderInstance = _getRecorderInstanceById(recorderId);
    if (!recorderInstance) {
        qWarning() << "void RecorderModule::_onRecordsReceived(const QString &, const QString &)"
                   << "Unknown recorder id" << recorderId;
        return;
    }
    recorderInstance->updateRecords(records);
}

void RecorderModule::_onRecordFiltersReceived(const QString& recorderId, bool fromFile, const QString& filters)
{
    RecorderInstance* const recorderInstance = _getRecorderInstanceById(recorderId);
    if (!recorderInstance) {
        qWarning() << "void RecorderModule::_onRecordFiltersReceived(const QString &, bool, const QString &)"
                   << "Unknown recorder id" << recorderId;
        return;
    }
    qDebug() << "Record filters received" << (fromFile ? "(from file)" : "(NOT from file)") << filters;
    if (fromFile) {
        recorderInstance->setrecordFilters(filters);
    } else if (!recorderInstance->recordFilters().isEmpty()) {
        // The recorder never had filters of its own: it gets those that the document keeps.
        recorderInstance->updateRecordFilters(recorderInstance->recordFilters());
    }
}

// ---- recording --------------------------------------------------------------------------------------------------

void RecorderModule::_onRecordingIsStarted(const QString& recorderId, const QString& recordUuid)
{
    RecorderInstance* const recorderInstance = _getRecorderInstanceById(recorderId);
    if (!recorderInstance) {
        qWarning() << "void RecorderModule::_onRecordingIsStarted(const QString &, const QString &)"
                   << "unknown recorder id" << recorderId;
        return;
    }
    recorderInstance->recordingStarted(recordUuid);
}

void RecorderModule::_onRecordingStoppedReceived(const QString& recorderId)
{
    RecorderInstance* const recorderInstance = _getRecorderInstanceById(recorderId);
    if (!recorderInstance) {
        qWarning() << "void RecorderModule::_onRecordingStoppedReceived(const QString &)"
                   << "unknown recorder id" << recorderId;
        return;
    }
    recorderInstance->recordingStopped();
}

void RecorderModule::_onRecordingProgressReceived(const QString& recorderId, double elapsedTimeInSeconds)
{
    RecorderInstance* const recorderInstance = _getRecorderInstanceById(recorderId);
    if (!recorderInstance) {
        qWarning() << "void RecorderModule::_onRecordingProgressReceived(const QString &, double)"
                   << "unknown recorder id" << recorderId;
        return;
    }
    recorderInstance->setrecordingProgressInSeconds(elapsedTimeInSeconds);
}

// ---- loading ----------------------------------------------------------------------------------------------------

void RecorderModule::_onLoadingProgess(const QString& recorderId, double percent)
{
    RecorderInstance* const recorderInstance = _getRecorderInstanceById(recorderId);
    if (!recorderInstance) {
        qWarning() << "void RecorderModule::_onLoadingProgess(const QString &, double)"
                   << "unknown recorder id" << recorderId;
        return;
    }
    const double sanePercent = std::isnan(percent) ? 0.0 : std::clamp(percent, 0.0, 100.0);
    recorderInstance->setloadingProgress(static_cast<int>(sanePercent));
}

void RecorderModule::_onRecordLoaded(const QString& recorderId, const QString& recordUuid,
    const QDateTime& startDateTime, double durationInSeconds, const QString& agentsList)
{
    RecorderInstance* const recorderInstance = _getRecorderInstanceById(recorderId);
    if (!recorderInstance) {
        qWarning() << "void RecorderModule::_onRecordLoaded(const QString &, const QString &, const QDateTime &, "
                      "double, const QString &)"
                   << "unknown recorder id" << recorderId;
        return;
    }
    recorderInstance->recordLoaded(recordUuid, startDateTime, durationInSeconds, agentsList);
}

void RecorderModule::_onRecordLoadingFailed(const QString& recorderId, const QString& recordUuid, const QString& reason)
{
    RecorderInstance* const recorderInstance = _getRecorderInstanceById(recorderId);
    if (!recorderInstance) {
        qWarning() << "void RecorderModule::_onRecordLoadingFailed(const QString &, const QString &, const QString &)"
                   << "unknown recorder id" << recorderId;
        return;
    }
    recorderInstance->recordLoadingFailed(recordUuid, reason);
}

// ---- replay -----------------------------------------------------------------------------------------------------

void RecorderModule::_onReplayProgressReceived(const QString& recorderId, double elapsedTimeInSeconds)
{
    RecorderInstance* const recorderInstance = _getRecorderInstanceById(recorderId);
    if (!recorderInstance) {
        qWarning() << "void RecorderModule::_onReplayProgressReceived(const QString &, double)"
                   << "unknown recorder id" << recorderId;
        return;
    }
    recorderInstance->updateReplayProgress(elapsedTimeInSeconds);
}

void RecorderModule::_onRecordPaused(const QString& recorderId)
{
    RecorderInstance* const recorderInstance = _getRecorderInstanceById(recorderId);
    if (!recorderInstance) {
        qWarning() << "void RecorderModule::_onRecordPaused(const QString &)"
                   << "unknown recorder id" << recorderId;
        return;
    }
    recorderInstance->recordPaused();
}

void RecorderModule::_onRecordMovedTo(const QString& recorderId, double duration)
{
    RecorderInstance* const recorderInstance = _getRecorderInstanceById(recorderId);
    if (!recorderInstance) {
        qWarning() << "void RecorderModule::_onRecordMovedTo(const QString &, double)"
                   << "unknown recorder id" << recorderId;
        return;
    }
    recorderInstance->recordMovedTo(duration);
}

void RecorderModule::_onRecordFilterApplied(const QString& recorderId)
{
    RecorderInstance* const recorderInstance = _getRecorderInstanceById(recorderId);
    if (!recorderInstance) {
        qWarning() << "void RecorderModule::_onRecordFilterApplied(const QString &)"
                   << "unknown recorder id" << recorderId;
        return;
    }
    recorderInstance->recordFilterApplied();
}

// Comes without a token: the sender says whose replay it was.
void RecorderModule::_onReplayEnded(const QString& recorderName, const QString& recorderUuid)
{
    const char* const signature = "void RecorderModule::_onReplayEnded(const QString &, const QString &)";
    const Recorder* const recorder = _getRecorderByName(recorderName);
    if (!recorder) {
        qWarning() << signature << "unknown recorder" << recorderName;
        return;
    }
    RecorderInstance* const recorderInstance = recorder->getRecorderInstanceWithAgentUuid(recorderUuid);
    if (!recorderInstance) {
        qWarning() << signature << "unknown recorder uuid" << recorderUuid;
        return;
    }
    recorderInstance->replayEnded();
}

// ---- record files -----------------------------------------------------------------------------------------------

void RecorderModule::_onExportReceived(const QString& recorderId, const QString& recordUuid, int nextBucketId,
    const QString& nextUuid, const QString& content)
{
    RecorderInstance* const recorderInstance = _getRecorderInstanceById(recorderId);
    if (!recorderInstance) {
        qWarning() << "void RecorderModule::_onExportReceived(const QString &, const QString &, int, const QString &, "
                      "const QString &)"
                   << "unknown recorder id" << recorderId;
        return;
    }
    recorderInstance->receiveExport(recordUuid, nextBucketId, nextUuid, content);
}

void RecorderModule::_onImportReceived(const QString& recorderId, const QString& recordUuid)
{
    RecorderInstance* const recorderInstance = _getRecorderInstanceById(recorderId);
    if (!recorderInstance) {
        qWarning() << "void RecorderModule::_onImportReceived(const QString &, const QString &)"
                   << "unknown recorder id" << recorderId;
        return;
    }
    recorderInstance->continueImport(recordUuid);
}
