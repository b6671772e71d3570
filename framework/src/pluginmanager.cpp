// SPDX-License-Identifier: Apache-2.0
#include "pluginmanager.h"

#include "corvanemoduleentry.h"
#include "corvanemoduleplugin.h"
#include "recorderclassplugin.h"
#include "systemdocument.h"

#include <zqcustomitemlistmodel.h>

#include <QCoreApplication>
#include <QDir>
#include <QJsonObject>
#include <QLibrary>
#include <QPluginLoader>

PluginManager* PluginManager::instance()
{
    static PluginManager* const self = new PluginManager; // never deleted; the modules are destroyed in time
    return self;
}

PluginManager::PluginManager()
    : _modules(new ZqCustomItemListModel<CorvaneModuleEntry>(this))
    , _generalClassPlugin(new SystemViewClassPlugin(this))
{
    registerSystemViewClassPlugin(new RecorderClassPlugin(this));
    qAddPostRoutine([] { PluginManager::instance()->destroyModules(); });
}

PluginManager::~PluginManager() = default;

AbstractZqCustomItemListModel* PluginManager::modulesModel() const
{
    return _modules;
}

QList<CorvaneModuleEntry*> PluginManager::modules() const
{
    return _modules->toList();
}

QStringList PluginManager::errors() const
{
    return _errors;
}

int PluginManager::loadPlugins(const QString& folderPath)
{
    const QDir folder(folderPath);
    if (!folder.exists()) {
        _fail(tr("There is no plugin folder %1: build or install the modules there.")
                .arg(QDir::toNativeSeparators(folder.absolutePath())));
        return 0;
    }
    int count = 0;
    for (const QFileInfo& file : folder.entryInfoList(QDir::Files, QDir::Name)) {
        // Links such as libX.so -> libX.so.1 name one library.
        if (QLibrary::isLibrary(file.fileName()) && !file.isSymbolicLink() && loadPlugin(file.absoluteFilePath())) {
            ++count;
        }
    }
    return count;
}

bool PluginManager::loadPlugin(const QString& filePath)
{
    const QString shownPath = QDir::toNativeSeparators(filePath);
    QPluginLoader loader(filePath);
    const QJsonObject metaData = loader.metaData();
    if (metaData.isEmpty()) {
        return _fail(tr("%1 was not loaded: it is not a plugin of this Qt (%2).").arg(shownPath, loader.errorString()));
    }
    const QString iid = metaData[QStringLiteral("IID")].toString();
    if (iid != QLatin1String(CorvaneModulePluginInterface_iid)) {
        return _fail(tr("%1 was not loaded: its interface is \"%2\", not \"%3\".")
                .arg(shownPath, iid, QLatin1String(CorvaneModulePluginInterface_iid)));
    }
    QObject* root = loader.instance();
    if (root == nullptr) {
        return _fail(tr("%1 was not loaded: %2").arg(shownPath, loader.errorString()));
    }
    auto* plugin = qobject_cast<CorvaneModulePlugin*>(root);
    if (plugin == nullptr) {
        loader.unload();
        return _fail(tr("%1 was not loaded: its class does not derive from CorvaneModulePlugin.").arg(shownPath));
    }
    const QJsonObject own = metaData[QStringLiteral("MetaData")].toObject();
    if (!_register(
            plugin, filePath, own[QStringLiteral("name")].toString(), own[QStringLiteral("version")].toString())) {
        return false;
    }
    return true;
}

bool PluginManager::registerModulePlugin(CorvaneModulePlugin* plugin)
{
    Q_ASSERT(plugin);
    return _register(plugin, QString(), plugin->name(), QString());
}

void PluginManager::unregisterModulePlugin(CorvaneModulePlugin* plugin)
{
    for (CorvaneModuleEntry* entry : _modules->toList()) {
        if (entry->plugin() == plugin) {
            _modules->removeObject(entry);
            delete entry;
        }
    }
}

bool PluginManager::_register(
    CorvaneModulePlugin* plugin, const QString& filePath, const QString& name, const QString& version)
{
    const QString shownName = filePath.isEmpty() ? name : QDir::toNativeSeparators(filePath);
    const QString tag = plugin->jsonTag();
    if (tag.isEmpty() || plugin->uuid().isEmpty()) {
        return _fail(tr("%1 was not loaded: it names no uuid or no tag for the document.").arg(shownName));
    }
    if (SystemDocument::reservedKeys().contains(tag)) {
        return _fail(tr("%1 was not loaded: its tag \"%2\" is a key of the document's own.").arg(shownName, tag));
    }
    for (const CorvaneModuleEntry* entry : _modules->toList()) {
        const CorvaneModulePlugin* other = entry->plugin();
        if (other != nullptr && (other->uuid() == plugin->uuid() || other->jsonTag() == tag)) {
            return _fail(tr("%1 was not loaded: %2 has the same uuid or tag (\"%3\"). Remove one of them.")
                    .arg(shownName, entry->filePath().isEmpty() ? entry->name() : entry->filePath(), tag));
        }
    }
    _modules->appendRow(new CorvaneModuleEntry(plugin, filePath, name, version, this));
    return true;
}

void PluginManager::createModules()
{
    for (CorvaneModuleEntry* entry : _modules->toList()) {
        if (!entry->createModule()) {
            _fail(tr("The module of %1 could not be created.").arg(entry->name()));
        }
    }
}

void PluginManager::destroyModules()
{
    for (CorvaneModuleEntry* entry : _modules->toList()) {
        entry->destroyModule();
    }
}

QList<CorvaneModulePluginInterface*> PluginManager::modulePlugins() const
{
    QList<CorvaneModulePluginInterface*> plugins;
    for (const CorvaneModuleEntry* entry : _modules->toList()) {
        if (CorvaneModulePluginInterface* plugin = entry->plugin()) {
            plugins.append(plugin);
        }
    }
    return plugins;
}

SystemViewClassPlugin* PluginManager::getSystemViewClassPlugin(const QString& familyUuid) const
{
    return _classPlugins.value(familyUuid, _generalClassPlugin);
}

void PluginManager::registerSystemViewClassPlugin(SystemViewClassPlugin* plugin)
{
    Q_ASSERT(plugin);
    Q_ASSERT(!plugin->familyUuid().isEmpty());
    plugin->setParent(this);
    delete std::exchange(_classPlugins[plugin->familyUuid()], plugin);
}

bool PluginManager::_fail(const QString& error)
{
    qWarning("%s", qUtf8Printable(error));
    _errors.append(error);
    Q_EMIT errorsChanged();
    return false;
}
