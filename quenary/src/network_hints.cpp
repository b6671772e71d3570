// SPDX-License-Identifier: Apache-2.0
// Where peers may be: whom to try, when more is said of that than can be tried.
#include "core.h"
#include "network.h"

#include <algorithm>
#include <map>

namespace qny {

namespace {

// What was tried for so long and did not answer gives way to another.
constexpr int64_t patienceMilliseconds = 300;
// Unless somebody seems to be there, and the other comes from an address of which as many are tried: where many start
// together on one machine, all are slow, and to begin again with each helps nobody.
constexpr int64_t patienceMillisecondsWith(Link::Progress progress)
{
    switch (progress) {
    case Link::Progress::None:
        return patienceMilliseconds;
    case Link::Progress::Connected:
        return 1000;
    case Link::Progress::Met:
        break;
    }
    return 3000;
}
// As many addresses are tried by beacons at a time before it is looked at how steadily each comes.
constexpr size_t triedBeforeSieve = wire::maxPendingLinks / 2;

} // namespace

bool Network::isFlooded() const
{
    const auto pending = std::ranges::count_if(
        m_links, [](const auto& each) { return !each.second->isOpen() && each.second->isByBeacon; });
    return static_cast<size_t>(pending) >= triedBeforeSieve;
}

void Network::receiveBeacons()
{
    wire::Beacon beacon;
    std::string from;
    bool valid = false;
    size_t left = m_sieve.budget(steadyMilliseconds());
    for (; left > 0 && m_discovery.receive(beacon, from, valid); --left) {
        if (!valid) {
            const std::lock_guard lock(m_core.mutex);
            m_core.refuse("a datagram from " + from + " that is no beacon");
        } else if (beacon.sender != m_identity.uuid) {
            receiveBeacon(beacon, from);
        }
    }
    m_sieve.setBudget(left);
}

Link* Network::hint(const Destination& said, Hint by)
{
    Destination peer = said;
    OtherPlaces others;
    if (const auto it = m_links.find(peer.uuid); it != m_links.end()) {
        Link& known = *it->second;
        const bool isElsewhere = known.address() != peer.address || known.port() != peer.port;
        if (!known.isByBeacon || known.theirSession != 0 || !isElsewhere) {
            return &known;
        }
        // Somebody may have sent a beacon in its name.
        if (steadyMilliseconds() - known.since < patienceMilliseconds) {
            if (by == Hint::Beacon) {
                known.others.note(peer);
            }
            return &known;
        }
        if (by == Hint::Beacon) {
            others = std::move(known.others);
            peer = others.takeAny(peer);
        }
        m_links.erase(it);
    }
    if (peer.port == 0 || peer.address.empty() || !makeRoom(peer, by)) {
        return nullptr;
    }
    try {
        const bool ipv6 = peer.address.find(':') != std::string::npos;
        auto link
            = std::make_unique<Link>(m_core, m_context, m_poller, m_identity, peer, sourceFor(ipv6), m_security.get());
        link->isByBeacon = by == Hint::Beacon;
        link->others = std::move(others);
        m_nextLook = 0;
        logDebug("trying peer " + toText(peer.uuid) + " at " + peer.address + ":" + std::to_string(peer.port));
        return m_links.emplace(peer.uuid, std::move(link)).first->second.get();
    } catch (const zmq::error_t& error) {
        logWarning("no link to " + peer.address + ":" + std::to_string(peer.port) + ": " + error.what());
        return nullptr;
    }
}

// Beacons and connections have room of their own. Where there is none left, it is made by the one of
// the address of which most are tried that got least far, and of those by the one that is tried longest.
bool Network::makeRoom(const Destination& peer, Hint by)
{
    struct Tried
    {
        size_t count = 0;
        const Link* first = nullptr; // to give way
    };
    std::map<std::string, Tried> pending; // by address
    size_t count = 0;
    size_t open = 0;
    for (const auto& [uuid, link] : m_links) {
        if (link->isOpen()) {
            ++open;
            continue;
        }
        if (link->isByBeacon != (by == Hint::Beacon)) {
            continue;
        }
        if (by == Hint::Beacon && link->port() == peer.port && link->address() == peer.address) {
            return false; // whoever is there will say who it is
        }
        ++count;
        Tried& tried = pending[link->address()];
        ++tried.count;
        const auto rank = [](const Link& each) { return std::pair(each.progress(), each.since); };
        if (!tried.first || rank(*link) < rank(*tried.first)) {
            tried.first = link.get();
        }
    }
    if (open >= wire::maxPeers || count < wire::maxPendingLinks) {
        return open < wire::maxPeers;
    }
    const auto [most, first]
        = std::ranges::max_element(pending, {}, [](const auto& each) { return each.second.count; })->second;
    const bool isCrowd = most > pending[peer.address].count + 1;
    if (steadyMilliseconds() - first->since
        < (isCrowd ? patienceMilliseconds : patienceMillisecondsWith(first->progress()))) {
        return false;
    }
    m_links.erase(first->peer()->uuid);
    return true;
}

} // namespace qny
