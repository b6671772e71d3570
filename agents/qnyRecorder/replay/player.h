// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "lateness.h"
#include "playclock.h"
#include "readahead.h"

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

namespace recorder {

/// Where a replay goes. Called on the player's thread, and by its commands, one call at a time.
class ReplayTarget
{
public:
    virtual ~ReplayTarget() = default;
    /// Publishes for an output of the record. `timeUs` is the time in the record at which it was recorded. False when
    /// the output is not replayed: filtered out, or its agent lives.
    virtual bool publish(uint32_t output, const ValueView& value, int64_t timeUs) = 0;
    /// Position in the window, in seconds.
    virtual void progress(double seconds) = 0;
};

/// Plays a window of a record to a target, in real time. Positions count from the start of the window, in microseconds.
/// Every command takes effect before it returns: after pause() and moveTo() nothing more goes out.
class Player
{
public:
    struct Events
    {
        std::function<void()> onEnded; ///< the end of the window was reached; on the player's thread
        std::function<void(const std::string& reason)> onFailed; ///< the store failed, the player has paused; likewise
    };

    Player(std::unique_ptr<RecordReader> reader, std::shared_ptr<OutputNames> names, int64_t startUs, int64_t endUs,
        ReplayTarget& target, Events events);
    ~Player();
    Player(const Player&) = delete;
    Player& operator=(const Player&) = delete;

    int64_t durationUs() const { return _endUs - _startUs; }

    /// Starts or continues. After a seek the state at the position goes out first. Nothing goes out before `notBefore`
    /// on the monotonic clock (nanoseconds): those who listen need a moment to find new agents.
    void play(int64_t notBeforeNs = 0);
    /// Stands still; publishes the position reached and logs how late the replay was. False when nothing played.
    bool pause();
    /// Pauses without a progress value and goes to the position, cut to the window. Returns the position.
    int64_t moveTo(int64_t positionUs);
    void setSpeed(double speed);
    /// The target replays other outputs from now on: `change` is called while nothing is published, and the state at
    /// the position goes out before anything else does.
    void changeTarget(const std::function<void()>& change);
    /// Calls `change` while nothing is published.
    void whileStill(const std::function<void()>& change);

    bool isPlaying() const;
    bool needsState() const; ///< whether the next play() begins with the state
    int64_t positionUs() const;
    double speed() const;

    static int64_t nowNs();

private:
    class CommandLock; // takes the mutex from a busy player at once

    void run();
    int64_t step();
    bool begin(int64_t& wakeNs);
    int64_t publishDue();
    void publishState(const EventBatch& state);
    void reachEnd();
    void fail();
    void seek(int64_t positionUs);
    int64_t positionAt(int64_t nowNs) const;
    void publishProgress(int64_t nowNs);
    void logLateness(const char* occasion);

    const int64_t _startUs;
    const int64_t _endUs;
    ReplayTarget& _target;
    const Events _events;

    mutable std::mutex _mutex; // everything below
    mutable std::condition_variable _changed;
    mutable std::atomic<int> _commandsWaiting { 0 };
    PlayClock _clock;
    LatenessStatistics _lateness;
    EventBatch _batch;
    size_t _next = 0; // in _batch
    bool _isPlaying = false;
    bool _needsState = true;
    bool _isPoked = false; // something changed: do not sleep on
    int64_t _notBeforeNs = 0;
    int64_t _nextProgressNs = 0;
    enum class Outcome
    {
        None,
        Ended,
        Failed
    } _outcome
        = Outcome::None;
    std::string _failure;
    bool _mustEnd = false;

    std::unique_ptr<ReadAhead> _reading; // has its own lock
    std::thread _thread;
};

} // namespace recorder
