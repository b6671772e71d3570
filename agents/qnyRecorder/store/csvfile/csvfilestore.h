// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../store.h"

#include <filesystem>

namespace recorder {

struct CsvFileOptions
{
    std::filesystem::path directory; // made when missing
    Store::MessageHandler onMessage; // null: messages are dropped
    std::int64_t ageUs = 200'000; // rows are written at this age …
    std::uint32_t batchBytes = 128 * 1024; // … or when so many wait
    std::uint64_t pendingBytes
        = 64 * 1024 * 1024; // kept for a file that cannot be written; beyond it events are lost, and counted
    std::int64_t retryUs = 250'000; // between two attempts at what failed
};

// Keeps every record as one CSV file of a directory; several recorders may do so at once. docs/record-csv.md describes
// the files. Null with the reason in `result`: a directory that cannot be written, or that knows no locks.
// Records whose recorder ended without closing them are closed before this returns.
std::unique_ptr<Store> openCsvFileStore(const CsvFileOptions& options, StoreResult& result);

} // namespace recorder
