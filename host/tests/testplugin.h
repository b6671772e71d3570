// SPDX-License-Identifier: Apache-2.0
#ifndef CORVANE_TESTS_TESTPLUGIN_H
#define CORVANE_TESTS_TESTPLUGIN_H

#include <corvanemodule.h>
#include <corvanemoduleplugin.h>

// A module whose page shows one text of it.
class TestModule : public CorvaneModule
{
    Q_OBJECT
    Q_PROPERTY(QString greeting READ greeting CONSTANT)

public:
    QString greeting() const { return QStringLiteral("Hello from the module"); }
};

class TestPlugin : public CorvaneModulePlugin
{
    Q_OBJECT

public:
    explicit TestPlugin(const QUrl& page)
    {
        setname(QStringLiteral("Test"));
        setmodulesMenuLabel(QStringLiteral("Test module"));
        setqmlItemUrl(page);
    }

    QString uuid() const override { return QStringLiteral("6f0a3f1e-32e8-4c5f-9c06-3b6a8f0f5e11"); }
    QString jsonTag() const override { return QStringLiteral("testModule"); }
    QJsonObject exportToJson() const override { return _data; }
    int loadFromJson(const QJsonObject& json, QList<JsonDocumentError>&) override
    {
        _data = json;
        return 0;
    }
    CorvaneModule* createCorvaneModule() override { return new TestModule; }

    QJsonObject _data;
};

#endif
