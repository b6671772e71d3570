// SPDX-License-Identifier: Apache-2.0
// What arrives at this peer's address. Everything here comes from outside: it is checked before it is used, and what
// does not hold is dropped, counted and logged.
#include "core.h"
#include "message_origin.h"
#include "network.h"

#include <cstring>

namespace qny {

namespace {

// Of a long item, before all of it has come.
constexpr size_t reservedBytes = 4 * 1024 * 1024;
constexpr int messagesAtOnce = 256;
// What strangers say may not be so much before it is read: it all waits in memory.
constexpr size_t mostTalk = 50'000;
constexpr int roundsOfAll = 8;
// Of tables of a peer's agents, each as it was when something was said. As many as when a peer shows a thousand agents
// one after the other, each of which says something, and nobody listens meanwhile; twice over.
constexpr size_t maxKeptEntries = 1'000'000;

// Who still speaks by the old session has not opened a new one: somebody else says so in its name.
bool isRenewed(Link& link)
{
    const int64_t now = steadyMilliseconds();
    if (!link.peer()->isQuiet(now - link.peer()->spokeAt)) {
        return false;
    }
    if (link.renewalSince == 0) {
        link.renewalSince = now;
    }
    return now - link.renewalSince >= renewalMilliseconds;
}

} // namespace

bool Network::receive()
{
    for (int i = 0; i < messagesAtOnce; ++i) {
        if (!m_empty) {
            m_empty = std::make_shared<zmq::message_t>();
        }
        if (!m_inbox.recv(*m_empty, zmq::recv_flags::dontwait)) {
            m_door->heardAll();
            m_talk = 0;
            endEndless();
            return true;
        }
        const std::shared_ptr<zmq::message_t> body = std::move(m_empty);
        const int fd = descriptorOf(*body);
        // One part. More is no message of ours.
        const bool sound = !body->more();
        zmq::message_t rest;
        for (bool more = !sound; more; more = rest.more()) {
            (void)m_inbox.recv(rest, zmq::recv_flags::dontwait);
        }
        m_door->heard(fd, body->size());
        if (++m_talk > mostTalk) {
            m_talk = 0;
            m_door->shut(steadyMilliseconds());
            endStrangers(0);
        }
        if (m_door->isRefused(*body)) {
            continue;
        }
        if (!sound) {
            m_door->refuse(*body);
            const std::lock_guard lock(m_core.mutex);
            m_core.refuse("a message of several parts from " + peerAddressOf(*body));
            continue;
        }
        receiveMessage(body, fd);
    }
    // There is more, of each connection in turn: after some rounds each that had a message was heard.
    if (++m_fullRounds >= roundsOfAll) {
        endEndless();
    }
    m_door->openAfter(steadyMilliseconds());
    return false;
}

void Network::endEndless()
{
    m_fullRounds = 0;
    m_door->endEndless([this](int fd, uint16_t port) { return isPeers(fd, port); }, steadyMilliseconds());
}

void Network::receiveMessage(const std::shared_ptr<zmq::message_t>& message, int fd)
{
    const std::string_view body(static_cast<const char*>(message->data()), message->size());
    wire::Header header;
    const auto refuse = [&](const std::string& what) {
        m_door->refuse(*message);
        const std::lock_guard lock(m_core.mutex);
        m_core.refuse(what + " from " + peerAddressOf(*message));
    };
    if (!wire::read(body, header)) {
        refuse("a message that is not of this protocol");
        return;
    }
    if (header.version != wire::protocolVersion) {
        refuse("a message of protocol version " + std::to_string(header.version) + " (this is version "
            + std::to_string(wire::protocolVersion) + ")");
        return;
    }
    if (header.sender == m_identity.uuid) {
        return; // our own address stands among the explicit peers
    }
    CertificatePtr certificate;
    if (m_security && !isGenuine(header, *message, fd, certificate)) {
        refuse("a message in the name of peer " + toText(header.sender) + " by a certificate that is not its own");
        return;
    }
    const auto it = m_links.find(header.sender);
    Link* link = it == m_links.end() ? nullptr : it->second.get();
    const std::string_view payload = body.substr(wire::headerBytes);
    const auto from = [&] { return Destination { header.sender, peerAddressOf(*message), header.port, certificate }; };
    if (header.type == wire::MessageType::Hello) {
        if (m_door->speaksFor(*message, header.sender)) {
            receiveHello(header, payload, from());
        }
        return;
    }
    if (!link) {
        // Somebody who knows us and whom we do not know (any more): we make ourselves known.
        if (header.type != wire::MessageType::Goodbye && m_door->speaksFor(*message, header.sender)) {
            hint(from(), Hint::Connection);
        }
        return;
    }
    if (header.type == wire::MessageType::Probe || link->theirSession == 0
        || header.senderSession != link->theirSession) {
        return; // known already, or of a link that is no more
    }
    link->lastHeard = steadyMilliseconds();
    if (header.type == wire::MessageType::Goodbye) {
        drop(header.sender, "it took its leave", false);
        return;
    }
    if (header.receiverSession != link->session) {
        return; // they have not heard our Hello yet
    }
    m_talk -= m_talk > 0 ? 1 : 0; // nobody but the peer knows both sessions
    acknowledge(*link);
    link->peer()->spokeAt = link->lastHeard;
    link->renewalSince = 0;
    wire::Reader reader(payload);
    switch (header.type) {
    case wire::MessageType::State: {
        const auto lastSent = reader.number<uint64_t>();
        const auto theirReceived = reader.number<uint64_t>();
        const auto theirConsumed = reader.number<uint64_t>();
        const bool isSound = reader.ok();
        const auto every = reader.number<uint16_t>(); // 0 when it does not say
        link->peer()->speaksEvery = std::clamp<int64_t>(every, stateMilliseconds, longestStateMilliseconds);
        if (!isSound || !link->noteProgress(theirReceived, theirConsumed)) {
            refuse("an impossible state");
            return;
        }
        if (lastSent > link->received) {
            link->resendWanted = true;
        }
        link->inboundFd = -1; // its number may be another connection's by now
        noteConnection(*link, fd);
        break;
    }
    case wire::MessageType::Resend: {
        const auto number = reader.number<uint64_t>();
        if (!reader.ok() || !link->resendFrom(number)) {
            refuse("a request to send again what cannot be missing");
            drop(header.sender, "its stream is broken", true);
            return;
        }
        break;
    }
    case wire::MessageType::Data:
        if (!receiveData(*link, payload, message)) {
            drop(header.sender, "its stream is broken", true);
            return;
        }
        noteConnection(*link, fd);
        break;
    default:
        refuse("a message of an unknown kind");
        return;
    }
    serve(*link, steadyMilliseconds());
}

void Network::acknowledge(Link& link)
{
    if (link.acknowledged) {
        return;
    }
    link.acknowledged = true;
    const std::lock_guard lock(m_core.mutex);
    m_core.peers[link.peer()->uuid] = link.peer();
    m_core.openStream(link.peer());
}

void Network::receiveHello(const wire::Header& header, std::string_view payload, const Destination& from)
{
    logDebug("hello of peer " + toText(header.sender) + " from " + from.address + ":" + std::to_string(from.port)
        + (header.receiverSession == 0 ? ", who has not heard ours" : ""));
    auto it = m_links.find(header.sender);
    if (it != m_links.end()) {
        const Link& known = *it->second;
        const bool renewed = known.isOpen() && known.theirSession != header.senderSession;
        if (renewed && !isRenewed(*it->second)) {
            return;
        }
        const bool elsewhere = !known.isOpen() && (known.address() != from.address || known.port() != from.port);
        if (renewed) {
            drop(header.sender, "it has opened its link anew", true);
        } else if (elsewhere) {
            m_links.erase(it);
        }
    }
    Link* link = hint(from, Hint::Connection);
    if (!link || header.senderSession == 0) {
        return;
    }
    if (link->theirSession != header.senderSession) {
        Peer told;
        if (const std::string problem = readHello(payload, told); !problem.empty()) {
            const std::lock_guard lock(m_core.mutex);
            m_core.refuse(problem + " from " + from.address);
            return;
        }
        const std::lock_guard lock(m_core.mutex);
        Peer& peer = *link->peer();
        peer.address = from.address;
        peer.hostName = told.hostName;
        peer.processId = told.processId;
        peer.program = std::move(told.program);
        peer.maxMessageBytes = told.maxMessageBytes;
        link->theirSession = header.senderSession;
    }
    link->lastHeard = steadyMilliseconds();
    link->stateWanted = true;
    if (header.receiverSession == link->session) {
        acknowledge(*link);
    }
    serve(*link, steadyMilliseconds());
}

bool Network::receiveData(Link& link, std::string_view payload, const std::shared_ptr<zmq::message_t>& message)
{
    wire::Reader reader(payload);
    const auto number = reader.number<uint64_t>();
    std::string_view stream = reader.rest();
    if (!reader.ok() || stream.empty()) {
        return false;
    }
    if (number <= link.received) {
        return true; // sent again, and had arrived after all
    }
    if (number != link.received + 1) {
        link.resendWanted = true;
        return true;
    }
    link.received = number;
    link.receivedBytes += payload.size();

    const std::lock_guard lock(m_core.mutex);
    if (link.receivedBytes - link.peer()->consumedBytes > windowBytes + wire::maxMessageBytes) {
        m_core.refuse("more than there is room for from peer " + link.peer()->uuidText);
        return false;
    }
    const size_t longest = m_core.options.maxMessageBytes + wire::itemSlackBytes;
    const int64_t now = nowMicroseconds();
    const auto push
        = [&](std::shared_ptr<const void> keep, size_t keepBytes, std::string_view items, bool closesPiece) {
              Batch batch;
              batch.peer = link.peer();
              batch.agents = link.peer()->agents;
              batch.keep = std::move(keep);
              batch.keepBytes = keepBytes;
              batch.items = items;
              batch.receivedAt = now;
              batch.pieces = closesPiece ? 1 : 0;
              batch.bytes = closesPiece ? payload.size() : 0;
              m_core.dispatcher.push(std::move(batch));
          };
    const auto lengthOf = [](std::string_view text) {
        uint32_t length = 0;
        std::memcpy(&length, text.data(), sizeof length);
        return sizeof length + length;
    };
    const auto tooLong = [&](std::string_view text) {
        const size_t length = lengthOf(text);
        if (length > longest || length < wire::itemHeaderBytes) {
            m_core.refuse("an item of " + std::to_string(length) + " bytes from peer " + link.peer()->uuidText);
            return true;
        }
        return false;
    };

    // The pieces of a long item are put together without being moved again, unless it says that it is very long.
    const auto makeRoom = [&link](size_t wanted) { link.partial.reserve(std::min(wanted, reservedBytes)); };
    // The rest of an item that began in an earlier piece.
    while (!link.partial.empty() && !stream.empty()) {
        const size_t wanted = link.partial.size() < sizeof(uint32_t) ? sizeof(uint32_t) : lengthOf(link.partial);
        makeRoom(wanted);
        const size_t taken = std::min(wanted - link.partial.size(), stream.size());
        link.partial.append(stream.substr(0, taken));
        stream.remove_prefix(taken);
        if (link.partial.size() < sizeof(uint32_t)) {
            continue;
        }
        if (tooLong(link.partial)) {
            return false;
        }
        if (link.partial.size() < lengthOf(link.partial)) {
            continue;
        }
        const auto whole = std::make_shared<std::string>(std::exchange(link.partial, {}));
        if (!receiveControl(link, *whole)) {
            push(whole, whole->size(), *whole, false);
        }
    }
    // Whole items: those for the callback thread go to it in one batch as long as no control item lies between.
    size_t begin = 0;
    size_t at = 0;
    while (stream.size() - at >= sizeof(uint32_t) && !link.isGreedy) {
        const std::string_view rest = stream.substr(at);
        if (tooLong(rest)) {
            return false;
        }
        const size_t length = lengthOf(rest);
        if (length > rest.size()) {
            break;
        }
        if (isControl(rest)) {
            if (at > begin) {
                push(message, message->size(), stream.substr(begin, at - begin), false);
            }
            receiveControl(link, rest.substr(0, length));
            begin = at + length;
        }
        at += length;
    }
    push(message, message->size(), stream.substr(begin, at - begin), true);
    const std::string_view begun = stream.substr(at);
    makeRoom(begun.size() < sizeof(uint32_t) ? 0 : lengthOf(begun));
    link.partial.append(begun);
    return !link.isGreedy;
}

bool Network::isControl(std::string_view item)
{
    switch (static_cast<wire::ItemKind>(item[sizeof(uint32_t)])) {
    case wire::ItemKind::Agent:
    case wire::ItemKind::AgentGone:
    case wire::ItemKind::Ready:
    case wire::ItemKind::ReadyAck:
    case wire::ItemKind::Subscribe:
    case wire::ItemKind::Unsubscribe:
        return true;
    default:
        return false;
    }
}

bool Network::receiveControl(Link& link, std::string_view item)
{
    if (!isControl(item)) {
        return false;
    }
    const auto kind = static_cast<wire::ItemKind>(item[sizeof(uint32_t)]);
    wire::Reader reader(item.substr(wire::itemHeaderBytes));
    const PeerPtr& peer = link.peer();
    const auto refuse = [&](const std::string& what) { m_core.refuse(what + " from peer " + peer->uuidText); };
    switch (kind) {
    case wire::ItemKind::Agent: {
        AgentRecord record;
        record.uuid = reader.uuid();
        const auto flags = reader.number<uint8_t>();
        record.name = reader.name();
        record.definition = reader.text();
        record.standIn = flags & wire::agentStandIn;
        record.stoppable = flags & wire::agentStoppable;
        if (!reader.ok() || record.definition.size() > wire::maxDefinitionBytes) {
            refuse("a malformed agent");
        } else if (const std::string name = nameProblem(record.name, true); !name.empty()) {
            refuse("an agent of which " + printable(name));
        } else if (const std::string definition = readDefinition(std::string(record.definition), record);
            !definition.empty()) {
            refuse("the agent " + record.name + " with a definition of which " + definition);
        } else if (!m_core.agentChanged(peer, std::move(record))) {
            refuse("an agent whose uuid another process has, or one agent too many or with too much to say,");
        }
        break;
    }
    case wire::ItemKind::AgentGone: {
        const Uuid uuid = reader.uuid();
        reader.ok() ? m_core.agentGone(peer, uuid) : refuse("a malformed departure");
        break;
    }
    case wire::ItemKind::Ready: {
        link.readyReceived = true;
        std::string text;
        {
            const wire::Item ack(text, wire::ItemKind::ReadyAck);
        }
        m_core.enqueue(peer, text);
        break;
    }
    case wire::ItemKind::ReadyAck:
        link.readyAcknowledged = true;
        break;
    case wire::ItemKind::Subscribe: {
        const auto id = reader.number<uint64_t>();
        Subscription wanted;
        wanted.agent = reader.uuid();
        wanted.all = reader.number<uint8_t>() != 0;
        wanted.output = reader.name();
        if (!reader.ok() || (!wanted.all && !nameProblem(wanted.output, false).empty())) {
            refuse("a malformed subscription");
        } else {
            m_core.subscribe(peer, id, std::move(wanted));
        }
        break;
    }
    case wire::ItemKind::Unsubscribe: {
        const auto id = reader.number<uint64_t>();
        reader.ok() ? m_core.unsubscribe(peer, id) : refuse("a malformed end of a subscription");
        break;
    }
    default:
        break;
    }
    if (m_core.asksTooMuch(*peer)) {
        refuse("a request on top of many whose answers wait to be taken");
        link.isGreedy = true;
    }
    if (*peer->keptEntries > maxKeptEntries) {
        refuse("changes of agents on top of many that nobody has heard of yet");
        link.isGreedy = true;
    }
    if (link.readyReceived && link.readyAcknowledged && !peer->up) {
        m_core.peerUp(peer);
    }
    return true;
}

} // namespace qny
