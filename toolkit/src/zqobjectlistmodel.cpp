// SPDX-License-Identifier: Apache-2.0
// The rows of a list: adding, replacing, removing and moving them.
#include "zqobjectlistmodel.h"

#include "zqitemwatcher.h"
#include "zqquickgeneral.h"

#include <QtCore/QDebug>
#include <QtCore/QMetaMethod>
#include <QtCore/QPointer>
#include <QtCore/QScopedValueRollback>
#include <QtCore/QSet>

#include <algorithm>
#include <limits>

namespace {

bool warns()
{
    return ZqQuickGeneral::instance().warningsEnabled();
}

} // namespace

ZqObjectListModel::ZqObjectListModel(const QMetaObject& itemClass, bool allowDuplicates, QObject* parent)
    : AbstractZqCustomItemListModel(parent)
    , _itemClass(itemClass)
    , _allowDuplicates(allowDuplicates)
    , _destroyedSignal(QMetaMethod::fromSignal(&QObject::destroyed).methodIndex())
    , _deletionSlot(staticMetaObject.indexOfSlot("_onListItemExternalDeletion(QObject*)"))
{
    _buildRoles();
}

ZqObjectListModel::~ZqObjectListModel()
{
    qDeleteAll(_watchers);
}

int ZqObjectListModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(_rows.size());
}

bool ZqObjectListModel::_isItem(const QObject* object) const
{
    return !object || _itemClass.cast(object);
}

bool ZqObjectListModel::_isRefusedDuplicate(const QObject* item) const
{
    return !_allowDuplicates && _rows.occurrences(item) > 0;
}

void ZqObjectListModel::appendObject(QObject* object)
{
    if (_isItem(object)) {
        _append(object);
    } else if (warns()) {
        qWarning() << "ZqCustomItemListModel<" << _itemClass.className() << "> warning: can not add item" << object
                   << " because it has an invalid type";
    }
}

void ZqObjectListModel::prependObject(QObject* object)
{
    if (_isItem(object)) {
        _prepend(object);
    } else if (warns()) {
        qWarning() << "ZqCustomItemListModel<" << _itemClass.className() << "> warning: can not prepend item" << object
                   << " because it has an invalid type";
    }
}

void ZqObjectListModel::insertObject(qsizetype index, QObject* object)
{
    if (_isItem(object)) {
        _insert(index, object);
    } else if (warns()) {
        qWarning() << "ZqCustomItemListModel<" << _itemClass.className() << "> warning: can not insert item" << object
                   << " at position" << index << "because it has an invalid type";
    }
}

QObject* ZqObjectListModel::replaceObject(qsizetype index, QObject* object)
{
    if (_isItem(object)) {
        return keptFromEngine(_replace(index, object));
    }
    if (warns()) {
        qWarning() << "ZqCustomItemListModel<" << _itemClass.className()
                   << "> warning: invalid parameter in call to replace(index, item) - " << object
                   << "does not match the type of our list";
    }
    return nullptr;
}

bool ZqObjectListModel::removeObject(QObject* object)
{
    if (_isItem(object)) {
        return object && _take(_rows.firstRow(object));
    }
    if (warns()) {
        qWarning() << "ZqCustomItemListModel<" << _itemClass.className() << "> warning: can not remove item";
    }
    return false;
}

void ZqObjectListModel::_append(QObject* item)
{
    if (!item) {
        return;
    }
    if (!_isRefusedDuplicate(item)) {
        _insertAccepted(_rows.size(), item);
    } else if (warns()) {
        qWarning() << "ZqCustomItemListModel<" << _itemClass.className() << "> warning: can not append item " << item
                   << "because our list does not allow duplicate items";
    }
}

void ZqObjectListModel::_appendAll(const QList<QObject*>& items)
{
    QList<QObject*> accepted;
    accepted.reserve(items.size());
    QSet<QObject*> inBatch;
    for (QObject* item : items) {
        if (!item) {
            continue;
        }
        if (_isRefusedDuplicate(item) || (!_allowDuplicates && inBatch.contains(item))) {
            if (warns()) {
                qWarning() << "ZqCustomItemListModel<" << _itemClass.className() << "> warning: can not append item "
                           << item << "because our list does not allow duplicate items";
            }
            continue;
        }
        inBatch.insert(item);
        accepted.append(item);
    }
    if (accepted.isEmpty()) {
        return;
    }

    const qsizetype first = _rows.size();
    beginInsertRows(QModelIndex(), static_cast<int>(first), static_cast<int>(first + accepted.size() - 1));
    _watchers.reserve(first + accepted.size());
    for (QObject* item : accepted) {
        _subscribe(item);
    }
    _rows.append(accepted);
    endInsertRows();
    emit countChanged();
}

