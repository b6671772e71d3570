// SPDX-License-Identifier: Apache-2.0
// The agent network: calls and publications between two agents, through the exported functions alone.
#include "sides.h"

#include "quenary.h"

#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <mutex>
#include <random>
#include <sys/wait.h>
#include <unistd.h>

namespace bench {

namespace {

// The sender stays at most so far ahead of the reader, in bytes and in messages.
constexpr uint64_t aheadBytes = 64 * 1024 * 1024;
constexpr uint64_t aheadMost = 50'000;

void call(const char* agent, const char* service, const void* data, size_t size)
{
    qny_service_arg_t* list = nullptr;
    qny_service_args_add_data(&list, data, size);
    qny_service_call(agent, service, &list, nullptr);
}

void start(uint16_t port, const std::string& own, const std::string& known)
{
    qny_options_t options;
    qny_options_init(&options);
    options.device = "lo";
    options.port = port;
    options.private_certificate = own.c_str();
    options.public_certificates = known.c_str();
    if (qny_start(&options) != QNY_SUCCESS || qny_is_secured() == own.empty()) {
        std::fprintf(stderr, "%s\n", qny_last_error());
        _exit(1);
    }
}

struct Progress
{
    std::mutex mutex;
    std::condition_variable changed;
    uint64_t answers = 0;
    Clock::time_point answeredAt;
    uint64_t read = 0; // number of the last publication that the reader has told of
    uint64_t lost = 0;
    bool over = false;

    template <typename Condition> void wait(Condition&& condition)
    {
        std::unique_lock lock(mutex);
        changed.wait(lock, condition);
    }
};

// ---- the process that answers

void onEcho(const char*, const char* sender, const char*, qny_service_arg_t* argument, size_t, const char*, void*)
{
    call(sender, "answer", argument->data, argument->size);
}

// The first byte of a publication says whether the sender waits for word of it.
void onPublication(const qny_publication_t* publication, void*)
{
    if (publication->size > 0 && *static_cast<const char*>(publication->value) == 'T') {
        const uint64_t told[] { publication->sequence, qny_input_lost("in") };
        call(publication->agent_uuid, "read", told, sizeof told);
    }
}

void answer(uint16_t port, const std::string& own, const std::string& known)
{
    Progress progress;
    qny_name_set("reader");
    qny_input_create("in", QNY_DATA_T, nullptr, 0);
    qny_observe_input_publications("in", onPublication, nullptr);
    qny_mapping_add("in", "writer", "out");
    qny_service_init("echo", onEcho, nullptr);
    qny_service_init(
        "end",
        [](const char*, const char*, const char*, qny_service_arg_t*, size_t, const char*, void* user) {
            auto* to = static_cast<Progress*>(user);
            const std::lock_guard lock(to->mutex);
            to->over = true;
            to->changed.notify_all();
        },
        &progress);
    start(port, own, known);
    progress.wait([&] { return progress.over; });
    qny_stop();
}

// ---- the process that measures

void onAnswer(const char*, const char*, const char*, qny_service_arg_t*, size_t, const char*, void* user)
{
    const auto now = Clock::now();
    auto* to = static_cast<Progress*>(user);
    {
        const std::lock_guard lock(to->mutex);
        ++to->answers;
        to->answeredAt = now;
    }
    to->changed.notify_all(); // who wakes finds the mutex free
}

void onRead(const char*, const char*, const char*, qny_service_arg_t* argument, size_t, const char*, void* user)
{
    auto* to = static_cast<Progress*>(user);
    uint64_t told[2] {};
    std::memcpy(told, argument->data, sizeof told);
    const std::lock_guard lock(to->mutex);
    to->read = told[0];
    to->lost = told[1];
    to->changed.notify_all();
}

class Quenary : public Side
{
public:
    explicit Quenary(bool secured)
    {
        std::string own;
        std::string known;
        if (secured) {
            std::string pattern = (std::filesystem::temp_directory_path() / "bench-quenary-XXXXXX").string();
            if (!mkdtemp(pattern.data())
                || qny_certificate_make(pattern.c_str(), "both", nullptr, nullptr) != QNY_SUCCESS) {
                std::abort();
            }
            m_directory = known = pattern;
            own = pattern + "/both.cert_secret";
        }
        const auto port = static_cast<uint16_t>(20'000 + std::random_device {}() % 40'000);
        m_child = fork();
        if (m_child == 0) {
            answer(port, own, known);
            _exit(0);
        }
        qny_name_set("writer");
        qny_output_create("out", QNY_DATA_T, nullptr, 0);
        qny_service_init("answer", onAnswer, &m_progress);
        qny_service_init("read", onRead, &m_progress);
        start(port, own, known);
        // Mapped and reachable when word of a publication has come.
        while (m_progress.read == 0) {
            publish(16, true);
            std::unique_lock lock(m_progress.mutex);
            m_progress.changed.wait_for(lock, std::chrono::milliseconds(50), [&] { return m_progress.read > 0; });
        }
    }
    ~Quenary() override
    {
        qny_service_call("reader", "end", nullptr, nullptr);
        qny_stop();
        waitpid(m_child, nullptr, 0);
        if (!m_directory.empty()) {
            std::filesystem::remove_all(m_directory);
        }
    }
    Quenary(const Quenary&) = delete;
    Quenary& operator=(const Quenary&) = delete;

    double roundTrip(size_t bytes, int times) override
    {
        const std::string value(bytes, 'x');
        std::vector<double> samples;
        for (int i = 0; i < times; ++i) {
            const uint64_t expected = m_progress.answers + 1;
            const auto begin = Clock::now();
            call("reader", "echo", value.data(), value.size());
            m_progress.wait([&] { return m_progress.answers >= expected; });
            samples.push_back(std::chrono::duration<double>(m_progress.answeredAt - begin).count() * 1e6);
        }
        return median(std::move(samples));
    }

    double throughput(size_t bytes, uint64_t count) override
    {
        const uint64_t ahead = std::clamp<uint64_t>(aheadBytes / bytes, 8, aheadMost);
        const uint64_t every = std::max<uint64_t>(ahead / 4, 1);
        const auto begin = Clock::now();
        uint64_t last = 0;
        for (uint64_t i = 1; i <= count; ++i) {
            last = publish(bytes, i % every == 0 || i == count);
            if (i % every == 0) {
                m_progress.wait([&] { return m_progress.read + ahead >= last; });
            }
        }
        m_progress.wait([&] { return m_progress.read >= last; });
        return static_cast<double>(count) / secondsSince(begin);
    }

    uint64_t lost() const override { return m_progress.lost; }
    pid_t other() const override { return m_child; }

private:
    uint64_t publish(size_t bytes, bool isToldOf)
    {
        if (m_value.size() != bytes) {
            m_value.assign(bytes, 'x');
        }
        m_value[0] = isToldOf ? 'T' : 'x';
        uint64_t sequence = 0;
        qny_output_publish("out", QNY_DATA_T, m_value.data(), m_value.size(), 0, &sequence);
        return sequence;
    }

    pid_t m_child = -1;
    std::string m_directory;
    std::string m_value;
    Progress m_progress;
};

} // namespace

std::unique_ptr<Side> startQuenary(bool secured)
{
    return std::make_unique<Quenary>(secured);
}

} // namespace bench
