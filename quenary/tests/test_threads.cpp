// SPDX-License-Identifier: Apache-2.0
// What is promised of threads: removal while callbacks stream, many threads at once, callbacks that call back, the end
// of the process.
#include "peerprocess.h"

#include <atomic>
#include <csignal>
#include <gtest/gtest.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace test;

#if defined(__SANITIZE_ADDRESS__)
// What the parent's threads held is out of reach in a forked child, which is no leak of it.
static bool isForkedChild = false;
extern "C" __attribute__((visibility("default"))) int __lsan_is_turned_off();
extern "C" int __lsan_is_turned_off()
{
    return isForkedChild;
}
#endif

namespace {

class Threads : public testing::Test
{
protected:
    void SetUp() override
    {
        qny_name_set("me");
        const qny_options_t mine = options();
        ASSERT_EQ(qny_start(&mine), QNY_SUCCESS) << qny_last_error();
    }
    void TearDown() override { qny_stop(); }
};

// User data that must not be touched once its owner has been told that nobody will.
struct Guarded
{
    std::atomic<bool> alive { true };
    std::atomic<int> calls { 0 };
    static std::atomic<int> touchedDead;

    void touch()
    {
        if (!alive) {
            ++touchedDead;
        }
        ++calls;
    }
};
std::atomic<int> Guarded::touchedDead { 0 };

} // namespace

TEST_F(Threads, NothingIsCalledAnyMoreWhenRemovalFromAnotherThreadHasReturned)
{
    ASSERT_EQ(qny_output_create("stream", QNY_INTEGER_T, nullptr, 0), QNY_SUCCESS);
    qny_agent_t* caller = qny_agent_new("caller", nullptr);
    qny_agent_activate(caller);
    std::atomic<bool> over { false };
    std::thread publisher([&] {
        for (int i = 0; !over; ++i) {
            qny_output_set_int("stream", i);
            qny_agent_service_call(caller, "me", "serve", nullptr, nullptr);
            if (i % 100 == 0) {
                std::this_thread::yield();
            }
        }
    });
    for (int round = 0; round < 150; ++round) {
        auto guarded = std::make_unique<Guarded>();
        ASSERT_EQ(qny_input_create("in", QNY_INTEGER_T, nullptr, 0), QNY_SUCCESS);
        ASSERT_EQ(qny_mapping_add("in", "me", "stream"), QNY_SUCCESS);
        qny_observe_input(
            "in",
            [](qny_io_kind_t, const char*, qny_value_type_t, void*, size_t, void* user) {
                static_cast<Guarded*>(user)->touch();
            },
            guarded.get());
        ASSERT_EQ(qny_service_init(
                      "serve",
                      [](const char*, const char*, const char*, qny_service_arg_t*, size_t, const char*, void* user) {
                          static_cast<Guarded*>(user)->touch();
                      },
                      guarded.get()),
            QNY_SUCCESS);
        if (round % 10 == 0) {
            EXPECT_TRUE(eventually([&] { return guarded->calls > 2; }));
        }
        ASSERT_EQ(qny_input_remove("in"), QNY_SUCCESS);
        ASSERT_EQ(qny_service_remove("serve"), QNY_SUCCESS);
        guarded->alive = false;
        const int calls = guarded->calls;
        std::this_thread::yield();
        EXPECT_EQ(guarded->calls, calls);
    }
    over = true;
    publisher.join();
    EXPECT_EQ(Guarded::touchedDead, 0);
    qny_mapping_remove_with_name("in", "me", "stream");
    qny_output_remove("stream");
    qny_agent_destroy(caller);
}

