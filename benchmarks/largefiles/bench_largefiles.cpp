// SPDX-License-Identifier: Apache-2.0
// Records of 10,000, 100,000 and 1,000,000 rows through the module, into a file and from one:
//   scripted   from and to a recorder that makes up the rows and only counts what it gets, in chunks of 10,000 rows;
//   wide       the same with rows of 1,000 bytes, so that a chunk is 10 MB;
//   chunk      one chunk of 1 to 60 MB, which is written in one turn of the main thread;
//   recorder   to and from the recorder agent with its built-in store, then the same with rows of 1,000 bytes.
// Beside each: the same bytes written to or read from a file plainly, and the same chunks exchanged by an agent that
// does nothing with them; the longest gap between two turns of the main thread's event loop, with the thread's own
// processor time in it, beside the longest gap of an idle loop right before; the resident memory of both processes, at
// most and beyond what was there before.
// Usage: bench_largefiles [scripted|wide|chunk|recorder]...   Status 1 when rows were lost.
#include "bareagent.h"
#include "dialoganswer.h"
#include "moduleonnetwork.h"
#include "processmemory.h"
#include "rows.h"
#include "scriptedrecorderprocess.h"
#include "turnwatch.h"

#include <QtCore/QEventLoop>
#include <QtCore/QLoggingCategory>
#include <QtCore/QTemporaryDir>
#include <QtTest/QTest>

#include <cstdio>

namespace {

constexpr int BOUND_MS = 300'000;
constexpr int IDLE_MS = 500;
constexpr qint64 ROWS_PER_CHUNK = 10'000;
constexpr double MEGABYTE = 1e6;

void waitUntil(const std::function<bool()>& condition, const char* what)
{
    if (!QTest::qWaitFor(condition, BOUND_MS)) {
        std::fprintf(stderr, "%s: waited in vain\n", what);
        std::exit(1);
    }
}

double secondsOf(const std::function<void()>& action)
{
    QElapsedTimer timer;
    timer.start();
    action();
    return static_cast<double>(timer.nsecsElapsed()) / 1e9;
}

// What one transfer through the module cost.
struct Measured
{
    double seconds = 0.0;
    TurnWatch watch;
    double idleMs = 0.0;
    qint64 peak = 0; // of this process, in bytes
    qint64 growth = 0; // of it beyond what was resident before
    qint64 recorderPeak = 0;
    qint64 recorderGrowth = 0;
};

// Begins a transfer and runs the event loop until the flag that `hasEnded` reads is cleared; `changed` is its signal.
void measure(RecorderInstance& instance, qint64 recorderProcess, void (RecorderInstance::*changed)(),
    const std::function<bool()>& hasEnded, const std::function<void()>& begin, Measured& measured)
{
    QEventLoop idle;
    QTimer::singleShot(IDLE_MS, &idle, &QEventLoop::quit);
    measured.watch.start();
    idle.exec();
    measured.watch.stop();
    measured.idleMs = measured.watch.longestMs();

    const qint64 own = QCoreApplication::applicationPid();
    QEventLoop loop;
    const auto connection = QObject::connect(&instance, changed, &loop, [&] {
        if (hasEnded()) {
            loop.quit();
        }
    });
    QElapsedTimer timer;
    begin();
    ProcessMemory::forgetPeak(own);
    ProcessMemory::forgetPeak(recorderProcess);
    const qint64 before = ProcessMemory::resident(own);
    const qint64 recorderBefore = ProcessMemory::resident(recorderProcess);
    timer.start();
    measured.watch.start();
    loop.exec();
    measured.watch.stop();
    measured.seconds = static_cast<double>(timer.nsecsElapsed()) / 1e9;
    QObject::disconnect(connection);
    measured.peak = ProcessMemory::peak(own);
    measured.growth = measured.peak - before;
    measured.recorderPeak = ProcessMemory::peak(recorderProcess);
    measured.recorderGrowth = measured.recorderPeak - recorderBefore;
}

void print(const char* what, qint64 rows, qint64 bytes, const Measured& measured, double fileSeconds, double netSeconds)
{
    const double megabytes = static_cast<double>(bytes) / MEGABYTE;
    std::printf("%-7s %8lld rows %6.1f MB: %9.0f rows/s %6.1f MB/s", what, static_cast<long long>(rows), megabytes,
        static_cast<double>(rows) / measured.seconds, megabytes / measured.seconds);
    std::printf(" | bare file %6.0f MB/s", megabytes / fileSeconds);
    if (netSeconds > 0.0) {
        std::printf(", bare network %6.1f MB/s", megabytes / netSeconds);
    }
    std::printf(" | longest gap %5.1f ms (own work %4.1f, most %4.1f; idle %4.1f)", measured.watch.longestMs(),
        measured.watch.processorMsOfLongest(), measured.watch.mostProcessorMs(), measured.idleMs);
    std::printf(" | memory %5.1f MB (+%4.1f), recorder %5.1f MB (+%4.1f)\n",
        static_cast<double>(measured.peak) / MEGABYTE, static_cast<double>(measured.growth) / MEGABYTE,
        static_cast<double>(measured.recorderPeak) / MEGABYTE, static_cast<double>(measured.recorderGrowth) / MEGABYTE);
    std::fflush(stdout);
}

// ---- the bare file ----------------------------------------------------------------------------------------------

double writePlainly(const QString& path, const QList<QByteArray>& chunks)
{
    QFile file(path);
    return secondsOf([&] {
        if (file.open(QIODevice::WriteOnly | QIODevice::Unbuffered)) {
            for (const QByteArray& chunk : chunks) {
                file.write(chunk);
            }
        }
        file.close();
    });
}

double readPlainly(const QString& path)
{
    QFile file(path);
    return secondsOf([&] {
        if (file.open(QIODevice::ReadOnly | QIODevice::Unbuffered)) {
            while (!file.read(1024 * 1024).isEmpty()) { }
        }
    });
}

// ---- through the module -----------------------------------------------------------------------------------------

// A module, a recorder's instance in it, and a folder for files.
struct Bench
{
    QTemporaryDir folder;
    ModuleOnNetwork network;
    RecorderInstance* instance = nullptr;
    qint64 recorderProcess = 0;

