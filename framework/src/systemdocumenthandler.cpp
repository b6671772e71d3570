// SPDX-License-Identifier: Apache-2.0
#include "systemdocumenthandler.h"

#include "corvanemoduleplugininterface.h"
#include "corvaneutils.h"
#include "documentkeys.h"
#include "encounteredagentinfo.h"
#include "host.h"
#include "library.h"
#include "pluginmanager.h"
#include "runningagentinfo.h"
#include "systemdocument.h"
#include "systemview.h"
#include "systemviewclass.h"
#include "systemviewclassinstance.h"
#include "systemviewclassplugin.h"
#include "systemviewmanager.h"

#include <zqproperty.h>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QSaveFile>

namespace {

// Of a document; a thousand agents take one MiB.
constexpr qint64 MOST_BYTES = 64 * 1024 * 1024;

QStringList messages(const QList<JsonDocumentError>& errors)
{
    QStringList texts;
    for (const JsonDocumentError& error : errors) {
        texts.append(error.message());
    }
    return texts;
}

// "line 3, column 14" of a byte offset, both counted from 1.
QString placeOf(const QByteArray& text, int offset)
{
    const QByteArray before = text.left(offset);
    const qsizetype line = before.count('\n') + 1;
    const qsizetype column = QString::fromUtf8(before.mid(before.lastIndexOf('\n') + 1)).size() + 1;
    return SystemDocumentHandler::tr("line %1, column %2").arg(line).arg(column);
}

/// What an instance with one launch line is made from.
QJsonObject withLaunchLine(const QString& name, const QString& hostName, const QString& commandLine)
{
    using namespace DocumentKeys;
    const QJsonArray lines { QJsonObject { { COMMAND_LINE, commandLine } } };
    const QJsonArray groups { QJsonObject { { HOST, hostName }, { AGENTS, lines } } };
    return { { NAME, name }, { ENCOUNTERED_AGENTS, groups } };
}

QString localPath(const QUrl& url)
{
    return url.isLocalFile() ? url.toLocalFile() : url.toString();
}

} // namespace

SystemDocumentHandler* SystemDocumentHandler::instance()
{
    // Never deleted, so that modules may leave it in whatever order the process ends; its document is closed in time.
    static SystemDocumentHandler* const self = new SystemDocumentHandler;
    return self;
}

SystemDocumentHandler::SystemDocumentHandler()
    : _library(new Library(this))
{
    connect(this, &SystemDocumentHandler::startAgentRequested, this,
        [](EncounteredAgentInfo* info) { SystemViewManager::instance()->_askLauncher(info); });
    qAddPostRoutine([] {
        SystemDocument* document = instance()->currentSystemDocument();
        instance()->closeDocument();
        QCoreApplication::sendPostedEvents(document, QEvent::DeferredDelete); // the event loop has ended
    });
}

SystemDocumentHandler::~SystemDocumentHandler() = default;

SystemDocument* SystemDocumentHandler::currentSystemDocument() const
{
    return _currentSystemDocument;
}

SystemView* SystemDocumentHandler::currentSystemView() const
{
    return _currentSystemDocument == nullptr ? nullptr : _currentSystemDocument->currentSystemView();
}

Library* SystemDocumentHandler::library() const
{
    return _library;
}

QString SystemDocumentHandler::errorText() const
{
    return _errorText;
}

QStringList SystemDocumentHandler::warnings() const
{
    return _warnings;
}

// ---- opening --------------------------------------------------------------------------------------------------------

void SystemDocumentHandler::newDocument()
{
    auto* document = new SystemDocument(_library, this);
    document->createSystemView(tr("System"));
    document->setisModified(false);
    _setwarnings({});
    _seterrorText({});
    _setcurrentSystemDocument(document);
}

bool SystemDocumentHandler::openDocument(const QUrl& fileUrl)
{
    return openDocument(localPath(fileUrl));
}

