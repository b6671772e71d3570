// SPDX-License-Identifier: Apache-2.0
#include "standins.h"

#include "../dates.h"

#include <QDebug>
#include <QJsonDocument>
#include <QJsonObject>

namespace recorder {

namespace {

/// A value as the network library takes it.
struct RawValue
{
    qny_value_type_t type;
    const void* value;
    size_t size;
};

RawValue rawOf(const ValueView& view, std::string& text)
{
    switch (view.type) {
    case ValueType::Impulse:
        break;
    case ValueType::Bool:
        return { QNY_BOOL_T, &view.boolean, sizeof view.boolean };
    case ValueType::Integer:
        return { QNY_INTEGER_T, &view.integer, sizeof view.integer };
    case ValueType::Double:
        return { QNY_DOUBLE_T, &view.real, sizeof view.real };
    case ValueType::String:
        text.assign(view.bytes);
        return { QNY_STRING_T, text.c_str(), text.size() + 1 };
    case ValueType::Data:
        return { QNY_DATA_T, view.bytes.data(), view.bytes.size() };
    }
    return { QNY_IMPULSE_T, nullptr, 0 };
}

} // namespace

StandIns::Agent::~Agent()
{
    qny_agent_destroy(handle);
}

StandIns::StandIns(std::shared_ptr<OutputNames> names, Options options)
    : _names(std::move(names))
    , _options(std::move(options))
{
}

StandIns::~StandIns() = default;

bool StandIns::show(const std::vector<AgentDefinition>& agents)
{
    std::set<std::string> wanted;
    bool hasMade = false;
    for (const AgentDefinition& definition : agents) {
        wanted.insert(definition.agent);
        if (_agents.contains(definition.agent)) {
            continue;
        }
        if (std::unique_ptr<Agent> agent = make(definition)) {
            _agents.emplace(definition.agent, std::move(agent));
            hasMade = true;
        }
    }
    std::erase_if(_agents, [&](const auto& entry) { return !wanted.contains(entry.first); });
    _byOutput.clear();
    _isLookedUp.clear();
    return hasMade;
}

bool StandIns::remove(const std::string& agent)
{
    _byOutput.clear();
    _isLookedUp.clear();
    return _agents.erase(agent) > 0;
}

std::unique_ptr<StandIns::Agent> StandIns::make(const AgentDefinition& definition)
{
    const QByteArray json = QByteArray::fromStdString(definition.json);
    const QByteArray family = QJsonDocument::fromJson(json).object().value(QLatin1String("family")).toString().toUtf8();
    qny_agent_options_t options {};
    options.family = family.isEmpty() ? nullptr : family.constData();
    options.stand_in = true;
    qny_agent_t* handle = qny_agent_new(definition.agent.c_str(), &options);
    if (!handle) {
        qWarning().noquote() << "Agent" << definition.agent.c_str() << "cannot be replayed:" << qny_last_error();
        return nullptr;
    }
    auto agent = std::make_unique<Agent>(handle);
    if (!json.isEmpty() && qny_agent_definition_load(handle, json.constData()) != QNY_SUCCESS) {
        qWarning().noquote() << "The definition of agent" << definition.agent.c_str()
                             << "cannot be used:" << qny_last_error();
    }
    if (qny_agent_activate(handle) != QNY_SUCCESS) {
        qWarning().noquote() << "Agent" << definition.agent.c_str() << "cannot be shown:" << qny_last_error();
    }
    return agent;
}

bool StandIns::publish(uint32_t output, const ValueView& value, int64_t timeUs)
{
    if (output >= _byOutput.size()) {
        _byOutput.resize(output + 1, nullptr);
        _isLookedUp.resize(output + 1, false);
    }
    const OutputNames::Name& name = _names->name(output);
    if (!_isLookedUp[output]) {
        const auto found = _agents.find(name.agent);
        _byOutput[output] = found == _agents.end() ? nullptr : found->second.get();
        _isLookedUp[output] = true;
    }
    Agent* agent = _byOutput[output];
    if (!agent) {
        return false;
    }
    const int64_t epochUs = _options.isTimestamped ? momentOf(_options.recordStartUs, timeUs) : 0;
    if (publishOn(*agent, name.output.c_str(), value, epochUs) != QNY_SUCCESS
        && agent->troubles.insert(name.output).second) {
        qWarning().noquote() << "Output" << name.output.c_str() << "of" << name.agent.c_str()
                             << "cannot be replayed:" << qny_last_error();
    }
    return true;
}

qny_result_t StandIns::publishOn(Agent& agent, const char* output, const ValueView& value, int64_t epochUs)
{
    const RawValue raw = rawOf(value, _text);
    qny_result_t result
        = qny_agent_output_publish(agent.handle, output, raw.type, raw.value, raw.size, epochUs, nullptr);
    if (result != QNY_ERROR_UNKNOWN && result != QNY_ERROR_TYPE) {
        return result;
    }
    // The recorded definition does not know what the recorded agent did: an output that came and went, or changed type.
    if (result == QNY_ERROR_TYPE) {
        qny_agent_output_remove(agent.handle, output);
    }
    result = qny_agent_output_create(agent.handle, output, raw.type, nullptr, 0);
    if (result != QNY_SUCCESS) {
        return result;
    }
    return qny_agent_output_publish(agent.handle, output, raw.type, raw.value, raw.size, epochUs, nullptr);
}

} // namespace recorder
