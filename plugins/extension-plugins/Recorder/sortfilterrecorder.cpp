// SPDX-License-Identifier: Apache-2.0
#include "sortfilterrecorder.h"

#include "recorder.h"

#include <systemviewclassinstance.h>

SortFilterRecorder::SortFilterRecorder(QObject* parent)
    : ZqSortFilterProxyModel(parent)
{
}

SortFilterRecorder::~SortFilterRecorder() = default;

bool SortFilterRecorder::filterAccepts(QObject* item, int) const
{
    return qobject_cast<Recorder*>(item) != nullptr;
}

bool SortFilterRecorder::isLessThan(QObject* left, int leftSourceRow, QObject* right, int rightSourceRow) const
{
    const auto* recorder1 = qobject_cast<Recorder*>(left);
    Q_ASSERT(recorder1);
    const auto* recorder2 = qobject_cast<Recorder*>(right);
    Q_ASSERT(recorder2);
    const auto* classInstance1 = recorder1->classInstance();
    Q_ASSERT(classInstance1);
    const auto* classInstance2 = recorder2->classInstance();
    Q_ASSERT(classInstance2);

    const int order = QString::compare(classInstance1->name(), classInstance2->name(), Qt::CaseSensitive);
    return order == 0 ? leftSourceRow < rightSourceRow : order < 0;
}

bool SortFilterRecorder::hasSortKey(QObject* item, int) const
{
    const auto* recorder = qobject_cast<Recorder*>(item);
    return recorder && recorder->classInstance();
}
