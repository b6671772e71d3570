// SPDX-License-Identifier: Apache-2.0
#include "modulefixture.h"

#include "qmlsortfilterrecords.h"
#include "recordermoduledata.h"
#include "recorderutils.h"

#include <QtQml/QJSEngine>

namespace {

QStringList descriptions(const QMetaObject& metaObject, QMetaMethod::MethodType type)
{
    QStringList texts;
    for (int i = metaObject.methodOffset(); i < metaObject.methodCount(); ++i) {
        const QMetaMethod method = metaObject.method(i);
        if (method.methodType() != type) {
            continue;
        }
        QStringList parameters;
        for (int j = 0; j < method.parameterCount(); ++j) {
            parameters.append(
                QString::fromLatin1(method.parameterTypeName(j) + ' ' + method.parameterNames().at(j)).trimmed());
        }
        texts.append(QStringLiteral("%1 %2(%3)")
                .arg(QString::fromLatin1(method.typeName()), QString::fromLatin1(method.name()),
                    parameters.join(QLatin1StringView(", "))));
    }
    return texts;
}

/// "type name constant" or "type name [writable] signal".
QStringList properties(const QMetaObject& metaObject)
{
    QStringList texts;
    for (int i = metaObject.propertyOffset(); i < metaObject.propertyCount(); ++i) {
        const QMetaProperty property = metaObject.property(i);
        QStringList words { QString::fromLatin1(property.typeName()), QString::fromLatin1(property.name()) };
        if (property.isWritable()) {
            words.append(QStringLiteral("writable"));
        }
        if (property.isConstant()) {
            words.append(QStringLiteral("constant"));
        }
        if (property.hasNotifySignal()) {
            words.append(QString::fromLatin1(property.notifySignal().name()));
        }
        texts.append(words.join(u' '));
    }
    return texts;
}

template <typename Item> void checkRoles()
{
    const ZqCustomItemListModel<Item> list;
    QHash<int, QByteArray> expected {
        { AbstractZqCustomItemListModel::QtObjectRole(), "QtObject" },
        { AbstractZqCustomItemListModel::qtObjectRole(), "qtObject" },
    };
    for (int i = 0; i < Item::staticMetaObject.propertyCount(); ++i) {
        expected.insert(
            AbstractZqCustomItemListModel::qtObjectRole() + 1 + i, Item::staticMetaObject.property(i).name());
    }
    QCOMPARE(list.roleNames(), expected);
}

} // namespace

/// What pages, lists and the host find out about the module's classes: names, types and their order.
class tst_RecorderMetaObjects : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QTest::failOnWarning(); }
    void thePropertiesOfTheModuleStandInTheirOrder();
    void theSignalsOfTheModuleStandInTheirOrderWithTheirArguments();
    void theSlotsOfTheModuleStandInTheirOrder();
    void pagesMayCreateAndDeleteRecorders();
    void thePropertiesSignalsAndSlotsOfARecorderStandInTheirOrder();
    void thePropertiesOfAnInstanceStandInTheirOrder();
    void aPageMayCallTheseOfAnInstance();
    void theSlotsOfAnInstanceStandInTheirOrder();
    void signalsOfAnInstanceThatAreNoPropertys();
    void thePropertiesOfARecordStandInTheirOrderAndTheUuidIsNoneOfThem();
    void theSignalsOfARecordStandInTheirOrder();
    void theNameAndTheMarkAreAllOfAnAgentFilter();
    void theTimeFormatsHaveTheirNamesAndValues();
    void theSortedViewsAddNothingToTheirBase();
    void everyListHasARoleForEachPropertyOfItsItems();
    void noObjectOfTheModuleBelongsToAQmlEngine();
};

void tst_RecorderMetaObjects::thePropertiesOfTheModuleStandInTheirOrder()
{
    QCOMPARE(properties(RecorderModule::staticMetaObject),
        QStringList({ "AbstractZqCustomItemListModel* recorders constant",
            "SortFilterRecorder* sortedRecorders constant",
            "RecorderInstance* currentRecorder writable currentRecorderChanged" }));
}

