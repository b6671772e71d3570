// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "recorderrecord.h"
#include "recorderreplaycontext.h"

#include <encounteredagentinfo.h>
#include <encounteredagentsonhost.h>
#include <runningagentinfo.h>
#include <speed.h>
#include <systemview.h>
#include <systemviewclassinstance.h>
#include <zqcustomitemlistmodel.h>

#include <QtCore/QFile>
#include <QtCore/QFuture>
#include <QtCore/QHash>
#include <QtCore/QMutex>
#include <QtCore/QObject>
#include <QtCore/QPointer>
#include <QtCore/QTimer>
#include <QtCore/QUrl>

#include <atomic>
#include <functional>

enum class RecordCsvFault;

/// One launch of the recorder executable with one command line, running or not.
//
/// The registry (Recorder) makes instances, links them to running agents and deletes them. Everything runs on the main
/// thread but the tasks of an import, which say so. The banners below come in the same order among properties, methods,
/// signals and members; each names its source file.
class RecorderInstance : public QObject
{
    Q_OBJECT

    // ---- identity and connection: recorderinstance.cpp -------------------------------------------------------------

    /// The view in which the recorder was placed, or null once that is gone.
    Q_PROPERTY(SystemView* systemView READ systemView NOTIFY systemViewChanged)
    /// The class instance that gives the recorder its name.
    Q_PROPERTY(SystemViewClassInstance* instance READ instance NOTIFY instanceChanged)
    /// The machine's group that holds the launch line.
    Q_PROPERTY(EncounteredAgentsOnHost* encounteredAgentsOnHost READ encounteredAgentsOnHost NOTIFY
            encounteredAgentsOnHostChanged)
    /// The launch line; its uuid is the key under which settings are kept in the document.
    Q_PROPERTY(EncounteredAgentInfo* encounteredAgentInfo READ encounteredAgentInfo NOTIFY encounteredAgentInfoChanged)
    /// The agent as it runs now, or null.
    Q_PROPERTY(RunningAgentInfo* runningAgentInfo READ runningAgentInfo NOTIFY runningAgentInfoChanged)
    /// Name of the agent on the network; empty without a class instance.
    Q_PROPERTY(QString name READ name NOTIFY nameChanged)
    /// The agent can be started from here.
    Q_PROPERTY(bool isRunnable READ isRunnable NOTIFY isRunnableChanged)
    /// A running agent is linked: commands reach it.
    Q_PROPERTY(bool isOn READ isOn NOTIFY isOnChanged)
    /// Replayed publications carry their recorded time instead of the present one.
    Q_PROPERTY(bool isInTimestampedReplayMode READ isInTimestampedReplayMode NOTIFY isInTimestampedReplayModeChanged)

    // ---- records and replay: recorderinstance_records.cpp, recorderinstance_replay.cpp ------------------------------

    /// The records that the recorder holds, in the order in which they were first seen.
    Q_PROPERTY(AbstractZqCustomItemListModel* records READ records CONSTANT)
    /// The record that is loaded or being loaded for replay, or null.
    Q_PROPERTY(RecorderRecord* currentRecord READ currentRecord NOTIFY currentRecordChanged)
    /// The record that stands for a CSV file being replayed, or null.
    Q_PROPERTY(RecorderRecord* recordFromFile READ recordFromFile NOTIFY recordFromFileChanged)
    /// The CSV file that was last chosen for replay, a path on the recorder's machine.
    Q_PROPERTY(QString currentFilePath READ currentFilePath NOTIFY currentFilePathChanged)
    Q_PROPERTY(bool isRecording READ isRecording NOTIFY isRecordingChanged)
    Q_PROPERTY(bool isRecordingPaused READ isRecordingPaused NOTIFY isRecordingPausedChanged)
    /// Length of the running recording, in seconds.
    Q_PROPERTY(
        double recordingProgressInSeconds READ recordingProgressInSeconds NOTIFY recordingProgressInSecondsChanged)
    Q_PROPERTY(bool isLoadingRecord READ isLoadingRecord NOTIFY isLoadingRecordChanged)
    /// Percent.
    Q_PROPERTY(int loadingProgress READ loadingProgress NOTIFY loadingProgressChanged)
    /// Why the last load failed, in the recorder's words; empty after a new load was asked for.
    Q_PROPERTY(QString loadingFailReason READ loadingFailReason NOTIFY loadingFailReasonChanged)
    /// A filter of agents was sent and is not applied yet.
    Q_PROPERTY(bool isFilteringRecord READ isFilteringRecord NOTIFY isFilteringRecordChanged)
    /// The current record is playing.
    Q_PROPERTY(bool isReplaying READ isReplaying NOTIFY isReplayingChanged)
    /// A move was asked for and is not confirmed yet.
    Q_PROPERTY(bool isMovingRecord READ isMovingRecord NOTIFY isMovingRecordChanged)
    /// The pending move is a stop.
    Q_PROPERTY(bool isStoppingRecord READ isStoppingRecord NOTIFY isStoppingRecordChanged)
    /// A changed filter of agents waits for the replay to be back at its start.
    Q_PROPERTY(bool isWaitingToFilterAgents READ isWaitingToFilterAgents NOTIFY isWaitingToFilterAgentsChanged)

