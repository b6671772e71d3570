// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../event.h"
#include "result.h"

#include <compare>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace recorder {

// The contract of every place where records are kept; the embedded store (SQLite) is the first.
// tests/store/ holds the behaviour that all of them must show.
//
// Threads   A Store may be called from any thread. A writer, reader or cursor belongs to one thread at a time.
// Lifetime  Writers, readers and cursors must end before their store, a cursor before its reader.
// Errors    Nothing throws. A call that fails changes nothing unless it says so.

enum class RecordOrigin
{
    Recorded,
    Imported
};

// What is said of a record as a whole.
struct RecordFacts
{
    std::string uuid; // without braces; given by whoever creates the record, see newRecordUuid()
    std::string name;
    std::string description;
    std::int64_t startUs = 0; // microseconds since 1970 UTC
    std::int64_t durationUs = 0; // pauses cut out; never less than the time of the last event
    RecordOrigin origin = RecordOrigin::Recorded;
    Completeness completeness;
};

// A fresh uuid without braces.
std::string newRecordUuid();

// A line of the list of records.
struct RecordSummary
{
    std::string uuid;
    std::string name;
    std::int64_t startUs = 0;
    std::int64_t durationUs = 0; // of a record that is being recorded: as far as it is stored
    std::uint64_t events = 0;
    bool isOpen = false; // being recorded or imported now, here or by another recorder on the same store
    bool isOwnedHere = false; // by this store object
    bool isRecording = false; // open, and not yet whole: has no end
    RecordOrigin origin = RecordOrigin::Recorded;
};

// The answer to "get_records": a JSON array with "uuid", "name", "start_date", "end_date" (empty while recording) and
// "duration_us" of each record. The end is the start plus the duration.
std::string recordsToJson(const std::vector<RecordSummary>& records);

// Where an event stands in its record's order: by time, and among equal times as they were stored.
struct EventPosition
{
    std::int64_t timeUs = 0;
    std::uint64_t sequence = 0; // of the chunk
    std::uint32_t index = 0; // in the chunk
    std::int32_t bucket = 0; // of the chunk; follows from the sequence and takes no part in the order

    friend bool operator==(const EventPosition& left, const EventPosition& right)
    {
        return (left <=> right) == std::strong_ordering::equal;
    }
    friend std::strong_ordering operator<=>(const EventPosition& left, const EventPosition& right);
};

// A stretch of a record that cannot be read. Everything around it can.
struct Damage
{
    std::uint64_t sequence = 0;
    std::int64_t firstUs = 0;
    std::int64_t lastUs = 0;
    std::uint64_t events = 0; // how many are missing, as far as the store knows
    std::string reason;
};

// Streams events in order. Holds a few chunks at a time, whatever the record's length.
class EventCursor
{
public:
    enum class Step
    {
        Event,
        End,
        Failed // the store failed; result() says how. Calling next() again tries again from the same place
    };

    virtual ~EventCursor() = default;
    // The views in `event` are valid until the next call.
    virtual Step next(EventView& event) = 0;
    // Of the event that next() gave last.
    virtual EventPosition position() const = 0;
    virtual const StoreResult& result() const = 0;
    // What had to be left out since this was last asked.
    virtual std::vector<Damage> takeDamages() = 0;
};

// Reads one record. While a reader exists no recorder deletes the record.
class RecordReader
{
public:
    virtual ~RecordReader() = default;
    // As they stood when the reader was opened.
    virtual const RecordFacts& facts() const = 0;
    // In the order in which they were first stored.
    virtual const std::vector<AgentDefinition>& definitions() const = 0;
    virtual const std::vector<OutputValue>& initialValues() const = 0;
    // Every agent that the record knows of: defined, with an initial value or with events. Sorted, each once.
    std::vector<std::string> agents() const;

    // The events of [startUs, endUs], both included. Null when the store fails (`result` says how).
    virtual std::unique_ptr<EventCursor> events(std::int64_t startUs, std::int64_t endUs, StoreResult& result) = 0;
    // The events after a position, to the end of the record: how an export goes on.
    virtual std::unique_ptr<EventCursor> eventsAfter(const EventPosition& position, StoreResult& result) = 0;
    // The value that every output had just before timeUs: its last event strictly before, else its initial value;
    // outputs with neither are left out. Sorted by agent, then output. Together with events(timeUs, …) nothing comes
    // twice.
    virtual StoreResult stateBefore(std::int64_t timeUs, std::vector<OutputValue>& state) = 0;
    // Damages met by stateBefore() since this was last asked.
    virtual std::vector<Damage> takeDamages() = 0;
};

