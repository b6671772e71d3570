// SPDX-License-Identifier: Apache-2.0
//
// A million rows from a recorder into a file and back: every one of them, and with a memory that does not know how
// many.
#include "processmemory.h"
#include "recorderonnetwork.h"

#include <QtCore/QCoreApplication>
#include <QtTest/QSignalSpy>

namespace {

constexpr int BOUND_MS = 120'000;
constexpr qint64 MANY_ROWS = 1'000'000;
constexpr qint64 FEW_ROWS = 100'000;
// What the process may need more for many rows than for few. The rows themselves are 50 MB.
constexpr qint64 GROWTH_BYTES = 20 * 1024 * 1024;
// The address sanitizer keeps what was freed, to know it again: then memory says nothing.
#if defined(__SANITIZE_ADDRESS__)
constexpr bool IS_MEMORY_KNOWN = false;
#else
constexpr bool IS_MEMORY_KNOWN = true;
#endif

// The most that this process needed since the last time.
qint64 takePeak()
{
    const qint64 process = QCoreApplication::applicationPid();
    const qint64 peak = ProcessMemory::peak(process);
    ProcessMemory::forgetPeak(process);
    return peak;
}

} // namespace

class TestModuleLargeFiles : public QObject
{
    Q_OBJECT

public:
    static void initMain() { QApplication::setAttribute(Qt::AA_DontUseNativeDialogs); }

private Q_SLOTS:
    void aMillionRowsAreDownloaded();
    void aMillionRowsAreImported();
    void chunksOfTenMegabytesAreDownloadedAndImported();

private:
    static void _download(RecorderOnNetwork& recorder, qint64 rows)
    {
        recorder.process.say(QStringLiteral("on export: chunk 10000 %1").arg(rows));
        recorder.download("out.csv");
        QTRY_VERIFY_WITH_TIMEOUT(!recorder.instance->isDownloadingRecord(), BOUND_MS);
    }
    static void _import(RecorderOnNetwork& recorder, const QString& file)
    {
        recorder.import(file);
        QTRY_VERIFY_WITH_TIMEOUT(!recorder.instance->isImportingRecord(), BOUND_MS);
    }
};

void TestModuleLargeFiles::aMillionRowsAreDownloaded()
{
    RecorderOnNetwork recorder;
    _download(recorder, FEW_ROWS);
    takePeak();
    _download(recorder, FEW_ROWS);
    const qint64 peakForFew = takePeak();
    _download(recorder, MANY_ROWS);
    const qint64 peakForMany = takePeak();

    RowDigest written = RowDigest::ofFile(recorder.path("out.csv"));
    QCOMPARE(written.rows(), MANY_ROWS);
    QCOMPARE(written.hex(), RowDigest::ofGenerated(MANY_ROWS).hex());
    QCOMPARE(QFileInfo(recorder.path("out.csv")).size(), written.bytes());
    QCOMPARE(recorder.process.count("export"), (2 * FEW_ROWS + MANY_ROWS) / 10'000);
    if (IS_MEMORY_KNOWN && peakForFew > 0) {
        QVERIFY2(peakForMany - peakForFew < GROWTH_BYTES, qPrintable(QString::number(peakForMany - peakForFew)));
    }
}

void TestModuleLargeFiles::aMillionRowsAreImported()
{
    RecorderOnNetwork recorder("on import: record_uuid bbbb\non append: record_uuid $1");
    recorder.writeRows("few.csv", FEW_ROWS);
    recorder.writeRows("many.csv", MANY_ROWS);
    QVERIFY(QFileInfo(recorder.path("many.csv")).size() > 2 * GROWTH_BYTES);
    _import(recorder, "few.csv");
    takePeak();
    _import(recorder, "few.csv");
    const qint64 peakForFew = takePeak();
    QCOMPARE(recorder.receivedRows().rows, 2 * FEW_ROWS);
    _import(recorder, "many.csv");
    const qint64 peakForMany = takePeak();

    QCOMPARE(recorder.receivedRows().rows, MANY_ROWS);
    QCOMPARE(recorder.process.receivedRows().digest, RowDigest::ofGenerated(MANY_ROWS).hex());
    // What was read before the last chunk.
    QCOMPARE_GE(recorder.instance->importingProgress(), 98);
    if (IS_MEMORY_KNOWN && peakForFew > 0) {
        QVERIFY2(peakForMany - peakForFew < GROWTH_BYTES, qPrintable(QString::number(peakForMany - peakForFew)));
    }
}

void TestModuleLargeFiles::chunksOfTenMegabytesAreDownloadedAndImported()
{
    RecorderOnNetwork recorder("on export: chunk 10000 30000 1000\n"
                               "on import: record_uuid bbbb\non append: record_uuid $1");
    recorder.download("wide.csv");
    QTRY_VERIFY_WITH_TIMEOUT(!recorder.instance->isDownloadingRecord(), BOUND_MS);
    const RowDigest expected = RowDigest::ofGenerated(30'000, 1000);
    QCOMPARE(RowDigest::ofFile(recorder.path("wide.csv")).hex(), expected.hex());
    QCOMPARE(recorder.process.count("export"), 3);

    _import(recorder, "wide.csv");
    QCOMPARE(recorder.receivedRows().digest, expected.hex());
    QCOMPARE(recorder.process.count("import") + recorder.process.count("append"), 3);
}

QTEST_MAIN(TestModuleLargeFiles)
#include "tst_module_large_files.moc"
