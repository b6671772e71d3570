// SPDX-License-Identifier: Apache-2.0
// Hears everybody's beacons, and says in their names, when most others are not listened to, that they are elsewhere.
#pragma once

#include "beaconsocket.h"
#include "forged.h"
#include "peerprocess.h"

#include <atomic>
#include <chrono>
#include <csignal>
#include <functional>
#include <map>
#include <stdexcept>
#include <string>
#include <thread>

namespace test {

class Misleader
{
public:
    static constexpr char address[] = "127.0.0.99";
    // Makes a beacon at that address of one that was heard, of which the port was changed.
    using Seal = std::function<std::string(const std::string& heard, std::string changed)>;

    explicit Misleader(Seal seal = [](const std::string&, std::string changed) { return changed; })
        : m_seal(std::move(seal))
        , m_ears(SOCK_DGRAM, discoveryPort())
        , m_thread([this] { run(); })
    {
    }
    ~Misleader()
    {
        m_isOver = true;
        m_thread.join();
    }
    Misleader(const Misleader&) = delete;
    Misleader& operator=(const Misleader&) = delete;

private:
    using Clock = std::chrono::steady_clock;
    struct Heard
    {
        Clock::time_point when;
        int said = 0;
    };
    struct Ears
    {
        Ears(int type, uint16_t port)
            : fd(socket(AF_INET, type | SOCK_NONBLOCK, 0))
        {
            const int one = 1;
            setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &one, sizeof one);
            sockaddr_in place {};
            place.sin_family = AF_INET;
            place.sin_port = htons(port);
            ip_mreqn membership {};
            inet_pton(AF_INET, "239.255.86.71", &membership.imr_multiaddr);
            membership.imr_address.s_addr = htonl(INADDR_LOOPBACK);
            if (bind(fd, reinterpret_cast<sockaddr*>(&place), sizeof place) != 0
                || setsockopt(fd, IPPROTO_IP, IP_ADD_MEMBERSHIP, &membership, sizeof membership) != 0) {
                throw std::runtime_error("no beacons can be heard");
            }
        }
        ~Ears() { close(fd); }
        Ears(const Ears&) = delete;
        Ears& operator=(const Ears&) = delete;
        const int fd;
    };

    void hear()
    {
        char buffer[512];
        sockaddr_in from {};
        socklen_t fromSize = sizeof from;
        for (ssize_t size = 0;
            (size = recvfrom(m_ears.fd, buffer, sizeof buffer, 0, reinterpret_cast<sockaddr*>(&from), &fromSize))
            > 0;) {
            if (from.sin_addr.s_addr == htonl(INADDR_LOOPBACK)) {
                m_heard[std::string(buffer, static_cast<size_t>(size))] = { Clock::now() };
            }
        }
    }
    void run()
    {
        while (!m_isOver) {
            hear();
            for (auto& [beacon, each] : m_heard) {
                // A third of a second apart, the last right before the next true one; of those that are silent, too. In
                // turn, for what is said again is no news.
                const auto due = each.when + (each.said / 3) * 1000ms + (each.said % 3 + 1) * 315ms;
                if (Clock::now() >= due) {
                    std::string elsewhere = beacon;
                    elsewhere.replace(6, 2, raw(m_nobody[each.said % 2].port()));
                    m_mouth.send(m_seal(beacon, elsewhere));
                    ++each.said;
                }
            }
            std::this_thread::sleep_for(2ms);
        }
    }

    const Seal m_seal;
    const BeaconSocket m_mouth { address };
    // Neither refuses a connection nor says anything.
    const HeldPort m_nobody[2] { HeldPort(SOCK_STREAM, address), HeldPort(SOCK_STREAM, address) };
    const Ears m_ears;
    std::map<std::string, Heard> m_heard; // by beacon
    std::atomic<bool> m_isOver = false;
    std::thread m_thread; // last: it uses the others
};

// A peer that is here stands still until it is lost, and goes on, while somebody misleads both. Whether they meet
// again.
inline bool isMetAgainAfterStandingStill(AgentWatch& watch, PeerProcess& peer, const std::string& name)
{
    using namespace std::chrono_literals;
    std::this_thread::sleep_for(1500ms); // until the misleader knows whom there is
    peer.signal(SIGSTOP);
    if (!watch.wait(QNY_AGENT_EXITED, name)) {
        return false;
    }
    watch.clear();
    std::this_thread::sleep_for(1s);
    peer.signal(SIGCONT);
    return watch.wait(QNY_AGENT_ENTERED, name, 40s);
}

} // namespace test
