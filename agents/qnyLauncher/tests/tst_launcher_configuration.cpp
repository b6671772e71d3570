// SPDX-License-Identifier: Apache-2.0
#include "configuration.h"
#include "request.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <QUuid>

#include <sys/stat.h>

using namespace launcher;

class TestConfiguration : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void everythingIsRead();
    void whatIsNotWrittenHasItsDefault();
    void aMistakeIsSaidWithItsFileAndLine_data();
    void aMistakeIsSaidWithItsFileAndLine();
    void aFileThatIsNotThereIsSaid();
    void aPipeInItsPlaceHoldsNobodyUp();
    void whatAnybodyMayWriteToIsRefused();
    void aProgramIsNamedByItsCanonicalPath();
    void onlyListedProgramsAreStarted_data();
    void onlyListedProgramsAreStarted();
    void aRefusalNamesWhatMayBeStarted();
    void requestsAreBounded();

private:
    QString _read(const QByteArray& text, Configuration& configuration, bool isForAll = false)
    {
        const QString path = _folder.filePath("launcher.conf");
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size()) {
            qFatal("%s", qPrintable(file.errorString()));
        }
        file.close();
        auto permissions = QFileDevice::ReadOwner | QFileDevice::WriteOwner;
        file.setPermissions(isForAll ? permissions | QFileDevice::WriteOther : permissions);
        return readConfiguration(path, configuration);
    }
    QString _program(const QString& name)
    {
        QFile file(_folder.filePath(name));
        if (!file.open(QIODevice::WriteOnly)) {
            qFatal("%s", qPrintable(file.errorString()));
        }
        file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
        return QFileInfo(file).canonicalFilePath();
    }
    static Request _request(const QString& program, const QStringList& arguments = {})
    {
        return { QUuid::createUuid().toString(QUuid::WithoutBraces), program, arguments, "asker", "Corvane" };
    }

    QTemporaryDir _folder;
    QString _recorder;
    QString _pump;
};

void TestConfiguration::initTestCase()
{
    QVERIFY(_folder.isValid());
    _recorder = _program("recorder");
    _pump = _program("my pump # 2 = big");
    _program("other");
    QVERIFY(QFile::link(_recorder, _folder.filePath("link to recorder")));
    QVERIFY(QFile::link(_folder.filePath("other"), _folder.filePath("link to other")));
    QVERIFY(QDir(_folder.path()).mkdir("inside"));
}

void TestConfiguration::everythingIsRead()
{
    Configuration configuration;
    const QString problem = _read("# what may be started\n\nprogram = " + _recorder.toUtf8()
            + "\n  family=6C2B5A0E-3f7d-4d0b-9a51-0f4f3a2c9e77\nprogram=  " + _pump.toUtf8()
            + " \nchildren = 3\nlog-file-bytes = 5000\nlog-files = 2\nlogs-kept = 7\nseconds-to-end = 1\n",
        configuration);
    QCOMPARE(problem, QString());
    QCOMPARE(configuration.programs.size(), 2);
    QCOMPARE(configuration.programs.at(0).path, _recorder);
    QCOMPARE(configuration.programs.at(0).family, "6c2b5a0e-3f7d-4d0b-9a51-0f4f3a2c9e77");
    QCOMPARE(configuration.programs.at(1).path, _pump);
    QCOMPARE(configuration.programs.at(1).family, "");
    QCOMPARE(configuration.children, 3);
    QCOMPARE(configuration.logFileBytes, 5000);
    QCOMPARE(configuration.logFiles, 2);
    QCOMPARE(configuration.logsKept, 7);
    QCOMPARE(configuration.secondsToEnd, 1);
}

void TestConfiguration::whatIsNotWrittenHasItsDefault()
{
    Configuration configuration;
    configuration.children = 99;
    QCOMPARE(_read("# nothing\n", configuration), QString());
    QVERIFY(configuration.programs.isEmpty());
    QCOMPARE(configuration.children, Configuration().children);
}

