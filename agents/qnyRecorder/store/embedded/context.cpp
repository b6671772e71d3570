// SPDX-License-Identifier: Apache-2.0
#include "context.h"

#include "schema.h"
#include "statements.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <optional>
#include <sqlite3.h>
#include <unistd.h>

namespace recorder {

namespace {

constexpr std::uintmax_t mostReserveBytes = 32 * 1024 * 1024;
constexpr std::uintmax_t leastReserveBytes = 1024 * 1024;
constexpr std::uintmax_t lastReserveBytes = 256 * 1024;
constexpr const char* reserveName = "reserve";
constexpr std::int64_t mostSequence = 0xFFFF'FFFF; // what a chunk's key has room for

// The size of what stands in the reserve's place; nothing where there is none. A link is none: what it leads to is
// somebody else's.
std::optional<std::uintmax_t> sizeOfReserve(const std::filesystem::path& path)
{
    std::error_code unknown;
    if (!std::filesystem::is_regular_file(std::filesystem::symlink_status(path, unknown))) {
        return std::nullopt;
    }
    const std::uintmax_t bytes = std::filesystem::file_size(path, unknown);
    return unknown ? std::nullopt : std::optional(bytes);
}

// What went wrong, as in errno; then the file is as long as before.
int setAside(const std::filesystem::path& path, std::uintmax_t bytes)
{
    const std::optional<std::uintmax_t> before = sizeOfReserve(path);
    if (!before) {
        ::unlink(path.c_str()); // a link, and what it leads to stays as it is
    }
    const int descriptor = ::open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0644);
    if (descriptor < 0) {
        return errno;
    }
    const int error = ::posix_fallocate(descriptor, 0, static_cast<off_t>(bytes));
    if (error != 0 && before) {
        (void)!::ftruncate(descriptor, static_cast<off_t>(*before));
    }
    ::close(descriptor);
    if (error != 0 && !before) {
        ::unlink(path.c_str());
    }
    return error;
}

} // namespace

EmbeddedContext::~EmbeddedContext()
{
    std::error_code unknown;
    const std::filesystem::path path = options.directory / reserveName;
    if (std::filesystem::exists(file, unknown) && !sizeOfReserve(path)) {
        (void)setAside(path, lastReserveBytes);
    }
}

StoreResult EmbeddedContext::connect(Database& database) const
{
    if (StoreResult result = database.open(file, options.busyMs); !result) {
        return result;
    }
    return prepareConnection(database, options.mostPages, logBytes());
}

// The log may grow to half of the reserve: it has its room in the file already and takes it a second time, which on a
// small disk records could have.
std::uint64_t EmbeddedContext::logBytes() const
{
    return sizeOfReserve(options.directory / reserveName).value_or(mostReserveBytes) / 2;
}

void EmbeddedContext::wakeUpkeep()
{
    {
        const std::lock_guard guard(mutex);
        hasWork = true;
    }
    wake.notify_all();
}

StoreResult EmbeddedContext::keepReserve() const
{
    const std::filesystem::path path = options.directory / reserveName;
    if (sizeOfReserve(path).value_or(0) >= leastReserveBytes) {
        return StoreResult::done();
    }
    std::error_code unknown;
    const std::filesystem::space_info space = std::filesystem::space(options.directory, unknown);
    const std::uintmax_t available = unknown ? mostReserveBytes : space.available;
    const std::uintmax_t bytes = std::clamp(available / 8, leastReserveBytes, mostReserveBytes);
    if (const int error = setAside(path, bytes); error == ENOSPC || error == EDQUOT) {
        return StoreResult::failed(StoreError::Full,
            "The disk that holds " + options.directory.string()
                + " is full: nothing can be recorded. Make room there, or give another --data-directory.");
    }
    // Some file systems cannot set space aside; recording works without.
    return StoreResult::done();
}

std::uint64_t EmbeddedContext::roomForAnEnd() const
{
    const std::uintmax_t reserve = sizeOfReserve(options.directory / reserveName).value_or(0);
    return reserve < lastReserveBytes ? 0 : (reserve - lastReserveBytes) / 4;
}

