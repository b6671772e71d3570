// SPDX-License-Identifier: Apache-2.0
#include "journal.h"

#include "../../chunk/bytes.h"
#include "../../chunk/checksum.h"
#include "batchbytes.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace recorder {

namespace {

constexpr std::string_view slotMagic = "RRSPILL\n";
constexpr std::uint32_t journalVersion = 1;
constexpr std::uint64_t slotBytes = 1024 * 1024;
constexpr std::size_t slotHeaderBytes = 28;
constexpr std::uint64_t framesAt = 2 * slotBytes;

constexpr std::string_view frameMagic = "RRSF";
constexpr std::size_t frameHeaderBytes = 32;
constexpr std::uint64_t mostFrameBytes = 1024 * 1024 * 1024;

constexpr std::uint64_t persistBytes = 1024 * 1024; // drained between two notes of how far

bool readAt(int descriptor, std::uint64_t offset, char* bytes, std::size_t size)
{
    while (size > 0) {
        const ssize_t count = ::pread(descriptor, bytes, size, static_cast<off_t>(offset));
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            return false;
        }
        bytes += count;
        offset += static_cast<std::uint64_t>(count);
        size -= static_cast<std::size_t>(count);
    }
    return true;
}

bool writeAt(int descriptor, std::uint64_t offset, std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t count = ::pwrite(descriptor, bytes.data(), bytes.size(), static_cast<off_t>(offset));
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(count));
        offset += static_cast<std::uint64_t>(count);
    }
    return true;
}

std::uint64_t sizeOf(int descriptor)
{
    struct stat state
    {
    };
    return ::fstat(descriptor, &state) == 0 ? static_cast<std::uint64_t>(state.st_size) : 0;
}

std::string packState(const Journal::State& state)
{
    std::string out;
    out += state.isMade ? '\1' : '\0';
    putVarint(out, state.drainedThrough);
    putVarint(out, state.eventsThrough);
    putVarint(out, state.damagedEvents);
    putVarint(out, state.lossesNumber);
    putVarint(out, state.owners.size());
    for (const std::string& owner : state.owners) {
        putBytes(out, owner);
    }
    out += state.losses ? '\1' : '\0';
    if (state.losses) {
        putBytes(out, packBatch(*state.losses));
    }
    return out;
}

bool unpackState(std::string_view bytes, Journal::State& state)
{
    Taker taker(bytes);
    state.isMade = taker.little<std::uint8_t>() == 1;
    state.drainedThrough = taker.varint();
    state.eventsThrough = taker.varint();
    state.damagedEvents = taker.varint();
    state.lossesNumber = taker.varint();
    for (std::uint64_t i = taker.varint(); i > 0 && taker.isGood(); --i) {
        state.owners.emplace_back(taker.bytes());
    }
    if (taker.little<std::uint8_t>() == 1 && !unpackBatch(taker.bytes(), state.losses.emplace())) {
        return false;
    }
    return taker.isGood() && taker.isAtEnd();
}

// The sum of all outputs in place of the counts of each. What is stored can be counted once more, so this counts as if
// nothing had been.
void keepTotalsOnly(Batch& losses)
{
    losses.facts.reset();
    Completeness each;
    std::string reason;
    if (!losses.completeness || !Completeness::fromJson(*losses.completeness, each, reason)) {
        losses.completeness.reset();
        return;
    }
    Completeness totals;
    totals.remarks = each.remarks;
    totals.remarks.push_back("There was no room on the recorder's own disk for the counts of "
        + std::to_string(each.outputs.size()) + " outputs: together " + std::to_string(each.stored())
        + " events are stored and " + std::to_string(each.lost()) + " are lost.");
    losses.completeness = totals.toJson();
    losses.completenessThrough = 0;
}

} // namespace

bool SpillBudget::take(std::uint64_t bytes)
{
    std::uint64_t used = m_used;
    while (used + bytes <= m_limit) {
        if (m_used.compare_exchange_weak(used, used + bytes)) {
            return true;
        }
    }
    return false;
}

std::uint64_t Journal::Frame::end() const
{
    return offset + frameHeaderBytes + length;
}

Journal::Journal(std::filesystem::path file, SpillBudget& budget)
    : m_file(std::move(file))
    , m_budget(budget)
{
}

Journal::~Journal()
{
    m_budget.giveBack(m_charged);
    if (m_descriptor >= 0) {
        ::close(m_descriptor);
    }
}

