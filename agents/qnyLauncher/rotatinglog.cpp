// SPDX-License-Identifier: Apache-2.0
#include "rotatinglog.h"

#include <algorithm>

namespace launcher {

RotatingLog::RotatingLog(const QString& path, qint64 fileBytes, int files)
    : _path(path)
    , _fileBytes(std::max<qint64>(fileBytes, 1))
    , _files(std::max(files, 1))
    , _file(path)
{
}

QString RotatingLog::rotatedPath(const QString& path, int number)
{
    return number == 0 ? path : path + QLatin1Char('.') + QString::number(number);
}

bool RotatingLog::_open()
{
    return _file.isOpen()
        || _file.open(QIODevice::Append | QIODevice::Unbuffered, QFileDevice::ReadOwner | QFileDevice::WriteOwner);
}

void RotatingLog::_rotate()
{
    _file.close();
    QFile::remove(rotatedPath(_path, _files - 1));
    for (int number = _files - 2; number >= 0; --number) {
        QFile::rename(rotatedPath(_path, number), rotatedPath(_path, number + 1));
    }
    // A file that cannot be moved is begun again: the bound holds before the history.
    if (QFile::exists(_path)) {
        QFile::resize(_path, 0);
    }
}

/// How many of these bytes go into a file with so much room: whole lines, where that is possible.
qint64 RotatingLog::_fitting(QByteArrayView bytes, qint64 room) const
{
    if (bytes.size() <= room) {
        return bytes.size();
    }
    const qsizetype lineEnd = bytes.first(room).lastIndexOf('\n');
    if (lineEnd >= 0) {
        return lineEnd + 1;
    }
    return room < _fileBytes ? 0 : room;
}

void RotatingLog::_append(QByteArrayView bytes)
{
    while (!bytes.isEmpty()) {
        if (!_open()) {
            _lostBytes += bytes.size();
            return;
        }
        const qint64 count = _fitting(bytes, std::max<qint64>(_fileBytes - _file.size(), 0));
        if (count == 0 && _file.size() > 0) {
            _rotate();
            if (QFile(_path).size() > 0) { // neither moved nor emptied
                _lostBytes += bytes.size();
                return;
            }
            continue;
        }
        const qint64 written = _file.write(bytes.data(), count);
        if (written < 0) {
            _lostBytes += bytes.size();
            _file.close();
            return;
        }
        bytes = bytes.sliced(written);
    }
}

void RotatingLog::write(QByteArrayView bytes)
{
    _tail += bytes.last(std::min<qsizetype>(bytes.size(), TAIL_BYTES + 1));
    _tail = _tail.last(std::min<qsizetype>(_tail.size(), TAIL_BYTES + 1));
    if (_lostBytes > 0) {
        const QByteArray note = "[" + QByteArray::number(_lostBytes) + " bytes of output could not be written here]\n";
        const qint64 lostBefore = _lostBytes;
        _append(note);
        if (_lostBytes > lostBefore) {
            _lostBytes = lostBefore + bytes.size(); // the note itself is no output
            return;
        }
        _lostBytes = 0;
    }
    _append(bytes);
}

QByteArray RotatingLog::tail() const
{
    if (_tail.size() <= TAIL_BYTES) {
        return _tail;
    }
    const qsizetype lineEnd = _tail.indexOf('\n');
    return lineEnd < 0 || lineEnd + 1 == _tail.size() ? _tail.last(TAIL_BYTES) : _tail.sliced(lineEnd + 1);
}

} // namespace launcher
