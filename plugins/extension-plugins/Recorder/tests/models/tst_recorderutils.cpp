// SPDX-License-Identifier: Apache-2.0
#include "brokeninvariant.h"

#include <recorderutils.h>

#include <QtCore/QStandardPaths>
#include <QtCore/QTemporaryDir>
#include <QtQml/QJSEngine>
#include <QtQml/QQmlComponent>
#include <QtQml/QQmlContext>
#include <QtQml/QQmlEngine>
#include <QtQml/QQmlExpression>
#include <QtTest/QSignalSpy>
#include <QtTest/QTest>

#include <limits>

class TestRecorderUtils : public QObject
{
    Q_OBJECT

    RecorderUtils& utils = RecorderUtils::instance();

private slots:
    void init() { QTest::failOnWarning(); }

    // First, before any other test function moves it.
    void downloadsGoToTheDocumentsToBeginWith()
    {
        QCOMPARE(utils.downloadDirectory(), QDir(QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation)));
    }

    void durationsArePrinted_data()
    {
        QTest::addColumn<double>("seconds");
        QTest::addColumn<QString>("withSpaces");
        QTest::addColumn<QString>("withMilliseconds");
        const auto row = [](const char* name, double seconds, const char* withSpaces, const char* withMilliseconds) {
            QTest::newRow(name) << seconds << QString::fromLatin1(withSpaces) << QString::fromLatin1(withMilliseconds);
        };
        row("nothing", 0.0, "00 : 00 : 00", "00:00:00.000");
        row("negative counts as nothing", -3.0, "00 : 00 : 00", "00:00:00.000");
        row("rounded to the millisecond first", 59.9996, "00 : 01 : 00", "00:01:00.000");
        row("half a millisecond is rounded up", 0.0005, "00 : 00 : 00", "00:00:00.001");
        row("less than half is rounded down", 0.00049, "00 : 00 : 00", "00:00:00.000");
        row("an ordinary one", 3723.25, "01 : 02 : 03", "01:02:03.250");
        row("the last millisecond of a day", 86399.999, "23 : 59 : 59", "23:59:59.999");
        row("a day", 86400.0, "24 : 00 : 00", "24:00:00.000");
        row("25 hours", 90000.0, "25 : 00 : 00", "25:00:00.000");
        row("more than a hundred hours", 363723.5, "101 : 02 : 03", "101:02:03.500");
        row("more than an int holds", 1e9, "596 : 31 : 23", "596:31:23.647");
        row("endless", std::numeric_limits<double>::infinity(), "596 : 31 : 23", "596:31:23.647");
        row("no number", std::numeric_limits<double>::quiet_NaN(), "00 : 00 : 00", "00:00:00.000");
    }

    void durationsArePrinted()
    {
        QFETCH(double, seconds);
        QTEST(utils.prettyPrintTime(seconds, RecorderTimeFormat::HH_MM_SS_WITH_SPACES), "withSpaces");
        QTEST(utils.prettyPrintTime(seconds, RecorderTimeFormat::HH_MM_SS_ZZZ), "withMilliseconds");
    }

    void anUnknownFormatGivesTheEmptyText()
    {
        for (const int number : { -1, 2 }) {
            const auto unknown = static_cast<RecorderTimeFormat::Value>(number);
            QCOMPARE(utils.prettyPrintTime(1.0, unknown), QString());
            QCOMPARE(utils.prettyPrintTime(100000.0, unknown), QString());
        }
    }

    void fileNamesAreMadeSafe_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("safe");
        QTest::newRow("ordinary") << QStringLiteral("record 1.csv") << QStringLiteral("record 1.csv");
        QTest::newRow("blanks around a path and a colon") << QStringLiteral("  a/b:c ") << QStringLiteral("a_b_c");
        QTest::newRow("every invalid character") << QStringLiteral("\\/:*?\"<>|") << QStringLiteral("_________");
        QTest::newRow("a name from the recorder")
            << QStringLiteral("21/11/26 - 10:00:00") << QStringLiteral("21_11_26 - 10_00_00");
        QTest::newRow("empty") << QString() << QString();
        QTest::newRow("not ASCII") << QString::fromUtf8("r\u00e9cup\u00e9r\u00e9 \u2713")
                                   << QString::fromUtf8("r\u00e9cup\u00e9r\u00e9 \u2713");
    }

    void fileNamesAreMadeSafe()
    {
        QFETCH(QString, name);
        QTEST(utils.validFileName(name), "safe");
    }

    void aDownloadGoesBesideTheFileChosenLast()
    {
        const QTemporaryDir directory;
        utils.updateDownloadDirectoryFromFilePath(directory.filePath(QStringLiteral("chosen.csv")));
        QCOMPARE(utils.downloadDirectory(), QDir(directory.path()));
        QCOMPARE(utils.downloadFilePath(QStringLiteral(" x:y ")), directory.filePath(QStringLiteral("x_y")));
    }

    void choosingAFileInTheSameDirectoryAgainNotifiesNobody()
    {
        const QTemporaryDir first;
        const QTemporaryDir second;
        utils.updateDownloadDirectoryFromFilePath(first.filePath(QStringLiteral("a.csv")));
        QSignalSpy changes(&utils, &RecorderUtils::downloadDirectoryChanged);
        utils.updateDownloadDirectoryFromFilePath(first.filePath(QStringLiteral("b.csv")));
        QCOMPARE(changes.count(), 0);
        utils.updateDownloadDirectoryFromFilePath(second.filePath(QStringLiteral("a.csv")));
        QCOMPARE(changes.count(), 1);
    }

    void anEmptyPathIsABrokenInvariant()
    {
        const QByteArray message
            = messageOfBrokenInvariant([this] { utils.updateDownloadDirectoryFromFilePath(QString()); });
        QVERIFY2(message.contains("ASSERT: \"!filePath.isEmpty()\""), message.constData());
    }

    void theFormatsAreListedInTheirOrder()
    {
        const RecorderTimeFormat& formats = RecorderTimeFormat::instance();
        QCOMPARE(static_cast<int>(RecorderTimeFormat::HH_MM_SS_WITH_SPACES), 0);
        QCOMPARE(static_cast<int>(RecorderTimeFormat::HH_MM_SS_ZZZ), 1);
        const QList<RecorderTimeFormat::Value> all { RecorderTimeFormat::HH_MM_SS_WITH_SPACES,
            RecorderTimeFormat::HH_MM_SS_ZZZ };
        QCOMPARE(formats.allValues(), all);
        QCOMPARE(formats.getEnumerator(formats.getEnumeratorIndex()).name(), "Value");
        QCOMPARE(formats.text(1), QStringLiteral("HH_MM_SS_ZZZ"));
    }

    void bothSingletonsAreTheSameForEveryEngineWhichOwnsThemNot()
    {
        QCOMPARE(RecorderUtils::qmlSingleton(nullptr, nullptr), &utils);
        QCOMPARE(RecorderTimeFormat::qmlSingleton(nullptr, nullptr), &RecorderTimeFormat::instance());
        QCOMPARE(QJSEngine::objectOwnership(&utils), QJSEngine::CppOwnership);
        QCOMPARE(QJSEngine::objectOwnership(&RecorderTimeFormat::instance()), QJSEngine::CppOwnership);
    }

    void pagesPrintTimesThroughTheSingletons()
    {
        qmlRegisterSingletonType<RecorderUtils>(
            "RecorderUtilsTest", 1, 0, "RecorderUtils", RecorderUtils::qmlSingleton);
        qmlRegisterSingletonType<RecorderTimeFormat>(
            "RecorderUtilsTest", 1, 0, "RecorderTimeFormat", RecorderTimeFormat::qmlSingleton);
        QQmlEngine engine;
        QQmlComponent component(&engine);
        component.setData(R"(
            import QtQml
            import RecorderUtilsTest
            QtObject {
                property string time: RecorderUtils.prettyPrintTime(90.25, RecorderTimeFormat.HH_MM_SS_ZZZ)
                property int formats: RecorderTimeFormat.allValues().length
            })",
            QUrl());
        const std::unique_ptr<QObject> page(component.create());
        QVERIFY2(page, qPrintable(component.errorString()));
        QCOMPARE(page->property("time").toString(), QStringLiteral("00:01:30.250"));
        QCOMPARE(page->property("formats").toInt(), 2);
    }
};

QTEST_GUILESS_MAIN(TestRecorderUtils)
#include "tst_recorderutils.moc"
