// SPDX-License-Identifier: Apache-2.0
#include "doorkeeper.h"

#include "report.h"
#include "wire.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <linux/filter.h>
#include <linux/tcp.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>
#include <unordered_map>
#include <utility>
#include <vector>

namespace qny {

namespace {

// Six for each of 256 peers, one for each stranger, and the process's own.
constexpr rlim_t wantedDescriptors = 4096;
constexpr int eventsAtOnce = 4096;
constexpr int mostRefused = 1000;
constexpr size_t mostKept = 4096;
constexpr int64_t lookMilliseconds = 100;
// While all is read that comes, peers are looked at in one of so many: the system is asked for each.
constexpr unsigned looksOfAPeer = 5;
constexpr int64_t warningMilliseconds = 10'000;
constexpr int64_t longestShutMilliseconds = 1000;
// What may come of one connection before the end of a message, or wait to be read: a message, and what makes it up on
// the way.
constexpr uint64_t mostOfAStranger = 2 * wire::maxMessageBytes;
// Of a peer all that it may send ahead: it may have been this process that stood still.
constexpr uint64_t mostOfAPeer = 16 * wire::maxMessageBytes;

struct End
{
    std::string address; // of IPv6 the network, of which one machine may have every address
    uint16_t port = 0; // 0: no connection
};

End endOf(const sockaddr_storage& address)
{
    if (address.ss_family == AF_INET) {
        const auto& in = reinterpret_cast<const sockaddr_in&>(address);
        return { std::string(reinterpret_cast<const char*>(&in.sin_addr), 4), ntohs(in.sin_port) };
    }
    if (address.ss_family == AF_INET6) {
        const auto& in = reinterpret_cast<const sockaddr_in6&>(address);
        return { std::string(reinterpret_cast<const char*>(&in.sin6_addr), 8), ntohs(in.sin6_port) };
    }
    return {};
}

End otherEnd(int fd)
{
    sockaddr_storage address {};
    socklen_t size = sizeof address;
    return getpeername(fd, reinterpret_cast<sockaddr*>(&address), &size) == 0 ? endOf(address) : End {};
}

uint16_t portOfOurEnd(int fd)
{
    sockaddr_storage address {};
    socklen_t size = sizeof address;
    return getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size) == 0 ? endOf(address).port : uint16_t { 0 };
}

} // namespace

uint16_t portOfOtherEnd(int fd)
{
    return otherEnd(fd).port;
}

uint64_t bytesReceived(int fd)
{
    tcp_info info {};
    socklen_t size = sizeof info;
    return getsockopt(fd, IPPROTO_TCP, TCP_INFO, &info, &size) == 0 ? info.tcpi_bytes_received : 0;
}

void raiseDescriptorLimit()
{
    rlimit limit {};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur >= wantedDescriptors) {
        return;
    }
    limit.rlim_cur = std::min(limit.rlim_max, wantedDescriptors);
    if (setrlimit(RLIMIT_NOFILE, &limit) != 0) {
        logDebug(std::string("the limit of open files stays as it is: ") + std::strerror(errno));
    }
}

Doorkeeper::Doorkeeper(zmq::context_t& context, zmq::socket_t& inbox)
    : m_monitor(context, inbox,
          ZMQ_EVENT_LISTENING | ZMQ_EVENT_ACCEPTED | ZMQ_EVENT_DISCONNECTED | ZMQ_EVENT_HANDSHAKE_FAILED_NO_DETAIL
              | ZMQ_EVENT_HANDSHAKE_FAILED_PROTOCOL)
{
}

Doorkeeper::TurnedAway Doorkeeper::attend()
{
    TurnedAway away;
    for (int i = 0; i < eventsAtOnce; ++i) {
        const auto event = m_monitor.next();
        if (!event) {
            return away;
        }
        switch (event->kind) {
        case ZMQ_EVENT_LISTENING:
            m_listeners.push_back(static_cast<int>(event->value));
            break;
        case ZMQ_EVENT_ACCEPTED:
            enter(static_cast<int>(event->value));
            break;
        case ZMQ_EVENT_DISCONNECTED:
            m_visitors.erase(static_cast<int>(event->value));
            break;
        default:
            away.isOtherMechanism = away.isOtherMechanism || event->isOtherMechanism();
            ++away.count;
        }
    }
    away.isMoreLeft = true;
    return away;
}

// The system drops what asks for a connection. To listen no more would end those that stand, too.
void Doorkeeper::shut(int64_t now)
{
    if (std::exchange(m_isShut, true)) {
        return;
    }
    m_openAt = now + longestShutMilliseconds;
    sock_filter dropAll = BPF_STMT(BPF_RET | BPF_K, 0);
    const sock_fprog program { .len = 1, .filter = &dropAll };
    for (const int fd : m_listeners) {
        if (setsockopt(fd, SOL_SOCKET, SO_ATTACH_FILTER, &program, sizeof program) != 0) {
            logDebug(std::string("new connections cannot be held off: ") + std::strerror(errno));
        }
    }
    if (now >= m_nextWarning) {
        m_nextWarning = now + warningMilliseconds;
        logWarning("more is sent here by strangers than can be read: no new connection is taken until it is read");
    }
}

void Doorkeeper::open()
{
    if (!std::exchange(m_isShut, false)) {
        return;
    }
    const int unused = 0;
    for (const int fd : m_listeners) {
        setsockopt(fd, SOL_SOCKET, SO_DETACH_FILTER, &unused, sizeof unused);
    }
}

