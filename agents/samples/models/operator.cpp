// SPDX-License-Identifier: Apache-2.0
#include "operator.h"

#include <array>
#include <cmath>
#include <utility>

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
        _time += _draw(0.4, 1.4);
        action = _drawAction();
    }
    action.at = _time;
    return action;
}

void OperatorSchedule::_drawRound()
{
    using Kind = OperatorAction::Kind;
    _round = { Kind::Note, Kind::Acknowledge, Kind::Recipe, Kind::Note };
    if (_rounds > 0) {
        _round.push_back(Kind::SetPoint);
        _round.push_back(Kind::Demand);
    }
    for (std::size_t left = _round.size(); left > 1; --left) {
        std::swap(_round[left - 1], _round[static_cast<std::size_t>(_draw(0, static_cast<double>(left)))]);
    }
    // Manual mode is for a moment only, now and then: off and on again follow one another.
    if (_rounds % 4 == 3) {
        _round.insert(_round.begin(), { Kind::Automatic, Kind::Automatic });
    }
    ++_rounds;
}

OperatorAction OperatorSchedule::_drawAction()
{
    if (_round.empty()) {
        _drawRound();
    }
    OperatorAction action;
    action.kind = _round.back();
    _round.pop_back();
    switch (action.kind) {
    case OperatorAction::Kind::SetPoint: {
        // A change that can be seen: at least ten percent up or down.
        const double way = _draw(10, 30);
        _setPoint += _setPoint + way > 80 || (_setPoint - way >= 30 && _draw(0, 1) < 0.5) ? -way : way;
        action.number = std::round(_setPoint * 2) / 2;
        break;
    }
    case OperatorAction::Kind::Demand:
        action.number = std::round(_draw(20, 70));
        break;
    case OperatorAction::Kind::Note:
        action.text = _drawNote();
        break;
    case OperatorAction::Kind::Acknowledge:
        action.text = "seen from the panel";
        break;
    case OperatorAction::Kind::Recipe:
        action.bytes = _drawRecipe();
        break;
    case OperatorAction::Kind::Automatic:
        _isAutomatic = !_isAutomatic;
        action.flag = _isAutomatic;
        break;
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
