// SPDX-License-Identifier: Apache-2.0
#ifndef CORVANE_COMMANDLINE_H
#define CORVANE_COMMANDLINE_H

#include "hostapplication.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QString>
#include <QtCore/QStringList>

struct CommandLine
{
    Q_DECLARE_TR_FUNCTIONS(CommandLine)

public:
    HostOptions host;
    bool isTour = false;
    QString tourDirectory; // empty: the tour's own choice
    QString tourStore; // "embedded", "csv" or the host:port of a Cassandra; empty: the tour's own choice
    QString screenshotPath; // empty: none
    QString language; // of Language::available(); empty: the desktop's
    QString controlReportPath; // empty: none
};

// What the program says instead of running: status 0 and text for standard output (help, version), or status 2 and one
// line for standard error.
struct CommandLineEnd
{
    bool ends = false;
    int status = 0;
    QString text;
};

// The language in which to answer the command line, before it is known whether it is right: what stands for --language,
// or an empty text.
QString languageAsked(const QStringList& arguments);

// `arguments` begin with the program's name. Without an application object the answers are English.
CommandLineEnd parseCommandLine(const QStringList& arguments, CommandLine* commandLine);

#endif
