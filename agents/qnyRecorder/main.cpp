// SPDX-License-Identifier: Apache-2.0
#include "commandline.h"
#include "log.h"
#include "services/controller.h"
#include "stopsignals.h"
#include "storechoice.h"

#include <QDebug>
#include <QDir>
#include <QTemporaryFile>

#include <cstdio>

namespace {

constexpr int STATUS_FAILED = 1;
constexpr int STATUS_BAD_COMMAND_LINE = 2;

int failed(const QString& why)
{
    std::fprintf(stderr, "qnyRecorder: %s\n", why.toUtf8().constData());
    return STATUS_FAILED;
}

/// Makes the directory and tries to write into it. Returns what went wrong, or nothing.
QString prepareDirectory(const QString& path)
{
    if (!QDir().mkpath(path)) {
        return QStringLiteral("cannot make the data directory %1; name another with --data-directory").arg(path);
    }
    QTemporaryFile probe(QDir(path).filePath(QStringLiteral("probe-XXXXXX")));
    if (!probe.open() || probe.write("x") != 1 || !probe.flush()) {
        return QStringLiteral("cannot write into the data directory %1 (%2); name another with --data-directory")
            .arg(path, probe.errorString());
    }
    return {};
}

} // namespace

int main(int argc, char* argv[])
{
    using namespace recorder;
    StopSignals stopSignals;

    QStringList arguments;
    for (int i = 0; i < argc; ++i) {
        arguments.append(QString::fromLocal8Bit(argv[i]));
    }
    const CommandLine commandLine = parseCommandLine(arguments);
    if (commandLine.outcome == CommandLine::Outcome::Print) {
        std::fputs(commandLine.text.toUtf8().constData(), stdout);
        return 0;
    }
    if (commandLine.outcome == CommandLine::Outcome::Refuse) {
        std::fprintf(stderr, "%s\n", commandLine.text.toUtf8().constData());
        return STATUS_BAD_COMMAND_LINE;
    }
    const Settings& settings = commandLine.settings;
    const QByteArrayList shownArguments = hidePassword(argc, argv, settings.password);
    installLog(settings.verbose);
    QString problem = Network::setCommandLine(shownArguments);
    if (!problem.isEmpty()) {
        return failed(problem);
    }
    problem = prepareDirectory(settings.dataDirectory);
    if (!problem.isEmpty()) {
        return failed(problem);
    }
    std::unique_ptr<Store> store = openStore(settings, problem);
    if (!store) {
        return failed(problem);
    }
    const QString storePlace = QString::fromStdString(store->describe());
    Controller controller(settings, std::move(store), [&stopSignals] { stopSignals.request(); });
    problem = controller.start();
    if (!problem.isEmpty()) {
        return failed(problem);
    }
    qInfo().noquote() << "Recorder" << settings.name << "is on the network; records:" << storePlace;
    const QString reason = stopSignals.wait();
    qInfo().noquote() << "Stopping, because of" << reason;
    controller.stop();
    return 0;
}
