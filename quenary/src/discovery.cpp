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

// Of the block that stays within a site.
constexpr const char* group = "239.255.86.71";

qny_result_t systemError(const std::string& what)
{
    return fail(QNY_ERROR_SYSTEM, "Discovery cannot be set up: " + what + ": " + std::strerror(errno) + ".");
}

bool setOption(int fd, int level, int name, int value)
{
    return setsockopt(fd, level, name, &value, sizeof value) == 0;
}

sockaddr_in socketAddress(const char* address, uint16_t port)
{
    sockaddr_in result {};
    result.sin_family = AF_INET;
    result.sin_port = htons(port);
    inet_pton(AF_INET, address, &result.sin_addr);
    return result;
}

bool bindTo(int fd, const sockaddr_in& address)
{
    return bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

} // namespace

qny_result_t Discovery::open(const Device& device, uint16_t port)
{
    close();
    m_port = port;
    m_deviceIndex = device.index;
    m_receiver = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    m_sender = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (m_receiver < 0 || m_sender < 0) {
        return systemError("no socket");
    }
    // All peers of this machine share the port; a program that does not share it keeps us out, and that is told.
    if (!setOption(m_receiver, SOL_SOCKET, SO_REUSEADDR, 1)) {
        return systemError("SO_REUSEADDR");
    }
    if (!bindTo(m_receiver, socketAddress("0.0.0.0", port))) {
        if (errno == EADDRINUSE) {
            return fail(QNY_ERROR_PORT_IN_USE,
                "Another program holds the UDP port " + std::to_string(port)
                    + " of discovery; choose another port for this network.");
        }
        return systemError("the UDP port " + std::to_string(port));
    }
    ip_mreqn membership {};
    inet_pton(AF_INET, group, &membership.imr_multiaddr);
    inet_pton(AF_INET, device.address.c_str(), &membership.imr_address);
    membership.imr_ifindex = static_cast<int>(device.index);
    if (setsockopt(m_receiver, IPPROTO_IP, IP_ADD_MEMBERSHIP, &membership, sizeof membership) != 0) {
        return systemError("the device " + device.name + " takes no multicast");
    }
    // Only the group and device named above, whatever other programs have joined.
    setOption(m_receiver, IPPROTO_IP, IP_MULTICAST_ALL, 0);
    setOption(m_receiver, IPPROTO_IP, IP_PKTINFO, 1);
    if (!bindTo(m_sender, socketAddress(device.address.c_str(), 0))) {
        return systemError("the address " + device.address);
    }
    if (setsockopt(m_sender, IPPROTO_IP, IP_MULTICAST_IF, &membership, sizeof membership) != 0
        || !setOption(m_sender, IPPROTO_IP, IP_MULTICAST_LOOP, 1)
        || !setOption(m_sender, IPPROTO_IP, IP_MULTICAST_TTL, 1)) {
        return systemError("multicast on the device " + device.name);
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
    const sockaddr_in to = socketAddress(group, m_port);
    const ssize_t sent
        = sendto(m_sender, text.data(), text.size(), 0, reinterpret_cast<const sockaddr*>(&to), sizeof to);
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
    sockaddr_in from {};
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
        if (each->cmsg_level == IPPROTO_IP && each->cmsg_type == IP_PKTINFO) {
            in_pktinfo info {};
            std::memcpy(&info, CMSG_DATA(each), sizeof info);
            in_addr wanted {};
            inet_pton(AF_INET, group, &wanted);
            valid = info.ipi_addr.s_addr == wanted.s_addr && static_cast<unsigned>(info.ipi_ifindex) == m_deviceIndex;
        }
    }
    valid = valid && !(message.msg_flags & MSG_TRUNC)
        && wire::readBeacon({ datagram, static_cast<size_t>(size) }, beacon);
    char text[INET_ADDRSTRLEN] = "";
    inet_ntop(AF_INET, &from.sin_addr, text, sizeof text);
    fromAddress = text;
    return true;
}

} // namespace qny
