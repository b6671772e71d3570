// SPDX-License-Identifier: Apache-2.0
// Definitions of agents: what others tell of theirs, and what a record's stand-ins are made from.
#include "fuzz.h"

#include "core.h"

using namespace qny;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string_view json = fuzz::text(data, size);
    AgentRecord record;
    const std::string problem = readDefinition(json, record);
    Agent agent;
    std::vector<std::string> newOutputs;
    const bool isLoaded = loadDefinition(json, agent, newOutputs) == QNY_SUCCESS;
    fuzz::expect(isLoaded == problem.empty(), "what may be shown can be loaded, and nothing else");
    if (!isLoaded) {
        return 0;
    }
    fuzz::expect(agent.outputs.size() == record.outputs.size() && newOutputs.size() == record.outputs.size(),
        "both find the same outputs");
    for (const auto& output : agent.outputs) {
        fuzz::expect(
            nameProblem(output->name, false).empty() && isValueType(output->type), "an output has a name and a type");
    }
    const std::string text = definitionText(agent);
    Agent again;
    std::vector<std::string> same;
    fuzz::expect(loadDefinition(text, again, same) == QNY_SUCCESS, "a definition that is written can be read");
    fuzz::expect(same == newOutputs && again.definitionBytes == agent.definitionBytes, "and declares the same");
    fuzz::expect(definitionText(again) == text, "and is written the same");
    return 0;
}
