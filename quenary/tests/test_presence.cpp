// SPDX-License-Identifier: Apache-2.0
// How peers find one another, and how they learn that one has gone.
#include "loopback.h"
#include "peerprocess.h"

#include <atomic>
#include <csignal>
#include <gtest/gtest.h>
#include <memory>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace test;

namespace {

class Presence : public testing::Test
{
protected:
    void SetUp() override { qny_name_set("me"); }
    void TearDown() override { qny_stop(); }

    AgentWatch watch;
};

double millisecondsSince(std::chrono::steady_clock::time_point when)
{
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - when).count();
}

} // namespace

TEST_F(Presence, TwoPeersOnOneMachineFindEachOtherWithoutConfiguration)
{
    const qny_options_t mine = options();
    ASSERT_EQ(qny_start(&mine), QNY_SUCCESS) << qny_last_error();
    PeerProcess other("other");
    const auto* event = watch.wait(QNY_AGENT_ENTERED, "other");
    ASSERT_TRUE(event);
    EXPECT_EQ(event->processId, other.pid());
    EXPECT_EQ(event->address, "127.0.0.1");
    EXPECT_FALSE(event->standIn);
    EXPECT_FALSE(event->stoppable);
    // What it heard is looked at first: the answer to the next question takes all lines before it.
    EXPECT_FALSE(other.expect({ "entered", "me" }).empty());
    EXPECT_EQ(event->uuid, other.uuid());
    EXPECT_NE(event->executable.find("quenary_test_peer"), std::string::npos);
    char* host = qny_host_name();
    EXPECT_EQ(event->hostName, host);
    qny_free(host);
    EXPECT_TRUE(qny_agent_is_present("other"));
    EXPECT_TRUE(qny_agent_is_present(event->uuid.c_str()));
    EXPECT_FALSE(qny_agent_is_present("me")) << "agents of other processes only";
}

TEST_F(Presence, ACallMadeFromInsideTheAnnouncementIsAnswered)
{
    PeerProcess other("other");
    other.ask({ "service", "ask", "answering" });
    struct Answer
    {
        std::atomic<bool> came { false };
        std::atomic<int> result { -1 };
    } answer;
    qny_service_init(
        "answer",
        [](const char*, const char*, const char*, qny_service_arg_t*, size_t, const char*, void* user) {
            static_cast<Answer*>(user)->came = true;
        },
        &answer);
    const qny_agent_event_fn callAtOnce = [](qny_agent_event_t event, const qny_agent_info_t* agent, void* user) {
        if (event == QNY_AGENT_ENTERED) {
            static_cast<Answer*>(user)->result = qny_service_call(agent->uuid, "ask", nullptr, "now");
        }
    };
    qny_observe_agents(callAtOnce, &answer);
    const qny_options_t mine = options();
    ASSERT_EQ(qny_start(&mine), QNY_SUCCESS);
    EXPECT_TRUE(eventually([&] { return answer.came.load(); }));
    EXPECT_EQ(answer.result, QNY_SUCCESS);
    EXPECT_EQ(qny_unobserve_agents(callAtOnce, &answer), QNY_SUCCESS);
    EXPECT_EQ(qny_unobserve_agents(callAtOnce, &answer), QNY_ERROR_UNKNOWN);
    EXPECT_EQ(qny_service_remove("answer"), QNY_SUCCESS);
}

TEST_F(Presence, AKilledPeerIsSeenToEndWithinTheBound)
{
    const qny_options_t mine = options();
    ASSERT_EQ(qny_start(&mine), QNY_SUCCESS);
    PeerProcess other("victim");
    ASSERT_TRUE(watch.wait(QNY_AGENT_ENTERED, "victim"));
    const auto killed = std::chrono::steady_clock::now();
    other.end(SIGKILL);
    ASSERT_TRUE(watch.wait(QNY_AGENT_EXITED, "victim"));
    const double took = millisecondsSince(killed);
    RecordProperty("seen_after_ms", std::to_string(took));
    EXPECT_LT(took, QNY_PRESENCE_BOUND_MS);
    EXPECT_FALSE(qny_agent_is_present("victim"));
}

