// SPDX-License-Identifier: Apache-2.0
#include "recordermodule.h"

#include "livingmodules.h"
#include "recordermodule_replies.h"

#include <library.h>
#include <pluginmanager.h>
#include <quenary.h>
#include <reservedagentandtoolfamilies.h>
#include <systemdocumenthandler.h>
#include <systemview.h>
#include <systemviewclass.h>
#include <systemviewmanager.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QDebug>
#include <QtCore/QFileInfo>
#include <QtCore/QJsonObject>
#include <QtCore/QThread>
#include <QtQml/QJSEngine>

namespace {

// Null for anything but a class instance of the recorder class.
SystemViewClassInstance* toRecorderClassInstance(SystemViewBaseInstance* instance)
{
    auto* const classInstance = qobject_cast<SystemViewClassInstance*>(instance);
    if (!classInstance || !classInstance->systemViewClass()
        || classInstance->systemViewClass()->familyUuid() != ReservedAgentAndToolFamilies::RECORDER_CLASS_UUID) {
        return nullptr;
    }
    return classInstance;
}

} // namespace

RecorderModule::RecorderModule(const QString& recorderExecutablePath, QObject* parent)
    : SystemViewCorvaneModule(parent)
    , _recorderExecutablePath(recorderExecutablePath)
{
    QJSEngine::setObjectOwnership(this, QJSEngine::CppOwnership);
    LivingModules::add(this);
    _sortedRecorders.setSourceModel(&_recorders);
    connect(
        this, &SystemViewCorvaneModule::currentSystemViewChanged, this, &RecorderModule::_onCurrentSystemViewChanged);
    _resetModule();
    _connectReplies();
    _initialiseServices();
    _recorderExecutableExists = QFileInfo::exists(_recorderExecutablePath);
}

