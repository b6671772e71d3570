// SPDX-License-Identifier: Apache-2.0
// Whom a connection may speak for.
#include "doorkeeper.h"
#include "zmqsocket.h"

#include <chrono>
#include <filesystem>
#include <gtest/gtest.h>
#include <iterator>
#include <memory>
#include <thread>

using namespace qny;

namespace {

class DoorkeeperTest : public testing::Test
{
protected:
    DoorkeeperTest()
        : inbox(context, zmq::socket_type::dealer)
        , door(context, inbox)
    {
        inbox.bind("tcp://127.0.0.1:*");
        endpoint = inbox.get(zmq::sockopt::last_endpoint);
        door.setPort(test::portOf(endpoint));
    }
    // A connection on which something was said; what it said waits in the inbox.
    std::unique_ptr<zmq::socket_t> visitor()
    {
        auto socket = std::make_unique<zmq::socket_t>(context, zmq::socket_type::dealer);
        socket->connect(endpoint);
        socket->send(zmq::str_buffer("hello"), zmq::send_flags::none);
        return socket;
    }
    zmq::message_t next()
    {
        zmq::message_t message;
        EXPECT_TRUE(inbox.recv(message, zmq::recv_flags::none));
        return message;
    }

    zmq::context_t context;
    zmq::socket_t inbox;
    Doorkeeper door;
    std::string endpoint;
};

auto openDescriptors()
{
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

constexpr Uuid one { 1 };
constexpr Uuid other { 2 };

} // namespace

TEST_F(DoorkeeperTest, AConnectionSpeaksForOnePeer)
{
    const auto socket = visitor();
    const zmq::message_t said = next();
    door.attend();
    EXPECT_TRUE(door.speaksFor(said, one));
    EXPECT_TRUE(door.speaksFor(said, one));
    EXPECT_FALSE(door.speaksFor(said, other));
}

TEST_F(DoorkeeperTest, WhatAnEndedConnectionLeftBehindDoesNotSpeakForTheNextOneOfItsDescriptor)
{
    // They have come, and the first has gone, before the door is attended to and the inbox is read: as for a process
    // that stood still.
    const auto before = openDescriptors();
    auto ended = visitor();
    zmq::pollitem_t item { inbox.handle(), 0, ZMQ_POLLIN, 0 };
    ASSERT_EQ(zmq::poll(&item, 1, std::chrono::seconds(5)), 1);
    ended.reset();
    const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (openDescriptors() > before && std::chrono::steady_clock::now() < until) {
        std::this_thread::yield();
    }
    const auto socket = visitor();
    const zmq::message_t left = next();
    const zmq::message_t said = next();
    door.attend();
    const auto descriptor = [](const zmq::message_t& message) {
        return zmq_msg_get(const_cast<zmq_msg_t*>(message.handle()), ZMQ_SRCFD);
    };
    ASSERT_EQ(descriptor(left), descriptor(said));
    EXPECT_TRUE(door.speaksFor(left, one));
    EXPECT_TRUE(door.speaksFor(said, other)) << "it is another connection";
    EXPECT_TRUE(door.speaksFor(said, other));
    EXPECT_FALSE(door.speaksFor(said, one));
}
