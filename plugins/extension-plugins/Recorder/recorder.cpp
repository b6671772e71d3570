// SPDX-License-Identifier: Apache-2.0
#include "recorder.h"

#include <corvaneutils.h>
#include <quenary.h>
#include <systemdocument.h>
#include <systemdocumenthandler.h>
#include <systemviewmanager.h>

#include <QtCore/QDebug>
#include <QtQml/QJSEngine>

#include <algorithm>
#include <iterator>

namespace {

constexpr char RECORD_PROGRESS_OUTPUT[] = "record_progress";
constexpr char REPLAY_PROGRESS_OUTPUT[] = "replay_progress";

bool haveSameLine(const EncounteredAgentInfo* left, const EncounteredAgentInfo* right)
{
    return left && right && left->splitCommandLine().isSameAs(right->splitCommandLine());
}

// The network shows no passwords: a line that it shows may equal several that differ in theirs. Then those go before
// that have the line for which the host took it.
QList<RecorderInstance*> preferLine(const QList<RecorderInstance*>& recorderInstances, const EncounteredAgentInfo* info)
{
    QList<RecorderInstance*> preferred;
    std::copy_if(recorderInstances.cbegin(), recorderInstances.cend(), std::back_inserter(preferred),
        [info](const RecorderInstance* instance) { return haveSameLine(instance->encounteredAgentInfo(), info); });
    return preferred.isEmpty() ? recorderInstances : preferred;
}

// Each time that QML collects its garbage, it looks at all children of what it shows and what has no parent: at every
// record of an instance, which with many of them holds up the pages for longer than a frame. With a parent, which QML
// must not see itself, an instance is left alone.
QObject* parentThatQmlDoesNotSee()
{
    static auto* const parent = new QObject; // never deleted: it would delete the instances, which is for the registry
    return parent;
}

} // namespace

Recorder::Recorder(SystemViewClassInstance* classInstance, const QString& executablePath, QObject* parent)
    : QObject(parent)
    , _executablePath(executablePath)
{
    QJSEngine::setObjectOwnership(this, QJSEngine::CppOwnership);
    Q_ASSERT(classInstance);

    _classInstance = classInstance;
    connect(_classInstance, &QObject::destroyed, this, &Recorder::_onclassInstanceDestroyed);
    Q_EMIT classInstanceChanged();

    _sortedInstances.setSourceModel(&_instances);
    connect(_classInstance, &SystemViewClassInstance::encounteredAgentInfoCreated, this,
        &Recorder::_onEncounteredAgentInfoCreated);
    connect(
        _classInstance, &SystemViewClassInstance::runningAgentInfoCreated, this, &Recorder::_onRunningAgentInfoCreated);
    connect(
        _classInstance, &SystemViewClassInstance::runningAgentInfoRemoved, this, &Recorder::_onRunningAgentInfoRemoved);
    connect(_classInstance, &SystemViewBaseInstance::nameChanged, this, [this] { _followClassInstanceName(); });
    _loadClassInstance();
}

Recorder::~Recorder()
{
    stopFollowing();
    _recorderInstancesByUuid.clear();
    _instances.deleteAllItems();
}

void Recorder::stopFollowing()
{
    _isFollowing = false;
    if (_classInstance) {
        disconnect(_classInstance, nullptr, this, nullptr);
        connect(_classInstance, &QObject::destroyed, this, &Recorder::_onclassInstanceDestroyed);
    }
}

RecorderInstance* Recorder::getRecorderInstanceWithUuid(const QString& uuid) const
{
    return uuid.isEmpty() ? nullptr : _recorderInstancesByUuid.value(uuid).data();
}

RecorderInstance* Recorder::getRecorderInstanceWithAgentUuid(const QString& agentUuid) const
{
    return agentUuid.isEmpty() ? nullptr : _recorderInstancesByAgentUuid.value(agentUuid).data();
}

void Recorder::deleteRecorderInstance(RecorderInstance* recorderInstance)
{
    Q_ASSERT(recorderInstance);
    if (_unregisterRecorderInstance(recorderInstance)) {
        Q_EMIT recorderInstanceRemoved(recorderInstance);
        recorderInstance->deleteLater();
    }
}

// ---- what the host knows of the class instance ------------------------------------------------------------------

void Recorder::_onclassInstanceDestroyed(QObject*)
{
    _classInstance = nullptr;
    Q_EMIT classInstanceChanged();
}

