// SPDX-License-Identifier: Apache-2.0
#include "ownerlock.h"

#include "../../dates.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace recorder {

namespace {

std::filesystem::path fileOf(const std::filesystem::path& directory, const std::string& token)
{
    return directory / ("owner-" + token + ".lock");
}

} // namespace

OwnerLock::~OwnerLock()
{
    release();
}

StoreResult OwnerLock::take(const std::filesystem::path& directory, const std::string& token)
{
    m_file = fileOf(directory, token);
    m_descriptor = ::open(m_file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
    if (m_descriptor < 0) {
        const int error = errno;
        return StoreResult::failed(error == ENOSPC ? StoreError::Full : StoreError::Unreachable,
            "The data directory " + directory.string() + " cannot be written (" + std::strerror(error)
                + "): make it writable, or give another --data-directory.");
    }
    // Where locks are not supported the lease alone decides.
    if (::flock(m_descriptor, LOCK_EX | LOCK_NB) != 0) {
        release();
    }
    return StoreResult::done();
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
    const int descriptor = ::open(fileOf(directory, token).c_str(), O_RDWR | O_CLOEXEC);
    if (descriptor < 0) {
        return expiresUs > nowEpochUs();
    }
    const bool isFree = ::flock(descriptor, LOCK_EX | LOCK_NB) == 0;
    ::close(descriptor);
    return !isFree;
}

void OwnerLock::removeFile(const std::filesystem::path& directory, const std::string& token)
{
    ::unlink(fileOf(directory, token).c_str());
}

} // namespace recorder
