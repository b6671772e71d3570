// SPDX-License-Identifier: Apache-2.0
#include "filerecord.h"

#include "../store/chunkedreader.h"
#include "filebackend.h"

namespace recorder::csv {

std::unique_ptr<RecordReader> openFileRecord(
    const std::filesystem::path& path, const Progress& progress, StoreResult& result)
{
    auto shared = std::make_shared<SharedIndex>(path, FileIndex::BadRows::Refuse);
    FileIndex& index = shared->index;
    result = index.update(false, progress);
    if (!result) {
        if (result.error == StoreError::NotFound) {
            result.error = StoreError::Unreachable; // the file, not a record
        }
        return nullptr;
    }
    index.seal();
    auto backend = std::make_unique<FileBackend>(shared);
    return std::make_unique<ChunkedReader>(
        std::move(backend), index.facts(), index.definitions(), index.initialValues());
}

} // namespace recorder::csv
