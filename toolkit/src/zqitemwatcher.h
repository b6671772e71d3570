// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QtCore/QObject>

class ZqObjectListModel;

/// Receives the notify signals of one item on behalf of the list.
///
/// A receiver finds out who called it by walking its incoming connections. A list that received them itself would walk
/// those of all its items at every change, so each item gets a receiver of its own. Owned by the list.
class ZqItemWatcher : public QObject
{
    Q_OBJECT

public:
    ZqItemWatcher(ZqObjectListModel* model, QObject* item);
    ~ZqItemWatcher() override;

    /// Index of the slot that every notify signal is connected to.
    static int changeSlotIndex();

private slots:
    void _onListItemChanged();

private:
    ZqObjectListModel* const _model;
    QObject* const _item;
};
