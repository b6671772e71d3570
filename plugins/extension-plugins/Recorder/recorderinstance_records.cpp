// SPDX-License-Identifier: Apache-2.0
#include "recorderinstance.h"

#include "recorddates.h"
#include "recordermoduledata.h"

#include <runningagentinfo.h>
#include <zqproperty.h>

#include <QtCore/QBitArray>
#include <QtCore/QChildEvent>
#include <QtCore/QDebug>
#include <QtCore/QFile>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <utility>

namespace {

// What a list says of a record, except for its start, which is only asked for once.
struct ListedRecord
{
    // One walk over the members costs less than looking up each of them.
    explicit ListedRecord(const QJsonObject& object)
    {
        for (auto member = object.constBegin(); member != object.constEnd(); ++member) {
            const QString key = member.key();
            if (key == QLatin1StringView("uuid")) {
                uuid = member->toString();
            } else if (key == QLatin1StringView("name")) {
                name = member->toString();
            } else if (key == QLatin1StringView("end_date")) {
                endDate = member->toString();
            } else if (key == QLatin1StringView("duration_us")) {
                durationInMicroseconds = member->toInteger();
            }
        }
    }

    QString uuid;
    QString name;
    QString endDate;
    qint64 durationInMicroseconds = 0;
};

// The records that were there before a list came. Lists mostly tell of them in the same order as the list before did:
// then each is found where it is expected.
class KnownRecords
{
public:
    KnownRecords(const QList<RecorderRecord*>& records, const QHash<QString, RecorderRecord*>& byUuid)
        : _records(records)
        , _byUuid(byUuid)
        , _isListed(records.size())
    {
    }

    // Notes that the list has a record; returns it, or null when it is new.
    RecorderRecord* note(const QString& uuid)
    {
        if (_expected < _records.size() && _records.at(_expected)->uuid() == uuid) {
            _isListed.setBit(_expected);
            return _records.at(_expected++);
        }
        // The table may name a record that is gone: its address is nobody's now, or another's.
        RecorderRecord* const record = _byUuid.value(uuid);
        const qsizetype position = record ? _positionOf(record) : -1;
        if (position < 0 || record->uuid() != uuid) {
            return nullptr;
        }
        _isListed.setBit(position);
        _expected = position + 1;
        return record;
    }

    QList<RecorderRecord*> unlisted() const
    {
        QList<RecorderRecord*> records;
        for (qsizetype position = 0; position < _records.size(); ++position) {
            if (!_isListed.testBit(position)) {
                records.append(_records.at(position));
            }
        }
        return records;
    }

private:
    qsizetype _positionOf(const RecorderRecord* record)
    {
        if (_positions.isEmpty()) {
            _positions.reserve(_records.size());
            for (qsizetype position = 0; position < _records.size(); ++position) {
                _positions.insert(_records.at(position), position);
            }
        }
        return _positions.value(record, -1);
    }

    const QList<RecorderRecord*> _records;
    const QHash<QString, RecorderRecord*>& _byUuid;
    QBitArray _isListed;
    qsizetype _expected = 0;
    QHash<const RecorderRecord*, qsizetype> _positions;
};

/// Stands between an instance and a few of its records, because Qt looks for an object that goes among all its
/// siblings. Goes with the last of them.
class RecordParent : public QObject
{
public:
    static constexpr qsizetype MOST_RECORDS = 256;

    using QObject::QObject;

protected:
    void childEvent(QChildEvent* event) override
    {
        if (event->removed() && children().isEmpty()) {
            deleteLater();
        }
    }
};

} // namespace

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
    _mayBeRecording = false;
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
    _isListedSinceProgress = false;
    _recordingTimer.start();
}

void RecorderInstance::_onRecordingTimeout()
{
    // A recorder that is stopped by another host may send its new list before this.
    _mayBeRecording = _mayBeRecording && !_isListedSinceProgress;
    _setisRecording(false);
    _setisRecordingPaused(false);
    getRecords(QString());
}

void RecorderInstance::_setisRecording(bool isRecording)
{
    _mayBeRecording = _mayBeRecording || isRecording;
    ZqProperty::assign(this, _isRecording, isRecording, &RecorderInstance::isRecordingChanged);
}

void RecorderInstance::_setisRecordingPaused(bool isRecordingPaused)
{
    ZqProperty::assign(this, _isRecordingPaused, isRecordingPaused, &RecorderInstance::isRecordingPausedChanged);
}

// ---- a recorder that is lost while it records -------------------------------------------------------------------

// Whether a process of this machine has ended, be it that nobody has asked how yet.
static bool hasEnded(qint64 processId)
{
    if (::kill(static_cast<pid_t>(processId), 0) != 0) {
        return errno == ESRCH;
    }
    QFile state(QStringLiteral("/proc/%1/stat").arg(processId));
    const QByteArray text = state.open(QIODevice::ReadOnly) ? state.readAll() : QByteArray();
    return text.mid(text.lastIndexOf(')') + 1).trimmed().startsWith('Z');
}

