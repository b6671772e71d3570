// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zqabstractqmlenumclass.h>

#include <QtCore/QList>

class QJSEngine;
class QQmlEngine;

/// The formats in which a duration is printed; offered to QML as a singleton. Main thread only.
class RecorderTimeFormat : public ZqAbstractQmlEnumClass
{
    Q_OBJECT

public:
    enum Value
    {
        /// Hours, minutes and seconds: "00 : 01 : 30".
        HH_MM_SS_WITH_SPACES = 0,
        /// Hours, minutes, seconds and milliseconds: "00:01:30.250".
        HH_MM_SS_ZZZ = 1
    };
    Q_ENUM(Value)

    /// The process-wide object, created on first use and never owned by a QML engine.
    static RecorderTimeFormat& instance();

    /// Factory for qmlRegisterSingletonType: gives every engine the same object.
    static QObject* qmlSingleton(QQmlEngine* engine, QJSEngine* scriptEngine);

    /// The values in the order of their declaration; empty if the enumeration is not found in the meta-object.
    Q_INVOKABLE QList<RecorderTimeFormat::Value> allValues() const;

    int getEnumeratorIndex() const override;
    QMetaEnum getEnumerator(int index) const override;

private:
    RecorderTimeFormat();
};
