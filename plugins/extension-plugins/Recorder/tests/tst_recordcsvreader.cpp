// SPDX-License-Identifier: Apache-2.0
#include "recordcsvreader.h"

#include <QtCore/QBuffer>
#include <QtCore/QRandomGenerator>
#include <QtCore/QTemporaryFile>
#include <QtTest/QtTest>

namespace {

/// What the reader must give, spelt byte by byte: the reference that the fast one is held against.
QByteArray readByteWise(QIODevice& device, int maxLines)
{
    QByteArray result;
    QByteArray row;
    int count = 0;
    bool inQuotes = false;
    while (!device.atEnd() && count < maxLines) {
        char byte = 0;
        device.getChar(&byte);
        row.append(byte);
        if (byte == '"') {
            char next = 0;
            const bool hasNext = device.getChar(&next);
            if (hasNext && next == '"') {
                row.append(next);
            } else {
                if (hasNext) {
                    device.ungetChar(next);
                }
                inQuotes = !inQuotes;
            }
        } else if ((byte == '\r' || byte == '\n') && !inQuotes) {
            char next = 0;
            if (byte == '\r' && device.getChar(&next) && next != '\n') {
                device.ungetChar(next);
            }
            result.append(row).append('\n');
            ++count;
            row.clear();
        }
    }
    if (count < maxLines && !row.isEmpty()) {
        result.append(row).append('\n');
    }
    return result;
}

/// A device that gives its bytes in pieces, and may promise more than it gives.
class PiecewiseDevice : public QIODevice
{
public:
    explicit PiecewiseDevice(const QByteArray& readable, qint64 pieceSize)
        : _readable(readable)
        , _pieceSize(pieceSize)
    {
        open(QIODevice::ReadOnly | QIODevice::Unbuffered);
    }

    /// `end`: what it answers behind its bytes, an error (-1) or none (0).
    void promiseMore(qint64 end)
    {
        _promised = 100;
        _end = end;
    }

    qint64 size() const override { return _readable.size() + _promised; }

protected:
    qint64 readData(char* data, qint64 maxSize) override
    {
        const QByteArray bytes = _readable.mid(pos(), std::min(maxSize, _pieceSize));
        std::copy(bytes.cbegin(), bytes.cend(), data);
        return bytes.isEmpty() && maxSize > 0 ? _end : bytes.size();
    }
    qint64 writeData(const char*, qint64) override { return -1; }

private:
    const QByteArray _readable;
    const qint64 _pieceSize;
    qint64 _promised = 0;
    qint64 _end = 0;
};

/// Mostly bytes that mean something, or few of them.
QByteArray randomBytes(QRandomGenerator& random, int mostBytes)
{
    static constexpr char ALPHABET[] = { '"', '"', '\r', '\n', '\n', ';', 'a', '\0', '\xc3' };
    constexpr int letters = static_cast<int>(std::size(ALPHABET));
    const int plainBytes = random.bounded(2) * 40;
    QByteArray bytes(random.bounded(mostBytes), Qt::Uninitialized);
    for (char& byte : bytes) {
        const int choice = random.bounded(letters + plainBytes);
        byte = choice < letters ? ALPHABET[choice] : 'x';
    }
    return bytes;
}

/// Reads as an import does: chunk after chunk from where the last one ended.
void compareChunks(QIODevice& device, QByteArray content, QRandomGenerator& random)
{
    QBuffer reference(&content);
    QVERIFY(reference.open(QIODevice::ReadOnly));
    while (!reference.atEnd()) {
        const int maxLines = random.bounded(1, content.size() < 100 ? 5 : 2000);
        const QByteArray expected = readByteWise(reference, maxLines);
        QCOMPARE(readRecordCsvLines(device, maxLines), expected);
        QCOMPARE(device.pos(), reference.pos());
    }
    QVERIFY(device.atEnd());
    QCOMPARE(readRecordCsvLines(device, 1), QByteArray());
}

} // namespace

class tst_RecordCsvReader : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void rowsKeepTheirLineEndAndGetOneMore_data();
    void rowsKeepTheirLineEndAndGetOneMore();
    void theNextChunkBeginsAfterTheLastLineEnd();
    void emptyLinesCountAsRows();
    void randomBytesAreReadAsTheByteWiseReaderReadsThem_data();
    void randomBytesAreReadAsTheByteWiseReaderReadsThem();
    void randomFilesAreReadAsTheByteWiseReaderReadsThem();
    void bytesAtTheEdgesOfBlocksAreReadAsTheByteWiseReaderReadsThem();
    void aRowBeyondTheBoundIsLeftForTheNextChunk();
    void aFirstRowBeyondTheBoundIsAFault();
    void aDeviceThatStopsBeforeItsEndIsAFault();
};