    // ---- export and import: recorderinstance_export.cpp, recorderinstance_import.cpp -------------------------------

    Q_PROPERTY(bool isDownloadingRecord READ isDownloadingRecord NOTIFY isDownloadingRecordChanged)
    /// Percent of the record that is written.
    Q_PROPERTY(int exportingProgress READ exportingProgress NOTIFY exportingProgressChanged)
    /// The record that is being, or was last, downloaded.
    Q_PROPERTY(RecorderRecord* exportRecord READ exportRecord NOTIFY exportRecordChanged)
    /// The user asked to end the download: it ends with the next chunk.
    Q_PROPERTY(bool isCancelingExport READ isCancelingExport NOTIFY isCancelingExportChanged)
    Q_PROPERTY(bool isImportingRecord READ isImportingRecord NOTIFY isImportingRecordChanged)
    /// Percent of the file's bytes that are sent. Notified from a worker thread.
    Q_PROPERTY(int importingProgress READ importingProgress NOTIFY importingProgressChanged)
    /// The user asked to end the import: it ends when the chunk on its way is acknowledged.
    Q_PROPERTY(bool isCancelingImport READ isCancelingImport NOTIFY isCancelingImportChanged)
    /// What the recorder records, in its own filter language; carried as it is.
    Q_PROPERTY(QString recordFilters READ recordFilters WRITE setrecordFilters NOTIFY recordFiltersChanged)

    // ---- settings of the command line: recorderinstance_settings.cpp -----------------------------------------------

    Q_PROPERTY(bool isVerbose READ isVerbose NOTIFY isVerboseChanged)
    /// "host:port", or empty: the recorder is given no database.
    Q_PROPERTY(QString cassandraEndpoint READ cassandraEndpoint NOTIFY cassandraEndpointChanged)
    Q_PROPERTY(QUrl cassandraEndPointUrl READ cassandraEndpointUrl NOTIFY cassandraEndpointUrlChanged)
    /// The recorder is given no database, so it has no list of records to ask for.
    Q_PROPERTY(bool offlineMode READ offlineMode NOTIFY offlineModeChanged)
    Q_PROPERTY(bool useCustomKeyspace READ useCustomKeyspace NOTIFY useCustomKeyspaceChanged)
    Q_PROPERTY(QString customKeyspace READ customKeyspace NOTIFY customKeyspaceChanged)
    Q_PROPERTY(bool useAuthentication READ useAuthentication NOTIFY useAuthenticationChanged)
    /// User name and password are written to the command line and never read back from it.
    Q_PROPERTY(QString username READ username NOTIFY usernameChanged)
    Q_PROPERTY(QString password READ password NOTIFY passwordChanged)
    Q_PROPERTY(bool isQuenarySecurityActivate READ isQuenarySecurityActivate NOTIFY isQuenarySecurityActivateChanged)
    /// Both paths are kept while security is off.
    Q_PROPERTY(QString privateAgentCertificateFilePath READ privateAgentCertificateFilePath NOTIFY
            privateAgentCertificateFilePathChanged)
    Q_PROPERTY(QString publicCertificatesDirectoryPath READ publicCertificatesDirectoryPath NOTIFY
            publicCertificatesDirectoryPathChanged)

public:
    /// Between an instance's uuid and an action in the token of a call.
    static const QString TOKEN_SEPARATOR;
    /// Between an instance's uuid and an output's name in the name of an input.
    static const QString INPUT_SEPARATOR;

    // ---- identity and connection: recorderinstance.cpp -------------------------------------------------------------