TEST_F(Presence, AFrozenPeerIsSeenToGoWithinTheBoundAndComesBackWhenItGoesOn)
{
    const qny_options_t mine = options();
    ASSERT_EQ(qny_start(&mine), QNY_SUCCESS);
    PeerProcess other("sleeper");
    ASSERT_TRUE(watch.wait(QNY_AGENT_ENTERED, "sleeper"));
    other.expect({ "entered", "me" });
    const auto frozen = std::chrono::steady_clock::now();
    other.signal(SIGSTOP);
    ASSERT_TRUE(watch.wait(QNY_AGENT_EXITED, "sleeper", Milliseconds(QNY_PRESENCE_BOUND_MS + 1000)));
    EXPECT_LT(millisecondsSince(frozen), QNY_PRESENCE_BOUND_MS);
    watch.clear();
    char* own = qny_uuid();
    const std::string me = own;
    qny_free(own);
    const auto isHeard = [&] {
        other.tell({ "heard", me });
        return other.expect({ "heard" })[1] == "yes";
    };
    other.signal(SIGCONT);
    EXPECT_FALSE(isHeard()) << "what it reads now was said before it was given up";
    EXPECT_TRUE(watch.wait(QNY_AGENT_ENTERED, "sleeper"));
    // It, too, hears of us anew, and each can call the other.
    EXPECT_FALSE(other.expect({ "exited", "me" }).empty());
    EXPECT_FALSE(other.expect({ "entered", "me" }).empty());
    EXPECT_EQ(other.ask({ "service", "ask" }), QNY_SUCCESS);
    EXPECT_EQ(qny_service_call("sleeper", "ask", nullptr, nullptr), QNY_SUCCESS);
    EXPECT_FALSE(other.expect({ "called", "ask", "me" }).empty());
    EXPECT_TRUE(eventually(isHeard));
}

TEST_F(Presence, ALeavingPeerSaysSo)
{
    const qny_options_t mine = options();
    ASSERT_EQ(qny_start(&mine), QNY_SUCCESS);
    PeerProcess other("leaver");
    ASSERT_TRUE(watch.wait(QNY_AGENT_ENTERED, "leaver"));
    const auto left = std::chrono::steady_clock::now();
    other.ask({ "stop" });
    const auto* exited = watch.wait(QNY_AGENT_EXITED, "leaver");
    ASSERT_TRUE(exited);
    EXPECT_LT(millisecondsSince(left), 1000);
    EXPECT_FALSE(exited->fellSilent);
}

TEST_F(Presence, WhatGotLostOnTheWayToAPeerIsSaidAgainWithoutWaitingLongerEachTime)
{
    const qny_options_t mine = options();
    ASSERT_EQ(qny_start(&mine), QNY_SUCCESS);
    AgentWatch watch;
    PeerProcess other("far away");
    ASSERT_TRUE(watch.wait(QNY_AGENT_ENTERED, "far away"));
    // This process has no connections but those of the library: one leads to the peer, the other comes from it.
    const auto hasty = [] {
        int count = 0;
        for (int fd = 0; fd < 1024; ++fd) {
            sockaddr_storage other {};
            socklen_t length = sizeof other;
            int isOn = 0;
            socklen_t size = sizeof isOn;
            if (getpeername(fd, reinterpret_cast<sockaddr*>(&other), &length) == 0 && other.ss_family == AF_INET
                && getsockopt(fd, IPPROTO_TCP, TCP_THIN_LINEAR_TIMEOUTS, &isOn, &size) == 0) {
                count += isOn;
            }
        }
        return count;
    };
    EXPECT_TRUE(eventually([&] { return hasty() == 1; })) << hasty();
}

