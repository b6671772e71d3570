// SPDX-License-Identifier: Apache-2.0
#include "propertywatch.h"

#include <QtCore/QMetaMethod>
#include <QtCore/QMetaProperty>

#include <cmath>

namespace {

bool isSame(const QVariant& left, const QVariant& right)
{
    if (left.typeId() == QMetaType::Double && std::isnan(left.toDouble()) && std::isnan(right.toDouble())) {
        return true;
    }
    return left == right;
}

} // namespace

void PropertyWatch::watch(QObject* object)
{
    if (!object->findChild<PropertyWatch*>(Qt::FindDirectChildrenOnly)) {
        new PropertyWatch(object);
    }
}

QStringList PropertyWatch::silentChanges(const QObject* object)
{
    QStringList silent;
    object->findChild<PropertyWatch*>(Qt::FindDirectChildrenOnly)->_look(&silent);
    return silent;
}

PropertyWatch::PropertyWatch(QObject* object)
    : QObject(object)
{
    const QMetaObject* const metaObject = object->metaObject();
    const QMetaMethod slot = staticMetaObject.method(staticMetaObject.indexOfSlot("_onNotify()"));
    QSet<int> connected;
    for (int i = QObject::staticMetaObject.propertyCount(); i < metaObject->propertyCount(); ++i) {
        const QMetaProperty property = metaObject->property(i);
        if (property.hasNotifySignal() && !connected.contains(property.notifySignalIndex())) {
            connected.insert(property.notifySignalIndex());
            connect(object, property.notifySignal(), this, slot);
        }
    }
    _look(nullptr);
}

void PropertyWatch::_onNotify()
{
    _notified.insert(senderSignalIndex());
}

void PropertyWatch::_look(QStringList* silent)
{
    const QMetaObject* const metaObject = parent()->metaObject();
    for (int i = QObject::staticMetaObject.propertyCount(); i < metaObject->propertyCount(); ++i) {
        const QMetaProperty property = metaObject->property(i);
        if (!property.hasNotifySignal()) {
            continue;
        }
        const QVariant value = property.read(parent());
        QVariant& before = _values[i];
        if (silent && !_notified.contains(property.notifySignalIndex()) && !isSame(before, value)) {
            silent->append(QLatin1StringView(property.name()));
        }
        before = value;
    }
    _notified.clear();
}
