// SPDX-License-Identifier: Apache-2.0
#include "modulefixture.h"

#include "recorderoptions.h"

#include <corvaneutils.h>

#include <QtCore/QProcess>
#include <QtTest/QSignalSpy>

namespace {

QString lineOf(const RecorderInstance* instance)
{
    return instance->encounteredAgentInfo()->commandLine();
}

/// The value of an option in the instance's launch line; null without it.
QString optionOf(const RecorderInstance* instance, const QString& longOption)
{
    return CorvaneUtils::optionValue(lineOf(instance), longOption, QString());
}

bool hasFlag(const RecorderInstance* instance, const QString& longOption)
{
    return QProcess::splitCommand(lineOf(instance)).contains(longOption);
}

} // namespace

class tst_RecorderSettings : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theOptionsHaveTheirLongAndShortNames();
    void settingsAreReadFromTheCommandLine();
    void shortOptionsAreReadToo();
    void unknownOptionsAndErrorsAreIgnored();
    void anEmptyCommandLineIsWarnedOfAndChangesNothing();
    void aPasswordInTheCommandLineIsNeverReadBack();
    void endpointsAreNormalised_data();
    void endpointsAreNormalised();
    void anEmptyEndpointTurnsOfflineModeOn();
    void endpointSignalsComeInOrder();
    void keyspacesAreCleaned();
    void theKeyspaceIsWrittenOnlyWhileItIsUsed();
    void anEmptyKeyspaceIsNeverWritten();
    void authenticationWithoutUserNameChangesNoCommandLine();
    void authenticationIsWrittenAndRemoved();
    void aPasswordKeepsItsBlanks();
    void securityTurnedOffAndOnRestoresBothCertificates();
    void certificatePathsAreComparedTrimmedAndStoredAsGiven();
    void flagsAreWrittenAndRemoved();
    void anEqualValueChangesNothingAndWritesNothing();
    void everySetterSignalsOnceForARealChange();
};

void tst_RecorderSettings::theOptionsHaveTheirLongAndShortNames()
{
    const auto names = [](QLatin1StringView longName, QLatin1StringView shortName) {
        return longName + QLatin1StringView(" ") + shortName;
    };
    QCOMPARE(names(RECORDER_NAME_LONG_OPTION_NAME, RECORDER_NAME_SHORT_OPTION_NAME), "name n");
    QCOMPARE(names(RECORDER_CASSANDRA_LONG_OPTION_NAME, RECORDER_CASSANDRA_SHORT_OPTION_NAME), "cassandra c");
    QCOMPARE(names(RECORDER_KEYSPACE_LONG_OPTION_NAME, RECORDER_KEYSPACE_SHORT_OPTION_NAME), "keyspace k");
    QCOMPARE(names(RECORDER_USERNAME_LONG_OPTION_NAME, RECORDER_USERNAME_SHORT_OPTION_NAME), "cassandra_username u");
    QCOMPARE(names(RECORDER_PASSWORD_LONG_OPTION_NAME, RECORDER_PASSWORD_SHORT_OPTION_NAME), "cassandra_password a");
    QCOMPARE(names(RECORDER_VERBOSE_LONG_OPTION_NAME, RECORDER_VERBOSE_SHORT_OPTION_NAME), "verbose v");
    QCOMPARE(names(RECORDER_PRIVATECERT_LONG_OPTION_NAME, RECORDER_PRIVATECERT_SHORT_OPTION_NAME), "qnyCert 1");
    QCOMPARE(names(RECORDER_PUBLICCERTS_LONG_OPTION_NAME, RECORDER_PUBLICCERTS_SHORT_OPTION_NAME), "publicCerts 2");
    QCOMPARE(names(RECORDER_TIMESTAMPED_REPLAY_LONG_OPTION_NAME, RECORDER_TIMESTAMPED_REPLAY_SHORT_OPTION_NAME),
        "timestamped_replay 5");
    QCOMPARE(DEFAULT_CASSANDRA_PORT_STRING, "9042");
}

