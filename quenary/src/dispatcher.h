// SPDX-License-Identifier: Apache-2.0
// The callback thread: takes what arrived, in the order in which it arrived, and calls the user's functions.
#pragma once

#include "model.h"

#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>
#include <variant>

namespace qny {

class Core;
using Lock = std::unique_lock<std::mutex>;

// Items of one peer's stream, with its agents as they were when the items arrived.
struct Batch
{
    PeerPtr peer;
    AgentTablePtr agents;
    std::shared_ptr<const void> keep; // owns what `items` points into
    size_t keepBytes = 0; // of all that
    std::string_view items;
    std::shared_ptr<std::string> own; // instead of keep and items: a batch of this process that may still grow
    int64_t receivedAt = 0;
    size_t pieces = 0; // of the peer's stream that are used up with this batch
    size_t bytes = 0;
    AgentRecordPtr from = nullptr; // of `agents` the one that published last
};

struct AgentChange
{
    qny_agent_event_t event;
    AgentRecordPtr agent;
    PeerPtr peer;
    bool fellSilent = false; // it did not leave by itself: what it publishes meanwhile counts as lost
};

struct NewObserver
{
    CallbackPtr callback;
};

struct Barrier
{
    std::shared_ptr<bool> reached;
};

class Dispatcher
{
public:
    Dispatcher(Core& core, std::mutex& mutex);

    // All with the lock held.
    void push(Batch batch);
    void push(AgentChange change);
    void push(NewObserver observer);
    // The item's value may stand by itself.
    void pushOwn(const PeerPtr& self, const AgentTablePtr& agents, std::string_view item, std::string_view value);
    // What has arrived and was not yet delivered is forgotten; arrivals and departures are kept.
    void discardBatches();
    // Waits until everything that is in the queue now has been delivered. Not from inside a callback: returns at once.
    void drain(Lock& lock);
    // Waits until this callback does not run (any more). From inside a callback: returns at once.
    void awaitEnd(Lock& lock, const CallbackPtr& callback);
    // The process ends: no further callback begins. Waits for a running one, but not for ever.
    void end(Lock& lock);
    bool onCallbackThread() const { return m_threadId == std::this_thread::get_id(); }

private:
    using Entry = std::variant<Batch, AgentChange, NewObserver, Barrier>;

    void wake();
    void wakeThread();
    void loop();
    void idle(Lock& lock);
    void runFirst(Lock& lock);
    void run(Lock& lock, Batch& batch);
    void run(Lock& lock, AgentChange& change);
    void run(Lock& lock, NewObserver& observer);
    void run(Lock& lock, Barrier& barrier);
    template <typename Invoke> void call(Lock& lock, const CallbackPtr& callback, Invoke&& invoke);

    bool runItem(Lock& lock, Batch& batch, wire::ItemKind kind, std::string_view payload);
    bool runPublication(Lock& lock, Batch& batch, std::string_view payload);
    bool runLast(Lock& lock, Batch& batch, std::string_view payload);
    bool runGap(const Batch& batch, std::string_view payload);
    bool runCall(Lock& lock, const Batch& batch, std::string_view payload);
    bool runStopRequest(Lock& lock, const Batch& batch, std::string_view payload);

    struct Arrival
    {
        qny_publication_t told; // agent and output names are filled in where it is delivered
        std::string_view bytes;
        const Batch* batch = nullptr; // with which it came
        uint64_t newlyLost = 0; // of told.lost, what no earlier note of a gap has counted
    };
    void countLost(const Feed& feed, uint64_t lost);
    void deliver(Lock& lock, const FeedPtr& feed, const AgentRecord& from, Arrival& arrival);
    void deliver(Lock& lock, Monitor& monitor, const std::string& output, const AgentRecord& from, Arrival& arrival);
    // Says in the batch whose it is.
    static bool prepare(
        Batch& batch, const Uuid& agent, qny_value_type_t type, std::string_view bytes, Arrival& arrival);
    // Those that the output feeds, by outputKey(); null when there are none. Publications of one output often follow
    // one another.
    const std::vector<FeedPtr>* feedsOf(std::string_view key);

    Core& m_core;
    std::mutex& m_mutex;
    std::condition_variable m_arrived;
    std::condition_variable m_ended;
    std::deque<Entry> m_queue;
    // What feedsOf() found last, and of what it was true.
    std::string m_feedsKey;
    const std::vector<FeedPtr>* m_feeds = nullptr;
    uint64_t m_feedsChanged = 0;
    std::thread m_thread;
    std::thread::id m_threadId;
    bool m_ending = false;
    bool m_isAtInbox = false; // waits there, and for m_wakeFd
    bool m_hears = false; // something came from others since it waited there last
    int m_wakeFd;
    const Callback* m_running = nullptr;
};

} // namespace qny