void tst_RecorderMetaObjects::theSignalsOfTheModuleStandInTheirOrderWithTheirArguments()
{
    const QStringList expected {
        "void currentRecorderChanged()",
        "void currentRecorderDestroyed()",
        "void contextReceived(QString recorderId, QString replayId, QDateTime replayStartDateTime, double "
        "replayDuration, double replayProgress, double replaySpeed, bool replayIsRunning, QString replayAllAgents, "
        "QString replayAgentsFiler, QString recordId)",
        "void recordsReceived(QString recorderId, QString records)",
        "void recordingStoppedReceived(QString recorderId)",
        "void recordFiltersReceived(QString recorderId, bool fromFile, QString filters)",
        "void recordingIsStarted(QString recorderId, QString recordUuid)",
        "void recordingProgressReceived(QString recorderId, double elapsedTimeInSeconds)",
        "void loadingProgess(QString recorderId, double percent)",
        "void recordLoaded(QString recorderId, QString recordUuid, QDateTime startDateTime, double "
        "durationInSeconds, QString agentsList)",
        "void recordLoadingFailed(QString recorderId, QString recordUuid, QString reason)",
        "void replayProgressReceived(QString recorderId, double elapsedTimeInSeconds)",
        "void recordPaused(QString recorderId)",
        "void recordMovedTo(QString recorderId, double duration)",
        "void recordFilterApplied(QString recorderId)",
        "void exportReceived(QString recorderId, QString recordUuid, int nextBucketId, QString nextUuid, QString "
        "content)",
        "void importReceived(QString recorderId, QString recordUuid)",
        "void replayEnded(QString recorderName, QString recorderUuid)",
    };
    QCOMPARE(descriptions(RecorderModule::staticMetaObject, QMetaMethod::Signal), expected);
}

void tst_RecorderMetaObjects::theSlotsOfTheModuleStandInTheirOrder()
{
    const QStringList publicSlots { "onSystemDocumentChanged()",
        "onSystemViewBaseInstanceRegistered(SystemViewBaseInstance*)",
        "onSystemViewBaseInstanceUnregistered(SystemViewBaseInstance*)" };
    const QStringList privateSlots { "_oncurrentRecorderDestroyed(QObject*)", "_onCurrentSystemViewChanged()",
        "_onRecorderInstanceCreated(RecorderInstance*)", "_onRecorderInstanceRemoved(RecorderInstance*)",
        "_onContextReceived(QString,QString,QDateTime,double,double,double,bool,QString,QString,QString)",
        "_onRecordsReceived(QString,QString)", "_onRecordingStoppedReceived(QString)",
        "_onRecordFiltersReceived(QString,bool,QString)", "_onRecordingIsStarted(QString,QString)",
        "_onRecordingProgressReceived(QString,double)", "_onLoadingProgess(QString,double)",
        "_onRecordLoaded(QString,QString,QDateTime,double,QString)", "_onRecordLoadingFailed(QString,QString,QString)",
        "_onReplayProgressReceived(QString,double)", "_onRecordPaused(QString)", "_onRecordMovedTo(QString,double)",
        "_onRecordFilterApplied(QString)", "_onExportReceived(QString,QString,int,QString,QString)",
        "_onImportReceived(QString,QString)", "_onReplayEnded(QString,QString)" };
    const QMetaObject& metaObject = RecorderModule::staticMetaObject;
    QCOMPARE(methodSignatures(metaObject, QMetaMethod::Slot), publicSlots + privateSlots);
    for (const QString& slot : publicSlots) {
        QCOMPARE(metaObject.method(metaObject.indexOfSlot(qPrintable(slot))).access(), QMetaMethod::Public);
    }
    for (const QString& slot : privateSlots) {
        QCOMPARE(metaObject.method(metaObject.indexOfSlot(qPrintable(slot))).access(), QMetaMethod::Private);
    }
}

void tst_RecorderMetaObjects::pagesMayCreateAndDeleteRecorders()
{
    QCOMPARE(descriptions(RecorderModule::staticMetaObject, QMetaMethod::Method),
        QStringList({ "void createRecorder()", "void deleteRecorder(RecorderInstance* recorderInstance)" }));
}

