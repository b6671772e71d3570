// SPDX-License-Identifier: Apache-2.0
// What goes to other peers: one stream of items each, in the order in which they were made; and what they ask of us.
#include "core.h"

#include "network.h"

#include <algorithm>

namespace qny {

namespace {
// More than a publication holds beside its value.
constexpr size_t itemHeadBytes = 1024;
// Of the memory of a longer value, what a shorter one after it may keep.
constexpr size_t mostSpareBytes = 1024 * 1024;
} // namespace

bool Core::enqueue(const PeerPtr& peer, std::string_view item, Room room, std::string_view value)
{
    size_t left = item.size() + value.size();
    if (peer->isSelf) {
        if (room == Room::IfThereIs && peer->queuedBytes + left > options.maxPeerQueueBytes) {
            return false;
        }
        peer->queuedBytes += left;
        dispatcher.pushOwn(peer, peer->agents, item, value);
        return true;
    }
    if (!peer->open) {
        // Its stream begins with all that we have, once it is open.
        return true;
    }
    if (room == Room::IfThereIs) {
        if (peer->queuedBytes + left > options.maxPeerQueueBytes || left > peer->maxMessageBytes + itemHeadBytes) {
            return false;
        }
        if (!peer->dropped.empty()) {
            tellDropped(peer);
        }
    }
    peer->queuedBytes += left;
    while (left > 0) {
        // Small items share a piece, large ones are cut.
        const bool startsNew
            = peer->pieces.empty() || peer->pieces.back().size() + left > wire::dataHeaderBytes + wire::batchBytes;
        if (startsNew) {
            peer->pieces.push_back(buffers.take(std::min(left, peer->pieceBytes) + wire::dataHeaderBytes + 256));
            peer->pieces.back().append(wire::dataHeaderBytes, '\0');
        }
        size_t space = std::min(left, peer->pieceBytes);
        left -= space;
        for (std::string_view* part : { &item, &value }) {
            const size_t taken = std::min(space, part->size());
            peer->pieces.back().append(part->substr(0, taken));
            part->remove_prefix(taken);
            space -= taken;
        }
    }
    serveSoon(peer);
    return true;
}

void Core::serveSoon(const PeerPtr& peer)
{
    // Who waits already is taken up after the wake-up that went with it.
    if (network && !std::exchange(peer->isWaiting, true)) {
        waiting.push_back(peer);
        if (!isSending) {
            network->wake();
        }
    }
}

std::vector<PeerPtr> Core::takeWaiting()
{
    for (const PeerPtr& peer : waiting) {
        peer->isWaiting = false;
    }
    return std::exchange(waiting, {});
}

void Core::tellDropped(const PeerPtr& peer)
{
    // Told with some room to spare, so that a queue at its limit does not fill with such notes.
    if (peer->queuedBytes > options.maxPeerQueueBytes / 2) {
        return;
    }
    const auto dropped = std::exchange(peer->dropped, {});
    for (const auto& [key, sequence] : dropped) {
        std::string text;
        {
            wire::Item item(text, wire::ItemKind::Gap);
            item->number(static_cast<uint8_t>(key.size() - sizeof(Uuid)));
            item->bytes(key);
            item->number(sequence);
        }
        enqueue(peer, text);
    }
}

void Core::tellLast(
    const PeerPtr& peer, uint64_t id, const Uuid& agent, std::string_view name, const Output* output, uint64_t sequence)
{
    std::string text;
    {
        wire::Item item(text, wire::ItemKind::Last, 64 + name.size() + (output ? output->value.size() : 0));
        const bool hasValue = output && output->hasValue;
        item->number(id);
        item->uuid(agent);
        item->number(static_cast<uint8_t>((output ? wire::lastOutputExists : 0) | (hasValue ? wire::lastHasValue : 0)));
        item->number(static_cast<uint8_t>(output ? output->type : QNY_UNKNOWN_T));
        item->number(sequence);
        item->number(output ? output->valueTime : int64_t { 0 });
        item->name(name);
        if (hasValue) {
            item->bytes(output->value);
        }
    }
    enqueue(peer, text);
}

void Core::subscribe(const PeerPtr& peer, uint64_t id, Subscription wanted)
{
    const AgentPtr agent = onlineAgent(wanted.agent);
    if (!agent || peer->subscriptions.contains(id)) {
        return;
    }
    if (peer->subscriptions.size() >= wire::maxSubscriptionsPerPeer && !peer->isSelf) {
        refuse("peer " + peer->uuidText + " subscribes to more than " + std::to_string(wire::maxSubscriptionsPerPeer)
            + " outputs");
        return;
    }
    if (wanted.all) {
        auto& ids = peer->byAgent[wanted.agent];
        ids.insert(id);
        if (ids.size() == 1) {
            refreshListeners(wanted.agent);
        }
        for (const auto& output : agent->outputs) {
            tellLast(peer, id, wanted.agent, output->name, output.get(), output->sequence);
        }
    } else {
        auto& ids = peer->byOutput[outputKey(wanted.agent, wanted.output)];
        ids.insert(id);
        if (ids.size() == 1) {
            refreshListeners(wanted.agent, wanted.output);
        }
        const Output* output = agent->outputs.find(wanted.output);
        uint64_t sequence = output ? output->sequence : 0;
        if (const auto retired = agent->retiredSequences.find(wanted.output);
            !output && retired != agent->retiredSequences.end()) {
            sequence = retired->second;
        }
        tellLast(peer, id, wanted.agent, wanted.output, output, sequence);
    }
    peer->subscriptions.emplace(id, std::move(wanted));
}

bool Core::asksTooMuch(const Peer& peer) const
{
    if (peer.queuedBytes <= options.maxPeerQueueBytes) {
        return false;
    }
    size_t values = 0;
    for (const auto& [uuid, agent] : m_agents) {
        for (const auto& output : agent->outputs) {
            values += output->value.size() + itemHeadBytes;
        }
    }
    return peer.queuedBytes > options.maxPeerQueueBytes + 2 * values;
}

void Core::unsubscribe(const PeerPtr& peer, uint64_t id)
{
    const auto it = peer->subscriptions.find(id);
    if (it == peer->subscriptions.end()) {
        return;
    }
    const Subscription subscription = std::move(it->second);
    peer->subscriptions.erase(it);
    if (subscription.all) {
        const auto ids = peer->byAgent.find(subscription.agent);
        ids->second.erase(id);
        if (ids->second.empty()) {
            peer->byAgent.erase(ids);
            refreshListeners(subscription.agent);
        }
        return;
    }
    const auto ids = peer->byOutput.find(outputKey(subscription.agent, subscription.output));
    ids->second.erase(id);
    if (ids->second.empty()) {
        peer->byOutput.erase(ids);
        refreshListeners(subscription.agent, subscription.output);
    }
}

void Core::dropSubscriptionsOf(const Uuid& agent)
{
    const auto dropFrom = [&agent](const PeerPtr& peer) {
        const auto isOfIt = [key = outputKey(agent, {})](const auto& each) { return each.first.starts_with(key); };
        std::erase_if(peer->subscriptions, [&agent](const auto& each) { return each.second.agent == agent; });
        peer->byAgent.erase(agent);
        std::erase_if(peer->byOutput, isOfIt);
        std::erase_if(peer->dropped, isOfIt);
    };
    dropFrom(self);
    for (const auto& [uuid, peer] : peers) {
        dropFrom(peer);
    }
    const auto it = m_agents.find(agent);
    if (it != m_agents.end()) {
        for (const auto& output : it->second->outputs) {
            output->listeners.clear();
        }
    }
}

void Core::refreshListeners(const Uuid& uuid)
{
    if (const AgentPtr agent = onlineAgent(uuid)) {
        for (const auto& output : agent->outputs) {
            refreshListeners(uuid, output->name);
        }
    }
}

void Core::refreshListeners(const Uuid& uuid, std::string_view name)
{
    const AgentPtr agent = onlineAgent(uuid);
    Output* output = agent ? agent->outputs.find(name) : nullptr;
    if (!output) {
        return;
    }
    const std::string key = outputKey(uuid, name);
    const auto wants = [&](const Peer& peer) { return peer.byOutput.contains(key) || peer.byAgent.contains(uuid); };
    output->listeners.clear();
    if (wants(*self)) {
        output->listeners.push_back(self);
    }
    for (const auto& [peerUuid, peer] : peers) {
        if (wants(*peer)) {
            output->listeners.push_back(peer);
        }
    }
}

void Core::outputAppeared(Agent& agent, Output& output)
{
    if (!agent.online) {
        return;
    }
    refreshListeners(agent.uuid, output.name);
    tellChanges();
    const std::string key = outputKey(agent.uuid, output.name);
    for (const PeerPtr& peer : output.listeners) {
        if (const auto it = peer->byOutput.find(key); it != peer->byOutput.end()) {
            for (const uint64_t id : it->second) {
                tellLast(peer, id, agent.uuid, output.name, &output, output.sequence);
            }
        }
        if (const auto it = peer->byAgent.find(agent.uuid); it != peer->byAgent.end()) {
            for (const uint64_t id : it->second) {
                tellLast(peer, id, agent.uuid, output.name, &output, output.sequence);
            }
        }
    }
}

qny_result_t Core::publish(Agent& agent, Output& output, std::string_view bytes, int64_t time, uint64_t* sequence)
{
    if (bytes.size() > options.maxMessageBytes) {
        return fail(QNY_ERROR_TOO_LARGE,
            "A publication of " + std::to_string(bytes.size()) + " bytes is beyond max_message_bytes ("
                + std::to_string(options.maxMessageBytes) + ").");
    }
    if (time == 0) {
        time = nowMicroseconds();
    }
    ++output.sequence;
    if (sequence) {
        *sequence = output.sequence;
    }
    output.hasValue = true;
    if (output.value.capacity() > mostSpareBytes + bytes.size()) {
        output.value = {};
    }
    output.value.assign(bytes);
    output.valueTime = time;
    if (!agent.online || output.listeners.empty()) {
        return QNY_SUCCESS;
    }
    tellChanges();
    static thread_local std::string text;
    text.clear();
    {
        wire::Item item(text, wire::ItemKind::Publication);
        item->number(static_cast<uint8_t>(output.name.size()));
        item->uuid(agent.uuid);
        item->bytes(output.name);
        item->number(static_cast<uint8_t>(output.type));
        item->number(output.sequence);
        item->number(time);
        item.isFollowedBy(output.value.size());
    }
    for (const PeerPtr& peer : output.listeners) {
        if (enqueue(peer, text, Room::IfThereIs, output.value)) {
            statistics.publicationsSent += peer->isSelf ? 0 : 1;
        } else {
            ++statistics.publicationsDropped;
            peer->dropped[outputKey(agent.uuid, output.name)] = output.sequence;
            tellDropped(peer);
        }
    }
    return QNY_SUCCESS;
}

} // namespace qny
