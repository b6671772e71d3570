// SPDX-License-Identifier: Apache-2.0
#include "pages.h"
#include "pagetest.h"

#include <networkconfiguration.h>
#include <systemdocument.h>
#include <systemdocumenthandler.h>
#include <systemviewclassinstance.h>

#include <QtCore/QProcess>

/// The settings of a recorder, each from its control to the launch line.
class ConfigurationTabTests : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theSectionsStandInTheirOrderWithTheirTexts();
    void aCheckBoxSwitchesItsSetting_data();
    void aCheckBoxSwitchesItsSetting();
    void aFieldWritesItsSetting_data();
    void aFieldWritesItsSetting();
    void theDatabaseIsChosenByItsHostAndPort_data();
    void theDatabaseIsChosenByItsHostAndPort();
    void aDatabaseWithoutAHostOrAPortSaysWhyAndChangesNothing_data();
    void aDatabaseWithoutAHostOrAPortSaysWhyAndChangesNothing();
    void theDatabaseStaysShownWhileTheRecorderIsOnAndHasOne();
    void thePasswordIsMaskedUnlessItIsToBeShown();
    void theFieldsFollowTheSettings();
    void nothingCanBeChangedWhileTheRecorderIsOn();
    void whatIsTypedWhenTheAgentStartsIsKeptAndSaidToBeNoValue_data();
    void whatIsTypedWhenTheAgentStartsIsKeptAndSaidToBeNoValue();
    void aRunningRecorderShowsOnlyTheSectionsThatAreChecked();
    void theSecurityWarningIsThereWhileOnlyTheRecorderIsSecured();
    void aCertificateIsChosenInADialog();
    void filesOfOtherMachinesCanNotBeChosen();
    void filtersCanBeAppliedWhileTheRecorderIsOnAndHasADatabase();
    void aPressAnywhereInTheFiltersFrameIsOneInTheText();
    void filtersThatAreNotInForceAreMarked();
    void whatIsTypedInTheFiltersStaysWhenOthersComeIntoForce();
};

namespace {

const QStringList SECTIONS { "verboseSection", "keyspaceSection", "authenticationSection", "securitySection",
    "timestampedReplaySection" };

class Settings : public Pages
{
public:
    explicit Settings(bool hasDatabase = true)
        : instance(fixture.firstInstanceOf(fixture.addRecorder("Plant",
              hasDatabase ? QString() : ModuleFixture::commandLine({ "--name", "Plant" }))))
    {
        open(instance, Pages::Configuration);
        for (const QString& section : SECTIONS) {
            sections.insert(section, item(section));
        }
    }
    QStringList arguments() const { return QProcess::splitCommand(instance->encounteredAgentInfo()->commandLine()); }
    QQuickItem* box(const QString& section) const
    {
        // Of a section that is shown or not.
        const auto* const labelled = sections.value(section)->property("box").value<QQuickItem*>();
        return labelled->property("box").value<QQuickItem*>();
    }
    void toggle(const QString& section)
    {
        box(section)->forceActiveFocus(Qt::TabFocusReason);
        key(Qt::Key_Space);
    }

    RecorderInstance* instance;
    QHash<QString, QQuickItem*> sections;
};

} // namespace

void ConfigurationTabTests::theSectionsStandInTheirOrderWithTheirTexts()
{
    const Settings pages;
    const QStringList texts { "Verbose", "Custom keyspace", "User", "Quenary security", "Timestamped replay" };
    double y = -1;
    for (qsizetype i = 0; i < SECTIONS.size(); ++i) {
        QCOMPARE(pages.text(SECTIONS.at(i)), texts.at(i));
        QVERIFY(pages.item(SECTIONS.at(i))->y() > y);
        y = pages.item(SECTIONS.at(i))->y();
        QVERIFY(pages.property(SECTIONS.at(i), "hasSeparator").toBool());
    }
    QVERIFY(pages.item("filtersSection")->y() > y);
    QCOMPARE(pages.property("keyspaceField", "placeholderText").toString(), "Chosen keyspace");
    QCOMPARE(pages.property("usernameField", "placeholderText").toString(), "Username");
    QCOMPARE(pages.property("passwordField", "placeholderText").toString(), "Password");
    QCOMPARE(pages.text("showPasswordBox"), "Show password");
    QCOMPARE(pages.property("privateCertificate", "label").toString(), "Private agent certificate");
    QCOMPARE(pages.property("publicCertificates", "label").toString(), "Public certificates directory");
    QCOMPARE(pages.text("applyFiltersButton"), "APPLY");
}

