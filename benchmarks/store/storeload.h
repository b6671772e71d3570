// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "store/store.h"

#include <cstdint>
#include <string>
#include <vector>

// What the benchmarks of stores put into them, and what they measure there: the same for all.
// One event: a value of 100 bytes of one of 50 outputs of 10 agents, every 100 microseconds.
namespace recorder::bench {

inline constexpr std::int64_t stepUs = 100;
inline constexpr int outputCount = 50;

double seconds();
void must(bool good, const std::string& what);

// Time since it was made: on the clock, and of the processor, all threads together. On a busy machine only the second
// says what something costs.
class Stopwatch
{
public:
    Stopwatch();
    double passed() const;
    double worked() const;

private:
    double m_began;
    double m_workBegan;
};

// Events a second, and what each of them costs.
void tell(const char* what, std::int64_t events, const Stopwatch& watch);
// Median and most.
void tellTimes(const char* what, std::vector<double> took);

struct Names
{
    std::vector<std::string> agents;
    std::vector<std::string> outputs;
    std::string value = std::string(100, 'v');

    Names()
    {
        for (int i = 0; i < outputCount; ++i) {
            agents.push_back("agent " + std::to_string(i / 5));
            outputs.push_back("output " + std::to_string(i % 5));
        }
    }
    EventView event(std::int64_t number) const
    {
        const auto output = static_cast<std::size_t>(number * 7919 % outputCount);
        return { number * stepUs, agents[output], outputs[output], ValueView::fromString(value) };
    }
};

// A packed chunk of about 32 KiB, and how many events are in it.
std::string readyChunk(const Names& names, std::uint32_t& events);

// Records that many events and returns the record's uuid.
std::string writeStore(Store& store, const Names& names, std::int64_t events, const char* what);
// Reads it whole, from 300 moments, and as CSV.
void readStore(Store& store, const std::string& uuid, std::int64_t events);
void removeRecord(Store& store, const std::string& uuid);

} // namespace recorder::bench
