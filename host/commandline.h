// SPDX-License-Identifier: Apache-2.0
#ifndef CORVANE_COMMANDLINE_H
#define CORVANE_COMMANDLINE_H

#include "hostapplication.h"

#include <QtCore/QString>
#include <QtCore/QStringList>

struct CommandLine
{
    HostOptions host;
    bool isTour = false;
    QString tourDirectory; // empty: the tour's own choice
    QString screenshotPath; // empty: none
};

// What the program says instead of running: status 0 and text for standard output (help, version), or status 2 and one
// line for standard error.
struct CommandLineEnd
{
    bool ends = false;
    int status = 0;
    QString text;
};

// `arguments` begin with the program's name. Needs no application object.
CommandLineEnd parseCommandLine(const QStringList& arguments, CommandLine* commandLine);

#endif
