// SPDX-License-Identifier: Apache-2.0
// How a view follows its source, also when those it tells change the source at once.
#include "zqsortfilterproxymodel.h"

#include "abstractzqcustomitemlistmodel.h"
#include "zqquickgeneral.h"

#include <QtCore/QDebug>

#include <algorithm>
#include <iterator>
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
    QAbstractProxyModel::setSourceModel(list);
    if (list) {
        using Model = QAbstractItemModel;
        using View = ZqSortFilterProxyModel;
        connect(list, &QObject::destroyed, this, &View::_onSourceDestroyed);
        connect(list, &Model::modelAboutToBeReset, this, &View::_onSourceAboutToBeReset);
        connect(list, &Model::modelReset, this, &View::_onSourceReset);
        connect(list, &Model::layoutChanged, this, &View::_onSourceRearranged);
        connect(list, &Model::rowsInserted, this, &View::_onSourceRowsInserted);
        connect(list, &Model::rowsAboutToBeRemoved, this, &View::_onSourceRowsAboutToBeRemoved);
        connect(list, &Model::rowsRemoved, this, &View::_onSourceRowsRemoved);
        connect(list, &Model::rowsMoved, this, &View::_onSourceRearranged);
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
    _reset();
}

void ZqSortFilterProxyModel::_onSourceAboutToBeReset()
{
    beginResetModel();
}

void ZqSortFilterProxyModel::_onSourceReset()
{
    ++_entries;
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
    if (!_isInStep(added)) {
        _reset();
        return;
    }
    _sourceSize += added;
    if (!_show(_acceptedRows(first, last))) {
        invalidate();
    }
}

void ZqSortFilterProxyModel::_onSourceRowsAboutToBeRemoved(const QModelIndex&, int first, int last)
{
    const unsigned entry = ++_entries;
    const QList<int> ids = _sourceIds(first, last);
    _going.append(QSet<int>(ids.cbegin(), ids.cend()));
    if (!_isInStep()) {
        _reset();
        return;
    }
    QList<int> rows;
    for (const int id : ids) {
        if (_ids.contains(id)) {
            rows.append(static_cast<int>(_ids.rowOf(id)));
        }
    }
    std::sort(rows.begin(), rows.end());
    if (!_hide(rows)) {
        invalidate();
    }

    // Rows that now meet for the first time can stand the wrong way round only when some have no sort key.
    if (!_unkeyed.isEmpty() && !rows.isEmpty()) {
        const int seam = rows.first();
        const bool isOneBlock = rows.last() - rows.first() + 1 == rows.size();
        _mustSortAfterRemoval = entry != _entries || !isOneBlock
            || (seam > 0 && seam < count() && _comesBefore(_ids.at(seam), _ids.at(seam - 1)));
    }
}

void ZqSortFilterProxyModel::_onSourceRowsRemoved(const QModelIndex&, int first, int last)
{
    ++_entries;
    const int removed = last - first + 1;
    const QSet<int> gone = _going.isEmpty() ? QSet<int>() : _going.takeLast();
    // Otherwise the source changed between announcing the removal and completing it.
    const bool isAsAnnounced = gone.size() == removed
        && std::none_of(gone.cbegin(), gone.cend(), [this](int id) { return _source->rowOfId(id) >= 0; });
    if (!isAsAnnounced || !_isInStep(-removed)) {
        _reset();
    } else {
        _sourceSize -= removed;
        if (std::exchange(_mustSortAfterRemoval, false) && !_sort()) {
            invalidate();
        }
    }
    if (_mustTellCount) {
        _tellCount();
    }
}

/// The rows keep their ids, so only the order of equals can be another.
void ZqSortFilterProxyModel::_onSourceRearranged()
{
    ++_entries;
    if (!_isInStep()) {
        _reset();
    } else if (!_sort()) {
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
    QList<SourceRow> added;
    bool hasKeyNews = false;
    const QList<SourceRow> changed = _sourceRows(topLeft.row(), bottomRight.row());
    for (const SourceRow& each : changed) {
        const int row = static_cast<int>(_ids.rowOf(each.id));
        const bool isAccepted = _accepts(each);
        if (row >= 0 && isAccepted) {
            shown.append(row);
            hasKeyNews = _noteKey(each) || hasKeyNews;
        } else if (row >= 0) {
            rejected.append(row);
        } else if (isAccepted) {
            added.append(each);
        }
    }
    std::sort(rejected.begin(), rejected.end());
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
    QList<int> rejected;
    QList<SourceRow> added;
    const QList<SourceRow> rows = _sourceRows(0, _source->size() - 1);
    for (const SourceRow& each : rows) {
        const bool isAccepted = _accepts(each);
        if (_ids.contains(each.id) && !isAccepted) {
            rejected.append(static_cast<int>(_ids.rowOf(each.id)));
        } else if (!_ids.contains(each.id) && isAccepted) {
            added.append(each);
        }
    }
    std::sort(rejected.begin(), rejected.end());
    return _hide(rejected) && (entry == _entries || added.isEmpty()) && _show(added) && _sort();
}
