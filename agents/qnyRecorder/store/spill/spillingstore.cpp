// SPDX-License-Identifier: Apache-2.0
#include "spillingstore.h"

#include "../../dates.h"
#include "spillcontext.h"
#include "spilledrecord.h"

#include <QString>

#include <algorithm>
#include <map>
#include <system_error>
#include <thread>

namespace recorder {

namespace {

constexpr auto keeperInterval = std::chrono::milliseconds(100);
constexpr auto watchInterval = std::chrono::milliseconds(500);

class SpillingSink : public ChunkSink
{
public:
    explicit SpillingSink(std::shared_ptr<SpilledRecord> record)
        : m_record(std::move(record))
    {
    }
    ~SpillingSink() override { m_record->release(); }
    StoreResult write(const Batch& batch) override { return m_record->write(batch); }
    void abandon(const Batch& last) override { m_record->abandon(last); }

private:
    std::shared_ptr<SpilledRecord> m_record;
};

bool containsAnyCase(const std::string& name, std::string_view part)
{
    return QString::fromStdString(name).contains(
        QString::fromUtf8(part.data(), static_cast<qsizetype>(part.size())), Qt::CaseInsensitive);
}

class SpillingStore : public Store
{
public:
    explicit SpillingStore(std::shared_ptr<SpillContext> context)
        : m_context(std::move(context))
    {
    }
    ~SpillingStore() override;

    StoreResult start();

    std::string describe() const override { return m_context->database().describe(); }
    StoreResult records(std::string_view namePart, std::vector<RecordSummary>& list) override;
    StoreResult listRevision(std::uint64_t& revision) override;
    StoreResult create(const RecordFacts& facts, std::unique_ptr<RecordWriter>& writer) override;
    StoreResult resume(const std::string& uuid, std::unique_ptr<RecordWriter>& writer) override;
    StoreResult open(const std::string& uuid, std::unique_ptr<RecordReader>& reader) override;
    StoreResult rename(const std::string& uuid, const std::string& name) override;
    StoreResult remove(const std::string& uuid) override;

private:
    template <typename Request> StoreResult ask(Request request);
    StoreResult tellIfWaiting(const std::string& uuid, StoreResult result, const char* doing);
    StoreResult findJournals();
    void keep();
    std::shared_ptr<SpilledRecord> find(const std::string& uuid);
    std::vector<std::shared_ptr<SpilledRecord>> all();
    void forgetFinished();
    void addLocal(std::string_view namePart, std::vector<RecordSummary>& list);

    const std::shared_ptr<SpillContext> m_context;

    std::mutex m_mutex; // what follows
    std::condition_variable m_wake;
    bool m_mustStop = false;
    std::map<std::string, std::shared_ptr<SpilledRecord>> m_records;
    std::vector<RecordSummary> m_known; // the list as the database gave it last
    std::int64_t m_knownUs = 0;
    bool m_isStaleTold = false;
    std::uint64_t m_databaseRevision = 0;
    std::uint64_t m_localRevision = 0; // changes that the database does not know of

