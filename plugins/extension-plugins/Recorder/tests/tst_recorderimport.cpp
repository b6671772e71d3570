// SPDX-License-Identifier: Apache-2.0
#include "contexttranslator.h"
#include "filesfixture.h"
#include "privatemember.h"

#include "recorderutils.h"

#include <systemviewmanager.h>

#include <QtCore/QFutureWatcher>
#include <QtCore/QScopeGuard>
#include <QtCore/QSemaphore>
#include <QtCore/QThreadPool>
#include <QtTest/QSignalSpy>

static QList<QFuture<bool>> RecorderInstance::* importTasks = nullptr;
template struct OpenMember<importTasks, &RecorderInstance::_importTasks>;

class tst_RecorderImport : public QObject
{
    Q_OBJECT

public:
    static void initMain() { QApplication::setAttribute(Qt::AA_DontUseNativeDialogs); }

private Q_SLOTS:
    void aSmallFileIsOneCall();
    void furtherChunksAreAppendedAsTheyAreAcknowledged();
    void tenThousandRowsAndAnEmptyLineSendTheEmptyLineAsAChunk();
    void theBytesOfRowsAreSentAsTheyAre();
    void stoppingDuringTheFirstChunkEndsTheImport();
    void stoppingBetweenChunksEndsTheImportToo();
    void anEmptyUuidLeavesTheImportRunning();
    void anImportThatTheAgentLeftDoesNotGoOnInTheNext();
    void aMissingFileIsWarnedOf();
    void aFileThatVanishesEndsTheImport();
    void importsThatEndedLeaveNothingBehind();
    void anEmptyPathIsWarnedOf();
    void anAgentOrAnInstanceThatGoesWhileTheDialogIsOpenImportsNothing();
    void aUrlThatIsNotLocalOpensTheDialog();
    void theOpenDialogIsTranslated();
    void progressIsToldToTheListOfInstances();
    void twoImportsAtOnceEachSendTheirFirstChunk();
    void anImportThatEndsNamesItsOwnFileWhileAnotherBegins();
    void theOpenDialogBeginsInAFolderThatIsThere();
    void anAcknowledgementNeverWaitsForTheDisk();
    void anAgentThatLeavesEndsTheImport();
    void anInstanceThatGoesWaitsForItsTask();
};

void tst_RecorderImport::aSmallFileIsOneCall()
{
    Files files;
    files.write("night.shift.csv", "a;0;output\nb;1;output");
    files.import("night.shift.csv");
    QVERIFY(files.instance->isImportingRecord());
    QTRY_COMPARE(QuenaryDouble::calledServices(), QStringList({ "import" }));
    compareCall(lastServiceCall(), files.instance, "import",
        { QString("night.shift"), true, QString(""), QString("a;0;output\n\nb;1;output\n") },
        files.instance->uuid() + "##import");
    QCOMPARE(files.instance->importingProgress(), 0);
    files.acknowledge();
    QVERIFY(!files.instance->isImportingRecord());
    QCOMPARE(QuenaryDouble::calledServices(), QStringList({ "import", "get_records" }));
    compareCall(lastServiceCall(), files.instance, "get_records", { QString("") });
}

