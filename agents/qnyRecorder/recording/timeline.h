// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace recorder {

/// Times in microseconds since 1970 UTC, unless they are said to be of the record.

/// Brings the stamps of senders onto this machine's clock, with one offset for each sender that never changes, so that
/// order and intervals of what a sender published hold whatever its clock shows.
/// Used on one thread at a time.
class SenderClocks
{
public:
    /// Stamps that differ from the arrival by no more than this come from a clock that agrees with ours: the difference
    /// is the way through the network, and is not to be taken out. On this machine there is one clock, and only a busy
    /// network makes the difference; elsewhere clocks are a little apart.
    static constexpr int64_t AGREEING_ELSEWHERE_US = 50'000;
    static constexpr int64_t AGREEING_HERE_US = 2'000'000;

    /// The stamp on our clock. The first call for a sender settles its offset, so it must be for a live publication.
    int64_t align(const std::string& sender, bool isOnThisMachine, int64_t stampUs, int64_t receivedUs);
    /// The same for any publication, once the sender's offset is settled.
    std::optional<int64_t> aligned(const std::string& sender, int64_t stampUs) const;

private:
    std::unordered_map<std::string, int64_t> _offsets;
};

/// Turns times of our clock into times of a record: from its start, with the pauses cut out.
/// Not thread-safe: its owner locks.
class RecordTimeline
{
public:
    explicit RecordTimeline(int64_t startUs)
        : _startUs(startUs)
    {
    }

    int64_t startUs() const { return _startUs; }
    bool isPaused() const { return _pausedSinceUs.has_value(); }
    /// Pausing twice, or resuming what is not paused, changes nothing.
    void pause(int64_t nowUs);
    void resume(int64_t nowUs);
    /// From here on nothing belongs to the record.
    void end(int64_t nowUs) { _endUs = nowUs; }

    /// The time in the record of something that happened at `timeUs`, or nothing when it falls into a pause or after
    /// the end. What happened before the start is at 0.
    std::optional<int64_t> toRecord(int64_t timeUs) const;
    /// How long the record is at `nowUs`: it stands still in a pause.
    int64_t elapsed(int64_t nowUs) const;

private:
    struct Pause
    {
        int64_t fromUs;
        int64_t toUs;
    };

    int64_t _startUs;
    std::optional<int64_t> _endUs;
    std::optional<int64_t> _pausedSinceUs;
    std::vector<Pause> _pauses; // in order of time
};

} // namespace recorder