    /// Only the registry makes instances. None of the pointers may be null nor the path empty; nothing is taken over.
    RecorderInstance(SystemView* systemView, SystemViewClassInstance* instance,
        EncounteredAgentsOnHost* encounteredAgentsOnHost, EncounteredAgentInfo* encounteredAgentInfo,
        const QString& executablePath, QObject* parent);
    /// Waits for a running task of an import.
    ~RecorderInstance() override;
    Q_DISABLE_COPY_MOVE(RecorderInstance)

    /// The instance's key everywhere in the module, and the token of its calls. Fresh with every object, never
    /// persisted.
    QString uuid() const { return _uuid; }
    SystemView* systemView() const { return _systemView; }
    SystemViewClassInstance* instance() const { return _instance; }
    EncounteredAgentsOnHost* encounteredAgentsOnHost() const { return _encounteredAgentsOnHost; }
    EncounteredAgentInfo* encounteredAgentInfo() const { return _encounteredAgentInfo; }
    RunningAgentInfo* runningAgentInfo() const { return _runningAgentInfo; }
    /// Network uuid of the linked agent, the target of every call; empty while none is linked.
    QString agentInstanceUuid() const { return _agentInstanceUuid; }
    QString name() const;
    bool isRunnable() const { return _isRunnable; }
    bool isOn() const { return _isOn; }
    QString defaultCommandLine() const { return _defaultCommandLine; }
    QString executablePath() const { return _executablePath; }

    /// Names of the two inputs on the host's agent that the recorder's progress outputs are mapped to.
    QString recordProgressInput() const;
    QString replayProgressInput() const;

    /// Links the running agent, or unlinks with null. The registry calls it.
    void updateFromRunningAgentInfo(RunningAgentInfo* runningAgentInfo);
    void setisOn(bool isOn);
    /// Returns every piece of run-time state to rest. Settings and persisted texts stay.
    void resetOnDisconnect();

    Q_INVOKABLE void connectAgent();
    Q_INVOKABLE void disconnectAgent();
    /// `value` must not be empty. True when another agent of the view has the name that `value` would become.
    Q_INVOKABLE bool isRecorderNameAlreadyUsed(const QString& value);
    /// `value` must hold a character that a name may have.
    Q_INVOKABLE void updateName(const QString& value);
    /// Re-targets the instance to another launch line.
    Q_INVOKABLE void onEncounteredAgentsOnHostCreated(
        EncounteredAgentsOnHost* encounteredAgentsOnHost, EncounteredAgentInfo* encounteredAgentInfo);

    // ---- commands: recorderinstance_commands.cpp -------------------------------------------------------------------
    /// Each is refused with a warning while the instance is off; none waits for its answer.

    Q_INVOKABLE void startRecording();
    /// Forgets the recording here even when the instance is off.
    Q_INVOKABLE void stopRecording();
    Q_INVOKABLE void pauseRecording();
    Q_INVOKABLE void resumeRecording();
    /// `text`: empty for all records. Not sent without a database.
    Q_INVOKABLE void getRecords(const QString& text);
    Q_INVOKABLE void updateRecordFilters(const QString& filters);
    Q_INVOKABLE void loadRecord(RecorderRecord* record);
    /// `path` is on the recorder's machine.
    Q_INVOKABLE void loadRecordFile(const QString& path);
    Q_INVOKABLE void updateRecordName(RecorderRecord* record, const QString& name);
    /// The record goes from the list at once, whatever the recorder makes of it.
    Q_INVOKABLE void deleteRecord(RecorderRecord* record);
    Q_INVOKABLE void playRecord(RecorderRecord* record);
    Q_INVOKABLE void pauseRecord(RecorderRecord* record);
    /// Pauses and moves back to the start.
    Q_INVOKABLE void stopRecord(RecorderRecord* record);
    /// Seconds from the start of the current record. The position shown jumps at once.
    Q_INVOKABLE void moveCurrentRecordTime(double timeInSeconds);
    /// Sends the check marks of the record's agents when they differ from those last sent.
    Q_INVOKABLE void updateRecordAgentsFilter(RecorderRecord* record);
    /// `speed` is one of the record's speeds.
    Q_INVOKABLE void updateRecordSpeed(RecorderRecord* record, Speed* speed);

    // ---- recording and the list of records: recorderinstance_records.cpp -------------------------------------------

