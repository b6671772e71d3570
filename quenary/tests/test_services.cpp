// SPDX-License-Identifier: Apache-2.0
// Calls: arguments, tokens, addressing, what removal promises.
#include "peerprocess.h"

#include <atomic>
#include <condition_variable>
#include <gtest/gtest.h>
#include <limits>
#include <mutex>
#include <sstream>

using namespace test;

namespace {

struct Calls
{
    struct One
    {
        std::string sender;
        std::string service;
        std::string token;
        bool hasToken;
        std::vector<std::string> arguments;
        std::string strings;
    };

    static void take(const char* sender, const char* uuid, const char* service, qny_service_arg_t* argument,
        size_t count, const char* token, void* self)
    {
        auto* calls = static_cast<Calls*>(self);
        One one { sender, service, token ? token : "", token != nullptr, {}, {} };
        EXPECT_EQ(qny_service_args_count(argument), count);
        EXPECT_EQ(std::string(uuid).size(), 36U);
        for (; argument; argument = argument->next) {
            std::ostringstream text;
            text.precision(17);
            text << argument->name << ":" << qny_value_type_text(argument->type) << ":";
            switch (argument->type) {
            case QNY_BOOL_T:
                text << argument->b;
                break;
            case QNY_INTEGER_T:
                text << argument->i;
                break;
            case QNY_DOUBLE_T:
                text << argument->d;
                break;
            case QNY_STRING_T:
                text << argument->c;
                EXPECT_EQ(argument->size, std::string(argument->c).size() + 1);
                break;
            default:
                text << std::string(static_cast<const char*>(argument->data), argument->size);
                break;
            }
            one.arguments.push_back(text.str());
        }
        const std::lock_guard lock(calls->mutex);
        calls->all.push_back(one);
        calls->changed.notify_all();
    }
    bool waitFor(size_t count, Milliseconds within = 5s)
    {
        std::unique_lock lock(mutex);
        return changed.wait_for(lock, within, [&] { return all.size() >= count; });
    }
    One at(size_t index)
    {
        const std::lock_guard lock(mutex);
        return all.at(index);
    }
    size_t size()
    {
        const std::lock_guard lock(mutex);
        return all.size();
    }

    std::mutex mutex;
    std::condition_variable changed;
    std::vector<One> all;
};

class Services : public testing::Test
{
protected:
    void SetUp() override
    {
        qny_name_set("me");
        const qny_options_t mine = options();
        ASSERT_EQ(qny_start(&mine), QNY_SUCCESS) << qny_last_error();
    }
    void TearDown() override
    {
        qny_service_remove("take");
        qny_stop();
    }

    AgentWatch watch;
    Calls calls;
};

} // namespace

TEST_F(Services, ArgumentsOfEveryTypeArriveAsTheyWereSent)
{
    PeerProcess other("other");
    other.ask({ "service", "take" });
    other.ask({ "argument", "take", "flag", "bool" });
    ASSERT_TRUE(watch.wait(QNY_AGENT_ENTERED, "other"));
    qny_service_arg_t* list = nullptr;
    const std::string data("\0\xff", 2);
    EXPECT_EQ(qny_service_args_add_bool(&list, true), QNY_SUCCESS);
    EXPECT_EQ(qny_service_args_add_int(&list, std::numeric_limits<int32_t>::min()), QNY_SUCCESS);
    EXPECT_EQ(qny_service_args_add_double(&list, 0.1), QNY_SUCCESS);
    EXPECT_EQ(qny_service_args_add_string(&list, "日本語 🙂"), QNY_SUCCESS);
    EXPECT_EQ(qny_service_args_add_data(&list, data.data(), data.size()), QNY_SUCCESS);
    EXPECT_EQ(qny_service_args_add_data(&list, nullptr, 0), QNY_SUCCESS);
    EXPECT_EQ(qny_service_args_add_string(&list, ""), QNY_SUCCESS);
    EXPECT_EQ(qny_service_args_count(list), 7U);
    EXPECT_EQ(qny_service_call("other", "take", &list, nullptr), QNY_SUCCESS);
    EXPECT_EQ(list, nullptr);
    const auto line = other.expect({ "called", "take", "me", "none", "7" });
    ASSERT_EQ(line.size(), 12U);
    EXPECT_EQ(line[5], "flag=bool:true") << "named as the callee declares it";
    EXPECT_EQ(line[6], "=integer:-2147483648") << "more than was declared arrives too";
    EXPECT_EQ(line[7], "=double:0.10000000000000001");
    EXPECT_EQ(line[8], "=string:日本語 🙂");
    EXPECT_EQ(line[9], "=data:00ff:2");
    EXPECT_EQ(line[10], "=data::0");
    EXPECT_EQ(line[11], "=string:");
}

