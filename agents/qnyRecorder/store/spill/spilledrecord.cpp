// SPDX-License-Identifier: Apache-2.0
#include "spilledrecord.h"

#include "batchbytes.h"

#include <QString>
#include <QSysInfo>

#include <algorithm>
#include <iterator>

namespace recorder {

namespace {

constexpr auto lookInterval = std::chrono::milliseconds(50);

std::filesystem::path journalFile(const SpillContext& context, const std::string& uuid)
{
    return context.options().directory / (uuid + ".journal");
}

std::string waitingRemark()
{
    return "A part of this record waits in a journal of the recorder on " + QSysInfo::machineHostName().toStdString()
        + "; it is stored while that recorder runs and reaches the database.";
}

} // namespace

SpilledRecord::SpilledRecord(std::shared_ptr<SpillContext> context, const RecordFacts& facts)
    : m_context(std::move(context))
    , m_facts(facts)
    , m_sink(m_context->database().sink(facts.uuid))
    , m_thread([this] { run(); })
{
}

SpilledRecord::SpilledRecord(std::shared_ptr<SpillContext> context, std::unique_ptr<Journal> journal)
    : m_context(std::move(context))
    , m_facts(journal->facts())
    , m_sink(m_context->database().sink(m_facts.uuid))
    , m_hasWriter(false)
    , m_isFound(true)
    , m_journal(std::move(journal))
    , m_damagedEvents(m_journal->state().damagedEvents)
    , m_extent(m_journal->extent())
    , m_state(m_journal->hasLast() ? RecordState::Whole : RecordState::Recording)
    , m_spillsSince(Clock::now())
    , m_spilledBytes(m_journal->waitingBytes())
    , m_isTold(true)
    , m_thread([this] { run(); })
{
}

SpilledRecord::~SpilledRecord()
{
    {
        const std::lock_guard guard(m_mutex);
        m_mustStop = true;
    }
    m_wake.notify_all();
    m_thread.join();
    if (m_journal) {
        m_journal->sync();
    }
}

// ---- the writer's thread ----------------------------------------------------------------------------------------

// Lets the record's own thread do something. Nothing when it does not come about in time; it may still happen.
std::optional<StoreResult> SpilledRecord::ask(Lock& lock, std::function<StoreResult()> request, std::int64_t patienceUs)
{
    m_request = std::move(request);
    m_answer.reset();
    m_isBusy = true;
    m_wake.notify_all();
    m_answered.wait_for(lock, std::chrono::microseconds(patienceUs), [this] { return m_answer.has_value(); });
    if (!m_answer) {
        m_context->noteFailure(StoreResult::unknown(
            StoreError::Unreachable, m_context->database().describe() + " did not answer in time."));
    }
    return std::exchange(m_answer, std::nullopt);
}

StoreResult SpilledRecord::create()
{
    Lock lock(m_mutex);
    if (m_context->isUp()) {
        const auto make = [this] { return m_context->database().create(m_facts); };
        if (const auto answer = ask(lock, make, m_context->options().createPatienceUs)) {
            if (*answer) {
                m_isPrepared = true;
                return *answer;
            }
            if (!SpillContext::isOutage(*answer)) {
                return *answer;
            }
            m_context->noteFailure(*answer);
        }
    }
    return beginJournal(0, m_context->outOfReach().message);
}

StoreResult SpilledRecord::write(const Batch& batch)
{
    Lock lock(m_mutex);
    if (m_isGone) {
        return StoreResult::failed(StoreError::NotFound,
            "The record was deleted, or another recorder took it over: nothing more is stored in it.");
    }
    m_extent = batch.extent;
    m_state = batch.recordState;
    std::string reason;
    if (!m_journal && !m_isBusy && m_context->isUp()) {
        auto copy = std::make_shared<Batch>(batch);
        (void)amend(*copy, false);
        const auto store = [this, copy] { return writeThrough(*copy); };
        if (const auto answer = ask(lock, store, m_context->options().patienceUs)) {
            if (*answer || answer->error == StoreError::NotFound) {
                m_isGone = !*answer;
                return *answer;
            }
            reason = answer->message;
        }
    }
    return spill(batch, reason.empty() ? m_context->outOfReach().message : reason);
}

StoreResult SpilledRecord::spill(const Batch& batch, const std::string& reason)
{
    const std::uint64_t events = eventsIn(batch);
    if (!m_journal) {
        const std::uint64_t before = batch.extent.events - std::min(events, batch.extent.events);
        if (StoreResult result = beginJournal(before, reason); !result) {
            if (result.error == StoreError::Overflow) {
                m_context->noteOverflow(result.message);
            }
            return result;
        }
    }
    StoreResult result = m_journal->append(batch);
    if (!result && result.error == StoreError::Overflow) {
        m_context->noteOverflow(result.message);
        if (events == 0 && batch.states.empty()) {
            result = m_journal->keepLosses(batch);
        }
    }
    return result;
}

StoreResult SpilledRecord::beginJournal(std::uint64_t eventsBefore, const std::string& reason)
{
    Journal::State state;
    state.isMade = m_isPrepared;
    state.owners.push_back(m_context->token());
    state.eventsThrough = eventsBefore;
    state.damagedEvents = m_damagedEvents;
    StoreResult result;
    m_journal = Journal::create(
        journalFile(*m_context, m_facts.uuid), m_facts, std::move(state), m_context->budget(), result);
    m_spillsSince = Clock::now();
    m_spilledBytes = 0;
    m_isTold = false;
    m_reason = reason;
    return result;
}

void SpilledRecord::abandon(const Batch& last)
{
    const std::lock_guard guard(m_mutex);
    if (!m_isGone) {
        m_abandoned = last;
    }
}

void SpilledRecord::release()
{
    {
        const std::lock_guard guard(m_mutex);
        m_hasWriter = false;
        m_isFinished = m_isFinished || (!m_journal && !m_abandoned);
    }
    m_wake.notify_all();
}

// ---- the record's own thread ------------------------------------------------------------------------------------

void SpilledRecord::run()
{
    Lock lock(m_mutex);
    while (!m_mustStop && !m_isFinished) {
        if (m_request) {
            const std::function<StoreResult()> request = std::exchange(m_request, nullptr);
            lock.unlock();
            const StoreResult result = request();
            lock.lock();
            m_answer = result;
            m_isBusy = false;
            m_answered.notify_all();
        } else if (Clock::now() >= m_nextAttempt && m_context->isUp() && m_journal) {
            drainSome(lock);
        } else if (Clock::now() >= m_nextAttempt && m_context->isUp() && !m_hasWriter) {
            storeAbandoned(lock);
        } else {
            m_wake.wait_for(lock, lookInterval);
        }
    }
}

// Waits for a while after a failure, longer each time. True when there was none.
bool SpilledRecord::settle(Lock& lock, const StoreResult& result)
{
    lock.lock();
    const SpillOptions& options = m_context->options();
    if (result) {
        m_pauseUs = 0;
        return true;
    }
    if (result.error == StoreError::NotFound) {
        m_isGone = true;
        const bool isWaiting = m_journal && m_journal->waitingEvents() > 0;
        m_context->say("The record \"" + m_facts.name + "\" was deleted from the database"
            + (isWaiting ? ": what waited for it in the journal is thrown away." : "."));
        endJournal();
        m_isFinished = !m_hasWriter;
        return false;
    }
    m_reason = result.message;
    m_pauseUs = std::clamp(m_pauseUs * 2, options.leastPauseUs, options.mostPauseUs);
    m_nextAttempt = Clock::now() + std::chrono::microseconds(m_pauseUs);
    return false;
}

void SpilledRecord::drainSome(Lock& lock)
{
    Journal& journal = *m_journal;
    if (!m_isPrepared) {
        lock.unlock();
        const StoreResult result = m_isFound ? takeOver(journal) : prepare(journal);
        m_isPrepared = settle(lock, result);
        return;
    }
    Batch batch;
    if (!journal.next(batch)) {
        endDraining(lock);
        return;
    }
    const bool somethingWaits = journal.waitingEvents() > eventsIn(batch);
    m_damagedEvents = std::max(m_damagedEvents, journal.damagedSoFar());
    if (batch.completeness) {
        m_counts = Batch();
        m_counts->completeness = batch.completeness;
        m_counts->completenessThrough = batch.completenessThrough;
    }
    if (m_counts) {
        m_counts->extent = batch.extent;
        m_counts->recordState = batch.recordState;
    }
    const bool isLast = batch.last;
    const bool hasCounts = batch.completeness.has_value();
    const bool isRemarked = amend(batch, somethingWaits);
    lock.unlock();
    const StoreResult result = writeThrough(batch);
    if (settle(lock, result)) {
        journal.drained();
        m_drainedLast = m_drainedLast || isLast;
        m_remarkStands = hasCounts ? isRemarked : m_remarkStands;
    }
}

// What the writer could store nowhere when it ended.
void SpilledRecord::storeAbandoned(Lock& lock)
{
    const Batch last = *m_abandoned;
    const bool isPrepared = m_isPrepared;
    lock.unlock();
    StoreResult result = isPrepared ? StoreResult::done() : m_context->database().create(m_facts);
    if (result) {
        result = writeThrough(last);
    }
    if (settle(lock, result) || m_isGone) {
        m_abandoned.reset();
        m_isFinished = true;
    }
}

// The database has everything that was in the journal.
void SpilledRecord::endDraining(Lock& lock)
{
    if (!m_drainedLast && m_remarkStands) {
        Batch counts = *m_counts;
        (void)amend(counts, false);
        lock.unlock();
        m_remarkStands = !settle(lock, writeThrough(counts)) && m_remarkStands;
        return;
    }
    if (!m_drainedLast && !m_hasWriter) {
        const std::optional<Batch> last = m_abandoned;
        lock.unlock();
        StoreResult result = last ? writeThrough(*last) : m_context->database().repair(m_facts.uuid);
        if (!last && result.error == StoreError::NotFound) {
            result = StoreResult::done(); // since the last write another recorder has closed it
        }
        m_drainedLast = settle(lock, result);
        return;
    }
    const bool mustTell = m_isTold;
    const std::int64_t seconds = std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - m_spillsSince).count();
    const std::uint64_t bytes = m_spilledBytes;
    endJournal();
    m_isFinished = m_drainedLast;
    if (mustTell) {
        lock.unlock();
        m_context->say("The database takes writes again: of the record \"" + m_facts.name + "\", " + sizeText(bytes)
            + " that waited in the journal are stored, " + std::to_string(seconds) + " s after the first came there.");
        const std::string damage = remarkOfDamage();
        if (!damage.empty()) {
            m_context->say("The record \"" + m_facts.name + "\": " + damage);
        }
        lock.lock();
    }
}

