// SPDX-License-Identifier: Apache-2.0
// How a view follows its source.
#include "zqsortfilterproxymodel.h"

#include "abstractzqcustomitemlistmodel.h"
#include "zqquickgeneral.h"

#include <QtCore/QDebug>

#include <algorithm>
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

    beginResetModel();
    if (_source) {
        disconnect(_source, nullptr, this, nullptr);
    }
    _source = list;
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
    beginResetModel();
    _source = nullptr;
    _rebuild();
    endResetModel();
}

void ZqSortFilterProxyModel::_onSourceAboutToBeReset()
{
    beginResetModel();
}

void ZqSortFilterProxyModel::_onSourceReset()
{
    _rebuild();
    endResetModel();
}

void ZqSortFilterProxyModel::_onSourceRowsInserted(const QModelIndex&, int first, int last)
{
    const int added = last - first + 1;
    if (last + 1 < _source->size()) {
        for (int& sourceRow : _sourceRows) {
            sourceRow += sourceRow >= first ? added : 0;
        }
    }
    _forgetLookup();
    _show(_acceptedRows(first, last));
}

void ZqSortFilterProxyModel::_onSourceRowsAboutToBeRemoved(const QModelIndex&, int first, int last)
{
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
    _hide(rows);

    // Rows that now meet for the first time can stand the wrong way round only when some have no sort key.
    if (!_unkeyed.isEmpty() && !rows.isEmpty()) {
        const int seam = rows.first();
        const bool isOneBlock = rows.last() - rows.first() + 1 == rows.size();
        _mustSortAfterRemoval = !isOneBlock
            || (seam > 0 && seam < count() && _comesBefore(_sourceRows.at(seam), _sourceRows.at(seam - 1)));
    }
}

void ZqSortFilterProxyModel::_onSourceRowsRemoved(const QModelIndex&, int first, int last)
{
    const int removed = last - first + 1;
    if (first < _source->size()) {
        for (int& sourceRow : _sourceRows) {
            sourceRow -= sourceRow > last ? removed : 0;
        }
    }
    _forgetLookup();
    if (std::exchange(_mustSortAfterRemoval, false)) {
        _sort();
    }
}

void ZqSortFilterProxyModel::_onSourceRowsMoved(const QModelIndex&, int first, int last, const QModelIndex&, int before)
{
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
    _sort();
}

void ZqSortFilterProxyModel::_onSourceDataChanged(
    const QModelIndex& topLeft, const QModelIndex& bottomRight, const QList<int>& roles)
{
    QList<int> shown;
    QList<int> rejected;
    QList<int> added;
    bool mustSort = false;
    for (int sourceRow = topLeft.row(); sourceRow <= bottomRight.row(); ++sourceRow) {
        const int row = rowOfSource(sourceRow);
        const bool isAccepted = _accepts(sourceRow);
        if (row >= 0 && isAccepted) {
            shown.append(row);
            mustSort = _noteKey(sourceRow) || mustSort;
        } else if (row >= 0) {
            rejected.append(row);
        } else if (isAccepted) {
            added.append(sourceRow);
        }
    }
    QList<int> misplaced;
    for (const int row : std::as_const(shown)) {
        if (!_standsWell(row)) {
            misplaced.append(row);
        }
        emit dataChanged(index(row, 0), index(row, 0), roles);
    }
    if (rejected.isEmpty() && added.isEmpty() && !mustSort && _unkeyed.isEmpty() && misplaced.size() == 1) {
        _reposition(misplaced.first());
        return;
    }
    _hide(rejected);
    _show(added);
    if (mustSort || !misplaced.isEmpty() || (!_unkeyed.isEmpty() && !rejected.isEmpty())) {
        _sort();
    }
}
