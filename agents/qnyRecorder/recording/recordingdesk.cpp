// SPDX-License-Identifier: Apache-2.0
#include "recordingdesk.h"

#include "../dates.h"

#include <QDateTime>
#include <QDebug>

#include <algorithm>

namespace recorder {

namespace {

using namespace std::chrono_literals;

/// Hosts read silence of 500 ms as the end of a recording, and want five values a second at least.
constexpr auto PROGRESS_INTERVAL = 100ms;
/// How long the answer to "record" is held back, so that what is published after it is heard: the request to send us
/// publications is on its way to the agents.
constexpr auto LISTENING_SETTLES = 60ms;
/// What was published before the end may still be on its way: the recording is closed when nothing of the kind came for
/// the first time and every agent was heard since, and after the second at the latest. Who can be reached speaks twice
/// a second; who cannot has fallen silent. So long it waits for those that have just gone, too: when one of the
/// machines stood still, they come back within that time and say how much was missed.
constexpr auto LATECOMERS_GAP = 50ms;
constexpr auto LATECOMERS_MOST = 2s;
/// Whose link is opened anew is back before that.
constexpr auto AWAITED_MOST = 3s;

/// Microseconds since 1970 UTC, steady from the call of this on whatever is done to the system clock.
std::function<int64_t()> steadyClock()
{
    const int64_t epochUs = nowEpochUs();
    const auto base = std::chrono::steady_clock::now();
    return [epochUs, base] {
        const auto passed = std::chrono::steady_clock::now() - base;
        return epochUs + std::chrono::duration_cast<std::chrono::microseconds>(passed).count();
    };
}

double seconds(int64_t us)
{
    return static_cast<double>(us) / 1e6;
}

} // namespace

RecordingDesk::RecordingDesk(Dependencies dependencies, const QString& filtersPath)
    : _with(std::move(dependencies))
    , _filters(filtersPath)
{
}

RecordingDesk::~RecordingDesk()
{
    if (_recording) {
        finish();
    }
}

QString RecordingDesk::recordUuid() const
{
    return _recording ? QString::fromStdString(_recording->uuid()) : QString();
}

// ---- commands ---------------------------------------------------------------------------------------------------

bool RecordingDesk::record(const Call& call)
{
    if (_recording) {
        qInfo().noquote() << "Recording" << _name << "already";
        _with.answers.recordUuid(call.caller, recordUuid());
        return false;
    }
    const auto refuse = [&](const QString& reason) {
        qWarning().noquote() << "Cannot record:" << reason;
        _with.answers.recordingStopped(call.caller.underPlainToken());
        return false;
    };
    const QString filterText = call.bytes(2).isEmpty() ? _filters.text() : call.text(2);
    RecordingFilter filter;
    std::string reason;
    if (!RecordingFilter::parse(filterText.toStdString(), filter, reason)) {
        return refuse(QStringLiteral("the filters cannot be read: ") + QString::fromStdString(reason));
    }

    RecordFacts facts;
    facts.uuid = newRecordUuid();
    Recording::Options options;
    options.now = steadyClock();
    options.onFailed = [this, uuid = facts.uuid](const std::string& problem) {
        _with.postCommand([this, uuid, problem] { onFailed(uuid, QString::fromStdString(problem)); });
    };
    _name = call.text(0).trimmed().isEmpty()
        ? QDateTime::currentDateTime().toString(QStringLiteral("dd/MM/yy - hh:mm:ss"))
        : call.text(0);
    facts.name = _name.toStdString();
    facts.description = call.text(1).toStdString();
    facts.startUs = options.now();
    std::unique_ptr<RecordWriter> writer;
    const StoreResult created = _with.store.create(facts, writer);
    if (!created) {
        return refuse(QString::fromStdString(created.message));
    }

    _recording = std::make_unique<Recording>(std::move(writer), std::move(filter), facts.startUs, std::move(options));
    _startedBy = call.caller;
    listenToEverybody();
    std::this_thread::sleep_for(LISTENING_SETTLES);
    qInfo().noquote() << "Recording" << _name << "as" << recordUuid();
    _with.answers.recordUuid(call.caller, recordUuid());
    _progressMustEnd = false;
    _lastProgress = 0.0;
    _progressThread = std::thread([this] { runProgress(); });
    return true;
}

void RecordingDesk::stop(const Call& call)
{
    if (_recording) {
        finish();
    } else {
        qInfo() << "Asked to stop recording, but nothing is recorded";
    }
    _with.answers.recordingStopped(call.caller);
}

void RecordingDesk::pause(const Call&)
{
    if (!_recording || _recording->isPaused()) {
        qInfo() << "Asked to pause the recording, but none runs";
        return;
    }
    _recording->pause();
    qInfo().noquote() << "Recording paused at" << seconds(_recording->elapsedUs()) << "s";
}

void RecordingDesk::resume(const Call&)
{
    if (!_recording || !_recording->isPaused()) {
        qInfo() << "Asked to resume the recording, but none is paused";
        return;
    }
    _recording->resume();
    qInfo() << "Recording resumed";
}

void RecordingDesk::answerFilters(const Call& call)
{
    _with.answers.recordFilters(call.caller, _filters.wasEverAccepted(), _filters.text());
}

void RecordingDesk::setFilters(const Call& call)
{
    const QString reason = _filters.accept(call.text(0));
    if (!reason.isEmpty()) {
        qWarning().noquote() << "Record filters refused:" << reason;
    }
    answerFiltersInForce(call.caller);
}

void RecordingDesk::answerFiltersInForce(const Caller& caller)
{
    _with.answers.recordFilters(caller, true, _filters.text());
}

void RecordingDesk::finishUnasked()
{
    if (_recording) {
        finish();
        _with.answers.recordingStopped(_startedBy.underPlainToken());
    }
}

void RecordingDesk::onFailed(const std::string& uuid, const QString& reason)
{
    if (_recording && _recording->uuid() == uuid) {
        qCritical().noquote() << "The recording" << _name << "ends here, what was stored stays:" << reason;
        finishUnasked();
    }
}

void RecordingDesk::finish()
{
    _recording->end();
    const auto end = std::chrono::steady_clock::now();
    do {
        std::this_thread::sleep_for(LATECOMERS_GAP);
    } while ((_recording->tookEvents() || isSomebodyAwaited(end))
        && std::chrono::steady_clock::now() < end + LATECOMERS_MOST);
    stopListening();
    stopProgress();
    const int64_t durationUs = _recording->finish();
    publishLastProgress(durationUs);
    qInfo().noquote() << "Recorded" << _name << "as" << recordUuid() << ":" << seconds(durationUs) << "s";
    for (const std::string& line : _recording->completeness().report()) {
        qInfo().noquote() << QString::fromStdString(line);
    }
    _recording.reset();
}

// ---- who is listened to -----------------------------------------------------------------------------------------

void RecordingDesk::onAgent(qny_agent_event_t event, const KnownAgent& agent)
{
    const std::lock_guard lock(_monitorMutex);
    if (event == QNY_AGENT_EXITED) {
        _monitored.erase(agent.uuid);
        if (_listening && agent.fellSilent) {
            _listening->loseSightOf(agent.uuid);
            _away[agent.uuid] = std::chrono::steady_clock::now();
        }
    } else if (_listening && event == QNY_AGENT_UPDATED && _monitored.contains(agent.uuid)) {
        _listening->updateAgent(agent);
    } else if (_listening) {
        listenTo(agent, false);
    }
}

void RecordingDesk::listenTo(const KnownAgent& agent, bool isThereAtStart)
{
    if (!agent.isRecordable() || _monitored.contains(agent.uuid)) {
        return;
    }
    Recording::Source* source = _listening->addAgent(agent, isThereAtStart);
    if (!source) {
        return;
    }
    const qny_result_t result = qny_monitor_add(agent.uuid.c_str(), Recording::onPublication, source);
    if (result == QNY_SUCCESS) {
        _monitored.insert(agent.uuid);
        _away.erase(agent.uuid);
    } else if (result != QNY_ERROR_UNKNOWN_AGENT) {
        qWarning().noquote() << "Agent" << agent.name.c_str() << "cannot be recorded:" << qny_last_error();
    }
}

void RecordingDesk::listenToEverybody()
{
    const std::lock_guard lock(_monitorMutex);
    _listening = _recording.get();
    for (const KnownAgent& agent : _with.network.directory().agents()) {
        listenTo(agent, true);
    }
}

bool RecordingDesk::isSomebodyAwaited(std::chrono::steady_clock::time_point end)
{
    const auto now = std::chrono::steady_clock::now();
    const auto longAgo = now - AWAITED_MOST;
    const std::lock_guard lock(_monitorMutex);
    return std::any_of(_monitored.begin(), _monitored.end(), [&](const std::string& uuid) {
        return !qny_agent_is_heard(uuid.c_str())
            || std::chrono::milliseconds(qny_agent_silence_ms(uuid.c_str())) >= now - end;
    }) || std::any_of(_away.begin(), _away.end(), [&](const auto& each) { return each.second > longAgo; });
}

void RecordingDesk::stopListening()
{
    std::set<std::string> monitored;
    {
        const std::lock_guard lock(_monitorMutex);
        for (const std::string& uuid : _monitored) {
            if (!qny_agent_is_heard(uuid.c_str())) {
                _listening->loseSightOf(uuid);
            }
        }
        _listening = nullptr;
        monitored.swap(_monitored);
        // What they publish from now on is missed by no later recording.
        for (const auto& [uuid, since] : _away) {
            monitored.insert(uuid);
        }
        _away.clear();
    }
    // Not with the mutex locked: removing waits for callbacks, and those of agents take it.
    for (const std::string& uuid : monitored) {
        qny_monitor_remove(uuid.c_str());
    }
}

// ---- progress ---------------------------------------------------------------------------------------------------

void RecordingDesk::runProgress()
{
    std::unique_lock lock(_progressMutex);
    auto next = std::chrono::steady_clock::now();
    while (!_progressMustEnd) {
        const bool isPaused = _recording->isPaused();
        const double value = seconds(_recording->elapsedUs());
        // A repeated value means a pause to the hosts.
        if (isPaused || value > _lastProgress) {
            _with.network.publishRecordProgress(value);
            _lastProgress = value;
        }
        next += PROGRESS_INTERVAL;
        _progressChanged.wait_until(lock, next, [this] { return _progressMustEnd; });
    }
}

void RecordingDesk::showPauseAnew()
{
    if (!_recording || !_recording->isPaused()) {
        return;
    }
    const std::lock_guard lock(_progressMutex);
    const int64_t us = _recording->elapsedUs();
    for (const int64_t each : { us + 1, us, us }) {
        _with.network.publishRecordProgress(seconds(each));
    }
}

void RecordingDesk::stopProgress()
{
    {
        const std::lock_guard lock(_progressMutex);
        _progressMustEnd = true;
    }
    _progressChanged.notify_one();
    if (_progressThread.joinable()) {
        _progressThread.join();
    }
}

void RecordingDesk::publishLastProgress(int64_t durationUs)
{
    if (seconds(durationUs) > _lastProgress) {
        _with.network.publishRecordProgress(seconds(durationUs));
    }
    // A host that connects later must not take the length of a finished record for a recording that runs.
    _with.network.presetRecordProgress(0.0);
}

} // namespace recorder
