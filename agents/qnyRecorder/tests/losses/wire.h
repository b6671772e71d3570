// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace recorder::testing {

// The network between a recorder and a server: the recorder is given this one's port. Of its own thread.
class Wire
{
public:
    enum class State
    {
        Whole,
        Cut, // nobody listens, and what was connected is broken off
        Deaf // what is asked arrives and is done; no answer comes back, and at the end it is broken off
    };

    // Listens on a free port of the server's own address, for which its certificates are.
    Wire(const std::string& address, std::uint16_t serverPort);
    ~Wire();
    Wire(const Wire&) = delete;
    Wire& operator=(const Wire&) = delete;

    std::uint16_t port() const { return m_port; } // 0: it could not be laid
    // Returns when it is so.
    void set(State state);

private:
    // One direction of a connection.
    struct Lane
    {
        int from = -1;
        int to = -1;
        std::string waiting;
    };
    struct Connection
    {
        int client = -1;
        int server = -1;
        Lane asked;
        Lane answered;
    };

    bool listen();
    void run();
    void take(State state);
    void accept();
    bool move(Lane& lane, short events, bool isSwallowed);
    void close(Connection& connection);
    void closeAll();

    const std::string m_address;
    const std::uint16_t m_serverPort;
    std::uint16_t m_port = 0;
    int m_listener = -1;
    std::vector<std::unique_ptr<Connection>> m_connections;
    State m_state = State::Whole;
    std::atomic<State> m_wanted { State::Whole };
    std::atomic<State> m_reached { State::Whole };
    std::atomic<bool> m_mustEnd { false };
    std::thread m_thread;
};

} // namespace recorder::testing
