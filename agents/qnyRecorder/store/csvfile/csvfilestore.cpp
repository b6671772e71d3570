// SPDX-License-Identifier: Apache-2.0
#include "csvfilestore.h"

#include "../../csv/csv.h"
#include "../../csv/facts.h"
#include "../../dates.h"
#include "../chunkedreader.h"
#include "closing.h"
#include "context.h"
#include "csvfilewriter.h"
#include "filenames.h"

#include <QString>

#include <algorithm>
#include <chrono>
#include <sys/stat.h>
#include <system_error>
#include <unordered_map>

namespace recorder {

namespace {

constexpr auto repairInterval = std::chrono::seconds(1); // between two attempts at what could not be repaired
constexpr int newFileAttempts = 3;

// Reads a record of the store: holds it against deletion, and goes on looking through a file that grows.
class StoredBackend : public csv::FileBackend
{
public:
    StoredBackend(std::shared_ptr<csv::SharedIndex> index, RecordFile file)
        : FileBackend(std::move(index))
        , m_file(std::move(file))
    {
    }

    StoreResult extent(Extent& extent) override
    {
        {
            const std::lock_guard guard(shared().mutex);
            if (StoreResult result = shared().index.update(true); !result) {
                return result;
            }
            shared().index.seal();
        }
        return FileBackend::extent(extent);
    }

private:
    RecordFile m_file; // with the lock of Readers
};

class CsvFileStore : public Store
{
public:
    explicit CsvFileStore(std::shared_ptr<CsvFileContext> context)
        : m_context(std::move(context))
    {
    }
    ~CsvFileStore() override { m_context->closeOrphans(); }

    StoreResult start();

    std::string describe() const override { return "CSV files in " + m_context->options.directory.string(); }
    StoreResult records(std::string_view namePart, std::vector<RecordSummary>& list) override;
    StoreResult listRevision(std::uint64_t& revision) override;
    StoreResult create(const RecordFacts& facts, std::unique_ptr<RecordWriter>& writer) override;
    StoreResult resume(const std::string& uuid, std::unique_ptr<RecordWriter>& writer) override;
    StoreResult open(const std::string& uuid, std::unique_ptr<RecordReader>& reader) override;
    StoreResult rename(const std::string& uuid, const std::string& name) override;
    StoreResult remove(const std::string& uuid) override;

private:
    // What was seen of a file when it was looked at last.
    struct Seen
    {
        RecordFile::Version version;
        RecordSummary summary;
        bool isWhole = false;
        bool isLeftAlone = false; // somebody else's program saved it in a way that cannot be repaired
        bool isListed = true;
    };

    const std::filesystem::path& directory() const { return m_context->options.directory; }
    StoreResult probe() const;
    StoreResult refresh(RecordFiles& files);
    StoreResult find(const std::string& uuid, std::filesystem::path& path);
    StoreResult openFile(const std::string& uuid, RecordFile::Access access, RecordFile& file);
    StoreResult repair(const std::string& uuid, const std::filesystem::path& path);
    bool look(const std::string& uuid, const std::filesystem::path& path, Seen& seen);
    bool lookInside(const std::string& uuid, const RecordFile& file, bool isOpen, RecordSummary& summary);
    void lookAfterOpenRecords();

