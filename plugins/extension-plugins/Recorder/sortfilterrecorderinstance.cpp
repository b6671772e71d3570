// SPDX-License-Identifier: Apache-2.0
#include "sortfilterrecorderinstance.h"

#include "recorderinstance.h"

SortFilterRecorderInstance::SortFilterRecorderInstance(QObject* parent)
    : ZqSortFilterProxyModel(parent)
{
}

SortFilterRecorderInstance::~SortFilterRecorderInstance() = default;

bool SortFilterRecorderInstance::filterAccepts(QObject* item, int) const
{
    return qobject_cast<RecorderInstance*>(item) != nullptr;
}

bool SortFilterRecorderInstance::isLessThan(QObject* left, int leftSourceRow, QObject* right, int rightSourceRow) const
{
    const auto* recorderInstance1 = qobject_cast<RecorderInstance*>(left);
    Q_ASSERT(recorderInstance1);
    const auto* recorderInstance2 = qobject_cast<RecorderInstance*>(right);
    Q_ASSERT(recorderInstance2);

    const int order = QString::compare(
        recorderInstance1->cassandraEndpoint(), recorderInstance2->cassandraEndpoint(), Qt::CaseSensitive);
    return order == 0 ? leftSourceRow < rightSourceRow : order < 0;
}