void SpilledRecord::endJournal()
{
    if (m_journal) {
        m_journal->remove();
        m_journal.reset();
    }
}

// Makes the row of a record that was begun while the database was out of reach.
StoreResult SpilledRecord::prepare(Journal& journal)
{
    StoreResult result = m_context->database().create(m_facts);
    if (result) {
        journal.setMade();
    } else if (SpillContext::isOutage(result)) {
        m_context->noteFailure(result);
    }
    return result;
}

// Takes over a record that a recorder left with a journal.
StoreResult SpilledRecord::takeOver(Journal& journal)
{
    const Journal::State state = journal.state();
    if (state.owners.empty() || state.owners.back() != m_context->token()) {
        journal.addOwner(m_context->token()); // before it is true: whoever finds the journal next tries both
    }
    StoreResult result = StoreResult::failed(StoreError::NotFound, "Nobody made the record.");
    for (auto owner = state.owners.rbegin(); owner != state.owners.rend(); ++owner) {
        result = m_context->database().reclaim(m_facts.uuid, *owner);
        if (result || result.error != StoreError::InUse) {
            break;
        }
    }
    if (!result && result.error == StoreError::NotFound && !state.isMade) {
        return prepare(journal);
    }
    if (result) {
        journal.setMade();
    } else if (SpillContext::isOutage(result)) {
        m_context->noteFailure(result);
    }
    return result;
}

