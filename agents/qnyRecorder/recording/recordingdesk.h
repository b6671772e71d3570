// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../network/network.h"
#include "../services/answers.h"
#include "../store/store.h"
#include "recording.h"
#include "storedfilters.h"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>

namespace recorder {

/// Everything about making a record: the commands around it, who is listened to, the progress output.
/// Commands come on the command thread; agents come and go on the network's callback thread.
class RecordingDesk
{
public:
    struct Dependencies
    {
        Network& network;
        Answers& answers;
        Store& store;
        std::function<void(std::function<void()>)> postCommand; ///< runs a task on the command thread
    };

    RecordingDesk(Dependencies dependencies, const QString& filtersPath);
    /// Finishes a running recording.
    ~RecordingDesk();

    /// Uuid of the record being recorded, or empty.
    QString recordUuid() const;
    bool isRecording() const { return _recording != nullptr; }

    /// Starts a recording and answers. Returns whether one was started by this call.
    bool record(const Call& call);
    void stop(const Call& call);
    void pause(const Call& call);
    void resume(const Call& call);
    /// A host that heard nothing for half a second takes that for the end of the recording, and asks for the records; a
    /// length that is repeated tells it nothing else. So a paused recording shows another one in between.
    void showPauseAnew();
    void answerFilters(const Call& call);
    void setFilters(const Call& call);
    /// What set_record_filters is answered with.
    void answerFiltersInForce(const Caller& caller);
    /// Ends a running recording, if there is one, without a host having asked for it: who started it is told.
    void finishUnasked();

    /// On the network's callback thread.
    void onAgent(qny_agent_event_t event, const KnownAgent& agent);

private:
    void listenTo(const KnownAgent& agent, bool isThereAtStart); // with _monitorMutex locked
    void listenToEverybody();
    bool isSomebodyAwaited(std::chrono::steady_clock::time_point end);
    void stopListening();
    void finish();
    void onFailed(const std::string& uuid, const QString& reason);
    void publishLastProgress(int64_t durationUs);
    void runProgress();
    void stopProgress();

    Dependencies _with;
    StoredFilters _filters;

    std::unique_ptr<Recording> _recording; // command thread
    Caller _startedBy;
    QString _name;

    std::mutex _monitorMutex; // this group
    Recording* _listening = nullptr; // while agents that come are to be recorded
    std::set<std::string> _monitored; // agent uuids
    std::map<std::string, std::chrono::steady_clock::time_point> _away; // when those went that fell silent

    std::mutex _progressMutex; // this group
    std::condition_variable _progressChanged;
    bool _progressMustEnd = false;
    double _lastProgress = 0.0;
    std::thread _progressThread;
};

} // namespace recorder
