// SPDX-License-Identifier: Apache-2.0
#include "launchfiles.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>

namespace launcher {

namespace {

const QString ASKED = QStringLiteral("asked.json");
const QString RUNNING = QStringLiteral("running.json");
const QString END = QStringLiteral("end.json");

/// Whole or not at all, for this user alone.
bool write(const QString& folder, const QString& name, const QJsonObject& json)
{
    QSaveFile file(QDir(folder).filePath(name));
    return file.open(QIODevice::WriteOnly) && file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner)
        && file.write(QJsonDocument(json).toJson(QJsonDocument::Compact)) > 0 && file.commit();
}

QJsonObject read(const QString& folder, const QString& name)
{
    QFile file(QDir(folder).filePath(name));
    return file.open(QIODevice::ReadOnly) ? QJsonDocument::fromJson(file.readAll()).object() : QJsonObject();
}

} // namespace

QByteArray KeeperOrder::toJson() const
{
    const QJsonObject json { { "folder", folder }, { "program", program },
        { "arguments", QJsonArray::fromStringList(arguments) }, { "log", log }, { "log_file_bytes", logFileBytes },
        { "log_files", logFiles }, { "seconds_to_end", secondsToEnd } };
    return QJsonDocument(json).toJson(QJsonDocument::Compact);
}

std::optional<KeeperOrder> KeeperOrder::fromJson(const QByteArray& text)
{
    const QJsonObject json = QJsonDocument::fromJson(text).object();
    KeeperOrder order;
    order.folder = json["folder"].toString();
    order.program = json["program"].toString();
    for (const QJsonValue& argument : json["arguments"].toArray()) {
        order.arguments.append(argument.toString());
    }
    order.log = json["log"].toString();
    order.logFileBytes = json["log_file_bytes"].toInteger();
    order.logFiles = json["log_files"].toInt();
    order.secondsToEnd = json["seconds_to_end"].toInt();
    if (order.folder.isEmpty() || order.program.isEmpty() || order.log.isEmpty()) {
        return std::nullopt;
    }
    return order;
}

LaunchFiles::LaunchFiles(const QString& folder)
    : _folder(folder)
{
}

bool LaunchFiles::writeAsked(const QString& program, const QByteArray& askerUuid)
{
    QDir().mkpath(_folder);
    QFile::remove(QDir(_folder).filePath(RUNNING));
    QFile::remove(QDir(_folder).filePath(END));
    return write(_folder, ASKED, { { "program", program }, { "asker", QString::fromLatin1(askerUuid) } });
}

QString LaunchFiles::program() const
{
    return read(_folder, ASKED)["program"].toString();
}

QByteArray LaunchFiles::askerUuid() const
{
    return read(_folder, ASKED)["asker"].toString().toLatin1();
}

bool LaunchFiles::writeRunning(const RunningLaunch& running)
{
    return write(_folder, RUNNING,
        { { "keeper", static_cast<qint64>(running.keeper.id) },
            { "keeper_start", QString::number(running.keeper.startTicks) }, { "boot", running.keeper.bootId },
            { "agent", static_cast<qint64>(running.agent) } });
}

std::optional<RunningLaunch> LaunchFiles::running() const
{
    const QJsonObject json = read(_folder, RUNNING);
    RunningLaunch running;
    running.keeper.id = static_cast<pid_t>(json["keeper"].toInteger());
    running.keeper.startTicks = json["keeper_start"].toString().toULongLong();
    running.keeper.bootId = json["boot"].toString();
    running.agent = static_cast<pid_t>(json["agent"].toInteger());
    return running.keeper.id > 0 && running.agent > 0 ? std::optional(running) : std::nullopt;
}

bool LaunchFiles::writeEnd(const LaunchEnd& end)
{
    return write(_folder, END,
        { { "how", end.how }, { "number", end.number }, { "was_asked", end.wasAsked },
            { "last_lines", end.lastLines } });
}

std::optional<LaunchEnd> LaunchFiles::end() const
{
    const QJsonObject json = read(_folder, END);
    const int how = json["how"].toInt(-1);
    if (how < LaunchEnd::Failed || how > LaunchEnd::Signalled) {
        return std::nullopt;
    }
    return LaunchEnd { static_cast<LaunchEnd::How>(how), json["number"].toInt(), json["was_asked"].toBool(),
        json["last_lines"].toString() };
}

void LaunchFiles::remove()
{
    for (const QString& name : { ASKED, RUNNING, END }) {
        QFile::remove(QDir(_folder).filePath(name));
    }
    QDir().rmdir(_folder);
}

} // namespace launcher
