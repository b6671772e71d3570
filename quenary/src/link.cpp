// SPDX-License-Identifier: Apache-2.0
#include "link.h"

#include "core.h"
#include "network.h"
#include "security/security.h"

#include <algorithm>
#include <cerrno>

namespace qny {

namespace {

// After so many refused connections in a row nobody is held to listen at the other end (any more).
constexpr int refusalsOfTheDead = 2;
constexpr int reconnectMilliseconds = 100;
constexpr int64_t longestHelloMilliseconds = 500;
constexpr size_t mostPlaces = 8;

// Shorter ones are copied sooner than handed over.
constexpr size_t mostCopied = 1000;

// A piece is handed to the socket without another copy; the message owns it from then on.
zmq::message_t toMessage(std::string text, BufferStore& buffers)
{
    struct Owned
    {
        std::string text;
        BufferStore& buffers; // outlives every socket
    };
    if (text.size() <= mostCopied) {
        return zmq::message_t(text);
    }
    auto* owned = new Owned { std::move(text), buffers };
    const auto release = [](void*, void* hint) {
        auto* const released = static_cast<Owned*>(hint);
        released->buffers.give(std::move(released->text));
        delete released;
    };
    return zmq::message_t(owned->text.data(), owned->text.size(), release, owned);
}

} // namespace

std::string helloPayload(const Peer& self)
{
    std::string text;
    wire::Writer writer(text);
    writer.number(static_cast<uint64_t>(self.maxMessageBytes));
    writer.number(self.processId);
    writer.name(self.hostName);
    writer.text(self.program->executable);
    writer.number(static_cast<uint16_t>(self.program->arguments.size()));
    for (const std::string& argument : self.program->arguments) {
        writer.text(argument);
    }
    return text;
}

std::string readHello(std::string_view payload, Peer& into)
{
    wire::Reader reader(payload);
    into.maxMessageBytes = reader.number<uint64_t>();
    into.processId = reader.number<int64_t>();
    into.hostName = reader.name();
    auto program = std::make_shared<Program>();
    program->executable = reader.text();
    const auto count = reader.number<uint16_t>();
    if (payload.size() > wire::maxCommandLineBytes + 64 * 1024 || count > wire::maxCommandLineArguments) {
        return "a command line beyond the bound";
    }
    for (size_t i = 0; i < count && reader.ok(); ++i) {
        program->arguments.emplace_back(reader.text());
    }
    // What follows is left to later versions.
    if (!reader.ok()) {
        return "a hello that is too short";
    }
    const auto sound = [](const std::string& text) { return isUtf8(text) && text.find('\0') == std::string::npos; };
    if (!sound(into.hostName) || !sound(program->executable) || !std::ranges::all_of(program->arguments, sound)) {
        return "a hello with texts that are not UTF-8";
    }
    // It is shown wherever agents are, on terminals, too.
    if (hasControl(into.hostName)) {
        return "a hello whose host name holds control characters";
    }
    into.program = std::move(program);
    return {};
}

void OtherPlaces::note(const Destination& place)
{
    const auto isSame
        = [&place](const Destination& each) { return each.address == place.address && each.port == place.port; };
    if (std::ranges::any_of(m_places, isSame)) {
        return;
    }
    ++m_noted;
    if (m_places.size() < mostPlaces) {
        m_places.push_back(place);
    } else if (const size_t at = randomNumber() % m_noted; at < mostPlaces) {
        m_places[at] = place;
    }
}

Destination OtherPlaces::takeAny(const Destination& place)
{
    note(place);
    const auto taken = m_places.begin() + static_cast<std::ptrdiff_t>(randomNumber() % m_places.size());
    Destination any = std::move(*taken);
    m_places.erase(taken);
    m_noted = m_places.size();
    return any;
}

Link::Link(Core& core, zmq::context_t& context, Poller& poller, const Identity& identity, const Destination& to,
    const std::string& sourceAddress, const Security* security)
    : session(std::max<uint64_t>(randomNumber(), 1))
    , lastHeard(steadyMilliseconds())
    , since(lastHeard)
    , m_core(core)
    , m_identity(identity)
    , m_peer(std::make_shared<Peer>())
    , m_address(to.address)
    , m_port(to.port)
    , m_socket(context, zmq::socket_type::dealer)
    , m_monitor(context, m_socket,
          OneWay::events | ZMQ_EVENT_HANDSHAKE_SUCCEEDED | ZMQ_EVENT_CLOSED | ConnectionMonitor::handshakeFailures)
    , m_watchedMonitor(poller, m_monitor.socket(), Source::LinkMonitor, this)
    , m_watchedSocket(poller, m_socket, Source::LinkSocket, this)
{
    m_peer->uuid = to.uuid;
    m_peer->uuidText = toText(to.uuid);
    m_peer->address = m_address;
    m_peer->certificate = to.certificate;
    m_peer->pieceBytes
        = m_address == sourceAddress || isLoopbackAddress(m_address) ? wire::localPieceBytes : wire::pieceBytes;
    if (security) {
        security->secureClient(m_socket, *to.certificate);
    }
    OneWay::prepare(m_socket);
    // Nothing is queued for a connection that does not stand; the stream is kept here and sent again where it got lost.
    m_socket.set(zmq::sockopt::immediate, true);
    m_socket.set(zmq::sockopt::linger, 0);
    m_socket.set(zmq::sockopt::sndhwm, 256);
    m_socket.set(zmq::sockopt::reconnect_ivl, reconnectMilliseconds);
    m_socket.set(zmq::sockopt::handshake_ivl, QNY_PRESENCE_BOUND_MS);
    watchConnections(m_socket);
    const bool ipv6 = m_address.find(':') != std::string::npos;
    m_socket.set(zmq::sockopt::ipv6, ipv6);
    const std::string destination = (ipv6 ? "[" + m_address + "]" : m_address) + ":" + std::to_string(m_port);
    // From the address where we listen: the other side finds the way back by it. On the loopback device the system
    // takes that one by itself, and then one port serves for connections to many; hundreds of peers would need them
    // all.
    const bool isLoopback = m_address == "127.0.0.1" && sourceAddress == m_address;
    const bool sourceFits
        = !sourceAddress.empty() && !isLoopback && (sourceAddress.find(':') != std::string::npos) == ipv6;
    const std::string source = sourceFits ? (ipv6 ? "[" + sourceAddress + "]:0;" : sourceAddress + ":0;") : "";
    m_socket.connect("tcp://" + source + destination);
}

bool Link::takesAgain()
{
    // Asked in any case: only then is its descriptor quiet again.
    const bool takes = (m_socket.get(zmq::sockopt::events) & ZMQ_POLLOUT) != 0;
    return takes && std::exchange(m_blocked, false);
}

int64_t Link::due() const
{
    int64_t next = INT64_MAX;
    if (!m_blocked && !acknowledged) {
        next = helloDue;
    }
    if (!m_blocked && theirSession != 0) {
        next = std::min(next, stateDue);
    }
    return next;
}

bool Link::sendMessage(zmq::message_t& message)
{
    while (true) {
        try {
            if (m_socket.send(message, zmq::send_flags::dontwait)) {
                return true;
            }
            break;
        } catch (const zmq::error_t& error) {
            // A caller's thread may be interrupted by signals, and nothing would say that the socket takes something.
            if (error.num() != EINTR) {
                logDebug("a message to peer " + m_peer->uuidText + " could not be sent: " + error.what());
                break;
            }
        }
    }
    m_blocked = true;
    return false;
}

bool Link::send(wire::MessageType type, std::string_view payload)
{
    std::string text;
    text.reserve(wire::headerBytes + payload.size());
    wire::write(text,
        { .type = type,
            .port = m_identity.port,
            .sender = m_identity.uuid,
            .senderSession = session,
            .receiverSession = theirSession });
    text += payload;
    zmq::message_t message(text);
    return sendMessage(message);
}

bool Link::sendHello(int64_t now)
{
    // Again until it is answered, more and more slowly.
    helloDue = now + m_helloAgain;
    m_helloAgain = std::min(2 * m_helloAgain, longestHelloMilliseconds);
    return send(wire::MessageType::Hello, m_identity.hello);
}

bool Link::sendState(int64_t now, int64_t every)
{
    uint64_t consumed = 0;
    {
        const std::lock_guard lock(m_core.mutex);
        consumed = m_peer->consumedPieces;
        m_peer->consumedBytesTold = m_peer->consumedBytes;
    }
    std::string payload;
    wire::Writer writer(payload);
    const uint64_t lastSent = m_sent.empty() ? m_lastNumber : m_sent.front().number + m_next - 1;
    writer.number(lastSent);
    writer.number(received);
    writer.number(consumed);
    writer.number(static_cast<uint16_t>(every));
    if (!send(wire::MessageType::State, payload)) {
        return false;
    }
    receivedBytesTold = receivedBytes;
    stateDue = now + every;
    stateWanted = false;
    return true;
}

bool Link::sendResend()
{
    std::string payload;
    wire::Writer(payload).number(received + 1);
    if (!send(wire::MessageType::Resend, payload)) {
        return false;
    }
    resendWanted = false;
    return true;
}

bool Link::sendGoodbye()
{
    return send(wire::MessageType::Goodbye);
}

void Link::sendStream()
{
    while (!m_blocked) {
        if (m_next < m_sent.size()) {
            zmq::message_t copy;
            copy.copy(m_sent[m_next].message);
            if (!sendMessage(copy)) {
                return;
            }
            ++m_next;
            continue;
        }
        if (m_inFlight >= Network::windowBytes) {
            return;
        }
        std::string text;
        {
            const std::lock_guard lock(m_core.mutex);
            if (m_peer->pieces.empty()) {
                return;
            }
            text = std::move(m_peer->pieces.front());
            m_peer->pieces.pop_front();
            m_peer->queuedBytes -= text.size() - wire::dataHeaderBytes;
            if (!m_peer->dropped.empty()) {
                m_core.tellDropped(m_peer);
            }
        }
        Piece piece;
        piece.number = ++m_lastNumber;
        piece.bytes = text.size();
        m_header.clear();
        wire::write(m_header,
            { .type = wire::MessageType::Data,
                .port = m_identity.port,
                .sender = m_identity.uuid,
                .senderSession = session,
                .receiverSession = theirSession });
        wire::Writer(m_header).number(piece.number);
        text.replace(0, wire::dataHeaderBytes, m_header);
        m_inFlight += piece.bytes;
        piece.message = toMessage(std::move(text), m_core.buffers);
        m_sent.push_back(std::move(piece));
    }
}

bool Link::noteProgress(uint64_t theirReceived, uint64_t theirConsumed)
{
    if (theirConsumed > theirReceived || theirReceived > m_lastNumber) {
        return false;
    }
    m_theirReceived = std::max(m_theirReceived, theirReceived);
    while (!m_sent.empty() && m_sent.front().number <= theirConsumed) {
        m_inFlight -= m_sent.front().bytes;
        m_sent.pop_front();
        if (m_next > 0) {
            --m_next;
        }
    }
    return true;
}

bool Link::resendFrom(uint64_t number)
{
    if (number > m_lastNumber) {
        return number == m_lastNumber + 1;
    }
    // Consumed before it was asked for: a message that was sent again by somebody who recorded it.
    if (m_sent.empty() || number < m_sent.front().number) {
        return true;
    }
    m_next = std::min<size_t>(m_next, number - m_sent.front().number);
    return true;
}

ConnectionEnd Link::endSeen()
{
    while (const auto event = m_monitor.next()) {
        if (event->isOtherMechanism()) {
            return ConnectionEnd::OtherMechanism;
        }
        if (event->isRefusal()) {
            return ConnectionEnd::Refused;
        }
        if (event->kind == ZMQ_EVENT_CONNECTED) {
            m_oneWay.connected(static_cast<int>(event->value), steadyMilliseconds());
            m_progress = Progress::Connected;
            continue;
        }
        const bool succeeded = event->kind == ZMQ_EVENT_HANDSHAKE_SUCCEEDED;
        m_progress = succeeded ? Progress::Met : Progress::None;
        m_refusals = succeeded ? 0 : m_refusals + 1;
    }
    return m_refusals >= refusalsOfTheDead ? ConnectionEnd::Gone : ConnectionEnd::None;
}

} // namespace qny
