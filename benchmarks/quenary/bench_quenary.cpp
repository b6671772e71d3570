// SPDX-License-Identifier: Apache-2.0
// The agent network between two processes on the loopback device, beside bare ZeroMQ in the same run:
//   - publications a second of 100 bytes, none lost (the reader calls back every so many, which paces the sender)
//   - the time of a single publication while nothing else travels, there and back halved: median and 99th percentile
//
// bench_quenary [publications] [round trips]
#include "quenary.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <random>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>
#include <zmq.h>

namespace {

using Clock = std::chrono::steady_clock;

constexpr size_t valueBytes = 100;
// The sender is let go on this far ahead of the reader.
constexpr uint64_t ahead = 50'000;
constexpr uint64_t callEvery = 10'000;

double secondsSince(Clock::time_point begin)
{
    return std::chrono::duration<double>(Clock::now() - begin).count();
}

void report(const char* what, double perSecond)
{
    std::printf("%-44s %12.0f /s  %8.1f MB/s\n", what, perSecond, perSecond * static_cast<double>(valueBytes) / 1e6);
}

void report(const char* what, std::vector<double> microseconds)
{
    std::ranges::sort(microseconds);
    const auto at = [&](double share) {
        return microseconds[static_cast<size_t>(share * static_cast<double>(microseconds.size() - 1))];
    };
    std::printf("%-44s %8.1f us median  %8.1f us p99\n", what, at(0.5), at(0.99));
}

// ---- bare ZeroMQ
// -----------------------------------------------------------------------------------------------------

void zmqReader(const std::string& data, const std::string& back, uint64_t count, int roundTrips)
{
    void* context = zmq_ctx_new();
    void* in = zmq_socket(context, ZMQ_PULL);
    void* out = zmq_socket(context, ZMQ_PUSH);
    zmq_connect(in, data.c_str());
    zmq_connect(out, back.c_str());
    char buffer[256];
    for (uint64_t i = 0; i < count; ++i) {
        zmq_recv(in, buffer, sizeof buffer, 0);
    }
    zmq_send(out, "done", 4, 0);
    for (int i = 0; i < roundTrips; ++i) {
        const int size = zmq_recv(in, buffer, sizeof buffer, 0);
        zmq_send(out, buffer, static_cast<size_t>(std::max(size, 0)), 0);
    }
    zmq_close(in);
    zmq_close(out);
    zmq_ctx_term(context);
}

std::string bindAnywhere(void* socket)
{
    zmq_bind(socket, "tcp://127.0.0.1:*");
    char text[128];
    size_t size = sizeof text;
    zmq_getsockopt(socket, ZMQ_LAST_ENDPOINT, text, &size);
    return text;
}

void benchZmq(uint64_t count, int roundTrips)
{
    // The sockets are made before the fork only to learn free ports; the child makes its own.
    void* context = zmq_ctx_new();
    void* out = zmq_socket(context, ZMQ_PUSH);
    void* in = zmq_socket(context, ZMQ_PULL);
    const std::string data = bindAnywhere(out);
    const std::string back = bindAnywhere(in);
    const pid_t child = fork();
    if (child == 0) {
        zmqReader(data, back, count, roundTrips);
        _exit(0);
    }
    const std::string value(valueBytes, 'x');
    char buffer[256];
    Clock::time_point begin;
    for (uint64_t i = 0; i < count; ++i) {
        zmq_send(out, value.data(), value.size(), 0);
        if (i == 0) {
            begin = Clock::now(); // the first send waits for the reader
        }
    }
    zmq_recv(in, buffer, sizeof buffer, 0);
    report("ZeroMQ PUSH/PULL, one a message", static_cast<double>(count) / secondsSince(begin));
    std::vector<double> times;
    for (int i = 0; i < roundTrips; ++i) {
        usleep(500);
        const auto sent = Clock::now();
        zmq_send(out, value.data(), value.size(), 0);
        zmq_recv(in, buffer, sizeof buffer, 0);
        times.push_back(secondsSince(sent) * 1e6 / 2);
    }
    report("ZeroMQ PUSH/PULL, one way while idle", std::move(times));
    waitpid(child, nullptr, 0);
    zmq_close(in);
    zmq_close(out);
    zmq_ctx_term(context);
}

// ---- the agent network
// -----------------------------------------------------------------------------------------------

qny_options_t options(uint16_t port)
{
    qny_options_t made;
    qny_options_init(&made);
    made.device = "lo";
    made.port = port;
    return made;
}

struct Progress
{
    std::mutex mutex;
    std::condition_variable changed;
    uint64_t read = 0;
    uint64_t lost = 0;
    uint64_t echoes = 0;
    bool over = false;
};

void reader(uint16_t port)
{
    Progress progress;
    qny_name_set("reader");
    qny_output_create("echo", QNY_DATA_T, nullptr, 0);
    qny_input_create("in", QNY_DATA_T, nullptr, 0);
    qny_observe_input_publications(
        "in",
        [](const qny_publication_t* publication, void*) {
            if (publication->sequence % callEvery == 0) {
                qny_service_arg_t* list = nullptr;
                const std::string text
                    = std::to_string(publication->sequence) + " " + std::to_string(qny_input_lost("in"));
                qny_service_args_add_string(&list, text.c_str());
                qny_service_call(publication->agent_uuid, "read", &list, nullptr);
            }
        },
        nullptr);
    qny_input_create("ping", QNY_DATA_T, nullptr, 0);
    qny_observe_input_publications(
        "ping",
        [](const qny_publication_t* publication, void*) {
            qny_output_set_data("echo", publication->value, publication->size);
        },
        nullptr);
    qny_mapping_add("in", "writer", "out");
    qny_mapping_add("ping", "writer", "ping");
    qny_service_init(
        "end",
        [](const char*, const char*, const char*, qny_service_arg_t*, size_t, const char*, void* user) {
            auto* to = static_cast<Progress*>(user);
            const std::lock_guard lock(to->mutex);
            to->over = true;
            to->changed.notify_all();
        },
        &progress);
    const qny_options_t mine = options(port);
    if (qny_start(&mine) != QNY_SUCCESS) {
        std::fprintf(stderr, "%s\n", qny_last_error());
        _exit(1);
    }
    std::unique_lock lock(progress.mutex);
    progress.changed.wait(lock, [&] { return progress.over; });
    lock.unlock();
    qny_stop();
}

bool benchQuenary(uint64_t count, int roundTrips)
{
    const auto port = static_cast<uint16_t>(20000 + std::random_device {}() % 40000);
    const pid_t child = fork();
    if (child == 0) {
        reader(port);
        _exit(0);
    }
    Progress progress;
    qny_name_set("writer");
    qny_output_create("out", QNY_DATA_T, nullptr, 0);
    qny_output_create("ping", QNY_DATA_T, nullptr, 0);
    qny_input_create("echo", QNY_DATA_T, nullptr, 0);
    qny_mapping_add("echo", "reader", "echo");
    qny_service_init(
        "read",
        [](const char*, const char*, const char*, qny_service_arg_t* argument, size_t, const char*, void* user) {
            auto* to = static_cast<Progress*>(user);
            const std::lock_guard lock(to->mutex);
            char* rest = nullptr;
            to->read = std::strtoull(argument->c, &rest, 10);
            to->lost = std::strtoull(rest, nullptr, 10);
            to->changed.notify_all();
        },
        &progress);
    qny_observe_input(
        "echo",
        [](qny_io_kind_t, const char*, qny_value_type_t, void*, size_t, void* user) {
            auto* to = static_cast<Progress*>(user);
            const std::lock_guard lock(to->mutex);
            ++to->echoes;
            to->changed.notify_all();
        },
        &progress);
    const qny_options_t mine = options(port);
    if (qny_start(&mine) != QNY_SUCCESS) {
        std::fprintf(stderr, "%s\n", qny_last_error());
        return false;
    }
    const std::string value(valueBytes, 'x');
    // Both directions are mapped when an echo has come.
    while (true) {
        qny_output_set_data("ping", value.data(), value.size());
        std::unique_lock lock(progress.mutex);
        if (progress.changed.wait_for(lock, std::chrono::milliseconds(50), [&] { return progress.echoes > 0; })) {
            break;
        }
    }

    uint64_t sequence = 0;
    const auto begin = Clock::now();
    for (uint64_t i = 0; i < count; ++i) {
        qny_output_publish("out", QNY_DATA_T, value.data(), value.size(), 0, &sequence);
        if (sequence % callEvery == 0) {
            std::unique_lock lock(progress.mutex);
            progress.changed.wait(lock, [&] { return progress.read + ahead >= sequence; });
        }
    }
    {
        std::unique_lock lock(progress.mutex);
        progress.changed.wait(lock, [&] { return progress.read >= count / callEvery * callEvery; });
    }
    const double seconds = secondsSince(begin);
    report("quenary, one publication a call", static_cast<double>(count) / seconds);
    std::printf("%-44s %12llu\n", "quenary, publications lost", static_cast<unsigned long long>(progress.lost));

    std::vector<double> times;
    uint64_t expected = 0;
    {
        const std::lock_guard lock(progress.mutex);
        expected = progress.echoes;
    }
    for (int i = 0; i < roundTrips; ++i) {
        usleep(500);
        const auto sent = Clock::now();
        qny_output_set_data("ping", value.data(), value.size());
        std::unique_lock lock(progress.mutex);
        ++expected;
        progress.changed.wait(lock, [&] { return progress.echoes >= expected; });
        times.push_back(secondsSince(sent) * 1e6 / 2);
    }
    report("quenary, one way while idle", std::move(times));
    qny_service_call("reader", "end", nullptr, nullptr);
    qny_stop();
    waitpid(child, nullptr, 0);
    return progress.lost == 0;
}

} // namespace

int main(int argc, char** argv)
{
    const uint64_t count = argc > 1 ? std::strtoull(argv[1], nullptr, 10) : 2'000'000;
    const int roundTrips = argc > 2 ? std::atoi(argv[2]) : 2000;
    if (count < callEvery || roundTrips < 1) {
        std::fprintf(
            stderr, "at least %llu publications and one round trip\n", static_cast<unsigned long long>(callEvery));
        return 2;
    }
    std::printf("%llu publications of %zu bytes, %d round trips, two processes on 127.0.0.1\n",
        static_cast<unsigned long long>(count), valueBytes, roundTrips);
    benchZmq(count, roundTrips);
    return benchQuenary(count, roundTrips) ? 0 : 1;
}
