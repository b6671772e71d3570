// SPDX-License-Identifier: Apache-2.0
#ifndef CORVANE_TOUR_REPLAYSTEPS_H
#define CORVANE_TOUR_REPLAYSTEPS_H

#include "tourcontext.h"

namespace tour {

// By which the checks find what was played.
namespace replayNames {
inline const QString firstSeconds = QStringLiteral("the first seconds at 1x");
inline const QString fromTheMiddle = QStringLiteral("from the middle at 4x");
inline const QString twoAgents = QStringLiteral("two agents at 2x");
inline const QString csvFile = QStringLiteral("the CSV file");
} // namespace replayNames

// The steps that the replays of a record and of a file share. All act on the instance's current record.
Answer awaitLoaded(TourContext& tour);
// Until the observer's mappings are fed by the stand-ins that the loaded record brought.
Answer awaitStandIns(TourContext& tour);
// Plays from where it stands, and keeps what is to be expected under a name for the checks.
Answer beginPlaying(TourContext& tour, ReplayStretch stretch, const QString& name);
Answer pauseAt(TourContext& tour, double seconds);
Answer stopAt(TourContext& tour, double seconds);
Answer playToEnd(TourContext& tour);
Answer unload(TourContext& tour);

} // namespace tour

#endif
