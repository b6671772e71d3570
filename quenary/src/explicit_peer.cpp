// SPDX-License-Identifier: Apache-2.0
#include "explicit_peer.h"

#include "report.h"
#include "security/security.h"

namespace qny {

namespace {

// Between two attempts that failed, or two rounds through all keys.
constexpr int64_t pauseMilliseconds = 1000;
constexpr int handshakeMilliseconds = 2000;
// Left to the system, an attempt that began while the network was cut off is repeated more and more rarely, for
// minutes.
constexpr int attemptMilliseconds = 2000;

} // namespace

ExplicitPeer::ExplicitPeer(zmq::context_t& context, Poller& poller, std::string endpoint, std::string place, bool ipv6,
    const Security* security)
    : m_context(context)
    , m_poller(poller)
    , m_endpoint(std::move(endpoint))
    , m_place(std::move(place))
    , m_port(static_cast<uint16_t>(std::stoul(m_place.substr(m_place.rfind(':') + 1))))
    , m_ipv6(ipv6)
    , m_security(security)
{
    if (security) {
        tryNext(0);
    } else {
        connect();
    }
}

void ExplicitPeer::connect()
{
    m_failed = true; // until all stands
    m_watched.reset();
    m_monitor.reset();
    m_socket = zmq::socket_t(m_context, zmq::socket_type::dealer);
    m_socket.set(zmq::sockopt::immediate, true);
    m_socket.set(zmq::sockopt::linger, 0);
    m_socket.set(zmq::sockopt::sndhwm, 1);
    m_socket.set(zmq::sockopt::reconnect_ivl, 250);
    m_socket.set(zmq::sockopt::reconnect_ivl_max, 2000);
    m_socket.set(zmq::sockopt::handshake_ivl, handshakeMilliseconds);
    m_socket.set(zmq::sockopt::connect_timeout, attemptMilliseconds);
    m_socket.set(zmq::sockopt::ipv6, m_ipv6);
    if (m_security) {
        m_security->secureClient(m_socket, *m_certificate);
    }
    OneWay::prepare(m_socket);
    m_oneWay = {};
    m_monitor = std::make_unique<ConnectionMonitor>(
        m_context, m_socket, OneWay::events | ConnectionMonitor::handshakeFailures);
    m_watched.emplace(m_poller, m_monitor->socket(), Source::ExplicitPeers);
    m_socket.connect(m_endpoint);
    m_failed = false;
}

void ExplicitPeer::disconnect()
{
    m_watched.reset();
    m_monitor.reset();
    m_socket.close();
}

void ExplicitPeer::tryNext(int64_t now)
{
    while (!m_round.empty() && m_security->find(m_round.back()->publicKey) != m_round.back()) {
        m_round.pop_back();
    }
    if (m_round.empty()) {
        for (const auto& [key, certificate] : m_security->known().byKey) {
            m_round.push_back(certificate);
        }
        m_nextTry = now + pauseMilliseconds;
    }
    if (m_round.empty()) {
        return;
    }
    m_certificate = m_round.back();
    m_round.pop_back();
    connect();
}

ConnectionEnd ExplicitPeer::tend(int64_t now)
{
    ConnectionEnd end = ConnectionEnd::None;
    while (const auto event = m_monitor ? m_monitor->next() : std::nullopt) {
        if (event->kind == ZMQ_EVENT_CONNECTED) {
            m_oneWay.connected(static_cast<int>(event->value), now);
            continue;
        }
        if (event->isOtherMechanism()) {
            end = ConnectionEnd::OtherMechanism;
        } else if (event->isNotLetIn()) {
            end = ConnectionEnd::Refused;
        }
        m_failed = true;
        // The key was the right one, and ours is not let in; or no key can help. Else the next one is tried at once.
        if (!m_security || event->isRefusal()) {
            m_nextTry = now + pauseMilliseconds;
        }
    }
    // While something waits there to be read ZeroMQ does not see that the connection has ended, and makes no other.
    const bool isAnswered = m_monitor && (m_socket.get(zmq::sockopt::events) & ZMQ_POLLIN) != 0;
    if (isAnswered || m_oneWay.isMisused(m_port, now)) {
        logWarning("the peer at " + m_place + " sends where it should only listen");
        disconnect();
        m_failed = true;
        m_nextTry = now + pauseMilliseconds;
    }
    if (m_security) {
        const bool isGone = m_certificate && !m_security->find(m_certificate->publicKey);
        if (isGone) {
            m_certificate.reset();
            disconnect();
        }
        if ((m_failed || !m_certificate) && (!m_round.empty() || now >= m_nextTry)) {
            tryNext(now);
        }
    } else if (m_failed && now >= m_nextTry) {
        m_nextTry = now + pauseMilliseconds; // should it come to nothing
        connect();
    }
    return end;
}

bool ExplicitPeer::probe(const std::string& message)
{
    return m_monitor && m_socket.send(zmq::buffer(message), zmq::send_flags::dontwait).has_value();
}

} // namespace qny
