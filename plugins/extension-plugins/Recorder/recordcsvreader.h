// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QtCore/QByteArray>

#include <limits>

class QIODevice;

/// Why a chunk of a record file was not read.
enum class RecordCsvFault
{
    None,
    /// The device failed, or gave no more bytes before its end.
    Unreadable,
    /// The first row alone is beyond the bound of a chunk.
    RowTooLong,
};

/// Reads at most `maxLines` CSV rows from the device's position on, in the form in which a recorder takes them: each
/// row with the byte that ended it, then one LF. A line break inside double quotes belongs to its row; an empty line is
/// a row; the LF of CR LF is consumed and not kept; a last row without a line end gets its LF too. A row that would
/// bring what is returned beyond `maxBytes` is left for the next time.
//
/// The device must be random access. Afterwards it stands just after the last line end that was consumed. Memory: the
/// rows returned and one block. With a fault nothing is returned, and the device stands anywhere.
QByteArray readRecordCsvLines(QIODevice& device, int maxLines,
    qsizetype maxBytes = std::numeric_limits<qsizetype>::max(), RecordCsvFault* fault = nullptr);
