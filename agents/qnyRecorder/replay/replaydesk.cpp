// SPDX-License-Identifier: Apache-2.0
#include "replaydesk.h"

#include "../dates.h"

#include <QDebug>
#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>
#include <cmath>
#include <unordered_map>

namespace recorder {

namespace {

using namespace std::chrono_literals;

/// Hosts want to hear of a load at least four times a second.
constexpr auto LOADING_INTERVAL = 200ms;
/// How long others have to find new stand-ins and ask for their outputs before something is published.
constexpr int64_t STAND_INS_SETTLE_NS = 250'000'000;

double seconds(int64_t us)
{
    return static_cast<double>(us) / 1e6;
}

} // namespace

ReplayDesk::ReplayDesk(Dependencies dependencies)
    : _with(std::move(dependencies))
{
}

ReplayDesk::~ReplayDesk() = default;

void ReplayDesk::shutDown()
{
    _job.reset();
    dropLoaded();
}

// ---- loading ----------------------------------------------------------------------------------------------------

void ReplayDesk::load(const Call& call, const QString& recordBeingMade)
{
    LoadJob::Request request;
    request.caller = call.caller;
    request.id = call.text(0);
    request.startSeconds = call.number(1);
    request.durationSeconds = call.number(2);
    const auto refuse = [&](const QString& reason) {
        _job.reset();
        dropLoaded();
        qWarning().noquote() << "Cannot load" << request.id << ":" << reason;
        _with.answers.loadingFailed(call.caller, request.id, reason);
    };
    if (!std::isfinite(request.startSeconds) || !std::isfinite(request.durationSeconds) || request.startSeconds < 0.0
        || request.durationSeconds < 0.0) {
        return refuse(QStringLiteral("Start and duration must be seconds from 0 on."));
    }
    if (!recordBeingMade.isEmpty() && request.id == recordBeingMade) {
        return refuse(QStringLiteral("This record is being recorded: stop the recording first."));
    }
    begin(std::move(request));
}

void ReplayDesk::loadFile(const Call& call)
{
    LoadJob::Request request;
    request.caller = call.caller;
    request.id = call.text(0);
    request.isFile = true;
    begin(std::move(request));
}

void ReplayDesk::begin(LoadJob::Request request)
{
    _job.reset();
    dropLoaded();
    const uint64_t number = ++_number;
    qInfo().noquote() << "Loading" << request.id;
    _with.answers.loading(request.caller, 0.0);
    _nextLoading = std::chrono::steady_clock::now() + LOADING_INTERVAL;
    _job = std::make_unique<LoadJob>(std::move(request), _with.store,
        [this, number](std::unique_ptr<RecordReader> reader, const StoreResult& result) {
            // Tasks are copied, a reader is not.
            auto shared = std::make_shared<std::unique_ptr<RecordReader>>(std::move(reader));
            _with.postCommand([this, number, shared, result] { finishLoad(number, std::move(*shared), result); });
        });
}

void ReplayDesk::tick()
{
    const auto now = std::chrono::steady_clock::now();
    if (_job && now >= _nextLoading) {
        _nextLoading = now + LOADING_INTERVAL;
        _with.answers.loading(_job->request().caller, _job->percent());
    }
}

void ReplayDesk::cancelLoad(const QString& reason)
{
    if (_job) {
        const LoadJob::Request request = _job->request();
        _job.reset();
        ++_number;
        qInfo().noquote() << "Loading of" << request.id << "given up:" << reason;
        _with.answers.loadingFailed(request.caller, request.id, reason);
    }
}

void ReplayDesk::finishLoad(uint64_t number, std::unique_ptr<RecordReader> reader, const StoreResult& result)
{
    if (number != _number || !_job) {
        return;
    }
    const LoadJob::Request request = _job->request();
    _job.reset();
    const QString problem = reader ? show(request, std::move(reader)) : QString::fromStdString(result.message);
    if (!problem.isEmpty()) {
        dropLoaded();
        qWarning().noquote() << "Cannot load" << request.id << ":" << problem;
        _with.answers.loadingFailed(request.caller, request.id, problem);
        return;
    }
    _with.network.presetReplayProgress(0.0);
    _with.answers.loading(request.caller, 100.0);
    const auto start = QDateTime::fromMSecsSinceEpoch(momentOf(_loaded->facts.startUs, _loaded->startUs) / 1000);
    qInfo().noquote() << "Loaded" << QString::fromStdString(_loaded->facts.name) << ":"
                      << seconds(_loaded->player->durationUs()) << "s of" << _loaded->agents.size() << "agents";
    _with.answers.loaded(request.caller, request.id, start, seconds(_loaded->player->durationUs()), _loaded->agents);
}

QString ReplayDesk::show(const LoadJob::Request& request, std::unique_ptr<RecordReader> reader)
{
    auto loaded = std::make_unique<Loaded>();
    loaded->id = request.id;
    loaded->facts = reader->facts();
    loaded->users.insert(request.caller.agentUuid);
    int64_t endUs = loaded->facts.durationUs;
    if (!request.isFile) {
        // Rounded outward; comparing as numbers first keeps huge ones from overflowing.
        const double startUs = std::floor(request.startSeconds * 1e6);
        const double wantedEndUs = std::ceil((request.startSeconds + request.durationSeconds) * 1e6);
        if (startUs > static_cast<double>(endUs)) {
            return QStringLiteral("The record is only %1 s long.").arg(seconds(endUs));
        }
        loaded->startUs = static_cast<int64_t>(startUs);
        if (wantedEndUs < static_cast<double>(endUs)) {
            endUs = static_cast<int64_t>(wantedEndUs);
        }
    }
    std::unordered_map<std::string_view, const AgentDefinition*> definitions; // a file may have very many
    for (const AgentDefinition& definition : reader->definitions()) {
        definitions.emplace(definition.agent, &definition);
    }
    for (const std::string& agent : reader->agents()) {
        const auto known = definitions.find(agent);
        loaded->agents.append(QString::fromStdString(agent));
        loaded->definitions.push_back(known == definitions.end() ? AgentDefinition { agent, {} } : *known->second);
    }

    QStringList live;
    const std::vector<AgentDefinition> standIns = toStandIn(*loaded, &live);
    if (!live.isEmpty() && standIns.empty()) {
        return QStringLiteral(
            "Every recorded agent is on the network itself: %1. Stop them, or start the recorder with "
            "--replay_over_live.")
            .arg(live.join(QStringLiteral(", ")));
    }
    if (!live.isEmpty()) {
        qWarning().noquote() << "Not replayed, because they are on the network themselves:"
                             << live.join(QStringLiteral(", "));
    }

    const uint64_t number = _number;
    StandIns::Options options;
    options.isTimestamped = _with.isTimestamped;
    options.recordStartUs = loaded->facts.startUs;
    options.onProgress = [this](double position) { _with.network.publishReplayProgress(position); };
    Player::Events events;
    events.onEnded = [this, number] { _with.postCommand([this, number] { onEnded(number); }); };
    events.onFailed = [this, number](const std::string& reason) {
        _with.postCommand([this, number, reason] { onFailed(number, QString::fromStdString(reason)); });
    };
    loaded->names = std::make_shared<OutputNames>();
    loaded->standIns = std::make_unique<StandIns>(loaded->names, std::move(options));
    loaded->standIns->show(standIns);
    loaded->settledNs = Player::nowNs() + STAND_INS_SETTLE_NS;
    loaded->player = std::make_unique<Player>(
        std::move(reader), loaded->names, loaded->startUs, endUs, *loaded->standIns, std::move(events));
    _loaded = std::move(loaded);
    return {};
}

void ReplayDesk::unload(const Call& call)
{
    cancelLoad(QStringLiteral("The replay was unloaded."));
    dropLoaded();
    _with.answers.unloaded(call.caller);
}

void ReplayDesk::dropLoaded()
{
    if (_loaded) {
        _loaded.reset();
        ++_number;
        _with.network.presetReplayProgress(0.0);
    }
}

// ---- stand-ins --------------------------------------------------------------------------------------------------

/// The agents to stand in for now: let through by the filter, and not on the network themselves.
std::vector<AgentDefinition> ReplayDesk::toStandIn(const Loaded& loaded, QStringList* live) const
{
    std::set<std::string> liveNames;
    if (!_with.replayOverLive) {
        liveNames = _with.network.directory().liveNames();
        liveNames.insert(_with.ownName.toStdString());
    }
    std::vector<AgentDefinition> result;
    for (const AgentDefinition& definition : loaded.definitions) {
        const QString name = QString::fromStdString(definition.agent);
        if (loaded.filter && !loaded.filter->contains(name)) {
            continue;
        }
        if (liveNames.contains(definition.agent)) {
            live->append(name);
        } else {
            result.push_back(definition);
        }
    }
    return result;
}

/// With the player still.
void ReplayDesk::refreshStandIns()
{
    QStringList live;
    const std::vector<AgentDefinition> standIns = toStandIn(*_loaded, &live);
    if (!live.isEmpty()) {
        qWarning().noquote() << "Not replayed, because they are on the network themselves:"
                             << live.join(QStringLiteral(", "));
    }
    if (_loaded->standIns->show(standIns)) {
        _loaded->settledNs = Player::nowNs() + STAND_INS_SETTLE_NS;
    }
}

void ReplayDesk::onAgentEntered(const KnownAgent& agent)
{
    if (!_loaded || agent.isStandIn || _with.replayOverLive) {
        return;
    }
    _loaded->player->whileStill([&] {
        if (_loaded->standIns->remove(agent.name)) {
            qWarning().noquote() << "Not replayed any more, because it is on the network itself:" << agent.name.c_str();
        }
    });
}

// ---- playing ----------------------------------------------------------------------------------------------------

void ReplayDesk::play(const Call& call)
{
    if (!_loaded) {
        qInfo() << "Asked to play, but nothing is loaded";
        _with.answers.paused(call.caller);
        return;
    }
    _loaded->users.insert(call.caller.agentUuid);
    auto& players = _loaded->players;
    if (std::find(players.begin(), players.end(), call.caller) == players.end()) {
        players.push_back(call.caller);
    }
    Player& player = *_loaded->player;
    if (!player.isPlaying() && player.needsState()) {
        // Agents may have come or gone since the stand-ins were made.
        player.whileStill([this] { refreshStandIns(); });
    }
    player.play(_loaded->settledNs);
}

void ReplayDesk::pause(const Call& call)
{
    if (_loaded && _loaded->player->pause()) {
        _with.network.presetReplayProgress(seconds(_loaded->player->positionUs()));
        tellPlayers(&Answers::paused, &call.caller);
    }
    _with.answers.paused(call.caller);
}

void ReplayDesk::moveTo(const Call& call)
{
    if (!_loaded) {
        qInfo() << "Asked to move, but nothing is loaded";
        _with.answers.movedTo(call.caller, 0.0);
        return;
    }
    Player& player = *_loaded->player;
    double wanted = call.number(0);
    if (std::isnan(wanted)) {
        qWarning() << "Asked to move to a position that is no number";
        wanted = seconds(player.positionUs());
    }
    const double most = seconds(player.durationUs());
    const auto wantedUs = wanted >= most ? player.durationUs() : std::llround(std::max(wanted, 0.0) * 1e6);
    const bool wasPlaying = player.isPlaying();
    const double reached = seconds(player.moveTo(wantedUs));
    if (wasPlaying) {
        tellPlayers(&Answers::paused);
    }
    _with.network.presetReplayProgress(reached);
    _with.answers.movedTo(call.caller, reached);
}

void ReplayDesk::filterAgents(const Call& call)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(call.bytes(0), &error);
    QString problem;
    QStringList names;
    if (error.error != QJsonParseError::NoError) {
        problem = error.errorString();
    } else if (!document.isArray()) {
        problem = QStringLiteral("not a JSON array");
    } else {
        for (const QJsonValue& value : document.array()) {
            if (!value.isString()) {
                problem = QStringLiteral("not an array of texts");
            }
            names.append(value.toString());
        }
    }
    if (!problem.isEmpty()) {
        qWarning().noquote() << "The agents to replay cannot be read:" << problem;
    } else if (!_loaded) {
        qInfo() << "Asked to replay certain agents, but nothing is loaded";
    } else {
        for (const QString& name : names) {
            if (!_loaded->agents.contains(name)) {
                qWarning().noquote() << "Asked to replay an agent that is not in the record:" << name;
            }
        }
        _loaded->player->changeTarget([&] {
            _loaded->filterNames = names;
            _loaded->filter = names.isEmpty() ? std::nullopt : std::optional(QSet<QString>(names.begin(), names.end()));
            refreshStandIns();
        });
    }
    _with.answers.filterApplied(call.caller);
}

