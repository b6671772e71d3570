// SPDX-License-Identifier: Apache-2.0
#include "controller.h"

#include <QDebug>
#include <QDir>

#include <utility>

namespace recorder {

namespace {

constexpr std::chrono::milliseconds TICK { 50 };
constexpr size_t MOST_WAITING_BYTES = size_t { 256 } * 1024 * 1024;
constexpr qsizetype MOST_ANSWERED_BYTES = 4096; ///< of what a call that is refused was about
constexpr size_t CALL_BYTES = 2048; ///< of a call beside its texts, generously

/// The files of recorders that share a data directory are kept apart by name.
QString pathFor(const Settings& settings, const char* pattern)
{
    const QString folder = QDir(defaultDataDirectory(settings.name)).dirName();
    return QDir(settings.dataDirectory).filePath(QString::fromLatin1(pattern).arg(folder));
}

bool isBulk(Service service)
{
    return service == Service::Export || service == Service::Import || service == Service::Append;
}

} // namespace

Controller::Controller(const Settings& settings, std::unique_ptr<Store> store, std::function<void()> onStopRequest)
    : _settings(settings)
    , _store(std::move(store))
    , _onStopRequest(std::move(onStopRequest))
    , _commands(TICK, [this] { tick(); })
    , _network([this](Call call) { take(std::move(call)); }, [this](const Caller& by) { takeStopRequest(by); })
    , _answers(_network)
    , _records({ _network.directory(), _answers, *_store, settings.store != StoreKind::None })
    , _transfers({ _network.directory(), _answers, *_store,
          [this](TaskThread::Task task) { _commands.post(std::move(task)); } })
    , _replay({ _network, _answers, *_store, [this](TaskThread::Task task) { _commands.post(std::move(task)); },
          settings.timestampedReplay, settings.replayOverLive, settings.name })
    , _recording({ _network, _answers, *_store, [this](TaskThread::Task task) { _commands.post(std::move(task)); } },
          pathFor(settings, "record-filters-%1.txt"))
{
    _network.directory().addListener([this](qny_agent_event_t event, const KnownAgent& agent) {
        _recording.onAgent(event, agent);
        if (event == QNY_AGENT_ENTERED) {
            _commands.post([this, agent] { _replay.onAgentEntered(agent); });
        }
    });
}

Controller::~Controller()
{
    stop();
}

QString Controller::start()
{
    if (!_settings.operatorsDirectory.isEmpty()) {
        if (_settings.privateCertificate.isEmpty() && qEnvironmentVariableIsEmpty("QNY_PRIVATE_CERTIFICATE")) {
            return QStringLiteral("--operators needs a secured network, on which a caller proves who it is: give "
                                  "--qnyCert and --publicCerts, too");
        }
        QString problem;
        _operators = Operators::open(_settings.operatorsDirectory, pathFor(_settings, "audit-%1.log"), problem);
        if (!_operators) {
            return problem;
        }
    }
    _commands.start();
    const QString problem = _network.start(_settings);
    if (problem.isEmpty() && _operators) {
        qInfo().noquote() << _operators->describe();
    }
    return problem;
}

void Controller::stop()
{
    if (_isStopped) {
        return;
    }
    _isStopped = true;
    _commands.post([this] {
        _recording.finishUnasked();
        _replay.shutDown();
    });
    _transfers.stop();
    _commands.stop();
    _network.stop();
}

// ---- calls ------------------------------------------------------------------------------------------------------

/// Whoever is let in may call as often as they like: what waits must not take all memory.
bool Controller::takeRoom(Call& call)
{
    size_t bytes = CALL_BYTES;
    for (const Argument& argument : call.arguments) {
        const auto* text = std::get_if<QByteArray>(&argument);
        bytes += text ? static_cast<size_t>(text->size()) : 0;
    }
    const auto waiting = _waitingBytes;
    call.room = std::shared_ptr<const void>(nullptr, [waiting, bytes](const void*) { *waiting -= bytes; });
    if (waiting->fetch_add(bytes) + bytes <= MOST_WAITING_BYTES) {
        _overflowing = 0;
        return true;
    }
    if (_overflowing++ == 0) {
        qWarning().noquote() << "More calls wait than there is room for; those of" << call.caller.agentName
                             << "and others are not taken until there is";
    }
    return false;
}

void Controller::take(Call call)
{
    // Of a call that will be refused no more is kept than its answer needs.
    if (_operators && !isQuestion(call.service) && !_operators->refusal(call.caller).isEmpty()
        && call.arguments.size() > 1) {
        call.arguments.resize(1);
    }
    if (!takeRoom(call)) {
        return;
    }
    auto shared = std::make_shared<Call>(std::move(call));
    _commands.post([this, shared] { handle(std::move(*shared)); });
}

void Controller::takeStopRequest(const Caller& by)
{
    if (_operators) {
        const QString problem = _operators->refusal(by);
        if (!problem.isEmpty()) {
            qWarning().noquote() << QStringLiteral("Not stopped for %1: %2").arg(by.agentName, problem);
            return;
        }
        _operators->noteStopRequest(by);
    }
    _onStopRequest();
}

void Controller::handle(Call call)
{
    const auto waiting = _waiting.find(call.caller.agentUuid);
    if (waiting != _waiting.end()) {
        waiting->push_back(std::move(call));
        return;
    }
    // It may have waited for long.
    if (!qny_is_let_in(call.caller.publicKey.constData())) {
        if (std::exchange(_cutOff, call.caller.publicKey) != call.caller.publicKey) {
            qWarning().noquote() << QStringLiteral("What %1 called and was not carried out yet is dropped: its "
                                                   "certificate %2 is not let in any more")
                                        .arg(call.caller.agentName, call.caller.certificateName);
        }
        return;
    }
    const DeclaredService& declared = declaredService(call.service);
    qDebug().noquote() << "Called" << declared.name << "by" << call.caller.agentName;
    if (_operators && !isQuestion(call.service)) {
        const QString denied = _operators->refusal(call.caller);
        if (!denied.isEmpty()) {
            refuse(call, denied);
            return;
        }
    }
    const QString problem = checkArguments(declared, call.arguments);
    if (!problem.isEmpty() && !declared.arguments.empty()) {
        const QString subject = refuse(call, problem);
        if (call.service == Service::Import || call.service == Service::Append) {
            _transfers.giveUpImport(call.caller, subject);
        }
        return;
    }
    if (_operators) {
        _operators->noteObeyed(call);
    }
    if (isBulk(call.service)) {
        executeBulk(call);
    } else {
        execute(call);
    }
}

void Controller::execute(const Call& call)
{
    switch (call.service) {
    case Service::Record:
        if (_recording.record(call)) {
            _replay.cancelLoad(QStringLiteral("A recording was started."));
        }
        break;
    case Service::StopRecording:
        _recording.stop(call);
        break;
    case Service::PauseRecord:
        _recording.pause(call);
        break;
    case Service::ResumeRecord:
        _recording.resume(call);
        break;
    case Service::GetRecords:
        _records.answerRecords(call.caller, call.bytes(0));
        _recording.showPauseAnew();
        break;
    case Service::GetContext:
        answerContext(call);
        break;
    case Service::GetRecordFilters:
        _recording.answerFilters(call);
        break;
    case Service::SetRecordFilters:
        _recording.setFilters(call);
        break;
    case Service::Load:
        _replay.load(call, _recording.recordUuid());
        break;
    case Service::LoadFile:
        _replay.loadFile(call);
        break;
    case Service::Unload:
        _replay.unload(call);
        break;
    case Service::Rename:
        _records.rename(call);
        break;
    case Service::Delete:
        remove(call);
        break;
    case Service::Play:
        _replay.play(call);
        break;
    case Service::Pause:
        _replay.pause(call);
        break;
    case Service::MoveTo:
        _replay.moveTo(call);
        break;
    case Service::FilterReplayingAgents:
        _replay.filterAgents(call);
        break;
    case Service::Speed:
        _replay.setSpeed(call);
        break;
    case Service::Export:
    case Service::Import:
    case Service::Append:
        break;
    }
}

void Controller::executeBulk(const Call& call)
{
    const QByteArray host = call.caller.agentUuid;
    _waiting.insert(host, {});
    const auto done = [this, host] { onBulkDone(host); };
    if (call.service == Service::Export) {
        _transfers.exportChunk(call, done);
    } else if (call.service == Service::Import) {
        _transfers.import(call, done);
    } else {
        _transfers.append(call, done);
    }
}

void Controller::onBulkDone(const QByteArray& agentUuid)
{
    // One of them may be long again: the rest then waits on, in order.
    for (Call& call : _waiting.take(agentUuid)) {
        handle(std::move(call));
    }
}

/// A call whose arguments cannot be read, or of somebody who is no operator: logged, and answered so that nobody waits
/// for ever. What goes on goes on: the next progress value says so. Returns the uuid that an import was told.
QString Controller::refuse(const Call& call, const QString& problem)
{
    const DeclaredService& declared = declaredService(call.service);
    qWarning().noquote() << QStringLiteral("Call of '%1' by %2 refused: %3")
                                .arg(QLatin1String(declared.name), call.caller.agentName, problem);
    const auto* text = call.arguments.empty() ? nullptr : std::get_if<QByteArray>(&call.arguments.front());
    const QString subject = call.service == Service::Import ? QString::fromStdString(newRecordUuid())
        : text                                              ? QString::fromUtf8(text->left(MOST_ANSWERED_BYTES))
                                                            : QString();
    switch (call.service) {
    case Service::Record:
        _answers.recordingStopped(call.caller.underPlainToken());
        break;
    case Service::GetRecords:
        _records.answerRecords(call.caller, {});
        break;
    case Service::SetRecordFilters:
        _recording.answerFiltersInForce(call.caller);
        break;
    case Service::Load:
    case Service::LoadFile:
        _answers.loadingFailed(call.caller, subject, QStringLiteral("The request was refused: ") + problem);
        break;
    case Service::MoveTo:
        _answers.movedTo(call.caller, _replay.context().positionSeconds);
        break;
    case Service::FilterReplayingAgents:
        _answers.filterApplied(call.caller);
        break;
    case Service::Export:
        _transfers.refuseExport(call.caller);
        break;
    case Service::Import:
    case Service::Append:
        _transfers.refuseImport(call.caller, subject);
        break;
    case Service::StopRecording:
        _answers.recordingStopped(call.caller);
        break;
    case Service::Unload:
        _answers.unloaded(call.caller);
        break;
    case Service::Play:
    case Service::Pause:
        _answers.paused(call.caller);
        break;
    case Service::PauseRecord:
    case Service::ResumeRecord:
    case Service::GetContext:
    case Service::GetRecordFilters:
    case Service::Rename:
    case Service::Delete:
    case Service::Speed:
        break; // are not answered, or never refused
    }
    return subject;
}

void Controller::remove(const Call& call)
{
    const QString recordUuid = call.text(0);
    const QByteArray& host = call.caller.agentUuid;
    const auto refuseBecause
        = [&](const char* why) { qWarning().noquote() << "Record" << recordUuid << "is not deleted:" << why; };
    if (recordUuid == _recording.recordUuid()) {
        refuseBecause("it is being recorded");
    } else if (_replay.isUsedByOthers(recordUuid, host)) {
        refuseBecause("it is loaded for another host");
    } else if (_transfers.isUsedByOthers(recordUuid, host)) {
        refuseBecause("another host exports or imports it");
    } else {
        _replay.release(recordUuid);
        _transfers.release(recordUuid);
        _records.remove(recordUuid);
    }
}

void Controller::answerContext(const Call& call)
{
    ReplayContext context = _replay.context();
    context.recordId = _recording.recordUuid();
    _answers.context(call.caller, context);
    _records.onContextAnswered(call.caller);
}

void Controller::tick()
{
    _replay.tick();
    _records.tick();
    _transfers.tick();
}

} // namespace recorder
