// SPDX-License-Identifier: Apache-2.0
#include "zqitemwatcher.h"

#include "zqobjectlistmodel.h"

ZqItemWatcher::ZqItemWatcher(ZqObjectListModel* model, QObject* item)
    : _model(model)
    , _item(item)
{
}

ZqItemWatcher::~ZqItemWatcher() = default;

int ZqItemWatcher::changeSlotIndex()
{
    static const int index = staticMetaObject.indexOfSlot("_onListItemChanged()");
    return index;
}

void ZqItemWatcher::_onListItemChanged()
{
    // Whoever hears of the change may remove the item, and with it this object: nothing may follow this call.
    _model->_onListItemChanged(_item, senderSignalIndex());
}
