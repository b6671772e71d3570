// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "networkagents.h"

#include <QObject>
#include <QPointer>

class Host;

/// One agent that is on the network now. Owned by the SystemDocument; deleted later once it left and everybody was
/// told.
class CORVANE_EXPORT RunningAgentInfo : public QObject
{
    Q_OBJECT
    Q_MOC_INCLUDE("host.h")
    /// Fresh at each start of the agent.
    Q_PROPERTY(QString agentUuid READ agentUuid CONSTANT)
    Q_PROPERTY(QString name READ name CONSTANT)
    Q_PROPERTY(QString familyUuid READ familyUuid CONSTANT)
    Q_PROPERTY(Host* host READ host CONSTANT)
    /// Canonical program and arguments, quoted as QProcess::splitCommand() reads them; passwords are masked. Empty for
    /// a stand-in of a replay.
    Q_PROPERTY(QString commandLine READ commandLine CONSTANT)
    /// It runs on this machine.
    Q_PROPERTY(bool isAttachedToCorvane READ isAttachedToCorvane CONSTANT)
    /// A replay plays this agent's part.
    Q_PROPERTY(bool isStandIn READ isStandIn CONSTANT)
    /// It accepts being asked to stop.
    Q_PROPERTY(bool canBeStopped READ canBeStopped NOTIFY definitionChanged)
    Q_PROPERTY(QString address READ address CONSTANT)
    Q_PROPERTY(qint64 processId READ processId CONSTANT)
    /// Inputs, outputs and services as JSON (see qny_agent_definition()).
    Q_PROPERTY(QString definition READ definition NOTIFY definitionChanged)

public:
    RunningAgentInfo(const NetworkAgent& agent, Host* host, bool isAttachedToCorvane, QObject* parent = nullptr);
    ~RunningAgentInfo() override;

    QString agentUuid() const;
    QString name() const;
    QString familyUuid() const;
    Host* host() const;
    QString commandLine() const;
    bool isAttachedToCorvane() const;
    bool isStandIn() const;
    bool canBeStopped() const;
    QString address() const;
    qint64 processId() const;
    QString definition() const;
    /// Of its process's certificate, in Z85; empty on an open network.
    QString publicKey() const;

    /// It ended, or left the network, by itself. False while it is there, and for one of which nothing is heard any
    /// more: that may still run.
    bool hasTakenLeave() const;

    /// Takes over a changed definition of the same agent. Called by the document.
    void update(const NetworkAgent& agent);
    /// Takes over how it exited. Called by the document, before anybody is told.
    void exit(const NetworkAgent& agent);

Q_SIGNALS:
    void definitionChanged();

private:
    NetworkAgent _agent;
    QString _commandLine;
    QPointer<Host> _host;
    const bool _isAttachedToCorvane;
};
