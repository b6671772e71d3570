// SPDX-License-Identifier: Apache-2.0
#include "child.h"

#include "common/journal.h"

#include <quenary.h>

#include <gtest/gtest.h>

#include <cmath>
#include <condition_variable>
#include <map>
#include <mutex>
#include <random>
#include <set>

namespace {

using namespace std::chrono_literals;

const std::vector<std::pair<std::string, std::vector<std::string>>> plant {
    { "qnySamplePump", { "--line", "a", "--name", "Pump A" } },
    { "qnySamplePump", { "--line", "b", "--name", "Pump B" } },
    { "qnySampleTank", { "--name", "Tank" } },
    { "qnySampleValve", { "--name", "Valve" } },
    { "qnySampleController", { "--name", "Controller" } },
    { "qnySampleOperator", { "--name", "Operator", "--seed", "5" } },
};

// Watches every agent of the network and keeps what each publishes, as the agent's own journal would write it.
class Observer
{
public:
    Observer()
    {
        std::random_device random;
        _port = static_cast<std::uint16_t>(std::uniform_int_distribution<int>(20000, 60000)(random));
        qny_name_set("observer");
        qny_observe_agents(_onAgent, this);
        qny_options_t options;
        qny_options_init(&options);
        options.device = "lo";
        options.port = _port;
        EXPECT_EQ(qny_start(&options), QNY_SUCCESS) << qny_last_error();
    }

    ~Observer()
    {
        qny_stop();
        qny_unobserve_agents(_onAgent, this);
    }

    std::string port() const { return std::to_string(_port); }

    template <typename Condition> bool waitFor(std::chrono::milliseconds time, Condition condition)
    {
        std::unique_lock lock(_mutex);
        return _changed.wait_for(lock, time, condition);
    }

    // The members below: under waitFor's condition, or once nothing publishes any more.
    std::map<std::string, std::string> present; // uuid by agent name
    std::map<std::string, std::string> journals; // by agent name
    std::set<qny_value_type_t> types;
    std::set<std::string> outputs;
    std::map<std::string, std::uint64_t> counts; // by agent/output
    std::map<std::string, double> numbers; // last value by agent/output
    std::uint64_t lost = 0;

private:
    static void _onAgent(qny_agent_event_t event, const qny_agent_info_t* agent, void* self)
    {
        auto* observer = static_cast<Observer*>(self);
        if (event == QNY_AGENT_ENTERED) {
            EXPECT_EQ(qny_monitor_add(agent->uuid, _onPublication, self), QNY_SUCCESS) << qny_last_error();
        }
        const std::lock_guard lock(observer->_mutex);
        if (event == QNY_AGENT_ENTERED) {
            observer->present[agent->name] = agent->uuid;
        } else if (event == QNY_AGENT_EXITED) {
            observer->present.erase(agent->name);
        }
        observer->_changed.notify_all();
    }

    static void _onPublication(const qny_publication_t* publication, void* self)
    {
        auto* observer = static_cast<Observer*>(self);
        if (publication->last_value) {
            return;
        }
        const std::lock_guard lock(observer->_mutex);
        const std::string key = std::string(publication->agent_name) + "/" + publication->output;
        observer->journals[publication->agent_name]
            += samples::journalLine(publication->agent_name, publication->output, publication->sequence,
                publication->time_us, publication->type, publication->value, publication->size);
        observer->types.insert(publication->type);
        observer->outputs.insert(key);
        ++observer->counts[key];
        observer->lost += publication->lost;
        if (publication->type == QNY_DOUBLE_T) {
            observer->numbers[key] = *static_cast<const double*>(publication->value);
        }
        observer->_changed.notify_all();
    }

    std::uint16_t _port = 0;
    std::mutex _mutex;
    std::condition_variable _changed;
};

class Plant : public testing::Test
{
protected:
    void SetUp() override
    {
        _folder = std::filesystem::temp_directory_path() / ("plant_test_" + std::to_string(getpid()));
        std::filesystem::create_directory(_folder);
    }

    void TearDown() override { std::filesystem::remove_all(_folder); }

    Child start(const std::string& program, std::vector<std::string> arguments, const Observer& observer)
    {
        arguments.insert(arguments.end(), { "--device", "lo", "--port", observer.port() });
        return Child(program, arguments, _folder / (program + std::to_string(_count++) + ".err"));
    }

    Child run(const std::string& program, const std::vector<std::string>& arguments)
    {
        return Child(program, arguments, _folder / (program + std::to_string(_count++) + ".err"));
    }

    std::filesystem::path journalOf(const std::string& agent) const { return _folder / (agent + ".journal"); }

    static std::string contentOf(const std::filesystem::path& path)
    {
        std::ifstream file(path);
        std::ostringstream all;
        all << file.rdbuf();
        return all.str();
    }

    std::filesystem::path _folder;
    int _count = 0;
};

} // namespace

