// SPDX-License-Identifier: Apache-2.0
// The program as a person runs it: what it says, and how it ends.
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QProcess>
#include <QtCore/QRandomGenerator>
#include <QtCore/QTemporaryDir>
#include <QtGui/QImage>
#include <QtNetwork/QUdpSocket>
#include <QtTest/QtTest>

#include <csignal>
#include <sys/stat.h>

namespace {

struct Result
{
    int status = -1;
    QString output;
    QString errors;
};

} // namespace

class tst_host_program : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void tellsItsVersionAndItsOptions();
    void speaksTheLanguageThatIsAskedFor_data();
    void speaksTheLanguageThatIsAskedFor();
    void speaksTheLanguageOfTheDesktop();
    void refusesWhatItCannotDo_data();
    void refusesWhatItCannotDo();
    void tellsNothingThatControlsATerminal();
    void refusesAPortThatAnotherProgramHolds();
    void drawsItsWindowIntoAFile_data();
    void drawsItsWindowIntoAFile();
    void saysAtItsStartThatTheRecorderIsMissing();
    void endsCleanlyOnASignalAndTakesThePlantWithIt();

private:
    Result run(const QString& program, QStringList arguments) const;
    Result run(const QStringList& arguments) const { return run(program(), arguments); }
    static QString program() { return QStringLiteral(BUILD_DIRECTORY "/bin/corvane"); }
    QProcessEnvironment environment() const;
    QString file(const QString& name, const QByteArray& content) const;
    QString port() const { return QString::number(_port); }

    std::unique_ptr<QTemporaryDir> _folder;
    quint16 _port = 0;
};

void tst_host_program::init()
{
    _folder = std::make_unique<QTemporaryDir>();
    _port = static_cast<quint16>(QRandomGenerator::global()->bounded(20000, 60000));
}

QProcessEnvironment tst_host_program::environment() const
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    environment.insert(QStringLiteral("XDG_DATA_HOME"), _folder->filePath(QStringLiteral("data")));
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), _folder->filePath(QStringLiteral("config")));
    environment.insert(QStringLiteral("QNY_PORT"), port());
    environment.remove(QStringLiteral("QNY_DEVICE"));
    environment.remove(QStringLiteral("QNY_PEERS"));
    return environment;
}

Result tst_host_program::run(const QString& program, QStringList arguments) const
{
    QProcess process;
    process.setProcessEnvironment(environment());
    process.start(program, arguments);
    Result result;
    if (!process.waitForFinished(30000)) {
        process.kill();
        process.waitForFinished();
        result.errors = QStringLiteral("(still ran after 30 seconds) ");
    } else if (process.exitStatus() == QProcess::NormalExit) {
        result.status = process.exitCode();
    }
    result.output = QString::fromUtf8(process.readAllStandardOutput());
    result.errors += QString::fromUtf8(process.readAllStandardError());
    return result;
}

QString tst_host_program::file(const QString& name, const QByteArray& content) const
{
    QFile file(_folder->filePath(name));
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size()) {
        qFatal("cannot write %s", qPrintable(file.fileName()));
    }
    return file.fileName();
}

void tst_host_program::tellsItsVersionAndItsOptions()
{
    const Result help = run({ QStringLiteral("--help") });
    QCOMPARE(help.status, 0);
    QVERIFY2(help.output.contains(QLatin1String("--with-plant")), qPrintable(help.output));
    QVERIFY2(help.output.startsWith(QLatin1String("Usage: corvane ")), qPrintable(help.output));
    QCOMPARE(help.errors, QString());
    const Result version = run({ QStringLiteral("--version") });
    QCOMPARE(version.status, 0);
    QVERIFY2(version.output.startsWith(QLatin1String("corvane ")), qPrintable(version.output));
}

void tst_host_program::speaksTheLanguageThatIsAskedFor_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("said");
    const auto row = [](const char* name, const QStringList& arguments, const QString& said) {
        QTest::newRow(name) << arguments << said;
    };
    row("help", { QStringLiteral("--help") }, QStringLiteral("Ouvre un document système"));
    row("wrong port", { QStringLiteral("--port"), QStringLiteral("x") }, QStringLiteral("n’est pas un port"));
    row("page, a text of the host", { QStringLiteral("--page"), QStringLiteral("x") },
        QStringLiteral("Il n’y a pas de page"));
    row("document, a text of the framework", { QStringLiteral("/nowhere/at/all.json") },
        QStringLiteral("Impossible d’ouvrir /nowhere/at/all.json"));
}

