// SPDX-License-Identifier: Apache-2.0
#include "expected.h"

#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include <algorithm>
#include <cmath>

namespace {

constexpr int ROWS_PER_CHUNK = 10000;

// As the module counts two values as the same.
bool isSame(double left, double right)
{
    return std::isfinite(left) && std::isfinite(right) ? qFuzzyCompare(left, right)
                                                       : left == right || (std::isnan(left) && std::isnan(right));
}

template <typename T> void tell(QStringList& differences, const char* property, const T& expected, const T& actual)
{
    if (expected != actual) {
        differences.append(QStringLiteral("%1 is \"%2\" and should be \"%3\"")
                .arg(QLatin1StringView(property), QVariant(actual).toString(), QVariant(expected).toString()));
    }
}

} // namespace

QDateTime ListedRecord::endDateTime() const
{
    // There are few, and to read one takes longer than a step.
    static QHash<QString, QDateTime> known;
    const auto found = known.constFind(endDate);
    if (found != known.constEnd()) {
        return *found;
    }
    const QString text = endDate.trimmed();
    return *known.insert(
        endDate, text.isEmpty() ? QDateTime() : QDateTime::fromString(text, QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz")));
}

void ExpectedInstance::disconnected()
{
    isOn = false;
    stopRecording();
    _recordingProgress = 0.0;
    _records.clear();
    _isImporting = false;
    _earlyAcknowledgements.clear();
    _importingProgress = 0;
    _isCancelingImport = false;
    _isCancelingExport = false;
    _exportingProgress = 0;
    _exportRecord.clear();
    _closeDownload();
}

// ---- recording --------------------------------------------------------------------------------------------------

void ExpectedInstance::recordingStarted()
{
    _isRecording = true;
}

void ExpectedInstance::recordingProgress(double seconds)
{
    if (!isSame(_recordingProgress, seconds)) {
        _recordingProgress = seconds;
        _isRecording = true;
        _isRecordingPaused = false;
    } else if (seconds > 0.0) {
        _isRecordingPaused = true;
    }
}

void ExpectedInstance::recordingStopped()
{
    recordingProgress(0.0);
    stopRecording();
}

void ExpectedInstance::stopRecording()
{
    _isRecording = false;
    _isRecordingPaused = false;
}

void ExpectedInstance::startRecording()
{
    _isRecordingPaused = false;
}

void ExpectedInstance::stopRunningRecording()
{
    if (_isRecording) {
        stopRecording();
    }
}

// ---- list of records --------------------------------------------------------------------------------------------

void ExpectedInstance::recordsAnswered(const QList<ListedRecord>& records)
{
    const auto isOf = [](const QString& uuid) {
        return [&uuid](const ListedRecord& record) { return record.uuid == uuid; };
    };
    _records.removeIf([&](const ListedRecord& known) {
        return std::none_of(records.begin(), records.end(), isOf(known.uuid));
    });
    for (const ListedRecord& record : records) {
        if (record.uuid.isEmpty()) {
            continue;
        }
        const auto known = std::find_if(_records.begin(), _records.end(), isOf(record.uuid));
        if (known == _records.end()) {
            _records.append(record);
        } else {
            *known = record;
        }
    }
    if (_exportRecord && _exportIsListed) {
        const auto listed = std::find_if(_records.begin(), _records.end(), isOf(_exportRecord->uuid()));
        _exportIsListed = listed != _records.end();
        if (_exportIsListed) {
            _exportDurationInSeconds = static_cast<double>(listed->durationInMicroseconds) / 1000000.0;
        }
    }
    _isCancelingImport = false;
}

void ExpectedInstance::unreadableRecordsAnswered()
{
    _records.clear();
    _exportIsListed = false;
    _isCancelingImport = false;
}

void ExpectedInstance::deleted(const QString& recordUuid)
{
    _records.removeIf([&](const ListedRecord& record) { return record.uuid == recordUuid; });
    if (_exportRecord && _exportRecord->uuid() == recordUuid) {
        _exportIsListed = false;
    }
}

void ExpectedInstance::renamed(const QString& recordUuid, const QString& name)
{
    for (ListedRecord& record : _records) {
        if (record.uuid == recordUuid) {
            record.name = name;
        }
    }
}

// ---- download ---------------------------------------------------------------------------------------------------

void ExpectedInstance::downloadStarted(const QString& path, RecorderRecord* record)
{
    _isDownloading = true;
    _downloadPath = path;
    _downloaded.clear();
    _exportRecord = record;
    _exportDurationInSeconds = record->durationInSeconds();
    _exportIsListed = std::any_of(_records.begin(), _records.end(),
        [record](const ListedRecord& listed) { return listed.uuid == record->uuid(); });
}

void ExpectedInstance::downloadFailed()
{
    _closeDownload();
}

void ExpectedInstance::stopExport()
{
    _isCancelingExport = true;
}

void ExpectedInstance::chunkReceived(const QString& recordUuid, const QString& nextUuid, const QString& content)
{
    if (recordUuid.isEmpty() || !_isDownloading) {
        _closeDownload();
        return;
    }
    _downloaded += content.toUtf8() + '\n';
    const QStringList fields = content.section(u'\n', -1).split(u';');
    if (_exportRecord && fields.size() >= 3 && _exportDurationInSeconds > 0.0) {
        const double part = static_cast<double>(fields.at(1).toLongLong()) / (_exportDurationInSeconds * 1000000.0);
        _exportingProgress = static_cast<int>(std::clamp(std::floor(part * 100.0), 0.0, 100.0));
    }
    if (!nextUuid.isEmpty() && !_isCancelingExport) {
        return;
    }
    if (!nextUuid.isEmpty()) {
        _isCancelingExport = false;
        _exportingProgress = 0;
        _exportRecord.clear();
    }
    _closeDownload();
}

void ExpectedInstance::_closeDownload()
{
    _isDownloading = false;
}

// ---- import -----------------------------------------------------------------------------------------------------

void ExpectedInstance::importStarted(const QString& agent, const QString& path)
{
    _isCancelingImport = false;
    _importingProgress = 0;
    _isImporting = true;
    _importIsStopped = false;
    _importGoesOn = false;
    _tasks.append({ agent, path, QString() });
}

void ExpectedInstance::stopImport()
{
    _importIsStopped = true;
    _importGoesOn = false;
    _isCancelingImport = true;
}

void ExpectedInstance::importAcknowledged(const QString& agent, const QString& recordUuid)
{
    if (recordUuid.isEmpty()) {
        return;
    }
    if (hasImportTask()) {
        _earlyAcknowledgements.append(recordUuid);
    } else if (!_importGoesOn) {
        _isImporting = false;
    } else if (!agent.isEmpty() && _isImporting) {
        _tasks.append({ agent, QString(), recordUuid });
    }
}

void ExpectedInstance::importTaskEnded(const ImportResult& result, const QString& agent)
{
    if (!result.isSent) {
        _isImporting = false;
    }
    if (result.agent != agent) {
        _importingProgress = 0;
    }
    while (!_earlyAcknowledgements.isEmpty() && !hasImportTask()) {
        importAcknowledged(agent, _earlyAcknowledgements.takeFirst());
    }
}

ExpectedInstance::ImportResult ExpectedInstance::runImportTask()
{
    const ImportTask task = _tasks.takeFirst();
    const bool isFirst = !task.path.isEmpty();
    QFile file(isFirst ? task.path : _importPath);
    if (!file.open(QIODevice::ReadOnly)) {
        return { task.agent, false };
    }
    const QByteArray content = file.readAll();
    if (isFirst) {
        _importPath = task.path;
        _importPosition = 0;
    }
    const QString chunk = QString::fromUtf8(_readChunk(content));
    if (isFirst) {
        _calls.append({ task.agent, QStringLiteral("import"),
            { QFileInfo(task.path).completeBaseName(), true, QStringLiteral(""), chunk } });
    } else {
        _calls.append({ task.agent, QStringLiteral("append"), { task.recordUuid, chunk } });
    }
    if (_importPosition < content.size()) {
        _importGoesOn = isFirst ? !_importIsStopped : _importGoesOn;
        _importingProgress = static_cast<int>(_importPosition * 100 / content.size());
    } else if (!isFirst) {
        _importGoesOn = false;
    }
    return { task.agent, true };
}

// The files of a sequence have rows without quotes, each ended by a line feed.
QByteArray ExpectedInstance::_readChunk(const QByteArray& file)
{
    QByteArray chunk;
    for (int row = 0; row < ROWS_PER_CHUNK && _importPosition < file.size(); ++row) {
        const qsizetype end = file.indexOf('\n', _importPosition) + 1;
        chunk += file.sliced(_importPosition, end - _importPosition) + '\n';
        _importPosition = end;
    }
    return chunk;
}

// ---- comparison -------------------------------------------------------------------------------------------------

QStringList ExpectedInstance::differencesTo(const RecorderInstance& instance) const
{
    QStringList differences;
    tell(differences, "isOn", isOn, instance.isOn());
    tell(differences, "isRecording", _isRecording, instance.isRecording());
    tell(differences, "isRecordingPaused", _isRecordingPaused, instance.isRecordingPaused());
    if (!isSame(_recordingProgress, instance.recordingProgressInSeconds())) {
        tell(differences, "recordingProgressInSeconds", _recordingProgress, instance.recordingProgressInSeconds());
    }

    auto& list = const_cast<RecorderInstance&>(instance);
    tell(differences, "records", static_cast<int>(_records.size()), list.records()->count());
    for (qsizetype row = 0; row < std::min<qsizetype>(_records.size(), list.records()->count()); ++row) {
        const ListedRecord& expected = _records.at(row);
        const auto* const record = static_cast<const RecorderRecord*>(list.records()->itemAt(row));
        tell(differences, "uuid of a record", expected.uuid, record->uuid());
        tell(differences, "name of a record", expected.name, record->name());
        tell(differences, "durationInSeconds of a record",
            static_cast<double>(expected.durationInMicroseconds) / 1000000.0, record->durationInSeconds());
        tell(differences, "endDateTime of a record", expected.endDateTime(), record->endDateTime());
    }

    tell(differences, "isDownloadingRecord", _isDownloading, instance.isDownloadingRecord());
    tell(differences, "isCancelingExport", _isCancelingExport, instance.isCancelingExport());
    tell(differences, "exportingProgress", _exportingProgress, instance.exportingProgress());
    if (_exportRecord != instance.exportRecord()) {
        differences.append(QStringLiteral("exportRecord is another object"));
    }
    if (_isDownloading) {
        QFile file(_downloadPath);
        tell(differences, "downloaded file", _downloaded,
            file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("can not be read"));
    }

    tell(differences, "isImportingRecord", _isImporting, instance.isImportingRecord());
    tell(differences, "isCancelingImport", _isCancelingImport, instance.isCancelingImport());
    tell(differences, "importingProgress", _importingProgress, instance.importingProgress());
    return differences;
}