StoreResult Journal::failure(StoreError error, const char* doing) const
{
    return StoreResult::failed(
        error, "The journal " + m_file.string() + " cannot be " + doing + " (" + std::strerror(errno) + ").");
}

StoreResult Journal::lock(bool mustExist)
{
    m_descriptor = ::open(m_file.c_str(), O_RDWR | O_CLOEXEC | (mustExist ? 0 : O_CREAT), 0644);
    if (m_descriptor < 0) {
        return failure(errno == ENOSPC ? StoreError::Overflow : StoreError::Unreachable, mustExist ? "opened" : "made");
    }
    if (::flock(m_descriptor, LOCK_EX | LOCK_NB) != 0) {
        return failure(errno == EWOULDBLOCK ? StoreError::InUse : StoreError::Unreachable, "locked");
    }
    struct stat state
    {
    };
    if (::fstat(m_descriptor, &state) != 0) {
        return failure(StoreError::Unreachable, "locked");
    }
    if (state.st_nlink == 0) { // whoever had it open before has stored all of it since we opened it
        errno = ENOENT;
        return failure(StoreError::InUse, mustExist ? "opened" : "made");
    }
    return StoreResult::done();
}

// ---- making and opening -----------------------------------------------------------------------------------------

std::unique_ptr<Journal> Journal::create(
    const std::filesystem::path& file, const RecordFacts& facts, State state, SpillBudget& budget, StoreResult& result)
{
    std::unique_ptr<Journal> journal(new Journal(file, budget));
    result = journal->lock(false);
    if (!result) {
        return nullptr;
    }
    // What tells of losses must always have room.
    if (::ftruncate(journal->m_descriptor, 0) != 0) {
        result = journal->failure(StoreError::Overflow, "made");
        return nullptr;
    }
    if (const int error = ::posix_fallocate(journal->m_descriptor, 0, static_cast<off_t>(framesAt)); error != 0) {
        errno = error;
        result = journal->failure(StoreError::Overflow, "made");
        journal->remove();
        return nullptr;
    }
    journal->m_facts = facts;
    journal->m_end = framesAt;
    journal->m_nextNumber = 0;
    const bool holdsFacts = journal->writeFrame(0, packFacts(facts));
    state.drainedThrough = journal->m_end;
    journal->m_drainedEnd = journal->m_end;
    journal->m_drainedEvents = state.eventsThrough;
    journal->m_persistedEnd = journal->m_end;
    journal->m_punchedEnd = journal->m_end;
    if (!holdsFacts || !journal->writeState(state)) {
        result = journal->failure(StoreError::Overflow, "written");
        journal->remove();
        return nullptr;
    }
    journal->m_state = std::move(state);
    return journal;
}

std::unique_ptr<Journal> Journal::open(const std::filesystem::path& file, SpillBudget& budget, StoreResult& result)
{
    std::unique_ptr<Journal> journal(new Journal(file, budget));
    result = journal->lock(true);
    if (result) {
        result = journal->readState();
    }
    if (!result) {
        return nullptr;
    }
    journal->walk();
    return journal;
}

StoreResult Journal::readState()
{
    std::array<State, 2> states;
    std::array<std::uint64_t, 2> generations {};
    const bool first = readSlot(0, states[0], generations[0]);
    const bool second = readSlot(1, states[1], generations[1]);
    const std::size_t latest = second && (!first || generations[1] > generations[0]) ? 1 : 0;
    if (m_newerVersion) {
        return StoreResult::failed(StoreError::NewerVersion,
            "The journal " + m_file.string()
                + " was written by a newer recorder: start that one, so that it is stored.");
    }
    Frame frame;
    std::string payload;
    if (!readFrame(framesAt, frame) || !readPayload(frame, payload) || !unpackFacts(payload, m_facts)) {
        return StoreResult::failed(StoreError::Damaged,
            sizeOf(m_descriptor) <= framesAt
                ? std::string()
                : "The journal " + m_file.string() + " is damaged, so that it cannot be told whose events it holds.");
    }
    if (first || second) {
        m_state = std::move(states[latest]);
        m_generation = generations[latest];
        m_slot = static_cast<int>(latest);
    }
    // No batch stands before the facts: what was given back of the budget must have been taken.
    m_state.drainedThrough = std::max(m_state.drainedThrough, frame.end());
    m_end = frame.end();
    return StoreResult::done();
}

