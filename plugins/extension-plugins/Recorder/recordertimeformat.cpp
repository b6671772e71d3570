// SPDX-License-Identifier: Apache-2.0
#include "recordertimeformat.h"

#include <QtQml/QJSEngine>

RecorderTimeFormat::RecorderTimeFormat()
{
    QJSEngine::setObjectOwnership(this, QJSEngine::CppOwnership);
}

RecorderTimeFormat& RecorderTimeFormat::instance()
{
    static RecorderTimeFormat timeFormat;
    return timeFormat;
}

QObject* RecorderTimeFormat::qmlSingleton(QQmlEngine*, QJSEngine*)
{
    return &instance();
}

int RecorderTimeFormat::getEnumeratorIndex() const
{
    return staticMetaObject.indexOfEnumerator("Value");
}

QMetaEnum RecorderTimeFormat::getEnumerator(int index) const
{
    return staticMetaObject.enumerator(index);
}

QList<RecorderTimeFormat::Value> RecorderTimeFormat::allValues() const
{
    QList<Value> values;
    const QMetaEnum enumeration = getEnumerator(getEnumeratorIndex());
    for (int i = 0; i < enumeration.keyCount(); ++i) {
        values.append(static_cast<Value>(enumeration.value(i)));
    }
    return values;
}
