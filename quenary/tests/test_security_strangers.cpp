// SPDX-License-Identifier: Apache-2.0
// Strangers at the door of a secured process, with tools of their own.
#include "beaconsocket.h"
#include "forged.h"
#include "loopback.h"
#include "misleader.h"
#include "securednetwork.h"
#include "zmqsocket.h"

#include <arpa/inet.h>
#include <array>
#include <csignal>
#include <cstring>
#include <netinet/in.h>
#include <sodium.h>
#include <sys/socket.h>
#include <unistd.h>
#include <zmq.h>

using namespace test;

namespace {

// A Hello as our own would send it.
std::string hello(const std::string& uuid, uint16_t port)
{
    return Forged { uuid, 77, 0, port }.make(2, helloPayload());
}

// A DEALER that speaks to us, and a ROUTER that waits for an answer; with the monitor of the first.
class Stranger
{
public:
    enum Mechanism
    {
        Open,
        Curve
    };
    Stranger(const std::string& target, Mechanism mechanism, const std::string& serverKey = {},
        const std::string& publicKey = {}, const std::string& secretKey = {})
        : context(zmq_ctx_new())
        , out(newSocket(context, ZMQ_DEALER))
        , in(newSocket(context, ZMQ_ROUTER))
        , monitor(newSocket(context, ZMQ_PAIR))
    {
        if (mechanism == Curve) {
            setKey(ZMQ_CURVE_SERVERKEY, serverKey);
            setKey(ZMQ_CURVE_PUBLICKEY, publicKey);
            setKey(ZMQ_CURVE_SECRETKEY, secretKey);
        }
        port = bindAt(in, "127.0.0.1");
        EXPECT_EQ(zmq_socket_monitor(out, "inproc://of-out", ZMQ_EVENT_ALL), 0);
        EXPECT_EQ(zmq_connect(monitor, "inproc://of-out"), 0);
        EXPECT_EQ(zmq_connect(out, target.c_str()), 0);
    }
    ~Stranger()
    {
        zmq_socket_monitor(out, nullptr, 0);
        for (void* each : { out, in, monitor }) {
            zmq_close(each);
        }
        zmq_ctx_term(context);
    }
    Stranger(const Stranger&) = delete;
    Stranger& operator=(const Stranger&) = delete;

    void setKey(int option, const std::string& key) const
    {
        EXPECT_EQ(zmq_setsockopt(out, option, key.c_str(), key.size() + 1), 0);
    }
    void say(const std::string& text) const
    {
        EXPECT_EQ(zmq_send(out, text.data(), text.size(), ZMQ_DONTWAIT), static_cast<int>(text.size()));
    }
    // Waits for one of these events of the connection.
    bool sees(int events, Milliseconds within = 5s)
    {
        return eventually(
            [&] {
                zmq_msg_t message;
                zmq_msg_init(&message);
                uint16_t kind = 0;
                if (zmq_msg_recv(&message, monitor, ZMQ_DONTWAIT) >= 2) {
                    std::memcpy(&kind, zmq_msg_data(&message), sizeof kind);
                    zmq_msg_recv(&message, monitor, 0);
                }
                zmq_msg_close(&message);
                return (kind & events) != 0;
            },
            within);
    }
    bool hearsAnything() const
    {
        char buffer[1024];
        return zmq_recv(in, buffer, sizeof buffer, ZMQ_DONTWAIT) >= 0
            || zmq_recv(out, buffer, sizeof buffer, ZMQ_DONTWAIT) >= 0;
    }

