// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "commandline.h"
#include "launcher.h"

#include <QObject>

#include <atomic>

#include <quenary.h>

namespace launcher {

/// The launcher's side of the network. What comes in is checked for its form on the library's callback thread, and
/// emitted on this object's.
class Network : public QObject
{
    Q_OBJECT

public:
    Network();
    ~Network() override;

    /// Joins the network. The environment then names it, for the agents that are started. Returns what is wrong, or
    /// nothing.
    QString start(const Settings& settings, int argc, const char* const* argv);
    void stop();
    /// What may be started, for hosts.
    void offer(const Configuration& configuration);
    /// False when the host has left.
    static bool tell(const QByteArray& hostUuid, const News& news);
    /// How agents ended, and what they said last, is for those who may start them.
    bool mayHear(const QByteArray& hostUuid) const;

Q_SIGNALS:
    void startAsked(const launcher::Request& request);
    void stopAsked(const QString& launchUuid, int processId, const QByteArray& askerUuid, const QString& askerName);
    void hostEntered(const QByteArray& uuid);
    void hostExited(const QByteArray& uuid);
    /// Somebody on the network wants this launcher to end.
    void endAsked(const QString& askerName);

private:
    static void _onStart(const char* senderName, const char* senderUuid, const char* service, qny_service_arg_t* first,
        size_t count, const char* token, void* self);
    static void _onStop(const char* senderName, const char* senderUuid, const char* service, qny_service_arg_t* first,
        size_t count, const char* token, void* self);
    static void _onAgent(qny_agent_event_t event, const qny_agent_info_t* agent, void* self);
    static void _onEnd(const char* askerName, const char* askerUuid, void* self);
    bool _isOperator(const char* senderName) const;
    template <class Function> void _post(const char* senderName, const char* senderUuid, Function function);

    std::atomic<int> _waiting = 0; // requests on their way to the main thread
    bool _isStarted = false;
    qny_certificates_t* _operators = nullptr; // null: everybody may ask
    QHash<QByteArray, QByteArray> _hostKeys; // public keys of the hosts that are there, by their agents' uuids
};

} // namespace launcher
