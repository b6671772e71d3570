// SPDX-License-Identifier: Apache-2.0
// A peer like any other, that means harm: it may hurt itself, and nobody else.
#include "handmadepeer.h"
#include "logwatch.h"

#include <algorithm>
#include <fstream>
#include <poll.h>
#include <sys/resource.h>

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

// As much as goes at once, from somewhere in these bytes. 0: the other side has ended the connection.
size_t sendSome(int fd, std::string_view bytes)
{
    pollfd writable { .fd = fd, .events = POLLOUT | POLLRDHUP, .revents = 0 };
    if (poll(&writable, 1, -1) < 0 || (writable.revents & ~POLLOUT) != 0) {
        return 0;
    }
    const ssize_t count = ::send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    return count > 0 ? static_cast<size_t>(count) : 0;
}

bool sendAll(int fd, std::string_view bytes)
{
    while (!bytes.empty()) {
        const size_t count = sendSome(fd, bytes);
        if (count == 0) {
            return false;
        }
        bytes.remove_prefix(count);
    }
    return true;
}

// The most that this process has taken so far, in bytes.
size_t peakMemory()
{
    rusage usage {};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<size_t>(usage.ru_maxrss) * 1024;
}

// Reads until these bytes have come. False when the other side has ended the connection before.
bool awaitBytes(int fd, std::string_view bytes)
{
    std::string heard;
    while (heard.find(bytes) == std::string::npos) {
        char some[1024];
        const ssize_t count = ::recv(fd, some, sizeof some, 0);
        if (count <= 0) {
            return false;
        }
        heard.append(some, static_cast<size_t>(count));
    }
    return true;
}

// By hand what ZeroMQ does first: its greeting, with no security, and what kind of socket this is. Nothing may follow
// before the other side has done the same.
bool beginTransport(
    int fd, const std::string& socketType, const std::string& identity = {}, const std::string& properties = {})
{
    const auto length = [](size_t size) {
        const auto number = htonl(static_cast<uint32_t>(size));
        return std::string(reinterpret_cast<const char*>(&number), sizeof number);
    };
    const std::string ready = "\5READY" + std::string("\x0bSocket-Type\0\0\0\6", 16) + socketType + "\x08Identity"
        + length(identity.size()) + identity + properties;
    const std::string said = std::string("\xff\0\0\0\0\0\0\0\1\x7f\3\0", 12) + "NULL" + std::string(48, '\0')
        + std::string("\6\0\0\0\0", 5) + length(ready.size()) + ready;
    return sendAll(fd, said) && awaitBytes(fd, "READY");
}

// Of this process, bytes.
size_t memoryNow()
{
    size_t pages = 0;
    size_t resident = 0;
    std::ifstream("/proc/self/statm") >> pages >> resident;
    return resident * static_cast<size_t>(sysconf(_SC_PAGESIZE));
}

// Reads until the other side ends the connection. False when it does not within five seconds.
bool awaitEnd(int fd)
{
    pollfd readable { .fd = fd, .events = POLLIN, .revents = 0 };
    char some[4096];
    while (poll(&readable, 1, 5000) > 0) {
        if (::recv(fd, some, sizeof some, 0) <= 0) {
            return true;
        }
    }
    return false;
}

// Ends the connection at once, whatever is on its way.
void reset(int fd)
{
    const linger now { .l_onoff = 1, .l_linger = 0 };
    setsockopt(fd, SOL_SOCKET, SO_LINGER, &now, sizeof now);
    close(fd);
}

