// SPDX-License-Identifier: Apache-2.0
#include "recorderinstance.h"

#include "recordermoduledata.h"

#include <corvaneutils.h>
#include <zqproperty.h>

#include <QtCore/QDebug>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QPointer>
#include <QtCore/QStandardPaths>
#include <QtWidgets/QFileDialog>

#include <algorithm>
#include <cmath>

namespace {

// A position this small is the start.
constexpr double START_TOLERANCE_IN_SECONDS = 1e-12;

// A recorder may send any double as a duration: one that is no number, or absurd, must not become an undefined integer.
long long toWholeUnits(double durationInSeconds, double unitsPerSecond)
{
    constexpr double LONGEST_IN_SECONDS = 1e12;
    const double seconds = std::isnan(durationInSeconds) ? 0.0 : durationInSeconds;
    // Rounded: cut off, 1.005 s would be 1004 ms, and a typed 1.005 beyond the record's end.
    return std::llround(std::clamp(seconds, -LONGEST_IN_SECONDS, LONGEST_IN_SECONDS) * unitsPerSecond);
}

} // namespace

// ---- choosing what to replay ------------------------------------------------------------------------------------

void RecorderInstance::browseFileToLoad(const QString& hintPath)
{
    QString folder = _filePathHint;
    const QFileInfo hint(hintPath);
    if (!hintPath.isEmpty() && hint.exists()) {
        folder = hint.isDir() ? hint.absoluteFilePath() : hint.absolutePath();
        ZqProperty::assign(this, _filePathHint, folder, &RecorderInstance::filePathHintChanged);
    }
    if (folder.isEmpty()) {
        folder = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
    }

    // The dialog runs its own event loop, in which this instance may go.
    const QPointer<RecorderInstance> self(this);
    const QString path = QFileDialog::getOpenFileName(
        nullptr, tr("Load CSV record file"), _folderForDialog(folder), tr("CSV Record (*.csv)"));
    if (!self || path.isEmpty()) {
        return;
    }
    _setcurrentFilePath(path);
    Q_EMIT filePathSelectedForLoad(path);
}

// A dialog takes the last part of a folder that is not there for the name of a file.
QString RecorderInstance::_folderForDialog(const QString& folder)
{
    return QFileInfo(folder).isDir() ? folder : QDir::homePath();
}

void RecorderInstance::loadRecordUrl(const QUrl& url)
{
    const QString path = url.toLocalFile();
    if (path.isEmpty()) {
        return;
    }
    loadRecordFile(path);
    Q_EMIT filePathSelectedForLoad(path);
}

void RecorderInstance::recordCsvFileDropped(const QUrl& url)
{
    const QString path = url.toLocalFile();
    if (path.isEmpty()) {
        return;
    }
    _setcurrentFilePath(path);
    Q_EMIT filePathSelectedForLoad(path);
}

void RecorderInstance::unloadRecord(RecorderRecord* record)
{
    if (!record) {
        return;
    }
    _unloadRecord(record);
    if (record == _recordFromFile) {
        _releaseRecordFromFile();
    }
    if (record == _currentRecord) {
        setcurrentRecord(nullptr);
    }
}

// ---- the current record -----------------------------------------------------------------------------------------

bool RecorderInstance::isReplaying() const
{
    return _currentRecord && _currentRecord->isReplaying();
}

void RecorderInstance::setcurrentRecord(RecorderRecord* currentRecord)
{
    if (_currentRecord == currentRecord) {
        return;
    }
    // Who hears that a record is unloaded may make another one current, which is let go as well.
    for (const RecorderRecord* before = nullptr; _currentRecord && _currentRecord != before;) {
        before = _currentRecord;
        disconnect(before, &RecorderRecord::isReplayingChanged, this, &RecorderInstance::isReplayingChanged);
        _currentRecord->unload();
        if (_currentRecord == currentRecord) {
            return;
        }
    }
    _setGuarded(_currentRecord, currentRecord, &RecorderInstance::_oncurrentRecordDestroyed);
    if (_currentRecord) {
        connect(_currentRecord, &RecorderRecord::isReplayingChanged, this, &RecorderInstance::isReplayingChanged);
    }
    Q_EMIT currentRecordChanged();
}

RecorderRecord* RecorderInstance::_createRecordFromFile(
    const QString& path, const QDateTime& startDateTime, double durationInSeconds)
{
    const QDateTime endDateTime = startDateTime.addMSecs(toWholeUnits(durationInSeconds, 1e3));
    return new RecorderRecord(path, path, startDateTime, endDateTime, toWholeUnits(durationInSeconds, 1e6), this);
}

