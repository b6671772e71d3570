// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QCryptographicHash>
#include <QtCore/QIODevice>

/// Rows of a record of any length that nobody has to keep: each can be made at any time from its number.
namespace GeneratedRows {

/// Time between two rows.
inline constexpr qint64 INTERVAL_US = 1000;

/// `count` rows from number `first` on, an LF between two and none at the end. One row in a hundred holds a quoted text
/// with a semicolon and letters beyond ASCII; each is longer by `padding` bytes.
QByteArray range(qint64 first, qint64 count, qsizetype padding = 0);
/// The same, written a block at a time, with an LF after the last row as well.
bool write(QIODevice& to, qint64 count, qsizetype padding = 0);

} // namespace GeneratedRows

/// Tells rows from others, whatever the pieces in which they come and however often their line ends are repeated.
/// For rows without line ends inside of quotes.
class RowDigest
{
public:
    void add(QByteArrayView bytes);
    /// A last row without a line end is a row.
    void finish();

    qint64 rows() const { return _rows; }
    qint64 bytes() const { return _bytes; }
    QByteArray hex() const { return _hash.result().toHex(); }

    /// Of the rows of GeneratedRows.
    static RowDigest ofGenerated(qint64 count, qsizetype padding = 0);
    /// Of a file's rows, read a block at a time.
    static RowDigest ofFile(const QString& path);

    RowDigest() = default;
    RowDigest(RowDigest&&) = default;
    RowDigest& operator=(RowDigest&&) = default;

private:
    QCryptographicHash _hash { QCryptographicHash::Sha1 };
    QByteArray _compact;
    qint64 _rows = 0;
    qint64 _bytes = 0;
    bool _isAtRowStart = true;
};
