// SPDX-License-Identifier: Apache-2.0
#include "chunkedreader.h"

#include "../chunk/packedchunk.h"
#include "chunkcursor.h"
#include "tally.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <map>
#include <set>

namespace recorder {

namespace {

struct Held
{
    std::int64_t timeUs = -1;
    Value value;
};
// Sorted by agent, then output; both joined by a byte that no name holds, so that one look-up needs no second string.
using Values = std::map<std::string, Held, std::less<>>;

} // namespace

std::vector<std::string> RecordReader::agents() const
{
    std::set<std::string> names;
    for (const AgentDefinition& definition : definitions()) {
        names.insert(definition.agent);
    }
    for (const OutputValue& initial : initialValues()) {
        names.insert(initial.agent);
    }
    for (const OutputCompleteness& output : facts().completeness.outputs) {
        if (output.stored > 0) {
            names.insert(output.agent);
        }
    }
    return { names.begin(), names.end() };
}

ChunkedReader::ChunkedReader(std::unique_ptr<ChunkBackend> backend, RecordFacts facts,
    std::vector<AgentDefinition> definitions, std::vector<OutputValue> initialValues)
    : m_backend(std::move(backend))
    , m_facts(std::move(facts))
    , m_definitions(std::move(definitions))
    , m_initialValues(std::move(initialValues))
{
    // Out of a database that somebody else may have written.
    m_facts.durationUs = std::max<std::int64_t>(m_facts.durationUs, 0);
}

ChunkedReader::~ChunkedReader() = default;

std::unique_ptr<EventCursor> ChunkedReader::events(std::int64_t startUs, std::int64_t endUs, StoreResult& result)
{
    // Asked afresh: a record that is still being written grows.
    Extent extent;
    result = m_backend->extent(extent);
    if (!result) {
        return nullptr;
    }
    ChunkCursor::Window window;
    window.startUs = startUs;
    window.endUs = endUs;
    window.maxSpanUs = extent.maxSpanUs;
    return std::make_unique<ChunkCursor>(*m_backend, window);
}

std::unique_ptr<EventCursor> ChunkedReader::eventsAfter(const EventPosition& position, StoreResult& result)
{
    Extent extent;
    result = m_backend->extent(extent);
    if (!result) {
        return nullptr;
    }
    ChunkCursor::Window window;
    window.endUs = std::numeric_limits<std::int64_t>::max();
    window.maxSpanUs = extent.maxSpanUs;
    window.after = position;
    return std::make_unique<ChunkCursor>(*m_backend, window);
}

StoreResult ChunkedReader::stateBefore(std::int64_t timeUs, std::vector<OutputValue>& state)
{
    state.clear();
    Values values;
    std::string key;
    for (const OutputValue& initial : m_initialValues) {
        joinName(key, initial.agent, initial.output);
        values[key] = { -1, initial.value };
    }
    if (timeUs > 0) {
        Extent extent;
        if (StoreResult result = m_backend->extent(extent); !result) {
            return result;
        }
        // The latest stored state before that moment, or an earlier one when it is damaged.
        ChunkCursor::Window window;
        window.endUs = timeUs - 1;
        for (std::int64_t upToUs = timeUs - 1;;) {
            StoredState stored;
            bool found = false;
            if (StoreResult result = m_backend->stateUpTo(upToUs, stored, found); !result) {
                return result;
            }
            if (!found) {
                break;
            }
            ChunkHeader header;
            std::vector<EventView> last;
            std::string reason;
            if (unpackChunk(stored.packed, header, last, reason) && header.kind == ChunkKind::State) {
                for (const EventView& event : last) {
                    joinName(key, event.agent, event.output);
                    values[key] = { event.timeUs, event.value };
                }
                window.leastSequence = stored.throughSequence;
                const std::int64_t lateUs = std::max<std::int64_t>(0, extent.maxLateUs);
                window.startUs = stored.timeUs > lateUs ? stored.timeUs - lateUs : 0;
                break;
            }
            m_damages.push_back({ stored.throughSequence, stored.timeUs, stored.timeUs, 0,
                "a stored state is damaged and was passed over: " + reason });
            if (stored.timeUs <= 0) {
                break;
            }
            upToUs = stored.timeUs - 1;
        }
        window.maxSpanUs = extent.maxSpanUs;
        ChunkCursor cursor(*m_backend, window);
        EventView event;
        EventCursor::Step step = cursor.next(event);
        for (; step == EventCursor::Step::Event; step = cursor.next(event)) {
            joinName(key, event.agent, event.output);
            auto place = values.find(key);
            if (place == values.end()) {
                place = values.emplace(key, Held()).first;
            }
            if (event.timeUs >= place->second.timeUs) {
                place->second.timeUs = event.timeUs;
                place->second.value = event.value;
            }
        }
        std::vector<Damage> damages = cursor.takeDamages();
        std::move(damages.begin(), damages.end(), std::back_inserter(m_damages));
        if (step == EventCursor::Step::Failed) {
            return cursor.result();
        }
    }
    state.reserve(values.size());
    for (auto& [name, held] : values) {
        const std::size_t cut = name.find('\0');
        state.push_back({ name.substr(0, cut), name.substr(cut + 1), std::move(held.value) });
    }
    return StoreResult::done();
}

std::vector<Damage> ChunkedReader::takeDamages()
{
    return std::exchange(m_damages, {});
}

} // namespace recorder
