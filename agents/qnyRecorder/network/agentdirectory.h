// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include <quenary.h>

namespace recorder {

/// What is known of one agent of another process.
struct KnownAgent
{
    std::string uuid;
    std::string name;
    std::string family;
    std::string peerUuid; ///< the process that carries it: its publications share one clock
    std::string definition; ///< JSON
    bool isStandIn = false;
    bool isOnThisMachine = false; ///< shares our clock, as far as it does not make stamps of its own
    bool fellSilent = false; ///< of one that left: it did not take its leave, and may come back

    bool isRecorder() const;
    /// Whether its publications are recorded at all, whatever the filters say.
    bool isRecordable() const { return !isStandIn && !isRecorder(); }
};

/// The agents that are on the network now. Fed by the network's callback thread, asked from any.
class AgentDirectory
{
public:
    using Listener = std::function<void(qny_agent_event_t event, const KnownAgent& agent)>;

    /// Called on the network's callback thread after the directory has changed. Set before the network starts.
    void addListener(Listener listener) { _listeners.push_back(std::move(listener)); }
    /// The network's callback; `directory` is an AgentDirectory.
    static void onAgentEvent(qny_agent_event_t event, const qny_agent_info_t* info, void* directory);

    std::vector<KnownAgent> agents() const;
    std::optional<KnownAgent> agent(const std::string& uuid) const;
    bool isPresent(const std::string& uuid) const;
    /// Names of agents that are there themselves, not as stand-ins of a replay.
    std::set<std::string> liveNames() const;

private:
    mutable std::mutex _mutex;
    std::map<std::string, KnownAgent> _agents; // by uuid
    std::vector<Listener> _listeners;
};

} // namespace recorder
