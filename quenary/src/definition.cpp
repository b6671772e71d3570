// SPDX-License-Identifier: Apache-2.0
// The definition of an agent as JSON.
#include "core.h"

#include <nlohmann/json.hpp>

namespace qny {

namespace {

using Json = nlohmann::ordered_json;
// What others wrote: in one that keeps the order every name is compared with all before it.
using Parsed = nlohmann::json;

Json declaration(const std::string& name, qny_value_type_t type)
{
    return Json { { "name", name }, { "type", qny_value_type_text(type) } };
}

struct Declared
{
    std::string name;
    qny_value_type_t type;
};

// Reads an array of {"name", "type"}; says what is wrong, or nothing.
std::string readDeclarations(const Parsed& object, const char* key, std::vector<Declared>& into)
{
    const auto it = object.find(key);
    if (it == object.end()) {
        return {};
    }
    if (!it->is_array() || it->size() > maxDeclarations) {
        return std::string("\"") + key + "\" is no array, or too long";
    }
    for (const Parsed& each : *it) {
        if (!each.is_object()) {
            return std::string("an element of \"") + key + "\" is no object";
        }
        const auto name = each.find("name");
        const auto type = each.find("type");
        if (name == each.end() || !name->is_string()) {
            return std::string("an element of \"") + key + "\" has no name";
        }
        const qny_value_type_t known = type != each.end() && type->is_string()
            ? qny_value_type_from_text(type->get_ref<const std::string&>().c_str())
            : QNY_UNKNOWN_T;
        if (known == QNY_UNKNOWN_T) {
            return std::string("the type of an element of \"") + key + "\" is unknown";
        }
        into.push_back({ name->get<std::string>(), known });
    }
    return {};
}

struct Definition
{
    std::string family;
    std::vector<Declared> inputs;
    std::vector<Declared> outputs;
    std::vector<std::pair<std::string, std::vector<Declared>>> services;
};

std::string readServices(const Parsed& object, Definition& into)
{
    const auto it = object.find("services");
    if (it == object.end()) {
        return {};
    }
    if (!it->is_array() || it->size() > maxDeclarations) {
        return "\"services\" is no array, or too long";
    }
    for (const Parsed& each : *it) {
        const auto name = each.is_object() ? each.find("name") : each.end();
        if (!each.is_object() || name == each.end() || !name->is_string()) {
            return "a service has no name";
        }
        std::vector<Declared> arguments;
        if (const std::string problem = readDeclarations(each, "arguments", arguments); !problem.empty()) {
            return problem;
        }
        if (arguments.size() > wire::maxArguments) {
            return "a service has too many arguments";
        }
        into.services.emplace_back(name->get<std::string>(), std::move(arguments));
    }
    return {};
}

std::string checkNames(const Definition& definition)
{
    const auto check = [](const std::string& name) { return nameProblem(name, false); };
    for (const auto* list : { &definition.inputs, &definition.outputs }) {
        for (const Declared& each : *list) {
            if (const std::string problem = check(each.name); !problem.empty()) {
                return problem;
            }
        }
    }
    for (const auto& [name, arguments] : definition.services) {
        if (std::string problem = check(name); !problem.empty()) {
            return problem;
        }
        for (const Declared& argument : arguments) {
            if (std::string problem = check(argument.name); !problem.empty()) {
                return problem;
            }
        }
    }
    return {};
}

std::string parse(std::string_view text, Definition& into)
{
    const Parsed json = Parsed::parse(text, nullptr, false);
    if (!json.is_object()) {
        return "it is no JSON object";
    }
    if (const auto family = json.find("family"); family != json.end()) {
        if (!family->is_string() || family->get_ref<const std::string&>().size() > maxNameBytes) {
            return "\"family\" is no string, or too long";
        }
        into.family = family->get<std::string>();
    }
    for (const auto& [key, list] : { std::pair { "inputs", &into.inputs }, std::pair { "outputs", &into.outputs } }) {
        if (std::string problem = readDeclarations(json, key, *list); !problem.empty()) {
            return problem;
        }
    }
    if (std::string problem = readServices(json, into); !problem.empty()) {
        return problem;
    }
    return checkNames(into);
}

} // namespace

std::string definitionText(const Agent& agent)
{
    Json inputs = Json::array();
    for (const auto& input : agent.inputs) {
        inputs.push_back(declaration(input->name, input->type));
    }
    Json outputs = Json::array();
    for (const auto& output : agent.outputs) {
        outputs.push_back(declaration(output->name, output->type));
    }
    Json services = Json::array();
    for (const auto& service : agent.services) {
        Json arguments = Json::array();
        for (const ServiceArgument& argument : service->arguments) {
            arguments.push_back(declaration(argument.name, argument.type));
        }
        services.push_back(Json { { "name", service->name }, { "arguments", std::move(arguments) } });
    }
    const Json json { { "family", agent.family }, { "inputs", std::move(inputs) }, { "outputs", std::move(outputs) },
        { "services", std::move(services) } };
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::string readDefinition(std::string_view json, AgentRecord& into)
{
    Definition definition;
    if (std::string problem = parse(json, definition); !problem.empty()) {
        return problem;
    }
    into.family = definition.family;
    for (const Declared& output : definition.outputs) {
        into.outputs.insert(output.name);
    }
    return {};
}

qny_result_t loadDefinition(std::string_view json, Agent& into, std::vector<std::string>& newOutputs)
{
    Definition definition;
    if (const std::string problem = parse(json, definition); !problem.empty()) {
        return fail(QNY_ERROR_ARGUMENT, "The definition cannot be loaded: " + problem + ".");
    }
    if (into.family.empty()) {
        into.family = definition.family;
    }
    for (const Declared& each : definition.inputs) {
        if (!into.inputs.find(each.name)) {
            into.inputs.add(each.name).type = each.type;
            into.definitionBytes += declarationBytes(each.name);
        }
    }
    for (const Declared& each : definition.outputs) {
        if (!into.outputs.find(each.name)) {
            Output& output = into.outputs.add(each.name);
            output.type = each.type;
            into.definitionBytes += declarationBytes(each.name);
            if (const auto it = into.retiredSequences.find(each.name); it != into.retiredSequences.end()) {
                output.sequence = it->second;
            }
            newOutputs.push_back(each.name);
        }
    }
    for (const auto& [name, arguments] : definition.services) {
        if (!into.services.find(name)) {
            Service& service = into.services.add(name);
            into.definitionBytes += declarationBytes(name);
            for (const Declared& each : arguments) {
                service.arguments.push_back({ each.name, each.type });
                into.definitionBytes += declarationBytes(each.name);
            }
        }
    }
    return QNY_SUCCESS;
}

} // namespace qny
