// SPDX-License-Identifier: Apache-2.0
#include "faultydatabase.h"

#include "dates.h"
#include "store/embedded/embeddedwriter.h"
#include "store/embedded/schema.h"
#include "store/embedded/statements.h"

#include <QStringList>
#include <QThread>

namespace recorder::testing {

// ---- faults -----------------------------------------------------------------------------------------------------

namespace {

Fault faultOf(const QString& name)
{
    return name == QLatin1String("none") ? Fault::None
        : name == QLatin1String("slow")  ? Fault::Slow
        : name == QLatin1String("fails") ? Fault::Fails
        : name == QLatin1String("hangs") ? Fault::Hangs
                                         : Fault::Random;
}

StoreResult notThere()
{
    return StoreResult::failed(StoreError::Unreachable, "The test database is not there.");
}

} // namespace

void FaultSwitch::set(Fault fault)
{
    {
        const std::lock_guard guard(m_mutex);
        m_plan.clear();
        m_fault = fault;
    }
    m_changed.notify_all();
}

void FaultSwitch::follow(const QString& plan)
{
    const std::lock_guard guard(m_mutex);
    auto until = std::chrono::steady_clock::now();
    for (const QString& step : plan.split(QLatin1Char(','))) {
        until += std::chrono::milliseconds(step.section(QLatin1Char(':'), 1).toInt());
        m_fault = faultOf(step.section(QLatin1Char(':'), 0, 0));
        m_plan.emplace_back(until, m_fault);
    }
}

Fault FaultSwitch::present()
{
    const std::lock_guard guard(m_mutex);
    const auto now = std::chrono::steady_clock::now();
    Fault fault = m_fault;
    for (const auto& [until, planned] : m_plan) {
        if (now < until) {
            fault = planned;
            break;
        }
    }
    if (fault == Fault::Random) {
        static constexpr Fault faults[] = { Fault::None, Fault::None, Fault::None, Fault::Slow, Fault::Fails,
            Fault::Hangs, Fault::AppliesAndFails, Fault::AppliesAndFails };
        fault = faults[m_random() % std::size(faults)];
    }
    return fault;
}

StoreResult FaultSwitch::hang()
{
    std::unique_lock lock(m_mutex);
    const Fault before = m_fault;
    m_changed.wait_for(lock, m_hang, [&] { return m_fault != before; });
    return StoreResult::unknown(StoreError::Unreachable, "The test database did not answer.");
}

StoreResult FaultSwitch::meet(const std::function<StoreResult()>& work)
{
    switch (present()) {
    case Fault::Slow:
        QThread::msleep(15);
        break;
    case Fault::Fails:
        return notThere();
    case Fault::Refuses:
        return StoreResult::failed(StoreError::Refused, "The test database lets nobody in.");
    case Fault::Hangs:
        return hang();
    case Fault::AppliesAndFails:
        (void)work();
        return StoreResult::unknown(StoreError::Unreachable, "The test database broke off.");
    case Fault::None:
    case Fault::Random:
        break;
    }
    ++m_writes;
    return work();
}

// ---- the database -----------------------------------------------------------------------------------------------

class FaultySink : public ChunkSink
{
public:
    FaultySink(FaultyDatabase& database, std::string uuid)
        : m_database(database)
        , m_uuid(std::move(uuid))
    {
    }
    StoreResult write(const Batch& batch) override
    {
        return m_database.m_faults->meet([&] { return m_database.writeNow(m_uuid, batch); });
    }
    void abandon(const Batch& last) override { (void)m_database.writeNow(m_uuid, last); }

private:
    FaultyDatabase& m_database;
    const std::string m_uuid;
};

FaultyDatabase::FaultyDatabase(
    const std::filesystem::path& directory, std::shared_ptr<FaultSwitch> faults, Store::MessageHandler onMessage)
    : m_faults(std::move(faults))
    , m_context(std::make_shared<EmbeddedContext>())
{
    m_context->options.directory = directory;
    m_context->options.onMessage = std::move(onMessage);
    m_context->file = directory / "records.db";
    m_context->token = newRecordUuid();
}

FaultyDatabase::~FaultyDatabase()
{
    m_store.reset();
    if (m_database.isOpen()) {
        m_context->lock.release();
    }
}

StoreResult FaultyDatabase::ensureOpen()
{
    if (m_store) {
        return StoreResult::done();
    }
    StoreResult result;
    m_store = openEmbeddedStore(m_context->options, result);
    if (result) {
        result = m_context->lock.take(m_context->options.directory, m_context->token);
    }
    if (result) {
        result = m_context->connect(m_database);
    }
    return result;
}

StoreResult FaultyDatabase::connect()
{
    return m_faults->meet([&] {
        const std::lock_guard guard(m_mutex);
        return ensureOpen();
    });
}

StoreResult FaultyDatabase::find(const std::string& uuid, Row& row)
{
    if (StoreResult result = ensureOpen(); !result) {
        return result;
    }
    Statement statement(m_database, sql::findRecord);
    if (!statement.bindText(0, uuid).step()) {
        return statement.result() ? StoreResult::failed(StoreError::NotFound, "There is no record " + uuid + '.')
                                  : statement.result();
    }
    row.id = statement.integer(0);
    row.owner = statement.text(2);
    return StoreResult::done();
}

StoreResult FaultyDatabase::announce(const std::string& token, std::int64_t expiresUs)
{
    return Statement(m_database, sql::putOwner).bindText(0, token).bind(1, expiresUs).run();
}

StoreResult FaultyDatabase::own(std::int64_t id, const std::string& token)
{
    return Statement(m_database, sql::takeRecord).bindText(0, token).bind(1, id).run();
}

StoreResult FaultyDatabase::records(std::string_view namePart, std::vector<RecordSummary>& list)
{
    return m_faults->meet([&] {
        const std::lock_guard guard(m_mutex);
        StoreResult result = m_store->records(namePart, list);
        for (RecordSummary& summary : list) {
            Row row;
            summary.isOwnedHere = find(summary.uuid, row) && row.owner == m_context->token;
        }
        return result;
    });
}

StoreResult FaultyDatabase::listRevision(std::uint64_t& revision)
{
    return m_faults->meet([&] { return m_store->listRevision(revision); });
}

StoreResult FaultyDatabase::open(const std::string& uuid, std::unique_ptr<RecordReader>& reader)
{
    return m_faults->meet([&] { return m_store->open(uuid, reader); });
}

StoreResult FaultyDatabase::rename(const std::string& uuid, const std::string& name)
{
    return m_faults->meet([&] { return m_store->rename(uuid, name); });
}

StoreResult FaultyDatabase::remove(const std::string& uuid)
{
    return m_faults->meet([&] { return m_store->remove(uuid); });
}

StoreResult FaultyDatabase::create(const RecordFacts& facts)
{
    return m_faults->meet([&] { return createNow(facts); });
}

StoreResult FaultyDatabase::createNow(const RecordFacts& facts)
{
    const std::lock_guard guard(m_mutex);
    Row row;
    if (StoreResult result = find(facts.uuid, row); result) {
        return row.owner == m_context->token
            ? result
            : StoreResult::failed(StoreError::Refused, "There is a record " + facts.uuid + " already.");
    }
    if (StoreResult result = announce(m_context->token, nowEpochUs() + 5'000'000); !result) {
        return result;
    }
    Statement insert(m_database, sql::insertRecord);
    insert.bindText(0, facts.uuid).bindText(1, facts.name).bindText(2, facts.description).bind(3, facts.startUs);
    insert.bind(4, facts.origin == RecordOrigin::Imported ? 1 : 0);
    insert.bind(5, static_cast<std::int64_t>(RecordState::Recording)).bindText(6, m_context->token);
    if (StoreResult result = insert.bind(7, facts.durationUs).run(); !result) {
        return result;
    }
    return Statement(m_database, sql::bumpRevision).run();
}

StoreResult FaultyDatabase::adopt(const std::string& uuid, WriterStart& start)
{
    return m_faults->meet([&] { return adoptNow(uuid, start); });
}

StoreResult FaultyDatabase::adoptNow(const std::string& uuid, WriterStart& start)
{
    const std::lock_guard guard(m_mutex);
    Row found;
    EmbeddedRow row;
    if (StoreResult result = find(uuid, found); !result) {
        return result;
    }
    int damaged = 0;
    StoreResult result = readRecord(m_database, found.id, row);
    if (result && row.facts.origin != RecordOrigin::Imported) {
        return StoreResult::failed(StoreError::Refused, "The record " + uuid + " was recorded, not imported.");
    }
    if (result && !found.owner.empty()) {
        return StoreResult::failed(StoreError::InUse, "The record " + uuid + " is being written already.");
    }
    result = result ? readDefinitions(m_database, row.id, start.definitions) : result;
    result = result ? readInitials(m_database, row.id, start.initials) : result;
    result = result ? restoreTally(m_database, row, start.tally, damaged) : result;
    result = result ? announce(m_context->token, nowEpochUs() + 5'000'000) : result;
    result = result ? own(row.id, m_context->token) : result;
    start.facts = row.facts;
    start.facts.completeness = row.claimed;
    start.extent = row.extent;
    start.recordState = row.state;
    return result;
}

StoreResult FaultyDatabase::reclaim(const std::string& uuid, const std::string& formerOwner)
{
    return m_faults->meet([&] { return reclaimNow(uuid, formerOwner); });
}

StoreResult FaultyDatabase::reclaimNow(const std::string& uuid, const std::string& formerOwner)
{
    const std::lock_guard guard(m_mutex);
    Row row;
    if (StoreResult result = find(uuid, row); !result) {
        return result;
    }
    if (!row.owner.empty() && row.owner != formerOwner && row.owner != m_context->token) {
        return StoreResult::failed(StoreError::InUse, "Another recorder owns the record " + uuid + '.');
    }
    if (StoreResult result = announce(m_context->token, nowEpochUs() + 5'000'000); !result) {
        return result;
    }
    return own(row.id, m_context->token);
}

std::unique_ptr<ChunkSink> FaultyDatabase::sink(const std::string& uuid)
{
    return std::make_unique<FaultySink>(*this, uuid);
}

StoreResult FaultyDatabase::writeNow(const std::string& uuid, const Batch& batch)
{
    const std::lock_guard guard(m_mutex);
    Row row;
    if (StoreResult result = find(uuid, row); !result) {
        return result;
    }
    Statement putChunk(m_database, sql::putChunk);
    Statement updateExtent(m_database, sql::updateExtent);
    return writeBatch(m_database, putChunk, updateExtent, m_context->token, row.id, batch);
}

StoreResult FaultyDatabase::repair(const std::string& uuid)
{
    return m_faults->meet([&] { return closeByAnother(uuid); });
}

StoreResult FaultyDatabase::closeByAnother(const std::string& uuid)
{
    const std::lock_guard guard(m_mutex);
    Row row;
    StoreResult result = find(uuid, row);
    result = result ? announce("nobody", 1) : result;
    result = result ? own(row.id, "nobody") : result;
    return result ? repairAbandoned(m_database, *m_context) : result;
}

} // namespace recorder::testing
