// SPDX-License-Identifier: Apache-2.0
#include "filesfixture.h"
#include "pages.h"
#include "pagetest.h"

/// Files that are dropped on the two tabs which take them.
class DroppedFilesTests : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void oneCsvFileOnTheRecordsTabIsImported();
    void droppingTwoFilesOrAnotherEndingOnTheRecordsTabDoesNothing_data();
    void droppingTwoFilesOrAnotherEndingOnTheRecordsTabDoesNothing();
    void theRecordsTabTakesNothingWhileTheRecorderIsOff();
    void aRemoteUrlOnTheRecordsTabAsksForAFile();
    void oneCsvFileOnTheFileTabIsLoadedWhileTheRecorderIsOn();
    void aFileWhoseNameIsNoTextIsLoadedToo();
    void oneCsvFileOnTheFileTabIsKeptWhileTheRecorderIsOff();
    void aDropThatWouldEndARecordingAsksFirst();
    void otherDropsOnTheFileTabDoNothing_data();
    void otherDropsOnTheFileTabDoNothing();
    void theWordsAreThereOnlyWhileSomethingIsDragged();
    void nothingIsDroppedUnderAnOverlay();
};

namespace {

const QString WRONG = QStringLiteral("Only one file that ends in \".csv\" can be dropped here");

void addWrongDrops()
{
    QTest::addColumn<QList<QUrl>>("urls");
    QTest::newRow("two files") << QList<QUrl> { QUrl("file:///tmp/a.csv"), QUrl("file:///tmp/b.csv") };
    QTest::newRow("another ending") << QList<QUrl> { QUrl("file:///tmp/a.txt") };
    QTest::newRow("the ending in capitals") << QList<QUrl> { QUrl("file:///tmp/a.CSV") };
    QTest::newRow("the ending in the middle") << QList<QUrl> { QUrl("file:///tmp/a.csv.gz") };
    QTest::newRow("a csv file and another") << QList<QUrl> { QUrl("file:///tmp/a.csv"), QUrl("file:///tmp/b.txt") };
    QTest::newRow("nothing") << QList<QUrl> {};
}

} // namespace

void DroppedFilesTests::oneCsvFileOnTheRecordsTabIsImported()
{
    Pages pages;
    const FileFolder files;
    files.write("night #1.csv", FileFolder::rows(3));
    RecorderInstance* const instance = pages.fixture.addRunningRecorder();
    pages.open(instance, Pages::Records);
    QVERIFY(pages.drop("recordsTab", { QUrl::fromLocalFile(files.path("night #1.csv")) }));
    QCOMPARE(pages.dropText, "Drop to import file");
    QVERIFY(!pages.isShown("dropRefusal"));
    QTRY_COMPARE(QuenaryDouble::calledServices(), QStringList("import"));
    // Every row is sent with its own line end and one more.
    const QString rows = QString::fromUtf8(FileFolder::rows(3)).replace("\n", "\n\n");
    compareCall(instance, "import", { "night #1", true, "", rows }, instance->uuid() + "##import");
    QVERIFY(instance->isImportingRecord());
}

void DroppedFilesTests::droppingTwoFilesOrAnotherEndingOnTheRecordsTabDoesNothing_data()
{
    addWrongDrops();
}

void DroppedFilesTests::droppingTwoFilesOrAnotherEndingOnTheRecordsTabDoesNothing()
{
    QFETCH(const QList<QUrl>, urls);
    Pages pages;
    RecorderInstance* const instance = pages.fixture.addRunningRecorder();
    pages.open(instance, Pages::Records);
    pages.drag("recordsTab", urls);
    QCOMPARE(pages.text("dropText"), "Drop to import file");
    QCOMPARE(pages.text("dropRefusal"), WRONG);
    pages.drop("recordsTab", urls);
    QVERIFY(!instance->isImportingRecord());
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
}

void DroppedFilesTests::theRecordsTabTakesNothingWhileTheRecorderIsOff()
{
    Pages pages;
    const FileFolder files;
    files.write("night.csv", FileFolder::rows(3));
    RecorderInstance* const instance = pages.fixture.firstInstanceOf(pages.fixture.addRecorder("Plant"));
    pages.open(instance, Pages::Records);
    QVERIFY(!pages.item("recordsDropArea")->isEnabled());
    QVERIFY(!pages.drop("recordsTab", { QUrl::fromLocalFile(files.path("night.csv")) }));
    QCOMPARE(pages.dropText, "");
    QVERIFY(!instance->isImportingRecord());

    ModuleFixture::run(instance);
    QVERIFY(pages.item("recordsDropArea")->isEnabled());
    ModuleFixture::leave(instance->agentInstanceUuid());
    QVERIFY(!pages.item("recordsDropArea")->isEnabled());
}

void DroppedFilesTests::aRemoteUrlOnTheRecordsTabAsksForAFile()
{
    Pages pages;
    RecorderInstance* const instance = pages.fixture.addRunningRecorder();
    pages.open(instance, Pages::Records);
    QTest::ignoreMessage(QtWarningMsg, "Path is empty");
    const DialogAnswer answer { QString() };
    QVERIFY(pages.drop("recordsTab", { QUrl("https://example.org/night.csv") }));
    QTRY_VERIFY(answer.wasAsked);
    QVERIFY(!instance->isImportingRecord());
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
}

