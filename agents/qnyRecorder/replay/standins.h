// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "player.h"

#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include <quenary.h>

namespace recorder {

/// The agents that stand in, on the network, for recorded ones, and publish what those published.
/// The command thread makes and removes them while the player is still; the player's thread publishes.
class StandIns final : public ReplayTarget
{
public:
    struct Options
    {
        bool isTimestamped = false; ///< publications carry the recorded time
        int64_t recordStartUs = 0; ///< microseconds since 1970 UTC
        std::function<void(double seconds)> onProgress;
    };

    StandIns(std::shared_ptr<OutputNames> names, Options options);
    ~StandIns() override;

    /// Makes the stand-ins of exactly these agents: others are removed, those that are there stay. Returns whether some
    /// were made, which take a moment to be found by others.
    bool show(const std::vector<AgentDefinition>& agents);
    /// Returns whether there was one.
    bool remove(const std::string& agent);
    bool stands(const std::string& agent) const { return _agents.contains(agent); }

    bool publish(uint32_t output, const ValueView& value, int64_t timeUs) override;
    void progress(double seconds) override { _options.onProgress(seconds); }

private:
    /// Destroys its agent.
    struct Agent
    {
        qny_agent_t* handle = nullptr;
        std::set<std::string> troubles; // outputs whose trouble was logged
        explicit Agent(qny_agent_t* agent)
            : handle(agent)
        {
        }
        ~Agent();
        Agent(const Agent&) = delete;
        Agent& operator=(const Agent&) = delete;
    };

    static std::unique_ptr<Agent> make(const AgentDefinition& definition);
    qny_result_t publishOn(Agent& agent, const char* output, const ValueView& value, int64_t epochUs);

    const std::shared_ptr<OutputNames> _names;
    const Options _options;
    std::map<std::string, std::unique_ptr<Agent>> _agents; // by name
    std::vector<Agent*> _byOutput; // by number of the output; what is not known yet is looked up
    std::vector<bool> _isLookedUp;
    std::string _text; // a string with its zero byte
};

} // namespace recorder
