// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "zqtoolkit_global.h"

#include <QtCore/QAbstractListModel>
#include <QtCore/QByteArray>
#include <QtCore/QHash>
#include <QtCore/QVariant>

/// What QML and the views see of every item list: a flat list of QObject items.
///
/// The list never owns its items, and hands none of them to the JavaScript engine. Main thread only.
/// The implementation is the template ZqCustomItemListModel; properties that expose a list have this type.
class ZQTOOLKIT_EXPORT AbstractZqCustomItemListModel : public QAbstractListModel
{
    Q_OBJECT

    /// Number of rows.
    Q_PROPERTY(int count READ count NOTIFY countChanged FINAL)

public:
    explicit AbstractZqCustomItemListModel(QObject* parent = nullptr);
    ~AbstractZqCustomItemListModel() override;

    /// The two roles that give the item itself, as a QObject*; they are named "QtObject" and "qtObject".
    static constexpr int QtObjectRole() { return Qt::UserRole + 1; }
    static constexpr int qtObjectRole() { return Qt::UserRole + 2; }

    int count() const { return rowCount(); }
    int size() const { return rowCount(); }
    Q_INVOKABLE bool isEmpty() const { return rowCount() == 0; }

    /// The table that the implementation filled in its constructor.
    QHash<int, QByteArray> roleNames() const override { return _roleNames; }

    /// Adds an item at the end. Null is ignored; an object of another class and, while duplicates are not allowed, an
    /// item that the list already holds are refused with a warning.
    Q_INVOKABLE virtual void appendObject(QObject* object) = 0;

    /// As appendObject, at row 0.
    Q_INVOKABLE virtual void prependObject(QObject* object) = 0;

    /// As appendObject, at row `index`, which must be from 0 to size(): anything else is refused with a warning.
    Q_INVOKABLE virtual void insertObject(qsizetype index, QObject* object) = 0;

    /// Puts an item in the place of the one at `index`. Returns the replaced item, which lives on, or null when
    /// refused.
    Q_INVOKABLE virtual QObject* replaceObject(qsizetype index, QObject* object) = 0;

    /// Removes the first row that holds the item, without deleting it. Returns false when there is none.
    Q_INVOKABLE virtual bool removeObject(QObject* object) = 0;

    /// Removes rows without deleting their items; a count below 1 removes nothing.
    Q_INVOKABLE virtual void remove(qsizetype index, qsizetype count = 1) = 0;

    /// Moves `count` rows so that the first of them ends at row `to`. Returns false, with a warning, when it can not.
    Q_INVOKABLE virtual bool move(qsizetype from, qsizetype to, qsizetype count = 1) = 0;

    /// Removes all rows, without deleting their items.
    Q_INVOKABLE virtual void clear() = 0;

    /// Removes rows and deletes their items when control returns to the event loop.
    Q_INVOKABLE virtual bool deleteNItems(qsizetype index, qsizetype count) = 0;

    /// Removes all rows and deletes their items when control returns to the event loop.
    Q_INVOKABLE virtual void deleteAllItems() = 0;

    /// The item at a row, or null when there is no such row or the item is just being destroyed.
    Q_INVOKABLE QObject* get(qsizetype index) const;

    /// As get(), for C++ alone: says nothing about the item's ownership to the JavaScript engine.
    virtual QObject* itemAt(qsizetype index) const = 0;

    /// A number for a row that stays with it wherever the row moves, until it is removed. Small, because it indexes
    /// tables: a new row may get the id of one that is gone.
    virtual int rowId(int row) const = 0;

    /// The ids of `count` rows from `first` on, all of which must exist.
    virtual QList<int> rowIds(int first, int count) const = 0;

    /// The row that has an id, or -1.
    virtual int rowOfId(int id) const = 0;

    /// The item in the row that has an id; null as for itemAt().
    virtual QObject* itemOfId(int id) const = 0;

    Q_INVOKABLE virtual bool contains(QObject* object) const = 0;

    /// The first row that holds the item, or -1.
    Q_INVOKABLE virtual qsizetype indexOf(QObject* object) const = 0;

    /// The items, in order, as QObject* variants.
    Q_INVOKABLE virtual QVariantList toVariantList() const = 0;

signals:
    void countChanged();

protected:
    /// An object that an invokable returns falls to the JavaScript engine unless its ownership was set: sets it to what
    /// it is now. Returns the object.
    static QObject* keptFromEngine(QObject* object);

    /// Role number to name; filled by the implementation's constructor, constant afterwards.
    QHash<int, QByteArray> _roleNames;
};
