// SPDX-License-Identifier: Apache-2.0
// A secured network: who meets whom, and what happens while certificates come and go.
#include "securednetwork.h"

#include <cstring>
#include <zmq.h>

using namespace test;

namespace {

using Security = Secured;

struct Caller
{
    std::mutex mutex;
    std::string name;
    std::string key;
    std::string role;
    bool called = false;

    static void take(const char*, const char*, const char*, qny_service_arg_t*, size_t, const char*, void* self)
    {
        auto* to = static_cast<Caller*>(self);
        const std::lock_guard lock(to->mutex);
        const qny_certificate_t* caller = qny_caller_certificate();
        to->name = caller ? caller->name : "";
        to->key = caller ? caller->public_key : "";
        for (const char* const* each = caller ? caller->metadata : nullptr; each && *each; each += 2) {
            to->role = std::string(each[0]) == "role" ? each[1] : to->role;
        }
        to->called = true;
    }
    bool wasCalled()
    {
        const std::lock_guard lock(mutex);
        return called;
    }
};

} // namespace

TEST_F(Security, PeersThatKnowEachOthersKeysMeetAndKnowWhoCalls)
{
    const char* const metadata[] = { "role", "operator", nullptr };
    ASSERT_EQ(qny_certificate_make(folder.file("own").c_str(), "pump", metadata, nullptr), QNY_SUCCESS);
    allow("pump");
    ASSERT_EQ(startMe(), QNY_SUCCESS) << qny_last_error();
    EXPECT_TRUE(qny_is_secured());
    Caller caller;
    ASSERT_EQ(qny_service_init("report", &Caller::take, &caller), QNY_SUCCESS);
    AgentWatch watch;
    PeerProcess pump("pump agent", by("pump"));
    ASSERT_TRUE(watch.wait(QNY_AGENT_ENTERED, "pump agent"));
    pump.ask({ "service", "obey" });
    pump.ask({ "observe-stop" });
    EXPECT_FALSE(pump.expect({ "entered", "me" }).empty());

    EXPECT_EQ(pump.ask({ "call", "me", "report", "", "x" }), QNY_SUCCESS);
    ASSERT_TRUE(eventually([&] { return caller.wasCalled(); }));
    EXPECT_EQ(caller.name, "pump");
    EXPECT_EQ(caller.key, publicKey("pump"));
    EXPECT_EQ(caller.role, "operator");
    EXPECT_EQ(qny_caller_certificate(), nullptr) << "outside of a callback";
    EXPECT_TRUE(qny_is_let_in(publicKey("pump").c_str()));
    EXPECT_TRUE(qny_is_let_in(publicKey("me").c_str()));
    EXPECT_FALSE(qny_is_let_in("nobody's key"));
    EXPECT_FALSE(qny_is_let_in(nullptr));

    ASSERT_TRUE(eventually([] { return qny_service_call("pump agent", "obey", nullptr, nullptr) == QNY_SUCCESS; }));
    EXPECT_FALSE(pump.expect({ "caller", "me", publicKey("me") }).empty());
    ASSERT_TRUE(eventually([&] { return qny_request_stop(pump.uuid().c_str()) == QNY_SUCCESS; }));
    EXPECT_FALSE(pump.expect({ "asked-to-stop", "me", "me" }).empty());

    // A call of one's own comes by one's own certificate.
    caller.called = false;
    qny_agent_t* other = qny_agent_new("other", nullptr);
    ASSERT_EQ(qny_agent_activate(other), QNY_SUCCESS);
    EXPECT_EQ(qny_agent_service_call(other, "me", "report", nullptr, nullptr), QNY_SUCCESS);
    ASSERT_TRUE(eventually([&] { return caller.wasCalled(); }));
    EXPECT_EQ(caller.name, "me");
    qny_agent_destroy(other);
    qny_service_remove("report");
    forbid("pump");
    EXPECT_TRUE(eventually([&] { return !qny_is_let_in(publicKey("pump").c_str()); }, 1s));
    qny_stop();
    EXPECT_FALSE(qny_is_secured());
    EXPECT_FALSE(qny_is_let_in(nullptr));
}