void tst_host_program::speaksTheLanguageThatIsAskedFor()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, said);
    const Result french = run(QStringList { QStringLiteral("--language"), QStringLiteral("fr") } + arguments);
    QVERIFY2((french.output + french.errors).contains(said), qPrintable(french.output + french.errors));
    const Result english = run(QStringList { QStringLiteral("--language"), QStringLiteral("en") } + arguments);
    QVERIFY2(!(english.output + english.errors).contains(said), qPrintable(english.output + english.errors));
    QCOMPARE(french.status, english.status);
}

void tst_host_program::speaksTheLanguageOfTheDesktop()
{
    const QString french = QStringLiteral("Ouvre un document système");
    const QString english = QStringLiteral("Opens a system document");
    const QStringList help { QStringLiteral("--help") };
    const auto restore = qScopeGuard([before = qgetenv("LANGUAGE")] { qputenv("LANGUAGE", before); });
    qputenv("LANGUAGE", "fr");
    QVERIFY(run(help).output.contains(french));
    // The first that is there.
    qputenv("LANGUAGE", "de:fr:en");
    QVERIFY(run(help).output.contains(french));
    qputenv("LANGUAGE", "en_US:fr");
    QVERIFY(run(help).output.contains(english));
    qputenv("LANGUAGE", "de");
    QVERIFY(run(help).output.contains(english));
}

void tst_host_program::refusesWhatItCannotDo_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("said");
    const auto row = [](const char* name, const QStringList& arguments, int status, const QString& said) {
        QTest::newRow(name) << arguments << status << said;
    };
    row("unknown option", { QStringLiteral("--colour") }, 2, QStringLiteral("Unknown option 'colour'"));
    row("wrong port", { QStringLiteral("--port"), QStringLiteral("x") }, 2, QStringLiteral("'x' is no port"));
    row("unknown device", { QStringLiteral("--device"), QStringLiteral("nosuchdevice0") }, 1,
        QStringLiteral("nosuchdevice0"));
    row("missing document", { QStringLiteral("/nowhere/at/all.json") }, 1, QStringLiteral("/nowhere/at/all.json"));
    row("document without JSON", { QStringLiteral("@bad.json") }, 1, QStringLiteral("bad.json"));
    row("a pipe", { QStringLiteral("@pipe.json") }, 1,
        QStringLiteral("pipe.json is not a system document: it is no file"));
    row("a device", { QStringLiteral("/dev/zero") }, 1, QStringLiteral("it is no file"));
    row("a file of a terabyte", { QStringLiteral("@huge.json") }, 1, QStringLiteral("larger than 64 MiB"));
    row("missing plugins", { QStringLiteral("--plugins"), QStringLiteral("/nowhere/at/all") }, 1,
        QStringLiteral("/nowhere/at/all"));
    row("folder without a plugin", { QStringLiteral("--plugins"), QStringLiteral("@.") }, 1,
        QStringLiteral("No module plugin"));
    row("unknown page", { QStringLiteral("--page"), QStringLiteral("nosuchpage") }, 1, QStringLiteral("nosuchpage"));
}

void tst_host_program::refusesWhatItCannotDo()
{
    QFETCH(QStringList, arguments);
    QFETCH(int, status);
    QFETCH(QString, said);
    file(QStringLiteral("bad.json"), "This is no document.");
    QCOMPARE(mkfifo(qPrintable(_folder->filePath(QStringLiteral("pipe.json"))), 0600), 0);
    QVERIFY(QFile::resize(file(QStringLiteral("huge.json"), ""), qint64(1) << 40));
    for (QString& argument : arguments) {
        if (argument.startsWith(QLatin1Char('@'))) {
            argument = QDir::cleanPath(_folder->filePath(argument.mid(1)));
        }
    }
    const Result result = run(arguments);
    QVERIFY2(result.status == status, qPrintable(QString::number(result.status) + QLatin1Char(' ') + result.errors));
    QVERIFY2(result.errors.contains(said), qPrintable(result.errors));
    // One line, and nothing of it where results are expected.
    QVERIFY2(result.errors.count(QLatin1Char('\n')) == 1, qPrintable(result.errors));
    QVERIFY2(result.errors.startsWith(QLatin1String("corvane: ")), qPrintable(result.errors));
    QCOMPARE(result.output, QString());
}