// NotFound only when the record is gone for good: another recorder may have taken this one for dead and closed it.
StoreResult SpilledRecord::writeThrough(const Batch& batch)
{
    StoreResult result = m_sink->write(batch);
    if (!result && result.error == StoreError::NotFound) {
        result = m_context->database().reclaim(m_facts.uuid, m_context->token());
        if (result) {
            result = m_sink->write(batch);
        }
    }
    if (SpillContext::isOutage(result)) {
        m_context->noteFailure(result);
    }
    return result;
}

// ---- either -----------------------------------------------------------------------------------------------------

std::string SpilledRecord::remarkOfDamage() const
{
    return m_damagedEvents == 0 ? std::string()
                                : std::to_string(m_damagedEvents)
            + " events that waited in the journal on the recorder's own disk were damaged there and are lost.";
}

// Adds to a batch's counts what its writer does not know. True when that holds for the time being only.
bool SpilledRecord::amend(Batch& batch, bool somethingWaits)
{
    const std::string damage = remarkOfDamage();
    Completeness completeness;
    std::string reason;
    if (!batch.completeness || (damage.empty() && !somethingWaits)
        || !Completeness::fromJson(*batch.completeness, completeness, reason)) {
        return false;
    }
    if (!damage.empty()) {
        completeness.remarks.push_back(damage);
    }
    if (somethingWaits) {
        completeness.remarks.push_back(waitingRemark());
    }
    batch.completeness = completeness.toJson();
    return somethingWaits;
}