// Running agents first: an instance made for one keeps the launch line of the same text from making a second.
void Recorder::_loadClassInstance()
{
    Q_ASSERT(_classInstance);
    const QList<RunningAgentInfo*> runningAgentInfos = _classInstance->runningAgentInfos();
    for (RunningAgentInfo* runningAgentInfo : runningAgentInfos) {
        _onRunningAgentInfoCreated(runningAgentInfo);
    }
    const QList<EncounteredAgentsOnHost*> groups = _classInstance->encounteredAgentsOnHosts();
    for (EncounteredAgentsOnHost* group : groups) {
        const QList<EncounteredAgentInfo*> encounteredAgentInfos = group->encounteredAgentInfos();
        for (EncounteredAgentInfo* encounteredAgentInfo : encounteredAgentInfos) {
            _onEncounteredAgentInfoCreated(group, encounteredAgentInfo);
        }
    }
}

void Recorder::_onEncounteredAgentInfoCreated(
    EncounteredAgentsOnHost* encounteredAgentsOnHost, EncounteredAgentInfo* encounteredAgentInfo)
{
    Q_ASSERT(encounteredAgentsOnHost);
    Q_ASSERT(encounteredAgentInfo);
    Q_ASSERT(_classInstance);
    if (_commandLineExists(encounteredAgentInfo->commandLine())) {
        qDebug() << "Cannot create a recorder instance from new encounteredAgentInfo" << encounteredAgentInfo->uuid()
                 << ". A recorder instance already exists with the same command line";
        return;
    }
    _createRecorderInstance(encounteredAgentsOnHost, encounteredAgentInfo);
    qDebug() << "New recorder instance created from encounteredAgentInfo" << encounteredAgentInfo->commandLine();
}

void Recorder::_onRunningAgentInfoCreated(RunningAgentInfo* runningAgentInfo)
{
    Q_ASSERT(runningAgentInfo);
    Q_ASSERT(runningAgentInfo->host());
    SystemDocument* const currentSystemDocument = SystemDocumentHandler::instance()->currentSystemDocument();
    Q_ASSERT(currentSystemDocument);
    Q_ASSERT(_classInstance);

    EncounteredAgentsOnHost* group = nullptr;
    if (runningAgentInfo->isAttachedToCorvane()) {
        group = _classInstance->getOrCreateEncounteredAgentsOnHostAttachedToCorvane();
        if (!group->host()) {
            _classInstance->updateEncounteredAgentsOnHostAttachedToCorvaneBackrefs(currentSystemDocument);
        }
    } else {
        group = _classInstance->getOrCreateEncounteredAgentsOnHost(runningAgentInfo->host());
        if (!group) {
            return;
        }
    }
    EncounteredAgentInfo* const encounteredAgentInfo
        = _classInstance->getOrCreateEncounteredAgentInfo(group, runningAgentInfo->commandLine());
    if (!encounteredAgentInfo) {
        return;
    }

    const QList<RecorderInstance*> offlineInstances = preferLine(
        _getOfflineRecorderInstancesWithCommandLine(runningAgentInfo->commandLine()), encounteredAgentInfo);
    if (offlineInstances.size() > 1) {
        qCritical("Multiple recorder instance detected with same command line. It is not supposed to be the case. A "
                  "cleanup phase should have removed duplicates command lines after a disconnection of a recorder "
                  "instance");
        // Nothing else tells that a recorder runs that cannot be used.
        SystemViewManager::instance()->raiseProblem(
            tr("The recorder '%1' runs but is shown as off: two of its launch lines are the same. Disconnect it in the "
               "system view, then connect it again: one of the two lines is enough, and the other goes.")
                .arg(_agentName()));
        return;
    }
    RecorderInstance* recorderInstance = nullptr;
    if (offlineInstances.size() == 1) {
        recorderInstance = offlineInstances.first();
        if (!recorderInstance->agentInstanceUuid().isEmpty()) {
            qWarning("cannot be off with an agent instance uuid");
        }
        qDebug() << "Recorder instance updated from RunningAgentInfo" << runningAgentInfo->commandLine();
    } else {
        recorderInstance = _createRecorderInstance(group, encounteredAgentInfo);
        qDebug() << "New recorder instance created from RunningAgentInfo" << runningAgentInfo->commandLine();
    }
    _linkRunningAgentInfoWithRecorderInstance(runningAgentInfo, recorderInstance);
}

