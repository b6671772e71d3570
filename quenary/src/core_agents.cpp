// SPDX-License-Identifier: Apache-2.0
// Handles of this process's agents, and what others are shown of them.
#include "core.h"

#include "network.h"

#include <algorithm>

namespace qny {

namespace {
// Several declarations in a row are told together.
constexpr int64_t tellDelayMilliseconds = 3;
} // namespace

AgentPtr Core::agentOf(qny_agent_t* handle) const
{
    const auto it = m_handles.find(handle);
    if (it != m_handles.end()) {
        return it->second;
    }
    fail(QNY_ERROR_ARGUMENT, handle ? "This agent was destroyed, or never was one." : "The agent is null.");
    return nullptr;
}

qny_agent_t* Core::newAgent(std::string_view name, std::string_view family, bool standIn)
{
    auto agent = std::make_shared<Agent>();
    agent->uuid = newUuid();
    agent->uuidText = toText(agent->uuid);
    agent->name = name;
    agent->family = family;
    agent->standIn = standIn;
    // Handles are numbers that are never given twice, so that a destroyed one is always recognised.
    m_nextHandle += 16;
    auto* handle = reinterpret_cast<qny_agent_t*>(m_nextHandle); // NOLINT: never followed
    m_handles.emplace(handle, agent);
    m_agents.emplace(agent->uuid, agent);
    return handle;
}

qny_agent_t* Core::defaultHandle()
{
    if (!m_defaultHandle) {
        m_defaultHandle = newAgent("unnamed", {}, false);
        const AgentPtr agent = m_handles[m_defaultHandle];
        agent->activated = true;
        if (started) {
            activate(agent);
        }
    }
    return m_defaultHandle;
}

AgentPtr Core::defaultAgent()
{
    return m_handles[defaultHandle()];
}

AgentPtr Core::onlineAgent(const Uuid& uuid) const
{
    const auto it = m_agents.find(uuid);
    return it != m_agents.end() && it->second->online ? it->second : nullptr;
}

void Core::activate(const AgentPtr& agent)
{
    agent->activated = true;
    m_agents[agent->uuid] = agent;
    if (!started || agent->online) {
        return;
    }
    agent->online = true;
    changed(*agent);
    refreshMappings(*agent);
}

void Core::deactivate(const AgentPtr& agent)
{
    agent->activated = false;
    if (!agent->online) {
        return;
    }
    tellChanges();
    agent->online = false;
    agent->dirty = false;
    refreshMappings(*agent);
    dropSubscriptionsOf(agent->uuid);
    std::string item;
    {
        wire::Item gone(item, wire::ItemKind::AgentGone);
        gone->uuid(agent->uuid);
    }
    for (const auto& [uuid, peer] : peers) {
        enqueue(peer, item);
    }
    agentGone(self, agent->uuid);
}

void Core::forget(qny_agent_t* handle)
{
    const AgentPtr agent = m_handles.at(handle);
    deactivate(agent);
    while (!agent->mappings.empty()) {
        removeMapping(*agent, agent->mappings.back());
    }
    m_handles.erase(handle);
    m_agents.erase(agent->uuid);
}

qny_result_t Core::changed(Agent& agent)
{
    if (!agent.online) {
        return QNY_SUCCESS;
    }
    if (!agent.dirty) {
        agent.dirty = true;
        m_changed.push_back(m_agents[agent.uuid]);
    }
    if (tellAt == 0) {
        tellAt = steadyMilliseconds() + tellDelayMilliseconds;
        if (network) {
            network->wake();
        }
    }
    return QNY_SUCCESS;
}

void Core::markAllChanged()
{
    for (const auto& [uuid, agent] : m_agents) {
        changed(*agent);
    }
}

AgentRecordPtr Core::recordOf(const Agent& agent) const
{
    auto record = std::make_shared<AgentRecord>();
    record->uuid = agent.uuid;
    record->uuidText = agent.uuidText;
    record->name = agent.name;
    record->family = agent.family;
    record->definition = definitionText(agent);
    for (const auto& output : agent.outputs) {
        record->outputs.insert(output->name);
    }
    record->standIn = agent.standIn;
    record->stoppable = stopCallback && !agent.standIn;
    record->peerUuid = self->uuidText;
    record->ofThisProcess = true;
    return record;
}

void Core::tellAgent(const PeerPtr& peer, const AgentRecord& record)
{
    std::string text;
    {
        wire::Item item(text, wire::ItemKind::Agent);
        item->uuid(record.uuid);
        item->number(static_cast<uint8_t>(
            (record.standIn ? wire::agentStandIn : 0) | (record.stoppable ? wire::agentStoppable : 0)));
        item->name(record.name);
        item->text(record.definition);
    }
    enqueue(peer, text);
}

void Core::tellChanges()
{
    tellAt = 0;
    if (m_changed.empty()) {
        return;
    }
    const std::vector<AgentPtr> agents = std::exchange(m_changed, {});
    for (const AgentPtr& agent : agents) {
        if (!agent->dirty || !agent->online) {
            continue;
        }
        agent->dirty = false;
        const AgentRecordPtr record = recordOf(*agent);
        for (const auto& [uuid, peer] : peers) {
            tellAgent(peer, *record);
        }
        agentChanged(self, *record);
    }
}

void Core::openStream(const PeerPtr& peer)
{
    tellChanges();
    peer->open = true;
    for (const auto& [uuid, record] : *self->agents) {
        tellAgent(peer, *record);
    }
    std::string text;
    {
        const wire::Item item(text, wire::ItemKind::Ready);
    }
    enqueue(peer, text);
}

} // namespace qny
