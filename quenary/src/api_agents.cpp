// SPDX-License-Identifier: Apache-2.0
// The exported functions that concern agents: this process's, and those of others.
#include "api.h"

#include "handed_out.h"

#include <algorithm>

using namespace qny;

namespace qny {

qny_result_t checkName(const char* name, const char* what, bool ofAgent)
{
    if (!name) {
        return fail(QNY_ERROR_ARGUMENT, std::string("The name of the ") + what + " is null.");
    }
    if (!isUtf8(name)) {
        return fail(QNY_ERROR_UTF8, std::string("The name of the ") + what + " is not valid UTF-8.");
    }
    if (const std::string problem = nameProblem(name, ofAgent); !problem.empty()) {
        return fail(QNY_ERROR_NAME, std::string("This cannot name an ") + what + ": " + problem + ".");
    }
    return QNY_SUCCESS;
}

qny_result_t checkRoom(const Agent& agent, std::string_view name)
{
    if (agent.inputs.size() + agent.outputs.size() + agent.services.size() >= maxDeclarations) {
        return fail(QNY_ERROR_TOO_LARGE,
            "The agent " + agent.name + " has " + std::to_string(maxDeclarations)
                + " inputs, outputs and services, which is the most it can have.");
    }
    if (agent.definitionBytes + declarationBytes(name) + 1024 > wire::maxDefinitionBytes) {
        return fail(QNY_ERROR_TOO_LARGE,
            "The definition of the agent " + agent.name + " would become larger than the "
                + std::to_string(wire::maxDefinitionBytes) + " bytes that others accept.");
    }
    return QNY_SUCCESS;
}

} // namespace qny

namespace {

qny_result_t checkFamily(const char* family)
{
    if (!family || !*family) {
        return QNY_SUCCESS;
    }
    if (!uuidFromText(family)) {
        return fail(QNY_ERROR_ARGUMENT, "The family '" + printable(family) + "' is no uuid.");
    }
    return QNY_SUCCESS;
}

// Nobody may call what is being removed any more; waits for the one that is being called.
void endCallbacks(Core& core, Lock& lock, const std::vector<CallbackPtr>& callbacks)
{
    for (const CallbackPtr& each : callbacks) {
        if (each) {
            each->removed = true;
        }
    }
    for (const CallbackPtr& each : callbacks) {
        core.dispatcher.awaitEnd(lock, each);
    }
}

// The process that carries the agent, if it is another one.
const Peer* otherOwner(const Core& core, const char* agentUuid)
{
    const auto uuid = uuidFromText(agentUuid ? agentUuid : "");
    const auto owner = uuid ? core.owners.find(*uuid) : core.owners.end();
    return owner == core.owners.end() || owner->second->isSelf ? nullptr : owner->second;
}

} // namespace

qny_agent_t* qny_default_agent(void)
{
    Core& core = Core::instance();
    if (qny_agent_t* const made = core.madeDefaultHandle()) {
        return made;
    }
    const Lock lock(core.mutex);
    return core.defaultHandle();
}

qny_agent_t* qny_agent_new(const char* name, const qny_agent_options_t* options)
{
    if (checkName(name, "agent", true) != QNY_SUCCESS
        || checkFamily(options ? options->family : nullptr) != QNY_SUCCESS) {
        return nullptr;
    }
    Core& core = Core::instance();
    const Lock lock(core.mutex);
    return core.newAgent(name, options && options->family ? options->family : "", options && options->stand_in);
}

qny_result_t qny_agent_activate(qny_agent_t* agent)
{
    const OnAgent on(agent);
    if (!on) {
        return QNY_ERROR_ARGUMENT;
    }
    if (!on.agent->online && on.core.started && on.core.self->agents->size() >= wire::maxAgentsPerPeer) {
        return fail(QNY_ERROR_TOO_LARGE,
            "A process has at most " + std::to_string(wire::maxAgentsPerPeer) + " agents on the network.");
    }
    on.core.activate(on.agent);
    return QNY_SUCCESS;
}

qny_result_t qny_agent_deactivate(qny_agent_t* agent)
{
    const OnAgent on(agent);
    if (!on) {
        return QNY_ERROR_ARGUMENT;
    }
    if (agent == on.core.defaultHandle()) {
        return fail(QNY_ERROR_ARGUMENT, "The default agent is on the network whenever the process is.");
    }
    on.core.deactivate(on.agent);
    return QNY_SUCCESS;
}

qny_result_t qny_agent_destroy(qny_agent_t* agent)
{
    OnAgent on(agent);
    if (!on) {
        return QNY_ERROR_ARGUMENT;
    }
    if (agent == on.core.defaultHandle()) {
        return fail(QNY_ERROR_ARGUMENT, "The default agent cannot be destroyed.");
    }
    on.core.forget(agent);
    std::vector<CallbackPtr> callbacks;
    for (const auto& input : on.agent->inputs) {
        callbacks.insert(callbacks.end(), input->observers.begin(), input->observers.end());
    }
    for (const auto& service : on.agent->services) {
        callbacks.push_back(service->callback);
    }
    endCallbacks(on.core, on.lock, callbacks);
    return QNY_SUCCESS;
}

char* qny_agent_uuid(qny_agent_t* agent)
{
    const OnAgent on(agent);
    return on ? duplicate(on.agent->uuidText) : nullptr;
}

char* qny_agent_name(qny_agent_t* agent)
{
    const OnAgent on(agent);
    return on ? duplicate(on.agent->name) : nullptr;
}