// Finds where the frames end, and what the record comes to with them.
void Journal::walk()
{
    const std::uint64_t size = sizeOf(m_descriptor);
    std::uint64_t at = m_state.drainedThrough;
    std::vector<Frame> tail; // the last few
    m_end = at;
    Frame frame;
    while (at < size && (readFrame(at, frame) || findFrame(at + 1, size, frame)) && frame.end() <= size) {
        m_charged += frame.end() - at;
        m_waitingEvents += frame.events;
        m_nextNumber = frame.number + 1;
        at = frame.end();
        m_end = at;
        tail.push_back(frame);
        if (tail.size() > 3) {
            tail.erase(tail.begin());
        }
    }
    m_budget.takeAnyway(m_charged);
    if (m_end < size) {
        (void)!::ftruncate(m_descriptor, static_cast<off_t>(m_end)); // what stays is written over
    }
    m_drainedEnd = m_state.drainedThrough;
    m_drainedEvents = m_state.eventsThrough;
    m_persistedEnd = m_drainedEnd;
    m_punchedEnd = m_drainedEnd;
    Batch batch;
    for (auto last = tail.rbegin(); last != tail.rend(); ++last) {
        if (readBatch(*last, batch)) {
            noteBatch(batch);
            break;
        }
    }
    if (m_state.losses && m_state.lossesNumber + 1 >= m_nextNumber) {
        noteBatch(*m_state.losses);
    }
}

void Journal::noteBatch(const Batch& batch)
{
    m_extent = batch.extent;
    m_hasLast = batch.last;
}

// ---- the state: two slots, the one on the disk itself is never written over ---------------------------------------------------------------------

bool Journal::readSlot(int slot, State& state, std::uint64_t& generation) const
{
    std::string header(slotHeaderBytes, '\0');
    const auto offset = static_cast<std::uint64_t>(slot) * slotBytes;
    if (!readAt(m_descriptor, offset, header.data(), header.size()) || !header.starts_with(slotMagic)) {
        return false;
    }
    Taker taker(std::string_view(header).substr(slotMagic.size()));
    const auto version = taker.little<std::uint32_t>();
    generation = taker.little<std::uint64_t>();
    const auto length = taker.little<std::uint32_t>();
    const auto checksum = taker.little<std::uint32_t>();
    if (length > slotBytes - slotHeaderBytes) {
        return false;
    }
    std::string content(length, '\0');
    if (!readAt(m_descriptor, offset + slotHeaderBytes, content.data(), content.size())
        || crc32c(content, crc32c(std::string_view(header).substr(0, slotHeaderBytes - 4))) != checksum) {
        return false;
    }
    if (version > journalVersion) {
        const_cast<Journal*>(this)->m_newerVersion = true;
        return false;
    }
    return unpackState(content, state);
}

bool Journal::writeState(const State& state)
{
    const std::string content = packState(state);
    if (content.size() > slotBytes - slotHeaderBytes) {
        errno = EFBIG;
        return false;
    }
    std::string out(slotMagic);
    putLittle(out, journalVersion);
    putLittle(out, m_generation + 1);
    putLittle(out, static_cast<std::uint32_t>(content.size()));
    putLittle(out, crc32c(content, crc32c(out)));
    out += content;
    const int slot = 1 - (m_syncedSlot >= 0 ? m_syncedSlot : m_slot);
    if (!writeAt(m_descriptor, static_cast<std::uint64_t>(slot) * slotBytes, out)) {
        return false;
    }
    m_slot = slot;
    ++m_generation;
    m_mustSync = true;
    return true;
}

// Writes down how far it is drained. What fails is drained once more after a restart.
void Journal::persist()
{
    if (writeState(m_state)) {
        m_persistedEnd = m_state.drainedThrough;
    }
}

Journal::State Journal::state() const
{
    const std::lock_guard guard(m_mutex);
    return m_state;
}

std::uint64_t Journal::waitingBytes() const
{
    const std::lock_guard guard(m_mutex);
    return m_end - m_drainedEnd;
}

std::uint64_t Journal::waitingEvents() const
{
    const std::lock_guard guard(m_mutex);
    return m_waitingEvents;
}

Extent Journal::extent() const
{
    const std::lock_guard guard(m_mutex);
    return m_extent;
}

bool Journal::hasLast() const
{
    const std::lock_guard guard(m_mutex);
    return m_hasLast;
}

