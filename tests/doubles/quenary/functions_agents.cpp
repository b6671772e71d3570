// SPDX-License-Identifier: Apache-2.0
#include "state.h"

#include <QtCore/QUuid>

#include <algorithm>

using namespace QuenaryDouble;

// Each verb exists twice: with an agent's handle, and for the default agent. One function here does the work of both,
// and is told the name under which the call is recorded.

namespace {

QString text(const char* utf8)
{
    return QString::fromUtf8(utf8);
}

qny_agent* self()
{
    return &state().defaultAgent;
}

qny_result_t createOutput(const char* function, qny_agent* agent, const char* name, qny_value_type_t type)
{
    const auto locker = lock();
    const qny_result_t result = record(function, { text(name), typeText(type) });
    if (result != QNY_SUCCESS || findNamed(agent->outputs, name)) {
        return result;
    }
    agent->outputs.append({ text(name), type, 0 });
    return result;
}

qny_result_t removeOutput(const char* function, qny_agent* agent, const char* name)
{
    const auto locker = lock();
    const qny_result_t result = record(function, { text(name) });
    if (result != QNY_SUCCESS) {
        return result;
    }
    const qsizetype removed
        = agent->outputs.removeIf([name](const qny_agent::Output& output) { return output.name == text(name); });
    return removed > 0 ? QNY_SUCCESS : fail(QNY_ERROR_UNKNOWN);
}

qny_result_t publish(const char* function, qny_agent* agent, const char* name, qny_value_type_t type, const void* value,
    size_t size, uint64_t* sequence)
{
    const auto locker = lock();
    const qny_result_t result = record(function, { text(name), toVariant(type, value, size).toString() });
    if (result != QNY_SUCCESS) {
        return result;
    }
    qny_agent::Output* const output = findNamed(agent->outputs, name);
    if (!output) {
        return fail(QNY_ERROR_UNKNOWN);
    }
    ++output->sequence;
    if (sequence) {
        *sequence = output->sequence;
    }
    return QNY_SUCCESS;
}

qny_result_t createInput(
    const char* function, qny_agent* agent, const char* name, qny_value_type_t type, const void* value, size_t size)
{
    const auto locker = lock();
    const qny_result_t result = record(function, { text(name), typeText(type) });
    if (result != QNY_SUCCESS || findNamed(agent->inputs, name)) {
        return result;
    }
    agent->inputs.append({ text(name), type, toVariant(type, value, size), {} });
    return result;
}

qny_result_t removeInput(const char* function, qny_agent* agent, const char* name)
{
    const auto locker = lock();
    const qny_result_t result = record(function, { text(name) });
    if (result != QNY_SUCCESS) {
        return result;
    }
    const qsizetype removed
        = agent->inputs.removeIf([name](const qny_agent::Input& input) { return input.name == text(name); });
    return removed > 0 ? QNY_SUCCESS : fail(QNY_ERROR_UNKNOWN);
}

qny_result_t observeInput(const char* function, qny_agent* agent, const char* name, const qny_agent::Observer& observer)
{
    const auto locker = lock();
    const qny_result_t result = record(function, { text(name) });
    if (result != QNY_SUCCESS) {
        return result;
    }
    qny_agent::Input* const input = findNamed(agent->inputs, name);
    if (!input) {
        return fail(QNY_ERROR_UNKNOWN);
    }
    input->observers.append(observer);
    return QNY_SUCCESS;
}

QVariant inputValue(const char* name)
{
    const auto locker = lock();
    const qny_agent::Input* const input = findNamed(self()->inputs, name);
    return input ? input->value : QVariant();
}

qny_result_t addMapping(
    const char* function, qny_agent* agent, const char* input, const char* toAgent, const char* output)
{
    const auto locker = lock();
    const QStringList mapping { text(input), text(toAgent), text(output) };
    const qny_result_t result = record(function, mapping);
    if (result == QNY_SUCCESS && !agent->mappings.contains(mapping.join(u' '))) {
        agent->mappings.append(mapping.join(u' '));
    }
    return result;
}

qny_result_t removeMapping(
    const char* function, qny_agent* agent, const char* input, const char* toAgent, const char* output)
{
    const auto locker = lock();
    const QStringList mapping { text(input), text(toAgent), text(output) };
    const qny_result_t result = record(function, mapping);
    if (result != QNY_SUCCESS) {
        return result;
    }
    return agent->mappings.removeAll(mapping.join(u' ')) > 0 ? QNY_SUCCESS : fail(QNY_ERROR_UNKNOWN);
}

qny_result_t initService(
    const char* function, qny_agent* agent, const char* name, qny_service_fn callback, void* userData)
{
    const auto locker = lock();
    const qny_result_t result = record(function, { text(name) });
    if (result != QNY_SUCCESS) {
        return result;
    }
    qny_agent::Service* service = findNamed(agent->services, name);
    if (!service) {
        agent->services.append(qny_agent::Service());
        service = &agent->services.last();
    }
    *service = { text(name), callback, userData, {} };
    return QNY_SUCCESS;
}

qny_result_t addServiceArgument(
    const char* function, qny_agent* agent, const char* service, const char* argument, qny_value_type_t type)
{
    const auto locker = lock();
    const qny_result_t result = record(function, { text(service), text(argument), typeText(type) });
    if (result != QNY_SUCCESS) {
        return result;
    }
    qny_agent::Service* const found = findNamed(agent->services, service);
    if (!found) {
        return fail(QNY_ERROR_UNKNOWN);
    }
    found->arguments.append({ QByteArray(argument), type });
    return QNY_SUCCESS;
}

qny_result_t removeService(const char* function, qny_agent* agent, const char* name)
{
    const auto locker = lock();
    const qny_result_t result = record(function, { text(name) });
    if (result != QNY_SUCCESS) {
        return result;
    }
    const qsizetype removed
        = agent->services.removeIf([name](const qny_agent::Service& service) { return service.name == text(name); });
    return removed > 0 ? QNY_SUCCESS : fail(QNY_ERROR_UNKNOWN);
}

qny_result_t callService(
    const char* function, const char* agent, const char* service, qny_service_arg_t** list, const char* token)
{
    const auto locker = lock();
    ServiceCall call { text(agent), text(service), {}, list != nullptr, token ? text(token) : QString() };
    if (token && call.token.isNull()) {
        call.token = QStringLiteral("");
    }
    for (const qny_service_arg_t* argument = list ? *list : nullptr; argument; argument = argument->next) {
        const void* value = nullptr;
        switch (argument->type) {
        case QNY_STRING_T:
            value = argument->c;
            break;
        case QNY_DATA_T:
            value = argument->data ? argument->data : "";
            break;
        default:
            value = &argument->b;
        }
        call.arguments.append(toVariant(argument->type, value, argument->size));
    }
    qny_service_args_destroy(list);
    const qny_result_t result = record(function, { call.agent, call.service });
    if (result == QNY_SUCCESS) {
        state().serviceCalls.append(call);
    }
    return result;
}

} // namespace

