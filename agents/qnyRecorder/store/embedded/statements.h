// SPDX-License-Identifier: Apache-2.0
#pragma once

// The statements of the embedded store. Names of parameters stand in comments where their order is not plain.
namespace recorder::sql {

inline constexpr const char* bumpRevision = "UPDATE meta SET value = value + 1 WHERE key = 'revision'";
inline constexpr const char* readRevision = "SELECT value FROM meta WHERE key = 'revision'";

// ---- owners
inline constexpr const char* putOwner = "INSERT OR REPLACE INTO owners (token, expires_us) VALUES (?, ?)";
inline constexpr const char* removeOwner = "DELETE FROM owners WHERE token = ?";
inline constexpr const char* listOwners = "SELECT token, expires_us FROM owners";
inline constexpr const char* ownerExpiry = "SELECT expires_us FROM owners WHERE token = ?";
inline constexpr const char* recordsOfOwner = "SELECT id FROM records WHERE owner = ?";
inline constexpr const char* strayOwners
    = "SELECT DISTINCT owner FROM records WHERE owner IS NOT NULL AND owner NOT IN (SELECT token FROM owners)";
inline constexpr const char* dropHoldsOf = "DELETE FROM holds WHERE owner = ?";

// ---- holds
inline constexpr const char* putHold = "INSERT OR REPLACE INTO holds (record, owner) VALUES (?, ?)";
inline constexpr const char* removeHold = "DELETE FROM holds WHERE record = ? AND owner = ?";
inline constexpr const char* holdsOf = "SELECT owner FROM holds WHERE record = ?";

// ---- records
inline constexpr const char* insertRecord
    = "INSERT INTO records (uuid, name, description, start_us, origin, state, owner, duration_us)"
      " VALUES (?, ?, ?, ?, ?, ?, ?, ?)";
inline constexpr const char* listRecords
    = "SELECT uuid, name, start_us, duration_us, events, state, owner, origin FROM records WHERE state < 2"
      " ORDER BY start_us, id";
inline constexpr const char* findRecord = "SELECT id, state, owner, origin FROM records WHERE uuid = ? AND state < 2";
inline constexpr const char* readRecord
    = "SELECT uuid, name, description, start_us, origin, state, duration_us, events, next_sequence, bucket, high_us,"
      " max_span_us, max_late_us, claimed, counted, counted_through FROM records WHERE id = ?";
inline constexpr const char* readSpans
    = "SELECT duration_us, next_sequence, high_us, max_span_us, max_late_us FROM records WHERE id = ?";
inline constexpr const char* renameRecord = "UPDATE records SET name = ? WHERE uuid = ? AND state < 2";
inline constexpr const char* takeRecord = "UPDATE records SET owner = ? WHERE id = ?";
inline constexpr const char* markDeleted = "UPDATE records SET state = 2, owner = NULL WHERE id = ?";

// Only while the record is still ours: no row changes otherwise.
// state, duration, events, next_sequence, bucket, high, max_span, max_late, new owner, id, owner
inline constexpr const char* updateExtent
    = "UPDATE records SET state = ?, duration_us = ?, events = ?, next_sequence = ?, bucket = ?, high_us = ?,"
      " max_span_us = ?, max_late_us = ?, owner = ? WHERE id = ? AND owner = ? AND state < 2";
inline constexpr const char* updateFacts = "UPDATE records SET description = ?, start_us = ?, claimed = ? WHERE id = ?";
inline constexpr const char* updateCounted = "UPDATE records SET counted = ?, counted_through = ? WHERE id = ?";
// duration, counted, counted_through, id
inline constexpr const char* repairRecord
    = "UPDATE records SET state = 1, owner = NULL, duration_us = max(duration_us, high_us, ?), counted = ?,"
      " counted_through = ? WHERE id = ?";
inline constexpr const char* releaseRecord = "UPDATE records SET owner = NULL WHERE id = ?";

// ---- what belongs to a record
inline constexpr const char* putDefinition
    = "INSERT OR REPLACE INTO definitions (record, agent, ordinal, json) VALUES (?, ?, ?, ?)";
inline constexpr const char* readDefinitions
    = "SELECT ordinal, agent, json FROM definitions WHERE record = ? ORDER BY ordinal";
inline constexpr const char* putInitial
    = "INSERT OR REPLACE INTO initials (record, agent, output, ordinal, packed) VALUES (?, ?, ?, ?, ?)";
inline constexpr const char* readInitials
    = "SELECT ordinal, agent, output, packed FROM initials WHERE record = ? ORDER BY ordinal";
inline constexpr const char* putChunk
    = "INSERT OR REPLACE INTO chunks (id, record, sequence, bucket, first_us, last_us, count, packed)"
      " VALUES (?, ?, ?, ?, ?, ?, ?, ?)";
inline constexpr const char* loadChunk = "SELECT packed FROM chunks WHERE id = ?";
// record, first, first, sequence, most first, least last, most
inline constexpr const char* chunksAfter
    = "SELECT sequence, bucket, first_us, last_us, count FROM chunks INDEXED BY chunks_by_time"
      " WHERE record = ?1 AND (first_us, sequence) > (?2, ?3) AND first_us <= ?4 AND last_us >= ?5"
      " ORDER BY first_us, sequence LIMIT ?6";
inline constexpr const char* chunksFrom // the sequence as its key has it, so that a walk always comes further
    = "SELECT id & 4294967295, packed FROM chunks WHERE id >= ? AND id < ? ORDER BY id LIMIT 16";
inline constexpr const char* putState
    = "INSERT OR REPLACE INTO states (record, time_us, sequence, packed) VALUES (?, ?, ?, ?)";
inline constexpr const char* stateUpTo
    = "SELECT time_us, sequence, packed FROM states WHERE record = ? AND time_us <= ?"
      " ORDER BY time_us DESC, sequence DESC LIMIT 1";
inline constexpr const char* stateThrough
    = "SELECT sequence, packed FROM states WHERE record = ? AND sequence <= ? ORDER BY sequence DESC LIMIT 1";

// ---- removing what was deleted
inline constexpr const char* someDeleted = "SELECT id FROM records WHERE state = 2 LIMIT 1";
inline constexpr const char* purgeChunks
    = "DELETE FROM chunks WHERE id IN (SELECT id FROM chunks WHERE id >= ? AND id < ? ORDER BY id LIMIT ?)";
inline constexpr const char* purgeStates = "DELETE FROM states WHERE record = ?";
inline constexpr const char* purgeDefinitions = "DELETE FROM definitions WHERE record = ?";
inline constexpr const char* purgeInitials = "DELETE FROM initials WHERE record = ?";
inline constexpr const char* purgeHolds = "DELETE FROM holds WHERE record = ?";
inline constexpr const char* purgeRecord = "DELETE FROM records WHERE id = ? AND state = 2";

} // namespace recorder::sql
