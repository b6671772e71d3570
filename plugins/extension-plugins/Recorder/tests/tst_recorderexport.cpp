// SPDX-License-Identifier: Apache-2.0
#include "contexttranslator.h"
#include "filesfixture.h"

#include "recorderutils.h"

#include <QtTest/QSignalSpy>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

class tst_RecorderExport : public QObject
{
    Q_OBJECT

public:
    static void initMain() { QApplication::setAttribute(Qt::AA_DontUseNativeDialogs); }

private Q_SLOTS:
    void aDownloadAsksForTheFileAndForTheFirstChunk();
    void aCancelledDialogDownloadsNothing();
    void theSaveDialogIsTranslated();
    void anInstanceThatGoesWhileTheDialogIsOpenDownloadsNothing();
    void aFileThatCanNotBeOpenedIsWarnedOf();
    void aPipeIsNotWrittenInto();
    void aRecordOfOneChunkIsWrittenAndEnds();
    void furtherChunksAreAskedForByTheirCursor();
    void aCancelIsHonouredAtTheNextChunk();
    void aCancelDuringTheLastChunkStopsTheNextDownload();
    void aSecondDownloadTakesTheChunksOfTheFirst();
    void aSecondDownloadThatCanNotBeOpenedEndsTheFirst();
    void progressIsReadFromTheLastRow_data();
    void progressIsReadFromTheLastRow();
    void aRecordWithoutLengthHasNoProgress();
    void aLongChunkIsWrittenUnchanged();
    void aRecordThatIsDestroyedIsWrittenOnWithoutProgress();
    void aRecordThatGoesWhileTheDialogIsOpenIsNotDownloaded();
    void aRecorderThatLeavesWhileTheDialogIsOpenIsNotWaitedFor();
    void anEmptyRecordUuidClosesTheFile();
    void aChunkWithoutADownloadIsWarnedOf();
    void aFullDiskEndsTheDownload();
    void aDownloadWhileOffKeepsTheFileOpen();
    void anAgentThatIsOffInTheMiddleOfADownloadIsNotAskedOn();
    void anAgentThatLeavesEndsTheDownload();
};

void tst_RecorderExport::aDownloadAsksForTheFileAndForTheFirstChunk()
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
    compareCall(files.instance, "export", { RECORD_A, 0, QString(""), -1, true, false });
    QCOMPARE(RecorderUtils::instance().downloadFilePath("x"), files.path("x"));
}

void tst_RecorderExport::aCancelledDialogDownloadsNothing()
{
    Files files;
    const DialogAnswer answer { QString() };
    files.instance->downloadRecord(files.record);
    QVERIFY(answer.wasAsked);
    QVERIFY(!files.instance->isDownloadingRecord());
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
}

void tst_RecorderExport::theSaveDialogIsTranslated()
{
    Files files;
    const ContextTranslator translator("RecorderInstance");
    const DialogAnswer answer { QString() };
    files.instance->downloadRecord(files.record);
    QCOMPARE(answer.title, "translated Save record");
    QCOMPARE(answer.nameFilters, QStringList({ "translated CSV (*.csv)" }));
}

void tst_RecorderExport::anInstanceThatGoesWhileTheDialogIsOpenDownloadsNothing()
{
    Files files;
    const QPointer<RecorderInstance> instance = files.instance;
    const DialogAnswer answer(files.path("out.csv"), [&files] {
        files.fixture.destroyModule();
        ModuleFixture::settle();
    });
    instance->downloadRecord(files.record);
    QVERIFY(answer.wasAsked);
    QVERIFY(instance.isNull());
    QVERIFY(!QFile::exists(files.path("out.csv")));
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
}

void tst_RecorderExport::aFileThatCanNotBeOpenedIsWarnedOf()
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
    QCOMPARE(files.instance->exportRecord(), nullptr);
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
}

