// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvaneframework_global.h"

#include <QJsonObject>
#include <QObject>
#include <QPointF>

class SystemView;

/// Something placed in a system view. Owned by its view.
class CORVANE_EXPORT SystemViewBaseInstance : public QObject
{
    Q_OBJECT
    Q_MOC_INCLUDE("systemview.h")
    /// Without braces; kept in the document.
    Q_PROPERTY(QString uuid READ uuid CONSTANT)
    /// Unique in its view. Changed through SystemViewManager::updateInstanceName().
    Q_PROPERTY(QString name READ name NOTIFY nameChanged)
    /// Of its upper left corner, in the view's own units.
    Q_PROPERTY(QPointF position READ position WRITE setposition NOTIFY positionChanged)
    Q_PROPERTY(SystemView* systemView READ systemView CONSTANT)

public:
    /// An empty uuid makes a fresh one. The view becomes the parent; SystemView::addInstance() makes it known.
    SystemViewBaseInstance(const QString& uuid, const QString& name, const QPointF& position, SystemView* systemView);
    ~SystemViewBaseInstance() override;

    QString uuid() const;
    QString name() const;
    QPointF position() const;
    SystemView* systemView() const;

    void setname(const QString& name);
    void setposition(const QPointF& position);

    virtual QJsonObject exportToJson() const;

Q_SIGNALS:
    void nameChanged();
    void positionChanged();
    /// Something that is saved with the document changed.
    void modified();

protected:
    QJsonObject _otherKeys; // written back as they were read

private:
    const QString _uuid;
    QString _name;
    QPointF _position;
    SystemView* const _systemView;
};