bool EmbeddedContext::spendReserve(Reserve reserve) const
{
    const std::filesystem::path path = options.directory / reserveName;
    if (reserve == Reserve::All) {
        return ::unlink(path.c_str()) == 0;
    }
    return sizeOfReserve(path).value_or(0) > lastReserveBytes
        && ::truncate(path.c_str(), static_cast<off_t>(lastReserveBytes)) == 0;
}

bool EmbeddedContext::emptyLog(Database& database) const
{
    return database.isOpen()
        && sqlite3_wal_checkpoint_v2(database.handle(), nullptr, SQLITE_CHECKPOINT_TRUNCATE, nullptr, nullptr)
        == SQLITE_OK;
}

StoreResult readRecord(Database& database, std::int64_t id, EmbeddedRow& row)
{
    Statement statement(database, sql::readRecord);
    if (!statement.bind(0, id).step()) {
        return statement.result() ? StoreResult::failed(StoreError::NotFound, "There is no such record any more.")
                                  : statement.result();
    }
    row.id = id;
    row.facts.uuid = statement.text(0);
    row.facts.name = statement.text(1);
    row.facts.description = statement.text(2);
    row.facts.startUs = statement.integer(3);
    row.facts.origin = statement.integer(4) == 1 ? RecordOrigin::Imported : RecordOrigin::Recorded;
    row.state = statement.integer(5) == 0 ? RecordState::Recording : RecordState::Whole;
    row.extent.durationUs = statement.integer(6);
    row.extent.events = static_cast<std::uint64_t>(statement.integer(7));
    row.extent.nextSequence
        = static_cast<std::uint64_t>(std::clamp<std::int64_t>(statement.integer(8), 0, mostSequence));
    row.extent.bucket = static_cast<std::int32_t>(statement.integer(9));
    row.extent.highUs = statement.integer(10);
    row.extent.maxSpanUs = statement.integer(11);
    row.extent.maxLateUs = statement.integer(12);
    row.claimed = storedCompleteness(statement.text(13));
    row.counted = storedCompleteness(statement.text(14));
    row.countedThrough = static_cast<std::uint64_t>(std::clamp<std::int64_t>(statement.integer(15), 0, mostSequence));
    row.facts.durationUs = row.extent.durationUs;
    row.facts.completeness = withClaim(row.claimed, row.counted);
    return StoreResult::done();
}

StoreResult readDefinitions(Database& database, std::int64_t id, std::vector<DefinitionRow>& rows)
{
    Statement statement(database, sql::readDefinitions);
    statement.bind(0, id);
    while (statement.step()) {
        rows.push_back({ static_cast<std::uint32_t>(statement.integer(0)), { statement.text(1), statement.text(2) } });
    }
    return statement.result();
}

StoreResult readInitials(Database& database, std::int64_t id, std::vector<InitialRow>& rows)
{
    Statement statement(database, sql::readInitials);
    statement.bind(0, id);
    while (statement.step()) {
        InitialRow row;
        row.ordinal = static_cast<std::uint32_t>(statement.integer(0));
        row.initial.agent = statement.text(1);
        row.initial.output = statement.text(2);
        if (unpackInitial(statement.text(3), row.initial)) {
            rows.push_back(std::move(row));
        }
    }
    return statement.result();
}

