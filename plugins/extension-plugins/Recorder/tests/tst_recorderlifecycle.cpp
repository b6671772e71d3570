// SPDX-License-Identifier: Apache-2.0
#include "modulefixture.h"

#include "recorderplugin.h"

#include <systemdocument.h>
#include <systemdocumenthandler.h>
#include <systemview.h>

#include <QtCore/QDir>
#include <QtCore/QTemporaryDir>
#include <QtTest/QSignalSpy>

namespace {

/// A recorder executable where an installed program has it: a link to one that exists. This program stands in a folder
/// of its own, so that there is none otherwise.
class ExecutableBesideTheProgram
{
public:
    ExecutableBesideTheProgram()
    {
        QVERIFY(QDir().mkpath(_folder));
        QFile::remove(_folder + "/qnyRecorder");
        QVERIFY(QFile::link(ModuleFixture::executablePath(), _folder + "/qnyRecorder"));
    }
    ~ExecutableBesideTheProgram() { QFile::remove(_folder + "/qnyRecorder"); }
    Q_DISABLE_COPY_MOVE(ExecutableBesideTheProgram)

private:
    const QString _folder = QCoreApplication::applicationDirPath() + "/../agents/qnyRecorder";
};

} // namespace

/// How a module begins, follows document and view, and ends.
class tst_RecorderLifecycle : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theReplyServicesAreDeclaredInOrderWithTheirArguments();
    void theReplyServicesAreRemovedInOrderButLoadingFailed();
    void aLateLoadingFailedReplyDoesNotTouchADestroyedModule();
    void aModuleMakesItsRecordersBeforeItDeclaresItsServices();
    void aModuleThatGoesTakesServicesThenInputsAndMappingsAlong();
    void aModuleThatGoesLeavesNoObjectBehind();
    void aModuleWithoutADocumentHasNoRecordersButItsServices();
    void everyRecorderOfTheViewGetsARecorder();
    void anotherDocumentReplacesTheRecorders();
    void anotherViewReplacesTheRecorders();
    void theSameDocumentAgainMakesTheRecordersAnew();
    void anOpenedDocumentAsksARunningRecorderOnce();
    void anAgentThatComesWhileTheViewChangesLeavesNothingBehind();
    void aDocumentReplacedWhileAnAgentIsLinkedLeavesNoMappings();
    void aModuleDestroyedWithoutAnEventLoopLeavesNoObject();
    void anInstanceOfAClearedRecorderIsNotReachedByALateReply();
    void theExecutableIsReportedAsItIs();
    void thePluginHandsOverTheCanonicalPathOfTheExecutable();
    void withoutAnExecutableThePathIsEmptyAndAModuleIsMadeAllTheSame();
    void whatThePluginLoadsBeforeTheModuleExistsIsReadByItsInstances();
};

void tst_RecorderLifecycle::theReplyServicesAreDeclaredInOrderWithTheirArguments()
{
    ModuleFixture fixture;
    const QStringList expected {
        "qny_service_init context",
        "qny_service_arg_add context replayId string",
        "qny_service_arg_add context replayStartDateTime string",
        "qny_service_arg_add context replayDuration double",
        "qny_service_arg_add context replayProgress double",
        "qny_service_arg_add context replaySpeed double",
        "qny_service_arg_add context replayIsRunning bool",
        "qny_service_arg_add context replayAllAgents string",
        "qny_service_arg_add context replayAgentsFilter string",
        "qny_service_arg_add context recordId string",
        "qny_service_init records",
        "qny_service_arg_add records records_list string",
        "qny_service_init record_uuid",
        "qny_service_arg_add record_uuid uuid string",
        "qny_service_init recording_stopped",
        "qny_service_init record_filters",
        "qny_service_arg_add record_filters loaded_from_file bool",
        "qny_service_arg_add record_filters filters string",
        "qny_service_init unloaded",
        "qny_service_init loading",
        "qny_service_arg_add loading loading_progress double",
        "qny_service_init loaded",
        "qny_service_arg_add loaded record_uuid string",
        "qny_service_arg_add loaded start_date string",
        "qny_service_arg_add loaded duration double",
        "qny_service_arg_add loaded agents_list string",
        "qny_service_init loading_failed",
        "qny_service_arg_add loading_failed record_uuid string",
        "qny_service_arg_add loading_failed error_reason string",
        "qny_service_init filter_applied",
        "qny_service_init paused",
        "qny_service_init moved_to",
        "qny_service_arg_add moved_to duration double",
        "qny_service_init receive_export",
        "qny_service_arg_add receive_export record_uuid string",
        "qny_service_arg_add receive_export next_bucket_id integer",
        "qny_service_arg_add receive_export next_uuid string",
        "qny_service_arg_add receive_export content string",
        "qny_service_init replay_ended",
    };
    QCOMPARE(QuenaryDouble::calls({ "qny_service_init", "qny_service_arg_add" }), expected);
}

