// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvanemoduleplugin.h>

#include <QtCore/QTranslator>

/// The module's entry: says what the host shows of the module, registers the types of its pages, and makes the module.
/// Qt's plugin loader owns the one object.
class RecorderPlugin : public CorvaneModulePlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID CorvaneModulePluginInterface_iid FILE "recorderplugin.json")
    Q_INTERFACES(CorvaneModulePluginInterface)

public:
    explicit RecorderPlugin(QObject* parent = nullptr);
    ~RecorderPlugin() override;

    QString jsonTag() const override;
    QJsonObject exportToJson() const override;
    int loadFromJson(const QJsonObject& json, QList<JsonDocumentError>& errors) override;
    CorvaneModule* createCorvaneModule() override;
    QString uuid() const override;

private:
    /// In the language of QLocale(): the desktop's, unless the host chose one. Else in English.
    void _installTranslation();
    static void _registerQmlTypes();

    QTranslator _translator;

    /// Canonical; empty when the executable is missing.
    QString _recorderExecutablePath;
};
