// SPDX-License-Identifier: Apache-2.0
#include "connection_monitor.h"

#include "text.h"

#include <cstring>
#include <string>

namespace qny {

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
