// SPDX-License-Identifier: Apache-2.0
#include "attackers.h"

#include "connections.h"

#include <algorithm>
#include <arpa/inet.h>
#include <chrono>
#include <cstring>
#include <list>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace recorder::testing {

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr const char* GROUP = "239.255.86.71";
constexpr const char* OTHER_ADDRESS = "127.0.0.77";
constexpr std::size_t HALF_OPEN = 1000;

/// A socket of beacons, from an address of the loopback device.
class BeaconSocket
{
public:
    explicit BeaconSocket(std::uint16_t port, std::uint32_t from = INADDR_LOOPBACK)
        : _fd(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_in source {};
        source.sin_family = AF_INET;
        source.sin_addr.s_addr = htonl(from);
        (void)bind(_fd, reinterpret_cast<const sockaddr*>(&source), sizeof source);
        in_addr loopback {};
        loopback.s_addr = htonl(INADDR_LOOPBACK);
        setsockopt(_fd, IPPROTO_IP, IP_MULTICAST_IF, &loopback, sizeof loopback);
        _group.sin_family = AF_INET;
        _group.sin_port = htons(port);
        inet_pton(AF_INET, GROUP, &_group.sin_addr);
    }
    ~BeaconSocket() { close(_fd); }
    BeaconSocket(const BeaconSocket&) = delete;
    BeaconSocket& operator=(const BeaconSocket&) = delete;

    void send(const std::string& text) const
    {
        passLink(1, text.size());
        (void)sendto(_fd, text.data(), text.size(), 0, reinterpret_cast<const sockaddr*>(&_group), sizeof _group);
    }

private:
    int _fd;
    sockaddr_in _group {};
};

std::string beacon(const std::string& uuid, std::uint16_t port)
{
    return std::string("QNYB\1\0", 6) + raw(port) + uuid;
}

std::uint16_t randomPort()
{
    std::uint16_t port = 0;
    std::memcpy(&port, randomBytes(sizeof port).data(), sizeof port);
    return std::max<std::uint16_t>(port, 1);
}

/// Keeps `count` connections, each beginning with what `opening` says of its number; those that were closed come again.
std::uint64_t keepConnections(std::list<Connection>& connections, std::size_t count, std::uint16_t port,
    const std::function<std::string(std::size_t)>& opening)
{
    std::erase_if(connections, [](const Connection& each) { return each.isClosed(); });
    std::uint64_t made = 0;
    for (; connections.size() < count && made < 200; ++made) {
        connections.emplace_back(port, connections.size() % 4 == 0 ? OTHER_ADDRESS : "127.0.0.1");
        connections.back().send(opening(connections.size()));
    }
    std::this_thread::sleep_for(25ms);
    return made;
}

std::unique_ptr<Attack> halfOpenConnections(const Target& target)
{
    auto open = std::make_shared<std::list<Connection>>();
    return std::make_unique<Attack>([open, port = target.attacked.port](std::uint64_t) {
        return keepConnections(*open, HALF_OPEN, port, [](std::size_t number) {
            return number % 3 == 0 ? std::string() : number % 3 == 1 ? greeting() : greeting("CURVE");
        });
    });
}

std::unique_ptr<Attack> handshakesCutAnywhere(const Target& target)
{
    return std::make_unique<Attack>([port = target.attacked.port](std::uint64_t number) -> std::uint64_t {
        const std::string whole = greeting(number % 2 ? "NULL" : "CURVE") + ready() + frame(randomBytes(100));
        std::string some = number % 5 == 4 ? randomBytes(300) : whole.substr(0, number % whole.size());
        if (number % 7 == 6 && !some.empty()) {
            some[number % some.size()] ^= static_cast<char>(1 << number % 8);
        }
        const Connection connection(port);
        connection.sendAll(some);
        return 1;
    });
}

