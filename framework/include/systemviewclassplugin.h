// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "jsondocumenterror.h"

#include <QJsonObject>
#include <QList>
#include <QObject>
#include <QPointF>

class SystemView;
class SystemViewClass;
class SystemViewClassInstance;

/// Makes the instances of a class. This one serves every family that has none of its own. Owned by PluginManager.
class CORVANE_EXPORT SystemViewClassPlugin : public QObject
{
    Q_OBJECT

public:
    explicit SystemViewClassPlugin(QObject* parent = nullptr);
    ~SystemViewClassPlugin() override;

    /// The family that it serves; empty: any.
    virtual QString familyUuid() const;

    /// A new instance, not yet added to its view. `data` is the instance as exportToJson() gave it (errors are
    /// appended, the rest is read); an empty object makes an instance as a user wants a new one, named `name`.
    /// Null only for data that cannot be an instance at all.
    SystemViewClassInstance* createInstance(SystemView* systemView, SystemViewClass* systemViewClass,
        const QString& name, const QPointF& position, const QJsonObject& data, QList<JsonDocumentError>& errors) const;

    /// A launch line of an agent of this class, for a program on whatever machine: its name, and what it needs besides.
    virtual QString launchLine(const QString& program, const QString& name) const;

protected:
    /// Completes an instance, new or read, that has no launch line on any machine.
    virtual void initialise(SystemViewClassInstance* instance) const;
};
