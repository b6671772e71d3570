// SPDX-License-Identifier: Apache-2.0
// Servers made by hand, in the place of one that a secured process would speak to.
#include "beaconsocket.h"
#include "loopback.h"
#include "securednetwork.h"

#include <array>
#include <cstring>
#include <sodium.h>
#include <sys/socket.h>
#include <unistd.h>
#include <zmq.h>

using namespace test;

namespace {

using Key = std::array<unsigned char, 32>;

Key keyOf(const std::string& text)
{
    Key key {};
    EXPECT_NE(zmq_z85_decode(key.data(), text.c_str()), nullptr);
    return key;
}

const unsigned char* bytes(const std::string& text)
{
    return reinterpret_cast<const unsigned char*>(text.data());
}

// BLAKE2b-128, keyed with a public key.
std::string hashOf(const std::string& text, const Key& key)
{
    std::string hash(16, '\0');
    crypto_generichash(
        reinterpret_cast<unsigned char*>(hash.data()), hash.size(), bytes(text), text.size(), key.data(), key.size());
    return hash;
}

// What is known of the pump in public leads us to a listener, which is not the pump.
class Impostors : public Secured
{
protected:
    void SetUp() override
    {
        Secured::SetUp();
        make("pump");
        ASSERT_EQ(startMe(), QNY_SUCCESS) << qny_last_error();
        const Key pump = keyOf(publicKey("pump"));
        std::string uuid(16, 'i');
        uuid[6] = '\x4f';
        uuid = uuid.substr(0, 8) + hashOf("peer" + uuid.substr(0, 8), pump).substr(0, 8);
        uuid[8] = static_cast<char>((uuid[8] & 0x3f) | 0x80);
        const uint16_t port = listener.port();
        const std::string place = std::string(reinterpret_cast<const char*>(&port), 2) + uuid;
        const std::string mark = hashOf(std::string("QNYB\1\0", 6) + place + "127.0.0.1", pump);
        beacon = std::string("QNYB\1\1", 6) + place + mark;
        fd = accept();
        ASSERT_GE(fd, 0) << log.all();
    }
    void TearDown() override
    {
        close(fd);
        // Whatever was tried: who belongs here gets in.
        {
            AgentWatch watch;
            PeerProcess pump("belongs here", by("pump"));
            EXPECT_TRUE(watch.wait(QNY_AGENT_ENTERED, "belongs here", 10s)) << log.all();
        }
        Secured::TearDown();
    }
    // The next connection of ours to it, up to our HELLO, of which the key is taken.
    int accept()
    {
        int accepted = -1;
        EXPECT_TRUE(eventually([&] {
            beacons.send(beacon);
            accepted = ::accept(listener.fd(), nullptr, nullptr);
            return accepted >= 0;
        })) << log.all();
        const timeval patience { 5, 0 };
        setsockopt(accepted, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
        const std::string greeting = std::string("\xff\0\0\0\0\0\0\0\1\x7f\3\1", 12) + "CURVE" + std::string(15, '\0')
            + '\1' + std::string(31, '\0');
        EXPECT_EQ(::send(accepted, greeting.data(), greeting.size(), MSG_NOSIGNAL), 64);
        EXPECT_EQ(receive(accepted, 64).size(), 64U);
        const std::string hello = receive(accepted, 202);
        EXPECT_EQ(hello.substr(3, 5), "HELLO");
        std::memcpy(client.data(), hello.data() + 2 + 80, client.size());
        return accepted;
    }
    // So many bytes, or those that came before the connection ended.
    static std::string receive(int from, size_t size)
    {
        std::string text(size, '\0');
        const ssize_t count = recv(from, text.data(), size, MSG_WAITALL);
        EXPECT_GE(count, 0) << "nothing came, and no end either";
        text.resize(count > 0 ? static_cast<size_t>(count) : 0);
        return text;
    }
    void command(const std::string& text) const
    {
        const std::string frame = std::string("\4") + static_cast<char>(text.size()) + text;
        EXPECT_EQ(::send(fd, frame.data(), frame.size(), MSG_NOSIGNAL), static_cast<ssize_t>(frame.size()));
    }
    // The answer to HELLO, as only who has the pump's secret half can make it.
    void welcome(const Key& shortTermKey) const
    {
        const Key secret = keyOf([this] {
            const std::string text = folder.read("own/pump.cert_secret");
            return text.substr(text.rfind('"') - 40, 40);
        }());
        const std::string half(16, 'n');
        const std::string told(reinterpret_cast<const char*>(shortTermKey.data()), shortTermKey.size());
        const std::string plain = told + std::string(96, 'c');
        std::string box(plain.size() + crypto_box_MACBYTES, '\0');
        EXPECT_EQ(crypto_box_easy(reinterpret_cast<unsigned char*>(box.data()), bytes(plain), plain.size(),
                      bytes("WELCOME-" + half), client.data(), secret.data()),
            0);
        command("\7WELCOME" + half + box);
    }
    void ready(const Key& key) const
    {
        const std::string half(8, 'n');
        const std::string plain = std::string("\x0bSocket-Type\0\0\0\6ROUTER\x08Identity\0\0\0\0", 35);
        std::string box(plain.size() + crypto_box_MACBYTES, '\0');
        EXPECT_EQ(crypto_secretbox_easy(reinterpret_cast<unsigned char*>(box.data()), bytes(plain), plain.size(),
                      bytes("CurveZMQREADY---" + half), key.data()),
            0);
        command("\5READY" + half + box);
    }

    const HeldPort listener { SOCK_STREAM, "127.0.0.1", SOCK_NONBLOCK };
    const BeaconSocket beacons;
    std::string beacon;
    Key client {};
    int fd = -1;
    LogWatch log;
};

} // namespace

TEST_F(Impostors, WhoAnswersInAPeersPlaceWithoutItsKeyIsToldNothing)
{
    // Again and again, as the memory in which the handshake takes place is used again.
    for (int i = 0; i < 5; ++i) {
        ready(Key {});
        EXPECT_EQ(receive(fd, 1), "") << "the connection is ended and nothing said";
        close(fd);
        fd = accept();
    }
}

TEST_F(Impostors, AKeyOfAnEarlierHandshakeOpensNoLaterOne)
{
    // This one has the secret half of the pump, and knows what was agreed on with it.
    Key secret {};
    Key shortTermKey {};
    crypto_box_keypair(shortTermKey.data(), secret.data());
    Key agreed {};
    EXPECT_EQ(crypto_box_beforenm(agreed.data(), client.data(), secret.data()), 0);
    for (int i = 0; i < 5; ++i) {
        welcome(shortTermKey);
        EXPECT_EQ(receive(fd, 18).substr(9), "\x08INITIATE");
        EXPECT_EQ(crypto_box_beforenm(agreed.data(), client.data(), secret.data()), 0);
        close(fd);
        fd = accept();
        ready(agreed);
        EXPECT_EQ(receive(fd, 1), "");
        close(fd);
        fd = accept();
    }
}

TEST_F(Impostors, APeerWhoseShortTermKeyIsNoneEndsNobody)
{
    welcome(Key {});
    EXPECT_EQ(receive(fd, 1), "") << "the connection is ended, and nothing else";
}
