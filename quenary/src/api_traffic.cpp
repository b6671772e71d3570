// SPDX-License-Identifier: Apache-2.0
// The exported functions that concern outputs, inputs, mappings and monitors.
#include "api.h"

#include "handed_out.h"

#include <algorithm>

using namespace qny;

namespace {

qny_result_t readFirstValue(qny_value_type_t type, const void* value, size_t size, bool& hasValue, Value& into)
{
    if (!isValueType(type)) {
        return fail(QNY_ERROR_ARGUMENT,
            "There is no type of value with the number " + std::to_string(static_cast<int>(type)) + ".");
    }
    hasValue = value != nullptr;
    return hasValue ? readValue(type, value, size, into) : QNY_SUCCESS;
}

template <typename T> qny_result_t existsOtherwise(const T& item, qny_value_type_t type, const char* what)
{
    if (item.type == type) {
        return QNY_SUCCESS;
    }
    return fail(QNY_ERROR_EXISTS,
        std::string("The ") + what + " " + item.name + " exists, and its type is " + qny_value_type_text(item.type)
            + ", not " + qny_value_type_text(type) + ".");
}

// A value of the output's own type, where the caller has it, or in `converted`.
qny_result_t readFor(const Output& output, qny_value_type_t type, const void* value, size_t size,
    std::string_view& into, std::optional<Value>& converted)
{
    const qny_result_t result = readValue(type, value, size, into);
    if (result != QNY_SUCCESS || type == output.type) {
        return result;
    }
    converted = type == QNY_IMPULSE_T ? std::nullopt : convert(type, into, output.type);
    if (!converted) {
        return fail(QNY_ERROR_TYPE,
            "The output " + output.name + " is of type " + qny_value_type_text(output.type) + "; this "
                + qny_value_type_text(type) + " does not convert into it.");
    }
    into = converted->bytes;
    return QNY_SUCCESS;
}

qny_result_t checkDeclaration(const Agent& agent, const char* name, const char* what)
{
    const qny_result_t result = checkName(name, what);
    return result != QNY_SUCCESS ? result : checkRoom(agent, name);
}

} // namespace

// ---- outputs
// ---------------------------------------------------------------------------------------------------------

qny_result_t qny_agent_output_create(
    qny_agent_t* agent, const char* name, qny_value_type_t type, const void* value, size_t size)
{
    const OnAgent on(agent);
    if (!on) {
        return QNY_ERROR_ARGUMENT;
    }
    bool hasValue = false;
    Value first;
    if (const qny_result_t result = checkDeclaration(*on.agent, name, "output"); result != QNY_SUCCESS) {
        return result;
    }
    if (const qny_result_t result = readFirstValue(type, value, size, hasValue, first); result != QNY_SUCCESS) {
        return result;
    }
    if (const Output* known = on.agent->outputs.find(name)) {
        return existsOtherwise(*known, type, "output");
    }
    Output& output = on.agent->outputs.add(name);
    on.agent->definitionBytes += declarationBytes(name);
    output.type = type;
    output.hasValue = hasValue;
    output.value = std::move(first.bytes);
    output.valueTime = hasValue ? nowMicroseconds() : 0;
    if (const auto it = on.agent->retiredSequences.find(name); it != on.agent->retiredSequences.end()) {
        output.sequence = it->second;
    }
    on.core.changed(*on.agent);
    on.core.outputAppeared(*on.agent, output);
    return QNY_SUCCESS;
}

qny_result_t qny_agent_output_remove(qny_agent_t* agent, const char* name)
{
    const OnAgent on(agent);
    if (!on) {
        return QNY_ERROR_ARGUMENT;
    }
    if (const qny_result_t result = checkName(name, "output"); result != QNY_SUCCESS) {
        return result;
    }
    const Output* output = on.agent->outputs.find(name);
    if (!output) {
        return unknown(*on.agent, "output", name);
    }
    on.agent->retiredSequences[name] = output->sequence;
    on.agent->outputs.remove(name);
    on.agent->definitionBytes -= declarationBytes(name);
    return on.core.changed(*on.agent);
}

