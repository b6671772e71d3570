// SPDX-License-Identifier: Apache-2.0
// The exported functions that concern services and calls.
#include "api.h"

#include "service_arguments.h"

#include <utility>

using namespace qny;

namespace {

void forgetArguments(Agent& agent, Service& service)
{
    for (const ServiceArgument& argument : service.arguments) {
        agent.definitionBytes -= declarationBytes(argument.name);
    }
    service.arguments.clear();
}

} // namespace

qny_result_t qny_agent_service_init(qny_agent_t* agent, const char* name, qny_service_fn callback, void* user_data)
{
    OnAgent on(agent);
    if (!on) {
        return QNY_ERROR_ARGUMENT;
    }
    if (const qny_result_t result = checkName(name, "service"); result != QNY_SUCCESS) {
        return result;
    }
    if (!callback) {
        return fail(QNY_ERROR_ARGUMENT, "The callback is null.");
    }
    Service* service = on.agent->services.find(name);
    if (!service) {
        if (const qny_result_t result = checkRoom(*on.agent, name); result != QNY_SUCCESS) {
            return result;
        }
        on.agent->definitionBytes += declarationBytes(name);
        service = &on.agent->services.add(name);
    }
    const CallbackPtr old = std::exchange(service->callback, std::make_shared<Callback>(callback, user_data));
    forgetArguments(*on.agent, *service);
    on.core.changed(*on.agent);
    if (old) {
        old->removed = true;
        on.core.dispatcher.awaitEnd(on.lock, old);
    }
    return QNY_SUCCESS;
}

qny_result_t qny_agent_service_arg_add(
    qny_agent_t* agent, const char* service, const char* arg_name, qny_value_type_t type)
{
    const OnAgent on(agent);
    if (!on) {
        return QNY_ERROR_ARGUMENT;
    }
    if (!service) {
        return fail(QNY_ERROR_ARGUMENT, "The name of the service is null.");
    }
    if (const qny_result_t result = checkName(arg_name, "argument"); result != QNY_SUCCESS) {
        return result;
    }
    if (!isValueType(type) || type == QNY_IMPULSE_T) {
        return fail(QNY_ERROR_ARGUMENT, "An argument is a bool, an integer, a double, a string or data.");
    }
    Service* found = on.agent->services.find(service);
    if (!found) {
        return unknown(*on.agent, "service", service);
    }
    if (found->arguments.size() >= wire::maxArguments) {
        return fail(QNY_ERROR_TOO_LARGE, "A service has at most " + std::to_string(wire::maxArguments) + " arguments.");
    }
    if (const qny_result_t result = checkRoom(*on.agent, arg_name); result != QNY_SUCCESS) {
        return result;
    }
    on.agent->definitionBytes += declarationBytes(arg_name);
    found->arguments.push_back({ arg_name, type });
    return on.core.changed(*on.agent);
}

qny_result_t qny_agent_service_remove(qny_agent_t* agent, const char* name)
{
    OnAgent on(agent);
    if (!on) {
        return QNY_ERROR_ARGUMENT;
    }
    if (const qny_result_t result = checkName(name, "service"); result != QNY_SUCCESS) {
        return result;
    }
    Service* service = on.agent->services.find(name);
    if (!service) {
        return unknown(*on.agent, "service", name);
    }
    const CallbackPtr old = service->callback;
    forgetArguments(*on.agent, *service);
    on.agent->definitionBytes -= declarationBytes(name);
    on.agent->services.remove(name);
    on.core.changed(*on.agent);
    if (old) {
        old->removed = true;
        on.core.dispatcher.awaitEnd(on.lock, old);
    }
    return QNY_SUCCESS;
}

qny_result_t qny_agent_service_call(
    qny_agent_t* from, const char* agent_name_or_uuid, const char* service, qny_service_arg_t** list, const char* token)
{
    // The list is ours from here on, whatever comes of the call.
    struct Taken
    {
        explicit Taken(qny_service_arg_t** from)
            : first(from ? std::exchange(*from, nullptr) : nullptr)
        {
        }
        Taken(const Taken&) = delete;
        Taken& operator=(const Taken&) = delete;
        ~Taken() { freeArguments(first); }
        qny_service_arg_t* first;
    } const taken(list);
    OnAgent on(from);
    if (!on) {
        return QNY_ERROR_ARGUMENT;
    }
    if (!agent_name_or_uuid) {
        return fail(QNY_ERROR_ARGUMENT, "The agent to be called is null.");
    }
    if (const qny_result_t result = checkName(service, "service"); result != QNY_SUCCESS) {
        return result;
    }
    return on.core.call(on.lock, on.agent, agent_name_or_uuid, service, taken.first, token);
}

qny_result_t qny_service_init(const char* name, qny_service_fn callback, void* user_data)
{
    return qny_agent_service_init(qny_default_agent(), name, callback, user_data);
}

qny_result_t qny_service_arg_add(const char* service, const char* arg_name, qny_value_type_t type)
{
    return qny_agent_service_arg_add(qny_default_agent(), service, arg_name, type);
}

qny_result_t qny_service_remove(const char* name)
{
    return qny_agent_service_remove(qny_default_agent(), name);
}

bool qny_service_exists(const char* name)
{
    const OnAgent on(qny_default_agent());
    return name && on.agent->services.find(name);
}

qny_result_t qny_service_call(
    const char* agent_name_or_uuid, const char* service, qny_service_arg_t** list, const char* token)
{
    return qny_agent_service_call(qny_default_agent(), agent_name_or_uuid, service, list, token);
}
