// SPDX-License-Identifier: Apache-2.0
#include "corvanemoduleentry.h"

#include "corvanemodule.h"
#include "corvanemoduleplugin.h"

CorvaneModuleEntry::CorvaneModuleEntry(CorvaneModulePlugin* plugin, const QString& filePath,
    const QString& metaDataName, const QString& version, QObject* parent)
    : QObject(parent)
    , _pluginObject(plugin)
    , _plugin(plugin)
    , _filePath(filePath)
    , _metaDataName(metaDataName)
    , _version(version)
{
    Q_ASSERT(plugin);
    connect(plugin, &AbstractCorvaneModulePlugin::nameChanged, this, &CorvaneModuleEntry::nameChanged);
    connect(plugin, &AbstractCorvaneModulePlugin::modulesMenuLabelChanged, this,
        &CorvaneModuleEntry::modulesMenuLabelChanged);
    connect(plugin, &AbstractCorvaneModulePlugin::modulesMenuIconChanged, this,
        &CorvaneModuleEntry::modulesMenuIconChanged);
    connect(plugin, &AbstractCorvaneModulePlugin::qmlItemUrlChanged, this, &CorvaneModuleEntry::qmlItemUrlChanged);
}

CorvaneModuleEntry::~CorvaneModuleEntry()
{
    destroyModule();
}

CorvaneModulePlugin* CorvaneModuleEntry::plugin() const
{
    return _pluginObject == nullptr ? nullptr : _plugin;
}

CorvaneModule* CorvaneModuleEntry::module() const
{
    return _module;
}

QString CorvaneModuleEntry::name() const
{
    return plugin() == nullptr ? QString() : _plugin->name();
}

QString CorvaneModuleEntry::modulesMenuLabel() const
{
    return plugin() == nullptr ? QString() : _plugin->modulesMenuLabel();
}

QUrl CorvaneModuleEntry::modulesMenuIcon() const
{
    return plugin() == nullptr ? QUrl() : _plugin->modulesMenuIcon();
}

QUrl CorvaneModuleEntry::qmlItemUrl() const
{
    return plugin() == nullptr ? QUrl() : _plugin->qmlItemUrl();
}

QString CorvaneModuleEntry::filePath() const
{
    return _filePath;
}

QString CorvaneModuleEntry::metaDataName() const
{
    return _metaDataName;
}

QString CorvaneModuleEntry::version() const
{
    return _version;
}

bool CorvaneModuleEntry::createModule()
{
    if (_module == nullptr && plugin() != nullptr) {
        _module = _plugin->createCorvaneModule();
        if (_module != nullptr) {
            connect(_module, &QObject::destroyed, this, &CorvaneModuleEntry::moduleChanged);
            Q_EMIT moduleChanged();
        }
    }
    return _module != nullptr;
}

void CorvaneModuleEntry::destroyModule()
{
    CorvaneModule* module = _module;
    if (module == nullptr) {
        return;
    }
    // Its pages let go of it before it goes.
    disconnect(module, nullptr, this, nullptr);
    _module = nullptr;
    Q_EMIT moduleChanged();
    delete module;
}
