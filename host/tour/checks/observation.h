// SPDX-License-Identifier: Apache-2.0
#ifndef CORVANE_TOUR_OBSERVATION_H
#define CORVANE_TOUR_OBSERVATION_H

#include "tracedvalue.h"

#include <QtCore/QByteArray>
#include <QtCore/QList>

namespace tour {

// One publication as an observing agent received it.
struct Observation
{
    TracedEvent event; // timeUs: the sender's stamp
    qint64 receivedUs = 0; // microseconds since 1970 UTC
    quint64 lost = 0; // of this output, right before this one
    bool isStandIn = false;
    bool isLastValue = false; // not a new publication: what the output held when the mapping came alive
};

// Reads what the observer wrote: agent;output;sequence;time_us;received_us;type;value;stand_in;last_value;lost, flags
// as 0 and 1. A last line that is still being written is left out. False with a sentence in *error for anything else.
bool readObservations(const QByteArray& text, QList<Observation>* observations, QString* error);

} // namespace tour

#endif