TEST_F(Security, WhatIsShownOfAnAgentNamesItsCertificate)
{
    make("pump");
    ASSERT_EQ(startMe(), QNY_SUCCESS) << qny_last_error();
    struct Seen
    {
        std::mutex mutex;
        std::string key;
        std::string name;
    } seen;
    const auto look = [](qny_agent_event_t, const qny_agent_info_t* agent, void* to) {
        auto* into = static_cast<Seen*>(to);
        const std::lock_guard lock(into->mutex);
        into->key = agent->public_key;
        into->name = agent->certificate_name;
    };
    ASSERT_EQ(qny_observe_agents(look, &seen), QNY_SUCCESS);
    PeerProcess pump("shown", by("pump"));
    EXPECT_TRUE(eventually([&] {
        const std::lock_guard lock(seen.mutex);
        return seen.name == "pump" && seen.key == publicKey("pump");
    }));
    qny_unobserve_agents(look, &seen);
}

TEST_F(Security, TwoProcessesMayShareOneCertificate)
{
    ASSERT_EQ(startMe(), QNY_SUCCESS) << qny_last_error();
    AgentWatch watch;
    PeerProcess twin("twin", by("me"));
    EXPECT_TRUE(watch.wait(QNY_AGENT_ENTERED, "twin"));
    EXPECT_FALSE(twin.expect({ "entered", "me" }).empty());
}

TEST_F(Security, AnUnknownKeyMeetsNobodyUntilItIsAddedWithoutARestart)
{
    make("newcomer", false);
    allow("me", "newcomers");
    LogWatch log;
    ASSERT_EQ(startMe(), QNY_SUCCESS) << qny_last_error();
    AgentWatch watch;
    PeerProcess newcomer("newcomer", by("newcomer", "newcomers", { "--log", "yes" }));
    // It knows our key, and is turned away; and both logs say what is missing.
    EXPECT_TRUE(log.hears("its key " + publicKey("newcomer") + " is none of those in")) << log.all();
    const auto heard = newcomer.expect({ "log" });
    ASSERT_EQ(heard.size(), 2U);
    EXPECT_EQ(heard[1].find("security: the peer at " + place() + " does not let this process in"), 0U) << heard[1];
    EXPECT_TRUE(eventually([] { return statistics().connections_refused >= 2; }));
    EXPECT_EQ(watch.count(QNY_AGENT_ENTERED, "newcomer"), 0U);
    EXPECT_FALSE(newcomer.hasHeard({ "entered" }));
    EXPECT_EQ(log.count("its key " + publicKey("newcomer")), 1U) << "said once";

    const auto added = std::chrono::steady_clock::now();
    allow("newcomer");
    const auto* entered = watch.wait(QNY_AGENT_ENTERED, "newcomer");
    ASSERT_TRUE(entered) << log.all();
    EXPECT_LT(entered->when - added, 3s);
    EXPECT_FALSE(newcomer.expect({ "entered", "me" }).empty());
    EXPECT_TRUE(log.hears("the certificate newcomer (" + folder.file("known/newcomer.cert") + ") is let in"));
}