    std::shared_ptr<CsvFileContext> m_context;
    std::mutex m_mutex; // guards the rest
    std::unordered_map<std::string, Seen> m_seen;
    std::mutex m_pathsMutex; // guards m_paths
    std::map<std::string, std::filesystem::path> m_paths; // as they were found last
    // Records that others write, or that could not be repaired.
    std::map<std::string, std::filesystem::path> m_open;
    std::chrono::steady_clock::time_point m_nextRepair;
    std::timespec m_directoryChanged {};
    std::uint64_t m_revision = 0;
};

StoreResult CsvFileStore::start()
{
    std::error_code error;
    std::filesystem::create_directories(directory(), error);
    if (error) {
        return StoreResult::failed(StoreError::Unreachable,
            "The data directory " + directory().string() + " cannot be made (" + error.message()
                + "): give another --data-directory.");
    }
    if (StoreResult result = probe(); !result) {
        return result;
    }
    // Looking at every record closes those that a dead recorder left.
    std::vector<RecordSummary> list;
    return records({}, list);
}

// Whether files can be made and locked here.
StoreResult CsvFileStore::probe() const
{
    RecordFile file;
    StoreResult result = file.open(directory() / unfinishedFileName(newRecordUuid()), RecordFile::Access::New);
    if (result) {
        result = file.lock(RecordFile::Part::Owner);
        (void)file.remove();
    }
    if (!result && result.error != StoreError::Full) {
        result.error = StoreError::Unreachable;
        result.message = "The data directory " + directory().string() + " cannot be used: " + result.message
            + " Make it writable, or give another --data-directory.";
    }
    // Records can be read on a full disk.
    return result.error == StoreError::Full ? StoreResult::done() : result;
}

// ---- the list

StoreResult CsvFileStore::refresh(RecordFiles& files)
{
    std::error_code error;
    files = findRecordFiles(directory(), error);
    if (error) {
        return StoreResult::failed(StoreError::Unreachable,
            "The data directory " + directory().string() + " cannot be read (" + error.message() + ").");
    }
    for (const std::filesystem::path& path : files.twice) {
        m_context->sayOnce("The file " + path.string() + " is left alone: another file has the same record.");
    }
    for (const std::filesystem::path& path : files.unfinished) {
        RecordFile file;
        if (file.open(path, RecordFile::Access::Write) && file.lock(RecordFile::Part::Owner)) {
            (void)file.remove(); // its maker died
        }
    }
    return StoreResult::done();
}

StoreResult CsvFileStore::repair(const std::string& uuid, const std::filesystem::path& path)
{
    StoreResult result = repairIfAbandoned(*m_context, uuid, path);
    // What is left alone was said already.
    if (!result && result.error != StoreError::InUse && result.error != StoreError::NotFound
        && result.error != StoreError::Refused) {
        m_context->sayOnce("The record of " + path.string() + " cannot be closed yet: " + result.message);
    }
    return result;
}

// A record that does not end as a closed one does: everything that can be known of it is in its rows.
bool CsvFileStore::lookInside(const std::string& uuid, const RecordFile& file, bool isOpen, RecordSummary& summary)
{
    std::shared_ptr<csv::SharedIndex> shared;
    if (StoreResult result = m_context->indexOf(uuid, file, isOpen, shared); !result) {
        m_context->sayOnce("A record is not listed: " + result.message);
        return false;
    }
    const std::lock_guard guard(shared->mutex);
    const RecordFacts facts = shared->index.facts();
    summary.name = facts.name;
    summary.startUs = facts.startUs;
    summary.durationUs = facts.durationUs;
    summary.events = shared->index.events();
    summary.origin = facts.origin;
    return shared->index.soundEnd() > 0; // else there is no row of a record in it
}

// False when there is no such record any more, or none that can be read.
bool CsvFileStore::look(const std::string& uuid, const std::filesystem::path& path, Seen& seen)
{
    bool isLeftAlone = false;
    for (bool mayRepair = true;; mayRepair = false) {
        RecordFile file;
        if (StoreResult result = file.open(path, RecordFile::Access::Read); !result) {
            if (result.error != StoreError::NotFound) {
                m_context->sayOnce("A record is not listed: " + result.message);
            }
            return false;
        }
        // In this order: who closes a record writes its end before giving up the lock.
        const bool isOpen = file.isLockedElsewhere(RecordFile::Part::Owner);
        const RecordFile::Version version = file.version();
        RecordSummary& summary = seen.summary;
        if (!seen.isWhole || !(seen.version == version)) {
            Closing closing;
            seen.isLeftAlone = seen.isLeftAlone && seen.version == version;
            seen.isWhole = readClosing(file, version.size, closing);
            seen.version = version;
            if (seen.isLeftAlone && !isOpen) {
                return seen.isListed;
            }
            summary = RecordSummary();
            summary.uuid = uuid;
            summary.name = closing.name;
            summary.startUs = closing.startUs;
            summary.durationUs = closing.durationUs;
            summary.events = closing.events;
            summary.origin = closing.origin;
        }
        summary.isOpen = isOpen;
        if (!seen.isWhole && !isOpen && mayRepair) {
            file = RecordFile();
            isLeftAlone = repair(uuid, path).error == StoreError::Refused;
            continue; // as it is now
        }
        if (!seen.isWhole) {
            if (!isLeftAlone) {
                m_open[uuid] = path;
            }
            seen.isListed = lookInside(uuid, file, isOpen, summary);
            seen.isLeftAlone = isLeftAlone && !isOpen;
            if (!seen.isListed) {
                return false;
            }
            summary.isRecording = isOpen && summary.origin == RecordOrigin::Recorded;
        }
        return true;
    }
}

StoreResult CsvFileStore::records(std::string_view namePart, std::vector<RecordSummary>& list)
{
    m_context->closeOrphans();
    const std::lock_guard guard(m_mutex);
    list.clear();
    RecordFiles files;
    if (StoreResult result = refresh(files); !result) {
        return result;
    }
    std::map<std::string, RecordSummary> live;
    {
        const std::lock_guard contextGuard(m_context->mutex);
        live = m_context->live;
    }
    const auto toText
        = [](std::string_view text) { return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())); };
    const QString wanted = toText(namePart);
    m_open.clear();
    std::unordered_map<std::string, Seen> seenNow;
    seenNow.reserve(files.byUuid.size());
    for (const auto& [uuid, path] : files.byUuid) {
        const auto own = live.find(uuid);
        RecordSummary summary;
        if (own != live.end()) {
            summary = own->second;
        } else {
            Seen& seen = seenNow[uuid];
            if (const auto before = m_seen.find(uuid); before != m_seen.end()) {
                seen = std::move(before->second);
            }
            if (!look(uuid, path, seen)) {
                continue;
            }
            summary = seen.summary;
        }
        if (wanted.isEmpty() || toText(summary.name).contains(wanted, Qt::CaseInsensitive)) {
            list.push_back(std::move(summary));
        }
    }
    m_seen = std::move(seenNow);
    {
        const std::lock_guard pathsGuard(m_pathsMutex);
        m_paths = std::move(files.byUuid);
    }
    std::stable_sort(list.begin(), list.end(),
        [](const RecordSummary& left, const RecordSummary& right) { return left.startUs < right.startUs; });
    return StoreResult::done();
}