bool SystemDocumentHandler::openDocument(const QString& filePath)
{
    const QString path = QFileInfo(filePath).absoluteFilePath();
    const QString shownPath = QDir::toNativeSeparators(path);
    // Reading a pipe or a device could last for ever.
    if (const QFileInfo info(path); info.exists() && !info.isFile() && !info.isDir()) {
        return _fail(tr("%1 is not a system document: it is no file. Open another one.").arg(shownPath));
    }
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return _fail(
            tr("%1 could not be opened: %2. Check the name and your permissions.").arg(shownPath, file.errorString()));
    }
    const QByteArray text = file.size() > MOST_BYTES ? QByteArray() : file.read(MOST_BYTES + 1);
    if (file.size() > MOST_BYTES || text.size() > MOST_BYTES) {
        return _fail(tr("%1 is not a system document: it is larger than %2 MiB. Open another file.")
                .arg(shownPath)
                .arg(MOST_BYTES / 1024 / 1024));
    }
    if (file.error() != QFileDevice::NoError) {
        return _fail(tr("%1 could not be read: %2.").arg(shownPath, file.errorString()));
    }
    QJsonParseError parseError;
    const QJsonDocument parsed = QJsonDocument::fromJson(text, &parseError);
    if (parseError.error != QJsonParseError::NoError) {
        return _fail(tr(
            "%1 is not a system document: it is not JSON at %2 (offset %3): %4. Open another file, or mend this one.")
                .arg(shownPath, placeOf(text, parseError.offset), QString::number(parseError.offset),
                    parseError.errorString()));
    }
    if (!parsed.isObject()) {
        return _fail(
            tr("%1 is not a system document: it holds a list, not an object. Open another file.").arg(shownPath));
    }
    const QJsonObject json = DocumentKeys::withoutZerosInKeys(parsed.object()).toObject();

    // Looked at before the modules' blocks are handed out: a file that is refused must leave nothing behind.
    QList<JsonDocumentError> errors;
    if (!SystemDocument::isReadable(json, errors)) {
        return _fail(tr("%1 was not opened. %2").arg(shownPath, messages(errors).join(u' ')));
    }
    for (CorvaneModulePluginInterface* plugin : PluginManager::instance()->modulePlugins()) {
        const QJsonValue block = json[plugin->jsonTag()];
        if (block.isObject()) {
            QList<JsonDocumentError> blockErrors; // its own: a module's result goes by the whole list
            plugin->loadFromJson(block.toObject(), blockErrors);
            errors.append(blockErrors);
        } else if (!block.isUndefined()) {
            errors.append(
                JsonDocumentError(tr("The block \"%1\" was not read: it must be an object.").arg(plugin->jsonTag())));
        }
    }
    auto* document = new SystemDocument(_library, this);
    document->loadFromJson(json, errors);
    document->setfilePath(path);
    _setwarnings(messages(errors));
    _seterrorText({});
    _setcurrentSystemDocument(document);
    return true;
}

void SystemDocumentHandler::closeDocument()
{
    _setwarnings({});
    _setcurrentSystemDocument(nullptr);
}

void SystemDocumentHandler::_setcurrentSystemDocument(SystemDocument* document)
{
    SystemDocument* previous = _currentSystemDocument;
    if (previous == document) {
        return;
    }
    if (previous != nullptr) {
        previous->leaveNetwork();
        disconnect(previous, nullptr, this, nullptr);
    }
    _currentSystemDocument = document;
    _savedJson = _exportToJson();
    if (document != nullptr) {
        connect(document, &SystemDocument::currentSystemViewChanged, this,
            &SystemDocumentHandler::_updateCurrentSystemView);
        document->followNetwork();
        const auto isOfCurrentView = [this](SystemView* systemView) { return systemView == currentSystemView(); };
        connect(document, &SystemDocument::instanceRegistered, this,
            [this, isOfCurrentView](SystemView* systemView, SystemViewBaseInstance* instance) {
                if (isOfCurrentView(systemView)) {
                    Q_EMIT systemViewBaseInstanceRegistered(instance);
                }
            });
        connect(document, &SystemDocument::instanceUnregistered, this,
            [this, isOfCurrentView](SystemView* systemView, SystemViewBaseInstance* instance) {
                if (isOfCurrentView(systemView)) {
                    Q_EMIT systemViewBaseInstanceUnregistered(instance);
                }
            });
    }
    Q_EMIT currentSystemDocumentChanged();
    _updateCurrentSystemView();
    if (previous != nullptr) {
        previous->deleteLater();
    }
}

