// SPDX-License-Identifier: Apache-2.0
#include "corvanemoduleplugin.h"
#include "encounteredagentinfo.h"
#include "encounteredagentsonhost.h"
#include "frameworkfixture.h"
#include "recorderclassplugin.h"
#include "systemviewclass.h"
#include "systemviewcorvanemodule.h"

#include <abstractzqcustomitemlistmodel.h>

#include <QAbstractItemModelTester>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QRegularExpression>
#include <QSet>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace FrameworkFixture;

namespace {

/// A module plugin that keeps one text, and notes in what order things happen to it.
class NotePlugin : public CorvaneModulePlugin
{
    Q_OBJECT

public:
    QString jsonTag() const override { return QStringLiteral("note"); }
    QJsonObject exportToJson() const override
    {
        return text.isEmpty() ? QJsonObject() : QJsonObject { { QStringLiteral("text"), text } };
    }
    int loadFromJson(const QJsonObject& json, QList<JsonDocumentError>& errors) override
    {
        events.append(QStringLiteral("block"));
        text = json[QStringLiteral("text")].toString();
        if (text.isEmpty()) {
            errors.append(JsonDocumentError(QStringLiteral("The note is empty")));
        }
        return errors.isEmpty() ? 0 : -1;
    }
    CorvaneModule* createCorvaneModule() override { return new CorvaneModule; }
    QString uuid() const override { return QStringLiteral("5a6c7b1e-0000-4000-8000-000000000001"); }

    QString text;
    QStringList events;
};

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QJsonObject jsonOf(const QString& path)
{
    return QJsonDocument::fromJson(contentOf(path)).object();
}

} // namespace

class TestSystemDocument : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void aNewDocumentHasOneEmptyView();
    void aSavedDocumentOpensAsItWas();
    void uuidsAndUnknownKeysAreKept();
    void namesStayBesideKeysThatEndWithZeros();
    void moduleBlocksAreReadBeforeTheDocumentIsCurrent();
    void anEmptyModuleBlockIsNotWritten();
    void theBlockOfAModuleThatIsNotThereIsKept();
    void aRecorderWithoutLaunchLineGetsTheDefaultOne();
    void whatIsNotADocumentIsRefused_data();
    void whatIsNotADocumentIsRefused();
    void brokenPartsAreSaidAndTheRestIsRead();
    void aRepeatedUuidIsReplaced();
    void whatFuzzingFoundIsRefusedOrOpensAsItWasSaved_data();
    void whatFuzzingFoundIsRefusedOrOpensAsItWasSaved();
    void aFailedSaveLeavesTheFile();
    void changesMakeTheDocumentModified();
    void thePreviousDocumentLivesWhileTheModulesHearOfTheNext();
    void hostsOnlySeenAreNotSaved();

private:
    QString _write(const QByteArray& text)
    {
        const QString path = _folder->filePath(QStringLiteral("document.json"));
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size()) {
            qFatal("The test's own file cannot be written");
        }
        return path;
    }

    std::unique_ptr<QTemporaryDir> _folder;
    std::unique_ptr<NotePlugin> _plugin;
};

void TestSystemDocument::init()
{
    beStrict();
    _folder = std::make_unique<QTemporaryDir>();
    _plugin = std::make_unique<NotePlugin>();
    QVERIFY(PluginManager::instance()->registerModulePlugin(_plugin.get()));
    handler()->newDocument();
}

void TestSystemDocument::cleanup()
{
    handler()->closeDocument();
    PluginManager::instance()->unregisterModulePlugin(_plugin.get());
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

void TestSystemDocument::aNewDocumentHasOneEmptyView()
{
    const SystemDocument* document = handler()->currentSystemDocument();
    QAbstractItemModelTester views(
        document->systemViewsModel(), QAbstractItemModelTester::FailureReportingMode::QtTest);
    QCOMPARE(document->systemViews().size(), 1);
    QCOMPARE(currentView(), document->systemViews().constFirst());
    QVERIFY(currentView()->getAllInstances().isEmpty());
    QVERIFY(document->filePath().isEmpty());
    QVERIFY(!document->isModified());
    QVERIFY(!handler()->hasUnsavedChanges());

    // It has no file to save to, and says so
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("no file yet"));
    QVERIFY(!handler()->saveDocument());
    QVERIFY(handler()->errorText().contains("Save as"));
}

