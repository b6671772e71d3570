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
#include <exception>
#include <memory>
#include <utility>

// An import sends a file chunk by chunk. Each chunk is read and sent by a task on a worker thread; the recorder's
// acknowledgement, on the main thread, starts the next. Memory holds one chunk, and the pages never wait for a disk.

namespace {

constexpr int ROWS_PER_CHUNK = 10000;

// Rows may be long. The network carries 64 MiB in a call, names and token included.
constexpr qsizetype MIB_PER_CHUNK = 60;

bool openForReading(QFile& file)
{
    // Not a pipe or a device: reading one could last for ever, and the instance waits for its tasks when it goes.
    return QFileInfo(file).isFile() && file.open(QIODevice::ReadOnly);
}

// Where the first line begins that no text can hold. `begin` and `end` are positions in the file.
qint64 firstStrangeLine(QFile& file, qint64 begin, qint64 end)
{
    file.seek(begin);
    const QByteArray bytes = file.read(end - begin);
    for (qsizetype lineBegin = 0; lineBegin < bytes.size();) {
        const qsizetype lineEnd = bytes.indexOf('\n', lineBegin);
        const QByteArrayView line
            = QByteArrayView(bytes).sliced(lineBegin, (lineEnd < 0 ? bytes.size() : lineEnd) - lineBegin);
        if (line.contains('\0') || !line.isValidUtf8()) {
            return begin + lineBegin;
        }
        lineBegin += line.size() + 1;
    }
    return begin;
}

/// Why a chunk was not sent, and what a person can do about it: in English for the log, and as it is told in the
/// window.
struct Refusal
{
    QString logged;
    QString told;

    bool isEmpty() const { return logged.isEmpty(); }
};

// `position` is where the chunk begins in the file; `what` is marked for translation.
Refusal refusal(const QFile& file, qint64 position, const char* what, const QStringList& arguments)
{
    const char* const rest = position > 0 ? QT_TRANSLATE_NOOP("RecorderInstance", "What comes before is imported.")
                                          : QT_TRANSLATE_NOOP("RecorderInstance", "Nothing is imported.");
    const char* const sentence = QT_TRANSLATE_NOOP("RecorderInstance", "File \"%1\" %2. %3");
    const auto compose = [&](const auto& translate) {
        QString reason = translate(what);
        for (const QString& argument : arguments) {
            reason = reason.arg(argument);
        }
        return translate(sentence).arg(file.fileName(), reason, translate(rest));
    };
    return { compose([](const char* text) { return QString::fromUtf8(text); }),
        compose([](const char* text) { return RecorderInstance::tr(text); }) };
}

Refusal unreadable(const QFile& file, qint64 position)
{
    if (file.error() == QFileDevice::NoError) {
        return refusal(file, position,
            QT_TRANSLATE_NOOP("RecorderInstance",
                "can not be read from byte %1 on, where it ends too early: copy it to a disk of this machine and "
                "import the copy"),
            { QString::number(position) });
    }
    return refusal(file, position,
        QT_TRANSLATE_NOOP("RecorderInstance",
            "can not be read from byte %1 on (%2): copy it to a disk of this machine and import the copy"),
        { QString::number(position), file.errorString() });
}

Refusal rowTooLong(const QFile& file, qint64 position)
{
    return refusal(file, position,
        QT_TRANSLATE_NOOP("RecorderInstance",
            "has a row of more than %1 MiB at byte %2, which can not be sent: see whether a field there lacks "
            "the quote that ends it"),
        { QString::number(MIB_PER_CHUNK), QString::number(position) });
}

Refusal noText(QFile& file, qint64 position)
{
    return refusal(file, position,
        QT_TRANSLATE_NOOP(
            "RecorderInstance", "has a line at byte %1 that is no text in UTF-8: save it as such and import it again"),
        { QString::number(firstStrangeLine(file, position, file.pos())) });
}

QString notOpened(const QString& path)
{
    return RecorderInstance::tr("The file \"%1\" does not exist or can not be opened: the import ends here.").arg(path);
}

} // namespace

// What a task needs of the instance, copied on the main thread when it starts.
struct RecorderInstance::ImportTask
{
    QString agentInstanceUuid;
    QString token;

    /// Written by the task.
    struct State
    {
        /// It has not read its chunk yet.
        bool isReading = true;
        /// Of the file that it tried to read; read after the task.
        QString filePath;
        /// Why the chunk of a file that could be opened was not sent; read after the task.
        Refusal refusal;
    };
    std::shared_ptr<State> state = std::make_shared<State>();
};

