// SPDX-License-Identifier: Apache-2.0
#include "../hostapplication.h"
#include "../sampleplant.h"
#include "tourcontext.h"

#include <QtCore/QFileInfo>

namespace tour {

namespace {

const QString recorderName = QStringLiteral("Tour recorder");

Answer startPlant(TourContext& tour)
{
    QStringList journals;
    const QStringList agents = SamplePlant::agentNames();
    for (const QString& agent : agents) {
        journals.append(SamplePlant::journalFile(tour.host.options().plantJournalDirectory, agent));
        QFile::remove(journals.last()); // of an earlier tour into the same folder
    }
    if (!tour.host.startPlant()) {
        return Answer::no(
            tour.host.notices().value(0, QStringLiteral("the host could not start it and gave no reason")));
    }
    const auto publish = [&journals] {
        return std::all_of(
            journals.cbegin(), journals.cend(), [](const QString& path) { return QFileInfo(path).size() > 0; });
    };
    return await(QStringLiteral("a publication of each agent"), publish, 10'000,
        [&] { return QStringLiteral("%1 run and publish").arg(agents.join(QLatin1String(", "))); });
}

Answer createRecorder(TourContext& tour)
{
    const QList<ObjectHandle> before = tour.module.items("recorders");
    if (const QString fault = tour.module.call("createRecorder"); !fault.isEmpty()) {
        return Answer::no(fault);
    }
    const auto isThere = [&] {
        const QList<ObjectHandle> recorders = tour.module.items("recorders");
        for (const ObjectHandle& recorder : recorders) {
            if (!before.contains(recorder) && recorder.items("instances").size() == 1) {
                tour.recorder = recorder;
                tour.instance = recorder.items("instances").first();
            }
        }
        return !tour.instance.isNull();
    };
    return await(QStringLiteral("a new recorder with one launch line"), isThere, 5000, [&] {
        tour.module.set("currentRecorder", argument(tour.instance));
        return QStringLiteral("\"%1\", database %2")
            .arg(tour.instance.text("name"), tour.instance.text("cassandraEndpoint"));
    });
}

Answer renameRecorder(TourContext& tour)
{
    bool isUsed = true;
    if (!QMetaObject::invokeMethod(tour.instance.object(), "isRecorderNameAlreadyUsed", Q_RETURN_ARG(bool, isUsed),
            Q_ARG(QString, recorderName))
        || isUsed) {
        return Answer::no(QStringLiteral("the name is used already"));
    }
    if (const QString fault = tour.instance.call("updateName", { recorderName }); !fault.isEmpty()) {
        return Answer::no(fault);
    }
    return await(
        QStringLiteral("the new name"), [&] { return tour.instance.text("name") == recorderName; }, 2000,
        [&] { return QStringLiteral("the recorder is \"%1\"").arg(tour.instance.text("name")); });
}

// As a person does on the page of settings.
Answer chooseStore(TourContext& tour)
{
    const TourOptions& options = tour.options;
    QString fault = tour.instance.call("updateCassandraEndpoint", { options.endpoint });
    if (!options.keyspace.isEmpty()) {
        fault += tour.instance.call("updateCustomKeyspace", { options.keyspace });
        fault += tour.instance.call("updateUseCustomKeyspace", { true });
    }
    if (!options.username.isEmpty()) {
        fault += tour.instance.call("updateUsername", { options.username });
        fault += tour.instance.call("updatePassword", { options.password });
        fault += tour.instance.call("updateUseAuthentication", { true });
    }
    if (!fault.isEmpty()) {
        return Answer::no(fault);
    }
    const QString commandLine = tour.instance.child("encounteredAgentInfo").text("commandLine");
    const auto has = [&commandLine](const char* option, const QString& value) {
        const bool isThere = commandLine.contains(QLatin1String(option));
        return value.isEmpty() ? !isThere : isThere && commandLine.contains(value);
    };
    const bool isChosen = tour.instance.text("cassandraEndpoint") == options.endpoint
        && tour.instance.isTrue("offlineMode") == options.endpoint.isEmpty() && has("--cassandra ", options.endpoint)
        && has("--keyspace", options.keyspace) && has("--cassandra_username", options.username)
        && has("--cassandra_password", options.password);
    return { isChosen,
        options.endpoint.isEmpty() ? QStringLiteral("no database: CSV files")
                                   : QStringLiteral("database ") + options.endpoint };
}

Answer connectRecorder(TourContext& tour)
{
    const SignalCounter contexts(tour.module,
        SIGNAL(contextReceived(QString, QString, QDateTime, double, double, double, bool, QString, QString, QString)));
    if (const QString fault = tour.instance.call("connectAgent"); !fault.isEmpty()) {
        return Answer::no(fault);
    }
    const auto isOn = [&] { return tour.instance.isTrue("isOn"); };
    if (!waitUntil(isOn, 15'000)) {
        return Answer::no(QStringLiteral("waited 15 s in vain for the recorder's process to appear on the network"));
    }
    return await(
        QStringLiteral("its answer to the first questions"), [&] { return contexts.count() > 0; }, 5000,
        [&] {
            return QStringLiteral("on; process %1").arg(tour.instance.child("runningAgentInfo").text("processId"));
        });
}

Answer setFilters(TourContext& tour, const QString& filters)
{
    const SignalCounter answers(tour.module, SIGNAL(recordFiltersReceived(QString, bool, QString)));
    if (const QString fault = tour.instance.call("updateRecordFilters", { filters }); !fault.isEmpty()) {
        return Answer::no(fault);
    }
    const auto isBack = [&] { return answers.count() > 0 && tour.instance.text("recordFilters") == filters; };
    return await(QStringLiteral("the recorder to tell them back"), isBack, 5000, [&] {
        return QStringLiteral("in force: \"%1\"")
            .arg(tour.instance.text("recordFilters").replace(QLatin1Char('\n'), QLatin1String("\\n")));
    });
}

} // namespace

void prepareChapter(TourContext& tour)
{
    Steps& steps = tour.steps;
    steps.run("module", {}, "find the Record & Replay module", [&] {
        tour.module = ObjectHandle(tour.host.module(QStringLiteral("recordAndReplay")));
        if (tour.module.isNull()) {
            return Answer::no(QStringLiteral("the host has loaded no module of the tag recordAndReplay"));
        }
        if (!tour.host.showModule(QStringLiteral("recordAndReplay"))) {
            return Answer::no(QStringLiteral("the host cannot show the module's page"));
        }
        return Answer::yes(QStringLiteral("%1, %2 recorders in the document")
                .arg(QLatin1String(tour.module.object()->metaObject()->className()))
                .arg(tour.module.items("recorders").size()));
    });
    steps.run("plant", {}, "start the sample plant", [&] { return startPlant(tour); });
    steps.run("created", { "module" }, "create a recorder", [&] { return createRecorder(tour); });
    steps.run("named", { "created" }, QStringLiteral("name it \"%1\"").arg(recorderName),
        [&] { return renameRecorder(tour); });
    steps.run("store", { "created" }, "choose what it keeps its records in", [&] { return chooseStore(tour); });
    steps.run("runnable", { "store" }, "can it be started from here?", [&] {
        return tour.instance.isTrue("isRunnable")
            ? Answer::yes(
                  QStringLiteral("yes; %1").arg(tour.instance.child("encounteredAgentInfo").text("commandLine")))
            : Answer::no(QStringLiteral("isRunnable is false"));
    });
    tour.module.set("currentRecorder", QVariant::fromValue<QObject*>(nullptr));
    tour.screenshot(QStringLiteral("recorders"));
    tour.module.set("currentRecorder", argument(tour.instance));
    steps.run("on", { "runnable" }, "connect it: start its process", [&] { return connectRecorder(tour); });
    steps.run("filters", { "on" }, "set recording filters: leave out the valve and the operator's notes",
        [&] { return setFilters(tour, QStringLiteral("-Valve\n-Operator/note")); });
    tour.screenshot(QStringLiteral("configuration"), TourContext::Tab::Settings);
    steps.run("cleared", { "filters" }, "clear the filters", [&] { return setFilters(tour, QString()); });
}

} // namespace tour