void tst_RecorderLifecycle::theReplyServicesAreRemovedInOrderButLoadingFailed()
{
    ModuleFixture fixture;
    QuenaryDouble::clearCalls();
    fixture.destroyModule();
    const QStringList expected {
        "qny_service_remove context",
        "qny_service_remove records",
        "qny_service_remove record_uuid",
        "qny_service_remove recording_stopped",
        "qny_service_remove record_filters",
        "qny_service_remove unloaded",
        "qny_service_remove loading",
        "qny_service_remove loaded",
        "qny_service_remove filter_applied",
        "qny_service_remove paused",
        "qny_service_remove moved_to",
        "qny_service_remove receive_export",
        "qny_service_remove replay_ended",
    };
    QCOMPARE(QuenaryDouble::calls({ "qny_service_remove" }), expected);
    QCOMPARE(QuenaryDouble::services(), QStringList({ "loading_failed" }));
}

void tst_RecorderLifecycle::aLateLoadingFailedReplyDoesNotTouchADestroyedModule()
{
    ModuleFixture fixture;
    fixture.destroyModule();
    QVERIFY(QuenaryDouble::callService("loading_failed", { RECORD_A, "too late" }, "anybody"));
    // Dropped without a look at it: not even a malformed one is reported.
    QVERIFY(QuenaryDouble::callService("loading_failed", {}, "anybody"));
}

void tst_RecorderLifecycle::aModuleMakesItsRecordersBeforeItDeclaresItsServices()
{
    ModuleFixture fixture;
    fixture.addRecorder("B");
    fixture.addRecorder("A");
    fixture.destroyModule();
    QuenaryDouble::clearCalls();
    QTest::ignoreMessage(QtDebugMsg, "Cleaning all recorders ...");
    RecorderModule module(ModuleFixture::executablePath(), nullptr);
    QStringList expected;
    for (int row = 0; row < 2; ++row) {
        auto* const recorder = qobject_cast<Recorder*>(module.recorders()->get(row));
        QCOMPARE(recorder->classInstance()->name(), row == 0 ? "B" : "A");
        const RecorderInstance* const instance = recorder->recorderInstances().first();
        const QString record = instance->recordProgressInput();
        const QString replay = instance->replayProgressInput();
        expected << "qny_mapping_add " + record + ' ' + instance->name() + " record_progress"
                 << "qny_mapping_add " + replay + ' ' + instance->name() + " replay_progress"
                 << "qny_input_create " + record + " double" << "qny_observe_input " + record
                 << "qny_input_create " + replay + " double" << "qny_observe_input " + replay;
    }
    QCOMPARE(QuenaryDouble::calls().mid(0, expected.size()), expected);
    QCOMPARE(QuenaryDouble::calls().value(expected.size()), "qny_service_init context");
    QCOMPARE(module.sortedRecorders()->get(0), module.recorders()->get(1));
}

