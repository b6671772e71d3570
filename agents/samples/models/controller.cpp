// SPDX-License-Identifier: Apache-2.0
#include "controller.h"

#include "numbers.h"

namespace samples {

void ControllerModel::step(double seconds, double setPoint, double level, bool automatic)
{
    const double actual = percent(level);
    _error = percent(setPoint) - actual;

    if (_alarm.empty()) {
        _alarm = actual > 92.0 ? "level high" : (actual < 8.0 ? "level low" : "");
    } else if (actual > 12.0 && actual < 88.0) {
        _alarm.clear();
    }
    if (!automatic) {
        return;
    }

    if (_error > secondOnError) {
        _secondIsOn = true;
    } else if (_error < secondOffError) {
        _secondIsOn = false;
    }

    // The integral grows only while the drive can still follow, so that a long way up does not end in an overshoot.
    const double proposed = gain * _error + _integral;
    const bool isSaturated = (proposed >= 100.0 && _error > 0) || (proposed <= 0.0 && _error < 0);
    if (!isSaturated) {
        _integral += gain / integralTime * _error * seconds;
    }
    _firstSpeed = percent(gain * _error + _integral);
}

} // namespace samples
