// SPDX-License-Identifier: Apache-2.0
// How a network grows with its peers, on the loopback device and with a process for each: every peer shows an output
// that has a value, and maps that of its neighbour.
//   - all of them start at one moment: until each knows every other, and until each has its neighbour's value
//   - one more joins: until it has a value, and until it knows all
//   - bare ZeroMQ, where everybody is told everybody's place: until each has a message of every other
// Beside each time, what each peer's process worked meanwhile: on few processors, many peers wait for one another
// there.
//
// bench_peers [peers ...]   2 10 50 100 200 unless numbers are given
#include "sides.h"

#include "quenary.h"

#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <mutex>
#include <random>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <zmq.h>

namespace {

using bench::Clock;

constexpr std::chrono::seconds patience { 120 };

double now()
{
    return std::chrono::duration<double>(Clock::now().time_since_epoch()).count();
}

double worked()
{
    rusage usage {};
    getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

// What a peer tells of itself: moments on the clock, and seconds of the processor.
struct Told
{
    double began = 0;
    double hadValue = 0;
    double knewAll = 0;
    double worked = 0;
};

template <typename T> bool get(int pipe, T& value)
{
    return read(pipe, &value, sizeof value) == sizeof value;
}

template <typename T> void put(int pipe, const T& value)
{
    if (write(pipe, &value, sizeof value) != sizeof value) {
        _exit(1);
    }
}

// Processes that each run the same work with a number of their own. All of them end with this.
class Processes
{
public:
    using Work = std::function<void(int number, int in, int out)>;
    Processes(int count, const Work& work)
    {
        for (int number = 0; number < count; ++number) {
            int there[2];
            int back[2];
            if (pipe(there) != 0 || pipe(back) != 0) {
                std::perror("pipe");
                std::exit(1);
            }
            const pid_t child = fork();
            if (child == 0) {
                for (const Process& each : m_all) {
                    close(each.in);
                    close(each.out);
                }
                close(there[1]);
                close(back[0]);
                work(number, there[0], back[1]);
                _exit(0);
            }
            close(there[0]);
            close(back[1]);
            m_all.push_back({ child, there[1], back[0] });
        }
    }
    ~Processes()
    {
        for (const Process& each : m_all) {
            close(each.in);
        }
        for (const Process& each : m_all) {
            waitpid(each.id, nullptr, 0);
            close(each.out);
        }
    }
    Processes(const Processes&) = delete;
    Processes& operator=(const Processes&) = delete;

    template <typename T> void tellAll(const T& value) const
    {
        for (const Process& each : m_all) {
            put(each.in, value);
        }
    }
    template <typename T> std::vector<T> hearAll() const
    {
        std::vector<T> all(m_all.size());
        for (size_t i = 0; i < all.size(); ++i) {
            if (!get(m_all[i].out, all[i])) {
                std::fprintf(stderr, "a peer did not find all others\n");
                std::exit(1);
            }
        }
        return all;
    }

private:
    struct Process
    {
        pid_t id;
        int in; // of the process
        int out;
    };
    std::vector<Process> m_all;
};

// ---- agents

struct Seen
{
    std::mutex mutex;
    std::condition_variable changed;
    size_t others = 0;
    double hadValue = 0;
};

void onAgent(qny_agent_event_t event, const qny_agent_info_t*, void* user)
{
    auto* seen = static_cast<Seen*>(user);
    const std::lock_guard lock(seen->mutex);
    seen->others += event == QNY_AGENT_ENTERED ? 1 : 0;
    seen->others -= event == QNY_AGENT_EXITED ? 1 : 0;
    seen->changed.notify_all();
}

void onValue(const qny_publication_t*, void* user)
{
    auto* seen = static_cast<Seen*>(user);
    const std::lock_guard lock(seen->mutex);
    seen->hadValue = seen->hadValue == 0 ? now() : seen->hadValue;
    seen->changed.notify_all();
}

// Joins when it is told to, tells when it has what it waits for, and leaves when there is nobody to tell it anything.
void beAgent(int number, int neighbour, size_t others, uint16_t port, int in, int out)
{
    Seen seen;
    qny_name_set(("peer " + std::to_string(number)).c_str());
    qny_output_create("out", QNY_INTEGER_T, &number, sizeof number);
    qny_input_create("in", QNY_INTEGER_T, nullptr, 0);
    qny_observe_input_publications("in", onValue, &seen);
    qny_mapping_add("in", ("peer " + std::to_string(neighbour)).c_str(), "out");
    qny_observe_agents(onAgent, &seen);
    char go = 0;
    if (!get(in, go)) {
        return;
    }
    Told told;
    const double workBegan = worked();
    told.began = now();
    qny_options_t options;
    qny_options_init(&options);
    options.device = "lo";
    options.port = port;
    if (qny_start(&options) != QNY_SUCCESS) {
        std::fprintf(stderr, "%s\n", qny_last_error());
        return;
    }
    {
        std::unique_lock lock(seen.mutex);
        const bool isComplete = seen.changed.wait_for(lock, patience, [&] {
            told.knewAll = seen.others >= others && told.knewAll == 0 ? now() : told.knewAll;
            return told.knewAll > 0 && seen.hadValue > 0;
        });
        if (!isComplete) {
            std::fprintf(stderr, "peer %d knows %zu of %zu\n", number, seen.others, others);
            _exit(1);
        }
        told.hadValue = seen.hadValue;
    }
    told.worked = worked() - workBegan;
    put(out, told);
    get(in, go);
    qny_stop();
}

// ---- bare ZeroMQ

constexpr int mostPeers = 250;
struct Places
{
    uint16_t ports[mostPeers] {};
};

void beSocket(int number, int peers, int in, int out)
{
    void* context = zmq_ctx_new();
    zmq_ctx_set(context, ZMQ_MAX_SOCKETS, 1023);
    void* inbox = zmq_socket(context, ZMQ_PULL);
    zmq_bind(inbox, "tcp://127.0.0.1:*");
    char bound[128] = "";
    size_t size = sizeof bound;
    zmq_getsockopt(inbox, ZMQ_LAST_ENDPOINT, bound, &size);
    put(out, static_cast<uint16_t>(std::atoi(std::strrchr(bound, ':') + 1)));
    Places places;
    if (!get(in, places)) {
        return;
    }
    Told told;
    const double workBegan = worked();
    told.began = now();
    std::vector<void*> outboxes;
    for (int i = 0; i < peers; ++i) {
        if (i != number) {
            outboxes.push_back(zmq_socket(context, ZMQ_PUSH));
            zmq_connect(outboxes.back(), ("tcp://127.0.0.1:" + std::to_string(places.ports[i])).c_str());
            zmq_send(outboxes.back(), &number, sizeof number, 0);
        }
    }
    for (int heard = 1; heard < peers; ++heard) {
        int whose = 0;
        if (zmq_recv(inbox, &whose, sizeof whose, 0) < 0) {
            _exit(1);
        }
        told.hadValue = told.hadValue == 0 ? now() : told.hadValue;
    }
    told.knewAll = now();
    told.worked = worked() - workBegan;
    put(out, told);
    char over = 0;
    get(in, over);
    _exit(0);
}

// ---- figures

struct Figures
{
    double firstValueMs = 0; // the last of all peers
    double allKnownMs = 0;
    double workedMs = 0; // of each
};

Figures figuresOf(const std::vector<Told>& all)
{
    double began = all.front().began;
    for (const Told& each : all) {
        began = std::min(began, each.began);
    }
    Figures figures;
    for (const Told& each : all) {
        figures.firstValueMs = std::max(figures.firstValueMs, 1000 * (each.hadValue - began));
        figures.allKnownMs = std::max(figures.allKnownMs, 1000 * (each.knewAll - began));
        figures.workedMs += 1000 * each.worked / static_cast<double>(all.size());
    }
    return figures;
}

Figures ofSockets(int peers)
{
    const Processes processes(peers, [peers](int number, int in, int out) { beSocket(number, peers, in, out); });
    const auto ports = processes.hearAll<uint16_t>();
    Places places;
    std::ranges::copy(ports, places.ports);
    processes.tellAll(places);
    return figuresOf(processes.hearAll<Told>());
}

void measure(int peers)
{
    const Figures bare = ofSockets(peers);
    const auto port = static_cast<uint16_t>(20'000 + std::random_device {}() % 40'000);
    const auto others = static_cast<size_t>(peers - 1);
    const Processes processes(
        peers, [=](int number, int in, int out) { beAgent(number, (number + 1) % peers, others, port, in, out); });
    const Processes late(1, [=](int, int in, int out) { beAgent(peers, 0, others + 1, port, in, out); });
    processes.tellAll('g');
    const Figures together = figuresOf(processes.hearAll<Told>());
    late.tellAll('g');
    const Figures joined = figuresOf(late.hearAll<Told>());
    std::printf("%5d | %9.0f %9.0f | %11.0f %9.0f %9.1f | %11.0f %9.0f %9.1f\n", peers, bare.allKnownMs, bare.workedMs,
        together.firstValueMs, together.allKnownMs, together.workedMs, joined.firstValueMs, joined.allKnownMs,
        joined.workedMs);
    std::fflush(stdout);
}

} // namespace

int main(int argc, char** argv)
{
    std::vector<int> sizes;
    for (int i = 1; i < argc; ++i) {
        sizes.push_back(std::atoi(argv[i]));
    }
    if (sizes.empty()) {
        sizes = { 2, 10, 50, 100, 200 };
    }
    if (!std::ranges::all_of(sizes, [](int peers) { return peers >= 2 && peers <= mostPeers; })) {
        std::fprintf(stderr, "usage: bench_peers [2 to %d ...]\n", mostPeers);
        return 2;
    }
    std::printf("%5s | %19s | %31s | %31s\n%5s | %9s %9s | %11s %9s %9s | %11s %9s %9s\n", "", "bare ZeroMQ, ms",
        "all start together, ms", "one more joins, ms", "peers", "all", "worked", "first value", "all known", "worked",
        "first value", "all known", "worked");
    std::fflush(stdout);
    for (const int peers : sizes) {
        // A process of its own, so that the next one forks a small one.
        const pid_t child = fork();
        if (child == 0) {
            measure(peers);
            std::fflush(stdout);
            _exit(0);
        }
        int status = 0;
        waitpid(child, &status, 0);
        if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
            return 1;
        }
    }
    return 0;
}
