// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "zqtoolkit_global.h"

#include <QtCore/QList>

#include <memory>
#include <vector>

/// An ordered list of the ids of rows that knows where each of them stands without scanning.
///
/// Ids are small numbers, because they index a table, and each is at most once in the list. They stand in blocks of a
/// few hundred, and every id knows its block: an edit touches one block and the numbers of those behind it, a look-up
/// one block.
class ZQTOOLKIT_EXPORT ZqRowIds
{
public:
    ZqRowIds();
    ~ZqRowIds();
    Q_DISABLE_COPY_MOVE(ZqRowIds)

    qsizetype size() const { return _size; }
    bool isEmpty() const { return _size == 0; }

    /// `row` is from 0 to size() - 1.
    int at(qsizetype row) const;

    /// The row of an id, or -1.
    qsizetype rowOf(int id) const;
    bool contains(int id) const { return _blockOf(id) != nullptr; }

    /// `count` ids from `row` on, all of which must exist.
    QList<int> ids(qsizetype row, qsizetype count) const;
    QList<int> ids() const { return ids(0, _size); }

    /// The row of every id, or -1, up to the largest there ever was.
    std::vector<int> rowsById() const;

    /// `row` is from 0 to size().
    void insert(qsizetype row, int id);
    void insert(qsizetype row, const QList<int>& ids);

    /// Removes `count` ids from `row` on, all of which must exist.
    void remove(qsizetype row, qsizetype count);
    void assign(const QList<int>& ids);
    void clear();

private:
    struct Block
    {
        std::vector<int> ids;
        size_t position = 0;
    };

    Block* _blockOf(int id) const { return static_cast<size_t>(id) < _blocksById.size() ? _blocksById[id] : nullptr; }
    size_t _positionOf(qsizetype row) const;
    Block* _newBlock(size_t position);
    Block* _roomAt(qsizetype row);
    void _fill(Block* block, size_t offset, const int* begin, const int* end);
    void _split(size_t position, size_t offset);
    void _shift(size_t position, qsizetype rows);
    void _number(size_t position);

    std::vector<std::unique_ptr<Block>> _blocks;
    /// The first row of each block; apart from the blocks, so that numbering anew reads little memory.
    std::vector<qsizetype> _firstRows;
    std::vector<Block*> _blocksById;
    qsizetype _size = 0;
};
