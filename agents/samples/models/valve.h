// SPDX-License-Identifier: Apache-2.0
#ifndef SAMPLES_MODELS_VALVE_H
#define SAMPLES_MODELS_VALVE_H

#include <cstdint>

namespace samples {

// A motor valve: its stem follows the command, no faster than its motor, and stays where it is within a dead band.
// Positions in percent, 0 being closed.
class ValveModel
{
public:
    static constexpr double speed = 35.0; // percent a second
    static constexpr double deadBand = 0.5;

    // Commands beyond 0 to 100 are clamped, one that is no number leaves the stem where it is.
    void step(double seconds, double positionCommand);

    double position() const { return _position; }
    bool isMoving() const { return _isMoving; }
    // How often the stem set off.
    std::int32_t strokes() const { return _strokes; }
    // True for the one step in which the stem reached an end of its way.
    bool endReached() const { return _endReached; }

private:
    double _position = 0;
    bool _isMoving = false;
    bool _endReached = false;
    std::int32_t _strokes = 0;
};

} // namespace samples

#endif
