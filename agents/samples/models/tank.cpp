// SPDX-License-Identifier: Apache-2.0
#include "tank.h"

#include "numbers.h"

#include <bit>
#include <cmath>
#include <numeric>

namespace samples {

TankModel::TankModel()
{
    for (std::size_t layer = 0; layer < layerCount; ++layer) {
        _layers[layer] = 14.0F + 0.5F * static_cast<float>(layer);
    }
}

double TankModel::drain(double level, double valvePosition)
{
    constexpr double fullOutflow = 20.0; // of a full tank through an open valve
    return fullOutflow * percent(valvePosition) / 100.0 * std::sqrt(percent(level) / 100.0);
}

void TankModel::step(double seconds, double inflow, double valvePosition)
{
    const double filling = std::max(0.0, finiteOr(inflow, 0.0)) * seconds;
    const double draining = std::min(drain(level(), valvePosition) * seconds, _volume + filling);
    _outflow = draining / seconds;
    const double volume = _volume + filling - draining;
    _overflowBegan = volume > capacity && !_isOverflowing;
    _isOverflowing = volume > capacity || (_isOverflowing && volume > 0.99 * capacity);
    _volume = std::clamp(volume, 0.0, capacity);

    // Cold water enters at the bottom, the surface takes the air's warmth, and neighbours mix.
    constexpr float coldWater = 12.0F;
    constexpr float air = 24.0F;
    const auto time = static_cast<float>(seconds);
    const Layers before = _layers;
    for (std::size_t layer = 0; layer < layerCount; ++layer) {
        const float below = layer == 0 ? before[layer] : before[layer - 1];
        const float above = layer + 1 == layerCount ? before[layer] : before[layer + 1];
        _layers[layer] += 0.8F * time * (below + above - 2.0F * before[layer]);
    }
    _layers.front() += 0.5F * static_cast<float>(filling / capacity) * (coldWater - before.front())
        * static_cast<float>(layerCount);
    _layers.back() += 0.05F * time * (air - before.back());
}

double TankModel::temperature() const
{
    return std::accumulate(_layers.begin(), _layers.end(), 0.0) / static_cast<double>(layerCount);
}

std::vector<unsigned char> TankModel::encodedLayers() const
{
    std::vector<unsigned char> bytes;
    bytes.reserve(layerCount * sizeof(float));
    for (const float temperature : _layers) {
        const auto bits = std::bit_cast<std::uint32_t>(temperature);
        for (unsigned shift = 0; shift < 32; shift += 8) {
            bytes.push_back(static_cast<unsigned char>((bits >> shift) & 0xFFU));
        }
    }
    return bytes;
}

std::string TankModel::state() const
{
    const double now = level();
    if (now < 1.0) {
        return "empty";
    }
    if (now < 20.0) {
        return "low";
    }
    if (now > 99.0) {
        return "full";
    }
    return now > 85.0 ? "high" : "normal";
}

} // namespace samples
