// SPDX-License-Identifier: Apache-2.0
#include "dialoganswer.h"
#include "modulefixture.h"

#include "recorderutils.h"

#include <QtCore/QTemporaryDir>
#include <QtTest/QSignalSpy>

namespace {

/// A running recorder with one record of three seconds, and a folder for files.
class Files
{
public:
    Files()
        : instance(fixture.addRunningRecorder())
        , recorder(instance)
    {
        recorder.records("[" + recordJson(RECORD_A, "Night / shift") + "]");
        record = qobject_cast<RecorderRecord*>(instance->records()->get(0));
        QuenaryDouble::clearCalls();
    }
    QString path(const QString& name) const { return folder.filePath(name); }
    void write(const QString& name, const QByteArray& content) const
    {
        QFile file(path(name));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(content);
    }
    QByteArray read(const QString& name) const
    {
        QFile file(path(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("can not be read");
    }
    void download(const QString& name)
    {
        const DialogAnswer answer(path(name));
        instance->downloadRecord(record);
        QVERIFY(answer.wasAsked);
    }
    void chunk(const QString& content, int nextBucket, const QString& nextUuid, const QString& recordUuid = RECORD_A)
    {
        recorder.reply("receive_export", { recordUuid, nextBucket, nextUuid, content });
    }
    void import(const QString& name) { instance->importRecord(QUrl::fromLocalFile(path(name))); }
    /// The recorder acknowledges the chunk that it has.
    void acknowledge(const QString& recordUuid = RECORD_B)
    {
        recorder.replyWithToken("record_uuid", { recordUuid }, instance->uuid() + "##import");
    }
    static QByteArray rows(int count)
    {
        QByteArray rows;
        for (int i = 0; i < count; ++i) {
            rows += "pump;" + QByteArray::number(i) + ";output;speed;double;1\n";
        }
        return rows;
    }

    QTemporaryDir folder;
    ModuleFixture fixture;
    RecorderInstance* instance;
    ScriptedRecorder recorder;
    RecorderRecord* record = nullptr;
};

} // namespace

class tst_RecorderFiles : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    static void initMain() { QApplication::setAttribute(Qt::AA_DontUseNativeDialogs); }

    void aDownloadAsksForTheFileAndForTheFirstChunk();
    void aCancelledDialogDownloadsNothing();
    void aFileThatCanNotBeOpenedIsWarnedOf();
    void aRecordOfOneChunkIsWrittenAndEnds();
    void furtherChunksAreAskedForByTheirCursor();
    void aCancelIsHonouredAtTheNextChunk();
    void aCancelDuringTheLastChunkStopsTheNextDownload();
    void aSecondDownloadTakesTheChunksOfTheFirst();
    void progressIsReadFromTheLastRow_data();
    void progressIsReadFromTheLastRow();
    void aRecordThatIsDestroyedIsWrittenOnWithoutProgress();
    void aRecordThatGoesWhileTheDialogIsOpenIsNotDownloaded();
    void anEmptyRecordUuidClosesTheFile();
    void aChunkWithoutADownloadIsWarnedOf();
    void aFullDiskEndsTheDownload();
    void aDownloadWhileOffKeepsTheFileOpen();
    void anAgentThatLeavesEndsTheDownload();

