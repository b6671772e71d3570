// SPDX-License-Identifier: Apache-2.0
// Many peers at once, each by hand.
#include "handmadepeer.h"
#include "logwatch.h"

#include <algorithm>
#include <chrono>
#include <memory>
#include <optional>
#include <vector>

using namespace test;

namespace {

// Where the library tries peers: connections and messages of all of them come here.
class Meeting
{
public:
    Meeting(void* context, const std::string& address)
        : m_socket(newSocket(context, ZMQ_ROUTER))
        , m_monitor(newSocket(context, ZMQ_PAIR))
    {
        static int count = 0;
        const std::string place = "inproc://meeting" + std::to_string(++count);
        EXPECT_EQ(zmq_socket_monitor(m_socket, place.c_str(), ZMQ_EVENT_ACCEPTED | ZMQ_EVENT_DISCONNECTED), 0);
        EXPECT_EQ(zmq_connect(m_monitor, place.c_str()), 0);
        m_port = bindAt(m_socket, address);
    }
    ~Meeting()
    {
        zmq_close(m_socket);
        zmq_close(m_monitor);
    }
    Meeting(const Meeting&) = delete;
    Meeting& operator=(const Meeting&) = delete;

    uint16_t port() const { return m_port; }
    size_t accepted()
    {
        readEvents();
        return m_accepted;
    }
    size_t ended()
    {
        readEvents();
        return m_ended;
    }
    // The next message, if there is one.
    std::optional<std::string> message()
    {
        char buffer[65536];
        if (zmq_recv(m_socket, buffer, sizeof buffer, ZMQ_DONTWAIT) < 0) {
            return {};
        }
        const int size = zmq_recv(m_socket, buffer, sizeof buffer, 0);
        EXPECT_GE(size, 40);
        return std::string(buffer, static_cast<size_t>(size));
    }

private:
    void readEvents()
    {
        char event[256];
        while (zmq_recv(m_monitor, event, sizeof event, ZMQ_DONTWAIT) >= 0) {
            uint16_t kind = 0;
            memcpy(&kind, event, sizeof kind);
            m_accepted += kind == ZMQ_EVENT_ACCEPTED ? 1 : 0;
            m_ended += kind == ZMQ_EVENT_DISCONNECTED ? 1 : 0;
            zmq_recv(m_monitor, event, sizeof event, 0);
        }
    }
    void* m_socket;
    void* m_monitor;
    uint16_t m_port = 0;
    size_t m_accepted = 0;
    size_t m_ended = 0;
};

class Crowd : public Hardening
{
protected:
    void TearDown() override
    {
        for (const Member& member : members) {
            zmq_close(member.socket);
        }
        Hardening::TearDown();
    }
    struct Member
    {
        Forged forged;
        void* socket = nullptr;
    };
    // Says hello, and where it is to be found.
    void join(const Meeting& at, const std::string& from = "")
    {
        Member member;
        member.forged.uuid = std::string("CROWD-CROWD-") + std::to_string(1000 + members.size());
        member.forged.session = 1000 + members.size();
        member.forged.port = at.port();
        member.socket = newSocket(context, ZMQ_DEALER);
        const std::string place = from.empty() ? endpoint : "tcp://" + from + ":0;" + endpoint.substr(6);
        EXPECT_EQ(zmq_connect(member.socket, place.c_str()), 0);
        members.push_back(member);
        sayHello(member);
    }
    static void sayHello(const Member& member) { send(member.socket, member.forged.make(2, helloPayload())); }

    std::vector<Member> members;
};

constexpr size_t triedAtOnce = 64;

} // namespace

TEST_F(Crowd, ToManyItIsSaidLessOftenThatThisProcessIsThere)
{
    Meeting meeting(context, "127.0.0.1");
    constexpr size_t count = 80;
    std::vector<uint16_t> told;
    const auto attend = [&] {
        while (const auto message = meeting.message()) {
            const size_t who = numberAt(*message, 32) - 1000;
            if (who >= members.size()) {
                continue; // it has not heard who is there yet
            }
            Member& member = members[who];
            const bool isNew = std::exchange(member.forged.theirs, numberAt(*message, 24)) == 0;
            if (isNew) {
                send(member.socket, member.forged.make(3, std::string(24, '\0')));
            }
            if ((*message)[3] == 3) {
                EXPECT_EQ(message->size(), 40U + 26U);
                uint16_t every = 0;
                memcpy(&every, message->data() + 64, sizeof every);
                told.push_back(every);
            }
        }
    };
    const auto open
        = [&] { return std::ranges::count_if(members, [](const Member& each) { return each.forged.theirs != 0; }); };
    for (size_t i = 0; i < count; ++i) {
        join(meeting);
        ASSERT_TRUE(eventually([&] {
            attend();
            return static_cast<size_t>(open()) == i + 1;
        }));
    }
    ASSERT_FALSE(told.empty());
    EXPECT_EQ(told.front(), 500) << "to few, twice a second";
    told.clear();
    EXPECT_TRUE(eventually([&] {
        attend();
        return told.size() >= count;
    }));
    EXPECT_EQ(told.back(), count * 10) << "how long it may be until the next time";
}

TEST_F(Crowd, WhoeverSpeaksSeldomIsWaitedForLongerBeforeAnotherIsBelieved)
{
    LogWatch log;
    AgentWatch watch;
    HandMadePeer peer(context, endpoint);
    peer.introduce("RARE-RARE-RARE-R", "rare");
    ASSERT_TRUE(watch.wait(QNY_AGENT_ENTERED, "rare"));
    void* socket = dealer();
    const Claimant claimant(peer, socket);
    // More than it may be.
    peer.send(3, raw(peer.number) + raw<uint64_t>(0) + raw<uint64_t>(0) + raw<uint16_t>(60'000));
    const auto began = std::chrono::steady_clock::now();
    while (std::chrono::steady_clock::now() < began + 2200ms) {
        claimant.claim();
    }
    EXPECT_EQ(watch.count(QNY_AGENT_EXITED, "rare"), 0U);
    EXPECT_TRUE(eventually([&] {
        claimant.claim();
        return watch.count(QNY_AGENT_EXITED, "rare") > 0;
    }));
    EXPECT_EQ(log.count("it has opened its link anew"), 1U) << log.all();
    zmq_close(socket);
}

TEST_F(Crowd, WhereManyStartOnOneMachineThoseWhoAreSlowAreNotTriedAnew)
{
    Meeting meeting(context, "127.0.0.1");
    for (size_t i = 0; i < triedAtOnce; ++i) {
        join(meeting);
    }
    ASSERT_TRUE(eventually([&] { return meeting.accepted() == triedAtOnce; }));
    join(meeting);
    const auto began = std::chrono::steady_clock::now();
    while (std::chrono::steady_clock::now() < began + 1s) {
        sayHello(members.back());
        std::this_thread::sleep_for(50ms);
    }
    EXPECT_EQ(meeting.accepted(), triedAtOnce);
    EXPECT_EQ(meeting.ended(), 0U);
    // From elsewhere, where fewer are tried, somebody is let in: else one machine could keep all others out.
    Meeting elsewhere(context, "127.0.0.2");
    join(elsewhere, "127.0.0.2");
    EXPECT_TRUE(eventually([&] {
        sayHello(members.back());
        return elsewhere.accepted() == 1;
    }));
    EXPECT_TRUE(eventually([&] { return meeting.ended() >= 1; }));
}
