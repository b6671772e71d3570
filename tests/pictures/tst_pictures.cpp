// SPDX-License-Identifier: Apache-2.0
#include "looks.h"
#include "options.h"

#include <theme.h>
#include <windowpicture.h>

#include <QtCore/QProcess>
#include <QtCore/QTemporaryDir>
#include <QtGui/QGuiApplication>
#include <QtQml/QQmlComponent>
#include <QtQml/QQmlEngine>
#include <QtQuick/QQuickItem>
#include <QtQuick/QQuickWindow>
#include <QtTest/QtTest>

/// What the picture command finds by itself, what it takes, and that it finds nothing wrong with any page.
class PicturesTests : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void contrastIsCountedAsForWebPages();
    void whatIsWrongWithATextIsFound_data();
    void whatIsWrongWithATextIsFound();
    void aBlankPictureIsFound();
    void optionsSayWhatIsDrawn();
    void aWrongOptionGetsASentence_data();
    void aWrongOptionGetsASentence();
    void everySceneIsDrawnWithoutAFault_data();
    void everySceneIsDrawnWithoutAFault();
    void theCommandListsItsScenesAndRefusesWhatItDoesNotKnow();

private:
    struct Result
    {
        int status = -1;
        QString output;
        QString errors;
    };
    static Result run(const QStringList& arguments);
};

PicturesTests::Result PicturesTests::run(const QStringList& arguments)
{
    QProcess process;
    process.start(QStringLiteral(PICTURES_PROGRAM), arguments);
    if (!process.waitForFinished(400'000)) {
        process.kill();
        process.waitForFinished();
        return {};
    }
    return { process.exitCode(), QString::fromUtf8(process.readAllStandardOutput()),
        // The host prints its notices too.
        QString::fromUtf8(process.readAllStandardError())
            .remove(QRegularExpression(QStringLiteral("(?<=^|\n)corvane: [^\n]*\n"))) };
}

void PicturesTests::contrastIsCountedAsForWebPages()
{
    QCOMPARE(Looks::contrast(Qt::black, Qt::white), 21.0);
    QCOMPARE(Looks::contrast(Qt::white, Qt::black), 21.0);
    QCOMPARE(Looks::contrast(Qt::red, Qt::red), 1.0);
    QCOMPARE(qRound(Looks::contrast(QColor("#767676"), Qt::white) * 100), 454);
}

void PicturesTests::whatIsWrongWithATextIsFound_data()
{
    QTest::addColumn<QString>("page");
    QTest::addColumn<QString>("fault");
    QTest::newRow("nothing") << "Text { x: 10; y: 10; text: 'A text' }"
                             << "";
    QTest::newRow("cut off") << "Text { x: 10; y: 10; width: 60; elide: Text.ElideRight; text: 'A text that is long' }"
                             << "is cut off, and no hint tells it";
    QTest::newRow("cut off, with a hint") << "Item { property string hintText: 'all'; Text { x: 10; y: 10; width: 60; "
                                             "elide: Text.ElideRight; text: 'A text that is long' } }"
                                          << "";
    QTest::newRow("too wide") << "Text { x: 10; y: 10; width: 60; text: 'A text that is long' }"
                              << "sticks out of its place";
    QTest::newRow("beside the window") << "Text { x: 250; y: 10; text: 'A text that is long' }"
                                       << "is cut off at the side";
    QTest::newRow("under the window") << "Text { x: 10; y: 190; text: 'A text' }"
                                      << "is cut off above or below";
    QTest::newRow("scrolled")
        << "Flickable { width: 300; height: 100; clip: true; Text { x: 10; y: 95; text: 'A text' } }"
        << "";
    QTest::newRow("clipped at the side")
        << "Item { clip: true; width: 60; height: 60; Text { x: 20; y: 10; text: 'A long text' } }"
        << "is cut off at the side";
    QTest::newRow("one over another")
        << "Item { Text { x: 10; y: 10; text: 'A text' } Text { x: 30; y: 12; text: 'Another' } }"
        << "lies over";
    QTest::newRow("right after one another") << "Row { x: 10; Text { text: 'A text' } Text { text: 'Another' } }"
                                             << "";
    QTest::newRow("pale") << "Text { x: 10; y: 10; text: 'A text'; color: '#888888' }"
                          << "has a contrast of 3.5:1 only";
    QTest::newRow("dimmed on purpose") << "Text { x: 10; y: 10; text: 'A text'; opacity: 0.45 }"
                                       << "";
    QTest::newRow("not shown") << "Text { x: 290; y: 10; text: 'A text'; visible: false }"
                               << "";
    QTest::newRow("under a cover") << "Item { Text { x: 10; y: 10; text: 'A text'; color: '#888888' } "
                                      "Item { objectName: 'busyFeedback'; Text { x: 10; y: 60; text: 'Wait' } } }"
                                   << "";
}

void PicturesTests::whatIsWrongWithATextIsFound()
{
    QFETCH(const QString, page);
    QFETCH(const QString, fault);
    QQmlEngine engine;
    QQmlComponent component(&engine);
    component.setData("import QtQuick\n" + page.toUtf8(), QUrl());
    const std::unique_ptr<QQuickItem> item(qobject_cast<QQuickItem*>(component.create()));
    QVERIFY2(item, qPrintable(component.errorString()));
    QQuickWindow window;
    window.resize(300, 200);
    item->setParentItem(window.contentItem());
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    const QStringList faults = Looks::faults(window, WindowPicture::draw(window));
    QVERIFY2(fault.isEmpty() ? faults.isEmpty() : faults.size() == 1 && faults.first().contains(fault),
        qPrintable(faults.join(u'\n')));
}

void PicturesTests::aBlankPictureIsFound()
{
    QImage picture(300, 200, QImage::Format_RGB32);
    picture.fill(Qt::white);
    QVERIFY(WindowPicture::isBlank(picture));
    for (int x = 0; x < picture.width(); ++x) {
        picture.setPixelColor(x, 9, QColor::fromHsv(x, 255, 255));
    }
    QVERIFY(!WindowPicture::isBlank(picture));
}

void PicturesTests::optionsSayWhatIsDrawn()
{
    PictureOptions options;
    QCOMPARE(readPictureOptions({}, { "a", "b" }, &options), "");
    QCOMPARE(options.size, QSize(1280, 800));
    QCOMPARE(options.themes, QList<int>({ Theme::Light, Theme::Dark }));
    QCOMPARE(options.language, "en");
    QCOMPARE(options.scenes, QStringList());

    PictureOptions others;
    QCOMPARE(readPictureOptions(
                 { "--theme", "dark", "--language", "fr", "--size", "3840x2160", "--scale=2", "--output", "/x", "b" },
                 { "a", "b" }, &others),
        "");
    QCOMPARE(others.size, QSize(3840, 2160));
    QCOMPARE(others.windowSize(), QSize(1920, 1080));
    QCOMPARE(others.themes, QList<int>({ Theme::Dark }));
    QCOMPARE(others.language, "fr");
    QCOMPARE(others.output, "/x");
    QCOMPARE(others.scenes, QStringList({ "b" }));
}

void PicturesTests::aWrongOptionGetsASentence_data()
{
    QTest::addColumn<QString>("arguments");
    QTest::addColumn<QString>("sentence");
    QTest::newRow("unknown") << "--colour red"
                             << "Unknown option 'colour'.";
    QTest::newRow("theme") << "--theme blue"
                           << "There is no theme \"blue\": give light, dark or both.";
    QTest::newRow("language") << "--language de"
                              << "There is no language \"de\": give en or fr.";
    QTest::newRow("size") << "--size 1280"
                          << "The size \"1280\" is not WIDTHxHEIGHT of at most 8192 each, such as 1280x800.";
    QTest::newRow("huge") << "--size 9000x800"
                          << "The size \"9000x800\" is not WIDTHxHEIGHT of at most 8192 each, such as 1280x800.";
    QTest::newRow("small") << "--size 1280x800 --scale 2"
                           << "The window is never smaller than 800x600: the size 1280x800 at the scale 2 is.";
    QTest::newRow("scale") << "--scale two"
                           << "The scale \"two\" is not a number from 1 to 4.";
    QTest::newRow("scene") << "c"
                           << "There is no scene \"c\": --list prints those that there are.";
    QTest::newRow("folder") << "--output="
                            << "The folder for the pictures has no name.";
}

void PicturesTests::aWrongOptionGetsASentence()
{
    QFETCH(const QString, arguments);
    QFETCH(const QString, sentence);
    PictureOptions options;
    QCOMPARE(readPictureOptions(arguments.split(u' '), { "a", "b" }, &options), sentence);
}

void PicturesTests::everySceneIsDrawnWithoutAFault_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QSize>("size");
    QTest::addColumn<int>("themes");
    QTest::newRow("English") << QStringList { "--language", "en" } << QSize(1280, 800) << 2;
    // The longest words in the least room.
    QTest::newRow("French, small") << QStringList { "--language", "fr", "--size", "800x600", "--theme", "light" }
                                   << QSize(800, 600) << 1;
}

