// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "zqtoolkit_global.h"

#include <QtCore/QMetaEnum>
#include <QtCore/QObject>
#include <QtCore/QString>

/// Base of the classes that offer one enumeration to QML, usually as a singleton.
///
/// A subclass declares its enumeration with Q_ENUM and says which of its enumerations is meant; the texts come from
/// here.
class ZQTOOLKIT_EXPORT ZqAbstractQmlEnumClass : public QObject
{
    Q_OBJECT

public:
    explicit ZqAbstractQmlEnumClass(QObject* parent = nullptr);
    ~ZqAbstractQmlEnumClass() override;

    /// Index of the enumeration in the subclass's meta-object, or -1 when it can not be found.
    virtual int getEnumeratorIndex() const = 0;

    /// The enumeration at an index of the subclass's meta-object; invalid for an index that does not exist.
    virtual QMetaEnum getEnumerator(int index) const = 0;

    /// The text of a value: its key. Empty for a number that is no value of the enumeration.
    Q_INVOKABLE QString text(int value) const;

    /// The value that has this text, or `defaultValue`.
    Q_INVOKABLE int value(const QString& text, int defaultValue = -1) const;
};
