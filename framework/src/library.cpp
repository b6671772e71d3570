// SPDX-License-Identifier: Apache-2.0
#include "library.h"

#include "reservedagentandtoolfamilies.h"
#include "systemviewclass.h"

#include <zqcustomitemlistmodel.h>

Library::Library(QObject* parent)
    : QObject(parent)
    , _classes(new ZqCustomItemListModel<SystemViewClass>(this))
{
    getOrCreateClass(ReservedAgentAndToolFamilies::RECORDER_CLASS_UUID, QStringLiteral("Recorder"));
}

Library::~Library() = default;

AbstractZqCustomItemListModel* Library::classesModel() const
{
    return _classes;
}

QList<SystemViewClass*> Library::classes() const
{
    return _classes->toList();
}

SystemViewClass* Library::getClassWithUUID(const QString& familyUuid) const
{
    for (SystemViewClass* systemViewClass : _classes->toList()) {
        if (systemViewClass->familyUuid() == familyUuid) {
            return systemViewClass;
        }
    }
    return nullptr;
}

SystemViewClass* Library::getOrCreateClass(const QString& familyUuid, const QString& name)
{
    SystemViewClass* systemViewClass = getClassWithUUID(familyUuid);
    if (systemViewClass == nullptr) {
        systemViewClass = new SystemViewClass(familyUuid, name, this);
        _classes->appendRow(systemViewClass);
    }
    return systemViewClass;
}