std::unique_ptr<Attack> slowSenders(const Target& target)
{
    struct Slow
    {
        std::list<Connection> connections;
        std::size_t at = 0;
        Clock::time_point next = Clock::now();
    };
    auto slow = std::make_shared<Slow>();
    return std::make_unique<Attack>([slow, port = target.attacked.port](std::uint64_t) {
        // Half of them dawdle over the greeting, half over a message.
        const std::uint64_t made = keepConnections(slow->connections, 200, port, [](std::size_t number) {
            return number % 2 ? std::string() : greeting() + ready() + longFrame(1'000'000);
        });
        if (Clock::now() >= slow->next) {
            slow->next += 1s;
            const std::string whole = greeting();
            for (const Connection& each : slow->connections) {
                each.send(whole.substr(slow->at % whole.size(), 1));
            }
            ++slow->at;
        }
        return made;
    });
}

std::unique_ptr<Attack> oversizedFrames(const Target& target)
{
    return std::make_unique<Attack>([port = target.attacked.port](std::uint64_t number) -> std::uint64_t {
        const Connection connection(port);
        connection.sendAll(greeting() + ready());
        const std::string part(1 << 20, 'x');
        if (number % 2) {
            connection.sendAll(longFrame(std::uint64_t { 1 } << 62) + part);
            return 1;
        }
        connection.sendAll(longFrame(64 << 20));
        for (int i = 0; i < 64 && connection.sendAll(part); ++i) { }
        return 1;
    });
}

/// Messages of the largest size that is read, which say nothing.
std::unique_ptr<Attack> largeNonsense(const Target& target)
{
    auto connection = std::make_shared<std::unique_ptr<Connection>>();
    return std::make_unique<Attack>([connection, port = target.attacked.port](std::uint64_t) -> std::uint64_t {
        if (!*connection || (*connection)->isClosed()) {
            *connection = std::make_unique<Connection>(port);
            (*connection)->sendAll(greeting() + ready());
        }
        (*connection)->sendAll(frame(std::string((1 << 20) - 16, 'x')));
        return 1;
    });
}

std::unique_ptr<Attack> beaconsOfNobody(const Target& target)
{
    return std::make_unique<Attack>([port = target.discoveryPort](std::uint64_t number) -> std::uint64_t {
        // From the address of everybody, and from many.
        const BeaconSocket socket(port, INADDR_LOOPBACK + static_cast<std::uint32_t>(number % 2 ? number % 5000 : 0));
        for (int i = 0; i < 100; ++i) {
            socket.send(beacon(randomUuid(), randomPort()));
        }
        std::this_thread::sleep_for(5ms);
        return 100;
    });
}

/// Beacons in the names of those who are there, which lead elsewhere.
std::unique_ptr<Attack> beaconsInOthersNames(const Target& target)
{
    return std::make_unique<Attack>([target](std::uint64_t) -> std::uint64_t {
        const BeaconSocket socket(target.discoveryPort);
        for (int i = 0; i < 20; ++i) {
            socket.send(beacon(target.attacked.uuid, randomPort()));
            socket.send(beacon(target.other.uuid, randomPort()));
        }
        std::this_thread::sleep_for(5ms);
        return 40;
    });
}

/// Opens a link, shows an agent, publishes, and leaves or just goes.
std::uint64_t comeAndGo(std::uint16_t port, const std::string& agent, bool leaves)
{
    FalsePeer peer(port);
    if (!peer.open()) {
        return 1; // not let in
    }
    peer.enter(agent);
    for (int i = 0; i < 10; ++i) {
        peer.publish(i);
    }
    peer.answer();
    if (leaves) {
        peer.leave();
    }
    return 1;
}

std::unique_ptr<Attack> comersAndGoers(const Target& target)
{
    return std::make_unique<Attack>([port = target.attacked.port](std::uint64_t number) {
        return comeAndGo(port, "passer-by " + std::to_string(number), number % 2);
    });
}

/// Agents of strangers that have the name of the one that is recorded.
std::unique_ptr<Attack> claimedNames(const Target& target)
{
    return std::make_unique<Attack>([port = target.attacked.port, name = target.otherAgent](
                                        std::uint64_t number) { return comeAndGo(port, name, number % 2); });
}

