// SPDX-License-Identifier: Apache-2.0
// Sends beacons, and what is none, to the discovery of this test process, from an address of this machine.
#pragma once

#include "loopback.h"
#include "peerprocess.h"

namespace test {

class BeaconSocket
{
public:
    explicit BeaconSocket(const char* from = "127.0.0.1")
        : socket(SOCK_DGRAM, from)
    {
        in_addr loopback {};
        loopback.s_addr = htonl(INADDR_LOOPBACK);
        setsockopt(socket.fd(), IPPROTO_IP, IP_MULTICAST_IF, &loopback, sizeof loopback);
        group.sin_family = AF_INET;
        group.sin_port = htons(discoveryPort());
        inet_pton(AF_INET, "239.255.86.71", &group.sin_addr);
    }

    void send(const std::string& text) const
    {
        sendto(socket.fd(), text.data(), text.size(), 0, reinterpret_cast<const sockaddr*>(&group), sizeof group);
    }

private:
    HeldPort socket;
    sockaddr_in group {};
};

} // namespace test
