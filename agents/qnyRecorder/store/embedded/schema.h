// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "database.h"

#include <filesystem>

namespace recorder {

// Version of the tables below; a file of a newer one is refused.
inline constexpr int embeddedSchemaVersion = 1;
inline constexpr int embeddedPageBytes = 16 * 1024;

// Makes the tables in a new file, or checks that this is a store of a version that is known.
StoreResult prepareSchema(Database& database, const std::filesystem::path& file);

// What every connection sets for itself.
StoreResult prepareConnection(Database& database, std::uint32_t mostPages, std::uint64_t logBytes);

} // namespace recorder