// Closes what a recorder on the same directory left when it died, which nothing else would tell of.
void CsvFileStore::lookAfterOpenRecords()
{
    const auto now = std::chrono::steady_clock::now();
    if (now < m_nextRepair) {
        return;
    }
    m_nextRepair = now + repairInterval;
    std::erase_if(m_open, [this](const auto& entry) {
        const StoreResult result = repair(entry.first, entry.second);
        return result || result.error == StoreError::NotFound || result.error == StoreError::Refused;
    });
}

StoreResult CsvFileStore::listRevision(std::uint64_t& revision)
{
    m_context->closeOrphans();
    const std::lock_guard guard(m_mutex);
    lookAfterOpenRecords();
    struct stat state {};
    if (::stat(directory().c_str(), &state) != 0) {
        return StoreResult::failed(
            StoreError::Unreachable, "The data directory " + directory().string() + " cannot be read.");
    }
    if (state.st_mtim.tv_sec != m_directoryChanged.tv_sec || state.st_mtim.tv_nsec != m_directoryChanged.tv_nsec) {
        m_directoryChanged = state.st_mtim;
        ++m_revision;
    }
    revision = m_revision;
    return StoreResult::done();
}

// ---- one record

StoreResult CsvFileStore::find(const std::string& uuid, std::filesystem::path& path)
{
    if (isRecordUuid(uuid)) {
        std::error_code error;
        const std::lock_guard guard(m_pathsMutex);
        auto found = m_paths.find(uuid);
        if (found == m_paths.end() || !std::filesystem::exists(found->second, error)) {
            m_paths = findRecordFiles(directory(), error).byUuid;
            found = m_paths.find(uuid);
        }
        if (found != m_paths.end()) {
            path = found->second;
            return StoreResult::done();
        }
    }
    return StoreResult::failed(StoreError::NotFound, "There is no record " + uuid + '.');
}

StoreResult CsvFileStore::openFile(const std::string& uuid, RecordFile::Access access, RecordFile& file)
{
    std::filesystem::path path;
    if (StoreResult result = find(uuid, path); !result) {
        return result;
    }
    return file.open(path, access);
}

