// SPDX-License-Identifier: Apache-2.0
#include "systemview.h"

#include "documentkeys.h"
#include "library.h"
#include "pluginmanager.h"
#include "systemdocument.h"
#include "systemviewclassinstance.h"
#include "systemviewclassplugin.h"

#include <zqcustomitemlistmodel.h>
#include <zqproperty.h>

#include <QUuid>

SystemView::SystemView(const QString& uuid, const QString& name, SystemDocument* systemDocument)
    : QObject(systemDocument)
    , _uuid(uuid.isEmpty() ? QUuid::createUuid().toString(QUuid::WithoutBraces) : uuid)
    , _name(name)
    , _systemDocument(systemDocument)
    , _viewport(0, 0, 960, 640)
    , _instances(new ZqCustomItemListModel<SystemViewBaseInstance>(this))
{
    Q_ASSERT(systemDocument);
}

SystemView::~SystemView() = default;

QString SystemView::uuid() const
{
    return _uuid;
}

QString SystemView::name() const
{
    return _name;
}

void SystemView::setname(const QString& name)
{
    if (ZqProperty::assign(this, _name, name, &SystemView::nameChanged)) {
        Q_EMIT modified();
    }
}

AbstractZqCustomItemListModel* SystemView::instancesModel() const
{
    return _instances;
}

SystemDocument* SystemView::systemDocument() const
{
    return _systemDocument;
}

QRectF SystemView::viewport() const
{
    return _viewport;
}

void SystemView::setviewport(const QRectF& viewport)
{
    ZqProperty::assign(this, _viewport, viewport, &SystemView::viewportChanged);
}

QList<SystemViewBaseInstance*> SystemView::getAllInstances() const
{
    return _instances->toList();
}

QList<SystemViewClassInstance*> SystemView::getAllClassInstances() const
{
    QList<SystemViewClassInstance*> classInstances;
    for (SystemViewBaseInstance* instance : _instances->toList()) {
        if (auto* classInstance = qobject_cast<SystemViewClassInstance*>(instance)) {
            classInstances.append(classInstance);
        }
    }
    return classInstances;
}

SystemViewClassInstance* SystemView::getAgentByName(const QString& name) const
{
    for (SystemViewClassInstance* instance : getAllClassInstances()) {
        if (instance->name() == name) {
            return instance;
        }
    }
    return nullptr;
}

SystemViewBaseInstance* SystemView::getInstanceWithUuid(const QString& uuid) const
{
    for (SystemViewBaseInstance* instance : _instances->toList()) {
        if (instance->uuid() == uuid) {
            return instance;
        }
    }
    return nullptr;
}

QString SystemView::uniqueInstanceName(const QString& name) const
{
    QSet<QString> names;
    for (const SystemViewBaseInstance* instance : _instances->toList()) {
        names.insert(instance->name());
    }
    QString unique = name;
    for (int number = 2; names.contains(unique); ++number) {
        unique = name + u' ' + QString::number(number);
    }
    return unique;
}

bool SystemView::addInstance(SystemViewBaseInstance* instance)
{
    Q_ASSERT(instance);
    Q_ASSERT(instance->systemView() == this);
    if (uniqueInstanceName(instance->name()) != instance->name()) {
        delete instance;
        return false;
    }
    _connectInstance(instance);
    _instances->appendRow(instance);
    Q_EMIT instanceRegistered(instance);
    Q_EMIT modified();
    return true;
}

void SystemView::removeInstance(SystemViewBaseInstance* instance)
{
    if (!_instances->removeObject(instance)) {
        return;
    }
    Q_EMIT instanceUnregistered(instance);
    disconnect(instance, nullptr, this, nullptr);
    instance->deleteLater();
    Q_EMIT modified();
}

QJsonObject SystemView::exportToJson() const
{
    QJsonArray instances;
    for (const SystemViewBaseInstance* instance : _instances->toList()) {
        instances.append(instance->exportToJson());
    }
    for (const QJsonValue& unread : _unreadInstances) {
        instances.append(unread);
    }
    QJsonObject json = _otherKeys;
    json[DocumentKeys::UUID] = _uuid;
    json[DocumentKeys::NAME] = _name;
    json[DocumentKeys::INSTANCES] = instances;
    return json;
}

void SystemView::loadFromJson(const QJsonObject& json, QList<JsonDocumentError>& errors)
{
    using namespace DocumentKeys;
    _otherKeys = without(json, { UUID, NAME, INSTANCES });
    if (!json[INSTANCES].isUndefined() && !json[INSTANCES].isArray()) {
        errors.append(JsonDocumentError(
            tr("The instances of view '%1' were not read: \"%2\" must be a list.").arg(_name, INSTANCES)));
    }
    for (const QJsonValue& value : json[INSTANCES].toArray()) {
        const QJsonObject instanceJson = value.toObject();
        const QString instanceName = instanceJson[NAME].toString();
        if (instanceName.isEmpty() || !instanceJson[FAMILY].isString()) {
            errors.append(JsonDocumentError(tr("An instance of view '%1' was not read: it needs the texts \"%2\" and "
                                               "\"%3\". It is kept in the file as it is.")
                    .arg(_name, NAME, FAMILY)));
            _unreadInstances.append(value);
            continue;
        }
        const QString family = instanceJson[FAMILY].toString();
        SystemViewClass* systemViewClass = _systemDocument->library()->getOrCreateClass(family, instanceName);
        const QString uniqueName = uniqueInstanceName(instanceName);
        if (uniqueName != instanceName) {
            errors.append(JsonDocumentError(tr("Two instances of view '%1' are named '%2'; the second is now '%3'.")
                    .arg(_name, instanceName, uniqueName)));
        }
        const QPointF position(instanceJson[X].toDouble(), instanceJson[Y].toDouble());
        const SystemViewClassPlugin* plugin = PluginManager::instance()->getSystemViewClassPlugin(family);
        SystemViewClassInstance* instance
            = plugin->createInstance(this, systemViewClass, uniqueName, position, instanceJson, errors);
        _connectInstance(instance);
        _instances->appendRow(instance);
    }
}

void SystemView::_connectInstance(SystemViewBaseInstance* instance)
{
    connect(instance, &SystemViewBaseInstance::modified, this, &SystemView::modified);
}
