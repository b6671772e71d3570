// SPDX-License-Identifier: Apache-2.0
#include "configuration.h"

#include <QFile>
#include <QFileInfo>
#include <QUuid>

#include <memory>

#include <quenary.h>

namespace launcher {

namespace {

constexpr qint64 MOST_BYTES = 1024 * 1024;

struct Number
{
    const char* key;
    qint64 least;
    qint64 most;
};
constexpr Number CHILDREN { "children", 1, 1000 };
constexpr Number LOG_FILE_BYTES { "log-file-bytes", 4096, qint64(1) << 30 };
constexpr Number LOG_FILES { "log-files", 1, 100 };
constexpr Number LOGS_KEPT { "logs-kept", 0, 10000 };
constexpr Number SECONDS_TO_END { "seconds-to-end", 1, 3600 };

/// Why something else may come into the place of this file, or nothing.
QString folderProblem(const QString& path, const QString& something)
{
    const std::unique_ptr<char, decltype(&qny_free)> open(
        qny_open_folder_above(QFile::encodeName(path).constData()), &qny_free);
    return open == nullptr
        ? QString()
        : QStringLiteral("anybody may write into %1, and so put %2 in place of %3: take that permission from it")
              .arg(QFile::decodeName(open.get()), something, path);
}

QString programProblem(const QString& path)
{
    const QFileInfo file(path);
    if (!file.isAbsolute()) {
        return QStringLiteral("%1 is no absolute path").arg(path);
    }
    const QString canonical = file.canonicalFilePath();
    if (canonical.isEmpty()) {
        return QStringLiteral("%1 does not exist").arg(path);
    }
    if (canonical != path) {
        return QStringLiteral("%1 leads to %2: name that one, so that no link decides what is started")
            .arg(path, canonical);
    }
    if (!file.isFile() || !file.isExecutable()) {
        return QStringLiteral("%1 is no file that this user may execute").arg(path);
    }
    if (file.permission(QFileDevice::WriteOther)) {
        return QStringLiteral("anybody may write to %1: take that permission from it").arg(path);
    }
    return folderProblem(path, QStringLiteral("another program"));
}

template <class T> QString readNumber(const Number& number, const QString& text, T& into)
{
    bool isNumber = false;
    const qint64 value = text.toLongLong(&isNumber);
    if (!isNumber || value < number.least || value > number.most) {
        return QStringLiteral("%1 is a number from %2 to %3, not '%4'")
            .arg(QLatin1String(number.key))
            .arg(number.least)
            .arg(number.most)
            .arg(text);
    }
    into = static_cast<T>(value);
    return {};
}

QString readLine(const QString& key, const QString& value, Configuration& configuration)
{
    if (key == u"program") {
        const QString problem = programProblem(value);
        if (!problem.isEmpty()) {
            return problem;
        }
        if (configuration.find(value) != nullptr) {
            return QStringLiteral("%1 stands twice").arg(value);
        }
        configuration.programs.append({ value, {} });
        return {};
    }
    if (key == u"family") {
        if (configuration.programs.isEmpty()) {
            return QStringLiteral("a family belongs below its program");
        }
        if (QUuid::fromString(value).isNull()) {
            return QStringLiteral("'%1' is no uuid").arg(value);
        }
        configuration.programs.last().family = QUuid::fromString(value).toString(QUuid::WithoutBraces);
        return {};
    }
    if (key == QLatin1String(CHILDREN.key)) {
        return readNumber(CHILDREN, value, configuration.children);
    }
    if (key == QLatin1String(LOG_FILE_BYTES.key)) {
        return readNumber(LOG_FILE_BYTES, value, configuration.logFileBytes);
    }
    if (key == QLatin1String(LOG_FILES.key)) {
        return readNumber(LOG_FILES, value, configuration.logFiles);
    }
    if (key == QLatin1String(LOGS_KEPT.key)) {
        return readNumber(LOGS_KEPT, value, configuration.logsKept);
    }
    if (key == QLatin1String(SECONDS_TO_END.key)) {
        return readNumber(SECONDS_TO_END, value, configuration.secondsToEnd);
    }
    return QStringLiteral("'%1' is none of program, family, children, log-file-bytes, log-files, logs-kept, "
                          "seconds-to-end")
        .arg(key);
}

} // namespace

const Program* Configuration::find(const QString& canonicalPath) const
{
    for (const Program& program : programs) {
        if (program.path == canonicalPath) {
            return &program;
        }
    }
    return nullptr;
}

QString readConfiguration(const QString& path, Configuration& configuration)
{
    // Whoever opens a pipe waits for what may never come.
    if (const QFileInfo info(path); info.exists() && !info.isFile()) {
        return QStringLiteral("%1: is no file").arg(path);
    }
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return QStringLiteral("%1: %2").arg(path, file.errorString());
    }
    if (file.permissions().testFlag(QFileDevice::WriteOther)) {
        return QStringLiteral("%1: anybody may write to it: take that permission from it").arg(path);
    }
    const QString folder = folderProblem(path, QStringLiteral("another file"));
    if (!folder.isEmpty()) {
        return QStringLiteral("%1: %2").arg(path, folder);
    }
    const QByteArray bytes = file.read(MOST_BYTES + 1);
    if (bytes.size() > MOST_BYTES) {
        return QStringLiteral("%1: is larger than %2 bytes").arg(path).arg(MOST_BYTES);
    }
    Configuration read;
    const QStringList lines = QString::fromUtf8(bytes).split(u'\n');
    for (qsizetype i = 0; i < lines.size(); ++i) {
        const QString line = lines.at(i).trimmed();
        if (line.isEmpty() || line.startsWith(u'#')) {
            continue;
        }
        const qsizetype equals = line.indexOf(u'=');
        const QString problem = equals < 0
            ? QStringLiteral("'%1' is not of the form key = value").arg(line)
            : readLine(line.left(equals).trimmed(), line.mid(equals + 1).trimmed(), read);
        if (!problem.isEmpty()) {
            return QStringLiteral("%1:%2: %3").arg(path).arg(i + 1).arg(problem);
        }
    }
    configuration = read;
    return {};
}

} // namespace launcher
