// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "zqtoolkit_global.h"

#include <QtCore/QHash>
#include <QtCore/QList>

#include <memory>
#include <vector>

class QObject;

/// An ordered list of object addresses that knows where each of them stands without scanning.
///
/// Only the addresses are used: an object may be half destroyed, or gone, when it is looked up. The rows stand in
/// blocks of a few hundred, and every object knows its block: an edit touches one block and the numbers of the blocks
/// behind it, a look-up one block. Objects that stand in several rows are allowed and looked up by a scan.
class ZQTOOLKIT_EXPORT ZqObjectRows
{
public:
    ZqObjectRows();
    ~ZqObjectRows();
    Q_DISABLE_COPY_MOVE(ZqObjectRows)

    qsizetype size() const { return _size; }
    bool isEmpty() const { return _size == 0; }

    /// `row` is from 0 to size() - 1.
    QObject* at(qsizetype row) const;

    /// All of them, in order; a copy.
    QList<QObject*> objects() const;

    /// `count` of them from `row` on, all of which must exist.
    QList<QObject*> objects(qsizetype row, qsizetype count) const;

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
    struct Block
    {
        QList<QObject*> objects;
        /// Position among the blocks, and the row of the first object; right up to the first stale block.
        size_t position = 0;
        qsizetype firstRow = 0;
    };

    struct Entry
    {
        /// The block of the only row, or of any of several.
        Block* block = nullptr;
        qsizetype occurrences = 0;
    };

    Block* _newBlock(size_t position);
    Block* _blockOf(qsizetype row) const;
    Block* _roomFor(qsizetype row);
    void _number() const;
    void _markStale(size_t position) { _firstStaleBlock = qMin(_firstStaleBlock, position); }
    void _forget(QObject* object);

    std::vector<std::unique_ptr<Block>> _blocks;
    QHash<const QObject*, Entry> _entries;
    qsizetype _size = 0;
    unsigned _edits = 0;
    /// Blocks from here on have to be numbered before they are asked.
    mutable size_t _firstStaleBlock = 0;
};