qny_result_t qny_agent_output_publish(qny_agent_t* agent, const char* name, qny_value_type_t type, const void* value,
    size_t size, int64_t time_us, uint64_t* sequence)
{
    const OnAgent on(agent);
    if (!on) {
        return QNY_ERROR_ARGUMENT;
    }
    if (!name) {
        return fail(QNY_ERROR_ARGUMENT, "The name of the output is null.");
    }
    Output* output = on.agent->outputs.find(name);
    if (!output) {
        return unknown(*on.agent, "output", name);
    }
    std::string_view bytes;
    std::optional<Value> converted;
    if (const qny_result_t result = readFor(*output, type, value, size, bytes, converted); result != QNY_SUCCESS) {
        return result;
    }
    return on.core.publish(*on.agent, *output, bytes, time_us, sequence);
}

qny_result_t qny_agent_output_preset(
    qny_agent_t* agent, const char* name, qny_value_type_t type, const void* value, size_t size)
{
    const OnAgent on(agent);
    if (!on) {
        return QNY_ERROR_ARGUMENT;
    }
    if (!name) {
        return fail(QNY_ERROR_ARGUMENT, "The name of the output is null.");
    }
    Output* output = on.agent->outputs.find(name);
    if (!output) {
        return unknown(*on.agent, "output", name);
    }
    std::string_view bytes;
    std::optional<Value> converted;
    if (const qny_result_t result = readFor(*output, type, value, size, bytes, converted); result != QNY_SUCCESS) {
        return result;
    }
    if (bytes.size() > on.core.options.maxMessageBytes) {
        return fail(
            QNY_ERROR_TOO_LARGE, "A value of " + std::to_string(bytes.size()) + " bytes is beyond max_message_bytes.");
    }
    output->hasValue = true;
    output->value.assign(bytes);
    output->valueTime = nowMicroseconds();
    return QNY_SUCCESS;
}

qny_result_t qny_output_create(const char* name, qny_value_type_t type, const void* value, size_t size)
{
    return qny_agent_output_create(qny_default_agent(), name, type, value, size);
}

qny_result_t qny_output_remove(const char* name)
{
    return qny_agent_output_remove(qny_default_agent(), name);
}

qny_result_t qny_output_publish(
    const char* name, qny_value_type_t type, const void* value, size_t size, int64_t time_us, uint64_t* sequence)
{
    return qny_agent_output_publish(qny_default_agent(), name, type, value, size, time_us, sequence);
}

qny_result_t qny_output_set_impulse(const char* name)
{
    return qny_output_publish(name, QNY_IMPULSE_T, nullptr, 0, 0, nullptr);
}

qny_result_t qny_output_set_bool(const char* name, bool value)
{
    return qny_output_publish(name, QNY_BOOL_T, &value, sizeof value, 0, nullptr);
}

qny_result_t qny_output_set_int(const char* name, int32_t value)
{
    return qny_output_publish(name, QNY_INTEGER_T, &value, sizeof value, 0, nullptr);
}

qny_result_t qny_output_set_double(const char* name, double value)
{
    return qny_output_publish(name, QNY_DOUBLE_T, &value, sizeof value, 0, nullptr);
}

qny_result_t qny_output_set_string(const char* name, const char* value)
{
    return qny_output_publish(name, QNY_STRING_T, value, value ? std::strlen(value) + 1 : 0, 0, nullptr);
}

qny_result_t qny_output_set_data(const char* name, const void* data, size_t size)
{
    return qny_output_publish(name, QNY_DATA_T, data, size, 0, nullptr);
}

// ---- inputs
// ----------------------------------------------------------------------------------------------------------

qny_result_t qny_agent_input_create(
    qny_agent_t* agent, const char* name, qny_value_type_t type, const void* value, size_t size)
{
    const OnAgent on(agent);
    if (!on) {
        return QNY_ERROR_ARGUMENT;
    }
    bool hasValue = false;
    Value first;
    if (const qny_result_t result = checkDeclaration(*on.agent, name, "input"); result != QNY_SUCCESS) {
        return result;
    }
    if (const qny_result_t result = readFirstValue(type, value, size, hasValue, first); result != QNY_SUCCESS) {
        return result;
    }
    if (const Input* known = on.agent->inputs.find(name)) {
        return existsOtherwise(*known, type, "input");
    }
    Input& input = on.agent->inputs.add(name);
    on.agent->definitionBytes += declarationBytes(name);
    input.type = type;
    input.hasValue = hasValue;
    input.value.set(first.bytes);
    on.core.changed(*on.agent);
    on.core.refreshMappings(*on.agent);
    return QNY_SUCCESS;
}

