// SPDX-License-Identifier: Apache-2.0
// How a view orders its rows.
#include "zqsortfilterproxymodel.h"

#include "abstractzqcustomitemlistmodel.h"
#include "zqmergesort.h"

#include <algorithm>
#include <optional>
#include <utility>

/// Remembers whether an item has a sort key; returns whether that is news.
bool ZqSortFilterProxyModel::_noteKey(const SourceRow& row)
{
    if (hasSortKey(row.item, row.sourceRow)) {
        return _unkeyed.remove(row.id);
    }
    const bool isNews = !_unkeyed.contains(row.id);
    _unkeyed.insert(row.id);
    return isNews;
}

/// The order shown: isLessThan() between items with a sort key, and the source's order where it does not decide.
bool ZqSortFilterProxyModel::_comesBefore(const SourceRow& left, const SourceRow& right) const
{
    if (!_isKeyed(left.id) || !_isKeyed(right.id)) {
        return left.sourceRow < right.sourceRow;
    }
    if (isLessThan(left.item, left.sourceRow, right.item, right.sourceRow)) {
        return true;
    }
    return left.sourceRow < right.sourceRow && !isLessThan(right.item, right.sourceRow, left.item, left.sourceRow);
}

/// Whether a row need not move: it is on the right side of its neighbours and, when it has a sort key, of the next rows
/// that have one.
bool ZqSortFilterProxyModel::_standsWell(int row) const
{
    const SourceRow shown = _row(_ids.at(row));
    const bool isKeyed = _isKeyed(shown.id);
    for (int before = row - 1; before >= 0; --before) {
        const int id = _ids.at(before);
        if ((before == row - 1 || _isKeyed(id)) && _comesBefore(shown, _row(id))) {
            return false;
        }
        if (!isKeyed || _isKeyed(id)) {
            break;
        }
    }
    for (int after = row + 1; after < count(); ++after) {
        const int id = _ids.at(after);
        if ((after == row + 1 || _isKeyed(id)) && _comesBefore(_row(id), shown)) {
            return false;
        }
        if (!isKeyed || _isKeyed(id)) {
            break;
        }
    }
    return true;
}

/// Where an item with a sort key goes among the rows of a range that have one.
int ZqSortFilterProxyModel::_placeFor(const SourceRow& added, int begin, int end) const
{
    while (begin < end) {
        const int middle = begin + (end - begin) / 2;
        int asked = middle;
        while (asked < end && !_isKeyed(_ids.at(asked))) {
            ++asked;
        }
        if (asked == end || _comesBefore(added, _row(_ids.at(asked)))) {
            end = middle;
        } else {
            begin = asked + 1;
        }
    }
    return begin;
}

/// Where each item of a sorted batch goes among the rows shown, all of which have a sort key.
QList<int> ZqSortFilterProxyModel::_placesFor(const QList<SourceRow>& sorted) const
{
    QList<int> places;
    places.reserve(sorted.size());
    int place = 0;
    for (const SourceRow& added : sorted) {
        // Searched for in growing steps from the place of the one before, so that a few ask little and many hardly
        // more than the rows between them.
        int step = 1;
        while (step <= count() - place && !_comesBefore(added, _row(_ids.at(place + step - 1)))) {
            place += step;
            step *= 2;
        }
        place = _placeFor(added, place, qMin(place + step - 1, count()));
        places.append(place);
    }
    return places;
}

/// Items with a sort key, given in the source's order.
void ZqSortFilterProxyModel::_sortKeyed(QList<SourceRow>& rows) const
{
    struct Numbered
    {
        qint64 number;
        SourceRow row;
    };
    QList<Numbered> numbered;
    numbered.reserve(rows.size());
    for (const SourceRow& row : std::as_const(rows)) {
        const std::optional<qint64> number = sortNumber(row.item, row.sourceRow);
        if (!number) {
            zqMergeSort(rows, [this](const SourceRow& left, const SourceRow& right) {
                return isLessThan(left.item, left.sourceRow, right.item, right.sourceRow);
            });
            return;
        }
        numbered.append({ *number, row });
    }
    zqMergeSort(numbered, [](const Numbered& left, const Numbered& right) { return left.number < right.number; });
    std::transform(numbered.cbegin(), numbered.cend(), rows.begin(), [](const Numbered& one) { return one.row; });
}

/// `rows` in the source's order, so that a stable sort keeps the source's order of equals.
QList<ZqSortFilterProxyModel::SourceRow> ZqSortFilterProxyModel::_sorted(QList<SourceRow> rows) const
{
    QList<SourceRow> unkeyed;
    rows.removeIf([this, &unkeyed](const SourceRow& row) {
        if (hasSortKey(row.item, row.sourceRow)) {
            return false;
        }
        unkeyed.append(row);
        return true;
    });
    _sortKeyed(rows);
    if (unkeyed.isEmpty()) {
        return rows;
    }

    // Merged from the end, so that an item without key stands as far behind as its source row allows.
    QList<SourceRow> merged(rows.size() + unkeyed.size());
    qsizetype keyedLeft = rows.size();
    qsizetype unkeyedLeft = unkeyed.size();
    for (qsizetype out = merged.size() - 1; out >= 0; --out) {
        const bool takesKeyed = unkeyedLeft == 0
            || (keyedLeft > 0 && unkeyed.at(unkeyedLeft - 1).sourceRow < rows.at(keyedLeft - 1).sourceRow);
        merged[out] = takesKeyed ? rows.at(--keyedLeft) : unkeyed.at(--unkeyedLeft);
    }
    return merged;
}
