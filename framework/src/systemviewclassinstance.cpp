// SPDX-License-Identifier: Apache-2.0
#include "systemviewclassinstance.h"

#include "documentkeys.h"
#include "encounteredagentinfo.h"
#include "encounteredagentsonhost.h"
#include "host.h"
#include "launchers.h"
#include "runningagentinfo.h"
#include "systemdocument.h"
#include "systemview.h"
#include "systemviewclass.h"
#include "systemviewmanager.h"

#include <zqcustomitemlistmodel.h>
#include <zqproperty.h>

#include <quenary.h>

#include <algorithm>

SystemViewClassInstance::SystemViewClassInstance(const QString& uuid, SystemViewClass* systemViewClass,
    const QString& name, const QPointF& position, SystemView* systemView)
    : SystemViewBaseInstance(uuid, name, position, systemView)
    , _systemViewClass(systemViewClass)
    , _runningAgentInfos(new ZqCustomItemListModel<RunningAgentInfo>(this))
    , _encounteredAgentsOnHosts(new ZqCustomItemListModel<EncounteredAgentsOnHost>(this))
{
    connect(this, &SystemViewClassInstance::turnOffFailed, SystemViewManager::instance(),
        [](RunningAgentInfo*, const QString& message) { SystemViewManager::instance()->_refuse(message); });
}

SystemViewClassInstance::~SystemViewClassInstance() = default;

SystemViewClass* SystemViewClassInstance::systemViewClass() const
{
    return _systemViewClass;
}

QString SystemViewClassInstance::familyUuid() const
{
    return _systemViewClass == nullptr ? QString() : _systemViewClass->familyUuid();
}

AbstractZqCustomItemListModel* SystemViewClassInstance::runningAgentInfosModel() const
{
    return _runningAgentInfos;
}

AbstractZqCustomItemListModel* SystemViewClassInstance::encounteredAgentsOnHostsModel() const
{
    return _encounteredAgentsOnHosts;
}

QList<RunningAgentInfo*> SystemViewClassInstance::runningAgentInfos() const
{
    return _runningAgentInfos->toList();
}

QList<EncounteredAgentsOnHost*> SystemViewClassInstance::encounteredAgentsOnHosts() const
{
    return _encounteredAgentsOnHosts->toList();
}

bool SystemViewClassInstance::isRunning() const
{
    return _isRunning;
}

// ---- launch lines ---------------------------------------------------------------------------------------------------

EncounteredAgentsOnHost* SystemViewClassInstance::getOrCreateEncounteredAgentsOnHost(Host* host)
{
    if (host == nullptr) {
        return nullptr;
    }
    for (EncounteredAgentsOnHost* group : _encounteredAgentsOnHosts->toList()) {
        if (group->host() == host) {
            return group;
        }
    }
    return _createGroup(host);
}

EncounteredAgentsOnHost* SystemViewClassInstance::getOrCreateEncounteredAgentsOnHostAttachedToCorvane()
{
    return getOrCreateEncounteredAgentsOnHost(systemView()->systemDocument()->localHost());
}

EncounteredAgentsOnHost* SystemViewClassInstance::encounteredAgentsOnHostAttachedToCorvane() const
{
    for (EncounteredAgentsOnHost* group : _encounteredAgentsOnHosts->toList()) {
        if (group->isAttachedToCorvane()) {
            return group;
        }
    }
    return nullptr;
}

void SystemViewClassInstance::updateEncounteredAgentsOnHostAttachedToCorvaneBackrefs(SystemDocument* systemDocument)
{
    Q_ASSERT(systemDocument);
    for (EncounteredAgentsOnHost* group : _encounteredAgentsOnHosts->toList()) {
        if (group->host() == nullptr) {
            group->sethost(systemDocument->localHost());
        }
    }
}

