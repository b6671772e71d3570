// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../commandline.h"
#include "../services/answers.h"
#include "../services/call.h"
#include "agentdirectory.h"

#include <functional>

namespace recorder {

/// The recorder's own agent: its services, its two progress outputs, its answers. One per process.
class Network final : public AnswerSink
{
public:
    /// Called on the network's callback thread; returns quickly.
    using CallHandler = std::function<void(Call call)>;
    using StopHandler = std::function<void(const Caller& by)>;

    Network(CallHandler onCall, StopHandler onStop);
    ~Network() override;
    Network(const Network&) = delete;
    Network& operator=(const Network&) = delete;

    AgentDirectory& directory() { return _directory; }

    /// What others are shown of this process. Before start().
    static QString setCommandLine(const QByteArrayList& arguments);
    /// Declares everything and joins the network. Returns what went wrong, one sentence, or nothing.
    QString start(const Settings& settings);
    /// Leaves the network; no callback runs afterwards.
    void stop();

    void send(const Answer& answer) override;
    /// Publishes on "record_progress" and "replay_progress".
    void publishRecordProgress(double seconds);
    void publishReplayProgress(double seconds);
    /// The value that a host receives which maps the output now; publishes nothing.
    void presetRecordProgress(double seconds);
    void presetReplayProgress(double seconds);

private:
    static void onServiceCall(const char* senderName, const char* senderUuid, const char* service,
        qny_service_arg_t* first, size_t count, const char* token, void* self);
    static void onStopRequest(const char* byName, const char* byUuid, void* self);

    CallHandler _onCall;
    StopHandler _onStop;
    AgentDirectory _directory;
    bool _isStarted = false;
};

} // namespace recorder