void DroppedFilesTests::oneCsvFileOnTheFileTabIsLoadedWhileTheRecorderIsOn()
{
    Pages pages;
    RecorderInstance* const instance = pages.fixture.addRunningRecorder();
    pages.open(instance, Pages::File);
    QVERIFY(pages.drop("fileTab", { QUrl("file:///data/plant%20one.csv") }));
    QCOMPARE(pages.dropText, "Drop to load CSV file");
    compareCall(instance, "load_file", { "/data/plant one.csv" });
    QCOMPARE(pages.text("filePathField"), "/data/plant one.csv");
    QVERIFY(instance->isLoadingRecord());
}

void DroppedFilesTests::aFileWhoseNameIsNoTextIsLoadedToo()
{
    Pages pages;
    RecorderInstance* const instance = pages.fixture.addRunningRecorder();
    pages.open(instance, Pages::File);
    QVERIFY(pages.drop("fileTab", { QUrl("file:///data/plant%FF.csv") }));
    QCOMPARE(QuenaryDouble::calledServices(), QStringList("load_file"));
    QVERIFY(instance->isLoadingRecord());
}

void DroppedFilesTests::oneCsvFileOnTheFileTabIsKeptWhileTheRecorderIsOff()
{
    Pages pages;
    RecorderInstance* const instance = pages.fixture.firstInstanceOf(pages.fixture.addRecorder("Plant"));
    pages.open(instance, Pages::File);
    QSignalSpy selected(instance, &RecorderInstance::filePathSelectedForLoad);
    QVERIFY(pages.drop("fileTab", { QUrl("file:///data/plant.csv") }));
    QCOMPARE(pages.dropText, "Drop to load CSV file");
    QCOMPARE(instance->currentFilePath(), "/data/plant.csv");
    QCOMPARE(selected.size(), 1);
    QCOMPARE(selected.at(0).at(0).toString(), "/data/plant.csv");
    QCOMPARE(pages.text("filePathField"), "/data/plant.csv");
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
}

void DroppedFilesTests::aDropThatWouldEndARecordingAsksFirst()
{
    Pages pages;
    RecorderInstance* const instance = pages.fixture.addRunningRecorder();
    ScriptedRecorder recorder(instance);
    pages.open(instance, Pages::File);
    recorder.progress(instance->recordProgressInput(), 1);
    pages.drop("fileTab", { QUrl("file:///data/plant%20one.csv") });
    QCOMPARE(pages.text("question"), "Do you want to end the recording and load 'plant one.csv' ?");
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
    QCOMPARE(pages.text("filePathField"), "");
    recorder.progress(instance->recordProgressInput(), 2);
    pages.click("acceptButton");
    QCOMPARE(QuenaryDouble::calledServices(), QStringList({ "stop_recording", "load_file" }));
    QCOMPARE(lastServiceCall().arguments, QVariantList({ "/data/plant one.csv" }));
    QCOMPARE(pages.text("filePathField"), "/data/plant one.csv");
}

void DroppedFilesTests::otherDropsOnTheFileTabDoNothing_data()
{
    addWrongDrops();
    QTest::newRow("a file elsewhere") << QList<QUrl> { QUrl("https://example.org/plant.csv") };
}

void DroppedFilesTests::otherDropsOnTheFileTabDoNothing()
{
    QFETCH(const QList<QUrl>, urls);
    Pages pages;
    RecorderInstance* const instance = pages.fixture.addRunningRecorder();
    pages.open(instance, Pages::File);
    pages.drop("fileTab", urls);
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
    QCOMPARE(instance->currentFilePath(), "");
    QCOMPARE(pages.text("filePathField"), "");
    ModuleFixture::leave(instance->agentInstanceUuid());
    pages.drop("fileTab", urls);
    QCOMPARE(instance->currentFilePath(), "");
    QCOMPARE(pages.text("filePathField"), "");
}

void DroppedFilesTests::theWordsAreThereOnlyWhileSomethingIsDragged()
{
    Pages pages;
    RecorderInstance* const instance = pages.fixture.firstInstanceOf(pages.fixture.addRecorder("Plant"));
    pages.open(instance, Pages::File);
    QVERIFY(!pages.isShown("dropOverlay"));
    pages.drop("fileTab", { QUrl("file:///data/plant.csv") });
    QVERIFY(!pages.dropText.isEmpty());
    QVERIFY(!pages.isShown("dropOverlay"));
}

void DroppedFilesTests::nothingIsDroppedUnderAnOverlay()
{
    Pages pages;
    RecorderInstance* const instance = pages.fixture.addRunningRecorder();
    pages.open(instance, Pages::File);
    instance->loadRecordFile("/data/first.csv");
    Pages::settle();
    QVERIFY(pages.isShown("progressFeedback"));
    QuenaryDouble::clearCalls();
    QVERIFY(!pages.drop("fileTab", { QUrl("file:///data/second.csv") }));
    QCOMPARE(pages.dropText, "");
    QCOMPARE(instance->currentFilePath(), "/data/first.csv");
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
}

static const RegisterPageTest<DroppedFilesTests> droppedFilesTests;

#include "tst_droppedfiles.moc"