void Recorder::_onRunningAgentInfoRemoved(RunningAgentInfo* runningAgentInfo)
{
    Q_ASSERT(runningAgentInfo);
    const QPointer<RecorderInstance> recorderInstance = getRecorderInstanceWithAgentUuid(runningAgentInfo->agentUuid());
    _unlinkRunningAgentInfo(runningAgentInfo->agentUuid());

    _removeDuplicates(_getOfflineRecorderInstancesWithCommandLine(runningAgentInfo->commandLine()));
    // The line may have been edited while the agent ran.
    if (recorderInstance && recorderInstance->encounteredAgentInfo()) {
        _removeDuplicates(
            _getOfflineRecorderInstancesWithCommandLine(recorderInstance->encounteredAgentInfo()->commandLine()));
    }
}

// Settings may have been edited into the line of another instance: the first is enough. Lines that only equal what the
// network shows, which hides their passwords, are no duplicates.
void Recorder::_removeDuplicates(const QList<RecorderInstance*>& recorderInstances)
{
    QList<RecorderInstance*> kept;
    for (RecorderInstance* recorderInstance : recorderInstances) {
        const EncounteredAgentInfo* const info = recorderInstance->encounteredAgentInfo();
        const bool isDuplicate = std::any_of(kept.cbegin(), kept.cend(),
            [info](const RecorderInstance* other) { return haveSameLine(other->encounteredAgentInfo(), info); });
        if (isDuplicate) {
            deleteRecorderInstance(recorderInstance);
        } else {
            kept.append(recorderInstance);
        }
    }
}

// ---- launch lines -----------------------------------------------------------------------------------------------

bool Recorder::_commandLineExists(const QString& commandLine) const
{
    if (commandLine.isEmpty()) {
        return false;
    }
    const SplitCommandLine line(commandLine);
    const QList<RecorderInstance*> recorderInstances = _instances.toList();
    for (const RecorderInstance* recorderInstance : recorderInstances) {
        const EncounteredAgentInfo* const info = recorderInstance->encounteredAgentInfo();
        if (info && CorvaneUtils::commandLinesEqual(info->splitCommandLine(), line)) {
            return true;
        }
    }
    return false;
}

QList<RecorderInstance*> Recorder::_getOfflineRecorderInstancesWithCommandLine(const QString& commandLine)
{
    const SplitCommandLine line(commandLine);
    QList<RecorderInstance*> offlineInstances;
    const QList<RecorderInstance*> recorderInstances = _instances.toList();
    for (RecorderInstance* recorderInstance : recorderInstances) {
        const EncounteredAgentInfo* const info = recorderInstance->encounteredAgentInfo();
        if (!recorderInstance->isOn() && info && CorvaneUtils::commandLinesEqual(info->splitCommandLine(), line)) {
            offlineInstances.append(recorderInstance);
        }
    }
    return offlineInstances;
}

// ---- registration -----------------------------------------------------------------------------------------------

RecorderInstance* Recorder::_createRecorderInstance(
    EncounteredAgentsOnHost* encounteredAgentsOnHost, EncounteredAgentInfo* encounteredAgentInfo)
{
    Q_ASSERT(encounteredAgentsOnHost);
    Q_ASSERT(encounteredAgentInfo);
    const SystemDocument* const currentSystemDocument = SystemDocumentHandler::instance()->currentSystemDocument();
    Q_ASSERT(currentSystemDocument);
    SystemView* const currentSystemView = currentSystemDocument->currentSystemView();
    Q_ASSERT(currentSystemView);
    Q_ASSERT(_classInstance);
    Q_ASSERT(!_executablePath.isEmpty());

    auto* const recorderInstance = new RecorderInstance(
        currentSystemView, _classInstance, encounteredAgentsOnHost, encounteredAgentInfo, _executablePath, nullptr);
    recorderInstance->setParent(parentThatQmlDoesNotSee());
    connect(recorderInstance, &RecorderInstance::cassandraEndpointChanged, &_sortedInstances,
        &SortFilterRecorderInstance::invalidate);
    _registerRecorderInstance(recorderInstance);
    Q_EMIT recorderInstanceCreated(recorderInstance);
    return recorderInstance;
}

void Recorder::_registerRecorderInstance(RecorderInstance* recorderInstance)
{
    Q_ASSERT(recorderInstance);
    Q_ASSERT(!recorderInstance->uuid().isEmpty());
    if (_recorderInstancesByUuid.contains(recorderInstance->uuid())) {
        qWarning() << "RecorderInstance" << recorderInstance->uuid() << "already exists";
        return;
    }
    _recorderInstancesByUuid.insert(recorderInstance->uuid(), recorderInstance);
    _instances.appendRow(recorderInstance);
    _addMappingRecorderInputs(recorderInstance);
}

