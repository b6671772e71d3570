// SPDX-License-Identifier: Apache-2.0
#include "encounteredagentsonhost.h"

#include "documentkeys.h"
#include "encounteredagentinfo.h"
#include "host.h"
#include "networkconfiguration.h"

#include <zqcustomitemlistmodel.h>
#include <zqproperty.h>

EncounteredAgentsOnHost::EncounteredAgentsOnHost(Host* host, QObject* parent)
    : QObject(parent)
    , _encounteredAgentInfos(new ZqCustomItemListModel<EncounteredAgentInfo>(this))
{
    connect(NetworkConfiguration::instance(), &NetworkConfiguration::localNetworkNameChanged, this,
        &EncounteredAgentsOnHost::_updateIsAttachedToCorvane);
    sethost(host);
}

EncounteredAgentsOnHost::~EncounteredAgentsOnHost() = default;

Host* EncounteredAgentsOnHost::host() const
{
    return _host;
}

bool EncounteredAgentsOnHost::isAttachedToCorvane() const
{
    return _isAttachedToCorvane;
}

AbstractZqCustomItemListModel* EncounteredAgentsOnHost::encounteredAgentInfosModel() const
{
    return _encounteredAgentInfos;
}

QList<EncounteredAgentInfo*> EncounteredAgentsOnHost::encounteredAgentInfos() const
{
    return _encounteredAgentInfos->toList();
}

EncounteredAgentInfo* EncounteredAgentsOnHost::findWithCommandLine(const QString& commandLine) const
{
    const SplitCommandLine line(commandLine);
    EncounteredAgentInfo* found = nullptr;
    for (EncounteredAgentInfo* info : _encounteredAgentInfos->toList()) {
        if (!info->splitCommandLine().launchesSameAs(line)) {
            continue;
        }
        if (info->splitCommandLine().isSameAs(line)) {
            return info;
        }
        found = found == nullptr ? info : found;
    }
    return found;
}

void EncounteredAgentsOnHost::sethost(Host* host)
{
    if (_host == host) {
        return;
    }
    if (_host != nullptr) {
        disconnect(_host, nullptr, this, nullptr);
    }
    _host = host;
    if (_host != nullptr) {
        connect(_host, &Host::hasLauncherChanged, this, &EncounteredAgentsOnHost::hostHasLauncherChanged);
        connect(_host, &QObject::destroyed, this, &EncounteredAgentsOnHost::_onhostDestroyed);
    }
    Q_EMIT hostChanged();
    _updateIsAttachedToCorvane();
    Q_EMIT hostHasLauncherChanged();
}

QJsonObject EncounteredAgentsOnHost::exportToJson() const
{
    QJsonArray agents;
    for (const EncounteredAgentInfo* info : _encounteredAgentInfos->toList()) {
        agents.append(info->exportToJson());
    }
    QJsonObject json = _otherKeys;
    json[DocumentKeys::HOST] = _host == nullptr ? QString() : _host->networkName();
    json[DocumentKeys::AGENTS] = agents;
    return json;
}

void EncounteredAgentsOnHost::_onhostDestroyed()
{
    Q_EMIT hostChanged();
    _updateIsAttachedToCorvane();
}

void EncounteredAgentsOnHost::_append(EncounteredAgentInfo* info)
{
    _encounteredAgentInfos->appendRow(info);
}

void EncounteredAgentsOnHost::_updateIsAttachedToCorvane()
{
    const bool isAttached
        = _host != nullptr && _host->networkName() == NetworkConfiguration::instance()->localNetworkName();
    ZqProperty::assign(this, _isAttachedToCorvane, isAttached, &EncounteredAgentsOnHost::isAttachedToCorvaneChanged);
}
