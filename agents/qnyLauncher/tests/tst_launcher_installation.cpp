// SPDX-License-Identifier: Apache-2.0
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

namespace {

QByteArray content(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

// What is installed works where it was installed.
class TestInstallation : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void theInstalledLauncherFindsItsLibraryAndItsConfigurationIsSound();
    void theUnitFileNamesTheInstalledProgram();
    void theInstalledToolMakesTheKeysOfTheMachine();
    void whatAPersonChangedIsKept();

private:
    void _install();
    QByteArray _run(const QString& program, const QStringList& arguments, int status = 0);

    QTemporaryDir _folder;
    QString _prefix;
};

void TestInstallation::initTestCase()
{
    QVERIFY(_folder.isValid());
    QVERIFY(QDir(_folder.path()).mkdir("here"));
    _prefix = QFileInfo(_folder.filePath("here")).canonicalFilePath();
    _install();
}

void TestInstallation::_install()
{
    _run(QStringLiteral(CMAKE_PROGRAM),
        { "--install", QStringLiteral(BUILD_FOLDER), "--component", "launcher", "--prefix", _prefix });
}

QByteArray TestInstallation::_run(const QString& program, const QStringList& arguments, int status)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, arguments);
    if (!process.waitForFinished() || process.exitCode() != status) {
        qCritical("%s: %s %s", qPrintable(program), qPrintable(process.errorString()), process.readAll().constData());
    }
    return process.readAll();
}

void TestInstallation::theInstalledLauncherFindsItsLibraryAndItsConfigurationIsSound()
{
    const QString program = _prefix + "/agents/qnyLauncher/qnyLauncher";
    const QByteArray said = _run(program, { "--check", "--configuration", _prefix + "/etc/qnyLauncher.conf" });
    QVERIFY2(said.contains("1 programs"), said.constData());
    // It is the installed library, and not that of the build
    const QByteArray libraries = _run("ldd", { program });
    QVERIFY2(libraries.contains("/here/"), libraries.constData());
    QVERIFY2(!libraries.contains(BUILD_FOLDER), libraries.constData());
    QVERIFY(content(_prefix + "/etc/qnyLauncher.conf")
            .contains("program = " + _prefix.toUtf8() + "/agents/qnyRecorder/qnyRecorder\n"));
    QVERIFY(_run(_prefix + "/agents/qnyRecorder/qnyRecorder", { "--version" }).contains("qnyRecorder"));
}

void TestInstallation::theUnitFileNamesTheInstalledProgram()
{
    const QByteArray unit = content(_prefix + "/lib/systemd/system/qnyLauncher.service");
    QVERIFY2(unit.contains("\nExecStart=" + _prefix.toUtf8() + "/agents/qnyLauncher/qnyLauncher --configuration "
                 + _prefix.toUtf8() + "/etc/qnyLauncher.conf\n"),
        unit.constData());
    QVERIFY(!unit.contains('@'));
    QVERIFY(content(_prefix + "/lib/sysusers.d/qnyLauncher.conf").startsWith("u qnylauncher "));
}

void TestInstallation::theInstalledToolMakesTheKeysOfTheMachine()
{
    const QString keys = _folder.filePath("keys");
    _run("mkdir", { "-m", "700", keys });
    const QByteArray said = _run(_prefix + "/bin/qnyCertificates", { "make", "pump-house", "--output", keys });
    QVERIFY2(said.contains("pump-house.cert_secret"), said.constData());
    // The launcher takes the file as it was made
    _run(_prefix + "/bin/qnyCertificates", { "show", keys + "/pump-house.cert_secret", keys + "/pump-house.cert" });
    QVERIFY(_run("ldd", { _prefix + "/bin/qnyCertificates" }).contains("/here/"));
}

void TestInstallation::whatAPersonChangedIsKept()
{
    QFile file(_prefix + "/etc/qnyLauncher.conf");
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write("children = 3\n") > 0);
    file.close();
    _install();
    QCOMPARE(content(_prefix + "/etc/qnyLauncher.conf"), "children = 3\n");
}

QTEST_GUILESS_MAIN(TestInstallation)
#include "tst_launcher_installation.moc"
