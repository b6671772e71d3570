// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QtCore/qnumeric.h>

#include <type_traits>

/// The one form of every property setter: assign and notify on a real change only, and say whether there was one.
namespace ZqProperty {

/// Doubles and floats are compared with Qt's fuzzy comparison, everything else with ==. What that comparison was not made
/// for equals itself and nothing else: the infinities, and what is no number.
template <typename T> [[nodiscard]] bool equal(const T& left, const T& right)
{
    if constexpr (std::is_floating_point_v<T>) {
        if (qIsFinite(left) && qIsFinite(right)) {
            return qFuzzyCompare(left, right);
        }
        return left == right || (qIsNaN(left) && qIsNaN(right));
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
