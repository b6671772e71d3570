// SPDX-License-Identifier: Apache-2.0
#include "context.h"

#include <algorithm>
#include <ctime>
#include <fcntl.h>
#include <sys/stat.h>

namespace recorder {

namespace {

constexpr std::size_t keptIndexes = 4;
constexpr std::size_t mostSaid = 1000;

bool isBefore(const std::timespec& left, const std::timespec& right)
{
    return left.tv_sec < right.tv_sec || (left.tv_sec == right.tv_sec && left.tv_nsec < right.tv_nsec);
}

} // namespace

void CsvFileContext::sayOnce(const std::string& message)
{
    {
        const std::lock_guard guard(mutex);
        if (said.size() >= mostSaid) {
            said.clear();
        }
        if (!said.insert(message).second) {
            return;
        }
    }
    say(message);
}

// The directory's own time of change is what everybody looks at. It is set to the nanosecond, for the system's own may
// be the same for changes that follow one another closely.
void CsvFileContext::listChanged() const
{
    struct stat state {};
    std::timespec now {};
    if (::stat(options.directory.c_str(), &state) != 0 || ::clock_gettime(CLOCK_REALTIME, &now) != 0) {
        return;
    }
    if (!isBefore(state.st_mtim, now)) {
        now = state.st_mtim;
        if (++now.tv_nsec == 1'000'000'000) {
            now.tv_nsec = 0;
            ++now.tv_sec;
        }
    }
    const std::timespec times[2] = { now, now };
    if (::utimensat(AT_FDCWD, options.directory.c_str(), times, 0) != 0) {
        // Somebody else's directory may be set to the present alone.
        (void)::utimensat(AT_FDCWD, options.directory.c_str(), nullptr, 0);
    }
}

void CsvFileContext::closeOrphans()
{
    std::vector<Orphan> trying;
    {
        const std::lock_guard guard(mutex);
        trying.swap(orphans);
    }
    for (Orphan& orphan : trying) {
        StoreResult result = orphan.file.lockSoon(RecordFile::Part::Editing);
        if (result && orphan.file.hasName()) {
            result = orphan.file.append(orphan.rows, 0);
            if (result) {
                orphan.file.giveUpReserve();
            }
            orphan.file.unlock(RecordFile::Part::Editing);
        }
        if (!result) {
            const std::lock_guard guard(mutex);
            orphans.push_back(std::move(orphan));
            continue;
        }
        orphan.file = RecordFile();
        listChanged();
    }
}

// ---- indexes

StoreResult CsvFileContext::indexOf(
    const std::string& uuid, const RecordFile& file, bool isGrowing, std::shared_ptr<csv::SharedIndex>& index)
{
    const RecordFile::Version version = file.version();
    index.reset();
    {
        const std::lock_guard guard(mutex);
        const auto known = std::find_if(
            m_indexes.begin(), m_indexes.end(), [&](const CachedIndex& cached) { return cached.uuid == uuid; });
        if (known != m_indexes.end()) {
            const RecordFile::Version& before = known->version;
            const bool hasGrown = known->isGrowing && before.device == version.device && before.inode == version.inode
                && before.size <= version.size;
            if (known->index->index.path() == file.path() && (before == version || hasGrown)) {
                index = known->index;
            }
            m_indexes.erase(known);
        }
    }
    if (!index) {
        index = std::make_shared<csv::SharedIndex>(file.path(), csv::FileIndex::BadRows::PassOver);
    }
    {
        const std::lock_guard guard(index->mutex);
        if (StoreResult result = index->index.update(isGrowing); !result) {
            return result;
        }
    }
    const std::lock_guard guard(mutex);
    m_indexes.push_front({ uuid, index, version, isGrowing });
    if (m_indexes.size() > keptIndexes) {
        m_indexes.pop_back();
    }
    return StoreResult::done();
}

void CsvFileContext::keepIndex(const std::string& uuid, const RecordFile& file, const RecordFile::Version& before)
{
    std::shared_ptr<csv::SharedIndex> index;
    bool isGrowing = false;
    const auto isIt = [&](const CachedIndex& cached) { return cached.uuid == uuid && cached.version == before; };
    {
        const std::lock_guard guard(mutex);
        if (const auto known = std::find_if(m_indexes.begin(), m_indexes.end(), isIt); known != m_indexes.end()) {
            index = known->index;
            isGrowing = known->isGrowing;
        }
    }
    if (!index) {
        return;
    }
    {
        // Never one of the two mutexes within the other.
        const std::lock_guard indexGuard(index->mutex);
        if (!index->index.update(isGrowing)) {
            return;
        }
    }
    const std::lock_guard guard(mutex);
    if (const auto known = std::find_if(m_indexes.begin(), m_indexes.end(), isIt);
        known != m_indexes.end() && known->index == index) {
        known->version = file.version();
    }
}

void CsvFileContext::forgetIndex(const std::string& uuid)
{
    const std::lock_guard guard(mutex);
    m_indexes.remove_if([&](const CachedIndex& cached) { return cached.uuid == uuid; });
}

} // namespace recorder
