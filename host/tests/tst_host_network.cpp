// SPDX-License-Identifier: Apache-2.0
// Which network the host joins: each part from the command line, else the environment, else as it was used last. Each
// start is a process of its own, which this program is when it is called with "--join".
#include "commandline.h"
#include "hostapplication.h"
#include "testplugin.h"

#include <networkconfiguration.h>
#include <pluginmanager.h>
#include <quenary.h>

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QProcess>
#include <QtCore/QRandomGenerator>
#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>
#include <QtWidgets/QApplication>

#include <cstdio>

namespace {

// One run of the host, as the command line asks; what came of it goes to standard output. "--without-window" and
// "--opened", which leaves the network and joins it open as the network's page does, are of this test.
int join(QStringList arguments)
{
    const bool isWindowless = arguments.removeAll("--without-window") > 0;
    const bool isOpened = arguments.removeAll("--opened") > 0;
    CommandLine commandLine;
    const CommandLineEnd end = parseCommandLine(arguments, &commandLine);
    if (end.ends) {
        std::fputs(qUtf8Printable(end.text), stderr);
        return end.status;
    }
    const QTemporaryDir folder;
    QFile page(folder.filePath("Page.qml"));
    if (!page.open(QIODevice::WriteOnly)
        || page.write("import QtQuick\nItem { required property var corvaneModule }\n") < 0) {
        return 3;
    }
    page.close();
    TestPlugin plugin(QUrl::fromLocalFile(page.fileName()));
    PluginManager::instance()->registerModulePlugin(&plugin);
    auto* const network = NetworkConfiguration::instance();
    QString error;
    QJsonObject result;
    {
        HostApplication host;
        commandLine.host.withWindow = !isWindowless;
        commandLine.host.pluginsDirectory = folder.path();
        result.insert("isStarted", host.start(commandLine.host, &error));
        if (isOpened) {
            network->disconnectFromNetwork();
            network->setprivateCertificate({});
            network->setpublicCertificates({});
            network->connectToNetwork();
        }
        result.insert("isConnected", qny_is_started());
        result.insert("isSecured", qny_is_secured());
        result.insert("isPlantRunning", host.isPlantRunning());
        result.insert("error", error);
        result.insert("notices", host.notices().join('\n'));
        result.insert("network",
            QStringLiteral("%1 %2 %3 %4 %5")
                .arg(network->device())
                .arg(network->port())
                .arg(network->peers(), QFileInfo(network->privateCertificate()).fileName(),
                    QFileInfo(network->publicCertificates()).fileName()));
    }
    PluginManager::instance()->unregisterModulePlugin(&plugin);
    std::puts(QJsonDocument(result).toJson(QJsonDocument::Compact).constData());
    return 0;
}

} // namespace

class tst_host_network : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void eachPartIsOfTheCommandLineElseOfTheEnvironmentElseAsItWasLast_data();
    void eachPartIsOfTheCommandLineElseOfTheEnvironmentElseAsItWasLast();
    void anOpenNetworkIsRememberedWithItsParts();
    void aSecuredNetworkIsLeftByTakingAwayBothPathsAlone();
    void onePathFromTheEnvironmentIsRefusedAndNotFilledUp();
    void rememberedCertificatesThatAreGoneOpenTheWindowAndNoNetwork_data();
    void rememberedCertificatesThatAreGoneOpenTheWindowAndNoNetwork();
    void pathsAreRememberedAsTheyAreFoundFromAnyFolder();
    void settingsThatCannotBeReadOpenTheWindowAndNoNetwork();

private:
    QJsonObject join(
        const QStringList& arguments, const QStringList& environment = {}, const QString& folder = {}) const;
    QString certificate(const QString& name) const { return _folder->filePath(name + "/host.cert_secret"); }
    QStringList secured(const QString& name) const
    {
        return { "--qnyCert", certificate(name), "--publicCerts", _folder->filePath(name) };
    }

    std::unique_ptr<QTemporaryDir> _folder;
    QString _port;
    QString _otherPort;
};

void tst_host_network::init()
{
    _folder = std::make_unique<QTemporaryDir>();
    const int port = QRandomGenerator::global()->bounded(20000, 60000);
    _port = QString::number(port);
    _otherPort = QString::number(port + 1);
    for (const char* const name : { "plant", "other" }) {
        QVERIFY(QDir(_folder->path()).mkdir(name));
        QVERIFY(qny_certificate_make(_folder->filePath(name).toUtf8().constData(), "host", nullptr, nullptr)
            == QNY_SUCCESS);
    }
}

