// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../store/store.h"
#include "fileindex.h"

#include <filesystem>
#include <memory>

namespace recorder::csv {

// Opens a record CSV file for reading: looks through it once, keeping a small index, and reads the events from the file
// afterwards. The facts' uuid is the path as given. Null with the reason (line, column and reason for what is no
// record) in `result`; Refused when `progress` gave up.
std::unique_ptr<RecordReader> openFileRecord(
    const std::filesystem::path& path, const Progress& progress, StoreResult& result);

} // namespace recorder::csv
