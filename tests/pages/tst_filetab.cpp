// SPDX-License-Identifier: Apache-2.0
#include "filesfixture.h"
#include "pages.h"
#include "pagetest.h"

#include <systemdocument.h>
#include <systemdocumenthandler.h>
#include <systemviewclassinstance.h>

/// The replay of a CSV file.
class FileTabTests : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aTypedPathIsLoadedWithTheButtonOrTheKey();
    void nothingIsLoadedWithoutAPathOrWhileTheRecorderIsOff();
    void aFileIsChosenInADialog();
    void filesOfOtherMachinesCanNotBeBrowsed();
    void aLoadThatFailedSaysWhyOnThisTab();
    void theLoadedFileHasItsReplay();
    void aLoadThatWouldEndARecordingAsksFirst();
    void aLoadedFileIsRenamedWhileItIsLoaded();
};

void FileTabTests::aTypedPathIsLoadedWithTheButtonOrTheKey()
{
    Pages pages;
    RecorderInstance* const instance = pages.fixture.addRunningRecorder();
    pages.open(instance, Pages::File);
    QCOMPARE(pages.property("filePathField", "placeholderText").toString(), "Path to record in CSV format");
    QCOMPARE(pages.text("loadButton"), "LOAD");
    pages.fill("filePathField", " /data/plant one.csv ", false);
    pages.click("loadButton");
    compareCall(instance, "load_file", { "/data/plant one.csv" });
    QCOMPARE(instance->currentFilePath(), "/data/plant one.csv");
    ScriptedRecorder(instance).reply("loading_failed", { "/data/plant one.csv", "no" });

    pages.fill("filePathField", "/data/other.csv");
    compareCall(instance, "load_file", { "/data/other.csv" });
}

void FileTabTests::nothingIsLoadedWithoutAPathOrWhileTheRecorderIsOff()
{
    Pages pages;
    RecorderInstance* const instance = pages.fixture.firstInstanceOf(pages.fixture.addRecorder("Plant"));
    pages.open(instance, Pages::File);
    QVERIFY(!pages.isAvailable("loadButton"));
    QCOMPARE(pages.hint("loadButton"), "Connect the recorder to load a file");
    pages.fill("filePathField", "/data/plant.csv");
    QVERIFY(!pages.isAvailable("loadButton"));
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());

    ModuleFixture::run(instance);
    QuenaryDouble::clearCalls();
    QVERIFY(pages.isAvailable("loadButton"));
    pages.fill("filePathField", "  ");
    QVERIFY(!pages.isAvailable("loadButton"));
    QCOMPARE(pages.hint("loadButton"), "Give the path of a file first");
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
}

void FileTabTests::aFileIsChosenInADialog()
{
    Pages pages;
    const FileFolder files;
    files.write("plant.csv", FileFolder::rows(1));
    RecorderInstance* const instance = pages.fixture.addRunningRecorder();
    pages.open(instance, Pages::File);
    QVERIFY(pages.isAvailable("browseButton"));
    const DialogAnswer answer(files.path("plant.csv"));
    pages.click("browseButton");
    QVERIFY(answer.wasAsked);
    QCOMPARE(pages.text("filePathField"), files.path("plant.csv"));
}

void FileTabTests::filesOfOtherMachinesCanNotBeBrowsed()
{
    Pages pages;
    SystemViewClassInstance* const classInstance = pages.fixture.addRecorder("Plant");
    auto* const document = SystemDocumentHandler::instance()->currentSystemDocument();
    classInstance->getOrCreateEncounteredAgentInfo(
        classInstance->getOrCreateEncounteredAgentsOnHost(document->getOrCreateHost("bench-02")),
        ModuleFixture::commandLine({ "--name", "Plant" }));
    Pages::settle();
    const auto instances = pages.fixture.recorderOf(classInstance)->recorderInstances();
    QCOMPARE(instances.size(), 2);
    for (RecorderInstance* const instance : instances) {
        pages.open(instance, Pages::File);
        const bool isHere = instance->encounteredAgentsOnHost()->isAttachedToCorvane();
        QCOMPARE(pages.isAvailable("browseButton"), isHere);
        QCOMPARE(pages.hint("browseButton"),
            isHere ? "Choose a file" : "Cannot browse local files to give to remote Recorders");
    }
}

