// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../store/chunkbackend.h"
#include "fileindex.h"

#include <fstream>
#include <memory>
#include <mutex>

namespace recorder::csv {

// An index that several readers share.
struct SharedIndex
{
    SharedIndex(std::filesystem::path path, FileIndex::BadRows badRows)
        : index(std::move(path), badRows)
    {
    }
    std::mutex mutex;
    FileIndex index; // with the mutex locked
};

// Reads blocks of the file again and packs them, so that everything above it works as with a database.
class FileBackend : public ChunkBackend
{
public:
    explicit FileBackend(std::shared_ptr<SharedIndex> shared);

    StoreResult chunksAfter(std::int64_t firstUs, std::uint64_t sequence, std::int64_t mostFirstUs,
        std::int64_t leastLastUs, std::size_t most, std::vector<ChunkInfo>& chunks) override;
    StoreResult load(const ChunkInfo& chunk, std::string& packed) override;
    StoreResult stateUpTo(std::int64_t timeUs, StoredState& state, bool& found) override;
    StoreResult extent(Extent& extent) override;

protected:
    SharedIndex& shared() { return *m_shared; }

private:
    std::shared_ptr<SharedIndex> m_shared;
    std::ifstream m_file;
};

} // namespace recorder::csv