void TestSystemDocument::aSavedDocumentOpensAsItWas()
{
    // Given a document with a recorder, and a sensor that ran on two machines
    SystemViewClassInstance* recorder = createRecorder();
    recorder->setposition({ 12.5, 40 });
    SystemViewClassInstance* sensor = createInstance(SENSOR_FAMILY, "Sensor");
    EncounteredAgentsOnHost* remote
        = sensor->getOrCreateEncounteredAgentsOnHost(handler()->currentSystemDocument()->getOrCreateHost("plant-3"));
    const QString remoteUuid = sensor->getOrCreateEncounteredAgentInfo(remote, "/opt/sensor --name Sensor")->uuid();
    EncounteredAgentsOnHost* local = sensor->getOrCreateEncounteredAgentsOnHostAttachedToCorvane();
    const QString localUuid = sensor->getOrCreateEncounteredAgentInfo(local, "/usr/bin/sensor \"a b\"")->uuid();
    _plugin->text = "kept";
    const QString viewUuid = currentView()->uuid();
    const QString recorderUuid = recorder->uuid();

    // When it is saved and opened again
    const QString path = _folder->filePath("plant.json");
    QVERIFY(handler()->hasUnsavedChanges());
    QVERIFY2(handler()->saveDocumentAs(path), qUtf8Printable(handler()->errorText()));
    QVERIFY(!handler()->hasUnsavedChanges());
    // Its launch lines may hold passwords
    QCOMPARE(QFile::permissions(path) & (QFile::ReadGroup | QFile::ReadOther), QFile::Permissions());
    _plugin->text.clear();
    QVERIFY2(handler()->openDocument(path), qUtf8Printable(handler()->errorText()));

    // Then everything is there, under the same uuids
    QCOMPARE(handler()->warnings(), QStringList());
    QCOMPARE(handler()->currentSystemDocument()->filePath(), path);
    QCOMPARE(handler()->currentSystemDocument()->name(), QString("plant"));
    QCOMPARE(_plugin->text, QString("kept"));
    QCOMPARE(currentView()->uuid(), viewUuid);
    QCOMPARE(currentView()->getAllClassInstances().size(), 2);
    const SystemViewClassInstance* sameRecorder = currentView()->getAllClassInstances().at(0);
    QCOMPARE(sameRecorder->uuid(), recorderUuid);
    QCOMPARE(sameRecorder->name(), QString("Recorder"));
    QCOMPARE(sameRecorder->position(), QPointF(12.5, 40));
    QCOMPARE(sameRecorder->familyUuid(), ReservedAgentAndToolFamilies::RECORDER_CLASS_UUID);
    QCOMPARE(sameRecorder->encounteredAgentsOnHosts().size(), 1);
    const SystemViewClassInstance* sameSensor = currentView()->getAllClassInstances().at(1);
    QCOMPARE(sameSensor->systemViewClass()->name(), QString("Sensor"));
    QCOMPARE(sameSensor->encounteredAgentsOnHosts().size(), 2);
    const EncounteredAgentsOnHost* sameRemote = sameSensor->encounteredAgentsOnHosts().at(0);
    QCOMPARE(sameRemote->host()->networkName(), QString("plant-3"));
    QVERIFY(!sameRemote->isAttachedToCorvane());
    QCOMPARE(sameRemote->encounteredAgentInfos().at(0)->uuid(), remoteUuid);
    const EncounteredAgentsOnHost* sameLocal = sameSensor->encounteredAgentsOnHosts().at(1);
    QVERIFY(sameLocal->isAttachedToCorvane());
    QCOMPARE(sameLocal->host(), handler()->currentSystemDocument()->localHost());
    QCOMPARE(sameLocal->encounteredAgentInfos().at(0)->uuid(), localUuid);
    QCOMPARE(sameLocal->encounteredAgentInfos().at(0)->commandLine(), QString("/usr/bin/sensor \"a b\""));

    // And saving it again changes nothing in the file
    const QByteArray before = contentOf(path);
    QVERIFY(!handler()->hasUnsavedChanges());
    QVERIFY(handler()->saveDocument());
    QCOMPARE(contentOf(path), before);
}

