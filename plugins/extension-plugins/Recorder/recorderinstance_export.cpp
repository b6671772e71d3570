// SPDX-License-Identifier: Apache-2.0
#include "recorderinstance.h"

#include "recorderservicecall.h"
#include "recorderutils.h"

#include <zqproperty.h>

#include <QtCore/QDebug>
#include <QtCore/QPointer>
#include <QtCore/QTextStream>
#include <QtWidgets/QFileDialog>

#include <algorithm>
#include <cmath>
#include <sys/stat.h>

// A download is a loop with one request under way at a time: each answer is written, and asks for the next chunk with
// the cursor that it brought.

namespace {

// How much of a chunk is converted and written at a time: little enough to stay in the processor's cache, so that a
// chunk of megabytes does not hold up the pages for longer than the disk takes.
constexpr qsizetype SLICE_LENGTH = 64 * 1024;

// Opening one waits for whoever reads it, and the window would wait along.
bool isPipe(const QString& path)
{
    struct stat status = {};
    return stat(QFile::encodeName(path).constData(), &status) == 0 && S_ISFIFO(status.st_mode);
}

} // namespace

void RecorderInstance::downloadRecord(RecorderRecord* record)
{
    Q_ASSERT(record);
    const QString proposedPath = RecorderUtils::instance().downloadFilePath(record->name());

    // The dialog runs its own event loop, in which the instance and the record may go.
    const QPointer<RecorderInstance> self(this);
    const QPointer<RecorderRecord> downloadedRecord(record);
    const bool wasOn = _isOn;
    const QString path = QFileDialog::getSaveFileName(nullptr, tr("Save record"), proposedPath, tr("CSV (*.csv)"));
    if (!self || path.isEmpty()) {
        return;
    }
    if (!downloadedRecord) {
        qWarning() << "void RecorderInstance::downloadRecord(RecorderRecord *)"
                   << "the record was removed while a file was chosen for it, nothing is written to" << path;
        _raiseProblem(
            tr("The record was removed while a file was chosen for it: nothing is written to \"%1\".").arg(path));
        return;
    }
    if (wasOn && !_isOn) {
        // Nobody would answer, nor end the waiting.
        qWarning() << "void RecorderInstance::downloadRecord(RecorderRecord *)"
                   << "the recorder left while a file was chosen, nothing is written to" << path;
        _raiseProblem(tr("The recorder '%1' left while a file was chosen for its record: nothing is written to \"%2\".")
                .arg(name(), path));
        return;
    }

    if (!_openRecordFile(path)) {
        qWarning() << "void RecorderInstance::downloadRecord(RecorderRecord *)"
                   << "failed to open file" << path;
        _raiseProblem(tr("The file \"%1\" can not be written: choose another place for the download.").arg(path));
        return;
    }
    RecorderUtils::instance().updateDownloadDirectoryFromFilePath(path);
    _setisDownloadingRecord(true);
    _callExport(record->uuid(), 0, QString(), true, false);
    _setexportRecord(record);
}

void RecorderInstance::stopExport()
{
    _setisCancelingExport(true);
}

void RecorderInstance::_callExport(
    const QString& recordUuid, int bucketId, const QString& cursorUuid, bool firstRequest, bool lastFlag)
{
    Q_ASSERT(!_uuid.isEmpty());
    Q_ASSERT(!recordUuid.isEmpty());
    if (_refuseWhenOff("export")) {
        return;
    }
    Q_ASSERT(!_agentInstanceUuid.isEmpty());
    RecorderServiceCall("export")
        .addString(recordUuid)
        .addInt(bucketId)
        .addString(cursorUuid)
        .addInt(-1)
        .addBool(firstRequest)
        .addBool(lastFlag)
        .send(_agentInstanceUuid, _uuid);
}

void RecorderInstance::receiveExport(
    const QString& recordUuid, int nextBucketId, const QString& nextUuid, const QString& content)
{
    const char* const signature
        = "void RecorderInstance::receiveExport(const QString &, int, const QString &, const QString &)";
    const QFile* const file = _recordFile;
    if (recordUuid.isEmpty()) {
        qWarning() << signature << "recordUuid is empty, closing file";
        if (file) {
            _raiseProblem(
                tr("The recorder '%1' ended the download of a record: the file holds what came before.").arg(name()));
        }
    } else if (!_writeToRecordFile(content)) {
        qWarning() << signature << "failed to write content to record file, closing file";
        if (file) {
            _raiseProblem(tr("The file \"%1\" can not be written further (%2): it holds what came before.")
                    .arg(file->fileName(), file->errorString()));
        }
    } else if (!nextUuid.isEmpty()) {
        if (!_isCancelingExport) {
            _callExport(recordUuid, nextBucketId, nextUuid, false, false);
            return;
        }
        _cancelExport();
        return;
    }
    // Who heard of the progress may have begun the next download: that one's file stays open.
    if (file == _recordFile) {
        _closeRecordFile();
    }
}

