// SPDX-License-Identifier: Apache-2.0
#include "commandline.h"

#include "store/cassandra/replication.h"

#include <QCommandLineOption>
#include <QCommandLineParser>
#include <QDir>
#include <QStandardPaths>
#include <QUrl>

#include <algorithm>
#include <cstring>
#include <limits>

#include <quenary.h>

namespace recorder {

namespace {

constexpr char EMBEDDED_HOST[] = "embedded";
constexpr quint64 LEAST_SPILL_BYTES = 16 * 1024 * 1024;

#ifdef RR_HAS_CASSANDRA
constexpr bool HAS_CASSANDRA = true;
#else
constexpr bool HAS_CASSANDRA = false;
#endif

CommandLine refusal(const QString& why)
{
    CommandLine line;
    line.outcome = CommandLine::Outcome::Refuse;
    line.text = QStringLiteral("qnyRecorder: %1 (see qnyRecorder --help)").arg(why);
    return line;
}

CommandLine printed(const QString& text)
{
    CommandLine line;
    line.outcome = CommandLine::Outcome::Print;
    line.text = text;
    return line;
}

/// A port from 1 to 65535, or 0 when the text is none.
quint16 portFromText(const QString& text)
{
    bool isNumber = false;
    const uint port = text.toUInt(&isNumber);
    const bool digitsOnly = !text.isEmpty() && text.at(0).isDigit();
    return (isNumber && digitsOnly && port >= 1 && port <= 65535) ? static_cast<quint16>(port) : quint16(0);
}

bool isKeyspaceName(const QString& text)
{
    if (text.isEmpty() || text.size() > 48) {
        return false;
    }
    for (const QChar c : text) {
        if (!(c.unicode() < 128 && (c.isLetterOrNumber() || c == QLatin1Char('_')))) {
            return false;
        }
    }
    return true;
}

/// The options, long and short; those that only this program knows are long alone, because launch lines are also read
/// by programs that take "-abc" for three short options.
struct Options
{
    QCommandLineOption name { { "n", "name" }, "Name of the recorder on the network.", "name" };
    QCommandLineOption cassandra { { "c", "cassandra" },
        "The database that keeps the records: \"embedded\" with any port is the built-in one, anything else a node "
        "of a Cassandra cluster. Without this option each record is a CSV file in the data directory.",
        "host:port" };
    QCommandLineOption keyspace { { "k", "keyspace" },
        "Keyspace of the database (default in Cassandra: record_and_replay); made when it is missing.", "keyspace" };
    QCommandLineOption username { { "u", "cassandra_username" }, "User name for Cassandra.", "user" };
    QCommandLineOption password { { "a", "cassandra_password" }, "Password for Cassandra.", "password" };
    QCommandLineOption replication { "replication",
        "Copies that Cassandra keeps in a keyspace which has to be made, such as NetworkTopologyStrategy:dc1=3,dc2=2 "
        "(default: SimpleStrategy:1).",
        "strategy:copies" };
    QCommandLineOption consistency { "consistency",
        "How many nodes of Cassandra must have answered, such as ONE or QUORUM (default: LOCAL_QUORUM).", "level" };
    QCommandLineOption tls { "tls", "Speak to Cassandra encrypted; its certificates must name the nodes' addresses." };
    QCommandLineOption tlsCa { "tls-ca",
        "The authorities that vouch for Cassandra's certificates, in PEM form (default: those that the system trusts); "
        "means --tls.",
        "file" };
    QCommandLineOption spillLimit { "spill-limit",
        "How much may wait on this machine's disk while Cassandra takes no writes, such as 500M or 20G (default: 4G); "
        "beyond it events are lost, and counted.",
        "size" };
    QCommandLineOption verbose { { "v", "verbose" }, "Log every command and answer." };
    QCommandLineOption certificate { { "1", "qnyCert" },
        "This agent's private certificate (default: $QNY_PRIVATE_CERTIFICATE, else no security).", "file" };
    QCommandLineOption certificates { { "2", "publicCerts" },
        "Public certificates of the agents let in (default: $QNY_PUBLIC_CERTIFICATES).", "directory" };
    QCommandLineOption operators { "operators",
        "Public certificates of those whose commands are obeyed (default: everybody's who is let in); what they "
        "command "
        "is written into the audit log of the data directory.",
        "directory" };
    QCommandLineOption timestamped { { "5", "timestamped_replay" },
        "Replayed publications carry the time at which they were recorded." };
    QCommandLineOption device { "device", "Network device to use (default: $QNY_DEVICE, else lo).", "device" };
    QCommandLineOption port { "port", "UDP port of discovery (default: $QNY_PORT, else 5670).", "port" };
    QCommandLineOption peers { "peers", "Peers to try besides discovery (default: $QNY_PEERS).", "host:port,…" };
    QCommandLineOption dataDirectory { "data-directory",
        "Where records and the filters are kept (default: the platform's data location, a folder for each recorder "
        "name).",
        "directory" };
    QCommandLineOption replayOverLive { "replay_over_live",
        "Replay recorded agents although agents of the same names are on the network." };
    QCommandLineOption help { "help", "Show this text." };
    QCommandLineOption version { "version", "Show the version." };

