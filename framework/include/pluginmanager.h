// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvaneframework_global.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QStringList>

class CorvaneModuleEntry;
class CorvaneModulePlugin;
class CorvaneModulePluginInterface;
class SystemViewClassPlugin;

/// The plugins: modules loaded from libraries at run time, and the makers of class instances. One for the process, on
/// the main thread.
class CORVANE_EXPORT PluginManager : public QObject
{
    Q_OBJECT
    Q_MOC_INCLUDE("abstractzqcustomitemlistmodel.h")
    /// Of CorvaneModuleEntry, sorted by file name.
    Q_PROPERTY(AbstractZqCustomItemListModel* modules READ modulesModel CONSTANT)
    /// One sentence for each plugin that could not be loaded.
    Q_PROPERTY(QStringList errors READ errors NOTIFY errorsChanged)

public:
    static PluginManager* instance();

    AbstractZqCustomItemListModel* modulesModel() const;
    QList<CorvaneModuleEntry*> modules() const;
    QStringList errors() const;

    /// Loads the module plugins of a folder; how many. A missing folder, a library of another interface, one that does
    /// not load and a second one of the same uuid or tag are each said in errors().
    int loadPlugins(const QString& folderPath);
    /// The same for one library.
    bool loadPlugin(const QString& filePath);
    /// Takes a plugin that is linked in; the caller owns it and keeps it for as long as this process uses it.
    bool registerModulePlugin(CorvaneModulePlugin* plugin);
    /// Undoes registerModulePlugin(), destroying its module first.
    void unregisterModulePlugin(CorvaneModulePlugin* plugin);

    /// Creates the module of each plugin that has none yet.
    void createModules();
    /// To be called before the application object goes.
    void destroyModules();
    QList<CorvaneModulePluginInterface*> modulePlugins() const;

    /// The maker of instances for a family: its own, else the general one. Never null.
    SystemViewClassPlugin* getSystemViewClassPlugin(const QString& familyUuid) const;
    /// Takes over a maker for its own family; replaces the one that was there.
    void registerSystemViewClassPlugin(SystemViewClassPlugin* plugin);

Q_SIGNALS:
    void errorsChanged();

private:
    PluginManager();
    ~PluginManager() override;

    bool _register(CorvaneModulePlugin* plugin, const QString& filePath, const QString& name, const QString& version);
    bool _fail(const QString& error);

    ZqCustomItemListModel<CorvaneModuleEntry>* _modules;
    QStringList _errors;
    SystemViewClassPlugin* _generalClassPlugin;
    QHash<QString, SystemViewClassPlugin*> _classPlugins;
};
