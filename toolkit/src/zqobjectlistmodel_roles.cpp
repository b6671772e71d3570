// SPDX-License-Identifier: Apache-2.0
// The roles of a list: their table, reading and writing, and the report of a change.
#include "zqitemwatcher.h"
#include "zqobjectlistmodel.h"
#include "zqquickgeneral.h"

#include <QtCore/QDebug>
#include <QtCore/QMetaProperty>
#include <QtCore/QPointer>

#include <algorithm>
#include <array>
#include <functional>
#include <string_view>

namespace {

constexpr std::array<std::string_view, 9> RESERVED_NAMES { "id", "display", "decoration", "edit", "toolTip",
    "statusTip", "whatsThis", "QtObject", "qtObject" };
constexpr std::array<std::string_view, 2> DISCOURAGED_NAMES { "index", "model" };

template <size_t N> bool isAmong(const std::array<std::string_view, N>& names, std::string_view name)
{
    return std::find(names.begin(), names.end(), name) != names.end();
}

bool isAnyItemRole(int role)
{
    return role == AbstractZqCustomItemListModel::QtObjectRole()
        || role == AbstractZqCustomItemListModel::qtObjectRole();
}

} // namespace

void ZqObjectListModel::_buildRoles()
{
    _roleNames.insert(QtObjectRole(), QByteArrayLiteral("QtObject"));
    _roleNames.insert(qtObjectRole(), QByteArrayLiteral("qtObject"));

    for (int i = 0; i < _itemClass.propertyCount(); ++i) {
        const QMetaProperty property = _itemClass.property(i);
        const char* name = property.name();
        if (isAmong(RESERVED_NAMES, name)) {
            if (ZqQuickGeneral::instance().errorsEnabled()) {
                qCritical() << "ZqCustomItemListModel error: class " << _itemClass.className()
                            << " must not have a property named " << name
                            << ", it is a reserved keyword and can create issues with QML";
            }
            continue;
        }
        if (isAmong(DISCOURAGED_NAMES, name) && ZqQuickGeneral::instance().warningsEnabled()) {
            qWarning() << "ZqCustomItemListModel warning: class " << _itemClass.className()
                       << " should not have a property named " << name << ", it can create issues with QML";
        }

        const int role = qtObjectRole() + 1 + i;
        _roleNames.insert(role, name);
        if (property.hasNotifySignal()) {
            const int signalIndex = property.notifySignalIndex();
            if (!_signalToRoles.contains(signalIndex)) {
                _notifySignals.append(signalIndex);
            }
            _signalToRoles[signalIndex].append(role);
        }
    }
    // The last signal first: an object makes its table of connections as long as the signal connected asks for.
    std::sort(_notifySignals.begin(), _notifySignals.end(), std::greater());
}

QVariant ZqObjectListModel::data(const QModelIndex& index, int role) const
{
    QObject* const item = _checkedItem(index, role, "data()");
    if (!item) {
        return {};
    }
    if (isAnyItemRole(role)) {
        return QVariant::fromValue(keptFromEngine(item));
    }
    QVariant value = item->property(_roleNames.value(role).constData());
    if (value.metaType().flags().testFlag(QMetaType::PointerToQObject)) {
        // A script that reads the property itself would not own its value either.
        keptFromEngine(value.value<QObject*>());
    }
    return value;
}

bool ZqObjectListModel::setData(const QModelIndex& index, const QVariant& value, int role)
{
    QObject* const item = _checkedItem(index, role, "setData()");
    if (!item || isAnyItemRole(role)) {
        return false;
    }
    const QPointer<ZqObjectListModel> alive(this);
    item->setProperty(_roleNames.value(role).constData(), value);
    // The row is reported also when the property refused the value: a delegate that shows what was written reads what
    // is. Who heard of the change may have moved the item, taken it out, or deleted the list.
    if (const qsizetype row = alive ? _rows.firstRow(item) : -1; row >= 0) {
        const QModelIndex written = _at(index.row()) == item ? index : this->index(static_cast<int>(row));
        emit dataChanged(written, written, { role });
    }
    return true;
}

QObject* ZqObjectListModel::_checkedItem(const QModelIndex& index, int role, const char* operation) const
{
    const bool warns = ZqQuickGeneral::instance().warningsEnabled();
    const QByteArray prefix = QByteArrayLiteral("> warning in ") + operation;
    if (!index.isValid() || index.model() != this || index.row() >= _rows.size()) {
        if (warns) {
            qWarning() << "ZqCustomItemListModel<" << _itemClass.className()
                       << (prefix + ": invalid index ").constData() << index;
        }
        return nullptr;
    }
    QObject* const item = _rows.at(index.row());
    if (!item || _dying.contains(item)) {
        if (warns) {
            qWarning() << "ZqCustomItemListModel<" << _itemClass.className()
                       << (prefix + ": item at index ").constData() << index.row() << " is undefined";
        }
        return nullptr;
    }
    if (!_roleNames.contains(role)) {
        if (warns) {
            qWarning() << "ZqCustomItemListModel<" << _itemClass.className() << (prefix + ": invalid role").constData()
                       << role << "for item at index " << index.row();
        }
        return nullptr;
    }
    return item;
}

void ZqObjectListModel::_onListItemChanged(QObject* item, int signalIndex)
{
    const QList<int> roles = _signalToRoles.value(signalIndex);
    // A list that notifies may be changed, or deleted, by who listens: a row that no longer holds the item is left out.
    const QPointer<ZqObjectListModel> alive(this);
    for (const qsizetype row : _rows.rows(item)) {
        if (alive && _at(row) == item) {
            const QModelIndex changed = index(static_cast<int>(row));
            emit dataChanged(changed, changed, roles);
        }
    }
}

void ZqObjectListModel::_subscribe(QObject* item)
{
    ZqItemWatcher*& watcher = _watchers[item];
    if (watcher) {
        return;
    }
    watcher = new ZqItemWatcher(this, item);
    for (const int signalIndex : _notifySignals) {
        QMetaObject::connect(item, signalIndex, watcher, ZqItemWatcher::changeSlotIndex(), Qt::UniqueConnection);
    }
    QMetaObject::connect(item, _destroyedSignal, this, _deletionSlot, Qt::UniqueConnection);
}

void ZqObjectListModel::_unsubscribe(QObject* item)
{
    delete _watchers.take(item);
    disconnect(item, nullptr, this, nullptr);
}
