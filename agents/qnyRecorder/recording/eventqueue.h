// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../event.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace recorder {

/// What waits between the network's thread and the writer's: events in one run of memory, and what is seldom said
/// beside them. Names are numbers into a table that the owner keeps.
class EventBatch
{
public:
    struct Entry
    {
        int64_t timeUs;
        uint32_t output; ///< number of the output in its owner's table
        ValueType type;
        bool isInitial; ///< the value at the start of the recording, not an event
        uint32_t size; ///< of the bytes of a string or data
        union {
            bool boolean;
            int32_t integer;
            double real;
            uint64_t offset; ///< of the bytes in this batch
        };
    };
    struct Definition
    {
        std::string agent;
        std::string json;
    };

    std::vector<Entry> entries;
    std::vector<Definition> definitions;
    std::map<uint32_t, uint64_t> networkLosses; ///< number of the output, how many

    bool isEmpty() const { return entries.empty() && definitions.empty() && networkLosses.empty(); }
    size_t bytes() const { return entries.size() * sizeof(Entry) + _bytes.size(); }
    void add(int64_t timeUs, uint32_t output, bool isInitial, const ValueView& value);
    ValueView value(const Entry& entry) const;
    /// Empties it and keeps the memory for the next round.
    void clear();

private:
    std::string _bytes;
};

/// The bounded queue between the network's thread, which adds, and the writer's, which takes everything at once.
class EventQueue
{
public:
    explicit EventQueue(size_t mostBytes)
        : _mostBytes(mostBytes)
    {
    }

    /// False when the queue is full: the event is not kept, and the caller counts it.
    bool add(int64_t timeUs, uint32_t output, bool isInitial, const ValueView& value);
    /// The last of two definitions of an agent holds: no more of them wait than there are agents.
    void addDefinition(const std::string& agent, const std::string& json);
    void addNetworkLoss(uint32_t output, uint64_t events);

    /// Swaps what waits into `batch`, which must be empty. Waits up to `patience` for something worth taking.
    void take(EventBatch& batch, std::chrono::milliseconds patience);
    /// Makes a waiting take() return now.
    void wake();

private:
    static constexpr size_t WORTH_TAKING_BYTES = 128 * 1024;

    const size_t _mostBytes;
    std::mutex _mutex;
    std::condition_variable _worthTaking;
    EventBatch _waiting;
    bool _isWoken = false;
};

} // namespace recorder
