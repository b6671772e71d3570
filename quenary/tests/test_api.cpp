// SPDX-License-Identifier: Apache-2.0
// Every exported function with null, unknown and destroyed handles, and the rules for names and values. Nothing here
// needs a network, but for the last.
#include "peerprocess.h"

#include <cstring>
#include <gtest/gtest.h>

using namespace test;

namespace {

void noIo(qny_io_kind_t, const char*, qny_value_type_t, void*, size_t, void*) { }
void noPublication(const qny_publication_t*, void*) { }
void noCall(const char*, const char*, const char*, qny_service_arg_t*, size_t, const char*, void*) { }

std::string taken(char* text)
{
    const std::string copy = text ? text : "(null)";
    qny_free(text);
    return copy;
}

// Every function that takes an agent answers this handle with an error and a sentence.
void expectRefused(qny_agent_t* agent)
{
    const auto refused = [](qny_result_t result) {
        EXPECT_EQ(result, QNY_ERROR_ARGUMENT);
        EXPECT_STRNE(qny_last_error(), "");
    };
    const int32_t value = 1;
    refused(qny_agent_activate(agent));
    refused(qny_agent_deactivate(agent));
    refused(qny_agent_destroy(agent));
    EXPECT_EQ(qny_agent_uuid(agent), nullptr);
    EXPECT_EQ(qny_agent_name(agent), nullptr);
    refused(qny_agent_name_set(agent, "name"));
    refused(qny_agent_family_set(agent, nullptr));
    EXPECT_EQ(qny_agent_definition(agent), nullptr);
    refused(qny_agent_definition_load(agent, "{}"));
    refused(qny_agent_output_create(agent, "x", QNY_INTEGER_T, nullptr, 0));
    refused(qny_agent_output_remove(agent, "x"));
    refused(qny_agent_output_publish(agent, "x", QNY_INTEGER_T, &value, sizeof value, 0, nullptr));
    refused(qny_agent_output_preset(agent, "x", QNY_INTEGER_T, &value, sizeof value));
    refused(qny_agent_input_create(agent, "x", QNY_INTEGER_T, nullptr, 0));
    refused(qny_agent_input_remove(agent, "x"));
    refused(qny_agent_observe_input(agent, "x", noIo, nullptr));
    refused(qny_agent_observe_input_publications(agent, "x", noPublication, nullptr));
    EXPECT_EQ(qny_agent_input_lost(agent, "x"), 0U);
    refused(qny_agent_mapping_add(agent, "x", "y", "z"));
    refused(qny_agent_mapping_remove_with_name(agent, "x", "y", "z"));
    refused(qny_agent_service_init(agent, "x", noCall, nullptr));
    refused(qny_agent_service_arg_add(agent, "x", "y", QNY_INTEGER_T));
    refused(qny_agent_service_remove(agent, "x"));
    qny_service_arg_t* list = nullptr;
    qny_service_args_add_int(&list, 1);
    refused(qny_agent_service_call(agent, "x", "y", &list, nullptr));
    EXPECT_EQ(list, nullptr);
}

} // namespace

TEST(Api, ANullAgentIsAnErrorEverywhere)
{
    expectRefused(nullptr);
}

TEST(Api, ADestroyedAgentIsAnErrorEverywhereAlsoAfterOthersWereMade)
{
    qny_agent_t* agent = qny_agent_new("gone", nullptr);
    ASSERT_TRUE(agent);
    EXPECT_EQ(qny_agent_destroy(agent), QNY_SUCCESS);
    qny_agent_t* next = qny_agent_new("next", nullptr);
    EXPECT_NE(next, agent);
    expectRefused(agent);
    EXPECT_EQ(qny_agent_destroy(next), QNY_SUCCESS);
}

TEST(Api, AHandleThatNeverWasOneIsAnError)
{
    int something = 0;
    expectRefused(reinterpret_cast<qny_agent_t*>(&something));
}

