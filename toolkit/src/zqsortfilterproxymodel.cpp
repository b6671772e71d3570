// SPDX-License-Identifier: Apache-2.0
// What a view shows: its rows, their order, and how both change.
#include "zqsortfilterproxymodel.h"

#include "abstractzqcustomitemlistmodel.h"
#include "zqmergesort.h"

#include <algorithm>
#include <utility>

namespace {
/// Look-ups answered by a scan before the table that answers them at once is worth its making.
constexpr int SCANS_BEFORE_TABLE = 4;

/// Moves or insertions up to which a new order is told step by step.
constexpr int MOST_SINGLE_STEPS = 32;
} // namespace

ZqSortFilterProxyModel::ZqSortFilterProxyModel(QObject* parent)
    : QAbstractProxyModel(parent)
{
    connect(this, &QAbstractItemModel::rowsInserted, this, &ZqSortFilterProxyModel::_tellCount);
    connect(this, &QAbstractItemModel::rowsRemoved, this, &ZqSortFilterProxyModel::_tellCount);
    connect(this, &QAbstractItemModel::modelReset, this, &ZqSortFilterProxyModel::_tellCount);
}

ZqSortFilterProxyModel::~ZqSortFilterProxyModel() = default;

bool ZqSortFilterProxyModel::filterAccepts(QObject*, int) const
{
    return true;
}

bool ZqSortFilterProxyModel::isLessThan(QObject*, int leftSourceRow, QObject*, int rightSourceRow) const
{
    return leftSourceRow < rightSourceRow;
}

bool ZqSortFilterProxyModel::hasSortKey(QObject*, int) const
{
    return true;
}

QObject* ZqSortFilterProxyModel::get(int row) const
{
    return _source ? _source->get(sourceRow(row)) : nullptr;
}

int ZqSortFilterProxyModel::indexOf(QObject* item) const
{
    return _source && item ? rowOfSource(static_cast<int>(_source->indexOf(item))) : -1;
}

int ZqSortFilterProxyModel::sourceRow(int row) const
{
    return row >= 0 && row < count() ? _sourceRows.at(row) : -1;
}

int ZqSortFilterProxyModel::rowOfSource(int sourceRow) const
{
    if (sourceRow < 0 || !_source) {
        return -1;
    }
    if (_rowsBySource.isEmpty()) {
        if (++_lookupsWithoutTable <= SCANS_BEFORE_TABLE) {
            return static_cast<int>(_sourceRows.indexOf(sourceRow));
        }
        _rowsBySource.fill(-1, _source->size());
        for (int row = 0; row < count(); ++row) {
            if (_sourceRows.at(row) < _rowsBySource.size()) {
                _rowsBySource[_sourceRows.at(row)] = row;
            }
        }
    }
    return sourceRow < _rowsBySource.size() ? _rowsBySource.at(sourceRow) : -1;
}

void ZqSortFilterProxyModel::_forgetLookup()
{
    _rowsBySource.clear();
    _lookupsWithoutTable = 0;
}

QModelIndex ZqSortFilterProxyModel::index(int row, int column, const QModelIndex& parent) const
{
    return hasIndex(row, column, parent) ? createIndex(row, column) : QModelIndex();
}

QModelIndex ZqSortFilterProxyModel::parent(const QModelIndex&) const
{
    return {};
}

int ZqSortFilterProxyModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : count();
}

int ZqSortFilterProxyModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : 1;
}

bool ZqSortFilterProxyModel::hasChildren(const QModelIndex& parent) const
{
    return rowCount(parent) > 0;
}

QModelIndex ZqSortFilterProxyModel::mapToSource(const QModelIndex& proxyIndex) const
{
    if (!_source || !proxyIndex.isValid()) {
        return {};
    }
    Q_ASSERT(proxyIndex.model() == this);
    return _source->index(sourceRow(proxyIndex.row()), 0);
}

QModelIndex ZqSortFilterProxyModel::mapFromSource(const QModelIndex& sourceIndex) const
{
    if (!_source || !sourceIndex.isValid()) {
        return {};
    }
    Q_ASSERT(sourceIndex.model() == _source);
    return index(rowOfSource(sourceIndex.row()), 0);
}

QObject* ZqSortFilterProxyModel::_item(int sourceRow) const
{
    return _source ? _source->itemAt(sourceRow) : nullptr;
}

