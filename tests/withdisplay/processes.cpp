// SPDX-License-Identifier: Apache-2.0
#include "processes.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QRandomGenerator>

#include <csignal>
#include <sys/prctl.h>

void bind(QProcess* process)
{
    process->setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGTERM); });
}

void end(QProcess* process)
{
    if (process->state() == QProcess::NotRunning) {
        return;
    }
    process->terminate();
    if (!process->waitForFinished(10'000)) {
        process->kill();
        process->waitForFinished(10'000);
    }
}

bool makeHome(const QString& folder)
{
    const QDir home(folder);
    for (const char* part : { "data", "config", "cache", "runtime", "Documents" }) {
        if (!home.mkpath(part)) {
            return false;
        }
    }
    return QFile::setPermissions(home.filePath("runtime"), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

QProcessEnvironment environmentOf(const QString& folder, const QString& display)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove("WAYLAND_DISPLAY");
    environment.remove("QNY_PEERS");
    environment.insert("DISPLAY", display);
    environment.insert("QT_QPA_PLATFORM", "xcb");
    environment.insert("QT_QUICK_BACKEND", "software"); // the display has no graphics card
    environment.insert("QT_ACCESSIBILITY", "0"); // nor a session bus
    environment.insert("DBUS_SESSION_BUS_ADDRESS", "unix:path=/dev/null");
    environment.insert("QNY_DEVICE", "lo");
    environment.insert("QNY_PORT", QString::number(QRandomGenerator::global()->bounded(20'000, 60'000)));
    environment.insert("HOME", folder);
    environment.insert("XDG_DATA_HOME", folder + "/data");
    environment.insert("XDG_CONFIG_HOME", folder + "/config");
    environment.insert("XDG_CACHE_HOME", folder + "/cache");
    environment.insert("XDG_RUNTIME_DIR", folder + "/runtime");
    return environment;
}

QList<pid_t> processesOf(const QString& folder)
{
    QList<pid_t> found;
    const QStringList entries = QDir(QStringLiteral("/proc")).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QString& entry : entries) {
        bool isNumber = false;
        const pid_t id = entry.toInt(&isNumber);
        QFile environment(QStringLiteral("/proc/%1/environ").arg(entry));
        if (isNumber && environment.open(QIODevice::ReadOnly)
            && environment.readAll().contains("XDG_DATA_HOME=" + folder.toLocal8Bit() + "/data")) {
            found.append(id);
        }
    }
    return found;
}

void endProcessesOf(const QString& folder)
{
    const QList<pid_t> processes = processesOf(folder);
    for (const pid_t id : processes) {
        ::kill(id, SIGTERM);
    }
}