void FileTabTests::aLoadThatFailedSaysWhyOnThisTab()
{
    Pages pages;
    RecorderInstance* const instance = pages.fixture.addRunningRecorder();
    ScriptedRecorder recorder(instance);
    pages.open(instance, Pages::File);
    QVERIFY(!pages.isShown("loadingError"));
    instance->loadRecordFile("/data/plant.csv");
    recorder.reply("loading_failed", { "/data/plant.csv", "line 17 is no row" });
    QCOMPARE(pages.text("loadingError"), "Loading error: line 17 is no row");
    instance->loadRecordFile("/data/plant.csv");
    Pages::settle();
    QVERIFY(!pages.isShown("loadingError"));
}

void FileTabTests::theLoadedFileHasItsReplay()
{
    Pages pages;
    RecorderInstance* const instance = pages.fixture.addRunningRecorder();
    ScriptedRecorder recorder(instance);
    pages.open(instance, Pages::File);
    QVERIFY(!pages.isShown("recordNameText"));
    instance->loadRecordFile("/data/plant.csv");
    recorder.loaded("/data/plant.csv", 480.5, "[\"a\",\"b\"]");
    QVERIFY(instance->recordFromFile());
    QCOMPARE(pages.text("recordNameText"), instance->recordFromFile()->name());
    QCOMPARE(pages.text("fileTab/durationText"), "/00:08:00.500");
    QuenaryDouble::clearCalls();
    pages.click("fileTab/playButton");
    compareCall(instance, "play", {});
    recorder.reply("paused");
    pages.click("fileTab/unloadButton");
    compareCall(instance, "unload", {});
    QVERIFY(!pages.isShown("recordNameText"));
}

void FileTabTests::aLoadThatWouldEndARecordingAsksFirst()
{
    Pages pages;
    RecorderInstance* const instance = pages.fixture.addRunningRecorder();
    ScriptedRecorder recorder(instance);
    pages.open(instance, Pages::File);
    pages.fill("filePathField", "/data/plant.csv", false);
    recorder.progress(instance->recordProgressInput(), 1);
    pages.click("loadButton");
    QCOMPARE(pages.text("question"), "Do you want to end the recording and load 'plant.csv' ?");
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
    recorder.progress(instance->recordProgressInput(), 2);
    pages.key(Qt::Key_Escape);
    QVERIFY(instance->isRecording());
    pages.click("loadButton");
    recorder.progress(instance->recordProgressInput(), 3);
    pages.click("acceptButton");
    QCOMPARE(QuenaryDouble::calledServices(), QStringList({ "stop_recording", "load_file" }));
    QCOMPARE(lastServiceCall().arguments, QVariantList({ "/data/plant.csv" }));
}

void FileTabTests::aLoadedFileIsRenamedWhileItIsLoaded()
{
    Pages pages;
    RecorderInstance* const instance = pages.fixture.addRunningRecorder();
    ScriptedRecorder recorder(instance);
    pages.open(instance, Pages::File);
    instance->loadRecordFile("/data/plant.csv");
    recorder.loaded("/data/plant.csv", 480.5, "[\"a\"]");
    QuenaryDouble::clearCalls();
    pages.click("renameRecordButton");
    QCOMPARE(pages.text("recordName"), "/data/plant.csv");
    pages.type("Cold start"); // over what was selected
    pages.key(Qt::Key_Return);
    compareCall(instance, "rename", { "/data/plant.csv", "Cold start" });
    QCOMPARE(pages.text("recordNameText"), "Cold start");
    QCOMPARE(pages.focus(), "renameRecordButton");
    QCOMPARE(pages.text("filePathField"), "/data/plant.csv");

    pages.click("recordNameFrame");
    QCOMPARE(pages.focus(), "recordName");
    pages.key(Qt::Key_Escape);
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
}

static const RegisterPageTest<FileTabTests> fileTabTests;

#include "tst_filetab.moc"
