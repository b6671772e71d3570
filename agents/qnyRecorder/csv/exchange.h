// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../store/store.h"
#include "csv.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace recorder::csv {

// ---- export: services "export" and "receive_export"

// Where an export goes on. It holds the whole position, so that nothing has to be remembered between two requests,
// and exports of several callers do not disturb one another. bucketId 0 and an empty uuid: the beginning, and the end.
struct ExportCursor
{
    std::int32_t bucketId = 0;
    std::string uuid;
    bool isEmpty() const { return uuid.empty(); }
};

struct ExportLimits
{
    std::size_t rows = 10'000;
    std::size_t bytes = 1024 * 1024; // aimed at; a longer row comes alone
};

struct ExportChunk
{
    std::string content; // whole rows, no line end after the last one
    ExportCursor next; // empty with the last rows
    std::vector<Damage> damages; // what had to be left out, for the log
};

// The next rows. Refused for a cursor that no export of this record gave.
// While an export lasts, the caller keeps a reader of the record so that nobody deletes it.
StoreResult exportChunk(
    RecordReader& reader, const ExportCursor& cursor, ExportChunk& chunk, const ExportLimits& limits = {});

// ---- import: services "import" and "append"

// Turns the chunks of a CSV file into a new record. One object an import, used from one thread at a time; it may be
// dropped after any chunk and made again with resume().
class Import
{
public:
    // An import of a file of this name. Nothing is stored before the first good chunk.
    Import(Store& store, std::string recordName);
    // Goes on with an imported record after this recorder was restarted.
    static std::unique_ptr<Import> resume(Store& store, const std::string& recordUuid, StoreResult& result);
    ~Import();

    // Stores the chunk (rows as the module sends them: whole ones, line feeds doubled), in one piece. When this returns
    // Done the record is whole as far as it goes. A chunk that is no part of a record (Refused, with line, column and
    // reason) or that cannot be stored stores nothing and ends the import: the record, if there is one, is marked
    // incomplete, and every further chunk is Refused at once with the first reason.
    StoreResult feed(std::string_view chunk);

    const std::string& uuid() const { return m_facts.uuid; } // from the beginning, also when nothing is stored
    bool hasFailed() const { return m_failed; }
    const std::string& failure() const { return m_failure; }
    bool isStored() const { return m_stored; } // there is a record of it

private:
    Import(Store& store, std::unique_ptr<RecordWriter> writer);

    // What a chunk says about the record as a whole.
    struct News
    {
        RecordFacts facts;
        bool any = false;
    };
    bool check(std::string_view chunk, News& news, Error& error, std::uint64_t& nextLine) const;
    StoreResult keep(std::string_view chunk, const News& news);
    StoreResult ensureWriter(const News& news);
    Reader::Options readerOptions() const;
    StoreResult fail(StoreResult result);

    Store& m_store;
    RecordFacts m_facts;
    std::unique_ptr<RecordWriter> m_writer;
    std::uint64_t m_line = 1;
    bool m_isFirst = true;
    bool m_stored = false;
    bool m_failed = false;
    std::string m_failure;
};

} // namespace recorder::csv