// Everything changes before anything is told: who hears that the download ended may begin the next one.
void RecorderInstance::_cancelExport()
{
    _releaseRecordFile();
    const bool endsDownload = ZqProperty::assign(_isDownloadingRecord, false);
    const bool endsCanceling = ZqProperty::assign(_isCancelingExport, false);
    const bool dropsProgress = ZqProperty::assign(_exportingProgress, 0);
    RecorderRecord* const none = nullptr;
    const bool dropsRecord = _setGuarded(_exportRecord, none, &RecorderInstance::_onexportRecordDestroyed);
    if (endsDownload) {
        Q_EMIT isDownloadingRecordChanged();
    }
    if (endsCanceling) {
        Q_EMIT isCancelingExportChanged();
    }
    if (dropsProgress) {
        Q_EMIT exportingProgressChanged();
    }
    if (dropsRecord) {
        Q_EMIT exportRecordChanged();
    }
}

// ---- the file ---------------------------------------------------------------------------------------------------

bool RecorderInstance::_openRecordFile(const QString& filePath)
{
    Q_ASSERT(!filePath.isEmpty());
    _closeRecordFile();
    auto* const file = new QFile(filePath, this);
    if (isPipe(filePath) || !file->open(QIODevice::WriteOnly | QIODevice::Text)) {
        delete file;
        return false;
    }
    // Another one, if who heard that the last download ended began the next.
    _releaseRecordFile();
    _recordFile = file;
    return true;
}

bool RecorderInstance::_writeToRecordFile(const QString& content)
{
    if (!_recordFile) {
        return false;
    }
    QTextStream stream(_recordFile);
    const QStringView text(content);
    for (qsizetype at = 0; at < text.size(); at += SLICE_LENGTH) {
        stream << text.sliced(at, std::min(SLICE_LENGTH, text.size() - at));
    }
    stream << Qt::endl;
    stream.flush();
    if (stream.status() != QTextStream::Ok || _recordFile->error() != QFileDevice::NoError) {
        qWarning() << "Can not write to" << _recordFile->fileName() << ":" << _recordFile->errorString();
        return false;
    }
    _updateExportingProgress(content);
    return true;
}

// The last row tells how far the record is written: its second field is a time in microseconds.
void RecorderInstance::_updateExportingProgress(const QString& content)
{
    const QStringView lastLine = QStringView(content).sliced(content.lastIndexOf(u'\n') + 1);
    // Not split: a row may be of megabytes, and of nothing but separators.
    const qsizetype secondField = lastLine.indexOf(u';') + 1;
    const qsizetype thirdField = secondField > 0 ? lastLine.indexOf(u';', secondField) + 1 : 0;
    if (!_exportRecord || thirdField == 0 || !(_exportRecord->durationInSeconds() > 0.0)) {
        return;
    }
    const QStringView time = lastLine.sliced(secondField, thirdField - 1 - secondField);
    const auto timeInMicroseconds = static_cast<double>(time.toLongLong());
    const double percent = std::floor(timeInMicroseconds / (_exportRecord->durationInSeconds() * 1000000.0) * 100.0);
    _setexportingProgress(static_cast<int>(std::clamp(percent, 0.0, 100.0)));
}

void RecorderInstance::_closeRecordFile()
{
    _releaseRecordFile();
    _setisDownloadingRecord(false);
}

void RecorderInstance::_releaseRecordFile()
{
    if (_recordFile) {
        _recordFile->close();
        _recordFile->deleteLater();
        _recordFile = nullptr;
    }
}

// ---- properties -------------------------------------------------------------------------------------------------

void RecorderInstance::_setisDownloadingRecord(bool isDownloadingRecord)
{
    ZqProperty::assign(this, _isDownloadingRecord, isDownloadingRecord, &RecorderInstance::isDownloadingRecordChanged);
}

void RecorderInstance::_setexportingProgress(int percent)
{
    ZqProperty::assign(this, _exportingProgress, percent, &RecorderInstance::exportingProgressChanged);
}

void RecorderInstance::_setexportRecord(RecorderRecord* record)
{
    if (_setGuarded(_exportRecord, record, &RecorderInstance::_onexportRecordDestroyed)) {
        Q_EMIT exportRecordChanged();
    }
}

void RecorderInstance::_setisCancelingExport(bool isCancelingExport)
{
    ZqProperty::assign(this, _isCancelingExport, isCancelingExport, &RecorderInstance::isCancelingExportChanged);
}