TEST_F(Threads, TenThousandAgentsComeAndGoUnderFourThreads)
{
    constexpr int each = 2500;
    std::atomic<int> failures { 0 };
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < each; ++i) {
                qny_agent_t* agent = qny_agent_new(("agent " + std::to_string(t)).c_str(), nullptr);
                int32_t value = i;
                const bool good = agent
                    && qny_agent_output_create(agent, "out", QNY_INTEGER_T, nullptr, 0) == QNY_SUCCESS
                    && qny_agent_input_create(agent, "in", QNY_INTEGER_T, nullptr, 0) == QNY_SUCCESS
                    && qny_agent_mapping_add(agent, "in", "agent 0", "out") == QNY_SUCCESS
                    && qny_agent_service_init(
                           agent, "serve",
                           [](const char*, const char*, const char*, qny_service_arg_t*, size_t, const char*, void*) {
                           },
                           nullptr)
                        == QNY_SUCCESS
                    && qny_agent_activate(agent) == QNY_SUCCESS
                    && qny_agent_output_publish(agent, "out", QNY_INTEGER_T, &value, sizeof value, 0, nullptr)
                        == QNY_SUCCESS
                    && qny_agent_destroy(agent) == QNY_SUCCESS && qny_agent_destroy(agent) == QNY_ERROR_ARGUMENT;
                failures += good ? 0 : 1;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(failures, 0);
}

TEST_F(Threads, EverythingMayBeDoneFromInsideACallback)
{
    struct State
    {
        std::atomic<int> step { 0 };
    } state;
    qny_agent_t* caller = qny_agent_new("caller", nullptr);
    qny_agent_activate(caller);
    const qny_service_fn inside
        = [](const char*, const char*, const char*, qny_service_arg_t*, size_t, const char*, void* user) {
              auto* to = static_cast<State*>(user);
              EXPECT_EQ(qny_service_remove("serve"), QNY_SUCCESS) << "itself, from inside";
              EXPECT_EQ(qny_input_create("inside", QNY_INTEGER_T, nullptr, 0), QNY_SUCCESS);
              EXPECT_EQ(qny_input_remove("inside"), QNY_SUCCESS);
              qny_agent_t* agent = qny_agent_new("made inside", nullptr);
              EXPECT_EQ(qny_agent_activate(agent), QNY_SUCCESS);
              EXPECT_EQ(qny_agent_destroy(agent), QNY_SUCCESS);
              qny_stop();
              EXPECT_FALSE(qny_is_started());
              const qny_options_t again = options();
              EXPECT_EQ(qny_start(&again), QNY_SUCCESS) << qny_last_error();
              to->step = 1;
          };
    ASSERT_EQ(qny_service_init("serve", inside, &state), QNY_SUCCESS);
    ASSERT_EQ(qny_agent_service_call(caller, "me", "serve", nullptr, nullptr), QNY_SUCCESS);
    EXPECT_TRUE(eventually([&] { return state.step == 1; }));
    EXPECT_TRUE(qny_is_started());
    EXPECT_EQ(qny_agent_destroy(caller), QNY_SUCCESS);
}

TEST_F(Threads, PublishingFromManyThreadsKeepsEachOutputsOrderAndLosesNothing)
{
    constexpr int threadCount = 4;
    constexpr int each = 20'000;
    PeerProcess sink("sink");
    sink.ask({ "quiet" });
    for (int t = 0; t < threadCount; ++t) {
        const std::string name = "out" + std::to_string(t);
        ASSERT_EQ(qny_output_create(name.c_str(), QNY_INTEGER_T, nullptr, 0), QNY_SUCCESS);
    }
    sink.ask({ "input", "in", "integer" });
    sink.ask({ "map", "in", "me", "out0" });
    const auto counts = [&] {
        sink.tell({ "counts", "in" });
        return sink.expect({ "counts" });
    };
    uint64_t before = 0;
    ASSERT_TRUE(eventually([&] {
        const int32_t value = 0;
        qny_output_publish("out0", QNY_INTEGER_T, &value, sizeof value, 0, &before);
        return counts()[1] != "0";
    }));
    ASSERT_TRUE(eventually([&] { return std::stoull(counts()[2]) == before; }));
    const uint64_t first = std::stoull(counts()[1]);
    std::vector<std::thread> threads;
    for (int t = 0; t < threadCount; ++t) {
        threads.emplace_back([t] {
            const std::string name = "out" + std::to_string(t);
            for (int i = 0; i < each; ++i) {
                qny_output_set_int(name.c_str(), i);
            }
        });
    }
    // One more writes the same output: numbers stay in order whoever publishes.
    threads.emplace_back([] {
        for (int i = 0; i < each; ++i) {
            qny_output_set_int("out0", i);
        }
    });
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_TRUE(eventually([&] { return std::stoull(counts()[1]) == first + 2 * each; }));
    const auto at = counts();
    EXPECT_EQ(std::stoull(at[2]), before + 2 * each);
    EXPECT_EQ(at[4], "0");
    EXPECT_EQ(at[5], "ordered");
    for (int t = 0; t < threadCount; ++t) {
        qny_output_remove(("out" + std::to_string(t)).c_str());
    }
}

