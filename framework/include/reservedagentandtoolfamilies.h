// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvaneframework_global.h"

#include <QString>

/// Families of agents that the framework knows; the agents themselves take them from quenary_families.h.
namespace ReservedAgentAndToolFamilies {
CORVANE_EXPORT extern const QString RECORDER_CLASS_UUID;
/// Agents that start others on their machine when a host asks.
CORVANE_EXPORT extern const QString LAUNCHER_CLASS_UUID;
} // namespace ReservedAgentAndToolFamilies
