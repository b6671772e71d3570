// SPDX-License-Identifier: Apache-2.0
#include "pump.h"

#include "numbers.h"

#include <cmath>
#include <numbers>

namespace samples {

PumpModel::PumpModel(std::uint64_t seed)
    : _random(seed)
{
}

void PumpModel::step(double seconds, double speedCommand)
{
    _command = percent(speedCommand);
    _speed += (_command - _speed) * (1.0 - std::exp(-seconds / timeConstant));

    // Starting and stopping differ, so that a command near the limit does not count a start at every step.
    if (!_isRunning && _speed > 3.0) {
        _isRunning = true;
        ++_starts;
    } else if (_isRunning && _speed < 1.0) {
        _isRunning = false;
    }

    constexpr double ratedTurnsPerSecond = 24.5;
    _phase = std::fmod(_phase + ratedTurnsPerSecond * _speed / 100.0 * seconds, 1.0);
    const double amplitude = 2.8 * (_speed / 100.0) * (_speed / 100.0);
    _vibration = amplitude * std::sin(2.0 * std::numbers::pi * _phase) + (0.02 + 0.05 * amplitude) * _noise(_random);
}

double PumpModel::flow() const
{
    // Below a tenth of its speed the pump does not lift the water.
    constexpr double liftingSpeed = 10.0;
    return _speed <= liftingSpeed ? 0.0 : ratedFlow * (_speed - liftingSpeed) / (100.0 - liftingSpeed);
}

std::string PumpModel::state() const
{
    constexpr double steadyBand = 2.0;
    if (!_isRunning) {
        return "stopped";
    }
    if (_command > _speed + steadyBand) {
        return "speeding up";
    }
    return _command < _speed - steadyBand ? "slowing down" : "steady";
}

} // namespace samples
