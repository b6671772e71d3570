// SPDX-License-Identifier: Apache-2.0
#include "exchange.h"
#include "facts.h"
#include "utf8.h"

#include <array>
#include <charconv>
#include <cstdio>

namespace recorder::csv {

namespace {

// A cursor's uuid holds 128 bits: whether it stands among the events (1), then either the number of the next header
// row, or the time (63), the chunk (40) and the place in the chunk (24) of the last event sent.
constexpr std::uint64_t amongEvents = std::uint64_t(1) << 63;
constexpr std::uint64_t mostSequence = (std::uint64_t(1) << 40) - 1;
constexpr std::uint32_t mostIndex = 0xFFFFFF;
constexpr std::size_t mostContentBytes = 60 * 1024 * 1024; // of the 64 MiB that a call may have

ExportCursor makeCursor(std::uint64_t high, std::uint64_t low, std::int32_t bucket)
{
    std::array<char, 40> text {};
    std::snprintf(text.data(), text.size(), "%08x-%04x-%04x-%04x-%012llx", static_cast<unsigned>(high >> 32),
        static_cast<unsigned>((high >> 16) & 0xFFFF), static_cast<unsigned>(high & 0xFFFF),
        static_cast<unsigned>(low >> 48), static_cast<unsigned long long>(low & 0xFFFFFFFFFFFF));
    return { bucket, text.data() };
}

ExportCursor cursorAtRow(std::size_t row)
{
    return makeCursor(0, row, 0);
}

ExportCursor cursorAfter(const EventPosition& position)
{
    return makeCursor(amongEvents | static_cast<std::uint64_t>(position.timeUs),
        position.sequence << 24 | (position.index & 0xFFFFFF), position.bucket);
}

bool parseCursor(const std::string& uuid, std::uint64_t& high, std::uint64_t& low)
{
    if (uuid.size() != 36 || uuid[8] != '-' || uuid[13] != '-' || uuid[18] != '-' || uuid[23] != '-') {
        return false;
    }
    std::string digits;
    for (const char c : uuid) {
        if (c != '-') {
            digits += c;
        }
    }
    const char* begin = digits.data();
    const auto first = std::from_chars(begin, begin + 16, high, 16);
    const auto second = std::from_chars(begin + 16, begin + digits.size(), low, 16);
    return digits.size() == 32 && first.ec == std::errc() && first.ptr == begin + 16 && second.ec == std::errc()
        && second.ptr == begin + 32;
}

// Rows gathered so far, against their bounds.
struct Gathering
{
    std::string& content;
    const ExportLimits& limits;
    std::size_t rows = 0;
    std::size_t eventRows = 0;

    bool fits(std::size_t bytes) const
    {
        return rows == 0 || (rows < limits.rows && content.size() + bytes <= limits.bytes);
    }
};

StoreResult exportEvents(EventCursor& events, Gathering& gathering, EventPosition& last, bool& more)
{
    EventView event;
    std::string row;
    more = false;
    for (;;) {
        switch (events.next(event)) {
        case EventCursor::Step::Failed:
            return events.result();
        case EventCursor::Step::End:
            return StoreResult::done();
        case EventCursor::Step::Event:
            row.clear();
            appendEvent(row, event);
            // The first event goes with the header rows, so that the chunk ends on a row that tells the progress.
            if (gathering.eventRows > 0 && !gathering.fits(row.size())) {
                more = true;
                return StoreResult::done();
            }
            gathering.content += row;
            ++gathering.rows;
            ++gathering.eventRows;
            last = events.position();
            if (last.sequence > mostSequence || last.index > mostIndex) {
                return StoreResult::failed(StoreError::Damaged,
                    "The record is damaged: no recorder numbers a chunk " + std::to_string(last.sequence)
                        + " or an event in it " + std::to_string(last.index) + ", and nothing could go on after it.");
            }
            break;
        }
    }
}

} // namespace

StoreResult exportChunk(
    RecordReader& reader, const ExportCursor& cursor, ExportChunk& chunk, const ExportLimits& limits)
{
    chunk = {};
    std::uint64_t high = 0;
    std::uint64_t low = 0;
    if (!cursor.isEmpty() && !parseCursor(cursor.uuid, high, low)) {
        return StoreResult::failed(
            StoreError::Refused, "\"" + cursor.uuid + "\" is no place at which an export could go on.");
    }
    Gathering gathering { chunk.content, limits };
    StoreResult result;
    std::unique_ptr<EventCursor> events;
    if (high & amongEvents) {
        EventPosition position;
        position.timeUs = static_cast<std::int64_t>(high & ~amongEvents);
        position.sequence = low >> 24;
        position.index = static_cast<std::uint32_t>(low & 0xFFFFFF);
        events = reader.eventsAfter(position, result);
    } else {
        const std::vector<std::string> rows = headerRows(reader.facts(), reader.definitions(), reader.initialValues());
        for (std::size_t row = static_cast<std::size_t>(low); row < rows.size(); ++row) {
            if (!gathering.fits(rows[row].size())) {
                chunk.next = cursorAtRow(row);
                break;
            }
            chunk.content += rows[row];
            ++gathering.rows;
        }
        if (chunk.next.isEmpty()) {
            events = reader.events(0, INT64_MAX, result);
        }
    }
    if (!result) {
        return result;
    }
    if (events) {
        EventPosition last;
        bool more = false;
        result = exportEvents(*events, gathering, last, more);
        chunk.damages = events->takeDamages();
        if (!result) {
            chunk.content.clear();
            return result;
        }
        if (more) {
            chunk.next = cursorAfter(last);
        }
    }
    if (chunk.content.size() > mostContentBytes) {
        // The network would not take it, and who asked would wait for ever.
        chunk.content.clear();
        return StoreResult::failed(StoreError::Refused,
            "The record has a row of more than " + std::to_string(mostContentBytes / 1024 / 1024)
                + " MiB, which cannot be sent.");
    }
    if (!isText(chunk.content)) {
        // It would be cut there on its way, and nobody told.
        return StoreResult::failed(
            StoreError::Damaged, "The record is damaged: its name, its description or a definition in it is no text.");
    }
    if (!chunk.content.empty()) {
        chunk.content.pop_back(); // the module ends the last row itself
    }
    return StoreResult::done();
}

} // namespace recorder::csv
