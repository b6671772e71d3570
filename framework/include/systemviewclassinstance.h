// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "jsondocumenterror.h"
#include "systemviewbaseinstance.h"

#include <QList>
#include <QPointer>

class EncounteredAgentInfo;
class EncounteredAgentsOnHost;
class Host;
class RunningAgentInfo;
class SystemDocument;
class SystemViewClass;

/// An agent class placed in a system view: the agents of its name and family that run now, and the command lines with
/// which they were launched, per machine.
class CORVANE_EXPORT SystemViewClassInstance : public SystemViewBaseInstance
{
    Q_OBJECT
    Q_MOC_INCLUDE("abstractzqcustomitemlistmodel.h")
    Q_MOC_INCLUDE("encounteredagentinfo.h")
    Q_MOC_INCLUDE("encounteredagentsonhost.h")
    Q_MOC_INCLUDE("runningagentinfo.h")
    Q_MOC_INCLUDE("systemviewclass.h")
    Q_PROPERTY(SystemViewClass* systemViewClass READ systemViewClass CONSTANT)
    /// Of RunningAgentInfo, in order of arrival.
    Q_PROPERTY(AbstractZqCustomItemListModel* runningAgentInfos READ runningAgentInfosModel CONSTANT)
    /// Of EncounteredAgentsOnHost, in order of creation.
    Q_PROPERTY(AbstractZqCustomItemListModel* encounteredAgentsOnHosts READ encounteredAgentsOnHostsModel CONSTANT)
    /// At least one of its agents runs, stand-ins of a replay not counted.
    Q_PROPERTY(bool isRunning READ isRunning NOTIFY isRunningChanged)

public:
    SystemViewClassInstance(const QString& uuid, SystemViewClass* systemViewClass, const QString& name,
        const QPointF& position, SystemView* systemView);
    ~SystemViewClassInstance() override;

    SystemViewClass* systemViewClass() const;
    /// The family of its class, empty without one.
    QString familyUuid() const;
    AbstractZqCustomItemListModel* runningAgentInfosModel() const;
    AbstractZqCustomItemListModel* encounteredAgentsOnHostsModel() const;
    QList<RunningAgentInfo*> runningAgentInfos() const;
    QList<EncounteredAgentsOnHost*> encounteredAgentsOnHosts() const;
    bool isRunning() const;

    /// The group of a machine; the one attached to Corvane for this machine. Null for a null host.
    EncounteredAgentsOnHost* getOrCreateEncounteredAgentsOnHost(Host* host);
    /// The group of this machine. It has its host from the moment it exists.
    EncounteredAgentsOnHost* getOrCreateEncounteredAgentsOnHostAttachedToCorvane();
    /// The group of this machine if it is there, else null.
    EncounteredAgentsOnHost* encounteredAgentsOnHostAttachedToCorvane() const;
    /// Gives the attached group the host that stands for this machine in the document, should it have none.
    void updateEncounteredAgentsOnHostAttachedToCorvaneBackrefs(SystemDocument* systemDocument);
    /// The launch line of the group that equals this one (CorvaneUtils::commandLinesEqual), else a new one. Null for an
    /// empty command line, a null group or a group of another instance; null too, with a problem for the user, for a
    /// line of blanks.
    EncounteredAgentInfo* getOrCreateEncounteredAgentInfo(EncounteredAgentsOnHost* group, const QString& commandLine);
    /// On any machine.
    bool hasLaunchLine() const;

    /// Asks the agent to stop: its own stop callback decides how. A refusal is told by turnOffFailed().
    Q_INVOKABLE void turnOff(RunningAgentInfo* runningAgentInfo);

    QJsonObject exportToJson() const override;
    /// Reads what exportToJson() wrote, class, name and position excepted. Emits nothing: nobody knows it yet.
    void loadFromJson(const QJsonObject& json, QList<JsonDocumentError>& errors);

    /// Called by the document as agents come and go.
    void addRunningAgentInfo(RunningAgentInfo* runningAgentInfo);
    void removeRunningAgentInfo(RunningAgentInfo* runningAgentInfo);

Q_SIGNALS:
    void encounteredAgentInfoCreated(EncounteredAgentsOnHost* group, EncounteredAgentInfo* encounteredAgentInfo);
    /// Once, with the first launch line of this instance, when that is one of this machine (and not read from a
    /// document). Whoever waited for one takes it; whoever has a line of another machine keeps that, so that this never
    /// comes then. Comes before encounteredAgentInfoCreated() for the same line.
    void encounteredAgentsOnHostAttachedToCorvaneCreated(
        EncounteredAgentsOnHost* group, EncounteredAgentInfo* encounteredAgentInfo);
    /// Its launch line is in its machine's group already, unless it has none.
    void runningAgentInfoCreated(RunningAgentInfo* runningAgentInfo);
    /// The object lives until the event loop runs again.
    void runningAgentInfoRemoved(RunningAgentInfo* runningAgentInfo);
    void isRunningChanged();
    void turnOffFailed(RunningAgentInfo* runningAgentInfo, const QString& message);
    /// A launcher refused to start the launch line, or what it started ended by itself and not well; `message` is a
    /// sentence for the user. `canBeEnded`: it runs there but is not seen, see SystemViewManager::endAgent().
    void launchFailed(EncounteredAgentInfo* encounteredAgentInfo, const QString& message, bool canBeEnded);
    /// What SystemViewManager::endAgent() asked for has been done.
    void launchStopped(EncounteredAgentInfo* encounteredAgentInfo);

private:
    EncounteredAgentsOnHost* _createGroup(Host* host);
    void _takeLaunchLine(const RunningAgentInfo* agent);
    EncounteredAgentInfo* _appendLaunchLine(
        EncounteredAgentsOnHost* group, const QString& uuid, const QString& commandLine);
    void _updateIsRunning();

    QPointer<SystemViewClass> _systemViewClass;
    ZqCustomItemListModel<RunningAgentInfo>* _runningAgentInfos;
    ZqCustomItemListModel<EncounteredAgentsOnHost>* _encounteredAgentsOnHosts;
    bool _isRunning = false;
};