void TestSystemDocument::uuidsAndUnknownKeysAreKept()
{
    const QByteArray text = R"({"version": 1, "future": {"a": [1, 2]},
        "classes": [{"family": "0b5bd3a6-3f7a-4a11-8f57-5a5b2f6f0001", "name": "Sensor"}],
        "hosts": [{"name": "plant-3", "rack": 7}],
        "views": [{"uuid": "8c1f3a50-0000-4000-8000-000000000001", "name": "Main", "zoom": 1.5, "instances": [
            {"uuid": "8c1f3a50-0000-4000-8000-000000000002", "name": "S", "family": "0b5bd3a6-3f7a-4a11-8f57-5a5b2f6f0001",
             "x": 1, "y": 2, "colour": "red", "encountered_agents": [{"host": "plant-3", "note": "old", "agents": [
                {"uuid": "8c1f3a50-0000-4000-8000-000000000003", "command_line": "/opt/s", "owner": "me"}]}]}]}],
        "current_view": "8c1f3a50-0000-4000-8000-000000000001"})";
    const QString path = _write(text);
    QVERIFY2(handler()->openDocument(path), qUtf8Printable(handler()->errorText()));
    QCOMPARE(handler()->warnings(), QStringList());
    QVERIFY(handler()->saveDocument());
    QCOMPARE(jsonOf(path), QJsonDocument::fromJson(text).object());
}

void TestSystemDocument::namesStayBesideKeysThatEndWithZeros()
{
    // Given a document in which each object has such a key, of one zero or many
    for (const int zeros : { 1, 10 }) {
        const QString more = QStringLiteral("\\u0000").repeated(zeros);
        const QString text = QStringLiteral(R"({"version": 1, "note%1": 1, "version%1": 1,
            "hosts": [{"name": "plant-3", "name%1": "h"}],
            "views": [{"uuid": "v", "uuid%1": "w", "name": "Main", "name%1": "x", "instances": [
                {"name": "S", "name%1": "y", "family": "f", "family%1": "z", "encountered_agents": [
                    {"host": "plant-3", "host%1": "i", "agents": [
                        {"command_line": "/opt/s", "command_line%1": "/opt/t"}]}]}]}]})")
                                 .arg(more);
        QVERIFY2(handler()->openDocument(_write(text.toUtf8())), qUtf8Printable(handler()->errorText()));
        const QString path = _folder->filePath("zeros.json");
        // When it is saved and opened, twice
        for (int round = 0; round < 2; ++round) {
            QVERIFY(handler()->saveDocumentAs(path));
            QVERIFY(!contentOf(path).contains("\\u0000"));
            QVERIFY2(handler()->openDocument(path), qUtf8Printable(handler()->errorText()));
            // Then all is as it was named
            QCOMPARE(handler()->warnings(), QStringList());
            QCOMPARE(currentView()->uuid(), QString("v"));
            QCOMPARE(currentView()->name(), QString("Main"));
            const SystemViewClassInstance* instance = currentView()->getAgentByName("S");
            QVERIFY(instance);
            QCOMPARE(instance->familyUuid(), QString("f"));
            const EncounteredAgentsOnHost* group = instance->encounteredAgentsOnHosts().at(0);
            QCOMPARE(group->host()->networkName(), QString("plant-3"));
            QCOMPARE(group->encounteredAgentInfos().at(0)->commandLine(), QString("/opt/s"));
        }
    }
}

void TestSystemDocument::moduleBlocksAreReadBeforeTheDocumentIsCurrent()
{
    _plugin->text = "first";
    createRecorder();
    const QString path = _folder->filePath("order.json");
    QVERIFY(handler()->saveDocumentAs(path));
    QCOMPARE(jsonOf(path)["note"].toObject()["text"].toString(), QString("first"));

    _plugin->events.clear();
    qsizetype instancesSeen = -1;
    const auto connection
        = connect(handler(), &SystemDocumentHandler::currentSystemDocumentChanged, this, [this, &instancesSeen] {
              _plugin->events.append("current");
              instancesSeen = currentView()->getAllClassInstances().size();
          });
    QVERIFY(handler()->openDocument(path));
    disconnect(connection);
    QCOMPARE(_plugin->events, QStringList({ "block", "current" }));
    QCOMPARE(instancesSeen, 1);
}