bool ZqSortFilterProxyModel::_accepts(int sourceRow) const
{
    QObject* const item = _isGoing(sourceRow) ? nullptr : _item(sourceRow);
    return item && filterAccepts(item, sourceRow);
}

bool ZqSortFilterProxyModel::_isGoing(int sourceRow) const
{
    return std::any_of(_going.cbegin(), _going.cend(),
        [sourceRow](const Range& range) { return sourceRow >= range.first && sourceRow <= range.last; });
}

QList<int> ZqSortFilterProxyModel::_acceptedRows(int first, int last) const
{
    QList<int> accepted;
    for (int row = first; row <= last; ++row) {
        if (_accepts(row)) {
            accepted.append(row);
        }
    }
    return accepted;
}

/// Remembers whether an item has a sort key; returns whether that is news.
bool ZqSortFilterProxyModel::_noteKey(int sourceRow)
{
    QObject* const item = _item(sourceRow);
    if (hasSortKey(item, sourceRow)) {
        return _unkeyed.remove(item);
    }
    const bool isNews = !_unkeyed.contains(item);
    _unkeyed.insert(item);
    return isNews;
}

bool ZqSortFilterProxyModel::_isKeyed(int sourceRow) const
{
    return _unkeyed.isEmpty() || !_unkeyed.contains(_item(sourceRow));
}

/// The order shown: isLessThan() between items with a sort key, and the source's order where it does not decide.
bool ZqSortFilterProxyModel::_comesBefore(int leftSourceRow, int rightSourceRow) const
{
    if (!_isKeyed(leftSourceRow) || !_isKeyed(rightSourceRow)) {
        return leftSourceRow < rightSourceRow;
    }
    QObject* const left = _item(leftSourceRow);
    QObject* const right = _item(rightSourceRow);
    if (isLessThan(left, leftSourceRow, right, rightSourceRow)) {
        return true;
    }
    return leftSourceRow < rightSourceRow && !isLessThan(right, rightSourceRow, left, leftSourceRow);
}

/// Whether a row need not move: it is on the right side of its neighbours and, when it has a sort key, of the next rows
/// that have one.
bool ZqSortFilterProxyModel::_standsWell(int row) const
{
    const int sourceRow = _sourceRows.at(row);
    const bool isKeyed = _isKeyed(sourceRow);
    for (int before = row - 1; before >= 0; --before) {
        if (_comesBefore(sourceRow, _sourceRows.at(before))
            && (before == row - 1 || _isKeyed(_sourceRows.at(before)))) {
            return false;
        }
        if (!isKeyed || _isKeyed(_sourceRows.at(before))) {
            break;
        }
    }
    for (int after = row + 1; after < count(); ++after) {
        if (_comesBefore(_sourceRows.at(after), sourceRow) && (after == row + 1 || _isKeyed(_sourceRows.at(after)))) {
            return false;
        }
        if (!isKeyed || _isKeyed(_sourceRows.at(after))) {
            break;
        }
    }
    return true;
}

/// Where an item with a sort key goes among the rows of a range that have one.
int ZqSortFilterProxyModel::_placeFor(int sourceRow, int begin, int end) const
{
    while (begin < end) {
        const int middle = begin + (end - begin) / 2;
        int asked = middle;
        while (asked < end && !_isKeyed(_sourceRows.at(asked))) {
            ++asked;
        }
        if (asked == end || _comesBefore(sourceRow, _sourceRows.at(asked))) {
            end = middle;
        } else {
            begin = asked + 1;
        }
    }
    return begin;
}

/// `sourceRows` in ascending order, so that a stable sort keeps the source's order of equals.
QList<int> ZqSortFilterProxyModel::_sorted(QList<int> sourceRows) const
{
    const int size = _source ? _source->size() : 0;
    QList<QObject*> items(size);
    for (const int row : sourceRows) {
        items[row] = _item(row);
    }
    QList<int> unkeyed;
    sourceRows.removeIf([this, &items, &unkeyed](int row) {
        if (hasSortKey(items.at(row), row)) {
            return false;
        }
        unkeyed.append(row);
        return true;
    });
    zqMergeSort(sourceRows,
        [this, &items](int left, int right) { return isLessThan(items.at(left), left, items.at(right), right); });

    // Merged from the end, so that an item without key stands as far behind as its source row allows.
    QList<int> merged(sourceRows.size() + unkeyed.size());
    qsizetype keyedLeft = sourceRows.size();
    qsizetype unkeyedLeft = unkeyed.size();
    for (qsizetype out = merged.size() - 1; out >= 0; --out) {
        const bool takesKeyed
            = unkeyedLeft == 0 || (keyedLeft > 0 && unkeyed.at(unkeyedLeft - 1) < sourceRows.at(keyedLeft - 1));
        merged[out] = takesKeyed ? sourceRows.at(--keyedLeft) : unkeyed.at(--unkeyedLeft);
    }
    return merged;
}

