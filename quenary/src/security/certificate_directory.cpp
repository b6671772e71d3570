// SPDX-License-Identifier: Apache-2.0
#include "security/certificate_directory.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <pthread.h>
#include <utility>

namespace qny {

namespace {

constexpr size_t mostFiles = 4096;
// A file that cannot be read is tried again now and then: the reason may lie outside of it.
constexpr int looksBetweenTries = 10;

// The clock of a file system ticks slowly: a file that was changed a moment ago may change again and look the same.
constexpr int64_t settledNanoseconds = 1'000'000'000;

int64_t nanoseconds(const timespec& time)
{
    return int64_t { time.tv_sec } * 1'000'000'000 + time.tv_nsec;
}

int64_t wallNanoseconds()
{
    timespec now {};
    clock_gettime(CLOCK_REALTIME, &now);
    return nanoseconds(now);
}

bool isOfInterest(std::string_view name)
{
    return !name.starts_with('.') && !name.ends_with('~') && !isPrivateFileName(name);
}

// The directory is there and cannot be read now: nothing was taken away by anybody.
bool isPassing(int error)
{
    return error != ENOENT && error != ENOTDIR && error != EACCES && error != ELOOP && error != ENAMETOOLONG;
}

struct OpenDirectory
{
    explicit OpenDirectory(const std::string& path)
        : stream(opendir(path.c_str()))
        , error(stream ? 0 : errno)
    {
    }
    ~OpenDirectory()
    {
        if (stream) {
            closedir(stream);
        }
    }
    OpenDirectory(const OpenDirectory&) = delete;
    OpenDirectory& operator=(const OpenDirectory&) = delete;