EncounteredAgentInfo* SystemViewClassInstance::getOrCreateEncounteredAgentInfo(
    EncounteredAgentsOnHost* group, const QString& commandLine)
{
    if (group == nullptr || commandLine.isEmpty() || !_encounteredAgentsOnHosts->contains(group)) {
        return nullptr;
    }
    if (SplitCommandLine(commandLine).isEmpty()) {
        SystemViewManager::instance()->_refuse(
            tr("A launch line of '%1' was not added: it must name a program.").arg(name()));
        return nullptr;
    }
    if (EncounteredAgentInfo* info = group->findWithCommandLine(commandLine)) {
        return info;
    }
    const bool isFirst = !hasLaunchLine();
    EncounteredAgentInfo* info = _appendLaunchLine(group, QString(), commandLine);
    Q_EMIT modified();
    if (group->isAttachedToCorvane() && isFirst) {
        Q_EMIT encounteredAgentsOnHostAttachedToCorvaneCreated(group, info);
    }
    Q_EMIT encounteredAgentInfoCreated(group, info);
    return info;
}

bool SystemViewClassInstance::hasLaunchLine() const
{
    const QList<EncounteredAgentsOnHost*> groups = encounteredAgentsOnHosts();
    return std::any_of(groups.cbegin(), groups.cend(),
        [](const EncounteredAgentsOnHost* group) { return !group->encounteredAgentInfosModel()->isEmpty(); });
}

EncounteredAgentInfo* SystemViewClassInstance::_appendLaunchLine(
    EncounteredAgentsOnHost* group, const QString& uuid, const QString& commandLine)
{
    auto* info = new EncounteredAgentInfo(uuid, commandLine, group);
    systemView()->systemDocument()->claimUuid(info->uuid());
    connect(info, &EncounteredAgentInfo::commandLineChanged, this, &SystemViewBaseInstance::modified);
    group->_append(info);
    return info;
}

EncounteredAgentsOnHost* SystemViewClassInstance::_createGroup(Host* host)
{
    auto* group = new EncounteredAgentsOnHost(host, this);
    _encounteredAgentsOnHosts->appendRow(group);
    return group;
}

// ---- running agents -------------------------------------------------------------------------------------------------

void SystemViewClassInstance::addRunningAgentInfo(RunningAgentInfo* runningAgentInfo)
{
    Q_ASSERT(runningAgentInfo);
    if (_runningAgentInfos->contains(runningAgentInfo)) {
        return;
    }
    // A stand-in has no command line, and leaves none.
    if (!runningAgentInfo->commandLine().isEmpty()) {
        _takeLaunchLine(runningAgentInfo);
    }
    _runningAgentInfos->appendRow(runningAgentInfo);
    _updateIsRunning();
    Q_EMIT runningAgentInfoCreated(runningAgentInfo);
}

void SystemViewClassInstance::_takeLaunchLine(const RunningAgentInfo* agent)
{
    EncounteredAgentsOnHost* const group = getOrCreateEncounteredAgentsOnHost(agent->host());
    if (group == nullptr) {
        return;
    }
    const bool isKnown = group->findWithCommandLine(agent->commandLine()) != nullptr;
    EncounteredAgentInfo* const info = getOrCreateEncounteredAgentInfo(group, agent->commandLine());
    if (info == nullptr || agent->isAttachedToCorvane()) {
        return;
    }
    // Of which machine an agent is, it says itself.
    if (Launchers::instance()->vouchesFor(agent->host(), agent->publicKey())) {
        info->setbroughtBy(QString());
    } else if (!isKnown) {
        info->setbroughtBy(agent->publicKey());
    }
}

void SystemViewClassInstance::removeRunningAgentInfo(RunningAgentInfo* runningAgentInfo)
{
    if (!_runningAgentInfos->removeObject(runningAgentInfo)) {
        return;
    }
    _updateIsRunning();
    Q_EMIT runningAgentInfoRemoved(runningAgentInfo);
}