void ConfigurationTabTests::aCheckBoxSwitchesItsSetting_data()
{
    QTest::addColumn<QString>("section");
    QTest::addColumn<QByteArray>("property");
    QTest::newRow("verbose") << "verboseSection" << QByteArray("isVerbose");
    QTest::newRow("keyspace") << "keyspaceSection" << QByteArray("useCustomKeyspace");
    QTest::newRow("user") << "authenticationSection" << QByteArray("useAuthentication");
    QTest::newRow("security") << "securitySection" << QByteArray("isQuenarySecurityActivate");
    QTest::newRow("timestamped replay") << "timestampedReplaySection" << QByteArray("isInTimestampedReplayMode");
}

void ConfigurationTabTests::aCheckBoxSwitchesItsSetting()
{
    QFETCH(const QString, section);
    QFETCH(const QByteArray, property);
    Settings pages;
    const QStringList before = pages.arguments();
    QCOMPARE(pages.property(section, "value").toBool(), false);
    pages.toggle(section);
    QCOMPARE(pages.instance->property(property.constData()).toBool(), true);
    QCOMPARE(pages.box(section)->property("checkState").toInt(), int(Qt::Checked));
    // With the mouse as well.
    QQuickItem* const box = pages.box(section);
    QTest::mouseClick(&pages.window, Qt::LeftButton, {}, box->mapToScene(QPointF(8, box->height() / 2)).toPoint());
    Pages::settle();
    QCOMPARE(pages.instance->property(property.constData()).toBool(), false);
    QCOMPARE(pages.box(section)->property("checkState").toInt(), int(Qt::Unchecked));
    QCOMPARE(pages.arguments(), before);
}

void ConfigurationTabTests::aFieldWritesItsSetting_data()
{
    QTest::addColumn<QString>("section");
    QTest::addColumn<QString>("field");
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QByteArray>("property");
    QTest::addColumn<QString>("option");
    QTest::newRow("keyspace") << "keyspaceSection" << "keyspaceField" << "plant_2026" << QByteArray("customKeyspace") << "--keyspace";
    QTest::newRow("user name") << "authenticationSection" << "usernameField" << "operator" << QByteArray("username") << "--cassandra_username";
    QTest::newRow("password") << "authenticationSection" << "passwordField" << "a b\"c" << QByteArray("password") << "--cassandra_password";
    QTest::newRow("private certificate") << "securitySection" << "privateCertificate/pathField" << "/etc/quenary/own cert" << QByteArray("privateAgentCertificateFilePath") << "--qnyCert";
    QTest::newRow("public certificates") << "securitySection" << "publicCertificates/pathField" << "/etc/quenary/others" << QByteArray("publicCertificatesDirectoryPath") << "--publicCerts";
}

void ConfigurationTabTests::aFieldWritesItsSetting()
{
    QFETCH(const QString, section);
    QFETCH(const QString, field);
    QFETCH(const QString, typed);
    QFETCH(const QByteArray, property);
    QFETCH(const QString, option);
    Settings pages;
    pages.toggle(section);
    pages.fill(field, typed, false);
    QCOMPARE(pages.instance->property(property.constData()).toString(), "");
    pages.key(Qt::Key_Return);
    QCOMPARE(pages.instance->property(property.constData()).toString(), typed);
    QCOMPARE(pages.text(field), typed);
    const QStringList arguments = pages.arguments();
    QVERIFY2(arguments.contains(option), qPrintable(arguments.join(u' ')));
    QCOMPARE(arguments.value(arguments.indexOf(option) + 1), typed);
}

void ConfigurationTabTests::theDatabaseIsChosenByItsHostAndPort_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("endpoint");
    QTest::newRow("a node") << "node-1.plant.example:9142" << "node-1.plant.example:9142";
    QTest::newRow("the built-in store") << "embedded:1" << "embedded:1";
    QTest::newRow("an address") << "127.0.0.1:9042" << "127.0.0.1:9042";
    QTest::newRow("an address of IPv6") << "::1:9042" << "::1:9042";
    QTest::newRow("the same in brackets") << "[::1]:9042" << "::1:9042";
    QTest::newRow("with blanks around") << "  node:7000 " << "node:7000";
    QTest::newRow("with its scheme") << "tcp://node:7000" << "node:7000";
    QTest::newRow("the highest port") << "node:65535" << "node:65535";
}

