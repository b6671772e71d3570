// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zqsortfilterproxymodel.h>

/// The instances of a recorder, by the database that they record into.
class SortFilterRecorderInstance : public ZqSortFilterProxyModel
{
    Q_OBJECT

public:
    explicit SortFilterRecorderInstance(QObject* parent = nullptr);
    ~SortFilterRecorderInstance() override;

    bool filterAccepts(QObject* item, int sourceRow) const override;
    bool isLessThan(QObject* left, int leftSourceRow, QObject* right, int rightSourceRow) const override;
};
