// SPDX-License-Identifier: Apache-2.0
#include "observation.h"

#include "delimitedtable.h"

namespace tour {

bool readObservations(const QByteArray& text, QList<Observation>* observations, QString* error)
{
    // The observer writes whole rows, but a reader may come in the middle of the last one.
    const QByteArray whole = text.left(text.lastIndexOf('\n') + 1);
    QList<TableRow> rows;
    if (!readDelimitedTable(whole, &rows, error)) {
        return false;
    }
    for (const TableRow& row : std::as_const(rows)) {
        bool areNumbers[4] = {};
        Observation observation;
        if (row.fields.size() == 10) {
            observation.event = TracedEvent { row.fields.at(0), row.fields.at(1),
                { row.fields.at(5), row.fields.at(6) }, row.fields.at(3).toLongLong(&areNumbers[0]),
                row.fields.at(2).toULongLong(&areNumbers[1]), row.line };
            observation.receivedUs = row.fields.at(4).toLongLong(&areNumbers[2]);
            observation.isStandIn = row.fields.at(7) == QLatin1String("1");
            observation.isLastValue = row.fields.at(8) == QLatin1String("1");
            observation.lost = row.fields.at(9).toULongLong(&areNumbers[3]);
        }
        if (!areNumbers[0] || !areNumbers[1] || !areNumbers[2] || !areNumbers[3]
            || !observation.event.value.isValid()) {
            *error
                = QStringLiteral("line %1 is no observation: %2").arg(row.line).arg(row.fields.join(QLatin1Char(';')));
            return false;
        }
        observations->append(observation);
    }
    return true;
}

} // namespace tour
