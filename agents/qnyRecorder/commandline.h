// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArrayList>
#include <QString>
#include <QStringList>

namespace recorder {

/// Where the records are kept.
enum class StoreKind
{
    None, ///< no database was named: CSV files in the data directory
    Embedded, ///< the built-in database in the data directory
    Cassandra
};

/// What the command line asks for, checked and completed with the defaults.
struct Settings
{
    QString name = QStringLiteral("qnyRecorder"); ///< the agent's name on the network
    StoreKind store = StoreKind::None;
    QString databaseHost; ///< of Cassandra; an IPv6 address comes without brackets
    quint16 databasePort = 0;
    QString keyspace;
    QString username;
    QString password;
    QString replication = QStringLiteral("SimpleStrategy:1"); ///< of a keyspace that has to be made
    QString consistency = QStringLiteral("LOCAL_QUORUM"); ///< of reads and writes
    bool tls = false;
    QString tlsCaFile; ///< empty: the authorities that the system trusts
    quint64 spillBytes = quint64(4) * 1024 * 1024 * 1024; ///< of what waits on this machine for Cassandra
    bool verbose = false;
    bool timestampedReplay = false; ///< publications of a replay carry their recorded time, not the present one
    bool replayOverLive = false; ///< replay also for agents that are on the network themselves
    QString device; ///< empty: the environment's, else the network library's default
    quint16 port = 0; ///< 0: the environment's, else the network library's default
    QString peers;
    QString privateCertificate; ///< empty: the environment's, else no security; the same for the directory
    QString publicCertificates;
    QString operatorsDirectory; ///< certificates of those whose commands are obeyed; empty: everybody's are
    QString dataDirectory; ///< absolute
};

/// What a command line comes to: settings to run with, or a text to print before ending.
struct CommandLine
{
    enum class Outcome
    {
        Run,
        Print, ///< help or version: `text` goes to standard output, status 0
        Refuse ///< something is wrong: `text`, one line, goes to standard error, status 2
    };
    Outcome outcome = Outcome::Refuse;
    QString text;
    Settings settings;
};

/// Reads the arguments, the program's own name first. Looks at no file and starts nothing.
CommandLine parseCommandLine(const QStringList& arguments);

/// Overwrites the password's value where it stands in the arguments of this process, which every user of the machine
/// can read while it runs. The password as parseCommandLine() has read it. Returns the arguments as others may see
/// them.
QByteArrayList hidePassword(int argc, char* const* argv, const QString& password);

/// The folder of one recorder below the platform's data location: any agent name gives a safe, distinct folder name.
QString defaultDataDirectory(const QString& recorderName);

} // namespace recorder
