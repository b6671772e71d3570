// SPDX-License-Identifier: Apache-2.0
#include "recording.h"

#include "../dates.h"

#include <QDebug>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <cstdlib>

namespace recorder {

namespace {

constexpr std::chrono::milliseconds WRITER_PATIENCE { 20 };
constexpr int64_t CLOCK_STEP_US = 1'000'000;
constexpr int CLOSE_ATTEMPTS = 10;
constexpr std::chrono::milliseconds CLOSE_PAUSE { 200 };
constexpr size_t MOST_SILENCES = 20;

/// Whether trying again is of no use: there is no room, or the record was deleted under the recorder's hands.
bool isForGood(const StoreResult& failure)
{
    return failure.error == StoreError::Full || failure.error == StoreError::NotFound;
}

} // namespace

class Recording::Source
{
public:
    struct KnownOutput
    {
        uint32_t number;
        bool isIncluded;
        uint64_t lastSequence;
        bool isLeftOut; ///< what was published last fell into a pause
    };

    Recording* owner = nullptr;
    std::string name;
    std::string peerUuid;
    std::string definition;
    bool isOnThisMachine = false;
    bool isThereAtStart = false;
    bool isDefined = false;
    bool isSilent = false; ///< it went without taking its leave, and was not met again
    int64_t lastTimeUs = 0;
    std::map<std::string, KnownOutput, std::less<>> outputs;
};

Recording::Recording(std::unique_ptr<RecordWriter> writer, RecordingFilter filter, int64_t startUs, Options options)
    : _uuid(writer->uuid())
    , _options(std::move(options))
    , _timeline(startUs)
    , _filter(std::move(filter))
    , _queue(_options.queueBytes)
    , _writer(std::move(writer))
    , _clockOffsetUs(nowEpochUs() - _options.now())
{
    _thread = std::thread([this] { runWriter(); });
}

Recording::~Recording()
{
    end();
    finish();
}

// ---- agents and publications: the network's thread --------------------------------------------------------------

Recording::Source* Recording::addAgent(const KnownAgent& agent, bool isThereAtStart)
{
    const std::lock_guard lock(_mutex);
    if (!_filter.letsSomeOf(agent.name)) {
        return nullptr;
    }
    std::unique_ptr<Source>& source = _sources[agent.uuid];
    if (!source) {
        source = std::make_unique<Source>();
        source->owner = this;
        source->name = agent.name;
        source->peerUuid = agent.peerUuid;
        source->isOnThisMachine = agent.isOnThisMachine;
        source->isThereAtStart = isThereAtStart;
    }
    source->isSilent = false;
    define(*source, agent.definition);
    return source.get();
}

void Recording::updateAgent(const KnownAgent& agent)
{
    const std::lock_guard lock(_mutex);
    const auto found = _sources.find(agent.uuid);
    if (found != _sources.end()) {
        define(*found->second, agent.definition);
    }
}

void Recording::loseSightOf(const std::string& agentUuid)
{
    const std::lock_guard lock(_mutex);
    const auto found = _sources.find(agentUuid);
    if (found != _sources.end()) {
        found->second->isSilent = true;
    }
}

void Recording::define(Source& source, const std::string& definition)
{
    if (source.isDefined && source.definition == definition) {
        return;
    }
    source.definition = definition;
    // Agents that publish nothing are no part of a record: a replay has nothing to show of them.
    if (source.isDefined || hasIncludedOutput(source.name, definition)) {
        source.isDefined = true;
        _queue.addDefinition(source.name, definition);
    }
}

bool Recording::hasIncludedOutput(const std::string& agent, const std::string& definition) const
{
    const QJsonObject object = QJsonDocument::fromJson(QByteArray::fromStdString(definition)).object();
    const QJsonArray outputs = object.value(QLatin1String("outputs")).toArray();
    return std::any_of(outputs.begin(), outputs.end(), [&](const QJsonValue& output) {
        return _filter.lets(agent, output.toObject().value(QLatin1String("name")).toString().toStdString());
    });
}

uint32_t Recording::outputNumber(Source& source, std::string_view name)
{
    const auto [entry, isNew]
        = _outputNumbers.try_emplace({ source.name, std::string(name) }, static_cast<uint32_t>(_outputs.size()));
    if (isNew) {
        auto output = std::make_unique<Output>();
        output->agent = source.name;
        output->name = name;
        output->isIncluded = _filter.lets(source.name, name);
        _outputs.push_back(std::move(output));
    }
    return entry->second;
}

std::optional<int64_t> Recording::placeInRecord(Source& source, const qny_publication_t& publication)
{
    // When a last value was published is of no use: its stamp may be old, and is not on our clock yet.
    return _timeline.toRecord(publication.last_value
            ? publication.received_us
            : _clocks.align(source.peerUuid, source.isOnThisMachine, publication.time_us, publication.received_us));
}

bool Recording::wasMissed(const Source& source, const qny_publication_t& publication) const
{
    const std::optional<int64_t> publishedUs = _clocks.aligned(source.peerUuid, publication.time_us);
    return publishedUs && _timeline.toRecord(*publishedUs);
}

void Recording::takePublication(Source& source, const qny_publication_t& publication)
{
    if (publication.stand_in) {
        return;
    }
    ValueView value;
    const bool isReadable = ValueView::fromRaw(publication.type, publication.value, publication.size, value);

    const std::lock_guard lock(_mutex);
    const std::string_view name(publication.output);
    auto known = source.outputs.find(name);
    const bool isFirst = known == source.outputs.end();
    if (isFirst) {
        const uint32_t number = outputNumber(source, name);
        known
            = source.outputs
                  .emplace(name, Source::KnownOutput { number, _outputs[number]->isIncluded, 0, _timeline.isPaused() })
                  .first;
    }
    Source::KnownOutput& output = known->second;
    if (!output.isIncluded) {
        return;
    }
    uint64_t lost = publication.lost;
    // A last value that is one of those that were missed while the agent was away.
    bool wasPublishedAway = false;
    if (publication.last_value) {
        // A monitor that came alive again tells once more what was received before it went.
        if (!isFirst && publication.sequence <= output.lastSequence) {
            return;
        }
        lost = isFirst ? lost : publication.sequence - output.lastSequence;
        wasPublishedAway = lost > 0;
        lost -= wasPublishedAway ? 1 : 0;
    }
    output.lastSequence = publication.sequence;

    const bool isInitial = publication.last_value && !wasPublishedAway && source.isThereAtStart;
    const bool wasLeftOut = output.isLeftOut;
    int64_t recordTimeUs = 0;
    if (!isInitial) {
        const std::optional<int64_t> inRecord = placeInRecord(source, publication);
        output.isLeftOut = !inRecord;
        if (!inRecord) {
            // Where in the gap the recording was paused, or ended, nobody knows: rather too many than too few.
            lost += wasPublishedAway && wasMissed(source, publication) ? 1 : 0;
            if (lost > 0 && !wasLeftOut) {
                _queue.addNetworkLoss(output.number, lost);
            }
            return;
        }
        recordTimeUs = std::max(*inRecord, source.lastTimeUs);
        source.lastTimeUs = recordTimeUs;
    }
    _tookEvents = true;
    if (!source.isDefined) {
        source.isDefined = true;
        _queue.addDefinition(source.name, source.definition);
    }
    if (lost > 0) {
        _queue.addNetworkLoss(output.number, lost);
    }
    if (!isReadable) {
        _queue.addNetworkLoss(output.number, 1);
    } else if (!_queue.add(recordTimeUs, output.number, isInitial, value)) {
        ++_outputs[output.number]->lostInQueue;
    }
}

void Recording::onPublication(const qny_publication_t* publication, void* source)
{
    auto* known = static_cast<Source*>(source);
    known->owner->takePublication(*known, *publication);
}

// ---- commands ---------------------------------------------------------------------------------------------------

void Recording::pause()
{
    const std::lock_guard lock(_mutex);
    _timeline.pause(_options.now());
}

void Recording::resume()
{
    const std::lock_guard lock(_mutex);
    _timeline.resume(_options.now());
}

bool Recording::isPaused() const
{
    const std::lock_guard lock(_mutex);
    return _timeline.isPaused();
}

int64_t Recording::elapsedUs() const
{
    const std::lock_guard lock(_mutex);
    return _timeline.elapsed(_options.now());
}

void Recording::end()
{
    const std::lock_guard lock(_mutex);
    _timeline.end(_options.now());
}

int64_t Recording::finish()
{
    _mustFinish = true;
    _queue.wake();
    if (_thread.joinable()) {
        _thread.join();
    }
    return _durationUs;
}

// ---- the writer's thread ----------------------------------------------------------------------------------------

void Recording::runWriter()
{
    EventBatch batch;
    for (;;) {
        const bool isLast = _mustFinish;
        _queue.take(batch, isLast ? std::chrono::milliseconds(0) : WRITER_PATIENCE);
        storeBatch(batch);
        const bool wasEmpty = batch.isEmpty();
        batch.clear();
        if (isLast && wasEmpty) {
            break;
        }
        noteResult(_writer->tick(elapsedUs()));
        watchClock();
    }
    closeRecord();
}

void Recording::storeBatch(const EventBatch& batch)
{
    {
        const std::lock_guard lock(_mutex);
        for (size_t i = _knownOutputs.size(); i < _outputs.size(); ++i) {
            _knownOutputs.push_back(_outputs[i].get());
        }
    }
    for (const EventBatch::Definition& definition : batch.definitions) {
        noteResult(_writer->define(definition.agent, definition.json));
    }
    for (const EventBatch::Entry& entry : batch.entries) {
        const Output& output = *_knownOutputs[entry.output];
        if (entry.isInitial) {
            noteResult(_writer->setInitial(output.agent, output.name, batch.value(entry)));
        } else {
            noteResult(_writer->append({ entry.timeUs, output.agent, output.name, batch.value(entry) }));
        }
    }
    for (const auto& [number, events] : batch.networkLosses) {
        const Output& output = *_knownOutputs[number];
        _writer->countLost(output.agent, output.name, LostIn::Network, events);
    }
}

void Recording::noteResult(const StoreResult& result)
{
    if (result) {
        return;
    }
    // The writer tries again by itself and would say the same many times a second.
    if (result.message != _lastProblem) {
        _lastProblem = result.message;
        qWarning().noquote() << "The record could not be written to:" << QString::fromStdString(result.message);
    }
    if (isForGood(result) && !_hasFailed) {
        _hasFailed = true;
        const char* why = result.error == StoreError::Full ? "the store was full: " : "its record was taken away: ";
        _writer->remark(std::string("The recording ended because ") + why + result.message);
        if (_options.onFailed) {
            _options.onFailed(result.message);
        }
    }
}

void Recording::watchClock()
{
    const int64_t offsetUs = nowEpochUs() - _options.now();
    const int64_t stepUs = offsetUs - _clockOffsetUs;
    if (std::llabs(stepUs) > CLOCK_STEP_US && !_isClockReported) {
        _isClockReported = true;
        const QString remark
            = QStringLiteral("The clock of the recorder's machine was set by %1 s during the recording: "
                             "times after that do not fit those before.")
                  .arg(static_cast<double>(stepUs) / 1e6, 0, 'f', 3);
        qWarning().noquote() << remark;
        _writer->remark(remark.toStdString());
    }
}

void Recording::remarkSilences()
{
    struct Silence
    {
        int64_t sinceUs = 0; // the first one
        int times = 0;
    };
    std::map<std::string, Silence> silences; // by agent name: it may have been started again and again
    {
        const std::lock_guard lock(_mutex);
        for (const auto& [uuid, source] : _sources) {
            if (source->isSilent && source->isDefined) {
                Silence& silence = silences[source->name];
                silence.sinceUs
                    = silence.times == 0 ? source->lastTimeUs : std::min(silence.sinceUs, source->lastTimeUs);
                ++silence.times;
            }
        }
    }
    size_t remarked = 0;
    for (const auto& [name, silence] : silences) {
        if (remarked == MOST_SILENCES) {
            _writer->remark(
                std::to_string(silences.size() - remarked) + " more agents fell silent without taking their leave.");
            break;
        }
        ++remarked;
        QString remark = QStringLiteral("\"%1\" fell silent after %2 s without taking its leave")
                             .arg(QString::fromStdString(name))
                             .arg(static_cast<double>(silence.sinceUs) / 1e6, 0, 'f', 3);
        if (silence.times > 1) {
            remark += QStringLiteral(", the first of %1 times").arg(silence.times);
        }
        _writer->remark(
            (remark + QStringLiteral(": what it published since is neither recorded nor counted.")).toStdString());
    }
}

void Recording::closeRecord()
{
    remarkSilences();
    {
        const std::lock_guard lock(_mutex);
        for (const std::unique_ptr<Output>& output : _outputs) {
            if (output->lostInQueue > 0) {
                _writer->countLost(output->agent, output->name, LostIn::Queue, output->lostInQueue);
            }
        }
    }
    _durationUs = std::max(elapsedUs(), _writer->lastEventUs());
    StoreResult result = _writer->close(_durationUs);
    for (int attempt = 1; !result && !isForGood(result) && attempt < CLOSE_ATTEMPTS; ++attempt) {
        std::this_thread::sleep_for(CLOSE_PAUSE);
        result = _writer->close(_durationUs);
    }
    if (!result) {
        qCritical().noquote() << "The record" << QString::fromStdString(_uuid)
                              << "could not be closed yet:" << QString::fromStdString(result.message);
    }
    _completeness = _writer->completeness();
    _writer.reset();
}

} // namespace recorder
