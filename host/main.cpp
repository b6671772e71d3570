// SPDX-License-Identifier: Apache-2.0
#include "commandline.h"
#include "controlreport.h"
#include "hostapplication.h"
#include "language.h"
#include "startlog.h"
#include "terminaltext.h"

#if CORVANE_HAS_TOUR
#include "tour/tour.h"
#endif

#include <QtCore/QLoggingCategory>
#include <QtCore/QSocketNotifier>
#include <QtGui/QIcon>
#include <QtWidgets/QApplication>

#include <csignal>
#include <cstdio>
#include <memory>
#include <sys/socket.h>
#include <unistd.h>

namespace {

int say(const CommandLineEnd& end)
{
    std::fputs(qUtf8Printable(end.text), end.status == 0 ? stdout : stderr);
    return end.status;
}

CommandLineEnd readCommandLine(int argc, char** argv, CommandLine* commandLine)
{
    // Not the application that draws: a wrong command line is answered also where nothing can be drawn.
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    const Language language(languageAsked(arguments));
    return parseCommandLine(arguments, commandLine);
}

int fail(const QString& error)
{
    std::fprintf(stderr, "corvane: %s\n", qUtf8Printable(terminalText(error)));
    return 1;
}

// SIGINT and SIGTERM end the event loop, so that the plant is ended and the network left. The handler may only write
// into a socket; the notifier reads from it on the main thread.
int signalSockets[2] = { -1, -1 };

void onSignal(int)
{
    const char byte = 1;
    [[maybe_unused]] const auto written = write(signalSockets[0], &byte, 1);
}

void quitOnSignals(QApplication& application)
{
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, signalSockets) != 0) {
        return;
    }
    auto* notifier = new QSocketNotifier(signalSockets[1], QSocketNotifier::Read, &application);
    // Not quit(), which asks the window, which may ask the person.
    QObject::connect(notifier, &QSocketNotifier::activated, &application, [] { QCoreApplication::exit(0); });
    struct sigaction action = {};
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

bool startHost(HostApplication& host, const HostOptions& options, QString* error)
{
    StartLog log;
    const bool isStarted = host.start(options, error);
    log.release(host.notices() + QStringList { *error });
    return isStarted;
}

} // namespace

int main(int argc, char** argv)
{
    installTerminalLog();
    CommandLine commandLine;
    const CommandLineEnd end = readCommandLine(argc, argv, &commandLine);
    if (end.ends) {
        return say(end);
    }
#if !CORVANE_HAS_TOUR
    if (commandLine.isTour) {
        return fail(QStringLiteral("this build has no tour"));
    }
#endif
    // The parts' progress notes are for those who develop them: QT_LOGGING_RULES brings them back.
    QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false"));
    // Neither the tour nor a screenshot shows a window to a person.
    const bool isUnseen = commandLine.isTour || !commandLine.screenshotPath.isEmpty();
    if (isUnseen && !qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }

    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("corvane"));
    QApplication::setApplicationDisplayName(QStringLiteral("Corvane"));
    QApplication::setOrganizationName(QStringLiteral("corvane"));
    QApplication::setApplicationVersion(QStringLiteral(CORVANE_VERSION));
    QApplication::setWindowIcon(QIcon(QStringLiteral(":/corvane/icons/corvane.svg")));
    quitOnSignals(application);
    // The tour tells in English what it does, and so do the pages that it shows.
    const bool isEnglish = commandLine.isTour && commandLine.language.isEmpty();
    const Language language(isEnglish ? QStringLiteral("en") : commandLine.language);

    HostApplication host;
    commandLine.host.rememberSettings = !isUnseen;
    QString error;
#if CORVANE_HAS_TOUR
    if (commandLine.isTour) {
        TourOptions options;
        options.outputDirectory = commandLine.tourDirectory;
        options.setStore(commandLine.tourStore);
        if (!prepareTour(options, &commandLine.host, &error) || !startHost(host, commandLine.host, &error)) {
            return fail(error);
        }
        const int status = runTour(host, options);
        host.stop();
        return status;
    }
#endif
    if (!startHost(host, commandLine.host, &error)) {
        return fail(error);
    }
    if (!commandLine.screenshotPath.isEmpty()) {
        return host.screenshot(commandLine.screenshotPath, &error) ? 0 : fail(error);
    }
    std::unique_ptr<ControlReport> report;
    if (!commandLine.controlReportPath.isEmpty()) {
        report = std::make_unique<ControlReport>(commandLine.controlReportPath);
        QObject::connect(report.get(), &ControlReport::failed, &host, &HostApplication::addNotice);
    }
    const int status = QApplication::exec();
    report.reset();
    host.stop();
    return status;
}
