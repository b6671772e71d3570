// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "database.h"

#include <filesystem>

namespace recorder {

// Version of the tables below; a file of a newer one is refused.
inline constexpr int embeddedSchemaVersion = 1;
inline constexpr int embeddedPageBytes = 16 * 1024;

// Whether what lies there may be opened at all: SQLite follows a link, and when it carries out a journal that was left
// it deletes a file that the journal names.
StoreResult checkFiles(const std::filesystem::path& file);

// Makes the tables in a new file, or checks that this is a store of a version that is known.
StoreResult prepareSchema(Database& database, const std::filesystem::path& file);

// What every connection sets for itself.
StoreResult prepareConnection(Database& database, std::uint32_t mostPages, std::uint64_t logBytes);

} // namespace recorder
