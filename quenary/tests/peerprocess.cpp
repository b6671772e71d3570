// SPDX-License-Identifier: Apache-2.0
#include "peerprocess.h"

#include <algorithm>
#include <arpa/inet.h>
#include <atomic>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <random>
#include <sstream>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace test {

uint16_t discoveryPort()
{
    static const uint16_t port = [] {
        std::random_device device;
        return static_cast<uint16_t>(std::uniform_int_distribution<int>(20000, 60000)(device));
    }();
    return port;
}

uint16_t freeTcpPort()
{
    std::random_device device;
    for (;;) {
        const auto port = static_cast<uint16_t>(std::uniform_int_distribution<int>(20000, 32000)(device));
        const int fd = socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address {};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        const bool isFree = bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
        close(fd);
        if (isFree) {
            return port;
        }
    }
}

std::string bytesOf(std::string uuidText)
{
    std::erase(uuidText, '-');
    std::string bytes;
    for (size_t i = 0; i < uuidText.size(); i += 2) {
        bytes += static_cast<char>(std::stoi(uuidText.substr(i, 2), nullptr, 16));
    }
    return bytes;
}

bool eventually(const std::function<bool()>& condition, Milliseconds within)
{
    const auto until = std::chrono::steady_clock::now() + within;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > until) {
            return false;
        }
        std::this_thread::sleep_for(2ms);
    }
    return true;
}

void countCall(const char*, const char*, const char*, qny_service_arg_t*, size_t, const char*, void* calls)
{
    ++*static_cast<std::atomic<int>*>(calls);
}

qny_options_t options()
{
    qny_options_t made;
    qny_options_init(&made);
    made.device = "lo";
    made.port = discoveryPort();
    return made;
}

PeerProcess::PeerProcess(const std::string& name, const std::vector<std::string>& more, bool start)
{
    int in[2];
    int out[2];
    if (pipe2(in, O_CLOEXEC) != 0 || pipe2(out, O_CLOEXEC) != 0) {
        throw std::runtime_error("no pipes");
    }
    std::vector<std::string> arguments { QNY_TEST_PEER, "--port", std::to_string(discoveryPort()), "--name", name };
    arguments.insert(arguments.end(), more.begin(), more.end());
    std::vector<char*> argv;
    for (std::string& argument : arguments) {
        argv.push_back(argument.data());
    }
    argv.push_back(nullptr);
    m_pid = fork();
    if (m_pid == 0) {
        dup2(in[0], STDIN_FILENO);
        dup2(out[1], STDOUT_FILENO);
        execv(argv[0], argv.data());
        _exit(127);
    }
    close(in[0]);
    close(out[1]);
    m_in = in[1];
    m_out = out[0];
    m_reader = std::thread([this] { read(); });
    EXPECT_FALSE(expect({ "ready" }, 10s).empty());
    if (start) {
        EXPECT_EQ(ask({ "start" }), QNY_SUCCESS);
        const auto line = expect({ "endpoint" });
        m_endpoint = line.size() > 1 ? line[1] : "";
    }
}

PeerProcess::~PeerProcess()
{
    if (m_pid > 0) {
        kill(m_pid, SIGCONT);
        close(m_in);
        m_in = -1;
        int status = 0;
        // It ends with its standard input; one that does not is ended.
        if (!eventually([&] { return waitpid(m_pid, &status, WNOHANG) == m_pid; }, 5s)) {
            ADD_FAILURE() << "the test peer did not end by itself";
            kill(m_pid, SIGKILL);
            waitpid(m_pid, &status, 0);
        }
    }
    if (m_in >= 0) {
        close(m_in);
    }
    m_reader.join();
    close(m_out);
}

void PeerProcess::read()
{
    std::string pending;
    char buffer[65536];
    while (true) {
        const ssize_t count = ::read(m_out, buffer, sizeof buffer);
        if (count <= 0) {
            break;
        }
        pending.append(buffer, static_cast<size_t>(count));
        size_t begin = 0;
        const std::lock_guard lock(m_mutex);
        for (size_t end = pending.find('\n'); end != std::string::npos; end = pending.find('\n', begin)) {
            std::vector<std::string> fields;
            std::istringstream stream(pending.substr(begin, end - begin));
            for (std::string field; std::getline(stream, field, '\t');) {
                fields.push_back(field);
            }
            m_lines.push_back(std::move(fields));
            begin = end + 1;
        }
        pending.erase(0, begin);
        m_heard.notify_all();
    }
    const std::lock_guard lock(m_mutex);
    m_closed = true;
    m_heard.notify_all();
}

void PeerProcess::tell(const std::vector<std::string>& fields)
{
    std::string line;
    for (const std::string& field : fields) {
        line += (line.empty() ? "" : "\t") + field;
    }
    line += '\n';
    EXPECT_EQ(::write(m_in, line.data(), line.size()), static_cast<ssize_t>(line.size()));
}

