// SPDX-License-Identifier: Apache-2.0
#include "recorderinstance.h"

#include "recordcsvreader.h"
#include "recorderservicecall.h"
#include "recorderutils.h"

#include <zqproperty.h>

#include <QtConcurrent/QtConcurrentRun>
#include <QtCore/QDebug>
#include <QtCore/QFileInfo>
#include <QtCore/QFutureWatcher>
#include <QtCore/QPointer>
#include <QtCore/QScopeGuard>
#include <QtCore/QThreadPool>
#include <QtWidgets/QFileDialog>

#include <algorithm>
#include <cmath>

// An import sends a file chunk by chunk. Each chunk is read and sent by a task on a worker thread; the recorder's
// acknowledgement, on the main thread, starts the next. Memory holds one chunk, and the pages never wait for a disk.

namespace {

constexpr int ROWS_PER_CHUNK = 10000;

bool openForReading(QFile& file)
{
    // Not a pipe or a device: reading one could last for ever, and the instance waits for its tasks when it goes.
    return QFileInfo(file).isFile() && file.open(QIODevice::ReadOnly);
}

} // namespace

// What a task needs of the instance, copied on the main thread when it starts.
struct RecorderInstance::ImportTask
{
    QString agentInstanceUuid;
    QString token;
};

RecorderInstance::ImportTask RecorderInstance::_newImportTask() const
{
    return { _agentInstanceUuid, _actionToken("import") };
}

// ---- starting and stopping --------------------------------------------------------------------------------------

void RecorderInstance::importRecord()
{
    importRecord(QUrl());
}

void RecorderInstance::importRecord(const QUrl& filePath)
{
    Q_ASSERT(!_uuid.isEmpty());
    Q_ASSERT(!_agentInstanceUuid.isEmpty());
    QString path;
    if (filePath.isLocalFile()) {
        path = filePath.toLocalFile();
    } else {
        // The dialog runs its own event loop, in which the agent and the instance may go.
        const QPointer<RecorderInstance> self(this);
        path = QFileDialog::getOpenFileName(
            nullptr, tr("Import record"), RecorderUtils::instance().downloadFilePath(QString()), tr("CSV (*.csv)"));
        if (!self) {
            return;
        }
        if (_agentInstanceUuid.isEmpty()) {
            qWarning("Instance is off. Can not call service 'import'");
            return;
        }
    }
    if (path.isEmpty()) {
        qWarning("Path is empty");
        return;
    }

    _setisCancelingImport(false);
    _setimportingProgress(0);
    _setisImportingRecord(true);
    _importIsStopped = false;
    _importMustContinue = false; // still set when the agent left during the import before

    const ImportTask task = _newImportTask();
    auto* const watcher = new QFutureWatcher<bool>(this);
    connect(watcher, &QFutureWatcher<bool>::finished, this, [this, watcher, task, path] {
        const bool isSent = watcher->result();
        watcher->deleteLater();
        if (!isSent) {
            _setisImportingRecord(false);
            qWarning() << "File" << path << "doesn't exists or cannot be opened";
        }
        _onImportTaskEnded(task);
    });
    ++_importChunksBeingRead;
    const QFuture<bool> future
        = QtConcurrent::run(QThreadPool::globalInstance(), [this, task, path] { return _sendFirstChunk(task, path); });
    _importTasks.append(future);
    watcher->setFuture(future);
}

void RecorderInstance::continueImport(const QString& record_uuid)
{
    if (record_uuid.isEmpty()) {
        qWarning("Something went wrong in the recorder when importing, check his logs");
        return;
    }
    if (_importChunksBeingRead > 0) {
        // It is not for the chunk that is being read. The pages do not wait for a disk: its turn comes with that chunk.
        _earlyAcknowledgements.append(record_uuid);
        return;
    }
    // The recorder may have been quicker than the last steps of the task that sent the chunk, which decide what comes
    // next.
    _waitForImportTasks();
    if (!_importMustContinue) {
        getRecords(QString());
        _setisImportingRecord(false);
        return;
    }
    // The acknowledgement may be late: without an agent there is nobody to send the next chunk to, and one that was
    // lost in the middle of an import, and met again, has none that goes on.
    if (_refuseWhenOff("append") || !_isImportingRecord) {
        return;
    }

    const ImportTask task = _newImportTask();
    auto* const watcher = new QFutureWatcher<bool>(this);
    connect(watcher, &QFutureWatcher<bool>::finished, this, [this, watcher, task] {
        const bool isSent = watcher->result();
        watcher->deleteLater();
        if (!isSent) {
            _setisImportingRecord(false);
        }
        _onImportTaskEnded(task);
    });
    ++_importChunksBeingRead;
    const QFuture<bool> future = QtConcurrent::run(
        QThreadPool::globalInstance(), [this, task, record_uuid] { return _sendNextChunk(task, record_uuid); });
    _importTasks.append(future);
    watcher->setFuture(future);
}

