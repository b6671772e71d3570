// SPDX-License-Identifier: Apache-2.0
#include "valve.h"

#include "numbers.h"

#include <algorithm>
#include <cmath>

namespace samples {

void ValveModel::step(double seconds, double positionCommand)
{
    const double command = std::isnan(positionCommand) ? _position : percent(positionCommand);
    const double before = _position;
    const double away = command - _position;

    // A resting stem ignores the dead band; a moving one goes to the end.
    const bool moves = away != 0.0 && (_isMoving || std::abs(away) > deadBand || command == 0.0 || command == 100.0);
    if (moves && !_isMoving) {
        ++_strokes;
    }
    if (moves) {
        const double most = speed * seconds;
        _position = std::abs(away) <= most ? command : _position + std::copysign(most, away);
    }
    _isMoving = moves && _position != command;
    const bool isAtEnd = _position == 0.0 || _position == 100.0;
    _endReached = isAtEnd && _position != before;
}

} // namespace samples
