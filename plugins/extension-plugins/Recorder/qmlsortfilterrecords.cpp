// SPDX-License-Identifier: Apache-2.0
#include "qmlsortfilterrecords.h"

#include "recorderrecord.h"

#include <QtQml/QJSEngine>

QmlSortFilterRecords::QmlSortFilterRecords(QObject* parent)
    : ZqSortFilterProxyModel(parent)
{
    QJSEngine::setObjectOwnership(this, QJSEngine::JavaScriptOwnership);
}

QmlSortFilterRecords::~QmlSortFilterRecords() = default;

bool QmlSortFilterRecords::filterAccepts(QObject* item, int) const
{
    return qobject_cast<RecorderRecord*>(item) != nullptr;
}

bool QmlSortFilterRecords::isLessThan(QObject* left, int leftSourceRow, QObject* right, int rightSourceRow) const
{
    const auto* record1 = qobject_cast<RecorderRecord*>(left);
    const auto* record2 = qobject_cast<RecorderRecord*>(right);
    if (!record1 || !record2 || !record1->start().isValid() || !record2->start().isValid()) {
        return leftSourceRow < rightSourceRow;
    }
    return record1->start().instant() > record2->start().instant();
}

bool QmlSortFilterRecords::hasSortKey(QObject* item, int) const
{
    const auto* record = qobject_cast<RecorderRecord*>(item);
    return record && record->start().isValid();
}

std::optional<qint64> QmlSortFilterRecords::sortNumber(QObject* item, int) const
{
    const auto* record = qobject_cast<RecorderRecord*>(item);
    return record ? std::optional(~record->start().instant()) : std::nullopt; // the later the smaller
}
