// SPDX-License-Identifier: Apache-2.0
// Rows of a record CSV as the module cuts them out of a file that it imports. The first bytes of the input choose how
// many rows and bytes are read at a time.
#include "fuzz.h"

#include "recordcsvreader.h"

#include <QBuffer>

namespace {

// Everything, so many rows and bytes at a time. False where a row was too long.
bool readAll(const QByteArray& text, int lines, qsizetype bytes, QByteArray& rows)
{
    QBuffer buffer;
    buffer.setData(text);
    buffer.open(QIODevice::ReadOnly);
    qint64 last = 0;
    for (;;) {
        RecordCsvFault fault = RecordCsvFault::None;
        const QByteArray some = readRecordCsvLines(buffer, lines, bytes, &fault);
        if (fault != RecordCsvFault::None) {
            fuzz::expect(fault == RecordCsvFault::RowTooLong && some.isEmpty(), "nothing is returned with a fault");
            return false;
        }
        fuzz::expect(some.size() <= bytes, "a chunk keeps within its bound");
        if (some.isEmpty()) {
            fuzz::expect(buffer.atEnd(), "nothing comes only at the end");
            return true;
        }
        fuzz::expect(buffer.pos() > last && some.endsWith('\n'), "whole rows are read, and reading goes on");
        last = buffer.pos();
        rows += some;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    fuzz::Input input(data, size);
    const int lines = 1 + input.number<uint8_t>();
    const qsizetype bytes = 1 + input.number<uint16_t>();
    const QByteArray text(input.rest().data(), static_cast<qsizetype>(input.rest().size()));
    constexpr auto unbounded = std::numeric_limits<qsizetype>::max();
    QByteArray atOnce;
    fuzz::expect(
        readAll(text, std::numeric_limits<int>::max(), unbounded, atOnce), "without a bound no row is too long");
    fuzz::expect(atOnce.size() <= 2 * text.size() + 1, "each row gets one byte more");
    QByteArray inPieces;
    if (readAll(text, lines, bytes, inPieces)) {
        fuzz::expect(atOnce == inPieces, "how much is read at a time changes nothing");
    } else {
        fuzz::expect(atOnce.startsWith(inPieces), "what came before a row that is too long is right");
    }
    return 0;
}