void ZqObjectListModel::_prepend(QObject* item)
{
    if (!item) {
        return;
    }
    if (!_isRefusedDuplicate(item)) {
        _insertAccepted(0, item);
    } else if (warns()) {
        qWarning() << "ZqCustomItemListModel<" << _itemClass.className() << "> warning: can not prepend item " << item
                   << "because our list does not allow duplicate items";
    }
}

void ZqObjectListModel::_insert(qsizetype row, QObject* item)
{
    if (!item) {
        return;
    }
    if (row < 0 || row > _rows.size()) {
        if (warns()) {
            qWarning() << "ZqCustomItemListModel<" << _itemClass.className() << "> warning: can not insert item "
                       << item << "at position" << row << "because the position is out of range";
        }
        return;
    }
    if (!_isRefusedDuplicate(item)) {
        _insertAccepted(row, item);
    } else if (warns()) {
        qWarning() << "ZqCustomItemListModel<" << _itemClass.className() << "> warning: can not insert item " << item
                   << "because our list does not allow duplicate items";
    }
}

void ZqObjectListModel::_insertAccepted(qsizetype row, QObject* item)
{
    beginInsertRows(QModelIndex(), static_cast<int>(row), static_cast<int>(row));
    _subscribe(item);
    _rows.insert(row, item);
    endInsertRows();
    emit countChanged();
}

QObject* ZqObjectListModel::_replace(qsizetype row, QObject* item)
{
    if (row < 0 || row >= _rows.size()) {
        if (warns()) {
            qWarning() << "ZqCustomItemListModel<" << _itemClass.className() << "> warning: invalid index position "
                       << row << "in call to replace(index, item) - index out of range";
        }
        return nullptr;
    }
    if (!item) {
        if (warns()) {
            qWarning() << "ZqCustomItemListModel<" << _itemClass.className()
                       << "> warning: invalid parameter in call to replace(index, item) - can not replace an item by "
                          "nullptr";
        }
        return nullptr;
    }
    // Who hears that the old item goes may change the list, and delete either.
    const QPointer<QObject> replacement(item);
    const QPointer<QObject> replaced(_at(row));
    _take(row);
    _insert(qMin(row, _rows.size()), replacement);
    return replaced;
}

QObject* ZqObjectListModel::_take(qsizetype row)
{
    QObject* const item = _at(row);
    if (item) {
        _removeRows(row, 1, false);
    }
    return item;
}

void ZqObjectListModel::remove(qsizetype index, qsizetype count)
{
    if (count > 0) {
        _removeRows(index, count, false);
    }
}

bool ZqObjectListModel::removeRows(int row, int count, const QModelIndex& parent)
{
    return !parent.isValid() && _removeRows(row, count, false);
}

bool ZqObjectListModel::deleteNItems(qsizetype index, qsizetype count)
{
    return _removeRows(index, count, true);
}

void ZqObjectListModel::deleteAllItems()
{
    _removeRows(0, _rows.size(), true);
}

bool ZqObjectListModel::_removeRows(qsizetype row, qsizetype count, bool deleteItems)
{
    if (row < 0 || count < 1 || row >= _rows.size()) {
        return false;
    }
    const qsizetype removed = qMin(_rows.size() - row, count);
    const QList<QObject*> leaving = _rows.objects(row, removed);
    const unsigned edits = _rows.edits();
    beginRemoveRows(QModelIndex(), static_cast<int>(row), static_cast<int>(row + removed - 1));
    const bool isDisturbed = edits != _rows.edits();
    const QList<QObject*> taken = isDisturbed ? _takeWhereTheyStand(leaving) : _rows.take(row, removed);
    for (QObject* item : taken) {
        if (deleteItems && !_dying.contains(item)) {
            item->deleteLater();
        }
        if (_rows.occurrences(item) == 0) {
            _unsubscribe(item);
        }
    }
    endRemoveRows();
    if (isDisturbed) {
        // The rows that were announced are not those that went.
        beginResetModel();
        endResetModel();
    }
    emit countChanged();
    return true;
}

