// SPDX-License-Identifier: Apache-2.0
#ifndef SAMPLES_MODELS_OPERATOR_H
#define SAMPLES_MODELS_OPERATOR_H

#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace samples {

// What the operator does next, and when.
struct OperatorAction
{
    enum class Kind
    {
        SetPoint, // number: the level wanted, percent
        Demand, // number: how far the valve shall open, percent
        Note, // text: a line of the shift's log
        Acknowledge, // text: why
        Recipe, // bytes: a dosing recipe as the plant's panel stores it
        Automatic, // flag: the controller on or off
    };
    Kind kind = Kind::Note;
    double at = 0; // seconds after the start of the schedule
    double number = 0;
    bool flag = false;
    std::string text;
    std::vector<unsigned char> bytes;
};

// A shift without end: the same seed gives the same actions at the same times, on every machine. After the settings at
// its start it goes in rounds of about five seconds, each with every kind of action in an order of its own; the first
// round leaves the settings alone, so that the plant has the time to reach them.
class OperatorSchedule
{
public:
    explicit OperatorSchedule(std::uint64_t seed);

    // The next action; each call moves on. Times never go back.
    OperatorAction next();

private:
    double _draw(double from, double to);
    void _drawRound();
    OperatorAction _drawAction();
    std::string _drawNote();
    std::vector<unsigned char> _drawRecipe();

    std::mt19937_64 _random;
    std::size_t _count = 0;
    std::size_t _rounds = 0;
    std::vector<OperatorAction::Kind> _round; // what is left of the present round, last first
    double _time = 0;
    double _setPoint = 60;
    bool _isAutomatic = true;
};

} // namespace samples

#endif
