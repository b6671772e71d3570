// SPDX-License-Identifier: Apache-2.0
#include "sampledocument.h"

#include <corvaneutils.h>
#include <networkconfiguration.h>
#include <recorderclassplugin.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QProcess>
#include <QtCore/QSaveFile>
#include <QtCore/QStandardPaths>

#include <functional>

namespace {

// What stands in the shipped document for what only this machine knows.
constexpr QLatin1String hostMark("@HOST@");
constexpr QLatin1String agentsMark("@AGENTS@/");
constexpr QLatin1String recorderMark("@RECORDER@");

// "@AGENTS@/program arguments" or "@RECORDER@ arguments", with the program's path quoted where a blank in it needs
// that.
QString launchLine(const QString& line, const QString& agentsDirectory)
{
    const qsizetype end = line.indexOf(QLatin1Char(' '));
    const QString marked = line.left(end);
    const QString arguments = end < 0 ? QString() : line.mid(end);
    if (marked == recorderMark) {
        return CorvaneUtils::quoteArgument(RecorderClassPlugin::executablePath()) + arguments;
    }
    if (marked.startsWith(agentsMark)) {
        return CorvaneUtils::quoteArgument(QDir(agentsDirectory).filePath(marked.mid(agentsMark.size()))) + arguments;
    }
    return line;
}

// A copy of the value in which every text, however deep, is what `change` makes of it.
QJsonValue withTexts(const QJsonValue& value, const std::function<QString(const QString&)>& change)
{
    if (value.isObject()) {
        QJsonObject object = value.toObject();
        for (auto member = object.begin(); member != object.end(); ++member) {
            *member = withTexts(*member, change);
        }
        return object;
    }
    if (value.isArray()) {
        QJsonArray array = value.toArray();
        for (auto element = array.begin(); element != array.end(); ++element) {
            *element = withTexts(*element, change);
        }
        return array;
    }
    return value.isString() ? QJsonValue(change(value.toString())) : value;
}

// Where the programs of a launch line are now; empty for a program that the sample system does not use.
QString programNow(const QString& program, const QString& recorder, const QString& agentsDirectory)
{
    const QString name = QFileInfo(program).fileName();
    if (name == QLatin1String("qnyRecorder")) {
        return recorder;
    }
    return name.startsWith(QLatin1String("qnySample")) ? QDir(agentsDirectory).filePath(name) : QString();
}

// A launch line whose program is gone, with the program as it is found now; any other text as it is.
QString relocatedLine(const QString& line, const QString& recorder, const QString& agentsDirectory)
{
    const QString program = QProcess::splitCommand(line).value(0);
    if (!QFileInfo(program).isAbsolute() || QFileInfo::exists(program)) {
        return line;
    }
    const QString now = programNow(program, recorder, agentsDirectory);
    if (now.isEmpty() || !QFileInfo::exists(now)) {
        return line;
    }
    const bool isQuoted = line.startsWith(QLatin1Char('"'));
    const qsizetype end = isQuoted ? line.indexOf(QLatin1Char('"'), 1) + 1 : line.indexOf(QLatin1Char(' '));
    return CorvaneUtils::quoteArgument(now) + (end <= 0 ? QString() : line.mid(end));
}

} // namespace

QByteArray SampleDocument::relocated(
    const QByteArray& document, const QString& recorder, const QString& agentsDirectory)
{
    const QJsonDocument stored = QJsonDocument::fromJson(document);
    if (!stored.isObject()) {
        return document;
    }
    const QJsonValue now = withTexts(
        stored.object(), [&](const QString& text) { return relocatedLine(text, recorder, agentsDirectory); });
    return now.toObject() == stored.object() ? document : QJsonDocument(now.toObject()).toJson();
}

QByteArray SampleDocument::content(const QString& hostName, const QString& agentsDirectory)
{
    QFile file(QStringLiteral(":/corvane/sample/water-plant.json"));
    const bool isOpen = file.open(QIODevice::ReadOnly);
    Q_ASSERT(isOpen);
    const QJsonValue shipped = QJsonDocument::fromJson(file.readAll()).object();
    const QJsonValue filledIn = withTexts(
        shipped, [&](const QString& text) { return text == hostMark ? hostName : launchLine(text, agentsDirectory); });
    return QJsonDocument(filledIn.toObject()).toJson();
}

QString SampleDocument::provide(const QString& agentsDirectory, QString* error)
{
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
    const QString path = QDir(folder).filePath(QStringLiteral("water-plant.json"));
    QByteArray text;
    if (QFile stored(path); stored.open(QIODevice::ReadOnly)) {
        const QByteArray before = stored.readAll();
        text = relocated(before, RecorderClassPlugin::executablePath(), agentsDirectory);
        if (text == before) {
            return path;
        }
    } else if (!QFileInfo::exists(path)) {
        text = content(NetworkConfiguration::instance()->localNetworkName(), agentsDirectory);
    } else {
        return path; // Opening it says why it cannot be read.
    }
    QSaveFile file(path);
    const bool isWritten
        = QDir().mkpath(folder) && file.open(QIODevice::WriteOnly) && file.write(text) == text.size() && file.commit();
    if (!isWritten) {
        if (error) {
            *error = QCoreApplication::translate("SampleDocument",
                "The sample document could not be written to %1 (%2). Name a document of your own on the command line.")
                         .arg(QDir::toNativeSeparators(path), file.errorString());
        }
        return {};
    }
    return path;
}
