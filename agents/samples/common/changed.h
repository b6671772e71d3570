// SPDX-License-Identifier: Apache-2.0
#ifndef SAMPLES_CHANGED_H
#define SAMPLES_CHANGED_H

#include <optional>

namespace samples {

// For outputs that are published when their value changes, the first value included.
template <typename Value> class Changed
{
public:
    bool to(const Value& value)
    {
        if (_last == value) {
            return false;
        }
        _last = value;
        return true;
    }

private:
    std::optional<Value> _last;
};

} // namespace samples

#endif
