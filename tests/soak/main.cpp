// SPDX-License-Identifier: Apache-2.0
//
// An hour of churn, or some seconds of it: see scripts/soak.

#include "soak.h"

#include <QtCore/QCommandLineParser>
#include <QtCore/QCoreApplication>
#include <QtCore/QDir>

namespace {

// From here on there is time for longer records and stays.
constexpr int LONG_SECONDS = 120;

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    const QCommandLineOption folder(
        QStringLiteral("folder"), QStringLiteral("where everything is kept"), QStringLiteral("path"));
    const QCommandLineOption seconds(QStringLiteral("seconds"), QStringLiteral("in which the crowd comes"),
        QStringLiteral("number"), QStringLiteral("3600"));
    const QCommandLineOption arrivals(
        QStringLiteral("arrivals"), QStringLiteral("how many come"), QStringLiteral("number"), QStringLiteral("10000"));
    const QCommandLineOption store(
        QStringLiteral("store"), QStringLiteral("embedded or csv"), QStringLiteral("name"), QStringLiteral("embedded"));
    parser.addHelpOption();
    parser.addOptions({ folder, seconds, arrivals, store });
    parser.process(application);

    soak::SoakOptions options;
    options.folder = QDir::current().absoluteFilePath(parser.value(folder));
    options.seconds = parser.value(seconds).toInt();
    options.arrivals = parser.value(arrivals).toInt();
    const bool isCsv = parser.value(store) == QLatin1String("csv");
    if (!parser.isSet(folder) || options.seconds < 1 || options.arrivals < 1
        || (!isCsv && parser.value(store) != QLatin1String("embedded"))) {
        parser.showHelp(2);
    }
    if (isCsv) {
        options.endpoint.clear();
    }
    if (options.seconds >= LONG_SECONDS) {
        options.recordSeconds = 15.0;
        options.mostStayMs = 8'000;
        options.sampleMs = 5'000;
        options.bounds = {};
    }
    options.hostProgram = QStringLiteral(RR_SOAK_HOST);
    options.crowdProgram = QStringLiteral(RR_CROWD);
    options.launcherProgram = QStringLiteral(RR_LAUNCHER);
    options.recorderProgram = QStringLiteral(RR_RECORDER);
    soak::Soak soak(options);
    return soak.run() ? 0 : 1;
}
