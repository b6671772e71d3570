// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QtCore/QByteArray>

class QIODevice;

/// Reads at most `maxLines` CSV rows from the device's position on, in the form in which a recorder takes them: each row
/// with the byte that ended it, then one LF. A line break inside double quotes belongs to its row; an empty line is a
/// row; the LF of CR LF is consumed and not kept; a last row without a line end gets its LF too.
//
/// The device must be random access. Afterwards it stands just after the last line end that was consumed. Memory: the
/// rows returned and one block.
QByteArray readRecordCsvLines(QIODevice& device, int maxLines);