    AbstractZqCustomItemListModel* records() { return &_records; }
    QString recordFilters() const { return _recordFilters; }
    void setrecordFilters(const QString& recordFilters);
    bool isRecording() const { return _isRecording; }
    bool isRecordingPaused() const { return _isRecordingPaused; }
    double recordingProgressInSeconds() const { return _recordingProgressInSeconds; }
    Q_INVOKABLE bool isRecordNameAlreadyUsed(const QString& name) const;

    /// Answers of the recorder, brought by the module's handlers.
    void recordingStarted(const QString& recordUuid);
    void recordingStopped();
    void setrecordingProgressInSeconds(double progressInSeconds);
    void updateRecords(const QString& json);

    // ---- replay: recorderinstance_replay.cpp -----------------------------------------------------------------------

    RecorderRecord* currentRecord() const { return _currentRecord; }
    void setcurrentRecord(RecorderRecord* currentRecord);
    RecorderRecord* recordFromFile() const { return _recordFromFile; }
    QString currentFilePath() const { return _currentFilePath; }
    bool isReplaying() const;
    bool isLoadingRecord() const { return _isLoadingRecord; }
    int loadingProgress() const { return _loadingProgress; }
    QString loadingFailReason() const { return _loadingFailReason; }
    bool isFilteringRecord() const { return _isFilteringRecord; }
    bool isMovingRecord() const { return _isMovingRecord; }
    bool isStoppingRecord() const { return _isStoppingRecord; }
    bool isWaitingToFilterAgents() const { return _isWaitingToFilterAgents; }
    /// Folder that the dialog for a file to replay opens in.
    QString filePathHint() const { return _filePathHint; }

    Q_INVOKABLE void browseFileToLoad(const QString& hintPath);
    Q_INVOKABLE void loadRecordUrl(const QUrl& url);
    Q_INVOKABLE void recordCsvFileDropped(const QUrl& url);
    Q_INVOKABLE void unloadRecord(RecorderRecord* record);
    /// `text` as the user typed it: a position in the current record.
    Q_INVOKABLE void updateCurrentRecordTime(const QString& text);
    /// The user changed the check marks: applies them now, or after moving back to the start.
    Q_INVOKABLE void beforeUpdateRecordAgentsFilter(RecorderRecord* record);

    /// Answers of the recorder, brought by the module's handlers. Times in seconds; lists of agents are JSON arrays.
    void updateContext(const QString& replayId, const QDateTime& replayStartDateTime, double replayDuration,
        double replayProgress, double replaySpeed, bool replayIsRunning, const QString& replayAllAgents,
        const QString& replayAgentsFilter, const QString& recordId);
    void setloadingProgress(int percent);
    void recordLoaded(
        const QString& recordUuid, const QDateTime& startDateTime, double durationInSeconds, const QString& agentsList);
    void recordLoadingFailed(const QString& recordUuid, const QString& reason);
    void updateReplayProgress(double progressInSeconds);
    void recordPaused();
    void recordMovedTo(double positionInSeconds);
    void recordFilterApplied();
    void replayEnded();

    // ---- export: recorderinstance_export.cpp -----------------------------------------------------------------------

    bool isDownloadingRecord() const { return _isDownloadingRecord; }
    int exportingProgress() const { return _exportingProgress; }
    RecorderRecord* exportRecord() const { return _exportRecord; }
    bool isCancelingExport() const { return _isCancelingExport; }

    Q_INVOKABLE void downloadRecord(RecorderRecord* record);
    Q_INVOKABLE void stopExport();
    /// One chunk of the record, and the cursor to the next; an empty `nextUuid` ends the export.
    void receiveExport(const QString& recordUuid, int nextBucketId, const QString& nextUuid, const QString& content);

    // ---- import: recorderinstance_import.cpp -----------------------------------------------------------------------

    bool isImportingRecord() const { return _isImportingRecord; }
    int importingProgress() const { return _importingProgress; }
    bool isCancelingImport() const { return _isCancelingImport; }

    Q_INVOKABLE void importRecord();
    /// Asks for a file when the url is none of a local one.
    Q_INVOKABLE void importRecord(const QUrl& filePath);
    /// The recorder acknowledged a chunk; an empty uuid is its refusal.
    Q_INVOKABLE void continueImport(const QString& record_uuid);
    Q_INVOKABLE void stopImport();

    // ---- settings of the command line: recorderinstance_settings.cpp -----------------------------------------------