TEST_F(Presence, WhatAMonitoredAgentPublishesWhileItIsAwayIsToldAsLostUnlessItsMonitorWasRemoved)
{
    const qny_options_t mine = options();
    ASSERT_EQ(qny_start(&mine), QNY_SUCCESS);
    PeerProcess kept("kept");
    PeerProcess removed("removed");
    const std::string uuids[] = { kept.uuid(), removed.uuid() };
    Arrivals seen[2];
    PeerProcess* const sources[] = { &kept, &removed };
    const auto monitor = [&](size_t i) { return qny_monitor_add(uuids[i].c_str(), &Arrivals::take, &seen[i]); };
    for (size_t i = 0; i < 2; ++i) {
        sources[i]->ask({ "output", "out", "integer" });
        sources[i]->ask({ "output", "unused", "integer" });
        sources[i]->ask({ "publish", "out", "integer", "1" });
        ASSERT_TRUE(watch.wait(QNY_AGENT_ENTERED, i == 0 ? "kept" : "removed"));
        ASSERT_EQ(monitor(i), QNY_SUCCESS);
        ASSERT_TRUE(seen[i].waitFor(1));
        // The last answer to the monitor is that of the output without a value: what comes next stands behind it.
        sources[i]->ask({ "publish", "out", "integer", "2" });
        ASSERT_TRUE(seen[i].waitFor(2));
        EXPECT_TRUE(qny_agent_is_heard(uuids[i].c_str()));
        EXPECT_GE(qny_agent_silence_ms(uuids[i].c_str()), 0);
        // It speaks unasked.
        EXPECT_TRUE(eventually([&] { return qny_agent_silence_ms(uuids[i].c_str()) > 100; }));
        EXPECT_TRUE(eventually([&] { return qny_agent_silence_ms(uuids[i].c_str()) < 100; }));
        sources[i]->signal(SIGSTOP);
    }
    // It is missed before it is given up.
    EXPECT_TRUE(eventually([&] { return !qny_agent_is_heard(uuids[0].c_str()); }));
    EXPECT_GE(qny_agent_silence_ms(uuids[0].c_str()), 1500);
    EXPECT_TRUE(qny_agent_is_present("kept"));
    for (const char* name : { "kept", "removed" }) {
        const auto* exited = watch.wait(QNY_AGENT_EXITED, name);
        ASSERT_TRUE(exited);
        EXPECT_TRUE(exited->fellSilent);
    }
    EXPECT_EQ(qny_agent_silence_ms(uuids[0].c_str()), -1);
    EXPECT_EQ(qny_monitor_remove(uuids[1].c_str()), QNY_ERROR_UNKNOWN) << "it is away";
    watch.clear();
    for (size_t i = 0; i < 2; ++i) {
        sources[i]->signal(SIGCONT);
        sources[i]->ask({ "publish", "out", "integer", "3" });
        sources[i]->ask({ "publish", "out", "integer", "4" });
        sources[i]->ask({ "publish", "unused", "integer", "5" });
        ASSERT_TRUE(watch.wait(QNY_AGENT_ENTERED, i == 0 ? "kept" : "removed"));
        ASSERT_EQ(monitor(i), QNY_SUCCESS);
        ASSERT_TRUE(seen[i].waitFor(4));
        const auto out = seen[i].all()[2];
        const auto unused = seen[i].all()[3];
        EXPECT_TRUE(out.last && unused.last);
        EXPECT_EQ(out.sequence, 4U);
        EXPECT_EQ(out.lost, i == 0 ? 2U : 0U);
        EXPECT_EQ(unused.output, "unused");
        EXPECT_EQ(unused.lost, i == 0 ? 1U : 0U);
    }
}

TEST_F(Presence, AProgramThatForgetsToStopEndsCleanlyAndIsSeenToGo)
{
    const qny_options_t mine = options();
    ASSERT_EQ(qny_start(&mine), QNY_SUCCESS);
    PeerProcess other("forgetful");
    ASSERT_TRUE(watch.wait(QNY_AGENT_ENTERED, "forgetful"));
    other.tell({ "leave-without-stop" });
    EXPECT_EQ(other.waitForEnd(), 0);
    EXPECT_TRUE(watch.wait(QNY_AGENT_EXITED, "forgetful", 2s));
}

TEST_F(Presence, StoppingTellsOfTheDepartureOfEveryAgentAndStartingAgainFindsThemAgain)
{
    const qny_options_t mine = options();
    ASSERT_EQ(qny_start(&mine), QNY_SUCCESS);
    PeerProcess other("other");
    ASSERT_TRUE(watch.wait(QNY_AGENT_ENTERED, "other"));
    ASSERT_FALSE(other.expect({ "entered", "me" }).empty());
    qny_stop();
    EXPECT_EQ(watch.count(QNY_AGENT_EXITED, "other"), 1U) << "told before qny_stop() returns";
    EXPECT_FALSE(qny_is_started());
    EXPECT_EQ(qny_endpoint(), nullptr);
    EXPECT_FALSE(other.expect({ "exited", "me" }).empty());
    watch.clear();
    ASSERT_EQ(qny_start(&mine), QNY_SUCCESS);
    EXPECT_TRUE(watch.wait(QNY_AGENT_ENTERED, "other"));
    EXPECT_FALSE(other.expect({ "entered", "me" }).empty());
}