    void aSmallFileIsOneCall();
    void furtherChunksAreAppendedAsTheyAreAcknowledged();
    void tenThousandRowsAndAnEmptyLineSendTheEmptyLineAsAChunk();
    void theBytesOfRowsAreSentAsTheyAre();
    void stoppingDuringTheFirstChunkEndsTheImport();
    void anEmptyUuidLeavesTheImportRunning();
    void aMissingFileIsWarnedOf();
    void aFileThatVanishesEndsTheImport();
    void anEmptyPathIsWarnedOf();
    void aUrlThatIsNotLocalOpensTheDialog();
    void progressIsToldToTheListOfInstances();
    void twoImportsAtOnceDoNotDisturbOneAnother();
    void anInstanceThatGoesWaitsForItsTask();
    void bytesThatAreNoTextAreWarnedOf();
};

// ---- export -----------------------------------------------------------------------------------------------------

void tst_RecorderFiles::aDownloadAsksForTheFileAndForTheFirstChunk()
{
    Files files;
    RecorderUtils::instance().updateDownloadDirectoryFromFilePath(files.path("any"));
    const DialogAnswer answer(files.path("out.csv"));
    QSignalSpy downloading(files.instance, &RecorderInstance::isDownloadingRecordChanged);
    files.instance->downloadRecord(files.record);
    QCOMPARE(answer.title, "Save record");
    QCOMPARE(answer.nameFilters, QStringList({ "CSV (*.csv)" }));
    QCOMPARE(answer.selectedFiles, QStringList({ files.path("Night _ shift") }));
    QCOMPARE(answer.parentWidget, nullptr);
    QVERIFY(files.instance->isDownloadingRecord());
    QCOMPARE(downloading.count(), 1);
    QCOMPARE(files.instance->exportRecord(), files.record);
    QCOMPARE(QuenaryDouble::calledServices(), QStringList({ "export" }));
    QCOMPARE(lastServiceCall().arguments, QVariantList({ RECORD_A, 0, QString(""), -1, true, false }));
    QCOMPARE(lastServiceCall().agent, files.instance->agentInstanceUuid());
    QCOMPARE(lastServiceCall().token, files.instance->uuid());
    QCOMPARE(RecorderUtils::instance().downloadFilePath("x"), files.path("x"));
}

void tst_RecorderFiles::aCancelledDialogDownloadsNothing()
{
    Files files;
    const DialogAnswer answer { QString() };
    files.instance->downloadRecord(files.record);
    QVERIFY(answer.wasAsked);
    QVERIFY(!files.instance->isDownloadingRecord());
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
}

void tst_RecorderFiles::aFileThatCanNotBeOpenedIsWarnedOf()
{
    Files files;
    QVERIFY(QDir().mkpath(files.path("folder")));
    const QString path = files.path("folder/out.csv");
    QTest::ignoreMessage(QtWarningMsg,
        qPrintable("void RecorderInstance::downloadRecord(RecorderRecord *) failed to open file \"" + path + "\""));
    // The folder goes while the file is chosen.
    const DialogAnswer answer(path, [&files] { QDir().rmdir(files.path("folder")); });
    files.instance->downloadRecord(files.record);
    QVERIFY(!files.instance->isDownloadingRecord());
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
}

void tst_RecorderFiles::aRecordOfOneChunkIsWrittenAndEnds()
{
    Files files;
    files.download("out.csv");
    files.chunk("é;0;agent;é;;x\né;1500000;output;o;double;1", 9, "");
    QVERIFY(!files.instance->isDownloadingRecord());
    QCOMPARE(files.read("out.csv"), QByteArray("é;0;agent;é;;x\né;1500000;output;o;double;1\n"));
    QCOMPARE(files.instance->exportingProgress(), 50);
    QCOMPARE(files.instance->exportRecord(), files.record);
    QCOMPARE(QuenaryDouble::calledServices(), QStringList({ "export" }));
}

void tst_RecorderFiles::furtherChunksAreAskedForByTheirCursor()
{
    Files files;
    files.download("out.csv");
    files.chunk("a;0;output", 3, "cursor");
    QVERIFY(files.instance->isDownloadingRecord());
    QCOMPARE(lastServiceCall().arguments, QVariantList({ RECORD_A, 3, QString("cursor"), -1, false, false }));
    files.chunk("a;3000000;output", 0, "");
    QCOMPARE(QuenaryDouble::serviceCalls().size(), 2);
    QCOMPARE(files.read("out.csv"), QByteArray("a;0;output\na;3000000;output\n"));
    QCOMPARE(files.instance->exportingProgress(), 100);
}

void tst_RecorderFiles::aCancelIsHonouredAtTheNextChunk()
{
    Files files;
    files.download("out.csv");
    files.chunk("a;1500000;output", 3, "cursor");
    QSignalSpy canceling(files.instance, &RecorderInstance::isCancelingExportChanged);
    files.instance->stopExport();
    files.instance->stopExport();
    QCOMPARE(canceling.count(), 1);
    QVERIFY(files.instance->isDownloadingRecord());
    files.chunk("a;1600000;output", 4, "next");
    QVERIFY(!files.instance->isDownloadingRecord());
    QVERIFY(!files.instance->isCancelingExport());
    QCOMPARE(files.instance->exportingProgress(), 0);
    QCOMPARE(files.instance->exportRecord(), nullptr);
    QCOMPARE(QuenaryDouble::serviceCalls().size(), 2);
    QCOMPARE(files.read("out.csv"), QByteArray("a;1500000;output\na;1600000;output\n"));
}

void tst_RecorderFiles::aCancelDuringTheLastChunkStopsTheNextDownload()
{
    Files files;
    files.download("one.csv");
    files.instance->stopExport();
    files.chunk("a;3000000;output", 0, "");
    QVERIFY(files.instance->isCancelingExport());
    QCOMPARE(files.read("one.csv"), QByteArray("a;3000000;output\n"));

    files.download("two.csv");
    QVERIFY(files.instance->isCancelingExport());
    files.chunk("a;1;output", 1, "cursor");
    QVERIFY(!files.instance->isDownloadingRecord());
    QVERIFY(!files.instance->isCancelingExport());
    QCOMPARE(files.read("two.csv"), QByteArray("a;1;output\n"));
}

void tst_RecorderFiles::aSecondDownloadTakesTheChunksOfTheFirst()
{
    Files files;
    files.download("one.csv");
    files.chunk("a;1;output", 1, "cursor");
    files.download("two.csv");
    QVERIFY(files.instance->isDownloadingRecord());
    files.chunk("a;2;output", 2, "cursor");
    QCOMPARE(files.read("one.csv"), QByteArray("a;1;output\n"));
    QCOMPARE(files.read("two.csv"), QByteArray("a;2;output\n"));
}

void tst_RecorderFiles::progressIsReadFromTheLastRow_data()
{
    QTest::addColumn<QString>("content");
    QTest::addColumn<int>("progress");
    QTest::newRow("half") << "x\na;1500000;c" << 50;
    QTest::newRow("rounded down") << "a;1529999;c" << 50;
    QTest::newRow("beyond the end") << "a;9999999999;c" << 100;
    QTest::newRow("negative") << "a;-5;c" << 0;
    QTest::newRow("no number") << "a;b;c" << 0;
    QTest::newRow("too few fields") << "a;1500000" << 7;
    QTest::newRow("an empty last line") << "a;1500000;c\n" << 7;
    QTest::newRow("nothing") << "" << 7;
}

void tst_RecorderFiles::progressIsReadFromTheLastRow()
{
    QFETCH(QString, content);
    QFETCH(int, progress);
    Files files;
    files.download("out.csv");
    files.chunk("a;210000;c", 1, "cursor");
    QCOMPARE(files.instance->exportingProgress(), 7);
    files.chunk(content, 2, "cursor");
    QCOMPARE(files.instance->exportingProgress(), progress);
}

void tst_RecorderFiles::aRecordThatIsDestroyedIsWrittenOnWithoutProgress()
{
    Files files;
    files.download("out.csv");
    files.chunk("a;1500000;c", 1, "cursor");
    files.recorder.records("[]");
    QCOMPARE(files.instance->exportRecord(), nullptr);
    QVERIFY(files.instance->isDownloadingRecord());
    files.chunk("a;3000000;c", 0, "");
    QCOMPARE(files.instance->exportingProgress(), 50);
    QCOMPARE(files.read("out.csv"), QByteArray("a;1500000;c\na;3000000;c\n"));
}

void tst_RecorderFiles::aRecordThatGoesWhileTheDialogIsOpenIsNotDownloaded()
{
    Files files;
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("downloadRecord.*the record was removed"));
    const DialogAnswer answer(files.path("out.csv"), [&files] { delete files.record; });
    files.instance->downloadRecord(files.record);
    QVERIFY(!QFile::exists(files.path("out.csv")));
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
}

