// SPDX-License-Identifier: Apache-2.0
#include "commandline.h"

#include <QCommandLineParser>
#include <QDir>
#include <QStandardPaths>

#include <quenary.h>

namespace launcher {

namespace {

QString absolute(const QString& path)
{
    return QDir::cleanPath(QDir::current().absoluteFilePath(path));
}

QString defaultStateDirectory()
{
    // The service manager's, where it runs us.
    const QString given = qEnvironmentVariable("STATE_DIRECTORY");
    return given.isEmpty()
        ? QStandardPaths::writableLocation(QStandardPaths::GenericStateLocation) + QStringLiteral("/qnyLauncher")
        : given;
}

} // namespace

CommandLine parseCommandLine(const QStringList& arguments)
{
    const QCommandLineOption name({ "n", "name" }, "Name on the network (default: Launcher).", "name", "Launcher");
    const QCommandLineOption configuration({ "c", "configuration" },
        "What may be started (default: /etc/qnyLauncher.conf); SIGHUP reads it again.", "file",
        "/etc/qnyLauncher.conf");
    const QCommandLineOption state("state-directory",
        "Where it keeps account of its agents, and their output (default: $STATE_DIRECTORY, else the user's state "
        "location).",
        "directory", defaultStateDirectory());
    const QCommandLineOption device("device", "Network device to use (default: $QNY_DEVICE, else lo).", "device");
    const QCommandLineOption port("port", "UDP port of discovery (default: $QNY_PORT, else 5670).", "port");
    const QCommandLineOption peers("peers", "Peers to try besides discovery (default: $QNY_PEERS).", "host:port,…");
    const QCommandLineOption hostName(
        "host-name", "Name of this machine for others (default: $QNY_HOST_NAME, else the system's host name).", "name");
    const QCommandLineOption certificate({ "1", "qnyCert" },
        "Private certificate of this launcher and its agents (default: $QNY_PRIVATE_CERTIFICATE, else no security).",
        "file");
    const QCommandLineOption certificates({ "2", "publicCerts" },
        "Public certificates of the agents let in (default: $QNY_PUBLIC_CERTIFICATES).", "directory");
    const QCommandLineOption operators("operators",
        "Public certificates of those who may have agents started and ended (default: everybody who is let in).",
        "directory");
    const QCommandLineOption endAgents("end-agents",
        "End the agents when the launcher ends; without it they go on, and the next launcher finds them.");
    const QCommandLineOption check("check", "Say whether the configuration is sound, and end.");
    const QCommandLineOption help({ "h", "help" }, "Show this text.");
    const QCommandLineOption version("version", "Show the version.");

    QCommandLineParser parser;
    parser.setApplicationDescription("Starts agents on this machine when a host asks, and ends those that no longer "
                                     "answer. It starts nothing but the programs that its configuration names.");
    parser.addOptions({ name, configuration, state, device, port, peers, hostName, certificate, certificates, operators,
        endAgents, check, help, version });
    CommandLine line;
    const auto refuse = [&line](const QString& why) {
        line.outcome = CommandLine::Outcome::Refuse;
        line.text = QStringLiteral("qnyLauncher: %1 (see qnyLauncher --help)").arg(why);
        return line;
    };
    if (!parser.parse(arguments)) {
        return refuse(parser.errorText());
    }
    if (!parser.positionalArguments().isEmpty()) {
        return refuse(QStringLiteral("'%1' is no option").arg(parser.positionalArguments().constFirst()));
    }
    if (parser.isSet(help) || parser.isSet(version)) {
        line.outcome = CommandLine::Outcome::Print;
        line.text = parser.isSet(help) ? parser.helpText() : QStringLiteral("qnyLauncher " LAUNCHER_VERSION "\n");
        return line;
    }
    Settings& settings = line.settings;
    settings.name = parser.value(name);
    if (!qny_name_is_valid(settings.name.toUtf8().constData(), true)) {
        return refuse(QStringLiteral("'%1' cannot be the name of an agent").arg(settings.name));
    }
    if (parser.isSet(port)) {
        settings.port = parser.value(port).toUShort();
        if (settings.port == 0) {
            return refuse(QStringLiteral("'%1' is no port from 1 to 65535").arg(parser.value(port)));
        }
    }
    // An empty path would be the folder in which the launcher happens to run.
    for (const QCommandLineOption* const path : { &configuration, &state, &certificate, &certificates, &operators }) {
        if (parser.isSet(*path) && parser.value(*path).isEmpty()) {
            return refuse(QStringLiteral("--%1 is empty").arg(path->names().constLast()));
        }
    }
    settings.configurationFile = absolute(parser.value(configuration));
    settings.stateDirectory = absolute(parser.value(state));
    settings.device = parser.value(device);
    settings.peers = parser.value(peers);
    settings.hostName = parser.value(hostName);
    // Agents may work elsewhere: paths are absolute.
    const auto path = [&parser](const QCommandLineOption& option) {
        return parser.isSet(option) ? absolute(parser.value(option)) : QString();
    };
    settings.privateCertificate = path(certificate);
    settings.publicCertificates = path(certificates);
    settings.operators = path(operators);
    settings.endAgents = parser.isSet(endAgents);
    settings.checkOnly = parser.isSet(check);
    return line;
}

} // namespace launcher