void ConfigurationTabTests::theDatabaseIsChosenByItsHostAndPort()
{
    QFETCH(const QString, typed);
    QFETCH(const QString, endpoint);
    for (const bool hadDatabase : { true, false }) {
        Settings pages(hadDatabase);
        const QString before = pages.instance->cassandraEndpoint();
        QCOMPARE(pages.text("databaseField"), before);
        QCOMPARE(pages.instance->offlineMode(), !hadDatabase);
        pages.fill("databaseField", typed, false);
        QVERIFY(!pages.isShown("databaseProblem"));
        QCOMPARE(pages.instance->cassandraEndpoint(), before);
        pages.key(Qt::Key_Return);
        QCOMPARE(pages.instance->cassandraEndpoint(), endpoint);
        QCOMPARE(pages.text("databaseField"), endpoint);
        QVERIFY(!pages.instance->offlineMode());
        const QStringList arguments = pages.arguments();
        QCOMPARE(arguments.count("--cassandra"), 1);
        QCOMPARE(arguments.value(arguments.indexOf("--cassandra") + 1), endpoint);
    }
}

void ConfigurationTabTests::aDatabaseWithoutAHostOrAPortSaysWhyAndChangesNothing_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("problem");
    const QString form = "Type a host and a port, such as db:9042";
    const QString port = "A port is a number from 1 to 65535";
    const QString host = "This is no name or address of a host";
    QTest::newRow("nothing") << "" << "Cannot be empty";
    QTest::newRow("blanks") << "   " << "Cannot be empty";
    QTest::newRow("no port") << "node" << form;
    QTest::newRow("an empty port") << "node:" << form;
    QTest::newRow("a port of letters") << "node:http" << form;
    QTest::newRow("a path") << "node:9042/records" << form;
    QTest::newRow("port 0") << "node:0" << port;
    QTest::newRow("port 70000") << "node:70000" << port;
    QTest::newRow("no host") << ":9042" << host;
    QTest::newRow("a blank in the host") << "my node:9042" << host;
    QTest::newRow("two dots") << "node..example:9042" << host;
    QTest::newRow("two hosts") << "a:1:b:9042" << host;
    QTest::newRow("half an address") << "fe80::1" << host;
    QTest::newRow("a user") << "me@node:9042" << host;
}

void ConfigurationTabTests::aDatabaseWithoutAHostOrAPortSaysWhyAndChangesNothing()
{
    QFETCH(const QString, typed);
    QFETCH(const QString, problem);
    Settings pages;
    const QStringList before = pages.arguments();
    const QString endpoint = pages.instance->cassandraEndpoint();
    QVERIFY(!endpoint.isEmpty());
    pages.fill("databaseField", typed, false);
    QCOMPARE(pages.texts("databaseProblem"), QStringList(problem));
    QVERIFY(pages.property("databaseField", "isWrong").toBool());
    pages.key(Qt::Key_Return);
    QCOMPARE(pages.instance->cassandraEndpoint(), endpoint);
    QCOMPARE(pages.arguments(), before);
    QCOMPARE(pages.text("databaseField"), endpoint);
    QVERIFY(!pages.isShown("databaseProblem"));
}

void ConfigurationTabTests::theDatabaseStaysShownWhileTheRecorderIsOnAndHasOne()
{
    {
        Settings offline(false);
        QVERIFY(offline.isShown("databaseSection"));
        ModuleFixture::run(offline.instance);
        QVERIFY(!offline.isShown("databaseSection"));
    }
    Settings pages;
    QCOMPARE(pages.text("databaseSection"), "Database");
    QVERIFY(pages.item("databaseSection")->y() < pages.item("keyspaceSection")->y());
    QVERIFY(pages.hint("databaseField").contains("embedded"));
    ModuleFixture::run(pages.instance);
    QVERIFY(!pages.isAvailable("databaseField"));
    QCOMPARE(pages.hint("databaseField"), "Disconnect the recorder to change its settings");
}