    std::thread m_keeper;
};

SpillingStore::~SpillingStore()
{
    // What still waits has a moment to get through.
    const auto latest
        = std::chrono::steady_clock::now() + std::chrono::microseconds(m_context->options().endPatienceUs);
    const auto someWaits = [this] {
        const auto records = all();
        return std::any_of(records.begin(), records.end(), [](const auto& record) { return !record->isFinished(); });
    };
    while (m_context->isUp() && std::chrono::steady_clock::now() < latest && someWaits()) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    {
        const std::lock_guard guard(m_mutex);
        m_mustStop = true;
    }
    m_wake.notify_all();
    if (m_keeper.joinable()) {
        m_keeper.join();
    }
    std::string waiting;
    for (const auto& record : all()) {
        if (!record->isFinished() && record->waits()) {
            waiting += (waiting.empty() ? "\"" : ", \"") + record->summary().name + '"';
        }
    }
    if (!waiting.empty()) {
        m_context->say("Of these records a part waits in " + m_context->options().directory.string()
            + " and is stored when this recorder runs again and reaches the database: " + waiting);
    }
}

StoreResult SpillingStore::start()
{
    std::error_code error;
    std::filesystem::create_directories(m_context->options().directory, error);
    if (error) {
        return StoreResult::failed(StoreError::Unreachable,
            "The folder of the journals " + m_context->options().directory.string() + " cannot be made ("
                + error.message() + "): give another --data-directory.");
    }
    const StoreResult reached = m_context->reach();
    if (reached.error == StoreError::Refused || reached.error == StoreError::NewerVersion) {
        return reached;
    }
    if (!reached) {
        m_context->say("The database is out of reach and is tried again every few seconds: " + reached.message
            + " What is recorded meanwhile waits in " + m_context->options().directory.string() + '.');
    }
    if (StoreResult result = findJournals(); !result) {
        return result;
    }
    m_keeper = std::thread([this] { keep(); });
    return StoreResult::done();
}

// Takes up what a recorder left behind that ended with the database out of reach, or without warning.
StoreResult SpillingStore::findJournals()
{
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(m_context->options().directory, error)) {
        if (entry.path().extension() != ".journal") {
            continue;
        }
        StoreResult result;
        std::unique_ptr<Journal> journal = Journal::open(entry.path(), m_context->budget(), result);
        if (journal) {
            m_context->say("The record \"" + journal->facts().name + "\" waits in the journal " + entry.path().string()
                + " (" + sizeText(journal->waitingBytes()) + ", " + std::to_string(journal->waitingEvents())
                + " events) and is brought into the database now.");
            const std::string uuid = journal->facts().uuid;
            m_records.emplace(uuid, std::make_shared<SpilledRecord>(m_context, std::move(journal)));
        } else if (result.error == StoreError::NewerVersion) {
            return result;
        } else if (result.error == StoreError::Damaged && result.message.empty()) {
            std::filesystem::remove(entry.path(), error); // its recorder ended before anything came into it
        } else if (result.error == StoreError::Damaged) {
            m_context->say(result.message + " It is kept as " + entry.path().string() + ".damaged.");
            std::filesystem::rename(entry.path(), entry.path().string() + ".damaged", error);
        } else if (result.error != StoreError::InUse) {
            m_context->say(result.message);
        }
    }
    return StoreResult::done();
}

// ---- in the background ------------------------------------------------------------------------------------------

void SpillingStore::keep()
{
    auto nextWatch = std::chrono::steady_clock::now();
    std::unique_lock lock(m_mutex);
    while (!m_mustStop) {
        lock.unlock();
        if (m_context->isTimeToReach()) {
            (void)m_context->reach();
        }
        if (std::chrono::steady_clock::now() >= nextWatch) {
            nextWatch += watchInterval;
            for (const auto& record : all()) {
                record->watch();
            }
            m_context->watchBudget();
            forgetFinished();
        }
        lock.lock();
        m_wake.wait_for(lock, keeperInterval, [this] { return m_mustStop; });
    }
}

std::vector<std::shared_ptr<SpilledRecord>> SpillingStore::all()
{
    const std::lock_guard guard(m_mutex);
    std::vector<std::shared_ptr<SpilledRecord>> records;
    for (const auto& [uuid, record] : m_records) {
        records.push_back(record);
    }
    return records;
}

std::shared_ptr<SpilledRecord> SpillingStore::find(const std::string& uuid)
{
    const std::lock_guard guard(m_mutex);
    const auto found = m_records.find(uuid);
    return found != m_records.end() && !found->second->isFinished() ? found->second : nullptr;
}

void SpillingStore::forgetFinished()
{
    std::vector<std::shared_ptr<SpilledRecord>> finished; // they end without the lock
    const std::lock_guard guard(m_mutex);
    for (auto record = m_records.begin(); record != m_records.end();) {
        if (record->second->isFinished()) {
            finished.push_back(std::move(record->second));
            record = m_records.erase(record);
            ++m_localRevision;
        } else {
            ++record;
        }
    }
}

// ---- requests ---------------------------------------------------------------------------------------------------

// Asks the database while it answers; else says so at once.
template <typename Request> StoreResult SpillingStore::ask(Request request)
{
    if (!m_context->isUp()) {
        return m_context->outOfReach();
    }
    StoreResult result = request();
    if (SpillContext::isOutage(result)) {
        m_context->noteFailure(result);
    }
    return result;
}

StoreResult SpillingStore::records(std::string_view namePart, std::vector<RecordSummary>& list)
{
    list.clear();
    const StoreResult result = ask([&] { return m_context->database().records({}, list); });
    std::string told;
    {
        const std::lock_guard guard(m_mutex);
        if (result) {
            m_known = list;
            m_knownUs = nowEpochUs();
            m_isStaleTold = false;
        } else {
            list = m_known;
            if (!m_isStaleTold) {
                m_isStaleTold = true;
                told = "The list of records shows "
                    + (m_knownUs > 0 ? "what the database held at " + toListDate(m_knownUs)
                                     : std::string("only what waits on this machine"))
                    + ". " + result.message;
            }
        }
    }
    if (!told.empty()) {
        m_context->say(told);
    }
    addLocal(namePart, list);
    return StoreResult::done();
}

// Completes the list with what the database does not know yet.
void SpillingStore::addLocal(std::string_view namePart, std::vector<RecordSummary>& list)
{
    for (const auto& record : all()) {
        if (record->isFinished() || !record->waits()) {
            continue;
        }
        RecordSummary local = record->summary();
        const auto known = std::find_if(
            list.begin(), list.end(), [&](const RecordSummary& summary) { return summary.uuid == local.uuid; });
        if (known == list.end()) {
            list.push_back(std::move(local));
        } else {
            local.name = known->name; // it may have another by now
            *known = std::move(local);
        }
    }
    if (!namePart.empty()) {
        std::erase_if(list, [&](const RecordSummary& summary) { return !containsAnyCase(summary.name, namePart); });
    }
    std::stable_sort(list.begin(), list.end(),
        [](const RecordSummary& left, const RecordSummary& right) { return left.startUs < right.startUs; });
}

StoreResult SpillingStore::listRevision(std::uint64_t& revision)
{
    std::uint64_t there = 0;
    const StoreResult result = ask([&] { return m_context->database().listRevision(there); });
    const std::lock_guard guard(m_mutex);
    if (result) {
        m_databaseRevision = std::max(m_databaseRevision, there);
    }
    revision = m_databaseRevision + m_localRevision;
    return StoreResult::done();
}

StoreResult SpillingStore::create(const RecordFacts& facts, std::unique_ptr<RecordWriter>& writer)
{
    if (facts.uuid.empty()) {
        return StoreResult::failed(StoreError::Refused, "A record needs a uuid.");
    }
    WriterStart start;
    start.facts = facts;
    if (facts.origin == RecordOrigin::Imported) {
        // Whoever imports has the file, and is told at once when it cannot be stored.
        StoreResult result = ask([&] { return m_context->database().create(facts); });
        if (result) {
            writer = std::make_unique<ChunkedWriter>(
                m_context->database().sink(facts.uuid), m_context->options().chunking, std::move(start));
        }
        return result;
    }
    if (find(facts.uuid)) {
        return StoreResult::failed(StoreError::Refused, "There is a record " + facts.uuid + " already.");
    }
    auto record = std::make_shared<SpilledRecord>(m_context, facts);
    if (StoreResult result = record->create(); !result) {
        record->release();
        return result;
    }
    {
        const std::lock_guard guard(m_mutex);
        m_records.insert_or_assign(facts.uuid, record);
        ++m_localRevision;
    }
    writer = std::make_unique<ChunkedWriter>(
        std::make_unique<SpillingSink>(std::move(record)), m_context->options().chunking, std::move(start));
    return StoreResult::done();
}

StoreResult SpillingStore::resume(const std::string& uuid, std::unique_ptr<RecordWriter>& writer)
{
    if (find(uuid)) {
        return StoreResult::failed(
            StoreError::Refused, "The record " + uuid + " was recorded, not imported: nothing is added to it.");
    }
    WriterStart start;
    StoreResult result = ask([&] { return m_context->database().adopt(uuid, start); });
    if (result) {
        writer = std::make_unique<ChunkedWriter>(
            m_context->database().sink(uuid), m_context->options().chunking, std::move(start));
    }
    return result;
}

StoreResult SpillingStore::open(const std::string& uuid, std::unique_ptr<RecordReader>& reader)
{
    return tellIfWaiting(uuid, ask([&] { return m_context->database().open(uuid, reader); }), "read");
}

StoreResult SpillingStore::rename(const std::string& uuid, const std::string& name)
{
    return tellIfWaiting(uuid, ask([&] { return m_context->database().rename(uuid, name); }), "renamed");
}

// The database does not know a record that is listed because it waits here: why nothing can be done with it yet.
StoreResult SpillingStore::tellIfWaiting(const std::string& uuid, StoreResult result, const char* doing)
{
    const auto record = find(uuid);
    if (!result && result.error == StoreError::NotFound && record && record->waits()) {
        return StoreResult::failed(StoreError::Unreachable,
            "The record " + uuid + " waits on the recorder's own disk and can be " + doing
                + " when the database has it.");
    }
    return result;
}

StoreResult SpillingStore::remove(const std::string& uuid)
{
    const auto record = find(uuid);
    if (record && record->waits()) {
        return StoreResult::failed(
            StoreError::InUse, "The record is being stored and cannot be deleted before the database has all of it.");
    }
    return ask([&] { return m_context->database().remove(uuid); });
}

} // namespace

std::unique_ptr<Store> openSpillingStore(
    std::unique_ptr<ChunkDatabase> database, const SpillOptions& options, StoreResult& result)
{
    auto store = std::make_unique<SpillingStore>(std::make_shared<SpillContext>(std::move(database), options));
    result = store->start();
    if (!result) {
        store.reset();
    }
    return store;
}

} // namespace recorder
