// SPDX-License-Identifier: Apache-2.0
#include "commandline.h"

#include <QtTest/QtTest>

class tst_host_commandline : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void withoutArgumentsNothingIsAsked();
    void everyOptionIsTaken();
    void whatIsWrongIsSaidInOneLineWithStatus2_data();
    void whatIsWrongIsSaidInOneLineWithStatus2();
    void theLanguageOfTheAnswersIsKnownThoughTheLineIsWrong();
    void helpNamesEveryOptionAndVersionTheVersion();
};

void tst_host_commandline::withoutArgumentsNothingIsAsked()
{
    CommandLine line;
    QVERIFY(!parseCommandLine({ QStringLiteral("corvane") }, &line).ends);
    QCOMPARE(line.host.documentPath, QString());
    QCOMPARE(line.host.device, QString());
    QCOMPARE(line.host.port, 0);
    QVERIFY(!line.host.withPlant);
    QVERIFY(line.host.withWindow);
    QVERIFY(line.host.connectToNetwork);
    QVERIFY(!line.isTour);
    QVERIFY(line.screenshotPath.isEmpty());
    QVERIFY(line.language.isEmpty());
    QVERIFY(line.controlReportPath.isEmpty());
}

void tst_host_commandline::everyOptionIsTaken()
{
    CommandLine line;
    const QStringList arguments { QStringLiteral("corvane"), QStringLiteral("a system.json"),
        QStringLiteral("--device"), QStringLiteral("eth0"), QStringLiteral("--port=6000"), QStringLiteral("--peers"),
        QStringLiteral("h:1,h:2"), QStringLiteral("--plugins"), QStringLiteral("/p"), QStringLiteral("--with-plant"),
        QStringLiteral("--plant-journals"), QStringLiteral("/j"), QStringLiteral("--theme"), QStringLiteral("dark"),
        QStringLiteral("--page"), QStringLiteral("system"), QStringLiteral("--screenshot"), QStringLiteral("x.png"),
        QStringLiteral("--report-controls"), QStringLiteral("c.json"), QStringLiteral("--size"),
        QStringLiteral("800x600"), QStringLiteral("--language"), QStringLiteral("fr"), QStringLiteral("--qnyCert"),
        QStringLiteral("/k/host.cert_secret"), QStringLiteral("--publicCerts"), QStringLiteral("/k/in") };
    const CommandLineEnd end = parseCommandLine(arguments, &line);
    QVERIFY2(!end.ends, qPrintable(end.text));
    QCOMPARE(line.host.documentPath, QStringLiteral("a system.json"));
    QCOMPARE(line.host.device, QStringLiteral("eth0"));
    QCOMPARE(line.host.port, 6000);
    QCOMPARE(line.host.peers, QStringLiteral("h:1,h:2"));
    QCOMPARE(line.host.privateCertificate, QStringLiteral("/k/host.cert_secret"));
    QCOMPARE(line.host.publicCertificates, QStringLiteral("/k/in"));
    QCOMPARE(line.host.pluginsDirectory, QStringLiteral("/p"));
    QVERIFY(line.host.withPlant);
    QCOMPARE(line.host.plantJournalDirectory, QStringLiteral("/j"));
    QCOMPARE(line.host.theme, QStringLiteral("dark"));
    QCOMPARE(line.host.page, QStringLiteral("system"));
    QCOMPARE(line.screenshotPath, QStringLiteral("x.png"));
    QCOMPARE(line.language, QStringLiteral("fr"));
    QCOMPARE(line.controlReportPath, QStringLiteral("c.json"));
    QCOMPARE(line.host.windowSize, QSize(800, 600));

    CommandLine tour;
    QVERIFY(!parseCommandLine(
        { QStringLiteral("corvane"), QStringLiteral("--output"), QStringLiteral("/o"), QStringLiteral("--tour") },
        &tour)
            .ends);
    QVERIFY(tour.isTour);
    QCOMPARE(tour.tourDirectory, QStringLiteral("/o"));
    QVERIFY(tour.tourStore.isEmpty());
    for (const char* store : { "embedded", "csv", "127.0.0.1:9042" }) {
        CommandLine withStore;
        QVERIFY(!parseCommandLine(
            { QStringLiteral("corvane"), QStringLiteral("--tour"), QStringLiteral("--store"), QLatin1String(store) },
            &withStore)
                .ends);
        QCOMPARE(withStore.tourStore, QLatin1String(store));
    }
}