void tst_RecorderSettings::settingsAreReadFromTheCommandLine()
{
    ModuleFixture fixture;
    const RecorderInstance* const instance = fixture.firstInstanceOf(fixture.addRecorder("Rec",
        ModuleFixture::commandLine({ "--name", "Rec", "--verbose", "--cassandra", "db", "--keyspace", "plant",
            "--qnyCert", "/certs/my agent.cert", "--publicCerts", "/certs/public", "--timestamped_replay" })));
    QVERIFY(instance->isVerbose());
    QCOMPARE(instance->cassandraEndpoint(), "db:9042");
    QCOMPARE(instance->cassandraEndpointUrl(), QUrl("tcp://db:9042"));
    QVERIFY(!instance->offlineMode());
    QVERIFY(instance->useCustomKeyspace());
    QCOMPARE(instance->customKeyspace(), "plant");
    QVERIFY(instance->isQuenarySecurityActivate());
    QCOMPARE(instance->privateAgentCertificateFilePath(), "/certs/my agent.cert");
    QCOMPARE(instance->publicCertificatesDirectoryPath(), "/certs/public");
    QVERIFY(instance->isInTimestampedReplayMode());
    QCOMPARE(instance->defaultCommandLine(), lineOf(instance));
}

void tst_RecorderSettings::shortOptionsAreReadToo()
{
    ModuleFixture fixture;
    const RecorderInstance* const instance = fixture.firstInstanceOf(fixture.addRecorder("Rec",
        ModuleFixture::commandLine({ "-n", "Rec", "-v", "-c", "db:1", "-k", "plant", "-1", "/a", "-2", "/b", "-5" })));
    QVERIFY(instance->isVerbose());
    QCOMPARE(instance->cassandraEndpoint(), "db:1");
    QCOMPARE(instance->customKeyspace(), "plant");
    QCOMPARE(instance->privateAgentCertificateFilePath(), "/a");
    QCOMPARE(instance->publicCertificatesDirectoryPath(), "/b");
    QVERIFY(instance->isInTimestampedReplayMode());
}

void tst_RecorderSettings::unknownOptionsAndErrorsAreIgnored()
{
    ModuleFixture fixture;
    const RecorderInstance* const instance = fixture.firstInstanceOf(fixture.addRecorder(
        "Rec", ModuleFixture::commandLine({ "--unknown", "x", "--verbose=what", "stray", "--cassandra", "db:9042" })));
    QCOMPARE(instance->cassandraEndpoint(), "db:9042");
    QVERIFY(!instance->isQuenarySecurityActivate());
}

void tst_RecorderSettings::anEmptyCommandLineIsWarnedOfAndChangesNothing()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.firstInstanceOf(fixture.addRecorder("Rec"));
    EncounteredAgentInfo empty(QString(), QString(), instance->encounteredAgentsOnHost());
    QTest::ignoreMessage(QtWarningMsg, "Recorder: can not extract data from an empty command line");
    instance->onEncounteredAgentsOnHostCreated(instance->encounteredAgentsOnHost(), &empty);
    QCOMPARE(instance->cassandraEndpoint(), "db:9042");
    QCOMPARE(instance->defaultCommandLine(), ModuleFixture::commandLine({ "--name", "Rec", "--cassandra", "db:9042" }));
}

void tst_RecorderSettings::aPasswordInTheCommandLineIsNeverReadBack()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.firstInstanceOf(fixture.addRecorder("Rec",
        ModuleFixture::commandLine(
            { "--cassandra", "db", "--cassandra_username", "me", "--cassandra_password", "secret" })));
    QCOMPARE(instance->username(), "");
    QCOMPARE(instance->password(), "");
    QVERIFY(!instance->useAuthentication());
    // Nor are those that were typed lost when the line is read again.
    instance->updateUsername("you");
    instance->updatePassword("other");
    instance->updateUseAuthentication(true);
    instance->onEncounteredAgentsOnHostCreated(instance->encounteredAgentsOnHost(), instance->encounteredAgentInfo());
    QCOMPARE(instance->username(), "you");
    QCOMPARE(instance->password(), "other");
    QVERIFY(instance->useAuthentication());
}

