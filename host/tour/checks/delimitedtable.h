// SPDX-License-Identifier: Apache-2.0
#ifndef CORVANE_TOUR_DELIMITEDTABLE_H
#define CORVANE_TOUR_DELIMITEDTABLE_H

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QString>
#include <QtCore/QStringList>

namespace tour {

struct TableRow
{
    int line = 0; // where the row begins in the file, from 1
    QStringList fields;
};

// Reads rows of fields separated by ';': a field in double quotes may hold separators, line ends and doubled quotes;
// rows end with LF or CR LF; empty lines are no rows; a byte-order mark is skipped. This reader is the checks' own, so
// that a fault in the reader of a program under check cannot hide itself. False with one sentence in *error (line,
// column, reason) when the text is not such a table or not UTF-8.
bool readDelimitedTable(const QByteArray& text, QList<TableRow>* rows, QString* error);

} // namespace tour

#endif