void SystemDocumentHandler::_updateCurrentSystemView()
{
    if (_announcedSystemView == currentSystemView()) {
        return;
    }
    _announcedSystemView = currentSystemView();
    Q_EMIT currentSystemViewChanged();
}

// ---- saving ---------------------------------------------------------------------------------------------------------

bool SystemDocumentHandler::saveDocument()
{
    if (_currentSystemDocument == nullptr) {
        return _fail(tr("There is no document to save."));
    }
    if (_currentSystemDocument->filePath().isEmpty()) {
        return _fail(tr("The document has no file yet: choose one with Save as."));
    }
    return _save(_currentSystemDocument->filePath());
}

bool SystemDocumentHandler::saveDocumentAs(const QUrl& fileUrl)
{
    return saveDocumentAs(localPath(fileUrl));
}

bool SystemDocumentHandler::saveDocumentAs(const QString& filePath)
{
    if (_currentSystemDocument == nullptr) {
        return _fail(tr("There is no document to save."));
    }
    if (filePath.isEmpty()) {
        return _fail(tr("The document was not saved: no file was named."));
    }
    return _save(QFileInfo(filePath).absoluteFilePath());
}

bool SystemDocumentHandler::_save(const QString& filePath)
{
    const QJsonObject json = _exportToJson();
    const QByteArray text = QJsonDocument(json).toJson(QJsonDocument::Indented);
    // Written beside the file and put in its place at the end: a full disk leaves the old file as it was.
    QSaveFile file(filePath);
    const bool isNew = !QFileInfo::exists(filePath);
    bool isSaved = file.open(QIODevice::WriteOnly);
    if (isSaved && isNew) {
        // Launch lines may hold passwords: it is its owner's alone. One that was there keeps its permissions.
        file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    }
    isSaved = isSaved && file.write(text) == text.size() && file.commit();
    if (!isSaved) {
        return _fail(tr("%1 could not be saved: %2. The file is as it was before; save under another name.")
                .arg(QDir::toNativeSeparators(filePath), file.errorString()));
    }
    _savedJson = json;
    _currentSystemDocument->setfilePath(filePath);
    _currentSystemDocument->setisModified(false);
    _seterrorText({});
    Q_EMIT documentSaved(filePath);
    return true;
}

QJsonObject SystemDocumentHandler::_exportToJson() const
{
    if (_currentSystemDocument == nullptr) {
        return {};
    }
    QJsonObject json = _currentSystemDocument->exportToJson();
    for (const CorvaneModulePluginInterface* plugin : PluginManager::instance()->modulePlugins()) {
        const QJsonObject block = plugin->exportToJson();
        if (block.isEmpty()) {
            json.remove(plugin->jsonTag());
        } else {
            json[plugin->jsonTag()] = block;
        }
    }
    return json;
}

bool SystemDocumentHandler::hasUnsavedChanges() const
{
    return _currentSystemDocument != nullptr && _exportToJson() != _savedJson;
}

// ---- instances ------------------------------------------------------------------------------------------------------

