// SPDX-License-Identifier: Apache-2.0
#include "abstractcorvanemoduleplugin.h"

#include "corvanemoduleplugin.h"

#include <zqproperty.h>

AbstractCorvaneModulePlugin::AbstractCorvaneModulePlugin(QObject* parent)
    : QObject(parent)
{
}

AbstractCorvaneModulePlugin::~AbstractCorvaneModulePlugin() = default;

QString AbstractCorvaneModulePlugin::name() const
{
    return _name;
}

QString AbstractCorvaneModulePlugin::modulesMenuLabel() const
{
    return _modulesMenuLabel;
}

QUrl AbstractCorvaneModulePlugin::modulesMenuIcon() const
{
    return _modulesMenuIcon;
}

QUrl AbstractCorvaneModulePlugin::qmlItemUrl() const
{
    return _qmlItemUrl;
}

void AbstractCorvaneModulePlugin::setname(const QString& name)
{
    ZqProperty::assign(this, _name, name, &AbstractCorvaneModulePlugin::nameChanged);
}

void AbstractCorvaneModulePlugin::setmodulesMenuLabel(const QString& modulesMenuLabel)
{
    ZqProperty::assign(
        this, _modulesMenuLabel, modulesMenuLabel, &AbstractCorvaneModulePlugin::modulesMenuLabelChanged);
}

void AbstractCorvaneModulePlugin::setmodulesMenuIcon(const QUrl& modulesMenuIcon)
{
    ZqProperty::assign(this, _modulesMenuIcon, modulesMenuIcon, &AbstractCorvaneModulePlugin::modulesMenuIconChanged);
}

void AbstractCorvaneModulePlugin::setqmlItemUrl(const QUrl& qmlItemUrl)
{
    ZqProperty::assign(this, _qmlItemUrl, qmlItemUrl, &AbstractCorvaneModulePlugin::qmlItemUrlChanged);
}

CorvaneModulePlugin::CorvaneModulePlugin(QObject* parent)
    : AbstractCorvaneModulePlugin(parent)
{
}

CorvaneModulePlugin::~CorvaneModulePlugin() = default;
