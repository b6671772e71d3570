// SPDX-License-Identifier: Apache-2.0
#include "modulefixture.h"
#include "privatemember.h"

#include <library.h>
#include <reservedagentandtoolfamilies.h>
#include <systemdocument.h>
#include <systemdocumenthandler.h>
#include <systemview.h>

#include <QtTest/QSignalSpy>

static QString RecorderInstance::* uuidOf = nullptr;
template struct OpenMember<uuidOf, &RecorderInstance::_uuid>;

static QHash<SystemViewClassInstance*, QPointer<Recorder>> RecorderModule::* recordersByClassInstance = nullptr;
template struct OpenMember<recordersByClassInstance, &RecorderModule::_recordersByClassInstance>;

class tst_RecorderModule : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void instancesThatAreNoRecordersAreIgnored();
    void registeringTheSameClassInstanceTwiceYieldsOneRecorderAndAWarning();
    void unregisteringAnUnknownClassInstanceIsWarnedOfAndChangesNothing();
    void aClassInstanceWhoseRecorderIsGoneIsWarnedOf();
    void whoeverHasTheListOfRecordersMayDeleteThem();
    void aNewInstanceGetsTwoObservedInputs();
    void anInstanceWithAnEmptyUuidGetsNoInputsAndIsNeverRoutedTo();
    void anInstanceThatIsAnnouncedTwiceIsCriticalAndKeepsItsInputs();
    void anInstanceThatLeavesTwiceIsCriticalAndTakesItsInputsOnce();
    void anInputThatCanNotBeCreatedIsWarnedOfAndTheOtherIsCreated();
    void aRemovedRecorderTakesItsInputsAndMappingsAlong();
    void destroyingTheCurrentRecorderSetsCurrentRecorderToNull();
    void aRecorderThatIsNoLongerCurrentMayGo();
    void createRecorderPlacesARecorderInTheView();
    void createRecorderWithoutAViewDoesNothing();
    void deleteRecorderOnARunningInstanceChangesNothing();
    void deleteRecorderOfAnInstanceThatBelongsNowhereChangesNothing();
    void deletingOneOfTwoInstancesKeepsTheRecorder();
    void deletingTheLastInstanceRemovesTheClassInstanceFromTheDocument();
    void recordersAreSortedAgainWhenOneIsRenamed();
};

