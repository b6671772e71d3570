// SPDX-License-Identifier: Apache-2.0
// This process on an open network, and what others send it that our own would not.
#pragma once

#include "forged.h"
#include "loopback.h"
#include "peerprocess.h"
#include "zmqsocket.h"

#include <atomic>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <zmq.h>

namespace test {

class Hardening : public testing::Test
{
protected:
    void SetUp() override
    {
        qny_log_set_handler([](qny_log_level_t, const char*, void*) { }, nullptr);
        qny_name_set("me");
        start(options());
        context = zmq_ctx_new();
    }
    void start(const qny_options_t& mine)
    {
        ASSERT_EQ(qny_start(&mine), QNY_SUCCESS) << qny_last_error();
        char* text = qny_endpoint();
        endpoint = text;
        qny_free(text);
        port = portOf(endpoint);
    }
    void TearDown() override
    {
        // Whatever was done to it, a true peer finds it and can call it.
        qny_service_init(
            "alive",
            [](const char*, const char*, const char*, qny_service_arg_t*, size_t, const char*, void* user) {
                *static_cast<std::atomic<bool>*>(user) = true;
            },
            &alive);
        {
            PeerProcess other("other");
            EXPECT_FALSE(other.expect({ "entered", "me" }).empty());
            other.ask({ "call", "me", "alive", "", "x" });
            EXPECT_TRUE(eventually([&] { return alive.load(); }));
        }
        zmq_ctx_term(context);
        qny_stop();
        qny_log_set_handler(nullptr, nullptr);
    }
    static uint64_t refused()
    {
        qny_statistics_t statistics;
        qny_statistics(&statistics);
        return statistics.messages_refused;
    }
    void* dealer()
    {
        void* socket = zmq_socket(context, ZMQ_DEALER);
        const int linger = 1000;
        zmq_setsockopt(socket, ZMQ_LINGER, &linger, sizeof linger);
        EXPECT_EQ(zmq_connect(socket, endpoint.c_str()), 0);
        return socket;
    }
    static void send(void* socket, const std::string& text, int flags = 0)
    {
        EXPECT_EQ(zmq_send(socket, text.data(), text.size(), flags), static_cast<int>(text.size()));
    }

    // Where a Hello of that speaker leads us: our connection there, by which only we ever speak. The caller closes it.
    static int lureTo(const HeldPort& place, void* speaker);

    std::string endpoint;
    uint16_t port = 0;
    void* context = nullptr;
    std::atomic<bool> alive { false };
};

inline int Hardening::lureTo(const HeldPort& place, void* speaker)
{
    Forged forged;
    forged.port = place.port();
    send(speaker, forged.make(2, helloPayload()));
    return accept(place.fd(), nullptr, nullptr);
}

// A peer that answers the handshake by hand, so that what it sends afterwards is taken for a peer's.
class HandMadePeer
{
public:
    HandMadePeer(void* ofContext, const std::string& target, const std::string& hello = helloPayload())
        : context(ofContext)
    {
        inbox = newInbox();
        outbox = newSocket(context, ZMQ_DEALER);
        forged.port = bindAt(inbox, "127.0.0.1");
        static char letter = 'A';
        forged.uuid[0] = ++letter;
        EXPECT_EQ(zmq_connect(outbox, target.c_str()), 0);
        send(2, hello);
        // Their Hello names their session; ours has been heard when they name it.
        while (true) {
            const std::string message = receive();
            if (message.size() < 40) {
                ADD_FAILURE() << "no handshake";
                return;
            }
            forged.theirs = numberAt(message, 24);
            if (numberAt(message, 32) == forged.session) {
                break;
            }
        }
        send(3, raw<uint64_t>(0) + raw<uint64_t>(0) + raw<uint64_t>(0));
    }
    ~HandMadePeer()
    {
        zmq_close(inbox);
        zmq_close(outbox);
    }
    HandMadePeer(const HandMadePeer&) = delete;
    HandMadePeer& operator=(const HandMadePeer&) = delete;

    void send(uint8_t type, const std::string& payload)
    {
        const std::string text = forged.make(type, payload);
        EXPECT_EQ(zmq_send(outbox, text.data(), text.size(), 0), static_cast<int>(text.size()));
    }
    void data(const std::string& items) { send(4, raw<uint64_t>(++number) + items); }
    std::string receive()
    {
        char buffer[65536];
        if (zmq_recv(inbox, buffer, sizeof buffer, 0) < 0) {
            return {};
        }
        const int size = zmq_recv(inbox, buffer, sizeof buffer, 0);
        return size < 0 ? std::string() : std::string(buffer, static_cast<size_t>(size));
    }
    // The connection to its inbox breaks, and what was on its way is gone; the inbox is there again at once.
    void breakConnection()
    {
        zmq_close(inbox);
        inbox = newInbox();
        const std::string address = "tcp://127.0.0.1:" + std::to_string(forged.port);
        EXPECT_TRUE(eventually([&] { return zmq_bind(inbox, address.c_str()) == 0; }));
    }
    // Takes the pieces that come in order into `stream`, asking again for what is missing, until the stream holds the
    // text.
    bool receiveUntil(const std::string& text)
    {
        const auto until = std::chrono::steady_clock::now() + 8s;
        while (stream.find(text) == std::string::npos && std::chrono::steady_clock::now() < until) {
            const std::string message = receive();
            if (message.size() < 48) {
                continue;
            }
            const uint64_t lastOrNumber = numberAt(message, 40);
            if (message[3] == 4 && lastOrNumber == received + 1) {
                stream += message.substr(48);
                ++received;
            } else if ((message[3] == 4 || message[3] == 3) && lastOrNumber > received) {
                send(5, raw(received + 1));
            }
            send(3, raw(number) + raw(received) + raw(received));
        }
        return stream.find(text) != std::string::npos;
    }
    // An agent of this peer, and both sides ready.
    void introduce(const std::string& agentUuid, const std::string& name)
    {
        const std::string definition = R"({"family":"","inputs":[],"outputs":[],"services":[]})";
        data(agentItem(agentUuid, name, definition) + item(3, "") + item(4, ""));
    }

    Forged forged;
    uint64_t number = 0;
    uint64_t received = 0;
    std::string stream;
    void* context = nullptr;
    void* inbox = nullptr;
    void* outbox = nullptr;

private:
    void* newInbox() const
    {
        void* const socket = newSocket(context, ZMQ_ROUTER);
        const int patience = 5000;
        zmq_setsockopt(socket, ZMQ_RCVTIMEO, &patience, sizeof patience);
        return socket;
    }
};

// Somebody that says Hello in the name of a peer that is there, with a session of its own.
class Claimant
{
public:
    // The socket is its way to us.
    Claimant(const HandMadePeer& peer, void* socket)
        : m_forged(peer.forged)
        , m_socket(socket)
    {
        m_forged.session = 4711;
        m_forged.theirs = 0;
    }
    // And leaves time for it to be heard.
    void claim() const
    {
        const std::string text = m_forged.make(2, helloPayload());
        EXPECT_EQ(zmq_send(m_socket, text.data(), text.size(), 0), static_cast<int>(text.size()));
        std::this_thread::sleep_for(50ms);
    }

private:
    Forged m_forged;
    void* m_socket;
};

} // namespace test
