// SPDX-License-Identifier: Apache-2.0
#include "recordfile.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <utility>

namespace recorder {

namespace {

// Locks are on bytes far behind any file's end, one for each part.
constexpr off_t firstLock = off_t(1) << 62;
constexpr auto lockPatience = std::chrono::milliseconds(250); // others hold them for much less
constexpr auto lockPause = std::chrono::milliseconds(1);
// Space is kept in steps, for keeping it costs as much as writing a little.
constexpr std::uint64_t leastStep = 256 * 1024;
constexpr std::uint64_t mostStep = 8 * 1024 * 1024;

struct flock lockOf(RecordFile::Part part, short type)
{
    struct flock lock {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    lock.l_start = firstLock + static_cast<off_t>(part);
    lock.l_len = 1;
    return lock;
}

} // namespace

bool operator==(const RecordFile::Version& left, const RecordFile::Version& right)
{
    return left.device == right.device && left.inode == right.inode && left.size == right.size
        && left.changed.tv_sec == right.changed.tv_sec && left.changed.tv_nsec == right.changed.tv_nsec;
}

RecordFile::~RecordFile()
{
    close();
}

RecordFile::RecordFile(RecordFile&& other) noexcept
    : m_path(std::move(other.m_path))
    , m_descriptor(std::exchange(other.m_descriptor, -1))
    , m_keptUpTo(other.m_keptUpTo)
    , m_canKeepSpace(other.m_canKeepSpace)
{
}

RecordFile& RecordFile::operator=(RecordFile&& other) noexcept
{
    if (this != &other) {
        close();
        m_path = std::move(other.m_path);
        m_descriptor = std::exchange(other.m_descriptor, -1);
        m_keptUpTo = other.m_keptUpTo;
        m_canKeepSpace = other.m_canKeepSpace;
    }
    return *this;
}

void RecordFile::close()
{
    if (m_descriptor >= 0) {
        ::close(m_descriptor);
        m_descriptor = -1;
    }
}

StoreResult RecordFile::failed(int error, const char* what) const
{
    const std::string reason = std::string(" (") + std::strerror(error) + ")";
    switch (error) {
    case ENOENT:
        return StoreResult::failed(StoreError::NotFound, "The file " + m_path.string() + " is not there.");
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
        return StoreResult::failed(StoreError::Full,
            "The disk of " + m_path.parent_path().string() + " is full" + reason
                + ": make room there, or give another --data-directory.");
    case ELOOP:
        return StoreResult::failed(StoreError::Unreachable,
            "The file " + m_path.string() + " is a link, and is only read: put the file itself in its place.");
    default:
        return StoreResult::failed(
            StoreError::Unreachable, "The file " + m_path.string() + " cannot be " + what + reason + '.');
    }
}

StoreResult RecordFile::open(const std::filesystem::path& path, Access access)
{
    close();
    m_path = path;
    m_keptUpTo = 0;
    m_canKeepSpace = true;
    // A link may be read, but what it leads to is not the store's to write into.
    const int how = access == Access::Read ? O_RDONLY
        : access == Access::Write          ? O_RDWR | O_NOFOLLOW
                                           : O_RDWR | O_CREAT | O_EXCL;
    m_descriptor = ::open(path.c_str(), how | O_NONBLOCK | O_CLOEXEC, 0644);
    return m_descriptor >= 0 ? StoreResult::done() : failed(errno, access == Access::New ? "made" : "opened");
}

StoreResult RecordFile::moveTo(const std::filesystem::path& path)
{
    if (::rename(m_path.c_str(), path.c_str()) != 0) {
        return failed(errno, "given its name");
    }
    m_path = path;
    return StoreResult::done();
}

// ---- locks

StoreResult RecordFile::lock(Part part, bool shared)
{
    struct flock wanted = lockOf(part, shared ? F_RDLCK : F_WRLCK);
    if (::fcntl(m_descriptor, F_OFD_SETLK, &wanted) == 0) {
        return StoreResult::done();
    }
    const int error = errno;
    if (error == EAGAIN || error == EACCES) {
        return StoreResult::failed(StoreError::InUse, "The file " + m_path.string() + " is in use.");
    }
    return failed(error, "locked");
}

StoreResult RecordFile::lockSoon(Part part)
{
    const auto latest = std::chrono::steady_clock::now() + lockPatience;
    StoreResult result = lock(part);
    while (result.error == StoreError::InUse && std::chrono::steady_clock::now() < latest) {
        std::this_thread::sleep_for(lockPause);
        result = lock(part);
    }
    return result;
}

void RecordFile::unlock(Part part)
{
    struct flock wanted = lockOf(part, F_UNLCK);
    (void)::fcntl(m_descriptor, F_OFD_SETLK, &wanted);
}

bool RecordFile::isLockedElsewhere(Part part) const
{
    struct flock found = lockOf(part, F_WRLCK);
    return ::fcntl(m_descriptor, F_OFD_GETLK, &found) == 0 && found.l_type != F_UNLCK;
}

// ---- content

bool RecordFile::hasName() const
{
    struct stat state {};
    return ::fstat(m_descriptor, &state) == 0 && state.st_nlink > 0;
}

RecordFile::Version RecordFile::version() const
{
    struct stat state {};
    if (::fstat(m_descriptor, &state) != 0) {
        return {};
    }
    return { state.st_dev, state.st_ino, static_cast<std::uint64_t>(state.st_size), state.st_mtim };
}

StoreResult RecordFile::read(std::uint64_t offset, std::size_t bytes, std::string& content) const
{
    content.resize(bytes);
    std::size_t got = 0;
    while (got < bytes) {
        const ssize_t more = ::pread(m_descriptor, content.data() + got, bytes - got, static_cast<off_t>(offset + got));
        if (more < 0 && errno == EINTR) {
            continue;
        }
        if (more < 0) {
            return failed(errno, "read");
        }
        if (more == 0) {
            break;
        }
        got += static_cast<std::size_t>(more);
    }
    content.resize(got);
    return StoreResult::done();
}

// Blocks behind the end belong to the file without showing in its size.
StoreResult RecordFile::keepSpace(std::uint64_t upTo)
{
    if (upTo <= m_keptUpTo || !m_canKeepSpace) {
        return StoreResult::done();
    }
    const std::uint64_t step = std::clamp(upTo / 8, leastStep, mostStep);
    for (const std::uint64_t end : { upTo + step, upTo }) {
        const auto from = static_cast<off_t>(m_keptUpTo);
        if (::fallocate(m_descriptor, FALLOC_FL_KEEP_SIZE, from, static_cast<off_t>(end) - from) == 0) {
            m_keptUpTo = end;
            return StoreResult::done();
        }
        if (errno == EOPNOTSUPP || errno == ENOSYS) {
            m_canKeepSpace = false;
            return StoreResult::done();
        }
    }
    return failed(errno, "written");
}

StoreResult RecordFile::append(std::string_view bytes, std::uint64_t reserve)
{
    const std::uint64_t end = size();
    if (reserve > 0) {
        m_keptUpTo = std::max(m_keptUpTo, end);
        if (StoreResult result = keepSpace(end + bytes.size() + reserve); !result) {
            return result;
        }
    }
    if (StoreResult result = write(end, bytes); !result) {
        // Half a row would be worse than none.
        (void)::ftruncate(m_descriptor, static_cast<off_t>(end));
        m_keptUpTo = 0;
        return result;
    }
    return StoreResult::done();
}

StoreResult RecordFile::write(std::uint64_t offset, std::string_view bytes)
{
    std::size_t written = 0;
    while (written < bytes.size()) {
        const ssize_t more = ::pwrite(
            m_descriptor, bytes.data() + written, bytes.size() - written, static_cast<off_t>(offset + written));
        if (more < 0 && errno == EINTR) {
            continue;
        }
        if (more <= 0) {
            return failed(more < 0 ? errno : ENOSPC, "written");
        }
        written += static_cast<std::size_t>(more);
    }
    return StoreResult::done();
}

StoreResult RecordFile::replaceEnd(std::uint64_t offset, std::string_view bytes)
{
    if (StoreResult result = write(offset, bytes); !result) {
        return result;
    }
    return ::ftruncate(m_descriptor, static_cast<off_t>(offset + bytes.size())) == 0 ? StoreResult::done()
                                                                                     : failed(errno, "shortened");
}

StoreResult RecordFile::dropHalfLine()
{
    constexpr std::uint64_t pieceBytes = 4 * 1024;
    const std::uint64_t end = size();
    std::string piece;
    for (std::uint64_t at = end; at > 0;) {
        const std::uint64_t from = at - std::min(at, pieceBytes);
        if (StoreResult result = read(from, at - from, piece); !result) {
            return result;
        }
        if (const std::size_t feed = piece.rfind('\n'); feed != std::string::npos) {
            const std::uint64_t wholeEnd = from + feed + 1;
            return wholeEnd == end ? StoreResult::done() : replaceEnd(wholeEnd, {});
        }
        at = from;
    }
    return StoreResult::done(); // there is no line at all
}

void RecordFile::giveUpReserve()
{
    if (m_keptUpTo > 0) {
        (void)::ftruncate(m_descriptor, static_cast<off_t>(size()));
        m_keptUpTo = 0;
    }
}

StoreResult RecordFile::remove()
{
    return ::unlink(m_path.c_str()) == 0 ? StoreResult::done() : failed(errno, "deleted");
}

} // namespace recorder