void tst_RecorderModule::instancesThatAreNoRecordersAreIgnored()
{
    ModuleFixture fixture;
    SystemDocumentHandler* const handler = SystemDocumentHandler::instance();
    handler->library()->getOrCreateClass("11111111-0000-4000-8000-000000000000", "Pump");
    SystemViewBaseInstance* const pump = handler->createInstance("11111111-0000-4000-8000-000000000000");
    QVERIFY(pump);
    // One without a class, one of another kind, and none at all.
    SystemView* const view = handler->currentSystemView();
    SystemViewClassInstance classless(QString(), nullptr, "Classless", QPointF(), view);
    SystemViewBaseInstance drawing(QString(), "Drawing", QPointF(), view);
    for (SystemViewBaseInstance* instance : { pump, static_cast<SystemViewBaseInstance*>(&classless), &drawing,
             static_cast<SystemViewBaseInstance*>(nullptr) }) {
        fixture.module().onSystemViewBaseInstanceRegistered(instance);
        fixture.module().onSystemViewBaseInstanceUnregistered(instance);
    }
    QCOMPARE(fixture.module().recorders()->count(), 0);
    QCOMPARE(QuenaryDouble::inputs(), QStringList());
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

void tst_RecorderModule::aClassInstanceWhoseRecorderIsGoneIsWarnedOf()
{
    ModuleFixture fixture;
    SystemViewClassInstance* const classInstance = fixture.addRecorder("Rec");
    delete fixture.recorderOf(classInstance);
    QTest::ignoreMessage(QtWarningMsg, "Recorder object for instance \"Rec\" is nullptr");
    fixture.module().onSystemViewBaseInstanceUnregistered(classInstance);
    QCOMPARE(fixture.module().recorders()->count(), 0);
}

void tst_RecorderModule::whoeverHasTheListOfRecordersMayDeleteThem()
{
    ModuleFixture fixture;
    const QPointer<RecorderInstance> instance = fixture.addRunningRecorder();
    SystemViewClassInstance* const classInstance = instance->instance();
    ScriptedRecorder recorder(instance);
    const QString uuid = instance->uuid();
    fixture.module().recorders()->deleteAllItems();
    ModuleFixture::settle();
    QVERIFY(instance.isNull());
    QTest::ignoreMessage(QtWarningMsg,
        qPrintable("void RecorderModule::_onRecordsReceived(const QString &, const QString &) Unknown recorder id \""
            + uuid + '"'));
    recorder.records("[]");

    fixture.module().onSystemViewBaseInstanceRegistered(classInstance);
    QCOMPARE(fixture.module().recorders()->count(), 1);
    QVERIFY(fixture.firstInstanceOf(classInstance)->isOn());
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

void tst_RecorderModule::anInstanceWithAnEmptyUuidGetsNoInputsAndIsNeverRoutedTo()
{
    ModuleFixture fixture;
    SystemViewClassInstance* const classInstance = fixture.addRecorder("Rec");
    const Recorder* const recorder = fixture.recorderOf(classInstance);
    const RecorderInstance* const known = recorder->recorderInstances().first();
    RecorderInstance nameless(known->systemView(), classInstance, known->encounteredAgentsOnHost(),
        known->encounteredAgentInfo(), ModuleFixture::executablePath(), nullptr);
    nameless.*uuidOf = QString();
    const auto expectCritical = [] {
        QTest::ignoreMessage(QtCriticalMsg,
            QRegularExpression("^Recorder instance RecorderInstance\\(0x[0-9a-f]+\\) has a empty uuid$"));
    };
    QuenaryDouble::clearCalls();
    expectCritical();
    Q_EMIT fixture.recorderOf(classInstance)->recorderInstanceCreated(&nameless);
    QCOMPARE(QuenaryDouble::calls(), QStringList());
    // Not even by a reply without a token.
    QTest::ignoreMessage(
        QtWarningMsg, "void RecorderModule::_onRecordPaused(const QString &) unknown recorder id \"\"");
    QVERIFY(QuenaryDouble::callService("paused", {}, QString()));
    ModuleFixture::settle();

    expectCritical();
    Q_EMIT fixture.recorderOf(classInstance)->recorderInstanceRemoved(&nameless);
    QCOMPARE(QuenaryDouble::calls(), QStringList());
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
    SystemViewClassInstance* const classInstance = fixture.addRecorder("Rec");
    RecorderInstance* const instance = fixture.firstInstanceOf(classInstance);
    const QString record = instance->recordProgressInput();
    const QString replay = instance->replayProgressInput();
    // Announced anew, now that the names of its inputs are known.
    Q_EMIT fixture.recorderOf(classInstance)->recorderInstanceRemoved(instance);
    QCOMPARE(QuenaryDouble::inputs(), QStringList());
    QuenaryDouble::clearCalls();
    QuenaryDouble::script("qny_input_create", QNY_ERROR_NAME, record);
    QTest::ignoreMessage(QtWarningMsg, qPrintable("failed to create recorder input: \"" + record + "\""));
    Q_EMIT fixture.recorderOf(classInstance)->recorderInstanceCreated(instance);
    QCOMPARE(QuenaryDouble::calls(),
        QStringList({ "qny_input_create " + record + " double", "qny_input_create " + replay + " double",
            "qny_observe_input " + replay }));
    QCOMPARE(QuenaryDouble::inputs(), QStringList({ replay }));

    // It can not be removed either, and the rest is.
    QTest::ignoreMessage(QtWarningMsg, qPrintable("Failed to remove input \"" + record + "\""));
    fixture.destroyModule();
    QCOMPARE(QuenaryDouble::inputs(), QStringList());
    QCOMPARE(QuenaryDouble::mappings(), QStringList());
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

void tst_RecorderModule::aRecorderThatIsNoLongerCurrentMayGo()
{
    ModuleFixture fixture;
    SystemViewClassInstance* const first = fixture.addRecorder("First");
    RecorderInstance* const second = fixture.firstInstanceOf(fixture.addRecorder("Second"));
    fixture.module().setcurrentRecorder(fixture.firstInstanceOf(first));
    fixture.module().setcurrentRecorder(second);
    QSignalSpy changed(&fixture.module(), &RecorderModule::currentRecorderChanged);
    SystemDocumentHandler::instance()->deleteInstance(first);
    ModuleFixture::settle();
    QCOMPARE(fixture.module().currentRecorder(), second);
    QCOMPARE(changed.count(), 0);
    QVERIFY(fixture.module().setProperty("currentRecorder", QVariant::fromValue<RecorderInstance*>(nullptr)));
    QCOMPARE(fixture.module().currentRecorder(), nullptr);
    QCOMPARE(changed.count(), 1);
}

void tst_RecorderModule::createRecorderPlacesARecorderInTheView()
{
    ModuleFixture fixture;
    SystemView* const view = SystemDocumentHandler::instance()->currentSystemView();
    view->setviewport(QRectF(1000, 2000, 50, 60));
    fixture.module().createRecorder();
    QCOMPARE(fixture.module().recorders()->count(), 1);
    QCOMPARE(view->getAllClassInstances().size(), 1);
    SystemViewClassInstance* const classInstance = view->getAllClassInstances().first();
    RecorderInstance* const instance = fixture.firstInstanceOf(classInstance);
    QVERIFY(instance);
    QCOMPARE(classInstance->familyUuid(), ReservedAgentAndToolFamilies::RECORDER_CLASS_UUID);
    QVERIFY(view->viewport().contains(classInstance->position()));
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

void tst_RecorderModule::deleteRecorderOfAnInstanceThatBelongsNowhereChangesNothing()
{
    ModuleFixture fixture;
    SystemViewClassInstance* const classInstance = fixture.addRecorder("Rec");
    const Recorder stranger(classInstance, ModuleFixture::executablePath(), nullptr);
    RecorderInstance* const instance = stranger.recorderInstances().first();
    const auto changesNothing = [&] {
        fixture.module().deleteRecorder(instance);
        return stranger.recorderInstances().size() == 1;
    };
    // Of a registry that is none of the module's.
    QTest::ignoreMessage(QtWarningMsg, qPrintable("RecorderInstance \"" + instance->uuid() + "\" is not registered"));
    QVERIFY(changesNothing());
    (fixture.module().*recordersByClassInstance).remove(classInstance);
    QTest::ignoreMessage(QtWarningMsg, "Cannot remove Recorder for instance \"Rec\" . Recorder object not found.");
    QVERIFY(changesNothing());
    // Without a view, then without a class instance.
    SystemDocumentHandler::instance()->closeDocument();
    QVERIFY(changesNothing());
    ModuleFixture::settle();
    QCOMPARE(instance->instance(), nullptr);
    SystemDocumentHandler::instance()->newDocument();
    QVERIFY(changesNothing());
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

QTEST_MAIN(tst_RecorderModule)
#include "tst_recordermodule.moc"