    DIR* stream;
    int error;
};

// Who may write into it decides who is let in; who may write into a folder above it, too.
std::string writableByAnybody(const OpenDirectory& directory, const std::string& path)
{
    struct stat status {};
    return fstat(dirfd(directory.stream), &status) == 0 && (status.st_mode & S_IWOTH) != 0 ? path
                                                                                           : openFolderAbove(path);
}

std::string opennessProblem(const std::string& open, const std::string& path)
{
    return path + ": anybody may write into "
        + (open == path ? "the directory of public certificates" : open + " above this directory");
}

std::string described(const Certificate& certificate)
{
    return certificate.name + " (" + certificate.path + ")";
}

} // namespace

CertificateDirectory::CertificateDirectory(std::string path, Warn warn)
    : m_path(std::move(path))
    , m_warn(std::move(warn))
{
}

CertificateDirectory::~CertificateDirectory()
{
    {
        const std::lock_guard lock(m_mutex);
        m_ending = true;
    }
    m_ended.notify_all();
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

std::string CertificateDirectory::open()
{
    const OpenDirectory directory(m_path);
    if (!directory.stream) {
        return m_path + ": the directory of public certificates cannot be read: " + std::strerror(directory.error);
    }
    if (const std::string open = writableByAnybody(directory, m_path); !open.empty()) {
        return opennessProblem(open, m_path) + ", and so let in whom they like; take that away with chmod o-w";
    }
    scan(true);
    publish(true);
    return {};
}

void CertificateDirectory::watch(std::function<void()> changed)
{
    logInfo("security: " + std::to_string(certificates()->byKey.size()) + " public certificates in " + m_path
        + " are let in");
    m_changed = std::move(changed);
    m_thread = std::thread([this] { loop(); });
}

CertificateSetPtr CertificateDirectory::certificates() const
{
    const std::lock_guard lock(m_mutex);
    return m_set;
}

void CertificateDirectory::loop()
{
    pthread_setname_np(pthread_self(), "quenary-certs");
    std::unique_lock lock(m_mutex);
    while (!m_ended.wait_for(lock, std::chrono::milliseconds(pollMilliseconds), [this] { return m_ending; })) {
        lock.unlock();
        if (scan(false)) {
            publish(false);
        }
        lock.lock();
    }
}

void CertificateDirectory::sayOnce(std::string& said, const std::string& text) const
{
    if (said != text) {
        said = text;
        if (!text.empty()) {
            m_warn(text);
        }
    }
}

bool CertificateDirectory::scan(bool first)
{
    const OpenDirectory directory(m_path);
    if (!directory.stream) {
        const bool passing = isPassing(directory.error);
        sayOnce(m_saidOfDirectory,
            m_path + ": the directory of public certificates cannot be read: " + std::strerror(directory.error)
                + (passing ? "; those who were let in stay so" : "; nobody is let in any more"));
        if (passing) {
            return false;
        }
        const bool changed = !m_entries.empty();
        m_entries.clear();
        return changed;
    }
    const int fd = dirfd(directory.stream);
    struct stat status {};
    // Whoever wants can write into it: what appears there now says nothing. What is taken away counts.
    const std::string open = writableByAnybody(directory, m_path);
    const bool frozen = !open.empty();
    std::string said = frozen
        ? opennessProblem(open, m_path) + ": nothing new in it counts until that is taken away with chmod o-w"
        : std::string();

    bool changed = false;
    for (auto& [name, entry] : m_entries) {
        entry.seen = false;
    }
    while (const dirent* each = readdir(directory.stream)) {
        const std::string name = each->d_name;
        if (!isOfInterest(name) || fstatat(fd, each->d_name, &status, 0) != 0 || S_ISDIR(status.st_mode)) {
            continue;
        }
        auto it = m_entries.find(name);
        if (it == m_entries.end()) {
            if (frozen) {
                continue;
            }
            if (m_entries.size() >= mostFiles) {
                said = m_path + ": there are more than " + std::to_string(mostFiles)
                    + " files in the directory of public certificates; the others do not count";
                continue;
            }
            it = m_entries.emplace(name, Entry {}).first;
        }
        it->second.seen = true;
        changed = (!frozen && look(name, status, it->second, first)) || changed;
    }
    changed = std::erase_if(m_entries, [](const auto& each) { return !each.second.seen; }) > 0 || changed;
    sayOnce(m_saidOfDirectory, said);
    return changed;
}

bool CertificateDirectory::look(const std::string& name, const struct stat& status, Entry& entry, bool first) const
{
    const Signature now { status.st_dev, status.st_ino, status.st_size, nanoseconds(status.st_mtim),
        nanoseconds(status.st_ctim) };
    const bool isSame = now == entry.signature;
    const bool isSettled = wallNanoseconds() - now.changed > settledNanoseconds;
    if (isSame && isSettled && !entry.inDoubt && (entry.problem.empty() || --entry.looksLeft > 0)) {
        return false;
    }
    entry.signature = now;
    auto read = std::make_shared<Certificate>();
    const std::string problem = readCertificate(m_path + "/" + name, CertificateKind::Public, *read);
    if (problem.empty()) {
        entry.problem.clear();
        entry.inDoubt = false;
        if (entry.certificate && entry.certificate->publicKey == read->publicKey
            && entry.certificate->metadata == read->metadata) {
            return false;
        }
        entry.certificate = std::move(read);
        return true;
    }
    if (!isSame && !first) {
        entry.inDoubt = true;
        return false;
    }
    entry.inDoubt = false;
    entry.looksLeft = looksBetweenTries;
    sayOnce(entry.problem, problem + "; this certificate lets nobody in");
    return std::exchange(entry.certificate, nullptr) != nullptr;
}

void CertificateDirectory::publish(bool first)
{
    const CertificateSetPtr before = certificates();
    auto set = std::make_shared<CertificateSet>();
    std::string duplicates;
    const auto take = [&](const Entry& entry) {
        const CertificatePtr& certificate = entry.certificate;
        const auto [it, isNew] = set->byKey.emplace(certificate->publicKey, certificate);
        if (!isNew && it->second != certificate) {
            duplicates += (duplicates.empty() ? "" : "; ") + certificate->path + ":"
                + std::to_string(certificate->publicKeyLine) + ": this public key stands in " + it->second->path + ":"
                + std::to_string(it->second->publicKeyLine) + ", too, and that file counts";
        }
    };
    // Those that were in force, by the name of the file, come first.
    std::vector<const Entry*> others;
    for (const auto& [name, entry] : m_entries) {
        if (entry.certificate) {
            const CertificatePtr known = before->find(entry.certificate->publicKey);
            if (known && known->path == entry.certificate->path) {
                take(entry);
            } else {
                others.push_back(&entry);
            }
        }
    }
    for (const Entry* entry : others) {
        take(*entry);
    }
    sayOnce(m_saidOfDuplicates, duplicates);

    if (!first) {
        for (const auto& [key, certificate] : set->byKey) {
            if (!before->find(key)) {
                logInfo("security: the certificate " + described(*certificate) + " is let in from now on");
            }
        }
        for (const auto& [key, certificate] : before->byKey) {
            if (!set->find(key)) {
                logInfo("security: the certificate " + described(*certificate) + " is not let in any more");
            }
        }
    }
    {
        const std::lock_guard lock(m_mutex);
        m_set = std::move(set);
    }
    if (m_changed) {
        m_changed();
    }
}

} // namespace qny
