// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "zqtoolkit_global.h"

#include <QtCore/QHash>
#include <QtCore/QList>

#include <vector>

class QObject;

/// An ordered list of object addresses that knows where each of them stands without scanning.
///
/// Only the addresses are used: an object may be half destroyed, or gone, when it is looked up. Adding and removing at
/// either end and looking a row up take constant time, a removal inside the list a logarithmic number of steps beside
/// the shift of the addresses behind it; an insertion inside the list lets the next look-up number the rows anew.
class ZQTOOLKIT_EXPORT ZqObjectRows
{
public:
    qsizetype size() const { return _objects.size(); }
    bool isEmpty() const { return _objects.isEmpty(); }
    QObject* at(qsizetype row) const { return _objects.at(row); }
    const QList<QObject*>& objects() const { return _objects; }
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
    /// Every object gets a slot, in the order of the rows. A removed slot stays as a hole until the next renumbering,
    /// so that a row is its slot less the holes before it.
    struct Entry
    {
        qsizetype slot = 0;
        qsizetype occurrences = 0;
    };

    qsizetype _rowOfSlot(qsizetype slot) const;
    void _appendSlot(Entry& entry);
    void _makeHole(qsizetype slot);
    void _renumber() const;
    void _register(QObject* object, qsizetype row, qsizetype sizeBefore);

    QList<QObject*> _objects;
    mutable QHash<const QObject*, Entry> _entries;
    mutable bool _slotsAreStale = false;
    mutable qsizetype _firstSlot = 0;
    mutable qsizetype _slotCount = 0;
    mutable qsizetype _holeCount = 0;
    /// Fenwick tree over the slots that counts the holes; empty while there is none.
    mutable std::vector<qsizetype> _holes;
};
