// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

/// A record file as long as wanted, as an export writes it: its only output counts the events from 1 on. It began years
/// ago, so that none that is recorded today is taken for it.
QByteArray countingRecord(qsizetype events);

/// What became of such a record when its import broke off: the export of what was imported has to hold its first
/// events, and to say how many are missing. Empty, or what is wrong.
QString checkBrokenImport(const QByteArray& whole, const QByteArray& part);
