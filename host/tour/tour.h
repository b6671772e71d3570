// SPDX-License-Identifier: Apache-2.0
#ifndef CORVANE_TOUR_TOUR_H
#define CORVANE_TOUR_TOUR_H

#include <QtCore/QString>

class HostApplication;
struct HostOptions;

// What `corvane --tour` may settle.
struct TourOptions
{
    // Records, journals, the document and the screenshots go there; made when missing. Empty: a folder of the system's
    // folder for temporary files.
    QString outputDirectory;
    // What the recorder keeps its records in: settings as the module's page has them.
    QString endpoint = QStringLiteral("embedded:9042"); // empty: no database
    QString keyspace; // empty: the recorder's own
    QString username; // empty: no authentication
    QString password;
    QString observerProgram; // the agent that watches the replays; empty: <directory of the
                             // program>/../tests/qnyTestObserver

    // "embedded", "csv", or the host:port of a Cassandra, whose keyspace, user name and password stand in the
    // environment as TOUR_KEYSPACE, TOUR_USERNAME and TOUR_PASSWORD; empty: as it is.
    void setStore(const QString& store);
};

// Sets what the tour needs of the host, before HostApplication::start(): journals of the plant, nothing remembered, a
// port of its own when none was asked for. From here on this process and its children keep their data inside the output
// folder, and file dialogs are not the desktop's. False with a sentence in *error when the output folder cannot be
// written.
bool prepareTour(const TourOptions& options, HostOptions* hostOptions, QString* error);

// Runs the tour on a host that is started: makes, replays, saves and imports a real recording through the module's own
// object, prints each step with its answer and its time, and leaves screenshots. Spins the event loop, main thread
// only. Returns the exit status: 0 when every step passed, else 1. The last line printed is "tour: N steps passed, M
// failed".
int runTour(HostApplication& host, const TourOptions& options);

#endif
