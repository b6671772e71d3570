// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Reaches a private member of a class, for states that a class keeps everybody from bringing about and is ready for all
/// the same. An explicit instantiation may name private members, so the class need not know of its tests:
///
///     static QString RecorderInstance::*uuidOf = nullptr;
///     template struct OpenMember<uuidOf, &RecorderInstance::_uuid>;
///     ...
///     instance->*uuidOf = QString();
template <auto& storage, auto member> struct OpenMember
{
    static inline const auto opened = storage = member;
};
