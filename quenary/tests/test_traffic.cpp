// SPDX-License-Identifier: Apache-2.0
// Publications: mappings, values, order, losses, monitors.
#include "peerprocess.h"

#include <atomic>
#include <cmath>
#include <csignal>
#include <gtest/gtest.h>
#include <limits>

using namespace test;

namespace {

class Traffic : public testing::Test
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
        for (const std::string& input : inputs) {
            qny_input_remove(input.c_str());
        }
        for (const std::string& output : outputs) {
            qny_output_remove(output.c_str());
        }
        for (const auto& [input, agent, output] : mappings) {
            qny_mapping_remove_with_name(input.c_str(), agent.c_str(), output.c_str());
        }
        qny_stop();
    }

    Arrivals& input(const std::string& name, qny_value_type_t type)
    {
        EXPECT_EQ(qny_input_create(name.c_str(), type, nullptr, 0), QNY_SUCCESS);
        arrivals.push_back(std::make_unique<Arrivals>());
        EXPECT_EQ(qny_observe_input_publications(name.c_str(), &Arrivals::take, arrivals.back().get()), QNY_SUCCESS);
        inputs.push_back(name);
        return *arrivals.back();
    }
    void output(const std::string& name, qny_value_type_t type)
    {
        EXPECT_EQ(qny_output_create(name.c_str(), type, nullptr, 0), QNY_SUCCESS);
        outputs.push_back(name);
    }
    void map(const std::string& input, const std::string& agent, const std::string& output)
    {
        EXPECT_EQ(qny_mapping_add(input.c_str(), agent.c_str(), output.c_str()), QNY_SUCCESS);
        mappings.emplace_back(input, agent, output);
    }
    static bool live(const char* input, const char* agent, const char* output, Milliseconds within = 5s)
    {
        return eventually([=] { return qny_mapping_is_live(input, agent, output); }, within);
    }
    // Waits until somebody else's mapping of our output is served: its publications then reach it.
    static bool listened(const char* output, PeerProcess& peer)
    {
        return eventually([&] {
            qny_output_set_int(output, -1);
            return !peer.expect({ "got" }, 20ms).empty();
        });
    }

    AgentWatch watch;
    std::vector<std::unique_ptr<Arrivals>> arrivals;
    std::vector<std::string> inputs;
    std::vector<std::string> outputs;
    std::vector<std::tuple<std::string, std::string, std::string>> mappings;
};

template <typename T> T as(const std::string& bytes)
{
    T value {};
    EXPECT_EQ(bytes.size(), sizeof value);
    bytes.copy(reinterpret_cast<char*>(&value), sizeof value);
    return value;
}

} // namespace

TEST_F(Traffic, AMappingAddedBeforeItsInputAndItsAgentComesAliveWithThem)
{
    map("later", "source", "level");
    EXPECT_FALSE(qny_mapping_is_live("later", "source", "level"));
    PeerProcess source("source");
    ASSERT_TRUE(watch.wait(QNY_AGENT_ENTERED, "source"));
    EXPECT_FALSE(qny_mapping_is_live("later", "source", "level")) << "without an input";
    Arrivals& got = input("later", QNY_DOUBLE_T);
    EXPECT_FALSE(qny_mapping_is_live("later", "source", "level")) << "without an output";
    source.ask({ "output", "level", "double" });
    ASSERT_TRUE(live("later", "source", "level"));
    source.ask({ "publish", "level", "double", "1.5" });
    ASSERT_TRUE(got.waitFor(1));
    const auto first = got.all()[0];
    EXPECT_EQ(first.agent, "source");
    EXPECT_EQ(first.output, "level");
    EXPECT_EQ(first.sequence, 1U);
    EXPECT_FALSE(first.last);
    EXPECT_LE(first.time, first.received);
    EXPECT_LT(first.received - first.time, 1'000'000);
    EXPECT_EQ(as<double>(first.bytes), 1.5);
    EXPECT_EQ(qny_input_double("later"), 1.5);
}