    void* context;
    void* out;
    void* in;
    void* monitor;
    uint16_t port = 0;
};

constexpr int failures
    = ZMQ_EVENT_HANDSHAKE_FAILED_NO_DETAIL | ZMQ_EVENT_HANDSHAKE_FAILED_PROTOCOL | ZMQ_EVENT_HANDSHAKE_FAILED_AUTH;

class Strangers : public Secured
{
protected:
    void SetUp() override
    {
        Secured::SetUp();
        make("pump");
        ASSERT_EQ(startMe(), QNY_SUCCESS) << qny_last_error();
    }
    void TearDown() override
    {
        // Whatever was tried: who belongs here gets in.
        {
            AgentWatch watch;
            PeerProcess pump("belongs here", by("pump"));
            EXPECT_TRUE(watch.wait(QNY_AGENT_ENTERED, "belongs here", 10s)) << log.all();
        }
        Secured::TearDown();
    }
    std::string secretKey(const std::string& name) const
    {
        const std::string text = folder.read("own/" + name + ".cert_secret");
        return text.substr(text.rfind('"') - 40, 40);
    }
    // The uuid of its process, as those who are let in may see it.
    static std::string peerUuidOf(AgentWatch& watch, const std::string& agent)
    {
        return bytesOf(watch.wait(QNY_AGENT_ENTERED, agent)->peerUuid);
    }
    static std::pair<std::string, std::string> newKeys()
    {
        char publicKey[41];
        char secret[41];
        EXPECT_EQ(zmq_curve_keypair(publicKey, secret), 0);
        return { publicKey, secret };
    }

    LogWatch log;
};

const std::string strangersUuid = "STRANGERSTRANGER";

} // namespace

TEST_F(Strangers, WithoutSecurityGetNothing)
{
    AgentWatch watch;
    Stranger stranger(endpoint(), Stranger::Open);
    stranger.say(hello(strangersUuid, stranger.port));
    EXPECT_TRUE(stranger.sees(failures));
    EXPECT_TRUE(eventually([] { return statistics().connections_refused > 0; }));
    EXPECT_FALSE(stranger.hearsAnything());
    EXPECT_EQ(statistics().messages_refused, 0U) << "nothing that it said was even read";
}

TEST_F(Strangers, WithAForeignKeyGetNothing)
{
    const auto [publicKeyOfTheirs, secret] = newKeys();
    Stranger stranger(endpoint(), Stranger::Curve, publicKey("me"), publicKeyOfTheirs, secret);
    stranger.say(hello(strangersUuid, stranger.port));
    EXPECT_TRUE(stranger.sees(failures));
    EXPECT_TRUE(eventually([] { return statistics().connections_refused > 0; }));
    EXPECT_TRUE(log.hears("its key " + publicKeyOfTheirs + " is none of those in"));
    EXPECT_FALSE(stranger.hearsAnything());
    EXPECT_EQ(statistics().messages_refused, 0U);
}

TEST_F(Strangers, WithAKnownPublicKeyAndNotItsSecretGetNothing)
{
    // The public half of the pump is no secret.
    const auto [ignored, secret] = newKeys();
    Stranger stranger(endpoint(), Stranger::Curve, publicKey("me"), publicKey("pump"), secret);
    stranger.say(hello(strangersUuid, stranger.port));
    EXPECT_TRUE(stranger.sees(failures));
    EXPECT_FALSE(stranger.hearsAnything());
    EXPECT_EQ(statistics().messages_refused, 0U);
}

TEST_F(Strangers, WhoDoNotKnowOurKeyGetNothing)
{
    const auto [serverKey, ignored] = newKeys();
    Stranger stranger(endpoint(), Stranger::Curve, serverKey, publicKey("pump"), secretKey("pump"));
    stranger.say(hello(strangersUuid, stranger.port));
    EXPECT_TRUE(stranger.sees(failures));
    EXPECT_FALSE(stranger.hearsAnything());
    EXPECT_EQ(statistics().messages_refused, 0U);
}

TEST_F(Strangers, ASilentConnectionOfARemovedKeyIsEnded)
{
    Stranger silent(endpoint(), Stranger::Curve, publicKey("me"), publicKey("pump"), secretKey("pump"));
    ASSERT_TRUE(silent.sees(ZMQ_EVENT_HANDSHAKE_SUCCEEDED));
    const auto removed = std::chrono::steady_clock::now();
    forbid("pump");
    EXPECT_TRUE(silent.sees(ZMQ_EVENT_DISCONNECTED, 2s));
    EXPECT_LT(std::chrono::steady_clock::now() - removed, 1s);
    EXPECT_TRUE(silent.sees(failures)) << "and it does not come again";
    allow("pump");
}