StoreResult CsvFileStore::create(const RecordFacts& facts, std::unique_ptr<RecordWriter>& writer)
{
    const std::lock_guard guard(m_mutex);
    if (!isRecordUuid(facts.uuid)) {
        return StoreResult::failed(StoreError::Refused, "A record needs a uuid.");
    }
    {
        const std::lock_guard pathsGuard(m_pathsMutex);
        if (m_paths.contains(facts.uuid)) {
            return StoreResult::failed(StoreError::Refused, "There is a record " + facts.uuid + " already.");
        }
    }
    const bool isImport = facts.origin == RecordOrigin::Imported;
    std::string rows;
    csv::appendFact(rows, "version", std::int64_t(csv::formatVersion));
    csv::appendFact(rows, "name", facts.name);
    csv::appendFact(rows, "start_date", toCsvDate(facts.startUs));
    csv::appendFact(rows, csv::originFact, isImport ? csv::importedOrigin : csv::recordedOrigin);
    csv::appendFact(rows, "description", facts.description);
    if (isImport) {
        appendClosing(rows, { facts.name, facts.startUs, facts.durationUs, 0, facts.origin });
    }
    // Nobody sees the file before it is owned and holds what every record has.
    RecordFile file;
    StoreResult result;
    for (int attempt = 0; attempt < newFileAttempts; ++attempt) {
        if (result = file.open(directory() / unfinishedFileName(facts.uuid), RecordFile::Access::New); !result) {
            return result;
        }
        result = file.lockSoon(RecordFile::Part::Owner);
        if (file.hasName()) {
            break;
        }
        // Another recorder on the directory took it for one whose maker died, before it was owned.
    }
    if (result) {
        result = file.append(rows, 64 * 1024);
    }
    if (result) {
        result = file.moveTo(directory() / recordFileName(facts));
    }
    if (!result) {
        (void)file.remove();
        return result;
    }
    {
        const std::lock_guard pathsGuard(m_pathsMutex);
        m_paths.emplace(facts.uuid, file.path());
    }
    CsvWriterStart start;
    start.facts = facts;
    start.facts.completeness = Completeness();
    start.isWhole = isImport;
    writer = std::make_unique<CsvFileWriter>(m_context, std::move(file), std::move(start));
    m_context->listChanged();
    return StoreResult::done();
}

StoreResult CsvFileStore::resume(const std::string& uuid, std::unique_ptr<RecordWriter>& writer)
{
    const std::lock_guard guard(m_mutex);
    RecordFile file;
    if (StoreResult result = openFile(uuid, RecordFile::Access::Write, file); !result) {
        return result;
    }
    if (StoreResult result = file.lock(RecordFile::Part::Owner); !result) {
        if (result.error == StoreError::InUse) {
            result.message = "The record " + uuid + " is being written already.";
        }
        return result;
    }
    Closing closing;
    if (!readClosing(file, file.size(), closing)) {
        StoreResult result = file.lockSoon(RecordFile::Part::Editing);
        if (result) {
            result = repairFile(*m_context, uuid, file);
            file.unlock(RecordFile::Part::Editing);
        }
        if (!result) {
            return result;
        }
        (void)readClosing(file, file.size(), closing);
    }
    if (closing.origin != RecordOrigin::Imported) {
        return StoreResult::failed(
            StoreError::Refused, "The record " + uuid + " was recorded, not imported: nothing is added to it.");
    }
    std::shared_ptr<csv::SharedIndex> shared;
    if (StoreResult result = m_context->indexOf(uuid, file, false, shared); !result) {
        return result;
    }
    CsvWriterStart start;
    {
        const std::lock_guard indexGuard(shared->mutex);
        const csv::FileIndex& index = shared->index;
        start.facts = index.facts();
        start.facts.completeness = index.claimed();
        start.tally.restoreCounts(index.tally().completeness());
        std::string reason;
        (void)start.tally.restoreState(index.tally().packState(0), reason);
        start.events = index.events();
        start.lastEventUs = index.lastEventUs();
    }
    start.facts.uuid = uuid;
    start.isWhole = true;
    writer = std::make_unique<CsvFileWriter>(m_context, std::move(file), std::move(start));
    m_context->listChanged();
    return StoreResult::done();
}