void ConfigurationTabTests::thePasswordIsMaskedUnlessItIsToBeShown()
{
    Settings pages;
    constexpr int NORMAL = 0;
    constexpr int PASSWORD = 2;
    QCOMPARE(pages.property("usernameField", "echoMode").toInt(), NORMAL);
    QCOMPARE(pages.property("passwordField", "echoMode").toInt(), PASSWORD);
    pages.click("showPasswordBox");
    QCOMPARE(pages.property("passwordField", "echoMode").toInt(), NORMAL);
    pages.click("showPasswordBox");
    QCOMPARE(pages.property("passwordField", "echoMode").toInt(), PASSWORD);
}

void ConfigurationTabTests::theFieldsFollowTheSettings()
{
    Settings pages;
    pages.instance->updateIsVerbose(true);
    pages.instance->updateCustomKeyspace("k");
    pages.instance->updateUsername("u");
    pages.instance->updatePassword("p");
    pages.instance->updatePrivateAgentCertificateFilePath("/a");
    pages.instance->updatePublicCertificatesDirectoryPath("/b");
    Pages::settle();
    QCOMPARE(pages.box("verboseSection")->property("checkState").toInt(), int(Qt::Checked));
    QCOMPARE(pages.text("keyspaceField"), "k");
    QCOMPARE(pages.text("usernameField"), "u");
    QCOMPARE(pages.text("passwordField"), "p");
    QCOMPARE(pages.text("privateCertificate/pathField"), "/a");
    QCOMPARE(pages.text("publicCertificates/pathField"), "/b");
}

void ConfigurationTabTests::nothingCanBeChangedWhileTheRecorderIsOn()
{
    Settings pages;
    for (const QString& section : SECTIONS) {
        pages.toggle(section);
    }
    ModuleFixture::run(pages.instance);
    const QString why = "Disconnect the recorder to change its settings";
    for (const QString& section : SECTIONS) {
        QVERIFY2(!pages.box(section)->isEnabled(), qPrintable(section));
        pages.box(section)->forceActiveFocus();
        pages.key(Qt::Key_Space);
        QVERIFY2(pages.property(section, "value").toBool(), qPrintable(section));
    }
    for (const char* const field : { "keyspaceField", "usernameField", "passwordField", "privateCertificate/pathField",
             "privateCertificate/pathBrowseButton", "publicCertificates/pathField", "publicCertificates/pathBrowseButton" }) {
        QVERIFY2(!pages.isAvailable(field), field);
        QCOMPARE(pages.hint(field), why);
    }
    ModuleFixture::leave(pages.instance->agentInstanceUuid());
    for (const QString& section : SECTIONS) {
        QVERIFY2(pages.box(section)->isEnabled(), qPrintable(section));
    }
}

void ConfigurationTabTests::whatIsTypedWhenTheAgentStartsIsKeptAndSaidToBeNoValue_data()
{
    aFieldWritesItsSetting_data();
}

void ConfigurationTabTests::whatIsTypedWhenTheAgentStartsIsKeptAndSaidToBeNoValue()
{
    QFETCH(const QString, section);
    QFETCH(const QString, field);
    QFETCH(const QString, typed);
    QFETCH(const QByteArray, property);
    QFETCH(const QString, option);
    Settings pages;
    pages.toggle(section);
    const QStringList before = pages.arguments();
    pages.fill(field, typed, false);
    ModuleFixture::run(pages.instance);
    QCOMPARE(pages.instance->property(property.constData()).toString(), "");
    QCOMPARE(pages.arguments(), before);
    QCOMPARE(pages.text(field), typed);
    QCOMPARE(pages.texts("heldBack"), QStringList({ "Not in force" }));

    // Once the agent has gone it is taken over when typing ends.
    ModuleFixture::leave(pages.instance->agentInstanceUuid());
    QCOMPARE(pages.text(field), typed);
    QCOMPARE(pages.texts("heldBack"), QStringList({ "Not in force" }));
    QCOMPARE(pages.arguments(), before);
    pages.focusOn(field);
    pages.key(Qt::Key_Return);
    QCOMPARE(pages.instance->property(property.constData()).toString(), typed);
    QVERIFY(pages.arguments().contains(option));
    QVERIFY(!pages.isShown("heldBack"));

    // Or given up.
    pages.fill(field, typed + typed, false);
    ModuleFixture::run(pages.instance);
    ModuleFixture::leave(pages.instance->agentInstanceUuid());
    pages.focusOn(field);
    pages.key(Qt::Key_Escape);
    QCOMPARE(pages.text(field), typed);
    QVERIFY(!pages.isShown("heldBack"));
}

