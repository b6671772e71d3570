// SPDX-License-Identifier: Apache-2.0
#include "modulefixture.h"

#include "recorderplugin.h"

#include <library.h>
#include <reservedagentandtoolfamilies.h>
#include <systemdocument.h>
#include <systemdocumenthandler.h>
#include <systemview.h>

#include <QtTest/QSignalSpy>

namespace {

const QString ANY = QStringLiteral(".*");

}

class tst_RecorderModule : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theReplyServicesAreDeclaredInOrderWithTheirArguments();
    void theReplyServicesAreRemovedInOrderButLoadingFailed();
    void aLateLoadingFailedReplyDoesNotTouchADestroyedModule();
    void everyRecorderOfTheViewGetsARecorder();
    void instancesThatAreNoRecordersAreIgnored();
    void registeringTheSameClassInstanceTwiceYieldsOneRecorderAndAWarning();
    void unregisteringAnUnknownClassInstanceIsWarnedOfAndChangesNothing();
    void aNewInstanceGetsTwoObservedInputs();
    void anInstanceThatIsAnnouncedTwiceIsCriticalAndKeepsItsInputs();
    void anInstanceThatLeavesTwiceIsCriticalAndTakesItsInputsOnce();
    void anInputThatCanNotBeCreatedIsWarnedOfAndTheOtherIsCreated();
    void aRemovedRecorderTakesItsInputsAndMappingsAlong();
    void anotherDocumentReplacesTheRecorders();
    void anInstanceOfAClearedRecorderIsNotReachedByALateReply();
    void destroyingTheCurrentRecorderSetsCurrentRecorderToNull();
    void createRecorderPlacesARecorderInTheView();
    void createRecorderWithoutAViewDoesNothing();
    void deleteRecorderOnARunningInstanceChangesNothing();
    void deletingOneOfTwoInstancesKeepsTheRecorder();
    void deletingTheLastInstanceRemovesTheClassInstanceFromTheDocument();
    void recordersAreSortedAgainWhenOneIsRenamed();
    void theExecutableIsReportedAsItIs();
    void thePluginHandsOverTheCanonicalPathOfTheExecutable();
};

void tst_RecorderModule::theReplyServicesAreDeclaredInOrderWithTheirArguments()
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

void tst_RecorderModule::theReplyServicesAreRemovedInOrderButLoadingFailed()
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

void tst_RecorderModule::aLateLoadingFailedReplyDoesNotTouchADestroyedModule()
{
    ModuleFixture fixture;
    fixture.destroyModule();
    QVERIFY(QuenaryDouble::callService("loading_failed", { RECORD_A, "too late" }, "anybody"));
    // Dropped without a look at it: not even a malformed one is reported.
    QVERIFY(QuenaryDouble::callService("loading_failed", {}, "anybody"));
}

void tst_RecorderModule::everyRecorderOfTheViewGetsARecorder()
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

void tst_RecorderModule::instancesThatAreNoRecordersAreIgnored()
{
    ModuleFixture fixture;
    SystemDocumentHandler* const handler = SystemDocumentHandler::instance();
    handler->library()->getOrCreateClass("11111111-0000-4000-8000-000000000000", "Pump");
    QVERIFY(handler->createInstance("11111111-0000-4000-8000-000000000000"));
    QCOMPARE(fixture.module().recorders()->count(), 0);
    fixture.module().onSystemViewBaseInstanceUnregistered(nullptr);
}

void tst_RecorderModule::registeringTheSameClassInstanceTwiceYieldsOneRecorderAndAWarning()
{
    ModuleFixture fixture;
    SystemViewClassInstance* const classInstance = fixture.addRecorder("Rec");
    QTest::ignoreMessage(QtWarningMsg, "Instance \"Rec\" is already linked to a Recorder.");
    fixture.module().onSystemViewBaseInstanceRegistered(classInstance);
    QCOMPARE(fixture.module().recorders()->count(), 1);
}

void tst_RecorderModule::unregisteringAnUnknownClassInstanceIsWarnedOfAndChangesNothing()
{
    ModuleFixture fixture;
    fixture.addRecorder("Rec");
    SystemView* const view = SystemDocumentHandler::instance()->currentSystemView();
    SystemViewClassInstance unknown(QString(),
        SystemDocumentHandler::instance()->library()->getClassWithUUID(
            ReservedAgentAndToolFamilies::RECORDER_CLASS_UUID),
        "Unknown", QPointF(), view);
    QTest::ignoreMessage(QtWarningMsg, "Cannot remove Recorder for instance \"Unknown\" . Recorder object not found.");
    fixture.module().onSystemViewBaseInstanceUnregistered(&unknown);
    QCOMPARE(fixture.module().recorders()->count(), 1);
}

void tst_RecorderModule::aNewInstanceGetsTwoObservedInputs()
{
    ModuleFixture fixture;
    QuenaryDouble::clearCalls();
    RecorderInstance* const instance = fixture.firstInstanceOf(fixture.addRecorder("Rec"));
    const QString record = instance->uuid() + "#record_progress";
    const QString replay = instance->uuid() + "#replay_progress";
    QCOMPARE(QuenaryDouble::calls({ "qny_input_create", "qny_observe_input" }),
        QStringList({ "qny_input_create " + record + " double", "qny_observe_input " + record,
            "qny_input_create " + replay + " double", "qny_observe_input " + replay }));
}

