// SPDX-License-Identifier: Apache-2.0
#include "wire.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <fcntl.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

namespace recorder::testing {

namespace {

constexpr int stepMs = 5; // how soon a new state is seen
constexpr std::size_t mostWaiting = 4 * 1024 * 1024;

sockaddr_in addressOf(const std::string& host, std::uint16_t port)
{
    sockaddr_in address {};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    ::inet_pton(AF_INET, host.c_str(), &address.sin_addr);
    return address;
}

void setUp(int socket)
{
    const int yes = 1;
    ::setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &yes, sizeof yes);
    ::fcntl(socket, F_SETFL, O_NONBLOCK);
}

} // namespace

Wire::Wire(const std::string& address, std::uint16_t serverPort)
    : m_address(address)
    , m_serverPort(serverPort)
{
    if (listen()) {
        m_thread = std::thread([this] { run(); });
    }
}

Wire::~Wire()
{
    m_mustEnd = true;
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

void Wire::set(State state)
{
    m_wanted = state;
    for (State now = m_reached; now != state; now = m_reached) {
        m_reached.wait(now);
    }
}

// On the port that it had before, once it had one.
bool Wire::listen()
{
    const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int yes = 1;
    ::setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    sockaddr_in address = addressOf(m_address, m_port);
    socklen_t size = sizeof address;
    if (::bind(listener, reinterpret_cast<sockaddr*>(&address), size) != 0 || ::listen(listener, 64) != 0
        || ::getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
        ::close(listener);
        return false;
    }
    setUp(listener);
    m_listener = listener;
    m_port = ntohs(address.sin_port);
    return true;
}

void Wire::take(State state)
{
    if (m_state == State::Deaf || state == State::Cut) {
        closeAll(); // a part of what was said is missing
    }
    if (state == State::Cut) {
        ::close(std::exchange(m_listener, -1));
    } else if (m_listener < 0 && !listen()) {
        return; // the port is not free yet: tried again with the next step
    }
    m_state = state;
    m_reached = state;
    m_reached.notify_all();
}

void Wire::run()
{
    while (!m_mustEnd) {
        if (const State wanted = m_wanted; wanted != m_state) {
            take(wanted);
        }
        std::vector<pollfd> watched;
        if (m_listener >= 0) {
            watched.push_back({ m_listener, POLLIN, 0 });
        }
        for (const auto& connection : m_connections) {
            for (const Lane* lane : { &connection->asked, &connection->answered }) {
                watched.push_back(
                    { lane->from, static_cast<short>(lane->waiting.size() < mostWaiting ? POLLIN : 0), 0 });
                watched.push_back({ lane->to, static_cast<short>(lane->waiting.empty() ? 0 : POLLOUT), 0 });
            }
        }
        if (::poll(watched.data(), watched.size(), stepMs) <= 0) {
            continue;
        }
        std::size_t at = m_listener >= 0 ? 1 : 0;
        std::erase_if(m_connections, [&](const std::unique_ptr<Connection>& connection) {
            const bool isGood = move(connection->asked, static_cast<short>(watched[at].revents), false)
                && move(connection->answered, static_cast<short>(watched[at + 2].revents), m_state == State::Deaf);
            at += 4;
            if (!isGood) {
                close(*connection);
            }
            return !isGood;
        });
        if (m_listener >= 0 && watched[0].revents != 0) {
            accept();
        }
    }
    closeAll();
    if (m_listener >= 0) {
        ::close(m_listener);
    }
}

void Wire::accept()
{
    const int client = ::accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
    if (client < 0) {
        return;
    }
    const int server = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const sockaddr_in address = addressOf(m_address, m_serverPort);
    if (::connect(server, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        ::close(client);
        ::close(server);
        return;
    }
    setUp(client);
    setUp(server);
    m_connections.push_back(
        std::make_unique<Connection>(Connection { client, server, { client, server, {} }, { server, client, {} } }));
}

// False when the connection is at its end.
bool Wire::move(Lane& lane, short events, bool isSwallowed)
{
    if ((events & (POLLIN | POLLHUP | POLLERR)) != 0) {
        char bytes[64 * 1024];
        const ssize_t count = ::recv(lane.from, bytes, sizeof bytes, 0);
        if (count == 0 || (count < 0 && errno != EAGAIN && errno != EINTR)) {
            return false;
        }
        if (count > 0 && !isSwallowed) {
            lane.waiting.append(bytes, static_cast<std::size_t>(count));
        }
    }
    if (!lane.waiting.empty()) {
        const ssize_t count = ::send(lane.to, lane.waiting.data(), lane.waiting.size(), MSG_NOSIGNAL);
        if (count < 0) {
            return errno == EAGAIN || errno == EINTR;
        }
        lane.waiting.erase(0, static_cast<std::size_t>(count));
    }
    return true;
}

void Wire::close(Connection& connection)
{
    ::close(connection.client);
    ::close(connection.server);
}

void Wire::closeAll()
{
    for (const auto& connection : m_connections) {
        close(*connection);
    }
    m_connections.clear();
}

} // namespace recorder::testing
