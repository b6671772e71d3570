// SPDX-License-Identifier: Apache-2.0
#include "operator.h"

#include <array>
#include <cmath>

namespace samples {

namespace {

// The texts hold what a shift's log holds, and what a careless reader of records stumbles over.
constexpr std::array<const char*, 8> notes {
    "Round done, no leak seen",
    "Pump A sounds rough; ask for the \"blue\" bearing set",
    "Temp\xC3\xA9rature au fond: 12 \xC2\xB0"
    "C",
    "Shift handed over;\nlevel steady, valve free",
    "\xE6\xB0\xB4\xE4\xBD\x8D OK",
    "",
    "Sample taken at the outlet, bottle 17",
    "Set points are drawn up at 14:00; see the board",
};

} // namespace

OperatorSchedule::OperatorSchedule(std::uint64_t seed)
    : _random(seed)
{
}

// The standard's distributions differ between libraries; the engine itself does not.
double OperatorSchedule::_draw(double from, double to)
{
    constexpr double steps = 9007199254740992.0; // 2^53
    return from + (to - from) * (static_cast<double>(_random() >> 11U) / steps);
}

OperatorAction OperatorSchedule::next()
{
    // A shift begins with the plant's usual settings, one after the other at once.
    const std::size_t number = _count++;
    OperatorAction action;
    switch (number) {
    case 0:
        action = { OperatorAction::Kind::Automatic, 0, 0, true, "", {} };
        break;
    case 1:
        action = { OperatorAction::Kind::SetPoint, 0, _setPoint, false, "", {} };
        break;
    case 2:
        action = { OperatorAction::Kind::Demand, 0, 45, false, "", {} };
        break;
    case 3:
        action = { OperatorAction::Kind::Note, 0, 0, false, "Shift begins", {} };
        break;
    case 4:
        action = { OperatorAction::Kind::Recipe, 0, 0, false, "", _drawRecipe() };
        break;
    case 5:
        action = { OperatorAction::Kind::Acknowledge, 0, 0, false, "panel test", {} };
        break;
    default:
        // The first change leaves the plant the time to reach the first set point.
        _time += number == 6 ? 4.0 : _draw(0.8, 2.5);
        action = _drawAction();
    }
    action.at = _time;
    return action;
}

OperatorAction OperatorSchedule::_drawAction()
{
    OperatorAction action;
    if (!_isAutomatic) {
        // Manual mode is for a moment only.
        _isAutomatic = true;
        action.kind = OperatorAction::Kind::Automatic;
        action.flag = true;
        return action;
    }
    const double which = _draw(0, 100);
    if (which < 25) {
        // A change that can be seen: at least ten percent up or down.
        const double way = _draw(10, 30);
        _setPoint += _setPoint + way > 80 || (_setPoint - way >= 30 && _draw(0, 1) < 0.5) ? -way : way;
        action.kind = OperatorAction::Kind::SetPoint;
        action.number = std::round(_setPoint * 2) / 2;
    } else if (which < 45) {
        action.kind = OperatorAction::Kind::Demand;
        action.number = std::round(_draw(20, 70));
    } else if (which < 70) {
        action.kind = OperatorAction::Kind::Note;
        action.text = _drawNote();
    } else if (which < 85) {
        action.kind = OperatorAction::Kind::Acknowledge;
        action.text = "seen from the panel";
    } else if (which < 95) {
        action.kind = OperatorAction::Kind::Recipe;
        action.bytes = _drawRecipe();
    } else {
        _isAutomatic = false;
        action.kind = OperatorAction::Kind::Automatic;
        action.flag = false;
    }
    return action;
}

std::string OperatorSchedule::_drawNote()
{
    return notes.at(static_cast<std::size_t>(_draw(0, static_cast<double>(notes.size()))));
}

std::vector<unsigned char> OperatorSchedule::_drawRecipe()
{
    std::vector<unsigned char> bytes(static_cast<std::size_t>(_draw(0, 64)));
    for (auto& byte : bytes) {
        byte = static_cast<unsigned char>(_random() & 0xFFU);
    }
    return bytes;
}

} // namespace samples
