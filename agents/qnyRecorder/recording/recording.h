// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../filters/recordingfilter.h"
#include "../network/agentdirectory.h"
#include "../store/store.h"
#include "eventqueue.h"
#include "timeline.h"

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <quenary.h>

namespace recorder {

/// One recording from its start to its end: takes publications on the network's thread, stores them on its own.
///
/// Threads: publications come on the network's callback thread, commands on the command thread, both may add agents;
/// elapsedUs() and isPaused() from anywhere.
class Recording
{
public:
    struct Options
    {
        size_t queueBytes = 64 * 1024 * 1024;
        /// Now, on this machine's clock: microseconds since 1970 UTC, but steady from the start of the recording on.
        std::function<int64_t()> now;
        /// Called on the writer's thread, once, when the store takes no more: the recording must be finished.
        std::function<void(const std::string& reason)> onFailed;
    };

    /// One agent that is recorded. Handed to the network as the monitor's user data; lives as long as the recording.
    class Source;

    Recording(std::unique_ptr<RecordWriter> writer, RecordingFilter filter, int64_t startUs, Options options);
    /// Finishes when that was not done.
    ~Recording();
    Recording(const Recording&) = delete;
    Recording& operator=(const Recording&) = delete;

    const std::string& uuid() const { return _uuid; }

    /// Null when the filters want nothing of this agent. `isThereAtStart`: the values that come marked as last values
    /// are those at the start of the recording; of a later arrival they are publications that were made on its way in.
    Source* addAgent(const KnownAgent& agent, bool isThereAtStart);
    void updateAgent(const KnownAgent& agent);
    /// Nothing is heard of the agent any more, and it did not take its leave. Unless it is added again, its record ends
    /// there, which is remarked.
    void loseSightOf(const std::string& agentUuid);
    void takePublication(Source& source, const qny_publication_t& publication);
    /// The monitor's callback; its user data is the Source.
    static void onPublication(const qny_publication_t* publication, void* source);

    void pause();
    void resume();
    bool isPaused() const;
    /// Length so far in microseconds; stands still in a pause and after the end.
    int64_t elapsedUs() const;

    /// From here on nothing published belongs to the record. What was published before may still be on its way.
    void end();
    /// Whether something that belongs to the record came since the last call of this.
    bool tookEvents() { return _tookEvents.exchange(false); }
    /// Stores the rest and closes the record. The network must not deliver any more. Returns its length in
    /// microseconds.
    int64_t finish();
    /// Of the finished record.
    const Completeness& completeness() const { return _completeness; }

private:
    struct Output
    {
        std::string agent;
        std::string name;
        bool isIncluded = false;
        uint64_t lostInQueue = 0;
    };

    // These three with _mutex locked.
    uint32_t outputNumber(Source& source, std::string_view name);
    std::optional<int64_t> placeInRecord(Source& source, const qny_publication_t& publication);
    /// Whether a last value that the record leaves out was published while it ran, as far as is known.
    bool wasMissed(const Source& source, const qny_publication_t& publication) const;
    void define(Source& source, const std::string& definition);
    bool hasIncludedOutput(const std::string& agent, const std::string& definition) const;

    void runWriter();
    void storeBatch(const EventBatch& batch);
    void noteResult(const StoreResult& result);
    void watchClock();
    void remarkSilences();
    void closeRecord();

    const std::string _uuid;
    const Options _options;

    mutable std::mutex _mutex; // this group
    RecordTimeline _timeline;
    RecordingFilter _filter;
    SenderClocks _clocks;
    std::map<std::string, std::unique_ptr<Source>> _sources; // by agent uuid; entries stay until the end
    std::vector<std::unique_ptr<Output>> _outputs; // grows; agent and name of an entry never change
    std::map<std::pair<std::string, std::string>, uint32_t> _outputNumbers;

    EventQueue _queue;
    std::atomic<bool> _tookEvents { false };
    std::atomic<bool> _mustFinish { false };

    // The writer's thread alone, until it has ended.
    std::unique_ptr<RecordWriter> _writer;
    std::vector<const Output*> _knownOutputs;
    bool _hasFailed = false;
    std::string _lastProblem;
    int64_t _clockOffsetUs = 0;
    bool _isClockReported = false;
    int64_t _durationUs = 0;
    Completeness _completeness;

    std::thread _thread;
};

} // namespace recorder