TEST_F(Strangers, APeerThatClaimsAnothersUuidIsNotTakenForIt)
{
    make("thief");
    // ZeroMQ does not connect again after it was turned away.
    ASSERT_TRUE(log.hears("the certificate thief (")) << log.all();
    AgentWatch watch;
    PeerProcess pump("pump", by("pump"));
    ASSERT_TRUE(watch.wait(QNY_AGENT_ENTERED, "pump"));
    const std::string uuid = peerUuidOf(watch, "pump");
    ASSERT_EQ(uuid.size(), 16U);
    // A true certificate, but not the pump's.
    Stranger thief(endpoint(), Stranger::Curve, publicKey("me"), publicKey("thief"), secretKey("thief"));
    ASSERT_TRUE(thief.sees(ZMQ_EVENT_HANDSHAKE_SUCCEEDED));
    const uint64_t before = statistics().messages_refused;
    thief.say(hello(uuid, thief.port));
    std::string goodbye = hello(uuid, thief.port).substr(0, 40);
    goodbye[3] = '\6';
    thief.say(goodbye);
    EXPECT_TRUE(eventually([&] { return statistics().messages_refused == before + 2; })) << log.all();
    EXPECT_TRUE(log.hears("by a certificate that is not its own"));
    pump.ask({ "service", "alive" });
    EXPECT_TRUE(eventually([] { return qny_service_call("pump", "alive", nullptr, nullptr) == QNY_SUCCESS; }));
    EXPECT_FALSE(pump.expect({ "called", "alive" }).empty());
    EXPECT_EQ(watch.count(QNY_AGENT_EXITED, "pump"), 0U);
}

TEST_F(Strangers, APeerDoesNotTakeTheUuidOfOneThatHasNotBeenSeenYet)
{
    make("thief");
    AgentWatch watch;
    PeerProcess pump("pump", by("pump"));
    ASSERT_TRUE(watch.wait(QNY_AGENT_ENTERED, "pump"));
    const std::string uuid = peerUuidOf(watch, "pump");
    // A process that is new on the network, and by chance hears of the thief first.
    qny_stop();
    ASSERT_EQ(startMe({}, false), QNY_SUCCESS) << qny_last_error();
    ASSERT_TRUE(log.hears("3 public certificates in")) << log.all();
    Stranger thief(endpoint(), Stranger::Curve, publicKey("me"), publicKey("thief"), secretKey("thief"));
    ASSERT_TRUE(thief.sees(ZMQ_EVENT_HANDSHAKE_SUCCEEDED));
    const uint64_t before = statistics().messages_refused;
    thief.say(hello(uuid, thief.port));
    EXPECT_TRUE(eventually([&] { return statistics().messages_refused == before + 1; })) << log.all();
    qny_stop();
    ASSERT_EQ(startMe(), QNY_SUCCESS) << qny_last_error();
}

TEST_F(Strangers, HalfOpenConnectionsAndGarbageKeepNobodyOut)
{
    std::vector<int> connections;
    sockaddr_in address {};
    address.sin_family = AF_INET;
    address.sin_port = htons(portOf(endpoint()));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const std::string greeting = std::string("\xff\0\0\0\0\0\0\0\1\x7f\3\0", 12) + "CURVE" + std::string(47, '\0');
    for (int i = 0; i < 300; ++i) {
        const int fd = socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK, 0);
        if (connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 || errno == EINPROGRESS) {
            const std::string text = i % 3 == 0 ? std::string()
                : i % 3 == 1                    ? greeting
                                                : greeting + std::string(300, 'x');
            eventually([&] { return ::send(fd, text.data(), text.size(), MSG_NOSIGNAL) >= 0 || errno != EAGAIN; });
        }
        connections.push_back(fd);
    }
    AgentWatch watch;
    {
        PeerProcess pump("comes all the same", by("pump"));
        EXPECT_TRUE(watch.wait(QNY_AGENT_ENTERED, "comes all the same"));
    }
    for (const int fd : connections) {
        close(fd);
    }
}