RecorderModule::~RecorderModule()
{
    // From here on no callback touches this object, not even one of "loading_failed", which stays declared.
    LivingModules::remove(this);
    disconnect(this, nullptr, this, nullptr);
    disconnect(SystemDocumentHandler::instance(), nullptr, this, nullptr);
    _removeServices();
    _clearRecorders();
    // When the program ends, no event loop deletes what was left for later: recorders, then their instances, then the
    // records of those.
    for (int i = 0; i < 3 && QThread::currentThread()->loopLevel() == 0; ++i) {
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
}

// Automatic connections: emitted on the library's thread, handled on this object's.
void RecorderModule::_connectReplies()
{
    connect(this, &RecorderModule::contextReceived, this, &RecorderModule::_onContextReceived);
    connect(this, &RecorderModule::recordsReceived, this, &RecorderModule::_onRecordsReceived);
    connect(this, &RecorderModule::recordingStoppedReceived, this, &RecorderModule::_onRecordingStoppedReceived);
    connect(this, &RecorderModule::recordFiltersReceived, this, &RecorderModule::_onRecordFiltersReceived);
    connect(this, &RecorderModule::recordingIsStarted, this, &RecorderModule::_onRecordingIsStarted);
    connect(this, &RecorderModule::recordingProgressReceived, this, &RecorderModule::_onRecordingProgressReceived);
    connect(this, &RecorderModule::loadingProgess, this, &RecorderModule::_onLoadingProgess);
    connect(this, &RecorderModule::recordLoaded, this, &RecorderModule::_onRecordLoaded);
    connect(this, &RecorderModule::recordLoadingFailed, this, &RecorderModule::_onRecordLoadingFailed);
    connect(this, &RecorderModule::replayProgressReceived, this, &RecorderModule::_onReplayProgressReceived);
    connect(this, &RecorderModule::recordPaused, this, &RecorderModule::_onRecordPaused);
    connect(this, &RecorderModule::recordMovedTo, this, &RecorderModule::_onRecordMovedTo);
    connect(this, &RecorderModule::recordFilterApplied, this, &RecorderModule::_onRecordFilterApplied);
    connect(this, &RecorderModule::exportReceived, this, &RecorderModule::_onExportReceived);
    connect(this, &RecorderModule::importReceived, this, &RecorderModule::_onImportReceived);
    connect(this, &RecorderModule::replayEnded, this, &RecorderModule::_onReplayEnded);
}

// ---- the current recorder ---------------------------------------------------------------------------------------

void RecorderModule::setcurrentRecorder(RecorderInstance* currentRecorder)
{
    if (_currentRecorder == currentRecorder) {
        return;
    }
    if (_currentRecorder) {
        disconnect(_currentRecorder, &QObject::destroyed, this, &RecorderModule::_oncurrentRecorderDestroyed);
    }
    _currentRecorder = currentRecorder;
    if (_currentRecorder) {
        connect(_currentRecorder, &QObject::destroyed, this, &RecorderModule::_oncurrentRecorderDestroyed);
    }
    Q_EMIT currentRecorderChanged();
}

void RecorderModule::_oncurrentRecorderDestroyed(QObject*)
{
    _currentRecorder = nullptr;
    Q_EMIT currentRecorderChanged();
    Q_EMIT currentRecorderDestroyed();
}

// ---- following the document and its view ------------------------------------------------------------------------

void RecorderModule::onSystemDocumentChanged()
{
    SystemViewCorvaneModule::onSystemDocumentChanged();
    if (SystemDocumentHandler::instance()->currentSystemDocument()) {
        _resetModule();
    }
}

void RecorderModule::_onCurrentSystemViewChanged()
{
    _resetModule();
}

void RecorderModule::onSystemViewBaseInstanceRegistered(SystemViewBaseInstance* newInstance)
{
    if (SystemViewClassInstance* const classInstance = toRecorderClassInstance(newInstance)) {
        _createAndRegisterRecorder(classInstance);
    }
}

void RecorderModule::onSystemViewBaseInstanceUnregistered(SystemViewBaseInstance* instance)
{
    if (SystemViewClassInstance* const classInstance = toRecorderClassInstance(instance)) {
        _removeRecorder(classInstance);
    }
}

// ---- recorders --------------------------------------------------------------------------------------------------

void RecorderModule::_resetModule()
{
    _clearRecorders();
    if (!currentSystemView()) {
        return;
    }
    const QList<SystemViewClassInstance*> classInstances = currentSystemView()->getAllClassInstances();
    for (SystemViewClassInstance* classInstance : classInstances) {
        if (toRecorderClassInstance(classInstance)) {
            _createAndRegisterRecorder(classInstance);
        }
    }
}

void RecorderModule::_createAndRegisterRecorder(SystemViewClassInstance* classInstance)
{
    if (_recordersByClassInstance.value(classInstance)) {
        qWarning() << "Instance" << classInstance->name() << "is already linked to a Recorder.";
        return;
    }
    auto* const recorder = new Recorder(classInstance, _recorderExecutablePath, nullptr);
    connect(recorder, &Recorder::recorderInstanceCreated, this, &RecorderModule::_onRecorderInstanceCreated);
    connect(recorder, &Recorder::recorderInstanceRemoved, this, &RecorderModule::_onRecorderInstanceRemoved);
    connect(classInstance, &SystemViewBaseInstance::nameChanged, &_sortedRecorders, &SortFilterRecorder::invalidate,
        Qt::UniqueConnection);
    _recordersByClassInstance.insert(classInstance, recorder);
    _recorders.appendRow(recorder);

    const QList<RecorderInstance*> recorderInstances = recorder->recorderInstances();
    for (RecorderInstance* recorderInstance : recorderInstances) {
        _onRecorderInstanceCreated(recorderInstance);
    }
}

void RecorderModule::_removeRecorder(SystemViewClassInstance* classInstance)
{
    const auto found = _recordersByClassInstance.constFind(classInstance);
    if (found == _recordersByClassInstance.constEnd()) {
        qWarning() << "Cannot remove Recorder for instance" << classInstance->name() << ". Recorder object not found.";
        return;
    }
    Recorder* const recorder = found.value();
    if (!recorder) {
        qWarning() << "Recorder object for instance" << classInstance->name() << "is nullptr";
        _recordersByClassInstance.erase(found);
        return;
    }
    _clearRecorder(recorder);
    _recorders.removeObject(recorder);
    _recordersByClassInstance.remove(classInstance);
    recorder->deleteLater();
}

void RecorderModule::_clearRecorders()
{
    qDebug("Cleaning all recorders ...");
    const QList<Recorder*> recorders = _recorders.toList();
    for (Recorder* recorder : recorders) {
        _clearRecorder(recorder);
    }
    _recordersByClassInstance.clear();
    _recorders.deleteAllItems();
}

// The recorder goes: nothing is heard from it any more, and no answer reaches its instances.
void RecorderModule::_clearRecorder(Recorder* recorder)
{
    disconnect(recorder, nullptr, this, nullptr);
    recorder->stopFollowing();
    if (recorder->classInstance()) {
        disconnect(recorder->classInstance(), nullptr, &_sortedRecorders, nullptr);
    }
    const QList<RecorderInstance*> recorderInstances = recorder->recorderInstances();
    for (RecorderInstance* recorderInstance : recorderInstances) {
        _instancesByUuid.remove(recorderInstance->uuid(), recorderInstance);
        _removeRecorderInputsAndMappings(recorderInstance);
    }
}

// ---- instances --------------------------------------------------------------------------------------------------

void RecorderModule::_onRecorderInstanceCreated(RecorderInstance* recorderInstance)
{
    const QString uuid = recorderInstance->uuid();
    if (uuid.isEmpty()) {
        qCritical() << "Recorder instance" << recorderInstance << "has a empty uuid";
        return;
    }
    if (_instancesByUuid.contains(uuid)) {
        qCritical() << "The recorder instance" << uuid << "is already registered";
        return;
    }
    _instancesByUuid.insert(uuid, recorderInstance);
    _createRecorderInputs(recorderInstance);
}

void RecorderModule::_onRecorderInstanceRemoved(RecorderInstance* recorderInstance)
{
    const QString uuid = recorderInstance->uuid();
    if (uuid.isEmpty()) {
        qCritical() << "Recorder instance" << recorderInstance << "has a empty uuid";
        return;
    }
    if (!_instancesByUuid.contains(uuid)) {
        qCritical() << "The recorder instance" << uuid << "is unknown";
        return;
    }
    _instancesByUuid.remove(uuid, recorderInstance);
    _removeRecorderInputsAndMappings(recorderInstance);
}

void RecorderModule::_createRecorderInputs(RecorderInstance* recorderInstance)
{
    const auto create = [this](const QString& inputName, qny_io_fn callback) {
        const QByteArray name = inputName.toUtf8();
        if (qny_input_create(name.constData(), QNY_DOUBLE_T, nullptr, 0) != QNY_SUCCESS) {
            qWarning() << "failed to create recorder input:" << inputName;
            return;
        }
        qny_observe_input(name.constData(), callback, this);
    };
    create(recorderInstance->recordProgressInput(), qnyInput_recordProgress);
    create(recorderInstance->replayProgressInput(), qnyInput_replayProgress);
}

void RecorderModule::_removeRecorderInputsAndMappings(RecorderInstance* recorderInstance)
{
    const QString inputNames[] = { recorderInstance->recordProgressInput(), recorderInstance->replayProgressInput() };
    const char* const outputNames[] = { "record_progress", "replay_progress" };
    for (const QString& inputName : inputNames) {
        if (qny_input_remove(inputName.toUtf8().constData()) != QNY_SUCCESS) {
            qWarning() << "Failed to remove input" << inputName;
        }
    }
    const QByteArray agentName = recorderInstance->name().toUtf8();
    for (size_t i = 0; i < std::size(inputNames); ++i) {
        qny_mapping_remove_with_name(inputNames[i].toUtf8().constData(), agentName.constData(), outputNames[i]);
    }
}

// ---- what the pages ask for -------------------------------------------------------------------------------------

void RecorderModule::createRecorder()
{
    SystemView* const systemView = currentSystemView();
    if (!systemView) {
        return;
    }
    const QString& family = ReservedAgentAndToolFamilies::RECORDER_CLASS_UUID;
    SystemDocumentHandler* const documentHandler = SystemDocumentHandler::instance();
    documentHandler->createInstanceFromPlugin(systemView, PluginManager::instance()->getSystemViewClassPlugin(family),
        documentHandler->library()->getClassWithUUID(family),
        SystemViewManager::instance()->randomInitialPositionInViewport(systemView), QJsonObject());
}

void RecorderModule::deleteRecorder(RecorderInstance* recorderInstance)
{
    if (!recorderInstance || !recorderInstance->instance() || !currentSystemView() || recorderInstance->isOn()) {
        return;
    }
    SystemViewClassInstance* const classInstance = recorderInstance->instance();
    Recorder* const recorder = _recordersByClassInstance.value(classInstance);
    if (!recorder) {
        qWarning() << "Cannot remove Recorder for instance" << classInstance->name() << ". Recorder object not found.";
        return;
    }
    recorder->deleteRecorderInstance(recorderInstance);
    if (recorder->recorderInstances().isEmpty()) {
        SystemDocumentHandler::instance()->deleteInstance(classInstance);
    }
}
