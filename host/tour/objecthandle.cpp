// SPDX-License-Identifier: Apache-2.0
#include "objecthandle.h"

#include <QtCore/QAbstractItemModel>
#include <QtCore/QDebug>
#include <QtCore/QMetaMethod>
#include <QtCore/QMetaProperty>

#include <array>

namespace tour {

namespace {

constexpr std::size_t mostArguments = 4;

// The method of this name that takes so many arguments.
QMetaMethod findMethod(const QMetaObject* metaObject, const QByteArray& name, qsizetype argumentCount)
{
    for (int index = metaObject->methodCount() - 1; index >= 0; --index) {
        const QMetaMethod method = metaObject->method(index);
        if (method.name() == name && method.parameterCount() == argumentCount
            && method.methodType() != QMetaMethod::Signal) {
            return method;
        }
    }
    return {};
}

} // namespace

QVariant ObjectHandle::value(const char* property) const
{
    if (!_object) {
        return {};
    }
    if (_object->metaObject()->indexOfProperty(property) < 0) {
        qWarning("The tour: %s has no property \"%s\"", _object->metaObject()->className(), property);
        return {};
    }
    return _object->property(property);
}

ObjectHandle ObjectHandle::child(const char* property) const
{
    return ObjectHandle(value(property).value<QObject*>());
}

QList<ObjectHandle> ObjectHandle::items(const char* property) const
{
    QList<ObjectHandle> handles;
    const auto* model = qobject_cast<QAbstractItemModel*>(child(property).object());
    if (model == nullptr) {
        return handles;
    }
    const int role = model->roleNames().key("qtObject", -1);
    for (int row = 0; row < model->rowCount(); ++row) {
        handles.append(ObjectHandle(model->index(row, 0).data(role).value<QObject*>()));
    }
    return handles;
}

bool ObjectHandle::set(const char* property, const QVariant& value) const
{
    const int index = _object ? _object->metaObject()->indexOfProperty(property) : -1;
    if (index < 0) {
        return false;
    }
    const QMetaProperty found = _object->metaObject()->property(index);
    const bool isObject = found.metaType().flags().testFlag(QMetaType::PointerToQObject);
    if (isObject && value.value<QObject*>() == nullptr) {
        // A null of a base class does not convert: it must be a null of the property's own class.
        QObject* none = nullptr;
        return found.write(_object.data(), QVariant(found.metaType(), &none));
    }
    return found.write(_object.data(), value);
}

QString ObjectHandle::call(const char* method, const QVariantList& arguments) const
{
    if (!_object) {
        return QStringLiteral("there is no object to call \"%1\" on").arg(QLatin1String(method));
    }
    const QMetaMethod found = findMethod(_object->metaObject(), method, arguments.size());
    if (!found.isValid() || arguments.size() > static_cast<qsizetype>(mostArguments)) {
        return QStringLiteral("%1 has no invokable \"%2\" with %3 arguments")
            .arg(QLatin1String(_object->metaObject()->className()), QLatin1String(method))
            .arg(arguments.size());
    }
    const QList<QByteArray> types = found.parameterTypes();
    std::array<QVariant, mostArguments> values;
    std::array<QObject*, mostArguments> objects {};
    std::array<QGenericArgument, mostArguments> generic;
    for (qsizetype index = 0; index < arguments.size(); ++index) {
        const auto at = static_cast<std::size_t>(index);
        if (types.at(index).endsWith('*')) {
            // A class of a plugin begins with its QObject, so the two pointers are one.
            objects[at] = arguments.at(index).value<QObject*>();
            generic[at] = QGenericArgument(types.at(index).constData(), &objects[at]);
            continue;
        }
        values[at] = arguments.at(index);
        if (!values[at].convert(found.parameterMetaType(static_cast<int>(index)))) {
            return QStringLiteral("argument %1 of \"%2\" is no %3")
                .arg(index + 1)
                .arg(QLatin1String(method), QLatin1String(types.at(index)));
        }
        generic[at] = QGenericArgument(types.at(index).constData(), values[at].constData());
    }
    if (!found.invoke(_object.data(), Qt::DirectConnection, generic[0], generic[1], generic[2], generic[3])) {
        return QStringLiteral("\"%1\" could not be called").arg(QLatin1String(method));
    }
    return {};
}

QVariant argument(const ObjectHandle& handle)
{
    return QVariant::fromValue(handle.object());
}

SignalCounter::SignalCounter(const ObjectHandle& sender, const char* signal)
{
    if (!sender.isNull()) {
        _isConnected = static_cast<bool>(connect(sender.object(), signal, this, SLOT(_onSignal())));
    }
}

} // namespace tour
