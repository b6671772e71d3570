// SPDX-License-Identifier: Apache-2.0
#include "recorderinstance.h"

#include "recorddates.h"
#include "recordermoduledata.h"

#include <zqproperty.h>

#include <QtCore/QDateTime>
#include <QtCore/QDebug>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QSet>

#include <algorithm>

// ---- state of the recording -------------------------------------------------------------------------------------

void RecorderInstance::recordingStarted(const QString&)
{
    _setisRecording(true);
}

void RecorderInstance::recordingStopped()
{
    getRecords(QString());
    _recordingTimer.stop();
    // Starts the timer again, which asks for the list once more: the recorder may have listed the new record late.
    setrecordingProgressInSeconds(0.0);
    _setisRecording(false);
    _setisRecordingPaused(false);
}

void RecorderInstance::setrecordingProgressInSeconds(double progressInSeconds)
{
    if (ZqProperty::assign(this, _recordingProgressInSeconds, progressInSeconds,
            &RecorderInstance::recordingProgressInSecondsChanged)) {
        _setisRecording(true);
        _setisRecordingPaused(false);
    } else if (progressInSeconds > 0.0) {
        // A recorder that repeats the same length is paused.
        _setisRecordingPaused(true);
    }
    _recordingTimer.start();
}

void RecorderInstance::_onRecordingTimeout()
{
    _setisRecording(false);
    _setisRecordingPaused(false);
    getRecords(QString());
}

void RecorderInstance::_setisRecording(bool isRecording)
{
    ZqProperty::assign(this, _isRecording, isRecording, &RecorderInstance::isRecordingChanged);
}

void RecorderInstance::_setisRecordingPaused(bool isRecordingPaused)
{
    ZqProperty::assign(this, _isRecordingPaused, isRecordingPaused, &RecorderInstance::isRecordingPausedChanged);
}

// ---- the list of records ----------------------------------------------------------------------------------------

void RecorderInstance::updateRecords(const QString& json)
{
    if (json.isEmpty()) {
        _clearRecords();
    } else {
        _readRecords(json);
    }
    _applyWaitingReplayContext();
    _setisCancelingImport(false);
}

void RecorderInstance::_readRecords(const QString& json)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(json.toUtf8(), &error);
    if (error.error != QJsonParseError::NoError) {
        qWarning() << "An error occured while parsing the records list json :" << error.errorString();
        _clearRecords();
        return;
    }
    if (!document.isArray()) {
        qWarning("Invalid JSON: JSON must define an array of records");
        _clearRecords();
        return;
    }

    RecordDates dates;
    QSet<const RecorderRecord*> seenRecords;
    QList<RecorderRecord*> newRecords;
    const QJsonArray elements = document.array();
    for (const QJsonValue& element : elements) {
        const QJsonObject object = element.toObject();
        const QString recordUuid = object.value(QLatin1StringView("uuid")).toString();
        if (recordUuid.isEmpty()) {
            continue;
        }
        const QString name = object.value(QLatin1StringView("name")).toString();
        const qint64 durationInMicroseconds = object.value(QLatin1StringView("duration_us")).toInteger();
        const QString endDate = object.value(QLatin1StringView("end_date")).toString();

        RecorderRecord* record = _recordsByUuid.value(recordUuid);
        if (record) {
            record->setname(name);
            record->setendDateTime(dates.read(endDate, record->endDateTime()));
            record->setdurationInSeconds(static_cast<double>(durationInMicroseconds) / 1e6);
        } else {
            const QString startDate = object.value(QLatin1StringView("start_date")).toString();
            record = new RecorderRecord(
                recordUuid, name, dates.read(startDate), dates.read(endDate), durationInMicroseconds, this);
            _recordsByUuid.insert(recordUuid, record);
            newRecords.append(record);
        }
        seenRecords.insert(record);
    }
    _removeUnseenRecords(seenRecords);
    _records.appendRows(newRecords);
}

void RecorderInstance::_removeUnseenRecords(const QSet<const RecorderRecord*>& seenRecords)
{
    if (seenRecords.size() == _recordsByUuid.size()) {
        return;
    }
    const QList<RecorderRecord*> knownRecords = _records.toList();
    for (RecorderRecord* record : knownRecords) {
        if (seenRecords.contains(record)) {
            continue;
        }
        _recordsByUuid.remove(record->uuid());
        record->unload();
        if (record == _currentRecord) {
            setcurrentRecord(nullptr);
        }
        _records.removeObject(record);
        record->deleteLater();
    }
}

void RecorderInstance::_clearRecords()
{
    if (_currentRecord && _records.contains(_currentRecord)) {
        setcurrentRecord(nullptr);
    }
    _recordsByUuid.clear();
    _records.deleteAllItems();
}

// The recorder told of its replay before its list was here; now the record can be found.
void RecorderInstance::_applyWaitingReplayContext()
{
    if (_replayContext.replayId.isEmpty()) {
        return;
    }
    const RecorderReplayContext context = _replayContext;
    updateContext(context.replayId, context.replayStartDateTime, context.replayDuration, context.replayProgress,
        context.replaySpeed, context.replayIsRunning, context.replayAllAgents, context.replayAgentsFilter, QString());
    _replayContext.reset();
}

bool RecorderInstance::isRecordNameAlreadyUsed(const QString& name) const
{
    const QList<RecorderRecord*> records = _records.toList();
    return std::any_of(
        records.begin(), records.end(), [&name](const RecorderRecord* record) { return record->name() == name; });
}

// ---- filters of the recording -----------------------------------------------------------------------------------

void RecorderInstance::setrecordFilters(const QString& recordFilters)
{
    if (!ZqProperty::assign(_recordFilters, recordFilters)) {
        return;
    }
    if (_instance && _encounteredAgentInfo) {
        RecorderModuleData::instance().updateFilters(_encounteredAgentInfo->uuid(), _recordFilters);
    }
    Q_EMIT recordFiltersChanged();
}