void tst_RecorderSettings::endpointsAreNormalised_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("endpoint");
    QTest::newRow("host") << "db" << "db:9042";
    QTest::newRow("host and port") << " db:7000 " << "db:7000";
    QTest::newRow("with scheme") << "tcp://db:7000" << "db:7000";
    QTest::newRow("with scheme, without port") << "tcp://db" << "db:9042";
    QTest::newRow("address") << "127.0.0.1" << "127.0.0.1:9042";
    QTest::newRow("address of IPv6") << "[::1]:7000" << "::1:7000";
    QTest::newRow("address of IPv6 as it is written back") << "::1:7000" << "::1:7000";
    QTest::newRow("address of IPv6, without port") << "[::1]" << "::1:9042";
    QTest::newRow("address of IPv6, without port or brackets") << "::1" << "::1:9042";
    QTest::newRow("address of IPv6 in eight groups") << "[1:2:3:4:5:6:7:8]" << "1:2:3:4:5:6:7:8:9042";
    QTest::newRow("eight groups as they are written back") << "1:2:3:4:5:6:7:8:9042" << "1:2:3:4:5:6:7:8:9042";
    QTest::newRow("address of IPv6 with a device") << "fe80::1%eth0" << "fe80::1%eth0:9042";
    QTest::newRow("address of IPv6 with a device and a port") << "[fe80::1%25eth0]:7000" << "fe80::1%eth0:7000";
    QTest::newRow("the same as it is written back") << "fe80::1%eth0:7000" << "fe80::1%eth0:7000";
    QTest::newRow("address of IPv6 with one of IPv4 in it") << "::ffff:127.0.0.1" << "::ffff:127.0.0.1:9042";
    QTest::newRow("two colons that are no address") << "db:9000:1" << ":1";
    QTest::newRow("nine groups and no port") << "1:2:3:4:5:6:7:8:9:a" << ":9042";
    QTest::newRow("port out of range") << "db:99999" << "db:9042";
    QTest::newRow("blanks") << "   " << "";
}

void tst_RecorderSettings::endpointsAreNormalised()
{
    QFETCH(QString, typed);
    QFETCH(QString, endpoint);
    ModuleFixture fixture;
    RecorderInstance* const instance
        = fixture.firstInstanceOf(fixture.addRecorder("Rec", ModuleFixture::commandLine({ "-c", "other:1" })));
    instance->updateCassandraEndpoint(typed);
    QCOMPARE(instance->cassandraEndpoint(), endpoint);
    QCOMPARE(CorvaneUtils::optionValue(lineOf(instance), "--cassandra", "-c"), endpoint);
}

void tst_RecorderSettings::anEmptyEndpointTurnsOfflineModeOn()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.firstInstanceOf(fixture.addRecorder("Rec"));
    QVERIFY(!instance->offlineMode());
    instance->updateCassandraEndpoint("  ");
    QVERIFY(instance->offlineMode());
    QCOMPARE(instance->cassandraEndpointUrl(), QUrl());
    QVERIFY(!lineOf(instance).contains("--cassandra"));
}

void tst_RecorderSettings::endpointSignalsComeInOrder()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.firstInstanceOf(fixture.addRecorder("Rec"));
    QStringList order;
    connect(instance, &RecorderInstance::cassandraEndpointChanged, this, [&] { order.append("endpoint"); });
    connect(instance, &RecorderInstance::cassandraEndpointUrlChanged, this, [&] { order.append("url"); });
    connect(instance, &RecorderInstance::offlineModeChanged, this, [&] { order.append("offline"); });
    instance->updateCassandraEndpoint("db"); // what it is already
    QCOMPARE(order, QStringList());
    instance->updateCassandraEndpoint("other");
    QCOMPARE(order, QStringList({ "endpoint", "url", "offline" }));
}

void tst_RecorderSettings::keyspacesAreCleaned()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.firstInstanceOf(fixture.addRecorder("Rec"));
    instance->updateCustomKeyspace(" my-key space! ");
    QCOMPARE(instance->customKeyspace(), "mykeyspace");
}

void tst_RecorderSettings::theKeyspaceIsWrittenOnlyWhileItIsUsed()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.firstInstanceOf(fixture.addRecorder("Rec"));
    const QString before = lineOf(instance);
    instance->updateCustomKeyspace("plant");
    QCOMPARE(lineOf(instance), before);
    instance->updateUseCustomKeyspace(true);
    QCOMPARE(optionOf(instance, "--keyspace"), "plant");
    instance->updateCustomKeyspace("other");
    QCOMPARE(optionOf(instance, "--keyspace"), "other");
    instance->updateUseCustomKeyspace(false);
    QCOMPARE(lineOf(instance), before);
    QCOMPARE(instance->customKeyspace(), "other");
}

