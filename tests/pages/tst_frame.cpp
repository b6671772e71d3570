// SPDX-License-Identifier: Apache-2.0
#include "pages.h"
#include "pagetest.h"

#include <networkconfiguration.h>
#include <systemdocumenthandler.h>

/// The head of the module's window, and which page stands below it.
class FrameTests : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theWindowHasTheModulesTitleAndItsHeaderImage();
    void theHeaderImageStandsBesideTheTitleAtEveryWidth();
    void aWarningStandsAboveThePagesWhileTheHostIsNotConnected();
    void theListIsShownWithoutACurrentRecorderAndTheConfigurationPageWithOne();
    void theBackButtonAndItsKeyReturnToTheList();
    void theListComesBackWhenTheCurrentRecorderIsDeleted();
    void theListComesBackWithANewDocument();
    void everyIconAndImageIsThere();
};

void FrameTests::theWindowHasTheModulesTitleAndItsHeaderImage()
{
    const Pages pages;
    QCOMPARE(pages.property("recordAndReplay", "title").toString(), "Record & Replay");
    QCOMPARE(pages.property("headerImage", "status").toInt(), 1);
    QCOMPARE(pages.property("headerImage", "source").toUrl(), QUrl("qrc:/resources/RecordAndReplay/header.svg"));
}

void FrameTests::theHeaderImageStandsBesideTheTitleAtEveryWidth()
{
    for (const int width : { 1400, 800, 560, 400 }) {
        Pages pages(Pages::Network::Joined, QSize(width, 600));
        RecorderInstance* const instance = pages.fixture.firstInstanceOf(pages.fixture.addRecorder("Plant"));
        for (RecorderInstance* const shown : { static_cast<RecorderInstance*>(nullptr), instance }) {
            pages.module.setcurrentRecorder(shown);
            Pages::settle();
            const QQuickItem* const image = pages.item("headerImage");
            const QQuickItem* const title = pages.item("headerTitle");
            QVERIFY2(image->width() >= 100, qPrintable(QString::number(width)));
            QCOMPARE(image->x() + image->width(), width);
            QVERIFY(title->x() + title->width() < image->x());
        }
    }
}

void FrameTests::aWarningStandsAboveThePagesWhileTheHostIsNotConnected()
{
    const Pages pages(Pages::Network::Left);
    QVERIFY(pages.isShown("connectionWarning"));
    QQuickItem* const warning = pages.item("connectionWarning");
    QCOMPARE(warning->findChild<QQuickItem*>()->isVisible(), true);
    const auto texts = warning->childItems();
    QVERIFY(std::ranges::any_of(texts, [](const QQuickItem* item) {
        return item->property("text").toString() == QStringLiteral("Please connect your platform");
    }));
    QCOMPARE(pages.item("pages")->y(), warning->y() + warning->height());

    NetworkConfiguration::instance()->connectToNetwork();
    Pages::settle();
    QVERIFY(!pages.isShown("connectionWarning"));
    QCOMPARE(pages.item("pages")->y(), warning->y());

    NetworkConfiguration::instance()->disconnectFromNetwork();
    Pages::settle();
    QVERIFY(pages.isShown("connectionWarning"));
}

void FrameTests::theListIsShownWithoutACurrentRecorderAndTheConfigurationPageWithOne()
{
    Pages pages;
    RecorderInstance* const first = pages.fixture.firstInstanceOf(pages.fixture.addRecorder("First"));
    RecorderInstance* const second = pages.fixture.firstInstanceOf(pages.fixture.addRecorder("Second"));
    Pages::settle();
    QVERIFY(pages.isShown("recordersPage"));
    QVERIFY(!pages.isShown("configurationPage"));
    QVERIFY(!pages.isShown("backButton"));

    pages.module.setcurrentRecorder(first);
    Pages::settle();
    QVERIFY(!pages.isShown("recordersPage"));
    QCOMPARE(pages.text("configurationPage/recorderName"), "First");
    QVERIFY(pages.isShown("backButton"));

    pages.module.setcurrentRecorder(second);
    Pages::settle();
    QCOMPARE(pages.text("configurationPage/recorderName"), "Second");
    QCOMPARE(pages.items("configurationPage").size(), 1);

    pages.module.setcurrentRecorder(nullptr);
    Pages::settle();
    QVERIFY(pages.isShown("recordersPage"));
    QVERIFY(!pages.isShown("configurationPage"));
}

void FrameTests::theBackButtonAndItsKeyReturnToTheList()
{
    Pages pages;
    RecorderInstance* const instance = pages.fixture.firstInstanceOf(pages.fixture.addRecorder("Plant"));
    pages.open(instance, Pages::Configuration);
    pages.click("backButton");
    QVERIFY(!pages.module.currentRecorder());
    QVERIFY(pages.isShown("recordersPage"));

    pages.open(instance, Pages::Configuration);
    pages.key(Qt::Key_Left, Qt::AltModifier);
    QVERIFY(!pages.module.currentRecorder());
    QVERIFY(pages.isShown("recordersPage"));
}

void FrameTests::theListComesBackWhenTheCurrentRecorderIsDeleted()
{
    Pages pages;
    RecorderInstance* const instance = pages.fixture.firstInstanceOf(pages.fixture.addRecorder("Plant"));
    for (const Pages::Tab tab : { Pages::Configuration, Pages::Records, Pages::File }) {
        pages.open(instance, tab);
    }
    pages.module.deleteRecorder(instance);
    Pages::settle();
    QVERIFY(pages.isShown("recordersPage"));
    QVERIFY(!pages.isShown("configurationPage"));
    QVERIFY(pages.isShown("recordersHint"));
}

void FrameTests::theListComesBackWithANewDocument()
{
    Pages pages;
    RecorderInstance* const instance = pages.fixture.addRunningRecorder();
    ScriptedRecorder(instance).records(u'[' + recordJson(RECORD_A, "Night") + u']');
    pages.open(instance, Pages::Records);
    SystemDocumentHandler::instance()->newDocument();
    Pages::settle();
    QVERIFY(pages.isShown("recordersPage"));
    QVERIFY(pages.isShown("recordersHint"));
}

void FrameTests::everyIconAndImageIsThere()
{
    for (const char* const name : { "logo", "header", "sliderButton", "orange-fin" }) {
        QVERIFY2(QFile::exists(QStringLiteral(":/resources/RecordAndReplay/%1.svg").arg(name)), name);
    }
    // Whatever the pages name beside those; an icon that is not there would only be an empty button.
    const QDir icons(":/resources/RecordAndReplay/icons");
    for (const char* const name :
        { "back", "download", "folder", "import", "pause", "play", "plug", "plus", "record", "rename", "settings", "stop", "trash" }) {
        QVERIFY2(icons.exists(QStringLiteral("%1.svg").arg(name)), name);
    }
}

static const RegisterPageTest<FrameTests> frameTests;

#include "tst_frame.moc"
