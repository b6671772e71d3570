// SPDX-License-Identifier: Apache-2.0
// Everything the library knows, under one mutex. The network thread (network.h) moves bytes, the callback thread
// (dispatcher.h) calls the user; callers' threads work on this directly and never wait for either. Where one of
// the others sleeps, the network's work is done by whoever has some (Network::sendWaiting, Dispatcher::idle).
#pragma once

#include "buffer_store.h"
#include "dispatcher.h"
#include "model.h"
#include "report.h"

#include <atomic>
#include <functional>
#include <mutex>
#include <optional>
#include <unordered_map>
#include <utility>

namespace qny {

class Network;

// Each port of a named range counts.
constexpr size_t maxNamedPeers = 128;

struct Options
{
    std::string device = "lo";
    uint16_t port = 5670;
    std::vector<std::pair<std::string, uint16_t>> peers;
    std::pair<uint16_t, uint16_t> listenPorts { 0, 0 }; // the first free one of these; 0: any
    bool multicast = true;
    std::string hostName;
    size_t maxMessageBytes = 64 * 1024 * 1024;
    size_t maxPeerQueueBytes = 256 * 1024 * 1024;
    std::string privateCertificate; // both, or neither
    std::string publicCertificates;
};

struct Statistics
{
    uint64_t publicationsSent = 0;
    uint64_t publicationsReceived = 0;
    uint64_t publicationsDropped = 0;
    uint64_t publicationsLost = 0;
    uint64_t callsSent = 0;
    uint64_t callsReceived = 0;
    uint64_t messagesRefused = 0;
    uint64_t connectionsRefused = 0;
};

class Core
{
public:
    Core();
    // Never destroyed: threads of the user may call the library while the process ends.
    static Core& instance();

    std::mutex mutex;
    Dispatcher dispatcher;

    // ---- handles (core_agents.cpp) ---------------------------------------------------------------------------------
    AgentPtr agentOf(qny_agent_t* handle) const;
    AgentPtr defaultAgent(); // made on first use
    qny_agent_t* defaultHandle();
    qny_agent_t* madeDefaultHandle() const { return m_defaultHandle; } // or null; without the lock
    qny_agent_t* newAgent(std::string_view name, std::string_view family, bool standIn);
    // Takes the agent off the network and its handle out of use; its callbacks are the caller's to end.
    void forget(qny_agent_t* handle);

    // ---- presence of our agents (core_agents.cpp) ------------------------------------------------------------------
    void activate(const AgentPtr& agent);
    void deactivate(const AgentPtr& agent);
    // Something that others are shown changed. Told within a few milliseconds, and before anything that follows it.
    qny_result_t changed(Agent& agent);
    void tellChanges();
    void markAllChanged();
    AgentPtr onlineAgent(const Uuid& uuid) const;

    // ---- outputs, inputs, mappings, monitors (core_traffic.cpp, core_mappings.cpp) ----------------------------------
    // The bytes are of the output's type.
    qny_result_t publish(Agent& agent, Output& output, std::string_view bytes, int64_t time, uint64_t* sequence);
    void refreshListeners(const Uuid& agent, std::string_view output);
    void refreshListeners(const Uuid& agent); // of all outputs
    void outputAppeared(Agent& agent, Output& output);
    void addMapping(const AgentPtr& agent, const MappingPtr& mapping);
    void removeMapping(Agent& agent, MappingPtr mapping);
    void refreshMapping(const MappingPtr& mapping);
    void refreshMappings(Agent& agent);
    bool isLive(const Mapping& mapping) const;
    qny_result_t addMonitor(const Uuid& agent, const CallbackPtr& callback);
    void removeMonitor(Lock& lock, const Uuid& agent, bool tell);

    // ---- calls (core_calls.cpp)
    // --------------------------------------------------------------------------------------
    // Sends it at once, for somebody waits for the answer; the lock is given up for that.
    qny_result_t call(Lock& lock, const AgentPtr& from, std::string_view to, std::string_view service,
        const qny_service_arg_t* arguments, const char* token);
    qny_result_t requestStop(const AgentPtr& from, std::string_view uuid);

    // ---- streams to peers (core_streams.cpp)
    // --------------------------------------------------------------------------
    enum class Room
    {
        Always,
        IfThereIs
    };
    // Appends an item to what the peer is sent. False when there was no room for a publication. A long value at the end of
    // an item may stand by itself, so that it is copied once only.
    bool enqueue(const PeerPtr& peer, std::string_view item, Room room = Room::Always, std::string_view value = {});
    void tellDropped(const PeerPtr& peer);
    // The network thread is to look at it soon.
    void serveSoon(const PeerPtr& peer);
    std::vector<PeerPtr> waiting; // for that
    std::vector<PeerPtr> takeWaiting();
    bool isSending = false; // whoever has the lock sends what waits before it is done
    BufferStore buffers; // of long pieces
    // What a peer asks of us, or this process of itself.
    void subscribe(const PeerPtr& peer, uint64_t id, Subscription subscription);
    // It lets wait more than publications may take and everything that can be asked for once, twice over.
    bool asksTooMuch(const Peer& peer) const;
    void unsubscribe(const PeerPtr& peer, uint64_t id);
    // The items that open the stream to a peer: our agents.
    void openStream(const PeerPtr& peer);

