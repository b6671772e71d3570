// SPDX-License-Identifier: Apache-2.0
// What strangers may do to a network, with tools of their own: none of it uses the network library. Each attack goes on
// in a thread of its own until it is forgotten, on the loopback device alone.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace recorder::testing {

/// A peer as anybody on the network can know it: by its beacon.
struct HeardPeer
{
    std::string uuid; ///< 16 bytes
    std::uint16_t port = 0;
    bool isSecured = false;
};
/// Who sends beacons on this discovery port, heard for a little more than a second.
std::vector<HeardPeer> listenForPeers(std::uint16_t discoveryPort);

/// What is attacked.
struct Target
{
    std::uint16_t discoveryPort = 0;
    HeardPeer attacked; ///< the recorder
    HeardPeer other; ///< one whom it records
    std::string otherAgent; ///< by what name
};

class Attack
{
public:
    /// `step` is called again and again with the number of the call; it returns how much it did.
    using Step = std::function<std::uint64_t(std::uint64_t)>;
    explicit Attack(Step step);
    ~Attack();
    Attack(const Attack&) = delete;
    Attack& operator=(const Attack&) = delete;

    /// Connections, datagrams, messages: whatever it is that it does.
    std::uint64_t done() const { return _done; }

private:
    std::atomic<std::uint64_t> _done { 0 };
    std::jthread _thread;
};

struct NamedAttack
{
    const char* name;
    std::function<std::unique_ptr<Attack>(const Target&)> begin;
};
/// Every attack there is.
const std::vector<NamedAttack>& allAttacks();

} // namespace recorder::testing