// ---- agents of this process -------------------------------------------------------------------------------------

qny_agent_t* qny_default_agent(void)
{
    const auto locker = lock();
    return self();
}

qny_agent_t* qny_agent_new(const char* name, const qny_agent_options_t* options)
{
    const auto locker = lock();
    if (record("qny_agent_new", { text(name) }) != QNY_SUCCESS) {
        return nullptr;
    }
    auto agent = std::make_unique<qny_agent>();
    agent->name = text(name);
    agent->uuid = QUuid::createUuid().toString(QUuid::WithoutBraces);
    agent->family = text(options ? options->family : nullptr);
    state().otherAgents.push_back(std::move(agent));
    return state().otherAgents.back().get();
}

qny_result_t qny_agent_activate(qny_agent_t* agent)
{
    const auto locker = lock();
    agent->isActive = true;
    return record("qny_agent_activate", { agent->name });
}

qny_result_t qny_agent_deactivate(qny_agent_t* agent)
{
    const auto locker = lock();
    agent->isActive = false;
    return record("qny_agent_deactivate", { agent->name });
}

qny_result_t qny_agent_destroy(qny_agent_t* agent)
{
    const auto locker = lock();
    if (!isAgent(agent) || agent == self()) {
        return fail(QNY_ERROR_ARGUMENT);
    }
    const qny_result_t result = record("qny_agent_destroy", { agent->name });
    std::erase_if(state().otherAgents, [agent](const auto& other) { return other.get() == agent; });
    return result;
}

char* qny_agent_uuid(qny_agent_t* agent)
{
    const auto locker = lock();
    return copyText(agent->uuid.toUtf8());
}

char* qny_agent_name(qny_agent_t* agent)
{
    const auto locker = lock();
    return copyText(agent->name.toUtf8());
}