TEST_F(Presence, ExplicitPeersFindEachOtherWithoutMulticast)
{
    const uint16_t port = freeTcpPort();
    PeerProcess other("listener", { "--peers", "127.0.0.1:1", "--listen", std::to_string(port) });
    EXPECT_EQ(other.endpoint(), "tcp://127.0.0.1:" + std::to_string(port));
    qny_options_t mine = options();
    mine.multicast = false;
    const std::string peers = "localhost:" + std::to_string(port);
    mine.peers = peers.c_str();
    ASSERT_EQ(qny_start(&mine), QNY_SUCCESS) << qny_last_error();
    EXPECT_TRUE(watch.wait(QNY_AGENT_ENTERED, "listener"));
    EXPECT_FALSE(other.expect({ "entered", "me" }).empty());
}

TEST_F(Presence, ProcessesShareARangeOfPortsAndAreAllFoundByIt)
{
    const uint16_t first = freeTcpPort();
    const std::string range = std::to_string(first) + "-" + std::to_string(first + 3);
    setenv("QNY_LISTEN", range.c_str(), 1);
    PeerProcess one("one", { "--peers", "127.0.0.1:1" });
    PeerProcess two("two", { "--peers", "127.0.0.1:1" });
    unsetenv("QNY_LISTEN");
    qny_options_t mine = options();
    mine.multicast = false;
    const std::string peers = "127.0.0.1:" + range;
    mine.peers = peers.c_str();
    ASSERT_EQ(qny_start(&mine), QNY_SUCCESS) << qny_last_error();
    EXPECT_TRUE(watch.wait(QNY_AGENT_ENTERED, "one"));
    EXPECT_TRUE(watch.wait(QNY_AGENT_ENTERED, "two"));
    EXPECT_NE(one.endpoint(), two.endpoint());
    qny_stop();

    // When none of the ports is left, that is told.
    const std::string taken = two.endpoint().substr(two.endpoint().rfind(':') + 1);
    setenv("QNY_LISTEN", taken.c_str(), 1);
    EXPECT_EQ(qny_start(&mine), QNY_ERROR_PORT_IN_USE);
    EXPECT_NE(std::string(qny_last_error()).find(taken), std::string::npos) << qny_last_error();
    setenv("QNY_LISTEN", "80-70", 1);
    EXPECT_EQ(qny_start(&mine), QNY_ERROR_ARGUMENT);
    unsetenv("QNY_LISTEN");
}

TEST_F(Presence, AnExplicitPeerMayStartLaterAndUseIpv6)
{
    size_t count = 0;
    qny_device_t* devices = qny_devices(&count);
    bool hasIpv6 = false;
    for (size_t i = 0; i < count; ++i) {
        hasIpv6 = hasIpv6 || std::string(devices[i].address) == "::1";
    }
    qny_free(devices);
    if (!hasIpv6) {
        GTEST_SKIP() << "this machine has no ::1";
    }
    const uint16_t port = freeTcpPort();
    qny_options_t mine = options();
    mine.multicast = false;
    const std::string peers = "[::1]:" + std::to_string(port);
    mine.peers = peers.c_str();
    ASSERT_EQ(qny_start(&mine), QNY_SUCCESS) << qny_last_error();
    PeerProcess other("six", { "--device", "::1", "--peers", "", "--listen", std::to_string(port) });
    const auto* event = watch.wait(QNY_AGENT_ENTERED, "six");
    ASSERT_TRUE(event);
    EXPECT_EQ(event->address, "::1");
    EXPECT_FALSE(other.expect({ "entered", "me" }).empty());
}

TEST_F(Presence, TheCommandLineIsShownWithItsPasswordsMasked)
{
    PeerProcess other("masked", { "--password", "secret", "--password=secret2", "-asecret3", "-a", "secret4" });
    const qny_options_t mine = options();
    ASSERT_EQ(qny_start(&mine), QNY_SUCCESS);
    const auto* event = watch.wait(QNY_AGENT_ENTERED, "masked");
    ASSERT_TRUE(event);
    const std::vector<std::string> shown(event->arguments.end() - 6, event->arguments.end());
    EXPECT_EQ(shown,
        (std::vector<std::string> { "--password", "********", "--password=********", "-a********", "-a", "********" }));
    EXPECT_EQ(event->arguments[0], "--port");
}

