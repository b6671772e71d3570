// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "zqrowids.h"

#include <QtCore/QHash>
#include <QtCore/QList>

#include <vector>

class QObject;

/// An ordered list of object addresses that knows where each of them stands without scanning.
///
/// Only the addresses are used: an object may be half destroyed, or gone, when it is looked up. Every row has an id
/// that stays with it wherever it moves; when the row is removed, a later one may get its id. Objects that stand in
/// several rows are allowed and looked up by a scan.
class ZQTOOLKIT_EXPORT ZqObjectRows
{
public:
    ZqObjectRows();
    ~ZqObjectRows();
    Q_DISABLE_COPY_MOVE(ZqObjectRows)

    qsizetype size() const { return _ids.size(); }
    bool isEmpty() const { return _ids.isEmpty(); }

    /// `row` is from 0 to size() - 1.
    QObject* at(qsizetype row) const { return _objectsById[static_cast<size_t>(_ids.at(row))]; }

    /// `count` of them from `row` on, all of which must exist.
    QList<QObject*> objects(qsizetype row, qsizetype count) const;

    /// All of them, in order; a copy.
    QList<QObject*> objects() const { return objects(0, size()); }

    /// The ids of the rows.
    const ZqRowIds& ids() const { return _ids; }

    /// The object in the row of an id, or null when there is no such row.
    QObject* objectOf(int id) const
    {
        return static_cast<size_t>(id) < _objectsById.size() ? _objectsById[static_cast<size_t>(id)] : nullptr;
    }

    /// Another number after every change of the rows.
    unsigned edits() const { return _edits; }
    void reserve(qsizetype size);

    /// How many rows hold the object.
    qsizetype occurrences(const QObject* object) const;

    /// The first row that holds the object, or -1.
    qsizetype firstRow(const QObject* object) const;

    /// Every row that holds the object, first row first.
    QList<qsizetype> rows(const QObject* object) const;

    /// `row` is from 0 to size().
    void insert(qsizetype row, QObject* object);
    void append(const QList<QObject*>& objects);

    /// Removes `count` rows from `row` on, all of which must exist, and returns what they held.
    QList<QObject*> take(qsizetype row, qsizetype count);

    /// Moves rows before the row that now is `destination`, which is not inside the moved range.
    void move(qsizetype row, qsizetype count, qsizetype destination);
    void clear();

private:
    struct Entry
    {
        /// The only row, or any of several.
        int id = -1;
        qsizetype occurrences = 0;
    };

    int _newId(QObject* object);
    void _forget(int id);

    ZqRowIds _ids;
    std::vector<QObject*> _objectsById;
    std::vector<int> _freeIds;
    QHash<const QObject*, Entry> _entries;
    unsigned _edits = 0;
};
