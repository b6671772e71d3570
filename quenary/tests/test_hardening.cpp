// SPDX-License-Identifier: Apache-2.0
// Strangers that send what is no message of ours: dropped, counted, logged, never fatal.
#include "beaconsocket.h"
#include "handmadepeer.h"
#include "loopback.h"
#include "misleader.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <atomic>
#include <cstring>
#include <gtest/gtest.h>
#include <linux/filter.h>
#include <netinet/in.h>
#include <random>
#include <set>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <zmq.h>

using namespace test;

TEST_F(Hardening, GarbageOverZeroMqIsCountedAndDropped)
{
    void* socket = dealer();
    const uint64_t before = refused();
    send(socket, "");
    send(socket, "hello");
    send(socket, std::string(100'000, 'Q'));
    send(socket, "one", ZMQ_SNDMORE);
    send(socket, "two", ZMQ_SNDMORE);
    send(socket, "three");
    send(socket, Forged().make(1, {}, 9));
    send(socket, "QN");
    EXPECT_TRUE(eventually([&] { return refused() >= before + 6; })) << refused() - before;
    std::mt19937 random(5);
    for (int i = 0; i < 2000; ++i) {
        std::string text = Forged().make(static_cast<uint8_t>(random() % 9));
        for (auto k = random() % 60; k > 0; --k) {
            text += static_cast<char>(random());
        }
        text.resize(random() % (text.size() + 1));
        if (!text.empty() && random() % 2) {
            text[random() % text.size()] = static_cast<char>(random());
        }
        send(socket, text);
    }
    zmq_close(socket);
}

TEST_F(Hardening, AMessageBeyondTheTransportsBoundCutsTheStrangerOff)
{
    void* socket = dealer();
    send(socket, std::string(8 * 1024 * 1024, 'x'));
    zmq_close(socket);
}

TEST_F(Hardening, RawTcpIsNoHarm)
{
    for (const std::string& text : { std::string("GET / HTTP/1.0\r\n\r\n"), std::string(100'000, '\xff'),
             std::string("\xff\0\0\0\0\0\0\0\0\x7f", 10) }) {
        const int fd = connectedTo(port);
        EXPECT_GT(::send(fd, text.data(), text.size(), MSG_NOSIGNAL), 0);
        close(fd);
    }
}

TEST_F(Hardening, AnAttemptThatIsAnsweredByProtocolUnreachableEndsNothingElse)
{
    const int sniffer = socket(AF_INET, SOCK_RAW, IPPROTO_TCP);
    const int icmp = socket(AF_INET, SOCK_RAW, IPPROTO_ICMP);
    if (sniffer < 0 || icmp < 0) {
        GTEST_SKIP() << "this user may not send what a firewall does";
    }
    const timeval patience { 5, 0 };
    setsockopt(sniffer, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    // Nothing answers there but us.
    const HeldPort silent(SOCK_STREAM);
    sock_filter dropAll = BPF_STMT(BPF_RET | BPF_K, 0);
    const sock_fprog program { .len = 1, .filter = &dropAll };
    ASSERT_EQ(setsockopt(silent.fd(), SOL_SOCKET, SO_ATTACH_FILTER, &program, sizeof program), 0);
    void* speaker = dealer();
    Forged forged;
    forged.port = silent.port();
    send(speaker, forged.make(2, helloPayload()));
    std::set<uint32_t> attempts;
    while (attempts.size() < 2) {
        std::array<uint8_t, 1500> packet {};
        // Others' packets come here too, down to a reset, which has nothing but its heads.
        ASSERT_GE(recv(sniffer, packet.data(), packet.size(), 0), 40);
        const size_t head = (packet[0] & 15U) * 4U;
        uint16_t port = 0;
        uint32_t number = 0;
        std::memcpy(&port, packet.data() + head + 2, sizeof port);
        std::memcpy(&number, packet.data() + head + 4, sizeof number);
        if (port != htons(silent.port())) {
            continue;
        }
        attempts.insert(number);
        // Type, code, checksum, four of nothing, and how the packet began.
        std::string answer
            = std::string("\3\2\0\0\0\0\0\0", 8) + std::string(reinterpret_cast<const char*>(packet.data()), head + 8);
        uint32_t sum = 0;
        for (size_t i = 0; i < answer.size(); i += 2) {
            uint16_t word = 0;
            std::memcpy(&word, answer.data() + i, sizeof word);
            sum += word;
        }
        sum = (sum >> 16) + (sum & 0xffff);
        const auto check = static_cast<uint16_t>(~(sum + (sum >> 16)));
        std::memcpy(answer.data() + 2, &check, sizeof check);
        sockaddr_in self {};
        self.sin_family = AF_INET;
        self.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        EXPECT_GT(sendto(icmp, answer.data(), answer.size(), 0, reinterpret_cast<sockaddr*>(&self), sizeof self), 0);
    }
    zmq_close(speaker);
    close(sniffer);
    close(icmp);
}

TEST_F(Hardening, BeaconsOfStrangersAreHintsAtMost)
{
    const BeaconSocket strangers;
    const uint64_t before = refused();
    for (const std::string& text :
        { std::string("x"), std::string("QNYB"), std::string(500, 'x'), std::string(1000, 'x') }) {
        strangers.send(text);
    }
    EXPECT_TRUE(eventually([&] { return refused() >= before + 4; }));
    // Peers that do not exist, more than are tried at once.
    for (int i = 0; i < 300; ++i) {
        std::string uuid(16, 'u');
        uuid[0] = static_cast<char>(i);
        uuid[1] = static_cast<char>(i >> 8);
        strangers.send(beaconOf(uuid));
    }
    // They are given up after a while, and then a true peer is found (see TearDown).
    AgentWatch watch;
    PeerProcess other("patient");
    EXPECT_TRUE(watch.wait(QNY_AGENT_ENTERED, "patient", 10s));
}

TEST_F(Hardening, WhoSaysAgainAndAgainThatPeersAreElsewhereKeepsThemFromMeetingForAWhileAtMost)
{
    AgentWatch watch;
    PeerProcess other("sleeper");
    ASSERT_TRUE(watch.wait(QNY_AGENT_ENTERED, "sleeper"));
    ASSERT_FALSE(other.expect({ "entered", "me" }).empty());
    const Misleader misleader;
    EXPECT_TRUE(isMetAgainAfterStandingStill(watch, other, "sleeper"));
}

TEST_F(Hardening, AHostNameThatControlsATerminalIsNobodys)
{
    void* socket = dealer();
    for (const char* const host : { "plant\x1b]0;mine\x07", "plant\nanother line",
             "plant\xc2\x9b"
             "2J" }) {
        const uint64_t before = refused();
        send(socket,
            Forged {}.make(
                2, raw<uint64_t>(1000) + raw<int64_t>(1) + named(host) + raw<uint32_t>(0) + raw<uint16_t>(0)));
        EXPECT_TRUE(eventually([&] { return refused() > before; })) << host;
    }
    zmq_close(socket);
    qny_stop();
    qny_options_t mine = options();
    mine.host_name = "plant\x1b[2J";
    EXPECT_EQ(qny_start(&mine), QNY_ERROR_ARGUMENT);
    start(options());
}

TEST_F(Hardening, BeaconsThatComeWhileAProcessStartsAreBeacons)
{
    const PeerProcess neighbour("neighbour"); // which has joined the group on this machine
    std::atomic<bool> isOver = false;
    std::thread others([&] {
        const BeaconSocket socket;
        while (!isOver) {
            socket.send(beaconOf(std::string(16, 'u')));
        }
    });
    const qny_options_t mine = options();
    const uint64_t before = refused();
    for (int i = 0; i < 50; ++i) {
        qny_stop();
        EXPECT_EQ(qny_start(&mine), QNY_SUCCESS) << qny_last_error();
        std::this_thread::sleep_for(2ms);
    }
    isOver = true;
    others.join();
    EXPECT_EQ(refused(), before);
}

TEST_F(Hardening, MalformedItemsOfAPeerAreDroppedAndTheRestIsTaken)
{
    AgentWatch watch;
    HandMadePeer peer(context, endpoint);
    const std::string agent = "AGENT-AGENT-AGENT"; // its first 16 bytes
    const std::string uuid = agent.substr(0, 16);
    peer.introduce(uuid, "hand-made");
    ASSERT_TRUE(watch.wait(QNY_AGENT_ENTERED, "hand-made"));
    const uint64_t before = refused();
    const auto badAgent = [&](const std::string& name, const std::string& definition) {
        return agentItem("BAD-BAD-BAD-BAD-", name, definition);
    };
    const std::vector<std::string> bad {
        item(99, "what is this"),
        item(1, "short"),
        badAgent("a/b", "{}"),
        badAgent("\xff", "{}"),
        badAgent("good", "no json"),
        badAgent("good", R"({"outputs":[{"name":"*","type":"bool"}]})"),
        item(5, "short"),
        item(5, raw<uint64_t>(1) + std::string(16, 'x') + '\0' + named("a*b")),
        item(8, "short"),
        item(8,
            std::string("\x03") + "unknown-unknown-" + "out" + '\x03' + raw<uint64_t>(1) + raw<int64_t>(0)
                + raw<int32_t>(1)),
        item(8, std::string("\x03") + uuid + "out" + '\x03' + raw<uint64_t>(1) + raw<int64_t>(0) + "x"),
        item(8, std::string("\x03") + uuid + "out" + '\x63' + raw<uint64_t>(1) + raw<int64_t>(0)),
        item(7, "short"),
        item(9, "short"),
        item(10, "short"),
        item(10, uuid + uuid + '\1' + named("s") + raw<uint32_t>(0xffffffff) + "x"),
        item(10, uuid + uuid + '\1' + named("s") + raw<uint32_t>(1) + "\xff" + raw<uint16_t>(0)),
        item(10, uuid + uuid + '\0' + named("s") + raw<uint32_t>(0) + raw<uint16_t>(0xffff)),
        item(10, uuid + uuid + '\0' + named("s") + raw<uint32_t>(0) + raw<uint16_t>(1) + '\5' + raw<uint32_t>(1) + "x"),
        item(11, "short"),
        item(2, "short"),
        item(6, "short"),
    };
    for (const std::string& each : bad) {
        peer.data(each);
    }
    EXPECT_TRUE(eventually([&] { return refused() >= before + bad.size(); }))
        << refused() - before << " of " << bad.size();
    // After all of that, a sound item of the same peer is taken.
    const std::string second = R"({"family":"","inputs":[],"outputs":[],"services":[]})";
    peer.data(agentItem("SECOND-SECOND-SE", "sound", second));
    EXPECT_TRUE(watch.wait(QNY_AGENT_ENTERED, "sound"));
    EXPECT_EQ(watch.count(QNY_AGENT_EXITED, "hand-made"), 0U);
}

TEST_F(Hardening, APeerThatBreaksItsStreamIsCutOff)
{
    AgentWatch watch;
    HandMadePeer peer(context, endpoint);
    peer.introduce("BREAK-BREAK-BREA", "breaker");
    ASSERT_TRUE(watch.wait(QNY_AGENT_ENTERED, "breaker"));
    // An item that says that it is larger than anything may be.
    peer.data(raw<uint32_t>(0xfffffff0) + "x");
    EXPECT_TRUE(watch.wait(QNY_AGENT_EXITED, "breaker", 3s));
}

TEST_F(Hardening, APeerWithTooManyAgentsShowsNoMoreThanTheBound)
{
    AgentWatch watch;
    HandMadePeer peer(context, endpoint);
    peer.introduce("MANY-MANY-MANY-0", "many");
    ASSERT_TRUE(watch.wait(QNY_AGENT_ENTERED, "many"));
    const uint64_t before = refused();
    for (int i = 0; i < 1200; ++i) {
        std::string uuid(16, 'm');
        uuid[0] = static_cast<char>(i);
        uuid[1] = static_cast<char>(i >> 8);
        peer.data(agentItem(uuid, "of-many", "{}"));
    }
    EXPECT_TRUE(eventually([&] { return watch.count(QNY_AGENT_ENTERED, "of-many") == 1023; }));
    EXPECT_TRUE(eventually([&] { return refused() == before + 177; })) << refused() - before;
}

TEST_F(Hardening, APieceThatGotLostIsSentAgain)
{
    AgentWatch watch;
    HandMadePeer peer(context, endpoint);
    peer.introduce("LOST-LOST-LOST-0", "loser");
    ASSERT_TRUE(watch.wait(QNY_AGENT_ENTERED, "loser"));
    const auto agent = [&](const std::string& uuid, const std::string& name) { return agentItem(uuid, name, "{}"); };
    const uint64_t lost = ++peer.number;
    peer.data(agent("AFTERAFTERAFTER0", "after"));
    // What was lost is asked for by its number.
    std::string request;
    do {
        request = peer.receive();
    } while (!request.empty() && request[3] != 5);
    ASSERT_EQ(request.size(), 48U);
    EXPECT_EQ(numberAt(request, 40), lost);
    EXPECT_EQ(watch.count(QNY_AGENT_ENTERED, "after"), 0U) << "nothing is taken out of order";
    peer.number = lost - 1;
    peer.data(agent("BEFOREBEFOREBEF0", "before"));
    peer.data(agent("AFTERAFTERAFTER0", "after"));
    EXPECT_TRUE(watch.wait(QNY_AGENT_ENTERED, "before"));
    EXPECT_TRUE(watch.wait(QNY_AGENT_ENTERED, "after"));
    // And what arrives twice is taken once.
    peer.number = lost - 1;
    peer.data(agent("BEFOREBEFOREBEF0", "before"));
    peer.number = lost + 1;
    peer.data(item(2, "AFTERAFTERAFTER0"));
    EXPECT_TRUE(watch.wait(QNY_AGENT_EXITED, "after"));
    EXPECT_EQ(watch.count(QNY_AGENT_ENTERED, "before"), 1U);
}

TEST_F(Hardening, AConnectionThatBreaksWhileBothSidesLiveLosesNothing)
{
    AgentWatch watch;
    ASSERT_EQ(qny_output_create("steady", QNY_STRING_T, nullptr, 0), QNY_SUCCESS);
    HandMadePeer peer(context, endpoint);
    peer.introduce("STEADY-STEADY-ST", "steady");
    ASSERT_TRUE(watch.wait(QNY_AGENT_ENTERED, "steady"));
    ASSERT_TRUE(peer.receiveUntil(R"("services")"));
    // The agent's uuid follows length and kind of the item that told of it; its flags and name come after.
    const size_t name = peer.stream.find(std::string("\0\2me", 4));
    ASSERT_NE(name, std::string::npos);
    peer.data(item(5, raw<uint64_t>(1) + peer.stream.substr(name - 16, 16) + '\0' + named("steady")));
    ASSERT_TRUE(eventually([&] {
        qny_statistics_t statistics;
        qny_statistics(&statistics);
        const uint64_t before = statistics.publications_sent;
        qny_output_set_string("steady", "begin");
        qny_statistics(&statistics);
        return statistics.publications_sent > before;
    }));
    ASSERT_TRUE(peer.receiveUntil("begin"));
    for (int round = 0; round < 3; ++round) {
        const std::string tag = "round " + std::to_string(round);
        for (int i = 0; i < 200; ++i) {
            EXPECT_EQ(
                qny_output_set_string("steady", (tag + " number " + std::to_string(i) + ".").c_str()), QNY_SUCCESS);
        }
        peer.breakConnection();
        qny_output_set_string("steady", (tag + " end.").c_str());
        ASSERT_TRUE(peer.receiveUntil(tag + " end."));
        size_t at = 0;
        for (int i = 0; i < 200; ++i) {
            at = peer.stream.find(tag + " number " + std::to_string(i) + ".", at);
            ASSERT_NE(at, std::string::npos) << tag << " number " << i;
        }
    }
    EXPECT_EQ(watch.count(QNY_AGENT_EXITED, "steady"), 0U);
    EXPECT_EQ(qny_output_remove("steady"), QNY_SUCCESS);
}

TEST_F(Hardening, ARequestThatIsSentAgainCutsNobodyOff)
{
    AgentWatch watch;
    HandMadePeer peer(context, endpoint);
    peer.introduce("AGAIN-AGAIN-AGAI", "again");
    ASSERT_TRUE(watch.wait(QNY_AGENT_ENTERED, "again"));
    ASSERT_TRUE(peer.receiveUntil(R"("services")")); // and has said that it consumed it
    const uint64_t before = refused();
    peer.send(5, raw<uint64_t>(1));
    peer.send(3, raw<uint64_t>(0) + raw<uint64_t>(0) + raw<uint64_t>(0));
    peer.data(item(2, "AGAIN-AGAIN-NONE")); // an agent that is not there: taken, and nothing comes of it
    peer.data(item(99, "what is this"));
    EXPECT_TRUE(eventually([&] { return refused() > before; })) << "its stream is read on";
    EXPECT_EQ(watch.count(QNY_AGENT_EXITED, "again"), 0U);
}

TEST_F(Hardening, WhoClaimsAnothersUuidEndsItsLinkOnlyWhenThatIsSilent)
{
    AgentWatch watch;
    HandMadePeer peer(context, endpoint);
    peer.introduce("CLAIM-CLAIM-CLAI", "claimed");
    ASSERT_TRUE(watch.wait(QNY_AGENT_ENTERED, "claimed"));
    void* socket = dealer();
    const Claimant claimant(peer, socket);
    const auto until = std::chrono::steady_clock::now() + 2500ms;
    while (std::chrono::steady_clock::now() < until) {
        claimant.claim();
        peer.send(3, raw(peer.number) + raw<uint64_t>(0) + raw<uint64_t>(0));
    }
    EXPECT_EQ(watch.count(QNY_AGENT_EXITED, "claimed"), 0U);
    // Now it may well be the peer itself, which has lost its link.
    EXPECT_TRUE(eventually([&] {
        claimant.claim();
        return watch.count(QNY_AGENT_EXITED, "claimed") > 0;
    }));
    zmq_close(socket);
}

TEST_F(Hardening, AThousandConnectionsThatSayNothingKeepNobodyOut)
{
    std::vector<int> connections;
    for (int i = 0; i < 1000; ++i) {
        connections.push_back(connectedTo(port));
    }
    const auto ended = [&] {
        return std::ranges::count_if(connections, [](int fd) {
            char byte = 0;
            return recv(fd, &byte, 1, MSG_DONTWAIT | MSG_PEEK) == 0 || errno == ECONNRESET;
        });
    };
    // What ZeroMQ says first is there to be read of those that stay, and of those that were ended before the end.
    const auto read = [&] {
        for (const int fd : connections) {
            char greeting[64];
            while (recv(fd, greeting, sizeof greeting, MSG_DONTWAIT) > 0) { }
        }
        return ended() >= 744;
    };
    EXPECT_TRUE(eventually(read, 20s)) << ended();
    {
        AgentWatch watch;
        PeerProcess other("comes all the same");
        EXPECT_TRUE(watch.wait(QNY_AGENT_ENTERED, "comes all the same", 10s));
    }
    EXPECT_LT(ended(), 1000) << "those that came last stay while there is room";
    for (const int fd : connections) {
        close(fd);
    }
}
