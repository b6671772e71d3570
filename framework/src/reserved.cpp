// SPDX-License-Identifier: Apache-2.0
#include "reservedagentandtoolfamilies.h"
#include "reservedextensions.h"

#include <quenary_families.h>

const QString ReservedExtensions::RECORD_AND_REPLAY = QStringLiteral("b1f3f2a4-58c0-4f0c-9d55-2f7e1d6a90c3");

const QString ReservedAgentAndToolFamilies::RECORDER_CLASS_UUID = QStringLiteral(QNY_FAMILY_RECORDER);
const QString ReservedAgentAndToolFamilies::LAUNCHER_CLASS_UUID = QStringLiteral(QNY_FAMILY_LAUNCHER);
