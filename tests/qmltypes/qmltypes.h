// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QList>
#include <QMetaObject>
#include <QString>

/// One type that a QML module offers.
struct QmlType
{
    enum Kind
    {
        Creatable,
        Uncreatable,
        Singleton
    };
    QByteArray name; ///< empty: pages meet its objects, but not its name
    const QMetaObject* metaObject = nullptr;
    Kind kind = Uncreatable;
};

/// A QML module whose types are registered by C++ code and have no description of their own for tools.
struct QmlModule
{
    QByteArray uri;
    QList<QByteArray> imports; ///< modules whose types stand in signatures
    QList<QmlType> types;
};

/// The description of a module as tools read it. `known` are the types of every module described, for the names of
/// superclasses and of pointers in signatures.
QByteArray qmlTypesText(const QmlModule& module, const QList<QmlType>& known);

/// Writes <folder>/<uri as path>/qmldir and types.qmltypes; false with one sentence in *error.
bool writeQmlTypes(const QString& folder, const QmlModule& module, const QList<QmlType>& known, QString* error);
