// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <recorderinstance.h>

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QPointer>
#include <QtCore/QString>

/// A record as a recorder lists it.
struct ListedRecord
{
    QString uuid;
    QString name;
    qint64 durationInMicroseconds = 0;
    /// As the recorder writes it; empty or unreadable while the record has no end.
    QString endDate;

    QDateTime endDateTime() const;
};

/// A service that an import must have called.
struct ExpectedCall
{
    QString agent;
    QString service;
    QVariantList arguments;
};

/// What some properties of an instance must be, by rules written a second time and from the outside: the recording, the
/// list of records, the download and the import.
class ExpectedInstance
{
public:
    /// Everything that the module should show and does not; empty when all is well.
    QStringList differencesTo(const RecorderInstance& instance) const;

    bool isOn = false;
    void disconnected();

    // ---- recording
    void recordingStarted();
    void recordingProgress(double seconds);
    void recordingStopped();
    void startRecording();
    void stopRecording();
    /// What a load does first.
    void stopRunningRecording();

    // ---- list of records
    void recordsAnswered(const QList<ListedRecord>& records);
    void unreadableRecordsAnswered();
    void deleted(const QString& recordUuid);
    void renamed(const QString& recordUuid, const QString& name);

    // ---- download
    void downloadStarted(const QString& path, RecorderRecord* record);
    void downloadFailed();
    void stopExport();
    void chunkReceived(const QString& recordUuid, const QString& nextUuid, const QString& content);

    // ---- import
    void importStarted(const QString& agent, const QString& path);
    void stopImport();
    /// The recorder has a chunk; `agent` is the one that is linked now, empty for none. Waits for a task that has not run.
    void importAcknowledged(const QString& agent, const QString& recordUuid);
    bool hasImportTask() const { return !_tasks.isEmpty(); }
    struct ImportResult
    {
        QString agent;
        bool isSent = false;
    };
    /// Runs the oldest task.
    ImportResult runImportTask();
    /// The main thread hears of a task's end.
    void importTaskEnded(const ImportResult& result, const QString& agent);
    QList<ExpectedCall> takeCalls() { return std::exchange(_calls, {}); }

private:
    struct ImportTask
    {
        QString agent;
        /// Of the file for the first chunk, else empty.
        QString path;
        QString recordUuid;
    };
    void _closeDownload();
    QByteArray _readChunk(const QByteArray& file);

    bool _isRecording = false;
    bool _isRecordingPaused = false;
    double _recordingProgress = 0.0;

    QList<ListedRecord> _records;

    bool _isDownloading = false;
    bool _isCancelingExport = false;
    int _exportingProgress = 0;
    QPointer<RecorderRecord> _exportRecord;
    /// As the list has it, for as long as it has it: the answers to come are not in the object yet.
    double _exportDurationInSeconds = 0.0;
    bool _exportIsListed = false;
    QString _downloadPath;
    QByteArray _downloaded;

    bool _isImporting = false;
    bool _isCancelingImport = false;
    bool _importGoesOn = false;
    bool _importIsStopped = false;
    int _importingProgress = 0;
    QString _importPath;
    qint64 _importPosition = 0;
    QList<ImportTask> _tasks;
    QList<ExpectedCall> _calls;
    QStringList _earlyAcknowledgements;
};
