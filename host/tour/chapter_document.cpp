// SPDX-License-Identifier: Apache-2.0
#include "../hostapplication.h"
#include "tourcontext.h"

#include <QtCore/QFileInfo>

namespace tour {

namespace {

Answer disconnectRecorder(TourContext& tour)
{
    if (const QString fault = tour.instance.call("disconnectAgent"); !fault.isEmpty()) {
        return Answer::no(fault);
    }
    const auto isOff = [&] { return !tour.instance.isTrue("isOn"); };
    return await(QStringLiteral("the recorder's process to leave the network"), isOff, 10'000,
        [&] { return QStringLiteral("off; it shows %1 records").arg(tour.instance.items("records").size()); });
}

Answer createSecondRecorder(TourContext& tour, ObjectHandle* second)
{
    const QList<ObjectHandle> before = tour.module.items("recorders");
    if (const QString fault = tour.module.call("createRecorder"); !fault.isEmpty()) {
        return Answer::no(fault);
    }
    const auto isThere = [&] {
        const QList<ObjectHandle> recorders = tour.module.items("recorders");
        for (const ObjectHandle& recorder : recorders) {
            if (!before.contains(recorder) && !recorder.items("instances").isEmpty()) {
                *second = recorder.items("instances").first();
            }
        }
        return !second->isNull();
    };
    return await(QStringLiteral("a second recorder"), isThere, 5000,
        [&] { return QStringLiteral("\"%1\" beside \"%2\"").arg(second->text("name"), tour.instance.text("name")); });
}

Answer deleteSecondRecorder(TourContext& tour, const ObjectHandle& second)
{
    const qsizetype before = tour.module.items("recorders").size();
    if (const QString fault = tour.module.call("deleteRecorder", { argument(second) }); !fault.isEmpty()) {
        return Answer::no(fault);
    }
    const auto isGone = [&] { return second.isNull() && tour.module.items("recorders").size() == before - 1; };
    return await(QStringLiteral("it to go"), isGone, 5000,
        [&] { return QStringLiteral("%1 recorders left").arg(tour.module.items("recorders").size()); });
}

Answer changeSettings(TourContext& tour)
{
    const QString before = tour.instance.child("encounteredAgentInfo").text("commandLine");
    QString fault = tour.instance.call("updateIsVerbose", { true });
    fault += tour.instance.call("updateTimestampedReplayMode", { true });
    const QString after = tour.instance.child("encounteredAgentInfo").text("commandLine");
    const bool isChanged
        = after.contains(QLatin1String("--verbose")) && after.contains(QLatin1String("--timestamped_replay"));
    return { fault.isEmpty() && isChanged && before != after, after + fault };
}

Answer reopen(TourContext& tour, const QString& file)
{
    const QString name = tour.instance.text("name");
    const QString endpoint = tour.instance.text("cassandraEndpoint");
    QString error;
    tour.host.newDocument();
    if (!waitUntil([&] { return tour.module.items("recorders").isEmpty() && tour.instance.isNull(); }, 3000)) {
        return Answer::no(
            QStringLiteral("an empty document still shows %1 recorders").arg(tour.module.items("recorders").size()));
    }
    if (!tour.host.openDocument(file, &error)) {
        return Answer::no(error);
    }
    const auto isBack = [&] {
        const QList<ObjectHandle> recorders = tour.module.items("recorders");
        for (const ObjectHandle& recorder : recorders) {
            const QList<ObjectHandle> instances = recorder.items("instances");
            if (!instances.isEmpty() && instances.first().text("name") == name) {
                tour.recorder = recorder;
                tour.instance = instances.first();
            }
        }
        return !tour.instance.isNull();
    };
    if (!waitUntil(isBack, 5000)) {
        return Answer::no(QStringLiteral("the document opened without the recorder \"%1\"").arg(name));
    }
    QStringList wrong;
    if (!tour.instance.isTrue("isVerbose")) {
        wrong.append(QStringLiteral("not verbose"));
    }
    if (!tour.instance.isTrue("isInTimestampedReplayMode")) {
        wrong.append(QStringLiteral("replay not timestamped"));
    }
    if (tour.instance.text("cassandraEndpoint") != endpoint) {
        wrong.append(QStringLiteral("database %1").arg(tour.instance.text("cassandraEndpoint")));
    }
    if (tour.instance.text("recordFilters") != filteredRecordingFilters) {
        wrong.append(QStringLiteral("filters \"%1\"").arg(tour.instance.text("recordFilters")));
    }
    if (!wrong.isEmpty()) {
        return Answer::no(QStringLiteral("\"%1\" came back wrong: %2").arg(name, wrong.join(QLatin1String(", "))));
    }
    tour.module.set("currentRecorder", argument(tour.instance));
    return Answer::yes(QStringLiteral("\"%1\" is back: verbose, timestamped, database %2, filters \"%3\"")
            .arg(name, endpoint, QStringLiteral("-Valve, -Operator/note")));
}

Answer connectAgain(TourContext& tour, const QString& recordName)
{
    if (const QString fault = tour.instance.call("connectAgent"); !fault.isEmpty()) {
        return Answer::no(fault);
    }
    const auto isListed = [&] {
        const QList<ObjectHandle> records = tour.instance.items("records");
        return tour.instance.isTrue("isOn")
            && std::any_of(records.cbegin(), records.cend(),
                [&](const ObjectHandle& record) { return record.text("name") == recordName; });
    };
    return await(QStringLiteral("the recorder to list \"%1\" again").arg(recordName), isListed, 15'000,
        [&] { return QStringLiteral("on; it lists \"%1\"").arg(recordName); });
}

} // namespace

void documentChapter(TourContext& tour)
{
    Steps& steps = tour.steps;
    ObjectHandle second;
    const QString file = tour.path(QStringLiteral("tour.corvane.json"));
    const QString recordName = tour.record.text("name");
    steps.run("off", { "on" }, "disconnect the recorder", [&] { return disconnectRecorder(tour); });
    steps.run("second", { "module" }, "create a second recorder", [&] { return createSecondRecorder(tour, &second); });
    steps.run("second deleted", { "second" }, "delete it", [&] { return deleteSecondRecorder(tour, second); });
    steps.run("settings", { "off" }, "make the first one verbose, with timestamped replay",
        [&] { return changeSettings(tour); });
    steps.run("saved", { "settings" }, "save the document as tour.corvane.json", [&] {
        QString error;
        return tour.host.saveDocument(file, &error)
            ? Answer::yes(QStringLiteral("%1 bytes").arg(QFileInfo(file).size()))
            : Answer::no(error);
    });
    steps.run("reopened", { "saved", "kept filters" }, "open a new document, then the saved one",
        [&] { return reopen(tour, file); });
    tour.screenshot(QStringLiteral("reopened"), TourContext::Tab::Settings);
    steps.run("on again", { "reopened", "renamed" }, "connect the recorder of the reopened document",
        [&] { return connectAgain(tour, recordName); });
    steps.run("off again", { "on again" }, "disconnect it", [&] { return disconnectRecorder(tour); });
}

} // namespace tour
