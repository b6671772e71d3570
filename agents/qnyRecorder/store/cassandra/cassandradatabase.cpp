// SPDX-License-Identifier: Apache-2.0
#include "cassandradatabase.h"

#include "../chunkedreader.h"
#include "recordchunks.h"
#include "replication.h"
#include "schema.h"
#include "sink.h"
#include "statements.h"

#include <QString>

#include <algorithm>
#include <tuple>

namespace recorder::cassandra {

namespace {

// Buckets that an owner who lost an import may still be writing to are left out.
constexpr std::int32_t bucketsSkipped = 16;

QString fromUtf8(std::string_view text)
{
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

} // namespace

CassandraDatabase::CassandraDatabase(const CassandraOptions& options)
    : m_context(std::make_shared<Context>(options))
{
}

CassandraDatabase::~CassandraDatabase()
{
    m_upkeep.reset();
    if (m_context->isConnected && m_context->orphans.empty()) {
        // What cannot be cleaned up now ends with the lease.
        (void)m_context->connection.write(cql::removeOwner, { m_context->token });
    }
}

std::string CassandraDatabase::describe() const
{
    return "cassandra " + m_context->server + ", keyspace " + m_context->options.keyspace;
}

// ---- connecting

StoreResult CassandraDatabase::connect()
{
    const std::lock_guard guard(m_connecting);
    if (!m_context->isConnected) {
        return connectFirst();
    }
    std::uint64_t revision = 0;
    return listRevision(revision);
}

StoreResult CassandraDatabase::connectFirst()
{
    const CassandraOptions& options = m_context->options;
    const std::optional<std::string> replication = replicationMap(options.replication);
    if (!replication || !isConsistency(options.consistency)) {
        return StoreResult::failed(StoreError::Refused,
            "The replication \"" + options.replication + "\" or the consistency \"" + options.consistency
                + "\" is none that Cassandra has.");
    }
    cassandra_options given {};
    given.host = options.host.c_str();
    given.port = options.port;
    given.user = options.user.c_str();
    given.password = options.password.c_str();
    given.tls = options.tls ? 1 : 0;
    given.tls_ca_file = options.tlsCaFile.c_str();
    given.consistency = options.consistency.c_str();
    given.connect_timeout_ms = Patience().connectMs;
    Connection& connection = m_context->connection;
    StoreResult result = connection.isOpen() ? StoreResult::done() : connection.open(given);
    if (result) {
        result = prepareSchema(connection, options.keyspace, *replication);
    }
    if (result) {
        result = m_context->announceOwner();
    }
    if (!result) {
        return result;
    }
    m_context->isConnected = true;
    // What fails here is tried again in the background.
    result = repairAbandoned(m_context, Others::AreAwaited);
    m_upkeep = std::make_unique<Upkeep>(m_context);
    return result;
}

// ---- records

StoreResult CassandraDatabase::records(std::string_view namePart, std::vector<RecordSummary>& list)
{
    list.clear();
    if (StoreResult result = m_context->requireConnected(); !result) {
        return result;
    }
    const QString wanted = fromUtf8(namePart);
    StoreResult result
        = m_context->connection.forEach(cql::listRecords, {}, [&](const Answer& answer, std::size_t row) {
              const bool isWanted
                  = wanted.isEmpty() || fromUtf8(answer.bytes(row, 1)).contains(wanted, Qt::CaseInsensitive);
              // What a purge leaves for a while has no name.
              if (answer.isNull(row, 1) || answer.integer(row, 5) > 1 || !isWanted) {
                  return true;
              }
              RecordSummary& summary = list.emplace_back();
              summary.uuid = answer.text(row, 0);
              summary.name = answer.text(row, 1);
              summary.startUs = answer.integer(row, 2);
              summary.durationUs = answer.integer(row, 3);
              summary.events = answer.number(row, 4);
              summary.isRecording = answer.integer(row, 5) == static_cast<int>(RecordState::Recording);
              summary.isOpen = !answer.isNull(row, 6);
              summary.isOwnedHere = summary.isOpen && answer.bytes(row, 6) == m_context->token;
              summary.origin = answer.integer(row, 7) == 1 ? RecordOrigin::Imported : RecordOrigin::Recorded;
              return true;
          });
    if (!result) {
        list.clear();
    }
    std::sort(list.begin(), list.end(), [](const RecordSummary& left, const RecordSummary& right) {
        return std::tie(left.startUs, left.uuid) < std::tie(right.startUs, right.uuid);
    });
    return result;
}

StoreResult CassandraDatabase::listRevision(std::uint64_t& revision)
{
    if (StoreResult result = m_context->requireConnected(); !result) {
        return result;
    }
    const Answer answer = m_context->connection.execute(cql::readRevision, {});
    revision = answer.number(0, 0);
    return answer.result();
}

// What is deleted counts as not there.
StoreResult CassandraDatabase::find(const std::string& uuid, Certainty certainty, StoredRecord& record)
{
    if (StoreResult result = m_context->requireConnected(); !result) {
        return result;
    }
    StoreResult result = readRecord(m_context->connection, uuid, certainty, record);
    return result && !record.isThere ? noSuchRecord(uuid) : result;
}

StoreResult CassandraDatabase::open(const std::string& uuid, std::unique_ptr<RecordReader>& reader)
{
    if (StoreResult result = m_context->requireConnected(); !result) {
        return result;
    }
    // Whoever deletes it sees the hold, or we see that it is deleted.
    auto hold = std::make_unique<Hold>(m_context, uuid);
    if (StoreResult result = hold->take(); !result) {
        return result;
    }
    StoredRecord record;
    if (StoreResult result = find(uuid, Certainty::AsStored, record); !result) {
        return result;
    }
    std::vector<DefinitionRow> definitionRows;
    std::vector<InitialRow> initialRows;
    StoreResult result = readRest(m_context->connection, record);
    if (result) {
        result = readDefinitions(m_context->connection, uuid, definitionRows);
    }
    if (result) {
        result = readInitials(m_context->connection, uuid, initialRows);
    }
    if (!result) {
        return result;
    }
    std::vector<AgentDefinition> definitions;
    for (DefinitionRow& row : definitionRows) {
        definitions.push_back(std::move(row.definition));
    }
    std::vector<OutputValue> initials;
    for (InitialRow& row : initialRows) {
        initials.push_back(std::move(row.initial));
    }
    auto chunks = std::make_unique<RecordChunks>(m_context, uuid);
    chunks->hold(std::move(hold), record.extent);
    reader = std::make_unique<ChunkedReader>(
        std::move(chunks), std::move(record.facts), std::move(definitions), std::move(initials));
    return result;
}

StoreResult CassandraDatabase::rename(const std::string& uuid, const std::string& name)
{
    if (StoreResult result = m_context->requireConnected(); !result) {
        return result;
    }
    bool applied = false;
    if (StoreResult result = m_context->connection.executeIf(cql::renameRecord, { name, uuid }, applied); !result) {
        return result;
    }
    return applied ? m_context->bumpRevision()
                   : StoreResult::failed(StoreError::NotFound, "There is no record " + uuid + " to rename.");
}

// ---- removing

bool CassandraDatabase::isRemovalUnsure(const std::string& uuid)
{
    const std::lock_guard guard(m_removalsMutex);
    return m_unsureRemovals.contains(uuid);
}

void CassandraDatabase::rememberRemoval(const std::string& uuid, const StoreResult& result)
{
    const std::lock_guard guard(m_removalsMutex);
    if (result.outcome == Outcome::Unknown) {
        m_unsureRemovals.insert(uuid);
    } else {
        m_unsureRemovals.erase(uuid);
    }
}

StoreResult CassandraDatabase::remove(const std::string& uuid)
{
    StoredRecord record;
    StoreResult result = find(uuid, Certainty::Settled, record);
    if (result) {
        result = markDeleted(record);
    } else if (result.error == StoreError::NotFound && isRemovalUnsure(uuid)) {
        result = m_context->bumpRevision(); // it was done then
    }
    rememberRemoval(uuid, result);
    m_context->wakeUpkeep();
    return result;
}

StoreResult CassandraDatabase::markDeleted(const StoredRecord& record)
{
    Connection& connection = m_context->connection;
    const std::string& uuid = record.facts.uuid;
    Owners owners;
    if (StoreResult result = owners.read(connection); !result) {
        return result;
    }
    if (record.isOwned && (record.owner == m_context->token || owners.isAlive(record.owner))) {
        return StoreResult::failed(StoreError::InUse, "The record is being written and cannot be deleted now.");
    }
    const StoreResult inUse
        = StoreResult::failed(StoreError::InUse, "The record is being replayed or exported and cannot be deleted now.");
    bool isRead = false;
    if (StoreResult result = Hold::isRead(*m_context, uuid, isRead); !result || isRead) {
        return isRead ? inUse : result;
    }
    if (StoreResult result = connection.write(cql::putWork, { uuid, m_context->token }); !result) {
        return result;
    }
    bool applied = false;
    if (StoreResult result
        = connection.executeIf(cql::markRecord, { 2, uuid, record.ownerArgument(), record.stateNumber() }, applied);
        !result) {
        return result;
    }
    StoredRecord now;
    if (StoreResult result = readRecord(connection, uuid, Certainty::Settled, now); !result) {
        return StoreResult::unknown(result.error, result.message);
    }
    if (now.isThere) {
        return StoreResult::failed(StoreError::InUse, "The record was changed just now and cannot be deleted.");
    }
    // Whoever began to read it meanwhile either sees that it is deleted or is seen here.
    if (StoreResult result = Hold::isRead(*m_context, uuid, isRead); !result || isRead) {
        if (isRead) {
            (void)connection.executeIf(
                cql::markRecord, { static_cast<std::int64_t>(record.state), uuid, Argument::null(), 2 }, applied);
            return inUse;
        }
        return StoreResult::unknown(result.error, result.message);
    }
    return m_context->bumpRevision();
}

// ---- writing

StoreResult CassandraDatabase::create(const RecordFacts& facts)
{
    if (StoreResult result = m_context->requireConnected(); !result) {
        return result;
    }
    if (facts.uuid.empty()) {
        return StoreResult::failed(StoreError::Refused, "A record needs a uuid.");
    }
    Connection& connection = m_context->connection;
    const std::string claimed = claimToStore(facts.completeness);
    const std::vector<RowToWrite> rows {
        { cql::putWork, { facts.uuid, m_context->token } },
        { cql::putFacts, { facts.uuid, facts.description, claimed } },
    };
    if (StoreResult result = connection.write(rows); !result) {
        return result;
    }
    const std::string& token = m_context->token;
    bool applied = false;
    if (StoreResult result = connection.executeIf(cql::insertRecord,
            { facts.uuid, facts.name, facts.startUs, facts.origin == RecordOrigin::Imported ? 1 : 0, token, token,
                facts.durationUs },
            applied);
        !result) {
        return result;
    }
    if (!applied) {
        StoredRecord record;
        if (StoreResult result = readRecord(connection, facts.uuid, Certainty::Settled, record); !result) {
            return result;
        }
        if (record.isDeleted) {
            return StoreResult::failed(StoreError::NotFound, "The record " + facts.uuid + " was deleted.");
        }
        // Made by this object before; meanwhile another recorder may have taken it for dead and closed the record.
        if (record.isThere && record.owner != token && record.lastOwner == token) {
            return reclaim(facts.uuid, token);
        }
        if (!record.isThere || record.owner != token) {
            return StoreResult::failed(StoreError::Refused, "There is a record " + facts.uuid + " already.");
        }
    }
    return m_context->bumpRevision();
}

// Makes a record ours that is as `record` says.
StoreResult CassandraDatabase::take(const StoredRecord& record)
{
    Connection& connection = m_context->connection;
    const std::string& uuid = record.facts.uuid;
    const std::string& token = m_context->token;
    if (StoreResult result = connection.write(cql::putWork, { uuid, token }); !result) {
        return result;
    }
    bool applied = false;
    if (StoreResult result = connection.executeIf(
            cql::takeRecord, { token, token, uuid, record.ownerArgument(), record.stateNumber() }, applied);
        !result) {
        return result;
    }
    if (!applied) {
        StoredRecord now;
        if (StoreResult result = find(uuid, Certainty::Settled, now); !result) {
            return result;
        }
        if (now.owner != token || now.isBeingRepaired()) {
            return StoreResult::failed(StoreError::InUse, "The record " + uuid + " is being written already.");
        }
    }
    return m_context->bumpRevision();
}

StoreResult CassandraDatabase::adopt(const std::string& uuid, WriterStart& start)
{
    StoredRecord record;
    if (StoreResult result = find(uuid, Certainty::Settled, record); !result) {
        return result;
    }
    if (record.facts.origin != RecordOrigin::Imported) {
        return StoreResult::failed(
            StoreError::Refused, "The record " + uuid + " was recorded, not imported: nothing is added to it.");
    }
    if (record.isOwned) {
        return StoreResult::failed(StoreError::InUse, "The record " + uuid + " is being written already.");
    }
    if (StoreResult result = take(record); !result) {
        return result;
    }
    StoreResult result = find(uuid, Certainty::Settled, record);
    if (result) {
        result = readStart(record, start);
    }
    if (!result) {
        // Nobody would ever give it back.
        const StoreResult closed = closeFromStored(m_context, uuid);
        if (!closed && closed.error != StoreError::NotFound) {
            m_context->say(closed.message);
        }
    }
    return result;
}

StoreResult CassandraDatabase::readStart(StoredRecord& record, WriterStart& start)
{
    Connection& connection = m_context->connection;
    const std::string& uuid = record.facts.uuid;
    StoreResult result = readRest(connection, record);
    if (result) {
        result = readDefinitions(connection, uuid, start.definitions);
    }
    if (result) {
        result = readInitials(connection, uuid, start.initials);
    }
    int damaged = 0;
    if (result) {
        result = RecordChunks(m_context, uuid).restoreTally(record, start.tally, damaged);
    }
    start.facts = record.facts;
    start.facts.completeness = record.claimed;
    start.extent = record.extent;
    start.extent.bucket += bucketsSkipped;
    start.recordState = record.state;
    return result;
}

StoreResult CassandraDatabase::reclaim(const std::string& uuid, const std::string& formerOwner)
{
    StoredRecord record;
    if (StoreResult result = find(uuid, Certainty::Settled, record); !result) {
        return result;
    }
    const std::string& token = m_context->token;
    if (record.owner == token && record.lastOwner == token) {
        return StoreResult::done();
    }
    if (record.lastOwner != formerOwner) {
        return StoreResult::failed(StoreError::InUse, "Another recorder has written to the record " + uuid + " since.");
    }
    if (record.isOwned && record.owner != formerOwner) {
        Owners owners;
        if (StoreResult result = owners.read(m_context->connection); !result) {
            return result;
        }
        if (record.owner != token && owners.isAlive(record.owner)) {
            return StoreResult::failed(StoreError::InUse, "Another recorder is closing the record " + uuid + '.');
        }
    }
    return take(record);
}

std::unique_ptr<ChunkSink> CassandraDatabase::sink(const std::string& uuid)
{
    return std::make_unique<Sink>(m_context, uuid);
}

StoreResult CassandraDatabase::repair(const std::string& uuid)
{
    if (StoreResult result = m_context->requireConnected(); !result) {
        return result;
    }
    return closeFromStored(m_context, uuid);
}

} // namespace recorder::cassandra