    bool isVerbose() const { return _isVerbose; }
    QString cassandraEndpoint() const { return _cassandraEndpoint; }
    QUrl cassandraEndpointUrl() const;
    bool offlineMode() const { return _cassandraEndpoint.isEmpty(); }
    bool useCustomKeyspace() const { return _useCustomKeyspace; }
    QString customKeyspace() const { return _customKeyspace; }
    bool useAuthentication() const { return _useAuthentication; }
    QString username() const { return _username; }
    QString password() const { return _password; }
    bool isQuenarySecurityActivate() const { return _isQuenarySecurityActivate; }
    QString privateAgentCertificateFilePath() const { return _privateAgentCertificateFilePath; }
    QString publicCertificatesDirectoryPath() const { return _publicCertificatesDirectoryPath; }
    bool isInTimestampedReplayMode() const { return _isInTimestampedReplayMode; }

    /// Each stores the setting and writes it into the launch line that the document keeps.
    Q_INVOKABLE void updateIsVerbose(bool isVerbose);
    Q_INVOKABLE void updateCassandraEndpoint(const QString& endpoint);
    Q_INVOKABLE void updateUseCustomKeyspace(bool useCustomKeyspace);
    Q_INVOKABLE void updateCustomKeyspace(const QString& keyspace);
    Q_INVOKABLE void updateUseAuthentication(bool useAuthentication);
    Q_INVOKABLE void updateUsername(const QString& username);
    Q_INVOKABLE void updatePassword(const QString& password);
    Q_INVOKABLE void updateIsQuenarySecurityActivate(bool isActivated);
    Q_INVOKABLE void updatePrivateAgentCertificateFilePath(const QString& path);
    Q_INVOKABLE void updatePublicCertificatesDirectoryPath(const QString& path);
    Q_INVOKABLE void updateTimestampedReplayMode(bool enabled);

Q_SIGNALS:
    // ---- identity and connection
    void uuidChanged();
    void systemViewChanged();
    void instanceChanged();
    void encounteredAgentsOnHostChanged();
    void encounteredAgentInfoChanged();
    void runningAgentInfoChanged();
    void agentInstanceUuidChanged();
    void nameChanged();
    void isRunnableChanged();
    void isOnChanged();
    void defaultCommandLineChanged();

    // ---- recording and the list of records
    void recordFiltersChanged();
    void isRecordingChanged();
    void isRecordingPausedChanged();
    void recordingProgressInSecondsChanged();
    /// The pages ask the user, then call deleteRecord.
    void confirmRecordDeletion(RecorderRecord* record);

    // ---- replay
    void currentRecordChanged();
    void recordFromFileChanged();
    void currentFilePathChanged();
    void isReplayingChanged();
    void isLoadingRecordChanged();
    void loadingProgressChanged();
    void loadingFailReasonChanged();
    void isFilteringRecordChanged();
    void isMovingRecordChanged();
    void isStoppingRecordChanged();
    void isWaitingToFilterAgentsChanged();
    void filePathHintChanged();
    /// A CSV file was chosen or dropped.
    void filePathSelectedForLoad(QString path);

    // ---- export
    void isDownloadingRecordChanged();
    void exportingProgressChanged();
    void exportRecordChanged();
    void isCancelingExportChanged();

    // ---- import
    void isImportingRecordChanged();
    void importingProgressChanged();
    void isCancelingImportChanged();

    // ---- settings of the command line
    void isVerboseChanged();
    void cassandraEndpointChanged();
    void cassandraEndpointUrlChanged();
    void offlineModeChanged();
    void useCustomKeyspaceChanged();
    void customKeyspaceChanged();
    void useAuthenticationChanged();
    void usernameChanged();
    void passwordChanged();
    void isQuenarySecurityActivateChanged();
    void privateAgentCertificateFilePathChanged();
    void publicCertificatesDirectoryPathChanged();
    void isInTimestampedReplayModeChanged();

private Q_SLOTS:
    /// What a property points to is gone: the property becomes null.
    void _onsystemViewDestroyed(QObject* object);
    void _oninstanceDestroyed(QObject* object);
    void _onencounteredAgentsOnHostDestroyed(QObject* object);
    void _onencounteredAgentInfoDestroyed(QObject* object);
    void _onrunningAgentInfoDestroyed(QObject* object);
    void _oncurrentRecordDestroyed(QObject* object);
    void _onrecordFromFileDestroyed(QObject* object);
    void _onexportRecordDestroyed(QObject* object);
    void _updateIsRunnable();

private:
    // ---- identity and connection
    template <typename T> bool _setGuarded(T*& member, T* value, void (RecorderInstance::*onDestroyed)(QObject*));
    void _setEncounteredAgentsOnHost(EncounteredAgentsOnHost* encounteredAgentsOnHost);
    void _setEncounteredAgentInfo(EncounteredAgentInfo* encounteredAgentInfo);
    void _setDefaultCommandLine(const QString& commandLine);
    bool _isOnLocalMachine();
    /// Tells the person what happened, in the host's window.
    static void _raiseProblem(const QString& text);

