// SPDX-License-Identifier: Apache-2.0
#include "qmltypes.h"

#include <QDir>
#include <QFile>
#include <QMetaEnum>
#include <QMetaMethod>
#include <QMetaProperty>

namespace {

// Types of Qt that tools know by themselves; what stands between them and a described type is told with the latter.
const QList<QByteArray> QT_BASES { "QObject", "QQuickItem", "QAbstractItemModel" };

QByteArray quoted(const QByteArray& text)
{
    return '"' + text + '"';
}

QByteArray elementName(const QMetaObject* metaObject, const QList<QmlType>& known)
{
    for (const QmlType& type : known) {
        if (type.metaObject == metaObject) {
            return metaObject->className();
        }
    }
    return QT_BASES.contains(metaObject->className()) ? QByteArray(metaObject->className()) : QByteArray();
}

// The nearest superclass that tools know.
const QMetaObject* prototypeOf(const QMetaObject* metaObject, const QList<QmlType>& known)
{
    const QMetaObject* super = metaObject->superClass();
    while (super != nullptr && elementName(super, known).isEmpty()) {
        super = super->superClass();
    }
    return super;
}

QByteArray typeAttributes(QByteArray type)
{
    const bool isPointer = type.endsWith('*');
    if (isPointer) {
        type.chop(1);
    }
    return "type: " + quoted(type) + (isPointer ? "; isPointer: true" : "");
}

QByteArray methodText(const QMetaMethod& method)
{
    const QByteArray keyword = method.methodType() == QMetaMethod::Signal ? "Signal" : "Method";
    QByteArray text = "        " + keyword + " { name: " + quoted(method.name());
    if (method.returnMetaType().id() != QMetaType::Void) {
        text += "; " + typeAttributes(method.typeName());
    }
    const QList<QByteArray> names = method.parameterNames();
    for (int i = 0; i < method.parameterCount(); ++i) {
        text += "\n            Parameter { name: " + quoted(names.at(i)) + "; "
            + typeAttributes(method.parameterTypeName(i)) + " }\n       ";
    }
    return text + " }\n";
}

QByteArray propertyText(const QMetaProperty& property)
{
    QByteArray text = "        Property { name: " + quoted(property.name()) + "; " + typeAttributes(property.typeName())
        + "; index: " + QByteArray::number(property.propertyIndex());
    if (!property.isWritable()) {
        text += "; isReadonly: true";
    }
    if (property.hasNotifySignal()) {
        text += "; notify: " + quoted(property.notifySignal().name());
    }
    return text + " }\n";
}

QByteArray enumText(const QMetaEnum& metaEnum)
{
    QByteArray values;
    for (int i = 0; i < metaEnum.keyCount(); ++i) {
        values += (i == 0 ? "" : ", ") + quoted(metaEnum.key(i));
    }
    return "        Enum { name: " + quoted(metaEnum.name()) + "; values: [" + values + "] }\n";
}

QByteArray componentText(const QmlModule& module, const QmlType& type, const QList<QmlType>& known)
{
    const QMetaObject* metaObject = type.metaObject;
    const QMetaObject* prototype = prototypeOf(metaObject, known);
    QByteArray text = "    Component {\n        name: " + quoted(metaObject->className())
        + "\n        accessSemantics: \"reference\"\n";
    if (prototype != nullptr) {
        text += "        prototype: " + quoted(prototype->className()) + "\n";
    }
    if (!type.name.isEmpty()) {
        text += "        exports: [" + quoted(module.uri + '/' + type.name + " 1.0")
            + "]\n        exportMetaObjectRevisions: [256]\n";
    }
    if (type.kind != QmlType::Creatable) {
        text += "        isCreatable: false\n";
    }
    if (type.kind == QmlType::Singleton) {
        text += "        isSingleton: true\n";
    }
    for (int i = prototype == nullptr ? 0 : prototype->enumeratorCount(); i < metaObject->enumeratorCount(); ++i) {
        text += enumText(metaObject->enumerator(i));
    }
    for (int i = prototype == nullptr ? 0 : prototype->propertyCount(); i < metaObject->propertyCount(); ++i) {
        text += propertyText(metaObject->property(i));
    }
    for (int i = prototype == nullptr ? 0 : prototype->methodCount(); i < metaObject->methodCount(); ++i) {
        const QMetaMethod method = metaObject->method(i);
        if (method.methodType() == QMetaMethod::Signal
            || (method.access() == QMetaMethod::Public && method.methodType() != QMetaMethod::Constructor)) {
            text += methodText(method);
        }
    }
    return text + "    }\n";
}

bool write(const QString& path, const QByteArray& text, QString* error)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size()) {
        *error = QStringLiteral("%1 could not be written: %2").arg(path, file.errorString());
        return false;
    }
    return true;
}

} // namespace

QByteArray qmlTypesText(const QmlModule& module, const QList<QmlType>& known)
{
    QByteArray text = "import QtQuick.tooling 1.2\n\nModule {\n";
    for (const QmlType& type : module.types) {
        text += componentText(module, type, known);
    }
    return text + "}\n";
}

bool writeQmlTypes(const QString& folder, const QmlModule& module, const QList<QmlType>& known, QString* error)
{
    const QString path = folder + u'/' + QString::fromLatin1(module.uri).replace(u'.', u'/');
    if (!QDir().mkpath(path)) {
        *error = QStringLiteral("%1 could not be made").arg(path);
        return false;
    }
    QByteArray qmldir = "module " + module.uri + "\ntypeinfo types.qmltypes\n";
    for (const QByteArray& import : module.imports) {
        qmldir += "depends " + import + '\n';
    }
    return write(path + QStringLiteral("/qmldir"), qmldir, error)
        && write(path + QStringLiteral("/types.qmltypes"), qmlTypesText(module, known), error);
}
