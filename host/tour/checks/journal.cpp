// SPDX-License-Identifier: Apache-2.0
#include "journal.h"

#include "delimitedtable.h"

#include <QtCore/QFile>

namespace tour {

bool Journal::addRows(const QByteArray& text, QString* error)
{
    QList<TableRow> rows;
    if (!readDelimitedTable(text, &rows, error)) {
        return false;
    }
    for (const TableRow& row : std::as_const(rows)) {
        if (row.fields.size() != 6) {
            *error = QStringLiteral("line %1: %2 fields instead of 6").arg(row.line).arg(row.fields.size());
            return false;
        }
        bool hasSequence = false;
        bool hasTime = false;
        TracedEvent event { row.fields.at(0), row.fields.at(1), { row.fields.at(4), row.fields.at(5) },
            row.fields.at(3).toLongLong(&hasTime), row.fields.at(2).toULongLong(&hasSequence), row.line };
        if (!hasSequence || !hasTime || event.agent.isEmpty() || event.output.isEmpty() || !event.value.isValid()) {
            *error
                = QStringLiteral("line %1 is no publication: %2").arg(row.line).arg(row.fields.join(QLatin1Char(';')));
            return false;
        }
        quint64& last = _lastSequence[event.agent + QLatin1Char('/') + event.output];
        if (event.sequence != last + 1 && event.sequence != 1) {
            *error = QStringLiteral("line %1: number %2 of %3/%4 follows number %5")
                         .arg(row.line)
                         .arg(event.sequence)
                         .arg(event.agent, event.output)
                         .arg(last);
            return false;
        }
        last = event.sequence;
        _eventsByAgent[event.agent].append(event);
    }
    return true;
}

bool Journal::addFile(const QString& path, QString* error)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        *error = QStringLiteral("the journal %1 cannot be read: %2").arg(path, file.errorString());
        return false;
    }
    QString reason;
    if (!addRows(file.readAll(), &reason)) {
        *error = QStringLiteral("%1: %2").arg(path, reason);
        return false;
    }
    return true;
}

QStringList Journal::agents() const
{
    QStringList names = _eventsByAgent.keys();
    names.sort();
    return names;
}

qsizetype Journal::size() const
{
    qsizetype count = 0;
    for (const QList<TracedEvent>& events : _eventsByAgent) {
        count += events.size();
    }
    return count;
}

} // namespace tour
