// SPDX-License-Identifier: Apache-2.0
//
// A module plugin as a library, for the tests of PluginManager; built several times with other macros.
#include "corvanemodule.h"
#include "corvanemoduleplugin.h"
#include "systemviewcorvanemodule.h"

#ifndef TEST_PLUGIN_TAG
#define TEST_PLUGIN_TAG "testModule"
#endif
#ifndef TEST_PLUGIN_UUID
#define TEST_PLUGIN_UUID "11111111-0000-4000-8000-000000000001"
#endif
#ifndef TEST_PLUGIN_IID
#define TEST_PLUGIN_IID CorvaneModulePluginInterface_iid
#endif

class TestModulePlugin : public CorvaneModulePlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID TEST_PLUGIN_IID FILE "testmoduleplugin.json")

public:
    TestModulePlugin()
    {
        setname(QStringLiteral("Test module"));
        setmodulesMenuLabel(QStringLiteral("Test label"));
        setmodulesMenuIcon(QUrl(QStringLiteral("qrc:/icon.svg")));
        setqmlItemUrl(QUrl(QStringLiteral("qrc:/page.qml")));
    }

    QString jsonTag() const override { return QStringLiteral(TEST_PLUGIN_TAG); }
    QJsonObject exportToJson() const override { return {}; }
    int loadFromJson(const QJsonObject&, QList<JsonDocumentError>& errors) override
    {
        return errors.isEmpty() ? 0 : -1;
    }
    CorvaneModule* createCorvaneModule() override { return new SystemViewCorvaneModule; }
    QString uuid() const override { return QStringLiteral(TEST_PLUGIN_UUID); }
};

#include "testmoduleplugin.moc"
