// SPDX-License-Identifier: Apache-2.0
#include "commandline.h"
#include "keeper.h"
#include "launcher.h"
#include "network.h"
#include "processes.h"
#include "signalreader.h"

#include <QCoreApplication>
#include <QDebug>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr int STATUS_FAILED = 1;
constexpr int STATUS_BAD_COMMAND_LINE = 2;

int failed(const QString& why)
{
    std::fprintf(stderr, "qnyLauncher: %s\n", why.toUtf8().constData());
    return STATUS_FAILED;
}

/// What others say must not control the terminal that the log is read in, nor begin a line of its own making.
void writeMessage(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    QString text = message;
    for (QChar& character : text) {
        const bool isHarmful
            = character.category() == QChar::Other_Control || character.category() == QChar::Other_Format;
        if (isHarmful && character != u'\n' && character != u'\t') {
            character = u'?';
        }
    }
    text.replace(u'\n', QLatin1String("\n    "));
    std::fprintf(stderr, "%s\n", qUtf8Printable(qFormatLogMessage(type, context, text)));
}

void installLog()
{
    qInstallMessageHandler(writeMessage);
    qSetMessagePattern(QStringLiteral("%{time yyyy-MM-dd HH:mm:ss.zzz} %{type}: %{message}"));
    qny_log_set_handler(
        [](qny_log_level_t level, const char* message, void*) {
            if (level >= QNY_LOG_WARNING) {
                qWarning("network: %s", message);
            }
        },
        nullptr);
}

/// Makes a directory that belongs to this user alone. Returns what went wrong, or nothing.
QString makePrivate(const QString& path)
{
    const auto mine = QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner;
    const bool isThere = QDir().mkpath(path);
    // Where others may make folders and links, one of theirs must not lead to what is ours elsewhere.
    struct stat itself {};
    struct stat folder {};
    const QByteArray name = QFile::encodeName(path);
    if (isThere && lstat(name.constData(), &itself) == 0 && stat(name.constData(), &folder) == 0
        && (folder.st_uid != geteuid() || (itself.st_uid != geteuid() && itself.st_uid != 0))) {
        return QStringLiteral("%1 belongs to somebody else; name another with --state-directory").arg(path);
    }
    if (!isThere || !QFile::setPermissions(path, mine) || !QFileInfo(path).isWritable()) {
        return QStringLiteral("cannot make or write into %1; name another with --state-directory").arg(path);
    }
    return {};
}

/// Held until the process ends, whatever ends it. False when another launcher holds it.
bool lockForGood(const QString& path)
{
    const int file = open(QFile::encodeName(path).constData(), O_RDWR | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR);
    return file >= 0 && flock(file, LOCK_EX | LOCK_NB) == 0;
}

} // namespace

int main(int argc, char* argv[])
{
    using namespace launcher;
    if (argc == 2 && std::strcmp(argv[1], KEEPER_ARGUMENT) == 0) {
        return runKeeper();
    }
    SignalReader::block();
    QCoreApplication application(argc, argv);
    const CommandLine commandLine = parseCommandLine(QCoreApplication::arguments());
    if (commandLine.outcome == CommandLine::Outcome::Print) {
        std::fputs(commandLine.text.toUtf8().constData(), stdout);
        return 0;
    }
    if (commandLine.outcome == CommandLine::Outcome::Refuse) {
        std::fprintf(stderr, "%s\n", commandLine.text.toUtf8().constData());
        return STATUS_BAD_COMMAND_LINE;
    }
    const Settings& settings = commandLine.settings;
    Configuration configuration;
    QString problem = readConfiguration(settings.configurationFile, configuration);
    if (!problem.isEmpty()) {
        return failed(problem);
    }
    if (settings.checkOnly) {
        std::printf("%s: %d programs\n", qUtf8Printable(settings.configurationFile),
            static_cast<int>(configuration.programs.size()));
        return 0;
    }
    installLog();
    const QDir state(settings.stateDirectory);
    const Launcher::Places places { state.filePath(QStringLiteral("launches")), state.filePath(QStringLiteral("logs")),
        QFileInfo(QStringLiteral("/proc/self/exe")).canonicalFilePath() };
    for (const QString& directory : { settings.stateDirectory, places.launches, places.logs }) {
        problem = makePrivate(directory);
        if (!problem.isEmpty()) {
            return failed(problem);
        }
    }
    if (!lockForGood(state.filePath(QStringLiteral("lock")))) {
        return failed(QStringLiteral("another launcher works in %1; name another with --state-directory")
                .arg(settings.stateDirectory));
    }

    SignalReader signalReader;
    Network network;
    Launcher launches(
        configuration, places, &Network::tell, [&network](const QByteArray& host) { return network.mayHear(host); });
    QObject::connect(&network, &Network::startAsked, &launches, &Launcher::startAgent);
    QObject::connect(&network, &Network::stopAsked, &launches, &Launcher::stopAgent);
    QObject::connect(&network, &Network::hostEntered, &launches, &Launcher::hostEntered);
    QObject::connect(&network, &Network::hostExited, &launches, &Launcher::hostExited);
    QObject::connect(&launches, &Launcher::allEnded, &application, &QCoreApplication::quit, Qt::QueuedConnection);
    const auto end = [&](const QString& reason) {
        qInfo().noquote() << "Ending, because of" << reason << "with" << launches.runningCount() << "agents, which"
                          << (settings.endAgents ? "end too" : "go on");
        if (settings.endAgents) {
            launches.endAll();
        } else {
            QCoreApplication::quit();
        }
    };
    QObject::connect(
        &signalReader, &SignalReader::endAsked, &application, [&end](int signal) { end(signalName(signal)); });
    QObject::connect(&network, &Network::endAsked, &application,
        [&end](const QString& name) { end(QStringLiteral("a request of ") + name); });
    QObject::connect(&signalReader, &SignalReader::reloadAsked, &application, [&] {
        Configuration read;
        const QString wrong = readConfiguration(settings.configurationFile, read);
        if (!wrong.isEmpty()) {
            qWarning().noquote() << "The configuration stays as it was:" << wrong;
            return;
        }
        launches.setConfiguration(read);
        network.offer(read);
        qInfo().noquote() << "Read the configuration again:" << read.programs.size() << "programs";
    });
    launches.takeOver();
    problem = network.start(settings, argc, argv);
    if (!problem.isEmpty()) {
        return failed(problem);
    }
    network.offer(configuration);
    qInfo().noquote() << "Launcher" << settings.name << "is on the network and may start"
                      << configuration.programs.size() << "programs; state and output:" << settings.stateDirectory;
    return QCoreApplication::exec();
}
