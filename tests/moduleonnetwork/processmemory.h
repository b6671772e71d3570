// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QtCore/QtGlobal>

/// Memory of a process of this machine as Linux counts it, in bytes; -1 where it does not.
namespace ProcessMemory {

/// Resident now.
qint64 resident(qint64 processId);
/// The most that was resident since the process began or forgetPeak().
qint64 peak(qint64 processId);
bool forgetPeak(qint64 processId);

} // namespace ProcessMemory