TEST_F(Traffic, ANewMappingGetsTheLastValueMarkedAsSuch)
{
    PeerProcess source("source");
    source.ask({ "output", "level", "integer" });
    source.ask({ "publish", "level", "integer", "7" });
    source.ask({ "publish", "level", "integer", "8" });
    Arrivals& got = input("in", QNY_INTEGER_T);
    map("in", "source", "level");
    ASSERT_TRUE(got.waitFor(1));
    EXPECT_TRUE(got.all()[0].last);
    EXPECT_EQ(got.all()[0].sequence, 2U);
    EXPECT_EQ(got.all()[0].lost, 0U);
    EXPECT_EQ(as<int32_t>(got.all()[0].bytes), 8);
    source.ask({ "publish", "level", "integer", "9" });
    ASSERT_TRUE(got.waitFor(2));
    EXPECT_FALSE(got.all()[1].last);
    EXPECT_EQ(got.all()[1].sequence, 3U);
    EXPECT_EQ(qny_input_lost("in"), 0U);
}

TEST_F(Traffic, WhatIsMappedBetweenTwoPublicationsHearsTheSecondAndWhatIsUnmappedDoesNot)
{
    const auto values = [](Arrivals& arrivals) {
        std::vector<int32_t> got;
        for (const auto& each : arrivals.all()) {
            got.push_back(as<int32_t>(each.bytes));
        }
        return got;
    };
    PeerProcess source("source");
    source.ask({ "output", "level", "integer" });
    Arrivals& first = input("first", QNY_INTEGER_T);
    Arrivals& second = input("second", QNY_INTEGER_T);
    map("first", "source", "level");
    ASSERT_TRUE(live("first", "source", "level"));
    source.ask({ "publish", "level", "integer", "1" });
    ASSERT_TRUE(first.waitFor(1));
    map("second", "source", "level");
    ASSERT_TRUE(second.waitFor(1)) << "the last value";
    source.ask({ "publish", "level", "integer", "2" });
    ASSERT_TRUE(first.waitFor(2));
    ASSERT_TRUE(second.waitFor(2));
    ASSERT_EQ(qny_mapping_remove_with_name("first", "source", "level"), QNY_SUCCESS);
    source.ask({ "publish", "level", "integer", "3" });
    ASSERT_TRUE(second.waitFor(3));
    EXPECT_EQ(values(first), (std::vector<int32_t> { 1, 2 }));
    EXPECT_EQ(values(second), (std::vector<int32_t> { 1, 2, 3 }));
    // Nothing is mapped when the next one comes: it is heard by a monitor alone.
    Arrivals seen;
    ASSERT_EQ(qny_monitor_add(source.uuid().c_str(), &Arrivals::take, &seen), QNY_SUCCESS) << qny_last_error();
    ASSERT_TRUE(seen.waitFor(1));
    ASSERT_EQ(qny_mapping_remove_with_name("second", "source", "level"), QNY_SUCCESS);
    source.ask({ "publish", "level", "integer", "4" });
    ASSERT_TRUE(seen.waitFor(2));
    map("first", "source", "level");
    ASSERT_TRUE(first.waitFor(3)) << "the last value";
    source.ask({ "publish", "level", "integer", "5" });
    ASSERT_TRUE(first.waitFor(4));
    EXPECT_EQ(values(first), (std::vector<int32_t> { 1, 2, 4, 5 }));
    EXPECT_EQ(values(second), (std::vector<int32_t> { 1, 2, 3 }));
    EXPECT_EQ(qny_monitor_remove(source.uuid().c_str()), QNY_SUCCESS);
}

