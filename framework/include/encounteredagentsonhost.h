// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvaneframework_global.h"

#include <QJsonObject>
#include <QList>
#include <QObject>
#include <QPointer>

class EncounteredAgentInfo;
class Host;

/// The launch command lines of a class instance on one machine. Owned by its class instance.
class CORVANE_EXPORT EncounteredAgentsOnHost : public QObject
{
    Q_OBJECT
    Q_MOC_INCLUDE("host.h")
    Q_MOC_INCLUDE("abstractzqcustomitemlistmodel.h")
    Q_PROPERTY(Host* host READ host NOTIFY hostChanged)
    /// These agents run on this machine, where the host application runs.
    Q_PROPERTY(bool isAttachedToCorvane READ isAttachedToCorvane NOTIFY isAttachedToCorvaneChanged)
    /// Of EncounteredAgentInfo.
    Q_PROPERTY(AbstractZqCustomItemListModel* encounteredAgentInfos READ encounteredAgentInfosModel CONSTANT)

public:
    EncounteredAgentsOnHost(Host* host, QObject* parent);
    ~EncounteredAgentsOnHost() override;

    Host* host() const;
    bool isAttachedToCorvane() const;
    AbstractZqCustomItemListModel* encounteredAgentInfosModel() const;
    /// In order of creation.
    QList<EncounteredAgentInfo*> encounteredAgentInfos() const;
    /// The first whose line is the same, else the first that equals it but for masked values, else null.
    EncounteredAgentInfo* findWithCommandLine(const QString& commandLine) const;

    void sethost(Host* host);
    QJsonObject exportToJson() const;

Q_SIGNALS:
    void hostChanged();
    void isAttachedToCorvaneChanged();
    void hostHasLauncherChanged();

private:
    friend class SystemViewClassInstance;
    void _append(EncounteredAgentInfo* info);
    void _onhostDestroyed();
    void _updateIsAttachedToCorvane();

    QPointer<Host> _host;
    bool _isAttachedToCorvane = false;
    ZqCustomItemListModel<EncounteredAgentInfo>* _encounteredAgentInfos;
    QJsonObject _otherKeys; // written back as they were read
};