void tst_host_commandline::whatIsWrongIsSaidInOneLineWithStatus2_data()
{
    QTest::addColumn<QString>("arguments");
    QTest::addColumn<QString>("said");
    QTest::newRow("unknown") << "--colour red" << "Unknown option 'colour'";
    QTest::newRow("no value") << "--port" << "Missing value after '--port'";
    QTest::newRow("size") << "--size 800" << "'800' is no size (such as 1280x800)";
    QTest::newRow("port zero") << "--port 0" << "'0' is no port (1 to 65535)";
    QTest::newRow("port word") << "--port lots" << "'lots' is no port (1 to 65535)";
    QTest::newRow("port high") << "--port 65536" << "'65536' is no port (1 to 65535)";
    QTest::newRow("theme") << "--theme pink" << "'pink' is no theme (light or dark)";
    QTest::newRow("language") << "--language xx" << "'xx' is no language (en or fr)";
    QTest::newRow("two documents") << "one.json two.json" << "Only one document can be opened, but 2 were given";
    QTest::newRow("own key alone") << "--qnyCert /k/host.cert_secret"
                                   << "'--qnyCert' and '--publicCerts' need one another";
    QTest::newRow("others' keys alone") << "--publicCerts /k/in"
                                        << "'--qnyCert' and '--publicCerts' need one another";
    QTest::newRow("output alone") << "--output somewhere" << "Option 'output' belongs to '--tour'";
    QTest::newRow("store alone") << "--store csv" << "Option 'store' belongs to '--tour'";
    QTest::newRow("unknown store") << "--tour --store paper" << "'paper' is no store (embedded, csv or HOST:PORT)";
    QTest::newRow("tour and picture") << "--tour --screenshot a.png"
                                      << "'--tour' and '--screenshot' exclude one another";
    QTest::newRow("empty device") << "--device="
                                  << "needs a value|Missing value after '--device='";
}

void tst_host_commandline::whatIsWrongIsSaidInOneLineWithStatus2()
{
    QFETCH(QString, arguments);
    QFETCH(QString, said);
    CommandLine line;
    const CommandLineEnd end
        = parseCommandLine(QStringList { QStringLiteral("corvane") } + arguments.split(QLatin1Char(' ')), &line);
    QVERIFY(end.ends);
    QCOMPARE(end.status, 2);
    QVERIFY2(end.text.startsWith(QLatin1String("corvane: ")), qPrintable(end.text));
    QCOMPARE(end.text.count(QLatin1Char('\n')), 1);
    const QStringList expected = said.split(QLatin1Char('|'));
    QVERIFY2(
        std::any_of(expected.begin(), expected.end(), [&end](const QString& text) { return end.text.contains(text); }),
        qPrintable(end.text));
}

void tst_host_commandline::theLanguageOfTheAnswersIsKnownThoughTheLineIsWrong()
{
    const auto asked = [](const QString& line) { return languageAsked(line.split(QLatin1Char(' '))); };
    QCOMPARE(asked(QStringLiteral("corvane --colour --language fr --port x")), QStringLiteral("fr"));
    QCOMPARE(asked(QStringLiteral("corvane --language=en --help")), QStringLiteral("en"));
    QCOMPARE(asked(QStringLiteral("corvane --port 5 fr")), QString());
    QCOMPARE(asked(QStringLiteral("corvane --language")), QString());
}

void tst_host_commandline::helpNamesEveryOptionAndVersionTheVersion()
{
    CommandLine line;
    const CommandLineEnd help = parseCommandLine({ QStringLiteral("corvane"), QStringLiteral("--help") }, &line);
    QVERIFY(help.ends);
    QCOMPARE(help.status, 0);
    QVERIFY2(help.text.startsWith(QLatin1String("Usage: corvane [options] [DOCUMENT]\n")), qPrintable(help.text));
    for (const char* option :
        { "--device", "--port", "--peers", "--plugins", "--with-plant", "--plant-journals", "--page", "--theme",
            "--language", "--screenshot", "--tour", "--output", "--store", "--help", "--version", "[DOCUMENT]" }) {
        QVERIFY2(help.text.contains(QLatin1String(option)), option);
    }
    const CommandLineEnd version = parseCommandLine({ QStringLiteral("corvane"), QStringLiteral("--version") }, &line);
    QCOMPARE(version.status, 0);
    QVERIFY(version.text.contains(QLatin1String(CORVANE_VERSION)));
}

// The parser asks the application for its name.
QTEST_GUILESS_MAIN(tst_host_commandline)
#include "tst_host_commandline.moc"