void tst_RecorderFiles::anEmptyRecordUuidClosesTheFile()
{
    Files files;
    files.download("out.csv");
    QTest::ignoreMessage(QtWarningMsg,
        "void RecorderInstance::receiveExport(const QString &, int, const QString &, const QString &) recordUuid is "
        "empty, closing file");
    files.chunk("a;1500000;c", 1, "cursor", "");
    QVERIFY(!files.instance->isDownloadingRecord());
    QCOMPARE(files.read("out.csv"), QByteArray());
    QCOMPARE(QuenaryDouble::serviceCalls().size(), 1);
}

void tst_RecorderFiles::aChunkWithoutADownloadIsWarnedOf()
{
    Files files;
    QTest::ignoreMessage(QtWarningMsg,
        "void RecorderInstance::receiveExport(const QString &, int, const QString &, const QString &) failed to write "
        "content to record file, closing file");
    files.chunk("a;1500000;c", 1, "cursor");
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
}

void tst_RecorderFiles::aFullDiskEndsTheDownload()
{
    if (!QFile::exists("/dev/full")) {
        QSKIP("no device that is always full");
    }
    Files files;
    QVERIFY(QFile::link("/dev/full", files.path("out.csv")));
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("^Can not write to \".*out.csv\" : \".+\"$"));
    QTest::ignoreMessage(QtWarningMsg,
        "void RecorderInstance::receiveExport(const QString &, int, const QString &, const QString &) failed to write "
        "content to record file, closing file");
    files.download("out.csv");
    files.chunk("a;1500000;c", 1, "cursor");
    QVERIFY(!files.instance->isDownloadingRecord());
}