    // ---- other agents (core_peers.cpp)
    // -------------------------------------------------------------------------------
    void peerUp(const PeerPtr& peer);
    void peerDown(const PeerPtr& peer, bool fellSilent);
    bool agentChanged(const PeerPtr& peer, AgentRecord record);
    void agentGone(const PeerPtr& peer, const Uuid& uuid);
    // Called by the callback thread, in order with everything else that came from the peer.
    void announce(Lock& lock, const AgentChange& change);
    std::vector<std::pair<PeerPtr, AgentRecordPtr>> find(std::string_view nameOrUuid) const;
    AgentRecordPtr recordOf(const Agent& agent) const;

    struct Announced
    {
        AgentRecordPtr record;
        PeerPtr peer;
    };
    std::unordered_map<Uuid, Announced, UuidHash> announced; // what the callback thread has told, ours included
    std::unordered_map<std::string, std::vector<MappingPtr>, TextHash, std::equal_to<>> mappingsTo; // by agent name
    std::unordered_map<std::string, std::vector<FeedPtr>, TextHash, std::equal_to<>> feeds; // by outputKey()
    uint64_t feedsChanged = 0; // so often
    std::unordered_map<uint64_t, FeedPtr> feedsById;
    std::unordered_map<Uuid, std::shared_ptr<Monitor>, UuidHash> monitors;
    // Where the counts of agents stood that were monitored and fell silent: as Mapping::remembered.
    std::unordered_map<Uuid, Monitor::Counts, UuidHash> monitorCounts;
    std::vector<CallbackPtr> agentObservers;
    std::vector<CallbackPtr> observersToCome; // not yet taken up by the callback thread
    CallbackPtr stopCallback;

    // ---- the process (core.cpp)
    // --------------------------------------------------------------------------------------
    qny_result_t start(const Options& options);
    void stop();
    bool started = false;
    Options options;
    std::string endpoint;
    PeerPtr self;
    std::unordered_map<Uuid, PeerPtr, UuidHash> peers;
    std::unordered_map<Uuid, Peer*, UuidHash> owners; // which peer carries an agent
    std::string executable;
    std::vector<std::string> commandLine;
    Statistics statistics;
    Network* network = nullptr;
    uint64_t epoch = 0; // of starts and stops: what arrived in an earlier one is not delivered any more
    std::string shownHostName;
    // When the network thread last went on after standing still. What it reads for a while then is from before: others
    // may have given this process up meanwhile. Written without the lock.
    std::atomic<int64_t> stoodStillUntil = -10 * longestStateMilliseconds;
    int64_t tellAt = 0; // steadyMilliseconds() at which changes are told at the latest; 0: none

    // Malformed or beyond a bound, from others: counted, and logged without flooding the log.
    void refuse(const std::string& what);
    // What others can make us say again and again: one line a second, with the number of those left out.
    struct SeldomLog
    {
        int64_t at = 0;
        uint64_t leftOut = 0;
    };
    static void warnSeldom(SeldomLog& log, std::string text);
    SeldomLog badCalls;

    void stopAtExit();

private:
    qny_result_t enqueueCall(const AgentPtr& from, std::string_view to, std::string_view service,
        const qny_service_arg_t* arguments, const char* token);
    void addFeed(const MappingPtr& mapping, const Announced& from);
    void removeFeed(const FeedPtr& feed, bool tell);
    void dropSubscriptionsOf(const Uuid& agent);
    void tellAgent(const PeerPtr& peer, const AgentRecord& record);
    void tellLast(const PeerPtr& peer, uint64_t id, const Uuid& agent, std::string_view name, const Output* output,
        uint64_t sequence);

    std::mutex m_lifecycle; // one start or stop at a time; taken before `mutex`
    std::unordered_map<qny_agent_t*, AgentPtr> m_handles;
    std::unordered_map<Uuid, AgentPtr, UuidHash> m_agents;
    std::vector<AgentPtr> m_changed;
    std::atomic<qny_agent_t*> m_defaultHandle = nullptr; // once made it stays; read without the lock
    uintptr_t m_nextHandle = 0x1000;
    uint64_t m_nextId = 1;
    SeldomLog m_refusals;
    int m_ownerProcess = 0;
};

// The definition of an agent as JSON (definition.cpp).
std::string definitionText(const Agent& agent);
// Fills in family and outputs of a record from its definition. Says what is wrong with it, or nothing.
std::string readDefinition(std::string_view json, AgentRecord& into);
qny_result_t loadDefinition(std::string_view json, Agent& into, std::vector<std::string>& newOutputs);

} // namespace qny