// The table by agent uuid is left alone: only unlinking empties it.
bool Recorder::_unregisterRecorderInstance(RecorderInstance* recorderInstance)
{
    Q_ASSERT(recorderInstance);
    if (!_recorderInstancesByUuid.contains(recorderInstance->uuid())) {
        qWarning() << "RecorderInstance" << recorderInstance->uuid() << "is not registered";
        return false;
    }
    _recorderInstancesByUuid.remove(recorderInstance->uuid());
    _instances.removeObject(recorderInstance);
    _removeMappingRecorderInputs(recorderInstance);
    return true;
}

// ---- links to running agents ------------------------------------------------------------------------------------

void Recorder::_linkRunningAgentInfoWithRecorderInstance(
    RunningAgentInfo* runningAgentInfo, RecorderInstance* recorderInstance)
{
    Q_ASSERT(runningAgentInfo);
    Q_ASSERT(recorderInstance);
    Q_ASSERT(!runningAgentInfo->agentUuid().isEmpty());
    const QString agentUuid = runningAgentInfo->agentUuid();
    if (_recorderInstancesByAgentUuid.contains(agentUuid)) {
        qWarning() << "The RunningAgentInfo" << agentUuid << "is linked already to a RecorderInstance";
        return;
    }
    qDebug() << "Link RunningAgentInfo" << agentUuid << "with RecorderInstance" << recorderInstance->uuid();
    _recorderInstancesByAgentUuid.insert(agentUuid, recorderInstance);
    recorderInstance->updateFromRunningAgentInfo(runningAgentInfo);
    _addMappingRecorderInputs(recorderInstance);
}

void Recorder::_unlinkRunningAgentInfo(const QString& agentUuid)
{
    Q_ASSERT(!agentUuid.isEmpty());
    if (!_recorderInstancesByAgentUuid.contains(agentUuid)) {
        qWarning() << "The RunningAgentInfo" << agentUuid << "isn't linked to any RecorderInstance";
        return;
    }
    RecorderInstance* const recorderInstance = _recorderInstancesByAgentUuid.take(agentUuid);
    if (!recorderInstance) {
        return;
    }
    qDebug() << "Unlink RunningAgentInfo" << agentUuid << "with RecorderInstance" << recorderInstance->uuid();
    recorderInstance->updateFromRunningAgentInfo(nullptr);
    _removeMappingRecorderInputs(recorderInstance);
}

// ---- progress mappings ------------------------------------------------------------------------------------------

void Recorder::_addMappingRecorderInputs(RecorderInstance* recorderInstance)
{
    if (_mappedInstances.contains(recorderInstance->uuid())) {
        return;
    }
    // A receiver of one of our signals may have taken out the instance, or the whole registry, a moment ago.
    if (!_isFollowing || !_recorderInstancesByUuid.contains(recorderInstance->uuid())) {
        return;
    }
    const QString agentName = _agentName();
    _mappedInstances.insert(recorderInstance->uuid(), agentName);
    const QByteArray agent = agentName.toUtf8();
    qny_mapping_add(
        recorderInstance->recordProgressInput().toUtf8().constData(), agent.constData(), RECORD_PROGRESS_OUTPUT);
    qny_mapping_add(
        recorderInstance->replayProgressInput().toUtf8().constData(), agent.constData(), REPLAY_PROGRESS_OUTPUT);
}

void Recorder::_removeMappingRecorderInputs(RecorderInstance* recorderInstance)
{
    if (!_mappedInstances.contains(recorderInstance->uuid())) {
        return;
    }
    const QByteArray agent = _mappedInstances.take(recorderInstance->uuid()).toUtf8();
    qny_mapping_remove_with_name(
        recorderInstance->recordProgressInput().toUtf8().constData(), agent.constData(), RECORD_PROGRESS_OUTPUT);
    qny_mapping_remove_with_name(
        recorderInstance->replayProgressInput().toUtf8().constData(), agent.constData(), REPLAY_PROGRESS_OUTPUT);
}

// Mappings go by name: those made under the old one would bring no progress any more.
void Recorder::_followClassInstanceName()
{
    const QList<RecorderInstance*> recorderInstances = _instances.toList();
    for (RecorderInstance* recorderInstance : recorderInstances) {
        const auto mapped = _mappedInstances.constFind(recorderInstance->uuid());
        if (mapped != _mappedInstances.constEnd() && mapped.value() != _agentName()) {
            _removeMappingRecorderInputs(recorderInstance);
            _addMappingRecorderInputs(recorderInstance);
        }
    }
}

QString Recorder::_agentName() const
{
    return _classInstance ? _classInstance->name() : QString();
}
