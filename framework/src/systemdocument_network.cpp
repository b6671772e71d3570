// SPDX-License-Identifier: Apache-2.0
#include "systemdocument.h"

#include "encounteredagentsonhost.h"
#include "host.h"
#include "launchers.h"
#include "library.h"
#include "networkconfiguration.h"
#include "runningagentinfo.h"
#include "systemview.h"
#include "systemviewclass.h"
#include "systemviewclassinstance.h"

#include <zqcustomitemlistmodel.h>

#include <QFileInfo>

namespace {

bool isAgentOf(const RunningAgentInfo* agent, const SystemViewClassInstance* instance)
{
    return agent->name() == instance->name() && agent->familyUuid() == instance->familyUuid();
}

/// Of machines that were only seen in passing. A list of them may be of use; others may have names without number.
constexpr qsizetype MOST_PASSED_MACHINES = 32;

/// A machine is what its processes call it, but none is this one by its word alone: the launch lines of this machine
/// are started here.
QString hostNameOf(const NetworkAgent& agent)
{
    const QString name = agent.hostName.isEmpty() ? agent.address : agent.hostName;
    const bool isClaimed = name == NetworkConfiguration::instance()->localNetworkName();
    return isClaimed && !agent.isOfThisMachine ? QStringLiteral("%1 (%2)").arg(name, agent.address) : name;
}

} // namespace

void SystemDocument::followNetwork()
{
    if (_followsNetwork) {
        return;
    }
    _followsNetwork = true;
    const NetworkAgents* network = NetworkAgents::instance();
    connect(network, &NetworkAgents::agentEntered, this, &SystemDocument::_onAgentEntered);
    connect(network, &NetworkAgents::agentUpdated, this, &SystemDocument::_onAgentUpdated);
    connect(network, &NetworkAgents::agentExited, this, &SystemDocument::_onAgentExited);
    connect(Launchers::instance(), &Launchers::offersChanged, this, &SystemDocument::launchOffersChanged);
    for (const NetworkAgent& agent : network->agents()) {
        _onAgentEntered(agent);
    }
}

void SystemDocument::leaveNetwork()
{
    _followsNetwork = false;
    disconnect(NetworkAgents::instance(), nullptr, this, nullptr);
    disconnect(Launchers::instance(), nullptr, this, nullptr);
}

QList<SystemViewClassInstance*> SystemDocument::_allClassInstances() const
{
    QList<SystemViewClassInstance*> instances;
    for (const SystemView* systemView : _systemViews->toList()) {
        instances.append(systemView->getAllClassInstances());
    }
    return instances;
}

RunningAgentInfo* SystemDocument::_runningAgentInfo(const QString& uuid) const
{
    for (RunningAgentInfo* agent : _runningAgentInfos) {
        if (agent->agentUuid() == uuid) {
            return agent;
        }
    }
    return nullptr;
}

void SystemDocument::_updateLauncherOf(const QString& hostName)
{
    // The last that came: one before it may have died, and be seen gone only later.
    QString launcherUuid;
    for (const NetworkAgent& agent : NetworkAgents::instance()->agents()) {
        if (Launchers::isLauncher(agent) && hostNameOf(agent) == hostName
            && Launchers::instance()->standsFor(hostName, agent)) {
            launcherUuid = agent.uuid;
        }
    }
    getOrCreateHost(hostName)->setlauncherUuid(launcherUuid);
    Q_EMIT launchOffersChanged();
}

QVariantList SystemDocument::launchOffers() const
{
    QVariantList offers;
    for (const Host* host : _hosts->toList()) {
        if (!host->hasLauncher() || host->networkName() == NetworkConfiguration::instance()->localNetworkName()) {
            continue; // here, the host starts agents by itself
        }
        for (const OfferedProgram& program : Launchers::instance()->offeredBy(host->launcherUuid())) {
            const SystemViewClass* systemViewClass = _library->getClassWithUUID(program.familyUuid);
            offers.append(QVariantMap { { QStringLiteral("hostName"), host->networkName() },
                { QStringLiteral("program"), program.path }, { QStringLiteral("familyUuid"), program.familyUuid },
                { QStringLiteral("className"),
                    systemViewClass == nullptr ? QFileInfo(program.path).fileName() : systemViewClass->name() } });
        }
    }
    return offers;
}

