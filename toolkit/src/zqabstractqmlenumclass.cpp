// SPDX-License-Identifier: Apache-2.0
#include "zqabstractqmlenumclass.h"

ZqAbstractQmlEnumClass::ZqAbstractQmlEnumClass(QObject* parent)
    : QObject(parent)
{
}

ZqAbstractQmlEnumClass::~ZqAbstractQmlEnumClass() = default;

QString ZqAbstractQmlEnumClass::text(int value) const
{
    return QString::fromLatin1(getEnumerator(getEnumeratorIndex()).valueToKey(value));
}

int ZqAbstractQmlEnumClass::value(const QString& text, int defaultValue) const
{
    bool isKey = false;
    const int found = getEnumerator(getEnumeratorIndex()).keyToValue(text.toLatin1().constData(), &isKey);
    return isKey ? found : defaultValue;
}
