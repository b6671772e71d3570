// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../result.h"

#include <cstdint>
#include <ctime>
#include <filesystem>
#include <string>
#include <string_view>
#include <sys/types.h>

namespace recorder {

// One file of records, held open, with the locks by which recorders on the same directory know of one another. The
// system gives locks up when a process ends, however it ends: a dead owner is known at once, a frozen one is not taken
// for dead. Locks belong to the object, also within one process.
class RecordFile
{
public:
    enum class Part
    {
        Owner, // who writes the record
        Readers, // who reads it
        Editing // who adds rows to the file at this moment
    };
    enum class Access
    {
        Read,
        Write,
        New // must not be there yet
    };
    // What tells one content from another.
    struct Version
    {
        dev_t device = 0;
        ino_t inode = 0;
        std::uint64_t size = 0;
        std::timespec changed {};
        friend bool operator==(const Version& left, const Version& right);
    };

    RecordFile() = default;
    ~RecordFile();
    RecordFile(RecordFile&& other) noexcept;
    RecordFile& operator=(RecordFile&& other) noexcept;

    // NotFound when it is not there.
    StoreResult open(const std::filesystem::path& path, Access access);
    const std::filesystem::path& path() const { return m_path; }
    // From a name of its own making to the one by which it is found.
    StoreResult moveTo(const std::filesystem::path& path);

    // InUse when another object has it, in whatever process.
    StoreResult lock(Part part, bool shared = false);
    // The same, but with some patience.
    StoreResult lockSoon(Part part);
    void unlock(Part part);
    bool isLockedElsewhere(Part part) const;

    // False when the file is gone: deleted by hand, for a file that somebody has open lives on without a name.
    bool hasName() const;
    Version version() const;
    std::uint64_t size() const { return version().size; }
    // Fewer bytes when the file ends.
    StoreResult read(std::uint64_t offset, std::size_t bytes, std::string& content) const;

    // Adds bytes at the file's end, all of them or none, while Editing is locked. Space for `reserve` more bytes is
    // made sure of first, so that a full disk still takes those; with 0 nothing is made sure of.
    StoreResult append(std::string_view bytes, std::uint64_t reserve);
    // Writes over the end of the file, from `offset` on, and ends the file behind that.
    StoreResult replaceEnd(std::uint64_t offset, std::string_view bytes);
    // Takes off what stands behind the last line end: somebody ended while writing it. While Editing is locked.
    StoreResult dropHalfLine();
    // Gives back the space that is kept behind the end. While Editing is locked.
    void giveUpReserve();
    StoreResult remove();

private:
    StoreResult failed(int error, const char* what) const;
    StoreResult keepSpace(std::uint64_t upTo);
    StoreResult write(std::uint64_t offset, std::string_view bytes);
    void close();

    std::filesystem::path m_path;
    int m_descriptor = -1;
    std::uint64_t m_keptUpTo = 0;
    bool m_canKeepSpace = true;
};

} // namespace recorder