void ReplayDesk::setSpeed(const Call& call)
{
    const double speed = call.number(0);
    if (!std::isfinite(speed) || speed <= 0.0) {
        qWarning() << "A speed must be above 0, not" << speed;
    } else if (!_loaded) {
        qInfo() << "Asked for a speed, but nothing is loaded";
    } else {
        _loaded->player->setSpeed(speed);
    }
}

void ReplayDesk::tellPlayers(void (Answers::*answer)(const Caller&), const Caller* except)
{
    const std::vector<Caller> players = std::exchange(_loaded->players, {});
    for (const Caller& caller : players) {
        if (!except || !(caller == *except)) {
            (_with.answers.*answer)(caller);
        }
    }
}

void ReplayDesk::onEnded(uint64_t number)
{
    if (_loaded && number == _number) {
        _with.network.presetReplayProgress(seconds(_loaded->player->positionUs()));
        tellPlayers(&Answers::replayEnded);
    }
}

void ReplayDesk::onFailed(uint64_t number, const QString& reason)
{
    if (_loaded && number == _number) {
        qCritical().noquote() << "The replay stops, because the record cannot be read on:" << reason;
        tellPlayers(&Answers::paused);
    }
}

// ---- what others need to know -----------------------------------------------------------------------------------

ReplayContext ReplayDesk::context() const
{
    ReplayContext context;
    if (_loaded) {
        context.replayId = _loaded->id;
        context.startDate = QDateTime::fromMSecsSinceEpoch(momentOf(_loaded->facts.startUs, _loaded->startUs) / 1000);
        context.durationSeconds = seconds(_loaded->player->durationUs());
        context.positionSeconds = seconds(_loaded->player->positionUs());
        context.speed = _loaded->player->speed();
        context.isRunning = _loaded->player->isPlaying();
        context.allAgents = _loaded->agents;
        context.replayedAgents = _loaded->filterNames;
    }
    return context;
}

bool ReplayDesk::isUsedByOthers(const QString& recordUuid, const QByteArray& agentUuid) const
{
    const auto isOther = [&](const QByteArray& user) {
        return user != agentUuid && _with.network.directory().isPresent(user.toStdString());
    };
    if (_job && !_job->request().isFile && _job->request().id == recordUuid
        && isOther(_job->request().caller.agentUuid)) {
        return true;
    }
    return _loaded && _loaded->id == recordUuid && std::any_of(_loaded->users.begin(), _loaded->users.end(), isOther);
}

void ReplayDesk::release(const QString& recordUuid)
{
    if (_job && _job->request().id == recordUuid) {
        cancelLoad(QStringLiteral("The record was deleted."));
    }
    if (_loaded && _loaded->id == recordUuid) {
        if (_loaded->player->isPlaying()) {
            tellPlayers(&Answers::paused);
        }
        dropLoaded();
    }
}

} // namespace recorder
