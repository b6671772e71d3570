// SPDX-License-Identifier: Apache-2.0
#ifndef CORVANE_TOUR_RECORDINGSTEPS_H
#define CORVANE_TOUR_RECORDINGSTEPS_H

#include "tourcontext.h"

namespace tour {

// The steps that both recordings of the tour share. When things were asked for and seen goes into the window.
double recordedSeconds(const TourContext& tour);
Answer startRecording(TourContext& tour, RecordingWindow* window);
Answer recordUntil(TourContext& tour, double seconds);
// made: the record that the list has got by it, which may be so much longer or shorter than was shown last.
Answer stopRecording(TourContext& tour, RecordingWindow* window, ObjectHandle* made, double mostApartSeconds = 0.6);
// The list but for what is being recorded, which may stand there already, without an end.
QList<ObjectHandle> endedRecords(const ObjectHandle& instance);
// What the plant's agents say they published, of which each has a journal in the folder. Returns what went wrong.
QString readJournals(const QString& folder, Journal* journal);
// Stops the agents of the plant and reads everything that they say they published.
Answer stopPlant(TourContext& tour, Journal* journal);
// Answers the module's file dialog with a path, and reads the file back.
Answer download(TourContext& tour, const ObjectHandle& record, const QString& file);

} // namespace tour

#endif