void ConfigurationTabTests::aRunningRecorderShowsOnlyTheSectionsThatAreChecked()
{
    for (const QString& checked : SECTIONS) {
        Settings pages;
        pages.toggle(checked);
        ModuleFixture::run(pages.instance);
        for (const QString& section : SECTIONS) {
            QCOMPARE(pages.isShown(section), section == checked);
        }
        // The filters are always below, so that every section has a later one.
        QVERIFY(pages.isShown("filtersSection"));
        QVERIFY(pages.property(checked, "hasSeparator").toBool());
    }
}

void ConfigurationTabTests::theSecurityWarningIsThereWhileOnlyTheRecorderIsSecured()
{
    Settings pages;
    NetworkConfiguration* const network = NetworkConfiguration::instance();
    QCOMPARE(pages.item("securityWarning")->opacity(), 0.0);
    QCOMPARE(pages.hint("securityWarning"), "");
    pages.toggle("securitySection");
    QTRY_COMPARE(pages.item("securityWarning")->opacity(), 1.0);
    QCOMPARE(pages.hint("securityWarning"), "Corvane security is not configured");
    network->setprivateCertificate("/own");
    network->setpublicCertificates("/others");
    QVERIFY(network->isQuenarySecurityActivated());
    QTRY_COMPARE(pages.item("securityWarning")->opacity(), 0.0);
    network->setprivateCertificate("");
    network->setpublicCertificates("");
    QTRY_COMPARE(pages.item("securityWarning")->opacity(), 1.0);
    pages.toggle("securitySection");
    QTRY_COMPARE(pages.item("securityWarning")->opacity(), 0.0);
}

void ConfigurationTabTests::aCertificateIsChosenInADialog()
{
    Settings pages;
    pages.toggle("securitySection");
    const QString path = QStringLiteral("/etc/own #1 100%25é cert");
    const auto dialog = [&pages](const QString& field) {
        QObject* found = nullptr;
        const QList<QQuickItem*> children = pages.item(field)->childItems();
        for (const QQuickItem* const child : children) {
            const QVariant item = child->property("item");
            if (item.value<QObject*>()) {
                found = item.value<QObject*>();
            }
        }
        return found;
    };
    for (const char* const field : { "privateCertificate", "publicCertificates" }) {
        QVERIFY(!dialog(field));
        pages.click(QString(field) + "/pathBrowseButton");
        QVERIFY(dialog(field));
        QCOMPARE(dialog(field)->property("title"), pages.property(field, "label"));
        QMetaObject::invokeMethod(dialog(field), "reject");
        Pages::settle();
        QVERIFY(!dialog(field));
        QCOMPARE(pages.text(QString(field) + "/pathField"), "");

        // Its parts ask the disk; what matters here is what becomes of the answer. A name need not be text.
        const QList<std::pair<QUrl, QString>> answers { { QUrl::fromLocalFile(path), path },
            { QUrl("file:///etc/h%F4te"), "/etc/h%F4te" } };
        for (const auto& [url, shown] : answers) {
            pages.click(QString(field) + "/pathBrowseButton");
            QVERIFY(dialog(field));
            QMetaObject::invokeMethod(pages.item(field), "take", Q_ARG(QUrl, url));
            Pages::settle();
            QVERIFY(!dialog(field));
            QCOMPARE(pages.text(QString(field) + "/pathField"), shown);
        }
    }
}

void ConfigurationTabTests::filesOfOtherMachinesCanNotBeChosen()
{
    Pages pages;
    SystemViewClassInstance* const classInstance = pages.fixture.addRecorder("Plant");
    auto* const document = SystemDocumentHandler::instance()->currentSystemDocument();
    classInstance->getOrCreateEncounteredAgentInfo(
        classInstance->getOrCreateEncounteredAgentsOnHost(document->getOrCreateHost("bench-02")),
        ModuleFixture::commandLine({ "--name", "Plant" }));
    Pages::settle();
    RecorderInstance* elsewhere = nullptr;
    const auto instances = pages.fixture.recorderOf(classInstance)->recorderInstances();
    for (RecorderInstance* const instance : instances) {
        if (!instance->encounteredAgentsOnHost()->isAttachedToCorvane()) {
            elsewhere = instance;
        }
    }
    QVERIFY(elsewhere);
    pages.open(elsewhere, Pages::Configuration);
    for (const char* const field : { "privateCertificate", "publicCertificates" }) {
        QVERIFY(pages.isAvailable(QString(field) + "/pathField"));
        QVERIFY(!pages.isAvailable(QString(field) + "/pathBrowseButton"));
        QCOMPARE(pages.hint(QString(field) + "/pathBrowseButton"), "Cannot browse local files to give to remote Recorders");
    }
}

