// SPDX-License-Identifier: Apache-2.0
#include "systemviewclassplugin.h"

#include "corvaneutils.h"
#include "documentkeys.h"
#include "systemdocument.h"
#include "systemview.h"
#include "systemviewclassinstance.h"

SystemViewClassPlugin::SystemViewClassPlugin(QObject* parent)
    : QObject(parent)
{
}

SystemViewClassPlugin::~SystemViewClassPlugin() = default;

QString SystemViewClassPlugin::familyUuid() const
{
    return {};
}

SystemViewClassInstance* SystemViewClassPlugin::createInstance(SystemView* systemView, SystemViewClass* systemViewClass,
    const QString& name, const QPointF& position, const QJsonObject& data, QList<JsonDocumentError>& errors) const
{
    Q_ASSERT(systemView);
    Q_ASSERT(systemViewClass);
    SystemDocument* document = systemView->systemDocument();
    QString uuid = data[DocumentKeys::UUID].toString();
    if (!uuid.isEmpty() && !document->claimUuid(uuid)) {
        errors.append(JsonDocumentError(tr("The uuid %1 stands twice; '%2' got a new one.").arg(uuid, name)));
        uuid.clear();
    }
    auto* instance = new SystemViewClassInstance(uuid, systemViewClass, name, position, systemView);
    document->claimUuid(instance->uuid());
    if (!data.isEmpty()) {
        instance->loadFromJson(data, errors);
    }
    if (!instance->hasLaunchLine()) {
        initialise(instance);
    }
    return instance;
}

QString SystemViewClassPlugin::launchLine(const QString& program, const QString& name) const
{
    return CorvaneUtils::joinCommand(program, { QStringLiteral("--name"), name });
}

void SystemViewClassPlugin::initialise(SystemViewClassInstance* instance) const
{
    Q_UNUSED(instance)
}
