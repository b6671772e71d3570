// SPDX-License-Identifier: Apache-2.0
// Other processes and their agents, as the network thread learns of them. What the user is told of them goes through
// the callback thread, in order with what they published and called.
#include "core.h"

#include <cstring>

namespace qny {

namespace {

// The record as others of its peer's agents are shown: with what the peer said of its process.
void describePeer(AgentRecord& record, const Peer& peer)
{
    record.uuidText = toText(record.uuid);
    record.peerUuid = peer.uuidText;
    record.hostName = peer.hostName;
    record.address = peer.address;
    record.processId = peer.processId;
    if (peer.certificate) {
        record.publicKey = peer.certificate->publicKey;
        record.certificateName = peer.certificate->name;
    }
    record.ofThisProcess = peer.isSelf;
    if (!record.standIn) {
        record.program = peer.program;
    }
}

size_t descriptionBytes(const AgentRecord& record)
{
    size_t bytes = record.definition.size() + record.program->executable.size();
    for (const std::string& argument : record.program->arguments) {
        bytes += argument.size() + sizeof argument;
    }
    return bytes;
}

// To be changed: a copy, if somebody keeps it as it is. With the core's mutex held.
AgentTable& tableOf(Peer& peer)
{
    if (peer.agents.use_count() > 1) {
        const size_t size = peer.agents->size();
        *peer.keptEntries += size;
        peer.agents
            = AgentTablePtr(new AgentTable(*peer.agents), [kept = peer.keptEntries, size](const AgentTable* table) {
                  *kept -= size;
                  delete table;
              });
    }
    return const_cast<AgentTable&>(*peer.agents); // NOLINT: made as one that can be changed, here or in Peer
}

} // namespace

void Core::peerUp(const PeerPtr& peer)
{
    peer->up = true;
    for (const auto& [uuid, record] : *peer->agents) {
        dispatcher.push(AgentChange { QNY_AGENT_ENTERED, record, peer });
    }
}

void Core::peerDown(const PeerPtr& pointer, bool fellSilent)
{
    const PeerPtr peer = pointer;
    for (const auto& [uuid, record] : *peer->agents) {
        owners.erase(uuid);
        if (peer->up) {
            dispatcher.push(AgentChange { QNY_AGENT_EXITED, record, peer, fellSilent });
        }
    }
    peer->agents = std::make_shared<AgentTable>();
    peer->describedBytes = 0;
    peer->up = false;
    peer->open = false;
    peer->pieces.clear();
    peer->queuedBytes = 0;
    peer->dropped.clear();
    peer->subscriptions.clear();
    const auto byAgent = std::exchange(peer->byAgent, {});
    const auto byOutput = std::exchange(peer->byOutput, {});
    peers.erase(peer->uuid);
    std::erase(waiting, peer);
    // Each once, however often it was asked for.
    for (const auto& [agent, ids] : byAgent) {
        refreshListeners(agent);
    }
    for (const auto& [key, ids] : byOutput) {
        Uuid agent {};
        std::memcpy(agent.data(), key.data(), agent.size());
        refreshListeners(agent, std::string_view(key).substr(agent.size()));
    }
}

bool Core::agentChanged(const PeerPtr& peer, AgentRecord record)
{
    const auto owner = owners.find(record.uuid);
    if (owner != owners.end() && owner->second != peer.get()) {
        return false;
    }
    if (!peer->isSelf
        && (onlineAgent(record.uuid) || (owner == owners.end() && peer->agents->size() >= wire::maxAgentsPerPeer))) {
        return false;
    }
    describePeer(record, *peer);
    const size_t bytes = descriptionBytes(record);
    const auto it = peer->agents->find(record.uuid);
    const size_t bytesBefore = it == peer->agents->end() ? 0 : descriptionBytes(*it->second);
    if (!peer->isSelf && peer->describedBytes - bytesBefore + bytes > wire::maxDescriptionBytes) {
        return false;
    }
    peer->describedBytes += bytes - bytesBefore;
    const auto known = std::make_shared<const AgentRecord>(std::move(record));
    const AgentRecordPtr before = it == peer->agents->end() ? nullptr : it->second;
    owners[known->uuid] = peer.get();
    tableOf(*peer)[known->uuid] = known;
    if (!peer->up) {
        return true;
    }
    if (before && before->name == known->name) {
        if (before->definition != known->definition || before->stoppable != known->stoppable) {
            dispatcher.push(AgentChange { QNY_AGENT_UPDATED, known, peer });
        }
        return true;
    }
    if (before) {
        dispatcher.push(AgentChange { QNY_AGENT_EXITED, before, peer });
    }
    dispatcher.push(AgentChange { QNY_AGENT_ENTERED, known, peer });
    return true;
}

void Core::agentGone(const PeerPtr& peer, const Uuid& uuid)
{
    const auto it = peer->agents->find(uuid);
    if (it == peer->agents->end()) {
        return;
    }
    const AgentRecordPtr record = it->second;
    tableOf(*peer).erase(uuid);
    peer->describedBytes -= descriptionBytes(*record);
    owners.erase(uuid);
    if (peer->up) {
        dispatcher.push(AgentChange { QNY_AGENT_EXITED, record, peer });
    }
}

std::vector<std::pair<PeerPtr, AgentRecordPtr>> Core::find(std::string_view nameOrUuid) const
{
    std::vector<std::pair<PeerPtr, AgentRecordPtr>> found;
    const auto look = [&](const PeerPtr& peer, auto&& fits) {
        if (peer->up) {
            for (const auto& [uuid, record] : *peer->agents) {
                if (fits(*record)) {
                    found.emplace_back(peer, record);
                }
            }
        }
    };
    const auto lookEverywhere = [&](auto&& fits) {
        look(self, fits);
        for (const auto& [uuid, peer] : peers) {
            look(peer, fits);
        }
    };
    // Never a name: who calls one agent alone is not to be led to another that took the uuid for its name.
    if (const auto uuid = uuidFromText(nameOrUuid)) {
        const auto owner = owners.find(*uuid);
        if (owner != owners.end() && owner->second->up) {
            const auto peer = owner->second->isSelf ? self : peers.at(owner->second->uuid);
            found.emplace_back(peer, peer->agents->at(*uuid));
        }
    } else {
        lookEverywhere([&](const AgentRecord& record) { return record.name == nameOrUuid; });
    }
    return found;
}

} // namespace qny