TEST_F(Plant, ClosesItsLoopAndJournalsExactlyWhatItPublishes)
{
    // Given the plant on a network of its own, watched from outside.
    Observer observer;
    std::vector<Child> children;
    std::vector<std::string> names;
    for (auto [program, arguments] : plant) {
        for (std::size_t index = 0; index + 1 < arguments.size(); ++index) {
            if (arguments[index] == "--name") {
                names.push_back(arguments[index + 1]);
            }
        }
        arguments.insert(arguments.end(), { "--journal", journalOf(names.back()) });
        children.push_back(start(program, arguments, observer));
    }
    ASSERT_TRUE(observer.waitFor(15s, [&] { return observer.present.size() == plant.size(); }));

    // When it runs, then the level, which starts at 40, comes to the operator's set point.
    EXPECT_TRUE(observer.waitFor(20s,
        [&] {
            return observer.numbers.contains("Tank/level")
                && std::abs(observer.numbers["Tank/level"] + observer.numbers["Controller/error"]
                       - (observer.numbers.contains("Operator/set_point") ? observer.numbers["Operator/set_point"]
                                                                          : 60.0))
                < 3.0
                && observer.numbers["Tank/level"] > 55.0 && std::abs(observer.numbers["Controller/error"]) < 2.0;
        }))
        << "level " << observer.numbers["Tank/level"] << ", error " << observer.numbers["Controller/error"];

    // Then every type of value was published, also by the calls between agents.
    EXPECT_TRUE(observer.waitFor(20s, [&] {
        return observer.types.size() == 6 && observer.outputs.contains("Operator/acknowledge")
            && observer.outputs.contains("Controller/log") && observer.outputs.contains("Operator/recipe");
    }));

    // Then the rates range from about one to about two hundred a second.
    const auto before = observer.counts;
    ASSERT_TRUE(observer.waitFor(10s, [&] {
        return observer.counts["Operator/watch"]
            >= 3 + (before.contains("Operator/watch") ? before.at("Operator/watch") : 0);
    }));
    EXPECT_GT(observer.counts["Pump A/vibration"] - before.at("Pump A/vibration"), 300U);

    // When it is ended, then every program ends cleanly, and every journal ends as what was received does.
    for (const auto& child : children) {
        child.signal(SIGTERM);
    }
    for (auto& child : children) {
        EXPECT_EQ(child.waitForEnd(), 0) << child.standardError();
        EXPECT_EQ(child.standardError(), "");
    }
    ASSERT_TRUE(observer.waitFor(10s, [&] { return observer.present.empty(); }));
    EXPECT_EQ(observer.lost, 0U);
    for (const auto& name : names) {
        const std::string journal = contentOf(journalOf(name));
        const std::string& received = observer.journals[name];
        ASSERT_FALSE(received.empty()) << name;
        EXPECT_TRUE(journal.ends_with(received))
            << name << ": journal of " << journal.size() << " bytes, received " << received.size()
            << "\njournal ends: " << journal.substr(journal.size() > 300 ? journal.size() - 300 : 0)
            << "\nreceived ends: " << received.substr(received.size() > 300 ? received.size() - 300 : 0);
        // Next to nothing went out before the observer listened.
        EXPECT_GT(received.size() * 2, journal.size()) << name;
    }
}

TEST_F(Plant, AgentEndsWhenItIsAskedToOverTheNetworkOrInterrupted)
{
    Observer observer;
    Child valve = start("qnySampleValve", { "--name", "Valve" }, observer);
    Child tank = start("qnySampleTank", { "--name", "Tank" }, observer);
    ASSERT_TRUE(observer.waitFor(15s, [&] { return observer.present.size() == 2; }));

    EXPECT_EQ(qny_request_stop(observer.present["Valve"].c_str()), QNY_SUCCESS) << qny_last_error();
    EXPECT_EQ(valve.waitForEnd(), 0) << valve.standardError();

    tank.signal(SIGINT);
    EXPECT_EQ(tank.waitForEnd(), 0) << tank.standardError();
    EXPECT_TRUE(observer.waitFor(10s, [&] { return observer.present.empty(); }));
}

TEST_F(Plant, ProgramSaysWhatIsWrongWithItsCommandLineOrSurroundings)
{
    for (const char* program :
        { "qnySamplePump", "qnySampleTank", "qnySampleValve", "qnySampleController", "qnySampleOperator" }) {
        Child wrong = run(program, { "--colour", "red" });
        EXPECT_EQ(wrong.waitForEnd(), 2);
        EXPECT_EQ(wrong.standardError(),
            std::string(program) + ": unknown option \"--colour\" (see " + program + " --help)\n");
    }

    Child device = run("qnySampleTank", { "--device", "nosuchdevice0" });
    EXPECT_EQ(device.waitForEnd(), 1);
    EXPECT_NE(device.standardError().find("nosuchdevice0"), std::string::npos) << device.standardError();

    Child journal = run("qnySampleTank", { "--journal", "/nowhere/at/all" });
    EXPECT_EQ(journal.waitForEnd(), 1);
    EXPECT_NE(journal.standardError().find("/nowhere/at/all"), std::string::npos) << journal.standardError();

    Child full = run("qnySampleTank", { "--journal", "/dev/full", "--device", "lo", "--port", "31999" });
    EXPECT_EQ(full.waitForEnd(), 1);
    EXPECT_NE(full.standardError().find("disk full"), std::string::npos) << full.standardError();
}
