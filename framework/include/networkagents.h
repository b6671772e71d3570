// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvaneframework_global.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QStringList>

/// What the network says of one agent of another process.
struct CORVANE_EXPORT NetworkAgent
{
    QString uuid;
    QString name;
    QString familyUuid; ///< empty when it has none
    QString hostName;
    QString address;
    qint64 processId = 0;
    QString executable; ///< canonical path on its machine; empty for a stand-in
    QStringList arguments; ///< after the program; masked values as "********"
    QString definition; ///< JSON
    QString publicKey; ///< on a secured network, of the certificate by which its process came; else empty
    QString certificateName; ///< what this process's directory calls that certificate; else empty
    bool standIn = false;
    bool stoppable = false;
    bool isOfThisMachine = false; ///< by the address from which it speaks, which it cannot make up as it can its name
    bool hasTakenLeave = false; ///< when it exits: by itself. Otherwise it may still run, and come back
};
Q_DECLARE_METATYPE(NetworkAgent)

/// The agents that are on the network now. Presence is reported on the library's thread; this brings it, in order, to
/// the main thread, where everything else of the framework lives.
class CORVANE_EXPORT NetworkAgents : public QObject
{
    Q_OBJECT

public:
    /// Starts observing on first use, also before the process is connected. Stops with the application object.
    static NetworkAgents* instance();

    /// In order of arrival.
    QList<NetworkAgent> agents() const;
    bool contains(const QString& uuid) const;

Q_SIGNALS:
    void agentEntered(const NetworkAgent& agent);
    void agentUpdated(const NetworkAgent& agent);
    void agentExited(const NetworkAgent& agent);

private:
    NetworkAgents();
    ~NetworkAgents() override;
    Q_DISABLE_COPY_MOVE(NetworkAgents)

    void _onEvent(int event, const NetworkAgent& agent);
    friend struct NetworkAgentsCallback;

    QList<NetworkAgent> _agents;
};