void Journal::setMade()
{
    const std::lock_guard guard(m_mutex);
    m_state.isMade = true;
    persist();
}

void Journal::addOwner(const std::string& token)
{
    const std::lock_guard guard(m_mutex);
    m_state.owners.push_back(token);
    persist();
}

// ---- frames -----------------------------------------------------------------------------------------------------

bool Journal::writeFrame(std::uint32_t events, const std::string& payload)
{
    std::string out(frameMagic);
    putLittle(out, static_cast<std::uint32_t>(payload.size()));
    putLittle(out, m_nextNumber);
    putLittle(out, events);
    putLittle(out, crc32c(payload));
    putLittle(out, std::uint32_t(0));
    putLittle(out, crc32c(out));
    out += payload;
    if (payload.size() > mostFrameBytes) {
        errno = EFBIG;
        return false;
    }
    if (!writeAt(m_descriptor, m_end, out)) {
        const int error = errno;
        (void)!::ftruncate(m_descriptor, static_cast<off_t>(m_end)); // else it is cut off by whoever opens it
        errno = error;
        return false;
    }
    m_end += out.size();
    ++m_nextNumber;
    m_mustSync = true;
    return true;
}

bool Journal::readFrame(std::uint64_t offset, Frame& frame) const
{
    std::string header(frameHeaderBytes, '\0');
    if (!readAt(m_descriptor, offset, header.data(), header.size()) || !header.starts_with(frameMagic)) {
        return false;
    }
    Taker taker(std::string_view(header).substr(frameMagic.size()));
    frame.offset = offset;
    frame.length = taker.little<std::uint32_t>();
    frame.number = taker.little<std::uint64_t>();
    frame.events = taker.little<std::uint32_t>();
    frame.checksum = taker.little<std::uint32_t>();
    (void)taker.little<std::uint32_t>();
    const std::string_view checked = std::string_view(header).substr(0, frameHeaderBytes - 4);
    return taker.little<std::uint32_t>() == crc32c(checked) && frame.length <= mostFrameBytes;
}

bool Journal::readPayload(const Frame& frame, std::string& payload) const
{
    payload.resize(frame.length);
    return readAt(m_descriptor, frame.offset + frameHeaderBytes, payload.data(), payload.size())
        && crc32c(payload) == frame.checksum;
}

bool Journal::readBatch(const Frame& frame, Batch& batch) const
{
    std::string payload;
    return readPayload(frame, payload) && unpackBatch(payload, batch);
}

// The first frame whose beginning is whole, from an offset on: behind a damaged one.
bool Journal::findFrame(std::uint64_t from, std::uint64_t before, Frame& frame) const
{
    std::string window;
    while (from + frameHeaderBytes <= before) {
        window.resize(static_cast<std::size_t>(std::min<std::uint64_t>(256 * 1024, before - from)));
        if (!readAt(m_descriptor, from, window.data(), window.size())) {
            return false;
        }
        for (std::size_t at = window.find(frameMagic); at != std::string::npos; at = window.find(frameMagic, at + 1)) {
            if (readFrame(from + at, frame)) {
                return true;
            }
        }
        from += window.size() - (frameMagic.size() - 1);
    }
    return false;
}

StoreResult Journal::append(const Batch& batch)
{
    const std::string payload = packBatch(batch);
    const std::uint64_t size = payload.size() + frameHeaderBytes;
    const std::uint64_t events = eventsIn(batch);
    const std::lock_guard guard(m_mutex);
    if (!m_budget.take(size)) {
        return StoreResult::failed(StoreError::Overflow,
            "Events were lost: the database could not be reached, and the journal on the recorder's own disk had "
            "reached its bound.");
    }
    if (!writeFrame(static_cast<std::uint32_t>(events), payload)) {
        const int error = errno;
        m_budget.giveBack(size);
        return StoreResult::failed(StoreError::Overflow,
            std::string("Events were lost: the database could not be reached, and the journal on the recorder's own "
                        "disk could not be written (")
                + std::strerror(error) + ").");
    }
    m_charged += size;
    m_waitingEvents += events;
    m_state.losses.reset();
    noteBatch(batch);
    return StoreResult::done();
}