QJsonObject tst_host_network::join(
    const QStringList& arguments, const QStringList& environment, const QString& folder) const
{
    QProcessEnvironment all = QProcessEnvironment::systemEnvironment();
    for (const char* const name :
        { "QNY_DEVICE", "QNY_PORT", "QNY_PEERS", "QNY_PRIVATE_CERTIFICATE", "QNY_PUBLIC_CERTIFICATES" }) {
        all.remove(name);
    }
    all.insert("QT_QPA_PLATFORM", "offscreen");
    all.insert("XDG_CONFIG_HOME", _folder->filePath("config"));
    all.insert("XDG_DATA_HOME", _folder->filePath("data"));
    for (const QString& each : environment) {
        all.insert(each.section('=', 0, 0), each.section('=', 1));
    }
    QProcess host;
    host.setProcessEnvironment(all);
    host.setWorkingDirectory(folder.isEmpty() ? _folder->path() : folder);
    host.start(QCoreApplication::applicationFilePath(), QStringList { "--join" } + arguments);
    if (!host.waitForFinished(30000)) {
        host.kill();
        host.waitForFinished();
    }
    const QByteArray said = host.readAllStandardError();
    if (host.exitStatus() != QProcess::NormalExit || host.exitCode() != 0) {
        qWarning("The host ended with %d: %s", host.exitCode(), said.constData());
    }
    return QJsonDocument::fromJson(host.readAllStandardOutput()).object();
}

void tst_host_network::eachPartIsOfTheCommandLineElseOfTheEnvironmentElseAsItWasLast_data()
{
    // "P" is the port that was used last, "Q" another one; "@" is this test's folder.
    QTest::addColumn<QString>("arguments");
    QTest::addColumn<QString>("environment");
    QTest::addColumn<QString>("expected");
    const QString last = "127.0.0.1 P 127.0.0.1:9 host.cert_secret plant";
    QTest::newRow("nothing is named") << "" << "" << last;
    QTest::newRow("a device") << "--device lo" << "" << "lo P 127.0.0.1:9 host.cert_secret plant";
    QTest::newRow("a port") << "--port Q" << "" << "127.0.0.1 Q 127.0.0.1:9 host.cert_secret plant";
    QTest::newRow("peers") << "--peers 127.0.0.1:8" << "" << "127.0.0.1 P 127.0.0.1:8 host.cert_secret plant";
    QTest::newRow("all but security") << "--device lo --port Q --peers 127.0.0.1:8" << ""
                                      << "lo Q 127.0.0.1:8 host.cert_secret plant";
    QTest::newRow("certificates") << "--qnyCert @/other/host.cert_secret --publicCerts @/other" << ""
                                  << "127.0.0.1 P 127.0.0.1:9 host.cert_secret other";
    QTest::newRow("all but security by the environment")
        << "" << "QNY_DEVICE=lo QNY_PORT=Q QNY_PEERS=127.0.0.1:8" << "lo Q 127.0.0.1:8 host.cert_secret plant";
    QTest::newRow("security by the environment")
        << "" << "QNY_PRIVATE_CERTIFICATE=@/other/host.cert_secret QNY_PUBLIC_CERTIFICATES=@/other"
        << "127.0.0.1 P 127.0.0.1:9 host.cert_secret other";
    QTest::newRow("the command line before the environment")
        << "--port Q --qnyCert @/plant/host.cert_secret --publicCerts @/plant"
        << "QNY_DEVICE=lo QNY_PORT=P QNY_PRIVATE_CERTIFICATE=@/other/host.cert_secret "
           "QNY_PUBLIC_CERTIFICATES=@/other"
        << "lo Q 127.0.0.1:9 host.cert_secret plant";
    QTest::newRow("what is empty names nothing")
        << "" << "QNY_DEVICE= QNY_PORT= QNY_PEERS= QNY_PRIVATE_CERTIFICATE= QNY_PUBLIC_CERTIFICATES=" << last;
}

void tst_host_network::eachPartIsOfTheCommandLineElseOfTheEnvironmentElseAsItWasLast()
{
    const auto filled = [this](QString text) {
        static const QRegularExpression last("\\bP\\b");
        static const QRegularExpression other("\\bQ\\b");
        return text.replace(last, _port).replace(other, _otherPort).replace('@', _folder->path());
    };
    QFETCH(QString, arguments);
    QFETCH(QString, environment);
    QFETCH(QString, expected);
    const QStringList first { "--without-window", "--device", "127.0.0.1", "--port", _port, "--peers", "127.0.0.1:9" };
    QVERIFY(join(first + secured("plant")).value("isSecured").toBool());
    const QJsonObject result = join(QStringList("--without-window") + filled(arguments).split(' ', Qt::SkipEmptyParts),
        filled(environment).split(' ', Qt::SkipEmptyParts));
    QCOMPARE(result.value("error").toString(), QString());
    QCOMPARE(result.value("network").toString(), filled(expected));
    QVERIFY(result.value("isSecured").toBool());
    // And that is what was used last now.
    QCOMPARE(join({ "--without-window" }).value("network").toString(), filled(expected));
}

void tst_host_network::anOpenNetworkIsRememberedWithItsParts()
{
    QVERIFY(join({ "--without-window", "--device", "127.0.0.1", "--port", _port }).value("isConnected").toBool());
    const QJsonObject result = join({ "--without-window", "--peers", "127.0.0.1:9" });
    QCOMPARE(result.value("network").toString(), QStringLiteral("127.0.0.1 %1 127.0.0.1:9  ").arg(_port));
    QVERIFY(result.value("isConnected").toBool());
    QVERIFY(!result.value("isSecured").toBool());
}

