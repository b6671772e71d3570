// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../chunkedwriter.h"
#include "../store.h"

#include <filesystem>

namespace recorder {

struct EmbeddedOptions
{
    std::filesystem::path directory; // made when missing
    Store::MessageHandler onMessage; // null: messages are dropped
    ChunkingOptions chunking;
    std::int64_t leaseUs = 5'000'000; // how long an owner that cannot be asked is believed to live
    std::int64_t upkeepUs = 1'000'000; // leases, repairs, checkpoints and deletions in the background
    int busyMs = 5'000; // patience with another recorder that is writing
    std::uint32_t mostPages = 0; // bound on the file, in pages of 16 KiB; 0: none
};

// Opens (or makes) the file "records.db" in a directory; several recorders may do so at once. Null with the reason in
// `result`: a directory that cannot be written, a file of a newer version, a file that is no store.
// Records whose owner is dead are closed before this returns.
std::unique_ptr<Store> openEmbeddedStore(const EmbeddedOptions& options, StoreResult& result);

} // namespace recorder