qny_result_t qny_agent_input_remove(qny_agent_t* agent, const char* name)
{
    OnAgent on(agent);
    if (!on) {
        return QNY_ERROR_ARGUMENT;
    }
    if (const qny_result_t result = checkName(name, "input"); result != QNY_SUCCESS) {
        return result;
    }
    const Input* input = on.agent->inputs.find(name);
    if (!input) {
        return unknown(*on.agent, "input", name);
    }
    const std::vector<CallbackPtr> observers = input->observers;
    on.agent->inputs.remove(name);
    on.agent->definitionBytes -= declarationBytes(name);
    on.core.refreshMappings(*on.agent);
    on.core.changed(*on.agent);
    for (const CallbackPtr& each : observers) {
        each->removed = true;
    }
    for (const CallbackPtr& each : observers) {
        on.core.dispatcher.awaitEnd(on.lock, each);
    }
    return QNY_SUCCESS;
}

namespace {

template <typename Function>
qny_result_t observe(qny_agent_t* agent, const char* name, Function callback, void* userData)
{
    const OnAgent on(agent);
    if (!on) {
        return QNY_ERROR_ARGUMENT;
    }
    if (!name || !callback) {
        return fail(QNY_ERROR_ARGUMENT, name ? "The callback is null." : "The name of the input is null.");
    }
    Input* input = on.agent->inputs.find(name);
    if (!input) {
        return unknown(*on.agent, "input", name);
    }
    input->observers.push_back(std::make_shared<Callback>(callback, userData));
    return QNY_SUCCESS;
}

} // namespace

qny_result_t qny_agent_observe_input(qny_agent_t* agent, const char* name, qny_io_fn callback, void* user_data)
{
    return observe(agent, name, callback, user_data);
}

qny_result_t qny_agent_observe_input_publications(
    qny_agent_t* agent, const char* name, qny_publication_fn callback, void* user_data)
{
    return observe(agent, name, callback, user_data);
}

uint64_t qny_agent_input_lost(qny_agent_t* agent, const char* name)
{
    const OnAgent on(agent);
    const Input* input = on && name ? on.agent->inputs.find(name) : nullptr;
    return input ? input->lost : 0;
}

qny_result_t qny_input_create(const char* name, qny_value_type_t type, const void* value, size_t size)
{
    return qny_agent_input_create(qny_default_agent(), name, type, value, size);
}

qny_result_t qny_input_remove(const char* name)
{
    return qny_agent_input_remove(qny_default_agent(), name);
}

bool qny_input_exists(const char* name)
{
    const OnAgent on(qny_default_agent());
    return name && on.agent->inputs.find(name);
}

qny_result_t qny_observe_input(const char* name, qny_io_fn callback, void* user_data)
{
    return qny_agent_observe_input(qny_default_agent(), name, callback, user_data);
}

qny_result_t qny_observe_input_publications(const char* name, qny_publication_fn callback, void* user_data)
{
    return qny_agent_observe_input_publications(qny_default_agent(), name, callback, user_data);
}

uint64_t qny_input_lost(const char* name)
{
    return qny_agent_input_lost(qny_default_agent(), name);
}

namespace {

// The bytes of the input's value if it has one of this type, else nothing.
std::optional<std::string> inputBytes(const char* name, qny_value_type_t type)
{
    const OnAgent on(qny_default_agent());
    const Input* input = name ? on.agent->inputs.find(name) : nullptr;
    if (!input || input->type != type || !input->hasValue) {
        return std::nullopt;
    }
    return std::string(input->value.bytes());
}

} // namespace

bool qny_input_bool(const char* name)
{
    const auto bytes = inputBytes(name, QNY_BOOL_T);
    return bytes && (*bytes)[0] != '\0';
}

int32_t qny_input_int(const char* name)
{
    const auto bytes = inputBytes(name, QNY_INTEGER_T);
    return bytes ? scalar<int32_t>(*bytes) : 0;
}

double qny_input_double(const char* name)
{
    const auto bytes = inputBytes(name, QNY_DOUBLE_T);
    return bytes ? scalar<double>(*bytes) : 0.0;
}

char* qny_input_string(const char* name)
{
    const auto bytes = inputBytes(name, QNY_STRING_T);
    return bytes ? duplicate(bytes->c_str()) : nullptr;
}

// ---- mappings
// --------------------------------------------------------------------------------------------------------