// Writes one record, which nobody else writes meanwhile. Events are gathered into chunks and stored in batches; a call
// that fails keeps what it could not store and tries again with the next call, up to a bound, beyond which events are
// dropped and counted as lost in the store.
class RecordWriter
{
public:
    // Closes the record as close() does when that was not called.
    virtual ~RecordWriter() = default;

    virtual const std::string& uuid() const = 0;

    // The last of two definitions of an agent holds. Stored with the next batch.
    virtual StoreResult define(std::string_view agent, std::string_view json) = 0;
    // The value that an output had when the recording (of its agent) started. The last of two holds.
    virtual StoreResult setInitial(std::string_view agent, std::string_view output, const ValueView& value) = 0;
    // Takes over a copy. A time below 0 is stored as 0. What is returned is the fate of the batch that this event
    // completed, if it did; the event itself is kept or counted in either case.
    virtual StoreResult append(const EventView& event) = 0;
    virtual void countLost(std::string_view agent, std::string_view output, LostIn where, std::uint64_t events) = 0;

    // To be called at least ten times a second while recording, with the length of the record so far: stores what is
    // older than the chunk's age (250 ms), and the length.
    virtual StoreResult tick(std::int64_t elapsedUs) = 0;
    // Stores everything that was given so far. The record is not closed, and has no end yet.
    virtual StoreResult flush() = 0;

    // What was said so far; the completeness is the claim of an imported file.
    virtual RecordFacts facts() const = 0;
    // For imports; may be given again at any time. Uuid and origin are left as they are. The completeness is what the
    // imported file claims: it is compared with what really came.
    virtual StoreResult setFacts(const RecordFacts& facts) = 0;
    // Stores everything that was given since the last settling, in one piece: all of it or nothing. After it the record
    // is whole as far as it goes: whatever happens then, it needs no repair. Imports store only by this and by close().
    virtual StoreResult settle() = 0;
    // Gives up what is not stored yet: it counts as lost in the store.
    virtual void dropUnstored() = 0;

    // Stores the rest and gives the record its end; nothing may be written afterwards. durationUs below the last
    // event's time is raised to that. When it fails it may be called again; the store goes on trying by itself when the
    // writer ends.
    virtual StoreResult close(std::int64_t durationUs) = 0;

    // So far. `remark` adds a sentence that stays with the record.
    virtual Completeness completeness() const = 0;
    virtual void remark(std::string_view sentence) = 0;
    virtual std::int64_t lastEventUs() const = 0;
    virtual std::uint64_t eventsStored() const = 0;
};

class Store
{
public:
    virtual ~Store() = default;

    // Where the records are, for messages: "/var/lib/recorder/records.db", "cassandra 127.0.0.1:9042".
    virtual std::string describe() const = 0;

    // In the order of their starts. `namePart`: only records whose name contains it, in any case; empty: all.
    virtual StoreResult records(std::string_view namePart, std::vector<RecordSummary>& list) = 0;
    // Grows whenever the list may have changed, by whomever on this store: cheap enough to be asked four times a
    // second. Lengths of running records do not count.
    virtual StoreResult listRevision(std::uint64_t& revision) = 0;

    // A new record with these facts; the writer is its owner. The record is listed when this returns.
    virtual StoreResult create(const RecordFacts& facts, std::unique_ptr<RecordWriter>& writer) = 0;
    // Goes on with an imported record (Refused for a recorded one, InUse while it is written elsewhere).
    virtual StoreResult resume(const std::string& uuid, std::unique_ptr<RecordWriter>& writer) = 0;
    virtual StoreResult open(const std::string& uuid, std::unique_ptr<RecordReader>& reader) = 0;

    virtual StoreResult rename(const std::string& uuid, const std::string& name) = 0;
    // InUse while a writer or reader of it is open, in any recorder. Quick: the space is given back in the background.
    virtual StoreResult remove(const std::string& uuid) = 0;

    // Called (from the store's own thread or from the calling one, with one sentence each) for what happens beside
    // requests: a record repaired after a crash, a store that could not be reached and is tried again.
    using MessageHandler = std::function<void(const std::string& message)>;
};

} // namespace recorder
