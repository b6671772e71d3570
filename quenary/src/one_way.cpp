// SPDX-License-Identifier: Apache-2.0
#include "one_way.h"

#include "doorkeeper.h"

namespace qny {

namespace {

// Greetings, handshakes and heartbeats of ZeroMQ take a tenth of that.
constexpr uint64_t oneWayBytes = 64 * 1024;
constexpr uint64_t oneWayBytesOfASecond = 512;
constexpr int64_t oneWayLookMilliseconds = 100;

} // namespace

void OneWay::prepare(zmq::socket_t& socket)
{
    socket.set(zmq::sockopt::maxmsgsize, static_cast<int64_t>(oneWayBytes));
    socket.set(zmq::sockopt::rcvhwm, 1);
}

void OneWay::connected(int fd, int64_t now)
{
    m_fd = fd;
    m_since = now;
    m_nextLook = now;
}

bool OneWay::isMisused(uint16_t port, int64_t now)
{
    if (m_fd < 0 || now < m_nextLook) {
        return false;
    }
    m_nextLook = now + oneWayLookMilliseconds;
    // It may be gone, and its descriptor another's.
    return portOfOtherEnd(m_fd) == port
        && bytesReceived(m_fd) > oneWayBytes + oneWayBytesOfASecond * static_cast<uint64_t>((now - m_since) / 1000);
}

} // namespace qny
