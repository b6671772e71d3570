// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "abstractcorvanemoduleplugin.h"
#include "corvanemoduleplugininterface.h"

/// The base of every module plugin: derive, add Q_PLUGIN_METADATA with CorvaneModulePluginInterface_iid, and override
/// jsonTag(), exportToJson(), loadFromJson(), createCorvaneModule() and uuid().
class CORVANE_EXPORT CorvaneModulePlugin : public AbstractCorvaneModulePlugin, public CorvaneModulePluginInterface
{
    Q_OBJECT
    Q_INTERFACES(CorvaneModulePluginInterface)

public:
    explicit CorvaneModulePlugin(QObject* parent = nullptr);
    ~CorvaneModulePlugin() override;

    QString jsonTag() const override = 0;
    QJsonObject exportToJson() const override = 0;
    int loadFromJson(const QJsonObject& json, QList<JsonDocumentError>& errors) override = 0;
    CorvaneModule* createCorvaneModule() override = 0;
    QString uuid() const override = 0;
};