namespace {

bool begins(const std::vector<std::string>& line, const std::vector<std::string>& beginning)
{
    return line.size() >= beginning.size() && std::equal(beginning.begin(), beginning.end(), line.begin());
}

} // namespace

// The answer is looked for without taking what else was said meanwhile.
int PeerProcess::ask(const std::vector<std::string>& fields)
{
    tell(fields);
    std::unique_lock lock(m_mutex);
    int result = -1;
    const bool came = m_heard.wait_for(lock, 20s, [&] {
        const auto it
            = std::ranges::find_if(m_lines, [&](const auto& line) { return begins(line, { "done", fields[0] }); });
        if (it == m_lines.end()) {
            return m_closed;
        }
        result = std::stoi((*it)[2]);
        m_lines.erase(it);
        return true;
    });
    EXPECT_TRUE(came) << "no answer to " << fields[0];
    return result;
}

std::vector<std::string> PeerProcess::expect(const std::vector<std::string>& beginning, Milliseconds within)
{
    std::unique_lock lock(m_mutex);
    std::vector<std::string> found;
    m_heard.wait_for(lock, within, [&] {
        const auto it = std::ranges::find_if(m_lines, [&](const auto& line) { return begins(line, beginning); });
        if (it == m_lines.end()) {
            return false;
        }
        found = *it;
        m_lines.erase(m_lines.begin(), it + 1);
        return true;
    });
    return found;
}

bool PeerProcess::hasHeard(const std::vector<std::string>& beginning)
{
    const std::lock_guard lock(m_mutex);
    return std::ranges::any_of(m_lines, [&](const auto& line) { return begins(line, beginning); });
}

void PeerProcess::signal(int number)
{
    kill(m_pid, number);
}

int PeerProcess::end(int number)
{
    signal(number);
    return waitForEnd();
}

int PeerProcess::waitForEnd()
{
    int status = -1;
    EXPECT_TRUE(eventually([&] { return waitpid(m_pid, &status, WNOHANG) == m_pid; }, 10s));
    m_pid = -1;
    return status;
}

std::string PeerProcess::uuid()
{
    tell({ "uuid" });
    const auto line = expect({ "uuid" });
    return line.size() > 1 ? line[1] : "";
}

AgentWatch::AgentWatch()
{
    qny_observe_agents(&AgentWatch::told, this);
}

AgentWatch::~AgentWatch()
{
    qny_unobserve_agents(&AgentWatch::told, this);
}

void AgentWatch::told(qny_agent_event_t event, const qny_agent_info_t* agent, void* self)
{
    auto* watch = static_cast<AgentWatch*>(self);
    const std::lock_guard lock(watch->m_mutex);
    auto made = std::make_unique<Event>(Event { event, agent->name, agent->uuid, agent->definition, agent->family,
        agent->executable, {}, agent->stand_in, agent->stoppable, agent->fell_silent, agent->process_id, agent->address,
        agent->host_name, agent->peer_uuid, std::chrono::steady_clock::now() });
    made->arguments.assign(agent->arguments, agent->arguments + agent->arguments_count);
    watch->m_events.push_back(std::move(made));
    watch->m_changed.notify_all();
}

const AgentWatch::Event* AgentWatch::find(qny_agent_event_t event, const std::string& name) const
{
    const auto it
        = std::ranges::find_if(m_events, [&](const auto& each) { return each->event == event && each->name == name; });
    return it == m_events.end() ? nullptr : it->get();
}

const AgentWatch::Event* AgentWatch::wait(qny_agent_event_t event, const std::string& name, Milliseconds within)
{
    std::unique_lock lock(m_mutex);
    m_changed.wait_for(lock, within, [&] { return find(event, name) != nullptr; });
    return find(event, name);
}

size_t AgentWatch::count(qny_agent_event_t event, const std::string& name)
{
    const std::lock_guard lock(m_mutex);
    return static_cast<size_t>(
        std::ranges::count_if(m_events, [&](const auto& each) { return each->event == event && each->name == name; }));
}

void AgentWatch::clear()
{
    const std::lock_guard lock(m_mutex);
    m_events.clear();
}

void Arrivals::take(const qny_publication_t* publication, void* self)
{
    auto* arrivals = static_cast<Arrivals*>(self);
    const std::lock_guard lock(arrivals->m_mutex);
    arrivals->m_all.push_back({ publication->agent_name, publication->output, publication->type,
        publication->size > 0 ? std::string(static_cast<const char*>(publication->value), publication->size)
                              : std::string(),
        publication->sequence, publication->lost, publication->last_value, publication->stand_in, publication->time_us,
        publication->received_us });
    arrivals->m_changed.notify_all();
}

bool Arrivals::waitFor(size_t count, Milliseconds within)
{
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, within, [&] { return m_all.size() >= count; });
}

std::vector<Arrivals::One> Arrivals::all()
{
    const std::lock_guard lock(m_mutex);
    return m_all;
}

} // namespace test