void tst_RecorderModule::anInstanceThatIsAnnouncedTwiceIsCriticalAndKeepsItsInputs()
{
    ModuleFixture fixture;
    SystemViewClassInstance* const classInstance = fixture.addRecorder("Rec");
    RecorderInstance* const instance = fixture.firstInstanceOf(classInstance);
    QuenaryDouble::clearCalls();
    QTest::ignoreMessage(
        QtCriticalMsg, qPrintable("The recorder instance \"" + instance->uuid() + "\" is already registered"));
    Q_EMIT fixture.recorderOf(classInstance)->recorderInstanceCreated(instance);
    QCOMPARE(QuenaryDouble::calls({ "qny_input_create" }), QStringList());
    QCOMPARE(QuenaryDouble::inputs().size(), 2);
}

void tst_RecorderModule::anInstanceThatLeavesTwiceIsCriticalAndTakesItsInputsOnce()
{
    ModuleFixture fixture;
    SystemViewClassInstance* const classInstance = fixture.addRecorder("Rec");
    classInstance->getOrCreateEncounteredAgentInfo(classInstance->encounteredAgentsOnHostAttachedToCorvane(),
        ModuleFixture::commandLine({ "--name", "Rec", "--cassandra", "other:9042" }));
    RecorderInstance* const instance = fixture.firstInstanceOf(classInstance);
    fixture.module().deleteRecorder(instance); // it lives until the event loop runs
    QCOMPARE(QuenaryDouble::inputs().size(), 2);
    QuenaryDouble::clearCalls();
    QTest::ignoreMessage(QtCriticalMsg, qPrintable("The recorder instance \"" + instance->uuid() + "\" is unknown"));
    Q_EMIT fixture.recorderOf(classInstance)->recorderInstanceRemoved(instance);
    QCOMPARE(QuenaryDouble::calls({ "qny_input_remove" }), QStringList());
    QCOMPARE(QuenaryDouble::inputs().size(), 2);
}

void tst_RecorderModule::anInputThatCanNotBeCreatedIsWarnedOfAndTheOtherIsCreated()
{
    ModuleFixture fixture;
    QuenaryDouble::script("qny_input_create", QNY_ERROR_NAME);
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("^failed to create recorder input: \".*#record_progress\"$"));
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("^failed to create recorder input: \".*#replay_progress\"$"));
    QVERIFY(fixture.addRecorder("Rec"));
    QCOMPARE(QuenaryDouble::calls({ "qny_observe_input" }), QStringList());
    QCOMPARE(QuenaryDouble::calls({ "qny_input_create" }).size(), 2);

    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("^Failed to remove input \".*#record_progress\"$"));
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("^Failed to remove input \".*#replay_progress\"$"));
    fixture.destroyModule();
}

void tst_RecorderModule::aRemovedRecorderTakesItsInputsAndMappingsAlong()
{
    ModuleFixture fixture;
    SystemViewClassInstance* const classInstance = fixture.addRecorder("Rec");
    QCOMPARE(QuenaryDouble::inputs().size(), 2);
    QCOMPARE(QuenaryDouble::mappings().size(), 2);
    SystemDocumentHandler::instance()->deleteInstance(classInstance);
    ModuleFixture::settle();
    QCOMPARE(fixture.module().recorders()->count(), 0);
    QCOMPARE(QuenaryDouble::inputs(), QStringList());
    QCOMPARE(QuenaryDouble::mappings(), QStringList());
}

void tst_RecorderModule::anotherDocumentReplacesTheRecorders()
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

void tst_RecorderModule::anInstanceOfAClearedRecorderIsNotReachedByALateReply()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.addRunningRecorder();
    const QString uuid = instance->uuid();
    SystemDocumentHandler::instance()->newDocument();
    // The instance is about to be deleted, and after that is gone: both times its answer is dropped.
    const char* const warning = "void RecorderModule::_onRecordingStoppedReceived(const QString &) unknown recorder id";
    for (int i = 0; i < 2; ++i) {
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("^" + QRegularExpression::escape(warning) + ANY));
        QVERIFY(QuenaryDouble::callService("recording_stopped", {}, uuid));
        QCoreApplication::processEvents();
        ModuleFixture::settle();
    }
}

void tst_RecorderModule::destroyingTheCurrentRecorderSetsCurrentRecorderToNull()
{
    ModuleFixture fixture;
    SystemViewClassInstance* const classInstance = fixture.addRecorder("Rec");
    QSignalSpy changed(&fixture.module(), &RecorderModule::currentRecorderChanged);
    fixture.module().setcurrentRecorder(fixture.firstInstanceOf(classInstance));
    fixture.module().setcurrentRecorder(fixture.firstInstanceOf(classInstance));
    QCOMPARE(changed.count(), 1);
    SystemDocumentHandler::instance()->deleteInstance(classInstance);
    ModuleFixture::settle();
    QCOMPARE(fixture.module().currentRecorder(), nullptr);
    QCOMPARE(changed.count(), 2);
}