void tst_RecorderExport::aPipeIsNotWrittenInto()
{
    Files files;
    const QString path = files.path("out.csv");
    QTest::ignoreMessage(QtWarningMsg,
        qPrintable("void RecorderInstance::downloadRecord(RecorderRecord *) failed to open file \"" + path + "\""));
    // Somebody reads it here, so that the test would not wait with the window.
    int reader = -1;
    const DialogAnswer answer(path, [&] {
        QCOMPARE(mkfifo(qPrintable(path), 0600), 0);
        reader = open(qPrintable(path), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    });
    files.instance->downloadRecord(files.record);
    QVERIFY(reader >= 0);
    close(reader);
    QVERIFY(!files.instance->isDownloadingRecord());
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
}

void tst_RecorderExport::aRecordOfOneChunkIsWrittenAndEnds()
{
    Files files;
    QSignalSpy downloading(files.instance, &RecorderInstance::isDownloadingRecordChanged);
    files.download("out.csv");
    QVERIFY(files.instance->isDownloadingRecord());
    files.chunk("é;0;agent;é;;x\né;1500000;output;o;double;1", 9, "");
    QVERIFY(!files.instance->isDownloadingRecord());
    QCOMPARE(downloading.count(), 2);
    QCOMPARE(files.read("out.csv"), QByteArray("é;0;agent;é;;x\né;1500000;output;o;double;1\n"));
    QCOMPARE(files.instance->exportingProgress(), 50);
    QCOMPARE(files.instance->exportRecord(), files.record);
    QCOMPARE(QuenaryDouble::calledServices(), QStringList({ "export" }));
}

void tst_RecorderExport::furtherChunksAreAskedForByTheirCursor()
{
    Files files;
    files.write("out.csv", "what stood in the file before");
    files.download("out.csv");
    QCOMPARE(files.read("out.csv"), QByteArray());
    files.chunk("a;0;output", 3, "cursor");
    QVERIFY(files.instance->isDownloadingRecord());
    compareCall(lastServiceCall(), files.instance, "export", { RECORD_A, 3, QString("cursor"), -1, false, false });
    files.chunk("a;3000000;output", 0, "");
    QCOMPARE(QuenaryDouble::serviceCalls().size(), 2);
    QCOMPARE(files.read("out.csv"), QByteArray("a;0;output\na;3000000;output\n"));
    QCOMPARE(files.instance->exportingProgress(), 100);
}

void tst_RecorderExport::aCancelIsHonouredAtTheNextChunk()
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

void tst_RecorderExport::aCancelDuringTheLastChunkStopsTheNextDownload()
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

void tst_RecorderExport::aSecondDownloadTakesTheChunksOfTheFirst()
{
    Files files;
    files.download("one.csv");
    files.chunk("a;1;output", 1, "cursor");
    files.download("two.csv");
    QVERIFY(files.instance->isDownloadingRecord());
    // Whatever record it is of.
    files.chunk("a;2;output", 2, "cursor", RECORD_B);
    compareCall(lastServiceCall(), files.instance, "export", { RECORD_B, 2, QString("cursor"), -1, false, false });
    QCOMPARE(files.read("one.csv"), QByteArray("a;1;output\n"));
    QCOMPARE(files.read("two.csv"), QByteArray("a;2;output\n"));
}

void tst_RecorderExport::aSecondDownloadThatCanNotBeOpenedEndsTheFirst()
{
    Files files;
    files.download("one.csv");
    QVERIFY(QDir().mkpath(files.path("folder")));
    const QString path = files.path("folder/two.csv");
    QTest::ignoreMessage(QtWarningMsg,
        qPrintable("void RecorderInstance::downloadRecord(RecorderRecord *) failed to open file \"" + path + "\""));
    const DialogAnswer answer(path, [&files] { QDir().rmdir(files.path("folder")); });
    files.instance->downloadRecord(files.record);
    QVERIFY(!files.instance->isDownloadingRecord());
    QTest::ignoreMessage(QtWarningMsg,
        "void RecorderInstance::receiveExport(const QString &, int, const QString &, const QString &) failed to write "
        "content to record file, closing file");
    files.chunk("a;1;output", 1, "cursor");
    QCOMPARE(files.read("one.csv"), QByteArray());
}

void tst_RecorderExport::progressIsReadFromTheLastRow_data()
{
    QTest::addColumn<QString>("content");
    QTest::addColumn<int>("progress");
    QTest::newRow("the second field of the last row tells it") << "x\na;1500000;c" << 50;
    QTest::newRow("it is rounded down") << "a;1529999;c" << 50;
    QTest::newRow("beyond the end is all of it") << "a;9999999999;c" << 100;
    QTest::newRow("before the start is nothing of it") << "a;-5;c" << 0;
    QTest::newRow("what is no number is nothing of it") << "a;b;c" << 0;
    QTest::newRow("two fields leave it as it was") << "a;1500000" << 7;
    QTest::newRow("content that ends in a line feed leaves it as it was") << "a;1500000;c\n" << 7;
    QTest::newRow("no content leaves it as it was") << "" << 7;
    QTest::newRow("one long field leaves it as it was") << QString(1'000'000, u'a') << 7;
    // Fields are what stands between semicolons, whatever quotes say.
    QTest::newRow("a semicolon in quotes ends a field") << "\"a;b\";1500000;c" << 0;
}

void tst_RecorderExport::progressIsReadFromTheLastRow()
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

void tst_RecorderExport::aRecordWithoutLengthHasNoProgress()
{
    Files files;
    files.recorder.records("[" + recordJson(RECORD_A, "Night", 0) + "]");
    files.download("out.csv");
    files.chunk("a;1500000;c", 0, "");
    QCOMPARE(files.instance->exportingProgress(), 0);
    QCOMPARE(files.read("out.csv"), QByteArray("a;1500000;c\n"));
}

void tst_RecorderExport::aLongChunkIsWrittenUnchanged()
{
    // Letters that take one to four bytes, at every place where a chunk may be cut for writing.
    Files files;
    files.download("out.csv");
    QString content;
    for (int i = 0; content.size() < 1'000'000; ++i) {
        content += QString::number(i) + QStringLiteral(";aé漢😀😀") + QString(i % 7, u'x') + u'\n';
    }
    files.chunk(content, 1, "cursor");
    files.chunk("last", 0, "");
    QCOMPARE(files.read("out.csv"), content.toUtf8() + "\nlast\n");
}

void tst_RecorderExport::aRecordThatIsDestroyedIsWrittenOnWithoutProgress()
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

void tst_RecorderExport::aRecordThatGoesWhileTheDialogIsOpenIsNotDownloaded()
{
    Files files;
    QTest::ignoreMessage(QtWarningMsg,
        qPrintable(
            "void RecorderInstance::downloadRecord(RecorderRecord *) the record was removed while a file was chosen "
            "for it, nothing is written to \""
            + files.path("out.csv") + "\""));
    const DialogAnswer answer(files.path("out.csv"), [&files] { delete files.record; });
    files.instance->downloadRecord(files.record);
    QVERIFY(!QFile::exists(files.path("out.csv")));
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
}

void tst_RecorderExport::aRecorderThatLeavesWhileTheDialogIsOpenIsNotWaitedFor()
{
    Files files;
    const Told told;
    QTest::ignoreMessage(QtWarningMsg,
        qPrintable("void RecorderInstance::downloadRecord(RecorderRecord *) the recorder left while a file was chosen, "
                   "nothing is written to \""
            + files.path("out.csv") + "\""));
    // The record is still there: it goes only later.
    RecorderRecord record(RECORD_B, "B", QDateTime(), QDateTime(), 1, nullptr);
    const DialogAnswer answer(files.path("out.csv"), [&files] { files.instance->updateFromRunningAgentInfo(nullptr); });
    files.instance->downloadRecord(&record);
    QVERIFY(answer.wasAsked);
    QVERIFY(!files.instance->isDownloadingRecord());
    QVERIFY(!QFile::exists(files.path("out.csv")));
    QCOMPARE(told.texts(),
        QStringList("The recorder 'Recorder' left while a file was chosen for its record: nothing is written to \""
            + files.path("out.csv") + "\"."));
}

void tst_RecorderExport::anEmptyRecordUuidClosesTheFile()
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

void tst_RecorderExport::aChunkWithoutADownloadIsWarnedOf()
{
    Files files;
    QTest::ignoreMessage(QtWarningMsg,
        "void RecorderInstance::receiveExport(const QString &, int, const QString &, const QString &) failed to write "
        "content to record file, closing file");
    files.chunk("a;1500000;c", 1, "cursor");
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
}

void tst_RecorderExport::aFullDiskEndsTheDownload()
{
    if (!QFile::exists("/dev/full")) {
        QSKIP("no device that is always full");
    }
    Files files;
    QVERIFY(QFile::link("/dev/full", files.path("out.csv")));
    QTest::ignoreMessage(QtWarningMsg,
        qPrintable("Can not write to \"" + files.path("out.csv") + "\" : \"" + qt_error_string(ENOSPC) + "\""));
    QTest::ignoreMessage(QtWarningMsg,
        "void RecorderInstance::receiveExport(const QString &, int, const QString &, const QString &) failed to write "
        "content to record file, closing file");
    files.download("out.csv");
    files.chunk("a;1500000;c", 1, "cursor");
    QVERIFY(!files.instance->isDownloadingRecord());
}

void tst_RecorderExport::aDownloadWhileOffKeepsTheFileOpen()
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

void tst_RecorderExport::anAgentThatIsOffInTheMiddleOfADownloadIsNotAskedOn()
{
    Files files;
    files.download("out.csv");
    files.instance->setisOn(false);
    QuenaryDouble::clearCalls();
    QTest::ignoreMessage(QtWarningMsg, "Instance is off. Can not call service 'export'");
    files.chunk("a;1500000;c", 1, "cursor");
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
    QVERIFY(files.instance->isDownloadingRecord());
    QCOMPARE(files.read("out.csv"), QByteArray("a;1500000;c\n"));
}

void tst_RecorderExport::anAgentThatLeavesEndsTheDownload()
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

QTEST_MAIN(tst_RecorderExport)
#include "tst_recorderexport.moc"
