// SPDX-License-Identifier: Apache-2.0
// Sockets on the loopback device that are no peer's.
#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <stdexcept>
#include <string>
#include <sys/socket.h>
#include <unistd.h>

namespace test {

// A port that the system chose, held as another program would; of a stream, it is listened at.
class HeldPort
{
public:
    explicit HeldPort(int type, const char* address = "127.0.0.1", int flags = 0)
        : m_fd(socket(AF_INET, type | flags, 0))
    {
        sockaddr_in place {};
        place.sin_family = AF_INET;
        inet_pton(AF_INET, address, &place.sin_addr);
        socklen_t size = sizeof place;
        if (bind(m_fd, reinterpret_cast<const sockaddr*>(&place), size) != 0
            || (type == SOCK_STREAM && listen(m_fd, 8) != 0)
            || getsockname(m_fd, reinterpret_cast<sockaddr*>(&place), &size) != 0) {
            throw std::runtime_error(std::string("no port at ") + address);
        }
        m_port = ntohs(place.sin_port);
    }
    ~HeldPort() { close(m_fd); }
    HeldPort(const HeldPort&) = delete;
    HeldPort& operator=(const HeldPort&) = delete;

    int fd() const { return m_fd; }
    uint16_t port() const { return m_port; }

private:
    int m_fd;
    uint16_t m_port = 0;
};

// A connection to whoever listens there; the caller closes it.
inline int connectedTo(uint16_t port)
{
    const int fd = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in place {};
    place.sin_family = AF_INET;
    place.sin_port = htons(port);
    place.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (connect(fd, reinterpret_cast<const sockaddr*>(&place), sizeof place) != 0) {
        throw std::runtime_error("no connection to port " + std::to_string(port));
    }
    return fd;
}

} // namespace test