void TestConfiguration::aMistakeIsSaidWithItsFileAndLine_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("said");
    QTest::newRow("no equals") << QByteArray("\nprogram") << ":2: 'program' is not of the form key = value";
    QTest::newRow("unknown key") << QByteArray("prgram = /bin/sh") << ":1: 'prgram' is none of";
    QTest::newRow("relative") << QByteArray("program = recorder") << ":1: recorder is no absolute path";
    QTest::newRow("missing") << QByteArray("program = /nowhere/recorder") << "/nowhere/recorder does not exist";
    QTest::newRow("folder") << QByteArray("program = /usr") << "/usr is no file that this user may execute";
    QTest::newRow("not executable") << QByteArray("program = /etc/passwd") << "no file that this user may execute";
    QTest::newRow("twice") << "program = " + _recorder.toUtf8() + "\nprogram = " + _recorder.toUtf8()
                           << ":2: " + _recorder + " stands twice";
    QTest::newRow("family first") << QByteArray("family = 6c2b5a0e-3f7d-4d0b-9a51-0f4f3a2c9e77")
                                  << "a family belongs below its program";
    QTest::newRow("no uuid") << "program = " + _recorder.toUtf8() + "\nfamily = recorder"
                             << ":2: 'recorder' is no uuid";
    QTest::newRow("no number") << QByteArray("children = many") << "children is a number from 1 to 1000, not 'many'";
    QTest::newRow("no children") << QByteArray("children = 0") << "children is a number from 1 to 1000, not '0'";
    QTest::newRow("small log") << QByteArray("log-file-bytes = 1") << "log-file-bytes is a number from 4096";
    QTest::newRow("no time") << QByteArray("seconds-to-end = -1") << "seconds-to-end is a number from 1";
}

void TestConfiguration::aMistakeIsSaidWithItsFileAndLine()
{
    QFETCH(QByteArray, text);
    QFETCH(QString, said);
    Configuration configuration;
    configuration.children = 7;
    const QString problem = _read(text, configuration);
    QVERIFY2(problem.startsWith(_folder.filePath("launcher.conf") + ":"), qPrintable(problem));
    QVERIFY2(problem.contains(said), qPrintable(problem));
    QCOMPARE(configuration.children, 7); // as it was before
}

void TestConfiguration::aFileThatIsNotThereIsSaid()
{
    Configuration configuration;
    const QString problem = readConfiguration("/nowhere/launcher.conf", configuration);
    QVERIFY2(problem.startsWith("/nowhere/launcher.conf: "), qPrintable(problem));
}

