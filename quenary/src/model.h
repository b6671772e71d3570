// SPDX-License-Identifier: Apache-2.0
// What the library knows: this process's agents, and the peers with theirs. Everything here is guarded by Core's mutex
// unless it says otherwise.
#pragma once

#include "quenary.h"

#include "security/certificate.h"
#include "text.h"
#include "value.h"
#include "wire.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace qny {

// ---- callbacks ------------------------------------------------------------------------------------------------------

// A caller's function with its user data. Whoever removes it sets `removed` and then waits until it does not run
// (Dispatcher::awaitEnd).
struct Callback
{
    enum class Kind
    {
        Io,
        Publication,
        Service,
        AgentEvent,
        Stop
    };
    Kind kind;
    union {
        qny_io_fn io;
        qny_publication_fn publication;
        qny_service_fn service;
        qny_agent_event_fn agentEvent;
        qny_stop_fn stop;
    };
    void* userData = nullptr;
    bool removed = false;

    Callback(qny_io_fn fn, void* data)
        : kind(Kind::Io)
        , io(fn)
        , userData(data)
    {
    }
    Callback(qny_publication_fn fn, void* data)
        : kind(Kind::Publication)
        , publication(fn)
        , userData(data)
    {
    }
    Callback(qny_service_fn fn, void* data)
        : kind(Kind::Service)
        , service(fn)
        , userData(data)
    {
    }
    Callback(qny_agent_event_fn fn, void* data)
        : kind(Kind::AgentEvent)
        , agentEvent(fn)
        , userData(data)
    {
    }
    Callback(qny_stop_fn fn, void* data)
        : kind(Kind::Stop)
        , stop(fn)
        , userData(data)
    {
    }
};
using CallbackPtr = std::shared_ptr<Callback>;

// ---- agents of this process -----------------------------------------------------------------------------------------

struct Peer;
struct Agent;

// Named things in the order in which they were declared.
template <typename T> class NamedList
{
public:
    T* find(std::string_view name) const
    {
        if (m_items.size() <= fewItems) {
            const auto it
                = std::ranges::find(m_items, name, [](const auto& each) -> const auto& { return each->name; });
            return it == m_items.end() ? nullptr : it->get();
        }
        const auto it = m_byName.find(name);
        return it == m_byName.end() ? nullptr : it->second;
    }
    T& add(std::string_view name)
    {
        m_items.push_back(std::make_unique<T>());
        m_items.back()->name = name;
        m_byName.emplace(name, m_items.back().get());
        return *m_items.back();
    }
    void remove(std::string_view name)
    {
        const auto it = m_byName.find(name);
        if (it == m_byName.end()) {
            return;
        }
        const T* item = it->second;
        m_byName.erase(it);
        std::erase_if(m_items, [item](const auto& each) { return each.get() == item; });
    }
    auto begin() const { return m_items.begin(); }
    auto end() const { return m_items.end(); }
    bool empty() const { return m_items.empty(); }
    size_t size() const { return m_items.size(); }

private:
    static constexpr size_t fewItems = 8; // are compared sooner than a name is hashed

    std::vector<std::unique_ptr<T>> m_items;
    std::unordered_map<std::string, T*, TextHash, std::equal_to<>> m_byName;
};

struct Output
{
    std::string name;
    qny_value_type_t type = QNY_UNKNOWN_T;
    bool hasValue = false;
    std::string value;
    int64_t valueTime = 0;
    uint64_t sequence = 0;
    std::vector<std::shared_ptr<Peer>>
        listeners; // peers that want every publication, self included; see Core::refreshListeners
};

// The value of an input. A long one that came by itself stays where it came.
class KeptValue
{
public:
    // A message, if it came in one, has so many bytes in all, and lives on for what may be a small part of it: twice as
    // much at most.
    void set(std::string_view bytes, const std::shared_ptr<const void>& message = nullptr, size_t messageBytes = 0)
    {
        if (message && bytes.size() >= longBytes && bytes.size() >= messageBytes / 2) {
            m_own = {};
            m_message = message;
            m_there = bytes;
        } else {
            m_own.assign(bytes);
            m_message.reset();
        }
    }
    std::string_view bytes() const { return m_message ? m_there : m_own; }

private:
    static constexpr size_t longBytes = 64 * 1024;

