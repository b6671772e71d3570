// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvaneframework_global.h"

#include <QString>

/// Uuids of the modules that the host knows by name.
namespace ReservedExtensions {
CORVANE_EXPORT extern const QString RECORD_AND_REPLAY;
} // namespace ReservedExtensions