void tst_RecorderFiles::aDownloadWhileOffKeepsTheFileOpen()
{
    Files files;
    RecorderRecord record(RECORD_B, "B", QDateTime(), QDateTime(), 1, nullptr);
    ModuleFixture::leave(files.instance->agentInstanceUuid());
    QTest::ignoreMessage(QtWarningMsg, "Instance is off. Can not call service 'export'");
    const DialogAnswer answer(files.path("out.csv"));
    files.instance->downloadRecord(&record);
    QVERIFY(answer.wasAsked);
    QVERIFY(files.instance->isDownloadingRecord());
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
}

void tst_RecorderFiles::anAgentThatLeavesEndsTheDownload()
{
    Files files;
    files.download("out.csv");
    files.chunk("a;1500000;c", 1, "cursor");
    files.instance->stopExport();
    ModuleFixture::leave(files.instance->agentInstanceUuid());
    QVERIFY(!files.instance->isDownloadingRecord());
    QVERIFY(!files.instance->isCancelingExport());
    QCOMPARE(files.instance->exportingProgress(), 0);
    QCOMPARE(files.instance->exportRecord(), nullptr);
    QCOMPARE(files.read("out.csv"), QByteArray("a;1500000;c\n"));
}

// ---- import -----------------------------------------------------------------------------------------------------

void tst_RecorderFiles::aSmallFileIsOneCall()
{
    Files files;
    files.write("night.shift.csv", "a;0;output\nb;1;output");
    files.import("night.shift.csv");
    QVERIFY(files.instance->isImportingRecord());
    QTRY_COMPARE(QuenaryDouble::calledServices(), QStringList({ "import" }));
    QCOMPARE(lastServiceCall().arguments,
        QVariantList({ QString("night.shift"), true, QString(""), QString("a;0;output\n\nb;1;output\n") }));
    QCOMPARE(lastServiceCall().token, files.instance->uuid() + "##import");
    QCOMPARE(lastServiceCall().agent, files.instance->agentInstanceUuid());
    QCOMPARE(files.instance->importingProgress(), 0);
    files.acknowledge();
    QVERIFY(!files.instance->isImportingRecord());
    QCOMPARE(QuenaryDouble::calledServices(), QStringList({ "import", "get_records" }));
}

void tst_RecorderFiles::furtherChunksAreAppendedAsTheyAreAcknowledged()
{
    Files files;
    const QByteArray rows = Files::rows(25000);
    files.write("big.csv", rows);
    QSignalSpy progress(files.instance, &RecorderInstance::importingProgressChanged);
    files.import("big.csv");
    QTRY_COMPARE(QuenaryDouble::calledServices(), QStringList({ "import" }));
    QTRY_COMPARE(progress.count(), 1);
    QCOMPARE_GE(files.instance->importingProgress(), 38);
    QCOMPARE_LE(files.instance->importingProgress(), 40);
    files.acknowledge();
    QTRY_COMPARE(QuenaryDouble::serviceCalls().size(), 2);
    QTRY_COMPARE(progress.count(), 2);
    QCOMPARE(lastServiceCall().arguments.at(0).toString(), RECORD_B);
    files.acknowledge();
    QTRY_COMPARE(QuenaryDouble::serviceCalls().size(), 3);
    QVERIFY(files.instance->isImportingRecord());
    files.acknowledge();
    QCOMPARE(QuenaryDouble::calledServices(), QStringList({ "import", "append", "append", "get_records" }));
    QVERIFY(!files.instance->isImportingRecord());
    // The progress stays where it was when the last chunk went out.
    QCOMPARE(progress.count(), 2);

    QString sent = QuenaryDouble::serviceCalls().at(0).arguments.at(3).toString();
    QCOMPARE(sent.count("\n\n"), 10000);
    sent += QuenaryDouble::serviceCalls().at(1).arguments.at(1).toString();
    sent += QuenaryDouble::serviceCalls().at(2).arguments.at(1).toString();
    QCOMPARE(sent.replace("\n\n", "\n").toUtf8(), rows);
}