    QList<QCommandLineOption> all() const
    {
        return { name, cassandra, keyspace, username, password, replication, consistency, tls, tlsCa, spillLimit,
            verbose, certificate, certificates, operators, timestamped, device, port, peers, dataDirectory,
            replayOverLive, help, version };
    }
};

/// Bytes from a number with one of the letters K, M, G and T behind it, or none; 0 when the text is nothing of the
/// kind.
quint64 sizeFromText(const QString& text)
{
    const QString digits = text.chopped(!text.isEmpty() && text.back().isLetter() ? 1 : 0);
    const qsizetype power = digits.size() == text.size() ? 0 : QStringLiteral(" KMGT").indexOf(text.back().toUpper());
    bool isNumber = false;
    const quint64 number = digits.toULongLong(&isNumber);
    const bool digitsOnly = !digits.isEmpty() && digits.at(0).isDigit();
    if (!isNumber || !digitsOnly || power < 0 || digits.size() > 15) {
        return 0;
    }
    const quint64 unit = quint64(1) << (10 * power);
    return number <= std::numeric_limits<quint64>::max() / unit ? number * unit : 0;
}

/// Splits HOST:PORT at the last colon. Returns what is wrong, or nothing.
QString readDatabase(const QString& text, Settings& settings)
{
    const qsizetype colon = text.lastIndexOf(QLatin1Char(':'));
    const QString host = text.left(colon);
    if (colon <= 0 || portFromText(text.mid(colon + 1)) == 0) {
        return QStringLiteral("--cassandra \"%1\" is not HOST:PORT with a port from 1 to 65535, such as embedded:9042")
            .arg(text);
    }
    settings.databaseHost = host;
    settings.databasePort = portFromText(text.mid(colon + 1));
    settings.store = host == QLatin1String(EMBEDDED_HOST) ? StoreKind::Embedded : StoreKind::Cassandra;
    return {};
}

/// What says how to use the database. Returns what is wrong, or nothing.
QString readCassandraOptions(const QCommandLineParser& parser, const Options& options, Settings& settings)
{
    if (parser.isSet(options.keyspace)) {
        settings.keyspace = parser.value(options.keyspace);
        if (!isKeyspaceName(settings.keyspace)) {
            return QStringLiteral("--keyspace \"%1\" is not 1 to 48 letters, digits and underscores")
                .arg(settings.keyspace);
        }
    }
    if (parser.isSet(options.username) != parser.isSet(options.password)) {
        return QStringLiteral("--cassandra_username and --cassandra_password go together");
    }
    settings.username = parser.value(options.username);
    settings.password = parser.value(options.password);
    if (parser.isSet(options.replication)) {
        settings.replication = parser.value(options.replication);
        if (!cassandra::replicationMap(settings.replication.toStdString())) {
            return QStringLiteral("--replication \"%1\" is neither like SimpleStrategy:1 nor like "
                                  "NetworkTopologyStrategy:dc1=3,dc2=2, with 1 to 100 copies")
                .arg(settings.replication);
        }
    }
    if (parser.isSet(options.consistency)) {
        settings.consistency = parser.value(options.consistency).toUpper();
        if (!cassandra::isConsistency(settings.consistency.toStdString())) {
            return QStringLiteral("--consistency \"%1\" is none of ONE, TWO, THREE, QUORUM, ALL, LOCAL_ONE and "
                                  "LOCAL_QUORUM")
                .arg(parser.value(options.consistency));
        }
    }
    settings.tlsCaFile = parser.value(options.tlsCa);
    if (parser.isSet(options.tlsCa) && settings.tlsCaFile.isEmpty()) {
        return QStringLiteral("--tls-ca is empty");
    }
    settings.tls = parser.isSet(options.tls) || parser.isSet(options.tlsCa);
    if (parser.isSet(options.spillLimit)) {
        settings.spillBytes = sizeFromText(parser.value(options.spillLimit));
        if (settings.spillBytes < LEAST_SPILL_BYTES) {
            return QStringLiteral("--spill-limit \"%1\" is not a size from 16M on, such as 500M or 20G")
                .arg(parser.value(options.spillLimit));
        }
    }
    return {};
}

} // namespace

QString defaultDataDirectory(const QString& recorderName)
{
    // Percent-encoding keeps names apart that differ only in what file systems dislike; ".." must not climb.
    QString folder = QString::fromLatin1(QUrl::toPercentEncoding(recorderName, " +,=@()[]'!"));
    if (folder.startsWith(QLatin1Char('.'))) {
        folder.replace(0, 1, QStringLiteral("%2E"));
    }
    const QString base = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    return QDir(base).filePath(QStringLiteral("qnyRecorder/") + folder);
}

QByteArrayList hidePassword(int argc, char* const* argv, const QString& password)
{
    const QByteArray mask("********");
    const QByteArray value = password.toLocal8Bit();
    QByteArrayList shown;
    for (int i = 0; i < argc; ++i) {
        shown.append(argv[i]);
    }
    const auto hide = [&](int argument, qsizetype begin) {
        char* const text = argv[argument] + begin;
        const size_t size = std::strlen(text);
        std::memset(text, 0, size);
        std::memset(text, '*', std::min(size, static_cast<size_t>(mask.size())));
        shown[argument].truncate(begin);
        shown[argument] += mask;
    };
    for (int i = 1; i < argc && !value.isEmpty() && shown.at(i) != "--"; ++i) {
        const QByteArray argument = shown.at(i);
        // "-va value": the last of several short options may be the one.
        const bool isCluster = argument.startsWith('-') && !argument.startsWith("--") && argument.endsWith('a');
        const bool isOption = argument == "--cassandra_password" || argument == "--a" || isCluster;
        const QByteArray before = argument.chopped(std::min(value.size(), argument.size()));
        if (isOption && i + 1 < argc && shown.at(i + 1) == value) {
            hide(++i, 0);
        } else if (argument.endsWith(value) && before.startsWith('-')
            && (before.endsWith('a') || before.endsWith("a=") || before == "--cassandra_password=")) {
            hide(i, before.size()); // "-avalue", "-vavalue", "--cassandra_password=value"
        }
    }
    return shown;
}

CommandLine parseCommandLine(const QStringList& arguments)
{
    const Options options;
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Records the traffic of an agent network and plays it back, driven by "
                       "the services that it offers to hosts."));
    parser.addOptions(options.all());
    if (!parser.parse(arguments)) {
        QString why = parser.errorText();
        while (why.endsWith(QLatin1Char('.'))) {
            why.chop(1);
        }
        return refusal(why);
    }
    if (parser.isSet(options.help)) {
        // Qt's first line names the program by a QCoreApplication, which this program has no use for.
        const QString text = parser.helpText();
        return printed(QStringLiteral("Usage: qnyRecorder [options]") + text.mid(text.indexOf(QLatin1Char('\n'))));
    }
    if (parser.isSet(options.version)) {
        return printed(QStringLiteral("qnyRecorder " RECORDER_VERSION "\n"));
    }
    if (!parser.positionalArguments().isEmpty()) {
        return refusal(QStringLiteral("unexpected argument \"%1\"").arg(parser.positionalArguments().constFirst()));
    }

    CommandLine line;
    line.outcome = CommandLine::Outcome::Run;
    Settings& settings = line.settings;
    settings.verbose = parser.isSet(options.verbose);
    settings.timestampedReplay = parser.isSet(options.timestamped);
    settings.replayOverLive = parser.isSet(options.replayOverLive);

    if (parser.isSet(options.name)) {
        settings.name = parser.value(options.name);
        if (!qny_name_is_valid(settings.name.toUtf8().constData(), true)) {
            return refusal(
                QStringLiteral("--name \"%1\" cannot name an agent: 1 to 255 bytes without \" \\ / * ? # and "
                               "control characters, no blank at either end, no leading -")
                    .arg(settings.name));
        }
    }

    // What a person asked to be secured must not come out open because a text was empty.
    for (const auto& [option, path] : { std::pair(&options.certificate, &settings.privateCertificate),
             std::pair(&options.certificates, &settings.publicCertificates),
             std::pair(&options.operators, &settings.operatorsDirectory) }) {
        *path = parser.value(*option);
        if (parser.isSet(*option) && path->isEmpty()) {
            return refusal(QStringLiteral("--%1 is empty").arg(option->names().constLast()));
        }
    }

    if (parser.isSet(options.cassandra)) {
        const QString wrong = readDatabase(parser.value(options.cassandra), settings);
        if (!wrong.isEmpty()) {
            return refusal(wrong);
        }
        if (settings.store == StoreKind::Cassandra && !HAS_CASSANDRA) {
            return refusal(
                QStringLiteral("--cassandra %1: this build has no Cassandra; install cargo 1.85 or later and "
                               "the headers of OpenSSL and build again, or use the built-in database with "
                               "--cassandra embedded:9042")
                    .arg(parser.value(options.cassandra)));
        }
    }
    const QString problem = readCassandraOptions(parser, options, settings);
    if (!problem.isEmpty()) {
        return refusal(problem);
    }
    settings.device = parser.value(options.device);
    if (parser.isSet(options.device) && settings.device.isEmpty()) {
        return refusal(QStringLiteral("--device is empty"));
    }
    if (parser.isSet(options.port)) {
        settings.port = portFromText(parser.value(options.port));
        if (settings.port == 0) {
            return refusal(
                QStringLiteral("--port \"%1\" is not a number from 1 to 65535").arg(parser.value(options.port)));
        }
    }
    settings.peers = parser.value(options.peers);

    if (parser.isSet(options.dataDirectory)) {
        if (parser.value(options.dataDirectory).isEmpty()) {
            return refusal(QStringLiteral("--data-directory is empty"));
        }
        settings.dataDirectory = QDir::cleanPath(QDir::current().absoluteFilePath(parser.value(options.dataDirectory)));
    } else {
        settings.dataDirectory = defaultDataDirectory(settings.name);
    }
    return line;
}

} // namespace recorder
