// SPDX-License-Identifier: Apache-2.0
// Starts and drives the test peer (testpeer.cpp), and ends it with the test.
#pragma once

#include "quenary.h"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <sys/types.h>
#include <thread>
#include <vector>

namespace test {

using namespace std::chrono_literals;
using Milliseconds = std::chrono::milliseconds;

// A discovery port of this test process alone, so that tests that run at the same moment do not meet.
uint16_t discoveryPort();
// At which nobody listens; not one of those that the system gives to connections.
uint16_t freeTcpPort();

// The sixteen bytes that a uuid's text stands for.
std::string bytesOf(std::string uuidText);

// Waits until the condition holds. False when it does not within the time.
bool eventually(const std::function<bool()>& condition, Milliseconds within = 5s);

// For services of which only matters that they are called; the user data is a std::atomic<int>.
void countCall(const char* sender, const char* uuid, const char* service, qny_service_arg_t* arguments, size_t count,
    const char* token, void* calls);

// Options on the loopback device with our own port.
qny_options_t options();

class PeerProcess
{
public:
    explicit PeerProcess(const std::string& name, const std::vector<std::string>& more = {}, bool start = true);
    ~PeerProcess();
    PeerProcess(const PeerProcess&) = delete;
    PeerProcess& operator=(const PeerProcess&) = delete;

    // Sends a command, its fields joined by tabs.
    void tell(const std::vector<std::string>& fields);
    // The same, and waits until it has been done. Returns the result code.
    int ask(const std::vector<std::string>& fields);
    // Waits for a line that begins with these fields, taking it and all before it. Empty when none comes in time.
    std::vector<std::string> expect(const std::vector<std::string>& beginning, Milliseconds within = 5s);
    // Whether such a line came so far and was not taken.
    bool hasHeard(const std::vector<std::string>& beginning);

    void signal(int number);
    // Sends the signal and waits for the end; the exit status as waitpid() gives it.
    int end(int number);
    int waitForEnd();
    pid_t pid() const { return m_pid; }
    std::string uuid();
    const std::string& endpoint() const { return m_endpoint; }

private:
    void read();

    pid_t m_pid = -1;
    int m_in = -1;
    int m_out = -1;
    std::string m_endpoint;
    std::thread m_reader;
    std::mutex m_mutex;
    std::condition_variable m_heard;
    std::vector<std::vector<std::string>> m_lines;
    bool m_closed = false;
};

// Records what this process is told of agents.
class AgentWatch
{
public:
    AgentWatch();
    ~AgentWatch();
    AgentWatch(const AgentWatch&) = delete;
    AgentWatch& operator=(const AgentWatch&) = delete;

    struct Event
    {
        qny_agent_event_t event;
        std::string name;
        std::string uuid;
        std::string definition;
        std::string family;
        std::string executable;
        std::vector<std::string> arguments;
        bool standIn;
        bool stoppable;
        bool fellSilent;
        int64_t processId;
        std::string address;
        std::string hostName;
        std::string peerUuid;
        std::chrono::steady_clock::time_point when;
    };
    // Waits until an event of this kind for this name has come, counting those that came before. Null if none does.
    const Event* wait(qny_agent_event_t event, const std::string& name, Milliseconds within = 6s);
    size_t count(qny_agent_event_t event, const std::string& name);
    void clear();

private:
    static void told(qny_agent_event_t event, const qny_agent_info_t* agent, void* self);
    const Event* find(qny_agent_event_t event, const std::string& name) const;

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<std::unique_ptr<Event>> m_events;
};

// Collects what comes in on an input of this process.
struct Arrivals
{
    struct One
    {
        std::string agent;
        std::string output;
        qny_value_type_t type;
        std::string bytes;
        uint64_t sequence;
        uint64_t lost;
        bool last;
        bool standIn;
        int64_t time;
        int64_t received;
    };
    static void take(const qny_publication_t* publication, void* self);
    bool waitFor(size_t count, Milliseconds within = 5s);
    std::vector<One> all();

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<One> m_all;
};

} // namespace test