TEST(Api, NullTextsAreErrorsAndNeverCrash)
{
    qny_agent_t* agent = qny_default_agent();
    EXPECT_EQ(qny_agent_new(nullptr, nullptr), nullptr);
    EXPECT_EQ(qny_name_set(nullptr), QNY_ERROR_ARGUMENT);
    EXPECT_EQ(qny_agent_definition_load(agent, nullptr), QNY_ERROR_ARGUMENT);
    EXPECT_EQ(qny_output_create(nullptr, QNY_BOOL_T, nullptr, 0), QNY_ERROR_ARGUMENT);
    EXPECT_EQ(qny_output_remove(nullptr), QNY_ERROR_ARGUMENT);
    EXPECT_EQ(qny_output_publish(nullptr, QNY_BOOL_T, nullptr, 0, 0, nullptr), QNY_ERROR_ARGUMENT);
    EXPECT_EQ(qny_output_set_impulse(nullptr), QNY_ERROR_ARGUMENT);
    EXPECT_EQ(qny_output_set_string("x", nullptr), QNY_ERROR_UNKNOWN);
    EXPECT_EQ(qny_agent_output_preset(agent, nullptr, QNY_BOOL_T, nullptr, 0), QNY_ERROR_ARGUMENT);
    EXPECT_EQ(qny_input_create(nullptr, QNY_BOOL_T, nullptr, 0), QNY_ERROR_ARGUMENT);
    EXPECT_EQ(qny_input_remove(nullptr), QNY_ERROR_ARGUMENT);
    EXPECT_FALSE(qny_input_exists(nullptr));
    EXPECT_EQ(qny_observe_input(nullptr, noIo, nullptr), QNY_ERROR_ARGUMENT);
    EXPECT_EQ(qny_observe_input("x", nullptr, nullptr), QNY_ERROR_ARGUMENT);
    EXPECT_EQ(qny_observe_input_publications(nullptr, noPublication, nullptr), QNY_ERROR_ARGUMENT);
    EXPECT_EQ(qny_input_lost(nullptr), 0U);
    EXPECT_FALSE(qny_input_bool(nullptr));
    EXPECT_EQ(qny_input_int(nullptr), 0);
    EXPECT_EQ(qny_input_double(nullptr), 0.0);
    EXPECT_EQ(qny_input_string(nullptr), nullptr);
    EXPECT_EQ(qny_mapping_add(nullptr, "a", "o"), QNY_ERROR_ARGUMENT);
    EXPECT_EQ(qny_mapping_add("i", nullptr, "o"), QNY_ERROR_ARGUMENT);
    EXPECT_EQ(qny_mapping_add("i", "a", nullptr), QNY_ERROR_ARGUMENT);
    EXPECT_EQ(qny_mapping_remove_with_name(nullptr, "a", "o"), QNY_ERROR_ARGUMENT);
    EXPECT_FALSE(qny_mapping_is_live(nullptr, nullptr, nullptr));
    EXPECT_EQ(qny_monitor_add(nullptr, noPublication, nullptr), QNY_ERROR_ARGUMENT);
    EXPECT_EQ(qny_monitor_add("x", nullptr, nullptr), QNY_ERROR_ARGUMENT);
    EXPECT_EQ(qny_monitor_remove(nullptr), QNY_ERROR_ARGUMENT);
    EXPECT_EQ(qny_service_init(nullptr, noCall, nullptr), QNY_ERROR_ARGUMENT);
    EXPECT_EQ(qny_service_init("x", nullptr, nullptr), QNY_ERROR_ARGUMENT);
    EXPECT_EQ(qny_service_arg_add(nullptr, "a", QNY_BOOL_T), QNY_ERROR_ARGUMENT);
    EXPECT_EQ(qny_service_arg_add("x", nullptr, QNY_BOOL_T), QNY_ERROR_ARGUMENT);
    EXPECT_EQ(qny_service_remove(nullptr), QNY_ERROR_ARGUMENT);
    EXPECT_FALSE(qny_service_exists(nullptr));
    EXPECT_EQ(qny_service_args_add_bool(nullptr, true), QNY_ERROR_ARGUMENT);
    EXPECT_EQ(qny_service_args_add_int(nullptr, 1), QNY_ERROR_ARGUMENT);
    EXPECT_EQ(qny_service_args_add_double(nullptr, 1), QNY_ERROR_ARGUMENT);
    EXPECT_EQ(qny_service_args_add_string(nullptr, ""), QNY_ERROR_ARGUMENT);
    qny_service_arg_t* list = nullptr;
    EXPECT_EQ(qny_service_args_add_string(&list, nullptr), QNY_ERROR_ARGUMENT);
    EXPECT_EQ(qny_service_args_add_data(&list, nullptr, 1), QNY_ERROR_ARGUMENT);
    EXPECT_EQ(qny_service_args_count(nullptr), 0U);
    qny_service_args_destroy(&list);
    qny_service_args_destroy(nullptr);
    EXPECT_EQ(qny_observe_agents(nullptr, nullptr), QNY_ERROR_ARGUMENT);
    EXPECT_EQ(qny_unobserve_agents(nullptr, nullptr), QNY_ERROR_ARGUMENT);
    EXPECT_FALSE(qny_agent_is_present(nullptr));
    EXPECT_FALSE(qny_agent_is_heard(nullptr));
    EXPECT_FALSE(qny_agent_is_heard("no uuid"));
    char* own = qny_uuid();
    EXPECT_FALSE(qny_agent_is_heard(own)) << "agents of other processes only";
    EXPECT_EQ(qny_agent_silence_ms(nullptr), -1);
    EXPECT_EQ(qny_agent_silence_ms(own), -1);
    qny_free(own);
    EXPECT_EQ(qny_request_stop(nullptr), QNY_ERROR_ARGUMENT);
    EXPECT_EQ(qny_observe_stop_requests(nullptr, nullptr), QNY_SUCCESS) << "null withdraws it";
    EXPECT_EQ(qny_set_command_line(1, nullptr, nullptr), QNY_ERROR_ARGUMENT);
    EXPECT_EQ(qny_set_command_line(-1, nullptr, nullptr), QNY_ERROR_ARGUMENT);
    EXPECT_EQ(qny_set_command_line(0, nullptr, nullptr), QNY_SUCCESS);
    EXPECT_FALSE(qny_name_is_valid(nullptr, true));
    qny_options_init(nullptr);
    qny_statistics(nullptr);
    qny_free(nullptr);
    qny_free(qny_devices(nullptr));
}