    std::string m_own;
    std::shared_ptr<const void> m_message;
    std::string_view m_there; // in the message
};

struct Input
{
    std::string name;
    qny_value_type_t type = QNY_UNKNOWN_T;
    bool hasValue = false;
    KeptValue value;
    uint64_t lost = 0;
    std::vector<CallbackPtr> observers;
};

// Inputs, outputs and services of one agent together.
constexpr size_t maxDeclarations = 4096;

// What one declaration takes of a definition: its name, and the JSON around it.
inline size_t declarationBytes(std::string_view name)
{
    return name.size() + 48;
}

struct ServiceArgument
{
    std::string name;
    qny_value_type_t type = QNY_UNKNOWN_T;
};

struct Service
{
    std::string name;
    CallbackPtr callback; // null: declared by a loaded definition, nobody answers yet
    std::vector<ServiceArgument> arguments;
};

// One agent of the network whose output feeds one of our mappings. The publisher's answer to our subscription says
// where its count stands; from there on every number that is missing was lost.
struct Feed
{
    uint64_t id = 0;
    Uuid agent {};
    std::shared_ptr<Peer> peer;
    std::weak_ptr<struct Mapping> mapping;
    std::string output;
    bool counting = false; // the answer came
    uint64_t sequence = 0; // the last number seen
    uint64_t pendingLost = 0; // lost and not yet told with a publication
};
using FeedPtr = std::shared_ptr<Feed>;

struct Mapping
{
    std::string input;
    std::string toAgent;
    std::string output;
    std::weak_ptr<Agent> agent;
    bool alive = false; // its agent is on the network and its input exists
    std::unordered_map<Uuid, FeedPtr, UuidHash> feeds;
    // Where the count of an agent stood that fell silent: if it comes back, what was published meanwhile was lost.
    std::unordered_map<Uuid, uint64_t, UuidHash> remembered;
    int64_t lastWarning = 0;
};
using MappingPtr = std::shared_ptr<Mapping>;

struct Agent
{
    Uuid uuid {};
    std::string uuidText;
    std::string name;
    std::string family;
    bool standIn = false;
    bool activated = false; // by its owner; it is on the network when the process is, too
    bool online = false;
    bool dirty = false; // others have not been told yet
    size_t definitionBytes = 0; // what its definition takes as JSON, by declarationBytes()
    NamedList<Output> outputs;
    NamedList<Input> inputs;
    NamedList<Service> services;
    std::vector<MappingPtr> mappings;
    // A removed output's count goes on if it comes again, so that a receiver never sees a number twice.
    std::unordered_map<std::string, uint64_t> retiredSequences;
};
using AgentPtr = std::shared_ptr<Agent>;

// ---- peers and their agents -----------------------------------------------------------------------------------------

// What runs in a process, as it says itself.
struct Program
{
    std::string executable;
    std::vector<std::string> arguments;
};
using ProgramPtr = std::shared_ptr<const Program>;

// What was said of an agent, and of the process that carries it, at one moment. Never changed once made.
struct AgentRecord
{
    Uuid uuid {};
    std::string uuidText;
    std::string name;
    std::string family;
    std::string definition;
    std::unordered_set<std::string, TextHash, std::equal_to<>> outputs;
    bool standIn = false;
    bool stoppable = false;
    std::string peerUuid;
    std::string hostName;
    std::string address;
    int64_t processId = 0;
    ProgramPtr program = std::make_shared<const Program>(); // the peer's own, of stand-ins an empty one
    std::string publicKey; // of its peer's certificate, as its name; both empty without security
    std::string certificateName;
    bool ofThisProcess = false;
};
using AgentRecordPtr = std::shared_ptr<const AgentRecord>;
using AgentTable = std::unordered_map<Uuid, AgentRecordPtr, UuidHash>;
using AgentTablePtr = std::shared_ptr<const AgentTable>;

