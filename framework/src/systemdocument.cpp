// SPDX-License-Identifier: Apache-2.0
#include "systemdocument.h"

#include "documentkeys.h"
#include "encounteredagentsonhost.h"
#include "host.h"
#include "library.h"
#include "networkconfiguration.h"
#include "runningagentinfo.h"
#include "systemview.h"
#include "systemviewclass.h"
#include "systemviewclassinstance.h"

#include <zqcustomitemlistmodel.h>
#include <zqproperty.h>

#include <QFileInfo>

SystemDocument::SystemDocument(Library* library, QObject* parent)
    : QObject(parent)
    , _library(library)
    , _systemViews(new ZqCustomItemListModel<SystemView>(this))
    , _hosts(new ZqCustomItemListModel<Host>(this))
    , _unplacedAgents(new ZqCustomItemListModel<RunningAgentInfo>(this))
{
    Q_ASSERT(library);
}

SystemDocument::~SystemDocument()
{
    leaveNetwork();
    // Views first: their instances name hosts and running agents.
    const QList<SystemView*> systemViews = _systemViews->toList();
    _systemViews->clear();
    qDeleteAll(systemViews);
}

QStringList SystemDocument::reservedKeys()
{
    return { DocumentKeys::VERSION, DocumentKeys::CLASSES, DocumentKeys::HOSTS, DocumentKeys::VIEWS,
        DocumentKeys::CURRENT_VIEW };
}

QString SystemDocument::filePath() const
{
    return _filePath;
}

QString SystemDocument::name() const
{
    return _filePath.isEmpty() ? tr("Untitled") : QFileInfo(_filePath).completeBaseName();
}

bool SystemDocument::isModified() const
{
    return _isModified;
}

SystemView* SystemDocument::currentSystemView() const
{
    return _currentSystemView;
}

void SystemDocument::setcurrentSystemView(SystemView* currentSystemView)
{
    Q_ASSERT(currentSystemView == nullptr || _systemViews->contains(currentSystemView));
    if (_currentSystemView == currentSystemView) {
        return;
    }
    _currentSystemView = currentSystemView;
    Q_EMIT currentSystemViewChanged();
}

AbstractZqCustomItemListModel* SystemDocument::systemViewsModel() const
{
    return _systemViews;
}

AbstractZqCustomItemListModel* SystemDocument::hostsModel() const
{
    return _hosts;
}

AbstractZqCustomItemListModel* SystemDocument::unplacedAgentsModel() const
{
    return _unplacedAgents;
}

QList<SystemView*> SystemDocument::systemViews() const
{
    return _systemViews->toList();
}

QList<Host*> SystemDocument::hosts() const
{
    return _hosts->toList();
}

QList<RunningAgentInfo*> SystemDocument::unplacedAgents() const
{
    return _unplacedAgents->toList();
}

QList<RunningAgentInfo*> SystemDocument::runningAgentInfos() const
{
    return _runningAgentInfos;
}

Library* SystemDocument::library() const
{
    return _library;
}

SystemView* SystemDocument::createSystemView(const QString& name)
{
    auto* systemView = new SystemView(QString(), name, this);
    claimUuid(systemView->uuid());
    _appendSystemView(systemView);
    _onModified();
    return systemView;
}

Host* SystemDocument::getOrCreateHost(const QString& networkName)
{
    for (Host* host : _hosts->toList()) {
        if (host->networkName() == networkName) {
            return host;
        }
    }
    auto* host = new Host(networkName, this);
    _hosts->appendRow(host);
    if (_followsNetwork) {
        _updateLauncherOf(networkName);
    }
    return host;
}

Host* SystemDocument::localHost()
{
    return getOrCreateHost(NetworkConfiguration::instance()->localNetworkName());
}

bool SystemDocument::claimUuid(const QString& uuid)
{
    const qsizetype count = _uuids.size();
    _uuids.insert(uuid);
    return _uuids.size() > count;
}

void SystemDocument::setfilePath(const QString& filePath)
{
    ZqProperty::assign(this, _filePath, filePath, &SystemDocument::filePathChanged);
}

void SystemDocument::setisModified(bool isModified)
{
    ZqProperty::assign(this, _isModified, isModified, &SystemDocument::isModifiedChanged);
}

void SystemDocument::_onModified()
{
    setisModified(true);
}

void SystemDocument::_appendSystemView(SystemView* systemView)
{
    connect(systemView, &SystemView::modified, this, &SystemDocument::_onModified);
    connect(systemView, &SystemView::instanceRegistered, this,
        [this, systemView](SystemViewBaseInstance* instance) { _onInstanceRegistered(systemView, instance); });
    connect(systemView, &SystemView::instanceUnregistered, this,
        [this, systemView](SystemViewBaseInstance* instance) { _onInstanceUnregistered(systemView, instance); });
    _systemViews->appendRow(systemView);
    for (SystemViewClassInstance* instance : systemView->getAllClassInstances()) {
        connect(instance, &SystemViewBaseInstance::nameChanged, this, [this, instance] { _matchInstance(instance); });
    }
    if (_currentSystemView == nullptr) {
        setcurrentSystemView(systemView);
    }
}

