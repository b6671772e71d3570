// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "jsondocumenterror.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QList>
#include <QObject>
#include <QRectF>

class SystemDocument;
class SystemViewBaseInstance;
class SystemViewClassInstance;

/// A drawing of the system: the instances placed in it. Owned by its document.
class CORVANE_EXPORT SystemView : public QObject
{
    Q_OBJECT
    Q_MOC_INCLUDE("abstractzqcustomitemlistmodel.h")
    Q_MOC_INCLUDE("systemdocument.h")
    Q_PROPERTY(QString uuid READ uuid CONSTANT)
    Q_PROPERTY(QString name READ name WRITE setname NOTIFY nameChanged)
    /// Of SystemViewBaseInstance, in order of placing.
    Q_PROPERTY(AbstractZqCustomItemListModel* instances READ instancesModel CONSTANT)
    Q_PROPERTY(SystemDocument* systemDocument READ systemDocument CONSTANT)
    /// The part of the view that is on screen, in the view's units; set by the page that shows it.
    Q_PROPERTY(QRectF viewport READ viewport WRITE setviewport NOTIFY viewportChanged)

public:
    /// An empty uuid makes a fresh one.
    SystemView(const QString& uuid, const QString& name, SystemDocument* systemDocument);
    ~SystemView() override;

    QString uuid() const;
    QString name() const;
    void setname(const QString& name);
    AbstractZqCustomItemListModel* instancesModel() const;
    SystemDocument* systemDocument() const;
    QRectF viewport() const;
    void setviewport(const QRectF& viewport);

    QList<SystemViewBaseInstance*> getAllInstances() const;
    QList<SystemViewClassInstance*> getAllClassInstances() const;
    /// The class instance of this name, whatever its class, or null.
    Q_INVOKABLE SystemViewClassInstance* getAgentByName(const QString& name) const;
    SystemViewBaseInstance* getInstanceWithUuid(const QString& uuid) const;
    /// `name`, or `name` followed by the first of 2, 3, … that is free in this view.
    QString uniqueInstanceName(const QString& name) const;

    /// Takes a complete instance, made for this view, and announces it. False, with the instance deleted, when its name
    /// is taken.
    bool addInstance(SystemViewBaseInstance* instance);
    /// Announces that the instance left, and deletes it later.
    void removeInstance(SystemViewBaseInstance* instance);

    QJsonObject exportToJson() const;
    /// Reads the instances that exportToJson() wrote, and announces none of them.
    void loadFromJson(const QJsonObject& json, QList<JsonDocumentError>& errors);

Q_SIGNALS:
    void nameChanged();
    void viewportChanged();
    void instanceRegistered(SystemViewBaseInstance* instance);
    void instanceUnregistered(SystemViewBaseInstance* instance);
    /// Something that is saved with the document changed.
    void modified();

private:
    void _connectInstance(SystemViewBaseInstance* instance);

    const QString _uuid;
    QString _name;
    SystemDocument* const _systemDocument;
    QRectF _viewport;
    ZqCustomItemListModel<SystemViewBaseInstance>* _instances;
    QJsonObject _otherKeys; // written back as they were read
    QJsonArray _unreadInstances; // the same, for what could not be understood as an instance
};
