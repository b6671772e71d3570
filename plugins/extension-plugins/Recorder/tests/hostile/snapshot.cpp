// SPDX-License-Identifier: Apache-2.0
#include "snapshot.h"

#include "privatemember.h"
#include "recordermodule.h"
#include "recordermoduledata.h"

#include <quenarydouble.h>

#include <QtCore/QHash>
#include <QtCore/QJsonDocument>
#include <QtCore/QLocale>
#include <QtCore/QMetaProperty>

namespace {

QMultiHash<QString, QPointer<RecorderInstance>> RecorderModule::* instancesByUuid = nullptr;
RecorderReplayContext RecorderInstance::* replayContext = nullptr;

} // namespace

template struct OpenMember<instancesByUuid, &RecorderModule::_instancesByUuid>;
template struct OpenMember<replayContext, &RecorderInstance::_replayContext>;

namespace {

using Objects = QList<std::pair<QString, QObject*>>;

QObject* objectIn(const QVariant& value)
{
    return value.metaType().flags().testFlag(QMetaType::PointerToQObject)
        ? *static_cast<QObject* const*>(value.constData())
        : nullptr;
}

// Objects of the module and what it shows of the host; everything else is an address.
bool isLookedInto(const QObject* object)
{
    for (const QMetaObject* metaObject : { &Recorder::staticMetaObject, &RecorderInstance::staticMetaObject,
             &RecorderRecord::staticMetaObject, &RecordAgentFilter::staticMetaObject, &Speed::staticMetaObject,
             &EncounteredAgentInfo::staticMetaObject, &RunningAgentInfo::staticMetaObject }) {
        if (metaObject->cast(object)) {
            return true;
        }
    }
    return false;
}

QString pathOf(const QString& listPath, int row, const QObject* item)
{
    if (const auto* recorder = qobject_cast<const Recorder*>(item)) {
        return recorder->classInstance() ? recorder->classInstance()->name() : QStringLiteral("recorder without name");
    }
    if (qobject_cast<const RecorderInstance*>(item)) {
        return QStringLiteral("%1[%2]").arg(listPath.section(u'.', 0, 0)).arg(row);
    }
    return QStringLiteral("%1[%2]").arg(listPath).arg(row);
}

void collect(const QString& path, QObject* object, Objects& objects)
{
    const auto isKnown = [&objects](const QObject* other) {
        return std::any_of(
            objects.cbegin(), objects.cend(), [other](const auto& known) { return known.second == other; });
    };
    if (isKnown(object)) {
        return;
    }
    objects.append({ path, object });

    // Lists before single objects: what stands in a list goes by its place there.
    std::vector<std::pair<QString, QObject*>> single;
    for (int i = 0; i < object->metaObject()->propertyCount(); ++i) {
        const QMetaProperty property = object->metaObject()->property(i);
        QObject* const value = objectIn(property.read(object));
        const QString valuePath = path + u'.' + QString::fromLatin1(property.name());
        if (auto* const list = qobject_cast<AbstractZqCustomItemListModel*>(value)) {
            for (int row = 0; row < list->count(); ++row) {
                QObject* const item = list->itemAt(row);
                collect(pathOf(valuePath, row, item), item, objects);
            }
        } else if (value && isLookedInto(value)) {
            // A file's record is the current one as well.
            single.insert(valuePath.endsWith(QLatin1StringView(".recordFromFile")) ? single.begin() : single.end(),
                { valuePath, value });
        }
    }
    for (const auto& [valuePath, value] : single) {
        collect(valuePath, value, objects);
    }
}

QString textOf(const QDateTime& date)
{
    if (!date.isValid()) {
        return QStringLiteral("invalid");
    }
    return date.toString(QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz "))
        + (date.timeSpec() == Qt::LocalTime ? QStringLiteral("local") : date.toString(QStringLiteral("t")));
}

QString textOf(const QVariant& value, const QHash<const QObject*, QString>& paths)
{
    if (value.metaType().flags().testFlag(QMetaType::PointerToQObject)) {
        const QObject* const object = objectIn(value);
        if (!object) {
            return QStringLiteral("null");
        }
        if (const auto* list = qobject_cast<const AbstractZqCustomItemListModel*>(object)) {
            return QStringLiteral("%1 rows").arg(list->count());
        }
        if (const auto* view = qobject_cast<const ZqSortFilterProxyModel*>(object)) {
            QStringList items;
            for (int row = 0; row < view->count(); ++row) {
                items.append(paths.value(view->get(row)));
            }
            return items.join(u',');
        }
        return paths.value(object,
            QStringLiteral("%1 at %2").arg(object->metaObject()->className()).arg(reinterpret_cast<quintptr>(object)));
    }
    switch (value.typeId()) {
    case QMetaType::Double:
        return QString::number(value.toDouble(), 'g', QLocale::FloatingPointShortest);
    case QMetaType::QDateTime:
        return textOf(value.toDateTime());
    case QMetaType::QStringList:
        return value.toStringList().join(u',');
    default:
        return value.metaType().flags().testFlag(QMetaType::IsEnumeration) ? QString::number(value.toInt())
                                                                           : value.toString();
    }
}

// Those of a plain object that only stands between count as the object's own.
void countChildren(const QObject* object, QMap<QString, int>& counts)
{
    for (const QObject* child : object->children()) {
        if (child->metaObject() == &QObject::staticMetaObject && !child->children().isEmpty()) {
            countChildren(child, counts);
        } else {
            ++counts[QString::fromLatin1(child->metaObject()->className())];
        }
    }
}

// The children by class: what no property shows, such as an open file, is one.
QString childrenOf(const QObject* object)
{
    QMap<QString, int> counts;
    countChildren(object, counts);
    QStringList texts;
    for (auto count = counts.cbegin(); count != counts.cend(); ++count) {
        texts.append(QStringLiteral("%1 %2").arg(count.value()).arg(count.key()));
    }
    return texts.join(u',');
}

} // namespace

QList<std::pair<QString, QObject*>> Snapshot::objectsOf(RecorderModule& module)
{
    Objects objects;
    collect(QStringLiteral("module"), &module, objects);
    return objects;
}

Snapshot::Snapshot(RecorderModule& module)
{
    const Objects objects = objectsOf(module);
    QHash<const QObject*, QString> paths;
    for (const auto& [path, object] : objects) {
        paths.insert(object, path);
    }
    for (const auto& [path, object] : objects) {
        const auto put = [this, &prefix = path, &paths](const char* name, const QVariant& value) {
            _values.insert(prefix + u'.' + QString::fromLatin1(name), textOf(value, paths));
        };
        for (int i = 0; i < object->metaObject()->propertyCount(); ++i) {
            const QMetaProperty property = object->metaObject()->property(i);
            put(property.name(), property.read(object));
        }
        put("children", childrenOf(object));
        if (const auto* recorder = qobject_cast<const Recorder*>(object)) {
            for (RecorderInstance* instance : recorder->recorderInstances()) {
                put("found by uuid", QVariant::fromValue(recorder->getRecorderInstanceWithUuid(instance->uuid())));
                put("found by agent uuid",
                    QVariant::fromValue(recorder->getRecorderInstanceWithAgentUuid(instance->agentInstanceUuid())));
            }
        } else if (const auto* instance = qobject_cast<const RecorderInstance*>(object)) {
            put("uuid", instance->uuid());
            put("agentInstanceUuid", instance->agentInstanceUuid());
            put("defaultCommandLine", instance->defaultCommandLine());
            put("executablePath", instance->executablePath());
            put("filePathHint", instance->filePathHint());
            put("waiting context", (instance->*replayContext).replayId);
        } else if (const auto* record = qobject_cast<const RecorderRecord*>(object)) {
            put("uuid", record->uuid());
            put("lastActiveAgentsFilter", record->lastActiveAgentsFilter());
        }
    }
    const auto& routes = module.*instancesByUuid;
    for (auto route = routes.cbegin(); route != routes.cend(); ++route) {
        set(QStringLiteral("module.instance by uuid.") + route.key(), paths.value(route.value(), "not in the lists"));
    }
    const QJsonObject documentData = RecorderModuleData::instance().exportToJson();
    for (const QString& table : documentData.keys()) {
        const QJsonObject entries = documentData.value(table).toObject();
        for (const QString& key : entries.keys()) {
            set(QStringLiteral("document.%1.%2").arg(table, key), entries.value(key).toString());
        }
    }
    set(QStringLiteral("network.services"), QuenaryDouble::services().join(u','));
    set(QStringLiteral("network.inputs"), QuenaryDouble::inputs().join(u','));
    set(QStringLiteral("network.mappings"), QuenaryDouble::mappings().join(u','));
}

void Snapshot::removeUnder(const QString& prefix)
{
    for (auto entry = _values.lowerBound(prefix); entry != _values.end() && entry.key().startsWith(prefix);) {
        entry = _values.erase(entry);
    }
}

void Snapshot::copyUnder(const QString& prefix, const QString& newPrefix)
{
    QMap<QString, QString> copies;
    for (auto entry = _values.lowerBound(prefix); entry != _values.end() && entry.key().startsWith(prefix); ++entry) {
        copies.insert(newPrefix + entry.key().sliced(prefix.size()), entry.value());
    }
    _values.insert(copies);
}

QStringList Snapshot::changesTo(const Snapshot& later) const
{
    const QString none = QStringLiteral("(none)");
    QMap<QString, QString> all = _values;
    all.insert(later._values);
    QStringList changes;
    for (auto entry = all.cbegin(); entry != all.cend(); ++entry) {
        const QString& path = entry.key();
        if (!_values.contains(path) || !later._values.contains(path)
            || _values.value(path) != later._values.value(path)) {
            changes.append(change(path, _values.value(path, none), later._values.value(path, none)));
        }
    }
    return changes;
}

QString change(const QString& path, const QString& before, const QString& after)
{
    // Some texts are of megabytes.
    constexpr int SHOWN = 200;
    return QStringLiteral("%1: %2 -> %3").arg(path, before.left(SHOWN), after.left(SHOWN));
}

QStringList sorted(QStringList changes)
{
    changes.sort();
    return changes;
}
