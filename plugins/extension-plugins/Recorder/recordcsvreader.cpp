// SPDX-License-Identifier: Apache-2.0
#include "recordcsvreader.h"

#include <QtCore/QIODevice>

#include <algorithm>
#include <cstring>

namespace {

constexpr qint64 BLOCK_SIZE = 256 * 1024;

// Where one byte value comes next. A position stays good until the scan passes it, so that each value is searched over
// every byte of a block once, however often the other values turn up.
class NextByte
{
public:
    explicit NextByte(char value)
        : _value(value)
    {
    }

    void startBlock() { _known = false; }

    const char* from(const char* position, const char* end)
    {
        if (!_known || _next < position) {
            const void* found = std::memchr(position, _value, static_cast<size_t>(end - position));
            _next = found ? static_cast<const char*>(found) : end;
            _known = true;
        }
        return _next;
    }

private:
    const char _value;
    const char* _next = nullptr;
    bool _known = false;
};

} // namespace

QByteArray readRecordCsvLines(QIODevice& device, int maxLines, qsizetype maxBytes, RecordCsvFault* fault)
{
    QByteArray rows;
    QByteArray block;
    qint64 blockStart = device.pos();
    qsizetype consumed = 0; // of the block
    int count = 0;
    bool inQuotes = false;
    bool rowIsOpen = false; // bytes of a row that has not ended are at the end of `rows`
    qsizetype wholeRows = 0; // size of the rows that have ended
    qint64 wholeRowsEnd = blockStart; // in the device
    bool hasFailed = false;
    NextByte nextQuote('"');
    NextByte nextCr('\r');
    NextByte nextLf('\n');

    // Drops what was consumed and reads on behind the rest. False when the device has nothing more.
    const auto readMore = [&] {
        block.remove(0, consumed);
        blockStart += consumed;
        consumed = 0;
        const qsizetype rest = block.size();
        block.resize(rest + BLOCK_SIZE);
        const qint64 more = device.read(block.data() + rest, BLOCK_SIZE);
        hasFailed = more < 0;
        block.resize(rest + std::max<qint64>(more, 0));
        nextQuote.startBlock();
        nextCr.startBlock();
        nextLf.startBlock();
        return more > 0;
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
        // Asked twice: a file that is still being written may have grown after it had no more bytes.
        if (consumed == block.size() && !readMore() && (hasFailed || device.atEnd() || !readMore())) {
            if (hasFailed || !device.atEnd()) {
                return giveUp(RecordCsvFault::Unreadable);
            }
            if (rowIsOpen) {
                rows.append('\n');
            }
            break;
        }
        const char* const begin = block.constData();
        const char* const end = begin + block.size();
        const char* const position = begin + consumed;

        const char* special = nextQuote.from(position, end);
        if (!inQuotes) {
            special = std::min({ special, nextCr.from(position, end), nextLf.from(position, end) });
        }
        if (special != position) {
            rows.append(position, special - position);
            rowIsOpen = true;
            consumed += special - position;
            continue;
        }

        // A quote and a CR mean one thing or another by the byte that follows: have it at hand when there is one.
        const char found = *special;
        if (found != '\n' && special + 1 == end && readMore()) {
            continue;
        }
        const char* const after = block.constData() + consumed + 1;
        const bool hasNext = after < block.constData() + block.size();
        rows.append(found);
        ++consumed;
        if (found == '"') {
            rowIsOpen = true;
            if (hasNext && *after == '"') {
                rows.append('"');
                ++consumed;
            } else {
                inQuotes = !inQuotes;
            }
            continue;
        }
        if (found == '\r' && hasNext && *after == '\n') {
            ++consumed;
        }
        rows.append('\n');
        rowIsOpen = false;
        if (rows.size() <= maxBytes) {
            ++count;
            wholeRows = rows.size();
            wholeRowsEnd = blockStart + consumed;
        }
    }

    if (rows.size() > maxBytes) {
        if (wholeRows == 0) {
            return giveUp(RecordCsvFault::RowTooLong);
        }
        rows.truncate(wholeRows);
        device.seek(wholeRowsEnd);
        return rows;
    }
    device.seek(blockStart + consumed);
    return rows;
}