TEST_F(Traffic, PublicationsInTurnOfSeveralAgentsAndOutputsReachTheirOwnInputs)
{
    constexpr int32_t turns = 100;
    const std::vector<std::string> names { "left", "right" };
    std::vector<qny_agent_t*> agents;
    std::vector<std::pair<std::string, Arrivals*>> heard;
    for (const std::string& name : names) {
        agents.push_back(qny_agent_new(name.c_str(), nullptr));
        for (const char* each : { "x", "y" }) {
            ASSERT_EQ(qny_agent_output_create(agents.back(), each, QNY_INTEGER_T, nullptr, 0), QNY_SUCCESS);
            const std::string mine = name + " " + each;
            heard.emplace_back(mine, &input(mine, QNY_INTEGER_T));
            map(mine, name, each);
        }
        ASSERT_EQ(qny_agent_activate(agents.back()), QNY_SUCCESS);
        ASSERT_TRUE(live((name + " x").c_str(), name.c_str(), "x"));
        ASSERT_TRUE(live((name + " y").c_str(), name.c_str(), "y"));
    }
    for (int32_t turn = 0; turn < turns; ++turn) {
        int32_t value = 4 * turn;
        for (qny_agent_t* agent : agents) {
            for (const char* each : { "x", "y" }) {
                ASSERT_EQ(qny_agent_output_publish(agent, each, QNY_INTEGER_T, &value, sizeof value, 0, nullptr),
                    QNY_SUCCESS);
                ++value;
            }
        }
    }
    for (size_t which = 0; which < heard.size(); ++which) {
        const auto& [name, arrivals] = heard[which];
        ASSERT_TRUE(arrivals->waitFor(turns)) << name;
        int32_t expected = static_cast<int32_t>(which);
        for (const auto& each : arrivals->all()) {
            EXPECT_EQ(each.agent + " " + each.output, name);
            EXPECT_EQ(as<int32_t>(each.bytes), expected) << name;
            expected += 4;
        }
        EXPECT_EQ(expected, 4 * turns + static_cast<int32_t>(which)) << name;
    }
    for (qny_agent_t* agent : agents) {
        EXPECT_EQ(qny_agent_destroy(agent), QNY_SUCCESS);
    }
}

TEST_F(Traffic, APresetValueIsWhatANewMappingGets)
{
    output("out", QNY_INTEGER_T);
    PeerProcess sink("sink");
    sink.ask({ "input", "in", "integer" });
    const int32_t preset = 41;
    EXPECT_EQ(qny_agent_output_preset(qny_default_agent(), "out", QNY_INTEGER_T, &preset, sizeof preset), QNY_SUCCESS);
    sink.ask({ "map", "in", "me", "out" });
    EXPECT_FALSE(sink.expect({ "got", "me", "out", "0", "0", "last", "41" }).empty()) << "preset, and never published";
}

TEST_F(Traffic, AMappingSurvivesTheRestartOfThePublisher)
{
    Arrivals& got = input("in", QNY_INTEGER_T);
    map("in", "source", "level");
    for (int round = 0; round < 2; ++round) {
        PeerProcess source("source");
        source.ask({ "output", "level", "integer" });
        ASSERT_TRUE(live("in", "source", "level"));
        const size_t before = got.all().size();
        source.ask({ "publish", "level", "integer", std::to_string(round) });
        ASSERT_TRUE(got.waitFor(before + 1));
        EXPECT_EQ(as<int32_t>(got.all().back().bytes), round);
        EXPECT_EQ(got.all().back().sequence, 1U) << "a new agent counts from one";
        source.end(SIGKILL);
        ASSERT_TRUE(eventually([] { return !qny_mapping_is_live("in", "source", "level"); }, 6s));
    }
    EXPECT_EQ(qny_input_lost("in"), 0U);
}