void tst_host_network::aSecuredNetworkIsLeftByTakingAwayBothPathsAlone()
{
    QVERIFY(join(QStringList { "--without-window", "--port", _port } + secured("plant")).value("isSecured").toBool());
    const QJsonObject opened = join({ "--without-window", "--opened" });
    QVERIFY(opened.value("isConnected").toBool());
    QVERIFY(!opened.value("isSecured").toBool());
    const QJsonObject next = join({ "--without-window", "--device", "lo" });
    QVERIFY(next.value("isConnected").toBool());
    QVERIFY(!next.value("isSecured").toBool());
}

void tst_host_network::onePathFromTheEnvironmentIsRefusedAndNotFilledUp()
{
    QVERIFY(join(QStringList { "--without-window", "--port", _port } + secured("plant")).value("isSecured").toBool());
    const QJsonObject result = join({ "--without-window" }, { "QNY_PRIVATE_CERTIFICATE=" + certificate("other") });
    QVERIFY(!result.value("isStarted").toBool());
    QVERIFY(!result.value("isConnected").toBool());
    QVERIFY2(result.value("error").toString().contains("public"), qPrintable(result.value("error").toString()));
}

void tst_host_network::rememberedCertificatesThatAreGoneOpenTheWindowAndNoNetwork_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QStringList>("environment");
    QTest::newRow("nothing is named") << QStringList() << QStringList();
    QTest::newRow("a device is named") << QStringList { "--device", "lo" } << QStringList();
    QTest::newRow("the environment names one") << QStringList() << QStringList("QNY_DEVICE=lo");
    QTest::newRow("the plant is asked for") << QStringList("--with-plant") << QStringList();
}

void tst_host_network::rememberedCertificatesThatAreGoneOpenTheWindowAndNoNetwork()
{
    QFETCH(QStringList, arguments);
    QFETCH(QStringList, environment);
    QVERIFY(join(QStringList { "--without-window", "--port", _port } + secured("plant")).value("isSecured").toBool());
    QVERIFY(QFile::rename(certificate("plant"), certificate("plant") + "_away"));
    const QJsonObject result = join(arguments, environment);
    QVERIFY2(result.value("isStarted").toBool(), qPrintable(result.value("error").toString()));
    QVERIFY(!result.value("isConnected").toBool());
    QVERIFY2(result.value("notices").toString().contains(certificate("plant")),
        qPrintable(result.value("notices").toString()));
    QVERIFY(!result.value("isPlantRunning").toBool());
    // Where no window can change it, the host does not start.
    const QJsonObject windowless = join(QStringList("--without-window") + arguments, environment);
    QVERIFY(!windowless.value("isStarted").toBool());
    QVERIFY(!windowless.value("isConnected").toBool());
    // They are remembered all the same.
    QVERIFY(QFile::rename(certificate("plant") + "_away", certificate("plant")));
    QVERIFY(join({ "--without-window" }).value("isSecured").toBool());
}

void tst_host_network::pathsAreRememberedAsTheyAreFoundFromAnyFolder()
{
    QVERIFY(
        join({ "--without-window", "--port", _port, "--qnyCert", "plant/host.cert_secret", "--publicCerts", "plant" })
            .value("isSecured")
            .toBool());
    const QJsonObject result = join({ "--without-window" }, {}, "/");
    QVERIFY2(result.value("isSecured").toBool(), qPrintable(result.value("error").toString()));
    // The environment's, too.
    QVERIFY(join(
        { "--without-window" }, { "QNY_PRIVATE_CERTIFICATE=other/host.cert_secret", "QNY_PUBLIC_CERTIFICATES=other" })
            .value("isSecured")
            .toBool());
    QVERIFY(join({ "--without-window" }, {}, "/").value("network").toString().endsWith("other"));
}

void tst_host_network::settingsThatCannotBeReadOpenTheWindowAndNoNetwork()
{
    const QString settings = _folder->filePath("config/corvane/corvane.conf");
    QVERIFY(QDir().mkpath(settings)); // a folder in the place of the file
    const QJsonObject result = join({ "--port", _port });
    QVERIFY(!result.value("isConnected").toBool());
    QVERIFY2(result.value("isStarted").toBool(), qPrintable(result.value("error").toString()));
    QVERIFY2(result.value("notices").toString().contains(settings), qPrintable(result.value("notices").toString()));
    // Whoever names the certificates is not asked for others.
    QVERIFY(join(QStringList { "--without-window", "--port", _port } + secured("plant")).value("isSecured").toBool());
}

int main(int argc, char** argv)
{
    if (argc > 1 && qstrcmp(argv[1], "--join") == 0) {
        const QApplication application(argc, argv);
        QStringList arguments = QCoreApplication::arguments();
        arguments.removeAt(1);
        return join(arguments);
    }
    QCoreApplication application(argc, argv);
    tst_host_network test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_host_network.moc"
