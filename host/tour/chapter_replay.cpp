// SPDX-License-Identifier: Apache-2.0
#include "replaysteps.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QSet>

#include <algorithm>
#include <cmath>

namespace tour {

namespace {

// The recorder's answer to the host and its last publication to the observer go different ways.
constexpr qint64 underwayUs = 300'000;
// The two agents that are left when the tour filters a replay.
const QStringList filteredAgents { QStringLiteral("Pump A"), QStringLiteral("Tank") };

Answer startObserver(TourContext& tour)
{
    QSet<QString> maps;
    for (const QList<TracedEvent>& events : tour.journal.eventsByAgent()) {
        for (const TracedEvent& event : events) {
            maps.insert(event.agent + QLatin1Char('/') + event.output + QLatin1Char('/') + event.value.type);
        }
    }
    QString error;
    const QString program = tour.options.observerProgram.isEmpty()
        ? QCoreApplication::applicationDirPath() + QStringLiteral("/../tests/qnyTestObserver")
        : tour.options.observerProgram;
    if (!tour.observer.start(
            program, tour.path(QStringLiteral("observed.csv")), QStringList(maps.cbegin(), maps.cend()), &error)) {
        return Answer::no(error);
    }
    return Answer::yes(
        QStringLiteral("it maps %1 outputs, %2 of them live").arg(maps.size()).arg(tour.observer.liveMappings()));
}

Answer loadRecord(TourContext& tour)
{
    if (const QString fault = tour.instance.call("loadRecord", { argument(tour.record) }); !fault.isEmpty()) {
        return Answer::no(fault);
    }
    const Answer loaded = awaitLoaded(tour);
    if (!loaded.passed) {
        return loaded;
    }
    if (!(tour.instance.child("currentRecord") == tour.record)) {
        return Answer::no(QStringLiteral("another record is the current one"));
    }
    return awaitStandIns(tour);
}

Answer moveToMiddle(TourContext& tour)
{
    const double middle = tour.record.number("durationInSeconds") / 2;
    const SignalCounter answers(tour.module, SIGNAL(recordMovedTo(QString, double)));
    if (const QString fault = tour.instance.call("moveCurrentRecordTime", { middle }); !fault.isEmpty()) {
        return Answer::no(fault);
    }
    const auto isMoved = [&] { return answers.count() > 0 && !tour.instance.isTrue("isMovingRecord"); };
    const Answer moved
        = await(QStringLiteral("the recorder to say that it moved"), isMoved, 5000, [] { return QString(); });
    if (!moved.passed) {
        return moved;
    }
    const double position = tour.record.number("replayProgressInSecond");
    const QString text = QStringLiteral("at %1 s").arg(position, 0, 'f', 6);
    return std::abs(position - middle) < 1e-3 ? Answer::yes(text) : Answer::no(text);
}

Answer setSpeed(TourContext& tour, double factor)
{
    const QList<ObjectHandle> speeds = tour.record.items("speeds");
    for (const ObjectHandle& speed : speeds) {
        if (qFuzzyCompare(speed.number("value"), factor)) {
            const QString fault = tour.instance.call("updateRecordSpeed", { argument(tour.record), argument(speed) });
            const bool isSet = fault.isEmpty() && tour.record.child("speed") == speed;
            return isSet ? Answer::yes(QStringLiteral("one of %1 speeds to choose from").arg(speeds.size()))
                         : Answer::no(QStringLiteral("the record kept its speed. %1").arg(fault));
        }
    }
    return Answer::no(QStringLiteral("none of %1 speeds is %2").arg(speeds.size()).arg(factor));
}

Answer filterAgents(TourContext& tour)
{
    const QList<ObjectHandle> filters = tour.record.items("agentsFilters");
    for (const ObjectHandle& filter : filters) {
        filter.set("checked", filteredAgents.contains(filter.text("name")));
    }
    const SignalCounter answers(tour.module, SIGNAL(recordFilterApplied(QString)));
    if (const QString fault = tour.instance.call("beforeUpdateRecordAgentsFilter", { argument(tour.record) });
        !fault.isEmpty()) {
        return Answer::no(fault);
    }
    const auto isApplied = [&] { return answers.count() > 0 && !tour.instance.isTrue("isFilteringRecord"); };
    return await(QStringLiteral("the recorder to say that it filters"), isApplied, 5000, [&] {
        return QStringLiteral("%1: %2").arg(
            tour.record.text("agentsFilterRecap"), filteredAgents.join(QLatin1String(", ")));
    });
}

} // namespace

Answer awaitLoaded(TourContext& tour)
{
    const auto isDone = [&] { return !tour.instance.isTrue("isLoadingRecord"); };
    if (!waitUntil(isDone, 10'000)) {
        return Answer::no(QStringLiteral("waited 10 s in vain for the record to be loaded"));
    }
    const ObjectHandle current = tour.instance.child("currentRecord");
    if (!current.isTrue("isLoaded")) {
        return Answer::no(QStringLiteral("not loaded: %1").arg(tour.instance.text("loadingFailReason")));
    }
    return Answer::yes(QString());
}

Answer awaitStandIns(TourContext& tour)
{
    const qsizetype loadedAgents = tour.instance.child("currentRecord").items("agentsFilters").size();
    if (!tour.observer.isRunning()) {
        return Answer::yes(QStringLiteral("%1 agents loaded; nobody observes them").arg(loadedAgents));
    }
    // The observer must be heard by each stand-in before the replay begins, as any agent of the plant would be.
    int live = 0;
    const auto areLive = [&] {
        const int now = tour.observer.liveMappings();
        const bool isSteady = now == live && now >= loadedAgents && loadedAgents > 0;
        live = now;
        return isSteady;
    };
    if (!waitUntil([&] { return holds(areLive, 400); }, 8000)) {
        return Answer::no(QStringLiteral("%1 agents loaded, but only %2 outputs of stand-ins reach the observer")
                .arg(loadedAgents)
                .arg(live));
    }
    return Answer::yes(
        QStringLiteral("%1 agents stand in, %2 of their outputs are observed").arg(loadedAgents).arg(live));
}

Answer beginPlaying(TourContext& tour, ReplayStretch stretch, const QString& name)
{
    const ObjectHandle record = tour.instance.child("currentRecord");
    stretch.fromSeconds = record.number("replayProgressInSecond");
    stretch.speed = record.child("speed").number("value");
    stretch.playedUs = nowUs();
    if (const QString fault = tour.instance.call("playRecord", { argument(record) }); !fault.isEmpty()) {
        return Answer::no(fault);
    }
    if (!tour.replays.isEmpty()) {
        qint64& endedBefore = tour.replays.last().stretch.endedUs;
        endedBefore = std::min(endedBefore, stretch.playedUs - 1);
    }
    tour.replays.append({ name, stretch });
    const double from = stretch.fromSeconds;
    const auto isMoving
        = [=] { return record.isTrue("isReplaying") && record.number("replayProgressInSecond") > from; };
    return await(QStringLiteral("the position to move on"), isMoving, 5000,
        [&] { return QStringLiteral("playing at %1 from %2 s").arg(stretch.speed).arg(from, 0, 'f', 3); });
}

Answer pauseAt(TourContext& tour, double seconds)
{
    const ObjectHandle record = tour.instance.child("currentRecord");
    if (!waitUntil([&] { return record.number("replayProgressInSecond") >= seconds; },
            static_cast<int>(seconds * 1000) + 5000)) {
        return Answer::no(QStringLiteral("the position never came to %1 s").arg(seconds));
    }
    if (const QString fault = tour.instance.call("pauseRecord", { argument(record) }); !fault.isEmpty()) {
        return Answer::no(fault);
    }
    return await(
        QStringLiteral("the recorder to say that it paused"), [&] { return !record.isTrue("isReplaying"); }, 3000,
        [&] {
            ReplayStretch& stretch = tour.replays.last().stretch;
            stretch.endedUs = nowUs() + underwayUs;
            stretch.toSeconds = record.number("replayProgressInSecond");
            return QStringLiteral("paused at %1 s").arg(*stretch.toSeconds, 0, 'f', 3);
        });
}

Answer playToEnd(TourContext& tour)
{
    const ObjectHandle record = tour.instance.child("currentRecord");
    const SignalCounter ends(tour.module, SIGNAL(replayEnded(QString, QString)));
    const int boundMs = static_cast<int>(record.number("durationInSeconds") * 1000) + 8000;
    // The end may have come between play and here.
    const auto hasEnded
        = [&] { return ends.count() > 0 || (record.isTrue("replayIsAtStart") && !record.isTrue("isReplaying")); };
    if (!waitUntil(hasEnded, boundMs)) {
        return Answer::no(QStringLiteral("waited %1 s in vain for the end").arg(boundMs / 1000.0));
    }
    tour.replays.last().stretch.endedUs = nowUs() + underwayUs;
    const auto isBack = [&] {
        return record.isTrue("replayIsAtStart") && !record.isTrue("isReplaying")
            && !tour.instance.isTrue("isMovingRecord") && !tour.instance.isTrue("isStoppingRecord");
    };
    return await(QStringLiteral("the replay to go back to its start"), isBack, 5000,
        [] { return QStringLiteral("ended, and back at the start"); });
}

Answer stopAt(TourContext& tour, double seconds)
{
    const ObjectHandle record = tour.instance.child("currentRecord");
    if (!waitUntil([&] { return record.number("replayProgressInSecond") >= seconds; },
            static_cast<int>(seconds * 1000) + 5000)) {
        return Answer::no(QStringLiteral("the position never came to %1 s").arg(seconds));
    }
    const double position = record.number("replayProgressInSecond");
    if (const QString fault = tour.instance.call("stopRecord", { argument(record) }); !fault.isEmpty()) {
        return Answer::no(fault);
    }
    const auto isBack = [&] { return record.isTrue("replayIsAtStart") && !tour.instance.isTrue("isStoppingRecord"); };
    return await(QStringLiteral("the replay to go back to its start"), isBack, 5000, [&] {
        ReplayStretch& stretch = tour.replays.last().stretch;
        stretch.endedUs = nowUs() + underwayUs;
        stretch.toSeconds = position;
        // The position of the last progress: it went on until the recorder had heard of the stop.
        stretch.toToleranceSeconds = 0.3 * stretch.speed;
        return QStringLiteral("stopped at %1 s, back at the start").arg(position, 0, 'f', 3);
    });
}

Answer unload(TourContext& tour)
{
    const ObjectHandle record = tour.instance.child("currentRecord");
    if (const QString fault = tour.instance.call("unloadRecord", { argument(record) }); !fault.isEmpty()) {
        return Answer::no(fault);
    }
    const auto isGone = [&] {
        return tour.instance.child("currentRecord").isNull() && !record.isTrue("isLoaded")
            && (!tour.observer.isRunning() || tour.observer.liveMappings() == 0);
    };
    return await(QStringLiteral("the stand-ins to leave"), isGone, 6000,
        [] { return QStringLiteral("no record is loaded, the stand-ins have left"); });
}

void replayChapter(TourContext& tour)
{
    Steps& steps = tour.steps;
    steps.run("observer", { "stopped plant" }, "start an agent that watches the replays",
        [&] { return startObserver(tour); });
    steps.run("loaded", { "record", "stopped plant" }, "load the record", [&] { return loadRecord(tour); });
    steps.run("played", { "loaded" }, "play it", [&] { return beginPlaying(tour, {}, replayNames::firstSeconds); });
    steps.run("replay paused", { "played" }, "pause it after 2 s", [&] { return pauseAt(tour, 2.0); });
    steps.run("moved", { "replay paused" }, "move to the middle", [&] { return moveToMiddle(tour); });
    tour.screenshot(QStringLiteral("replay"), TourContext::Tab::Records);
    steps.run("fast", { "loaded" }, "change the speed to 4", [&] { return setSpeed(tour, 4.0); });
    steps.run("played fast", { "moved", "fast" }, "play from there",
        [&] { return beginPlaying(tour, {}, replayNames::fromTheMiddle); });
    steps.run(
        "ended", { "played fast" }, "play to the end, and see it back at the start", [&] { return playToEnd(tour); });
    steps.run("filtered", { "loaded" }, "replay two agents only", [&] { return filterAgents(tour); });
    tour.screenshot(QStringLiteral("filter"), TourContext::Tab::Records);
    steps.run("slow", { "loaded" }, "change the speed to 2", [&] { return setSpeed(tour, 2.0); });
    steps.run("played two", { "filtered", "slow" }, "play again", [&] {
        ReplayStretch stretch;
        stretch.agents = filteredAgents;
        return beginPlaying(tour, stretch, replayNames::twoAgents);
    });
    steps.run("stopped", { "played two" }, "stop it in the middle",
        [&] { return stopAt(tour, tour.record.number("durationInSeconds") / 2); });
    steps.run("unloaded", { "loaded" }, "unload the record", [&] { return unload(tour); });
}

} // namespace tour
