// SPDX-License-Identifier: Apache-2.0
// Sockets of ZeroMQ that are no peer's. The caller closes them.
#pragma once

#include <gtest/gtest.h>
#include <string>
#include <zmq.h>

namespace test {

// One that drops what it has not sent when it is closed.
inline void* newSocket(void* context, int type)
{
    void* const socket = zmq_socket(context, type);
    const int none = 0;
    EXPECT_EQ(zmq_setsockopt(socket, ZMQ_LINGER, &none, sizeof none), 0);
    return socket;
}

// Of an endpoint as ZeroMQ writes it.
inline uint16_t portOf(const std::string& endpoint)
{
    return static_cast<uint16_t>(std::stoul(endpoint.substr(endpoint.rfind(':') + 1)));
}

// Takes a port of that address that the system chooses.
inline uint16_t bindAt(void* socket, const std::string& address)
{
    EXPECT_EQ(zmq_bind(socket, ("tcp://" + address + ":*").c_str()), 0);
    char bound[128];
    size_t size = sizeof bound;
    EXPECT_EQ(zmq_getsockopt(socket, ZMQ_LAST_ENDPOINT, bound, &size), 0);
    return portOf(bound);
}

} // namespace test
