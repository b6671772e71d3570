// SPDX-License-Identifier: Apache-2.0
// How a view follows its source, also when those it tells change the source at once.
#include "zqsortfilterproxymodel.h"

#include "abstractzqcustomitemlistmodel.h"
#include "zqquickgeneral.h"

#include <QtCore/QDebug>

#include <algorithm>
#include <iterator>
#include <numeric>
#include <utility>

void ZqSortFilterProxyModel::setSourceModel(QAbstractItemModel* sourceModel)
{
    auto* list = qobject_cast<AbstractZqCustomItemListModel*>(sourceModel);
    if (sourceModel && !list && ZqQuickGeneral::instance().warningsEnabled()) {
        qWarning() << metaObject()->className() << "warning: can not use" << sourceModel
                   << "as source model, it is not a list of items (AbstractZqCustomItemListModel)";
    }
    if (list == _source && list == this->sourceModel()) {
        return;
    }

    ++_entries;
    beginResetModel();
    if (_source) {
        disconnect(_source, nullptr, this, nullptr);
    }
    _source = list;
    _going.clear();
    _isAstray = false;
    QAbstractProxyModel::setSourceModel(list);
    if (list) {
        using Model = QAbstractItemModel;
        using View = ZqSortFilterProxyModel;
        connect(list, &QObject::destroyed, this, &View::_onSourceDestroyed);
        connect(list, &Model::modelAboutToBeReset, this, &View::_onSourceAboutToBeReset);
        connect(list, &Model::modelReset, this, &View::_onSourceReset);
        connect(list, &Model::layoutAboutToBeChanged, this, &View::_onSourceAboutToBeReset);
        connect(list, &Model::layoutChanged, this, &View::_onSourceReset);
        connect(list, &Model::rowsInserted, this, &View::_onSourceRowsInserted);
        connect(list, &Model::rowsAboutToBeRemoved, this, &View::_onSourceRowsAboutToBeRemoved);
        connect(list, &Model::rowsRemoved, this, &View::_onSourceRowsRemoved);
        connect(list, &Model::rowsMoved, this, &View::_onSourceRowsMoved);
        connect(list, &Model::dataChanged, this, &View::_onSourceDataChanged);
    }
    _rebuild();
    endResetModel();
}

void ZqSortFilterProxyModel::_onSourceDestroyed()
{
    // Nothing of the half destroyed list may be read any more, also by those who hear of the reset.
    ++_entries;
    _source = nullptr;
    _going.clear();
    _isAstray = false;
    _reset();
}

void ZqSortFilterProxyModel::_onSourceAboutToBeReset()
{
    beginResetModel();
}

void ZqSortFilterProxyModel::_onSourceReset()
{
    ++_entries;
    _isAstray = !_going.isEmpty();
    _rebuild();
    endResetModel();
}

/// Whether the source has the rows that it told of, and so many more. It has not while it tells others first and those
/// change it: then the view hears of the later change before the earlier one.
bool ZqSortFilterProxyModel::_isInStep(int added) const
{
    return _sourceSize + added == _source->size();
}

void ZqSortFilterProxyModel::_reset()
{
    beginResetModel();
    _rebuild();
    endResetModel();
}

void ZqSortFilterProxyModel::_tellCount()
{
    // A list that is removing rows can not bear that others change it, which is what the number of rows may make do.
    if (_going.isEmpty()) {
        _mustTellCount = false;
        emit countChanged();
    } else {
        _mustTellCount = true;
    }
}

void ZqSortFilterProxyModel::_onSourceRowsInserted(const QModelIndex&, int first, int last)
{
    ++_entries;
    const int added = last - first + 1;
    _isAstray = !_going.isEmpty();
    for (Range& range : _going) {
        range.first += range.first >= first ? added : 0;
        range.last += range.last >= first ? added : 0;
    }
    if (!_isInStep(added)) {
        _reset();
        return;
    }
    _sourceSize += added;
    if (last + 1 < _sourceSize) {
        for (int& sourceRow : _sourceRows) {
            sourceRow += sourceRow >= first ? added : 0;
        }
    }
    _forgetLookup();
    if (!_show(_acceptedRows(first, last))) {
        invalidate();
    }
}

void ZqSortFilterProxyModel::_onSourceRowsAboutToBeRemoved(const QModelIndex&, int first, int last)
{
    const unsigned entry = ++_entries;
    _isAstray = !_going.isEmpty();
    _going.append({ first, last });
    if (!_isInStep()) {
        _reset();
        return;
    }
    QList<int> rows;
    if (first == last) {
        const int row = rowOfSource(first);
        if (row >= 0) {
            rows.append(row);
        }
    } else {
        for (int row = 0; row < count(); ++row) {
            if (_sourceRows.at(row) >= first && _sourceRows.at(row) <= last) {
                rows.append(row);
            }
        }
    }
    if (!_hide(rows)) {
        invalidate();
    }

    // Rows that now meet for the first time can stand the wrong way round only when some have no sort key.
    if (!_unkeyed.isEmpty() && !rows.isEmpty()) {
        const int seam = rows.first();
        const bool isOneBlock = rows.last() - rows.first() + 1 == rows.size();
        _mustSortAfterRemoval = entry != _entries || !isOneBlock
            || (seam > 0 && seam < count() && _comesBefore(_sourceRows.at(seam), _sourceRows.at(seam - 1)));
    }
}