void tst_RecorderImport::furtherChunksAreAppendedAsTheyAreAcknowledged()
{
    Files files;
    const QByteArray rows = Files::rows(25000);
    files.write("big.csv", rows);
    QSignalSpy progress(files.instance, &RecorderInstance::importingProgressChanged);
    files.import("big.csv");
    QTRY_COMPARE(QuenaryDouble::calledServices(), QStringList({ "import" }));
    QTRY_COMPARE(progress.count(), 1);
    QCOMPARE(files.instance->importingProgress(), static_cast<int>(FileFolder::rows(10000).size() * 100 / rows.size()));
    files.acknowledge();
    QTRY_COMPARE(QuenaryDouble::serviceCalls().size(), 2);
    QTRY_COMPARE(progress.count(), 2);
    QCOMPARE(lastServiceCall().arguments.at(0).toString(), RECORD_B);
    // Floor of the share of bytes: each of two chunks ends where 10,000 rows end.
    QCOMPARE(files.instance->importingProgress(), static_cast<int>(FileFolder::rows(20000).size() * 100 / rows.size()));
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

void tst_RecorderImport::tenThousandRowsAndAnEmptyLineSendTheEmptyLineAsAChunk()
{
    Files files;
    files.write("even.csv", Files::rows(10000) + "\n");
    files.import("even.csv");
    QTRY_COMPARE(QuenaryDouble::serviceCalls().size(), 1);
    files.acknowledge();
    QTRY_COMPARE(QuenaryDouble::serviceCalls().size(), 2);
    compareCall(lastServiceCall(), files.instance, "append", { RECORD_B, QString("\n\n") },
        files.instance->uuid() + "##import");
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

void tst_RecorderImport::theBytesOfRowsAreSentAsTheyAre()
{
    Files files;
    files.write("bytes.csv", "a;\"x\r\ny \"\"z\"\"\";é\r\n\nlast");
    files.import("bytes.csv");
    QTRY_COMPARE(QuenaryDouble::serviceCalls().size(), 1);
    QCOMPARE(
        lastServiceCall().arguments.at(3).toString().toUtf8(), QByteArray("a;\"x\r\ny \"\"z\"\"\";é\r\n\n\nlast\n"));
}

void tst_RecorderImport::stoppingDuringTheFirstChunkEndsTheImport()
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

void tst_RecorderImport::stoppingBetweenChunksEndsTheImportToo()
{
    Files files;
    files.write("big.csv", Files::rows(25000));
    files.import("big.csv");
    QTRY_COMPARE_GT(files.instance->importingProgress(), 0);
    files.instance->stopImport();
    files.acknowledge();
    QCOMPARE(QuenaryDouble::calledServices(), QStringList({ "import", "get_records" }));
    QVERIFY(!files.instance->isImportingRecord());
    // A records answer ends the cancel.
    files.recorder.records("[]");
    QVERIFY(!files.instance->isCancelingImport());
}

void tst_RecorderImport::anEmptyUuidLeavesTheImportRunning()
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

void tst_RecorderImport::anImportThatTheAgentLeftDoesNotGoOnInTheNext()
{
    Files files;
    files.write("big.csv", Files::rows(25000));
    files.import("big.csv");
    QTRY_COMPARE(files.instance->importingProgress(), 39); // there is more to send
    ModuleFixture::leave(files.instance->agentInstanceUuid());
    QVERIFY(!files.instance->isImportingRecord());
    ModuleFixture::run(files.instance);
    QuenaryDouble::clearCalls();
    files.write("small.csv", "a;0;output\n");
    files.import("small.csv");
    QTRY_COMPARE(QuenaryDouble::calledServices(), QStringList({ "import" }));
    files.acknowledge();
    QCOMPARE(QuenaryDouble::calledServices(), QStringList({ "import", "get_records" }));
    QVERIFY(!files.instance->isImportingRecord());
}

void tst_RecorderImport::aMissingFileIsWarnedOf()
{
    Files files;
    QTest::ignoreMessage(
        QtWarningMsg, qPrintable("File \"" + files.path("missing.csv") + "\" doesn't exists or cannot be opened"));
    files.import("missing.csv");
    QVERIFY(files.instance->isImportingRecord());
    QTRY_VERIFY(!files.instance->isImportingRecord());
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());

    // Nor is a folder read.
    QVERIFY(QDir().mkpath(files.path("folder.csv")));
    QTest::ignoreMessage(
        QtWarningMsg, qPrintable("File \"" + files.path("folder.csv") + "\" doesn't exists or cannot be opened"));
    files.import("folder.csv");
    QTRY_VERIFY(!files.instance->isImportingRecord());
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
}

void tst_RecorderImport::aFileThatVanishesEndsTheImport()
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

void tst_RecorderImport::importsThatEndedLeaveNothingBehind()
{
    Files files;
    for (int i = 0; i < 3; ++i) {
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("doesn't exists or cannot be opened$"));
        files.import("missing.csv");
        QTRY_VERIFY(!files.instance->isImportingRecord());
    }
    QCOMPARE((files.instance->*importTasks).size(), 0);
    ModuleFixture::settle();
    QCOMPARE(files.instance->findChildren<QFutureWatcherBase*>().size(), 0);
}

