// SPDX-License-Identifier: Apache-2.0
#include "discovery.h"

#include "report.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace qny {

namespace {

// Of the blocks that stay within a site.
constexpr const char* group4 = "239.255.86.71";
constexpr const char* group6 = "ff15::5671:4e59";

qny_result_t systemError(const std::string& what)
{
    return fail(QNY_ERROR_SYSTEM, "Discovery cannot be set up: " + what + ": " + std::strerror(errno) + ".");
}

bool setOption(int fd, int level, int name, int value)
{
    return setsockopt(fd, level, name, &value, sizeof value) == 0;
}

SocketAddress socketAddress(bool ipv6, const char* address, uint16_t port)
{
    SocketAddress result {};
    if (ipv6) {
        result.six.sin6_family = AF_INET6;
        result.six.sin6_port = htons(port);
        inet_pton(AF_INET6, address, &result.six.sin6_addr);
    } else {
        result.four.sin_family = AF_INET;
        result.four.sin_port = htons(port);
        inet_pton(AF_INET, address, &result.four.sin_addr);
    }
    return result;
}

socklen_t sizeOf(bool ipv6)
{
    return ipv6 ? sizeof(sockaddr_in6) : sizeof(sockaddr_in);
}

bool bindTo(int fd, bool ipv6, const char* address, uint16_t port)
{
    const SocketAddress to = socketAddress(ipv6, address, port);
    return bind(fd, &to.any, sizeOf(ipv6)) == 0;
}

// Only the group and the device, whatever other programs have joined; and which it came by is told with each datagram.
// Before the port is bound: what comes then comes so.
bool prepare(int receiver, bool ipv6)
{
    return ipv6 ? setOption(receiver, IPPROTO_IPV6, IPV6_MULTICAST_ALL, 0)
            && setOption(receiver, IPPROTO_IPV6, IPV6_RECVPKTINFO, 1)
                : setOption(receiver, IPPROTO_IP, IP_MULTICAST_ALL, 0) && setOption(receiver, IPPROTO_IP, IP_PKTINFO, 1);
}

bool join4(int receiver, int sender, const Device& device)
{
    ip_mreqn membership {};
    inet_pton(AF_INET, group4, &membership.imr_multiaddr);
    inet_pton(AF_INET, device.address.c_str(), &membership.imr_address);
    membership.imr_ifindex = static_cast<int>(device.index);
    return setsockopt(receiver, IPPROTO_IP, IP_ADD_MEMBERSHIP, &membership, sizeof membership) == 0
        && setsockopt(sender, IPPROTO_IP, IP_MULTICAST_IF, &membership, sizeof membership) == 0
        && setOption(sender, IPPROTO_IP, IP_MULTICAST_LOOP, 1) && setOption(sender, IPPROTO_IP, IP_MULTICAST_TTL, 1);
}

bool join6(int receiver, int sender, const Device& device)
{
    ipv6_mreq membership {};
    inet_pton(AF_INET6, group6, &membership.ipv6mr_multiaddr);
    membership.ipv6mr_interface = device.index;
    return setsockopt(receiver, IPPROTO_IPV6, IPV6_JOIN_GROUP, &membership, sizeof membership) == 0
        && setOption(sender, IPPROTO_IPV6, IPV6_MULTICAST_IF, static_cast<int>(device.index))
        && setOption(sender, IPPROTO_IPV6, IPV6_MULTICAST_LOOP, 1)
        && setOption(sender, IPPROTO_IPV6, IPV6_MULTICAST_HOPS, 1);
}

// Whether a datagram was sent to the group, and came by the device.
bool isToGroup(const cmsghdr& header, const SocketAddress& group, unsigned device)
{
    if (header.cmsg_level == IPPROTO_IP && header.cmsg_type == IP_PKTINFO) {
        in_pktinfo info {};
        std::memcpy(&info, CMSG_DATA(&header), sizeof info);
        return info.ipi_addr.s_addr == group.four.sin_addr.s_addr && static_cast<unsigned>(info.ipi_ifindex) == device;
    }
    if (header.cmsg_level == IPPROTO_IPV6 && header.cmsg_type == IPV6_PKTINFO) {
        in6_pktinfo info {};
        std::memcpy(&info, CMSG_DATA(&header), sizeof info);
        return std::memcmp(&info.ipi6_addr, &group.six.sin6_addr, sizeof info.ipi6_addr) == 0
            && info.ipi6_ifindex == device;
    }
    return false;
}

} // namespace

