// SPDX-License-Identifier: Apache-2.0
#include "rows.h"

#include "statements.h"

#include <algorithm>

namespace recorder::cassandra {

void Parts::add(std::int64_t part, std::int64_t parts, std::string_view bytes)
{
    if (part == 0) {
        m_parts = parts;
    }
    // Left over from a longer value before, or one is missing.
    if (part < m_parts && part == m_next) {
        m_bytes += bytes;
        ++m_next;
    }
}

StoreResult noSuchRecord(const std::string& uuid)
{
    return StoreResult::failed(StoreError::NotFound, "There is no record " + uuid + '.');
}

StoreResult readRecord(Connection& connection, const std::string& uuid, Certainty certainty, StoredRecord& record)
{
    record = StoredRecord();
    const Answer answer
        = connection.execute(certainty == Certainty::Settled ? cql::readRecordForSure : cql::readRecord, { uuid });
    // What a purge leaves for a while has no name.
    if (!answer || answer.rows() == 0 || answer.isNull(0, 0)) {
        return answer.result();
    }
    record.facts.uuid = uuid;
    record.facts.name = answer.text(0, 0);
    record.facts.startUs = answer.integer(0, 1);
    record.facts.origin = answer.integer(0, 2) == 1 ? RecordOrigin::Imported : RecordOrigin::Recorded;
    record.state = answer.integer(0, 3) == 0 ? RecordState::Recording : RecordState::Whole;
    record.isDeleted = answer.integer(0, 3) == 2;
    record.isThere = !record.isDeleted;
    record.isOwned = !answer.isNull(0, 4);
    record.owner = answer.text(0, 4);
    record.lastOwner = answer.text(0, 5);
    record.extent.durationUs = answer.integer(0, 6);
    record.extent.events = answer.number(0, 7);
    record.extent.nextSequence = answer.number(0, 8);
    record.extent.bucket = static_cast<std::int32_t>(answer.integer(0, 9));
    record.extent.highUs = answer.integer(0, 10);
    record.extent.maxSpanUs = answer.integer(0, 11);
    record.extent.maxLateUs = answer.integer(0, 12);
    record.countsSlot = answer.text(0, 13);
    record.countedThrough = answer.number(0, 14);
    record.facts.durationUs = record.extent.durationUs;
    return StoreResult::done();
}

StoreResult readCounts(Connection& connection, const std::string& uuid, const std::string& slot, std::string& json)
{
    Parts counts;
    StoreResult result
        = connection.forEach(cql::readCounts, { uuid, slot }, [&](const Answer& answer, std::size_t row) {
              counts.add(answer.integer(row, 0), answer.integer(row, 1), answer.bytes(row, 2));
              return true;
          });
    json = counts.take();
    return result;
}

StoreResult readRest(Connection& connection, StoredRecord& record)
{
    const Answer facts = connection.execute(cql::readFacts, { record.facts.uuid });
    if (!facts) {
        return facts.result();
    }
    record.facts.description = facts.text(0, 0);
    record.claimed = storedCompleteness(facts.text(0, 1));
    std::string counts;
    if (StoreResult result = readCounts(connection, record.facts.uuid, record.countsSlot, counts); !result) {
        return result;
    }
    record.counted = storedCompleteness(counts);
    record.facts.completeness = withClaim(record.claimed, record.counted);
    return StoreResult::done();
}

StoreResult readDefinitions(Connection& connection, const std::string& uuid, std::vector<DefinitionRow>& rows)
{
    StoreResult result = connection.forEach(cql::readDefinitions, { uuid }, [&](const Answer& answer, std::size_t row) {
        rows.push_back(
            { static_cast<std::uint32_t>(answer.integer(row, 0)), { answer.text(row, 1), answer.text(row, 2) } });
        return true;
    });
    std::sort(rows.begin(), rows.end(),
        [](const DefinitionRow& left, const DefinitionRow& right) { return left.ordinal < right.ordinal; });
    return result;
}

StoreResult readInitials(Connection& connection, const std::string& uuid, std::vector<InitialRow>& rows)
{
    Parts parts;
    StoreResult result = connection.forEach(cql::readInitials, { uuid }, [&](const Answer& answer, std::size_t row) {
        if (answer.integer(row, 2) == 0) {
            parts = Parts();
        }
        parts.add(answer.integer(row, 2), answer.integer(row, 3), answer.bytes(row, 5));
        if (parts.isWhole()) {
            InitialRow found { static_cast<std::uint32_t>(answer.integer(row, 4)),
                { answer.text(row, 0), answer.text(row, 1), {} } };
            if (unpackInitial(std::exchange(parts, Parts()).take(), found.initial)) {
                rows.push_back(std::move(found));
            }
        }
        return true;
    });
    std::sort(rows.begin(), rows.end(),
        [](const InitialRow& left, const InitialRow& right) { return left.ordinal < right.ordinal; });
    return result;
}

} // namespace recorder::cassandra