void tst_RecordCsvReader::rowsKeepTheirLineEndAndGetOneMore_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<QByteArray>("rows");
    QTest::newRow("nothing") << QByteArray() << QByteArray();
    QTest::newRow("LF") << QByteArray("a;1\nb;2\n") << QByteArray("a;1\n\nb;2\n\n");
    QTest::newRow("CR LF") << QByteArray("a\r\nb\r\n") << QByteArray("a\r\nb\r\n");
    QTest::newRow("CR alone") << QByteArray("a\rb\r") << QByteArray("a\r\nb\r\n");
    QTest::newRow("a last row without line end") << QByteArray("a\nb") << QByteArray("a\n\nb\n");
    QTest::newRow("an empty line is a row") << QByteArray("a\n\nb\n") << QByteArray("a\n\n\n\nb\n\n");
    QTest::newRow("CR LF in quotes") << QByteArray("\"a\r\nb\";c\nd\n") << QByteArray("\"a\r\nb\";c\n\nd\n\n");
    QTest::newRow("doubled quotes in quotes") << QByteArray("\"a\"\"\nb\"\nc\n") << QByteArray("\"a\"\"\nb\"\n\nc\n\n");
    QTest::newRow("an empty quoted field") << QByteArray("\"\";a\nb\n") << QByteArray("\"\";a\n\nb\n\n");
    QTest::newRow("a quote that is never closed") << QByteArray("\"a\nb\n") << QByteArray("\"a\nb\n\n");
    QTest::newRow("a lone quote at the end") << QByteArray("a\"") << QByteArray("a\"\n");
}

void tst_RecordCsvReader::rowsKeepTheirLineEndAndGetOneMore()
{
    QFETCH(QByteArray, file);
    QFETCH(QByteArray, rows);
    QBuffer buffer(&file);
    QVERIFY(buffer.open(QIODevice::ReadOnly));
    QCOMPARE(readRecordCsvLines(buffer, 100), rows);
    QVERIFY(buffer.atEnd());
    buffer.seek(0);
    QCOMPARE(readByteWise(buffer, 100), rows);
}

void tst_RecordCsvReader::theNextChunkBeginsAfterTheLastLineEnd()
{
    QByteArray file("a\r\n\"b\nb\"\nc\n");
    QBuffer buffer(&file);
    QVERIFY(buffer.open(QIODevice::ReadOnly));
    QCOMPARE(readRecordCsvLines(buffer, 1), QByteArray("a\r\n"));
    QCOMPARE(buffer.pos(), 3);
    QCOMPARE(readRecordCsvLines(buffer, 1), QByteArray("\"b\nb\"\n\n"));
    QCOMPARE(buffer.pos(), 9);
    QCOMPARE(readRecordCsvLines(buffer, 1), QByteArray("c\n\n"));
    QVERIFY(buffer.atEnd());
    QCOMPARE(readRecordCsvLines(buffer, 1), QByteArray());
}

void tst_RecordCsvReader::emptyLinesCountAsRows()
{
    QByteArray file("a\n\r\n\n\"\n\"\nb\n");
    QBuffer buffer(&file);
    QVERIFY(buffer.open(QIODevice::ReadOnly));
    QCOMPARE(readRecordCsvLines(buffer, 3), QByteArray("a\n\n\r\n\n\n"));
    // Within quotes it is none.
    QCOMPARE(readRecordCsvLines(buffer, 2), QByteArray("\"\n\"\n\nb\n\n"));
    QVERIFY(buffer.atEnd());
}

void tst_RecordCsvReader::randomBytesAreReadAsTheByteWiseReaderReadsThem_data()
{
    QTest::addColumn<quint32>("seed");
    QTest::newRow("fixed seed") << 20261121U;
    QTest::newRow("fresh seed") << QRandomGenerator::global()->generate();
}

void tst_RecordCsvReader::randomBytesAreReadAsTheByteWiseReaderReadsThem()
{
    QFETCH(quint32, seed);
    qInfo() << "seed" << seed;
    QRandomGenerator random(seed);
    for (int round = 0; round < 3000; ++round) {
        const QByteArray content = randomBytes(random, 60);
        // Pieces so small that every place of the content is the edge of one.
        for (const qint64 pieceSize : { 1, 2, 3, 7, 100 }) {
            PiecewiseDevice device(content, pieceSize);
            compareChunks(device, content, random);
            QVERIFY2(!QTest::currentTestFailed(), content.toPercentEncoding().constData());
        }
    }
}

