// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "world.h"

/// Something that is true of the module after every step. The name is the sentence.
struct Invariant
{
    const char* name;
    /// Empty, or what is wrong.
    QString (*problem)(World& world);
    /// Only once everything that was posted has been delivered.
    bool holdsWhenSettled = false;
};

extern const QList<Invariant> MODULE_INVARIANTS;
extern const QList<Invariant> INSTANCE_INVARIANTS;

/// The first invariant that is broken, with what is wrong; empty when all hold.
QString brokenInvariant(World& world);
