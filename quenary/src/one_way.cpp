// SPDX-License-Identifier: Apache-2.0
#include "one_way.h"

#include "doorkeeper.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

namespace qny {

namespace {

// Greetings and handshakes of ZeroMQ take a tenth of that.
constexpr uint64_t oneWayBytes = 64 * 1024;
constexpr uint64_t oneWayBytesOfASecond = 512;
constexpr int64_t oneWayLookMilliseconds = 500;

// TCP_RTO_MAX_MS, which is younger than the headers of many systems: since Linux 6.15.
constexpr int longestRetryOption = 44;
constexpr int longestRetryMilliseconds = 1000;

void retryOften(int fd)
{
    // A system that lacks the first has the second: the first six times as soon as the very first, as long as little is
    // under way.
    const int on = 1;
    (void)setsockopt(fd, IPPROTO_TCP, longestRetryOption, &longestRetryMilliseconds, sizeof longestRetryMilliseconds);
    (void)setsockopt(fd, IPPROTO_TCP, TCP_THIN_LINEAR_TIMEOUTS, &on, sizeof on);
}

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
    m_isHasty = false;
}

bool OneWay::isMisused(uint16_t port, int64_t now)
{
    if (m_fd < 0 || now < m_nextLook) {
        return false;
    }
    m_nextLook = now + oneWayLookMilliseconds;
    // It may be gone, and its descriptor another's.
    if (portOfOtherEnd(m_fd) != port) {
        return false;
    }
    if (!m_isHasty) {
        m_isHasty = true;
        retryOften(m_fd);
    }
    return bytesReceived(m_fd) > oneWayBytes + oneWayBytesOfASecond * static_cast<uint64_t>((now - m_since) / 1000);
}

} // namespace qny