qny_result_t qny_agent_name_set(qny_agent_t* agent, const char* name)
{
    const auto locker = lock();
    agent->name = text(name);
    return record("qny_agent_name_set", { text(name) });
}

qny_result_t qny_agent_family_set(qny_agent_t* agent, const char* family)
{
    const auto locker = lock();
    agent->family = text(family);
    return record("qny_agent_family_set", { text(family) });
}

char* qny_agent_definition(qny_agent_t*)
{
    return copyText("{}");
}

qny_result_t qny_agent_definition_load(qny_agent_t* agent, const char* json)
{
    const auto locker = lock();
    return record("qny_agent_definition_load", { agent->name, text(json) });
}

qny_result_t qny_name_set(const char* name)
{
    const auto locker = lock();
    self()->name = text(name);
    return record("qny_name_set", { text(name) });
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
    const auto locker = lock();
    self()->family = text(family);
    return record("qny_family_set", { text(family) });
}

// ---- outputs ----------------------------------------------------------------------------------------------------

qny_result_t qny_agent_output_create(qny_agent_t* agent, const char* name, qny_value_type_t type, const void*, size_t)
{
    return createOutput("qny_agent_output_create", agent, name, type);
}

qny_result_t qny_agent_output_remove(qny_agent_t* agent, const char* name)
{
    return removeOutput("qny_agent_output_remove", agent, name);
}

qny_result_t qny_agent_output_publish(qny_agent_t* agent, const char* name, qny_value_type_t type, const void* value,
    size_t size, int64_t, uint64_t* sequence)
{
    return publish("qny_agent_output_publish", agent, name, type, value, size, sequence);
}

qny_result_t qny_agent_output_preset(
    qny_agent_t*, const char* name, qny_value_type_t type, const void* value, size_t size)
{
    const auto locker = lock();
    return record("qny_agent_output_preset", { text(name), toVariant(type, value, size).toString() });
}

qny_result_t qny_output_create(const char* name, qny_value_type_t type, const void*, size_t)
{
    return createOutput("qny_output_create", qny_default_agent(), name, type);
}

qny_result_t qny_output_remove(const char* name)
{
    return removeOutput("qny_output_remove", qny_default_agent(), name);
}

qny_result_t qny_output_publish(
    const char* name, qny_value_type_t type, const void* value, size_t size, int64_t, uint64_t* sequence)
{
    return publish("qny_output_publish", qny_default_agent(), name, type, value, size, sequence);
}

qny_result_t qny_output_set_impulse(const char* name)
{
    return publish("qny_output_set_impulse", qny_default_agent(), name, QNY_IMPULSE_T, nullptr, 0, nullptr);
}

qny_result_t qny_output_set_bool(const char* name, bool value)
{
    return publish("qny_output_set_bool", qny_default_agent(), name, QNY_BOOL_T, &value, sizeof value, nullptr);
}

qny_result_t qny_output_set_int(const char* name, int32_t value)
{
    return publish("qny_output_set_int", qny_default_agent(), name, QNY_INTEGER_T, &value, sizeof value, nullptr);
}

qny_result_t qny_output_set_double(const char* name, double value)
{
    return publish("qny_output_set_double", qny_default_agent(), name, QNY_DOUBLE_T, &value, sizeof value, nullptr);
}

qny_result_t qny_output_set_string(const char* name, const char* value)
{
    return publish("qny_output_set_string", qny_default_agent(), name, QNY_STRING_T, value, 0, nullptr);
}

qny_result_t qny_output_set_data(const char* name, const void* data, size_t size)
{
    return publish("qny_output_set_data", qny_default_agent(), name, QNY_DATA_T, data, size, nullptr);
}

// ---- inputs -----------------------------------------------------------------------------------------------------

qny_result_t qny_agent_input_create(
    qny_agent_t* agent, const char* name, qny_value_type_t type, const void* value, size_t size)
{
    return createInput("qny_agent_input_create", agent, name, type, value, size);
}

qny_result_t qny_agent_input_remove(qny_agent_t* agent, const char* name)
{
    return removeInput("qny_agent_input_remove", agent, name);
}

qny_result_t qny_agent_observe_input(qny_agent_t* agent, const char* name, qny_io_fn callback, void* userData)
{
    return observeInput("qny_agent_observe_input", agent, name, { callback, nullptr, userData });
}