void tst_RecorderLifecycle::aModuleThatGoesTakesServicesThenInputsAndMappingsAlong()
{
    ModuleFixture fixture;
    const RecorderInstance* const instances[]
        = { fixture.firstInstanceOf(fixture.addRecorder("B")), fixture.firstInstanceOf(fixture.addRecorder("A")) };
    QStringList expected;
    for (const RecorderInstance* instance : instances) {
        const QString record = instance->recordProgressInput();
        const QString replay = instance->replayProgressInput();
        expected << "qny_input_remove " + record << "qny_input_remove " + replay
                 << "qny_mapping_remove_with_name " + record + ' ' + instance->name() + " record_progress"
                 << "qny_mapping_remove_with_name " + replay + ' ' + instance->name() + " replay_progress";
    }
    QuenaryDouble::clearCalls();
    QTest::ignoreMessage(QtDebugMsg, "Cleaning all recorders ...");
    fixture.destroyModule();
    const QStringList calls = QuenaryDouble::calls();
    QCOMPARE(calls.size(), 13 + expected.size());
    QVERIFY(calls.at(12).startsWith("qny_service_remove "));
    QCOMPARE(calls.mid(13), expected);
}

void tst_RecorderLifecycle::aModuleThatGoesLeavesNoObjectBehind()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.addRunningRecorder();
    ScriptedRecorder recorder(instance);
    recorder.records("[" + recordJson(RECORD_A, "A") + "]");
    recorder.loaded("/records/one.csv", 3.0, R"(["a"])");
    const QPointer<QObject> objects[] = { fixture.recorderOf(instance->instance()), instance,
        instance->records()->get(0), instance->recordFromFile(), instance->recordFromFile()->agentsFilters()->get(0),
        instance->recordFromFile()->speed() };
    fixture.destroyModule();
    ModuleFixture::settle();
    for (const QPointer<QObject>& object : objects) {
        QVERIFY(object.isNull());
    }
}

void tst_RecorderLifecycle::aModuleWithoutADocumentHasNoRecordersButItsServices()
{
    ModuleFixture fixture;
    fixture.destroyModule();
    SystemDocumentHandler::instance()->closeDocument();
    QuenaryDouble::reset();
    RecorderModule module(ModuleFixture::executablePath(), nullptr);
    QCOMPARE(module.recorders()->count(), 0);
    QCOMPARE(module.currentRecorder(), nullptr);
    QCOMPARE(QuenaryDouble::services().size(), 14);
    module.onSystemDocumentChanged();
    QCOMPARE(module.recorders()->count(), 0);
}

void tst_RecorderLifecycle::everyRecorderOfTheViewGetsARecorder()
{
    ModuleFixture fixture;
    fixture.addRecorder("B");
    fixture.addRecorder("A");
    QCOMPARE(fixture.module().recorders()->count(), 2);
    QCOMPARE(fixture.module().sortedRecorders()->count(), 2);

    // A module that comes later finds them too.
    fixture.destroyModule();
    RecorderModule later(ModuleFixture::executablePath(), nullptr);
    QCOMPARE(later.recorders()->count(), 2);
}

void tst_RecorderLifecycle::anotherDocumentReplacesTheRecorders()
{
    ModuleFixture fixture;
    fixture.addRecorder("Rec");
    const QPointer<RecorderInstance> before = fixture.addRunningRecorder("Running");
    fixture.module().setcurrentRecorder(before);
    SystemDocumentHandler::instance()->newDocument();
    QCOMPARE(fixture.module().recorders()->count(), 0);
    QCOMPARE(QuenaryDouble::inputs(), QStringList());
    ModuleFixture::settle();
    QVERIFY(before.isNull());
    QCOMPARE(fixture.module().currentRecorder(), nullptr);
    QVERIFY(fixture.addRecorder("New"));
    QCOMPARE(fixture.module().recorders()->count(), 1);
}

void tst_RecorderLifecycle::anotherViewReplacesTheRecorders()
{
    ModuleFixture fixture;
    fixture.addRecorder("Rec");
    SystemDocument* const document = SystemDocumentHandler::instance()->currentSystemDocument();
    SystemView* const first = document->currentSystemView();
    SystemView* const second = document->createSystemView("Second");
    QTest::ignoreMessage(QtDebugMsg, "Cleaning all recorders ...");
    document->setcurrentSystemView(second);
    QCOMPARE(fixture.module().recorders()->count(), 0);
    QCOMPARE(QuenaryDouble::inputs(), QStringList());
    fixture.addRecorder("Other");
    QCOMPARE(fixture.module().recorders()->count(), 1);
    document->setcurrentSystemView(first);
    QCOMPARE(fixture.module().recorders()->count(), 1);
    QCOMPARE(qobject_cast<Recorder*>(fixture.module().recorders()->get(0))->classInstance()->name(), "Rec");
    QCOMPARE(QuenaryDouble::inputs().size(), 2);
}

