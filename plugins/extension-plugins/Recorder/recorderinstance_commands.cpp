// SPDX-License-Identifier: Apache-2.0
#include "recorderinstance.h"

#include "recorderservicecall.h"

#include <QtCore/QDateTime>
#include <QtCore/QDebug>

// Every command goes to the linked agent under this instance's uuid, so that the module finds the instance when the
// answer comes. What is pending shows in the flags that a command sets and its answer clears.

namespace {

const QString NO_TOKEN;

}

bool RecorderInstance::_refuseWhenOff(const char* service) const
{
    if (!_isOn) {
        qWarning("Instance is off. Can not call service '%s'", service);
    }
    return !_isOn;
}

QString RecorderInstance::_actionToken(const char* action) const
{
    return QStringLiteral("%1%2%3").arg(_uuid, TOKEN_SEPARATOR, QLatin1StringView(action));
}

// ---- recording --------------------------------------------------------------------------------------------------

void RecorderInstance::startRecording()
{
    if (_refuseWhenOff("record")) {
        return;
    }
    Q_ASSERT(!_uuid.isEmpty());
    Q_ASSERT(!_agentInstanceUuid.isEmpty());
    unloadRecord(_currentRecord);
    _setisRecordingPaused(false);

    const QString name = QDateTime::currentDateTime().toString(QStringLiteral("dd/MM/yy - hh:mm:ss"));
    RecorderServiceCall("record").addString(name).addString(QString()).addString(QString()).send(
        _agentInstanceUuid, _actionToken("record"));
}

void RecorderInstance::stopRecording()
{
    // First, whatever became of the recorder: pages must not go on showing a recording.
    _setisRecording(false);
    _setisRecordingPaused(false);
    if (_refuseWhenOff("stop_recording")) {
        return;
    }
    Q_ASSERT(!_uuid.isEmpty());
    Q_ASSERT(!_agentInstanceUuid.isEmpty());
    RecorderServiceCall("stop_recording").send(_agentInstanceUuid, _uuid);
}

void RecorderInstance::pauseRecording()
{
    if (_refuseWhenOff("pause_record")) {
        return;
    }
    Q_ASSERT(!_uuid.isEmpty());
    Q_ASSERT(!_agentInstanceUuid.isEmpty());
    if (!_isRecording) {
        qWarning("Instance is not recording. Can not call service 'pause_record'");
        return;
    }
    RecorderServiceCall("pause_record").send(_agentInstanceUuid, NO_TOKEN);
}

void RecorderInstance::resumeRecording()
{
    if (_refuseWhenOff("resume_record")) {
        return;
    }
    Q_ASSERT(!_uuid.isEmpty());
    Q_ASSERT(!_agentInstanceUuid.isEmpty());
    if (!_isRecording) {
        qWarning("Instance is not recording. Can not call service 'resume_record'");
        return;
    }
    RecorderServiceCall("resume_record").send(_agentInstanceUuid, NO_TOKEN);
}

// ---- questions --------------------------------------------------------------------------------------------------

void RecorderInstance::getRecords(const QString& text)
{
    if (_refuseWhenOff("get_records")) {
        return;
    }
    Q_ASSERT(!_uuid.isEmpty());
    Q_ASSERT(!_agentInstanceUuid.isEmpty());
    // Without a database the recorder sends its list unasked.
    if (offlineMode()) {
        return;
    }
    RecorderServiceCall("get_records").addString(text).send(_agentInstanceUuid, _uuid);
}

void RecorderInstance::_getContext()
{
    if (_refuseWhenOff("get_context")) {
        return;
    }
    Q_ASSERT(!_uuid.isEmpty());
    Q_ASSERT(!_agentInstanceUuid.isEmpty());
    RecorderServiceCall("get_context").send(_agentInstanceUuid, _uuid);
}

void RecorderInstance::_getRecordFilters()
{
    if (_refuseWhenOff("get_record_filters")) {
        return;
    }
    Q_ASSERT(!_uuid.isEmpty());
    Q_ASSERT(!_agentInstanceUuid.isEmpty());
    RecorderServiceCall("get_record_filters").send(_agentInstanceUuid, _uuid);
}

