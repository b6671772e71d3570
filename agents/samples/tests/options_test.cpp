// SPDX-License-Identifier: Apache-2.0
#include "common/options.h"

#include <gtest/gtest.h>

#include <algorithm>

using namespace samples;

namespace {

const ProgramInfo info {
    "qnySampleThing",
    "A thing.",
    "Thing %1",
    "line",
    { { "line", "a|b", "its place", "a" } },
};

Options parsed(const std::vector<std::string>& arguments)
{
    const auto result = parseOptions(info, arguments);
    if (const auto* end = std::get_if<ParseEnd>(&result)) {
        ADD_FAILURE() << end->text;
        return {};
    }
    return std::get<Options>(result);
}

ParseEnd refused(const std::vector<std::string>& arguments)
{
    const auto result = parseOptions(info, arguments);
    if (const auto* end = std::get_if<ParseEnd>(&result)) {
        return *end;
    }
    ADD_FAILURE() << "accepted";
    return {};
}

} // namespace

TEST(Options, WithoutAnyAreTheDefaults)
{
    const Options options = parsed({});
    EXPECT_EQ(options.name, "Thing A");
    EXPECT_EQ(options.device, "");
    EXPECT_EQ(options.port, 0);
    EXPECT_EQ(options.peers, "");
    EXPECT_EQ(options.seed, 1U);
    EXPECT_EQ(options.journal, "");
    EXPECT_EQ(options.own.at("line"), "a");
}

TEST(Options, AreTakenInBothForms)
{
    const Options options = parsed({ "--name", "Pümpe 1", "--device=lo", "--port", "23456", "--peers=127.0.0.1:4000",
        "--seed", "18446744073709551615", "--journal=/some/file;x", "--qnyCert", "/own.cert_secret",
        "--publicCerts=/known" });
    EXPECT_EQ(options.name, "Pümpe 1");
    EXPECT_EQ(options.device, "lo");
    EXPECT_EQ(options.port, 23456);
    EXPECT_EQ(options.peers, "127.0.0.1:4000");
    EXPECT_EQ(options.seed, 18446744073709551615U);
    EXPECT_EQ(options.privateCertificate, "/own.cert_secret");
    EXPECT_EQ(options.publicCertificates, "/known");
    EXPECT_EQ(options.journal, "/some/file;x");
}

TEST(Options, NameTheAgentAfterItsPlaceUnlessAsked)
{
    EXPECT_EQ(parsed({ "--line", "b" }).name, "Thing B");
    EXPECT_EQ(parsed({ "--line", "b", "--name", "Other" }).name, "Other");
}

TEST(Options, ThatAreWrongEndTheProgramWithOneLineAndStatus2)
{
    const std::vector<std::pair<std::vector<std::string>, std::string>> cases {
        { { "--colour", "red" }, "unknown option \"--colour\"" },
        { { "--port", "0" }, "\"0\" is no port" },
        { { "--port", "70000" }, "\"70000\" is no port" },
        { { "--port", "12x" }, "\"12x\" is no port" },
        { { "--seed", "-3" }, "\"-3\" is no seed" },
        { { "--qnyCert", "" }, "option \"--qnyCert\" is empty" },
        { { "--publicCerts=" }, "option \"--publicCerts\" is empty" },
        { { "--journal" }, "option \"--journal\" needs a value" },
        { { "plant" }, "unexpected argument \"plant\"" },
        { { "-n" }, "unexpected argument \"-n\"" },
        { { "--line", "z" }, "\"z\" is no value of \"--line\" (a|b)" },
        { { "--line", "a|b" }, "\"a|b\" is no value of \"--line\" (a|b)" },
        { { "--line=" }, "\"\" is no value of \"--line\" (a|b)" },
        { { "--name", "" }, "\"\" cannot name an agent" },
        { { "--name", "a/b" }, "\"a/b\" cannot name an agent" },
    };
    for (const auto& [arguments, expected] : cases) {
        const ParseEnd end = refused(arguments);
        EXPECT_EQ(end.status, 2);
        EXPECT_NE(end.text.find(expected), std::string::npos) << end.text;
        EXPECT_EQ(std::count(end.text.begin(), end.text.end(), '\n'), 1) << end.text;
        EXPECT_TRUE(end.text.starts_with("qnySampleThing: ")) << end.text;
    }
}

TEST(Options, HelpNamesEveryOption)
{
    const ParseEnd end = refused({ "--port", "1", "--help", "--nonsense" });
    EXPECT_EQ(end.status, 0);
    for (const char* option : { "--line", "--name", "--device", "--port", "--peers", "--qnyCert", "--publicCerts",
             "--seed", "--journal", "--help", "--version" }) {
        EXPECT_NE(end.text.find(std::string(option) + " "), std::string::npos) << option;
    }
    EXPECT_NE(end.text.find("(default: Thing A)"), std::string::npos) << end.text;
    EXPECT_EQ(refused({ "--version" }).status, 0);
}
