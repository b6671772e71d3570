// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QtLogging>

#include <csignal>
#include <sys/wait.h>
#include <unistd.h>

/// Runs `action` in a child process and returns the last message with which it was aborted; empty when it was not.
template <typename Action> QByteArray messageOfBrokenInvariant(const Action& action)
{
    static int output = -1;
    int ends[2] {};
    if (pipe(ends) != 0) {
        return "no pipe";
    }
    const pid_t child = fork();
    if (child == 0) {
        output = ends[1];
        std::signal(SIGABRT, SIG_DFL);
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString& message) {
            const QByteArray text = message.toUtf8();
            if (write(output, text.constData(), static_cast<size_t>(text.size())) < 0) {
                _exit(1);
            }
        });
        action();
        _exit(0);
    }
    close(ends[1]);
    QByteArray message;
    char buffer[512];
    for (ssize_t got = 0; (got = read(ends[0], buffer, sizeof buffer)) > 0;) {
        message.append(buffer, static_cast<qsizetype>(got));
    }
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    return WIFSIGNALED(status) && WTERMSIG(status) == SIGABRT ? message : QByteArray();
}
