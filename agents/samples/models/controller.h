// SPDX-License-Identifier: Apache-2.0
#ifndef SAMPLES_MODELS_CONTROLLER_H
#define SAMPLES_MODELS_CONTROLLER_H

#include <cstdint>
#include <string>

namespace samples {

// Keeps the tank's level at the set point: a PI loop drives the first pump, hysteresis adds the second when the first
// is not enough. Levels, speeds and errors in percent.
class ControllerModel
{
public:
    // In manual mode (`automatic` false) both speeds stay as they are and nothing winds up.
    void step(double seconds, double setPoint, double level, bool automatic);

    double firstSpeed() const { return _firstSpeed; }
    double secondSpeed() const { return _secondIsOn ? secondPumpSpeed : 0.0; }
    bool secondIsOn() const { return _secondIsOn; }
    double error() const { return _error; }
    // "", "level high", "level low": stays until the level is back by a margin.
    const std::string& alarm() const { return _alarm; }

    static constexpr double gain = 6.0;
    static constexpr double integralTime = 4.0; // seconds
    static constexpr double secondPumpSpeed = 75.0;
    static constexpr double secondOnError = 6.0; // above: the second pump helps
    static constexpr double secondOffError = 1.0; // below: the first one is enough

private:
    double _firstSpeed = 0;
    double _integral = 0;
    double _error = 0;
    bool _secondIsOn = false;
    std::string _alarm;
};

} // namespace samples

#endif
