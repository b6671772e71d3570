// SPDX-License-Identifier: Apache-2.0
#include "inputs.h"

#include <stdexcept>

namespace samples {

void createInput(const char* input, qny_value_type_t type, const void* first, std::size_t size)
{
    if (qny_input_create(input, type, first, size) != QNY_SUCCESS) {
        throw std::runtime_error(std::string("cannot create the input \"") + input + "\": " + qny_last_error());
    }
}

void mapInput(const char* input, const std::string& agent, const std::string& output)
{
    if (qny_mapping_add(input, agent.c_str(), output.c_str()) != QNY_SUCCESS) {
        throw std::runtime_error(std::string("cannot map the input \"") + input + "\" to \"" + agent + "/" + output
            + "\": " + qny_last_error());
    }
}

} // namespace samples