void TestConfiguration::aPipeInItsPlaceHoldsNobodyUp()
{
    const QTemporaryDir folder;
    const QString pipe = folder.filePath("launcher.conf");
    QCOMPARE(mkfifo(qPrintable(pipe), 0600), 0);
    // In a process of its own, which can be ended when it waits all the same.
    QProcess process;
    process.start(QNY_LAUNCHER, { "--check", "--configuration", pipe });
    const bool hasEnded = process.waitForFinished(10'000);
    process.kill();
    process.waitForFinished();
    QVERIFY(hasEnded);
    const QByteArray said = process.readAllStandardError();
    QVERIFY2(said.contains("launcher.conf: is no file"), said.constData());
    QVERIFY(process.exitCode() != 0);
}

void TestConfiguration::whatAnybodyMayWriteToIsRefused()
{
    Configuration configuration;
    QString problem = _read("children = 3\n", configuration, true);
    QVERIFY2(problem.contains("anybody may write to it"), qPrintable(problem));
    const QString open = _program("open");
    QVERIFY(QFile::setPermissions(open, QFile::permissions(open) | QFileDevice::WriteOther));
    problem = _read("program = " + open.toUtf8(), configuration);
    QVERIFY2(problem.contains("anybody may write to " + open), qPrintable(problem));

    // Nor where anybody may put another program in its place.
    QVERIFY(QDir(_folder.path()).mkpath("shared/below"));
    const QString below = _program("shared/below/program");
    const QByteArray shared = _folder.filePath("shared").toUtf8();
    QCOMPARE(chmod(shared.constData(), 0777), 0);
    problem = _read("program = " + below.toUtf8(), configuration);
    QVERIFY2(problem.contains("anybody may write into " + shared), qPrintable(problem));
    QCOMPARE(chmod(shared.constData(), 01777), 0);
    QCOMPARE(_read("program = " + below.toUtf8(), configuration), QString());

    // Nor where anybody may put another configuration in its place, not even by a link.
    const QString file = _folder.filePath("shared/below/launcher.conf");
    const QString link = _folder.filePath("linked.conf");
    QVERIFY(QFile::copy(_folder.filePath("launcher.conf"), file) && QFile::link(file, link));
    QCOMPARE(readConfiguration(link, configuration), QString());
    QCOMPARE(chmod(shared.constData(), 0777), 0);
    for (const QString& path : { file, link }) {
        QCOMPARE(readConfiguration(path, configuration),
            QString(
                "%1: anybody may write into %2, and so put another file in place of %1: take that permission from it")
                .arg(path, shared));
    }
    QCOMPARE(chmod(shared.constData(), 01777), 0);
}

void TestConfiguration::aProgramIsNamedByItsCanonicalPath()
{
    Configuration configuration;
    for (const QString& path : { _folder.filePath("link to recorder"), _folder.filePath("inside/../recorder"),
             _folder.path() + "//recorder" }) {
        const QString problem = _read("program = " + path.toUtf8(), configuration);
        QVERIFY2(problem.contains(path + " leads to " + _recorder), qPrintable(problem));
    }
}

void TestConfiguration::onlyListedProgramsAreStarted_data()
{
    QTest::addColumn<QString>("program");
    QTest::addColumn<bool>("isStarted");
    const QString folder = QFileInfo(_folder.path()).canonicalFilePath();
    QTest::newRow("listed") << _recorder << true;
    QTest::newRow("a longer way to a listed one") << folder + "/inside/../recorder" << true;
    QTest::newRow("a link to a listed one") << folder + "/link to recorder" << true;
    QTest::newRow("not listed") << folder + "/other" << false;
    QTest::newRow("a link to one that is not listed") << folder + "/link to other" << false;
    QTest::newRow("out of the folder") << _recorder + "/../other" << false;
    QTest::newRow("a listed path with more behind it") << _recorder + " --option" << false;
    QTest::newRow("by name") << "recorder" << false;
    QTest::newRow("the shell") << "/bin/sh" << false;
    QTest::newRow("nothing") << "" << false;
    QTest::newRow("root") << "/" << false;
}

void TestConfiguration::onlyListedProgramsAreStarted()
{
    QFETCH(QString, program);
    QFETCH(bool, isStarted);
    Configuration configuration;
    configuration.programs = { { _recorder, {} }, { _pump, {} } };
    Request request = _request(program);
    const QString refusal = refusalOf(request, configuration);
    QCOMPARE(refusal.isEmpty(), isStarted);
    QCOMPARE(request.program, isStarted ? _recorder : program);
}

void TestConfiguration::aRefusalNamesWhatMayBeStarted()
{
    Configuration configuration;
    Request request = _request("/bin/sh\nforged: line");
    QCOMPARE(refusalOf(request, configuration),
        "/bin/sh forged: line is not among the programs that may be started on this machine: nothing at all.");
    configuration.programs = { { _recorder, {} }, { _pump, {} } };
    QVERIFY(refusalOf(request, configuration).endsWith(_recorder + ", " + _pump + "."));
}

void TestConfiguration::requestsAreBounded()
{
    Configuration configuration;
    configuration.programs = { { _recorder, {} } };
    Request request = _request(_recorder, QStringList(MOST_ARGUMENTS, "x"));
    QCOMPARE(refusalOf(request, configuration), QString());
    request = _request(_recorder, QStringList(MOST_ARGUMENTS + 1, "x"));
    QVERIFY(refusalOf(request, configuration).contains("too long"));
    request = _request(_recorder, { QString(MOST_REQUEST_BYTES, u'x') });
    QVERIFY(refusalOf(request, configuration).contains("too long"));
    for (const char* const uuid : { "", "../../etc", "6c2b5a0e-3f7d-4d0b-9a51-0f4f3a2c9e77/..",
             "{6c2b5a0e-3f7d-4d0b-9a51-0f4f3a2c9e77}", "6c2b5a0e-3f7d-4d0b-9a51-0f4f3a2c9e77\n" }) {
        request = _request(_recorder);
        request.launchUuid = uuid;
        QVERIFY2(refusalOf(request, configuration).contains("is no uuid"), uuid);
    }
}

QTEST_GUILESS_MAIN(TestConfiguration)
#include "tst_launcher_configuration.moc"