void RecorderInstance::updateRecordFilters(const QString& filters)
{
    if (_refuseWhenOff("set_record_filters")) {
        return;
    }
    Q_ASSERT(!_uuid.isEmpty());
    Q_ASSERT(!_agentInstanceUuid.isEmpty());
    RecorderServiceCall("set_record_filters").addString(filters).send(_agentInstanceUuid, _uuid);
}

// ---- loading ----------------------------------------------------------------------------------------------------

void RecorderInstance::loadRecord(RecorderRecord* record)
{
    if (!record || _refuseWhenOff("load") || _agentInstanceUuid.isEmpty()) {
        return;
    }
    _setloadingFailReason(QString());
    if (_isRecording) {
        stopRecording();
    }
    if (record->isLoaded()) {
        return;
    }
    if (_currentRecord) {
        _currentRecord->unload();
    }
    if (_recordFromFile) {
        _recordFromFile->unload();
        _releaseRecordFromFile();
    }
    setloadingProgress(0);
    setcurrentRecord(record);
    _setisLoadingRecord(true);

    RecorderServiceCall("load")
        .addString(record->uuid())
        .addDouble(0.0)
        .addDouble(record->durationInSeconds())
        .send(_agentInstanceUuid, _uuid);
}

void RecorderInstance::loadRecordFile(const QString& path)
{
    if (path.isEmpty() || _refuseWhenOff("load_file") || _agentInstanceUuid.isEmpty()) {
        return;
    }
    _setloadingFailReason(QString());
    if (_isRecording) {
        stopRecording();
    }
    unloadRecord(_currentRecord);
    setcurrentRecord(nullptr);
    setloadingProgress(0);
    _setisLoadingRecord(true);
    _setcurrentFilePath(path);
    RecorderServiceCall("load_file").addString(path).send(_agentInstanceUuid, _uuid);
}

void RecorderInstance::_unloadRecord(RecorderRecord* record)
{
    Q_ASSERT(!_uuid.isEmpty());
    if (!record || !record->isLoaded() || _refuseWhenOff("unload")) {
        return;
    }
    Q_ASSERT(!_agentInstanceUuid.isEmpty());
    record->unload();
    RecorderServiceCall("unload").send(_agentInstanceUuid, _uuid);
}

// ---- the list of records ----------------------------------------------------------------------------------------

void RecorderInstance::updateRecordName(RecorderRecord* record, const QString& name)
{
    if (_refuseWhenOff("rename")) {
        return;
    }
    Q_ASSERT(!_uuid.isEmpty());
    Q_ASSERT(!_agentInstanceUuid.isEmpty());
    Q_ASSERT(record);
    if (record->name() == name) {
        return;
    }
    record->setname(name);
    RecorderServiceCall("rename").addString(record->uuid()).addString(name).send(_agentInstanceUuid, _uuid);
}

void RecorderInstance::deleteRecord(RecorderRecord* record)
{
    if (!record || _refuseWhenOff("delete")) {
        return;
    }
    Q_ASSERT(!_uuid.isEmpty());
    Q_ASSERT(!_agentInstanceUuid.isEmpty());
    const QString recordUuid = record->uuid();
    _unloadRecord(record);
    RecorderServiceCall("delete").addString(recordUuid).send(_agentInstanceUuid, _uuid);
    _recordsByUuid.remove(recordUuid);
    _records.removeObject(record);
    record->deleteLater();
}

// ---- replay -----------------------------------------------------------------------------------------------------

void RecorderInstance::playRecord(RecorderRecord* record)
{
    if (_refuseWhenOff("play")) {
        return;
    }
    Q_ASSERT(!_uuid.isEmpty());
    Q_ASSERT(!_agentInstanceUuid.isEmpty());
    Q_ASSERT(record);
    if (record->isReplaying()) {
        qWarning() << "Can not play record" << record->name() << "because it is already playing";
        return;
    }
    record->setisReplaying(true);
    RecorderServiceCall("play").send(_agentInstanceUuid, _uuid);
}