SystemViewBaseInstance* SystemDocumentHandler::createInstanceFromPlugin(SystemView* systemView,
    SystemViewClassPlugin* plugin, SystemViewClass* systemViewClass, const QPointF& position, const QJsonObject& data)
{
    if (systemView == nullptr || plugin == nullptr || systemViewClass == nullptr) {
        _fail(tr("The agent was not added: open a document first, and choose a known class."));
        return nullptr;
    }
    const QString wantedName = data[DocumentKeys::NAME].toString(systemViewClass->name());
    QList<JsonDocumentError> errors;
    SystemViewClassInstance* instance = plugin->createInstance(
        systemView, systemViewClass, systemView->uniqueInstanceName(wantedName), position, data, errors);
    if (!errors.isEmpty()) {
        _setwarnings(messages(errors));
    }
    _seterrorText({});
    const bool isAdded = systemView->addInstance(instance);
    Q_ASSERT(isAdded); // its name was made unique
    return instance;
}

SystemViewBaseInstance* SystemDocumentHandler::createInstance(const QString& familyUuid)
{
    SystemView* systemView = currentSystemView();
    return createInstanceFromPlugin(systemView, PluginManager::instance()->getSystemViewClassPlugin(familyUuid),
        _library->getClassWithUUID(familyUuid),
        SystemViewManager::instance()->randomInitialPositionInViewport(systemView), QJsonObject());
}

SystemViewBaseInstance* SystemDocumentHandler::createInstanceOnHost(
    const QString& familyUuid, const QString& hostName, const QString& program)
{
    SystemView* systemView = currentSystemView();
    SystemViewClassPlugin* plugin = PluginManager::instance()->getSystemViewClassPlugin(familyUuid);
    SystemViewClass* systemViewClass = _library->getOrCreateClass(familyUuid, QFileInfo(program).fileName());
    QJsonObject data;
    if (systemView != nullptr && plugin != nullptr) {
        const QString name = systemView->uniqueInstanceName(CorvaneUtils::cleanAgentName(systemViewClass->name()));
        data = withLaunchLine(name, hostName, plugin->launchLine(program, name));
    }
    return createInstanceFromPlugin(systemView, plugin, systemViewClass,
        SystemViewManager::instance()->randomInitialPositionInViewport(systemView), data);
}

void SystemDocumentHandler::deleteInstance(SystemViewBaseInstance* instance)
{
    if (instance != nullptr) {
        instance->systemView()->removeInstance(instance);
    }
}

SystemViewBaseInstance* SystemDocumentHandler::placeAgent(RunningAgentInfo* runningAgentInfo)
{
    using namespace DocumentKeys;
    SystemView* systemView = currentSystemView();
    if (runningAgentInfo == nullptr || systemView == nullptr) {
        _fail(tr("The agent was not placed: open a document first."));
        return nullptr;
    }
    const QString name = runningAgentInfo->name();
    if (systemView->uniqueInstanceName(name) != name) {
        _fail(tr("'%1' was not placed: another class has an instance of that name in this view. Rename one of them.")
                .arg(name));
        return nullptr;
    }
    const QString family = runningAgentInfo->familyUuid();
    // Its launch line comes along, so that it gets no default one: where it runs is known.
    const bool hasLine = runningAgentInfo->host() != nullptr && !runningAgentInfo->commandLine().isEmpty();
    const QJsonObject data = hasLine
        ? withLaunchLine(name, runningAgentInfo->host()->networkName(), runningAgentInfo->commandLine())
        : QJsonObject { { NAME, name } };
    return createInstanceFromPlugin(systemView, PluginManager::instance()->getSystemViewClassPlugin(family),
        _library->getOrCreateClass(family, name),
        SystemViewManager::instance()->randomInitialPositionInViewport(systemView), data);
}

// ---- messages -------------------------------------------------------------------------------------------------------

bool SystemDocumentHandler::_fail(const QString& errorText)
{
    qWarning("%s", qUtf8Printable(errorText));
    _seterrorText(errorText);
    return false;
}

void SystemDocumentHandler::_seterrorText(const QString& errorText)
{
    ZqProperty::assign(this, _errorText, errorText, &SystemDocumentHandler::errorTextChanged);
}

void SystemDocumentHandler::_setwarnings(const QStringList& warnings)
{
    ZqProperty::assign(this, _warnings, warnings, &SystemDocumentHandler::warningsChanged);
}