void tst_host_program::tellsNothingThatControlsATerminal()
{
    const QString document = file(QStringLiteral("foreign.json"),
        R"({"version":1,"views":[{"uuid":"u","name":"a"},{"uuid":"u","name":"\u001b[2Jred\u009b31m\u202e"}]})");
    const Result result = run({ QStringLiteral("--device"), QStringLiteral("lo"), QStringLiteral("--port"), port(),
        QStringLiteral("--screenshot"), _folder->filePath(QStringLiteral("picture.png")), document });
    QCOMPARE(result.status, 0);
    QVERIFY2(result.errors.contains(QLatin1String("'?[2Jred?31m?' got a new one")), qPrintable(result.errors));
    QVERIFY(!result.errors.contains(u'\x1b') && !result.errors.contains(u'\x9b'));
}

void tst_host_program::refusesAPortThatAnotherProgramHolds()
{
    QUdpSocket holder;
    QVERIFY(holder.bind(QHostAddress::AnyIPv4, _port, QAbstractSocket::DontShareAddress));
    const Result result = run({ QStringLiteral("--device"), QStringLiteral("lo"), QStringLiteral("--port"), port() });
    QVERIFY2(result.status == 1, qPrintable(result.errors));
    QVERIFY2(result.errors.contains(port()), qPrintable(result.errors));
}

void tst_host_program::drawsItsWindowIntoAFile_data()
{
    QTest::addColumn<QString>("page");
    QTest::addColumn<QString>("theme");
    QTest::newRow("system, light") << QStringLiteral("system") << QStringLiteral("light");
    QTest::newRow("system, dark") << QStringLiteral("system") << QStringLiteral("dark");
    QTest::newRow("module, dark") << QStringLiteral("recordAndReplay") << QStringLiteral("dark");
}

void tst_host_program::drawsItsWindowIntoAFile()
{
    QFETCH(QString, page);
    QFETCH(QString, theme);
    const QString picture = _folder->filePath(QStringLiteral("window.png"));
    const Result result = run({ QStringLiteral("--screenshot"), picture, QStringLiteral("--page"), page,
        QStringLiteral("--theme"), theme, QStringLiteral("--device"), QStringLiteral("lo") });
    QVERIFY2(result.status == 0, qPrintable(result.errors));
    // No warning of a page, and nothing that is missing.
    QCOMPARE(result.errors, QString());
    const QImage image(picture);
    QCOMPARE(image.size(), QSize(1280, 800));
    QSet<QRgb> colours;
    for (int y = 0; y < image.height(); y += 3) {
        for (int x = 0; x < image.width(); x += 3) {
            colours.insert(image.pixel(x, y));
        }
    }
    QVERIFY2(colours.size() > 30, qPrintable(QString::number(colours.size())));
    QCOMPARE(image.pixelColor(1276, 796),
        QColor(theme == QLatin1String("dark") ? QStringLiteral("#14171C") : QStringLiteral("#F3F5F8")));
}

void tst_host_program::saysAtItsStartThatTheRecorderIsMissing()
{
    // The program elsewhere, with its plugins named but without a recorder beside it.
    QVERIFY(QDir(_folder->path()).mkpath(QStringLiteral("elsewhere/bin")));
    const QString copy = _folder->filePath(QStringLiteral("elsewhere/bin/corvane"));
    QVERIFY(QFile::copy(program(), copy));
    const Result result = run(copy,
        { QStringLiteral("--plugins"), QStringLiteral(BUILD_DIRECTORY "/plugins/extension-plugins"),
            QStringLiteral("--screenshot"), _folder->filePath(QStringLiteral("window.png")), QStringLiteral("--device"),
            QStringLiteral("lo") });
    QVERIFY2(result.status == 0, qPrintable(result.errors));
    QVERIFY2(result.errors.contains(QLatin1String("qnyRecorder")), qPrintable(result.errors));
}

void tst_host_program::endsCleanlyOnASignalAndTakesThePlantWithIt()
{
    const QString journals = _folder->filePath(QStringLiteral("journals"));
    QProcess process;
    process.setProcessEnvironment(environment());
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program(),
        { QStringLiteral("--with-plant"), QStringLiteral("--plant-journals"), journals, QStringLiteral("--device"),
            QStringLiteral("lo") });
    QVERIFY(process.waitForStarted());
    const QString journal = journals + QStringLiteral("/Tank.journal");
    QTRY_VERIFY_WITH_TIMEOUT(QFileInfo(journal).size() > 1000, 20000);

    process.terminate();
    QVERIFY2(process.waitForFinished(15000), process.readAll().constData());
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QVERIFY2(process.exitCode() == 0, process.readAll().constData());
    const qint64 size = QFileInfo(journal).size();
    QTest::qWait(200);
    QCOMPARE(QFileInfo(journal).size(), size);
}

QTEST_GUILESS_MAIN(tst_host_program)
#include "tst_host_program.moc"