TEST_F(Security, ARemovedKeyIsCutOffWithinASecondAndNobodyElseIsDisturbed)
{
    make("outgoing");
    make("staying");
    LogWatch log;
    for (const char* const input : { "from outgoing", "from staying" }) {
        ASSERT_EQ(qny_input_create(input, QNY_INTEGER_T, nullptr, 0), QNY_SUCCESS);
    }
    Arrivals fromOutgoing;
    Arrivals fromStaying;
    qny_observe_input_publications("from outgoing", &Arrivals::take, &fromOutgoing);
    qny_observe_input_publications("from staying", &Arrivals::take, &fromStaying);
    qny_mapping_add("from outgoing", "outgoing", "number");
    qny_mapping_add("from staying", "staying", "number");
    ASSERT_EQ(startMe(), QNY_SUCCESS) << qny_last_error();
    AgentWatch watch;
    // The others know all: only we take the certificate away.
    for (const char* const name : { "me", "outgoing", "staying" }) {
        allow(name, "all");
    }
    PeerProcess outgoing("outgoing", by("outgoing", "all"));
    PeerProcess staying("staying", by("staying", "all"));
    for (PeerProcess* each : { &outgoing, &staying }) {
        each->ask({ "output", "number", "integer" });
        each->ask({ "stream", "number" });
    }
    ASSERT_TRUE(fromOutgoing.waitFor(100, 10s));
    ASSERT_TRUE(fromStaying.waitFor(100, 10s));

    const auto removed = std::chrono::steady_clock::now();
    forbid("outgoing");
    const auto* exited = watch.wait(QNY_AGENT_EXITED, "outgoing");
    ASSERT_TRUE(exited) << log.all();
    EXPECT_LT(exited->when - removed, 1s);
    const size_t last = fromOutgoing.all().size();
    // It hears of it as well, and soon: its connections are cut, not only ignored.
    EXPECT_FALSE(outgoing.expect({ "exited", "me" }, 2s).empty());
    const size_t more = fromStaying.all().size();
    ASSERT_TRUE(fromStaying.waitFor(more + 500));
    EXPECT_EQ(fromOutgoing.all().size(), last) << "nothing came after the cut";
    EXPECT_EQ(watch.count(QNY_AGENT_EXITED, "staying"), 0U);
    EXPECT_EQ(qny_input_lost("from staying"), 0U);
    EXPECT_EQ(watch.count(QNY_AGENT_ENTERED, "outgoing"), 1U);

    // And it may come back.
    allow("outgoing");
    ASSERT_TRUE(eventually([&] { return watch.count(QNY_AGENT_ENTERED, "outgoing") == 2; }, 10s)) << log.all();
    ASSERT_TRUE(fromOutgoing.waitFor(last + 100));
    for (PeerProcess* each : { &outgoing, &staying }) {
        each->ask({ "end-stream" });
    }
    for (const char* const input : { "from outgoing", "from staying" }) {
        qny_input_remove(input);
    }
    qny_mapping_remove_with_name("from outgoing", "outgoing", "number");
    qny_mapping_remove_with_name("from staying", "staying", "number");
}

TEST_F(Security, WhatWasSaidAndNotHeardBeforeAKeyWasRemovedIsNotHeardAfter)
{
    struct Gate
    {
        std::mutex mutex;
        std::condition_variable changed;
        bool isOpen = false;
        int calls = 0;
    } gate;
    qny_service_init(
        "work",
        [](const char*, const char*, const char*, qny_service_arg_t*, size_t, const char*, void* user) {
            auto& at = *static_cast<Gate*>(user);
            std::unique_lock lock(at.mutex);
            ++at.calls;
            at.changed.notify_all();
            at.changed.wait(lock, [&] { return at.isOpen; });
        },
        &gate);
    make("outgoing");
    LogWatch log;
    ASSERT_EQ(startMe(), QNY_SUCCESS) << qny_last_error();
    AgentWatch watch;
    PeerProcess outgoing("outgoing", by("outgoing"));
    ASSERT_TRUE(watch.wait(QNY_AGENT_ENTERED, "outgoing")) << log.all();
    ASSERT_FALSE(outgoing.expect({ "entered", "me" }, 10s).empty());
    for (const char* const each : { "first", "second", "third" }) {
        outgoing.ask({ "call", "me", "work", "", each });
    }
    {
        std::unique_lock lock(gate.mutex);
        ASSERT_TRUE(gate.changed.wait_for(lock, 5s, [&] { return gate.calls == 1; }));
    }
    forbid("outgoing");
    EXPECT_TRUE(log.hears("its certificate is not let in any more")) << log.all();
    {
        const std::lock_guard lock(gate.mutex);
        gate.isOpen = true;
    }
    gate.changed.notify_all();
    ASSERT_TRUE(watch.wait(QNY_AGENT_EXITED, "outgoing"));
    EXPECT_EQ(gate.calls, 1) << "the others waited while the first was worked on";
    qny_service_remove("work");
}

