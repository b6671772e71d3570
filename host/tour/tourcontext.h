// SPDX-License-Identifier: Apache-2.0
#ifndef CORVANE_TOUR_TOURCONTEXT_H
#define CORVANE_TOUR_TOURCONTEXT_H

#include "journal.h"
#include "objecthandle.h"
#include "observerprocess.h"
#include "recordcheck.h"
#include "recordfile.h"
#include "replaycheck.h"
#include "tour.h"
#include "toursteps.h"

#include <QtCore/QDir>

#include <functional>

class HostApplication;

namespace tour {

// What the chapters of the tour hand on to one another.
struct TourContext
{
    TourContext(HostApplication& application, const TourOptions& tourOptions);

    HostApplication& host;
    TourOptions options;
    QDir output;
    Steps steps;

    ObjectHandle module;
    ObjectHandle recorder; // the module's Recorder
    ObjectHandle instance; // its only RecorderInstance
    ObjectHandle record; // the record that the tour makes
    ObjectHandle imported; // what it became after a download and an import

    Journal journal; // of the plant's run that was recorded
    RecordingWindow window;
    RecordFile recordFile;
    ObserverProcess observer;
    struct Replay
    {
        QString name;
        ReplayStretch stretch;
    };
    QList<Replay> replays;
    QStringList screenshots;
    QStringList screenshotFaults;

    enum class Tab
    {
        Current,
        Settings,
        Records,
        CsvFile
    };

    // Brings a tab of the open recorder to the front; false when the page has no such tab.
    bool showTab(Tab tab) const;
    // Keeps a picture of the module's page, with this tab of the open recorder in front.
    void screenshot(const QString& name, Tab tab = Tab::Current);
    // Whether the recorder's own list comes to show this: asked for, or without a database sent unasked. `lists` counts
    // from before the change on.
    bool comesToList(const SignalCounter& lists, const std::function<bool()>& isShown);
    bool hasDatabase() const { return !options.endpoint.isEmpty(); }
    bool isListed(const ObjectHandle& listed) const;
    QString path(const QString& fileName) const { return output.filePath(fileName); }
};

// The chapters, in their order.
void prepareChapter(TourContext& tour); // module, plant, recorder, connection, filters
void recordingChapter(TourContext& tour); // start, pause, resume, stop, rename
void replayChapter(TourContext& tour); // load, play, move, speed, filter, unload
void filesChapter(TourContext& tour); // download, checks, import, CSV file, delete
void filteredChapter(TourContext& tour); // the plant again, a recording with filters
void documentChapter(TourContext& tour); // disconnection, second recorder, document

// In force from the filtered chapter on, and to be kept in the document.
inline const QString filteredRecordingFilters = QStringLiteral("-Valve\n-Operator/note");

} // namespace tour

#endif
