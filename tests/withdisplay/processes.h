// SPDX-License-Identifier: Apache-2.0
#ifndef TESTS_WITHDISPLAY_PROCESSES_H
#define TESTS_WITHDISPLAY_PROCESSES_H

#include <QtCore/QList>
#include <QtCore/QProcess>
#include <QtCore/QProcessEnvironment>
#include <QtCore/QString>

#include <sys/types.h>

// Lets a program that is about to be started end with this one, should this one be killed.
void bind(QProcess* process);
// Ends a program that this test started, whatever it does; its own failures are said by the steps.
void end(QProcess* process);

// Makes what a person has at home, in a folder: data, settings, an empty folder of documents.
bool makeHome(const QString& folder);
// Of programs on a display that nobody sees, with that home, and on a network of their own on the loopback device.
QProcessEnvironment environmentOf(const QString& folder, const QString& display);
// Those that have that home, which only what the test started does.
QList<pid_t> processesOf(const QString& folder);
// Asks them to end.
void endProcessesOf(const QString& folder);

#endif
