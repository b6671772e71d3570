// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../commandline.h"
#include "../network/network.h"
#include "../recording/recordingdesk.h"
#include "../replay/replaydesk.h"
#include "../store/store.h"
#include "operators.h"
#include "recordsdesk.h"
#include "taskthread.h"
#include "transferdesk.h"

#include <QHash>

#include <atomic>
#include <deque>
#include <memory>

namespace recorder {

/// The recorder: takes the hosts' calls off the network's thread and has them carried out one after another, in the
/// order in which they came, on the command thread. What takes long (reading a record to load, a chunk to export) goes
/// to threads of their own; the next calls of that host wait for it, those of other hosts do not.
class Controller
{
public:
    Controller(const Settings& settings, std::unique_ptr<Store> store, std::function<void()> onStopRequest);
    ~Controller();

    /// Joins the network. Returns what went wrong, or nothing.
    QString start();
    /// Finishes a running recording and leaves the network.
    void stop();

private:
    void take(Call call); // network's thread
    void takeStopRequest(const Caller& by); // network's thread
    void handle(Call call);
    void execute(const Call& call);
    void executeBulk(const Call& call);
    QString refuse(const Call& call, const QString& problem);
    void remove(const Call& call);
    void answerContext(const Call& call);
    void onBulkDone(const QByteArray& agentUuid);
    void tick();

    bool takeRoom(Call& call);

    const Settings _settings;
    /// What the calls take that nobody has carried out yet.
    const std::shared_ptr<std::atomic<size_t>> _waitingBytes = std::make_shared<std::atomic<size_t>>(0);
    QByteArray _cutOff; ///< whose calls were dropped last; its key
    std::atomic<quint64> _overflowing { 0 }; ///< that were not taken since one was
    std::unique_ptr<Store> _store;
    const std::function<void()> _onStopRequest;
    std::unique_ptr<Operators> _operators; // null: everybody is obeyed; set before the network is joined
    TaskThread _commands;
    Network _network;
    Answers _answers;
    RecordsDesk _records;
    TransferDesk _transfers;
    ReplayDesk _replay;
    RecordingDesk _recording;
    /// Calls of hosts whose export or import is in work, by agent uuid.
    QHash<QByteArray, std::deque<Call>> _waiting;
    bool _isStopped = false;
};

} // namespace recorder
