// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "spillcontext.h"

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

namespace recorder {

// One record on its way into the database: straight while that answers, else through a journal. Its writer's thread
// hands batches over, a thread of its own speaks to the database.
class SpilledRecord
{
public:
    // A record that is about to be made.
    SpilledRecord(std::shared_ptr<SpillContext> context, const RecordFacts& facts);
    // One whose recorder ended with a journal.
    SpilledRecord(std::shared_ptr<SpillContext> context, std::unique_ptr<Journal> journal);
    // Ends the thread; a journal with something in it stays for the next start.
    ~SpilledRecord();
    SpilledRecord(const SpilledRecord&) = delete;
    SpilledRecord& operator=(const SpilledRecord&) = delete;

    // Makes the record's row, or a journal when that does not come about in time.
    StoreResult create();
    StoreResult write(const Batch& batch);
    // The writer has ended without storing this.
    void abandon(const Batch& last);
    // The writer has ended.
    void release();

    // Nothing is left to do.
    bool isFinished() const;
    bool waits() const; // something is in the journal
    RecordSummary summary() const;
    // Tells of the journal and brings it to the disk; once in a while, on any thread.
    void watch();

private:
    using Clock = std::chrono::steady_clock;
    using Lock = std::unique_lock<std::mutex>;

    // On the writer's thread.
    std::optional<StoreResult> ask(Lock& lock, std::function<StoreResult()> request, std::int64_t patienceUs);
    StoreResult spill(const Batch& batch, const std::string& reason);
    StoreResult beginJournal(std::uint64_t eventsBefore, const std::string& reason);

    // On the record's own thread.
    void run();
    void drainSome(Lock& lock);
    void storeAbandoned(Lock& lock);
    void endDraining(Lock& lock);
    StoreResult prepare(Journal& journal);
    StoreResult takeOver(Journal& journal);
    StoreResult writeThrough(const Batch& batch);
    bool settle(Lock& lock, const StoreResult& result);
    void endJournal();

    // Either.
    std::string remarkOfDamage() const;
    bool amend(Batch& batch, bool somethingWaits);

    const std::shared_ptr<SpillContext> m_context;
    const RecordFacts m_facts;
    const std::unique_ptr<ChunkSink> m_sink;

    mutable std::mutex m_mutex; // what follows
    std::condition_variable m_wake; // of the record's own thread
    std::condition_variable m_answered; // of the writer's
    bool m_mustStop = false;
    bool m_hasWriter = true;
    bool m_isFound = false; // another recorder, or this one in another life, has begun it
    bool m_isPrepared = false; // the row is there, and owned by us
    bool m_isGone = false; // deleted in the database
    bool m_isFinished = false;

    std::function<StoreResult()> m_request;
    std::optional<StoreResult> m_answer;
    bool m_isBusy = false; // with a request, whoever waits for it or not

    std::shared_ptr<Journal> m_journal; // null: straight; only the record's own thread takes it away
    std::optional<Batch> m_abandoned; // what the writer could not store any more
    bool m_drainedLast = false;
    Clock::time_point m_nextAttempt;
    std::int64_t m_pauseUs = 0;

    // What the database is to say in the end, when it was given a remark for the time being.
    std::optional<Batch> m_counts;
    bool m_remarkStands = false;
    std::uint64_t m_damagedEvents = 0;
    Extent m_extent;
    RecordState m_state = RecordState::Recording;

    // For messages.
    Clock::time_point m_spillsSince;
    std::uint64_t m_spilledBytes = 0;
    bool m_isTold = false;
    std::string m_reason;

    std::thread m_thread;
};

} // namespace recorder
