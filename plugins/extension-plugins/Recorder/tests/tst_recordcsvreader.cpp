// SPDX-License-Identifier: Apache-2.0
#include "recordcsvreader.h"

#include <QtCore/QBuffer>
#include <QtCore/QRandomGenerator>
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

} // namespace

class tst_RecordCsvReader : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void rowsKeepTheirLineEndAndGetOneMore_data();
    void rowsKeepTheirLineEndAndGetOneMore();
    void theNextChunkBeginsAfterTheLastLineEnd();
    void emptyLinesCountAsRows();
    void randomBytesAreReadAsTheByteWiseReaderReadsThem();
    void bytesAtTheEdgesOfBlocksAreReadAsTheByteWiseReaderReadsThem();
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

void tst_RecordCsvReader::randomBytesAreReadAsTheByteWiseReaderReadsThem()
{
    static constexpr char ALPHABET[] = { '"', '"', '\r', '\n', '\n', ';', 'a', '\0', '\xc3' };
    QRandomGenerator random(20261121);
    for (int round = 0; round < 3000; ++round) {
        QByteArray file(random.bounded(60), Qt::Uninitialized);
        for (char& byte : file) {
            byte = ALPHABET[random.bounded(static_cast<int>(std::size(ALPHABET)))];
        }
        QBuffer fast(&file);
        QBuffer reference(&file);
        QVERIFY(fast.open(QIODevice::ReadOnly) && reference.open(QIODevice::ReadOnly));
        // As an import does: chunk after chunk from where the last one ended.
        while (!reference.atEnd()) {
            const int maxLines = random.bounded(1, 5);
            const QByteArray expected = readByteWise(reference, maxLines);
            QCOMPARE(readRecordCsvLines(fast, maxLines), expected);
            QCOMPARE(fast.pos(), reference.pos());
        }
    }
}

void tst_RecordCsvReader::bytesAtTheEdgesOfBlocksAreReadAsTheByteWiseReaderReadsThem()
{
    static constexpr qsizetype BLOCK_SIZE = 256 * 1024;
    const QList<QByteArray> edges { "\r\n", "\r\r\n", "\"\"", "\"\"\"", "\"\n\"\n", "\r", "\"", "\n\n",
        "a\"\r\n\"\r\n" };
    for (const QByteArray& edge : edges) {
        for (qsizetype before = BLOCK_SIZE - 4; before <= BLOCK_SIZE; ++before) {
            for (const QByteArray& after : { QByteArray(), QByteArray("b\nc") }) {
                QByteArray file = QByteArray(before, 'x') + edge + after;
                QBuffer fast(&file);
                QBuffer reference(&file);
                QVERIFY(fast.open(QIODevice::ReadOnly) && reference.open(QIODevice::ReadOnly));
                const QByteArray expected = readByteWise(reference, 2);
                QCOMPARE(readRecordCsvLines(fast, 2), expected);
                QCOMPARE(fast.pos(), reference.pos());
            }
        }
    }
}

QTEST_APPLESS_MAIN(tst_RecordCsvReader)
#include "tst_recordcsvreader.moc"