// `send` runs on a worker thread and tells whether it sent a chunk; `whenNotOpened` on this one.
void RecorderInstance::_startImportTask(
    const std::function<bool(const ImportTask&)>& send, const std::function<void(const QString&)>& whenNotOpened)
{
    const ImportTask task { _agentInstanceUuid, _actionToken("import") };
    auto* const watcher = new QFutureWatcher<bool>(this);
    connect(watcher, &QFutureWatcher<bool>::finished, this, [this, watcher, task, whenNotOpened] {
        const bool isSent = watcher->result();
        watcher->deleteLater();
        if (!isSent && task.state->refusal.isEmpty()) {
            _setisImportingRecord(false);
            whenNotOpened(task.state->filePath);
        } else if (!isSent) {
            qWarning("%s", qUtf8Printable(task.state->refusal.logged));
            _raiseProblem(task.state->refusal.told);
            if (_isOn) {
                getRecords(QString());
            }
            _setisImportingRecord(false);
        }
        _onImportTaskEnded(task);
    });
    ++_importChunksBeingRead;
    const QFuture<bool> future = QtConcurrent::run(QThreadPool::globalInstance(), [this, task, send] {
        const auto isRead = qScopeGuard([this, &task] { _endReading(task); });
        try {
            return send(task);
        } catch (const std::exception& exception) {
            const QString reason = QString::fromUtf8(exception.what());
            task.state->refusal
                = { QStringLiteral("The import ended: %1").arg(reason), tr("The import ended: %1").arg(reason) };
            return false;
        }
    });
    _importTasks.append(future);
    watcher->setFuture(future);
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
        path = QFileDialog::getOpenFileName(nullptr, tr("Import record"),
            _folderForDialog(RecorderUtils::instance().downloadFilePath(QString())), tr("CSV (*.csv)"));
        if (!self) {
            return;
        }
    }
    if (path.isEmpty()) {
        qWarning("Path is empty");
        return;
    }
    if (_agentInstanceUuid.isEmpty()) {
        qWarning("Instance is off. Can not call service 'import'");
        return;
    }

    _setisCancelingImport(false);
    _setimportingProgress(0);
    _setisImportingRecord(true);
    _importIsStopped = false;
    _importMustContinue = false; // still set when the agent left during the import before

    _startImportTask([this, path](const ImportTask& task) { return _sendFirstChunk(task, path); },
        [](const QString& file) {
            qWarning() << "File" << file << "doesn't exists or cannot be opened";
            _raiseProblem(notOpened(file));
        });
}

void RecorderInstance::continueImport(const QString& record_uuid)
{
    if (record_uuid.isEmpty()) {
        qWarning("Something went wrong in the recorder when importing, check his logs");
        _raiseProblem(tr("The recorder '%1' refused a part of what was imported: its log says why.").arg(name()));
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

    _startImportTask([this, record_uuid](const ImportTask& task) { return _sendNextChunk(task, record_uuid); },
        [](const QString& file) { _raiseProblem(notOpened(file)); });
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
    _importTasks.removeIf([](const QFuture<bool>& other) { return other.isFinished(); });
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
    task.state->filePath = filePath;
    QFile file(filePath);
    QByteArray chunk;
    if (!_readChunk(task, file, 0, chunk)) {
        return false;
    }
    {
        const QMutexLocker locker(&_importFilePathMutex);
        _importFilePath = filePath;
    }
    RecorderServiceCall call("import");
    call.addString(QFileInfo(filePath).completeBaseName()).addBool(true).addString(QString()).addString(chunk);
    if (!call.send(task.agentInstanceUuid, task.token)) {
        task.state->refusal = noText(file, 0);
        return false;
    }

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
    QString& filePath = task.state->filePath;
    {
        const QMutexLocker locker(&_importFilePathMutex);
        filePath = _importFilePath;
    }
    QFile file(filePath);
    QByteArray chunk;
    const qint64 position = _importFilePosition;
    if (!_readChunk(task, file, position, chunk)) {
        if (task.state->refusal.isEmpty()) {
            qWarning() << "File" << filePath << "doesn't exists or cannot be opened";
        }
        return false;
    }
    RecorderServiceCall call("append");
    call.addString(recordUuid).addString(chunk);
    if (!call.send(task.agentInstanceUuid, task.token)) {
        task.state->refusal = noText(file, position);
        return false;
    }

    if (file.atEnd()) {
        _importMustContinue = false;
    } else {
        _updateImportingProgress(file);
    }
    return true;
}

// Opens the file, too, and refuses what can not be sent whole.
bool RecorderInstance::_readChunk(const ImportTask& task, QFile& file, qint64 position, QByteArray& chunk)
{
    const auto isRead = qScopeGuard([this, &task] { _endReading(task); });
    if (!openForReading(file)) {
        return false;
    }
    file.seek(position);
    RecordCsvFault fault = RecordCsvFault::None;
    chunk = _readCsvLines(file, ROWS_PER_CHUNK, fault);
    if (fault == RecordCsvFault::Unreadable) {
        task.state->refusal = unreadable(file, position);
    } else if (fault == RecordCsvFault::RowTooLong) {
        task.state->refusal = rowTooLong(file, position);
    } else if (chunk.contains('\0')) {
        task.state->refusal = noText(file, position);
    }
    _importFilePosition = file.pos();
    return task.state->refusal.isEmpty();
}

// Until a task has read, _importChunksBeingRead counts it.
void RecorderInstance::_endReading(const ImportTask& task)
{
    if (std::exchange(task.state->isReading, false)) {
        --_importChunksBeingRead;
    }
}

QByteArray RecorderInstance::_readCsvLines(QFile& file, int maxLines, RecordCsvFault& fault)
{
    return readRecordCsvLines(file, maxLines, MIB_PER_CHUNK * 1024 * 1024, &fault);
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
