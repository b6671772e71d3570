// SPDX-License-Identifier: Apache-2.0
#include "recorderinstance.h"

#include "recordermoduledata.h"

#include <corvaneutils.h>
#include <host.h>
#include <library.h>
#include <networkconfiguration.h>
#include <reservedagentandtoolfamilies.h>
#include <systemdocumenthandler.h>
#include <systemviewclass.h>
#include <systemviewmanager.h>
#include <zqproperty.h>

#include <QtCore/QDebug>
#include <QtCore/QFileInfo>
#include <QtCore/QProcess>
#include <QtCore/QUuid>
#include <QtQml/QJSEngine>

const QString RecorderInstance::TOKEN_SEPARATOR = QStringLiteral("##");
const QString RecorderInstance::INPUT_SEPARATOR = QStringLiteral("#");

namespace {

// A recorder repeats its progress at least five times a second: this much silence is the end of the recording.
constexpr int RECORDING_TIMEOUT_MS = 500;

} // namespace

RecorderInstance::RecorderInstance(SystemView* systemView, SystemViewClassInstance* instance,
    EncounteredAgentsOnHost* encounteredAgentsOnHost, EncounteredAgentInfo* encounteredAgentInfo,
    const QString& executablePath, QObject* parent)
    : QObject(parent)
    , _executablePath(executablePath)
{
    QJSEngine::setObjectOwnership(this, QJSEngine::CppOwnership);

    _uuid = QUuid::createUuid().toString(QUuid::WithoutBraces);
    Q_EMIT uuidChanged();

    if (_setGuarded(_systemView, systemView, &RecorderInstance::_onsystemViewDestroyed)) {
        Q_EMIT systemViewChanged();
    }
    if (_setGuarded(_instance, instance, &RecorderInstance::_oninstanceDestroyed)) {
        Q_EMIT instanceChanged();
    }
    _setEncounteredAgentsOnHost(encounteredAgentsOnHost);
    _setEncounteredAgentInfo(encounteredAgentInfo);

    if (_instance) {
        connect(_instance, &SystemViewClassInstance::encounteredAgentsOnHostAttachedToCorvaneCreated, this,
            &RecorderInstance::onEncounteredAgentsOnHostCreated);
        connect(_instance, &SystemViewBaseInstance::nameChanged, this, &RecorderInstance::nameChanged);
    }
    connect(this, &RecorderInstance::currentRecordChanged, this, &RecorderInstance::isReplayingChanged);
    connect(this, &RecorderInstance::cassandraEndpointChanged, this, &RecorderInstance::_updateIsRunnable);

    _recordingTimer.setTimerType(Qt::PreciseTimer);
    _recordingTimer.setInterval(RECORDING_TIMEOUT_MS);
    _recordingTimer.setSingleShot(true);
    connect(&_recordingTimer, &QTimer::timeout, this, &RecorderInstance::_onRecordingTimeout);

    if (_encounteredAgentInfo) {
        _recordFilters = RecorderModuleData::instance().getFilters(_encounteredAgentInfo->uuid());
        _currentFilePath = RecorderModuleData::instance().getFilePath(_encounteredAgentInfo->uuid());
    }

    _updateIsRunnable();

    if (_encounteredAgentInfo) {
        _extractDataFromCommandLine(_encounteredAgentInfo->commandLine());
    }
}

RecorderInstance::~RecorderInstance()
{
    _waitForImportTasks();
    _recordingTimer.stop();
    _releaseRecordFile();

    disconnect(this, &RecorderInstance::currentRecordChanged, this, &RecorderInstance::isReplayingChanged);
    for (QObject* followed : { static_cast<QObject*>(_instance), static_cast<QObject*>(_encounteredAgentsOnHost),
             static_cast<QObject*>(_encounteredAgentInfo) }) {
        if (followed) {
            disconnect(followed, nullptr, this, nullptr);
        }
    }

    if (_recordFromFile) {
        disconnect(_recordFromFile, nullptr, this, nullptr);
        _recordFromFile->deleteLater();
        _recordFromFile = nullptr;
    }
    // The records go with this object, which owns their parents. Not later: Qt would look for each of them among all
    // that go later.
    _recordsByUuid.clear();
    _records.clear();
}

