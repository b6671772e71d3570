// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "connection.h"

// The statements of the Cassandra store. schema.cpp says what the tables mean.
namespace recorder::cassandra::cql {

// ---- the list's revision
inline constexpr Cql bumpRevision { "UPDATE revision SET value = value + 1 WHERE id = 'list'", Kind::Count };
inline constexpr Cql readRevision { "SELECT value FROM revision WHERE id = 'list'", Kind::Read };

// ---- owners
// owner, place, seconds
inline constexpr Cql putOwner { "INSERT INTO owners (owner, place) VALUES (?, ?) USING TTL ?", Kind::Write };
inline constexpr Cql removeOwner { "DELETE FROM owners WHERE owner = ?", Kind::Write };
inline constexpr Cql listOwners { "SELECT owner, place FROM owners", Kind::Read };

// ---- what has to be looked after
inline constexpr Cql putWork { "INSERT INTO work (record, owner) VALUES (?, ?)", Kind::Write };
inline constexpr Cql removeWork { "DELETE FROM work WHERE record = ? AND owner = ?", Kind::Write };
inline constexpr Cql listWork { "SELECT record, owner FROM work", Kind::Read };

// ---- holds
inline constexpr Cql putHold { "INSERT INTO holds (record, owner) VALUES (?, ?)", Kind::Write };
inline constexpr Cql removeHold { "DELETE FROM holds WHERE record = ? AND owner = ?", Kind::Write };
inline constexpr Cql holdsOf { "SELECT owner FROM holds WHERE record = ?", Kind::Read };

// ---- records: only conditional writes touch this table
// uuid, name, start, origin, owner, owner, duration
inline constexpr Cql insertRecord {
    "INSERT INTO records (uuid, name, start_us, origin, state, owner, last_owner, duration_us, events, next_sequence,"
    " bucket, high_us, max_span_us, max_late_us, counts_slot, counted_through)"
    " VALUES (?, ?, ?, ?, 0, ?, ?, ?, 0, 0, 0, 0, 0, 0, '', 0) IF NOT EXISTS",
    Kind::Conditional
};
inline constexpr Cql listRecords {
    "SELECT uuid, name, start_us, duration_us, events, state, owner, origin FROM records", Kind::Read
};
#define RR_RECORD_COLUMNS                                                                                              \
    "SELECT name, start_us, origin, state, owner, last_owner, duration_us, events, next_sequence, bucket, high_us,"    \
    " max_span_us, max_late_us, counts_slot, counted_through FROM records WHERE uuid = ?"
inline constexpr Cql readRecord { RR_RECORD_COLUMNS, Kind::Read };
// Also sees what was begun and had no known outcome.
inline constexpr Cql readRecordForSure { RR_RECORD_COLUMNS, Kind::SerialRead };
#undef RR_RECORD_COLUMNS
inline constexpr Cql renameRecord { "UPDATE records SET name = ? WHERE uuid = ? IF state IN (0, 1)",
    Kind::Conditional };
// new owner, last owner or unset, uuid, owner, state
inline constexpr Cql takeRecord {
    "UPDATE records SET owner = ?, last_owner = ? WHERE uuid = ? IF owner = ? AND state = ?", Kind::Conditional
};
// new state, uuid, owner, state
inline constexpr Cql markRecord {
    "UPDATE records SET state = ?, owner = null WHERE uuid = ? IF owner = ? AND state = ?", Kind::Conditional
};
// state, duration, events, next sequence, bucket, high, max span, max late, start or unset, slot or unset, counted
// through or unset, new owner, uuid, owner
inline constexpr Cql updateExtent {
    "UPDATE records SET state = ?, duration_us = ?, events = ?, next_sequence = ?, bucket = ?, high_us = ?,"
    " max_span_us = ?, max_late_us = ?, start_us = ?, counts_slot = ?, counted_through = ?, owner = ?"
    " WHERE uuid = ? IF owner = ?",
    Kind::Conditional
};
inline constexpr Cql purgeRecord { "DELETE FROM records WHERE uuid = ? IF state = 2", Kind::Conditional };

// ---- what belongs to a record
inline constexpr Cql putFacts { "INSERT INTO facts (record, description, claimed) VALUES (?, ?, ?)", Kind::Write };
inline constexpr Cql readFacts { "SELECT description, claimed FROM facts WHERE record = ?", Kind::Read };
inline constexpr Cql putCounts { "INSERT INTO counts (record, slot, part, parts, json) VALUES (?, ?, ?, ?, ?)",
    Kind::Write };
inline constexpr Cql readCounts { "SELECT part, parts, json FROM counts WHERE record = ? AND slot = ?", Kind::Read,
    16 };
inline constexpr Cql putDefinition { "INSERT INTO definitions (record, agent, ordinal, json) VALUES (?, ?, ?, ?)",
    Kind::Write };
inline constexpr Cql readDefinitions { "SELECT ordinal, agent, json FROM definitions WHERE record = ?", Kind::Read,
    500 };
inline constexpr Cql putInitial {
    "INSERT INTO initials (record, agent, output, part, parts, ordinal, packed) VALUES (?, ?, ?, ?, ?, ?, ?)",
    Kind::Write
};
inline constexpr Cql readInitials { "SELECT agent, output, part, parts, ordinal, packed FROM initials WHERE record = ?",
    Kind::Read, 200 };

inline constexpr Cql putBucket {
    "INSERT INTO buckets (record, bucket, first_sequence, first_us, last_us, first_state_us) VALUES (?, ?, ?, ?, ?, ?)",
    Kind::Write
};
inline constexpr Cql readBucket {
    "SELECT bucket, first_sequence, first_us, last_us, first_state_us FROM buckets WHERE record = ? AND bucket = ?",
    Kind::Read
};
inline constexpr Cql bucketsFrom {
    "SELECT bucket, first_sequence, first_us, last_us, first_state_us FROM buckets WHERE record = ? AND bucket >= ?",
    Kind::Read
};
inline constexpr Cql putInfo {
    "INSERT INTO chunk_infos (record, bucket, sequence, first_us, last_us, events) VALUES (?, ?, ?, ?, ?, ?)",
    Kind::Write
};
inline constexpr Cql infosOfBucket {
    "SELECT sequence, first_us, last_us, events FROM chunk_infos WHERE record = ? AND bucket = ?", Kind::Read
};
inline constexpr Cql putChunk {
    "INSERT INTO chunks (record, bucket, sequence, part, parts, packed) VALUES (?, ?, ?, ?, ?, ?)", Kind::Write
};
// record, bucket, first sequence, end of sequences
inline constexpr Cql loadChunks { "SELECT sequence, part, parts, packed FROM chunks WHERE record = ? AND bucket = ?"
                                  " AND sequence >= ? AND sequence < ?",
    Kind::Read, 16 };
inline constexpr Cql putState {
    "INSERT INTO states (record, bucket, time_us, sequence, part, parts, packed) VALUES (?, ?, ?, ?, ?, ?, ?)",
    Kind::Write
};
// record, bucket, most time: the latest first, without their bytes
inline constexpr Cql statesUpTo {
    "SELECT time_us, sequence, part FROM states WHERE record = ? AND bucket = ? AND time_us <= ?"
    " ORDER BY time_us DESC, sequence DESC, part DESC",
    Kind::Read, 64
};
inline constexpr Cql readState {
    "SELECT part, parts, packed FROM states WHERE record = ? AND bucket = ? AND time_us = ? AND sequence = ?",
    Kind::Read, 16
};

// ---- removing what was deleted, a partition at a time
inline constexpr Cql purgeChunks { "DELETE FROM chunks WHERE record = ? AND bucket = ?", Kind::Write };
inline constexpr Cql purgeInfos { "DELETE FROM chunk_infos WHERE record = ? AND bucket = ?", Kind::Write };
inline constexpr Cql purgeStates { "DELETE FROM states WHERE record = ? AND bucket = ?", Kind::Write };
inline constexpr Cql purgeDefinitions { "DELETE FROM definitions WHERE record = ?", Kind::Write };
inline constexpr Cql purgeInitials { "DELETE FROM initials WHERE record = ?", Kind::Write };
inline constexpr Cql purgeCounts { "DELETE FROM counts WHERE record = ?", Kind::Write };
inline constexpr Cql purgeFacts { "DELETE FROM facts WHERE record = ?", Kind::Write };
inline constexpr Cql purgeHolds { "DELETE FROM holds WHERE record = ?", Kind::Write };
inline constexpr Cql purgeBuckets { "DELETE FROM buckets WHERE record = ?", Kind::Write };

} // namespace recorder::cassandra::cql
