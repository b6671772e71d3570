// SPDX-License-Identifier: Apache-2.0
#include "ownerlock.h"

#include "../../dates.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace recorder {

namespace {

// Tokens of others come out of the database, which somebody else may have made: one that leads to another folder has no
// file here.
bool hasFile(const std::string& token)
{
    return token.find_first_of(std::string_view("/\0", 2)) == std::string::npos;
}

std::filesystem::path fileOf(const std::filesystem::path& directory, const std::string& token)
{
    return directory / ("owner-" + token + ".lock");
}

} // namespace

OwnerLock::~OwnerLock()
{
    if (m_descriptor >= 0) {
        ::close(m_descriptor);
    }
}

StoreResult OwnerLock::take(const std::filesystem::path& directory, const std::string& token)
{
    m_file = fileOf(directory, token);
    for (;;) {
        m_descriptor = ::open(m_file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
        if (m_descriptor < 0) {
            const int error = errno;
            return StoreResult::failed(error == ENOSPC ? StoreError::Full : StoreError::Unreachable,
                "The data directory " + directory.string() + " cannot be written (" + std::strerror(error)
                    + "): make it writable, or give another --data-directory.");
        }
        if (::flock(m_descriptor, LOCK_EX | LOCK_NB) != 0) {
            if (errno != EWOULDBLOCK) {
                release(); // where locks are not supported the lease alone decides
                return StoreResult::done();
            }
        } else {
            struct stat state {};
            if (::fstat(m_descriptor, &state) == 0 && state.st_nlink > 0) {
                return StoreResult::done();
            }
        }
        // Somebody took the fresh file for a dead owner's, before it was locked.
        ::close(m_descriptor);
        m_descriptor = -1;
    }
}

void OwnerLock::release()
{
    if (m_descriptor >= 0) {
        ::unlink(m_file.c_str());
        ::close(m_descriptor);
        m_descriptor = -1;
    }
}

bool OwnerLock::isAlive(const std::filesystem::path& directory, const std::string& token, std::int64_t expiresUs)
{
    const int descriptor
        = hasFile(token) ? ::open(fileOf(directory, token).c_str(), O_RDWR | O_NOFOLLOW | O_CLOEXEC) : -1;
    if (descriptor < 0) {
        return expiresUs > nowEpochUs();
    }
    const bool isFree = ::flock(descriptor, LOCK_EX | LOCK_NB) == 0;
    ::close(descriptor);
    return !isFree;
}

void OwnerLock::removeFile(const std::filesystem::path& directory, const std::string& token)
{
    if (hasFile(token)) {
        ::unlink(fileOf(directory, token).c_str());
    }
}

void OwnerLock::removeStrays(const std::filesystem::path& directory, const std::set<std::string>& known)
{
    constexpr std::string_view prefix = "owner-";
    constexpr std::string_view suffix = ".lock";
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(directory, error)) {
        const std::string name = entry.path().filename().string();
        if (name.starts_with(prefix) && name.ends_with(suffix)) {
            const std::string token = name.substr(prefix.size(), name.size() - prefix.size() - suffix.size());
            if (!known.contains(token) && !isAlive(directory, token, 0)) {
                removeFile(directory, token);
            }
        }
    }
}

} // namespace recorder
