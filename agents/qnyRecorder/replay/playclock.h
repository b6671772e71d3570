// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace recorder {

/// Relates positions in a record (microseconds) to a monotonic clock (nanoseconds) while a replay runs. Every deadline
/// is reckoned from the same base, never from the deadline before, so that errors do not add up.
class PlayClock
{
public:
    bool isRunning() const { return _isRunning; }
    double speed() const { return _speed; }

    void start(int64_t nowNs)
    {
        _baseNs = nowNs;
        _isRunning = true;
    }
    /// Stands still at the position reached.
    void stop(int64_t nowNs)
    {
        rebase(nowNs);
        _isRunning = false;
    }
    void setPosition(int64_t nowNs, int64_t positionUs)
    {
        _baseNs = nowNs;
        _basePositionUs = positionUs;
    }
    /// Holds from now on; the position does not jump.
    void setSpeed(int64_t nowNs, double speed)
    {
        rebase(nowNs);
        _speed = speed;
    }

    int64_t position(int64_t nowNs) const
    {
        if (!_isRunning) {
            return _basePositionUs;
        }
        // A record may be as long as a number can tell.
        const double passedUs = static_cast<double>(nowNs - _baseNs) * _speed / 1000.0;
        constexpr double FOREVER_US = 9.0e18;
        if (passedUs >= FOREVER_US - static_cast<double>(_basePositionUs)) {
            return INT64_MAX;
        }
        return _basePositionUs + static_cast<int64_t>(passedUs);
    }
    /// When the position is reached, given that the replay runs on as it does. Positions beyond some 290 years from now
    /// are cut there.
    int64_t deadline(int64_t positionUs) const
    {
        const double waitNs = static_cast<double>(positionUs - _basePositionUs) * 1000.0 / _speed;
        constexpr double FOREVER_NS = 9.0e18;
        if (waitNs >= FOREVER_NS - static_cast<double>(_baseNs)) {
            return INT64_MAX;
        }
        return _baseNs + static_cast<int64_t>(waitNs);
    }

private:
    void rebase(int64_t nowNs)
    {
        _basePositionUs = position(nowNs);
        _baseNs = nowNs;
    }

    int64_t _baseNs = 0;
    int64_t _basePositionUs = 0;
    double _speed = 1.0;
    bool _isRunning = false;
};

} // namespace recorder
