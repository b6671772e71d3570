// SPDX-License-Identifier: Apache-2.0
#include "poller.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <sys/epoll.h>
#include <unistd.h>

namespace qny {

namespace {

constexpr size_t eventsAtOnce = 64;

[[noreturn]] void fail()
{
    throw zmq::error_t(errno);
}

} // namespace

Watched::Watched(Poller& poller, int fd, Source source, Link* link)
    : m_poller(poller)
    , m_number(++poller.m_count)
    , m_fd(fd)
    , m_source(source)
    , m_link(link)
{
    epoll_event event { .events = EPOLLIN, .data = { .u64 = m_number } };
    if (epoll_ctl(m_poller.m_fd, EPOLL_CTL_ADD, m_fd, &event) != 0) {
        fail();
    }
    m_poller.m_watched.emplace(m_number, this);
    m_poller.m_fresh.push_back(this);
}

Watched::Watched(Poller& poller, zmq::socket_t& socket, Source source, Link* link)
    : Watched(poller, socket.get(zmq::sockopt::fd), source, link)
{
}

Watched::~Watched()
{
    epoll_ctl(m_poller.m_fd, EPOLL_CTL_DEL, m_fd, nullptr);
    m_poller.m_watched.erase(m_number);
    std::erase(m_poller.m_fresh, this);
    std::erase(m_poller.m_ready, this);
}

void Watched::enable(bool enabled)
{
    if (enabled == m_enabled) {
        return;
    }
    m_enabled = enabled;
    epoll_event event { .events = enabled ? EPOLLIN : 0U, .data = { .u64 = m_number } };
    epoll_ctl(m_poller.m_fd, EPOLL_CTL_MOD, m_fd, &event);
}

Poller::Poller()
    : m_fd(epoll_create1(EPOLL_CLOEXEC))
{
    if (m_fd < 0) {
        fail();
    }
}

Poller::~Poller()
{
    close(m_fd);
}

const std::vector<Watched*>& Poller::wait(int64_t milliseconds, std::mutex& turn)
{
    m_ready.swap(m_fresh);
    m_fresh.clear();
    const auto timeout = m_ready.empty() ? std::clamp<int64_t>(milliseconds, 0, INT_MAX) : 0;
    std::array<epoll_event, eventsAtOnce> events {};
    turn.unlock();
    const int count = epoll_wait(m_fd, events.data(), static_cast<int>(events.size()), static_cast<int>(timeout));
    turn.lock();
    for (int i = 0; i < count; ++i) {
        // A copy: what the system wrote is packed, and nothing may refer to it.
        const uint64_t id = events[static_cast<size_t>(i)].data.u64;
        const auto it = m_watched.find(id);
        if (it != m_watched.end() && std::ranges::find(m_ready, it->second) == m_ready.end()) {
            m_ready.push_back(it->second);
        }
    }
    return m_ready;
}

} // namespace qny
