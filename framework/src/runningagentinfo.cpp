// SPDX-License-Identifier: Apache-2.0
#include "runningagentinfo.h"

#include "corvaneutils.h"
#include "host.h"

RunningAgentInfo::RunningAgentInfo(const NetworkAgent& agent, Host* host, bool isAttachedToCorvane, QObject* parent)
    : QObject(parent)
    , _agent(agent)
    , _commandLine(agent.standIn || agent.executable.isEmpty()
              ? QString()
              : CorvaneUtils::joinCommand(agent.executable, agent.arguments))
    , _host(host)
    , _isAttachedToCorvane(isAttachedToCorvane)
{
}

RunningAgentInfo::~RunningAgentInfo() = default;

QString RunningAgentInfo::agentUuid() const
{
    return _agent.uuid;
}

QString RunningAgentInfo::name() const
{
    return _agent.name;
}

QString RunningAgentInfo::familyUuid() const
{
    return _agent.familyUuid;
}

Host* RunningAgentInfo::host() const
{
    return _host;
}

QString RunningAgentInfo::commandLine() const
{
    return _commandLine;
}

bool RunningAgentInfo::isAttachedToCorvane() const
{
    return _isAttachedToCorvane;
}

bool RunningAgentInfo::isStandIn() const
{
    return _agent.standIn;
}

bool RunningAgentInfo::canBeStopped() const
{
    return _agent.stoppable;
}

QString RunningAgentInfo::address() const
{
    return _agent.address;
}

qint64 RunningAgentInfo::processId() const
{
    return _agent.processId;
}

QString RunningAgentInfo::publicKey() const
{
    return _agent.publicKey;
}

QString RunningAgentInfo::definition() const
{
    return _agent.definition;
}

bool RunningAgentInfo::hasTakenLeave() const
{
    return _agent.hasTakenLeave;
}

void RunningAgentInfo::exit(const NetworkAgent& agent)
{
    Q_ASSERT(agent.uuid == _agent.uuid);
    _agent.hasTakenLeave = agent.hasTakenLeave;
}

void RunningAgentInfo::update(const NetworkAgent& agent)
{
    Q_ASSERT(agent.uuid == _agent.uuid);
    if (_agent.definition == agent.definition && _agent.stoppable == agent.stoppable) {
        return;
    }
    _agent.definition = agent.definition;
    _agent.stoppable = agent.stoppable;
    Q_EMIT definitionChanged();
}
