// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvaneframework_global.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QSet>
#include <QString>

class EncounteredAgentInfo;
class Host;
struct NetworkAgent;

/// A program that a launcher offers to start.
struct CORVANE_EXPORT OfferedProgram
{
    QString path;
    QString familyUuid; // of its agents
};

/// Speaks with the launchers of the network: asks them to start and end agents, knows what they offer, and tells the
/// user what became of it. One for the process, on the main thread.
class CORVANE_EXPORT Launchers : public QObject
{
    Q_OBJECT

public:
    static Launchers* instance();

    /// A stand-in of a replay starts nothing.
    static bool isLauncher(const NetworkAgent& agent);
    /// On a secured network the launcher of a machine is known by the certificate with which it was first met, for as
    /// long as this process runs: passwords of launch lines are told to no other that takes the machine's name. False
    /// for a launcher with another certificate, which is told to the user, once, and not heard.
    bool standsFor(const QString& machine, const NetworkAgent& launcher);

    /// Declares the service by which launchers answer. Before the network is joined.
    void declare();
    /// With a known family only. Empty for an unknown launcher, and until it has told.
    QList<OfferedProgram> offeredBy(const QString& launcherUuid) const;

    /// The launcher of that machine came with the same key.
    bool vouchesFor(const Host* machine, const QString& publicKey) const;
    /// Why a machine's launcher is not asked to start this line, a sentence, or nothing: whoever is let in can bring
    /// lines under another machine's name, and a launcher heeds the person who asks it.
    QString problemOf(EncounteredAgentInfo* info) const;
    /// Both return why the launcher could not be asked, a sentence, or nothing; what it answers is told later, by
    /// SystemViewClassInstance::launchFailed().
    static QString askToStart(EncounteredAgentInfo* info);
    /// Ends an agent that no longer answers: by its launch line or, when that is null, by its process id.
    static QString askToEnd(const QString& launcherUuid, const EncounteredAgentInfo* info, qint64 processId);

Q_SIGNALS:
    void offersChanged();

private:
    friend struct LaunchersCallback;
    struct State
    {
        QString launcherUuid;
        QString launchUuid;
        QString state;
        int number = 0;
        QString text;
        QString lastLines;
    };
    Launchers();
    ~Launchers() override;
    Q_DISABLE_COPY_MOVE(Launchers)

    QString _ask(
        const QString& launcherUuid, const char* service, struct qny_service_arg** arguments, const QString& token);
    void _onEntered(const NetworkAgent& agent);
    void _onExited(const NetworkAgent& agent);
    void _onOffers(const QString& launcherUuid, const QByteArray& json);
    void _onState(const State& state);
    static QString _sentence(const State& state, const QString& agentName, const QString& hostName);

    struct Certificate
    {
        QString publicKey;
        QString name;
        QString shown() const;
    };

    QHash<QString, QList<OfferedProgram>> _offers; // by the launcher's uuid
    QHash<QString, int> _unanswered; // requests, by the launcher's uuid
    QHash<QString, Certificate> _certificates; // of launchers, by machine
    QSet<QString> _refusedAgents; // that are there, by uuid
    QSet<QString> _toldRefusals; // machine and key
};
