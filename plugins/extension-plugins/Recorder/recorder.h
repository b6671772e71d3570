// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "recorderinstance.h"
#include "sortfilterrecorderinstance.h"

#include <QtCore/QHash>
#include <QtCore/QObject>
#include <QtCore/QPointer>

/// The recorder agents of one recorder class instance: one RecorderInstance for each distinct launch line that the host
/// knows, linked to its agent while that runs. The module owns the registry; everything is on the main thread.
class Recorder : public QObject
{
    Q_OBJECT

    /// Null once the class instance is gone.
    Q_PROPERTY(SystemViewClassInstance* classInstance READ classInstance NOTIFY classInstanceChanged)
    /// Of RecorderInstance, in order of registration; owned.
    Q_PROPERTY(AbstractZqCustomItemListModel* instances READ instances CONSTANT)
    /// The same, sorted by database.
    Q_PROPERTY(SortFilterRecorderInstance* sortedInstances READ sortedInstances CONSTANT)

public:
    /// `classInstance` must not be null. `executablePath` may be empty as long as no instance has to be made.
    Recorder(SystemViewClassInstance* classInstance, const QString& executablePath, QObject* parent);
    ~Recorder() override;
    Q_DISABLE_COPY_MOVE(Recorder)

    SystemViewClassInstance* classInstance() const { return _classInstance; }
    AbstractZqCustomItemListModel* instances() { return &_instances; }
    SortFilterRecorderInstance* sortedInstances() { return &_sortedInstances; }
    QList<RecorderInstance*> recorderInstances() const { return _instances.toList(); }

    /// Null for an empty or unknown key.
    RecorderInstance* getRecorderInstanceWithUuid(const QString& uuid) const;
    RecorderInstance* getRecorderInstanceWithAgentUuid(const QString& agentUuid) const;

    /// Hears no more of the class instance, and maps nothing any more: for a registry that is about to be deleted.
    void stopFollowing();

    /// Announces that the instance goes, and deletes it later. A warning when it is none of this registry's.
    void deleteRecorderInstance(RecorderInstance* recorderInstance);

Q_SIGNALS:
    void classInstanceChanged();
    void recorderInstanceCreated(RecorderInstance* recorderInstance);
    /// The object still lives, and is deleted later.
    void recorderInstanceRemoved(RecorderInstance* recorderInstance);

private Q_SLOTS:
    void _onclassInstanceDestroyed(QObject* object);
    void _onRunningAgentInfoCreated(RunningAgentInfo* runningAgentInfo);
    void _onRunningAgentInfoRemoved(RunningAgentInfo* runningAgentInfo);
    void _onEncounteredAgentInfoCreated(
        EncounteredAgentsOnHost* encounteredAgentsOnHost, EncounteredAgentInfo* encounteredAgentInfo);

private:
    void _loadClassInstance();
    RecorderInstance* _createRecorderInstance(
        EncounteredAgentsOnHost* encounteredAgentsOnHost, EncounteredAgentInfo* encounteredAgentInfo);
    void _registerRecorderInstance(RecorderInstance* recorderInstance);
    bool _unregisterRecorderInstance(RecorderInstance* recorderInstance);
    void _linkRunningAgentInfoWithRecorderInstance(
        RunningAgentInfo* runningAgentInfo, RecorderInstance* recorderInstance);
    void _unlinkRunningAgentInfo(const QString& agentUuid);
    void _removeDuplicates(const QList<RecorderInstance*>& recorderInstances);
    bool _commandLineExists(const QString& commandLine) const;
    QList<RecorderInstance*> _getOfflineRecorderInstancesWithCommandLine(const QString& commandLine);
    void _addMappingRecorderInputs(RecorderInstance* recorderInstance);
    void _removeMappingRecorderInputs(RecorderInstance* recorderInstance);
    void _followClassInstanceName();
    QString _agentName() const;

    SystemViewClassInstance* _classInstance = nullptr;
    ZqCustomItemListModel<RecorderInstance> _instances;
    SortFilterRecorderInstance _sortedInstances;
    const QString _executablePath;
    /// Guarded: whoever has the list of instances may delete one.
    QHash<QString, QPointer<RecorderInstance>> _recorderInstancesByUuid;
    /// Guarded: an entry stays until its agent is unlinked, also when the instance was deleted before.
    QHash<QString, QPointer<RecorderInstance>> _recorderInstancesByAgentUuid;
    /// The uuids of instances whose two progress mappings are in place, with the agent name that they go by.
    QHash<QString, QString> _mappedInstances;
    bool _isFollowing = true;
};
