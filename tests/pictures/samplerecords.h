// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "modulefixture.h"

#include <QtCore/QStringList>

/// Records for pictures: the same on every day.
namespace SampleRecords {

/// Those that people give, or some that nobody should.
enum class Names
{
    Usual,
    Strange
};

/// Of the newest record; the others follow, each some hours before.
QString uuid(int index);
/// As a recorder lists them, the newest first.
QString list(int count, Names names = Names::Usual);
/// As a recorder names the agents of a record.
QString agents(const QStringList& names = { QStringLiteral("Pump A"), QStringLiteral("Pump B"), QStringLiteral("Tank"),
                   QStringLiteral("Valve"), QStringLiteral("Controller"), QStringLiteral("Operator") });
QString manyAgents(int count);
/// Lists records and loads one: five minutes of the plant.
void load(RecorderInstance* recorder, ScriptedRecorder& played, int index = 0,
    const QString& agents = SampleRecords::agents());
RecorderRecord* record(RecorderInstance* recorder, int index);

} // namespace SampleRecords
