// SPDX-License-Identifier: Apache-2.0
#include "recorderutils.h"

#include <zqproperty.h>

#include <QtCore/QFileInfo>
#include <QtCore/QRegularExpression>
#include <QtCore/QStandardPaths>
#include <QtCore/QTime>
#include <QtQml/QJSEngine>

#include <cmath>
#include <limits>

namespace {

constexpr int MS_PER_SECOND = 1000;
constexpr int MS_PER_MINUTE = 60 * MS_PER_SECOND;
constexpr int MS_PER_HOUR = 60 * MS_PER_MINUTE;
constexpr int LAST_MS_OF_DAY = 24 * MS_PER_HOUR - 1;

int toMilliseconds(double seconds)
{
    const double rounded = std::round(seconds * MS_PER_SECOND);
    if (!(rounded > 0.0)) {
        return 0;
    }
    constexpr int most = std::numeric_limits<int>::max();
    return rounded < most ? static_cast<int>(rounded) : most;
}

} // namespace

RecorderUtils::RecorderUtils()
    : _downloadDirectory(QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation))
{
    QJSEngine::setObjectOwnership(this, QJSEngine::CppOwnership);
}

RecorderUtils& RecorderUtils::instance()
{
    static RecorderUtils utils;
    return utils;
}

QObject* RecorderUtils::qmlSingleton(QQmlEngine*, QJSEngine*)
{
    return &instance();
}

QString RecorderUtils::prettyPrintTime(double duration, RecorderTimeFormat::Value format) const
{
    const int ms = toMilliseconds(duration);
    // A time of day can not hold a day and more.
    if (ms <= LAST_MS_OF_DAY) {
        const QTime time = QTime::fromMSecsSinceStartOfDay(ms);
        switch (format) {
        case RecorderTimeFormat::HH_MM_SS_WITH_SPACES:
            return time.toString(QStringLiteral("hh : mm : ss"));
        case RecorderTimeFormat::HH_MM_SS_ZZZ:
            return time.toString(QStringLiteral("hh:mm:ss.zzz"));
        }
        return {};
    }
    const int hours = ms / MS_PER_HOUR;
    const int minutes = ms / MS_PER_MINUTE % 60;
    const int seconds = ms / MS_PER_SECOND % 60;
    switch (format) {
    case RecorderTimeFormat::HH_MM_SS_WITH_SPACES:
        return QString::asprintf("%02d : %02d : %02d", hours, minutes, seconds);
    case RecorderTimeFormat::HH_MM_SS_ZZZ:
        return QString::asprintf("%02d:%02d:%02d.%03d", hours, minutes, seconds, ms % MS_PER_SECOND);
    }
    return {};
}

QString RecorderUtils::validFileName(const QString& fileName) const
{
    static const QRegularExpression invalidCharacters(QString::fromLatin1(RECORDERUTILS_REGEX_FILENAME_INVALID_CHARS));
    return fileName.trimmed().replace(invalidCharacters, QStringLiteral("_"));
}

QString RecorderUtils::downloadFilePath(const QString& fileName)
{
    return _downloadDirectory.filePath(validFileName(fileName));
}

void RecorderUtils::updateDownloadDirectoryFromFilePath(const QString& filePath)
{
    Q_ASSERT(!filePath.isEmpty());
    ZqProperty::assign(
        this, _downloadDirectory, QFileInfo(filePath).absoluteDir(), &RecorderUtils::downloadDirectoryChanged);
}