void tst_RecorderLifecycle::theSameDocumentAgainMakesTheRecordersAnew()
{
    ModuleFixture fixture;
    RecorderInstance* const before = fixture.addRunningRecorder();
    const QString uuid = before->uuid();
    SystemViewClassInstance* const classInstance = before->instance();
    fixture.module().onSystemDocumentChanged();
    const RecorderInstance* const after = fixture.firstInstanceOf(classInstance);
    QCOMPARE_NE(after->uuid(), uuid);
    // Its agent runs on, and is linked again.
    QVERIFY(after->isOn());
    QCOMPARE(QuenaryDouble::inputs(), QStringList({ after->recordProgressInput(), after->replayProgressInput() }));
}

void tst_RecorderLifecycle::anOpenedDocumentAsksARunningRecorderOnce()
{
    ModuleFixture fixture;
    fixture.addRunningRecorder();
    const QTemporaryDir folder;
    const QString path = folder.filePath("system.json");
    QVERIFY(SystemDocumentHandler::instance()->saveDocumentAs(path));
    QuenaryDouble::clearCalls();
    QVERIFY(SystemDocumentHandler::instance()->openDocument(path));
    ModuleFixture::settle();
    QCOMPARE(QuenaryDouble::calledServices(), QStringList({ "get_record_filters", "get_records", "get_context" }));
    QCOMPARE(QuenaryDouble::calls({ "qny_input_create" }).size(), 2);
    QCOMPARE(QuenaryDouble::calls({ "qny_mapping_add" }).size(), 2);
    auto* const recorder = qobject_cast<Recorder*>(fixture.module().recorders()->get(0));
    QVERIFY(recorder->recorderInstances().first()->isOn());
}

void tst_RecorderLifecycle::anAgentThatComesWhileTheViewChangesLeavesNothingBehind()
{
    ModuleFixture fixture;
    QuenaryDouble::Agent agent = ModuleFixture::agentOf(fixture.firstInstanceOf(fixture.addRecorder("Rec")), "agent-1");
    agent.arguments.append("--verbose");
    SystemDocument* const document = SystemDocumentHandler::instance()->currentSystemDocument();
    SystemView* const other = document->createSystemView("Other");
    QuenaryDouble::clearCalls();
    QuenaryDouble::enter(agent); // its event waits in the queue
    document->setcurrentSystemView(other);
    ModuleFixture::settle();
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
    QCOMPARE(QuenaryDouble::inputs(), QStringList());
    QCOMPARE(QuenaryDouble::mappings(), QStringList());
}

void tst_RecorderLifecycle::aDocumentReplacedWhileAnAgentIsLinkedLeavesNoMappings()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.firstInstanceOf(fixture.addRecorder("Rec"));
    const QuenaryDouble::Agent agent = ModuleFixture::run(instance);
    ModuleFixture::leave(agent.uuid);
    QCOMPARE(QuenaryDouble::mappings(), QStringList());
    connect(instance, &RecorderInstance::isOnChanged, &fixture.module(),
        [] { SystemDocumentHandler::instance()->newDocument(); });
    ModuleFixture::run(instance);
    QCOMPARE(fixture.module().recorders()->count(), 0);
    QCOMPARE(QuenaryDouble::inputs(), QStringList());
    QCOMPARE(QuenaryDouble::mappings(), QStringList());
}

void tst_RecorderLifecycle::aModuleDestroyedWithoutAnEventLoopLeavesNoObject()
{
    ModuleFixture fixture;
    const QPointer<RecorderInstance> instance = fixture.addRunningRecorder();
    const QPointer<Recorder> recorder = fixture.recorderOf(instance->instance());
    ScriptedRecorder(instance).records("[" + recordJson(RECORD_A, "one") + "]");
    const QPointer<QObject> record = instance->records()->get(0);
    QVERIFY(record);
    fixture.destroyModule();
    QVERIFY(recorder.isNull());
    QVERIFY(instance.isNull());
    QVERIFY(record.isNull());
}