// ---- file -----------------------------------------------------------------------------------------------------------

bool SystemDocument::isReadable(const QJsonObject& json, QList<JsonDocumentError>& errors)
{
    using namespace DocumentKeys;
    const QJsonValue version = json[VERSION];
    if (!version.isDouble() || version.toInt() < 1) {
        errors.append(JsonDocumentError(
            tr("It is not a system document: the number \"%1\" is missing. Open a file that Corvane saved.")
                .arg(VERSION)));
        return false;
    }
    if (version.toInt() > VERSION_NUMBER) {
        errors.append(JsonDocumentError(
            tr("It was saved by a newer Corvane (document version %1, this one reads %2). Open it with that one.")
                .arg(version.toInt())
                .arg(VERSION_NUMBER)));
        return false;
    }
    for (const QString& key : { CLASSES, HOSTS, VIEWS }) {
        if (!json[key].isUndefined() && !json[key].isArray()) {
            errors.append(JsonDocumentError(
                tr("It is not a system document: \"%1\" must be a list. Open another file, or mend this one.")
                    .arg(key)));
            return false;
        }
    }
    return true;
}

bool SystemDocument::loadFromJson(const QJsonObject& json, QList<JsonDocumentError>& errors)
{
    using namespace DocumentKeys;
    if (!isReadable(json, errors)) {
        return false;
    }
    _otherKeys = without(json, reservedKeys());
    for (const QJsonValue& value : json[CLASSES].toArray()) {
        const QJsonObject classJson = value.toObject();
        if (classJson[NAME].toString().isEmpty() || !classJson[FAMILY].isString()) {
            errors.append(JsonDocumentError(tr("An entry of \"%1\" was not read: it needs the texts \"%2\" and \"%3\".")
                    .arg(CLASSES, NAME, FAMILY)));
            continue;
        }
        _library->getOrCreateClass(classJson[FAMILY].toString(), classJson[NAME].toString());
    }
    for (const QJsonValue& value : json[HOSTS].toArray()) {
        const QString hostName = value.toObject()[NAME].toString();
        if (hostName.isEmpty()) {
            errors.append(
                JsonDocumentError(tr("An entry of \"%1\" was not read: it needs the text \"%2\".").arg(HOSTS, NAME)));
            continue;
        }
        getOrCreateHost(hostName);
        _readHosts.insert(hostName, value.toObject());
    }
    for (const QJsonValue& value : json[VIEWS].toArray()) {
        const QJsonObject viewJson = value.toObject();
        QString uuid = viewJson[UUID].toString();
        const QString viewName = viewJson[NAME].toString(tr("System"));
        if (!uuid.isEmpty() && !claimUuid(uuid)) {
            errors.append(
                JsonDocumentError(tr("The uuid %1 stands twice; view '%2' got a new one.").arg(uuid, viewName)));
            uuid.clear();
        }
        auto* systemView = new SystemView(uuid, viewName, this);
        systemView->loadFromJson(viewJson, errors);
        _appendSystemView(systemView);
        if (!uuid.isEmpty() && uuid == json[CURRENT_VIEW].toString()) {
            setcurrentSystemView(systemView);
        }
    }
    if (_systemViews->isEmpty()) {
        createSystemView(tr("System"));
    }
    setisModified(false);
    return true;
}

QJsonObject SystemDocument::exportToJson() const
{
    using namespace DocumentKeys;
    QSet<QString> usedHosts;
    QSet<QString> usedFamilies;
    QJsonArray views;
    for (const SystemView* systemView : _systemViews->toList()) {
        views.append(systemView->exportToJson());
        for (const SystemViewClassInstance* instance : systemView->getAllClassInstances()) {
            usedFamilies.insert(instance->familyUuid());
            for (const EncounteredAgentsOnHost* group : instance->encounteredAgentsOnHosts()) {
                if (group->host() != nullptr) {
                    usedHosts.insert(group->host()->networkName());
                }
            }
        }
    }
    // Machines and classes that were only seen in passing are not part of the document.
    QJsonArray hosts;
    for (const Host* host : _hosts->toList()) {
        const QString hostName = host->networkName();
        if (usedHosts.contains(hostName) || _readHosts.contains(hostName)) {
            QJsonObject hostJson = _readHosts.value(hostName);
            hostJson[NAME] = hostName;
            hosts.append(hostJson);
        }
    }
    QJsonArray classes;
    for (const SystemViewClass* systemViewClass : _library->classes()) {
        if (usedFamilies.contains(systemViewClass->familyUuid())) {
            classes.append(
                QJsonObject { { FAMILY, systemViewClass->familyUuid() }, { NAME, systemViewClass->name() } });
        }
    }
    QJsonObject json = _otherKeys;
    json[VERSION] = VERSION_NUMBER;
    json[CLASSES] = classes;
    json[HOSTS] = hosts;
    json[VIEWS] = views;
    if (_currentSystemView != nullptr) {
        json[CURRENT_VIEW] = _currentSystemView->uuid();
    }
    return json;
}