void RecorderInstance::stopImport()
{
    // In this order: see _sendFirstChunk().
    _importIsStopped = true;
    _importMustContinue = false;
    _setisCancelingImport(true);
}

void RecorderInstance::_onImportTaskEnded(const ImportTask& task)
{
    if (task.agentInstanceUuid != _agentInstanceUuid) {
        // The agent was lost meanwhile, and the task told its progress all the same.
        _setimportingProgress(0);
    }
    while (!_earlyAcknowledgements.isEmpty() && _importChunksBeingRead == 0) {
        continueImport(_earlyAcknowledgements.takeFirst());
    }
}

void RecorderInstance::_waitForImportTasks()
{
    for (QFuture<bool>& task : _importTasks) {
        task.waitForFinished();
    }
    _importTasks.clear();
}

// ---- tasks: on a worker thread ----------------------------------------------------------------------------------

bool RecorderInstance::_sendFirstChunk(const ImportTask& task, const QString& filePath)
{
    QFile file(filePath);
    QByteArray chunk;
    if (!_readChunk(file, 0, chunk)) {
        return false;
    }
    {
        const QMutexLocker locker(&_importFilePathMutex);
        _importFilePath = filePath;
    }
    RecorderServiceCall("import")
        .addString(QFileInfo(filePath).completeBaseName())
        .addBool(true)
        .addString(QString())
        .addString(chunk)
        .send(task.agentInstanceUuid, task.token);

    if (!file.atEnd()) {
        _importMustContinue = true;
        // The user may have stopped the import a moment ago: that must not be undone here.
        if (_importIsStopped) {
            _importMustContinue = false;
        }
        _updateImportingProgress(file);
    }
    return true;
}

bool RecorderInstance::_sendNextChunk(const ImportTask& task, const QString& recordUuid)
{
    QString filePath;
    {
        const QMutexLocker locker(&_importFilePathMutex);
        filePath = _importFilePath;
    }
    QFile file(filePath);
    QByteArray chunk;
    if (!_readChunk(file, _importFilePosition, chunk)) {
        qWarning() << "File" << filePath << "doesn't exists or cannot be opened";
        return false;
    }
    RecorderServiceCall("append").addString(recordUuid).addString(chunk).send(task.agentInstanceUuid, task.token);

    if (file.atEnd()) {
        _importMustContinue = false;
    } else {
        _updateImportingProgress(file);
    }
    return true;
}

// Opens the file, too. Every task reads once; until it has, _importChunksBeingRead counts it.
bool RecorderInstance::_readChunk(QFile& file, qint64 position, QByteArray& chunk)
{
    const auto isRead = qScopeGuard([this] { --_importChunksBeingRead; });
    if (!openForReading(file)) {
        return false;
    }
    file.seek(position);
    chunk = _readCsvLines(file, ROWS_PER_CHUNK);
    _importFilePosition = file.pos();
    return true;
}

QByteArray RecorderInstance::_readCsvLines(QFile& file, int maxLines)
{
    return readRecordCsvLines(file, maxLines);
}

void RecorderInstance::_updateImportingProgress(const QFile& file)
{
    const auto sent = static_cast<double>(_importFilePosition.load());
    const auto size = static_cast<double>(std::max<qint64>(file.size(), 1));
    _setimportingProgress(static_cast<int>(std::clamp(std::floor(sent / size * 100.0), 0.0, 100.0)));
}

// ---- properties -------------------------------------------------------------------------------------------------

void RecorderInstance::_setisImportingRecord(bool isImportingRecord)
{
    ZqProperty::assign(this, _isImportingRecord, isImportingRecord, &RecorderInstance::isImportingRecordChanged);
}

// On any thread.
void RecorderInstance::_setimportingProgress(int percent)
{
    if (_importingProgress.exchange(percent) != percent) {
        Q_EMIT importingProgressChanged();
    }
}

void RecorderInstance::_setisCancelingImport(bool isCancelingImport)
{
    ZqProperty::assign(this, _isCancelingImport, isCancelingImport, &RecorderInstance::isCancelingImportChanged);
}
