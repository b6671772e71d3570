// SPDX-License-Identifier: Apache-2.0
#ifndef SAMPLES_MODELS_TANK_H
#define SAMPLES_MODELS_TANK_H

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace samples {

// An open tank that the pumps fill and the valve drains. Volumes in litres, flows in litres a second, temperatures in
// degrees Celsius.
class TankModel
{
public:
    static constexpr double capacity = 200.0;
    static constexpr std::size_t layerCount = 16;
    using Layers = std::array<float, layerCount>; // temperatures from the bottom to the top

    TankModel();

    // Moves by `seconds`. Water flows out as the square root of the level, times how far the valve is open (percent).
    // What the tank cannot hold flows over.
    void step(double seconds, double inflow, double valvePosition);

    double volume() const { return _volume; }
    double level() const { return 100.0 * _volume / capacity; }
    double outflow() const { return _outflow; }
    // Mean over the layers.
    double temperature() const;
    const Layers& layers() const { return _layers; }
    // The layers as bytes: 16 IEEE 754 single-precision numbers, little-endian, from the bottom to the top.
    std::vector<unsigned char> encodedLayers() const;
    // "empty", "low", "normal", "high", "full"
    std::string state() const;
    // True for the one step in which water began to flow over.
    bool overflowBegan() const { return _overflowBegan; }

    static double drain(double level, double valvePosition);

private:
    double _volume = 0.4 * capacity;
    double _outflow = 0;
    bool _isOverflowing = false;
    bool _overflowBegan = false;
    Layers _layers {};
};

} // namespace samples

#endif