void tst_RecorderFiles::tenThousandRowsAndAnEmptyLineSendTheEmptyLineAsAChunk()
{
    Files files;
    files.write("even.csv", Files::rows(10000) + "\n");
    files.import("even.csv");
    QTRY_COMPARE(QuenaryDouble::serviceCalls().size(), 1);
    files.acknowledge();
    QTRY_COMPARE(QuenaryDouble::serviceCalls().size(), 2);
    QCOMPARE(lastServiceCall().service, "append");
    QCOMPARE(lastServiceCall().arguments, QVariantList({ RECORD_B, QString("\n\n") }));
    files.acknowledge();
    QTRY_COMPARE(QuenaryDouble::calledServices(), QStringList({ "import", "append", "get_records" }));

    // Without the empty line there is nothing more to send.
    QuenaryDouble::clearCalls();
    files.write("exact.csv", Files::rows(10000));
    files.import("exact.csv");
    QTRY_COMPARE(QuenaryDouble::serviceCalls().size(), 1);
    files.acknowledge();
    QCOMPARE(QuenaryDouble::calledServices(), QStringList({ "import", "get_records" }));
}

void tst_RecorderFiles::theBytesOfRowsAreSentAsTheyAre()
{
    Files files;
    files.write("bytes.csv", "a;\"x\r\ny \"\"z\"\"\";é\r\n\nlast");
    files.import("bytes.csv");
    QTRY_COMPARE(QuenaryDouble::serviceCalls().size(), 1);
    QCOMPARE(
        lastServiceCall().arguments.at(3).toString().toUtf8(), QByteArray("a;\"x\r\ny \"\"z\"\"\";é\r\n\n\nlast\n"));
}

void tst_RecorderFiles::stoppingDuringTheFirstChunkEndsTheImport()
{
    Files files;
    files.write("big.csv", Files::rows(25000));
    files.import("big.csv");
    // Perhaps before, perhaps after the task has found that there is more to send.
    files.instance->stopImport();
    QVERIFY(files.instance->isCancelingImport());
    QTRY_COMPARE(QuenaryDouble::serviceCalls().size(), 1);
    files.acknowledge();
    QCOMPARE(QuenaryDouble::calledServices(), QStringList({ "import", "get_records" }));
    QVERIFY(!files.instance->isImportingRecord());
    QVERIFY(files.instance->isCancelingImport());
    files.write("small.csv", "a;0;output\n");
    files.import("small.csv");
    QVERIFY(!files.instance->isCancelingImport());
    QTRY_COMPARE(QuenaryDouble::serviceCalls().size(), 3);
}

void tst_RecorderFiles::anEmptyUuidLeavesTheImportRunning()
{
    Files files;
    files.write("small.csv", "a;0;output\n");
    files.import("small.csv");
    QTRY_COMPARE(QuenaryDouble::serviceCalls().size(), 1);
    QTest::ignoreMessage(QtWarningMsg, "Something went wrong in the recorder when importing, check his logs");
    files.acknowledge("");
    QVERIFY(files.instance->isImportingRecord());
    files.acknowledge();
    QVERIFY(!files.instance->isImportingRecord());
}

void tst_RecorderFiles::aMissingFileIsWarnedOf()
{
    Files files;
    QTest::ignoreMessage(
        QtWarningMsg, qPrintable("File \"" + files.path("missing.csv") + "\" doesn't exists or cannot be opened"));
    files.import("missing.csv");
    QVERIFY(files.instance->isImportingRecord());
    QTRY_VERIFY(!files.instance->isImportingRecord());
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
}

void tst_RecorderFiles::aFileThatVanishesEndsTheImport()
{
    Files files;
    files.write("big.csv", Files::rows(25000));
    files.import("big.csv");
    QTRY_COMPARE(QuenaryDouble::serviceCalls().size(), 1);
    QVERIFY(QFile::remove(files.path("big.csv")));
    QTest::ignoreMessage(
        QtWarningMsg, qPrintable("File \"" + files.path("big.csv") + "\" doesn't exists or cannot be opened"));
    files.acknowledge();
    QTRY_VERIFY(!files.instance->isImportingRecord());
    QCOMPARE(QuenaryDouble::serviceCalls().size(), 1);
}

