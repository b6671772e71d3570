// SPDX-License-Identifier: Apache-2.0
#include "embeddedstore.h"

#include "../../dates.h"
#include "context.h"
#include "embeddedreader.h"
#include "embeddedwriter.h"
#include "schema.h"
#include "statements.h"
#include "upkeep.h"

#include <QString>

#include <limits>
#include <system_error>

namespace recorder {

namespace {

QString fromUtf8(std::string_view text)
{
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

// A record as it stands in the list.
struct FoundRecord
{
    std::int64_t id = 0;
    bool isOwned = false;
    std::string owner;
    RecordOrigin origin = RecordOrigin::Recorded;
};

class EmbeddedStore : public Store
{
public:
    explicit EmbeddedStore(std::shared_ptr<EmbeddedContext> context)
        : m_context(std::move(context))
    {
    }
    ~EmbeddedStore() override;

    StoreResult start();

    std::string describe() const override { return m_context->file.string(); }
    StoreResult records(std::string_view namePart, std::vector<RecordSummary>& list) override;
    StoreResult listRevision(std::uint64_t& revision) override;
    StoreResult create(const RecordFacts& facts, std::unique_ptr<RecordWriter>& writer) override;
    StoreResult resume(const std::string& uuid, std::unique_ptr<RecordWriter>& writer) override;
    StoreResult open(const std::string& uuid, std::unique_ptr<RecordReader>& reader) override;
    StoreResult rename(const std::string& uuid, const std::string& name) override;
    StoreResult remove(const std::string& uuid) override;

private:
    StoreResult find(const std::string& uuid, FoundRecord& record);
    StoreResult renameNow(const std::string& uuid, const std::string& name);
    StoreResult removeNow(const std::string& uuid);
    StoreResult announceOwner();
    bool isOwnerAlive(const std::string& token);
    StoreResult checkUnused(const FoundRecord& record);
    StoreResult makeWriter(std::int64_t record, WriterStart start, std::unique_ptr<RecordWriter>& writer);

    std::shared_ptr<EmbeddedContext> m_context;
    std::mutex m_mutex; // guards the connection
    Database m_database;
    std::unique_ptr<Statement> m_readRevision;
    std::unique_ptr<Upkeep> m_upkeep;
};

EmbeddedStore::~EmbeddedStore()
{
    m_upkeep.reset();
    if (m_database.isOpen() && m_context->orphans.empty()) {
        // What cannot be cleaned up now is cleaned up by whoever opens the store next.
        (void)Statement(m_database, sql::dropHoldsOf).bindText(0, m_context->token).run();
        if (Statement(m_database, sql::removeOwner).bindText(0, m_context->token).run()) {
            m_context->lock.release();
        }
    }
    m_readRevision.reset();
}

StoreResult EmbeddedStore::start()
{
    std::error_code error;
    std::filesystem::create_directories(m_context->options.directory, error);
    if (error) {
        return StoreResult::failed(StoreError::Unreachable,
            "The data directory " + m_context->options.directory.string() + " cannot be made (" + error.message()
                + "): give another --data-directory.");
    }
    if (StoreResult result = checkFiles(m_context->file); !result) {
        return result;
    }
    const auto take = [this] { return m_context->lock.take(m_context->options.directory, m_context->token); };
    if (StoreResult result = m_context->withRoom(m_database, take); !result) {
        return result;
    }
    if (StoreResult result = m_database.open(m_context->file, m_context->options.busyMs); !result) {
        return result;
    }
    const auto prepare = [this] { return prepareSchema(m_database, m_context->file); };
    if (StoreResult result = m_context->withRoom(m_database, prepare); !result) {
        return result;
    }
    if (StoreResult result = prepareConnection(m_database, m_context->options.mostPages, m_context->logBytes());
        !result) {
        return result;
    }
    if (StoreResult result = repairAbandoned(m_database, *m_context); !result) {
        if (result.error != StoreError::Full && result.error != StoreError::InUse) {
            return result;
        }
        // Records can be read on a full disk; the upkeep thread tries again.
        m_context->say(result.message);
    }
    if (StoreResult result = removeStrayLocks(m_database, *m_context); !result) {
        return result;
    }
    m_readRevision = std::make_unique<Statement>(m_database, sql::readRevision);
    m_upkeep = std::make_unique<Upkeep>(m_context);
    return m_readRevision->result();
}

StoreResult EmbeddedStore::find(const std::string& uuid, FoundRecord& record)
{
    Statement statement(m_database, sql::findRecord);
    if (!statement.bindText(0, uuid).step()) {
        return statement.result() ? StoreResult::failed(StoreError::NotFound, "There is no record " + uuid + '.')
                                  : statement.result();
    }
    record.id = statement.integer(0);
    record.isOwned = !statement.isNull(2);
    record.owner = statement.text(2);
    record.origin = statement.integer(3) == 1 ? RecordOrigin::Imported : RecordOrigin::Recorded;
    return StoreResult::done();
}

StoreResult EmbeddedStore::records(std::string_view namePart, std::vector<RecordSummary>& list)
{
    const std::lock_guard guard(m_mutex);
    list.clear();
    const QString wanted = fromUtf8(namePart);
    Statement statement(m_database, sql::listRecords);
    while (statement.step()) {
        RecordSummary summary;
        summary.name = statement.text(1);
        if (!wanted.isEmpty() && !fromUtf8(summary.name).contains(wanted, Qt::CaseInsensitive)) {
            continue;
        }
        summary.uuid = statement.text(0);
        summary.startUs = statement.integer(2);
        summary.durationUs = statement.integer(3);
        summary.events = static_cast<std::uint64_t>(statement.integer(4));
        summary.isRecording = statement.integer(5) == static_cast<int>(RecordState::Recording);
        summary.isOpen = !statement.isNull(6);
        summary.isOwnedHere = summary.isOpen && statement.text(6) == m_context->token;
        summary.origin = statement.integer(7) == 1 ? RecordOrigin::Imported : RecordOrigin::Recorded;
        list.push_back(std::move(summary));
    }
    return statement.result();
}

StoreResult EmbeddedStore::listRevision(std::uint64_t& revision)
{
    const std::lock_guard guard(m_mutex);
    const bool found = m_readRevision->step();
    revision = found ? static_cast<std::uint64_t>(m_readRevision->integer(0)) : 0;
    StoreResult result = m_readRevision->result();
    m_readRevision->reset();
    return result;
}

// Others learn of this owner no later than of what it owns.
StoreResult EmbeddedStore::announceOwner()
{
    Statement statement(m_database, sql::putOwner);
    return statement.bindText(0, m_context->token).bind(1, nowEpochUs() + m_context->options.leaseUs).run();
}

StoreResult EmbeddedStore::makeWriter(std::int64_t record, WriterStart start, std::unique_ptr<RecordWriter>& writer)
{
    auto sink = std::make_unique<EmbeddedSink>(m_context, record);
    if (StoreResult result = sink->open(); !result) {
        return result;
    }
    writer = std::make_unique<ChunkedWriter>(std::move(sink), m_context->options.chunking, std::move(start));
    return StoreResult::done();
}

StoreResult EmbeddedStore::create(const RecordFacts& facts, std::unique_ptr<RecordWriter>& writer)
{
    const std::lock_guard guard(m_mutex);
    if (facts.uuid.empty()) {
        return StoreResult::failed(StoreError::Refused, "A record needs a uuid.");
    }
    if (StoreResult result = m_context->keepReserve(); !result) {
        return result;
    }
    std::int64_t id = 0;
    {
        Transaction transaction(m_database);
        if (!transaction.result()) {
            return transaction.result();
        }
        Statement known(m_database, "SELECT 1 FROM records WHERE uuid = ?");
        if (known.bindText(0, facts.uuid).step()) {
            return StoreResult::failed(StoreError::Refused, "There is a record " + facts.uuid + " already.");
        }
        if (StoreResult result = announceOwner(); !result) {
            return result;
        }
        Statement insert(m_database, sql::insertRecord);
        insert.bindText(0, facts.uuid).bindText(1, facts.name).bindText(2, facts.description).bind(3, facts.startUs);
        insert.bind(4, facts.origin == RecordOrigin::Imported ? 1 : 0);
        insert.bind(5, static_cast<std::int64_t>(RecordState::Recording)).bindText(6, m_context->token);
        if (StoreResult result = insert.bind(7, facts.durationUs).run(); !result) {
            return result;
        }
        if (StoreResult result = m_database.number("SELECT last_insert_rowid()", id); !result) {
            return result;
        }
        // Chunks of a later one would have the keys of another record's.
        if (id > std::numeric_limits<std::int32_t>::max()) {
            return StoreResult::failed(StoreError::Refused,
                "The store " + m_context->file.string()
                    + " has no number left for another record: move it away, or give another --data-directory.");
        }
        if (StoreResult result = Statement(m_database, sql::bumpRevision).run(); !result) {
            return result;
        }
        if (StoreResult result = transaction.commit(); !result) {
            return result;
        }
    }
    WriterStart start;
    start.facts = facts;
    StoreResult result = makeWriter(id, std::move(start), writer);
    if (!result) {
        // Nobody would ever close it.
        (void)Statement(m_database, sql::markDeleted).bind(0, id).run();
    }
    return result;
}

StoreResult EmbeddedStore::resume(const std::string& uuid, std::unique_ptr<RecordWriter>& writer)
{
    const std::lock_guard guard(m_mutex);
    WriterStart start;
    EmbeddedRow row;
    {
        Transaction transaction(m_database);
        if (!transaction.result()) {
            return transaction.result();
        }
        FoundRecord record;
        if (StoreResult result = find(uuid, record); !result) {
            return result;
        }
        if (record.origin != RecordOrigin::Imported) {
            return StoreResult::failed(
                StoreError::Refused, "The record " + uuid + " was recorded, not imported: nothing is added to it.");
        }
        if (record.isOwned) {
            return StoreResult::failed(StoreError::InUse, "The record " + uuid + " is being written already.");
        }
        if (StoreResult result = readRecord(m_database, record.id, row); !result) {
            return result;
        }
        if (StoreResult result = readDefinitions(m_database, record.id, start.definitions); !result) {
            return result;
        }
        if (StoreResult result = readInitials(m_database, record.id, start.initials); !result) {
            return result;
        }
        int damaged = 0;
        if (StoreResult result = restoreTally(m_database, row, start.tally, damaged); !result) {
            return result;
        }
        if (StoreResult result = announceOwner(); !result) {
            return result;
        }
        Statement take(m_database, sql::takeRecord);
        if (StoreResult result = take.bindText(0, m_context->token).bind(1, record.id).run(); !result) {
            return result;
        }
        if (StoreResult result = transaction.commit(); !result) {
            return result;
        }
    }
    start.facts = row.facts;
    start.facts.completeness = row.claimed;
    start.extent = row.extent;
    start.recordState = row.state;
    return makeWriter(row.id, std::move(start), writer);
}

StoreResult EmbeddedStore::open(const std::string& uuid, std::unique_ptr<RecordReader>& reader)
{
    std::unique_ptr<EmbeddedBackend> backend;
    {
        const std::lock_guard guard(m_mutex);
        FoundRecord record;
        if (StoreResult result = find(uuid, record); !result) {
            return result;
        }
        if (StoreResult result = announceOwner(); !result && result.error != StoreError::Full) {
            return result;
        }
        // From here on it counts as read in this process.
        backend = std::make_unique<EmbeddedBackend>(m_context, record.id);
        if (StoreResult result = backend->open(); !result) {
            return result;
        }
        // It may have been deleted by another recorder before the hold was there.
        if (StoreResult result = find(uuid, record); !result) {
            return result;
        }
        EmbeddedRow row;
        std::vector<DefinitionRow> definitionRows;
        std::vector<InitialRow> initialRows;
        if (StoreResult result = readRecord(m_database, record.id, row); !result) {
            return result;
        }
        if (StoreResult result = readDefinitions(m_database, record.id, definitionRows); !result) {
            return result;
        }
        if (StoreResult result = readInitials(m_database, record.id, initialRows); !result) {
            return result;
        }
        std::vector<AgentDefinition> definitions;
        for (DefinitionRow& definition : definitionRows) {
            definitions.push_back(std::move(definition.definition));
        }
        std::vector<OutputValue> initials;
        for (InitialRow& initial : initialRows) {
            initials.push_back(std::move(initial.initial));
        }
        reader = std::make_unique<ChunkedReader>(
            std::move(backend), std::move(row.facts), std::move(definitions), std::move(initials));
    }
    return StoreResult::done();
}

StoreResult EmbeddedStore::rename(const std::string& uuid, const std::string& name)
{
    const std::lock_guard guard(m_mutex);
    return m_context->withRoom(m_database, [&] { return renameNow(uuid, name); });
}

StoreResult EmbeddedStore::renameNow(const std::string& uuid, const std::string& name)
{
    Transaction transaction(m_database);
    if (!transaction.result()) {
        return transaction.result();
    }
    if (StoreResult result = Statement(m_database, sql::renameRecord).bindText(0, name).bindText(1, uuid).run();
        !result) {
        return result;
    }
    if (m_database.changes() == 0) {
        return StoreResult::failed(StoreError::NotFound, "There is no record " + uuid + " to rename.");
    }
    if (StoreResult result = Statement(m_database, sql::bumpRevision).run(); !result) {
        return result;
    }
    return transaction.commit();
}

bool EmbeddedStore::isOwnerAlive(const std::string& token)
{
    if (token == m_context->token) {
        return true;
    }
    Statement expiry(m_database, sql::ownerExpiry);
    const std::int64_t expiresUs = expiry.bindText(0, token).step() ? expiry.integer(0) : 0;
    return OwnerLock::isAlive(m_context->options.directory, token, expiresUs);
}

StoreResult EmbeddedStore::checkUnused(const FoundRecord& record)
{
    if (record.isOwned && isOwnerAlive(record.owner)) {
        return StoreResult::failed(StoreError::InUse, "The record is being written and cannot be deleted now.");
    }
    const auto inUse = [] {
        return StoreResult::failed(
            StoreError::InUse, "The record is being replayed or exported and cannot be deleted now.");
    };
    {
        const std::lock_guard guard(m_context->mutex);
        if (m_context->readers.contains(record.id)) {
            return inUse();
        }
    }
    Statement holds(m_database, sql::holdsOf);
    holds.bind(0, record.id);
    while (holds.step()) {
        const std::string owner = holds.text(0);
        if (owner != m_context->token && isOwnerAlive(owner)) {
            return inUse();
        }
    }
    return holds.result();
}

StoreResult EmbeddedStore::remove(const std::string& uuid)
{
    StoreResult result;
    {
        const std::lock_guard guard(m_mutex);
        result = m_context->withRoom(m_database, [&] { return removeNow(uuid); });
    }
    m_context->wakeUpkeep();
    return result;
}

StoreResult EmbeddedStore::removeNow(const std::string& uuid)
{
    Transaction transaction(m_database);
    if (!transaction.result()) {
        return transaction.result();
    }
    FoundRecord record;
    if (StoreResult result = find(uuid, record); !result) {
        return result;
    }
    if (StoreResult result = checkUnused(record); !result) {
        return result;
    }
    if (StoreResult result = Statement(m_database, sql::markDeleted).bind(0, record.id).run(); !result) {
        return result;
    }
    if (StoreResult result = Statement(m_database, sql::bumpRevision).run(); !result) {
        return result;
    }
    return transaction.commit();
}

} // namespace

std::unique_ptr<Store> openEmbeddedStore(const EmbeddedOptions& options, StoreResult& result)
{
    auto context = std::make_shared<EmbeddedContext>();
    context->options = options;
    context->file = options.directory / "records.db";
    context->token = newRecordUuid();
    auto store = std::make_unique<EmbeddedStore>(context);
    result = store->start();
    if (!result) {
        store.reset();
        context->lock.release();
        return nullptr;
    }
    return store;
}

} // namespace recorder
