// SPDX-License-Identifier: Apache-2.0
#include "csvfilewriter.h"

#include "../../csv/csv.h"
#include "../../csv/facts.h"
#include "../../dates.h"
#include "closing.h"

#include <algorithm>

namespace recorder {

namespace {

// Between two rows that tell nothing but the length of a recording in which nothing happens: at first, and later.
constexpr std::int64_t lengthIntervalUs = 1'000'000;
constexpr std::int64_t silentLengthIntervalUs = 10'000'000;
constexpr std::int64_t lossesIntervalUs = 5'000'000;
// What the record's end takes at most, besides a little for each output.
constexpr std::uint64_t closingBaseBytes = 64 * 1024;
constexpr std::uint64_t closingOutputBytes = 200;

std::chrono::microseconds us(std::int64_t count)
{
    return std::chrono::microseconds(count);
}

bool saysAnything(const Completeness& completeness)
{
    return completeness.lost() > 0 || !completeness.remarks.empty();
}

} // namespace

CsvFileWriter::CsvFileWriter(std::shared_ptr<CsvFileContext> context, RecordFile file, CsvWriterStart start)
    : m_context(std::move(context))
    , m_file(std::move(file))
    , m_end(m_file.size())
    , m_facts(std::move(start.facts))
    , m_tally(std::move(start.tally))
    , m_closingBytes(closingBaseBytes)
    , m_events(start.events)
    , m_storedEvents(start.events)
    , m_highUs(start.lastEventUs)
    , m_storedHighUs(start.lastEventUs)
    , m_durationUs(std::max(m_facts.durationUs, start.lastEventUs))
    , m_storedDurationUs(m_durationUs)
    , m_lengthUs(m_durationUs)
    , m_isWhole(start.isWhole)
{
    RecordSummary live;
    live.uuid = m_facts.uuid;
    live.name = m_facts.name;
    live.startUs = m_facts.startUs;
    live.durationUs = m_durationUs;
    live.events = m_events;
    live.isOpen = true;
    live.isOwnedHere = true;
    live.isRecording = !m_isWhole;
    live.origin = m_facts.origin;
    const std::lock_guard guard(m_context->mutex);
    m_context->live[m_facts.uuid] = std::move(live);
}

CsvFileWriter::~CsvFileWriter()
{
    if (m_isClosed) {
        return;
    }
    if (!close(m_durationUs)) {
        dropUnstored();
        std::string rows;
        addFacts(rows, State::Closed);
        leave();
        if (!m_file.hasName()) {
            m_context->say("The record \"" + m_facts.name
                + "\" was deleted while it was written: nothing of it is stored any longer.");
            return;
        }
        {
            const std::lock_guard guard(m_context->mutex);
            m_context->orphans.push_back({ m_facts.uuid, std::move(m_file), std::move(rows) });
        }
        m_context->say("The record \"" + m_facts.name + "\" could not be closed yet; the store goes on trying.");
    }
}

// The record is written here no longer.
void CsvFileWriter::leave()
{
    const std::lock_guard guard(m_context->mutex);
    m_context->live.erase(m_facts.uuid);
}

StoreResult CsvFileWriter::refuseClosed() const
{
    return StoreResult::failed(StoreError::Refused, "The record \"" + m_facts.name + "\" is closed already.");
}

// Notes that something waits to be stored.
void CsvFileWriter::touch()
{
    if (!m_isDirty) {
        m_isDirty = true;
        m_dirtySince = Clock::now();
    }
}

StoreResult CsvFileWriter::define(std::string_view agent, std::string_view json)
{
    if (m_isClosed) {
        return refuseClosed();
    }
    csv::appendDefinition(m_rows, 0, agent, json);
    touch();
    return StoreResult::done();
}

StoreResult CsvFileWriter::setInitial(std::string_view agent, std::string_view output, const ValueView& value)
{
    if (m_isClosed) {
        return refuseClosed();
    }
    csv::appendInitial(m_rows, 0, agent, output, value);
    touch();
    return StoreResult::done();
}

StoreResult CsvFileWriter::append(const EventView& event)
{
    if (m_isClosed) {
        return refuseClosed();
    }
    Tally::Output& output = m_tally.output(event.agent, event.output);
    if (!isImport() && m_rows.size() >= m_context->options.pendingBytes) {
        StoreResult result = storeIfTime();
        if (m_rows.size() >= m_context->options.pendingBytes) {
            ++output.counts.lostStore;
            m_haveLossesChanged = true;
            return result ? m_failure : result;
        }
    }
    noteOutput(output);
    EventView row = event;
    row.timeUs = std::max<std::int64_t>(event.timeUs, 0);
    csv::appendEvent(m_rows, row);
    Tally::count(output, row.timeUs);
    ++m_events;
    m_highUs = std::max(m_highUs, row.timeUs);
    m_durationUs = std::max(m_durationUs, m_highUs);
    touch();
    return !isImport() && m_rows.size() >= m_context->options.batchBytes ? storeIfTime() : StoreResult::done();
}

void CsvFileWriter::countLost(std::string_view agent, std::string_view output, LostIn where, std::uint64_t events)
{
    noteOutput(m_tally.output(agent, output));
    m_tally.countLost(agent, output, where, events);
    m_haveLossesChanged = true;
}

// The record's end tells of every output.
void CsvFileWriter::noteOutput(const Tally::Output& output)
{
    const OutputCompleteness& counts = output.counts;
    if (counts.stored == 0 && counts.lost() == 0) {
        m_closingBytes += 2 * (counts.agent.size() + counts.output.size()) + closingOutputBytes;
    }
}

void CsvFileWriter::remark(std::string_view sentence)
{
    m_tally.remark(sentence);
    m_haveLossesChanged = true;
}

StoreResult CsvFileWriter::tick(std::int64_t elapsedUs)
{
    if (m_isClosed) {
        return refuseClosed();
    }
    m_durationUs = std::max(m_durationUs, elapsedUs);
    if (isImport()) {
        return StoreResult::done();
    }
    {
        const std::lock_guard guard(m_context->mutex);
        m_context->live[m_facts.uuid].durationUs = m_durationUs;
    }
    const bool isOldEnough = m_isDirty && Clock::now() - m_dirtySince >= us(m_context->options.ageUs);
    return isOldEnough || isLengthOld() ? storeIfTime() : StoreResult::done();
}

StoreResult CsvFileWriter::flush()
{
    return m_isClosed ? refuseClosed() : store(State::Going);
}

RecordFacts CsvFileWriter::facts() const
{
    RecordFacts facts = m_facts;
    facts.durationUs = m_durationUs;
    return facts;
}

StoreResult CsvFileWriter::setFacts(const RecordFacts& facts)
{
    if (m_isClosed) {
        return refuseClosed();
    }
    m_facts.description = facts.description;
    m_facts.startUs = facts.startUs;
    m_facts.completeness = facts.completeness;
    m_durationUs = std::max({ facts.durationUs, m_storedDurationUs, m_highUs });
    m_haveFactsChanged = true;
    touch();
    return StoreResult::done();
}

StoreResult CsvFileWriter::settle()
{
    return m_isClosed ? refuseClosed() : store(State::Whole);
}

void CsvFileWriter::dropUnstored()
{
    csv::Reader reader;
    reader.feed(m_rows);
    reader.finish();
    csv::Entry entry;
    while (reader.next(entry) == csv::Reader::Step::Row) {
        if (const Event* event = std::get_if<Event>(&entry)) {
            OutputCompleteness& counts = m_tally.output(event->agent, event->output).counts;
            --counts.stored;
            ++counts.lostStore;
            m_haveLossesChanged = true;
        }
    }
    m_rows.clear();
    m_events = m_storedEvents;
    m_highUs = m_storedHighUs;
    m_durationUs = isImport() ? m_storedDurationUs : std::max(m_storedDurationUs, m_durationUs);
}

StoreResult CsvFileWriter::close(std::int64_t durationUs)
{
    if (m_isClosed) {
        return refuseClosed();
    }
    m_durationUs = std::max(m_durationUs, durationUs);
    StoreResult result = store(State::Closed);
    if (!result && result.error == StoreError::Full) {
        dropUnstored();
        remark("The store was full: what came last could not be stored.");
        result = store(State::Closed, true);
    }
    return result;
}

Completeness CsvFileWriter::completeness() const
{
    return withClaim(m_facts.completeness, m_tally.completeness());
}

// ---- storing

// How long the record is as far as its file tells.
std::int64_t CsvFileWriter::knownLengthUs() const
{
    return std::max(m_highUs, m_lengthUs);
}

bool CsvFileWriter::isLengthOld() const
{
    const bool isSilent = m_lengthUs - m_highUs >= silentLengthIntervalUs;
    return m_durationUs - knownLengthUs() >= (isSilent ? silentLengthIntervalUs : lengthIntervalUs);
}

bool CsvFileWriter::areLossesOld() const
{
    return m_haveLossesChanged && m_durationUs - m_lossesUs >= lossesIntervalUs;
}

// What the file does not say yet about the record as a whole.
void CsvFileWriter::addFacts(std::string& rows, State state)
{
    if (m_haveFactsChanged) {
        csv::appendFact(rows, "start_date", toCsvDate(m_facts.startUs));
        csv::appendFact(rows, "description", m_facts.description);
        if (!m_facts.completeness.outputs.empty() || !m_facts.completeness.remarks.empty()) {
            csv::appendFact(rows, "completeness", m_facts.completeness.toJson());
        }
    }
    if (state == State::Going) {
        if (areLossesOld()) {
            csv::appendFact(rows, "completeness", m_tally.completeness().toJson());
        }
        if (isLengthOld()) {
            csv::appendFact(rows, "duration_us", m_durationUs);
        }
        return;
    }
    // Of an import it is what its file claims, unless there is more to say.
    if (!isImport()) {
        csv::appendFact(rows, "completeness", m_tally.completeness().toJson());
    } else if (state == State::Closed && m_haveLossesChanged && saysAnything(m_tally.completeness())) {
        csv::appendFact(rows, "completeness", completeness().toJson());
    }
    appendClosing(rows, { m_facts.name, m_facts.startUs, m_durationUs, m_events, m_facts.origin });
}

// They were written.
void CsvFileWriter::noteFactsWritten(State state)
{
    if (state != State::Going || isLengthOld()) {
        m_lengthUs = m_durationUs;
    }
    if (state == State::Going ? areLossesOld() : !isImport()) {
        m_haveLossesChanged = false;
        m_lossesUs = m_durationUs;
    }
    m_haveFactsChanged = false;
}

// Somebody may have renamed the record: such a row stands behind what this writer wrote last.
StoreResult CsvFileWriter::adoptRowsOfOthers()
{
    std::uint64_t size = m_file.size();
    if (size > m_end) {
        std::string rows;
        if (StoreResult result = m_file.read(m_end, size - m_end, rows); !result) {
            return result;
        }
        csv::Reader reader;
        reader.feed(rows);
        csv::Entry entry;
        csv::Reader::Step step = reader.next(entry);
        for (; step == csv::Reader::Step::Row; step = reader.next(entry)) {
            const csv::Fact* fact = std::get_if<csv::Fact>(&entry);
            if (fact && fact->name == "name") {
                m_facts.name = fact->value;
            }
        }
        // Who adds rows ended in the middle of one: the next must not be glued to it.
        if (step == csv::Reader::Step::NeedMore && reader.offset() < rows.size()) {
            size = m_end + reader.offset();
            if (StoreResult result = m_file.replaceEnd(size, {}); !result) {
                return result;
            }
        }
    }
    m_end = size;
    return StoreResult::done();
}

StoreResult CsvFileWriter::write(State state, bool isLastAttempt)
{
    if (!m_file.hasName()) {
        return StoreResult::failed(StoreError::NotFound,
            "The file " + m_file.path().string() + " was deleted: nothing more is stored in this record.");
    }
    if (StoreResult result = adoptRowsOfOthers(); !result) {
        return result;
    }
    const std::size_t events = m_rows.size();
    addFacts(m_rows, state);
    // Only the very end may use what was set aside for it.
    StoreResult result = m_file.append(m_rows, isLastAttempt ? 0 : m_closingBytes);
    m_end = m_file.size();
    if (!result) {
        m_rows.resize(events);
        return result;
    }
    noteFactsWritten(state);
    if (state == State::Closed) {
        m_file.giveUpReserve();
    }
    return result;
}

StoreResult CsvFileWriter::store(State state, bool isLastAttempt)
{
    const bool isNew = m_isDirty || m_haveLossesChanged || !m_isWhole || m_durationUs != m_storedDurationUs;
    StoreResult result;
    const bool tellsOthers = state == State::Closed || m_haveFactsChanged || (state == State::Whole && isNew);
    if (isNew && (state != State::Going || m_isDirty || isLengthOld())) {
        result = m_file.lockSoon(RecordFile::Part::Editing);
        if (result) {
            result = write(state, isLastAttempt);
            m_file.unlock(RecordFile::Part::Editing);
        }
    }
    if (!result) {
        m_failure = result;
        m_failedAt = Clock::now();
        return result;
    }
    m_failure = StoreResult::done();
    m_rows.clear();
    m_isDirty = false;
    m_storedEvents = m_events;
    m_storedHighUs = m_highUs;
    m_storedDurationUs = m_durationUs;
    m_isWhole = state != State::Going;
    if (state == State::Closed) {
        m_isClosed = true;
        leave();
        m_file = RecordFile();
    } else {
        const std::lock_guard guard(m_context->mutex);
        RecordSummary& live = m_context->live[m_facts.uuid];
        live.name = m_facts.name;
        live.startUs = m_facts.startUs;
        live.durationUs = m_durationUs;
        live.events = m_events;
        live.isRecording = !m_isWhole;
    }
    if (tellsOthers) {
        m_context->listChanged();
    }
    return result;
}

// Stores unless the store has failed just now.
StoreResult CsvFileWriter::storeIfTime()
{
    if (!m_failure && Clock::now() - m_failedAt < us(m_context->options.retryUs)) {
        return StoreResult::done();
    }
    return store(State::Going);
}

} // namespace recorder