void RecorderInstance::pauseRecord(RecorderRecord* record)
{
    if (_refuseWhenOff("pause")) {
        return;
    }
    Q_ASSERT(!_uuid.isEmpty());
    Q_ASSERT(!_agentInstanceUuid.isEmpty());
    Q_ASSERT(record);
    if (!record->isReplaying()) {
        qWarning() << "Can not pause record" << record->name() << "because it is not playing";
        return;
    }
    // The record goes on showing that it plays until the recorder answers.
    RecorderServiceCall("pause").send(_agentInstanceUuid, _uuid);
}

void RecorderInstance::stopRecord(RecorderRecord* record)
{
    if (_refuseWhenOff("move_to")) {
        return;
    }
    Q_ASSERT(!_uuid.isEmpty());
    Q_ASSERT(!_agentInstanceUuid.isEmpty());
    Q_ASSERT(record);
    _setisStoppingRecord(true);
    _setisMovingRecord(true);
    pauseRecord(record);
    RecorderServiceCall("move_to").addDouble(0.0).send(_agentInstanceUuid, _uuid);
}

void RecorderInstance::moveCurrentRecordTime(double timeInSeconds)
{
    if (_refuseWhenOff("move_to")) {
        return;
    }
    Q_ASSERT(!_uuid.isEmpty());
    Q_ASSERT(!_agentInstanceUuid.isEmpty());
    Q_ASSERT(_currentRecord);
    RecorderRecord* const record = _currentRecord;
    _setisMovingRecord(true);
    if (record != _currentRecord) {
        // Who heard of the move let the record go.
        _setisMovingRecord(false);
        return;
    }
    if (record->isReplaying()) {
        pauseRecord(record);
    }
    // The timeline jumps now and is corrected by the answer.
    record->setreplayProgressInSecond(timeInSeconds);
    RecorderServiceCall("move_to").addDouble(timeInSeconds).send(_agentInstanceUuid, _uuid);
}

void RecorderInstance::updateRecordAgentsFilter(RecorderRecord* record)
{
    if (_refuseWhenOff("filter_replaying_agents")) {
        return;
    }
    Q_ASSERT(!_uuid.isEmpty());
    Q_ASSERT(!_agentInstanceUuid.isEmpty());
    Q_ASSERT(record);
    if (!_isRecordAgentsFilterChanged(record)) {
        return;
    }
    const QStringList activeAgents = record->saveActiveAgentsFilters();
    const QString filter = _agentsFilterText(*record, activeAgents);
    _setisWaitingToFilterAgents(false);
    _setisFilteringRecord(true);
    RecorderServiceCall("filter_replaying_agents").addString(filter).send(_agentInstanceUuid, _uuid);
}

// A JSON array; an empty one replays all. Names need no escaping: the network refuses quotes and backslashes in them.
QString RecorderInstance::_agentsFilterText(const RecorderRecord& record, const QStringList& activeAgents)
{
    if (record.agentsFilterState() != Qt::PartiallyChecked) {
        return QStringLiteral("[]");
    }
    QString text = QStringLiteral("[");
    for (qsizetype i = 0; i < activeAgents.size(); ++i) {
        text += (i == 0 ? QStringLiteral("\"%1\"") : QStringLiteral(",\"%1\"")).arg(activeAgents.at(i));
    }
    return text + QStringLiteral("]");
}

void RecorderInstance::updateRecordSpeed(RecorderRecord* record, Speed* speed)
{
    Q_ASSERT(!_uuid.isEmpty());
    Q_ASSERT(record);
    if (!speed || _refuseWhenOff("speed")) {
        return;
    }
    Q_ASSERT(!_agentInstanceUuid.isEmpty());
    if (record->updateSpeed(speed)) {
        RecorderServiceCall("speed").addDouble(speed->value()).send(_agentInstanceUuid, _uuid);
    }
}