TEST_F(Security, ACertificateThatIsExchangedCutsOffTheOldKeyAndLetsInTheNew)
{
    make("pump");
    ASSERT_EQ(startMe(), QNY_SUCCESS) << qny_last_error();
    allow("me", "mine");
    AgentWatch watch;
    PeerProcess old("old pump", by("pump", "mine"));
    ASSERT_TRUE(watch.wait(QNY_AGENT_ENTERED, "old pump"));
    std::filesystem::rename(privateFile("pump"), privateFile("old"));
    std::filesystem::remove(publicFile("pump"));
    make("pump", false);
    const auto exchanged = std::chrono::steady_clock::now();
    std::filesystem::copy_file(
        publicFile("pump"), folder.file("known/pump.cert"), std::filesystem::copy_options::overwrite_existing);
    const auto* exited = watch.wait(QNY_AGENT_EXITED, "old pump");
    ASSERT_TRUE(exited);
    EXPECT_LT(exited->when - exchanged, 1s);
    PeerProcess renewed("renewed pump", by("pump", "mine"));
    EXPECT_TRUE(watch.wait(QNY_AGENT_ENTERED, "renewed pump"));
    EXPECT_EQ(watch.count(QNY_AGENT_ENTERED, "old pump"), 1U);
}

TEST_F(Security, ADirectoryThatIsTakenAwayLetsNobodyIn)
{
    make("pump");
    allow("me", "all");
    allow("pump", "all");
    LogWatch log;
    ASSERT_EQ(startMe(), QNY_SUCCESS) << qny_last_error();
    AgentWatch watch;
    PeerProcess pump("pump", by("pump", "all"));
    ASSERT_TRUE(watch.wait(QNY_AGENT_ENTERED, "pump"));
    const auto taken = std::chrono::steady_clock::now();
    std::filesystem::rename(folder.file("known"), folder.file("away"));
    const auto* exited = watch.wait(QNY_AGENT_EXITED, "pump");
    ASSERT_TRUE(exited);
    EXPECT_LT(exited->when - taken, 1s);
    EXPECT_TRUE(log.hears("nobody is let in any more"));
    watch.clear();
    std::filesystem::rename(folder.file("away"), folder.file("known"));
    EXPECT_TRUE(watch.wait(QNY_AGENT_ENTERED, "pump"));
    EXPECT_EQ(log.count("nobody is let in any more"), 1U);
}

TEST_F(Security, WhoExpectsAnotherKeyOfUsDoesNotMeetUs)
{
    make("pump");
    make("impostor", false);
    // In the pump's directory, our name stands over another key.
    std::filesystem::create_directory(folder.file("wrong"));
    std::filesystem::copy_file(publicFile("impostor"), folder.file("wrong/me.cert"));
    LogWatch log;
    ASSERT_EQ(startMe(), QNY_SUCCESS) << qny_last_error();
    AgentWatch watch;
    PeerProcess pump("pump", by("pump", "wrong", { "--peers", place(), "--log", "yes" }));
    PeerProcess finds("finds us", by("me"));
    ASSERT_TRUE(watch.wait(QNY_AGENT_ENTERED, "finds us")) << "who has the right key is here in that time";
    EXPECT_TRUE(eventually([] { return statistics().connections_refused >= 2; }));
    EXPECT_EQ(watch.count(QNY_AGENT_ENTERED, "pump"), 0U);
    EXPECT_FALSE(pump.hasHeard({ "entered" }));
}