TEST_F(Threads, ASlowCallbackDelaysNeitherPresenceNorOtherPeers)
{
    std::atomic<bool> hold { true };
    std::atomic<bool> entered { false };
    struct Holder
    {
        std::atomic<bool>* hold;
        std::atomic<bool>* entered;
    } holder { &hold, &entered };
    qny_service_init(
        "hold",
        [](const char*, const char*, const char*, qny_service_arg_t*, size_t, const char*, void* user) {
            auto* with = static_cast<Holder*>(user);
            *with->entered = true;
            while (*with->hold) {
                std::this_thread::sleep_for(5ms);
            }
        },
        &holder);
    PeerProcess other("other");
    ASSERT_FALSE(other.expect({ "entered", "me" }).empty());
    other.ask({ "call", "me", "hold", "", "x" });
    ASSERT_TRUE(eventually([&] { return entered.load(); }));
    // Longer than silence is borne, with the callback thread standing still.
    PeerProcess third("third");
    EXPECT_FALSE(third.expect({ "entered", "me" }).empty()) << "a new peer is met meanwhile";
    EXPECT_TRUE(eventually([] { return qny_agent_is_present("third"); }));
    std::this_thread::sleep_for(4500ms);
    EXPECT_FALSE(other.hasHeard({ "exited", "me" }));
    EXPECT_TRUE(qny_agent_is_present("other"));
    hold = false;
    EXPECT_EQ(qny_service_remove("hold"), QNY_SUCCESS);
}

TEST_F(Threads, WhoeverReadsAfterCallsOthersAreHeardWhileACallbackTakesLong)
{
    // Where others call, the callback thread waits for their messages itself.
    struct
    {
        std::atomic<int> quick { 0 };
        std::atomic<bool> hold { true };
        std::atomic<bool> isHeld { false };
    } with;
    qny_service_init(
        "quick",
        [](const char* sender, const char*, const char*, qny_service_arg_t*, size_t, const char*, void* user) {
            ++static_cast<decltype(with)*>(user)->quick;
            qny_service_call(sender, "answer", nullptr, nullptr);
        },
        &with);
    qny_service_init(
        "hold",
        [](const char*, const char*, const char*, qny_service_arg_t*, size_t, const char*, void* user) {
            auto* own = static_cast<decltype(with)*>(user);
            own->isHeld = true;
            while (own->hold) {
                std::this_thread::sleep_for(5ms);
            }
        },
        &with);
    PeerProcess other("other");
    ASSERT_FALSE(other.expect({ "entered", "me" }).empty());
    for (int round = 1; round <= 3; ++round) {
        const int before = with.quick;
        for (int i = 1; i <= 30; ++i) {
            other.ask({ "call", "me", "quick", "", "x" });
            ASSERT_TRUE(eventually([&] { return with.quick == before + i; }));
        }
        with.hold = true;
        with.isHeld = false;
        other.ask({ "call", "me", "hold", "", "x" });
        ASSERT_TRUE(eventually([&] { return with.isHeld.load(); }));
        {
            PeerProcess third("third " + std::to_string(round));
            EXPECT_FALSE(third.expect({ "entered", "me" }).empty());
            third.ask({ "call", "me", "quick", "", "x" });
            other.ask({ "call", "me", "quick", "", "x" });
            // Also what this process says meanwhile goes out.
            EXPECT_TRUE(eventually([&] { return qny_agent_is_present(("third " + std::to_string(round)).c_str()); }));
        }
        EXPECT_EQ(with.quick, before + 30);
        with.hold = false;
        EXPECT_TRUE(eventually([&] { return with.quick == before + 32; })) << with.quick - before;
    }
    qny_service_remove("quick");
    qny_service_remove("hold");
}

