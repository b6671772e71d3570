// SPDX-License-Identifier: Apache-2.0
// Connections of ours to others.
#pragma once

#include <cstdint>
#include <zmq.hpp>

namespace qny {

// A connection on which only we speak. Whoever sends something by it all the same, beyond what ZeroMQ says for itself,
// sends what nobody reads: it would be kept.
// What got lost on the way is said again within a second, so that a link that returns is used at once. The system would
// wait twice as long each time, and a peer be given up though its link is back.
class OneWay
{
public:
    static constexpr int events = ZMQ_EVENT_CONNECTED;
    // Before the socket is connected.
    static void prepare(zmq::socket_t& socket);

    void connected(int fd, int64_t now);
    // Looks after the connection, from time to time. The port is the one that we are connected to.
    bool isMisused(uint16_t port, int64_t now);

private:
    int m_fd = -1;
    int64_t m_since = 0;
    int64_t m_nextLook = 0;
    bool m_isHasty = false;
};

} // namespace qny