void SystemViewClassInstance::turnOff(RunningAgentInfo* runningAgentInfo)
{
    if (runningAgentInfo == nullptr) {
        return;
    }
    const Host* host = runningAgentInfo->host();
    const QString where = tr("process %1 on %2")
                              .arg(runningAgentInfo->processId())
                              .arg(host == nullptr ? runningAgentInfo->address() : host->networkName());
    if (!runningAgentInfo->canBeStopped()) {
        Q_EMIT turnOffFailed(runningAgentInfo,
            tr("%1 does not accept being stopped from here. Stop %2 by hand.").arg(runningAgentInfo->name(), where));
        return;
    }
    if (qny_request_stop(runningAgentInfo->agentUuid().toUtf8().constData()) != QNY_SUCCESS) {
        Q_EMIT turnOffFailed(runningAgentInfo,
            tr("%1 (%2) could not be asked to stop: %3")
                .arg(runningAgentInfo->name(), where, QString::fromUtf8(qny_last_error())));
    }
}

void SystemViewClassInstance::_updateIsRunning()
{
    bool isRunning = false;
    for (const RunningAgentInfo* info : _runningAgentInfos->toList()) {
        isRunning = isRunning || !info->isStandIn();
    }
    ZqProperty::assign(this, _isRunning, isRunning, &SystemViewClassInstance::isRunningChanged);
}

// ---- document -------------------------------------------------------------------------------------------------------

QJsonObject SystemViewClassInstance::exportToJson() const
{
    QJsonObject json = SystemViewBaseInstance::exportToJson();
    json[DocumentKeys::FAMILY] = familyUuid();
    QJsonArray groups;
    for (const EncounteredAgentsOnHost* group : _encounteredAgentsOnHosts->toList()) {
        groups.append(group->exportToJson());
    }
    json[DocumentKeys::ENCOUNTERED_AGENTS] = groups;
    return json;
}

void SystemViewClassInstance::loadFromJson(const QJsonObject& json, QList<JsonDocumentError>& errors)
{
    using namespace DocumentKeys;
    SystemDocument* document = systemView()->systemDocument();
    _otherKeys = without(json, { UUID, NAME, FAMILY, X, Y, ENCOUNTERED_AGENTS });

    const QJsonValue groups = json[ENCOUNTERED_AGENTS];
    if (!groups.isUndefined() && !groups.isArray()) {
        errors.append(JsonDocumentError(
            tr("The launch lines of '%1' were not read: \"%2\" must be a list.").arg(name(), ENCOUNTERED_AGENTS)));
    }
    for (const QJsonValue& groupValue : groups.toArray()) {
        const QJsonObject groupJson = groupValue.toObject();
        const QString hostName = groupJson[HOST].toString();
        if (hostName.isEmpty() || !groupJson[AGENTS].isArray()) {
            errors.append(JsonDocumentError(tr(
                "Some launch lines of '%1' were not read: each entry of \"%2\" needs a text \"%3\" and a list \"%4\".")
                    .arg(name(), ENCOUNTERED_AGENTS, HOST, AGENTS)));
            continue;
        }
        EncounteredAgentsOnHost* group = getOrCreateEncounteredAgentsOnHost(document->getOrCreateHost(hostName));
        group->_otherKeys = without(groupJson, { HOST, AGENTS });
        for (const QJsonValue& agentValue : groupJson[AGENTS].toArray()) {
            const QJsonObject agentJson = agentValue.toObject();
            const QString commandLine = agentJson[COMMAND_LINE].toString();
            if (SplitCommandLine(commandLine).isEmpty()) {
                errors.append(JsonDocumentError(
                    tr("A launch line of '%1' on %2 was not read: \"%3\" must be a text that names a program.")
                        .arg(name(), hostName, COMMAND_LINE)));
                continue;
            }
            QString agentUuid = agentJson[UUID].toString();
            if (!agentUuid.isEmpty() && !document->claimUuid(agentUuid)) {
                errors.append(
                    JsonDocumentError(tr("The uuid %1 stands twice; a launch line of '%2' on %3 got a new one.")
                            .arg(agentUuid, name(), hostName)));
                agentUuid.clear();
            }
            EncounteredAgentInfo* const info = _appendLaunchLine(group, agentUuid, commandLine);
            info->setbroughtBy(agentJson[BROUGHT_BY].toString());
            info->_otherKeys = without(agentJson, { UUID, COMMAND_LINE, BROUGHT_BY });
        }
    }
}
