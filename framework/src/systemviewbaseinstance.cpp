// SPDX-License-Identifier: Apache-2.0
#include "systemviewbaseinstance.h"

#include "documentkeys.h"
#include "systemview.h"

#include <zqproperty.h>

#include <QUuid>

SystemViewBaseInstance::SystemViewBaseInstance(
    const QString& uuid, const QString& name, const QPointF& position, SystemView* systemView)
    : QObject(systemView)
    , _uuid(uuid.isEmpty() ? QUuid::createUuid().toString(QUuid::WithoutBraces) : uuid)
    , _name(name)
    , _position(position)
    , _systemView(systemView)
{
    Q_ASSERT(systemView);
}

SystemViewBaseInstance::~SystemViewBaseInstance() = default;

QString SystemViewBaseInstance::uuid() const
{
    return _uuid;
}

QString SystemViewBaseInstance::name() const
{
    return _name;
}

QPointF SystemViewBaseInstance::position() const
{
    return _position;
}

SystemView* SystemViewBaseInstance::systemView() const
{
    return _systemView;
}

void SystemViewBaseInstance::setname(const QString& name)
{
    if (ZqProperty::assign(this, _name, name, &SystemViewBaseInstance::nameChanged)) {
        Q_EMIT modified();
    }
}

void SystemViewBaseInstance::setposition(const QPointF& position)
{
    if (ZqProperty::assign(this, _position, position, &SystemViewBaseInstance::positionChanged)) {
        Q_EMIT modified();
    }
}

QJsonObject SystemViewBaseInstance::exportToJson() const
{
    QJsonObject json = _otherKeys;
    json[DocumentKeys::UUID] = _uuid;
    json[DocumentKeys::NAME] = _name;
    json[DocumentKeys::X] = _position.x();
    json[DocumentKeys::Y] = _position.y();
    return json;
}
