// SPDX-License-Identifier: Apache-2.0
#include "recordcsvreader.h"

#include <QtCore/QIODevice>

#include <algorithm>
#include <cstring>

namespace {

// Small enough to stay near the processor.
constexpr qint64 BLOCK_SIZE = 64 * 1024;

// Where one byte value comes next in a block. A position stays good until the scan passes it, so that each value is
// searched over every byte of the block once, however often the other values turn up.
class NextByte
{
public:
    NextByte(char value, const char* begin, const char* end)
        : _value(value)
        , _end(end)
    {
        _search(begin);
    }

    const char* from(const char* position)
    {
        if (_next < position) {
            _search(position);
        }
        return _next;
    }

private:
    void _search(const char* position)
    {
        const void* const found = std::memchr(position, _value, static_cast<size_t>(_end - position));
        _next = found ? static_cast<const char*>(found) : _end;
    }

    const char _value;
    const char* const _end;
    const char* _next = nullptr;
};

// Counts in a form that the compiler turns into one step for many bytes: doubled quotes follow too close on one
// another for a search.
bool isOddNumberOfQuotes(const char* begin, const char* end)
{
    unsigned char isOdd = 0;
    for (const char* position = begin; position < end; ++position) {
        isOdd ^= static_cast<unsigned char>(*position == '"');
    }
    return isOdd != 0;
}

} // namespace

QByteArray readRecordCsvLines(QIODevice& device, int maxLines, qsizetype maxBytes, RecordCsvFault* fault)
{
    QByteArray block(BLOCK_SIZE, Qt::Uninitialized);
    QByteArray rows;
    int count = 0;
    qsizetype wholeRows = 0; // size of the rows that have ended within the bounds
    qint64 wholeRowsEnd = device.pos();
    // A doubled quote leaves a field as it was, so counting quotes is enough: after an odd number one is open.
    bool inQuotes = false;

    const auto endRow = [&](qint64 endInDevice) {
        rows.append('\n');
        if (rows.size() <= maxBytes) {
            ++count;
            wholeRows = rows.size();
            wholeRowsEnd = endInDevice;
        }
    };
    const auto giveUp = [&](RecordCsvFault why) {
        if (fault) {
            *fault = why;
        }
        return QByteArray();
    };
    if (fault) {
        *fault = RecordCsvFault::None;
    }

    while (count < maxLines && rows.size() <= maxBytes) {
        qint64 size = device.read(block.data(), BLOCK_SIZE);
        if (size == 0 && !device.atEnd()) {
            // A file that is still being written may have grown after it had no more bytes.
            size = device.read(block.data(), BLOCK_SIZE);
        }
        if (size <= 0) {
            if (size < 0 || !device.atEnd()) {
                return giveUp(RecordCsvFault::Unreadable);
            }
            if (rows.size() > wholeRows) {
                endRow(device.pos());
            }
            break;
        }
        const char* position = block.constData();
        const char* const end = position + size;
        qint64 endInDevice = device.pos();
        NextByte nextQuote('"', position, end);
        NextByte nextCr('\r', position, end);
        NextByte nextLf('\n', position, end);

        const char* row = position;
        while (count < maxLines && rows.size() <= maxBytes && position < end) {
            const char* const lineEnd = std::min(nextCr.from(position), nextLf.from(position));
            if (nextQuote.from(position) < lineEnd) {
                inQuotes ^= isOddNumberOfQuotes(position, lineEnd);
            }
            position = lineEnd;
            if (lineEnd == end) {
                break;
            }
            ++position;
            if (inQuotes) {
                continue;
            }
            rows.append(row, position - row);
            if (*lineEnd == '\r') {
                if (position < end) {
                    position += *position == '\n' ? 1 : 0;
                } else if (char next = 0; device.peek(&next, 1) == 1 && next == '\n') {
                    endInDevice += device.skip(1);
                }
            }
            endRow(endInDevice - (end - position));
            row = position;
        }
        if (row < position) {
            rows.append(row, position - row);
        }
    }

    if (wholeRows == 0 && !rows.isEmpty()) {
        return giveUp(RecordCsvFault::RowTooLong);
    }
    rows.truncate(wholeRows);
    device.seek(wholeRowsEnd);
    return rows;
}
