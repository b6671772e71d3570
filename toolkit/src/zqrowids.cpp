// SPDX-License-Identifier: Apache-2.0
#include "zqrowids.h"

#include <algorithm>

namespace {

/// Small enough that a scan of a block costs less than what surrounds it, large enough that blocks stay few.
constexpr size_t BLOCK_CAPACITY = 256;

/// A batch at least this long gets blocks of its own; a shorter one would leave too many that are nearly empty.
constexpr qsizetype LONG_BATCH = BLOCK_CAPACITY / 2;

} // namespace

ZqRowIds::ZqRowIds() = default;

ZqRowIds::~ZqRowIds() = default;

int ZqRowIds::at(qsizetype row) const
{
    const size_t position = _positionOf(row);
    return _blocks[position]->ids[static_cast<size_t>(row - _firstRows[position])];
}

qsizetype ZqRowIds::rowOf(int id) const
{
    const Block* const block = _blockOf(id);
    if (!block) {
        return -1;
    }
    const auto place = std::find(block->ids.cbegin(), block->ids.cend(), id);
    return _firstRows[block->position] + (place - block->ids.cbegin());
}

QList<int> ZqRowIds::ids(qsizetype row, qsizetype count) const
{
    QList<int> found;
    found.reserve(count);
    size_t position = count > 0 ? _positionOf(row) : 0;
    for (qsizetype offset = count > 0 ? row - _firstRows[position] : 0; found.size() < count; offset = 0, ++position) {
        const std::vector<int>& ids = _blocks[position]->ids;
        const auto begin = ids.cbegin() + offset;
        const qsizetype here = std::min<qsizetype>(count - found.size(), ids.cend() - begin);
        std::copy(begin, begin + here, std::back_inserter(found));
    }
    return found;
}

std::vector<int> ZqRowIds::rowsById() const
{
    std::vector<int> rows(_blocksById.size(), -1);
    int row = 0;
    for (const auto& block : _blocks) {
        for (const int id : block->ids) {
            rows[static_cast<size_t>(id)] = row++;
        }
    }
    return rows;
}

void ZqRowIds::insert(qsizetype row, int id)
{
    Block* const block = _roomAt(row);
    _fill(block, static_cast<size_t>(row - _firstRows[block->position]), &id, &id + 1);
    _shift(block->position + 1, 1);
    ++_size;
}

void ZqRowIds::insert(qsizetype row, const QList<int>& ids)
{
    if (ids.size() < LONG_BATCH) {
        for (const int id : ids) {
            insert(row++, id);
        }
        return;
    }
    size_t position = _blocks.size();
    if (row < _size) {
        position = _positionOf(row);
        if (const qsizetype offset = row - _firstRows[position]; offset > 0) {
            _split(position, static_cast<size_t>(offset));
            ++position;
        }
    }
    std::vector<std::unique_ptr<Block>> blocks;
    for (auto begin = ids.cbegin(); begin != ids.cend();) {
        const auto end = begin + std::min<qsizetype>(ids.cend() - begin, BLOCK_CAPACITY);
        blocks.push_back(std::make_unique<Block>());
        _fill(blocks.back().get(), 0, &*begin, &*begin + (end - begin));
        begin = end;
    }
    _blocks.insert(_blocks.begin() + static_cast<ptrdiff_t>(position), std::make_move_iterator(blocks.begin()),
        std::make_move_iterator(blocks.end()));
    _number(position);
    _size += ids.size();
}

