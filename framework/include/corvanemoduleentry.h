// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvaneframework_global.h"

#include <QObject>
#include <QPointer>
#include <QUrl>

class CorvaneModule;
class CorvaneModulePlugin;

/// A loaded module plugin with its module, as the host's menu lists it. Owned by PluginManager.
class CORVANE_EXPORT CorvaneModuleEntry : public QObject
{
    Q_OBJECT
    Q_MOC_INCLUDE("corvanemodule.h")
    Q_PROPERTY(QString name READ name NOTIFY nameChanged)
    Q_PROPERTY(QString modulesMenuLabel READ modulesMenuLabel NOTIFY modulesMenuLabelChanged)
    Q_PROPERTY(QUrl modulesMenuIcon READ modulesMenuIcon NOTIFY modulesMenuIconChanged)
    Q_PROPERTY(QUrl qmlItemUrl READ qmlItemUrl NOTIFY qmlItemUrlChanged)
    /// Null until PluginManager::createModules().
    Q_PROPERTY(CorvaneModule* module READ module NOTIFY moduleChanged)
    /// Path of the plugin's library.
    Q_PROPERTY(QString filePath READ filePath CONSTANT)
    /// "name" and "version" of the plugin's metadata.
    Q_PROPERTY(QString metaDataName READ metaDataName CONSTANT)
    Q_PROPERTY(QString version READ version CONSTANT)

public:
    CorvaneModuleEntry(CorvaneModulePlugin* plugin, const QString& filePath, const QString& metaDataName,
        const QString& version, QObject* parent);
    ~CorvaneModuleEntry() override;

    CorvaneModulePlugin* plugin() const;
    CorvaneModule* module() const;
    QString name() const;
    QString modulesMenuLabel() const;
    QUrl modulesMenuIcon() const;
    QUrl qmlItemUrl() const;
    QString filePath() const;
    QString metaDataName() const;
    QString version() const;

    /// Once; a plugin that returns no module is an error that PluginManager reports.
    bool createModule();
    void destroyModule();

Q_SIGNALS:
    void nameChanged();
    void modulesMenuLabelChanged();
    void modulesMenuIconChanged();
    void qmlItemUrlChanged();
    void moduleChanged();

private:
    QPointer<QObject> _pluginObject; // goes away when its library is unloaded
    CorvaneModulePlugin* const _plugin;
    QPointer<CorvaneModule> _module;
    const QString _filePath;
    const QString _metaDataName;
    const QString _version;
};