/// Takes items out whose rows changed after their removal was announced, because who heard of it changed the list.
QList<QObject*> ZqObjectListModel::_takeWhereTheyStand(const QList<QObject*>& items)
{
    QList<QObject*> taken;
    for (const QObject* item : items) {
        if (const qsizetype row = _rows.firstRow(item); row >= 0) {
            taken.append(_rows.take(row, 1));
        }
    }
    return taken;
}

void ZqObjectListModel::clear()
{
    _removeRows(0, _rows.size(), false);
}

bool ZqObjectListModel::moveRows(const QModelIndex& sourceParent, int sourceRow, int count,
    const QModelIndex& destinationParent, int destinationChild)
{
    const qsizetype size = _rows.size();
    if (sourceParent.isValid() || destinationParent.isValid() || sourceRow < 0 || count < 1 || count > size - sourceRow
        || destinationChild < 0 || destinationChild > size) {
        if (warns()) {
            qWarning() << "ZqCustomItemListModel<" << _itemClass.className()
                       << "> warning: unhandle case, can not move ";
        }
        return false;
    }
    if (!beginMoveRows(sourceParent, sourceRow, sourceRow + count - 1, destinationParent, destinationChild)) {
        if (warns()) {
            qWarning() << "ZqCustomItemListModel<" << _itemClass.className()
                       << "> warning: beginMoveRows has failed, can not move " << count << "item(s) from" << sourceRow
                       << "to" << destinationChild;
        }
        return false;
    }
    _rows.move(sourceRow, count, destinationChild);
    endMoveRows();
    return true;
}

bool ZqObjectListModel::move(qsizetype from, qsizetype to, qsizetype count)
{
    const qsizetype destination = to > from ? to + count : to;
    const auto asRow = [](qsizetype row) {
        return static_cast<int>(std::clamp<qsizetype>(row, -1, std::numeric_limits<int>::max()));
    };
    return moveRows(QModelIndex(), asRow(from), asRow(count), QModelIndex(), asRow(destination));
}

QObject* ZqObjectListModel::itemAt(qsizetype index) const
{
    QObject* const item = _at(index);
    return _dying.contains(item) ? nullptr : item;
}

QObject* ZqObjectListModel::itemOfId(int id) const
{
    QObject* const item = _rows.objectOf(id);
    return _dying.contains(item) ? nullptr : item;
}

bool ZqObjectListModel::contains(QObject* object) const
{
    return _rows.occurrences(object) > 0;
}

qsizetype ZqObjectListModel::indexOf(QObject* object) const
{
    return _rows.firstRow(object);
}

QVariantList ZqObjectListModel::toVariantList() const
{
    QVariantList list;
    list.reserve(_rows.size());
    const QList<QObject*> items = _rows.objects();
    for (QObject* item : items) {
        list.append(QVariant::fromValue(item));
    }
    return list;
}

void ZqObjectListModel::reserve(int size)
{
    _rows.reserve(size);
    _watchers.reserve(size);
}

void ZqObjectListModel::_onListItemExternalDeletion(QObject* object)
{
    const qsizetype occurrences = _rows.occurrences(object);
    if (occurrences == 0) {
        return;
    }
    const QScopedValueRollback<QList<const QObject*>> dying(_dying, _dying + QList<const QObject*> { object });
    if (occurrences == 1) {
        _removeRows(_rows.firstRow(object), 1, false);
        return;
    }
    if (warns()) {
        qWarning() << "ZqCustomItemListModel<" << _itemClass.className() << "> warning: removing" << occurrences
                   << "occurrences of a deleted item";
    }
    beginResetModel();
    const QList<qsizetype> rows = _rows.rows(object);
    for (qsizetype i = rows.size() - 1; i >= 0; --i) {
        _rows.take(rows.at(i), 1);
    }
    delete _watchers.take(object);
    endResetModel();
    emit countChanged();
}