void Doorkeeper::enter(int fd)
{
    m_visitors.erase(fd);
    const End from = otherEnd(fd);
    // It may be gone already, and its descriptor another's.
    if (from.port != 0 && portOfOurEnd(fd) == m_port) {
        Visitor& visitor = m_visitors[fd] = { .address = from.address, .port = from.port, .number = ++m_count };
        visitor.bytes = visitor.read = bytesReceived(fd); // what came before is not held against it
    }
}

// ZeroMQ has no way to end a connection: it is ended below it. The descriptor is held so that it stays the same
// connection while it is looked at; ZeroMQ may close the original, and the number may become another's.
bool Doorkeeper::end(int fd, const Visitor& visitor) const
{
    const int held = dup(fd);
    if (held < 0) {
        return false;
    }
    const End from = otherEnd(held);
    const bool isSame = from.port == visitor.port && from.address == visitor.address && portOfOurEnd(held) == m_port;
    if (isSame) {
        shutdown(held, SHUT_RDWR);
    }
    close(held);
    return isSame;
}

void Doorkeeper::endStrangers(const IsPeers& isPeers, size_t most)
{
    std::unordered_map<std::string, std::vector<std::pair<uint64_t, int>>> byAddress;
    size_t count = 0;
    for (const auto& [fd, visitor] : m_visitors) {
        if (!visitor.isEnded && !isPeers(fd, visitor.port)) {
            byAddress[visitor.address].emplace_back(visitor.number, fd);
            ++count;
        }
    }
    if (count <= most) {
        return;
    }
    for (auto& [address, visitors] : byAddress) {
        std::ranges::sort(visitors, std::greater()); // who came first is last
    }
    for (; count > most; --count) {
        const auto size = [](const auto& each) { return each.second.size(); };
        auto& visitors = std::ranges::max_element(byAddress, {}, size)->second;
        const int fd = visitors.back().second;
        visitors.pop_back();
        Visitor& visitor = m_visitors.at(fd);
        visitor.isEnded = end(fd, visitor);
    }
}

bool Doorkeeper::speaksFor(const zmq::message_t& message, const Uuid& peer)
{
    const auto it = m_visitors.find(descriptorOf(message));
    if (it == m_visitors.end()) {
        return true; // it came and went, and left a message behind
    }
    Visitor& visitor = it->second;
    if (const void* const connection = connectionOf(message); !visitor.peer || visitor.connection != connection) {
        visitor.connection = connection;
        visitor.peer = peer;
    }
    return *visitor.peer == peer;
}

void Doorkeeper::endEndless(const IsPeers& isPeers, int64_t now)
{
    if (now < m_nextLook) {
        return;
    }
    m_nextLook = now + lookMilliseconds;
    const bool isAtAll = !m_isAllHeard || ++m_looks % looksOfAPeer == 0;
    for (auto& [fd, visitor] : m_visitors) {
        const auto place = static_cast<size_t>(fd);
        const uint64_t heard = place < m_heard.size() ? m_heard[place] : 0;
        if (!isAtAll && isPeers(fd, visitor.port)) {
            visitor.isPassed = true;
            visitor.isHeard = visitor.isHeard || heard > 0;
            continue;
        }
        const uint64_t bytes = bytesReceived(fd);
        visitor.bytes = heard > 0 || visitor.isHeard || bytes < visitor.bytes ? bytes : visitor.bytes;
        visitor.read = m_isAllHeard || visitor.isPassed ? bytes : std::min(visitor.read + heard, bytes);
        visitor.isPassed = visitor.isHeard = false;
        if (visitor.isEnded) {
            continue;
        }
        const auto isBeyond = [&](uint64_t waiting) {
            return waiting > mostOfAStranger && (waiting > mostOfAPeer || !isPeers(fd, visitor.port));
        };
        if (isBeyond(bytes - visitor.bytes)) {
            visitor.isEnded = end(fd, visitor);
            logWarning("a connection was ended that sends a message without an end");
        } else if (isBeyond(bytes - visitor.read)) {
            visitor.isEnded = end(fd, visitor);
            logWarning("a connection was ended that sends more than can be read");
        }
    }
    m_heard.assign(m_heard.size(), 0);
    m_isAllHeard = false;
}

void Doorkeeper::refuse(const zmq::message_t& message)
{
    const int fd = descriptorOf(message);
    const void* const connection = connectionOf(message);
    const auto it = m_visitors.find(fd);
    if (it == m_visitors.end() || it->second.isEnded) {
        return;
    }
    Visitor& visitor = it->second;
    if (visitor.peer && visitor.connection != connection) {
        return; // it speaks for somebody: another, who is gone, has left this behind
    }
    if (visitor.refusedConnection != connection) {
        visitor.refusedConnection = connection;
        visitor.refused = 0;
        visitor.refusedBytes = 0;
    }
    visitor.refusedBytes += message.size();
    if (++visitor.refused <= mostRefused || m_refused.contains(connection)) {
        return;
    }
    // Of long ones it leaves few behind.
    if (message.size() <= mostKept) {
        zmq_msg_copy(m_refused[connection].handle(), const_cast<zmq_msg_t*>(message.handle()));
    }
    // Else somebody who is gone has left it behind, and the descriptor is another's.
    if (bytesReceived(fd) >= visitor.refusedBytes) {
        visitor.isEnded = end(fd, visitor);
    }
}

} // namespace qny