void ZqSortFilterProxyModel::_onSourceRowsRemoved(const QModelIndex&, int first, int last)
{
    ++_entries;
    const int removed = last - first + 1;
    const bool isAsAnnounced = !_going.isEmpty() && !_isAstray;
    if (!_going.isEmpty()) {
        _going.removeLast();
    }
    _isAstray = !_going.isEmpty();
    for (Range& range : _going) {
        range.first -= range.first > first ? qMin(removed, range.first - first) : 0;
        range.last -= range.last >= first ? qMin(removed, range.last - first + 1) : 0;
    }
    if (!isAsAnnounced || !_isInStep(-removed)) {
        _reset();
    } else {
        _sourceSize -= removed;
        if (first < _sourceSize) {
            for (int& sourceRow : _sourceRows) {
                sourceRow -= sourceRow > last ? removed : 0;
            }
        }
        _forgetLookup();
        if (std::exchange(_mustSortAfterRemoval, false) && !_sort()) {
            invalidate();
        }
    }
    if (_mustTellCount) {
        _tellCount();
    }
}

void ZqSortFilterProxyModel::_onSourceRowsMoved(const QModelIndex&, int first, int last, const QModelIndex&, int before)
{
    ++_entries;
    _isAstray = !_going.isEmpty();
    if (!_isInStep()) {
        _reset();
        return;
    }
    QList<int> oldRows(_source->size());
    std::iota(oldRows.begin(), oldRows.end(), 0);
    const auto begin = oldRows.begin();
    if (before > first) {
        std::rotate(begin + first, begin + last + 1, begin + before);
    } else {
        std::rotate(begin + before, begin + first, begin + last + 1);
    }
    QList<int> newRows(oldRows.size());
    for (int row = 0; row < oldRows.size(); ++row) {
        newRows[oldRows.at(row)] = row;
    }
    for (int& sourceRow : _sourceRows) {
        sourceRow = newRows.at(sourceRow);
    }
    _forgetLookup();
    if (!_sort()) {
        invalidate();
    }
}

void ZqSortFilterProxyModel::_onSourceDataChanged(
    const QModelIndex& topLeft, const QModelIndex& bottomRight, const QList<int>& roles)
{
    const unsigned entry = ++_entries;
    if (!_isInStep()) {
        _reset();
        return;
    }
    QList<int> shown;
    QList<int> rejected;
    QList<int> added;
    bool hasKeyNews = false;
    for (int sourceRow = topLeft.row(); sourceRow <= bottomRight.row(); ++sourceRow) {
        const int row = rowOfSource(sourceRow);
        const bool isAccepted = _accepts(sourceRow);
        if (row >= 0 && isAccepted) {
            shown.append(row);
            hasKeyNews = _noteKey(sourceRow) || hasKeyNews;
        } else if (row >= 0) {
            rejected.append(row);
        } else if (isAccepted) {
            added.append(sourceRow);
        }
    }
    QList<int> misplaced;
    std::copy_if(
        shown.cbegin(), shown.cend(), std::back_inserter(misplaced), [this](int row) { return !_standsWell(row); });
    const bool mustSort = hasKeyNews || !misplaced.isEmpty() || (!_unkeyed.isEmpty() && !rejected.isEmpty());
    const bool mustAct = mustSort || !rejected.isEmpty() || !added.isEmpty();

    for (const int row : std::as_const(shown)) {
        emit dataChanged(index(row, 0), index(row, 0), roles);
        if (entry != _entries && (mustAct || row != shown.last())) {
            invalidate();
            return;
        }
    }
    if (rejected.isEmpty() && added.isEmpty() && !hasKeyNews && _unkeyed.isEmpty() && misplaced.size() == 1) {
        _reposition(misplaced.first());
        return;
    }
    if (!_hide(rejected) || (entry != _entries && !added.isEmpty()) || !_show(added) || (mustSort && !_sort())) {
        invalidate();
    }
}

void ZqSortFilterProxyModel::invalidate()
{
    ++_entries;
    if (_source && (!_isInStep() || !_askAnew())) {
        _reset();
    }
}

bool ZqSortFilterProxyModel::_askAnew()
{
    const unsigned entry = _entries;
    QList<int> isShown(_source->size(), 0);
    QList<int> rejected;
    for (int row = 0; row < count(); ++row) {
        isShown[_sourceRows.at(row)] = 1;
        if (!_accepts(_sourceRows.at(row))) {
            rejected.append(row);
        }
    }
    QList<int> added;
    for (int row = 0; row < isShown.size(); ++row) {
        if (!isShown.at(row) && _accepts(row)) {
            added.append(row);
        }
    }
    return _hide(rejected) && (entry == _entries || added.isEmpty()) && _show(added) && _sort();
}
