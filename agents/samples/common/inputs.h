// SPDX-License-Identifier: Apache-2.0
#ifndef SAMPLES_INPUTS_H
#define SAMPLES_INPUTS_H

#include <quenary.h>

#include <string>

namespace samples {

// Creates an input of the default agent and feeds it from an output of the agent of that name, whenever one is there.
// The model reads the input's present value at each step, so that no callback is needed. Throws std::runtime_error with
// a sentence when the library refuses.
void createInput(const char* input, qny_value_type_t type, const void* first, std::size_t size);
void mapInput(const char* input, const std::string& agent, const std::string& output);

inline void createNumberInput(const char* input, double first)
{
    createInput(input, QNY_DOUBLE_T, &first, sizeof(first));
}

inline void createBooleanInput(const char* input, bool first)
{
    createInput(input, QNY_BOOL_T, &first, sizeof(first));
}

} // namespace samples

#endif