StoreResult Journal::keepLosses(const Batch& batch)
{
    const std::lock_guard guard(m_mutex);
    State state = m_state;
    state.losses = batch;
    state.lossesNumber = m_nextNumber - 1;
    bool isKept = writeState(state);
    if (!isKept && errno == EFBIG) {
        state.losses->definitions.clear();
        state.losses->initials.clear();
        isKept = writeState(state);
    }
    if (!isKept && errno == EFBIG) {
        keepTotalsOnly(*state.losses);
        isKept = writeState(state);
    }
    if (!isKept) {
        return failure(StoreError::Unreachable, "written");
    }
    m_state = std::move(state);
    ++m_lossesRevision;
    noteBatch(batch);
    return StoreResult::done();
}

bool Journal::next(Batch& batch)
{
    const std::lock_guard guard(m_mutex);
    std::uint64_t damaged = 0;
    std::uint64_t at = m_drainedEnd;
    Frame frame;
    while (at < m_end) {
        if (!readFrame(at, frame) && !findFrame(at + 1, m_end, frame)) {
            break;
        }
        if (readBatch(frame, batch)) {
            // How many are missing is known from the record's own count, even where a frame cannot tell.
            m_taken = frame;
            m_tookLosses = false;
            m_takenEvents = batch.extent.events;
            const std::uint64_t before = m_takenEvents - std::min(eventsIn(batch), m_takenEvents);
            m_takenDamage = before > m_drainedEvents ? before - m_drainedEvents : 0;
            return true;
        }
        damaged += frame.events;
        at = frame.end();
    }
    if (m_drainedEnd < m_end) {
        m_state.damagedEvents += damaged;
        m_takenDamage = 0;
        m_drainedEnd = m_end;
        m_drainedEvents += damaged;
        m_waitingEvents = 0;
    }
    if (m_state.losses && m_state.lossesNumber + 1 >= m_nextNumber) {
        batch = *m_state.losses;
        m_tookLosses = true;
        m_takenDamage = 0;
        m_takenRevision = m_lossesRevision;
        return true;
    }
    return false;
}

std::uint64_t Journal::damagedSoFar() const
{
    const std::lock_guard guard(m_mutex);
    return m_state.damagedEvents + m_takenDamage;
}

void Journal::drained()
{
    const std::lock_guard guard(m_mutex);
    if (m_tookLosses) {
        if (m_takenRevision == m_lossesRevision) {
            m_state.losses.reset();
        }
        return;
    }
    const std::uint64_t bytes = m_taken.end() - m_drainedEnd;
    m_budget.giveBack(bytes);
    m_charged -= bytes;
    m_waitingEvents -= std::min<std::uint64_t>(m_waitingEvents, m_taken.events + m_takenDamage);
    m_drainedEnd = m_taken.end();
    m_drainedEvents = m_takenEvents;
    // After a restart the last batch is drained once more: it tells whether the record was closed.
    m_state.drainedThrough = m_taken.offset;
    m_state.eventsThrough = m_takenEvents - std::min<std::uint64_t>(m_taken.events, m_takenEvents);
    m_state.damagedEvents += m_takenDamage;
    const bool wasDamaged = std::exchange(m_takenDamage, 0) > 0;
    // Not while it is brought to the disk: that would have to be done once more before space is given back.
    if (wasDamaged || (!m_isSyncing && m_taken.offset >= m_persistedEnd + persistBytes)) {
        persist();
    }
}

void Journal::sync()
{
    std::unique_lock lock(m_mutex);
    if (!std::exchange(m_mustSync, false)) {
        return;
    }
    const std::uint64_t generation = m_generation;
    m_isSyncing = true;
    lock.unlock();
    const bool isOnDisk = ::fdatasync(m_descriptor) == 0;
    lock.lock();
    m_isSyncing = false;
    if (!isOnDisk || m_generation != generation) {
        m_mustSync = true;
        return;
    }
    m_syncedSlot = m_slot;
#ifdef FALLOC_FL_PUNCH_HOLE
    // Gives the space back as far as it can; elsewhere it goes with the file. Only what no slot leads to after a loss of
    // power: holes would be taken for damage.
    const std::uint64_t from = std::exchange(m_punchedEnd, m_persistedEnd);
    const std::uint64_t through = m_persistedEnd;
    lock.unlock();
    if (through > from) {
        (void)::fallocate(m_descriptor, FALLOC_FL_PUNCH_HOLE | FALLOC_FL_KEEP_SIZE, static_cast<off_t>(from),
            static_cast<off_t>(through - from));
    }
#endif
}

void Journal::remove()
{
    ::unlink(m_file.c_str());
}

} // namespace recorder
