// SPDX-License-Identifier: Apache-2.0
// Who is let in, who is cut off, and what the log says of it.
#include "core.h"
#include "message_origin.h"
#include "network.h"

#include <algorithm>

namespace qny {

namespace {

constexpr size_t mostTold = 256;

} // namespace

bool Network::isGenuine(const wire::Header& header, const zmq::message_t& message, int fd, CertificatePtr& certificate)
{
    const std::string_view key = provedKeyOf(message);
    const auto it = m_links.find(header.sender);
    if (it != m_links.end()) {
        Link& link = *it->second;
        certificate = link.peer()->certificate;
        if (certificate->publicKey == key) {
            noteConnection(link, fd);
            return true;
        }
        // A beacon that was not its own may have led to the wrong key. Who proves one is believed, and nobody can take
        // the place of a peer that is there.
        if (link.isOpen() || header.type != wire::MessageType::Hello) {
            return false;
        }
    }
    certificate = m_security->find(key);
    if (certificate && !Security::fits(header.sender, *certificate)) {
        return false;
    }
    if (certificate && it != m_links.end()) {
        m_links.erase(it);
    }
    return certificate != nullptr;
}

void Network::attendDoor()
{
    const Doorkeeper::TurnedAway away = m_door->attend();
    if (away.isOtherMechanism) {
        tellOfOtherMechanism("a peer that tries to reach this one");
    }
    if (m_door->isCrowded()) {
        endStrangers(Doorkeeper::maxStrangers);
    }
    const Security::Answered answered = m_security ? m_security->answer() : Security::Answered {};
    m_isDoorLeft = away.isMoreLeft || answered.isMoreLeft;
    const size_t turnedAway = away.count + answered.turnedAway;
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
        {
            const std::lock_guard lock(m_core.mutex);
            m_links.at(uuid)->peer()->isCutOff = true;
        }
        drop(uuid, "its certificate is not let in any more", true);
    }
    if (change == Security::Change::Removed) {
        // The connections stand that were let in by it. One of which it is not known yet whose it is comes again by
        // itself.
        attendDoor();
        endStrangers(0);
    }
    m_told.clear();
}

// Connections of which it is not known that they are a peer's.
void Network::endStrangers(size_t most)
{
    m_door->endStrangers([this](int fd, uint16_t port) { return isPeers(fd, port); }, most);
}

bool Network::isPeers(int fd, uint16_t port) const
{
    return std::ranges::any_of(
        m_links, [&](const auto& each) { return each.second->inboundFd == fd && each.second->inboundPort == port; });
}

void Network::noteConnection(Link& link, int fd)
{
    if (fd != link.inboundFd) {
        link.inboundFd = fd;
        link.inboundPort = portOfOtherEnd(fd);
    }
}

void Network::receiveBeacon(const wire::Beacon& beacon, const std::string& from)
{
    if (beacon.mark.has_value() != (m_security != nullptr)) {
        tellOfOtherMechanism("the peer at " + from + ":" + std::to_string(beacon.port));
        return;
    }
    if (!m_links.contains(beacon.sender) && isFlooded() && !m_sieve.isSteady(beacon, from, steadyMilliseconds())) {
        return;
    }
    if (!m_security) {
        hint({ beacon.sender, from, beacon.port, nullptr }, Hint::Beacon);
        return;
    }
    if (const auto it = m_links.find(beacon.sender); it != m_links.end()) {
        // Who has the public certificate can make its beacons, too, and lead to the wrong place.
        const CertificatePtr certificate = it->second->peer()->certificate;
        if (it->second->isByBeacon && !it->second->isOpen() && m_marksLeft > 0) {
            --m_marksLeft;
            if (Security::mark(*certificate, beacon, from) == *beacon.mark) {
                hint({ beacon.sender, from, beacon.port, certificate }, Hint::Beacon);
            }
        }
        return;
    }
    if (m_marksLeft < m_security->known().byKey.size()) {
        return;
    }
    m_marksLeft -= m_security->known().byKey.size();
    if (CertificatePtr certificate = m_security->sender(beacon, from)) {
        if (!Security::fits(beacon.sender, *certificate)) {
            return;
        }
        hint({ beacon.sender, from, beacon.port, std::move(certificate) }, Hint::Beacon);
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
