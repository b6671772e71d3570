// SPDX-License-Identifier: Apache-2.0
#ifndef SAMPLES_MODELS_PUMP_H
#define SAMPLES_MODELS_PUMP_H

#include <cstdint>
#include <random>
#include <string>

namespace samples {

// A centrifugal pump on a drive that ramps. Speeds in percent of the rated speed, flow in litres a second.
class PumpModel
{
public:
    explicit PumpModel(std::uint64_t seed);

    // Moves by `seconds`; commands beyond 0 to 100 are clamped, one that is no number counts as 0.
    void step(double seconds, double speedCommand);

    double speed() const { return _speed; }
    double flow() const;
    // Of the bearing, in millimetres a second: turns with the shaft, grows with its speed, and carries noise.
    double vibration() const { return _vibration; }
    bool isRunning() const { return _isRunning; }
    // How often the pump came from rest.
    std::int32_t starts() const { return _starts; }
    // "stopped", "speeding up", "steady", "slowing down"
    std::string state() const;

    static constexpr double ratedFlow = 14.0;
    static constexpr double timeConstant = 0.35; // seconds, of the drive

private:
    double _speed = 0;
    double _command = 0;
    double _phase = 0; // of the shaft, in turns
    double _vibration = 0;
    bool _isRunning = false;
    std::int32_t _starts = 0;
    std::mt19937_64 _random;
    std::normal_distribution<double> _noise { 0.0, 1.0 };
};

} // namespace samples

#endif
