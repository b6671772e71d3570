// SPDX-License-Identifier: Apache-2.0
#ifndef CORVANE_TOUR_JOURNAL_H
#define CORVANE_TOUR_JOURNAL_H

#include "tracedvalue.h"

#include <QtCore/QByteArray>
#include <QtCore/QHash>
#include <QtCore/QList>
#include <QtCore/QStringList>

namespace tour {

// What an agent says itself that it published, in the order in which it did: rows of
// agent;output;sequence;time_us;type;value.
class Journal
{
public:
    // Adds the rows of one file; false with a sentence in *error when they are no journal. The number of an output goes
    // up by one with each publication, and begins at 1 again when its agent was started again.
    bool addRows(const QByteArray& text, QString* error);
    // The same from a file; its path stands in the sentence.
    bool addFile(const QString& path, QString* error);

    // In the order of publishing for each agent.
    const QHash<QString, QList<TracedEvent>>& eventsByAgent() const { return _eventsByAgent; }
    QStringList agents() const;
    qsizetype size() const;

private:
    QHash<QString, QList<TracedEvent>> _eventsByAgent;
    QHash<QString, quint64> _lastSequence;
};

} // namespace tour

#endif