void ZqSortFilterProxyModel::_rebuild()
{
    _forgetLookup();
    _unkeyed.clear();
    _sourceSize = _source ? _source->size() : 0;
    _sourceRows = _source ? _acceptedRows(0, _source->size() - 1) : QList<int>();
    for (const int sourceRow : std::as_const(_sourceRows)) {
        _noteKey(sourceRow);
    }
    _sourceRows = _sorted(_sourceRows);
}

/// Shows rows of the source, given in ascending order, that are not shown yet.
bool ZqSortFilterProxyModel::_show(const QList<int>& sourceRows)
{
    if (sourceRows.isEmpty()) {
        return true;
    }
    for (const int sourceRow : sourceRows) {
        _noteKey(sourceRow);
    }
    if (sourceRows.size() == 1 && _isKeyed(sourceRows.first())) {
        const unsigned entry = _entries;
        const int row = _placeFor(sourceRows.first(), 0, count());
        _insertRows(row, sourceRows);
        return _unkeyed.isEmpty() || (entry == _entries && _standsWell(row)) || _sort();
    }
    if (_unkeyed.isEmpty() || _sourceRows.isEmpty()) {
        return _showSorted(_sorted(sourceRows));
    }
    // Where the others stand may change too.
    _insertRows(count(), sourceRows);
    return _sort();
}

/// Shows a sorted batch of rows, merging it into those shown.
bool ZqSortFilterProxyModel::_showSorted(const QList<int>& sourceRows)
{
    const unsigned entry = _entries;
    QList<int> merged;
    merged.reserve(_sourceRows.size() + sourceRows.size());
    // Rows and how many of the batch start there, in the order in which they can be inserted one after the other.
    QList<std::pair<int, int>> blocks;
    qsizetype shown = 0;
    qsizetype added = 0;
    while (shown < _sourceRows.size() || added < sourceRows.size()) {
        const bool takesAdded = shown == _sourceRows.size()
            || (added < sourceRows.size() && _comesBefore(sourceRows.at(added), _sourceRows.at(shown)));
        if (!takesAdded) {
            merged.append(_sourceRows.at(shown++));
            continue;
        }
        const int row = static_cast<int>(merged.size());
        if (blocks.isEmpty() || blocks.last().first + blocks.last().second != row) {
            blocks.append({ row, 0 });
        }
        ++blocks.last().second;
        merged.append(sourceRows.at(added++));
    }
    if (blocks.size() > MOST_SINGLE_STEPS) {
        _insertRows(count(), sourceRows);
        if (entry != _entries) {
            return false;
        }
        _relayout(merged);
        return true;
    }
    for (const auto& [row, size] : std::as_const(blocks)) {
        if (entry != _entries) {
            return false;
        }
        _insertRows(row, merged.mid(row, size));
    }
    return true;
}

void ZqSortFilterProxyModel::_insertRows(int row, const QList<int>& sourceRows)
{
    beginInsertRows(QModelIndex(), row, static_cast<int>(row + sourceRows.size() - 1));
    if (row == count()) {
        _sourceRows.append(sourceRows);
    } else {
        _sourceRows.insert(row, sourceRows.size(), 0);
        std::copy(sourceRows.cbegin(), sourceRows.cend(), _sourceRows.begin() + row);
    }
    _forgetLookup();
    endInsertRows();
}

/// Takes rows out of the view; asks nothing of their items, which may be half destroyed.
bool ZqSortFilterProxyModel::_hide(QList<int> rows)
{
    const unsigned entry = _entries;
    std::sort(rows.begin(), rows.end());
    qsizetype end = rows.size();
    while (end > 0) {
        if (entry != _entries) {
            return false;
        }
        qsizetype begin = end - 1;
        while (begin > 0 && rows.at(begin - 1) == rows.at(begin) - 1) {
            --begin;
        }
        beginRemoveRows(QModelIndex(), rows.at(begin), rows.at(end - 1));
        _sourceRows.remove(rows.at(begin), end - begin);
        _forgetLookup();
        endRemoveRows();
        end = begin;
    }
    return true;
}