void tst_RecorderMetaObjects::thePropertiesSignalsAndSlotsOfARecorderStandInTheirOrder()
{
    const QMetaObject& metaObject = Recorder::staticMetaObject;
    QCOMPARE(properties(metaObject),
        QStringList({ "SystemViewClassInstance* classInstance classInstanceChanged",
            "AbstractZqCustomItemListModel* instances constant",
            "SortFilterRecorderInstance* sortedInstances constant" }));
    QCOMPARE(descriptions(metaObject, QMetaMethod::Signal),
        QStringList(
            { "void classInstanceChanged()", "void recorderInstanceCreated(RecorderInstance* recorderInstance)",
                "void recorderInstanceRemoved(RecorderInstance* recorderInstance)" }));
    QCOMPARE(descriptions(metaObject, QMetaMethod::Slot),
        QStringList({ "void _onclassInstanceDestroyed(QObject* object)",
            "void _onRunningAgentInfoCreated(RunningAgentInfo* runningAgentInfo)",
            "void _onRunningAgentInfoRemoved(RunningAgentInfo* runningAgentInfo)",
            "void _onEncounteredAgentInfoCreated(EncounteredAgentsOnHost* encounteredAgentsOnHost, "
            "EncounteredAgentInfo* encounteredAgentInfo)" }));
}

void tst_RecorderMetaObjects::thePropertiesOfAnInstanceStandInTheirOrder()
{
    const QStringList expected {
        "SystemView* systemView systemViewChanged",
        "SystemViewClassInstance* instance instanceChanged",
        "EncounteredAgentsOnHost* encounteredAgentsOnHost encounteredAgentsOnHostChanged",
        "EncounteredAgentInfo* encounteredAgentInfo encounteredAgentInfoChanged",
        "RunningAgentInfo* runningAgentInfo runningAgentInfoChanged",
        "QString name nameChanged",
        "bool isRunnable isRunnableChanged",
        "bool isOn isOnChanged",
        "bool isInTimestampedReplayMode isInTimestampedReplayModeChanged",
        "AbstractZqCustomItemListModel* records constant",
        "RecorderRecord* currentRecord currentRecordChanged",
        "RecorderRecord* recordFromFile recordFromFileChanged",
        "QString currentFilePath currentFilePathChanged",
        "bool isRecording isRecordingChanged",
        "bool isRecordingPaused isRecordingPausedChanged",
        "double recordingProgressInSeconds recordingProgressInSecondsChanged",
        "bool isLoadingRecord isLoadingRecordChanged",
        "int loadingProgress loadingProgressChanged",
        "QString loadingFailReason loadingFailReasonChanged",
        "bool isFilteringRecord isFilteringRecordChanged",
        "bool isReplaying isReplayingChanged",
        "bool isMovingRecord isMovingRecordChanged",
        "bool isStoppingRecord isStoppingRecordChanged",
        "bool isWaitingToFilterAgents isWaitingToFilterAgentsChanged",
        "bool isDownloadingRecord isDownloadingRecordChanged",
        "int exportingProgress exportingProgressChanged",
        "RecorderRecord* exportRecord exportRecordChanged",
        "bool isCancelingExport isCancelingExportChanged",
        "bool isImportingRecord isImportingRecordChanged",
        "int importingProgress importingProgressChanged",
        "bool isCancelingImport isCancelingImportChanged",
        "QString recordFilters writable recordFiltersChanged",
        "bool isVerbose isVerboseChanged",
        "QString cassandraEndpoint cassandraEndpointChanged",
        "QUrl cassandraEndPointUrl cassandraEndpointUrlChanged",
        "bool offlineMode offlineModeChanged",
        "bool useCustomKeyspace useCustomKeyspaceChanged",
        "QString customKeyspace customKeyspaceChanged",
        "bool useAuthentication useAuthenticationChanged",
        "QString username usernameChanged",
        "QString password passwordChanged",
        "bool isQuenarySecurityActivate isQuenarySecurityActivateChanged",
        "QString privateAgentCertificateFilePath privateAgentCertificateFilePathChanged",
        "QString publicCertificatesDirectoryPath publicCertificatesDirectoryPathChanged",
    };
    QCOMPARE(properties(RecorderInstance::staticMetaObject), expected);
}

