// SPDX-License-Identifier: Apache-2.0
#include "rows.h"

#include <QtCore/QFile>

#include <algorithm>
#include <cstring>

namespace {

constexpr qint64 ROWS_PER_BLOCK = 10'000;
constexpr qint64 BLOCK_BYTES = 1024 * 1024;

void appendRow(QByteArray& to, qint64 number, const QByteArray& padding)
{
    to += "pump ";
    to += QByteArray::number(number % 7);
    to += ';';
    to += QByteArray::number(number * GeneratedRows::INTERVAL_US);
    if (number % 100 == 0) {
        to += ";output;remark;string;\"größer; \"\"";
        to += QByteArray::number(number);
        to += padding;
        to += "\"\"\"";
    } else {
        to += ";output;pressure;double;";
        to += QByteArray::number(number / 8);
        to += '.';
        to += QByteArray::number(1000 + number % 8 * 125).sliced(1);
        to += padding;
    }
}

} // namespace

QByteArray GeneratedRows::range(qint64 first, qint64 count, qsizetype padding)
{
    const QByteArray filler(padding, '0');
    QByteArray rows;
    rows.reserve(count * (60 + padding));
    for (qint64 number = first; number < first + count; ++number) {
        if (number > first) {
            rows += '\n';
        }
        appendRow(rows, number, filler);
    }
    return rows;
}

bool GeneratedRows::write(QIODevice& to, qint64 count, qsizetype padding)
{
    for (qint64 first = 0; first < count; first += ROWS_PER_BLOCK) {
        const QByteArray block = range(first, std::min(ROWS_PER_BLOCK, count - first), padding) + '\n';
        if (to.write(block) != block.size()) {
            return false;
        }
    }
    return true;
}

void RowDigest::add(QByteArrayView bytes)
{
    _compact.clear();
    _compact.reserve(bytes.size());
    const char* position = bytes.begin();
    while (position != bytes.end()) {
        if (_isAtRowStart && *position == '\n') {
            ++position;
            continue;
        }
        const void* lineEnd = std::memchr(position, '\n', static_cast<size_t>(bytes.end() - position));
        const char* after = lineEnd ? static_cast<const char*>(lineEnd) + 1 : bytes.end();
        _compact.append(position, after - position);
        position = after;
        _isAtRowStart = lineEnd != nullptr;
        _rows += lineEnd ? 1 : 0;
    }
    _bytes += _compact.size();
    _hash.addData(_compact);
}

void RowDigest::finish()
{
    if (!_isAtRowStart) {
        add("\n");
    }
}

RowDigest RowDigest::ofGenerated(qint64 count, qsizetype padding)
{
    RowDigest digest;
    for (qint64 first = 0; first < count; first += ROWS_PER_BLOCK) {
        digest.add(GeneratedRows::range(first, std::min(ROWS_PER_BLOCK, count - first), padding));
        digest.finish();
    }
    return digest;
}

RowDigest RowDigest::ofFile(const QString& path)
{
    RowDigest digest;
    QFile file(path);
    if (file.open(QIODevice::ReadOnly)) {
        while (!file.atEnd()) {
            digest.add(file.read(BLOCK_BYTES));
        }
    }
    digest.finish();
    return digest;
}