TEST(Api, TextsOfResultsAndTypesAreFixed)
{
    EXPECT_STREQ(qny_version(), "1.0.0");
    for (int i = QNY_SUCCESS; i <= QNY_ERROR_SYSTEM; ++i) {
        EXPECT_STRNE(qny_result_text(static_cast<qny_result_t>(i)), "unknown result") << i;
    }
    const char* const texts[] = { "unknown", "impulse", "bool", "integer", "double", "string", "data" };
    for (int i = 1; i < 7; ++i) {
        EXPECT_STREQ(qny_value_type_text(static_cast<qny_value_type_t>(i)), texts[i]);
        EXPECT_EQ(qny_value_type_from_text(texts[i]), i);
    }
    EXPECT_STREQ(qny_value_type_text(static_cast<qny_value_type_t>(7)), "unknown");
    EXPECT_EQ(qny_value_type_from_text("Integer"), QNY_UNKNOWN_T);
    EXPECT_EQ(qny_value_type_from_text(nullptr), QNY_UNKNOWN_T);
}

TEST(Api, NamesFollowTheRules)
{
    for (const char* good : { "a", "Über 水", "a b", "a-", "🙂", "a.b:c,d;e'f(g)" }) {
        EXPECT_TRUE(qny_name_is_valid(good, true)) << good;
    }
    const std::string longest(255, 'x');
    EXPECT_TRUE(qny_name_is_valid(longest.c_str(), true));
    EXPECT_FALSE(qny_name_is_valid((longest + "x").c_str(), true));
    for (const char* bad : { "", " a", "a ", "\ta", "a\xc2\xa0", "-a", "a\"b", "a\\b", "a/b", "a*b", "a?b", "a\nb",
             "a\x7f", "a\xc2\x85z", "\xff", "\xed\xa0\x80", "\xc0\x80" }) {
        EXPECT_FALSE(qny_name_is_valid(bad, true)) << bad;
        EXPECT_FALSE(qny_name_is_valid(bad, false)) << bad;
    }
    EXPECT_FALSE(qny_name_is_valid("a#b", true));
    EXPECT_TRUE(qny_name_is_valid("a#b", false));
    EXPECT_EQ(qny_name_set("a#b"), QNY_ERROR_NAME);
    EXPECT_NE(std::string(qny_last_error()).find('#'), std::string::npos);
    EXPECT_EQ(qny_name_set("\xff"), QNY_ERROR_UTF8);
    EXPECT_EQ(qny_input_create("a/b", QNY_BOOL_T, nullptr, 0), QNY_ERROR_NAME);
    EXPECT_EQ(qny_input_create("a#b", QNY_BOOL_T, nullptr, 0), QNY_SUCCESS);
    EXPECT_EQ(qny_input_remove("a#b"), QNY_SUCCESS);
    EXPECT_EQ(qny_mapping_add("i", "a#b", "o"), QNY_ERROR_NAME);
}