TEST_F(Presence, SeveralAgentsOfOneProcessAreEachShown)
{
    PeerProcess other("first");
    other.ask({ "agent", "second" });
    other.ask({ "agent", "third", "stand-in" });
    other.ask({ "observe-stop" });
    const qny_options_t mine = options();
    ASSERT_EQ(qny_start(&mine), QNY_SUCCESS);
    const auto* first = watch.wait(QNY_AGENT_ENTERED, "first");
    ASSERT_TRUE(first);
    EXPECT_TRUE(first->stoppable);
    EXPECT_EQ(watch.count(QNY_AGENT_ENTERED, "second"), 0U) << "not before it is activated";
    other.ask({ "activate", "second" });
    other.ask({ "activate", "third" });
    const auto* second = watch.wait(QNY_AGENT_ENTERED, "second");
    const auto* third = watch.wait(QNY_AGENT_ENTERED, "third");
    ASSERT_TRUE(second && third);
    EXPECT_EQ(first->peerUuid, second->peerUuid);
    EXPECT_NE(first->uuid, second->uuid);
    EXPECT_TRUE(third->standIn);
    EXPECT_FALSE(third->stoppable);
    EXPECT_EQ(third->executable, "");
    EXPECT_TRUE(third->arguments.empty());
    other.ask({ "deactivate", "second" });
    EXPECT_TRUE(watch.wait(QNY_AGENT_EXITED, "second"));
    EXPECT_EQ(watch.count(QNY_AGENT_EXITED, "first"), 0U);
    watch.clear();
    other.ask({ "activate", "second" });
    EXPECT_TRUE(watch.wait(QNY_AGENT_ENTERED, "second"));
}

TEST_F(Presence, ARenamedAgentLeavesAndComesUnderTheSameUuid)
{
    const qny_options_t mine = options();
    ASSERT_EQ(qny_start(&mine), QNY_SUCCESS);
    PeerProcess other("old");
    const auto* before = watch.wait(QNY_AGENT_ENTERED, "old");
    ASSERT_TRUE(before);
    const std::string uuid = before->uuid;
    other.ask({ "name", "new" });
    EXPECT_TRUE(watch.wait(QNY_AGENT_EXITED, "old"));
    const auto* after = watch.wait(QNY_AGENT_ENTERED, "new");
    ASSERT_TRUE(after);
    EXPECT_EQ(after->uuid, uuid);
}

TEST_F(Presence, ChangesOfADefinitionAreToldTogetherAndBeforeACallThatFollows)
{
    const qny_options_t mine = options();
    ASSERT_EQ(qny_start(&mine), QNY_SUCCESS);
    PeerProcess other("grower");
    ASSERT_TRUE(watch.wait(QNY_AGENT_ENTERED, "grower"));
    for (int i = 0; i < 50; ++i) {
        other.tell({ "service", "service" + std::to_string(i) });
    }
    other.tell({ "argument", "service49", "how", "double" });
    ASSERT_TRUE(eventually([&] {
        const auto* event = watch.wait(QNY_AGENT_UPDATED, "grower");
        const bool last = event && event->definition.find("service49") != std::string::npos
            && event->definition.find("\"how\"") != std::string::npos;
        if (!last) {
            watch.clear();
        }
        return last;
    }));
    EXPECT_LT(watch.count(QNY_AGENT_UPDATED, "grower"), 50U);
}

TEST_F(Presence, AnAgentIsAskedToStopOnlyWhenItListens)
{
    const qny_options_t mine = options();
    ASSERT_EQ(qny_start(&mine), QNY_SUCCESS);
    PeerProcess other("willing");
    const auto* event = watch.wait(QNY_AGENT_ENTERED, "willing");
    ASSERT_TRUE(event);
    const std::string uuid = event->uuid;
    EXPECT_EQ(qny_request_stop(uuid.c_str()), QNY_ERROR_ARGUMENT) << "it does not observe such requests";
    other.ask({ "observe-stop" });
    const auto* updated = watch.wait(QNY_AGENT_UPDATED, "willing");
    ASSERT_TRUE(updated);
    EXPECT_TRUE(updated->stoppable);
    EXPECT_EQ(qny_request_stop(uuid.c_str()), QNY_SUCCESS) << qny_last_error();
    EXPECT_FALSE(other.expect({ "asked-to-stop", "me" }).empty());
    EXPECT_EQ(qny_request_stop("2c5ea4c0-4067-11e9-8bad-9b1deb4d3b7d"), QNY_ERROR_UNKNOWN_AGENT);
    EXPECT_EQ(qny_request_stop(nullptr), QNY_ERROR_ARGUMENT);
}