void tst_RecorderImport::anEmptyPathIsWarnedOf()
{
    Files files;
    const DialogAnswer answer { QString() };
    QTest::ignoreMessage(QtWarningMsg, "Path is empty");
    files.instance->importRecord();
    QVERIFY(answer.wasAsked);
    QVERIFY(!files.instance->isImportingRecord());
    // A local url of nothing asks nobody.
    QTest::ignoreMessage(QtWarningMsg, "Path is empty");
    files.instance->importRecord(QUrl("file:"));
    QVERIFY(!files.instance->isImportingRecord());
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
}

void tst_RecorderImport::anAgentOrAnInstanceThatGoesWhileTheDialogIsOpenImportsNothing()
{
    Files files;
    files.write("small.csv", "a;0;output\n");
    {
        const DialogAnswer answer(
            files.path("small.csv"), [&files] { ModuleFixture::leave(files.instance->agentInstanceUuid()); });
        QTest::ignoreMessage(QtWarningMsg, "Instance is off. Can not call service 'import'");
        files.instance->importRecord();
        QVERIFY(answer.wasAsked);
        QVERIFY(!files.instance->isImportingRecord());
    }
    ModuleFixture::run(files.instance);
    {
        // Who cancels is told of that, whatever became of the agent.
        const DialogAnswer answer(QString(), [&files] { ModuleFixture::leave(files.instance->agentInstanceUuid()); });
        QTest::ignoreMessage(QtWarningMsg, "Path is empty");
        files.instance->importRecord();
        QVERIFY(answer.wasAsked);
    }
    ModuleFixture::run(files.instance);
    QuenaryDouble::clearCalls();
    {
        const QPointer<RecorderInstance> instance = files.instance;
        const DialogAnswer answer(files.path("small.csv"), [&files] {
            files.fixture.destroyModule();
            ModuleFixture::settle();
        });
        instance->importRecord();
        QVERIFY(answer.wasAsked);
        QVERIFY(instance.isNull());
    }
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
}

void tst_RecorderImport::aUrlThatIsNotLocalOpensTheDialog()
{
    Files files;
    RecorderUtils::instance().updateDownloadDirectoryFromFilePath(files.path("any"));
    files.write("small.csv", "a;0;output\n");
    const DialogAnswer answer(files.path("small.csv"));
    files.instance->importRecord(QUrl("http://example.org/small.csv"));
    QCOMPARE(answer.title, "Import record");
    QCOMPARE(answer.nameFilters, QStringList({ "CSV (*.csv)" }));
    QCOMPARE(answer.folder, files.folderPath());
    QCOMPARE(answer.parentWidget, nullptr);
    // The folder of downloads is for downloads.
    QCOMPARE(RecorderUtils::instance().downloadDirectory(), QDir(files.folderPath()));
    QVERIFY(files.instance->isImportingRecord());
    QTRY_COMPARE(QuenaryDouble::calledServices(), QStringList({ "import" }));
}

void tst_RecorderImport::theOpenDialogIsTranslated()
{
    Files files;
    const ContextTranslator translator("RecorderInstance");
    const DialogAnswer answer { QString() };
    QTest::ignoreMessage(QtWarningMsg, "Path is empty");
    files.instance->importRecord();
    QCOMPARE(answer.title, "translated Import record");
    QCOMPARE(answer.nameFilters, QStringList({ "translated CSV (*.csv)" }));
}

void tst_RecorderImport::progressIsToldToTheListOfInstances()
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

void tst_RecorderImport::twoImportsAtOnceEachSendTheirFirstChunk()
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

