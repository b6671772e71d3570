// SPDX-License-Identifier: Apache-2.0
// Bare ZeroMQ: one socket at each end, used by the thread that measures.
#include "sides.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sys/wait.h>
#include <unistd.h>
#include <zmq.h>

namespace bench {

namespace {

constexpr char streamBegins = 'S';
constexpr size_t streamMessage = 1 + sizeof(uint64_t);

struct Keys
{
    char serverPublic[41] = "";
    char serverSecret[41] = "";
    char clientPublic[41] = "";
    char clientSecret[41] = "";
};

void secure(void* socket, const char* publicKey, const char* secretKey)
{
    zmq_setsockopt(socket, ZMQ_CURVE_PUBLICKEY, publicKey, 41);
    zmq_setsockopt(socket, ZMQ_CURVE_SECRETKEY, secretKey, 41);
}

// Echoes; a message that announces a stream is answered when all of it has come.
void answer(const std::string& endpoint, const Keys& keys, bool secured)
{
    void* context = zmq_ctx_new();
    void* socket = zmq_socket(context, ZMQ_DEALER);
    if (secured) {
        secure(socket, keys.clientPublic, keys.clientSecret);
        zmq_setsockopt(socket, ZMQ_CURVE_SERVERKEY, keys.serverPublic, 41);
    }
    zmq_connect(socket, endpoint.c_str());
    std::vector<char> buffer(2 * 1024 * 1024);
    while (true) {
        const int size = zmq_recv(socket, buffer.data(), buffer.size(), 0);
        if (size <= 0) {
            break;
        }
        if (static_cast<size_t>(size) == streamMessage && buffer[0] == streamBegins) {
            uint64_t count = 0;
            std::memcpy(&count, buffer.data() + 1, sizeof count);
            for (uint64_t i = 0; i < count; ++i) {
                zmq_recv(socket, buffer.data(), buffer.size(), 0);
            }
        }
        zmq_send(socket, buffer.data(), static_cast<size_t>(size), 0);
    }
    zmq_close(socket);
    zmq_ctx_term(context);
}

class RawZmq : public Side
{
public:
    explicit RawZmq(bool secured)
    {
        Keys keys;
        zmq_curve_keypair(keys.serverPublic, keys.serverSecret);
        zmq_curve_keypair(keys.clientPublic, keys.clientSecret);
        int pipes[2];
        if (pipe(pipes) != 0) {
            std::abort();
        }
        m_child = fork();
        if (m_child == 0) {
            close(pipes[1]);
            char endpoint[128] = "";
            if (read(pipes[0], endpoint, sizeof endpoint) > 0) {
                answer(endpoint, keys, secured);
            }
            _exit(0);
        }
        close(pipes[0]);
        m_context = zmq_ctx_new();
        m_socket = zmq_socket(m_context, ZMQ_DEALER);
        if (secured) {
            const int one = 1;
            zmq_setsockopt(m_socket, ZMQ_CURVE_SERVER, &one, sizeof one);
            secure(m_socket, keys.serverPublic, keys.serverSecret);
        }
        zmq_bind(m_socket, "tcp://127.0.0.1:*");
        char endpoint[128] = "";
        size_t size = sizeof endpoint;
        zmq_getsockopt(m_socket, ZMQ_LAST_ENDPOINT, endpoint, &size);
        if (write(pipes[1], endpoint, sizeof endpoint) < 0) {
            std::abort();
        }
        close(pipes[1]);
        roundTrip(16, 1);
    }
    ~RawZmq() override
    {
        zmq_send(m_socket, "", 0, 0);
        waitpid(m_child, nullptr, 0);
        zmq_close(m_socket);
        zmq_ctx_term(m_context);
    }
    RawZmq(const RawZmq&) = delete;
    RawZmq& operator=(const RawZmq&) = delete;

    double roundTrip(size_t bytes, int times) override
    {
        m_buffer.assign(std::max<size_t>(bytes, 64), 'x');
        std::vector<double> samples;
        for (int i = 0; i < times; ++i) {
            const auto begin = Clock::now();
            zmq_send(m_socket, m_buffer.data(), bytes, 0);
            zmq_recv(m_socket, m_buffer.data(), m_buffer.size(), 0);
            samples.push_back(secondsSince(begin) * 1e6);
        }
        return median(std::move(samples));
    }

    double throughput(size_t bytes, uint64_t count) override
    {
        m_buffer.assign(std::max<size_t>(bytes, 64), 'x');
        char announced[streamMessage] { streamBegins };
        std::memcpy(announced + 1, &count, sizeof count);
        const auto begin = Clock::now();
        zmq_send(m_socket, announced, sizeof announced, 0);
        for (uint64_t i = 0; i < count; ++i) {
            zmq_send(m_socket, m_buffer.data(), bytes, 0);
        }
        zmq_recv(m_socket, m_buffer.data(), m_buffer.size(), 0);
        return static_cast<double>(count) / secondsSince(begin);
    }
    pid_t other() const override { return m_child; }

private:
    pid_t m_child = -1;
    void* m_context = nullptr;
    void* m_socket = nullptr;
    std::vector<char> m_buffer;
};

} // namespace

std::unique_ptr<Side> startRawZmq(bool secured)
{
    return std::make_unique<RawZmq>(secured);
}

} // namespace bench
