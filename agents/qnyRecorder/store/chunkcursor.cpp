// SPDX-License-Identifier: Apache-2.0
#include "chunkcursor.h"

#include "../chunk/packedchunk.h"

#include <algorithm>
#include <limits>
#include <tuple>

namespace recorder {

namespace {
constexpr std::size_t infosAtOnce = 64;
constexpr auto farthest = std::numeric_limits<std::int64_t>::max();
} // namespace

std::strong_ordering operator<=>(const EventPosition& left, const EventPosition& right)
{
    return std::tie(left.timeUs, left.sequence, left.index) <=> std::tie(right.timeUs, right.sequence, right.index);
}

ChunkCursor::ChunkCursor(ChunkBackend& backend, const Window& window)
    : m_backend(backend)
    , m_window(window)
    , m_current(m_active.end())
{
    if (m_window.after) {
        m_window.startUs = std::max(m_window.startUs, m_window.after->timeUs);
    }
    // Strictly before every chunk that could reach into the window.
    const std::int64_t reach = std::max<std::int64_t>(m_window.maxSpanUs, 0);
    m_askedFirstUs = m_window.startUs > reach ? m_window.startUs - reach - 1 : -1;
    m_askedSequence = std::numeric_limits<std::int64_t>::max();
}

ChunkCursor::~ChunkCursor() = default;

// Makes sure that the next chunk, if there is one, is known. False when the store fails.
bool ChunkCursor::lookAhead()
{
    // A page may hold nothing but chunks that are left out.
    while (m_upcoming.empty() && !m_upcomingEnds) {
        std::vector<ChunkInfo> infos;
        m_result = m_backend.chunksAfter(
            m_askedFirstUs, m_askedSequence, m_window.endUs, m_window.startUs, infosAtOnce, infos);
        if (!m_result) {
            return false;
        }
        m_upcomingEnds = infos.size() < infosAtOnce;
        for (const ChunkInfo& info : infos) {
            m_askedFirstUs = info.firstUs;
            m_askedSequence = info.sequence;
            if (info.sequence >= m_window.leastSequence) {
                m_upcoming.push_back(info);
            }
        }
    }
    return true;
}

// Loads the next chunk. False when the store fails; a damaged chunk is noted and left out.
bool ChunkCursor::activate()
{
    Active active;
    active.info = m_upcoming.front();
    const auto damaged = [&](std::string reason) {
        m_damages.push_back(
            { active.info.sequence, active.info.firstUs, active.info.lastUs, active.info.count, std::move(reason) });
    };
    StoreResult loaded = m_backend.load(active.info, active.packed);
    if (!loaded) {
        if (loaded.error != StoreError::Damaged) {
            m_result = std::move(loaded);
            return false;
        }
        damaged(std::move(loaded.message));
        m_upcoming.pop_front();
        return true;
    }
    m_upcoming.pop_front();
    ChunkHeader header;
    std::string reason;
    // Names and short values lie in the string itself: it must be where it stays before anything looks into it.
    Active& kept = m_active.emplace_back(std::move(active));
    if (!unpackChunk(kept.packed, header, kept.events, reason)) {
        m_active.pop_back();
        damaged(std::move(reason));
        return true;
    }
    // Its times, too: by those that the store keeps beside it the chunks are put in order.
    if (header.kind != ChunkKind::Events || header.sequence != kept.info.sequence || header.firstUs != kept.info.firstUs
        || header.lastUs != kept.info.lastUs) {
        m_active.pop_back();
        damaged("it is another chunk than its key says");
        return true;
    }
    const auto earlier = [](const EventView& left, const EventView& right) { return left.timeUs < right.timeUs; };
    if (!std::is_sorted(kept.events.begin(), kept.events.end(), earlier)) {
        std::stable_sort(kept.events.begin(), kept.events.end(), earlier);
    }
    const auto first = std::lower_bound(kept.events.begin(), kept.events.end(), m_window.startUs,
        [](const EventView& event, std::int64_t startUs) { return event.timeUs < startUs; });
    kept.at = static_cast<std::size_t>(first - kept.events.begin());
    if (kept.at == kept.events.size()) {
        m_active.pop_back();
    }
    return true;
}

// Picks the active chunk whose event is next, and up to where it may go on undisturbed.
void ChunkCursor::choose()
{
    m_current = m_active.end();
    m_limitUs = farthest;
    m_limitSequence = std::numeric_limits<std::uint64_t>::max();
    for (auto chunk = m_active.begin(); chunk != m_active.end(); ++chunk) {
        const std::int64_t timeUs = chunk->events[chunk->at].timeUs;
        if (m_current == m_active.end()
            || std::tie(timeUs, chunk->info.sequence)
                < std::tie(m_current->events[m_current->at].timeUs, m_current->info.sequence)) {
            m_current = chunk;
        }
    }
    for (auto chunk = m_active.begin(); chunk != m_active.end(); ++chunk) {
        if (chunk != m_current) {
            const auto key = std::make_tuple(chunk->events[chunk->at].timeUs, chunk->info.sequence);
            if (key < std::make_tuple(m_limitUs, m_limitSequence)) {
                std::tie(m_limitUs, m_limitSequence) = key;
            }
        }
    }
    if (!m_upcoming.empty()) {
        // Any event of the upcoming chunk may come at its first time, and so may those of chunks after it.
        const auto key = std::make_tuple(m_upcoming.front().firstUs, std::uint64_t(0));
        if (key < std::make_tuple(m_limitUs, m_limitSequence)) {
            std::tie(m_limitUs, m_limitSequence) = key;
        }
    }
    m_chosen = true;
}

EventCursor::Step ChunkCursor::next(EventView& event)
{
    for (;;) {
        if (m_chosen && m_current != m_active.end()) {
            if (m_current->at == m_current->events.size()) {
                // Freed only now: the event given last looked into it.
                m_active.erase(m_current);
                m_chosen = false;
            } else {
                const EventView& candidate = m_current->events[m_current->at];
                const auto key = std::make_tuple(candidate.timeUs, m_current->info.sequence);
                if (key >= std::make_tuple(m_limitUs, m_limitSequence)) {
                    m_chosen = false;
                } else {
                    if (candidate.timeUs > m_window.endUs) {
                        return Step::End;
                    }
                    const EventPosition position { candidate.timeUs, m_current->info.sequence,
                        static_cast<std::uint32_t>(m_current->at), m_current->info.bucket };
                    ++m_current->at;
                    if (m_window.after && position <= *m_window.after) {
                        continue;
                    }
                    m_position = position;
                    event = candidate;
                    return Step::Event;
                }
            }
        }
        if (!lookAhead()) {
            return Step::Failed;
        }
        choose();
        const bool upcomingFirst = !m_upcoming.empty()
            && (m_current == m_active.end() || m_upcoming.front().firstUs <= m_current->events[m_current->at].timeUs);
        if (upcomingFirst) {
            m_chosen = false;
            if (!activate()) {
                return Step::Failed;
            }
        } else if (m_current == m_active.end()) {
            return Step::End;
        }
    }
}

std::vector<Damage> ChunkCursor::takeDamages()
{
    return std::exchange(m_damages, {});
}

} // namespace recorder
