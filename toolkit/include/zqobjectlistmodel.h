// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "abstractzqcustomitemlistmodel.h"
#include "zqobjectrows.h"

class ZqItemWatcher;

/// What ZqCustomItemListModel does that does not depend on the item class at compile time; use the template.
///
/// Roles are the item class's properties: role qtObjectRole() + 1 + i is property i. The list follows its items: the
/// notify signal of a property reports the row's role as changed, and a destroyed item leaves the list.
class ZQTOOLKIT_EXPORT ZqObjectListModel : public AbstractZqCustomItemListModel
{
    Q_OBJECT

public:
    ~ZqObjectListModel() override;

    bool allowDuplicates() const { return _allowDuplicates; }

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role = Qt::EditRole) override;
    bool removeRows(int row, int count, const QModelIndex& parent = QModelIndex()) override;

    /// Moves rows before the row that now is `destinationChild`, as every Qt model does.
    bool moveRows(const QModelIndex& sourceParent, int sourceRow, int count, const QModelIndex& destinationParent,
        int destinationChild) override;

    void appendObject(QObject* object) override;
    void prependObject(QObject* object) override;
    void insertObject(qsizetype index, QObject* object) override;
    QObject* replaceObject(qsizetype index, QObject* object) override;
    bool removeObject(QObject* object) override;
    void remove(qsizetype index, qsizetype count = 1) override;
    bool move(qsizetype from, qsizetype to, qsizetype count = 1) override;
    void clear() override;
    bool deleteNItems(qsizetype index, qsizetype count) override;
    void deleteAllItems() override;
    QObject* itemAt(qsizetype index) const override;
    int rowId(int row) const override { return _rows.ids().at(row); }
    QList<int> rowIds(int first, int count) const override { return _rows.ids().ids(first, count); }
    int rowOfId(int id) const override { return static_cast<int>(_rows.ids().rowOf(id)); }
    QObject* itemOfId(int id) const override;
    bool contains(QObject* object) const override;
    qsizetype indexOf(QObject* object) const override;
    QVariantList toVariantList() const override;

    /// Another number after every change of the rows.
    unsigned edits() const { return _rows.edits(); }

    /// A hint of how many items will be added.
    void reserve(int size);

protected:
    ZqObjectListModel(const QMetaObject& itemClass, bool allowDuplicates, QObject* parent);

    // The typed operations of the template, on objects known to be of the item class.
    void _append(QObject* item);
    void _appendAll(const QList<QObject*>& items);
    void _prepend(QObject* item);
    void _insert(qsizetype row, QObject* item);
    QObject* _replace(qsizetype row, QObject* item);
    QObject* _take(qsizetype row);
    QObject* _at(qsizetype row) const { return row >= 0 && row < _rows.size() ? _rows.at(row) : nullptr; }
    QList<QObject*> _objects() const { return _rows.objects(); }

private slots:
    void _onListItemExternalDeletion(QObject* object);

private:
    friend class ZqItemWatcher;

    void _buildRoles();
    bool _isItem(const QObject* object) const;
    bool _isRefusedDuplicate(const QObject* item) const;
    void _insertAccepted(qsizetype row, QObject* item);
    bool _removeRows(qsizetype row, qsizetype count, bool deleteItems);
    QList<QObject*> _takeWhereTheyStand(const QList<QObject*>& items);
    void _subscribe(QObject* item);
    void _unsubscribe(QObject* item);
    void _onListItemChanged(QObject* item, int signalIndex);
    /// The item that a role is read from or written to; null, after a warning, when index, item or role is invalid.
    QObject* _checkedItem(const QModelIndex& index, int role, const char* operation) const;

    const QMetaObject& _itemClass;
    const bool _allowDuplicates;
    ZqObjectRows _rows;

    /// Method indices of the notify signals, each once, the last first.
    QList<int> _notifySignals;
    /// A signal that notifies several properties reports all their roles.
    QHash<int, QList<int>> _signalToRoles;
    const int _destroyedSignal;
    const int _deletionSlot;

    /// One for each item; owned.
    QHash<const QObject*, ZqItemWatcher*> _watchers;
    /// The items whose rows are being removed because they are being destroyed: nothing may be read from them.
    QList<const QObject*> _dying;
};