TEST_F(Security, OpenAndSecuredPeersDoNotMeetAndEachSaysSoOnce)
{
    LogWatch log;
    ASSERT_EQ(startMe(), QNY_SUCCESS) << qny_last_error();
    AgentWatch watch;
    PeerProcess open("open", { "--log", "yes" });
    PeerProcess openToo("open too");
    EXPECT_TRUE(log.hears("is not secured and this process is: they do not meet")) << log.all();
    // It learns why only when the greeting comes to it before the end does: now and then not at the first try.
    const auto heard = open.expect({ "log" }, 30s);
    ASSERT_EQ(heard.size(), 2U);
    EXPECT_NE(heard[1].find("is secured and this process is not: they do not meet"), std::string::npos) << heard[1];
    // Those of one kind meet meanwhile, and nothing is said again.
    EXPECT_FALSE(open.expect({ "entered", "open too" }).empty());
    make("pump");
    PeerProcess pump("pump", by("pump"));
    ASSERT_TRUE(watch.wait(QNY_AGENT_ENTERED, "pump"));
    EXPECT_EQ(log.count("do not meet"), 1U) << log.all();
    EXPECT_FALSE(open.hasHeard({ "log" }));
    EXPECT_EQ(watch.count(QNY_AGENT_ENTERED, "open"), 0U);
    EXPECT_FALSE(open.hasHeard({ "entered", "me" }));
}

TEST_F(Security, AnOpenPeerThatNamesOurAddressDoesNotReachUs)
{
    LogWatch log;
    ASSERT_EQ(startMe({}, false), QNY_SUCCESS) << qny_last_error();
    PeerProcess open("open", { "--peers", place(), "--log", "yes" });
    EXPECT_TRUE(log.hears("is not secured and this process is: they do not meet")) << log.all();
    // It learns why only when the greeting comes to it before the end does: now and then not at the first try.
    const auto heard = open.expect({ "log" }, 30s);
    ASSERT_EQ(heard.size(), 2U);
    EXPECT_NE(heard[1].find(place() + " is secured and this process is not"), std::string::npos) << heard[1];
    const uint64_t before = statistics().connections_refused;
    EXPECT_TRUE(eventually([&] { return statistics().connections_refused >= before + 2; })) << "it tries again";
    EXPECT_EQ(log.count("do not meet"), 1U);
    EXPECT_FALSE(open.hasHeard({ "log" })) << "said once";
    EXPECT_FALSE(open.hasHeard({ "entered" }));
}

TEST_F(Security, NamedPeersMeetAlthoughTheAddressDoesNotSayWhoseItIs)
{
    for (int i = 0; i < 20; ++i) {
        make("another " + std::to_string(i));
    }
    make("pump");
    ASSERT_EQ(startMe({}, false), QNY_SUCCESS) << qny_last_error();
    AgentWatch watch;
    PeerProcess pump("pump", by("pump", "known", { "--peers", place() }));
    EXPECT_TRUE(watch.wait(QNY_AGENT_ENTERED, "pump", 10s));
    EXPECT_FALSE(pump.expect({ "entered", "me" }).empty());
}

TEST_F(Security, ANamedPeerMayComeLaterAndItsCertificateToo)
{
    make("late", false);
    allow("me", "mine");
    const uint16_t port = freeTcpPort();
    ASSERT_EQ(startMe("127.0.0.1:" + std::to_string(port), false), QNY_SUCCESS) << qny_last_error();
    AgentWatch watch;
    // It names nobody: only our own attempts can bring both together.
    PeerProcess late("late", by("late", "mine", { "--listen", std::to_string(port), "--peers", "" }));
    EXPECT_FALSE(qny_agent_is_present("late"));
    allow("late");
    EXPECT_TRUE(watch.wait(QNY_AGENT_ENTERED, "late", 10s));
}

