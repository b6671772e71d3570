// SPDX-License-Identifier: Apache-2.0
#include "zqobjectrows.h"

#include <algorithm>

namespace {
/// Small enough that a scan of a block costs less than what surrounds it, large enough that blocks stay few.
constexpr qsizetype BLOCK_CAPACITY = 256;
} // namespace

ZqObjectRows::ZqObjectRows() = default;

ZqObjectRows::~ZqObjectRows() = default;

void ZqObjectRows::reserve(qsizetype size)
{
    _entries.reserve(size);
    _blocks.reserve(static_cast<size_t>(size / BLOCK_CAPACITY) + 1);
}

QObject* ZqObjectRows::at(qsizetype row) const
{
    const Block* const block = _blockOf(row);
    return block->objects.at(row - block->firstRow);
}

QList<QObject*> ZqObjectRows::objects() const
{
    QList<QObject*> all;
    all.reserve(_size);
    for (const auto& block : _blocks) {
        all.append(block->objects);
    }
    return all;
}

QList<QObject*> ZqObjectRows::objects(qsizetype row, qsizetype count) const
{
    QList<QObject*> found;
    found.reserve(count);
    const Block* const first = _blockOf(row);
    qsizetype offset = row - first->firstRow;
    for (size_t position = first->position; found.size() < count; ++position, offset = 0) {
        found.append(_blocks[position]->objects.mid(offset, count - found.size()));
    }
    return found;
}

qsizetype ZqObjectRows::occurrences(const QObject* object) const
{
    const auto entry = _entries.constFind(object);
    return entry == _entries.cend() ? 0 : entry->occurrences;
}

qsizetype ZqObjectRows::firstRow(const QObject* object) const
{
    const auto entry = _entries.constFind(object);
    if (entry == _entries.cend()) {
        return -1;
    }
    if (entry->occurrences > 1) {
        return rows(object).first();
    }
    _number();
    return entry->block->firstRow + entry->block->objects.indexOf(object);
}

QList<qsizetype> ZqObjectRows::rows(const QObject* object) const
{
    const qsizetype wanted = occurrences(object);
    QList<qsizetype> found;
    if (wanted == 1) {
        found.append(firstRow(object));
    } else if (wanted > 1) {
        qsizetype row = 0;
        for (const auto& block : _blocks) {
            for (const QObject* other : std::as_const(block->objects)) {
                if (other == object) {
                    found.append(row);
                }
                ++row;
            }
        }
    }
    return found;
}

void ZqObjectRows::insert(qsizetype row, QObject* object)
{
    ++_edits;
    Block* const block = _roomFor(row);
    block->objects.insert(row - block->firstRow, object);
    _markStale(block->position + 1);
    ++_size;
    Entry& entry = _entries[object];
    entry.block = block;
    ++entry.occurrences;
}

void ZqObjectRows::append(const QList<QObject*>& objects)
{
    reserve(_size + objects.size());
    for (QObject* object : objects) {
        insert(_size, object);
    }
}

QList<QObject*> ZqObjectRows::take(qsizetype row, qsizetype count)
{
    const QList<QObject*> taken = objects(row, count);
    if (count == _size) {
        clear();
        return taken;
    }
    ++_edits;
    const size_t first = _blockOf(row)->position;
    size_t end = first;
    qsizetype left = count;
    for (qsizetype offset = row - _blocks[first]->firstRow; left > 0; offset = 0, ++end) {
        QList<QObject*>& objects = _blocks[end]->objects;
        const qsizetype here = qMin(left, objects.size() - offset);
        objects.remove(offset, here);
        left -= here;
    }
    const auto begin = _blocks.begin();
    const auto isEmpty = [](const std::unique_ptr<Block>& block) { return block->objects.isEmpty(); };
    _blocks.erase(std::remove_if(begin + static_cast<ptrdiff_t>(first), begin + static_cast<ptrdiff_t>(end), isEmpty),
        begin + static_cast<ptrdiff_t>(end));
    _markStale(first);
    _size -= count;
    for (QObject* object : taken) {
        _forget(object);
    }
    return taken;
}

void ZqObjectRows::move(qsizetype row, qsizetype count, qsizetype destination)
{
    const QList<QObject*> moved = take(row, count);
    qsizetype target = destination > row ? destination - count : destination;
    for (QObject* object : moved) {
        insert(target++, object);
    }
}

void ZqObjectRows::clear()
{
    ++_edits;
    _blocks.clear();
    _entries.clear();
    _size = 0;
    _firstStaleBlock = 0;
}

void ZqObjectRows::_number() const
{
    for (size_t position = _firstStaleBlock; position < _blocks.size(); ++position) {
        Block* const block = _blocks[position].get();
        block->position = position;
        block->firstRow = position == 0 ? 0 : _blocks[position - 1]->firstRow + _blocks[position - 1]->objects.size();
    }
    _firstStaleBlock = _blocks.size();
}

ZqObjectRows::Block* ZqObjectRows::_blockOf(qsizetype row) const
{
    _number();
    const auto behind = std::upper_bound(_blocks.cbegin(), _blocks.cend(), row,
        [](qsizetype wanted, const std::unique_ptr<Block>& block) { return wanted < block->firstRow; });
    return std::prev(behind)->get();
}

ZqObjectRows::Block* ZqObjectRows::_newBlock(size_t position)
{
    _markStale(position);
    const auto place = _blocks.begin() + static_cast<ptrdiff_t>(position);
    return _blocks.insert(place, std::make_unique<Block>())->get();
}

/// The block, numbered and not full, into which an object at a row goes.
ZqObjectRows::Block* ZqObjectRows::_roomFor(qsizetype row)
{
    // Lists mostly grow at an end: a full block there is left full and gets a new neighbour.
    if (row == _size && (_blocks.empty() || _blocks.back()->objects.size() >= BLOCK_CAPACITY)) {
        Block* const block = _newBlock(_blocks.size());
        _number();
        return block;
    }
    if (row == 0 && _blocks.front()->objects.size() >= BLOCK_CAPACITY) {
        Block* const block = _newBlock(0);
        _number();
        return block;
    }
    _number();
    Block* const block = row == _size ? _blocks.back().get() : _blockOf(row);
    if (block->objects.size() < BLOCK_CAPACITY) {
        return block;
    }
    Block* const upper = _newBlock(block->position + 1);
    upper->objects = block->objects.mid(BLOCK_CAPACITY / 2);
    block->objects.resize(BLOCK_CAPACITY / 2);
    for (const QObject* object : std::as_const(upper->objects)) {
        _entries.find(object)->block = upper;
    }
    _number();
    return row > upper->firstRow ? upper : block;
}

void ZqObjectRows::_forget(QObject* object)
{
    const auto entry = _entries.find(object);
    if (--entry->occurrences == 0) {
        _entries.erase(entry);
    } else if (entry->occurrences == 1) {
        // The row that is left may be another than the entry tells of; none is when the next one forgotten is the last.
        const auto holder = std::find_if(_blocks.cbegin(), _blocks.cend(),
            [object](const std::unique_ptr<Block>& block) { return block->objects.contains(object); });
        if (holder != _blocks.cend()) {
            entry->block = holder->get();
        }
    }
}