qny_result_t Discovery::open(const Device& device, uint16_t port)
{
    close();
    m_ipv6 = device.ipv6;
    m_deviceIndex = device.index;
    m_group = socketAddress(m_ipv6, m_ipv6 ? group6 : group4, port);
    const int family = m_ipv6 ? AF_INET6 : AF_INET;
    m_receiver = socket(family, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    m_sender = socket(family, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (m_receiver < 0 || m_sender < 0) {
        return systemError("no socket");
    }
    // All peers of this machine share the port; a program that does not share it keeps us out, and that is told.
    if (!setOption(m_receiver, SOL_SOCKET, SO_REUSEADDR, 1)) {
        return systemError("SO_REUSEADDR");
    }
    // On a network of IPv6 the same port belongs to those of IPv4.
    if (m_ipv6 && !setOption(m_receiver, IPPROTO_IPV6, IPV6_V6ONLY, 1)) {
        return systemError("IPV6_V6ONLY");
    }
    if (!prepare(m_receiver, m_ipv6)) {
        return systemError("what is needed to tell multicast by group and device");
    }
    if (!bindTo(m_receiver, m_ipv6, m_ipv6 ? "::" : "0.0.0.0", port)) {
        if (errno == EADDRINUSE) {
            return fail(QNY_ERROR_PORT_IN_USE,
                "Another program holds the UDP port " + std::to_string(port)
                    + " of discovery; choose another port for this network.");
        }
        return systemError("the UDP port " + std::to_string(port));
    }
    if (!bindTo(m_sender, m_ipv6, device.address.c_str(), 0)) {
        return systemError("the address " + device.address);
    }
    if (!(m_ipv6 ? join6 : join4)(m_receiver, m_sender, device)) {
        return systemError("the device " + device.name + " takes no multicast");
    }
    return QNY_SUCCESS;
}

void Discovery::close()
{
    for (int* fd : { &m_receiver, &m_sender }) {
        if (*fd >= 0) {
            ::close(*fd);
            *fd = -1;
        }
    }
}

void Discovery::send(const wire::Beacon& beacon)
{
    const std::string text = wire::beaconText(beacon);
    const ssize_t sent = sendto(m_sender, text.data(), text.size(), 0, &m_group.any, sizeOf(m_ipv6));
    // A device that is down for a while is no reason to fill the log.
    if (sent < 0 && errno != EAGAIN && !m_sendFailed) {
        m_sendFailed = true;
        logWarning(std::string("a beacon could not be sent: ") + std::strerror(errno)
            + "; new peers may not find this one until it can");
    } else if (sent >= 0) {
        m_sendFailed = false;
    }
}

bool Discovery::receive(wire::Beacon& beacon, std::string& fromAddress, bool& valid)
{
    char datagram[512];
    alignas(cmsghdr) char control[256];
    SocketAddress from {};
    iovec part { datagram, sizeof datagram };
    msghdr message {};
    message.msg_name = &from;
    message.msg_namelen = sizeof from;
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof control;
    const ssize_t size = recvmsg(m_receiver, &message, 0);
    if (size < 0) {
        return false;
    }
    valid = false;
    for (cmsghdr* each = CMSG_FIRSTHDR(&message); each; each = CMSG_NXTHDR(&message, each)) {
        valid = valid || isToGroup(*each, m_group, m_deviceIndex);
    }
    valid = valid && !(message.msg_flags & MSG_TRUNC)
        && wire::readBeacon({ datagram, static_cast<size_t>(size) }, beacon);
    char text[INET6_ADDRSTRLEN] = "";
    m_ipv6 ? inet_ntop(AF_INET6, &from.six.sin6_addr, text, sizeof text)
           : inet_ntop(AF_INET, &from.four.sin_addr, text, sizeof text);
    fromAddress = text;
    return true;
}

} // namespace qny