void ZqRowIds::remove(qsizetype row, qsizetype count)
{
    if (count == _size) {
        clear();
        return;
    }
    if (count == 0) {
        return;
    }
    const size_t first = _positionOf(row);
    size_t end = first;
    qsizetype left = count;
    for (qsizetype offset = row - _firstRows[first]; left > 0; offset = 0, ++end) {
        std::vector<int>& ids = _blocks[end]->ids;
        const auto begin = ids.begin() + offset;
        const qsizetype here = std::min<qsizetype>(left, ids.end() - begin);
        std::for_each(begin, begin + here, [this](int id) { _blocksById[static_cast<size_t>(id)] = nullptr; });
        ids.erase(begin, begin + here);
        left -= here;
    }
    _size -= count;
    const auto begin = _blocks.begin();
    const auto behind = begin + static_cast<ptrdiff_t>(end);
    const auto empty = std::remove_if(begin + static_cast<ptrdiff_t>(first), behind,
        [](const std::unique_ptr<Block>& block) { return block->ids.empty(); });
    if (empty == behind && end == first + 1) {
        _shift(end, -count);
    } else {
        _blocks.erase(empty, behind);
        _number(first);
    }
}

void ZqRowIds::assign(const QList<int>& ids)
{
    clear();
    insert(0, ids);
}

void ZqRowIds::clear()
{
    _blocks.clear();
    _firstRows.clear();
    _blocksById.clear();
    _size = 0;
}

size_t ZqRowIds::_positionOf(qsizetype row) const
{
    return static_cast<size_t>(std::upper_bound(_firstRows.cbegin(), _firstRows.cend(), row) - _firstRows.cbegin()) - 1;
}

ZqRowIds::Block* ZqRowIds::_newBlock(size_t position)
{
    Block* const block
        = _blocks.insert(_blocks.begin() + static_cast<ptrdiff_t>(position), std::make_unique<Block>())->get();
    _number(position);
    return block;
}

/// The block, not full, into which an id at a row goes.
ZqRowIds::Block* ZqRowIds::_roomAt(qsizetype row)
{
    const auto isFull = [](const std::unique_ptr<Block>& block) { return block->ids.size() >= BLOCK_CAPACITY; };
    // Lists mostly grow at an end: a full block there is left full and gets a new neighbour.
    if (row == _size) {
        return _blocks.empty() || isFull(_blocks.back()) ? _newBlock(_blocks.size()) : _blocks.back().get();
    }
    if (row == 0 && isFull(_blocks.front())) {
        return _newBlock(0);
    }
    const size_t position = _positionOf(row);
    if (isFull(_blocks[position])) {
        _split(position, BLOCK_CAPACITY / 2);
    }
    return _blocks[_positionOf(row)].get();
}

void ZqRowIds::_fill(Block* block, size_t offset, const int* begin, const int* end)
{
    block->ids.insert(block->ids.begin() + static_cast<ptrdiff_t>(offset), begin, end);
    const auto largest = static_cast<size_t>(*std::max_element(begin, end));
    if (largest >= _blocksById.size()) {
        _blocksById.resize(largest + 1, nullptr);
    }
    std::for_each(begin, end, [this, block](int id) { _blocksById[static_cast<size_t>(id)] = block; });
}

/// Makes the ids of a block from `offset` on the next block.
void ZqRowIds::_split(size_t position, size_t offset)
{
    std::vector<int>& ids = _blocks[position]->ids;
    const std::vector<int> upper(ids.cbegin() + static_cast<ptrdiff_t>(offset), ids.cend());
    ids.resize(offset);
    _fill(_newBlock(position + 1), 0, upper.data(), upper.data() + upper.size());
    _number(position + 1);
}

/// Takes note that the blocks from `position` on begin so many rows later.
void ZqRowIds::_shift(size_t position, qsizetype rows)
{
    for (size_t i = position; i < _firstRows.size(); ++i) {
        _firstRows[i] += rows;
    }
}

/// Takes note of other blocks from `position` on.
void ZqRowIds::_number(size_t position)
{
    _firstRows.resize(_blocks.size());
    for (size_t i = position; i < _blocks.size(); ++i) {
        _blocks[i]->position = i;
        _firstRows[i] = i == 0 ? 0 : _firstRows[i - 1] + static_cast<qsizetype>(_blocks[i - 1]->ids.size());
    }
}
