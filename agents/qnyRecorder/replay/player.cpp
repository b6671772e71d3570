// SPDX-License-Identifier: Apache-2.0
#include "player.h"

#include <QDebug>

#include <algorithm>
#include <chrono>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace recorder {

namespace {

constexpr int64_t PROGRESS_INTERVAL_NS = 100'000'000;
/// How many events go out before commands and the clock are looked at again.
constexpr int EVENTS_AT_ONCE = 64;
constexpr int64_t NEVER_NS = INT64_MAX;
constexpr int PLAYER_NICENESS = -10;

} // namespace

class Player::CommandLock
{
public:
    explicit CommandLock(const Player& player)
        : _player(player)
    {
        ++player._commandsWaiting;
        _lock = std::unique_lock(player._mutex);
        --player._commandsWaiting;
    }
    ~CommandLock()
    {
        _lock.unlock();
        _player._changed.notify_one();
    }

private:
    const Player& _player;
    std::unique_lock<std::mutex> _lock;
};

int64_t Player::nowNs()
{
    const auto sinceBoot = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::nanoseconds>(sinceBoot).count();
}

Player::Player(std::unique_ptr<RecordReader> reader, std::shared_ptr<OutputNames> names, int64_t startUs, int64_t endUs,
    ReplayTarget& target, Events events)
    : _startUs(startUs)
    , _endUs(endUs)
    , _target(target)
    , _events(std::move(events))
{
    _reading = std::make_unique<ReadAhead>(std::move(reader), std::move(names), [this] {
        const CommandLock lock(*this);
        _isPoked = true;
    });
    _reading->seek(_startUs, _endUs);
    _thread = std::thread([this] { run(); });
}

Player::~Player()
{
    {
        const CommandLock lock(*this);
        _mustEnd = true;
    }
    _thread.join();
}

// ---- commands ---------------------------------------------------------------------------------------------------

void Player::play(int64_t notBeforeNs)
{
    const CommandLock lock(*this);
    if (_isPlaying) {
        return;
    }
    _isPlaying = true;
    _isPoked = true;
    _notBeforeNs = notBeforeNs;
    _nextProgressNs = nowNs();
    _lateness.clear();
    _reading->retry();
}

bool Player::pause()
{
    const CommandLock lock(*this);
    if (!_isPlaying) {
        return false;
    }
    const int64_t now = nowNs();
    _clock.stop(now);
    _isPlaying = false;
    publishProgress(now);
    logLateness("paused");
    return true;
}

int64_t Player::moveTo(int64_t positionUs)
{
    const CommandLock lock(*this);
    if (_isPlaying) {
        _isPlaying = false;
        logLateness("moved");
    }
    seek(std::clamp<int64_t>(positionUs, 0, durationUs()));
    return _clock.position(nowNs());
}

void Player::setSpeed(double speed)
{
    const CommandLock lock(*this);
    _clock.setSpeed(nowNs(), speed);
    _isPoked = true;
}

void Player::changeTarget(const std::function<void()>& change)
{
    const CommandLock lock(*this);
    change();
    // Playing goes on by itself from here, once the state is read.
    seek(positionAt(nowNs()));
    _isPoked = true;
}

void Player::whileStill(const std::function<void()>& change)
{
    const CommandLock lock(*this);
    change();
}

bool Player::isPlaying() const
{
    const CommandLock lock(*this);
    return _isPlaying;
}

bool Player::needsState() const
{
    const CommandLock lock(*this);
    return _needsState;
}

int64_t Player::positionUs() const
{
    const CommandLock lock(*this);
    return positionAt(nowNs());
}

double Player::speed() const
{
    const CommandLock lock(*this);
    return _clock.speed();
}

void Player::seek(int64_t positionUs)
{
    const int64_t now = nowNs();
    _clock.stop(now);
    _clock.setPosition(now, positionUs);
    _batch.clear();
    _next = 0;
    _needsState = true;
    _reading->seek(_startUs + positionUs, _endUs);
}

int64_t Player::positionAt(int64_t now) const
{
    return std::clamp<int64_t>(_clock.position(now), 0, durationUs());
}

void Player::publishProgress(int64_t now)
{
    _target.progress(static_cast<double>(positionAt(now)) / 1e6);
}

void Player::logLateness(const char* occasion)
{
    if (_lateness.count() > 0) {
        qInfo().noquote() << "Replay" << occasion << ":" << _lateness.summary();
    }
}

// ---- the player's thread ----------------------------------------------------------------------------------------

