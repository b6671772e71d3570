// SPDX-License-Identifier: Apache-2.0
#include "tour.h"

#include "../hostapplication.h"
#include "tourcontext.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QRandomGenerator>

#include <cstdio>

namespace {

QString outputOf(const TourOptions& options)
{
    if (options.outputDirectory.isEmpty()) {
        return QDir::temp().filePath(QStringLiteral("corvane-tour-%1").arg(QCoreApplication::applicationPid()));
    }
    return QFileInfo(options.outputDirectory).absoluteFilePath();
}

} // namespace

void TourOptions::setStore(const QString& store)
{
    if (store == QLatin1String("csv")) {
        endpoint.clear();
    } else if (store.contains(QLatin1Char(':'))) {
        endpoint = store;
        keyspace = qEnvironmentVariable("TOUR_KEYSPACE");
        username = qEnvironmentVariable("TOUR_USERNAME");
        password = qEnvironmentVariable("TOUR_PASSWORD");
    }
}

bool prepareTour(const TourOptions& options, HostOptions* hostOptions, QString* error)
{
    const QDir output(outputOf(options));
    for (const char* folder : { "journals", "home/data", "home/config", "home/documents" }) {
        if (!output.mkpath(QLatin1String(folder)) || !QFileInfo(output.filePath(QLatin1String(folder))).isWritable()) {
            *error = QStringLiteral("The tour's folder %1 cannot be written: give another one with --output.")
                         .arg(output.path());
            return false;
        }
    }
    // The recorder's store lies in the platform's data folder, which its process takes from here.
    qputenv("XDG_DATA_HOME", output.filePath(QStringLiteral("home/data")).toLocal8Bit());
    qputenv("XDG_CONFIG_HOME", output.filePath(QStringLiteral("home/config")).toLocal8Bit());
    QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    hostOptions->plantJournalDirectory = output.filePath(QStringLiteral("journals"));
    hostOptions->rememberSettings = false;
    hostOptions->withPlant = false;
    hostOptions->connectToNetwork = true;
    if (hostOptions->port == 0 && !qEnvironmentVariableIsSet("QNY_PORT")) {
        hostOptions->port = static_cast<quint16>(QRandomGenerator::global()->bounded(20'000, 60'000));
    }
    return true;
}

int runTour(HostApplication& host, const TourOptions& options)
{
    TourOptions absolute = options;
    absolute.outputDirectory = outputOf(options);
    QElapsedTimer elapsed;
    elapsed.start();
    tour::TourContext context(host, absolute);
    tour::prepareChapter(context);
    tour::recordingChapter(context);
    tour::replayChapter(context);
    tour::filesChapter(context);
    tour::filteredChapter(context);
    tour::documentChapter(context);
    context.steps.run("screenshots", {}, "keep pictures of the pages", [&] {
        const bool areGood = context.screenshotFaults.isEmpty() && !context.screenshots.isEmpty();
        return tour::Answer { areGood,
            QStringLiteral("%1 pictures%2")
                .arg(context.screenshots.size())
                .arg(areGood ? QString() : QStringLiteral("; ") + context.screenshotFaults.join(QLatin1String("; "))) };
    });

    std::printf("\nscreenshots and files are in %s\n", qPrintable(absolute.outputDirectory));
    for (const QString& screenshot : std::as_const(context.screenshots)) {
        std::printf("  %s\n", qPrintable(QFileInfo(screenshot).fileName()));
    }
    const QStringList failedSteps = context.steps.failedSteps();
    for (const QString& step : failedSteps) {
        std::printf("failed: %s\n", qPrintable(step));
    }
    std::printf("the tour took %.1f s\n", static_cast<double>(elapsed.elapsed()) / 1000.0);
    std::printf("tour: %d steps passed, %d failed\n", context.steps.passed(), context.steps.failed());
    std::fflush(stdout);
    return context.steps.failed() == 0 ? 0 : 1;
}
