// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../tally.h"
#include "context.h"

#include <chrono>

namespace recorder {

// What a writer starts from: a new record's is empty, an imported one's is what its file holds.
struct CsvWriterStart
{
    RecordFacts facts; // the completeness is the claim of an imported file
    Tally tally;
    std::uint64_t events = 0;
    std::int64_t lastEventUs = 0;
    bool isWhole = false; // the file ends with closing rows
};

// Writes a record's rows at the end of its file, in pieces of whole rows.
class CsvFileWriter : public RecordWriter
{
public:
    // `file` has the lock of Owner.
    CsvFileWriter(std::shared_ptr<CsvFileContext> context, RecordFile file, CsvWriterStart start);
    ~CsvFileWriter() override;

    const std::string& uuid() const override { return m_facts.uuid; }
    StoreResult define(std::string_view agent, std::string_view json) override;
    StoreResult setInitial(std::string_view agent, std::string_view output, const ValueView& value) override;
    StoreResult append(const EventView& event) override;
    void countLost(std::string_view agent, std::string_view output, LostIn where, std::uint64_t events) override;
    StoreResult tick(std::int64_t elapsedUs) override;
    StoreResult flush() override;
    RecordFacts facts() const override;
    StoreResult setFacts(const RecordFacts& facts) override;
    StoreResult settle() override;
    void dropUnstored() override;
    StoreResult close(std::int64_t durationUs) override;
    Completeness completeness() const override;
    void remark(std::string_view sentence) override;
    std::int64_t lastEventUs() const override { return m_highUs; }
    std::uint64_t eventsStored() const override { return m_storedEvents; }

private:
    using Clock = std::chrono::steady_clock;
    // What the file is after a piece was written.
    enum class State
    {
        Going, // has no end yet
        Whole, // as far as it goes
        Closed
    };

    bool isImport() const { return m_facts.origin == RecordOrigin::Imported; }
    StoreResult refuseClosed() const;
    void touch();
    std::int64_t knownLengthUs() const;
    bool isLengthOld() const;
    bool areLossesOld() const;
    void noteOutput(const Tally::Output& output);
    void addFacts(std::string& rows, State state);
    void noteFactsWritten(State state);
    StoreResult adoptRowsOfOthers();
    StoreResult write(State state, bool isLastAttempt);
    StoreResult store(State state, bool isLastAttempt = false);
    StoreResult storeIfTime();
    void leave();

    const std::shared_ptr<CsvFileContext> m_context;
    RecordFile m_file;
    std::uint64_t m_end = 0; // of the file, as this writer left it
    RecordFacts m_facts;
    Tally m_tally;

    std::string m_rows; // that wait to be written
    bool m_isDirty = false;
    Clock::time_point m_dirtySince;
    bool m_haveFactsChanged = false; // of an import
    bool m_haveLossesChanged = false;
    std::int64_t m_lossesUs = 0; // length when they were written last
    std::uint64_t m_closingBytes = 0; // about what the record's end will take

    std::uint64_t m_events = 0;
    std::uint64_t m_storedEvents = 0;
    std::int64_t m_highUs = 0; // greatest time
    std::int64_t m_storedHighUs = 0;
    std::int64_t m_durationUs = 0;
    std::int64_t m_storedDurationUs = 0;
    std::int64_t m_lengthUs = 0; // in the last row that tells the length
    bool m_isWhole = false;

    StoreResult m_failure; // of the last attempt
    Clock::time_point m_failedAt;
    bool m_isClosed = false;
};

} // namespace recorder
