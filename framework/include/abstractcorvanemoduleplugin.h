// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "jsondocumenterror.h"

#include <QJsonObject>
#include <QList>
#include <QObject>
#include <QUrl>

class CorvaneModule;

/// How a module presents itself to the host: its name, its entry in the modules menu and its main page.
/// The plugin's constructor sets the values; Qt's plugin loader owns the one object.
class CORVANE_EXPORT AbstractCorvaneModulePlugin : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString name READ name NOTIFY nameChanged)
    /// Translated.
    Q_PROPERTY(QString modulesMenuLabel READ modulesMenuLabel NOTIFY modulesMenuLabelChanged)
    Q_PROPERTY(QUrl modulesMenuIcon READ modulesMenuIcon NOTIFY modulesMenuIconChanged)
    /// The module's main page, an Item. See CorvaneModuleView for what it is given.
    Q_PROPERTY(QUrl qmlItemUrl READ qmlItemUrl NOTIFY qmlItemUrlChanged)

public:
    explicit AbstractCorvaneModulePlugin(QObject* parent = nullptr);
    ~AbstractCorvaneModulePlugin() override;

    QString name() const;
    QString modulesMenuLabel() const;
    QUrl modulesMenuIcon() const;
    QUrl qmlItemUrl() const;

    virtual QString jsonTag() const = 0;
    virtual QJsonObject exportToJson() const = 0;
    virtual int loadFromJson(const QJsonObject& json, QList<JsonDocumentError>& errors) = 0;
    /// A new module without parent; the caller owns it.
    virtual CorvaneModule* createCorvaneModule() = 0;

Q_SIGNALS:
    void nameChanged();
    void modulesMenuLabelChanged();
    void modulesMenuIconChanged();
    void qmlItemUrlChanged();

protected:
    void setname(const QString& name);
    void setmodulesMenuLabel(const QString& modulesMenuLabel);
    void setmodulesMenuIcon(const QUrl& modulesMenuIcon);
    void setqmlItemUrl(const QUrl& qmlItemUrl);

private:
    QString _name;
    QString _modulesMenuLabel;
    QUrl _modulesMenuIcon;
    QUrl _qmlItemUrl;
};
