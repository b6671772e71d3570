// SPDX-License-Identifier: Apache-2.0
#include "sink.h"

#include "statements.h"

#include <algorithm>
#include <deque>

namespace recorder::cassandra {

namespace {

// Rows, and the bytes made for them.
struct Rows
{
    std::vector<RowToWrite> rows;
    std::deque<std::string> kept;
};

void addChunk(Rows& rows, const std::string& record, const ChunkRow& chunk)
{
    const ChunkInfo& info = chunk.info;
    rows.rows.emplace_back(cql::putInfo,
        std::initializer_list<Argument> { record, info.bucket, info.sequence, info.firstUs, info.lastUs, info.count });
    const std::int64_t parts = partsOf(chunk.packed);
    for (std::int64_t part = 0; part < parts; ++part) {
        rows.rows.emplace_back(cql::putChunk,
            std::initializer_list<Argument> {
                record, info.bucket, info.sequence, part, parts, Argument::blob(partOf(chunk.packed, part)) });
    }
}

void addState(Rows& rows, const std::string& record, std::int32_t bucket, const StoredState& state)
{
    const std::int64_t parts = partsOf(state.packed);
    for (std::int64_t part = 0; part < parts; ++part) {
        rows.rows.emplace_back(cql::putState,
            std::initializer_list<Argument> { record, bucket, state.timeUs, state.throughSequence, part, parts,
                Argument::blob(partOf(state.packed, part)) });
    }
}

void addInitial(Rows& rows, const std::string& record, const InitialRow& row)
{
    const std::string& packed = rows.kept.emplace_back(packInitial(row.initial));
    const std::int64_t parts = partsOf(packed);
    for (std::int64_t part = 0; part < parts; ++part) {
        rows.rows.emplace_back(cql::putInitial,
            std::initializer_list<Argument> { record, row.initial.agent, row.initial.output, part, parts, row.ordinal,
                Argument::blob(partOf(packed, part)) });
    }
}

// Where a state belongs: to the bucket of the last chunk that it covers.
std::int32_t bucketOf(const Batch& batch, const StoredState& state)
{
    const auto chunk = std::find_if(batch.chunks.begin(), batch.chunks.end(),
        [&](const ChunkRow& row) { return row.info.sequence + 1 == state.throughSequence; });
    return chunk != batch.chunks.end() ? chunk->info.bucket : batch.extent.bucket;
}

// The last of two rows with one key holds, in whatever order rows arrive: only that one is sent.
template <typename Row, typename Key> std::vector<const Row*> lastOfEach(const std::vector<Row>& rows, Key key)
{
    std::map<decltype(key(rows.front())), const Row*> last;
    for (const Row& row : rows) {
        last[key(row)] = &row;
    }
    std::vector<const Row*> chosen;
    for (const auto& [name, row] : last) {
        chosen.push_back(row);
    }
    return chosen;
}

} // namespace

Sink::Sink(std::shared_ptr<Context> context, std::string record)
    : m_context(std::move(context))
    , m_record(std::move(record))
    , m_name(newRecordUuid())
{
}

StoreResult Sink::write(const Batch& batch)
{
    if (StoreResult result = m_context->requireConnected(); !result) {
        return result;
    }
    StoreResult result = store(batch);
    if (!result) {
        m_last.reset(); // what is stored now is looked up before the next attempt
    }
    return result;
}

void Sink::abandon(const Batch& last)
{
    {
        const std::lock_guard guard(m_context->mutex);
        m_context->orphans.push_back({ m_record, last });
    }
    m_context->say("A record could not be closed yet; the store goes on trying.");
    m_context->wakeUpkeep();
}

StoreResult Sink::findBucket(std::int32_t number, std::optional<Bucket>& bucket)
{
    bucket.reset();
    if (m_last && m_last->number == number) {
        bucket = m_last;
        return StoreResult::done();
    }
    if (m_last && m_last->number < number) {
        return StoreResult::done(); // ours is the last one
    }
    const Answer answer = m_context->connection.execute(cql::readBucket, { m_record, number });
    if (answer && answer.rows() > 0) {
        bucket = Bucket {};
        bucket->number = number;
        bucket->firstSequence = answer.number(0, 1);
        bucket->firstUs = answer.integer(0, 2);
        bucket->lastUs = answer.integer(0, 3);
        if (!answer.isNull(0, 4)) {
            bucket->firstStateUs = answer.integer(0, 4);
        }
        bucket->isStored = true;
    }
    return answer.result();
}

// The summaries of the buckets that a batch touches, with what it brings.
StoreResult Sink::bucketsOf(const Batch& batch, Buckets& buckets)
{
    for (const ChunkRow& row : batch.chunks) {
        const ChunkInfo& info = row.info;
        if (buckets.empty() || buckets.back().number != info.bucket) {
            std::optional<Bucket> known;
            if (StoreResult result = findBucket(info.bucket, known); !result) {
                return result;
            }
            buckets.push_back(known ? *known : Bucket { info.bucket, info.sequence, info.firstUs, info.lastUs, {} });
        }
        Bucket& bucket = buckets.back();
        bucket.isChanged |= !bucket.isStored || info.firstUs < bucket.firstUs || info.lastUs > bucket.lastUs;
        bucket.firstUs = std::min(bucket.firstUs, info.firstUs);
        bucket.lastUs = std::max(bucket.lastUs, info.lastUs);
    }
    for (const StoredState& state : batch.states) {
        const std::int32_t number = bucketOf(batch, state);
        const auto bucket = std::find_if(
            buckets.begin(), buckets.end(), [number](const Bucket& one) { return one.number == number; });
        if (bucket != buckets.end() && (!bucket->firstStateUs || *bucket->firstStateUs > state.timeUs)) {
            bucket->firstStateUs = state.timeUs;
            bucket->isChanged = true;
        }
    }
    return StoreResult::done();
}

void Sink::addRow(std::vector<RowToWrite>& rows, const Bucket& bucket) const
{
    rows.emplace_back(cql::putBucket,
        std::initializer_list<Argument> { m_record, bucket.number, bucket.firstSequence, bucket.firstUs, bucket.lastUs,
            bucket.firstStateUs ? Argument(*bucket.firstStateUs) : Argument::unset() });
}

// Counts go where those that hold do not lie, and where no other sink writes, not even that of an owner that was taken
// for dead.
int Sink::chooseSlot() const
{
    int slot = 0;
    while (m_slotsInUse.contains(slot)) {
        ++slot;
    }
    return slot;
}

std::string Sink::slotName(int slot) const
{
    return m_name + '/' + std::to_string(slot);
}

StoreResult Sink::store(const Batch& batch)
{
    Connection& connection = m_context->connection;
    Buckets buckets;
    if (StoreResult result = bucketsOf(batch, buckets); !result) {
        return result;
    }
    // A bucket is known before anything is in it, so that nothing is ever left behind when the record is removed.
    Rows summaries;
    Rows rows;
    for (const Bucket& bucket : buckets) {
        if (bucket.isChanged) {
            addRow(bucket.isStored ? rows.rows : summaries.rows, bucket);
        }
    }
    if (!summaries.rows.empty()) {
        if (StoreResult result = connection.write(summaries.rows); !result) {
            return result;
        }
    }
    for (const ChunkRow& chunk : batch.chunks) {
        addChunk(rows, m_record, chunk);
    }
    for (const StoredState& state : batch.states) {
        addState(rows, m_record, bucketOf(batch, state), state);
    }
    for (const DefinitionRow* row : lastOfEach(
             batch.definitions, [](const DefinitionRow& one) { return std::string_view(one.definition.agent); })) {
        rows.rows.emplace_back(cql::putDefinition,
            std::initializer_list<Argument> { m_record, row->definition.agent, row->ordinal, row->definition.json });
    }
    for (const InitialRow* row : lastOfEach(batch.initials, [](const InitialRow& one) {
             return std::pair<std::string_view, std::string_view>(one.initial.agent, one.initial.output);
         })) {
        addInitial(rows, m_record, *row);
    }
    if (batch.facts) {
        const std::string& claimed = rows.kept.emplace_back(claimToStore(batch.facts->completeness));
        rows.rows.emplace_back(
            cql::putFacts, std::initializer_list<Argument> { m_record, batch.facts->description, claimed });
    }
    std::optional<int> slot;
    if (batch.completeness) {
        slot = chooseSlot();
        const std::string& name = rows.kept.emplace_back(slotName(*slot));
        const std::int64_t parts = partsOf(*batch.completeness);
        for (std::int64_t part = 0; part < parts; ++part) {
            rows.rows.emplace_back(cql::putCounts,
                std::initializer_list<Argument> {
                    m_record, name, part, parts, Argument::blob(partOf(*batch.completeness, part)) });
        }
    }
    if (!rows.rows.empty()) {
        if (StoreResult result = connection.write(rows.rows); !result) {
            return result;
        }
    }
    if (slot) {
        m_slotsInUse.insert(*slot);
    }
    if (StoreResult result = show(batch, slot); !result) {
        return result;
    }
    if (!buckets.empty()) {
        m_last = buckets.back();
        m_last->isStored = true;
        m_last->isChanged = false;
    }
    if (slot) {
        m_slotsInUse = { *slot };
    }
    if (batch.last) {
        // Left behind, it is found to mean nothing.
        (void)connection.write(cql::removeWork, { m_record, m_context->token });
    }
    return batch.listChanged ? m_context->bumpRevision() : StoreResult::done();
}

// Changes the record's row, as long as the record is ours.
StoreResult Sink::show(const Batch& batch, std::optional<int> slot)
{
    const std::string name = slot ? slotName(*slot) : std::string();
    const Extent& extent = batch.extent;
    bool applied = false;
    const StoreResult result = m_context->connection.executeIf(cql::updateExtent,
        { static_cast<std::int64_t>(batch.recordState), extent.durationUs, extent.events, extent.nextSequence,
            extent.bucket, extent.highUs, extent.maxSpanUs, extent.maxLateUs,
            batch.facts ? Argument(batch.facts->startUs) : Argument::unset(), slot ? Argument(name) : Argument::unset(),
            slot ? Argument(batch.completenessThrough) : Argument::unset(),
            Argument::textOrNull(!batch.last, m_context->token), m_record, m_context->token },
        applied);
    return result && !applied ? recognise(batch) : result;
}

// The row is not ours: because the record was lost, or because its end is stored already and only the answer was not
// heard. Another recorder that took us for dead and closed it left other counts, for it remarked that.
StoreResult Sink::recognise(const Batch& batch)
{
    StoredRecord record;
    if (StoreResult result = readRecord(m_context->connection, m_record, Certainty::Settled, record); !result) {
        return result;
    }
    bool isStored = batch.last && record.isThere && !record.isOwned && record.lastOwner == m_context->token
        && record.state == batch.recordState && record.extent.nextSequence == batch.extent.nextSequence
        && record.extent.events == batch.extent.events && record.extent.durationUs == batch.extent.durationUs
        && (!batch.facts || record.facts.startUs == batch.facts->startUs);
    if (isStored && batch.completeness) {
        std::string counts;
        if (StoreResult result = readCounts(m_context->connection, m_record, record.countsSlot, counts); !result) {
            return result;
        }
        isStored = record.countedThrough == batch.completenessThrough && counts == *batch.completeness;
    }
    return isStored ? StoreResult::done()
                    : StoreResult::failed(StoreError::NotFound,
                          "The record was deleted, or another recorder took it over: nothing more is stored in it.");
}

} // namespace recorder::cassandra