void tst_RecorderFiles::anEmptyPathIsWarnedOf()
{
    Files files;
    const DialogAnswer answer { QString() };
    QTest::ignoreMessage(QtWarningMsg, "Path is empty");
    files.instance->importRecord();
    QVERIFY(answer.wasAsked);
    QVERIFY(!files.instance->isImportingRecord());
}

void tst_RecorderFiles::aUrlThatIsNotLocalOpensTheDialog()
{
    Files files;
    RecorderUtils::instance().updateDownloadDirectoryFromFilePath(files.path("any"));
    files.write("small.csv", "a;0;output\n");
    const DialogAnswer answer(files.path("small.csv"));
    files.instance->importRecord(QUrl("http://example.org/small.csv"));
    QCOMPARE(answer.title, "Import record");
    QCOMPARE(answer.nameFilters, QStringList({ "CSV (*.csv)" }));
    QCOMPARE(answer.folder, files.folder.path());
    QVERIFY(files.instance->isImportingRecord());
    QTRY_COMPARE(QuenaryDouble::calledServices(), QStringList({ "import" }));
}

void tst_RecorderFiles::progressIsToldToTheListOfInstances()
{
    Files files;
    files.write("big.csv", Files::rows(25000));
    Recorder* const recorder = files.fixture.recorderOf(files.instance->instance());
    const QHash<int, QByteArray> roles = recorder->instances()->roleNames();
    const int role = roles.key("importingProgress");
    QThread* dataThread = nullptr;
    bool isToldOfProgress = false;
    connect(recorder->instances(), &QAbstractItemModel::dataChanged, recorder->instances(),
        [&](const QModelIndex&, const QModelIndex&, const QList<int>& changed) {
            dataThread = QThread::currentThread();
            isToldOfProgress = isToldOfProgress || changed.contains(role);
        });
    files.import("big.csv");
    // Changed on the worker's thread, told on this one.
    QTRY_VERIFY(isToldOfProgress);
    QCOMPARE(dataThread, QThread::currentThread());
}

void tst_RecorderFiles::twoImportsAtOnceDoNotDisturbOneAnother()
{
    Files files;
    files.write("one.csv", Files::rows(25000));
    files.write("two.csv", Files::rows(3));
    for (int i = 0; i < 20; ++i) {
        QuenaryDouble::clearCalls();
        files.import("one.csv");
        files.import("two.csv");
        QTRY_COMPARE(QuenaryDouble::calledServices(), QStringList({ "import", "import" }));
        QStringList names { QuenaryDouble::serviceCalls().at(0).arguments.at(0).toString(),
            QuenaryDouble::serviceCalls().at(1).arguments.at(0).toString() };
        names.sort();
        QCOMPARE(names, QStringList({ "one", "two" }));
    }
}

void tst_RecorderFiles::anInstanceThatGoesWaitsForItsTask()
{
    Files files;
    files.write("big.csv", Files::rows(200000));
    const QPointer<RecorderInstance> instance = files.instance;
    files.import("big.csv");
    files.fixture.destroyModule();
    ModuleFixture::settle();
    QVERIFY(instance.isNull());
    // Its one chunk went out before it was gone, or never will.
    const qsizetype sent = QuenaryDouble::serviceCalls().size();
    QTest::qWait(50);
    QCOMPARE(QuenaryDouble::serviceCalls().size(), sent);
}

void tst_RecorderFiles::bytesThatAreNoTextAreWarnedOf()
{
    Files files;
    files.write("latin1.csv", "a;0;output;caf\xe9;;\n");
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("^An argument of service 'import' can not be sent: "));
    files.import("latin1.csv");
    QTRY_COMPARE(QuenaryDouble::serviceCalls().size(), 1);
    QCOMPARE(lastServiceCall().arguments.size(), 3);
    QuenaryDouble::clearCalls();

    files.write("zero.csv", QByteArray("a;0\0;output\n", 12));
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("^An argument of service 'import' holds a zero byte"));
    files.import("zero.csv");
    QTRY_COMPARE(QuenaryDouble::serviceCalls().size(), 1);
}

QTEST_MAIN(tst_RecorderFiles)
#include "tst_recorderfiles.moc"
