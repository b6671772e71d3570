// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>
#include <QStringList>

namespace launcher {

struct Settings
{
    QString name; // on the network
    QString configurationFile;
    QString stateDirectory; // what is known of running agents, and their output
    QString device; // empty here and below: the environment's
    quint16 port = 0;
    QString peers;
    QString hostName;
    QString privateCertificate;
    QString publicCertificates;
    QString operators; // directory of the certificates of those who may ask; empty: everybody on the network
    bool endAgents = false; // with the launcher
    bool checkOnly = false; // read the configuration, say whether it is sound, and end
};

struct CommandLine
{
    enum class Outcome
    {
        Run,
        Print, // text to standard output, success
        Refuse // text to standard error, failure
    };
    Outcome outcome = Outcome::Run;
    QString text;
    Settings settings;
};

/// The first argument is the program's name.
CommandLine parseCommandLine(const QStringList& arguments);

} // namespace launcher
