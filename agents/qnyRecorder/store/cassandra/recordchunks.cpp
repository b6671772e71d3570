// SPDX-License-Identifier: Apache-2.0
#include "recordchunks.h"

#include "statements.h"

#include <algorithm>
#include <limits>
#include <numeric>
#include <tuple>

namespace recorder::cassandra {

namespace {

constexpr char holdMark = '/'; // between an owner and the number of its hold
constexpr std::size_t bucketsKept = 8;
constexpr std::uint64_t chunksAhead = 16;
constexpr std::size_t bytesAhead = 4 * 1024 * 1024;
constexpr std::uint64_t everySequence = std::numeric_limits<std::uint64_t>::max();

bool comesBefore(const ChunkInfo& left, const ChunkInfo& right)
{
    return std::tie(left.firstUs, left.sequence) < std::tie(right.firstUs, right.sequence);
}

} // namespace

Hold::Hold(std::shared_ptr<Context> context, std::string record)
    : m_context(std::move(context))
    , m_record(std::move(record))
{
    const std::lock_guard guard(m_context->mutex);
    ++m_context->readers[m_record];
    m_name = m_context->token + holdMark + std::to_string(m_context->holdsMade++);
}

Hold::~Hold()
{
    {
        const std::lock_guard guard(m_context->mutex);
        if (--m_context->readers[m_record] == 0) {
            m_context->readers.erase(m_record);
        }
    }
    if (m_isTold) {
        // When this fails the hold goes with its owner.
        (void)m_context->connection.write(cql::removeHold, { m_record, m_name });
    }
}

StoreResult Hold::take()
{
    m_isTold = true;
    return m_context->connection.write(cql::putHold, { m_record, m_name });
}

StoreResult Hold::isRead(Context& context, const std::string& record, bool& isRead)
{
    {
        const std::lock_guard guard(context.mutex);
        isRead = context.readers.contains(record);
    }
    std::vector<std::string> holders;
    StoreResult result
        = context.connection.forEach(cql::holdsOf, { record }, [&](const Answer& answer, std::size_t row) {
              const std::string name = answer.text(row, 0);
              holders.push_back(name.substr(0, name.find(holdMark)));
              return true;
          });
    Owners owners;
    if (result && !holders.empty()) {
        result = owners.read(context.connection);
    }
    for (const std::string& holder : holders) {
        isRead |= holder != context.token && owners.isAlive(holder);
    }
    return result;
}

RecordChunks::RecordChunks(std::shared_ptr<Context> context, std::string record)
    : m_context(std::move(context))
    , m_record(std::move(record))
{
}

void RecordChunks::hold(std::unique_ptr<Hold> hold, const Extent& extent)
{
    m_hold = std::move(hold);
    m_justRead = extent;
}

StoreResult RecordChunks::extent(Extent& extent)
{
    if (m_justRead) {
        extent = *std::exchange(m_justRead, std::nullopt);
        return see(extent);
    }
    StoredRecord record;
    if (StoreResult result = readRecord(m_context->connection, m_record, Certainty::AsStored, record); !result) {
        return result;
    }
    if (!record.isThere) {
        return StoreResult::failed(StoreError::NotFound, "The record was deleted.");
    }
    extent = record.extent;
    return see(extent);
}

// Reads the summaries of the buckets that are new or have grown.
StoreResult RecordChunks::see(const Extent& extent)
{
    if (m_isSeen && extent.nextSequence == m_extent.nextSequence && extent.bucket == m_extent.bucket) {
        return StoreResult::done();
    }
    // The last one known may have grown; all before it are closed.
    const std::int32_t from = m_buckets.empty() ? 0 : m_buckets.back().number;
    std::vector<Bucket> fresh;
    const StoreResult result = m_context->connection.forEach(
        cql::bucketsFrom, { m_record, from }, [&](const Answer& answer, std::size_t row) {
            Bucket bucket;
            bucket.number = static_cast<std::int32_t>(answer.integer(row, 0));
            bucket.firstSequence = answer.number(row, 1);
            bucket.firstUs = answer.integer(row, 2);
            bucket.lastUs = answer.integer(row, 3);
            if (!answer.isNull(row, 4)) {
                bucket.firstStateUs = answer.integer(row, 4);
            }
            // Others were written by an owner that lost the record before it could say so.
            if (bucket.number <= extent.bucket) {
                fresh.push_back(bucket);
            }
            return true;
        });
    if (!result) {
        return result;
    }
    // So was one that does not begin before those after it.
    std::uint64_t end = extent.nextSequence;
    for (auto bucket = fresh.end(); bucket != fresh.begin();) {
        --bucket;
        if (bucket->firstSequence >= end) {
            bucket = fresh.erase(bucket);
        } else {
            end = bucket->firstSequence;
        }
    }
    if (!m_buckets.empty()) {
        m_buckets.pop_back();
        m_infos.remove_if([from](const Infos& infos) { return infos.bucket == from; });
    }
    m_buckets.insert(m_buckets.end(), fresh.begin(), fresh.end());
    m_byTime.resize(m_buckets.size());
    std::iota(m_byTime.begin(), m_byTime.end(), std::size_t(0));
    std::sort(m_byTime.begin(), m_byTime.end(),
        [this](std::size_t left, std::size_t right) { return m_buckets[left].firstUs < m_buckets[right].firstUs; });
    m_extent = extent;
    m_isSeen = true;
    return StoreResult::done();
}

// Where the sequences of a bucket end.
std::uint64_t RecordChunks::endOf(std::size_t bucket) const
{
    return bucket + 1 < m_buckets.size() ? m_buckets[bucket + 1].firstSequence : m_extent.nextSequence;
}

StoreResult RecordChunks::infos(std::size_t bucket, const std::vector<ChunkInfo>*& byTime)
{
    const std::int32_t number = m_buckets[bucket].number;
    const auto known
        = std::find_if(m_infos.begin(), m_infos.end(), [number](const Infos& infos) { return infos.bucket == number; });
    if (known != m_infos.end()) {
        m_infos.splice(m_infos.begin(), m_infos, known);
        byTime = &m_infos.front().byTime;
        return StoreResult::done();
    }
    Infos fresh;
    fresh.bucket = number;
    const std::uint64_t end = endOf(bucket);
    const StoreResult result = m_context->connection.forEach(
        cql::infosOfBucket, { m_record, number }, [&](const Answer& answer, std::size_t row) {
            const std::uint64_t sequence = answer.number(row, 0);
            if (sequence < end) {
                fresh.byTime.push_back({ sequence, number, answer.integer(row, 1), answer.integer(row, 2),
                    static_cast<std::uint32_t>(answer.integer(row, 3)) });
            }
            return true;
        });
    if (!result) {
        return result;
    }
    std::sort(fresh.byTime.begin(), fresh.byTime.end(), comesBefore);
    m_infos.push_front(std::move(fresh));
    if (m_infos.size() > bucketsKept) {
        m_infos.pop_back();
    }
    byTime = &m_infos.front().byTime;
    return StoreResult::done();
}

StoreResult RecordChunks::chunksAfter(std::int64_t firstUs, std::uint64_t sequence, std::int64_t mostFirstUs,
    std::int64_t leastLastUs, std::size_t most, std::vector<ChunkInfo>& chunks)
{
    if (!m_isSeen) {
        Extent ignored;
        if (StoreResult result = extent(ignored); !result) {
            return result;
        }
    }
    ChunkInfo after;
    after.firstUs = firstUs;
    after.sequence = sequence;
    for (const std::size_t number : m_byTime) {
        const Bucket& bucket = m_buckets[number];
        const bool isEnough = chunks.size() == most && chunks.back().firstUs < bucket.firstUs;
        if (bucket.firstUs > mostFirstUs || isEnough) {
            break;
        }
        if (bucket.lastUs < std::max(leastLastUs, firstUs)) {
            continue;
        }
        const std::vector<ChunkInfo>* byTime = nullptr;
        if (StoreResult result = infos(number, byTime); !result) {
            return result;
        }
        std::size_t taken = 0;
        for (auto info = std::upper_bound(byTime->begin(), byTime->end(), after, comesBefore);
            info != byTime->end() && info->firstUs <= mostFirstUs && taken < most; ++info) {
            if (info->lastUs >= leastLastUs) {
                chunks.push_back(*info);
                ++taken;
            }
        }
        std::sort(chunks.begin(), chunks.end(), comesBefore);
        chunks.resize(std::min(chunks.size(), most));
    }
    return StoreResult::done();
}

StoreResult RecordChunks::load(const ChunkInfo& chunk, std::string& packed)
{
    const bool isNext = chunk.sequence == m_nextLoad;
    m_nextLoad = chunk.sequence + 1;
    if (auto ahead = m_ahead.extract(chunk.sequence)) {
        packed = std::move(ahead.mapped());
        return StoreResult::done();
    }
    m_ahead.clear();
    const std::uint64_t end = chunk.sequence + (isNext ? chunksAhead : 1);
    Parts parts;
    std::size_t bytes = 0;
    StoreResult result = m_context->connection.forEach(
        cql::loadChunks, { m_record, chunk.bucket, chunk.sequence, end }, [&](const Answer& answer, std::size_t row) {
            if (answer.integer(row, 1) == 0) {
                parts = Parts();
            }
            parts.add(answer.integer(row, 1), answer.integer(row, 2), answer.bytes(row, 3));
            bytes += answer.bytes(row, 3).size();
            if (parts.isWhole()) {
                m_ahead.emplace(answer.number(row, 0), std::exchange(parts, Parts()).take());
            }
            return bytes < bytesAhead || m_ahead.empty();
        });
    auto wanted = m_ahead.extract(chunk.sequence);
    if (wanted) {
        packed = std::move(wanted.mapped());
        return StoreResult::done();
    }
    return result ? StoreResult::failed(StoreError::Damaged, "it is missing") : result;
}

StoreResult RecordChunks::stateUpTo(std::int64_t timeUs, StoredState& state, bool& found)
{
    return latestState(timeUs, everySequence, state, found);
}

// The latest state of timeUs or before that covers no chunk from mostSequence on.
StoreResult RecordChunks::latestState(std::int64_t timeUs, std::uint64_t mostSequence, StoredState& state, bool& found)
{
    found = false;
    if (!m_isSeen) {
        Extent ignored;
        if (StoreResult result = extent(ignored); !result) {
            return result;
        }
    }
    for (std::size_t number = m_buckets.size(); number-- > 0 && !found;) {
        const Bucket& bucket = m_buckets[number];
        if (!bucket.firstStateUs || *bucket.firstStateUs > timeUs) {
            continue;
        }
        const std::uint64_t most = std::min(mostSequence, endOf(number));
        const StoreResult result = m_context->connection.forEach(
            cql::statesUpTo, { m_record, bucket.number, timeUs }, [&](const Answer& answer, std::size_t row) {
                state.timeUs = answer.integer(row, 0);
                state.throughSequence = answer.number(row, 1);
                found = state.throughSequence <= most;
                return !found;
            });
        if (!result) {
            return result;
        }
        if (found) {
            return readState(bucket, state, found);
        }
    }
    return StoreResult::done();
}

StoreResult RecordChunks::readState(const Bucket& bucket, StoredState& state, bool& found)
{
    Parts parts;
    StoreResult result = m_context->connection.forEach(cql::readState,
        { m_record, bucket.number, state.timeUs, state.throughSequence }, [&](const Answer& answer, std::size_t row) {
            parts.add(answer.integer(row, 0), answer.integer(row, 1), answer.bytes(row, 2));
            return true;
        });
    found = bool(result);
    // Bytes that are not whole do not fit their checksum: the caller finds them damaged.
    state.packed = parts.take();
    return result;
}

StoreResult RecordChunks::restoreTally(const StoredRecord& record, Tally& tally, int& damaged)
{
    damaged = 0;
    tally.restoreCounts(record.counted);
    if (StoreResult result = see(record.extent); !result) {
        return result;
    }
    std::uint64_t from = 0;
    std::string reason;
    StoredState state;
    bool found = false;
    if (StoreResult result = latestState(std::numeric_limits<std::int64_t>::max(), record.countedThrough, state, found);
        !result) {
        return result;
    }
    if (found && tally.restoreState(state.packed, reason)) {
        from = state.throughSequence;
    }
    for (std::size_t number = 0; number < m_buckets.size(); ++number) {
        if (endOf(number) <= from) {
            continue;
        }
        const std::vector<ChunkInfo>* byTime = nullptr;
        if (StoreResult result = infos(number, byTime); !result) {
            return result;
        }
        std::vector<ChunkInfo> inOrder = *byTime;
        std::sort(inOrder.begin(), inOrder.end(),
            [](const ChunkInfo& left, const ChunkInfo& right) { return left.sequence < right.sequence; });
        for (const ChunkInfo& info : inOrder) {
            if (info.sequence < from) {
                continue;
            }
            std::string packed;
            const StoreResult loaded = load(info, packed);
            if (!loaded && loaded.error != StoreError::Damaged) {
                return loaded;
            }
            if (!loaded || !tally.addChunk(packed, info.sequence >= record.countedThrough, reason)) {
                ++damaged;
            }
        }
    }
    return StoreResult::done();
}

} // namespace recorder::cassandra