TEST_F(Strangers, LearnNothingFromABeaconButAnAddress)
{
    const int fd = socket(AF_INET, SOCK_DGRAM, 0);
    const int one = 1;
    setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &one, sizeof one);
    sockaddr_in address {};
    address.sin_family = AF_INET;
    address.sin_port = htons(discoveryPort());
    ASSERT_EQ(bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    ip_mreqn membership {};
    inet_pton(AF_INET, "239.255.86.71", &membership.imr_multiaddr);
    membership.imr_address.s_addr = htonl(INADDR_LOOPBACK);
    ASSERT_EQ(setsockopt(fd, IPPROTO_IP, IP_ADD_MEMBERSHIP, &membership, sizeof membership), 0);
    timeval patience { 5, 0 };
    setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    PeerProcess twin("twin", by("me"));
    std::vector<std::string> beacons;
    while (beacons.size() < 2) {
        char buffer[512];
        const ssize_t size = recv(fd, buffer, sizeof buffer, 0);
        ASSERT_GT(size, 0);
        const std::string beacon(buffer, static_cast<size_t>(size));
        if (beacons.empty() || beacon != beacons.front()) {
            beacons.push_back(beacon);
        }
    }
    close(fd);
    // Magic, version, "secured", port, uuid, mark: by the docs, and nothing more.
    for (const std::string& beacon : beacons) {
        ASSERT_EQ(beacon.size(), 40U);
        EXPECT_EQ(beacon.substr(0, 6), std::string("QNYB\1\1", 6));
        for (const std::string& told : { publicKey("me"), std::string("me"), std::string("twin") }) {
            EXPECT_EQ(beacon.find(told, 6) != std::string::npos && told.size() > 4, false);
        }
    }
    // Two processes of one certificate cannot be told for such.
    EXPECT_NE(beacons[0].substr(8, 16), beacons[1].substr(8, 16));
    EXPECT_NE(beacons[0].substr(24), beacons[1].substr(24));
}

TEST_F(Strangers, ABeaconThatIsSentAgainFromElsewhereLeadsNobodyAstray)
{
    // A listener in the place to which the forged beacon leads: who is led astray knocks here.
    const HeldPort listener(SOCK_STREAM, "127.0.0.99", SOCK_NONBLOCK);
    const BeaconSocket forger("127.0.0.99");
    for (const std::string& mark : { std::string(16, 'm'), std::string(5, 'm'), std::string() }) {
        forger.send(std::string("QNYB\1\1", 6) + raw(listener.port()) + strangersUuid + mark);
    }
    EXPECT_TRUE(log.hears("there is a secured peer at 127.0.0.99")) << log.all();
    AgentWatch watch;
    PeerProcess pump("pump", by("pump"));
    EXPECT_TRUE(watch.wait(QNY_AGENT_ENTERED, "pump")) << "a true beacon was answered in that time";
    EXPECT_LT(accept(listener.fd(), nullptr, nullptr), 0) << "nobody came";
}

TEST_F(Strangers, WhoKnowsThePublicKeysKeepsNobodyWhoWasLostFromBeingFoundAgain)
{
    std::vector<std::array<uint8_t, 32>> keys;
    for (const char* const each : { "me", "pump" }) {
        ASSERT_TRUE(zmq_z85_decode(keys.emplace_back().data(), publicKey(each).c_str()));
    }
    const auto marked = [](std::string beacon, const std::string& address, const std::array<uint8_t, 32>& key) {
        beacon.resize(24);
        std::string text = beacon + address;
        text[5] = '\0';
        std::string mark(16, '\0');
        crypto_generichash(reinterpret_cast<unsigned char*>(mark.data()), mark.size(),
            reinterpret_cast<const unsigned char*>(text.data()), text.size(), key.data(), key.size());
        return beacon + mark;
    };
    AgentWatch watch;
    PeerProcess pump("pump", by("pump"));
    ASSERT_TRUE(watch.wait(QNY_AGENT_ENTERED, "pump"));
    ASSERT_FALSE(pump.expect({ "entered", "me" }).empty());
    const Misleader misleader([&](const std::string& heard, const std::string& changed) {
        for (const auto& key : keys) {
            if (marked(heard, "127.0.0.1", key) == heard) {
                return marked(changed, Misleader::address, key);
            }
        }
        return std::string();
    });
    EXPECT_TRUE(isMetAgainAfterStandingStill(watch, pump, "pump"));
}
