// SPDX-License-Identifier: Apache-2.0
// Connections and messages as bytes, for who speaks the protocol badly.
#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <string>

namespace recorder::testing {

/// How fast the link is over which each attacking thread sends, in bytes a second; 0, which it is at first: as fast as
/// the thread can.
void setLinkSpeed(double bytesPerSecond);
/// Takes the time that so many packets with so many bytes of content take on the calling thread's link, with all
/// headers.
void passLink(std::size_t packets, std::size_t bytes = 0);

/// A TCP connection to 127.0.0.1 that waits for nothing.
class Connection
{
public:
    /// From this address of 127.0.0.0/8.
    explicit Connection(std::uint16_t port, const char* from = "127.0.0.1");
    ~Connection();
    Connection(Connection&& other) noexcept;
    Connection& operator=(Connection&&) = delete;

    /// As much of it as goes; how much.
    std::size_t send(const std::string& bytes) const;
    /// All of it, unless the other end closes the connection or takes nothing for a second.
    bool sendAll(const std::string& bytes) const;
    /// What has come and was not looked at is thrown away.
    bool isClosed() const;

private:
    int _fd;
};

template <typename T> std::string raw(T value)
{
    return { reinterpret_cast<const char*>(&value), sizeof value };
}

/// What each side says first, byte by byte: greeting of 64 bytes, then READY of a DEALER without security.
std::string greeting(const char* mechanism = "NULL");
std::string ready();
/// A message of one part.
std::string frame(const std::string& message);
/// The beginning of a message of that length.
std::string longFrame(std::uint64_t length);

/// Header and content of a message of the agent network.
struct Speaker
{
    std::string uuid;
    std::uint16_t port = 0;
    std::uint64_t session = 77;
    std::uint64_t theirs = 0;

    std::string message(std::uint8_t type, const std::string& content = {}) const;
    std::string hello() const;
};

std::string randomBytes(std::size_t count);
std::string randomUuid();

/// A peer that is made by hand, with an agent that publishes: who listens sees in it a true one.
class FalsePeer
{
public:
    explicit FalsePeer(std::uint16_t port);
    ~FalsePeer();
    FalsePeer(const FalsePeer&) = delete;
    FalsePeer& operator=(const FalsePeer&) = delete;

    /// Opens a link. False when the other side does not answer.
    bool open();
    /// An agent with one output, "noise".
    void enter(const std::string& name);
    void publish(std::int32_t number);
    void leave();
    /// Answers what came.
    void answer();
    /// Everything that it sent, as it went over its connection.
    const std::string& sent() const { return _sent; }

private:
    void send(std::uint8_t type, const std::string& content);
    void sendData(const std::string& items) { send(4, raw<std::uint64_t>(++_number) + items); }
    std::optional<std::string> receive();

    void* _context;
    void* _inbox;
    void* _outbox;
    Speaker _speaker;
    std::string _agent = randomUuid();
    std::uint64_t _number = 0; // of the last piece sent
    std::uint64_t _received = 0;
    std::uint64_t _published = 0;
    std::string _sent;
};

} // namespace recorder::testing