bool ZqSortFilterProxyModel::_sort()
{
    QList<int> ascending = _sourceRows;
    std::sort(ascending.begin(), ascending.end());
    _unkeyed.clear();
    for (const int sourceRow : std::as_const(ascending)) {
        _noteKey(sourceRow);
    }
    return _arrange(_sorted(ascending));
}

/// Moves the one row that a change put in the wrong place.
void ZqSortFilterProxyModel::_reposition(int row)
{
    const int sourceRow = _sourceRows.at(row);
    const bool movesUp = row > 0 && _comesBefore(sourceRow, _sourceRows.at(row - 1));
    _moveRow(row, movesUp ? _placeFor(sourceRow, 0, row) : _placeFor(sourceRow, row + 1, count()) - 1);
}

/// Moves a row so that it ends at row `to`.
void ZqSortFilterProxyModel::_moveRow(int from, int to)
{
    if (from != to && beginMoveRows(QModelIndex(), from, from, QModelIndex(), to > from ? to + 1 : to)) {
        _sourceRows.move(from, to);
        _forgetLookup();
        endMoveRows();
    }
}

/// Brings the rows into another order: in single moves, which views can follow, when a few are enough.
bool ZqSortFilterProxyModel::_arrange(const QList<int>& sourceRows)
{
    if (sourceRows == _sourceRows) {
        return true;
    }
    // What stays is the longest run of rows that are in the right order already, found by patience: piles holds for
    // each length the position, in the new order, at which a run of that length ends with the smallest old row.
    QHash<int, int> oldRows;
    oldRows.reserve(_sourceRows.size());
    for (int row = 0; row < count(); ++row) {
        oldRows.insert(_sourceRows.at(row), row);
    }
    QList<int> ranks(sourceRows.size());
    QList<int> before(sourceRows.size());
    QList<int> piles;
    for (int position = 0; position < sourceRows.size(); ++position) {
        ranks[position] = oldRows.value(sourceRows.at(position));
        const auto pile = std::lower_bound(piles.begin(), piles.end(), position,
            [&ranks](int left, int right) { return ranks.at(left) < ranks.at(right); });
        before[position] = pile == piles.begin() ? -1 : *std::prev(pile);
        if (pile == piles.end()) {
            piles.append(position);
        } else {
            *pile = position;
        }
    }
    if (sourceRows.size() - piles.size() > MOST_SINGLE_STEPS) {
        _relayout(sourceRows);
        return true;
    }
    const unsigned entry = _entries;
    QList<bool> stays(sourceRows.size(), false);
    for (int position = piles.last(); position >= 0; position = before.at(position)) {
        stays[position] = true;
    }
    for (int position = 0; position < sourceRows.size(); ++position) {
        if (!stays.at(position)) {
            if (entry != _entries) {
                return false;
            }
            const int from = static_cast<int>(_sourceRows.indexOf(sourceRows.at(position)));
            const int predecessor
                = position == 0 ? -1 : static_cast<int>(_sourceRows.indexOf(sourceRows.at(position - 1)));
            _moveRow(from, predecessor < from ? predecessor + 1 : predecessor);
        }
    }
    return true;
}

/// Shows the same items in another order, in one step. Says nothing about the kind of change: views made of QML follow
/// a change announced as a sort row by row, and get it wrong.
void ZqSortFilterProxyModel::_relayout(const QList<int>& sourceRows)
{
    emit layoutAboutToBeChanged();
    const QModelIndexList before = persistentIndexList();
    QHash<int, int> newRows;
    if (!before.isEmpty()) {
        newRows.reserve(sourceRows.size());
        for (qsizetype row = 0; row < sourceRows.size(); ++row) {
            newRows.insert(sourceRows.at(row), static_cast<int>(row));
        }
    }
    QModelIndexList after;
    after.reserve(before.size());
    for (const QModelIndex& index : before) {
        after.append(createIndex(newRows.value(_sourceRows.at(index.row())), index.column()));
    }
    _sourceRows = sourceRows;
    _forgetLookup();
    changePersistentIndexList(before, after);
    emit layoutChanged();
}