StoreResult restoreTally(Database& database, const EmbeddedRow& row, Tally& tally, int& damaged)
{
    damaged = 0;
    tally.restoreCounts(row.counted);
    std::uint64_t sequence = 0;
    std::string reason;
    {
        Statement state(database, sql::stateThrough);
        state.bind(0, row.id).bind(1, static_cast<std::int64_t>(row.countedThrough));
        if (state.step() && tally.restoreState(state.blob(1), reason)) {
            sequence = static_cast<std::uint64_t>(state.integer(0));
        }
        if (!state.result()) {
            return state.result();
        }
    }
    while (sequence < row.extent.nextSequence) {
        Statement chunks(database, sql::chunksFrom);
        chunks.bind(0, chunkKey(row.id, sequence)).bind(1, chunkKey(row.id, row.extent.nextSequence));
        bool any = false;
        while (chunks.step()) {
            any = true;
            const auto at = static_cast<std::uint64_t>(chunks.integer(0));
            if (!tally.addChunk(chunks.blob(1), at >= row.countedThrough, reason)) {
                ++damaged;
            }
            sequence = at + 1;
        }
        if (!chunks.result()) {
            // A page that cannot be read hides what comes after it from this walk; the counts stay as far as they came.
            if (chunks.result().error != StoreError::Damaged) {
                return chunks.result();
            }
            ++damaged;
            ++sequence;
        } else if (!any) {
            break;
        }
    }
    return StoreResult::done();
}

// ---- repair

namespace {

StoreResult repairOne(Database& database, std::int64_t id, std::vector<std::string>& messages)
{
    EmbeddedRow row;
    if (StoreResult result = readRecord(database, id, row); !result) {
        return result;
    }
    if (row.state != RecordState::Recording) {
        return Statement(database, sql::releaseRecord).bind(0, id).run();
    }
    Tally tally;
    int damaged = 0;
    if (StoreResult result = restoreTally(database, row, tally, damaged); !result) {
        return result;
    }
    remarkRepair(tally, row, damaged);
    const std::string counted = tally.completeness().toJson();
    Statement repair(database, sql::repairRecord);
    repair.bind(0, row.extent.highUs).bindText(1, counted);
    repair.bind(2, static_cast<std::int64_t>(row.extent.nextSequence)).bind(3, id);
    if (StoreResult result = repair.run(); !result) {
        return result;
    }
    messages.push_back(repairMessage(row));
    return StoreResult::done();
}

StoreResult repairOwner(Database& database, const std::string& token, std::vector<std::string>& messages)
{
    Transaction transaction(database);
    if (!transaction.result()) {
        return transaction.result();
    }
    std::vector<std::int64_t> records;
    {
        Statement list(database, sql::recordsOfOwner);
        list.bindText(0, token);
        while (list.step()) {
            records.push_back(list.integer(0));
        }
        if (!list.result()) {
            return list.result();
        }
    }
    for (const std::int64_t id : records) {
        if (StoreResult result = repairOne(database, id, messages); !result) {
            return result;
        }
    }
    for (const char* statement : { sql::dropHoldsOf, sql::removeOwner }) {
        if (StoreResult result = Statement(database, statement).bindText(0, token).run(); !result) {
            return result;
        }
    }
    if (!records.empty()) {
        if (StoreResult result = Statement(database, sql::bumpRevision).run(); !result) {
            return result;
        }
    }
    return transaction.commit();
}

} // namespace

StoreResult removeStrayLocks(Database& database, const EmbeddedContext& context)
{
    std::set<std::string> known { context.token };
    Statement list(database, sql::listOwners);
    while (list.step()) {
        known.insert(list.text(0));
    }
    if (list.result()) {
        OwnerLock::removeStrays(context.options.directory, known);
    }
    return list.result();
}

StoreResult repairAbandoned(Database& database, EmbeddedContext& context)
{
    std::map<std::string, std::int64_t> owners;
    for (const char* query : { sql::listOwners, sql::strayOwners }) {
        Statement list(database, query);
        while (list.step()) {
            owners.emplace(list.text(0), query == sql::listOwners ? list.integer(1) : 0);
        }
        if (!list.result()) {
            return list.result();
        }
    }
    for (const auto& [token, expiresUs] : owners) {
        if (token == context.token || OwnerLock::isAlive(context.options.directory, token, expiresUs)) {
            continue;
        }
        std::vector<std::string> messages;
        if (StoreResult result = repairOwner(database, token, messages); !result) {
            return result;
        }
        OwnerLock::removeFile(context.options.directory, token);
        for (const std::string& message : messages) {
            context.say(message);
        }
    }
    return StoreResult::done();
}

} // namespace recorder