void tst_RecorderLifecycle::anInstanceOfAClearedRecorderIsNotReachedByALateReply()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.addRunningRecorder();
    const QString uuid = instance->uuid();
    SystemDocumentHandler::instance()->newDocument();
    // The instance is about to be deleted, and after that is gone: both times its answer is dropped.
    const QString warning
        = "void RecorderModule::_onRecordingStoppedReceived(const QString &) unknown recorder id \"" + uuid + "\"";
    for (int i = 0; i < 2; ++i) {
        QTest::ignoreMessage(QtWarningMsg, qPrintable(warning));
        QVERIFY(QuenaryDouble::callService("recording_stopped", {}, uuid));
        QCoreApplication::processEvents();
        ModuleFixture::settle();
    }
}

void tst_RecorderLifecycle::theExecutableIsReportedAsItIs()
{
    ModuleFixture fixture;
    QVERIFY(fixture.module().recorderExecutableExists());
    const RecorderModule without("/no/such/recorder", nullptr);
    QVERIFY(!without.recorderExecutableExists());
    QCOMPARE(without.recorderExecutablePath(), "/no/such/recorder");
}

void tst_RecorderLifecycle::thePluginHandsOverTheCanonicalPathOfTheExecutable()
{
    ModuleFixture fixture;
    const ExecutableBesideTheProgram executable;
    RecorderPlugin plugin;
    const std::unique_ptr<CorvaneModule> made(plugin.createCorvaneModule());
    const auto* const module = qobject_cast<RecorderModule*>(made.get());
    QVERIFY(module);
    QCOMPARE(module->parent(), nullptr);
    // Without the ".." of the way there, and behind the link.
    QCOMPARE(module->recorderExecutablePath(), ModuleFixture::executablePath());
    QVERIFY(module->recorderExecutableExists());
}

void tst_RecorderLifecycle::withoutAnExecutableThePathIsEmptyAndAModuleIsMadeAllTheSame()
{
    ModuleFixture fixture;
    RecorderPlugin plugin;
    // The path is that of when the plugin was made.
    const ExecutableBesideTheProgram executable;
    const std::unique_ptr<CorvaneModule> made(plugin.createCorvaneModule());
    const auto* const module = qobject_cast<RecorderModule*>(made.get());
    QVERIFY(module);
    QCOMPARE(module->recorderExecutablePath(), "");
    QVERIFY(!module->recorderExecutableExists());
}

void tst_RecorderLifecycle::whatThePluginLoadsBeforeTheModuleExistsIsReadByItsInstances()
{
    ModuleFixture fixture;
    SystemViewClassInstance* const classInstance = fixture.addRecorder("Rec");
    const QString key = fixture.firstInstanceOf(classInstance)->encounteredAgentInfo()->uuid();
    fixture.destroyModule();
    const ExecutableBesideTheProgram executable;
    RecorderPlugin plugin;
    QList<JsonDocumentError> errors;
    const QJsonObject block { { "filters", QJsonObject { { key, "-tank" } } },
        { "file_path", QJsonObject { { key, "/records/one.csv" } } } };
    QCOMPARE(plugin.loadFromJson(block, errors), 0);
    const std::unique_ptr<CorvaneModule> made(plugin.createCorvaneModule());
    auto* const module = qobject_cast<RecorderModule*>(made.get());
    const RecorderInstance* const instance
        = qobject_cast<Recorder*>(module->recorders()->get(0))->recorderInstances().first();
    QCOMPARE(instance->recordFilters(), "-tank");
    QCOMPARE(instance->currentFilePath(), "/records/one.csv");
    QCOMPARE(plugin.exportToJson()["filters"][key], "-tank");
    QCOMPARE(plugin.exportToJson()["file_path"][key], "/records/one.csv");
}

QTEST_MAIN(tst_RecorderLifecycle)
#include "tst_recorderlifecycle.moc"