void tst_RecorderMetaObjects::aPageMayCallTheseOfAnInstance()
{
    const QStringList expected {
        "void connectAgent()",
        "void disconnectAgent()",
        "bool isRecorderNameAlreadyUsed(QString value)",
        "void updateName(QString value)",
        "void onEncounteredAgentsOnHostCreated(EncounteredAgentsOnHost* encounteredAgentsOnHost, "
        "EncounteredAgentInfo* encounteredAgentInfo)",
        "void startRecording()",
        "void stopRecording()",
        "void pauseRecording()",
        "void resumeRecording()",
        "void getRecords(QString text)",
        "void updateRecordFilters(QString filters)",
        "void loadRecord(RecorderRecord* record)",
        "void loadRecordFile(QString path)",
        "void updateRecordName(RecorderRecord* record, QString name)",
        "void deleteRecord(RecorderRecord* record)",
        "void playRecord(RecorderRecord* record)",
        "void pauseRecord(RecorderRecord* record)",
        "void stopRecord(RecorderRecord* record)",
        "void moveCurrentRecordTime(double timeInSeconds)",
        "void updateRecordAgentsFilter(RecorderRecord* record)",
        "void updateRecordSpeed(RecorderRecord* record, Speed* speed)",
        "bool isRecordNameAlreadyUsed(QString name)",
        "void browseFileToLoad(QString hintPath)",
        "void loadRecordUrl(QUrl url)",
        "void recordCsvFileDropped(QUrl url)",
        "void unloadRecord(RecorderRecord* record)",
        "void updateCurrentRecordTime(QString text)",
        "void beforeUpdateRecordAgentsFilter(RecorderRecord* record)",
        "void downloadRecord(RecorderRecord* record)",
        "void stopExport()",
        "void importRecord()",
        "void importRecord(QUrl filePath)",
        "void continueImport(QString record_uuid)",
        "void stopImport()",
        "void updateIsVerbose(bool isVerbose)",
        "void updateCassandraEndpoint(QString endpoint)",
        "void updateUseCustomKeyspace(bool useCustomKeyspace)",
        "void updateCustomKeyspace(QString keyspace)",
        "void updateUseAuthentication(bool useAuthentication)",
        "void updateUsername(QString username)",
        "void updatePassword(QString password)",
        "void updateIsQuenarySecurityActivate(bool isActivated)",
        "void updatePrivateAgentCertificateFilePath(QString path)",
        "void updatePublicCertificatesDirectoryPath(QString path)",
        "void updateTimestampedReplayMode(bool enabled)",
    };
    QCOMPARE(descriptions(RecorderInstance::staticMetaObject, QMetaMethod::Method), expected);
}

void tst_RecorderMetaObjects::theSlotsOfAnInstanceStandInTheirOrder()
{
    QCOMPARE(methodSignatures(RecorderInstance::staticMetaObject, QMetaMethod::Slot),
        QStringList({ "_onsystemViewDestroyed(QObject*)", "_oninstanceDestroyed(QObject*)",
            "_onencounteredAgentsOnHostDestroyed(QObject*)", "_onencounteredAgentInfoDestroyed(QObject*)",
            "_onrunningAgentInfoDestroyed(QObject*)", "_oncurrentRecordDestroyed(QObject*)",
            "_onrecordFromFileDestroyed(QObject*)", "_onexportRecordDestroyed(QObject*)", "_updateIsRunnable()" }));
}

void tst_RecorderMetaObjects::signalsOfAnInstanceThatAreNoPropertys()
{
    const QMetaObject& metaObject = RecorderInstance::staticMetaObject;
    QStringList left = descriptions(metaObject, QMetaMethod::Signal);
    for (int i = metaObject.propertyOffset(); i < metaObject.propertyCount(); ++i) {
        left.removeAll(QString("void %1()").arg(QString::fromLatin1(metaObject.property(i).notifySignal().name())));
    }
    QCOMPARE(left,
        QStringList({ "void uuidChanged()", "void agentInstanceUuidChanged()", "void defaultCommandLineChanged()",
            "void confirmRecordDeletion(RecorderRecord* record)", "void filePathHintChanged()",
            "void filePathSelectedForLoad(QString path)" }));
}

void tst_RecorderMetaObjects::thePropertiesOfARecordStandInTheirOrderAndTheUuidIsNoneOfThem()
{
    QCOMPARE(properties(RecorderRecord::staticMetaObject),
        QStringList({ "QString name nameChanged", "QDateTime startDateTime constant",
            "QDateTime endDateTime endDateTimeChanged", "double durationInSeconds durationInSecondsChanged",
            "bool isRecording isRecordingChanged", "bool isLoaded isLoadedChanged",
            "double replayProgressInSecond replayProgressInSecondChanged",
            "bool replayIsAtStart replayIsAtStartChanged", "bool isReplaying isReplayingChanged",
            "AbstractZqCustomItemListModel* agentsFilters constant",
            "Qt::CheckState agentsFilterState writable agentsFilterStateChanged",
            "QString agentsFilterRecap agentsFilterRecapChanged", "AbstractZqCustomItemListModel* speeds constant",
            "Speed* speed speedChanged" }));
}

