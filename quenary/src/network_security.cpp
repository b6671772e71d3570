// SPDX-License-Identifier: Apache-2.0
// Who is let in, who is cut off, and what the log says of it.
#include "core.h"
#include "network.h"

#include <algorithm>
#include <arpa/inet.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

namespace qny {

namespace {

constexpr size_t mostTold = 256;
constexpr rlim_t mostDescriptors = 65'536;

uint16_t portOf(const sockaddr_storage& address)
{
    switch (address.ss_family) {
    case AF_INET:
        return ntohs(reinterpret_cast<const sockaddr_in&>(address).sin_port);
    case AF_INET6:
        return ntohs(reinterpret_cast<const sockaddr_in6&>(address).sin6_port);
    default:
        return 0;
    }
}

// 0 when the descriptor is no connection.
uint16_t portOfOtherEnd(int fd)
{
    sockaddr_storage address {};
    socklen_t size = sizeof address;
    return getpeername(fd, reinterpret_cast<sockaddr*>(&address), &size) == 0 ? portOf(address) : uint16_t { 0 };
}

uint16_t portOfOurEnd(int fd)
{
    sockaddr_storage address {};
    socklen_t size = sizeof address;
    return getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size) == 0 ? portOf(address) : uint16_t { 0 };
}

// A descriptor that stays the same connection while it is looked at: ZeroMQ may close the original, and the number may
// become another's.
class HeldDescriptor
{
public:
    explicit HeldDescriptor(int fd)
        : m_fd(dup(fd))
    {
    }
    ~HeldDescriptor()
    {
        if (m_fd >= 0) {
            ::close(m_fd);
        }
    }
    HeldDescriptor(const HeldDescriptor&) = delete;
    HeldDescriptor& operator=(const HeldDescriptor&) = delete;
    int get() const { return m_fd; }

private:
    int m_fd;
};

const char* keyOf(const zmq::message_t& message)
{
    const char* key = zmq_msg_gets(const_cast<zmq_msg_t*>(message.handle()), "User-Id");
    return key ? key : "";
}

} // namespace

bool Network::isGenuine(const wire::Header& header, const zmq::message_t& message, CertificatePtr& certificate)
{
    const std::string_view key = keyOf(message);
    const auto it = m_links.find(header.sender);
    if (it != m_links.end()) {
        Link& link = *it->second;
        certificate = link.peer()->certificate;
        if (certificate->publicKey == key) {
            const int fd = zmq_msg_get(message.handle(), ZMQ_SRCFD);
            if (fd != link.inboundFd) {
                link.inboundFd = fd;
                link.inboundPort = portOfOtherEnd(fd);
            }
            return true;
        }
        // A beacon that was not its own may have led to the wrong key. Who proves one is believed, and nobody can take
        // the place of a peer that is there.
        if (link.isOpen() || header.type != wire::MessageType::Hello) {
            return false;
        }
    }
    certificate = m_security->find(key);
    if (certificate && it != m_links.end()) {
        m_links.erase(it);
    }
    return certificate != nullptr;
}

void Network::attendDoor()
{
    size_t turnedAway = 0;
    while (const auto event = m_inboxMonitor->next()) {
        if (event->isOtherMechanism()) {
            tellOfOtherMechanism("a peer that tries to reach this one");
        } else {
            logDebug("a connection did not begin as a peer of this network begins one");
        }
        ++turnedAway;
    }
    turnedAway += m_security ? m_security->answer() : 0;
    if (turnedAway > 0) {
        const std::lock_guard lock(m_core.mutex);
        m_core.statistics.connectionsRefused += turnedAway;
    }
}

void Network::refreshCertificates()
{
    if (!m_security) {
        return;
    }
    const Security::Change change = m_security->refresh();
    if (change == Security::Change::None) {
        return;
    }
    std::vector<Uuid> removed;
    for (const auto& [uuid, link] : m_links) {
        if (CertificatePtr now = m_security->find(link->peer()->certificate->publicKey)) {
            const std::lock_guard lock(m_core.mutex);
            link->peer()->certificate = std::move(now);
        } else {
            removed.push_back(uuid);
        }
    }
    for (const Uuid& uuid : removed) {
        drop(uuid, "its certificate is not let in any more", true);
    }
    if (change == Security::Change::Removed) {
        cutUnknownConnections();
    }
    m_told.clear();
}

// Removing a certificate leaves the connections standing that were let in by it, and ZeroMQ has no way to end one: they
// are ended below it. Everybody else's stays; one of which it is not known yet whose it is comes again by itself.
void Network::cutUnknownConnections()
{
    rlimit limit {};
    getrlimit(RLIMIT_NOFILE, &limit);
    const auto end = static_cast<int>(std::min(limit.rlim_cur, mostDescriptors));
    for (int fd = 0; fd < end; ++fd) {
        if (portOfOurEnd(fd) != m_port) {
            continue;
        }
        const HeldDescriptor held(fd);
        const uint16_t port = portOfOtherEnd(held.get());
        const bool isKnown = std::ranges::any_of(m_links,
            [&](const auto& each) { return each.second->inboundFd == fd && each.second->inboundPort == port; });
        if (port != 0 && portOfOurEnd(held.get()) == m_port && !isKnown) {
            shutdown(held.get(), SHUT_RDWR);
        }
    }
}

void Network::receiveBeacon(const wire::Beacon& beacon, const std::string& from)
{
    if (beacon.mark.has_value() != (m_security != nullptr)) {
        tellOfOtherMechanism("the peer at " + from + ":" + std::to_string(beacon.port));
        return;
    }
    if (!m_security) {
        hint({ beacon.sender, from, beacon.port, nullptr });
        return;
    }
    if (m_links.contains(beacon.sender) || m_marksLeft < m_security->known().byKey.size()) {
        return;
    }
    m_marksLeft -= m_security->known().byKey.size();
    if (CertificatePtr certificate = m_security->sender(beacon, from)) {
        hint({ beacon.sender, from, beacon.port, std::move(certificate) });
        return;
    }
    const std::string place = from + ":" + std::to_string(beacon.port);
    if (m_told.size() < mostTold && m_told.insert(place).second) {
        logInfo("security: there is a secured peer at " + place + " whose certificate is none of those in "
            + m_security->directory());
    }
}

void Network::tellOfOtherMechanism(const std::string& whom)
{
    if (std::exchange(m_otherMechanismTold, true)) {
        return;
    }
    logWarning(m_security ? "security: " + whom + " is not secured and this process is: they do not meet"
                          : whom + " is secured and this process is not: they do not meet");
}

void Network::tellOfEnd(const std::string& place, ConnectionEnd end)
{
    if (end == ConnectionEnd::OtherMechanism) {
        tellOfOtherMechanism("the peer at " + place);
    } else if (end == ConnectionEnd::Refused && m_security && m_told.size() < mostTold && m_told.insert(place).second) {
        logWarning("security: the peer at " + place + " does not let this process in: the certificate "
            + m_security->own()->name + " is not among its public ones, or its own is not the one that is known here");
    }
}

} // namespace qny
