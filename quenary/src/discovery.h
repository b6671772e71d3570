// SPDX-License-Identifier: Apache-2.0
// Beacons by UDP multicast. They are hints from strangers: an address to try, nothing more.
#pragma once

#include "devices.h"
#include "wire.h"

#include <netinet/in.h>
#include <string>
#include <sys/socket.h>

namespace qny {

union SocketAddress {
    sockaddr any;
    sockaddr_in four;
    sockaddr_in6 six;
};

class Discovery
{
public:
    Discovery() = default;
    ~Discovery() { close(); }
    Discovery(const Discovery&) = delete;
    Discovery& operator=(const Discovery&) = delete;

    qny_result_t open(const Device& device, uint16_t port);
    void close();
    bool isOpen() const { return m_receiver >= 0; }
    int fd() const { return m_receiver; }
    void send(const wire::Beacon& beacon);
    // False when there is no more for now. `valid` is false for a datagram that is none of ours.
    bool receive(wire::Beacon& beacon, std::string& fromAddress, bool& valid);

private:
    int m_receiver = -1;
    int m_sender = -1;
    bool m_ipv6 = false;
    SocketAddress m_group {};
    unsigned m_deviceIndex = 0;
    bool m_sendFailed = false;
};

} // namespace qny