TEST_F(Security, WhatCannotBeSecuredDoesNotStart)
{
    make("pump");
    const std::string own = privateFile("me");
    const std::string known = folder.file("known");
    const std::string text = folder.read("own/me.cert_secret");
    const std::string otherKey = publicKey("pump");
    std::string mismatched = text;
    mismatched.replace(text.find(publicKey("me")), 40, otherKey);
    std::string zeros = text;
    zeros.replace(text.rfind('"') - 40, 40, std::string(40, '0'));
    std::filesystem::create_directory(folder.file("open"));
    std::filesystem::permissions(folder.file("open"), std::filesystem::perms::all);
    const std::string readable = folder.write("readable.cert_secret", text, 0644);
    const std::string unequal = folder.write("unequal.cert_secret", mismatched);
    const std::string nothing = folder.write("zeros.cert_secret", zeros);
    const std::string broken = folder.write("broken.cert_secret", "curve\n    public-key = x\n");
    const struct
    {
        std::string own;
        std::string known;
        std::string says;
    } table[] {
        { own, "", "the directory of public certificates is not" },
        { "", known, "the private certificate is not" },
        { folder.file("missing"), known, "missing: it cannot be read" },
        { own, folder.file("missing"), "missing: the directory of public certificates cannot be read" },
        { own, own, "the directory of public certificates cannot be read" },
        { own, folder.file("open"), "anybody may write into the directory" },
        { publicFile("me"), known, "me.cert:7: there is no secret-key" },
        { readable, known, readable + ": others than its owner" },
        { unequal, known, unequal + ":8: the secret key does not belong" },
        { nothing, known, nothing + ":8: the secret key is all zeros" },
        { broken, known, broken + ":2: the public key is not" },
    };
    for (const auto& row : table) {
        qny_options_t mine = options();
        mine.private_certificate = row.own.c_str();
        mine.public_certificates = row.known.c_str();
        EXPECT_EQ(qny_start(&mine), QNY_ERROR_SECURITY) << row.says;
        EXPECT_NE(std::string(qny_last_error()).find(row.says), std::string::npos) << qny_last_error();
        EXPECT_FALSE(qny_is_started());
        EXPECT_FALSE(qny_is_secured());
    }
    EXPECT_EQ(startMe(), QNY_SUCCESS) << qny_last_error();
}

TEST_F(Security, TheEnvironmentSecuresWhatWasStartedWithoutOptions)
{
    make("pump");
    setenv("QNY_PRIVATE_CERTIFICATE", privateFile("me").c_str(), 1);
    qny_options_t mine = options();
    EXPECT_EQ(qny_start(&mine), QNY_ERROR_SECURITY) << "half of it is refused";
    setenv("QNY_PUBLIC_CERTIFICATES", folder.file("known").c_str(), 1);
    qny_name_set("me");
    ASSERT_EQ(qny_start(&mine), QNY_SUCCESS) << qny_last_error();
    EXPECT_TRUE(qny_is_secured());
    AgentWatch watch;
    // The environment is handed on; an option goes before it.
    PeerProcess twin("twin");
    EXPECT_TRUE(watch.wait(QNY_AGENT_ENTERED, "twin"));
    PeerProcess pump("pump", { "--private", privateFile("pump") });
    EXPECT_TRUE(watch.wait(QNY_AGENT_ENTERED, "pump"));
    unsetenv("QNY_PRIVATE_CERTIFICATE");
    unsetenv("QNY_PUBLIC_CERTIFICATES");
}