// Sends the part again and again, not faster than a good line; at most 1 GiB. Whether that found an end before.
bool sendsUntilCutOff(int fd, const std::string& part)
{
    constexpr size_t most = size_t { 1024 } * 1024 * 1024;
    size_t sent = 0;
    bool ended = false;
    while (!ended && sent < most) {
        const size_t begin = sent % part.size();
        const size_t count = sendSome(fd, std::string_view(part).substr(begin));
        ended = count == 0;
        sent += count;
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
    ASSERT_TRUE(beginTransport(fd, "DEALER"));
    // "More follows", half a MiB, and so on: ZeroMQ hands none of it over before the last.
    EXPECT_TRUE(sendsUntilCutOff(fd, std::string("\3\0\0\0\0\0\x08\0\0", 9) + std::string(512 * 1024, 'x')));
}

TEST_F(Hardening, AMessageOfPartsWithoutEndIsCutOffAlsoWhereNothingElseCame)
{
    // After a call the callback thread waits for what follows; what has no end wakes nobody who waits for messages.
    PeerProcess talker("talker");
    ASSERT_FALSE(talker.expect({ "entered", "me" }).empty());
    std::atomic<int> calls { 0 };
    qny_service_init("count", countCall, &calls);
    const int fd = connectedTo(port);
    ASSERT_TRUE(beginTransport(fd, "DEALER"));
    talker.ask({ "call", "me", "count", "", "x" });
    ASSERT_TRUE(eventually([&] { return calls == 1; }));
    talker.signal(SIGSTOP); // nor does it say any more that it is there
    EXPECT_TRUE(sendsUntilCutOff(fd, std::string("\3\0\0\0\0\0\x08\0\0", 9) + std::string(512 * 1024, 'x')));
    talker.signal(SIGCONT);
    qny_service_remove("count");
}

TEST_F(Hardening, WhoSendsMuchAndComesToAnEndIsNotCutOff)
{
    LogWatch log;
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
    EXPECT_EQ(log.count("a connection was ended") + log.count("is gone"), 0U) << log.all();
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

TEST_F(Hardening, ADefinitionOfManyUnknownMembersHoldsNobodyUp)
{
    AgentWatch watch;
    PeerProcess other("stays");
    ASSERT_TRUE(watch.wait(QNY_AGENT_ENTERED, "stays"));
    HandMadePeer peer(context, endpoint);
    peer.introduce("LONGLONGLONGLONG", "long");
    ASSERT_TRUE(watch.wait(QNY_AGENT_ENTERED, "long"));
    std::string definition = "{";
    for (int i = 0; i < 100'000; ++i) {
        definition += (i == 0 ? "\"" : ",\"") + std::to_string(i) + "\":0";
    }
    peer.data(agentItem("WORDYWORDYWORDYW", "wordy", definition + "}"));
    EXPECT_TRUE(watch.wait(QNY_AGENT_ENTERED, "wordy"));
    EXPECT_EQ(watch.count(QNY_AGENT_EXITED, "stays"), 0U);
}

TEST_F(Hardening, SubscriptionsWhoseNumbersAreChosenWithCareHoldNobodyUp)
{
    AgentWatch watch;
    PeerProcess other("stays");
    ASSERT_TRUE(watch.wait(QNY_AGENT_ENTERED, "stays"));
    HandMadePeer peer(context, endpoint);
    peer.introduce("CAREFULCAREFUL-C", "careful");
    ASSERT_TRUE(watch.wait(QNY_AGENT_ENTERED, "careful"));
    char* own = qny_agent_uuid(qny_default_agent());
    const std::string uuid = bytesOf(own);
    qny_free(own);
    // In a table of so many places all of them fall into one. After they are made, some are asked for again.
    constexpr uint64_t places = 85'229;
    std::string requests;
    const auto ask = [&](uint64_t id, uint64_t last) {
        for (; id <= last; ++id) {
            requests += item(5, raw(id * places) + uuid + '\0' + named("o"));
            if (requests.size() > 1'000'000 || id == last) {
                peer.data(std::exchange(requests, {}));
            }
        }
    };
    ask(1, places);
    ask(1, 90'000);
    peer.data(agentItem("AFTERAFTERAFTERA", "after", "{}"));
    EXPECT_TRUE(watch.wait(QNY_AGENT_ENTERED, "after"));
    EXPECT_EQ(watch.count(QNY_AGENT_EXITED, "stays"), 0U);
}

TEST_F(Hardening, AnAgentThatIsRenamedAgainAndAgainTakesNoMemoryForItsCommandLine)
{
    // Keeps nothing of what it is told.
    constexpr int renamed = 2000;
    std::atomic<int> entered = 0;
    const auto count = [](qny_agent_event_t event, const qny_agent_info_t*, void* user) {
        *static_cast<std::atomic<int>*>(user) += event == QNY_AGENT_ENTERED ? 1 : 0;
    };
    ASSERT_EQ(qny_observe_agents(count, &entered), QNY_SUCCESS);
    const std::string longArgument(250'000, 'x');
    HandMadePeer peer(context, endpoint,
        raw<uint64_t>(1000) + raw<int64_t>(1) + named("host") + raw<uint32_t>(0) + raw<uint16_t>(1)
            + raw(static_cast<uint32_t>(longArgument.size())) + longArgument);
    peer.introduce("NAMENAMENAMENAME", "renamed");
    ASSERT_TRUE(eventually([&] { return entered == 1; }));
    const size_t before = peakMemory();
    std::string names;
    for (int i = 1; i <= renamed; ++i) {
        names += agentItem("NAMENAMENAMENAME", "renamed " + std::to_string(i), "{}");
    }
    peer.data(names);
    EXPECT_TRUE(eventually([&] { return entered == 1 + renamed; }));
    EXPECT_LT(peakMemory() - before, size_t { 100 } * 1024 * 1024) << "all of them by themselves take 500";
    qny_unobserve_agents(count, &entered);
}

TEST_F(Hardening, APeerWhoseAgentsChangeFasterThanAnybodyHearsIsCutOff)
{
    AgentWatch watch;
    HandMadePeer peer(context, endpoint);
    peer.introduce("BUSYBUSYBUSYBUSY", "busy");
    ASSERT_TRUE(watch.wait(QNY_AGENT_ENTERED, "busy"));
    const auto uuidOf = [](int i) { return raw(i) + std::string(12, 'b'); };
    std::string agents;
    for (int i = 0; i < 1000; ++i) {
        agents += agentItem(uuidOf(i), "one of many", "{}");
    }
    peer.data(agents);
    ASSERT_TRUE(eventually([&] { return watch.count(QNY_AGENT_ENTERED, "one of many") == 1000; }));
    std::string changes;
    for (int i = 0; i < 2000; ++i) {
        changes += agentItem(uuidOf(0), "one of many", "{}") + item(99, "");
    }
    peer.data(changes);
    EXPECT_TRUE(watch.wait(QNY_AGENT_EXITED, "busy"));
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
    const HeldPort listener(SOCK_STREAM);
    void* speaker = dealer();
    const int fd = lureTo(listener, speaker);
    ASSERT_GE(fd, 0);
    ASSERT_TRUE(beginTransport(fd, "ROUTER"));
    EXPECT_TRUE(sendsUntilCutOff(fd, std::string("\3\0\0\0\0\0\0\x40\0", 9) + std::string(16 * 1024, 'x')));
    zmq_close(speaker);
}

TEST_F(Hardening, WhoAnswersByOurOwnConnectionAndVanishesEndsNobodyElse)
{
    LogWatch log(QNY_LOG_DEBUG);
    const HeldPort listener(SOCK_STREAM);
    void* speaker = dealer();
    const int fd = lureTo(listener, speaker);
    ASSERT_GE(fd, 0);
    ASSERT_TRUE(beginTransport(fd, "ROUTER"));
    std::string said;
    for (int i = 0; i < 100; ++i) {
        said += std::string("\0\1x", 3);
    }
    ASSERT_TRUE(sendAll(fd, said) && awaitBytes(fd, "QN\1\2"));
    // All of that has come there when a second hello, a moment later, comes here.
    ASSERT_TRUE(awaitBytes(fd, "QN\1\2"));
    reset(fd);
    EXPECT_TRUE(log.hears("is not tried any more", 10s));
    zmq_close(speaker);
}

// They are not told apart by names: ZeroMQ would name one that has none by a count, and end the process when somebody
// has taken the next name before.
TEST_F(Hardening, WhoAnswersInANamedPeersPlaceAndVanishesKeepsNobodyFromIt)
{
    qny_stop();
    uint16_t place = 0;
    std::string peers;
    {
        const HeldPort listener(SOCK_STREAM);
        place = listener.port();
        peers = "127.0.0.1:" + std::to_string(place);
        qny_options_t mine = options();
        mine.peers = peers.c_str();
        start(mine);
        const int fd = accept(listener.fd(), nullptr, nullptr);
        ASSERT_GE(fd, 0);
        ASSERT_TRUE(beginTransport(fd, "ROUTER") && awaitBytes(fd, "QN\1\1"));
        ASSERT_TRUE(sendAll(fd, std::string("\0\1x\0\1y\0\1z", 9)));
        awaitBytes(fd, "QN\1\1"); // all of that has come there a second later
        reset(fd);
    }
    AgentWatch watch;
    PeerProcess other("named", { "--peers", "127.0.0.1:1", "--listen", std::to_string(place) });
    EXPECT_TRUE(watch.wait(QNY_AGENT_ENTERED, "named"));
}

TEST_F(Hardening, ConnectionsThatNameThemselvesAlikeAreEachHeard)
{
    std::vector<int> connections;
    for (int i = 0; i < 8; ++i) {
        connections.push_back(connectedTo(port));
        ASSERT_TRUE(
            beginTransport(connections.back(), "DEALER", i % 2 == 0 ? std::string("\0same", 5) : std::string()));
    }
    const uint64_t before = refused();
    for (const int fd : connections) {
        ASSERT_TRUE(sendAll(fd, std::string("\0\1x", 3)));
    }
    EXPECT_TRUE(eventually([&] { return refused() == before + connections.size(); }));
    for (const int fd : connections) {
        close(fd);
    }
}

TEST_F(Hardening, WhoFloodsUsWithSmallMessagesAndPingsEndsNobodyElse)
{
    const std::string ping = std::string("\4\7\4PING\0\0", 9);
    std::string said;
    for (int i = 0; i < 40'000; ++i) {
        said += std::string("\0\1x", 3);
        said += i % 16 == 0 ? ping : std::string();
    }
    int floods = 0;
    // Nobody new is let in until what came before is read: then again.
    EXPECT_TRUE(eventually(
        [&] {
            const int fd = connectedTo(port);
            if (beginTransport(fd, "DEALER")) {
                (void)sendAll(fd, said); // it may be ended before
                ++floods;
            }
            reset(fd);
            return floods == 20;
        },
        30s));
}

TEST_F(Hardening, WhoSendsMoreThanCanBeReadIsEndedAndOthersComeInAfterwards)
{
    LogWatch log;
    const int fd = connectedTo(port);
    ASSERT_TRUE(beginTransport(fd, "DEALER"));
    // Sound messages of somebody who never says hello.
    const std::string probe = Forged().make(1);
    std::string probes;
    for (int i = 0; i < 20'000; ++i) {
        probes += '\0' + std::string(1, static_cast<char>(probe.size())) + probe;
    }
    EXPECT_TRUE(sendsUntilCutOff(fd, probes));
    // Said when enough of it is read, which may be after it was ended.
    EXPECT_TRUE(eventually([&] { return log.count("no new connection is taken until it is read") > 0; })) << log.all();
}

TEST_F(Hardening, AHandshakeOfManyPropertiesIsNotTaken)
{
    std::string properties;
    for (int i = 0; i < 100; ++i) {
        properties += "\x06X-" + std::to_string(1000 + i) + std::string(4, '\0');
    }
    const int some = connectedTo(port);
    EXPECT_TRUE(beginTransport(some, "DEALER", "", properties)) << "a hundred are";
    const size_t before = memoryNow();
    std::vector<int> connections;
    while (properties.size() < 1'000'000) {
        properties += "\x06Y" + std::to_string(10'000 + properties.size() / 11 % 90'000) + std::string(4, '\0');
    }
    for (int i = 0; i < 20; ++i) {
        connections.push_back(connectedTo(port));
        beginTransport(connections.back(), "DEALER", "", properties);
    }
    for (const int fd : connections) {
        EXPECT_TRUE(awaitEnd(fd)) << "and not kept, with twenty times the properties' length";
        close(fd);
    }
    EXPECT_LT(memoryNow(), before + 100'000'000);
    close(some);
}

TEST_F(Hardening, APingWithoutItsTimeIsNotAnsweredWithWhatLiesBehindIt)
{
    const int fd = connectedTo(port);
    ASSERT_TRUE(beginTransport(fd, "DEALER"));
    ASSERT_TRUE(sendAll(fd, std::string("\4\7\4PING\0\0", 9)));
    EXPECT_TRUE(awaitBytes(fd, "\4PONG")) << "a sound one is answered";
    ASSERT_TRUE(sendAll(fd, std::string("\4\5\4PING", 7)));
    EXPECT_TRUE(awaitEnd(fd));
    close(fd);
}

TEST_F(Hardening, WhoSpeaksAnOlderProtocolOfZeroMqIsNotHeard)
{
    const uint64_t before = refused();
    // Greeting, a name that is empty, a message.
    const std::string of2("\xff\0\0\0\0\0\0\0\1\x7f\1\5"
                          "\0\0"
                          "\0\1x",
        17);
    const std::string of1("\1\0"
                          "\2\0x",
        5);
    for (const std::string& said : { of2, of1 }) {
        const int fd = connectedTo(port);
        ASSERT_TRUE(sendAll(fd, said));
        EXPECT_TRUE(awaitEnd(fd));
        close(fd);
    }
    EXPECT_EQ(refused(), before) << "a refusal that could not be held against anybody";
}

TEST_F(Hardening, ACommandThatIsShorterThanItSaysEndsItsConnection)
{
    for (const std::string& command : { std::string("\4\0", 2), std::string("\4\3\x9PI", 5) }) {
        const int fd = connectedTo(port);
        ASSERT_TRUE(beginTransport(fd, "DEALER"));
        ASSERT_TRUE(sendAll(fd, command));
        EXPECT_TRUE(awaitEnd(fd));
        close(fd);
    }
}
