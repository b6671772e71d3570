// SPDX-License-Identifier: Apache-2.0
#include "agentdirectory.h"

#include <quenary_families.h>

namespace recorder {

namespace {

/// Whether a peer at this address ("127.0.0.1", "fe80::1") runs on this machine.
bool isOurAddress(const char* address)
{
    if (!address || *address == '\0') {
        return false;
    }
    const std::string theirs(address);
    char* endpoint = qny_endpoint();
    const std::string ours = endpoint ? endpoint : "";
    qny_free(endpoint);
    // "tcp://host:port", an IPv6 host in brackets.
    return theirs.starts_with("127.") || theirs == "::1" || ours.starts_with("tcp://" + theirs + ":")
        || ours.starts_with("tcp://[" + theirs + "]:");
}

} // namespace

bool KnownAgent::isRecorder() const
{
    return family == QNY_FAMILY_RECORDER;
}

void AgentDirectory::onAgentEvent(qny_agent_event_t event, const qny_agent_info_t* info, void* directory)
{
    auto* self = static_cast<AgentDirectory*>(directory);
    const KnownAgent agent { info->uuid, info->name, info->family ? info->family : "",
        info->peer_uuid ? info->peer_uuid : "", info->definition ? info->definition : "", info->stand_in,
        isOurAddress(info->address), info->fell_silent };
    {
        const std::lock_guard lock(self->_mutex);
        if (event == QNY_AGENT_EXITED) {
            self->_agents.erase(agent.uuid);
        } else {
            self->_agents[agent.uuid] = agent;
        }
    }
    for (const Listener& listener : self->_listeners) {
        listener(event, agent);
    }
}

std::vector<KnownAgent> AgentDirectory::agents() const
{
    const std::lock_guard lock(_mutex);
    std::vector<KnownAgent> all;
    all.reserve(_agents.size());
    for (const auto& [uuid, agent] : _agents) {
        all.push_back(agent);
    }
    return all;
}

std::optional<KnownAgent> AgentDirectory::agent(const std::string& uuid) const
{
    const std::lock_guard lock(_mutex);
    const auto found = _agents.find(uuid);
    return found == _agents.end() ? std::nullopt : std::optional(found->second);
}

bool AgentDirectory::isPresent(const std::string& uuid) const
{
    const std::lock_guard lock(_mutex);
    return _agents.contains(uuid);
}

std::set<std::string> AgentDirectory::liveNames() const
{
    const std::lock_guard lock(_mutex);
    std::set<std::string> names;
    for (const auto& [uuid, agent] : _agents) {
        if (!agent.isStandIn) {
            names.insert(agent.name);
        }
    }
    return names;
}

} // namespace recorder