void ConfigurationTabTests::filtersCanBeAppliedWhileTheRecorderIsOnAndHasADatabase()
{
    {
        Settings offline(false);
        QVERIFY(!offline.isAvailable("applyFiltersButton"));
        QVERIFY(!offline.property("filtersText", "readOnly").toBool());
        QCOMPARE(offline.hint("applyFiltersButton"), "Filters can be applied only with a database");
        ModuleFixture::run(offline.instance);
        QVERIFY(!offline.isAvailable("applyFiltersButton"));
        QCOMPARE(offline.hint("applyFiltersButton"), "Filters can be applied only with a database");
        QVERIFY(offline.property("filtersText", "readOnly").toBool());
    }
    Settings pages;
    QVERIFY(!pages.isAvailable("applyFiltersButton"));
    QCOMPARE(pages.hint("applyFiltersButton"), "Connect the recorder to apply its filters");
    QVERIFY(!pages.property("filtersText", "readOnly").toBool());
    pages.focusOn("filtersText");
    pages.type("-Valve");
    QCOMPARE(pages.text("filtersChanged"), "Not in force");

    // What was typed before is there when it can be applied, and can be changed then too.
    ModuleFixture::run(pages.instance);
    QuenaryDouble::clearCalls();
    QVERIFY(pages.isAvailable("applyFiltersButton"));
    QVERIFY(!pages.property("filtersText", "readOnly").toBool());
    QCOMPARE(pages.text("filtersText"), "-Valve");
    pages.focusOn("filtersText");
    pages.key(Qt::Key_End);
    pages.key(Qt::Key_Return);
    pages.type("-Operator/note");
    pages.click("applyFiltersButton");
    compareCall(pages.instance, "set_record_filters", { "-Valve\n-Operator/note" });
}

void ConfigurationTabTests::aPressAnywhereInTheFiltersFrameIsOneInTheText()
{
    Settings pages;
    ModuleFixture::run(pages.instance);
    const QQuickItem* const section = pages.item("filtersSection");
    const QQuickItem* const area = pages.item("filtersText");
    QVERIFY2(area->width() > section->width() - 20 && area->height() > 90, qPrintable(QString::number(area->height())));
    QTest::mouseClick(&pages.window, Qt::LeftButton, {}, area->mapToScene(QPointF(area->width() - 20, area->height() - 10)).toPoint());
    Pages::settle();
    QCOMPARE(pages.focus(), "filtersText");
    pages.type("-Valve");
    QCOMPARE(pages.text("filtersText"), "-Valve");
}

void ConfigurationTabTests::filtersThatAreNotInForceAreMarked()
{
    Settings pages;
    ModuleFixture::run(pages.instance);
    ScriptedRecorder recorder(pages.instance);
    recorder.reply("record_filters", { true, "-Valve" });
    QCOMPARE(pages.text("filtersText"), "-Valve");
    QVERIFY(!pages.isShown("filtersChanged"));
    pages.focusOn("filtersText");
    pages.type("#");
    QCOMPARE(pages.text("filtersChanged"), "Not in force");
    recorder.reply("record_filters", { true, pages.text("filtersText") });
    QVERIFY(!pages.isShown("filtersChanged"));
}

void ConfigurationTabTests::whatIsTypedInTheFiltersStaysWhenOthersComeIntoForce()
{
    Settings pages;
    ModuleFixture::run(pages.instance);
    ScriptedRecorder recorder(pages.instance);
    pages.focusOn("filtersText");
    pages.type("-Va");
    recorder.reply("record_filters", { true, "-Pump" });
    QCOMPARE(pages.text("filtersText"), "-Va");
    QVERIFY(pages.isShown("filtersChanged"));
}

static const RegisterPageTest<ConfigurationTabTests> configurationTabTests;

#include "tst_configurationtab.moc"
