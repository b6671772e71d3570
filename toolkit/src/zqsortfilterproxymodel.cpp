// SPDX-License-Identifier: Apache-2.0
// What a view shows: its rows, and how they and their order change.
#include "zqsortfilterproxymodel.h"

#include "abstractzqcustomitemlistmodel.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace {
/// Moves or insertions up to which a change is told step by step.
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

std::optional<qint64> ZqSortFilterProxyModel::sortNumber(QObject*, int) const
{
    return std::nullopt;
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
    return _source && row >= 0 && row < count() ? _source->rowOfId(_ids.at(row)) : -1;
}

int ZqSortFilterProxyModel::rowOfSource(int sourceRow) const
{
    const bool exists = _source && sourceRow >= 0 && sourceRow < _source->size();
    return exists ? static_cast<int>(_ids.rowOf(_source->rowId(sourceRow))) : -1;
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

QList<int> ZqSortFilterProxyModel::_idsOf(const QList<SourceRow>& rows)
{
    QList<int> ids;
    ids.reserve(rows.size());
    for (const SourceRow& row : rows) {
        ids.append(row.id);
    }
    return ids;
}

ZqSortFilterProxyModel::SourceRow ZqSortFilterProxyModel::_row(int id) const
{
    return { id, _source->rowOfId(id), _source->itemOfId(id) };
}

bool ZqSortFilterProxyModel::_accepts(const SourceRow& row) const
{
    const bool isGoing
        = std::any_of(_going.cbegin(), _going.cend(), [&row](const QSet<int>& ids) { return ids.contains(row.id); });
    return row.item && !isGoing && filterAccepts(row.item, row.sourceRow);
}

/// Of a range of the source's rows, as far as they still exist.
QList<int> ZqSortFilterProxyModel::_sourceIds(int first, int last) const
{
    return _source->rowIds(first, qMax(0, qMin(last + 1, _source->size()) - first));
}

QList<ZqSortFilterProxyModel::SourceRow> ZqSortFilterProxyModel::_sourceRows(int first, int last) const
{
    const QList<int> ids = _sourceIds(first, last);
    QList<SourceRow> rows;
    rows.reserve(ids.size());
    for (const int id : ids) {
        rows.append({ id, first++, _source->itemOfId(id) });
    }
    return rows;
}

QList<ZqSortFilterProxyModel::SourceRow> ZqSortFilterProxyModel::_acceptedRows(int first, int last) const
{
    QList<SourceRow> rows = _sourceRows(first, last);
    rows.removeIf([this](const SourceRow& row) { return !_accepts(row); });
    return rows;
}

void ZqSortFilterProxyModel::_rebuild()
{
    _unkeyed.clear();
    _sourceSize = _source ? _source->size() : 0;
    const QList<SourceRow> rows = _source ? _acceptedRows(0, _sourceSize - 1) : QList<SourceRow>();
    for (const SourceRow& row : rows) {
        _noteKey(row);
    }
    _ids.assign(_idsOf(_sorted(rows)));
}

/// Shows rows of the source, given in the source's order, that are not shown yet.
bool ZqSortFilterProxyModel::_show(const QList<SourceRow>& rows)
{
    if (rows.isEmpty()) {
        return true;
    }
    for (const SourceRow& row : rows) {
        _noteKey(row);
    }
    if (rows.size() == 1 && _isKeyed(rows.first().id)) {
        const unsigned entry = _entries;
        const int row = _placeFor(rows.first(), 0, count());
        _insertRows(row, { rows.first().id });
        return _unkeyed.isEmpty() || (entry == _entries && _standsWell(row)) || _sort();
    }
    if (_unkeyed.isEmpty() || _ids.isEmpty()) {
        return _showSorted(_sorted(rows));
    }
    // Where the others stand may change too.
    _insertRows(count(), _idsOf(rows));
    return _sort();
}

/// Shows a sorted batch of rows among those shown: in single insertions, which views can follow, when a few are enough.
bool ZqSortFilterProxyModel::_showSorted(const QList<SourceRow>& rows)
{
    const unsigned entry = _entries;
    const QList<int> ids = _idsOf(rows);
    const QList<int> places = _placesFor(rows);
    // Each the first of those that go to the same place.
    QList<qsizetype> firsts;
    for (qsizetype i = 0; i < places.size(); ++i) {
        if (i == 0 || places.at(i) != places.at(i - 1)) {
            firsts.append(i);
        }
    }
    if (firsts.size() > MOST_SINGLE_STEPS) {
        const QList<int> shown = _ids.ids();
        QList<int> merged;
        merged.reserve(shown.size() + ids.size());
        qsizetype added = 0;
        for (qsizetype place = 0; place <= shown.size(); ++place) {
            while (added < ids.size() && places.at(added) == place) {
                merged.append(ids.at(added++));
            }
            if (place < shown.size()) {
                merged.append(shown.at(place));
            }
        }
        _insertRows(count(), ids);
        if (entry != _entries) {
            return false;
        }
        _relayout(merged);
        return true;
    }
    for (qsizetype i = 0; i < firsts.size(); ++i) {
        if (entry != _entries) {
            return false;
        }
        const qsizetype first = firsts.at(i);
        const qsizetype end = i + 1 < firsts.size() ? firsts.at(i + 1) : ids.size();
        // Those before it in the batch stand before it by now.
        _insertRows(places.at(first) + static_cast<int>(first), ids.mid(first, end - first));
    }
    return true;
}

void ZqSortFilterProxyModel::_insertRows(int row, const QList<int>& ids)
{
    beginInsertRows(QModelIndex(), row, static_cast<int>(row + ids.size() - 1));
    _ids.insert(row, ids);
    endInsertRows();
}

void ZqSortFilterProxyModel::_removeRows(int first, int last)
{
    beginRemoveRows(QModelIndex(), first, last);
    if (!_unkeyed.isEmpty()) {
        for (const int id : _ids.ids(first, last - first + 1)) {
            _unkeyed.remove(id);
        }
    }
    _ids.remove(first, last - first + 1);
    endRemoveRows();
}

/// Takes rows, given in ascending order, out of the view; asks nothing of their items, which may be half destroyed.
bool ZqSortFilterProxyModel::_hide(const QList<int>& rows)
{
    const unsigned entry = _entries;
    for (qsizetype end = rows.size(); end > 0;) {
        if (entry != _entries) {
            return false;
        }
        qsizetype begin = end - 1;
        while (begin > 0 && rows.at(begin - 1) == rows.at(begin) - 1) {
            --begin;
        }
        _removeRows(rows.at(begin), rows.at(end - 1));
        end = begin;
    }
    return true;
}

bool ZqSortFilterProxyModel::_sort()
{
    QList<SourceRow> rows = _sourceRows(0, _source->size() - 1);
    rows.removeIf([this](const SourceRow& row) { return !_ids.contains(row.id); });
    for (const SourceRow& row : std::as_const(rows)) {
        _noteKey(row);
    }
    return _arrange(_idsOf(_sorted(rows)));
}

/// Moves the one row that a change put in the wrong place.
void ZqSortFilterProxyModel::_reposition(int row)
{
    const SourceRow changed = _row(_ids.at(row));
    const bool movesUp = row > 0 && _comesBefore(changed, _row(_ids.at(row - 1)));
    _moveRow(row, movesUp ? _placeFor(changed, 0, row) : _placeFor(changed, row + 1, count()) - 1);
}

/// Moves a row so that it ends at row `to`.
void ZqSortFilterProxyModel::_moveRow(int from, int to)
{
    if (from != to && beginMoveRows(QModelIndex(), from, from, QModelIndex(), to > from ? to + 1 : to)) {
        const int id = _ids.at(from);
        _ids.remove(from, 1);
        _ids.insert(to, id);
        endMoveRows();
    }
}

/// Brings the rows into another order: in single moves, which views can follow, when a few are enough.
bool ZqSortFilterProxyModel::_arrange(const QList<int>& ids)
{
    if (ids.size() != _ids.size()) {
        return false;
    }
    // What stays is the longest run of rows that are in the right order already, found by patience: piles holds for
    // each length the position, in the new order, at which a run of that length ends with the smallest old row.
    const std::vector<int> oldRows = _ids.rowsById();
    QList<int> ranks(ids.size());
    QList<int> before(ids.size());
    QList<int> piles;
    for (int position = 0; position < ids.size(); ++position) {
        ranks[position] = oldRows[static_cast<size_t>(ids.at(position))];
        const auto pile = std::lower_bound(piles.begin(), piles.end(), position,
            [&ranks](int left, int right) { return ranks.at(left) < ranks.at(right); });
        before[position] = pile == piles.begin() ? -1 : *std::prev(pile);
        if (pile == piles.end()) {
            piles.append(position);
        } else {
            *pile = position;
        }
    }
    if (ids.size() - piles.size() > MOST_SINGLE_STEPS) {
        _relayout(ids);
        return true;
    }
    const unsigned entry = _entries;
    QList<bool> stays(ids.size(), false);
    for (int position = piles.isEmpty() ? -1 : piles.last(); position >= 0; position = before.at(position)) {
        stays[position] = true;
    }
    for (int position = 0; position < ids.size(); ++position) {
        if (!stays.at(position)) {
            if (entry != _entries) {
                return false;
            }
            const int from = static_cast<int>(_ids.rowOf(ids.at(position)));
            const int predecessor = position == 0 ? -1 : static_cast<int>(_ids.rowOf(ids.at(position - 1)));
            _moveRow(from, predecessor < from ? predecessor + 1 : predecessor);
        }
    }
    return true;
}

/// Shows the same items in another order, in one step. Says nothing about the kind of change: views made of QML follow
/// a change announced as a sort row by row, and get it wrong.
void ZqSortFilterProxyModel::_relayout(const QList<int>& ids)
{
    emit layoutAboutToBeChanged();
    const QModelIndexList before = persistentIndexList();
    QList<int> watched;
    watched.reserve(before.size());
    for (const QModelIndex& index : before) {
        watched.append(_ids.at(index.row()));
    }
    _ids.assign(ids);
    QModelIndexList after;
    after.reserve(before.size());
    for (qsizetype i = 0; i < before.size(); ++i) {
        after.append(createIndex(static_cast<int>(_ids.rowOf(watched.at(i))), before.at(i).column()));
    }
    changePersistentIndexList(before, after);
    emit layoutChanged();
}
