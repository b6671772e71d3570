// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QtCore/qnumeric.h>

#include <type_traits>

/// The one form of every property setter: assign and notify on a real change only, and say whether there was one.
namespace ZqProperty {

/// Doubles and floats are compared with Qt's fuzzy comparison, everything else with ==. What that comparison finds
/// unlike itself, infinity and "not a number", is equal too: the same value again is no change.
template <typename T> [[nodiscard]] bool equal(const T& left, const T& right)
{
    if constexpr (std::is_floating_point_v<T>) {
        return left == right || qFuzzyCompare(left, right) || (qIsNaN(left) && qIsNaN(right));
    } else {
        return left == right;
    }
}

/// Assigns without a signal, for a setter that acts between the assignment and the notification.
/// Returns false, and leaves `member` alone, when the value is equal.
template <typename T> bool assign(T& member, const std::type_identity_t<T>& value)
{
    if (equal<T>(member, value)) {
        return false;
    }
    member = value;
    return true;
}

/// Assigns and emits `changed` of `owner`; returns false, and emits nothing, when the value is equal.
template <typename Owner, typename T>
bool assign(Owner* owner, T& member, const std::type_identity_t<T>& value, void (Owner::*changed)())
{
    if (!assign(member, value)) {
        return false;
    }
    (owner->*changed)();
    return true;
}

} // namespace ZqProperty