void tst_RecordCsvReader::randomFilesAreReadAsTheByteWiseReaderReadsThem()
{
    const quint32 seed = QRandomGenerator::global()->generate();
    qInfo() << "seed" << seed;
    QRandomGenerator random(seed);
    for (int round = 0; round < 20; ++round) {
        const QByteArray content = randomBytes(random, 500000);
        QTemporaryFile file;
        QVERIFY(file.open());
        QCOMPARE(file.write(content), content.size());
        QVERIFY(file.seek(0));
        compareChunks(file, content, random);
        QVERIFY(!QTest::currentTestFailed());
    }
}

void tst_RecordCsvReader::bytesAtTheEdgesOfBlocksAreReadAsTheByteWiseReaderReadsThem()
{
    const QList<QByteArray> edges { "\r\n", "\r\r\n", "\"\"", "\"\"\"", "\"\n\"\n", "\r", "\"", "\n\n",
        "a\"\r\n\"\r\n" };
    constexpr qint64 pieceSize = 8;
    for (const QByteArray& edge : edges) {
        for (qsizetype before = pieceSize - 4; before <= pieceSize; ++before) {
            for (const QByteArray& after : { QByteArray(), QByteArray("b\nc") }) {
                QByteArray content = QByteArray(before, 'x') + edge + after;
                PiecewiseDevice fast(content, pieceSize);
                QBuffer reference(&content);
                QVERIFY(reference.open(QIODevice::ReadOnly));
                for (const int maxLines : { 1, 10 }) {
                    const QByteArray expected = readByteWise(reference, maxLines);
                    QVERIFY2(
                        readRecordCsvLines(fast, maxLines) == expected, (edge + after).toPercentEncoding().constData());
                    QCOMPARE(fast.pos(), reference.pos());
                }
            }
        }
    }
}

void tst_RecordCsvReader::aRowBeyondTheBoundIsLeftForTheNextChunk()
{
    // As sent, with its second line end, a row takes six bytes, the last one five.
    QByteArray file("a;10\nb;20\n\"\n\"\r\nd;40");
    QBuffer buffer(&file);
    QVERIFY(buffer.open(QIODevice::ReadOnly));
    RecordCsvFault fault = RecordCsvFault::Unreadable;
    QCOMPARE(readRecordCsvLines(buffer, 100, 12, &fault), QByteArray("a;10\n\nb;20\n\n"));
    QCOMPARE(fault, RecordCsvFault::None);
    QCOMPARE(buffer.pos(), 10);
    buffer.seek(0);
    QCOMPARE(readRecordCsvLines(buffer, 100, 11, &fault), QByteArray("a;10\n\n"));
    QCOMPARE(buffer.pos(), 5);
    // The bound of rows holds as well.
    QCOMPARE(readRecordCsvLines(buffer, 1, 100, &fault), QByteArray("b;20\n\n"));
    QCOMPARE(readRecordCsvLines(buffer, 100, 9, &fault), QByteArray("\"\n\"\r\n"));
    QCOMPARE(buffer.pos(), 15);
    QCOMPARE(readRecordCsvLines(buffer, 100, 5, &fault), QByteArray("d;40\n"));
    QCOMPARE(fault, RecordCsvFault::None);
    QVERIFY(buffer.atEnd());
}

void tst_RecordCsvReader::aFirstRowBeyondTheBoundIsAFault()
{
    for (QByteArray file : { QByteArray("abcdefg\nb\n"), QByteArray("\"never closed\n\n\n"), QByteArray("abcdef") }) {
        QBuffer buffer(&file);
        QVERIFY(buffer.open(QIODevice::ReadOnly));
        RecordCsvFault fault = RecordCsvFault::None;
        QCOMPARE(readRecordCsvLines(buffer, 100, 6, &fault), QByteArray());
        QCOMPARE(fault, RecordCsvFault::RowTooLong);
    }
}

void tst_RecordCsvReader::aDeviceThatStopsBeforeItsEndIsAFault()
{
    for (const QByteArray& readable : { QByteArray(), QByteArray("a;1\nb"), QByteArray("a;1\r"), QByteArray("\"") }) {
        for (const qint64 end : { 0, -1 }) {
            PiecewiseDevice device(readable, 100);
            device.promiseMore(end);
            RecordCsvFault fault = RecordCsvFault::None;
            QCOMPARE(readRecordCsvLines(device, 100, 1000, &fault), QByteArray());
            QCOMPARE(fault, RecordCsvFault::Unreadable);
        }
    }
    // Rows before it are read when no more are asked for.
    PiecewiseDevice device("a;1\nb", 100);
    device.promiseMore(-1);
    RecordCsvFault fault = RecordCsvFault::None;
    QCOMPARE(readRecordCsvLines(device, 1, 1000, &fault), QByteArray("a;1\n\n"));
    QCOMPARE(fault, RecordCsvFault::None);
}

QTEST_APPLESS_MAIN(tst_RecordCsvReader)
#include "tst_recordcsvreader.moc"