StoreResult CsvFileStore::open(const std::string& uuid, std::unique_ptr<RecordReader>& reader)
{
    // A long file takes its time when it is looked through first: the list does not wait for that.
    std::filesystem::path path;
    if (StoreResult result = find(uuid, path); !result) {
        return result;
    }
    RecordFile file;
    StoreResult result = file.open(path, RecordFile::Access::Read);
    Closing closing;
    if (result && !file.isLockedElsewhere(RecordFile::Part::Owner) && !readClosing(file, file.size(), closing)) {
        (void)repair(uuid, path); // what cannot be repaired now can be read as it is
    }
    if (result) {
        result = file.lock(RecordFile::Part::Readers, true);
    }
    // Who deletes it has both locks.
    if (result.error == StoreError::InUse || (result && !file.hasName())) {
        return StoreResult::failed(StoreError::NotFound, "The record " + uuid + " was just deleted.");
    }
    if (!result) {
        return result;
    }
    std::shared_ptr<csv::SharedIndex> shared;
    const bool isGrowing = file.isLockedElsewhere(RecordFile::Part::Owner);
    if (result = m_context->indexOf(uuid, file, isGrowing, shared); !result) {
        return result;
    }
    RecordFacts facts;
    std::vector<AgentDefinition> definitions;
    std::vector<OutputValue> initialValues;
    std::string damages;
    {
        const std::lock_guard guard(shared->mutex);
        facts = shared->index.facts();
        definitions = shared->index.definitions();
        initialValues = shared->index.initialValues();
        if (shared->index.damages() > 0) {
            damages = "The file " + path.string() + " has rows that cannot be read, in "
                + std::to_string(shared->index.damages())
                + " places; they are passed over. The first: " + shared->index.firstDamage() + '.';
        }
    }
    if (!damages.empty()) {
        m_context->sayOnce(damages);
    }
    facts.uuid = uuid;
    auto backend = std::make_unique<StoredBackend>(std::move(shared), std::move(file));
    reader = std::make_unique<ChunkedReader>(
        std::move(backend), std::move(facts), std::move(definitions), std::move(initialValues));
    return StoreResult::done();
}

StoreResult CsvFileStore::rename(const std::string& uuid, const std::string& name)
{
    const std::lock_guard guard(m_mutex);
    RecordFile file;
    if (StoreResult result = openFile(uuid, RecordFile::Access::Write, file); !result) {
        return result;
    }
    if (!file.isLockedElsewhere(RecordFile::Part::Owner)) {
        if (StoreResult result = repair(uuid, file.path()); result.error == StoreError::Refused) {
            return result;
        }
    }
    if (StoreResult result = file.lockSoon(RecordFile::Part::Editing); !result) {
        return result;
    }
    if (!file.hasName()) {
        return StoreResult::failed(StoreError::NotFound, "There is no record " + uuid + " to rename.");
    }
    // Its recorder, if there is one, finds the row, and ends the record with this name.
    Closing closing;
    const RecordFile::Version before = file.version();
    std::string rows;
    if (readClosing(file, before.size, closing)) {
        rows = closingWithName(file, before.size, name);
    } else {
        if (StoreResult result = file.dropHalfLine(); !result) {
            return result;
        }
        csv::appendFact(rows, "name", name);
    }
    if (StoreResult result = file.append(rows, 0); !result) {
        return result;
    }
    file.unlock(RecordFile::Part::Editing);
    m_context->keepIndex(uuid, file, before);
    {
        const std::lock_guard contextGuard(m_context->mutex);
        if (const auto live = m_context->live.find(uuid); live != m_context->live.end()) {
            live->second.name = name;
        }
    }
    m_context->listChanged();
    return StoreResult::done();
}

StoreResult CsvFileStore::remove(const std::string& uuid)
{
    const std::lock_guard guard(m_mutex);
    RecordFile file;
    if (StoreResult result = openFile(uuid, RecordFile::Access::Write, file); !result) {
        return result;
    }
    const std::pair<RecordFile::Part, const char*> parts[]
        = { { RecordFile::Part::Owner, "The record is being written and cannot be deleted now." },
              { RecordFile::Part::Readers, "The record is being replayed or exported and cannot be deleted now." } };
    for (const auto& [part, message] : parts) {
        if (StoreResult result = file.lock(part); !result) {
            if (result.error == StoreError::InUse) {
                result.message = message;
            }
            return result;
        }
    }
    if (StoreResult result = file.remove(); !result) {
        return result;
    }
    {
        const std::lock_guard pathsGuard(m_pathsMutex);
        m_paths.erase(uuid);
    }
    m_context->forgetIndex(uuid);
    m_context->listChanged();
    return StoreResult::done();
}

} // namespace

std::unique_ptr<Store> openCsvFileStore(const CsvFileOptions& options, StoreResult& result)
{
    auto context = std::make_shared<CsvFileContext>();
    context->options = options;
    auto store = std::make_unique<CsvFileStore>(std::move(context));
    result = store->start();
    if (!result) {
        return nullptr;
    }
    return store;
}

} // namespace recorder