void tst_RecorderModule::createRecorderPlacesARecorderInTheView()
{
    ModuleFixture fixture;
    fixture.module().createRecorder();
    QCOMPARE(fixture.module().recorders()->count(), 1);
    SystemView* const view = SystemDocumentHandler::instance()->currentSystemView();
    QCOMPARE(view->getAllClassInstances().size(), 1);
    SystemViewClassInstance* const classInstance = view->getAllClassInstances().first();
    RecorderInstance* const instance = fixture.firstInstanceOf(classInstance);
    QVERIFY(instance);
    // Ready to be started without typing: the built-in store, on this machine.
    QCOMPARE(instance->cassandraEndpoint(), "embedded:9042");
    QVERIFY(instance->isRunnable());
}

void tst_RecorderModule::createRecorderWithoutAViewDoesNothing()
{
    ModuleFixture fixture;
    SystemDocumentHandler::instance()->closeDocument();
    fixture.module().createRecorder();
    QCOMPARE(fixture.module().recorders()->count(), 0);
}

void tst_RecorderModule::deleteRecorderOnARunningInstanceChangesNothing()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.addRunningRecorder();
    fixture.module().deleteRecorder(instance);
    fixture.module().deleteRecorder(nullptr);
    ModuleFixture::settle();
    QCOMPARE(fixture.module().recorders()->count(), 1);
    QCOMPARE(QuenaryDouble::inputs().size(), 2);
    QVERIFY(instance->isOn());
}

void tst_RecorderModule::deletingOneOfTwoInstancesKeepsTheRecorder()
{
    ModuleFixture fixture;
    SystemViewClassInstance* const classInstance = fixture.addRecorder("Rec");
    classInstance->getOrCreateEncounteredAgentInfo(classInstance->encounteredAgentsOnHostAttachedToCorvane(),
        ModuleFixture::commandLine({ "--name", "Rec", "--cassandra", "other:9042" }));
    Recorder* const recorder = fixture.recorderOf(classInstance);
    QCOMPARE(recorder->recorderInstances().size(), 2);
    const QPointer<RecorderInstance> deleted = recorder->recorderInstances().first();
    fixture.module().deleteRecorder(deleted);
    ModuleFixture::settle();
    QVERIFY(deleted.isNull());
    QCOMPARE(recorder->recorderInstances().size(), 1);
    QCOMPARE(QuenaryDouble::inputs().size(), 2);
    QCOMPARE(SystemDocumentHandler::instance()->currentSystemView()->getAllClassInstances().size(), 1);
}

void tst_RecorderModule::deletingTheLastInstanceRemovesTheClassInstanceFromTheDocument()
{
    ModuleFixture fixture;
    SystemViewClassInstance* const classInstance = fixture.addRecorder("Rec");
    fixture.module().deleteRecorder(fixture.firstInstanceOf(classInstance));
    ModuleFixture::settle();
    QCOMPARE(fixture.module().recorders()->count(), 0);
    QCOMPARE(SystemDocumentHandler::instance()->currentSystemView()->getAllClassInstances().size(), 0);
    QCOMPARE(QuenaryDouble::inputs(), QStringList());
    QCOMPARE(QuenaryDouble::mappings(), QStringList());
}

void tst_RecorderModule::recordersAreSortedAgainWhenOneIsRenamed()
{
    ModuleFixture fixture;
    SystemViewClassInstance* const first = fixture.addRecorder("A");
    SystemViewClassInstance* const second = fixture.addRecorder("B");
    SortFilterRecorder* const sorted = fixture.module().sortedRecorders();
    QCOMPARE(sorted->get(0), fixture.recorderOf(first));
    first->setname("C");
    QCOMPARE(sorted->get(0), fixture.recorderOf(second));
}

void tst_RecorderModule::theExecutableIsReportedAsItIs()
{
    ModuleFixture fixture;
    QVERIFY(fixture.module().recorderExecutableExists());
    const RecorderModule without("/no/such/recorder", nullptr);
    QVERIFY(!without.recorderExecutableExists());
    QCOMPARE(without.recorderExecutablePath(), "/no/such/recorder");
}

void tst_RecorderModule::thePluginHandsOverTheCanonicalPathOfTheExecutable()
{
    ModuleFixture fixture;
    const QString path = QCoreApplication::applicationDirPath() + "/../agents/qnyRecorder/qnyRecorder";
    const auto madeModulePath = [] {
        RecorderPlugin plugin;
        const std::unique_ptr<CorvaneModule> module(plugin.createCorvaneModule());
        return static_cast<RecorderModule*>(module.get())->recorderExecutablePath();
    };
    const QString canonicalPath = QFileInfo(path).canonicalFilePath();
    QCOMPARE(madeModulePath(), canonicalPath);
    QCOMPARE(canonicalPath.isEmpty(), !QFileInfo::exists(path));
}

QTEST_MAIN(tst_RecorderModule)
#include "tst_recordermodule.moc"