namespace {

qny_result_t checkMapping(const char* input, const char* agent, const char* output)
{
    if (const qny_result_t result = checkName(input, "input"); result != QNY_SUCCESS) {
        return result;
    }
    if (const qny_result_t result = checkName(agent, "agent", true); result != QNY_SUCCESS) {
        return result;
    }
    return checkName(output, "output");
}

MappingPtr findMapping(const Agent& agent, std::string_view input, std::string_view toAgent, std::string_view output)
{
    const auto it = std::ranges::find_if(agent.mappings, [&](const MappingPtr& each) {
        return each->input == input && each->toAgent == toAgent && each->output == output;
    });
    return it == agent.mappings.end() ? nullptr : *it;
}

} // namespace

qny_result_t qny_agent_mapping_add(
    qny_agent_t* agent, const char* from_our_input, const char* to_agent, const char* with_output)
{
    const OnAgent on(agent);
    if (!on) {
        return QNY_ERROR_ARGUMENT;
    }
    if (const qny_result_t result = checkMapping(from_our_input, to_agent, with_output); result != QNY_SUCCESS) {
        return result;
    }
    if (findMapping(*on.agent, from_our_input, to_agent, with_output)) {
        return QNY_SUCCESS;
    }
    const auto mapping = std::make_shared<Mapping>();
    mapping->input = from_our_input;
    mapping->toAgent = to_agent;
    mapping->output = with_output;
    on.core.addMapping(on.agent, mapping);
    return QNY_SUCCESS;
}

qny_result_t qny_agent_mapping_remove_with_name(
    qny_agent_t* agent, const char* from_our_input, const char* to_agent, const char* with_output)
{
    const OnAgent on(agent);
    if (!on) {
        return QNY_ERROR_ARGUMENT;
    }
    if (const qny_result_t result = checkMapping(from_our_input, to_agent, with_output); result != QNY_SUCCESS) {
        return result;
    }
    const MappingPtr mapping = findMapping(*on.agent, from_our_input, to_agent, with_output);
    if (!mapping) {
        return fail(QNY_ERROR_UNKNOWN,
            "The agent " + on.agent->name + " has no mapping of its input " + from_our_input + " to " + to_agent + "."
                + with_output + ".");
    }
    on.core.removeMapping(*on.agent, mapping);
    return QNY_SUCCESS;
}

qny_result_t qny_mapping_add(const char* from_our_input, const char* to_agent, const char* with_output)
{
    return qny_agent_mapping_add(qny_default_agent(), from_our_input, to_agent, with_output);
}

qny_result_t qny_mapping_remove_with_name(const char* from_our_input, const char* to_agent, const char* with_output)
{
    return qny_agent_mapping_remove_with_name(qny_default_agent(), from_our_input, to_agent, with_output);
}

bool qny_mapping_is_live(const char* from_our_input, const char* to_agent, const char* with_output)
{
    if (!from_our_input || !to_agent || !with_output) {
        return false;
    }
    const OnAgent on(qny_default_agent());
    const MappingPtr mapping = findMapping(*on.agent, from_our_input, to_agent, with_output);
    return mapping && on.core.isLive(*mapping);
}

// ---- monitors
// --------------------------------------------------------------------------------------------------------

qny_result_t qny_monitor_add(const char* agent_uuid, qny_publication_fn callback, void* user_data)
{
    if (!agent_uuid || !callback) {
        return fail(QNY_ERROR_ARGUMENT, agent_uuid ? "The callback is null." : "The agent's uuid is null.");
    }
    Core& core = Core::instance();
    const Lock lock(core.mutex);
    const auto uuid = uuidFromText(agent_uuid);
    if (!uuid) {
        return fail(QNY_ERROR_UNKNOWN_AGENT, "'" + printable(agent_uuid) + "' is no uuid.");
    }
    return core.addMonitor(*uuid, std::make_shared<Callback>(callback, user_data));
}

qny_result_t qny_monitor_remove(const char* agent_uuid)
{
    if (!agent_uuid) {
        return fail(QNY_ERROR_ARGUMENT, "The agent's uuid is null.");
    }
    Core& core = Core::instance();
    Lock lock(core.mutex);
    const auto uuid = uuidFromText(agent_uuid);
    if (uuid) {
        core.monitorCounts.erase(*uuid);
    }
    if (!uuid || !core.monitors.contains(*uuid)) {
        return fail(QNY_ERROR_UNKNOWN, "There is no monitor of the agent '" + printable(agent_uuid) + "'.");
    }
    core.removeMonitor(lock, *uuid, true);
    return QNY_SUCCESS;
}
