// SPDX-License-Identifier: Apache-2.0
#ifndef SAMPLES_MODELS_NUMBERS_H
#define SAMPLES_MODELS_NUMBERS_H

#include <algorithm>
#include <cmath>

namespace samples {

// What comes from another agent may be anything; a model sees 0 to 100.
inline double percent(double value)
{
    return std::isnan(value) ? 0.0 : std::clamp(value, 0.0, 100.0);
}

inline double finiteOr(double value, double otherwise)
{
    return std::isfinite(value) ? value : otherwise;
}

} // namespace samples

#endif
