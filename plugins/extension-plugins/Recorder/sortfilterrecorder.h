// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zqsortfilterproxymodel.h>

/// The recorders of the module, by the name of their class instance.
class SortFilterRecorder : public ZqSortFilterProxyModel
{
    Q_OBJECT

public:
    explicit SortFilterRecorder(QObject* parent = nullptr);
    ~SortFilterRecorder() override;

    bool filterAccepts(QObject* item, int sourceRow) const override;
    bool isLessThan(QObject* left, int leftSourceRow, QObject* right, int rightSourceRow) const override;

    /// A recorder whose class instance is being destroyed has no name to be sorted by until it is removed.
    bool hasSortKey(QObject* item, int sourceRow) const override;
};
