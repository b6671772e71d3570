// SPDX-License-Identifier: Apache-2.0
#ifndef CORVANE_TOUR_RECORDFILE_H
#define CORVANE_TOUR_RECORDFILE_H

#include "tracedvalue.h"

#include <QtCore/QByteArray>
#include <QtCore/QHash>
#include <QtCore/QList>
#include <QtCore/QStringList>

namespace tour {

// A record as its CSV file tells it: rows of agent;time_us;kind;name;type;value.
class RecordFile
{
public:
    // In place of what was read before. False with a sentence in *error when the text is no record: a row of less than
    // six fields, an unknown kind, a value that its type does not allow, an agent's time that goes back, no version.
    bool read(const QByteArray& text, QString* error);
    bool readFile(const QString& path, QString* error);

    // By name; the last of two equal facts.
    const QHash<QString, QString>& facts() const { return _facts; }
    const QHash<QString, QString>& definitions() const { return _definitions; } // JSON by agent
    const QList<TracedEvent>& initialValues() const { return _initialValues; }
    const QList<TracedEvent>& events() const { return _events; } // in the order of the file
    QStringList agents() const; // of definitions and events, sorted
    double durationInSeconds() const;
    // What the record says that it lost, for whatever reason, by "agent/output"; of those that it tells of at all.
    QHash<QString, qsizetype> losses() const;

private:
    QHash<QString, QString> _facts;
    QHash<QString, QString> _definitions;
    QList<TracedEvent> _initialValues;
    QList<TracedEvent> _events;
};

// The lines of a record's file without those that tell its name: what an export and the export of its import share.
QByteArray withoutNameFact(const QByteArray& text);
// "the same", or where two texts first differ.
QString describeDifference(const QByteArray& left, const QByteArray& right);

} // namespace tour

#endif