void tst_RecorderImport::anImportThatEndsNamesItsOwnFileWhileAnotherBegins()
{
    Files files;
    files.write("one.csv", Files::rows(25000));
    files.write("two.csv", Files::rows(3));
    files.import("one.csv");
    QTRY_COMPARE(QuenaryDouble::calledServices(), QStringList({ "import" }));
    ModuleFixture::settle();
    QVERIFY(QFile::remove(files.path("one.csv")));
    const QSignalSpy told(SystemViewManager::instance(), &SystemViewManager::problemRaised);
    QTest::ignoreMessage(
        QtWarningMsg, qPrintable("File \"" + files.path("one.csv") + "\" doesn't exists or cannot be opened"));
    files.instance->continueImport(RECORD_B);
    // The task has ended, but this thread hears of it only after the other import sent its file.
    QThreadPool::globalInstance()->waitForDone();
    files.import("two.csv");
    QThreadPool::globalInstance()->waitForDone();
    QCOMPARE(QuenaryDouble::calledServices(), QStringList({ "import", "import" }));
    ModuleFixture::settle();
    QCOMPARE(told.size(), 1);
    QVERIFY2(told.at(0).at(0).toString().contains(files.path("one.csv")), qPrintable(told.at(0).at(0).toString()));
}

void tst_RecorderImport::theOpenDialogBeginsInAFolderThatIsThere()
{
    Files files;
    const QDir before = RecorderUtils::instance().downloadDirectory();
    const auto restore
        = qScopeGuard([&] { RecorderUtils::instance().updateDownloadDirectoryFromFilePath(before.filePath("any")); });
    RecorderUtils::instance().updateDownloadDirectoryFromFilePath(files.path("Documents/any"));
    const DialogAnswer answer { QString() };
    QTest::ignoreMessage(QtWarningMsg, "Path is empty");
    files.instance->importRecord();
    QVERIFY(answer.wasAsked);
    QCOMPARE(answer.folder, QDir::homePath());
    QCOMPARE(answer.selectedFiles, QStringList());
}

void tst_RecorderImport::anAcknowledgementNeverWaitsForTheDisk()
{
    // Given a chunk that is not read yet, because its task has no thread
    Files files;
    files.write("big.csv", Files::rows(25000));
    QThreadPool* const threads = QThreadPool::globalInstance();
    const int threadCount = threads->maxThreadCount();
    threads->setMaxThreadCount(1);
    QSemaphore isFree;
    const auto cleanUp = qScopeGuard([&] {
        isFree.release();
        threads->waitForDone();
        threads->setMaxThreadCount(threadCount);
    });
    threads->start([&isFree] { isFree.acquire(); });
    files.import("big.csv");
    // When the recorder acknowledges all the same, for another import or once too often
    files.acknowledge();
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
    QVERIFY(files.instance->isImportingRecord());
    // Then that counts when the chunk is sent
    isFree.release();
    QTRY_COMPARE(QuenaryDouble::calledServices(), QStringList({ "import", "append" }));
    QCOMPARE(lastServiceCall().arguments.at(1).toString().count("\n\n"), 10000);
}

void tst_RecorderImport::anAgentThatLeavesEndsTheImport()
{
    Files files;
    files.write("big.csv", Files::rows(35000));
    files.import("big.csv");
    QTRY_COMPARE_GE(files.instance->importingProgress(), 20);
    files.acknowledge();
    // Perhaps before, perhaps after the next task has told its progress.
    ModuleFixture::leave(files.instance->agentInstanceUuid());
    QTRY_COMPARE(QuenaryDouble::calledServices(), QStringList({ "import", "append" }));
    QTRY_COMPARE(files.instance->importingProgress(), 0);
    QVERIFY(!files.instance->isImportingRecord());

    // An acknowledgement that comes late, before or after the agent came back, begins nothing.
    QTest::ignoreMessage(QtWarningMsg, "Instance is off. Can not call service 'append'");
    files.acknowledge();
    ModuleFixture::run(files.instance);
    QuenaryDouble::clearCalls();
    files.acknowledge();
    QThreadPool::globalInstance()->waitForDone();
    ModuleFixture::settle();
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
    QCOMPARE(files.instance->importingProgress(), 0);
    QVERIFY(!files.instance->isImportingRecord());
}

void tst_RecorderImport::anInstanceThatGoesWaitsForItsTask()
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

QTEST_MAIN(tst_RecorderImport)
#include "tst_recorderimport.moc"