void RecorderInstance::_setRecordFromFile(RecorderRecord* record)
{
    if (_setGuarded(_recordFromFile, record, &RecorderInstance::_onrecordFromFileDestroyed)) {
        Q_EMIT recordFromFileChanged();
    }
}

void RecorderInstance::_releaseRecordFromFile()
{
    RecorderRecord* const record = _recordFromFile;
    if (!record) {
        return;
    }
    _setRecordFromFile(nullptr);
    record->deleteLater();
}

void RecorderInstance::_setcurrentFilePath(const QString& path)
{
    if (!ZqProperty::assign(_currentFilePath, path)) {
        return;
    }
    if (_instance && _encounteredAgentInfo) {
        RecorderModuleData::instance().updateFilePath(_encounteredAgentInfo->uuid(), _currentFilePath);
    }
    Q_EMIT currentFilePathChanged();
}

// ---- loading ----------------------------------------------------------------------------------------------------

void RecorderInstance::recordLoaded(
    const QString& recordUuid, const QDateTime& startDateTime, double durationInSeconds, const QString& agentsList)
{
    _setisLoadingRecord(false);
    // An empty id is no path either: a record without an identity could not be told from another.
    if (recordUuid.isEmpty() || CorvaneUtils::isAUuid(recordUuid)) {
        RecorderRecord* const record = _knownRecord(recordUuid);
        if (!record) {
            qWarning()
                << "void RecorderInstance::recordLoaded(const QString &, const QDateTime &, double, const QString &)"
                << "unknown record id" << recordUuid;
            return;
        }
        record->load(_parseAgentsList(agentsList));
        return;
    }

    // Not a uuid: the path of a CSV file.
    const QStringList agents = _parseAgentsList(agentsList);
    _releaseRecordFromFile();
    RecorderRecord* const record = _createRecordFromFile(recordUuid, startDateTime, durationInSeconds);
    record->updateReplayContext(0.0, 1.0, false, agents, agents);
    _setRecordFromFile(record);
    setcurrentRecord(record);
    _setcurrentFilePath(recordUuid);
    record->load(agents);
}

void RecorderInstance::recordLoadingFailed(const QString&, const QString& reason)
{
    _setloadingFailReason(reason);
    _setisLoadingRecord(false);
}

void RecorderInstance::updateContext(const QString& replayId, const QDateTime& replayStartDateTime,
    double replayDuration, double replayProgress, double replaySpeed, bool replayIsRunning,
    const QString& replayAllAgents, const QString& replayAgentsFilter, const QString& recordId)
{
    _tellOfReturn(!recordId.isEmpty());
    if (replayId.isEmpty()) {
        if (!recordId.isEmpty()) {
            _setisRecording(true);
        }
        return;
    }

    const bool isFile = !CorvaneUtils::isAUuid(replayId);
    if (!isFile && _records.isEmpty()) {
        // The list that has the record is on its way: updateRecords() comes back here.
        _replayContext = { replayId, replayStartDateTime, replayDuration, replayProgress, replaySpeed, replayIsRunning,
            replayAllAgents, replayAgentsFilter };
        return;
    }

    RecorderRecord* record = _knownRecord(replayId);
    if (isFile) {
        _releaseRecordFromFile();
        record = _createRecordFromFile(replayId, replayStartDateTime, replayDuration);
    } else if (!record) {
        qWarning()
            << "void RecorderInstance::updateContext(const QString &, const QDateTime &, double, double, double, "
               "bool, const QString &, const QString &, const QString &)"
            << "unknown record id" << replayId;
        return;
    }
    record->updateReplayContext(replayProgress, replaySpeed, replayIsRunning, _parseAgentsList(replayAllAgents),
        _parseAgentsList(replayAgentsFilter));
    if (isFile) {
        _setRecordFromFile(record);
    }
    setcurrentRecord(record);
}

QStringList RecorderInstance::_parseAgentsList(const QString& json)
{
    if (json.isEmpty()) {
        return QStringList();
    }
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(json.toUtf8(), &error);
    if (error.error != QJsonParseError::NoError) {
        qWarning() << "An error occured while parsing the agents list json :" << error.errorString();
        return QStringList();
    }
    if (!document.isArray()) {
        qWarning("Invalid JSON: JSON must define an array of agents");
        return QStringList();
    }
    QStringList agents;
    const QJsonArray names = document.array();
    for (const QJsonValue& name : names) {
        agents.append(name.toVariant().toString());
    }
    return agents;
}