    // ---- commands
    bool _refuseWhenOff(const char* service) const;
    QString _actionToken(const char* action) const;
    void _getContext();
    void _getRecordFilters();
    void _unloadRecord(RecorderRecord* record);
    static QString _agentsFilterText(const RecorderRecord& record, const QStringList& activeAgents);

    // ---- recording and the list of records
    void _setisRecording(bool isRecording);
    void _setisRecordingPaused(bool isRecordingPaused);
    void _onRecordingTimeout();
    /// The recorder leaves: what to say of its recording, if there may be one.
    QString _noteLossOfRecording();
    void _tellOfRestart();
    void _tellOfReturn(bool isStillRecording);
    void _clearRecords();
    void _forgetRecords();
    void _readRecords(const QString& json);
    bool _takeRecords(const QJsonArray& elements);
    void _removeRecords(const QList<RecorderRecord*>& records);
    QObject* _parentOfNewRecord();
    /// Null for a record that is not in the list, or no longer.
    RecorderRecord* _knownRecord(const QString& recordUuid) const;
    void _applyWaitingReplayContext();

    // ---- replay
    void _setcurrentFilePath(const QString& path);
    void _setisLoadingRecord(bool isLoadingRecord);
    void _setloadingFailReason(const QString& reason);
    void _setisFilteringRecord(bool isFilteringRecord);
    void _setisMovingRecord(bool isMovingRecord);
    void _setisStoppingRecord(bool isStoppingRecord);
    void _setisWaitingToFilterAgents(bool isWaitingToFilterAgents);
    void _releaseRecordFromFile();
    RecorderRecord* _createRecordFromFile(
        const QString& path, const QDateTime& startDateTime, double durationInSeconds);
    void _setRecordFromFile(RecorderRecord* record);
    static QString _folderForDialog(const QString& folder);
    static QStringList _parseAgentsList(const QString& json);
    static bool _isRecordAgentsFilterChanged(RecorderRecord* record);

    // ---- export
    void _callExport(
        const QString& recordUuid, int bucketId, const QString& cursorUuid, bool firstRequest, bool lastFlag);
    bool _openRecordFile(const QString& filePath);
    bool _writeToRecordFile(const QString& content);
    void _updateExportingProgress(const QString& content);
    void _closeRecordFile();
    void _releaseRecordFile();
    void _cancelExport();
    void _setisDownloadingRecord(bool isDownloadingRecord);
    void _setexportingProgress(int percent);
    void _setexportRecord(RecorderRecord* record);
    void _setisCancelingExport(bool isCancelingExport);

    // ---- import
    struct ImportTask;
    void _setisImportingRecord(bool isImportingRecord);
    void _setimportingProgress(int percent);
    void _setisCancelingImport(bool isCancelingImport);
    void _startImportTask(
        const std::function<bool(const ImportTask&)>& send, const std::function<void(const QString&)>& whenNotOpened);
    QByteArray _readCsvLines(QFile& file, int maxLines, RecordCsvFault& fault);
    bool _sendFirstChunk(const ImportTask& task, const QString& filePath);
    bool _sendNextChunk(const ImportTask& task, const QString& recordUuid);
    bool _readChunk(const ImportTask& task, QFile& file, qint64 position, QByteArray& chunk);
    void _updateImportingProgress(const QFile& file);
    void _onImportTaskEnded(const ImportTask& task);
    void _endReading(const ImportTask& task);
    void _waitForImportTasks();

