// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scriptedhost.h"
#include "storeplaces.h"

#include <cstdint>
#include <string>

namespace recorder::bench {

// What becomes of numbered events that one agent publishes while the real program records them.
struct PumpResult
{
    std::int64_t events = 0;
    double sentSeconds = 0; // from the first publication until the network took the last
    double storedSeconds = 0; // … until the record was closed, and in its database
    double recorderWorked = 0; // seconds of the processor meanwhile, in the recorder
    double publisherWorked = 0; // … and in this process, which publishes
    std::string uuid;

    double perSecond() const { return static_cast<double>(events) / storedSeconds; }
};

struct PumpOptions
{
    std::int64_t events = 2'000'000;
    std::size_t bytes = 100; // of each value
    double perSecond = 0; // 0: as fast as the network takes them; the sender waits while much is queued in it
};

// Records; the recorder runs on. Ends the program when something else than a loss goes wrong.
PumpResult pump(testing::ScriptedHost& host, testing::RecorderProcess& recorder, const StorePlace& place,
    const PumpOptions& options);

// What a record holds of such events, read back from the store.
struct ReadBack
{
    std::int64_t stored = 0;
    std::int64_t missing = 0; // of those published
    std::int64_t altered = 0; // out of order, twice or with another value
    std::uint64_t reportedLost = 0; // by the record itself

    bool isWhole() const { return missing == 0 && altered == 0 && reportedLost == 0; }
};
ReadBack readBack(Store& store, const PumpResult& pumped, const PumpOptions& options);

} // namespace recorder::bench