qny_result_t qny_agent_observe_input_publications(
    qny_agent_t* agent, const char* name, qny_publication_fn callback, void* userData)
{
    return observeInput("qny_agent_observe_input_publications", agent, name, { nullptr, callback, userData });
}

uint64_t qny_agent_input_lost(qny_agent_t*, const char*)
{
    return 0;
}

qny_result_t qny_input_create(const char* name, qny_value_type_t type, const void* value, size_t size)
{
    return createInput("qny_input_create", qny_default_agent(), name, type, value, size);
}

qny_result_t qny_input_remove(const char* name)
{
    return removeInput("qny_input_remove", qny_default_agent(), name);
}

bool qny_input_exists(const char* name)
{
    const auto locker = lock();
    return findNamed(self()->inputs, name) != nullptr;
}

qny_result_t qny_observe_input(const char* name, qny_io_fn callback, void* userData)
{
    return observeInput("qny_observe_input", qny_default_agent(), name, { callback, nullptr, userData });
}

qny_result_t qny_observe_input_publications(const char* name, qny_publication_fn callback, void* userData)
{
    return observeInput("qny_observe_input_publications", qny_default_agent(), name, { nullptr, callback, userData });
}

uint64_t qny_input_lost(const char*)
{
    return 0;
}

bool qny_input_bool(const char* name)
{
    return inputValue(name).toBool();
}

int32_t qny_input_int(const char* name)
{
    return inputValue(name).toInt();
}

double qny_input_double(const char* name)
{
    return inputValue(name).toDouble();
}

char* qny_input_string(const char* name)
{
    const QVariant value = inputValue(name);
    return value.isValid() ? copyText(value.toString().toUtf8()) : nullptr;
}

// ---- mappings ---------------------------------------------------------------------------------------------------

qny_result_t qny_agent_mapping_add(qny_agent_t* agent, const char* input, const char* toAgent, const char* output)
{
    return addMapping("qny_agent_mapping_add", agent, input, toAgent, output);
}

qny_result_t qny_agent_mapping_remove_with_name(
    qny_agent_t* agent, const char* input, const char* toAgent, const char* output)
{
    return removeMapping("qny_agent_mapping_remove_with_name", agent, input, toAgent, output);
}

qny_result_t qny_mapping_add(const char* input, const char* toAgent, const char* output)
{
    return addMapping("qny_mapping_add", qny_default_agent(), input, toAgent, output);
}

qny_result_t qny_mapping_remove_with_name(const char* input, const char* toAgent, const char* output)
{
    return removeMapping("qny_mapping_remove_with_name", qny_default_agent(), input, toAgent, output);
}

bool qny_mapping_is_live(const char* input, const char* toAgent, const char* output)
{
    const auto locker = lock();
    return self()->mappings.contains(QStringList({ text(input), text(toAgent), text(output) }).join(u' '))
        && qny_agent_is_present(toAgent);
}

// ---- services ---------------------------------------------------------------------------------------------------

qny_result_t qny_agent_service_init(qny_agent_t* agent, const char* name, qny_service_fn callback, void* userData)
{
    return initService("qny_agent_service_init", agent, name, callback, userData);
}

qny_result_t qny_agent_service_arg_add(
    qny_agent_t* agent, const char* service, const char* argument, qny_value_type_t type)
{
    return addServiceArgument("qny_agent_service_arg_add", agent, service, argument, type);
}

qny_result_t qny_agent_service_remove(qny_agent_t* agent, const char* name)
{
    return removeService("qny_agent_service_remove", agent, name);
}

qny_result_t qny_agent_service_call(
    qny_agent_t*, const char* agent, const char* service, qny_service_arg_t** list, const char* token)
{
    return callService("qny_agent_service_call", agent, service, list, token);
}

qny_result_t qny_service_init(const char* name, qny_service_fn callback, void* userData)
{
    return initService("qny_service_init", qny_default_agent(), name, callback, userData);
}

qny_result_t qny_service_arg_add(const char* service, const char* argument, qny_value_type_t type)
{
    return addServiceArgument("qny_service_arg_add", qny_default_agent(), service, argument, type);
}

qny_result_t qny_service_remove(const char* name)
{
    return removeService("qny_service_remove", qny_default_agent(), name);
}

bool qny_service_exists(const char* name)
{
    const auto locker = lock();
    return findNamed(self()->services, name) != nullptr;
}

qny_result_t qny_service_call(const char* agent, const char* service, qny_service_arg_t** list, const char* token)
{
    return callService("qny_service_call", agent, service, list, token);
}
