// SPDX-License-Identifier: Apache-2.0
// The directory of public certificates: who is let in, now.
#pragma once

#include "report.h"
#include "security/certificate.h"
#include "text.h"

#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <unordered_map>
#include <vector>

namespace qny {

// Certificates by their public key in Z85. Never changed once made.
class CertificateSet
{
public:
    CertificatePtr find(std::string_view publicKey) const
    {
        const auto it = byKey.find(publicKey);
        return it == byKey.end() ? nullptr : it->second;
    }

    std::unordered_map<std::string, CertificatePtr, TextHash, std::equal_to<>> byKey;
};
using CertificateSetPtr = std::shared_ptr<const CertificateSet>;

// Every file counts but hidden ones, copies of editors (their names end in ~) and private certificates (_secret). A
// file that is refused is told once, with file and line, and lets nobody in; the others are not concerned. Of two
// files with one key, the one that was there first counts.
class CertificateDirectory
{
public:
    // How long what happened to a file may stay unseen, a slow disk aside. A file that became unreadable is looked at a
    // second time before it counts as taken away: it may just be written.
    static constexpr int pollMilliseconds = 200;

    // The function is told what does not count, and why: each once, until something else is wrong there.
    using Warn = std::function<void(const std::string&)>;
    explicit CertificateDirectory(std::string path, Warn warn = logWarning);
    ~CertificateDirectory();
    CertificateDirectory(const CertificateDirectory&) = delete;
    CertificateDirectory& operator=(const CertificateDirectory&) = delete;

    // Reads what is there. Returns why the directory cannot be used, or nothing.
    std::string open();
    // Goes on looking, on a thread of its own, and calls the function there after each change.
    void watch(std::function<void()> changed);
    // From any thread.
    CertificateSetPtr certificates() const;
    const std::string& path() const { return m_path; }

private:
    // What tells that a file is another one than it was.
    struct Signature
    {
        dev_t device = 0;
        ino_t inode = 0;
        off_t size = 0;
        int64_t modified = 0;
        int64_t changed = 0;
        bool operator==(const Signature&) const = default;
    };
    struct Entry
    {
        Signature signature;
        CertificatePtr certificate; // the last one that could be read
        std::string problem; // the last one that was logged
        bool inDoubt = false; // it cannot be read since the last look
        int looksLeft = 0; // until a file that cannot be read is tried again although nothing happened to it
        bool seen = false;
    };

    void loop();
    // False when what was there last stays in force.
    bool scan(bool first);
    bool look(const std::string& name, const struct stat& status, Entry& entry, bool first) const;
    void publish(bool first);
    void sayOnce(std::string& said, const std::string& text) const;

    const std::string m_path;
    const Warn m_warn;
    std::map<std::string, Entry> m_entries; // by file name; of the watching thread, once there is one
    std::string m_saidOfDirectory;
    std::string m_saidOfDuplicates;

    mutable std::mutex m_mutex;
    std::condition_variable m_ended;
    bool m_ending = false;
    CertificateSetPtr m_set = std::make_shared<CertificateSet>();
    std::function<void()> m_changed;
    std::thread m_thread;
};

} // namespace qny
