// SPDX-License-Identifier: Apache-2.0
#include "schema.h"

#include <fcntl.h>
#include <unistd.h>

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

constexpr const char* listSchema = "SELECT type || ' ' || name || ' ' || tbl_name || ' ' || ifnull(sql, '')"
                                   " FROM sqlite_schema WHERE name NOT GLOB 'sqlite_stat[0-9]' ORDER BY 1";

// Whether the file holds our tables and nothing else: a trigger could take away what is recorded, a view go on for
// ever.
StoreResult checkTables(Database& database, const std::filesystem::path& file)
{
    Database ours;
    if (StoreResult result = ours.open(":memory:", 0); !result) {
        return result;
    }
    if (StoreResult result = ours.execute(tables); !result) {
        return result;
    }
    Statement expected(ours, listSchema);
    Statement found(database, listSchema);
    bool isSame = true;
    while (isSame && expected.step()) {
        isSame = found.step() && found.text(0) == expected.text(0);
    }
    isSame = isSame && !found.step();
    if (!found.result()) {
        return found.result();
    }
    return isSame ? StoreResult::done()
                  : StoreResult::failed(StoreError::Refused,
                        "The store " + file.string()
                            + " holds other tables, triggers or views than a recorder makes: somebody else changed it. "
                              "Move it away, or give another --data-directory.");
}

struct Identity
{
    std::int64_t application = 0;
    std::int64_t version = 0;
    std::int64_t tables = 0;

    bool isNew() const { return tables == 0 && application == 0 && version == 0; }
};

StoreResult identify(Database& database, const std::filesystem::path& file, Identity& identity)
{
    if (StoreResult result = database.number("PRAGMA application_id", identity.application); !result) {
        return result;
    }
    if (StoreResult result = database.number("PRAGMA user_version", identity.version); !result) {
        return result;
    }
    if (StoreResult result = database.number("SELECT count(*) FROM sqlite_schema", identity.tables); !result) {
        return result;
    }
    if (identity.isNew() || identity.application == applicationId) {
        return StoreResult::done();
    }
    return StoreResult::failed(StoreError::Refused,
        "The file " + file.string() + " belongs to another program: move it away, or give another --data-directory.");
}

} // namespace

StoreResult checkFiles(const std::filesystem::path& file)
{
    std::error_code unknown;
    if (std::filesystem::is_symlink(file, unknown)) {
        return StoreResult::failed(StoreError::Refused,
            "The store " + file.string() + " is a link: give the folder that it leads to as --data-directory.");
    }
    // The last bytes of a journal that names another file. No recorder makes one: that is for transactions over several
    // databases.
    constexpr std::string_view namesAFile("\xd9\xd5\x05\xf9\x20\xa1\x63\xd7", 8);
    const std::string journal = file.string() + "-journal";
    const int descriptor = ::open(journal.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (descriptor < 0) {
        return StoreResult::done();
    }
    char end[namesAFile.size()] = {};
    const off_t at = ::lseek(descriptor, -static_cast<off_t>(sizeof end), SEEK_END);
    const bool isRead = at >= 0 && ::read(descriptor, end, sizeof end) == static_cast<ssize_t>(sizeof end);
    ::close(descriptor);
    if (isRead && std::string_view(end, sizeof end) == namesAFile) {
        return StoreResult::failed(StoreError::Refused,
            "The journal " + journal
                + " names another file, which would be deleted. No recorder made it: move it away with its database, "
                  "or "
                  "give another --data-directory.");
    }
    return StoreResult::done();
}

StoreResult prepareSchema(Database& database, const std::filesystem::path& file)
{
    // Before anything is changed in what is another's; at one moment, as another recorder may just make its tables.
    Identity identity;
    {
        const Transaction looking(database, Transaction::Begin::ToRead);
        if (!looking.result()) {
            return looking.result();
        }
        if (StoreResult result = identify(database, file, identity); !result) {
            return result;
        }
    }
    // These three hold for new files only; on others they change nothing.
    if (StoreResult result = database.executeAlone("PRAGMA page_size = " + std::to_string(embeddedPageBytes)
            + "; PRAGMA auto_vacuum = INCREMENTAL; PRAGMA journal_mode = WAL;");
        !result) {
        return result;
    }
    // Several recorders may come at the same moment: one makes the tables, the others find them.
    Transaction transaction(database);
    if (!transaction.result()) {
        return transaction.result();
    }
    identity = Identity();
    if (StoreResult result = identify(database, file, identity); !result) {
        return result;
    }
    if (identity.isNew()) {
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
    if (identity.version > embeddedSchemaVersion) {
        return StoreResult::failed(StoreError::NewerVersion,
            "The store " + file.string() + " was written by a newer recorder (version "
                + std::to_string(identity.version) + " of the store; this recorder knows "
                + std::to_string(embeddedSchemaVersion) + "): use that recorder, or give another --data-directory.");
    }
    if (StoreResult result = checkTables(database, file); !result) {
        return result;
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