    QString path(const char* name) const { return folder.filePath(QLatin1StringView(name)); }

    void download(RecorderRecord* record, const QString& file, Measured& measured)
    {
        measure(
            *instance, recorderProcess, &RecorderInstance::isDownloadingRecordChanged,
            [this] { return !instance->isDownloadingRecord(); },
            [&] {
                const DialogAnswer answer(file);
                instance->downloadRecord(record);
            },
            measured);
    }
    void import(const QString& file, Measured& measured)
    {
        measure(
            *instance, recorderProcess, &RecorderInstance::isImportingRecordChanged,
            [this] { return !instance->isImportingRecord(); },
            [&] { instance->importRecord(QUrl::fromLocalFile(file)); }, measured);
    }
};

// ---- the scripted recorder --------------------------------------------------------------------------------------

// Runs it. Its one record, which is as long as its script says.
RecorderRecord* meet(Bench& bench, ScriptedRecorderProcess& recorder)
{
    bench.instance
        = bench.network.place("Recorder", ScriptedRecorderProcess::program(), ScriptedRecorderProcess::arguments());
    recorder.start(
        ScriptedRecorderProcess::friendlyScript() + "on import: record_uuid bbbb\non append: record_uuid $1");
    bench.recorderProcess = recorder.processId();
    waitUntil([&] { return bench.instance->records()->count() == 1; }, "the scripted recorder's list");
    return qobject_cast<RecorderRecord*>(bench.instance->records()->get(0));
}

// A record of one chunk, of each size in megabytes.
bool measureChunks(const QList<qint64>& sizes)
{
    Bench bench;
    ScriptedRecorderProcess recorder;
    RecorderRecord* const record = meet(bench, recorder);
    bool isGood = true;
    for (const qint64 size : sizes) {
        const qint64 rows = 1000;
        const qsizetype padding = size * 1'000'000 / rows - 50;
        recorder.say(QStringLiteral("on export: chunk %1 %1 %2").arg(rows).arg(padding));
        const QByteArray chunk = GeneratedRows::range(0, rows, padding) + '\n';
        const QString file = bench.path("chunk.csv");
        // Twice: the first finds no memory of that size to use again.
        for (int i = 0; i < 2; ++i) {
            Measured down;
            bench.download(record, file, down);
            print("export", rows, chunk.size(), down, writePlainly(bench.path("plain.csv"), { chunk }), -1.0);
            isGood = isGood && RowDigest::ofFile(file).hex() == RowDigest::ofGenerated(rows, padding).hex();
        }
    }
    return isGood;
}

bool measureScripted(const QList<qint64>& sizes, qsizetype padding)
{
    Bench bench;
    ScriptedRecorderProcess recorder;
    RecorderRecord* const record = meet(bench, recorder);
    const QByteArray recorderUuid = bench.instance->agentInstanceUuid().toUtf8();

    bool isGood = true;
    for (const qint64 rows : sizes) {
        recorder.say(QStringLiteral("on export: chunk %1 %2 %3").arg(ROWS_PER_CHUNK).arg(rows).arg(padding));
        const QString file = bench.path("rows.csv");
        double bareExport = 0.0;
        double bareImport = 0.0;
        double bareWrite = 0.0;
        {
            // Kept for the bare runs only, so that the module's memory is its own.
            QList<QByteArray> chunks;
            for (qint64 first = 0; first < rows; first += ROWS_PER_CHUNK) {
                chunks.append(GeneratedRows::range(first, ROWS_PER_CHUNK, padding) + '\n');
            }
            BareAgent bare;
            bareExport = bare.exportFrom(recorderUuid);
            bareImport = bare.importInto(recorderUuid, chunks);
            bareWrite = writePlainly(bench.path("plain.csv"), chunks);
        }
        recorder.askForRows();
        waitUntil([&] { return recorder.receivedRows().rows >= 0; }, "the rows of the bare import");
        const RowDigest expected = RowDigest::ofGenerated(rows, padding);

        Measured down;
        bench.download(record, file, down);
        print("export", rows, expected.bytes(), down, bareWrite, bareExport);
        isGood = isGood && RowDigest::ofFile(file).hex() == expected.hex();

        Measured up;
        bench.import(file, up);
        print("import", rows, expected.bytes(), up, readPlainly(file), bareImport);
        recorder.askForRows();
        waitUntil([&] { return recorder.receivedRows().rows >= 0; }, "the rows of the import");
        isGood = isGood && recorder.receivedRows().digest == expected.hex();
    }
    return isGood;
}

// ---- the recorder agent -----------------------------------------------------------------------------------------

bool measureRecorder(const QList<std::pair<qint64, qsizetype>>& rowsAndPaddings)
{
    Bench bench;
    const QStringList arguments { "--name", "Recorder", "--cassandra", "embedded:9042", "--data-directory",
        bench.path("store") };
    bench.instance = bench.network.place("Recorder", RR_RECORDER, arguments);
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(RR_RECORDER, arguments);
    waitUntil([&] { return bench.instance->isOn(); }, "the recorder");
    bench.recorderProcess = process.processId();

    bool isGood = true;
    for (const auto& [rows, padding] : rowsAndPaddings) {
        const QString in = bench.path("in.csv");
        const QString out = bench.path("out.csv");
        QFile file(in);
        if (!file.open(QIODevice::WriteOnly) || !GeneratedRows::write(file, rows, padding)) {
            return false;
        }
        file.close();
        const qint64 bytes = QFileInfo(in).size();

        Measured up;
        bench.import(in, up);
        print("import", rows, bytes, up, readPlainly(in), -1.0);
        waitUntil([&] { return bench.instance->records()->count() > 0; }, "the imported record");
        auto* const record = qobject_cast<RecorderRecord*>(bench.instance->records()->get(0));

        Measured down;
        bench.download(record, out, down);
        // Doubles are written in their shortest form: the file need not be as long as the imported one.
        const qint64 written = QFileInfo(out).size();
        print("export", rows, written, down, writePlainly(bench.path("plain.csv"), { QByteArray(written, 'x') }), -1.0);
        // The facts of the record come before its events.
        isGood = isGood && RowDigest::ofFile(out).rows() > rows;

        bench.instance->deleteRecord(record);
        waitUntil([&] { return bench.instance->records()->count() == 0; }, "the deletion");
    }
    process.terminate();
    process.waitForFinished(10'000);
    return isGood;
}

} // namespace

int main(int argc, char* argv[])
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    const QApplication application(argc, argv);
    QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false"));
    const QStringList wanted = QCoreApplication::arguments().mid(1);
    const QList<qint64> sizes { 10'000, 100'000, 1'000'000 };
    bool isGood = true;
    if (wanted.isEmpty()) {
        // Each in a process of its own, so that its memory is its own.
        for (const char* part : { "scripted", "wide", "chunk", "recorder" }) {
            isGood = QProcess::execute(QCoreApplication::applicationFilePath(), { part }) == 0 && isGood;
        }
        return isGood ? 0 : 1;
    }
    if (wanted.contains("scripted")) {
        std::printf("the scripted recorder, chunks of %lld rows\n", static_cast<long long>(ROWS_PER_CHUNK));
        isGood = measureScripted(sizes, 0) && isGood;
    }
    if (wanted.contains("wide")) {
        std::printf("the scripted recorder, chunks of 10 MB\n");
        isGood = measureScripted({ 10'000, 100'000 }, 1000) && isGood;
    }
    if (wanted.contains("chunk")) {
        std::printf("the scripted recorder, one chunk\n");
        isGood = measureChunks({ 1, 5, 10, 20, 40, 60 }) && isGood;
    }
    if (wanted.contains("recorder")) {
        std::printf("the recorder agent with its built-in store\n");
        isGood = measureRecorder({ { 10'000, 0 }, { 100'000, 0 }, { 1'000'000, 0 }, { 100'000, 1000 } }) && isGood;
    }
    if (!isGood) {
        std::fprintf(stderr, "rows were lost or changed\n");
    }
    return isGood ? 0 : 1;
}
