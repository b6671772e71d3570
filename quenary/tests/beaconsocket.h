// SPDX-License-Identifier: Apache-2.0
// Sends beacons, and what is none, to the discovery of this test process, from an address of this machine.
#pragma once

#include "peerprocess.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace test {

class BeaconSocket
{
public:
    explicit BeaconSocket(const char* from = "127.0.0.1")
        : fd(socket(AF_INET, SOCK_DGRAM, 0))
    {
        sockaddr_in source {};
        source.sin_family = AF_INET;
        inet_pton(AF_INET, from, &source.sin_addr);
        if (bind(fd, reinterpret_cast<const sockaddr*>(&source), sizeof source) != 0) {
            throw std::runtime_error(std::string("no socket at ") + from);
        }
        in_addr loopback {};
        loopback.s_addr = htonl(INADDR_LOOPBACK);
        setsockopt(fd, IPPROTO_IP, IP_MULTICAST_IF, &loopback, sizeof loopback);
        group.sin_family = AF_INET;
        group.sin_port = htons(discoveryPort());
        inet_pton(AF_INET, "239.255.86.71", &group.sin_addr);
    }
    ~BeaconSocket() { close(fd); }
    BeaconSocket(const BeaconSocket&) = delete;
    BeaconSocket& operator=(const BeaconSocket&) = delete;

    void send(const std::string& text) const
    {
        sendto(fd, text.data(), text.size(), 0, reinterpret_cast<const sockaddr*>(&group), sizeof group);
    }

private:
    int fd;
    sockaddr_in group {};
};

} // namespace test
