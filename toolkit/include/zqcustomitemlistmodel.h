// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "zqobjectlistmodel.h"

/// An observable, ordered list of pointers to items of one QObject class `T`; every property of `T` is a role.
///
/// The items are not owned: they are deleted only by deleteNItems() and deleteAllItems(). An item that is destroyed
/// elsewhere leaves the list by itself. `T` may be an incomplete type where the list is declared. Main thread only.
template <typename T> class ZqCustomItemListModel : public ZqObjectListModel
{
public:
    /// While duplicates are not allowed an item that the list already holds is refused with a warning.
    explicit ZqCustomItemListModel(QObject* parent = nullptr, bool allowDuplicates = false)
        : ZqObjectListModel(T::staticMetaObject, allowDuplicates, parent)
    {
    }

    /// Null is ignored.
    void appendRow(T* item) { _append(item); }
    void prependRow(T* item) { _prepend(item); }

    /// `row` is from 0 to size().
    void insertRow(int row, T* item) { _insert(row, item); }

    /// Adds the accepted ones of a batch with one notification.
    void appendRows(const QList<T*>& items) { _appendAll(QList<QObject*>(items.cbegin(), items.cend())); }

    /// takeRow(index), then insertRow(index, item): an item that stands elsewhere in a list without duplicates is
    /// refused by the second step. Returns the replaced item, which lives on, or null when nothing changed.
    T* replace(qsizetype index, T* item) { return static_cast<T*>(_replace(index, item)); }

    /// Removes a row and returns its item, which lives on; null when there is no such row.
    T* takeRow(qsizetype index) { return static_cast<T*>(_take(index)); }

    /// Null when there is no such row.
    T* at(qsizetype index) const { return static_cast<T*>(_at(index)); }
    T* first() const { return at(0); }
    T* last() const { return at(size() - 1); }

    /// A copy, safe to walk while the list changes.
    QList<T*> toList() const
    {
        const QList<QObject*> objects = _objects();
        QList<T*> items;
        items.reserve(objects.size());
        for (QObject* object : objects) {
            items.append(static_cast<T*>(object));
        }
        return items;
    }
};