TEST_F(Services, LongArgumentsArriveWhereverTheyStand)
{
    PeerProcess other("other");
    other.ask({ "service", "take" });
    ASSERT_TRUE(watch.wait(QNY_AGENT_ENTERED, "other"));
    for (const size_t size : { 4095, 4096, 70'000, 1'100'000, 2'500'000 }) {
        const std::string first(size, 'f');
        const std::string last = std::string(size - 1, 'l') + 'e';
        qny_service_arg_t* list = nullptr;
        EXPECT_EQ(qny_service_args_add_string(&list, first.c_str()), QNY_SUCCESS);
        EXPECT_EQ(qny_service_args_add_int(&list, 7), QNY_SUCCESS);
        EXPECT_EQ(qny_service_args_add_string(&list, last.c_str()), QNY_SUCCESS);
        EXPECT_EQ(qny_service_call("other", "take", &list, "token"), QNY_SUCCESS);
        const auto line = other.expect({ "called", "take", "me", "<token>", "3" });
        ASSERT_EQ(line.size(), 8U);
        EXPECT_TRUE(line[5] == "=string:" + first) << size;
        EXPECT_EQ(line[6], "=integer:7");
        EXPECT_TRUE(line[7] == "=string:" + last) << size;
    }
}

TEST_F(Services, ArgumentsLastUntilTheirCallbackReturnsWhateverComesMeanwhile)
{
    struct Reading
    {
        static void take(
            const char*, const char*, const char*, qny_service_arg_t* first, size_t count, const char*, void* self)
        {
            auto* reading = static_cast<Reading*>(self);
            std::unique_lock lock(reading->mutex);
            reading->hasBegun = true;
            reading->changed.notify_all();
            reading->changed.wait_for(lock, 10s, [&] { return reading->mayRead; });
            for (; first; first = first->next) {
                reading->read += std::string(first->name) + "=" + first->c + ";";
            }
            reading->ended += count;
            reading->changed.notify_all();
        }
        std::mutex mutex;
        std::condition_variable changed;
        bool hasBegun = false;
        bool mayRead = false;
        size_t ended = 0;
        std::string read;
    } reading;
    qny_service_init("take", &Reading::take, &reading);
    qny_service_arg_add("take", "declared", QNY_STRING_T);
    qny_agent_t* caller = qny_agent_new("caller", nullptr);
    ASSERT_EQ(qny_agent_activate(caller), QNY_SUCCESS);
    const auto callWith = [&](std::initializer_list<std::string> texts) {
        qny_service_arg_t* list = nullptr;
        for (const std::string& text : texts) {
            qny_service_args_add_string(&list, text.c_str());
        }
        return qny_agent_service_call(caller, "me", "take", &list, nullptr);
    };
    const std::string longText(70'000, 'l');
    ASSERT_EQ(callWith({ "a", longText, "c", "d", "e" }), QNY_SUCCESS) << qny_last_error();
    std::unique_lock lock(reading.mutex);
    ASSERT_TRUE(reading.changed.wait_for(lock, 10s, [&] { return reading.hasBegun; }));
    lock.unlock();
    constexpr size_t MORE = 200;
    for (size_t i = 0; i < MORE; ++i) {
        ASSERT_EQ(callWith({ std::string(i * 100, 'x') }), QNY_SUCCESS);
    }
    qny_service_arg_add("take", std::string(100, 'n').c_str(), QNY_STRING_T); // the names are another list's now
    lock.lock();
    reading.mayRead = true;
    reading.changed.notify_all();
    EXPECT_TRUE(reading.changed.wait_for(lock, 10s, [&] { return reading.ended == 5 + MORE; }));
    lock.unlock();
    const std::string first = "declared=a;=" + longText + ";=c;=d;=e;";
    EXPECT_TRUE(reading.read.starts_with(first)) << reading.read.substr(0, 100);
    qny_service_remove("take");
    EXPECT_EQ(qny_agent_destroy(caller), QNY_SUCCESS);
}

TEST_F(Services, ATokenComesBackUntouched)
{
    PeerProcess other("other");
    other.ask({ "service", "ask", "answering" });
    qny_service_init("answer", &Calls::take, &calls);
    ASSERT_TRUE(watch.wait(QNY_AGENT_ENTERED, "other"));
    const std::vector<std::string> tokens { "", "plain", "with \"quotes\" and \\ / * ? #", "日本語 🙂",
        std::string(70'000, 't'), " " };
    for (size_t i = 0; i < tokens.size(); ++i) {
        EXPECT_EQ(qny_service_call("other", "ask", nullptr, tokens[i].c_str()), QNY_SUCCESS);
        ASSERT_TRUE(calls.waitFor(i + 1));
        EXPECT_TRUE(calls.at(i).hasToken);
        EXPECT_EQ(calls.at(i).token, tokens[i]);
        EXPECT_EQ(calls.at(i).arguments, std::vector<std::string> { ":string:answer" });
        EXPECT_EQ(calls.at(i).sender, "other");
    }
    EXPECT_EQ(qny_service_call("other", "ask", nullptr, nullptr), QNY_SUCCESS);
    ASSERT_TRUE(calls.waitFor(tokens.size() + 1));
    EXPECT_FALSE(calls.at(tokens.size()).hasToken) << "none is not the empty one";
    EXPECT_EQ(qny_service_call("other", "ask", nullptr, "\xff"), QNY_ERROR_UTF8);
    qny_service_remove("answer");
}

TEST_F(Services, ACallByNameReachesEveryAgentOfThatNameAndOneByUuidReachesOne)
{
    PeerProcess one("twin");
    PeerProcess two("twin");
    for (PeerProcess* each : { &one, &two }) {
        each->ask({ "service", "take" });
    }
    ASSERT_TRUE(eventually([&] { return watch.count(QNY_AGENT_ENTERED, "twin") == 2; }));
    EXPECT_EQ(qny_service_call("twin", "take", nullptr, "both"), QNY_SUCCESS);
    EXPECT_FALSE(one.expect({ "called", "take", "me", "<both>" }).empty());
    EXPECT_FALSE(two.expect({ "called", "take", "me", "<both>" }).empty());
    EXPECT_EQ(qny_service_call(one.uuid().c_str(), "take", nullptr, "one"), QNY_SUCCESS);
    EXPECT_FALSE(one.expect({ "called", "take", "me", "<one>" }).empty());
    EXPECT_EQ(qny_service_call("twin", "take", nullptr, "again"), QNY_SUCCESS);
    EXPECT_FALSE(two.expect({ "called", "take", "me", "<again>" }).empty());
    EXPECT_FALSE(two.hasHeard({ "called", "take", "me", "<one>" }));
}

TEST_F(Services, AnAgentThatTookAUuidForItsNameIsNotCalledByIt)
{
    std::string uuid;
    {
        PeerProcess real("real");
        ASSERT_TRUE(watch.wait(QNY_AGENT_ENTERED, "real"));
        uuid = real.uuid();
    }
    ASSERT_TRUE(watch.wait(QNY_AGENT_EXITED, "real"));
    PeerProcess impostor(uuid);
    ASSERT_TRUE(watch.wait(QNY_AGENT_ENTERED, uuid));
    EXPECT_EQ(qny_service_call(uuid.c_str(), "take", nullptr, nullptr), QNY_ERROR_UNKNOWN_AGENT);
    EXPECT_FALSE(qny_agent_is_present(uuid.c_str()));
}

TEST_F(Services, AgentsOfOneProcessCallOneAnotherButNeverThemselvesByName)
{
    qny_agent_t* second = qny_agent_new("second", nullptr);
    Calls atSecond;
    ASSERT_EQ(qny_agent_service_init(second, "take", &Calls::take, &atSecond), QNY_SUCCESS);
    ASSERT_EQ(qny_service_init("take", &Calls::take, &calls), QNY_SUCCESS);
    EXPECT_EQ(qny_service_call("second", "take", nullptr, nullptr), QNY_ERROR_UNKNOWN_AGENT) << "not active yet";
    EXPECT_EQ(qny_agent_service_call(second, "me", "take", nullptr, nullptr), QNY_ERROR_NOT_STARTED);
    ASSERT_EQ(qny_agent_activate(second), QNY_SUCCESS);
    EXPECT_EQ(qny_service_call("second", "take", nullptr, "x"), QNY_SUCCESS);
    ASSERT_TRUE(atSecond.waitFor(1));
    EXPECT_EQ(atSecond.at(0).sender, "me");
    EXPECT_EQ(qny_agent_service_call(second, "me", "take", nullptr, nullptr), QNY_SUCCESS);
    ASSERT_TRUE(calls.waitFor(1));
    EXPECT_EQ(calls.at(0).sender, "second");
    EXPECT_EQ(qny_service_call("me", "take", nullptr, nullptr), QNY_ERROR_UNKNOWN_AGENT) << "never itself by name";
    char* uuid = qny_uuid();
    EXPECT_EQ(qny_service_call(uuid, "take", nullptr, nullptr), QNY_SUCCESS);
    ASSERT_TRUE(calls.waitFor(2));
    qny_free(uuid);
    EXPECT_EQ(qny_agent_destroy(second), QNY_SUCCESS);
    EXPECT_EQ(qny_service_call("second", "take", nullptr, nullptr), QNY_ERROR_UNKNOWN_AGENT);
}

TEST_F(Services, WhatCannotBeCalledIsSaid)
{
    EXPECT_EQ(qny_service_call("nobody", "take", nullptr, nullptr), QNY_ERROR_UNKNOWN_AGENT);
    EXPECT_NE(std::string(qny_last_error()).find("nobody"), std::string::npos);
    EXPECT_EQ(qny_service_call(nullptr, "take", nullptr, nullptr), QNY_ERROR_ARGUMENT);
    EXPECT_EQ(qny_service_call("nobody", nullptr, nullptr, nullptr), QNY_ERROR_ARGUMENT);
    EXPECT_EQ(qny_service_call("nobody", "-take", nullptr, nullptr), QNY_ERROR_NAME);
    qny_service_arg_t* list = nullptr;
    EXPECT_EQ(qny_service_args_add_string(&list, "\xc3("), QNY_ERROR_UTF8);
    EXPECT_EQ(list, nullptr) << "nothing is appended";
    for (int i = 0; i < 1025; ++i) {
        qny_service_args_add_int(&list, i);
    }
    PeerProcess other("other");
    ASSERT_TRUE(watch.wait(QNY_AGENT_ENTERED, "other"));
    EXPECT_EQ(qny_service_call("other", "take", &list, nullptr), QNY_ERROR_TOO_LARGE);
    EXPECT_EQ(list, nullptr);
    qny_stop();
    EXPECT_EQ(qny_service_call("other", "take", nullptr, nullptr), QNY_ERROR_NOT_STARTED);
}

TEST_F(Services, ACallForAServiceThatIsNotDeclaredIsLoggedByTheCallee)
{
    struct Log
    {
        std::mutex mutex;
        std::string text;
    } log;
    qny_log_set_handler(
        [](qny_log_level_t, const char* message, void* user) {
            auto* to = static_cast<Log*>(user);
            const std::lock_guard lock(to->mutex);
            to->text += message;
        },
        &log);
    PeerProcess other("other");
    ASSERT_FALSE(other.expect({ "entered", "me" }).empty());
    EXPECT_EQ(other.ask({ "call", "me", "missing", "", "x" }), QNY_SUCCESS);
    EXPECT_TRUE(eventually([&] {
        const std::lock_guard lock(log.mutex);
        return log.text.find("'missing', which me does not offer") != std::string::npos;
    }));
    qny_log_set_handler(nullptr, nullptr);
}

TEST_F(Services, DeclaringAServiceAgainReplacesItsCallbackAndEmptiesItsArguments)
{
    Calls later;
    ASSERT_EQ(qny_service_init("take", &Calls::take, &calls), QNY_SUCCESS);
    ASSERT_EQ(qny_service_arg_add("take", "first", QNY_STRING_T), QNY_SUCCESS);
    EXPECT_EQ(qny_service_arg_add("take", "nothing", QNY_IMPULSE_T), QNY_ERROR_ARGUMENT);
    EXPECT_EQ(qny_service_arg_add("missing", "first", QNY_STRING_T), QNY_ERROR_UNKNOWN);
    ASSERT_EQ(qny_service_init("take", &Calls::take, &later), QNY_SUCCESS);
    char* definition = qny_agent_definition(qny_default_agent());
    EXPECT_NE(std::string(definition).find(R"({"name":"take","arguments":[]})"), std::string::npos) << definition;
    qny_free(definition);
    PeerProcess other("other");
    ASSERT_FALSE(other.expect({ "entered", "me" }).empty());
    other.ask({ "call", "me", "take", "", "text" });
    ASSERT_TRUE(later.waitFor(1));
    EXPECT_EQ(later.at(0).arguments, std::vector<std::string> { ":string:text" });
    EXPECT_EQ(calls.size(), 0U);
    EXPECT_TRUE(qny_service_exists("take"));
    EXPECT_EQ(qny_service_remove("take"), QNY_SUCCESS);
    EXPECT_FALSE(qny_service_exists("take"));
    EXPECT_EQ(qny_service_remove("take"), QNY_ERROR_UNKNOWN);
}

TEST_F(Services, StopAndStartKeepsWhatWasDeclared)
{
    ASSERT_EQ(qny_service_init("take", &Calls::take, &calls), QNY_SUCCESS);
    qny_stop();
    EXPECT_TRUE(qny_service_exists("take"));
    const qny_options_t mine = options();
    ASSERT_EQ(qny_start(&mine), QNY_SUCCESS);
    PeerProcess other("other");
    const auto line = other.expect({ "entered", "me" });
    ASSERT_GT(line.size(), 3U);
    EXPECT_NE(line[3].find("take"), std::string::npos);
    other.ask({ "call", "me", "take", "", "text" });
    EXPECT_TRUE(calls.waitFor(1));
}
