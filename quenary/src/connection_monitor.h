// SPDX-License-Identifier: Apache-2.0
// What becomes of the connections of one socket.
#pragma once

#include <cstdint>
#include <optional>
#include <zmq.hpp>

namespace qny {

// What keeps two peers apart.
enum class ConnectionEnd
{
    None,
    Gone, // nobody listens there (any more): the process has ended, or never was there
    Refused, // it lets us not in, or is not who it should be
    OtherMechanism // one of both is secured and the other is not
};

// Before a socket is bound or connected: the system ends its connections to who is out of reach, within
// QNY_PRESENCE_BOUND_MS. ZeroMQ's own heartbeats would do that too, with a timer and messages for each.
void watchConnections(zmq::socket_t& socket);

class ConnectionMonitor
{
public:
    struct Event
    {
        uint16_t kind = 0; // ZMQ_EVENT_…
        uint32_t value = 0;
        // The other side is no peer that may or can speak with this one: trying again at once leads nowhere.
        bool isRefusal() const
        {
            return kind == ZMQ_EVENT_HANDSHAKE_FAILED_AUTH || kind == ZMQ_EVENT_HANDSHAKE_FAILED_PROTOCOL;
        }
        // It is who it should be, and does not know our key.
        bool isNotLetIn() const { return kind == ZMQ_EVENT_HANDSHAKE_FAILED_AUTH; }
        // One of them is secured and the other is not.
        bool isOtherMechanism() const
        {
            return kind == ZMQ_EVENT_HANDSHAKE_FAILED_PROTOCOL && value == ZMQ_PROTOCOL_ERROR_ZMTP_MECHANISM_MISMATCH;
        }
    };
    static constexpr int handshakeFailures
        = ZMQ_EVENT_HANDSHAKE_FAILED_NO_DETAIL | ZMQ_EVENT_HANDSHAKE_FAILED_AUTH | ZMQ_EVENT_HANDSHAKE_FAILED_PROTOCOL;

    // The socket outlives it.
    ConnectionMonitor(zmq::context_t& context, zmq::socket_t& of, int events);
    ~ConnectionMonitor();
    ConnectionMonitor(const ConnectionMonitor&) = delete;
    ConnectionMonitor& operator=(const ConnectionMonitor&) = delete;

    zmq::socket_t& socket() { return m_reader; }
    std::optional<Event> next();

private:
    zmq::socket_t& m_of;
    zmq::socket_t m_reader;
};

} // namespace qny