void SystemDocument::_onAgentEntered(const NetworkAgent& agent)
{
    if (_runningAgentInfo(agent.uuid) != nullptr) {
        return;
    }
    Host* host = getOrCreateHost(hostNameOf(agent));
    if (Launchers::isLauncher(agent)) {
        _updateLauncherOf(host->networkName());
        return; // a service of its machine, nothing to place
    }
    const bool isAttached = host->networkName() == NetworkConfiguration::instance()->localNetworkName();
    auto* info = new RunningAgentInfo(agent, host, isAttached, this);
    _runningAgentInfos.append(info);
    for (SystemViewClassInstance* instance : _allClassInstances()) {
        if (isAgentOf(info, instance)) {
            instance->addRunningAgentInfo(info);
        }
    }
    _updateUnplaced(info);
}

void SystemDocument::_onAgentUpdated(const NetworkAgent& agent)
{
    if (RunningAgentInfo* info = _runningAgentInfo(agent.uuid)) {
        info->update(agent);
    }
}

void SystemDocument::_onAgentExited(const NetworkAgent& agent)
{
    if (Launchers::isLauncher(agent)) {
        _updateLauncherOf(hostNameOf(agent));
        _forgetPassedMachines();
    }
    RunningAgentInfo* info = _runningAgentInfo(agent.uuid);
    if (info == nullptr) {
        return;
    }
    info->exit(agent);
    _runningAgentInfos.removeOne(info);
    _unplacedAgents->removeObject(info);
    for (SystemViewClassInstance* instance : _allClassInstances()) {
        instance->removeRunningAgentInfo(info);
    }
    info->deleteLater();
    _forgetPassedMachines();
}

/// Of those on which nothing runs, and of which the document has nothing to keep, the latest stay.
void SystemDocument::_forgetPassedMachines()
{
    if (_hosts->count() <= MOST_PASSED_MACHINES) {
        return;
    }
    QSet<const Host*> used { localHost() };
    for (const RunningAgentInfo* agent : std::as_const(_runningAgentInfos)) {
        used.insert(agent->host());
    }
    for (const SystemViewClassInstance* instance : _allClassInstances()) {
        for (const EncounteredAgentsOnHost* group : instance->encounteredAgentsOnHosts()) {
            used.insert(group->host());
        }
    }
    QList<Host*> passed;
    for (Host* host : _hosts->toList()) {
        if (!used.contains(host) && !host->hasLauncher() && !_readHosts.contains(host->networkName())) {
            passed.append(host);
        }
    }
    while (passed.size() > MOST_PASSED_MACHINES) {
        Host* const host = passed.takeFirst();
        _hosts->removeObject(host);
        host->deleteLater();
    }
}

void SystemDocument::_onInstanceRegistered(SystemView* systemView, SystemViewBaseInstance* instance)
{
    // Complete before anybody hears of it: the agents of its name that run already are its own.
    if (auto* classInstance = qobject_cast<SystemViewClassInstance*>(instance)) {
        connect(classInstance, &SystemViewBaseInstance::nameChanged, this,
            [this, classInstance] { _matchInstance(classInstance); });
        _matchInstance(classInstance);
    }
    Q_EMIT instanceRegistered(systemView, instance);
}

void SystemDocument::_onInstanceUnregistered(SystemView* systemView, SystemViewBaseInstance* instance)
{
    disconnect(instance, nullptr, this, nullptr);
    Q_EMIT instanceUnregistered(systemView, instance);
    for (RunningAgentInfo* agent : QList<RunningAgentInfo*>(_runningAgentInfos)) {
        _updateUnplaced(agent);
    }
}

void SystemDocument::_matchInstance(SystemViewClassInstance* instance)
{
    for (RunningAgentInfo* agent : QList<RunningAgentInfo*>(_runningAgentInfos)) {
        if (isAgentOf(agent, instance)) {
            instance->addRunningAgentInfo(agent);
        } else {
            instance->removeRunningAgentInfo(agent);
        }
        _updateUnplaced(agent);
    }
}

void SystemDocument::_updateUnplaced(RunningAgentInfo* agent)
{
    bool isPlaced = false;
    for (const SystemViewClassInstance* instance : _allClassInstances()) {
        isPlaced = isPlaced || isAgentOf(agent, instance);
    }
    const bool isListed = _unplacedAgents->contains(agent);
    const bool isUnplaced = !isPlaced && !agent->isStandIn();
    if (isUnplaced && !isListed) {
        _unplacedAgents->appendRow(agent);
    } else if (!isUnplaced && isListed) {
        _unplacedAgents->removeObject(agent);
    }
}