// ---- following the replay ---------------------------------------------------------------------------------------

void RecorderInstance::updateReplayProgress(double progressInSeconds)
{
    // A position from before the move must not overwrite where the user moved to.
    if (_currentRecord && !_isMovingRecord) {
        _currentRecord->updateReplayProgress(progressInSeconds);
    }
}

void RecorderInstance::recordPaused()
{
    if (_currentRecord) {
        _currentRecord->setisReplaying(false);
    }
}

void RecorderInstance::recordMovedTo(double positionInSeconds)
{
    if (_currentRecord) {
        _currentRecord->updateReplayProgress(positionInSeconds);
    }
    _setisStoppingRecord(false);
    _setisMovingRecord(false);
    if (_isWaitingToFilterAgents && std::abs(positionInSeconds) <= START_TOLERANCE_IN_SECONDS) {
        if (_currentRecord) {
            updateRecordAgentsFilter(_currentRecord);
        }
        // Nothing was sent when the user put the check marks back, or let the record go, meanwhile.
        _setisWaitingToFilterAgents(false);
    }
}

void RecorderInstance::recordFilterApplied()
{
    _setisFilteringRecord(false);
}

void RecorderInstance::replayEnded()
{
    if (!_currentRecord) {
        qWarning() << "void RecorderInstance::replayEnded()" << "no current record";
        return;
    }
    stopRecord(_currentRecord);
}

// ---- the user moves or filters ----------------------------------------------------------------------------------

void RecorderInstance::updateCurrentRecordTime(const QString& text)
{
    if (!_currentRecord || text.isEmpty()) {
        return;
    }
    const qint64 milliseconds = CorvaneUtils::durationStringToMs(text);
    const double seconds = static_cast<double>(milliseconds) / 1000.0;
    if (milliseconds < 0 || seconds > _currentRecord->durationInSeconds()) {
        qWarning() << "Recorder: Requested time (" << text << ") isn't part of the timeline";
        return;
    }
    moveCurrentRecordTime(seconds);
}

void RecorderInstance::beforeUpdateRecordAgentsFilter(RecorderRecord* record)
{
    if (!record) {
        return;
    }
    // Agents are only ever filtered at the start of a replay: recordMovedTo() sends the filter once it is there.
    if (record->replayIsAtStart()) {
        updateRecordAgentsFilter(record);
    } else if (_isRecordAgentsFilterChanged(record)) {
        _setisWaitingToFilterAgents(true);
        stopRecord(record);
    }
}

bool RecorderInstance::_isRecordAgentsFilterChanged(RecorderRecord* record)
{
    return record->lastActiveAgentsFilter() != record->getActiveAgentsFiltersAsStringList();
}

// ---- flags ------------------------------------------------------------------------------------------------------

void RecorderInstance::_setisLoadingRecord(bool isLoadingRecord)
{
    ZqProperty::assign(this, _isLoadingRecord, isLoadingRecord, &RecorderInstance::isLoadingRecordChanged);
}

void RecorderInstance::setloadingProgress(int percent)
{
    ZqProperty::assign(this, _loadingProgress, percent, &RecorderInstance::loadingProgressChanged);
}

void RecorderInstance::_setloadingFailReason(const QString& reason)
{
    ZqProperty::assign(this, _loadingFailReason, reason, &RecorderInstance::loadingFailReasonChanged);
}

void RecorderInstance::_setisFilteringRecord(bool isFilteringRecord)
{
    ZqProperty::assign(this, _isFilteringRecord, isFilteringRecord, &RecorderInstance::isFilteringRecordChanged);
}

void RecorderInstance::_setisMovingRecord(bool isMovingRecord)
{
    ZqProperty::assign(this, _isMovingRecord, isMovingRecord, &RecorderInstance::isMovingRecordChanged);
}

void RecorderInstance::_setisStoppingRecord(bool isStoppingRecord)
{
    ZqProperty::assign(this, _isStoppingRecord, isStoppingRecord, &RecorderInstance::isStoppingRecordChanged);
}

void RecorderInstance::_setisWaitingToFilterAgents(bool isWaitingToFilterAgents)
{
    ZqProperty::assign(
        this, _isWaitingToFilterAgents, isWaitingToFilterAgents, &RecorderInstance::isWaitingToFilterAgentsChanged);
}