QString RecorderInstance::name() const
{
    return _instance ? _instance->name() : QString();
}

QString RecorderInstance::recordProgressInput() const
{
    Q_ASSERT(!_uuid.isEmpty());
    return _uuid + INPUT_SEPARATOR + QStringLiteral("record_progress");
}

QString RecorderInstance::replayProgressInput() const
{
    Q_ASSERT(!_uuid.isEmpty());
    return _uuid + INPUT_SEPARATOR + QStringLiteral("replay_progress");
}

// ---- following the running agent --------------------------------------------------------------------------------

// Said when a recorder leaves in the middle of something; nothing when it was at rest.
static QString lossOf(const RecorderInstance& instance)
{
    if (instance.isImportingRecord()) {
        return RecorderInstance::tr("The recorder '%1' left during an import: its record holds what was sent before.");
    }
    if (instance.isDownloadingRecord()) {
        return RecorderInstance::tr("The recorder '%1' left during a download: the file holds what came before.");
    }
    return instance.isLoadingRecord() ? RecorderInstance::tr("The recorder '%1' left while it loaded a record.")
                                      : QString();
}

void RecorderInstance::updateFromRunningAgentInfo(RunningAgentInfo* runningAgentInfo)
{
    const QString loss = lossOf(*this);
    const QString recordingLoss = runningAgentInfo ? QString() : _noteLossOfRecording();
    if (_setGuarded(_runningAgentInfo, runningAgentInfo, &RecorderInstance::_onrunningAgentInfoDestroyed)) {
        Q_EMIT runningAgentInfoChanged();
    }
    // The member: who hears of the change may have unlinked the agent again.
    ZqProperty::assign(this, _agentInstanceUuid, _runningAgentInfo ? _runningAgentInfo->agentUuid() : QString(),
        &RecorderInstance::agentInstanceUuidChanged);
    setisOn(!_agentInstanceUuid.isEmpty());

    if (_isOn) {
        _getRecordFilters();
        getRecords(QString());
        _getContext();
        _tellOfRestart();
    } else {
        resetOnDisconnect();
        for (const QString& each : { loss, recordingLoss }) {
            if (!each.isEmpty()) {
                _raiseProblem(each.arg(name()));
            }
        }
    }
}

void RecorderInstance::_raiseProblem(const QString& text)
{
    SystemViewManager::instance()->raiseProblem(text);
}

void RecorderInstance::setisOn(bool isOn)
{
    if (!ZqProperty::assign(_isOn, isOn)) {
        return;
    }
    if (!_isOn) {
        _recordingTimer.stop();
        _setisRecording(false);
        _setisRecordingPaused(false);
    }
    Q_EMIT isOnChanged();
}

void RecorderInstance::resetOnDisconnect()
{
    _forgetRecords();
    _replayContext.reset();
    setisOn(false);
    _setisRecording(false);
    _setisRecordingPaused(false);
    // Not through setrecordingProgressInSeconds(): this is no news of a recording.
    ZqProperty::assign(this, _recordingProgressInSeconds, 0.0, &RecorderInstance::recordingProgressInSecondsChanged);
    setcurrentRecord(nullptr);

    _setisLoadingRecord(false);
    setloadingProgress(0);
    _setisImportingRecord(false);
    _earlyAcknowledgements.clear();
    _setimportingProgress(0);
    _setisCancelingImport(false);
    _setisWaitingToFilterAgents(false);
    _setisStoppingRecord(false);
    _setisMovingRecord(false);
    _setisFilteringRecord(false);
    _setisDownloadingRecord(false);
    _setisCancelingExport(false);
    _setexportingProgress(0);
    _setexportRecord(nullptr);
    _closeRecordFile();
    _releaseRecordFromFile();
}

// ---- starting and stopping the agent ----------------------------------------------------------------------------

