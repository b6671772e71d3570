// SPDX-License-Identifier: Apache-2.0
#ifndef SAMPLES_RUNNER_H
#define SAMPLES_RUNNER_H

#include "options.h"
#include "publisher.h"

#include <chrono>
#include <functional>
#include <memory>

namespace samples {

// One sample agent: a model with its inputs and outputs. Everything is called on the program's main thread.
class SampleAgent
{
public:
    virtual ~SampleAgent() = default;

    // Before the network is joined: outputs, inputs, mappings, services. May throw std::runtime_error.
    virtual void declare(Publisher& publisher) = 0;
    // The time between two steps. Constant.
    virtual std::chrono::microseconds period() const = 0;
    // Moves the model by one period and publishes what is due; `tick` counts the steps from 0.
    virtual void step(std::uint64_t tick, Publisher& publisher) = 0;
};

using AgentFactory = std::function<std::unique_ptr<SampleAgent>(const Options&)>;

// The whole of main(): command line, network, the steps at absolute deadlines, the end on SIGINT, SIGTERM or a remote
// stop request. Status 0 after a clean end, 1 when the network or the journal fails, 2 for a wrong command line.
int runSample(const ProgramInfo& info, const char* family, const AgentFactory& create, int argc, char** argv);

// Whether a value that is published every `every` steps is due at this one.
inline bool isDue(std::uint64_t tick, std::uint64_t every)
{
    return tick % every == 0;
}

} // namespace samples

#endif
