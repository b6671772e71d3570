// SPDX-License-Identifier: Apache-2.0
#include "schema.h"

namespace recorder {

namespace {

// Tells our files from other programs' (PRAGMA application_id).
constexpr std::int64_t applicationId = 0x52525331;

// A chunk's key is record * 2^32 + sequence: rows of a record lie together in the order of arrival, and writing a chunk
// again replaces it. chunks_by_time covers the search for a moment without touching the packed bytes.
//
// records.state: 0 recording, 1 whole, 2 deleted (its rows are removed little by little).
// records.owner: who writes it now, a token of the table owners; an owner that died leaves its token behind.
// records.claimed: the completeness that an imported file states; records.counted: what really came, over the chunks
// before counted_through.
constexpr const char* tables = R"sql(
CREATE TABLE meta (
    key TEXT PRIMARY KEY,
    value INTEGER NOT NULL
) WITHOUT ROWID;
INSERT INTO meta VALUES ('revision', 1);

CREATE TABLE owners (
    token TEXT PRIMARY KEY,
    expires_us INTEGER NOT NULL
) WITHOUT ROWID;

CREATE TABLE records (
    id INTEGER PRIMARY KEY AUTOINCREMENT,
    uuid TEXT NOT NULL UNIQUE,
    name TEXT NOT NULL,
    description TEXT NOT NULL,
    start_us INTEGER NOT NULL,
    origin INTEGER NOT NULL,
    state INTEGER NOT NULL,
    owner TEXT,
    duration_us INTEGER NOT NULL DEFAULT 0,
    events INTEGER NOT NULL DEFAULT 0,
    next_sequence INTEGER NOT NULL DEFAULT 0,
    bucket INTEGER NOT NULL DEFAULT 0,
    high_us INTEGER NOT NULL DEFAULT 0,
    max_span_us INTEGER NOT NULL DEFAULT 0,
    max_late_us INTEGER NOT NULL DEFAULT 0,
    claimed TEXT NOT NULL DEFAULT '',
    counted TEXT NOT NULL DEFAULT '',
    counted_through INTEGER NOT NULL DEFAULT 0
);

CREATE TABLE holds (
    record INTEGER NOT NULL,
    owner TEXT NOT NULL,
    PRIMARY KEY (record, owner)
) WITHOUT ROWID;

CREATE TABLE definitions (
    record INTEGER NOT NULL,
    agent TEXT NOT NULL,
    ordinal INTEGER NOT NULL,
    json TEXT NOT NULL,
    PRIMARY KEY (record, agent)
);

CREATE TABLE initials (
    record INTEGER NOT NULL,
    agent TEXT NOT NULL,
    output TEXT NOT NULL,
    ordinal INTEGER NOT NULL,
    packed BLOB NOT NULL,
    PRIMARY KEY (record, agent, output)
);

CREATE TABLE chunks (
    id INTEGER PRIMARY KEY,
    record INTEGER NOT NULL,
    sequence INTEGER NOT NULL,
    bucket INTEGER NOT NULL,
    first_us INTEGER NOT NULL,
    last_us INTEGER NOT NULL,
    count INTEGER NOT NULL,
    packed BLOB NOT NULL
);
CREATE INDEX chunks_by_time ON chunks (record, first_us, sequence, last_us, bucket, count);

CREATE TABLE states (
    record INTEGER NOT NULL,
    time_us INTEGER NOT NULL,
    sequence INTEGER NOT NULL,
    packed BLOB NOT NULL,
    PRIMARY KEY (record, time_us, sequence)
);
)sql";

} // namespace

StoreResult prepareSchema(Database& database, const std::filesystem::path& file)
{
    // These three hold for new files only; on others they change nothing.
    if (StoreResult result = database.execute("PRAGMA page_size = " + std::to_string(embeddedPageBytes)
            + "; PRAGMA auto_vacuum = INCREMENTAL; PRAGMA journal_mode = WAL;");
        !result) {
        return result;
    }
    // Several recorders may come at the same moment: one makes the tables, the others find them.
    Transaction transaction(database);
    if (!transaction.result()) {
        return transaction.result();
    }
    std::int64_t id = 0;
    std::int64_t version = 0;
    std::int64_t count = 0;
    if (StoreResult result = database.number("PRAGMA application_id", id); !result) {
        return result;
    }
    if (StoreResult result = database.number("PRAGMA user_version", version); !result) {
        return result;
    }
    if (StoreResult result = database.number("SELECT count(*) FROM sqlite_schema", count); !result) {
        return result;
    }
    if (count == 0 && id == 0 && version == 0) {
        if (StoreResult result = database.execute(tables); !result) {
            return result;
        }
        if (StoreResult result = database.execute("PRAGMA application_id = " + std::to_string(applicationId)
                + "; PRAGMA user_version = " + std::to_string(embeddedSchemaVersion));
            !result) {
            return result;
        }
        return transaction.commit();
    }
    if (id != applicationId) {
        return StoreResult::failed(StoreError::Refused,
            "The file " + file.string()
                + " belongs to another program: move it away, or give another --data-directory.");
    }
    if (version > embeddedSchemaVersion) {
        return StoreResult::failed(StoreError::NewerVersion,
            "The store " + file.string() + " was written by a newer recorder (version " + std::to_string(version)
                + " of the store; this recorder knows " + std::to_string(embeddedSchemaVersion)
                + "): use that recorder, or give another --data-directory.");
    }
    return transaction.commit();
}

StoreResult prepareConnection(Database& database, std::uint32_t mostPages, std::uint64_t logBytes)
{
    // The upkeep thread moves the log into the file; a writer does it itself only when that cannot keep up.
    std::string pragmas = "PRAGMA synchronous = NORMAL; PRAGMA temp_store = MEMORY; PRAGMA cache_size = -8192;"
                          // Overwriting what is deleted would need as much room in the log as deleting frees.
                          " PRAGMA secure_delete = OFF;"
                          " PRAGMA journal_size_limit = 67108864;";
    pragmas += " PRAGMA wal_autocheckpoint = " + std::to_string(logBytes / embeddedPageBytes) + ';';
    if (mostPages > 0) {
        pragmas += " PRAGMA max_page_count = " + std::to_string(mostPages) + ';';
    }
    return database.execute(pragmas);
}

} // namespace recorder