/// The bytes of a connection sent again on others, while that goes on.
std::unique_ptr<Attack> replayedTraffic(const Target& target)
{
    auto peer = std::make_shared<std::unique_ptr<FalsePeer>>();
    return std::make_unique<Attack>([peer, port = target.attacked.port](std::uint64_t number) -> std::uint64_t {
        if (!*peer) {
            *peer = std::make_unique<FalsePeer>(port);
            if (!(*peer)->open()) {
                peer->reset();
                return 1; // not let in
            }
            (*peer)->enter("recorded");
        }
        (*peer)->publish(static_cast<std::int32_t>(number));
        (*peer)->answer();
        const Connection again(port);
        again.sendAll(greeting() + ready() + (*peer)->sent());
        if (number % 50 == 49) {
            peer->reset(); // and what is replayed from now on is of nobody
        }
        return 1;
    });
}

/// Says to each of two peers that it is the other, with a new link.
std::unique_ptr<Attack> claimedUuids(const Target& target)
{
    struct Thieves
    {
        std::unique_ptr<Connection> connections[2];
    };
    auto thieves = std::make_shared<Thieves>();
    return std::make_unique<Attack>([thieves, target](std::uint64_t) -> std::uint64_t {
        const HeardPeer* const ends[] = { &target.attacked, &target.other };
        for (int i = 0; i < 2; ++i) {
            auto& connection = thieves->connections[i];
            if (!connection || connection->isClosed()) {
                connection = std::make_unique<Connection>(ends[i]->port);
                connection->sendAll(greeting() + ready());
            }
            Speaker speaker { ends[1 - i]->uuid, ends[1 - i]->port };
            speaker.session = 4711;
            // In the true place and another one, a link of one's own and the end of the other's.
            connection->sendAll(frame(speaker.hello()) + frame(speaker.message(6)));
            speaker.port = randomPort();
            connection->sendAll(frame(speaker.hello()) + frame(speaker.message(5, raw<std::uint64_t>(1))));
        }
        std::this_thread::sleep_for(2ms);
        return 8;
    });
}

} // namespace

std::vector<HeardPeer> listenForPeers(std::uint16_t discoveryPort)
{
    const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    const int one = 1;
    setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &one, sizeof one);
    sockaddr_in address {};
    address.sin_family = AF_INET;
    address.sin_port = htons(discoveryPort);
    (void)bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address);
    ip_mreqn membership {};
    inet_pton(AF_INET, GROUP, &membership.imr_multiaddr);
    membership.imr_address.s_addr = htonl(INADDR_LOOPBACK);
    setsockopt(fd, IPPROTO_IP, IP_ADD_MEMBERSHIP, &membership, sizeof membership);
    const timeval patience { 0, 200'000 };
    setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    std::vector<HeardPeer> heard;
    for (const auto until = Clock::now() + 1500ms; Clock::now() < until;) {
        char buffer[64];
        if (recv(fd, buffer, sizeof buffer, 0) < 24) {
            continue;
        }
        HeardPeer peer { std::string(buffer + 8, 16), 0, (buffer[5] & 1) != 0 };
        std::memcpy(&peer.port, buffer + 6, sizeof peer.port);
        if (std::ranges::none_of(heard, [&](const HeardPeer& each) { return each.uuid == peer.uuid; })) {
            heard.push_back(peer);
        }
    }
    close(fd);
    return heard;
}

Attack::Attack(Step step)
    : _thread([this, step = std::move(step)](const std::stop_token& stop) {
        for (std::uint64_t number = 0; !stop.stop_requested(); ++number) {
            _done += step(number);
        }
    })
{
}

Attack::~Attack() = default;

const std::vector<NamedAttack>& allAttacks()
{
    static const std::vector<NamedAttack> all {
        { "half-open connections", halfOpenConnections },
        { "handshakes cut anywhere", handshakesCutAnywhere },
        { "slow senders", slowSenders },
        { "oversized frames", oversizedFrames },
        { "large nonsense", largeNonsense },
        { "beacons of nobody", beaconsOfNobody },
        { "beacons in others' names", beaconsInOthersNames },
        { "comers and goers", comersAndGoers },
        { "claimed names", claimedNames },
        { "replayed traffic", replayedTraffic },
        { "claimed uuids", claimedUuids },
    };
    return all;
}

} // namespace recorder::testing
