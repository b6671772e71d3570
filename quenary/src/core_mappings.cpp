// SPDX-License-Identifier: Apache-2.0
// Our interest in others' outputs: mappings by name, each with one feed for every agent that fits it now, and monitors.
#include "core.h"

#include <algorithm>

namespace qny {

namespace {
// How many agents that fell silent a mapping remembers the count of, and the monitors together.
constexpr size_t maxRemembered = 256;
} // namespace

void Core::addMapping(const AgentPtr& agent, const MappingPtr& mapping)
{
    mapping->agent = agent;
    agent->mappings.push_back(mapping);
    mappingsTo[mapping->toAgent].push_back(mapping);
    refreshMapping(mapping);
}

// By value: callers pass elements of the very list that it is taken out of.
void Core::removeMapping(Agent& agent, MappingPtr mapping)
{
    std::erase(agent.mappings, mapping);
    const auto it = mappingsTo.find(mapping->toAgent);
    if (it != mappingsTo.end()) {
        std::erase(it->second, mapping);
        if (it->second.empty()) {
            mappingsTo.erase(it);
        }
    }
    mapping->agent.reset();
    refreshMapping(mapping);
}

void Core::refreshMapping(const MappingPtr& mapping)
{
    const AgentPtr agent = mapping->agent.lock();
    const bool alive = agent && agent->online && agent->inputs.find(mapping->input);
    if (alive == mapping->alive) {
        return;
    }
    mapping->alive = alive;
    if (alive) {
        for (const auto& [uuid, from] : announced) {
            if (from.record->name == mapping->toAgent) {
                addFeed(mapping, from);
            }
        }
        return;
    }
    mapping->remembered.clear();
    while (!mapping->feeds.empty()) {
        removeFeed(mapping->feeds.begin()->second, true);
    }
}

void Core::refreshMappings(Agent& agent)
{
    for (const MappingPtr& mapping : agent.mappings) {
        refreshMapping(mapping);
    }
}

void Core::addFeed(const MappingPtr& mapping, const Announced& from)
{
    if (mapping->feeds.contains(from.record->uuid)) {
        return;
    }
    auto feed = std::make_shared<Feed>();
    feed->id = m_nextId++;
    feed->agent = from.record->uuid;
    feed->peer = from.peer;
    feed->mapping = mapping;
    feed->output = mapping->output;
    if (const auto it = mapping->remembered.find(feed->agent); it != mapping->remembered.end()) {
        feed->counting = true;
        feed->sequence = it->second;
        mapping->remembered.erase(it);
    }
    mapping->feeds.emplace(feed->agent, feed);
    feeds[outputKey(feed->agent, feed->output)].push_back(feed);
    ++feedsChanged;
    feedsById.emplace(feed->id, feed);
    if (feed->peer->isSelf) {
        subscribe(feed->peer, feed->id, { feed->agent, feed->output, false });
        return;
    }
    std::string text;
    {
        wire::Item item(text, wire::ItemKind::Subscribe);
        item->number(feed->id);
        item->uuid(feed->agent);
        item->number(uint8_t { 0 });
        item->name(feed->output);
    }
    enqueue(feed->peer, text);
}

void Core::removeFeed(const FeedPtr& pointer, bool tell)
{
    const FeedPtr feed = pointer;
    feedsById.erase(feed->id);
    const auto it = feeds.find(outputKey(feed->agent, feed->output));
    if (it != feeds.end()) {
        std::erase(it->second, feed);
        if (it->second.empty()) {
            feeds.erase(it);
        }
        ++feedsChanged;
    }
    if (const MappingPtr mapping = feed->mapping.lock()) {
        mapping->feeds.erase(feed->agent);
    }
    if (feed->peer->isSelf) {
        unsubscribe(feed->peer, feed->id);
    } else if (tell) {
        std::string text;
        {
            wire::Item item(text, wire::ItemKind::Unsubscribe);
            item->number(feed->id);
        }
        enqueue(feed->peer, text);
    }
}

bool Core::isLive(const Mapping& mapping) const
{
    return mapping.alive && std::ranges::any_of(mapping.feeds, [&](const auto& each) {
        const Feed& feed = *each.second;
        const auto it = feed.peer->agents->find(feed.agent);
        return feed.counting && it != feed.peer->agents->end() && it->second->outputs.contains(mapping.output);
    });
}

void Core::removeMonitor(Lock& lock, const Uuid& agent, bool tell)
{
    const auto it = monitors.find(agent);
    if (it == monitors.end()) {
        return;
    }
    const std::shared_ptr<Monitor> monitor = it->second;
    monitors.erase(it);
    monitor->callback->removed = true;
    if (tell) {
        std::string text;
        {
            wire::Item item(text, wire::ItemKind::Unsubscribe);
            item->number(monitor->id);
        }
        enqueue(monitor->peer, text);
    }
    dispatcher.awaitEnd(lock, monitor->callback);
}

qny_result_t Core::addMonitor(const Uuid& agent, const CallbackPtr& callback)
{
    const auto it = announced.find(agent);
    if (it == announced.end() || it->second.peer->isSelf || !it->second.peer->up
        || !it->second.peer->agents->contains(agent)) {
        return fail(QNY_ERROR_UNKNOWN_AGENT, "No agent of another process has the uuid " + toText(agent) + " now.");
    }
    if (monitors.contains(agent)) {
        return fail(QNY_ERROR_EXISTS, "There is a monitor of the agent " + it->second.record->name + " already.");
    }
    auto monitor = std::make_shared<Monitor>();
    monitor->id = m_nextId++;
    monitor->agent = agent;
    monitor->peer = it->second.peer;
    monitor->callback = callback;
    if (const auto counts = monitorCounts.find(agent); counts != monitorCounts.end()) {
        monitor->outputs = std::move(counts->second);
        monitorCounts.erase(counts);
    }
    monitors.emplace(agent, monitor);
    std::string text;
    {
        wire::Item item(text, wire::ItemKind::Subscribe);
        item->number(monitor->id);
        item->uuid(agent);
        item->number(uint8_t { 1 });
        item->name({});
    }
    enqueue(monitor->peer, text);
    return QNY_SUCCESS;
}

void Core::announce(Lock& lock, const AgentChange& change)
{
    const Uuid uuid = change.agent->uuid;
    switch (change.event) {
    case QNY_AGENT_ENTERED: {
        const Announced from { change.agent, change.peer };
        announced[uuid] = from;
        if (const auto it = mappingsTo.find(change.agent->name); it != mappingsTo.end()) {
            for (const MappingPtr& mapping : it->second) {
                if (mapping->alive) {
                    addFeed(mapping, from);
                }
            }
        }
        break;
    }
    case QNY_AGENT_UPDATED:
        announced[uuid] = { change.agent, change.peer };
        break;
    case QNY_AGENT_EXITED:
        announced.erase(uuid);
        if (const auto it = mappingsTo.find(change.agent->name); it != mappingsTo.end()) {
            for (const MappingPtr& mapping : it->second) {
                const auto found = mapping->feeds.find(uuid);
                if (found == mapping->feeds.end()) {
                    continue;
                }
                const FeedPtr feed = found->second;
                if (change.fellSilent && feed->counting && mapping->remembered.size() < maxRemembered) {
                    mapping->remembered[uuid] = feed->sequence;
                }
                removeFeed(feed, true);
            }
        }
        if (const auto it = monitors.find(uuid);
            change.fellSilent && it != monitors.end() && monitorCounts.size() < maxRemembered) {
            monitorCounts[uuid] = it->second->outputs;
        }
        removeMonitor(lock, uuid, true);
        break;
    }
}

} // namespace qny