void TestSystemDocument::anEmptyModuleBlockIsNotWritten()
{
    const QString path = _folder->filePath("empty.json");
    QVERIFY(handler()->saveDocumentAs(path));
    QVERIFY(!jsonOf(path).contains("note"));
    // Nor does a block stay that the module has emptied since
    _plugin->text = "x";
    QVERIFY(handler()->saveDocument());
    QVERIFY(jsonOf(path).contains("note"));
    QVERIFY(handler()->openDocument(path));
    _plugin->text.clear();
    QVERIFY(handler()->hasUnsavedChanges());
    QVERIFY(handler()->saveDocument());
    QVERIFY(!jsonOf(path).contains("note"));
}

void TestSystemDocument::theBlockOfAModuleThatIsNotThereIsKept()
{
    const QString path = _write(R"({"version": 1, "views": [], "otherModule": {"records": ["a"]}})");
    QVERIFY(handler()->openDocument(path));
    QVERIFY(handler()->saveDocument());
    QCOMPARE(jsonOf(path)["otherModule"].toObject(), QJsonObject({ { "records", QJsonArray { "a" } } }));
}

void TestSystemDocument::aRecorderWithoutLaunchLineGetsTheDefaultOne()
{
    const QByteArray text
        = QStringLiteral(R"({"version": 1, "views": [{"name": "V", "instances": [{"name": "R", "family": "%1"}]}]})")
              .arg(ReservedAgentAndToolFamilies::RECORDER_CLASS_UUID)
              .toUtf8();
    QVERIFY(handler()->openDocument(_write(text)));
    const SystemViewClassInstance* recorder = currentView()->getAllClassInstances().at(0);
    const EncounteredAgentsOnHost* group = recorder->encounteredAgentsOnHostAttachedToCorvane();
    QVERIFY(group);
    QCOMPARE(group->encounteredAgentInfos().at(0)->commandLine(), RecorderClassPlugin::defaultCommandLine("R"));
}

void TestSystemDocument::whatIsNotADocumentIsRefused_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("said");
    QTest::newRow("empty file") << QByteArray() << "line 1, column 1";
    QTest::newRow("no JSON") << QByteArray("{\n  \"version\": 1,\n  oops\n}") << "line 3";
    QTest::newRow("a list") << QByteArray("[1]") << "not an object";
    QTest::newRow("no version") << QByteArray("{\"views\": []}") << "version";
    QTest::newRow("version as text") << QByteArray("{\"version\": \"1\"}") << "version";
    QTest::newRow("newer version") << QByteArray("{\"version\": 2}") << "newer Corvane";
    QTest::newRow("views as object") << QByteArray("{\"version\": 1, \"views\": {}}") << "\"views\" must be a list";
    QTest::newRow("module block before bad views")
        << QByteArray("{\"version\": 1, \"views\": 3, \"note\": {\"text\": \"x\"}}") << "\"views\"";
}

void TestSystemDocument::whatIsNotADocumentIsRefused()
{
    QFETCH(QByteArray, text);
    QFETCH(QString, said);
    SystemDocument* before = handler()->currentSystemDocument();
    createRecorder();
    _plugin->text = "untouched";
    QSignalSpy changed(handler(), &SystemDocumentHandler::currentSystemDocumentChanged);

    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("document.json"));
    QVERIFY(!handler()->openDocument(_write(text)));

    QVERIFY2(handler()->errorText().contains(said), qUtf8Printable(handler()->errorText()));
    QVERIFY(handler()->errorText().contains("document.json"));
    QCOMPARE(handler()->currentSystemDocument(), before);
    QCOMPARE(currentView()->getAllInstances().size(), 1);
    QCOMPARE(_plugin->text, QString("untouched"));
    QCOMPARE(changed.count(), 0);

    // A file that is not there is said as well
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("nowhere.json"));
    QVERIFY(!handler()->openDocument(_folder->filePath("nowhere.json")));
    QCOMPARE(handler()->currentSystemDocument(), before);
}