void tst_RecorderSettings::anEmptyKeyspaceIsNeverWritten()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.firstInstanceOf(fixture.addRecorder("Rec"));
    const QString before = lineOf(instance);
    instance->updateUseCustomKeyspace(true);
    QVERIFY(instance->useCustomKeyspace());
    QCOMPARE(lineOf(instance), before);
    instance->updateCustomKeyspace("plant");
    QCOMPARE(optionOf(instance, "--keyspace"), "plant");
    // Emptied, it goes from the line; switched off, nothing is left to take out.
    instance->updateCustomKeyspace(" ! ");
    QCOMPARE(instance->customKeyspace(), "");
    QCOMPARE(lineOf(instance), before);
    instance->updateUseCustomKeyspace(false);
    QCOMPARE(lineOf(instance), before);
}

void tst_RecorderSettings::authenticationWithoutUserNameChangesNoCommandLine()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.firstInstanceOf(fixture.addRecorder("Rec"));
    const QString before = lineOf(instance);
    instance->updatePassword("secret");
    instance->updateUseAuthentication(true);
    QVERIFY(instance->useAuthentication());
    QCOMPARE(lineOf(instance), before);
}

void tst_RecorderSettings::authenticationIsWrittenAndRemoved()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.firstInstanceOf(fixture.addRecorder("Rec"));
    const QString before = lineOf(instance);
    instance->updateUsername("  me ");
    instance->updatePassword("secret");
    QCOMPARE(lineOf(instance), before);
    instance->updateUseAuthentication(true);
    QCOMPARE(optionOf(instance, "--cassandra_username"), "me");
    QCOMPARE(optionOf(instance, "--cassandra_password"), "secret");
    instance->updateUsername("you");
    QCOMPARE(optionOf(instance, "--cassandra_username"), "you");
    instance->updateUseAuthentication(false);
    QCOMPARE(lineOf(instance), before);
    QCOMPARE(instance->username(), "you");
}

void tst_RecorderSettings::aPasswordKeepsItsBlanks()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.firstInstanceOf(fixture.addRecorder("Rec"));
    instance->updateUsername("me");
    instance->updateUseAuthentication(true);
    instance->updatePassword(" my secret ");
    QCOMPARE(instance->password(), " my secret ");
    QCOMPARE(optionOf(instance, "--cassandra_password"), " my secret ");
}

void tst_RecorderSettings::securityTurnedOffAndOnRestoresBothCertificates()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.firstInstanceOf(fixture.addRecorder("Rec"));
    const QString before = lineOf(instance);
    instance->updatePrivateAgentCertificateFilePath("/certs/my.cert");
    instance->updatePublicCertificatesDirectoryPath("/certs/public");
    QCOMPARE(lineOf(instance), before);
    instance->updateIsQuenarySecurityActivate(true);
    const QString secured = lineOf(instance);
    QCOMPARE(optionOf(instance, "--qnyCert"), "/certs/my.cert");
    QCOMPARE(optionOf(instance, "--publicCerts"), "/certs/public");
    QVERIFY(secured.indexOf("--publicCerts") < secured.indexOf("--qnyCert"));

    QSignalSpy stored(instance->encounteredAgentInfo(), &EncounteredAgentInfo::commandLineChanged);
    instance->updateIsQuenarySecurityActivate(false);
    QCOMPARE(lineOf(instance), before);
    QCOMPARE(stored.count(), 1);
    instance->updateIsQuenarySecurityActivate(true);
    QCOMPARE(lineOf(instance), secured);
    QCOMPARE(stored.count(), 2);
}

void tst_RecorderSettings::certificatePathsAreComparedTrimmedAndStoredAsGiven()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.firstInstanceOf(fixture.addRecorder("Rec"));
    instance->updateIsQuenarySecurityActivate(true);
    instance->updatePrivateAgentCertificateFilePath(" /a.cert ");
    QCOMPARE(instance->privateAgentCertificateFilePath(), " /a.cert ");
    QCOMPARE(optionOf(instance, "--qnyCert"), " /a.cert ");
    instance->updatePrivateAgentCertificateFilePath("/a.cert");
    QCOMPARE(instance->privateAgentCertificateFilePath(), "/a.cert");
    instance->updatePrivateAgentCertificateFilePath("  /a.cert");
    QCOMPARE(instance->privateAgentCertificateFilePath(), "/a.cert");

    instance->updatePublicCertificatesDirectoryPath("/public");
    instance->updatePublicCertificatesDirectoryPath(" /public ");
    QCOMPARE(instance->publicCertificatesDirectoryPath(), "/public");
}

