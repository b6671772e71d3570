// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../result.h"

#include <cstdint>
#include <filesystem>
#include <set>
#include <string>

namespace recorder {

// Tells whether the store object that owns a record still lives. Each holds a lock on a file of its own, which the
// system gives up when the process ends, however it ends: a dead owner is known at once, a frozen one is not taken for
// dead.
class OwnerLock
{
public:
    OwnerLock() = default;
    ~OwnerLock(); // unlocks; the file stays, and tells others that its owner is gone
    OwnerLock(const OwnerLock&) = delete;
    OwnerLock& operator=(const OwnerLock&) = delete;

    // Makes and locks the file. Fails when the directory cannot be written.
    StoreResult take(const std::filesystem::path& directory, const std::string& token);
    // Unlocks and removes the file: for an owner that left nothing behind.
    void release();

    // Whether another owner lives. Its lease (end on the system clock) decides only where there is no file to ask.
    static bool isAlive(const std::filesystem::path& directory, const std::string& token, std::int64_t expiresUs);
    // Removes what a dead owner left.
    static void removeFile(const std::filesystem::path& directory, const std::string& token);
    // Removes the files of every owner that is dead and none of `known`, whose records may still have to be repaired.
    static void removeStrays(const std::filesystem::path& directory, const std::set<std::string>& known);

private:
    int m_descriptor = -1;
    std::filesystem::path m_file;
};

} // namespace recorder