qny_result_t qny_agent_name_set(qny_agent_t* agent, const char* name)
{
    const OnAgent on(agent);
    if (!on) {
        return QNY_ERROR_ARGUMENT;
    }
    if (const qny_result_t result = checkName(name, "agent", true); result != QNY_SUCCESS) {
        return result;
    }
    if (on.agent->name != name) {
        // What was done under the old name is told under it.
        on.core.tellChanges();
        on.agent->name = name;
        on.core.changed(*on.agent);
    }
    return QNY_SUCCESS;
}

qny_result_t qny_agent_family_set(qny_agent_t* agent, const char* family)
{
    const OnAgent on(agent);
    if (!on) {
        return QNY_ERROR_ARGUMENT;
    }
    if (const qny_result_t result = checkFamily(family); result != QNY_SUCCESS) {
        return result;
    }
    on.agent->family = family ? family : "";
    return on.core.changed(*on.agent);
}

char* qny_agent_definition(qny_agent_t* agent)
{
    const OnAgent on(agent);
    return on ? duplicate(definitionText(*on.agent)) : nullptr;
}

qny_result_t qny_agent_definition_load(qny_agent_t* agent, const char* json)
{
    const OnAgent on(agent);
    if (!on) {
        return QNY_ERROR_ARGUMENT;
    }
    if (!json) {
        return fail(QNY_ERROR_ARGUMENT, "The definition is null.");
    }
    if (std::strlen(json) + on.agent->definitionBytes > wire::maxDefinitionBytes / 2) {
        return fail(
            QNY_ERROR_TOO_LARGE, "A definition has at most " + std::to_string(wire::maxDefinitionBytes) + " bytes.");
    }
    std::vector<std::string> newOutputs;
    if (const qny_result_t result = loadDefinition(json, *on.agent, newOutputs); result != QNY_SUCCESS) {
        return result;
    }
    on.core.changed(*on.agent);
    on.core.refreshMappings(*on.agent);
    for (const std::string& name : newOutputs) {
        on.core.outputAppeared(*on.agent, *on.agent->outputs.find(name));
    }
    return QNY_SUCCESS;
}

// ---- other agents
// ----------------------------------------------------------------------------------------------------

qny_result_t qny_observe_agents(qny_agent_event_fn callback, void* user_data)
{
    if (!callback) {
        return fail(QNY_ERROR_ARGUMENT, "The callback is null.");
    }
    Core& core = Core::instance();
    const Lock lock(core.mutex);
    const auto made = std::make_shared<Callback>(callback, user_data);
    core.observersToCome.push_back(made);
    core.dispatcher.push(NewObserver { made });
    return QNY_SUCCESS;
}

qny_result_t qny_unobserve_agents(qny_agent_event_fn callback, void* user_data)
{
    if (!callback) {
        return fail(QNY_ERROR_ARGUMENT, "The callback is null.");
    }
    Core& core = Core::instance();
    Lock lock(core.mutex);
    for (auto* list : { &core.agentObservers, &core.observersToCome }) {
        const auto it = std::ranges::find_if(*list, [&](const CallbackPtr& each) {
            return !each->removed && each->agentEvent == callback && each->userData == user_data;
        });
        if (it != list->end()) {
            const CallbackPtr found = *it;
            list->erase(it);
            endCallbacks(core, lock, { found });
            return QNY_SUCCESS;
        }
    }
    return fail(QNY_ERROR_UNKNOWN, "This callback does not observe agents with this user data.");
}

bool qny_agent_is_present(const char* agent_name_or_uuid)
{
    if (!agent_name_or_uuid) {
        return false;
    }
    const Core& core = Core::instance();
    const Lock lock(Core::instance().mutex);
    return std::ranges::any_of(core.find(agent_name_or_uuid), [](const auto& each) { return !each.first->isSelf; });
}

int64_t qny_agent_silence_ms(const char* agent_uuid)
{
    const Core& core = Core::instance();
    const Lock lock(Core::instance().mutex);
    const Peer* peer = otherOwner(core, agent_uuid);
    return peer ? steadyMilliseconds() - peer->spokeAt : -1;
}

bool qny_agent_is_heard(const char* agent_uuid)
{
    const Core& core = Core::instance();
    const Lock lock(Core::instance().mutex);
    const Peer* peer = otherOwner(core, agent_uuid);
    const int64_t now = steadyMilliseconds();
    // Some time after it stood still, this process knows who has given it up meanwhile.
    return peer && !peer->isQuiet(now - peer->spokeAt)
        && peer->isQuiet(now - core.stoodStillUntil - 2 * renewalMilliseconds);
}

qny_result_t qny_request_stop(const char* agent_uuid)
{
    if (!agent_uuid) {
        return fail(QNY_ERROR_ARGUMENT, "The agent's uuid is null.");
    }
    Core& core = Core::instance();
    const Lock lock(core.mutex);
    return core.requestStop(core.defaultAgent(), agent_uuid);
}

qny_result_t qny_observe_stop_requests(qny_stop_fn callback, void* user_data)
{
    Core& core = Core::instance();
    Lock lock(core.mutex);
    const CallbackPtr old = core.stopCallback;
    core.stopCallback = callback ? std::make_shared<Callback>(callback, user_data) : nullptr;
    if ((old == nullptr) != (core.stopCallback == nullptr)) {
        core.markAllChanged();
    }
    endCallbacks(core, lock, { old });
    return QNY_SUCCESS;
}

// ---- the default agent
// -----------------------------------------------------------------------------------------------

qny_result_t qny_name_set(const char* name)
{
    return qny_agent_name_set(qny_default_agent(), name);
}

char* qny_name(void)
{
    return qny_agent_name(qny_default_agent());
}

char* qny_uuid(void)
{
    return qny_agent_uuid(qny_default_agent());
}

qny_result_t qny_family_set(const char* family)
{
    return qny_agent_family_set(qny_default_agent(), family);
}
