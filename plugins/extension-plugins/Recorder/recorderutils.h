// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "recordertimeformat.h"

#include <QtCore/QDir>
#include <QtCore/QObject>
#include <QtCore/QString>

class QJSEngine;
class QQmlEngine;

/// What must not stand in the name of a file on any of the systems that a record may be taken to.
inline constexpr char RECORDERUTILS_REGEX_FILENAME_INVALID_CHARS[] = "[\\\\/:*?\"<>|]";

/// Printing of durations, safe file names and the directory of downloads; offered to QML as a singleton. Main thread
/// only.
class RecorderUtils : public QObject
{
    Q_OBJECT

public:
    /// The process-wide object, created on first use and never owned by a QML engine.
    static RecorderUtils& instance();

    /// Factory for qmlRegisterSingletonType: gives every engine the same object.
    static QObject* qmlSingleton(QQmlEngine* engine, QJSEngine* scriptEngine);

    /// Prints a duration in seconds, rounded to the millisecond. Hours go on above 24; a negative duration counts as 0,
    /// one of more milliseconds than an int holds (24 days and 20 hours) as that many. An unknown format gives the
    /// empty text.
    Q_INVOKABLE QString prettyPrintTime(double duration, RecorderTimeFormat::Value format) const;

    /// The name trimmed, with every character that is not safe in a file name replaced by "_".
    QString validFileName(const QString& fileName) const;

    /// The path in the download directory of a file of this name, made safe.
    QString downloadFilePath(const QString& fileName);

    /// Where the last download went; the user's documents until there was one. Kept for this process only.
    const QDir& downloadDirectory() const { return _downloadDirectory; }

    /// Takes over the directory of a file that the user chose; the path must not be empty.
    void updateDownloadDirectoryFromFilePath(const QString& filePath);

signals:
    void downloadDirectoryChanged();

private:
    RecorderUtils();

    QDir _downloadDirectory;
};