TEST_F(Security, ABrokenFileIsLoggedOnceWithItsLineAndHarmsNobody)
{
    make("pump");
    make("secretive", false);
    LogWatch log;
    ASSERT_EQ(startMe(), QNY_SUCCESS) << qny_last_error();
    AgentWatch watch;
    PeerProcess pump("pump", by("pump"));
    ASSERT_TRUE(watch.wait(QNY_AGENT_ENTERED, "pump"));

    const std::string copy = folder.read("own/pump.cert");
    folder.write("known/garbage.cert", "this is\nno certificate\n");
    folder.write("known/zeros.cert", "curve\n    public-key = \"" + std::string(40, '0') + "\"\n");
    folder.write("known/leaked.cert", folder.read("own/secretive.cert_secret"));
    folder.write("known/copy.cert", copy);
    folder.write("known/loose.cert", folder.read("own/secretive.cert"), 0666);
    EXPECT_TRUE(log.hears(folder.file("known/garbage.cert:1: "))) << log.all();
    EXPECT_TRUE(log.hears(folder.file("known/zeros.cert:2: the public key is all zeros")));
    EXPECT_TRUE(log.hears(folder.file("known/leaked.cert:8: there is a secret key in it")));
    EXPECT_TRUE(
        log.hears(folder.file("known/copy.cert:8: this public key stands in ") + folder.file("known/pump.cert:8, too")))
        << log.all();
    EXPECT_TRUE(log.hears(folder.file("known/loose.cert: anybody may write into it")));
    // Mended, it counts; and what is left broken is not said again.
    make("mended", false);
    folder.write("known/garbage.cert", folder.read("own/mended.cert"));
    PeerProcess mended("mended", by("mended"));
    EXPECT_TRUE(watch.wait(QNY_AGENT_ENTERED, "mended"));
    // Longer than until a broken file is tried again.
    folder.write("known/copy.cert", copy + "# told anew\n");
    PeerProcess later("later", by("pump"));
    EXPECT_TRUE(watch.wait(QNY_AGENT_ENTERED, "later"));
    for (const char* const file : { "zeros.cert:2", "leaked.cert:8", "copy.cert:8", "loose.cert:" }) {
        EXPECT_EQ(log.count(folder.file("known/") + file), 1U) << log.all();
    }
    EXPECT_EQ(watch.count(QNY_AGENT_EXITED, "pump"), 0U);
    // The first one gone, its copy counts, and nobody was cut off.
    forbid("pump");
    PeerProcess last("last", by("pump"));
    EXPECT_TRUE(watch.wait(QNY_AGENT_ENTERED, "last"));
    EXPECT_EQ(watch.count(QNY_AGENT_EXITED, "pump"), 0U);
    EXPECT_EQ(watch.count(QNY_AGENT_EXITED, "later"), 0U);
}

TEST_F(Security, AFileThatIsJustBeingWrittenCutsNobodyOff)
{
    make("pump");
    LogWatch log;
    ASSERT_EQ(startMe(), QNY_SUCCESS) << qny_last_error();
    AgentWatch watch;
    PeerProcess pump("pump", by("pump"));
    ASSERT_TRUE(watch.wait(QNY_AGENT_ENTERED, "pump"));
    // Emptied and written again at once, as editors do: the moment between must not count, however often it is met.
    const std::string text = folder.read("known/pump.cert");
    for (int i = 0; i < 300; ++i) {
        folder.write("known/pump.cert", "", 0644);
        folder.write("known/pump.cert", text, 0644);
        std::this_thread::sleep_for(2ms); // what is tested is what happens over time
    }
    make("after");
    PeerProcess after("after", by("after"));
    ASSERT_TRUE(watch.wait(QNY_AGENT_ENTERED, "after"));
    EXPECT_EQ(watch.count(QNY_AGENT_EXITED, "pump"), 0U) << log.all();
}

TEST_F(Security, NothingNewCountsInADirectoryThatAnybodyMayWriteInto)
{
    make("pump");
    make("intruder", false);
    LogWatch log;
    ASSERT_EQ(startMe(), QNY_SUCCESS) << qny_last_error();
    AgentWatch watch;
    PeerProcess pump("pump", by("pump"));
    ASSERT_TRUE(watch.wait(QNY_AGENT_ENTERED, "pump"));
    std::filesystem::permissions(folder.file("known"), std::filesystem::perms::all);
    EXPECT_TRUE(log.hears("anybody may write into the directory")) << log.all();
    allow("intruder");
    allow("me", "mine");
    PeerProcess intruder("intruder", by("intruder", "mine"));
    EXPECT_TRUE(log.hears("its key " + publicKey("intruder") + " is none of those in")) << log.all();
    EXPECT_EQ(watch.count(QNY_AGENT_ENTERED, "intruder"), 0U);
    EXPECT_EQ(watch.count(QNY_AGENT_EXITED, "pump"), 0U);
    forbid("pump");
    EXPECT_TRUE(watch.wait(QNY_AGENT_EXITED, "pump")) << "what is taken away counts";
    std::filesystem::permissions(folder.file("known"), std::filesystem::perms::owner_all);
    EXPECT_TRUE(watch.wait(QNY_AGENT_ENTERED, "intruder"));
}

