// SPDX-License-Identifier: Apache-2.0
// How fast an import reads a record file, beside the least that the work allows in the same round: reading the file in
// blocks, finding line ends and quotes, and copying the rows. The file lies in the system's cache.
#include "measures.h"

#include "recordcsvreader.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <cstring>

using namespace Measures;

namespace {

constexpr qsizetype FILE_SIZE = 64 * 1024 * 1024;
constexpr int ROWS_PER_CHUNK = 10000;
constexpr double GOAL = 2.0;

/// The file opened anew for every chunk, at the place where the last one ended, as an import does.
template <typename Read> qint64 readInChunks(const QString& path, const Read& readChunk)
{
    qint64 bytes = 0;
    qint64 position = 0;
    for (bool isAtEnd = false; !isAtEnd;) {
        QFile file(path);
        must(file.open(QIODevice::ReadOnly), "a file to read");
        file.seek(position);
        bytes += readChunk(file).size();
        position = file.pos();
        isAtEnd = file.atEnd();
    }
    return bytes;
}

qsizetype countOf(char wanted, const char* position, const char* end)
{
    qsizetype count = 0;
    while (const void* found = std::memchr(position, wanted, static_cast<size_t>(end - position))) {
        ++count;
        position = static_cast<const char*>(found) + 1;
    }
    return count;
}

/// Takes every LF for the end of a row: right for the files here, and less work than what a reader has to do.
QByteArray readLeast(QFile& file, int maxLines, qsizetype& quotes)
{
    constexpr qint64 BLOCK_SIZE = 256 * 1024;
    static QByteArray block(BLOCK_SIZE, Qt::Uninitialized);
    QByteArray rows;
    int count = 0;
    while (count < maxLines) {
        const qint64 blockStart = file.pos();
        const qint64 size = file.read(block.data(), BLOCK_SIZE);
        if (size <= 0) {
            break;
        }
        const char* position = block.constData();
        const char* const end = position + size;
        quotes += countOf('"', position, end) + countOf('\r', position, end);
        while (count < maxLines) {
            const void* const found = std::memchr(position, '\n', static_cast<size_t>(end - position));
            if (!found) {
                rows.append(position, end - position);
                position = end;
                break;
            }
            const char* const after = static_cast<const char*>(found) + 1;
            rows.append(position, after - position);
            rows.append('\n');
            position = after;
            ++count;
        }
        if (count == maxLines) {
            file.seek(blockStart + (position - block.constData()));
        }
    }
    return rows;
}

struct TestFile
{
    QByteArray content;
    qint64 rows = 0;
};

TestFile newFile(const QByteArray& value)
{
    TestFile file;
    for (; file.content.size() < FILE_SIZE; ++file.rows) {
        file.content += "Pump " + QByteArray::number(file.rows % 50) + ';' + QByteArray::number(file.rows * 137)
            + ";output;pressure;" + value + '\n';
    }
    return file;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    const int rounds = argc > 1 ? QByteArray(argv[1]).toInt() : 9;
    const QTemporaryDir folder;
    struct Kind
    {
        const char* name;
        QByteArray value;
    };
    const QList<Kind> kinds { { "numbers", "double;3.1415926535" }, { "quoted texts", "string;\"open; then closed\"" },
        { "doubled quotes", R"(string;"{""state"":""open"",""valve"":3}")" },
        { "long quoted lines", "string;\"" + QByteArray("first line\nsecond line; ").repeated(20) + '"' } };
    out() << "MB/s, medians of " << rounds << " rounds" << Qt::endl;
    out() << QString("file").leftJustified(24) << QString("reader").rightJustified(12)
          << QString("the least").rightJustified(12) << QString("least/reader").rightJustified(16) << Qt::endl;
    for (const Kind& kind : kinds) {
        const QString path = folder.filePath("record.csv");
        const auto [content, rows] = newFile(kind.value);
        {
            QFile file(path);
            must(file.open(QIODevice::WriteOnly) && file.write(content) == content.size(), "a file to write");
        }
        std::vector<double> reader;
        std::vector<double> least;
        std::vector<double> ratios;
        qint64 readBytes = 0;
        const qint64 lineEnds = content.count('\n');
        for (int round = 0; round < rounds; ++round) {
            reader.push_back(timed([&] {
                readBytes = readInChunks(path, [](QFile& file) { return readRecordCsvLines(file, ROWS_PER_CHUNK); });
            }));
            must(readBytes == content.size() + rows, "bytes of all chunks");
            qsizetype quotes = 0;
            least.push_back(timed([&] {
                readBytes
                    = readInChunks(path, [&quotes](QFile& file) { return readLeast(file, ROWS_PER_CHUNK, quotes); });
            }));
            must(readBytes == content.size() + lineEnds, "bytes of the least");
            ratios.push_back(reader.back() / least.back());
        }
        const double size = static_cast<double>(content.size());
        const double ratio = median(ratios);
        out() << QString(kind.name).leftJustified(24)
              << QString::number(size / median(reader) * 1e3, 'f', 0).rightJustified(12)
              << QString::number(size / median(least) * 1e3, 'f', 0).rightJustified(12)
              << QString::number(ratio, 'f', 2).rightJustified(16)
              << QStringLiteral("   goal %1: %2").arg(GOAL, 0, 'f', 2).arg(ratio <= GOAL ? "met" : "MISSED")
              << Qt::endl;
    }
    return 0;
}
