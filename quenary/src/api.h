// SPDX-License-Identifier: Apache-2.0
// What the exported functions share: they check what they are given, take the lock, and call the core.
#pragma once

#include "core.h"

namespace qny {

// A name handed in by a caller: `what` is "output", "input", …
qny_result_t checkName(const char* name, const char* what, bool ofAgent = false);

// Takes the lock and finds the agent, or leaves `agent` null with the sentence set.
struct OnAgent
{
    explicit OnAgent(qny_agent_t* handle)
        : core(Core::instance())
        , lock(core.mutex)
        , agent(core.agentOf(handle))
    {
    }
    explicit operator bool() const { return agent != nullptr; }

    Core& core;
    Lock lock;
    AgentPtr agent;
};

// Whether the agent can declare something more of this name; counts nothing yet.
qny_result_t checkRoom(const Agent& agent, std::string_view name);

inline qny_result_t unknown(const Agent& agent, const char* what, const char* name)
{
    return fail(QNY_ERROR_UNKNOWN, "The agent " + agent.name + " has no " + what + " named " + name + ".");
}

} // namespace qny
