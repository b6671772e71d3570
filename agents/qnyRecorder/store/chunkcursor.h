// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "chunkbackend.h"

#include <deque>
#include <list>

namespace recorder {

// Streams the events of a window out of chunks that may overlap in time. Chunks are taken in the order of their first
// times, and one is unpacked only when the order of events needs it: what is held is what overlaps at one moment.
class ChunkCursor : public EventCursor
{
public:
    struct Window
    {
        std::int64_t startUs = 0;
        std::int64_t endUs = 0;
        std::uint64_t leastSequence = 0; // chunks before this one are left out
        std::int64_t maxSpanUs
            = 0; // of the record: no chunk that ends in the window begins earlier than this before it
        std::optional<EventPosition> after; // events up to this position are left out
    };

    // The backend must outlive the cursor.
    ChunkCursor(ChunkBackend& backend, const Window& window);
    ~ChunkCursor() override;

    Step next(EventView& event) override;
    EventPosition position() const override { return m_position; }
    const StoreResult& result() const override { return m_result; }
    std::vector<Damage> takeDamages() override;

private:
    struct Active
    {
        ChunkInfo info;
        std::string packed;
        std::vector<EventView> events; // by time, equal times in the order of arrival
        std::size_t at = 0;
    };

    bool lookAhead();
    bool activate();
    void choose();

    ChunkBackend& m_backend;
    Window m_window;
    std::deque<ChunkInfo> m_upcoming;
    bool m_upcomingEnds = false;
    std::int64_t m_askedFirstUs = 0;
    std::uint64_t m_askedSequence = 0;
    std::list<Active> m_active;
    std::list<Active>::iterator m_current;
    // m_current holds the next event as long as it comes before this.
    std::int64_t m_limitUs = 0;
    std::uint64_t m_limitSequence = 0;
    bool m_chosen = false;
    EventPosition m_position;
    StoreResult m_result;
    std::vector<Damage> m_damages;
};

} // namespace recorder