bool SpilledRecord::isFinished() const
{
    const std::lock_guard guard(m_mutex);
    return m_isFinished;
}

bool SpilledRecord::waits() const
{
    const std::lock_guard guard(m_mutex);
    return m_journal != nullptr;
}

RecordSummary SpilledRecord::summary() const
{
    const std::lock_guard guard(m_mutex);
    RecordSummary summary;
    summary.uuid = m_facts.uuid;
    summary.name = m_facts.name;
    summary.startUs = m_facts.startUs;
    summary.durationUs = std::max(m_facts.durationUs, m_extent.durationUs);
    summary.events = m_extent.events;
    summary.isOpen = true;
    summary.isOwnedHere = true;
    summary.isRecording = m_hasWriter && m_state == RecordState::Recording;
    summary.origin = m_facts.origin;
    return summary;
}

void SpilledRecord::watch()
{
    std::string told;
    std::shared_ptr<Journal> journal;
    {
        const std::lock_guard guard(m_mutex);
        journal = m_journal;
        if (!journal) {
            return;
        }
        m_spilledBytes = std::max(m_spilledBytes, m_journal->waitingBytes());
        const auto age = std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - m_spillsSince).count();
        if (!m_isTold && age >= m_context->options().tellAfterUs) {
            m_isTold = true;
            told = "The record \"" + m_facts.name + "\" goes into the journal " + m_journal->file().string()
                + " until the database takes writes again (at most " + sizeText(m_context->budget().limit()) + "). "
                + m_reason;
        }
    }
    if (!told.empty()) {
        m_context->say(told);
    }
    journal->sync(); // without a lock: a slow disk must not hold the writer up
}

} // namespace recorder