void tst_RecorderSettings::flagsAreWrittenAndRemoved()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.firstInstanceOf(fixture.addRecorder("Rec"));
    const QString before = lineOf(instance);
    instance->updateIsVerbose(true);
    instance->updateTimestampedReplayMode(true);
    QVERIFY(hasFlag(instance, "--verbose"));
    QVERIFY(hasFlag(instance, "--timestamped_replay"));
    instance->updateIsVerbose(false);
    instance->updateTimestampedReplayMode(false);
    QCOMPARE(lineOf(instance), before);

    RecorderInstance* const inShort = fixture.firstInstanceOf(
        fixture.addRecorder("Short", ModuleFixture::commandLine({ "-v", "-5", "-c", "db:1" })));
    inShort->updateIsVerbose(false);
    inShort->updateTimestampedReplayMode(false);
    QCOMPARE(lineOf(inShort), ModuleFixture::commandLine({ "-c", "db:1" }));
    inShort->updateCassandraEndpoint("");
    QCOMPARE(lineOf(inShort), ModuleFixture::executablePath());
}

void tst_RecorderSettings::anEqualValueChangesNothingAndWritesNothing()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.firstInstanceOf(fixture.addRecorder("Rec",
        ModuleFixture::commandLine({ "--verbose", "--cassandra", "db:9042", "--keyspace", "plant", "--qnyCert", "/a",
            "--publicCerts", "/b", "--timestamped_replay" })));
    QSignalSpy stored(instance->encounteredAgentInfo(), &EncounteredAgentInfo::commandLineChanged);
    int signalCount = 0;
    const QMetaObject& metaObject = RecorderInstance::staticMetaObject;
    std::vector<std::unique_ptr<QSignalSpy>> spies;
    for (int i = metaObject.methodOffset(); i < metaObject.methodCount(); ++i) {
        if (metaObject.method(i).methodType() == QMetaMethod::Signal) {
            spies.push_back(std::make_unique<QSignalSpy>(instance, metaObject.method(i)));
        }
    }
    instance->updateIsVerbose(true);
    instance->updateCassandraEndpoint("db:9042");
    instance->updateUseCustomKeyspace(true);
    instance->updateCustomKeyspace("plant");
    instance->updateUseAuthentication(false);
    instance->updateUsername("");
    instance->updatePassword("");
    instance->updateIsQuenarySecurityActivate(true);
    instance->updatePrivateAgentCertificateFilePath("/a");
    instance->updatePublicCertificatesDirectoryPath("/b");
    instance->updateTimestampedReplayMode(true);
    for (const auto& spy : spies) {
        signalCount += static_cast<int>(spy->count());
    }
    QCOMPARE(signalCount, 0);
    QCOMPARE(stored.count(), 0);
}

void tst_RecorderSettings::everySetterSignalsOnceForARealChange()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.firstInstanceOf(fixture.addRecorder("Rec"));
    const auto check = [instance](auto setter, const auto& value, const char* property) {
        const QMetaObject& metaObject = RecorderInstance::staticMetaObject;
        const QMetaProperty metaProperty = metaObject.property(metaObject.indexOfProperty(property));
        QSignalSpy spy(instance, metaProperty.notifySignal());
        (instance->*setter)(value);
        (instance->*setter)(value);
        QVERIFY2(metaProperty.read(instance) == QVariant(value), property);
        QVERIFY2(spy.count() == 1, property);
    };
    using Instance = RecorderInstance;
    check(&Instance::updateIsVerbose, true, "isVerbose");
    check(&Instance::updateCassandraEndpoint, QString("db:1"), "cassandraEndpoint");
    check(&Instance::updateUseCustomKeyspace, true, "useCustomKeyspace");
    check(&Instance::updateCustomKeyspace, QString("plant"), "customKeyspace");
    check(&Instance::updateUseAuthentication, true, "useAuthentication");
    check(&Instance::updateUsername, QString("me"), "username");
    check(&Instance::updatePassword, QString("secret"), "password");
    check(&Instance::updateIsQuenarySecurityActivate, true, "isQuenarySecurityActivate");
    check(&Instance::updatePrivateAgentCertificateFilePath, QString("/a"), "privateAgentCertificateFilePath");
    check(&Instance::updatePublicCertificatesDirectoryPath, QString("/b"), "publicCertificatesDirectoryPath");
    check(&Instance::updateTimestampedReplayMode, true, "isInTimestampedReplayMode");
    check(&Instance::setrecordFilters, QString("-tank"), "recordFilters");
}

QTEST_MAIN(tst_RecorderSettings)
#include "tst_recordersettings.moc"
