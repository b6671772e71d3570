// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../network/network.h"
#include "../services/answers.h"
#include "loadjob.h"
#include "player.h"
#include "standins.h"

#include <QSet>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace recorder {

/// Everything about playing a record back: loading, the stand-ins, the player, and who is to be told what.
/// All on the command thread; what happens on other threads is posted to it.
class ReplayDesk
{
public:
    struct Dependencies
    {
        Network& network;
        Answers& answers;
        Store& store;
        std::function<void(std::function<void()>)> postCommand; ///< runs a task on the command thread
        bool isTimestamped = false;
        bool replayOverLive = false;
        QString ownName;
    };

    explicit ReplayDesk(Dependencies dependencies);
    ~ReplayDesk();

    /// `recordBeingMade`: uuid of the record that cannot be loaded yet, or empty.
    void load(const Call& call, const QString& recordBeingMade);
    void loadFile(const Call& call);
    void unload(const Call& call);
    void play(const Call& call);
    void pause(const Call& call);
    void moveTo(const Call& call);
    void filterAgents(const Call& call);
    void setSpeed(const Call& call);

    /// A load in progress fails, for this reason.
    void cancelLoad(const QString& reason);
    /// What a host that connects is told; all but the record being made.
    ReplayContext context() const;
    /// Whether the record is loaded, or being loaded, for a host other than this one that is still there.
    bool isUsedByOthers(const QString& recordUuid, const QByteArray& agentUuid) const;
    /// Lets go of the record, if it is the one loaded or being loaded: it is about to be deleted.
    void release(const QString& recordUuid);

    /// A real agent came: nothing is replayed over it.
    void onAgentEntered(const KnownAgent& agent);
    /// To be called some twenty times a second: tells how far a load is.
    void tick();
    /// Ends loading and playing without an answer.
    void shutDown();

private:
    struct Loaded
    {
        QString id;
        RecordFacts facts;
        int64_t startUs = 0; // of the window, in the record
        QStringList agents;
        std::vector<AgentDefinition> definitions; // one for each agent, in the order of `agents`
        std::optional<QSet<QString>> filter; // none: all
        QStringList filterNames;
        std::shared_ptr<OutputNames> names;
        std::unique_ptr<StandIns> standIns;
        std::unique_ptr<Player> player; // ends before the stand-ins that it publishes for
        int64_t settledNs = 0; // until then others may not have found the newest stand-ins
        std::vector<Caller> players; // who called "play" for what plays now
        QSet<QByteArray> users; // agent uuids of those who loaded or played it
    };

    void begin(LoadJob::Request request);
    void finishLoad(uint64_t number, std::unique_ptr<RecordReader> reader, const StoreResult& result);
    /// Returns why it cannot be replayed, or nothing.
    QString show(const LoadJob::Request& request, std::unique_ptr<RecordReader> reader);
    std::vector<AgentDefinition> toStandIn(const Loaded& loaded, QStringList* live) const;
    void refreshStandIns();
    void dropLoaded();
    void tellPlayers(void (Answers::*answer)(const Caller&), const Caller* except = nullptr);
    void onEnded(uint64_t number);
    void onFailed(uint64_t number, const QString& reason);

    Dependencies _with;
    std::unique_ptr<LoadJob> _job;
    uint64_t _number = 0; // of the newest load: tells late news from those that still matter
    std::chrono::steady_clock::time_point _nextLoading;
    std::unique_ptr<Loaded> _loaded;
};

} // namespace recorder