TEST_F(Traffic, ValuesOfEveryTypeArriveAsTheyWereSentExtremesIncluded)
{
    PeerProcess sink("sink");
    const std::vector<std::pair<std::string, qny_value_type_t>> types { { "impulse", QNY_IMPULSE_T },
        { "bool", QNY_BOOL_T }, { "integer", QNY_INTEGER_T }, { "double", QNY_DOUBLE_T }, { "string", QNY_STRING_T },
        { "data", QNY_DATA_T } };
    for (const auto& [name, type] : types) {
        output("out " + name, type);
        sink.ask({ "input", "in " + name, name });
        sink.ask({ "map", "in " + name, "me", "out " + name });
    }
    input("back", QNY_IMPULSE_T);
    sink.ask({ "output", "ready", "impulse" });
    map("back", "sink", "ready");
    ASSERT_TRUE(live("back", "sink", "ready"));
    ASSERT_TRUE(watch.wait(QNY_AGENT_ENTERED, "sink"));
    // The sink's subscriptions were made in the order of its commands: the impulse at the end says that all are in.
    ASSERT_TRUE(eventually([&] {
        qny_output_set_data("out data", "?", 1);
        return !sink.expect({ "got", "me", "out data" }, 20ms).empty();
    }));

    EXPECT_EQ(qny_output_set_impulse("out impulse"), QNY_SUCCESS);
    EXPECT_FALSE(sink.expect({ "got", "me", "out impulse", "1", "0", "new", "impulse" }).empty());
    for (const bool value : { true, false }) {
        EXPECT_EQ(qny_output_set_bool("out bool", value), QNY_SUCCESS);
        const auto line = sink.expect({ "got", "me", "out bool" });
        ASSERT_EQ(line.size(), 7U);
        EXPECT_EQ(line[6], value ? "true" : "false");
    }
    for (const int32_t value : { 0, -1, std::numeric_limits<int32_t>::min(), std::numeric_limits<int32_t>::max() }) {
        EXPECT_EQ(qny_output_set_int("out integer", value), QNY_SUCCESS);
        const auto line = sink.expect({ "got", "me", "out integer" });
        ASSERT_EQ(line.size(), 7U);
        EXPECT_EQ(line[6], std::to_string(value));
    }
    for (const double value :
        { 0.1, -0.0, std::numeric_limits<double>::max(), std::numeric_limits<double>::denorm_min(),
            std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN() }) {
        EXPECT_EQ(qny_output_set_double("out double", value), QNY_SUCCESS);
        const auto line = sink.expect({ "got", "me", "out double" });
        ASSERT_EQ(line.size(), 7U);
        char text[64];
        std::snprintf(text, sizeof text, "%.17g", value);
        EXPECT_EQ(line[6], text);
    }
    for (const std::string& value : { std::string("plain"), std::string("日本語 🙂 é"), std::string(100'000, 'z') }) {
        EXPECT_EQ(qny_output_set_string("out string", value.c_str()), QNY_SUCCESS);
        const auto line = sink.expect({ "got", "me", "out string" });
        ASSERT_EQ(line.size(), 7U);
        EXPECT_EQ(line[6], value);
    }
    EXPECT_EQ(qny_output_set_string("out string", ""), QNY_SUCCESS);
    EXPECT_FALSE(sink.expect({ "got", "me", "out string", "4", "0", "new" }).empty());
    const std::string bytes("\0\xff\x80\n", 4);
    EXPECT_EQ(qny_output_set_data("out data", bytes.data(), bytes.size()), QNY_SUCCESS);
    const auto line = sink.expect({ "got", "me", "out data" });
    ASSERT_EQ(line.size(), 7U);
    EXPECT_EQ(line[6], "00ff800a:4");
    EXPECT_EQ(qny_output_set_data("out data", nullptr, 0), QNY_SUCCESS);
    const auto empty = sink.expect({ "got", "me", "out data" });
    ASSERT_EQ(empty.size(), 7U);
    EXPECT_EQ(empty[6], ":0");
}

TEST_F(Traffic, ValuesConvertIntoTheTypeOfTheInputWhereTheyCan)
{
    output("number", QNY_DOUBLE_T);
    output("text", QNY_STRING_T);
    Arrivals& truth = input("truth", QNY_BOOL_T);
    Arrivals& whole = input("whole", QNY_INTEGER_T);
    Arrivals& written = input("written", QNY_STRING_T);
    Arrivals& any = input("any", QNY_IMPULSE_T);
    Arrivals& data = input("data", QNY_DATA_T);
    for (const char* name : { "truth", "whole", "written", "any", "data" }) {
        map(name, "me", "number");
        ASSERT_TRUE(live(name, "me", "number")) << "agents of one process feed one another, too";
    }
    EXPECT_EQ(qny_output_set_double("number", 2.75), QNY_SUCCESS);
    ASSERT_TRUE(any.waitFor(1) && truth.waitFor(1) && whole.waitFor(1) && written.waitFor(1));
    EXPECT_TRUE(qny_input_bool("truth"));
    EXPECT_EQ(qny_input_int("whole"), 2);
    char* text = qny_input_string("written");
    EXPECT_STREQ(text, "2.75");
    qny_free(text);
    EXPECT_EQ(written.all()[0].type, QNY_DOUBLE_T) << "told as it was sent";
    EXPECT_TRUE(data.all().empty()) << "nothing converts into data";

    map("whole", "me", "text");
    ASSERT_TRUE(live("whole", "me", "text"));
    qny_output_set_string("text", "not a number");
    qny_output_set_string("text", "-12");
    ASSERT_TRUE(eventually([] { return qny_input_int("whole") == -12; }) && whole.waitFor(2));
    EXPECT_EQ(whole.all().size(), 2U) << "what does not convert is dropped";
    qny_output_set_double("number", 1e12);
    qny_output_set_double("number", 3);
    ASSERT_TRUE(eventually([] { return qny_input_int("whole") == 3; }) && whole.waitFor(3));
    EXPECT_EQ(whole.all().size(), 3U) << "too large for an integer";

    // An output takes what converts into its type, and says so of what does not.
    EXPECT_EQ(qny_output_set_int("number", 5), QNY_SUCCESS);
    EXPECT_EQ(qny_output_set_string("number", "five"), QNY_ERROR_TYPE);
    EXPECT_EQ(qny_output_set_impulse("number"), QNY_ERROR_TYPE);
    EXPECT_EQ(qny_output_set_data("number", "x", 1), QNY_ERROR_TYPE);
}

TEST_F(Traffic, PublicationsAndCallsArriveInTheOrderInWhichTheyWereMade)
{
    constexpr int count = 5000;
    struct Seen
    {
        std::atomic<int> published { 0 };
        std::atomic<int> called { 0 };
        std::atomic<bool> disordered { false };
    } seen;
    ASSERT_EQ(qny_input_create("number", QNY_INTEGER_T, nullptr, 0), QNY_SUCCESS);
    inputs.emplace_back("number");
    qny_observe_input(
        "number",
        [](qny_io_kind_t kind, const char*, qny_value_type_t, void* value, size_t, void* user) {
            auto* to = static_cast<Seen*>(user);
            EXPECT_EQ(kind, QNY_INPUT_T);
            const int number = *static_cast<int32_t*>(value);
            if (number != ++to->published || to->called != number - 1) {
                to->disordered = true;
            }
        },
        &seen);
    qny_service_init(
        "number",
        [](const char*, const char*, const char*, qny_service_arg_t* argument, size_t, const char*, void* user) {
            auto* to = static_cast<Seen*>(user);
            if (argument->i != ++to->called || to->published != argument->i) {
                to->disordered = true;
            }
        },
        &seen);
    map("number", "source", "counter");
    PeerProcess source("source");
    source.ask({ "output", "counter", "integer" });
    ASSERT_TRUE(live("number", "source", "counter"));
    ASSERT_FALSE(source.expect({ "entered", "me" }).empty());
    source.ask({ "alternate", "counter", "me", "number", std::to_string(count) });
    EXPECT_TRUE(eventually([&] { return seen.called == count; }));
    EXPECT_EQ(seen.published, count);
    EXPECT_FALSE(seen.disordered);
    qny_service_remove("number");
}

TEST_F(Traffic, ASlowReaderLosesPublicationsAndKnowsExactlyHowManyWhileAnotherGetsAll)
{
    qny_stop();
    qny_options_t mine = options();
    mine.max_peer_queue_bytes = 1024 * 1024;
    ASSERT_EQ(qny_start(&mine), QNY_SUCCESS);
    PeerProcess slow("slow");
    PeerProcess fast("fast");
    output("out", QNY_DATA_T);
    for (PeerProcess* peer : { &slow, &fast }) {
        peer->ask({ "quiet" });
        peer->ask({ "input", "in", "data" });
        peer->ask({ "service", "finish" });
        peer->ask({ "map", "in", "me", "out" });
    }
    ASSERT_TRUE(watch.wait(QNY_AGENT_ENTERED, "slow") && watch.wait(QNY_AGENT_ENTERED, "fast"));
    const auto counts = [](PeerProcess& peer) {
        peer.tell({ "counts", "in" });
        const auto line = peer.expect({ "counts" });
        return line.size() == 6 ? line : std::vector<std::string> { "", "0", "0", "0", "0", "" };
    };
    // Both listen, and the slow one now stands in its callback.
    uint64_t sequence = 0;
    const auto publish = [&](size_t bytes) {
        const std::string value(bytes, 'x');
        return qny_output_publish("out", QNY_DATA_T, value.data(), value.size(), 0, &sequence);
    };
    ASSERT_TRUE(eventually([&] {
        publish(1);
        return counts(slow)[1] != "0" && counts(fast)[1] != "0";
    }));
    ASSERT_TRUE(eventually(
        [&] { return std::stoull(counts(slow)[2]) == sequence && std::stoull(counts(fast)[2]) == sequence; }));
    const uint64_t fastBegins = std::stoull(counts(fast)[2]) - std::stoull(counts(fast)[1]);
    const uint64_t slowBegins = std::stoull(counts(slow)[2]) - std::stoull(counts(slow)[1]);
    slow.ask({ "block" });
    constexpr int rounds = 300;
    for (int i = 0; i < rounds; ++i) {
        for (int k = 0; k < 10; ++k) {
            publish(10'000);
        }
        // At the fast one's pace: it must lose nothing for the slow one's sake.
        ASSERT_TRUE(eventually([&] { return std::stoull(counts(fast)[2]) >= sequence; }));
    }
    // A call to the slow one waits behind what it has not read, and is not lost.
    EXPECT_EQ(qny_service_call("slow", "finish", nullptr, nullptr), QNY_SUCCESS);
    qny_statistics_t statistics;
    qny_statistics(&statistics);
    EXPECT_GT(statistics.publications_dropped, 0U);
    EXPECT_GT(statistics.queued_bytes, 0U);
    slow.ask({ "unblock" });
    EXPECT_FALSE(slow.expect({ "called", "finish", "me" }).empty());
    const auto atFast = counts(fast);
    EXPECT_EQ(std::stoull(atFast[1]), sequence - fastBegins);
    EXPECT_EQ(atFast[4], "0");
    // Nothing more is published: the loss at the very end is told all the same.
    EXPECT_TRUE(eventually([&] {
        const auto at = counts(slow);
        return std::stoull(at[1]) + std::stoull(at[4]) == sequence - slowBegins;
    })) << counts(slow)[1]
        << " received, " << counts(slow)[4] << " lost of " << sequence - slowBegins;
    EXPECT_GT(std::stoull(counts(slow)[4]), 0U);
    publish(1);
    EXPECT_TRUE(eventually([&] { return std::stoull(counts(slow)[2]) == sequence; }));
    const auto atSlow = counts(slow);
    EXPECT_EQ(atSlow[3], atSlow[4]) << "each loss is told with the publication after it";
    EXPECT_EQ(atSlow[5], "ordered");
    slow.tell({ "statistics" });
    EXPECT_EQ(slow.expect({ "statistics" })[4], atSlow[4]);
}

TEST_F(Traffic, WhatIsPublishedWhileASubscriberIsFrozenBeyondTheBoundCountsAsLost)
{
    output("out", QNY_INTEGER_T);
    PeerProcess sink("sink");
    sink.ask({ "input", "in", "integer" });
    sink.ask({ "map", "in", "me", "out" });
    ASSERT_TRUE(listened("out", sink));
    sink.signal(SIGSTOP);
    ASSERT_TRUE(watch.wait(QNY_AGENT_EXITED, "sink"));
    for (int i = 0; i < 10; ++i) {
        qny_output_set_int("out", i);
    }
    watch.clear();
    sink.signal(SIGCONT);
    ASSERT_TRUE(watch.wait(QNY_AGENT_ENTERED, "sink"));
    ASSERT_FALSE(sink.expect({ "entered", "me" }).empty());
    ASSERT_TRUE(eventually([&] {
        sink.tell({ "counts", "in" });
        return sink.expect({ "counts" })[4] == "10";
    }));
    uint64_t sequence = 0;
    const int32_t value = 77;
    qny_output_publish("out", QNY_INTEGER_T, &value, sizeof value, 0, &sequence);
    EXPECT_FALSE(sink.expect({ "got", "me", "out", std::to_string(sequence), "0", "new", "77" }).empty());
}

TEST_F(Traffic, AMonitorReceivesEveryOutputOfAnAgentLaterOnesIncluded)
{
    PeerProcess source("source");
    source.ask({ "output", "first", "integer" });
    source.ask({ "publish", "first", "integer", "1" });
    const std::string uuid = source.uuid();
    Arrivals seen;
    EXPECT_EQ(qny_monitor_add("2c5ea4c0-4067-11e9-8bad-9b1deb4d3b7d", &Arrivals::take, &seen), QNY_ERROR_UNKNOWN_AGENT);
    EXPECT_EQ(qny_monitor_add("no uuid", &Arrivals::take, &seen), QNY_ERROR_UNKNOWN_AGENT);
    ASSERT_TRUE(watch.wait(QNY_AGENT_ENTERED, "source"));
    ASSERT_EQ(qny_monitor_add(uuid.c_str(), &Arrivals::take, &seen), QNY_SUCCESS) << qny_last_error();
    EXPECT_EQ(qny_monitor_add(uuid.c_str(), &Arrivals::take, &seen), QNY_ERROR_EXISTS);
    ASSERT_TRUE(seen.waitFor(1));
    EXPECT_TRUE(seen.all()[0].last);
    EXPECT_EQ(seen.all()[0].output, "first");
    source.ask({ "publish", "first", "integer", "2" });
    source.ask({ "output", "second", "string" });
    source.ask({ "publish", "second", "string", "hello" });
    ASSERT_TRUE(seen.waitFor(3));
    EXPECT_EQ(seen.all()[1].sequence, 2U);
    EXPECT_FALSE(seen.all()[1].last);
    EXPECT_EQ(seen.all()[2].output, "second");
    EXPECT_EQ(seen.all()[2].sequence, 1U);
    EXPECT_STREQ(seen.all()[2].bytes.c_str(), "hello");
    EXPECT_EQ(qny_monitor_remove(uuid.c_str()), QNY_SUCCESS);
    EXPECT_EQ(qny_monitor_remove(uuid.c_str()), QNY_ERROR_UNKNOWN);
    source.ask({ "publish", "first", "integer", "3" });
    ASSERT_EQ(qny_monitor_add(uuid.c_str(), &Arrivals::take, &seen), QNY_SUCCESS);
    ASSERT_TRUE(seen.waitFor(5));
    EXPECT_TRUE(seen.all()[3].last) << "nothing between removal and the new monitor";
    // The agent's departure removes its monitor.
    source.end(SIGKILL);
    ASSERT_TRUE(watch.wait(QNY_AGENT_EXITED, "source"));
    EXPECT_EQ(qny_monitor_remove(uuid.c_str()), QNY_ERROR_UNKNOWN);
}

TEST_F(Traffic, AStandInPublishesAsTheAgentItStandsFor)
{
    PeerProcess sink("sink");
    sink.ask({ "input", "in", "integer" });
    sink.ask({ "map", "in", "recorded", "out" });
    const qny_agent_options_t made { nullptr, true };
    qny_agent_t* standIn = qny_agent_new("recorded", &made);
    ASSERT_TRUE(standIn);
    ASSERT_EQ(qny_agent_output_create(standIn, "out", QNY_INTEGER_T, nullptr, 0), QNY_SUCCESS);
    ASSERT_EQ(qny_agent_activate(standIn), QNY_SUCCESS);
    ASSERT_FALSE(sink.expect({ "entered", "recorded" }).empty());
    const auto publish = [&](int32_t value) {
        return qny_agent_output_publish(standIn, "out", QNY_INTEGER_T, &value, sizeof value, 1234567, nullptr);
    };
    ASSERT_TRUE(eventually([&] {
        publish(5);
        return !sink.expect({ "got", "recorded", "out" }, 20ms).empty();
    }));
    publish(6);
    std::vector<std::string> line;
    while ((line = sink.expect({ "got", "recorded", "out" })).size() > 6 && line[6] != "6") { }
    ASSERT_EQ(line.size(), 8U);
    EXPECT_EQ(line[7], "stand-in");
    EXPECT_EQ(qny_agent_destroy(standIn), QNY_SUCCESS);
    EXPECT_FALSE(sink.expect({ "exited", "recorded" }).empty());
}

TEST_F(Traffic, AnOutputThatIsRemovedAndComesAgainGoesOnCounting)
{
    Arrivals& got = input("in", QNY_INTEGER_T);
    output("again", QNY_INTEGER_T);
    map("in", "me", "again");
    ASSERT_TRUE(live("in", "me", "again"));
    qny_output_set_int("again", 1);
    ASSERT_TRUE(got.waitFor(1));
    EXPECT_EQ(qny_output_remove("again"), QNY_SUCCESS);
    EXPECT_EQ(qny_output_set_int("again", 2), QNY_ERROR_UNKNOWN);
    ASSERT_TRUE(eventually([] { return !qny_mapping_is_live("in", "me", "again"); }));
    output("again", QNY_INTEGER_T);
    uint64_t sequence = 0;
    const int32_t value = 3;
    qny_output_publish("again", QNY_INTEGER_T, &value, sizeof value, 99, &sequence);
    EXPECT_EQ(sequence, 2U);
    ASSERT_TRUE(got.waitFor(2));
    EXPECT_EQ(got.all()[1].lost, 0U);
    EXPECT_EQ(got.all()[1].time, 99);
}

TEST_F(Traffic, APublicationBeyondTheBoundFailsAtTheSender)
{
    qny_stop();
    qny_options_t mine = options();
    mine.max_message_bytes = 1000;
    ASSERT_EQ(qny_start(&mine), QNY_SUCCESS);
    output("out", QNY_DATA_T);
    const std::string large(1001, 'x');
    EXPECT_EQ(qny_output_set_data("out", large.data(), large.size()), QNY_ERROR_TOO_LARGE);
    EXPECT_EQ(qny_output_set_data("out", large.data(), 1000), QNY_SUCCESS);
    PeerProcess small("small", { "--max-message", "100" });
    small.ask({ "quiet" });
    small.ask({ "input", "in", "data" });
    small.ask({ "service", "take" });
    small.ask({ "map", "in", "me", "out" });
    ASSERT_TRUE(watch.wait(QNY_AGENT_ENTERED, "small"));
    ASSERT_TRUE(eventually([&] {
        qny_output_set_data("out", large.data(), 1);
        small.tell({ "counts", "in" });
        return small.expect({ "counts" })[1] != "0";
    }));
    qny_service_arg_t* list = nullptr;
    qny_service_args_add_data(&list, large.data(), 500);
    EXPECT_EQ(qny_service_call("small", "take", &list, nullptr), QNY_ERROR_TOO_LARGE);
    EXPECT_NE(std::string(qny_last_error()).find("small accepts"), std::string::npos);
    EXPECT_EQ(list, nullptr) << "the list is taken over whatever the result";
    EXPECT_EQ(qny_service_call("small", "take", nullptr, nullptr), QNY_SUCCESS);
    EXPECT_FALSE(small.expect({ "called", "take" }).empty());
}

TEST_F(Traffic, LargeValuesTravelInPieces)
{
    Arrivals& got = input("in", QNY_DATA_T);
    PeerProcess source("source");
    source.ask({ "output", "out", "data" });
    map("in", "source", "out");
    ASSERT_TRUE(live("in", "source", "out"));
    source.ask({ "burst", "out", "2", "20000000" });
    source.ask({ "burst", "out", "1", "3" });
    ASSERT_TRUE(got.waitFor(3, 20s));
    EXPECT_EQ(got.all()[0].bytes.size(), 20'000'000U);
    EXPECT_EQ(got.all()[1].bytes, got.all()[0].bytes);
    EXPECT_EQ(got.all()[2].bytes, "xxx");
    EXPECT_EQ(qny_input_lost("in"), 0U);
    EXPECT_EQ(watch.count(QNY_AGENT_EXITED, "source"), 0U);
}

TEST_F(Traffic, ALongValueOfAnInputStaysUntilTheNextOneComes)
{
    Arrivals& got = input("in", QNY_STRING_T);
    Arrivals& gotOther = input("other", QNY_STRING_T);
    const auto value = [] {
        char* text = qny_input_string("in");
        std::string copy = text;
        qny_free(text);
        return copy;
    };
    // Each in a message of its own.
    const std::string lengthy(300'000, 'a');
    const std::string other(300'000, 'b');
    {
        PeerProcess source("source");
        source.ask({ "output", "out", "string" });
        source.ask({ "output", "next", "string" });
        map("in", "source", "out");
        map("other", "source", "next");
        ASSERT_TRUE(live("in", "source", "out"));
        ASSERT_TRUE(live("other", "source", "next"));
        source.ask({ "publish", "out", "string", lengthy });
        ASSERT_TRUE(got.waitFor(1, 20s));
        for (size_t i = 0; i < 20; ++i) {
            source.ask({ "publish", "next", "string", other });
        }
        ASSERT_TRUE(gotOther.waitFor(20, 20s));
        EXPECT_EQ(value(), lengthy);
    }
    ASSERT_TRUE(watch.wait(QNY_AGENT_EXITED, "source"));
    EXPECT_EQ(value(), lengthy) << "whoever published it is gone";
    PeerProcess source("source");
    source.ask({ "output", "out", "string" });
    ASSERT_TRUE(live("in", "source", "out"));
    source.ask({ "publish", "out", "string", "short" });
    ASSERT_TRUE(got.waitFor(2, 20s));
    EXPECT_EQ(value(), "short");
}