QString RecorderInstance::_noteLossOfRecording()
{
    if (!std::exchange(_mayBeRecording, false)) {
        return QString();
    }
    // A recorder ends its recording before it takes its leave.
    if (_runningAgentInfo
        && (_runningAgentInfo->hasTakenLeave()
            || (_runningAgentInfo->isAttachedToCorvane() && hasEnded(_runningAgentInfo->processId())))) {
        return tr("The recorder '%1' left during a recording: nothing is recorded any more.");
    }
    _agentLostWhileRecording = _agentInstanceUuid;
    return tr("The recorder '%1' went out of reach during a recording: whether it goes on recording is known when it "
              "is back.");
}

// An agent that has another uuid is another process.
void RecorderInstance::_tellOfRestart()
{
    if (!_agentLostWhileRecording.isEmpty() && _agentLostWhileRecording != _agentInstanceUuid) {
        _agentLostWhileRecording.clear();
        _raiseProblem(tr("The recorder '%1' was started again: the recording in which it went out of reach has ended.")
                .arg(name()));
    }
}

void RecorderInstance::_tellOfReturn(bool isStillRecording)
{
    if (std::exchange(_agentLostWhileRecording, QString()).isEmpty()) {
        return;
    }
    const QString text = isStillRecording ? tr("The recorder '%1' is back: its recording has not ended.")
                                          : tr("The recorder '%1' is back: its recording has ended.");
    _raiseProblem(text.arg(name()));
}

// ---- the list of records ----------------------------------------------------------------------------------------

void RecorderInstance::updateRecords(const QString& json)
{
    // After a silence: the recorder can be reached, and publishes no progress.
    _mayBeRecording = _mayBeRecording && _isRecording;
    _isListedSinceProgress = true;
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

    const QJsonArray elements = document.array();
    const unsigned turn = ++_recordsTurn;
    while (turn == _recordsTurn && !_takeRecords(elements)) { }
}

// False when who heard of a change took records out, or put some in: what was known of them is worth nothing then.
bool RecorderInstance::_takeRecords(const QJsonArray& elements)
{
    const auto isUntouched = [this, edits = _records.edits()] { return edits == _records.edits(); };
    RecordDates dates;
    KnownRecords knownRecords(_records.toList(), _recordsByUuid);
    QList<RecorderRecord*> newRecords;
    QHash<QString, RecorderRecord*> newRecordsByUuid;
    for (const QJsonValue& element : elements) {
        const QJsonObject object = element.toObject();
        const ListedRecord listed(object);
        if (listed.uuid.isEmpty()) {
            continue;
        }
        RecorderRecord* record = knownRecords.note(listed.uuid);
        if (!record) {
            record = newRecordsByUuid.value(listed.uuid);
        }
        if (!record) {
            const QString startDate = object.value(QLatin1StringView("start_date")).toString();
            record = new RecorderRecord(listed.uuid, listed.name, dates.read(startDate), dates.read(listed.endDate),
                listed.durationInMicroseconds, _parentOfNewRecord());
            newRecordsByUuid.insert(listed.uuid, record);
            newRecords.append(record);
            continue;
        }
        record->setname(listed.name);
        if (isUntouched()) {
            record->setend(dates.read(listed.endDate));
        }
        if (isUntouched()) {
            record->setdurationInSeconds(static_cast<double>(listed.durationInMicroseconds) / 1e6);
        }
        if (!isUntouched()) {
            qDeleteAll(newRecords);
            return false;
        }
    }

    const unsigned turn = _recordsTurn;
    _removeRecords(knownRecords.unlisted());
    if (turn != _recordsTurn) {
        qDeleteAll(newRecords);
        return false;
    }
    _recordsByUuid.insert(newRecordsByUuid);
    _records.appendRows(newRecords);
    return true;
}

void RecorderInstance::_removeRecords(const QList<RecorderRecord*>& records)
{
    const unsigned turn = _recordsTurn;
    for (RecorderRecord* record : records) {
        // Who heard that one goes may have brought the instance to rest, or taken out others.
        if (turn != _recordsTurn) {
            return;
        }
        if (!_records.contains(record)) {
            continue;
        }
        _recordsByUuid.remove(record->uuid());
        record->unload();
        if (record == _currentRecord) {
            setcurrentRecord(nullptr);
        }
        if (turn == _recordsTurn && _records.removeObject(record)) {
            record->deleteLater();
        }
    }
}

QObject* RecorderInstance::_parentOfNewRecord()
{
    // One that has no record any more is about to go.
    if (!_recordParent || _recordParent->children().isEmpty()
        || _recordParent->children().size() >= RecordParent::MOST_RECORDS) {
        _recordParent = new RecordParent(this);
    }
    return _recordParent;
}

RecorderRecord* RecorderInstance::_knownRecord(const QString& recordUuid) const
{
    RecorderRecord* const record = _recordsByUuid.value(recordUuid);
    // Without the list nobody knows whether it lives, and with it only whether a record has its address.
    return _records.contains(record) && record->uuid() == recordUuid ? record : nullptr;
}

void RecorderInstance::_clearRecords()
{
    if (_currentRecord && _records.contains(_currentRecord)) {
        setcurrentRecord(nullptr);
    }
    _forgetRecords();
}

void RecorderInstance::_forgetRecords()
{
    ++_recordsTurn;
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
