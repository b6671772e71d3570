// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "context.h"

#include <optional>

namespace recorder::cassandra {

// A record's row with what only this database keeps in it.
struct StoredRecord : RecordRow
{
    bool isThere = false; // a deleted record is not, though its row may be
    bool isDeleted = false;
    bool isOwned = false;
    std::string owner;
    std::string lastOwner;
    std::string countsSlot;

    // Somebody closes it because its owner died.
    bool isBeingRepaired() const { return isOwned && owner != lastOwner; }
    // Owner and state as conditions want them.
    Argument ownerArgument() const { return Argument::textOrNull(isOwned, owner); }
    std::int64_t stateNumber() const { return isDeleted ? 2 : static_cast<std::int64_t>(state); }
};

enum class Certainty
{
    AsStored,
    Settled // sees conditional writes that had no known outcome; takes longer
};

// The row alone, without facts, claim and counts. Done with isThere false when there is none.
StoreResult readRecord(Connection& connection, const std::string& uuid, Certainty certainty, StoredRecord& record);
// The counts in one of a record's slots, as JSON.
StoreResult readCounts(Connection& connection, const std::string& uuid, const std::string& slot, std::string& json);
// Description, completeness claimed and counted, of a row just read.
StoreResult readRest(Connection& connection, StoredRecord& record);
// In the order of their ordinals.
StoreResult readDefinitions(Connection& connection, const std::string& uuid, std::vector<DefinitionRow>& rows);
StoreResult readInitials(Connection& connection, const std::string& uuid, std::vector<InitialRow>& rows);

StoreResult noSuchRecord(const std::string& uuid);

// Bytes that are kept in several rows of at most this many.
inline constexpr std::size_t partBytes = 512 * 1024;
inline std::int64_t partsOf(std::string_view bytes)
{
    return static_cast<std::int64_t>(bytes.size() / partBytes + 1);
}
inline std::string_view partOf(std::string_view bytes, std::int64_t part)
{
    return bytes.substr(static_cast<std::size_t>(part) * partBytes, partBytes);
}

// Puts parts together that come in their order.
class Parts
{
public:
    void add(std::int64_t part, std::int64_t parts, std::string_view bytes);
    bool isWhole() const { return m_parts > 0 && m_next == m_parts; }
    std::string take() { return std::move(m_bytes); }

private:
    std::string m_bytes;
    std::int64_t m_next = 0;
    std::int64_t m_parts = 0;
};

} // namespace recorder::cassandra
