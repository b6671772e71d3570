// SPDX-License-Identifier: Apache-2.0
#ifndef CORVANE_TOUR_TRACEDVALUE_H
#define CORVANE_TOUR_TRACEDVALUE_H

#include <QtCore/QString>
#include <QtCore/QtTypes>

namespace tour {

// One value of one output, with the type's name of the network library: "impulse", "bool", "integer", "double",
// "string" or "data" (in base64). Values are compared by what they mean, doubles by their bits.
struct TracedValue
{
    QString type;
    QString text;

    // The same for two values exactly when they are equal: type and canonical text.
    QString key() const;
    // Whether the text can be read as the type.
    bool isValid() const;
};

// One publication as a journal, a record or an observer tells it.
struct TracedEvent
{
    QString agent;
    QString output;
    TracedValue value;
    qint64 timeUs = 0; // journals and observers: microseconds since 1970 UTC; records: since the record's start
    quint64 sequence = 0; // 0 where the source does not tell it
    int line = 0; // in the file that it was read from

    QString describe() const;
};

} // namespace tour

#endif