void TestSystemDocument::brokenPartsAreSaidAndTheRestIsRead()
{
    const QString path = _write(R"({"version": 1, "note": "text", "classes": [{"name": 3}], "hosts": [{}],
        "views": [{"name": "V", "instances": [
            7,
            {"name": "A", "family": "f", "encountered_agents": [{"host": 1}, {"host": "h", "agents": [{}, {"command_line": "/a"}, {"command_line": " \"\" "}]}]},
            {"name": "A", "family": "f"}]}]})");
    QVERIFY(handler()->openDocument(path));
    const QStringList warnings = handler()->warnings();
    QCOMPARE(warnings.size(), 8);
    QVERIFY(warnings.at(0).contains("\"note\""));
    QVERIFY(warnings.at(1).contains("\"classes\""));
    QVERIFY(warnings.at(2).contains("\"hosts\""));
    QVERIFY(warnings.at(3).contains("instance of view 'V'"));
    QVERIFY(warnings.at(4).contains("launch lines of 'A'"));
    QVERIFY(warnings.at(5).contains("\"command_line\""));
    QCOMPARE(warnings.at(6), warnings.at(5)); // a line of blanks and quotes names no program either
    QVERIFY(warnings.at(6).contains("names a program"));
    QVERIFY(warnings.at(7).contains("'A 2'"));
    QCOMPARE(currentView()->getAllClassInstances().size(), 2);
    QVERIFY(currentView()->getAgentByName("A 2"));
    QCOMPARE(currentView()->getAgentByName("A")->encounteredAgentsOnHosts().size(), 1);
    QCOMPARE(currentView()->getAgentByName("A")->encounteredAgentsOnHosts().at(0)->encounteredAgentInfos().size(), 1);
    // What could not be understood is still in the file after a save
    QVERIFY(handler()->saveDocument());
    QVERIFY(jsonOf(path)["views"].toArray().at(0)["instances"].toArray().contains(7));
}

void TestSystemDocument::aRepeatedUuidIsReplaced()
{
    const QString uuid = "8c1f3a50-0000-4000-8000-000000000009";
    const QString path = _write(QStringLiteral(R"({"version": 1, "views": [{"name": "V", "instances": [
            {"name": "A", "family": "f", "uuid": "%1", "encountered_agents": [{"host": "h", "agents": [
                {"uuid": "%1", "command_line": "/a"}]}]}]}]})")
            .arg(uuid)
            .toUtf8());
    QVERIFY(handler()->openDocument(path));
    QCOMPARE(handler()->warnings().size(), 1);
    QVERIFY(handler()->warnings().at(0).contains(uuid));
    const SystemViewClassInstance* instance = currentView()->getAgentByName("A");
    QCOMPARE(instance->uuid(), uuid);
    const QString other = instance->encounteredAgentsOnHosts().at(0)->encounteredAgentInfos().at(0)->uuid();
    QVERIFY(!other.isEmpty());
    QVERIFY(other != uuid);
}

void TestSystemDocument::whatFuzzingFoundIsRefusedOrOpensAsItWasSaved_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<bool>("isReadable");
    const QDir corpus(QStringLiteral(DOCUMENTS_OF_FUZZING));
    const QStringList files = corpus.entryList(QDir::Files);
    QVERIFY2(files.size() >= 7, qUtf8Printable(corpus.path()));
    for (const QString& file : files) {
        QTest::newRow(qUtf8Printable(file))
            << corpus.filePath(file) << (file != QLatin1String("lists.json") && file != QLatin1String("newer.json"));
    }
}

void TestSystemDocument::whatFuzzingFoundIsRefusedOrOpensAsItWasSaved()
{
    QFETCH(QString, file);
    QFETCH(bool, isReadable);
    const QString path = _write(contentOf(file));
    if (!isReadable) {
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("document.json"));
    }
    QCOMPARE(handler()->openDocument(path), isReadable);
    if (!isReadable) {
        QVERIFY(handler()->errorText().contains("document.json"));
        return;
    }
    const qsizetype warnings = handler()->warnings().size();
    QSet<QString> uuids;
    QVERIFY(currentView());
    for (const SystemView* view : handler()->currentSystemDocument()->systemViews()) {
        QSet<QString> names;
        for (const SystemViewClassInstance* instance : view->getAllClassInstances()) {
            QVERIFY2(!names.contains(instance->name()), qUtf8Printable(instance->name()));
            QVERIFY2(
                !instance->uuid().isEmpty() && !uuids.contains(instance->uuid()), qUtf8Printable(instance->uuid()));
            names.insert(instance->name());
            uuids.insert(instance->uuid());
        }
    }
    QVERIFY(handler()->saveDocument());
    const QByteArray saved = contentOf(path);
    QVERIFY2(handler()->openDocument(path), qUtf8Printable(handler()->errorText()));
    QVERIFY2(handler()->warnings().size() <= warnings, qUtf8Printable(handler()->warnings().join('\n')));
    QVERIFY(handler()->saveDocument());
    QCOMPARE(contentOf(path), saved);
}

