// SPDX-License-Identifier: Apache-2.0
#include "chunkedwriter.h"

#include <algorithm>

namespace recorder {

namespace {

constexpr std::size_t noOffset = ~std::size_t(0);
constexpr std::uint64_t mostStateBytes = 64 * 1024 * 1024;
constexpr auto lengthInterval = std::chrono::seconds(1); // between two writings of nothing but the record's length

std::chrono::microseconds us(std::int64_t count)
{
    return std::chrono::microseconds(count);
}

std::string initialKey(std::string_view agent, std::string_view output)
{
    std::string key(agent);
    key += '\0';
    key += output;
    return key;
}

std::uint32_t ordinalOf(std::unordered_map<std::string, std::uint32_t>& ordinals, const std::string& key)
{
    return ordinals.emplace(key, static_cast<std::uint32_t>(ordinals.size())).first->second;
}

// Puts a row in the place of the one of the same ordinal that waits already, so that no more wait than there are keys.
template <typename Row> void putLatest(std::vector<Row>& rows, std::vector<std::size_t>& places, Row row)
{
    if (places.size() <= row.ordinal) {
        places.resize(row.ordinal + std::size_t(1), 0);
    }
    std::size_t& place = places[row.ordinal];
    if (place < rows.size() && rows[place].ordinal == row.ordinal) {
        rows[place] = std::move(row);
    } else {
        place = rows.size();
        rows.push_back(std::move(row));
    }
}

} // namespace

ChunkedWriter::ChunkedWriter(std::unique_ptr<ChunkSink> sink, const ChunkingOptions& options, WriterStart start)
    : m_sink(std::move(sink))
    , m_options(options)
    , m_facts(std::move(start.facts))
    , m_tally(std::move(start.tally))
    , m_extent(start.extent)
    , m_storedExtent(start.extent)
    , m_storedState(start.recordState)
    , m_storedAt(Clock::now())
    , m_bucketFirstUs(start.extent.highUs)
    , m_stateUs(start.extent.highUs)
    , m_countsUs(start.extent.highUs)
{
    for (const DefinitionRow& row : start.definitions) {
        m_definitionOrdinals.emplace(row.definition.agent, row.ordinal);
    }
    for (const InitialRow& row : start.initials) {
        m_initialOrdinals.emplace(initialKey(row.initial.agent, row.initial.output), row.ordinal);
    }
    if (m_extent.nextSequence > 0) {
        // How full the last bucket is would have to be asked; a new one costs nothing.
        ++m_extent.bucket;
    }
    m_extent.durationUs = std::max(m_extent.durationUs, m_facts.durationUs);
}

ChunkedWriter::~ChunkedWriter()
{
    if (m_closed) {
        return;
    }
    if (!close(m_extent.durationUs)) {
        dropUnstored();
        addCounts(RecordState::Whole);
        m_batch.last = true;
        m_sink->abandon(m_batch);
    }
}

// Notes that something waits to be stored.
void ChunkedWriter::touch()
{
    if (!m_dirty) {
        m_dirty = true;
        m_dirtySince = Clock::now();
    }
}

StoreResult ChunkedWriter::refuseClosed() const
{
    return StoreResult::failed(StoreError::Refused, "The record \"" + m_facts.name + "\" is closed already.");
}

StoreResult ChunkedWriter::define(std::string_view agent, std::string_view json)
{
    if (m_closed) {
        return refuseClosed();
    }
    DefinitionRow row { ordinalOf(m_definitionOrdinals, std::string(agent)),
        { std::string(agent), std::string(json) } };
    putLatest(m_batch.definitions, m_definitionAt, std::move(row));
    touch();
    return StoreResult::done();
}

StoreResult ChunkedWriter::setInitial(std::string_view agent, std::string_view output, const ValueView& value)
{
    if (m_closed) {
        return refuseClosed();
    }
    InitialRow row { ordinalOf(m_initialOrdinals, initialKey(agent, output)),
        { std::string(agent), std::string(output), value } };
    putLatest(m_batch.initials, m_initialAt, std::move(row));
    touch();
    return StoreResult::done();
}

StoreResult ChunkedWriter::append(const EventView& event)
{
    if (m_closed) {
        return refuseClosed();
    }
    Tally::Output& output = m_tally.output(event.agent, event.output);
    if (!isImport() && m_batchBytes + m_builder.bytes() >= m_options.pendingBytes) {
        StoreResult result = storeIfTime();
        if (m_batchBytes + m_builder.bytes() >= m_options.pendingBytes) {
            ++output.counts.lostStore;
            return result ? m_failure : result;
        }
    }
    if (output.chunk != m_extent.nextSequence) {
        output.chunk = m_extent.nextSequence;
        output.numberInChunk = m_builder.declare(event.agent, event.output);
        output.lastOffset = noOffset;
        m_tally.touch(output);
        m_inChunk.push_back(&output);
    }
    const std::int64_t timeUs = std::max<std::int64_t>(event.timeUs, 0);
    const std::size_t offset = m_builder.add(output.numberInChunk, timeUs, event.value);
    if (timeUs >= output.lastUs) {
        output.lastOffset = offset;
    }
    Tally::count(output, timeUs);
    if (m_builder.count() == 1) {
        touch();
    }
    if (m_builder.bytes() >= m_options.chunkBytes) {
        closeChunk();
        if (!isImport()
            && (m_batchBytes >= m_options.batchBytes || Clock::now() - m_dirtySince >= us(m_options.chunkAgeUs))) {
            return storeIfTime();
        }
    }
    return StoreResult::done();
}

void ChunkedWriter::closeChunk()
{
    if (m_builder.isEmpty()) {
        return;
    }
    for (Tally::Output* output : m_inChunk) {
        if (output->lastOffset != noOffset) {
            m_tally.remember(*output, m_builder.valueAt(output->lastOffset));
        }
    }
    m_inChunk.clear();

    ChunkRow row;
    row.info.sequence = m_extent.nextSequence;
    row.info.firstUs = m_builder.firstUs();
    row.info.lastUs = m_builder.lastUs();
    row.info.count = m_builder.count();
    row.packed = m_builder.finish(ChunkKind::Events, row.info.sequence);
    m_builder.clear();

    const bool bucketIsFull = m_bucketChunks >= m_options.bucketChunks
        || m_bucketBytes + row.packed.size() > m_options.bucketBytes
        || row.info.lastUs - m_bucketFirstUs > m_options.bucketAgeUs;
    if (m_bucketChunks > 0 && bucketIsFull) {
        ++m_extent.bucket;
        m_bucketChunks = 0;
        m_bucketBytes = 0;
    }
    if (m_bucketChunks == 0) {
        m_bucketFirstUs = row.info.firstUs;
    }
    ++m_bucketChunks;
    m_bucketBytes += row.packed.size();
    row.info.bucket = m_extent.bucket;

    m_extent.maxSpanUs = std::max(m_extent.maxSpanUs, row.info.lastUs - row.info.firstUs);
    m_extent.maxLateUs = std::max(m_extent.maxLateUs, m_extent.highUs - row.info.firstUs);
    m_extent.highUs = std::max(m_extent.highUs, row.info.lastUs);
    m_extent.durationUs = std::max(m_extent.durationUs, m_extent.highUs);
    m_extent.events += row.info.count;
    ++m_extent.nextSequence;

    m_batchBytes += row.packed.size();
    m_bytesSinceState += row.packed.size();
    m_batch.chunks.push_back(std::move(row));
    addState();
}

// Adds the state after the chunk just closed when it is time for one. A state never takes more than the events since
// the last one did, so that many outputs with large values at most double what is stored.
void ChunkedWriter::addState()
{
    const bool isDue
        = m_bytesSinceState >= m_options.stateIntervalBytes || m_extent.highUs - m_stateUs >= m_options.stateIntervalUs;
    const std::uint64_t stateBytes = m_tally.stateBytes();
    if (isDue && m_bytesSinceState >= stateBytes && stateBytes <= mostStateBytes) {
        m_batch.states.push_back({ m_extent.nextSequence, m_extent.highUs, m_tally.packState(m_extent.nextSequence) });
        m_bytesSinceState = 0;
        m_stateUs = m_extent.highUs;
    }
}

// Adds the counts to the batch when it is time for them.
void ChunkedWriter::addCounts(RecordState recordState)
{
    const bool isDue = recordState == RecordState::Whole || m_extent.highUs - m_countsUs >= m_options.stateIntervalUs;
    if (isDue || !m_batch.states.empty() || m_batch.completeness) {
        m_batch.completeness = m_tally.completeness().toJson();
        m_batch.completenessThrough = m_extent.nextSequence;
        m_countsUs = m_extent.highUs;
    }
}

StoreResult ChunkedWriter::store(RecordState recordState, bool last)
{
    closeChunk();
    addCounts(recordState);
    m_batch.extent = m_extent;
    m_batch.recordState = recordState;
    m_batch.last = last;
    m_batch.listChanged = last || recordState != m_storedState || m_batch.facts.has_value()
        || (recordState == RecordState::Whole && !m_batch.chunks.empty());
    StoreResult result = m_sink->write(m_batch);
    if (!result && result.error == StoreError::Overflow) {
        return storeLosses(result);
    }
    if (!result) {
        m_failure = result;
        m_failedAt = Clock::now();
        return result;
    }
    m_batch = Batch();
    m_batchBytes = 0;
    m_dirty = false;
    noteStored(recordState, last);
    return result;
}

void ChunkedWriter::noteStored(RecordState recordState, bool last)
{
    m_tally.settle();
    m_failure = StoreResult::done();
    m_storedExtent = m_extent;
    m_storedState = recordState;
    m_storedAt = Clock::now();
    m_closed = last;
}

// There is no room for the events of the batch: they are lost, and that is stored in their place. Definitions and
// initial values go on waiting for room, but for the last batch, which takes them along.
StoreResult ChunkedWriter::storeLosses(const StoreResult& reason)
{
    loseChunks();
    remark(reason.message);
    Batch losses = m_batch;
    losses.completeness = m_tally.completeness().toJson();
    losses.completenessThrough = m_extent.nextSequence;
    losses.extent = m_extent;
    if (!losses.last) {
        losses.definitions.clear();
        losses.initials.clear();
    }
    // The next batch brings the counts as well, whatever becomes of these.
    m_batch.completeness = losses.completeness;
    const StoreResult result = m_sink->write(losses);
    if (!result) {
        m_failure = result;
        m_failedAt = Clock::now();
        return result;
    }
    noteStored(losses.recordState, losses.last);
    m_dirty = !m_batch.definitions.empty() || !m_batch.initials.empty();
    m_dirtySince = Clock::now();
    return losses.last ? result : reason;
}

// Stores unless the store has failed just now.
StoreResult ChunkedWriter::storeIfTime()
{
    if (!m_failure && Clock::now() - m_failedAt < us(m_options.retryUs)) {
        return StoreResult::done();
    }
    return store(m_storedState, false);
}

void ChunkedWriter::countLost(std::string_view agent, std::string_view output, LostIn where, std::uint64_t events)
{
    m_tally.countLost(agent, output, where, events);
}

StoreResult ChunkedWriter::tick(std::int64_t elapsedUs)
{
    if (m_closed) {
        return refuseClosed();
    }
    m_extent.durationUs = std::max(m_extent.durationUs, elapsedUs);
    if (isImport()) {
        return StoreResult::done();
    }
    const auto now = Clock::now();
    const bool oldEnough = m_dirty && now - m_dirtySince >= us(m_options.chunkAgeUs);
    const bool lengthIsOld = m_extent.durationUs != m_storedExtent.durationUs && now - m_storedAt >= lengthInterval;
    return oldEnough || lengthIsOld ? storeIfTime() : StoreResult::done();
}

StoreResult ChunkedWriter::flush()
{
    return m_closed ? refuseClosed() : store(m_storedState, false);
}

RecordFacts ChunkedWriter::facts() const
{
    RecordFacts facts = m_facts;
    facts.durationUs = m_extent.durationUs;
    return facts;
}

StoreResult ChunkedWriter::setFacts(const RecordFacts& facts)
{
    if (m_closed) {
        return refuseClosed();
    }
    const std::string uuid = m_facts.uuid;
    const RecordOrigin origin = m_facts.origin;
    m_facts = facts;
    m_facts.uuid = uuid;
    m_facts.origin = origin;
    m_extent.durationUs = std::max({ facts.durationUs, m_storedExtent.durationUs, m_extent.highUs });
    m_batch.facts = m_facts;
    touch();
    return StoreResult::done();
}

StoreResult ChunkedWriter::settle()
{
    return m_closed ? refuseClosed() : store(RecordState::Whole, false);
}

void ChunkedWriter::dropUnstored()
{
    closeChunk();
    loseChunks();
    m_batch.definitions.clear();
    m_batch.initials.clear();
}

// Takes back what was packed and not stored. The numbers of its chunks are not used again: they may be stored after
// all.
void ChunkedWriter::loseChunks()
{
    m_tally.loseRound();
    m_batch.chunks.clear();
    m_batch.states.clear();
    m_batchBytes = 0;
    m_bytesSinceState = 0;
    const std::uint64_t nextSequence = m_extent.nextSequence;
    const std::int64_t durationUs = m_extent.durationUs;
    m_extent = m_storedExtent;
    m_extent.nextSequence = nextSequence;
    m_extent.durationUs = std::max(m_storedExtent.durationUs, isImport() ? m_storedExtent.durationUs : durationUs);
    m_stateUs = m_extent.highUs;
}

StoreResult ChunkedWriter::close(std::int64_t durationUs)
{
    if (m_closed) {
        return refuseClosed();
    }
    m_extent.durationUs = std::max(m_extent.durationUs, durationUs);
    StoreResult result = store(RecordState::Whole, true);
    if (!result && result.error == StoreError::Full) {
        dropUnstored();
        remark("The store was full: what came last could not be stored.");
        result = store(RecordState::Whole, true);
    }
    return result;
}

Completeness ChunkedWriter::completeness() const
{
    return withClaim(m_facts.completeness, m_tally.completeness());
}

} // namespace recorder