    // ---- settings of the command line
    void _extractDataFromCommandLine(const QString& commandLine);
    void setcassandraEndpoint(const QString& endpoint);
    QString _parseCassandraEndpoint(const QString& endpoint) const;
    void _updateCommandLineOptionWithoutArgument(const QString& longName, const QString& shortName, bool enabled);
    void _updateCommandLineOptionWithArgument(
        const QString& longName, const QString& shortName, const QString& value, bool flag);
    void _updateAgentCommandLine(const QString& commandLine, bool flag);
    void _resetQuenarySecurityCommandLineOptions();
    void _restoreQuenarySecurityCommandLineOptions();
    void _setcustomKeyspace(const QString& keyspace);

    // ---- identity and connection
    QString _uuid;
    const QString _executablePath;
    SystemView* _systemView = nullptr;
    SystemViewClassInstance* _instance = nullptr;
    EncounteredAgentsOnHost* _encounteredAgentsOnHost = nullptr;
    EncounteredAgentInfo* _encounteredAgentInfo = nullptr;
    RunningAgentInfo* _runningAgentInfo = nullptr;
    QString _agentInstanceUuid;
    QString _defaultCommandLine;
    bool _isRunnable = false;
    bool _isOn = false;

    // ---- recording and the list of records
    ZqCustomItemListModel<RecorderRecord> _records;
    /// May name records that are gone, because whoever has the list may delete them: see _knownRecord().
    QHash<QString, RecorderRecord*> _recordsByUuid;
    /// Of the record that was made last; null, or without children, once all that it was made for are gone.
    QPointer<QObject> _recordParent;
    /// Counts the lists that were taken and forgotten: one that others overtake is taken no further.
    unsigned _recordsTurn = 0;
    QString _recordFilters;
    bool _isRecording = false;
    bool _isRecordingPaused = false;
    double _recordingProgressInSeconds = 0.0;
    /// Restarted by every progress value: silence means that the recording ended.
    QTimer _recordingTimer;
    /// Beyond isRecording: silence is also what a cut link sounds like. Until the recorder says that it ended, or says
    /// anything else after the silence.
    bool _mayBeRecording = false;
    bool _isListedSinceProgress = false;
    /// The agent that went out of reach with a recording of which nobody knows whether it goes on.
    QString _agentLostWhileRecording;

    // ---- replay
    RecorderRecord* _currentRecord = nullptr;
    RecorderRecord* _recordFromFile = nullptr;
    QString _currentFilePath;
    QString _filePathHint;
    QString _loadingFailReason;
    int _loadingProgress = 0;
    bool _isLoadingRecord = false;
    bool _isFilteringRecord = false;
    bool _isMovingRecord = false;
    bool _isStoppingRecord = false;
    bool _isWaitingToFilterAgents = false;
    /// Came before the list that has its record.
    RecorderReplayContext _replayContext;

    // ---- export
    QFile* _recordFile = nullptr;
    RecorderRecord* _exportRecord = nullptr;
    int _exportingProgress = 0;
    bool _isDownloadingRecord = false;
    bool _isCancelingExport = false;

    // ---- import
    bool _isImportingRecord = false;
    bool _isCancelingImport = false;
    /// The tasks below write these on a worker thread while the main thread reads them.
    std::atomic<int> _importingProgress = 0;
    std::atomic<bool> _importMustContinue = false;
    std::atomic<bool> _importIsStopped = false;
    std::atomic<qint64> _importFilePosition = 0;
    /// A second import may start while the first one's task still runs.
    QMutex _importFilePathMutex;
    QString _importFilePath;
    QList<QFuture<bool>> _importTasks;
    /// By tasks that have begun, or are about to, and have not sent yet.
    std::atomic<int> _importChunksBeingRead = 0;
    /// Came while a chunk was being read.
    QStringList _earlyAcknowledgements;

    // ---- settings of the command line
    bool _isVerbose = false;
    QString _cassandraEndpoint;
    bool _useCustomKeyspace = false;
    QString _customKeyspace;
    bool _useAuthentication = false;
    QString _username;
    QString _password;
    bool _isQuenarySecurityActivate = false;
    QString _privateAgentCertificateFilePath;
    QString _publicCertificatesDirectoryPath;
    bool _isInTimestampedReplayMode = false;
};

template <typename T>
bool RecorderInstance::_setGuarded(T*& member, T* value, void (RecorderInstance::*onDestroyed)(QObject*))
{
    if (member == value) {
        return false;
    }
    if (member) {
        disconnect(member, &QObject::destroyed, this, onDestroyed);
    }
    member = value;
    if (member) {
        connect(member, &QObject::destroyed, this, onDestroyed);
    }
    return true;
}
