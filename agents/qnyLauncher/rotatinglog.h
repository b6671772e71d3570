// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>

namespace launcher {

/// Output kept in files of bounded size: PATH is written, PATH.1 is the one before it, up to PATH.(files - 1). Whoever
/// runs this user alone may read them. What the disk does not take is lost, and said in the file once it takes again.
class RotatingLog
{
public:
    /// Appends to what is there. At least one file.
    RotatingLog(const QString& path, qint64 fileBytes, int files);

    void write(QByteArrayView bytes);
    /// The last lines written, at most this many bytes; never half a line unless it is longer than that.
    QByteArray tail() const;

    static QString rotatedPath(const QString& path, int number);
    static constexpr qsizetype TAIL_BYTES = 2000;

private:
    bool _open();
    void _rotate();
    qint64 _fitting(QByteArrayView bytes, qint64 room) const;
    void _append(QByteArrayView bytes);

    const QString _path;
    const qint64 _fileBytes;
    const int _files;
    QFile _file;
    QByteArray _tail;
    qint64 _lostBytes = 0;
};

} // namespace launcher
