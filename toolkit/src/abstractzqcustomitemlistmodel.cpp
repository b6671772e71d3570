// SPDX-License-Identifier: Apache-2.0
#include "abstractzqcustomitemlistmodel.h"

#include <QtQml/QJSEngine>

AbstractZqCustomItemListModel::AbstractZqCustomItemListModel(QObject* parent)
    : QAbstractListModel(parent)
{
}

AbstractZqCustomItemListModel::~AbstractZqCustomItemListModel() = default;

QObject* AbstractZqCustomItemListModel::get(qsizetype index) const
{
    return keptFromEngine(itemAt(index));
}

QObject* AbstractZqCustomItemListModel::keptFromEngine(QObject* object)
{
    if (object && QJSEngine::objectOwnership(object) == QJSEngine::CppOwnership) {
        QJSEngine::setObjectOwnership(object, QJSEngine::CppOwnership);
    }
    return object;
}