TEST(Api, TheDefaultAgentIsThereAndStays)
{
    qny_agent_t* agent = qny_default_agent();
    EXPECT_EQ(agent, qny_default_agent());
    EXPECT_EQ(qny_agent_destroy(agent), QNY_ERROR_ARGUMENT);
    EXPECT_EQ(qny_agent_deactivate(agent), QNY_ERROR_ARGUMENT);
    EXPECT_EQ(qny_agent_activate(agent), QNY_SUCCESS);
    EXPECT_EQ(qny_name_set("myself"), QNY_SUCCESS);
    EXPECT_EQ(taken(qny_name()), "myself");
    EXPECT_EQ(taken(qny_agent_name(agent)), "myself");
    EXPECT_EQ(taken(qny_uuid()), taken(qny_agent_uuid(agent)));
    EXPECT_EQ(taken(qny_uuid()).size(), 36U);
    EXPECT_EQ(qny_family_set("no uuid"), QNY_ERROR_ARGUMENT);
    EXPECT_EQ(qny_family_set("6c2b5a0e-3f7d-4d0b-9a51-0f4f3a2c9e77"), QNY_SUCCESS);
    EXPECT_NE(taken(qny_agent_definition(agent)).find("6c2b5a0e"), std::string::npos);
    EXPECT_EQ(qny_family_set(nullptr), QNY_SUCCESS);
}

