// SPDX-License-Identifier: Apache-2.0
// The bytes between peers; docs/wire-protocol.md describes every one of them. All numbers are little-endian.
#pragma once

#include "text.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>

namespace qny::wire {

constexpr uint8_t protocolVersion = 1;

// ---- messages between two peers (one part each)
// ----------------------------------------------------------------------

enum class MessageType : uint8_t
{
    Probe = 1, // "I am here": nothing is believed of it but the address
    Hello = 2, // opens a link: who the sender is
    State = 3, // presence, and how far each stream got
    Data = 4, // the next piece of the stream of items
    Resend = 5, // the receiver misses a piece
    Goodbye = 6, // the sender leaves
};

constexpr size_t headerBytes = 40;
// No message is larger: a value of 1 MiB, with all that goes before it. What is larger travels in several pieces of a
// stream, so that presence is never held up behind it.
constexpr size_t maxMessageBytes = (1024 + 64) * 1024;
constexpr size_t batchBytes = 64 * 1024;
// Within a machine nothing is held up, and what comes in one piece need not be put together.
constexpr size_t pieceBytes = 256 * 1024;
constexpr size_t localPieceBytes = maxMessageBytes - 1024;
constexpr size_t dataHeaderBytes = headerBytes + 8;

struct Header
{
    MessageType type = MessageType::Probe;
    uint8_t version = protocolVersion;
    uint16_t port = 0; // where the sender listens
    Uuid sender {}; // the peer, not an agent
    uint64_t senderSession = 0;
    uint64_t receiverSession = 0; // 0: not known yet
};

// ---- items of a stream ----------------------------------------------------------------------------------------------

enum class ItemKind : uint8_t
{
    Agent = 1,
    AgentGone = 2,
    Ready = 3,
    ReadyAck = 4,
    Subscribe = 5,
    Unsubscribe = 6,
    Last = 7,
    Publication = 8,
    Gap = 9,
    Call = 10,
    StopRequest = 11,
};

constexpr size_t itemHeaderBytes = 5; // length of what follows the length, kind
constexpr uint8_t agentStandIn = 1;
constexpr uint8_t agentStoppable = 2;
constexpr uint8_t lastOutputExists = 1;
constexpr uint8_t lastHasValue = 2;
constexpr uint8_t callHasToken = 1;

// ---- bounds on what others may send
// ----------------------------------------------------------------------------------

constexpr size_t maxAgentsPerPeer = 1024;
constexpr size_t maxDefinitionBytes = 1024 * 1024;
// Of all agents of a peer together, each with the command line that is shown with it.
constexpr size_t maxDescriptionBytes = 64 * 1024 * 1024;
constexpr size_t maxArguments = 1024;
constexpr size_t maxCommandLineArguments = 4096;
constexpr size_t maxCommandLineBytes = 256 * 1024;
constexpr size_t maxSubscriptionsPerPeer = 100'000;
constexpr size_t maxPeers = 256;
// Addresses that were hinted at and have not answered yet.
constexpr size_t maxPendingLinks = 64;
// Control items are bounded by this, calls and publications by the option max_message_bytes plus this.
constexpr size_t itemSlackBytes = 2 * 1024 * 1024;

// ---- writing and reading
// ----------------------------------------------------------------------------------------------

class Writer
{
public:
    explicit Writer(std::string& into)
        : m_into(into)
    {
    }

    template <typename T> void number(T value)
    {
        static_assert(std::is_integral_v<T>);
        m_into.append(reinterpret_cast<const char*>(&value), sizeof value);
    }
    void uuid(const Uuid& value) { m_into.append(reinterpret_cast<const char*>(value.data()), value.size()); }
    void bytes(std::string_view value) { m_into.append(value); }
    // At most 255 bytes, which every name is.
    void name(std::string_view value)
    {
        number(static_cast<uint8_t>(value.size()));
        bytes(value);
    }
    void text(std::string_view value)
    {
        number(static_cast<uint32_t>(value.size()));
        bytes(value);
    }

private:
    std::string& m_into;
};

// Reads past the end give zeros and empty texts and make ok() false: check once, after the last read.
class Reader
{
public:
    explicit Reader(std::string_view from)
        : m_rest(from)
    {
    }

    template <typename T> T number()
    {
        T value {};
        const std::string_view raw = bytes(sizeof value);
        if (raw.size() == sizeof value) {
            std::memcpy(&value, raw.data(), sizeof value);
        }
        return value;
    }
    Uuid uuid()
    {
        Uuid value {};
        const std::string_view raw = bytes(value.size());
        if (raw.size() == value.size()) {
            std::memcpy(value.data(), raw.data(), value.size());
        }
        return value;
    }
    std::string_view bytes(size_t size)
    {
        if (size > m_rest.size()) {
            m_ok = false;
            m_rest = {};
            return {};
        }
        const std::string_view out = m_rest.substr(0, size);
        m_rest.remove_prefix(size);
        return out;
    }
    std::string_view name() { return bytes(number<uint8_t>()); }
    std::string_view text() { return bytes(number<uint32_t>()); }
    std::string_view rest() { return bytes(m_rest.size()); }
    bool ok() const { return m_ok; }
    bool atEnd() const { return m_ok && m_rest.empty(); }

private:
    std::string_view m_rest;
    bool m_ok = true;
};

void write(std::string& into, const Header& header);
// False when the text is no message of ours at all. A version that is not ours is left to the caller.
bool read(std::string_view message, Header& header);

// Starts an item and sets its length when it goes out of scope.
class Item
{
public:
    Item(std::string& into, ItemKind kind)
        : Item(into, kind, 0)
    {
    }
    Item(std::string& into, ItemKind kind, size_t expectedBytes)
        : m_into(into)
        , m_start(into.size())
        , m_writer(into)
    {
        if (expectedBytes > 0) {
            into.reserve(into.size() + itemHeaderBytes + expectedBytes);
        }
        m_writer.number(uint32_t { 0 });
        m_writer.number(static_cast<uint8_t>(kind));
    }
    Item(const Item&) = delete;
    Item& operator=(const Item&) = delete;
    ~Item()
    {
        const auto length = static_cast<uint32_t>(m_into.size() - m_start - sizeof(uint32_t) + m_following);
        std::memcpy(m_into.data() + m_start, &length, sizeof length);
    }

    Writer* operator->() { return &m_writer; }
    // Its last so many bytes stand elsewhere.
    void isFollowedBy(size_t bytes) { m_following = bytes; }

private:
    std::string& m_into;
    size_t m_start;
    size_t m_following = 0;
    Writer m_writer;
};

// ---- beacons --------------------------------------------------------------------------------------------------------

constexpr size_t beaconBytes = 24;
constexpr uint8_t beaconSecured = 1; // a mark follows the 24 bytes
// By it those who have the sender's certificate know whose the beacon is.
using Mark = std::array<uint8_t, 16>;
struct Beacon
{
    uint16_t port = 0;
    Uuid sender {};
    std::optional<Mark> mark = {}; // of a secured peer alone
};
std::string beaconText(const Beacon& beacon);
bool readBeacon(std::string_view datagram, Beacon& beacon);

} // namespace qny::wire
