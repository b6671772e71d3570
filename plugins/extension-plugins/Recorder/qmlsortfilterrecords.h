// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zqsortfilterproxymodel.h>

/// A list of records, the most recent start first. Pages make it themselves, so the JavaScript engine owns it.
///
/// A record whose start is not known has nothing to be sorted by: its place follows from its row in the source.
class QmlSortFilterRecords : public ZqSortFilterProxyModel
{
    Q_OBJECT

public:
    explicit QmlSortFilterRecords(QObject* parent = nullptr);
    ~QmlSortFilterRecords() override;

    bool filterAccepts(QObject* item, int sourceRow) const override;
    bool isLessThan(QObject* left, int leftSourceRow, QObject* right, int rightSourceRow) const override;
    bool hasSortKey(QObject* item, int sourceRow) const override;
    std::optional<qint64> sortNumber(QObject* item, int sourceRow) const override;
};