TEST_F(Security, WhatAnybodyMayExchangeFromAboveDoesNotCount)
{
    // Neither the private file nor the directory themselves are open; a folder above them is.
    ASSERT_EQ(chmod(folder.path.c_str(), 0777), 0);
    EXPECT_EQ(startMe(), QNY_ERROR_SECURITY);
    EXPECT_NE(
        std::strstr(qny_last_error(), (privateFile("me") + ": anybody may write into " + folder.path).c_str()), nullptr)
        << qny_last_error();
    const std::string known = folder.file("known");
    EXPECT_EQ(qny_certificates_open(known.c_str()), nullptr);
    EXPECT_NE(
        std::strstr(qny_last_error(), (known + ": anybody may write into " + folder.path + " above").c_str()), nullptr)
        << qny_last_error();
    // By a link, too.
    CertificateFolder elsewhere;
    std::filesystem::create_directory_symlink(known, elsewhere.file("link"));
    EXPECT_EQ(qny_certificates_open(elsewhere.file("link").c_str()), nullptr);
    // In one like /tmp nobody exchanges what is another's.
    ASSERT_EQ(chmod(folder.path.c_str(), 01777), 0);
    EXPECT_EQ(startMe(), QNY_SUCCESS) << qny_last_error();
    // Opened while the process runs, it lets in nobody new.
    LogWatch log;
    ASSERT_EQ(chmod(folder.path.c_str(), 0777), 0);
    EXPECT_TRUE(log.hears(folder.path + " above this directory: nothing new in it counts"));
    make("late");
    ASSERT_EQ(chmod(folder.path.c_str(), 0700), 0);
    EXPECT_TRUE(log.hears("the certificate late (")) << log.all();
}

TEST_F(Security, ADirectoryOfItsOwnCanBeAskedWhoIsInIt)
{
    make("operator");
    make("other", false);
    EXPECT_EQ(qny_certificates_open(nullptr), nullptr);
    EXPECT_EQ(qny_certificates_open(folder.file("missing").c_str()), nullptr);
    EXPECT_NE(std::string(qny_last_error()).find("missing: the directory"), std::string::npos);
    EXPECT_FALSE(qny_certificates_hold(nullptr, "x"));
    EXPECT_EQ(qny_certificates_count(nullptr), 0U);
    qny_certificates_close(nullptr);
    qny_certificates_t* operators = qny_certificates_open(folder.file("known").c_str());
    ASSERT_NE(operators, nullptr) << qny_last_error();
    EXPECT_EQ(qny_certificates_count(operators), 2U);
    EXPECT_TRUE(qny_certificates_hold(operators, publicKey("operator").c_str()));
    EXPECT_FALSE(qny_certificates_hold(operators, publicKey("other").c_str()));
    EXPECT_FALSE(qny_certificates_hold(operators, ""));
    EXPECT_FALSE(qny_certificates_hold(operators, nullptr));
    allow("other");
    EXPECT_TRUE(eventually([&] { return qny_certificates_hold(operators, publicKey("other").c_str()); }, 1s));
    forbid("operator");
    EXPECT_TRUE(eventually([&] { return !qny_certificates_hold(operators, publicKey("operator").c_str()); }, 1s));
    EXPECT_EQ(qny_certificates_count(operators), 2U);
    qny_certificates_close(operators);
}