void TestSystemDocument::aFailedSaveLeavesTheFile()
{
    // Given a folder where the file should be
    const QString path = _folder->filePath("taken.json");
    QVERIFY(QDir(_folder->path()).mkpath("taken.json"));
    createRecorder();
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("taken.json could not be saved"));
    QVERIFY(!handler()->saveDocumentAs(path));
    QVERIFY(handler()->errorText().contains("another name"));
    QVERIFY(handler()->currentSystemDocument()->filePath().isEmpty());
    QVERIFY(handler()->hasUnsavedChanges());
    QCOMPARE(QDir(_folder->path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), QStringList { "taken.json" });
}

void TestSystemDocument::changesMakeTheDocumentModified()
{
    SystemDocument* document = handler()->currentSystemDocument();
    SystemViewClassInstance* recorder = createRecorder();
    EncounteredAgentsOnHost* group = recorder->encounteredAgentsOnHostAttachedToCorvane();
    const QList<std::pair<const char*, std::function<void()>>> changes {
        { "position", [recorder] { recorder->setposition({ 5, 5 }); } },
        { "name", [recorder] { recorder->setname("Other"); } },
        { "launch line", [group] { group->encounteredAgentInfos().at(0)->setcommandLine("/x"); } },
        { "new launch line", [recorder, group] { recorder->getOrCreateEncounteredAgentInfo(group, "/y"); } },
        { "view name", [] { currentView()->setname("Other view"); } },
        { "new instance", [] { createRecorder(); } },
        { "deletion", [recorder] { handler()->deleteInstance(recorder); } },
    };
    QVERIFY(handler()->saveDocumentAs(_folder->filePath("m.json")));
    for (const auto& [what, change] : changes) {
        QVERIFY2(!document->isModified(), what);
        QSignalSpy spy(document, &SystemDocument::isModifiedChanged);
        change();
        QVERIFY2(document->isModified(), what);
        QCOMPARE(spy.count(), 1);
        QVERIFY2(handler()->hasUnsavedChanges(), what);
        QVERIFY(handler()->saveDocument());
    }
}

void TestSystemDocument::thePreviousDocumentLivesWhileTheModulesHearOfTheNext()
{
    QPointer<SystemDocument> previous = handler()->currentSystemDocument();
    QPointer<SystemViewClassInstance> recorder = createRecorder();
    bool wasAlive = false;
    const auto connection = connect(handler(), &SystemDocumentHandler::currentSystemDocumentChanged, this,
        [&] { wasAlive = previous && recorder && recorder->name() == "Recorder"; });
    QSignalSpy viewChanged(handler(), &SystemDocumentHandler::currentSystemViewChanged);
    handler()->newDocument();
    disconnect(connection);
    QVERIFY(wasAlive);
    QCOMPARE(viewChanged.count(), 1);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(!previous);
    QVERIFY(!recorder);
    handler()->closeDocument();
    QCOMPARE(viewChanged.count(), 2);
    QVERIFY(!handler()->currentSystemDocument());
    QVERIFY(!handler()->currentSystemView());
    QVERIFY(!handler()->hasUnsavedChanges());
}

void TestSystemDocument::hostsOnlySeenAreNotSaved()
{
    entered(agent("a1", "Somebody", SENSOR_FAMILY, "far-away"));
    QCOMPARE(handler()->currentSystemDocument()->hosts().size(), 1);
    QVERIFY(!handler()->currentSystemDocument()->isModified());
    QVERIFY(handler()->currentSystemDocument()->exportToJson()["hosts"].toArray().isEmpty());
}

QTEST_GUILESS_MAIN(TestSystemDocument)
#include "tst_systemdocument.moc"
