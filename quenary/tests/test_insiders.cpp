// SPDX-License-Identifier: Apache-2.0
// A peer like any other, that means harm: it may hurt itself, and nobody else.
#include "handmadepeer.h"
#include "loopback.h"

#include <algorithm>

using namespace test;

namespace {

// The library's lines of one level.
std::atomic<size_t> debugLines { 0 };
std::atomic<bool> leftOutTold { false };
void countLines(qny_log_level_t level, const char* message, void*)
{
    debugLines += level == QNY_LOG_DEBUG ? 1 : 0;
    leftOutTold = leftOutTold || std::strstr(message, "more lines were left out before") != nullptr;
}

// By hand what ZeroMQ says first: its greeting, with no security, and what kind of socket this is.
std::string transportBeginning(const std::string& socketType)
{
    const std::string ready = "\5READY" + std::string("\x0bSocket-Type\0\0\0\6", 16) + socketType;
    return std::string("\xff\0\0\0\0\0\0\0\1\x7f\3\0", 12) + "NULL" + std::string(48, '\0') + '\4'
        + static_cast<char>(ready.size()) + ready;
}

// Sends the part again and again, not faster than a good line; at most 1 GiB. Whether that found an end before.
bool sendsUntilCutOff(int fd, const std::string& part)
{
    constexpr size_t most = size_t { 1024 } * 1024 * 1024;
    size_t sent = 0;
    bool ended = false;
    while (!ended && sent < most) {
        const size_t begin = sent % part.size();
        const ssize_t count = ::send(fd, part.data() + begin, part.size() - begin, MSG_NOSIGNAL);
        ended = count <= 0;
        sent += count > 0 ? static_cast<size_t>(count) : 0;
        if (sent > 4 * 1024 * 1024) {
            std::this_thread::sleep_for(1ms);
        }
    }
    close(fd);
    return ended;
}

} // namespace

TEST_F(Hardening, NobodySaysOfAnothersOutputThatItsPublicationsWereLost)
{
    Arrivals arrivals;
    ASSERT_EQ(qny_input_create("in", QNY_INTEGER_T, nullptr, 0), QNY_SUCCESS);
    qny_observe_input_publications("in", &Arrivals::take, &arrivals);
    qny_mapping_add("in", "victim", "out");
    AgentWatch watch;
    PeerProcess victim("victim");
    victim.ask({ "output", "out", "integer" });
    victim.ask({ "publish", "out", "integer", "1" });
    ASSERT_TRUE(arrivals.waitFor(1));
    HandMadePeer peer(context, endpoint);
    peer.introduce("HARM-HARM-HARM-H", "means harm");
    ASSERT_TRUE(watch.wait(QNY_AGENT_ENTERED, "means harm"));
    const uint64_t before = refused();
    const std::string uuid = bytesOf(watch.wait(QNY_AGENT_ENTERED, "victim")->uuid);
    peer.data(item(9, std::string("\3") + uuid + "out" + raw<uint64_t>(1'000'000)));
    EXPECT_TRUE(eventually([&] { return refused() == before + 1; }));
    victim.ask({ "publish", "out", "integer", "2" });
    ASSERT_TRUE(arrivals.waitFor(2)) << "what it publishes is not taken for seen";
    EXPECT_EQ(arrivals.all().back().bytes, raw<int32_t>(2));
    EXPECT_EQ(arrivals.all().back().lost, 0U);
    qny_input_remove("in");
}

TEST_F(Hardening, AMessageOfPartsWithoutEndIsCutOff)
{
    const int fd = connectedTo(port);
    const std::string beginning = transportBeginning("DEALER");
    ASSERT_EQ(::send(fd, beginning.data(), beginning.size(), MSG_NOSIGNAL), static_cast<ssize_t>(beginning.size()));
    // "More follows", half a MiB, and so on: ZeroMQ hands none of it over before the last.
    EXPECT_TRUE(sendsUntilCutOff(fd, std::string("\3\0\0\0\0\0\x08\0\0", 9) + std::string(512 * 1024, 'x')));
}

TEST_F(Hardening, WhoSendsMuchAndComesToAnEndIsNotCutOff)
{
    static std::atomic<size_t> cut;
    cut = 0;
    qny_log_set_handler(
        [](qny_log_level_t, const char* message, void*) {
            cut += std::strstr(message, "without an end") || std::strstr(message, "is gone") ? 1 : 0;
        },
        nullptr);
    Arrivals arrivals;
    ASSERT_EQ(qny_input_create("much", QNY_DATA_T, nullptr, 0), QNY_SUCCESS);
    qny_observe_input_publications("much", &Arrivals::take, &arrivals);
    qny_mapping_add("much", "talker", "out");
    PeerProcess talker("talker");
    talker.ask({ "output", "out", "data" });
    talker.ask({ "burst", "out", "1", "1" });
    ASSERT_TRUE(arrivals.waitFor(1));
    // Twice as much as a peer may send before the end of a message, in messages that are as large as may be.
    talker.ask({ "burst", "out", "32", "1000000" });
    EXPECT_TRUE(arrivals.waitFor(33, 10s));
    EXPECT_EQ(cut, 0U);
    qny_log_set_handler([](qny_log_level_t, const char*, void*) { }, nullptr);
    qny_input_remove("much");
}