void RecorderInstance::connectAgent()
{
    if (_isOn) {
        return;
    }
    Q_ASSERT(_encounteredAgentsOnHost);
    Q_ASSERT(_encounteredAgentsOnHost->host());
    Q_ASSERT(_encounteredAgentInfo);
    Q_ASSERT(!_encounteredAgentInfo->commandLine().isEmpty());

    if (_encounteredAgentsOnHost->isAttachedToCorvane()) {
        QStringList splittedCommandLine = QProcess::splitCommand(_encounteredAgentInfo->commandLine());
        Q_ASSERT(!splittedCommandLine.isEmpty());
        const QString program = splittedCommandLine.takeFirst();
        if (!QFileInfo::exists(program)) {
            qCritical() << program << "not found.";
            _raiseProblem(tr("The recorder's program \"%1\" was not found.").arg(program));
            return;
        }
        qDebug() << "Start agent instance locally with command line" << _encounteredAgentInfo->commandLine();
        if (!QProcess::startDetached(program, splittedCommandLine, QString())) {
            qCritical() << program << "could not be started. Check that it may be executed.";
            _raiseProblem(
                tr("The recorder's program \"%1\" could not be started. Check that it may be executed.").arg(program));
        }
    } else if (_encounteredAgentsOnHost->host()->hasLauncher() && _encounteredAgentInfo->canBeLaunched()) {
        Q_EMIT SystemDocumentHandler::instance()->startAgentRequested(_encounteredAgentInfo);
    }
}

void RecorderInstance::disconnectAgent()
{
    if (!_runningAgentInfo) {
        return;
    }
    Q_ASSERT(_instance);
    _instance->turnOff(_runningAgentInfo);
}

bool RecorderInstance::_isOnLocalMachine()
{
    Q_ASSERT(_instance);
    Q_ASSERT(_encounteredAgentsOnHost);
    Q_ASSERT(_encounteredAgentsOnHost->host());
    return _encounteredAgentsOnHost->host()->networkName() == NetworkConfiguration::instance()->localNetworkName();
}

void RecorderInstance::_updateIsRunnable()
{
    const bool isAttached = _encounteredAgentsOnHost && _encounteredAgentsOnHost->isAttachedToCorvane();
    const bool isRunnable = isAttached || (_encounteredAgentInfo && _encounteredAgentInfo->canBeLaunched());
    ZqProperty::assign(this, _isRunnable, isRunnable, &RecorderInstance::isRunnableChanged);
}

// ---- launch line ------------------------------------------------------------------------------------------------

void RecorderInstance::onEncounteredAgentsOnHostCreated(
    EncounteredAgentsOnHost* encounteredAgentsOnHost, EncounteredAgentInfo* encounteredAgentInfo)
{
    Q_ASSERT(encounteredAgentsOnHost);
    Q_ASSERT(encounteredAgentInfo);
    _setEncounteredAgentsOnHost(encounteredAgentsOnHost);
    _setEncounteredAgentInfo(encounteredAgentInfo);
    _updateIsRunnable();
    _extractDataFromCommandLine(encounteredAgentInfo->commandLine());
    if (ZqProperty::assign(_recordFilters, QString())) {
        RecorderModuleData::instance().updateFilters(encounteredAgentInfo->uuid(), _recordFilters);
        Q_EMIT recordFiltersChanged();
    }
}

// The group and the line decide together whether the agent can be started: their flags are followed with them.
void RecorderInstance::_setEncounteredAgentsOnHost(EncounteredAgentsOnHost* encounteredAgentsOnHost)
{
    if (_encounteredAgentsOnHost) {
        disconnect(_encounteredAgentsOnHost, &EncounteredAgentsOnHost::isAttachedToCorvaneChanged, this,
            &RecorderInstance::_updateIsRunnable);
    }
    const bool isNew = _setGuarded(
        _encounteredAgentsOnHost, encounteredAgentsOnHost, &RecorderInstance::_onencounteredAgentsOnHostDestroyed);
    if (_encounteredAgentsOnHost) {
        connect(_encounteredAgentsOnHost, &EncounteredAgentsOnHost::isAttachedToCorvaneChanged, this,
            &RecorderInstance::_updateIsRunnable);
    }
    if (isNew) {
        Q_EMIT encounteredAgentsOnHostChanged();
    }
}

