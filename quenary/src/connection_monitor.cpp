// SPDX-License-Identifier: Apache-2.0
#include "connection_monitor.h"

#include "quenary.h"
#include "text.h"

#include <cstring>
#include <string>

namespace qny {

namespace {

// An idle connection is asked after so long, again after so long, and given up after so many questions.
constexpr int idleSeconds = 2;
constexpr int questionSeconds = 1;
constexpr int questions = 3;

} // namespace

void watchConnections(zmq::socket_t& socket)
{
    socket.set(zmq::sockopt::tcp_keepalive, 1);
    socket.set(zmq::sockopt::tcp_keepalive_idle, idleSeconds);
    socket.set(zmq::sockopt::tcp_keepalive_intvl, questionSeconds);
    socket.set(zmq::sockopt::tcp_keepalive_cnt, questions);
    // Of what was said and not acknowledged.
    socket.set(zmq::sockopt::tcp_maxrt, QNY_PRESENCE_BOUND_MS);
}

ConnectionMonitor::ConnectionMonitor(zmq::context_t& context, zmq::socket_t& of, int events)
    : m_of(of)
    , m_reader(context, zmq::socket_type::pair)
{
    const std::string endpoint = "inproc://monitor-" + std::to_string(randomNumber());
    if (zmq_socket_monitor(m_of.handle(), endpoint.c_str(), events) == 0) {
        m_reader.set(zmq::sockopt::linger, 0);
        // No event ever waits for room: the library's thread for all input and output would wait with it.
        m_reader.set(zmq::sockopt::rcvhwm, 0);
        m_reader.connect(endpoint);
    }
}

ConnectionMonitor::~ConnectionMonitor()
{
    // Before its reader goes, for the same reason.
    zmq_socket_monitor(m_of.handle(), nullptr, 0);
}

std::optional<ConnectionMonitor::Event> ConnectionMonitor::next()
{
    try {
        zmq::message_t message;
        if (!m_reader.recv(message, zmq::recv_flags::dontwait)) {
            return std::nullopt;
        }
        Event event;
        if (message.size() >= sizeof event.kind + sizeof event.value) {
            std::memcpy(&event.kind, message.data(), sizeof event.kind);
            std::memcpy(&event.value, static_cast<const char*>(message.data()) + sizeof event.kind, sizeof event.value);
        }
        // The second part names the endpoint, which the socket's owner knows.
        while (message.more()) {
            (void)m_reader.recv(message, zmq::recv_flags::dontwait);
        }
        return event;
    } catch (const zmq::error_t&) {
        return std::nullopt;
    }
}

} // namespace qny
