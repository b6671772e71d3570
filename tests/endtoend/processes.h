// SPDX-License-Identifier: Apache-2.0
#ifndef TESTS_ENDTOEND_PROCESSES_H
#define TESTS_ENDTOEND_PROCESSES_H

#include <QtCore/QProcess>
#include <QtCore/QRandomGenerator>
#include <QtCore/QString>
#include <QtCore/QStringList>

// What a program said and how it ended.
struct Ending
{
    bool hasEnded = false; // false: it was still running after the time, and was killed
    int status = -1; // exit status, -1 for a crash
    QString standardOutput;
    QString standardError;
};

inline QProcessEnvironment environmentWith(const QString& dataHome)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("QT_QPA_PLATFORM", "offscreen");
    environment.insert("XDG_DATA_HOME", dataHome);
    environment.insert("XDG_CONFIG_HOME", dataHome);
    for (const char* name : { "QNY_PORT", "QNY_DEVICE", "QNY_PEERS" }) {
        environment.remove(name);
    }
    return environment;
}

// Runs a program to its end.
inline Ending runToEnd(
    const QString& program, const QStringList& arguments, const QString& dataHome, int timeoutMs = 20'000)
{
    QProcess process;
    process.setProcessEnvironment(environmentWith(dataHome));
    process.start(program, arguments);
    Ending ending;
    ending.hasEnded = process.waitForFinished(timeoutMs);
    if (!ending.hasEnded) {
        process.kill();
        process.waitForFinished(5'000);
    }
    ending.status = ending.hasEnded && process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    ending.standardOutput = QString::fromLocal8Bit(process.readAllStandardOutput());
    ending.standardError = QString::fromLocal8Bit(process.readAllStandardError());
    return ending;
}

// A discovery port that tests running at the same moment hardly share.
inline quint16 randomPort()
{
    return static_cast<quint16>(QRandomGenerator::global()->bounded(20'000, 60'000));
}

#endif