void PicturesTests::everySceneIsDrawnWithoutAFault()
{
    QFETCH(const QStringList, arguments);
    QFETCH(const QSize, size);
    QFETCH(const int, themes);
    const QStringList scenes = run({ "--list" }).output.split(u'\n', Qt::SkipEmptyParts);
    QVERIFY(scenes.size() > 40);
    const QTemporaryDir folder;
    const Result result = run(QStringList({ "--output", folder.path() }) + arguments);
    QCOMPARE(result.errors, "");
    QCOMPARE(result.status, 0);
    const QStringList files = QDir(folder.path()).entryList({ "*.png" });
    QCOMPARE(files.size(), scenes.size() * themes);
    for (const QString& file : files) {
        const QImage picture(folder.filePath(file));
        QCOMPARE(picture.size(), size);
        QVERIFY2(!WindowPicture::isBlank(picture), qPrintable(file));
    }
}

void PicturesTests::theCommandListsItsScenesAndRefusesWhatItDoesNotKnow()
{
    const Result refused = run({ "--theme", "blue" });
    QCOMPARE(refused.status, 2);
    QCOMPARE(refused.errors, "pictures: There is no theme \"blue\": give light, dark or both.\n");
    const Result nowhere = run({ "--output", "/dev/null/pictures", "system-off" });
    QCOMPARE(nowhere.status, 2);
    QCOMPARE(
        nowhere.errors, "pictures: The folder /dev/null/pictures cannot be made: give another one with --output.\n");
    const Result help = run({ "--help" });
    QCOMPARE(help.status, 0);
    QVERIFY(help.output.contains("--scale"));
    // A display of twice the pixels.
    const QTemporaryDir folder;
    const Result large
        = run({ "--output", folder.path(), "--size", "2560x1600", "--scale", "2", "--theme", "dark", "replaying" });
    QCOMPARE(large.errors, "");
    QCOMPARE(QImage(folder.filePath("replaying-en-dark.png")).size(), QSize(2560, 1600));
}

int main(int argc, char** argv)
{
    WindowPicture::drawWithoutGraphicsCard();
    QGuiApplication application(argc, argv);
    PicturesTests tests;
    return QTest::qExec(&tests, argc, argv);
}

#include "tst_pictures.moc"