TEST_F(Threads, SignalsThatInterruptACallerHoldNoCallBack)
{
    std::atomic<int> answers { 0 };
    qny_service_init("answer", countCall, &answers);
    PeerProcess other("other");
    other.ask({ "service", "asked", "answering" });
    ASSERT_FALSE(other.expect({ "entered", "me" }).empty());
    ASSERT_TRUE(eventually([] { return qny_service_call("other", "asked", nullptr, nullptr) == QNY_SUCCESS; }));
    ASSERT_TRUE(eventually([&] { return answers == 1; }));
    const struct Signals
    {
        Signals() { setOften({ .it_interval = { 0, 100 }, .it_value = { 0, 100 } }); }
        ~Signals()
        {
            setOften({});
            std::signal(SIGALRM, before);
        }
        static void setOften(const itimerval& often) { setitimer(ITIMER_REAL, &often, nullptr); }
        void (*before)(int) = std::signal(SIGALRM, [](int) { });
    } signals;
    int calls = 1;
    for (const auto until = std::chrono::steady_clock::now() + 3s; std::chrono::steady_clock::now() < until; ++calls) {
        EXPECT_EQ(qny_service_call("other", "asked", nullptr, nullptr), QNY_SUCCESS);
        // Without sleeping, which would not come to its end.
        const auto patience = std::chrono::steady_clock::now() + 2s;
        while (answers < calls && std::chrono::steady_clock::now() < patience) {
            std::this_thread::yield();
        }
        ASSERT_GE(answers, calls);
    }
    Signals::setOften({});
    EXPECT_FALSE(other.hasHeard({ "exited", "me" }));
    qny_service_remove("answer");
}

TEST_F(Threads, CallsAreHeardAfterEachOfManyStarts)
{
    std::atomic<int> calls { 0 };
    qny_service_init("count", countCall, &calls);
    PeerProcess other("other");
    for (int i = 0; i < 10; ++i) {
        ASSERT_FALSE(other.expect({ "entered", "me" }).empty());
        const int before = calls;
        for (int call = 0; call < 5; ++call) {
            other.ask({ "call", "me", "count", "", "x" });
        }
        EXPECT_TRUE(eventually([&] { return calls == before + 5; })) << i;
        qny_stop();
        ASSERT_FALSE(other.expect({ "exited", "me" }).empty());
        const qny_options_t mine = options();
        ASSERT_EQ(qny_start(&mine), QNY_SUCCESS) << qny_last_error();
    }
    qny_service_remove("count");
}

TEST_F(Threads, AForkedChildBeginsAnewAndEndsWithoutHarm)
{
    AgentWatch watch;
    PeerProcess other("other");
    ASSERT_TRUE(watch.wait(QNY_AGENT_ENTERED, "other"));
    const pid_t child = fork();
    if (child == 0) {
#if defined(__SANITIZE_ADDRESS__)
        isForkedChild = true;
#endif
        const bool good = !qny_is_started() && qny_name_set("child") == QNY_SUCCESS;
        std::exit(good ? 0 : 1);
    }
    int status = -1;
    EXPECT_TRUE(eventually([&] { return waitpid(child, &status, WNOHANG) == child; }));
    EXPECT_EQ(status, 0);
    EXPECT_TRUE(qny_agent_is_present("other"));
    EXPECT_FALSE(other.hasHeard({ "exited", "me" }));
}