// What a peer wants of our outputs.
struct Subscription
{
    Uuid agent {};
    std::string output;
    bool all = false;
};

// How often each peer says that it is there: less often to many, for all of them do.
constexpr int64_t stateMilliseconds = 500;
constexpr int64_t longestStateMilliseconds = 1500;
constexpr int64_t stateMillisecondsOfALink = 10;
// A peer that is quiet for longer stands still, or cannot be reached. Beyond the time within which it speaks, for what
// it said may wait to be read behind what others say.
constexpr int64_t quietMilliseconds = 1000;
// So long after that who says that it has opened a link anew is believed.
constexpr int64_t renewalMilliseconds = 200;

// Another process, or this one (`self`), to which items go by the same functions.
struct Peer
{
    Uuid uuid {};
    std::string uuidText;
    bool isSelf = false;

    // What the other said of itself.
    std::string address;
    std::string hostName;
    int64_t processId = 0;
    ProgramPtr program = std::make_shared<const Program>();
    uint64_t maxMessageBytes = 0;

    // What it proved to have the secret half of; null without security.
    CertificatePtr certificate;

    bool up = false; // each side knows the other's agents
    // When it last said something of this very link, by steadyMilliseconds(). Written with the network's turn,
    // without the lock.
    std::atomic<int64_t> spokeAt = 0;
    std::atomic<int64_t> speaksEvery = stateMilliseconds; // at least, as it says
    bool isQuiet(int64_t silence) const { return silence >= speaksEvery + quietMilliseconds; }
    bool isCutOff = false; // its certificate was taken away: what it said before and nobody has heard yet is dropped
    AgentTablePtr agents = std::make_shared<AgentTable>();
    size_t describedBytes = 0; // by what was said of them
    // In the tables that still stand, together: each batch keeps the one of its time.
    std::shared_ptr<std::atomic<size_t>> keptEntries = std::make_shared<std::atomic<size_t>>(0);

    // Its interest in our outputs.
    std::map<uint64_t, Subscription> subscriptions; // by ids of its choice
    std::unordered_map<std::string, std::set<uint64_t>, TextHash, std::equal_to<>> byOutput; // key: outputKey()
    std::unordered_map<Uuid, std::set<uint64_t>, UuidHash> byAgent; // all outputs of the agent

    // Items that wait for the network thread: pieces of the stream, each beginning with room for a data header.
    bool open = false; // the other side accepts our stream
    size_t pieceBytes = wire::pieceBytes; // what is longer is cut
    std::deque<std::string> pieces;
    size_t queuedBytes = 0;
    bool isWaiting = false; // for the network thread: see Core::waiting
    // The outputs of which publications found no room, with the last number dropped: told as soon as there is room.
    std::unordered_map<std::string, uint64_t> dropped;

    // Taken from the stream by the callback thread: lets the other side send more.
    uint64_t consumedPieces = 0;
    uint64_t consumedBytes = 0;
    uint64_t consumedBytesTold = 0;
};
using PeerPtr = std::shared_ptr<Peer>;

// The outputs of one agent that a monitor keeps count of.
constexpr size_t maxMonitoredOutputs = 16'384;

inline std::string outputKey(const Uuid& agent, std::string_view output)
{
    std::string key(reinterpret_cast<const char*>(agent.data()), agent.size());
    key += output;
    return key;
}

struct Monitor
{
    uint64_t id = 0;
    Uuid agent {};
    PeerPtr peer;
    CallbackPtr callback;
    struct Count
    {
        uint64_t sequence = 0;
        uint64_t pendingLost = 0;
    };
    using Counts = std::unordered_map<std::string, Count, TextHash, std::equal_to<>>;
    Counts outputs;
};

int64_t nowMicroseconds(); // since 1970 UTC
int64_t steadyMilliseconds();

} // namespace qny