TEST(Api, ADefinitionIsWrittenAndLoadedInItsFixedForm)
{
    qny_agent_t* agent = qny_agent_new("defined", nullptr);
    const char* json
        = R"({"family":"6c2b5a0e-3f7d-4d0b-9a51-0f4f3a2c9e77","inputs":[{"name":"in","type":"double"}],)"
          R"("outputs":[{"name":"out","type":"data"}],"services":[{"name":"serve","arguments":[{"name":"how","type":"string"}]}]})";
    ASSERT_EQ(qny_agent_definition_load(agent, json), QNY_SUCCESS) << qny_last_error();
    EXPECT_EQ(taken(qny_agent_definition(agent)), json);
    ASSERT_EQ(
        qny_agent_definition_load(agent, R"({"inputs":[{"name":"in","type":"bool"},{"name":"more","type":"bool"}]})"),
        QNY_SUCCESS);
    const std::string after = taken(qny_agent_definition(agent));
    EXPECT_NE(after.find(R"([{"name":"in","type":"double"},{"name":"more","type":"bool"}])"), std::string::npos)
        << after;
    for (const char* bad : { "", "[]", "{", R"({"inputs":1})", R"({"inputs":[1]})", R"({"inputs":[{"type":"bool"}]})",
             R"({"inputs":[{"name":"x","type":"text"}]})", R"({"inputs":[{"name":"a/b","type":"bool"}]})",
             R"({"services":[{}]})", R"({"services":[{"name":"s","arguments":[{"name":"*","type":"bool"}]}]})",
             R"({"family":5})" }) {
        EXPECT_EQ(qny_agent_definition_load(agent, bad), QNY_ERROR_ARGUMENT) << bad;
        EXPECT_EQ(taken(qny_agent_definition(agent)), after) << bad;
    }
    const std::string nested(200'000, '[');
    EXPECT_EQ(qny_agent_definition_load(agent, nested.c_str()), QNY_ERROR_ARGUMENT);
    const std::string huge(2'000'000, ' ');
    EXPECT_EQ(qny_agent_definition_load(agent, huge.c_str()), QNY_ERROR_TOO_LARGE);
    EXPECT_EQ(qny_agent_destroy(agent), QNY_SUCCESS);
}

TEST(Api, AnAgentHasABoundOnWhatItDeclares)
{
    qny_agent_t* agent = qny_agent_new("greedy", nullptr);
    int made = 0;
    while (made < 10'000
        && qny_agent_input_create(agent, ("input " + std::to_string(made)).c_str(), QNY_BOOL_T, nullptr, 0)
            == QNY_SUCCESS) {
        ++made;
    }
    EXPECT_EQ(made, 4096);
    EXPECT_EQ(qny_agent_output_create(agent, "one more", QNY_BOOL_T, nullptr, 0), QNY_ERROR_TOO_LARGE);
    EXPECT_EQ(qny_agent_service_init(agent, "one more", noCall, nullptr), QNY_ERROR_TOO_LARGE);
    EXPECT_EQ(qny_agent_input_remove(agent, "input 0"), QNY_SUCCESS);
    EXPECT_EQ(qny_agent_service_init(agent, "one more", noCall, nullptr), QNY_SUCCESS);
    EXPECT_EQ(qny_agent_destroy(agent), QNY_SUCCESS);
}

TEST(Api, OutputsAreFoundByNameHoweverManyThereAre)
{
    qny_agent_t* agent = qny_agent_new("many", nullptr);
    const auto nameOf = [](int number) { return "output " + std::to_string(number); };
    const auto isThere = [&](int number) {
        return qny_agent_output_publish(agent, nameOf(number).c_str(), QNY_IMPULSE_T, nullptr, 0, 0, nullptr)
            == QNY_SUCCESS;
    };
    constexpr int most = 30;
    for (int number = 0; number < most; ++number) {
        EXPECT_FALSE(isThere(number)) << number;
        ASSERT_EQ(qny_agent_output_create(agent, nameOf(number).c_str(), QNY_IMPULSE_T, nullptr, 0), QNY_SUCCESS);
        EXPECT_TRUE(isThere(0) && isThere(number / 2) && isThere(number)) << number;
    }
    for (int number = 0; number < most; ++number) {
        ASSERT_EQ(qny_agent_output_remove(agent, nameOf(number).c_str()), QNY_SUCCESS);
        EXPECT_FALSE(isThere(number)) << number;
        EXPECT_EQ(isThere(number + 1), number + 1 < most) << number;
        EXPECT_EQ(isThere(most - 1), number + 1 < most) << number;
    }
    EXPECT_EQ(qny_agent_destroy(agent), QNY_SUCCESS);
}

TEST(Api, InputsAndOutputsHoldTheirFirstValuesAndTypes)
{
    const int32_t seven = 7;
    const double half = 0.5;
    const bool yes = true;
    EXPECT_EQ(qny_input_create("int", QNY_INTEGER_T, &seven, sizeof seven), QNY_SUCCESS);
    EXPECT_EQ(qny_input_create("double", QNY_DOUBLE_T, &half, sizeof half), QNY_SUCCESS);
    EXPECT_EQ(qny_input_create("bool", QNY_BOOL_T, &yes, sizeof yes), QNY_SUCCESS);
    EXPECT_EQ(qny_input_create("string", QNY_STRING_T, "text", 5), QNY_SUCCESS);
    EXPECT_EQ(qny_input_int("int"), 7);
    EXPECT_EQ(qny_input_double("double"), 0.5);
    EXPECT_TRUE(qny_input_bool("bool"));
    EXPECT_EQ(taken(qny_input_string("string")), "text");
    EXPECT_EQ(qny_input_int("double"), 0) << "of another type";
    EXPECT_EQ(qny_input_string("int"), nullptr);
    EXPECT_TRUE(qny_input_exists("int"));
    EXPECT_EQ(qny_input_create("int", QNY_INTEGER_T, nullptr, 0), QNY_SUCCESS) << "again with the same type";
    EXPECT_EQ(qny_input_int("int"), 7) << "changes nothing";
    EXPECT_EQ(qny_input_create("int", QNY_BOOL_T, nullptr, 0), QNY_ERROR_EXISTS);
    EXPECT_EQ(qny_input_create("bad", QNY_UNKNOWN_T, nullptr, 0), QNY_ERROR_ARGUMENT);
    EXPECT_EQ(qny_input_create("bad", QNY_INTEGER_T, &seven, 3), QNY_ERROR_ARGUMENT) << "3 bytes";
    EXPECT_EQ(qny_input_create("bad", QNY_STRING_T, "text", 4), QNY_ERROR_ARGUMENT) << "without its final zero byte";
    EXPECT_EQ(qny_input_create("bad", QNY_STRING_T, "\xff", 2), QNY_ERROR_UTF8);
    for (size_t at = 0; at < 24; ++at) {
        for (const char* wrong : { "\xff", "\x80", "\xc3(", "\xed\xa0\x80", "\xf4\x90\x80\x80", "\xc0\x80" }) {
            const std::string text = std::string(at, 'a') + wrong + std::string(24 - at, 'z');
            EXPECT_EQ(qny_input_create("bad", QNY_STRING_T, text.c_str(), text.size() + 1), QNY_ERROR_UTF8)
                << wrong << " at " << at;
        }
    }
    EXPECT_FALSE(qny_input_exists("bad"));
    for (size_t at = 0; at < 24; ++at) {
        const std::string text
            = std::string(at, 'a') + "\xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80" + std::string(24 - at, 'z');
        EXPECT_EQ(qny_input_create("good", QNY_STRING_T, text.c_str(), text.size() + 1), QNY_SUCCESS) << at;
        EXPECT_EQ(qny_input_remove("good"), QNY_SUCCESS);
    }
    EXPECT_EQ(qny_observe_input("missing", noIo, nullptr), QNY_ERROR_UNKNOWN);
    for (const char* name : { "int", "double", "bool", "string" }) {
        EXPECT_EQ(qny_input_remove(name), QNY_SUCCESS);
        EXPECT_EQ(qny_input_remove(name), QNY_ERROR_UNKNOWN);
    }
    EXPECT_EQ(qny_output_create("out", QNY_INTEGER_T, &seven, sizeof seven), QNY_SUCCESS);
    EXPECT_EQ(qny_output_create("out", QNY_INTEGER_T, nullptr, 0), QNY_SUCCESS);
    EXPECT_EQ(qny_output_create("out", QNY_STRING_T, nullptr, 0), QNY_ERROR_EXISTS);
    uint64_t sequence = 0;
    EXPECT_EQ(qny_output_publish("out", QNY_INTEGER_T, &seven, sizeof seven, 0, &sequence), QNY_SUCCESS);
    EXPECT_EQ(sequence, 1U) << "counted though nobody listens";
    EXPECT_EQ(qny_output_set_string("out", "text"), QNY_ERROR_TYPE);
    EXPECT_EQ(qny_output_remove("out"), QNY_SUCCESS);
    EXPECT_EQ(qny_output_remove("out"), QNY_ERROR_UNKNOWN);
    EXPECT_EQ(qny_mapping_add("i", "a", "o"), QNY_SUCCESS);
    EXPECT_EQ(qny_mapping_add("i", "a", "o"), QNY_SUCCESS) << "adding it twice changes nothing";
    EXPECT_EQ(qny_mapping_remove_with_name("i", "a", "o"), QNY_SUCCESS);
    EXPECT_EQ(qny_mapping_remove_with_name("i", "a", "o"), QNY_ERROR_UNKNOWN);
}

TEST(Api, TheLastErrorIsEachThreadsOwn)
{
    EXPECT_EQ(qny_name_set("a/b"), QNY_ERROR_NAME);
    const std::string mine = qny_last_error();
    std::thread([] { EXPECT_EQ(qny_name_set("c?d"), QNY_ERROR_NAME); }).join();
    EXPECT_EQ(mine, qny_last_error());
}

TEST(Api, TheDevicesOfThisMachineIncludeTheLoopback)
{
    size_t count = 0;
    qny_device_t* devices = qny_devices(&count);
    bool found = false;
    for (size_t i = 0; i < count; ++i) {
        found = found || (devices[i].loopback && std::strcmp(devices[i].address, "127.0.0.1") == 0);
    }
    EXPECT_TRUE(found);
    qny_free(devices);
}

TEST(Api, TheEnvironmentNamesTheMachineUnlessAnOptionDoes)
{
    ASSERT_EQ(setenv("QNY_HOST_NAME", "machine two", 1), 0);
    EXPECT_EQ(taken(qny_host_name()), "machine two");
    qny_options_t mine = options();
    ASSERT_EQ(qny_start(&mine), QNY_SUCCESS) << qny_last_error();
    EXPECT_EQ(taken(qny_host_name()), "machine two");
    qny_stop();
    mine.host_name = "machine three";
    ASSERT_EQ(qny_start(&mine), QNY_SUCCESS) << qny_last_error();
    EXPECT_EQ(taken(qny_host_name()), "machine three");
    qny_stop();
    unsetenv("QNY_HOST_NAME");
}

TEST(Api, OptionsShowThemselves)
{
    EXPECT_FALSE(qny_is_started());
    EXPECT_EQ(qny_endpoint(), nullptr);
    qny_stop();
    qny_options_t mine = options();
    mine.host_name = "a machine";
    ASSERT_EQ(qny_start(&mine), QNY_SUCCESS) << qny_last_error();
    EXPECT_EQ(taken(qny_host_name()), "a machine");
    EXPECT_EQ(taken(qny_endpoint()).substr(0, 16), "tcp://127.0.0.1:");
    qny_statistics_t statistics;
    std::memset(&statistics, 0xff, sizeof statistics);
    qny_statistics(&statistics);
    EXPECT_EQ(statistics.publications_sent, 0U);
    EXPECT_EQ(statistics.queued_bytes, 0U);
    qny_stop();
}
