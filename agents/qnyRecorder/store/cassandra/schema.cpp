// SPDX-License-Identifier: Apache-2.0
#include "schema.h"

#include <charconv>

namespace recorder::cassandra {

namespace {

// Every key follows from what is written, so that any row may be written again.
//
// records     The list, a partition a record, changed by conditional writes alone. state: 0 recording, 1 whole,
//             2 deleted (its partitions are removed in the background). owner: who writes it now; last_owner: who wrote
//             it last. They differ while somebody closes a record whose owner died. A chunk counts only below
//             next_sequence, a bucket only up to bucket. counts_slot: which of the two rows of counts holds, over the
//             chunks before counted_through.
// owners      Rows live for the length of a lease and are written anew all the time. place: see processplace.h.
// work        Records that are being written or removed, and by whom: what to look after when that owner dies.
// holds       Records that are being read, and by whom: a row for each reader, "OWNER/NUMBER".
// facts       What is said of a record, but for what its list shows. claimed: the completeness that an imported file
//             states.
// buckets     A row for each run of chunks, written before its first chunk. The sequences of a bucket end where those
//             of the next begin: what lies beyond was written by an owner whose record was taken over.
// chunk_infos Where the chunks of a bucket lie in time, without the packed bytes of chunks.
// states      The last value of every output, in the bucket of the last chunk that it covers.
//
// Bytes too long for one row lie in several, numbered by part; parts says how many there are.
// The gaps in which deleted rows are remembered are short where forgetting them early does no harm.
constexpr const char* tables[] = {
    "revision (id text PRIMARY KEY, value counter)",

    "owners (owner text PRIMARY KEY, place text) WITH gc_grace_seconds = 600",

    "work (record text, owner text, PRIMARY KEY (record, owner)) WITH gc_grace_seconds = 3600",

    "holds (record text, owner text, PRIMARY KEY (record, owner)) WITH gc_grace_seconds = 3600",

    "records (uuid text PRIMARY KEY, name text, start_us bigint, origin bigint, state bigint, owner text,"
    " last_owner text, duration_us bigint, events bigint, next_sequence bigint, bucket bigint, high_us bigint,"
    " max_span_us bigint, max_late_us bigint, counts_slot text, counted_through bigint)",

    "facts (record text PRIMARY KEY, description text, claimed text)",

    "counts (record text, slot text, part bigint, parts bigint, json blob, PRIMARY KEY (record, slot, part))",

    "definitions (record text, agent text, ordinal bigint, json text, PRIMARY KEY (record, agent))",

    "initials (record text, agent text, output text, part bigint, parts bigint, ordinal bigint, packed blob,"
    " PRIMARY KEY (record, agent, output, part))",

    "buckets (record text, bucket bigint, first_sequence bigint, first_us bigint, last_us bigint,"
    " first_state_us bigint, PRIMARY KEY (record, bucket))",

    "chunk_infos (record text, bucket bigint, sequence bigint, first_us bigint, last_us bigint, events bigint,"
    " PRIMARY KEY ((record, bucket), sequence))",

    "chunks (record text, bucket bigint, sequence bigint, part bigint, parts bigint, packed blob,"
    " PRIMARY KEY ((record, bucket), sequence, part))",

    "states (record text, bucket bigint, time_us bigint, sequence bigint, part bigint, parts bigint, packed blob,"
    " PRIMARY KEY ((record, bucket), time_us, sequence, part))",
};
// Comes last: a keyspace that has it has all.
constexpr const char* versionTable = "meta (key text PRIMARY KEY, value text)";

constexpr Cql findKeyspace { "SELECT keyspace_name FROM system_schema.keyspaces WHERE keyspace_name = ?", Kind::Read };
constexpr Cql findTable { "SELECT table_name FROM system_schema.tables WHERE keyspace_name = ? AND table_name = 'meta'",
    Kind::Read };
constexpr Cql readVersion { "SELECT value FROM meta WHERE key = 'version'", Kind::SerialRead };
constexpr Cql putVersion { "INSERT INTO meta (key, value) VALUES ('version', ?) IF NOT EXISTS", Kind::Conditional };

StoreResult makeTable(Connection& connection, const std::string& definition)
{
    return connection.run("CREATE TABLE IF NOT EXISTS " + definition).result();
}

// Completes what the server says with what to do about it.
StoreResult advised(StoreResult result, const std::string& what)
{
    if (!result && result.error == StoreError::Refused) {
        result.message += ' ' + what;
    }
    return result;
}

StoreResult makeKeyspace(Connection& connection, const std::string& keyspace, const std::string& replication)
{
    const Answer known = connection.execute(findKeyspace, { keyspace });
    if (!known || known.rows() > 0) {
        return known.result();
    }
    return advised(
        connection.run("CREATE KEYSPACE IF NOT EXISTS \"" + keyspace + "\" WITH replication = " + replication).result(),
        "There is no keyspace \"" + keyspace
            + "\" and it could not be made: make it, or give another with --keyspace or another --replication.");
}

StoreResult makeTables(Connection& connection, const std::string& keyspace)
{
    const Answer known = connection.execute(findTable, { keyspace });
    if (!known || known.rows() > 0) {
        return known.result();
    }
    const std::string advice = "The tables of the keyspace \"" + keyspace
        + "\" could not be made: give the user the permission, or have them made by one who may.";
    for (const char* definition : tables) {
        if (StoreResult result = advised(makeTable(connection, definition), advice); !result) {
            return result;
        }
    }
    return advised(makeTable(connection, versionTable), advice);
}

} // namespace

StoreResult prepareSchema(Connection& connection, const std::string& keyspace, const std::string& replication)
{
    if (StoreResult result = makeKeyspace(connection, keyspace, replication); !result) {
        return result;
    }
    if (StoreResult result = connection.useKeyspace(keyspace); !result) {
        return result;
    }
    if (StoreResult result = makeTables(connection, keyspace); !result) {
        return result;
    }
    Answer version = connection.execute(readVersion, {});
    if (version && version.rows() == 0) {
        bool applied = false;
        if (StoreResult result = connection.executeIf(putVersion, { std::to_string(schemaVersion) }, applied);
            !result) {
            return result;
        }
        version = connection.execute(readVersion, {});
    }
    if (!version) {
        return advised(version.result(),
            "The tables of the keyspace \"" + keyspace
                + "\" cannot be read: give the user the permission, or another keyspace with --keyspace if that one "
                  "belongs to another program.");
    }
    const std::string_view text = version.bytes(0, 0);
    int found = 0;
    const auto read = std::from_chars(text.data(), text.data() + text.size(), found);
    if (read.ec != std::errc() || read.ptr != text.data() + text.size()) {
        return StoreResult::failed(StoreError::Refused,
            "The keyspace \"" + keyspace + "\" belongs to another program: give another with --keyspace.");
    }
    if (found > schemaVersion) {
        return StoreResult::failed(StoreError::NewerVersion,
            "The keyspace \"" + keyspace + "\" was written by a newer recorder (version " + std::to_string(found)
                + " of the store; this recorder knows " + std::to_string(schemaVersion)
                + "): use that recorder, or give another with --keyspace.");
    }
    return StoreResult::done();
}

} // namespace recorder::cassandra