TEST_F(Hardening, APeerThatAsksAndDoesNotTakeIsCutOff)
{
    qny_stop();
    qny_options_t mine = options();
    mine.max_peer_queue_bytes = 4 * 1024 * 1024;
    start(mine);
    ASSERT_EQ(qny_output_create("large", QNY_DATA_T, nullptr, 0), QNY_SUCCESS);
    const std::string value(1024 * 1024, 'v');
    ASSERT_EQ(qny_output_publish("large", QNY_DATA_T, value.data(), value.size(), 0, nullptr), QNY_SUCCESS);
    AgentWatch watch;
    {
        HandMadePeer peer(context, endpoint);
        peer.introduce("GREEDYGREEDYGREE", "greedy");
        ASSERT_TRUE(watch.wait(QNY_AGENT_ENTERED, "greedy"));
        char* own = qny_agent_uuid(qny_default_agent());
        const std::string uuid = bytesOf(own);
        qny_free(own);
        // Each of these requests is answered with the MiB, and none of the answers is taken.
        std::string requests;
        for (uint64_t id = 1; id <= 1000; ++id) {
            requests += item(5, raw(id) + uuid + '\0' + named("large"));
        }
        peer.data(requests);
        EXPECT_TRUE(watch.wait(QNY_AGENT_EXITED, "greedy", 3s));
    }
    qny_output_remove("large");
}

TEST_F(Hardening, APeerThatDoesNotTakeItsAnswersIsCutOff)
{
    qny_stop();
    qny_options_t mine = options();
    mine.max_peer_queue_bytes = 1024 * 1024;
    start(mine);
    AgentWatch watch;
    HandMadePeer peer(context, endpoint);
    peer.introduce("DEAF-DEAF-DEAF-D", "deaf");
    ASSERT_TRUE(watch.wait(QNY_AGENT_ENTERED, "deaf"));
    const std::string answer(900, 'a'); // it takes no more than 1000 bytes
    // Calls are not dropped: of this one's four times 16 MiB wait at most.
    size_t sent = 0;
    const bool ended = eventually([&] {
        for (int i = 0; i < 2000; ++i) {
            qny_service_arg_t* list = nullptr;
            qny_service_args_add_string(&list, answer.c_str());
            sent += qny_service_call("deaf", "answer", &list, nullptr) == QNY_SUCCESS ? answer.size() : 0;
        }
        return watch.count(QNY_AGENT_EXITED, "deaf") > 0;
    });
    EXPECT_TRUE(ended);
    EXPECT_GT(sent, size_t { 60 } * 1024 * 1024);
}

TEST_F(Hardening, APeerWhoseAgentsSayTooMuchOfThemselvesShowsNoMoreThanTheBound)
{
    AgentWatch watch;
    HandMadePeer peer(context, endpoint);
    peer.introduce("MUCHMUCHMUCHMUCH", "much");
    ASSERT_TRUE(watch.wait(QNY_AGENT_ENTERED, "much"));
    const uint64_t before = refused();
    const std::string definition = R"({"note":")" + std::string(1'000'000, 'n') + R"("})";
    constexpr size_t bound = size_t { 64 } * 1024 * 1024 / 1'000'011;
    constexpr size_t tried = bound + 5;
    for (size_t i = 0; i < tried; ++i) {
        std::string uuid(16, 'm');
        uuid[0] = static_cast<char>(i);
        peer.data(agentItem(uuid, "wordy", definition));
        // It may send ahead 8 MiB and no more.
        ASSERT_TRUE(eventually([&] { return watch.count(QNY_AGENT_ENTERED, "wordy") + refused() - before == i + 1; }));
    }
    EXPECT_EQ(watch.count(QNY_AGENT_ENTERED, "wordy"), bound);
    EXPECT_EQ(watch.count(QNY_AGENT_EXITED, "much"), 0U);
}

TEST_F(Hardening, WhatOthersDoAgainAndAgainDoesNotFillTheLog)
{
    debugLines = 0;
    leftOutTold = false;
    qny_log_set_handler(countLines, nullptr);
    void* socket = dealer();
    Forged forged;
    constexpr size_t said = 4000;
    const auto began = std::chrono::steady_clock::now();
    for (size_t i = 0; i < said; ++i) {
        send(socket, forged.make(2, helloPayload()));
    }
    // One more a moment later says how many there were.
    EXPECT_TRUE(eventually([&] {
        send(socket, forged.make(2, helloPayload()));
        return leftOutTold.load();
    }));
    const auto seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - began).count();
    EXPECT_LT(static_cast<double>(debugLines), 230 + 25 * seconds) << "of " << said;
    zmq_close(socket);
    qny_log_set_handler([](qny_log_level_t, const char*, void*) { }, nullptr);
}

TEST_F(Hardening, WhoSendsToUsByOurOwnConnectionIsLetGo)
{
    // The place to which its Hello leads us; we only ever speak there.
    const HeldPort listener(SOCK_STREAM);
    Forged forged;
    forged.port = listener.port();
    void* speaker = dealer();
    send(speaker, forged.make(2, helloPayload()));
    const int fd = accept(listener.fd(), nullptr, nullptr);
    ASSERT_GE(fd, 0);
    const std::string beginning = transportBeginning("ROUTER");
    ASSERT_EQ(::send(fd, beginning.data(), beginning.size(), MSG_NOSIGNAL), static_cast<ssize_t>(beginning.size()));
    EXPECT_TRUE(sendsUntilCutOff(fd, std::string("\3\0\0\0\0\0\0\x40\0", 9) + std::string(16 * 1024, 'x')));
    zmq_close(speaker);
}
