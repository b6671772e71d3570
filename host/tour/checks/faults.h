// SPDX-License-Identifier: Apache-2.0
#ifndef CORVANE_TOUR_FAULTS_H
#define CORVANE_TOUR_FAULTS_H

#include <QtCore/QString>
#include <QtCore/QStringList>

namespace tour {

// Adds how many faults of a kind there are, and the first of them, to what a check says; nothing when there are none.
inline void appendFault(QStringList* parts, const QString& kind, const QStringList& faults)
{
    if (!faults.isEmpty()) {
        parts->append(QStringLiteral("%1 %2, first: %3").arg(faults.size()).arg(kind, faults.first()));
    }
}

} // namespace tour

#endif
