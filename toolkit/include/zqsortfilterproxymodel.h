// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "zqrowids.h"
#include "zqtoolkit_global.h"

#include <QtCore/QAbstractProxyModel>
#include <QtCore/QList>
#include <QtCore/QSet>

#include <optional>

class AbstractZqCustomItemListModel;

/// A sorted and filtered view of an item list, with the list's roles.
///
/// A subclass answers two questions about items; the view asks them again whenever rows of its source come, go or
/// change, and after invalidate(). The order is stable: of two items neither of which sorts before the other, the one
/// with the smaller source row comes first. Whatever isLessThan() answers, also contradictions, every accepted row is
/// shown once. Main thread only.
///
/// Whoever is told of a change that is done, by the source or by the view, may change the source's items and rows and
/// ask again at once; what the view only announces ("AboutToBe") is no moment for that. What the view was about to do is then reckoned anew; `countChanged` of a removal comes when the source has
/// completed it.
class ZQTOOLKIT_EXPORT ZqSortFilterProxyModel : public QAbstractProxyModel
{
    Q_OBJECT

    /// Number of rows shown. The source is set through the inherited property `sourceModel`.
    Q_PROPERTY(int count READ count NOTIFY countChanged FINAL)

public:
    explicit ZqSortFilterProxyModel(QObject* parent = nullptr);
    ~ZqSortFilterProxyModel() override;

    /// The source must be an AbstractZqCustomItemListModel (or null); any other model is refused with a warning and
    /// leaves the view without a source.
    void setSourceModel(QAbstractItemModel* sourceModel) override;

    /// Whether an item is shown. By default every item is.
    virtual bool filterAccepts(QObject* item, int sourceRow) const;

    /// Whether `left` comes before `right`. By default the source's order is kept.
    virtual bool isLessThan(QObject* left, int leftSourceRow, QObject* right, int rightSourceRow) const;

    /// Whether an item has what the order goes by. Those that do are sorted; one that does not is never asked for in
    /// isLessThan() and stands, without disturbing the others' order, behind the last row that its source row allows:
    /// the row before it comes earlier in the source, the row behind it later. By default every item does.
    virtual bool hasSortKey(QObject* item, int sourceRow) const;

    /// A number by which items with a sort key stand as isLessThan() wants them, the smaller one first; by default none.
    /// When all items have one a long list is sorted by these numbers alone, without a look at items all over memory for
    /// every comparison.
    virtual std::optional<qint64> sortNumber(QObject* item, int sourceRow) const;

    int count() const { return static_cast<int>(_ids.size()); }

    /// The item shown at a row, or null when there is no such row.
    Q_INVOKABLE QObject* get(int row) const;

    /// The row that shows the item, or -1.
    Q_INVOKABLE int indexOf(QObject* item) const;

    /// The row of the source that a row shows, or -1.
    Q_INVOKABLE int sourceRow(int row) const;

    /// The row that shows a row of the source, or -1 when it is filtered out or does not exist.
    Q_INVOKABLE int rowOfSource(int sourceRow) const;

    QModelIndex index(int row, int column, const QModelIndex& parent = QModelIndex()) const override;
    QModelIndex parent(const QModelIndex& child) const override;
    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    bool hasChildren(const QModelIndex& parent = QModelIndex()) const override;
    QModelIndex mapToSource(const QModelIndex& proxyIndex) const override;
    QModelIndex mapFromSource(const QModelIndex& sourceIndex) const override;

public slots:
    /// Filters and sorts anew; for what the answers depend on beside the items' own properties.
    void invalidate();

signals:
    void countChanged();

private slots:
    void _onSourceDestroyed();
    void _onSourceAboutToBeReset();
    void _onSourceReset();
    void _onSourceRowsInserted(const QModelIndex& parent, int first, int last);
    void _onSourceRowsAboutToBeRemoved(const QModelIndex& parent, int first, int last);
    void _onSourceRowsRemoved(const QModelIndex& parent, int first, int last);
    void _onSourceRearranged();
    void _onSourceDataChanged(const QModelIndex& topLeft, const QModelIndex& bottomRight, const QList<int>& roles);

private:
    /// A row of the source as the order sees it.
    struct SourceRow
    {
        int id;
        int sourceRow;
        QObject* item;
    };

    static QList<int> _idsOf(const QList<SourceRow>& rows);
    SourceRow _row(int id) const;
    bool _accepts(const SourceRow& row) const;
    QList<int> _sourceIds(int first, int last) const;
    QList<SourceRow> _sourceRows(int first, int last) const;
    QList<SourceRow> _acceptedRows(int first, int last) const;
    bool _noteKey(const SourceRow& row);
    bool _isKeyed(int id) const { return _unkeyed.isEmpty() || !_unkeyed.contains(id); }
    bool _comesBefore(const SourceRow& left, const SourceRow& right) const;
    bool _comesBefore(int leftId, int rightId) const { return _comesBefore(_row(leftId), _row(rightId)); }
    bool _standsWell(int row) const;
    int _placeFor(const SourceRow& added, int begin, int end) const;
    QList<int> _placesFor(const QList<SourceRow>& sorted) const;
    void _reposition(int row);
    void _sortKeyed(QList<SourceRow>& rows) const;
    QList<SourceRow> _sorted(QList<SourceRow> rows) const;
    bool _isInStep(int added = 0) const;
    void _rebuild();
    void _reset();
    void _tellCount();

    // Steps. Who is told of one may change more: a step that then had more to do stops and returns false, and all has
    // to be asked anew.
    [[nodiscard]] bool _show(const QList<SourceRow>& rows);
    [[nodiscard]] bool _showSorted(const QList<SourceRow>& rows);
    [[nodiscard]] bool _hide(const QList<int>& rows);
    [[nodiscard]] bool _sort();
    [[nodiscard]] bool _arrange(const QList<int>& ids);
    [[nodiscard]] bool _askAnew();
    void _insertRows(int row, const QList<int>& ids);
    void _removeRows(int first, int last);
    void _moveRow(int from, int to);
    void _relayout(const QList<int>& ids);

    AbstractZqCustomItemListModel* _source = nullptr;
    /// The ids of the source's rows that are shown, in the order shown.
    ZqRowIds _ids;
    /// How many rows the source has by what it told; it has others while it is telling somebody else.
    int _sourceSize = 0;
    /// The ids of rows that the source has announced to remove, the innermost removal last: they are not shown again.
    QList<QSet<int>> _going;
    /// Rows went while the source was removing its own.
    bool _mustTellCount = false;
    /// Counts what the view was told or asked: a step that finds another number than at its begin was disturbed.
    unsigned _entries = 0;
    /// The ids of the rows shown without sort key.
    QSet<int> _unkeyed;
    /// Set when rows that are about to go leave neighbours that stand the wrong way round.
    bool _mustSortAfterRemoval = false;
};
