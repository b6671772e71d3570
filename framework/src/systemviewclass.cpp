// SPDX-License-Identifier: Apache-2.0
#include "systemviewclass.h"

SystemViewClass::SystemViewClass(const QString& familyUuid, const QString& name, QObject* parent)
    : QObject(parent)
    , _familyUuid(familyUuid)
    , _name(name)
{
}

SystemViewClass::~SystemViewClass() = default;

QString SystemViewClass::familyUuid() const
{
    return _familyUuid;
}

QString SystemViewClass::name() const
{
    return _name;
}