TEST_F(Presence, ADiscoveryPortThatAnotherProgramHoldsIsToldAtTheStart)
{
    auto held = std::make_unique<HeldPort>(SOCK_DGRAM);
    qny_options_t mine = options();
    mine.port = held->port();
    EXPECT_EQ(qny_start(&mine), QNY_ERROR_PORT_IN_USE);
    EXPECT_NE(std::string(qny_last_error()).find(std::to_string(mine.port)), std::string::npos);
    EXPECT_FALSE(qny_is_started());
    held.reset();
    EXPECT_EQ(qny_start(&mine), QNY_SUCCESS) << "after a failure nothing is left behind: " << qny_last_error();
}

TEST_F(Presence, AListenPortThatAnotherProgramHoldsIsToldAtTheStart)
{
    const HeldPort held(SOCK_STREAM);
    qny_options_t mine = options();
    mine.listen_port = held.port();
    EXPECT_EQ(qny_start(&mine), QNY_ERROR_PORT_IN_USE);
}

TEST_F(Presence, AnUnknownDeviceIsToldWithTheOnesThereAre)
{
    qny_options_t mine = options();
    mine.device = "nosuch0";
    EXPECT_EQ(qny_start(&mine), QNY_ERROR_DEVICE);
    const std::string told = qny_last_error();
    EXPECT_NE(told.find("nosuch0"), std::string::npos) << told;
    EXPECT_NE(told.find("lo (127.0.0.1)"), std::string::npos) << told;
}

TEST_F(Presence, AStartThatCannotBeDoneSaysWhy)
{
    qny_options_t mine = options();
    mine.private_certificate = "mine.key";
    EXPECT_EQ(qny_start(&mine), QNY_ERROR_SECURITY);
    mine = options();
    mine.public_certificates = "certificates";
    EXPECT_EQ(qny_start(&mine), QNY_ERROR_SECURITY);
    for (const char* peers : { "nocolon", "host:", "host:0", "host:99999", "::1:77", ":77", "ho st:77", "host:7x",
             "host:9-8", "host:7-", "host:1-2-3" }) {
        mine = options();
        mine.peers = peers;
        EXPECT_EQ(qny_start(&mine), QNY_ERROR_ARGUMENT) << peers;
        EXPECT_NE(std::string(qny_last_error()).find("host:port"), std::string::npos);
    }
    mine = options();
    mine.peers = "host:1-100,host:1-29";
    EXPECT_EQ(qny_start(&mine), QNY_ERROR_ARGUMENT);
    EXPECT_NE(std::string(qny_last_error()).find("more than 128"), std::string::npos);
    mine = options();
    ASSERT_EQ(qny_start(&mine), QNY_SUCCESS);
    EXPECT_TRUE(qny_is_started());
    EXPECT_EQ(qny_start(&mine), QNY_ERROR_STARTED);
    EXPECT_EQ(qny_set_command_line(0, nullptr, nullptr), QNY_ERROR_STARTED);
}

TEST_F(Presence, TheEnvironmentGivesDeviceAndPortWhereTheOptionsLeaveThemOut)
{
    setenv("QNY_DEVICE", "127.0.0.1", 1);
    setenv("QNY_PORT", std::to_string(discoveryPort()).c_str(), 1);
    EXPECT_EQ(qny_start(nullptr), QNY_SUCCESS) << qny_last_error();
    PeerProcess other("by-environment");
    EXPECT_TRUE(watch.wait(QNY_AGENT_ENTERED, "by-environment"));
    qny_stop();
    setenv("QNY_PORT", "many", 1);
    EXPECT_EQ(qny_start(nullptr), QNY_ERROR_ARGUMENT);
    unsetenv("QNY_DEVICE");
    unsetenv("QNY_PORT");
}