void Player::run()
{
    // The kernel may wake us this many nanoseconds late, and takes 50,000 unless told.
    prctl(PR_SET_TIMERSLACK, 1UL, 0UL, 0UL, 0UL);
    // Where it is allowed, go before what only computes. It is not an error where it is not.
    setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), PLAYER_NICENESS);

    std::unique_lock lock(_mutex);
    while (!_mustEnd) {
        while (_commandsWaiting > 0) {
            // A mutex is not fair: without this a busy replay would take it again and again before a command.
            lock.unlock();
            std::this_thread::yield();
            lock.lock();
        }
        _isPoked = false;
        const int64_t wakeNs = step();
        if (_outcome != Outcome::None) {
            const Outcome outcome = std::exchange(_outcome, Outcome::None);
            lock.unlock();
            if (outcome == Outcome::Ended) {
                _events.onEnded();
            } else {
                _events.onFailed(_failure);
            }
            lock.lock();
            continue;
        }
        const auto mustGoOn = [this] { return _isPoked || _mustEnd; };
        if (wakeNs == NEVER_NS) {
            _changed.wait(lock, mustGoOn);
        } else if (wakeNs > nowNs()) {
            _changed.wait_until(
                lock, std::chrono::steady_clock::time_point(std::chrono::nanoseconds(wakeNs)), mustGoOn);
        }
    }
}

int64_t Player::step()
{
    if (!_isPlaying) {
        return NEVER_NS;
    }
    const int64_t now = nowNs();
    if (now >= _nextProgressNs) {
        publishProgress(now);
        _nextProgressNs += PROGRESS_INTERVAL_NS;
        if (_nextProgressNs <= now) {
            _nextProgressNs = now + PROGRESS_INTERVAL_NS;
        }
    }
    int64_t wakeNs = NEVER_NS;
    if (_clock.isRunning() || begin(wakeNs)) {
        wakeNs = publishDue();
    }
    return _isPlaying ? std::min(wakeNs, _nextProgressNs) : NEVER_NS;
}

/// Everything that has to be there before time runs. When it is not, says when to look again.
bool Player::begin(int64_t& wakeNs)
{
    if (nowNs() < _notBeforeNs) {
        wakeNs = _notBeforeNs;
        return false;
    }
    if (_needsState) {
        EventBatch state;
        switch (_reading->takeState(state)) {
        case ReadAhead::Status::Ready:
            break;
        case ReadAhead::Status::Failed:
            fail();
            return false;
        case ReadAhead::Status::Pending:
        case ReadAhead::Status::End:
            return false;
        }
        publishState(state);
        _needsState = false;
    }
    _clock.start(nowNs());
    return true;
}

void Player::publishState(const EventBatch& state)
{
    for (const EventBatch::Entry& entry : state.entries) {
        // An impulse is over once it happened: published as a state it would happen again.
        const ValueView value = state.value(entry);
        if (value.type != ValueType::Impulse) {
            _target.publish(entry.output, value, entry.timeUs);
        }
    }
}

/// Publishes what is due, at most a handful. Returns when the next event is.
int64_t Player::publishDue()
{
    for (int i = 0; i < EVENTS_AT_ONCE; ++i) {
        if (_next == _batch.entries.size()) {
            _next = 0;
            _batch.clear();
            switch (_reading->take(_batch)) {
            case ReadAhead::Status::Ready:
                break;
            case ReadAhead::Status::Pending:
                return NEVER_NS;
            case ReadAhead::Status::Failed:
                fail();
                return NEVER_NS;
            case ReadAhead::Status::End: {
                const int64_t endNs = _clock.deadline(durationUs());
                if (nowNs() < endNs) {
                    return endNs;
                }
                reachEnd();
                return NEVER_NS;
            }
            }
            continue;
        }
        const EventBatch::Entry& entry = _batch.entries[_next];
        const int64_t deadlineNs = _clock.deadline(entry.timeUs - _startUs);
        const int64_t now = nowNs();
        if (deadlineNs > now) {
            return deadlineNs;
        }
        ++_next;
        if (_target.publish(entry.output, _batch.value(entry), entry.timeUs)) {
            _lateness.add(now - deadlineNs);
        }
    }
    return 0;
}

void Player::reachEnd()
{
    const int64_t now = nowNs();
    _clock.stop(now);
    _clock.setPosition(now, durationUs());
    _isPlaying = false;
    publishProgress(now);
    logLateness("ended");
    _outcome = Outcome::Ended;
}

void Player::fail()
{
    const int64_t now = nowNs();
    _clock.stop(now);
    _isPlaying = false;
    publishProgress(now);
    logLateness("failed");
    _failure = _reading->failure();
    _outcome = Outcome::Failed;
}

} // namespace recorder