void RecorderInstance::_setEncounteredAgentInfo(EncounteredAgentInfo* encounteredAgentInfo)
{
    if (_encounteredAgentInfo) {
        disconnect(_encounteredAgentInfo, &EncounteredAgentInfo::canBeLaunchedChanged, this,
            &RecorderInstance::_updateIsRunnable);
    }
    const bool isNew
        = _setGuarded(_encounteredAgentInfo, encounteredAgentInfo, &RecorderInstance::_onencounteredAgentInfoDestroyed);
    if (_encounteredAgentInfo) {
        connect(_encounteredAgentInfo, &EncounteredAgentInfo::canBeLaunchedChanged, this,
            &RecorderInstance::_updateIsRunnable);
    }
    if (isNew) {
        Q_EMIT encounteredAgentInfoChanged();
    }
}

void RecorderInstance::_setDefaultCommandLine(const QString& commandLine)
{
    ZqProperty::assign(this, _defaultCommandLine, commandLine, &RecorderInstance::defaultCommandLineChanged);
}

// ---- name -------------------------------------------------------------------------------------------------------

bool RecorderInstance::isRecorderNameAlreadyUsed(const QString& value)
{
    Q_ASSERT(!value.isEmpty());
    Q_ASSERT(_systemView);
    Q_ASSERT(_instance);
    const QString cleanValue = CorvaneUtils::cleanAgentName(value);
    if (cleanValue == name()) {
        return false;
    }
    const SystemViewClass* recorderClass = SystemDocumentHandler::instance()->library()->getClassWithUUID(
        ReservedAgentAndToolFamilies::RECORDER_CLASS_UUID);
    Q_ASSERT(recorderClass);
    return _systemView->getAgentByName(cleanValue) != nullptr;
}

void RecorderInstance::updateName(const QString& value)
{
    Q_ASSERT(_instance);
    const QString cleanValue = CorvaneUtils::cleanAgentName(value);
    Q_ASSERT(!cleanValue.isEmpty());
    if (cleanValue != name()) {
        SystemViewManager::instance()->updateInstanceName(_instance, cleanValue);
    }
}

// ---- guards -----------------------------------------------------------------------------------------------------

void RecorderInstance::_onsystemViewDestroyed(QObject*)
{
    _systemView = nullptr;
    Q_EMIT systemViewChanged();
}

void RecorderInstance::_oninstanceDestroyed(QObject*)
{
    _instance = nullptr;
    Q_EMIT instanceChanged();
    Q_EMIT nameChanged();
}

void RecorderInstance::_onencounteredAgentsOnHostDestroyed(QObject*)
{
    _encounteredAgentsOnHost = nullptr;
    Q_EMIT encounteredAgentsOnHostChanged();
    _updateIsRunnable();
}

void RecorderInstance::_onencounteredAgentInfoDestroyed(QObject*)
{
    _encounteredAgentInfo = nullptr;
    Q_EMIT encounteredAgentInfoChanged();
    _updateIsRunnable();
}

void RecorderInstance::_onrunningAgentInfoDestroyed(QObject*)
{
    _runningAgentInfo = nullptr;
    Q_EMIT runningAgentInfoChanged();
}

void RecorderInstance::_oncurrentRecordDestroyed(QObject*)
{
    _currentRecord = nullptr;
    Q_EMIT currentRecordChanged();
}

void RecorderInstance::_onrecordFromFileDestroyed(QObject*)
{
    _recordFromFile = nullptr;
    Q_EMIT recordFromFileChanged();
}

void RecorderInstance::_onexportRecordDestroyed(QObject*)
{
    _exportRecord = nullptr;
    Q_EMIT exportRecordChanged();
}
