// SPDX-License-Identifier: Apache-2.0
#include "../hostapplication.h"
#include "../sampleplant.h"
#include "recordingsteps.h"

#include <systemdocumenthandler.h>
#include <systemview.h>
#include <systemviewclassinstance.h>

#include <QtCore/QFileInfo>

namespace tour {

namespace {

constexpr double filteredSeconds = 2.0;

qint64 journalBytes(const TourContext& tour)
{
    qint64 bytes = 0;
    const QStringList agents = SamplePlant::agentNames();
    for (const QString& agent : agents) {
        bytes += QFileInfo(SamplePlant::journalFile(tour.host.options().plantJournalDirectory, agent)).size();
    }
    return bytes;
}

// Whether the host's document shows each agent of the plant running.
bool isPlantSeen()
{
    const SystemView* view = SystemDocumentHandler::instance()->currentSystemView();
    const QStringList agents = SamplePlant::agentNames();
    return view != nullptr && std::all_of(agents.cbegin(), agents.cend(), [view](const QString& agent) {
        const SystemViewClassInstance* instance = view->getAgentByName(agent);
        return instance != nullptr && instance->isRunning();
    });
}

Answer startPlantAgain(TourContext& tour)
{
    const qint64 before = journalBytes(tour);
    if (!tour.host.startPlant()) {
        return Answer::no(tour.host.notices().value(0, QStringLiteral("the host could not start it")));
    }
    // Agents that a recorder sees only after its recording began are recorded from then on. It sees them when the host
    // does, give or take a moment.
    const auto isBack = [&] { return journalBytes(tour) > before && holds(&isPlantSeen, 500); };
    return await(QStringLiteral("the host to see its agents"), isBack, 10'000,
        [] { return QStringLiteral("the host sees all of its agents, and they publish"); });
}

Answer setFilters(TourContext& tour)
{
    if (const QString fault = tour.instance.call("updateRecordFilters", { filteredRecordingFilters });
        !fault.isEmpty()) {
        return Answer::no(fault);
    }
    return await(
        QStringLiteral("the filters"), [&] { return tour.instance.text("recordFilters") == filteredRecordingFilters; },
        5000, [] { return QStringLiteral("in force: -Valve, -Operator/note"); });
}

// What the filters of this chapter let through.
bool isLetThrough(const QString& agent, const QString& output)
{
    return agent != QLatin1String("Valve") && !(agent == QLatin1String("Operator") && output == QLatin1String("note"));
}

Answer checkFiltered(TourContext& tour, const Journal& journal, RecordingWindow window)
{
    RecordFile record;
    QString error;
    if (!record.readFile(tour.path(QStringLiteral("filtered.csv")), &error)) {
        return Answer::no(error);
    }
    window.accepts = &isLetThrough;
    const RecordCheck check = checkRecord(record, journal, window);
    return { check.passed(), check.summary() };
}

} // namespace

void filteredChapter(TourContext& tour)
{
    Steps& steps = tour.steps;
    ObjectHandle record;
    RecordingWindow window;
    Journal journal;
    steps.run(
        "plant again", { "stopped plant" }, "start the sample plant again", [&] { return startPlantAgain(tour); });
    steps.run("kept filters", { "on" }, "set filters again: neither the valve nor the operator's notes",
        [&] { return setFilters(tour); });
    steps.run("filtered start", { "plant again", "kept filters" }, "record with them",
        [&] { return startRecording(tour, &window); });
    steps.run("filtered run", { "filtered start" }, QStringLiteral("record for %1 s").arg(filteredSeconds),
        [&] { return recordUntil(tour, filteredSeconds); });
    steps.run("filtered record", { "filtered start" }, "stop recording",
        [&] { return stopRecording(tour, &window, &record); });
    steps.run("stopped again", { "plant again" }, "stop the sample plant", [&] { return stopPlant(tour, &journal); });
    steps.run("filtered downloaded", { "filtered record" }, "download the record into filtered.csv",
        [&] { return download(tour, record, tour.path(QStringLiteral("filtered.csv"))); });
    steps.run("filtered checked", { "filtered downloaded", "filtered run", "stopped again" },
        "compare it with what the agents say they published, but for what was left out",
        [&] { return checkFiltered(tour, journal, window); });
}

} // namespace tour