void tst_RecorderMetaObjects::theSignalsOfARecordStandInTheirOrder()
{
    QCOMPARE(descriptions(RecorderRecord::staticMetaObject, QMetaMethod::Signal),
        QStringList({ "void uuidChanged()", "void nameChanged()", "void endDateTimeChanged()",
            "void durationInSecondsChanged()", "void isRecordingChanged()", "void isLoadedChanged()",
            "void replayProgressInSecondChanged()", "void isReplayingChanged()", "void agentsFilterStateChanged()",
            "void agentsFilterRecapChanged()", "void lastActiveAgentsFilterChanged()", "void speedChanged()",
            "void replayIsAtStartChanged()" }));
}

void tst_RecorderMetaObjects::theNameAndTheMarkAreAllOfAnAgentFilter()
{
    const QMetaObject& metaObject = RecordAgentFilter::staticMetaObject;
    QCOMPARE(
        properties(metaObject), QStringList({ "QString name constant", "bool checked writable checkedChanged" }));
    QCOMPARE(descriptions(metaObject, QMetaMethod::Signal), QStringList({ "void checkedChanged()" }));
}

void tst_RecorderMetaObjects::theTimeFormatsHaveTheirNamesAndValues()
{
    const QMetaObject& metaObject = RecorderTimeFormat::staticMetaObject;
    const QMetaEnum formats = metaObject.enumerator(metaObject.indexOfEnumerator("Value"));
    QCOMPARE(formats.keyCount(), 2);
    QCOMPARE(formats.key(0), "HH_MM_SS_WITH_SPACES");
    QCOMPARE(formats.value(0), 0);
    QCOMPARE(formats.key(1), "HH_MM_SS_ZZZ");
    QCOMPARE(formats.value(1), 1);
    QCOMPARE(descriptions(metaObject, QMetaMethod::Method),
        QStringList({ "QList<RecorderTimeFormat::Value> allValues()" }));

    QCOMPARE(descriptions(RecorderUtils::staticMetaObject, QMetaMethod::Method),
        QStringList({ "QString prettyPrintTime(double duration, RecorderTimeFormat::Value format)" }));
    QCOMPARE(descriptions(RecorderUtils::staticMetaObject, QMetaMethod::Signal),
        QStringList({ "void downloadDirectoryChanged()" }));
}

void tst_RecorderMetaObjects::theSortedViewsAddNothingToTheirBase()
{
    for (const QMetaObject* metaObject : { &SortFilterRecorder::staticMetaObject,
             &SortFilterRecorderInstance::staticMetaObject, &QmlSortFilterRecords::staticMetaObject }) {
        QCOMPARE(metaObject->superClass(), &ZqSortFilterProxyModel::staticMetaObject);
        QCOMPARE(metaObject->propertyCount(), metaObject->propertyOffset());
        QCOMPARE(metaObject->methodCount(), metaObject->methodOffset());
    }
}

void tst_RecorderMetaObjects::everyListHasARoleForEachPropertyOfItsItems()
{
    checkRoles<Speed>();
    checkRoles<RecorderRecord>();
    checkRoles<RecordAgentFilter>();
    checkRoles<RecorderInstance>();
    checkRoles<Recorder>();
}

void tst_RecorderMetaObjects::noObjectOfTheModuleBelongsToAQmlEngine()
{
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.addRunningRecorder();
    ScriptedRecorder recorder(instance);
    recorder.records("[" + recordJson(RECORD_A, "A") + "]");
    recorder.loaded(RECORD_A, 3.0, R"(["a"])");
    auto* const record = qobject_cast<RecorderRecord*>(instance->records()->get(0));
    // Wrapped by an engine, an object belongs to it from then on, unless it was said before that it does not.
    QJSEngine engine;
    for (QObject* object : QList<QObject*> { &fixture.module(), fixture.recorderOf(instance->instance()), instance,
             record, record->agentsFilters()->get(0), record->speed(), &RecorderModuleData::instance(),
             &RecorderUtils::instance(), &RecorderTimeFormat::instance() }) {
        QVERIFY(object);
        engine.newQObject(object);
        QVERIFY2(QJSEngine::objectOwnership(object) == QJSEngine::CppOwnership, object->metaObject()->className());
    }
}

QTEST_MAIN(tst_RecorderMetaObjects)
#include "tst_recordermetaobjects.moc"
