// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../store.h"

#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace recorder {

// The names of record files: "2026-01-31 09-30-00 Name of the record 0f5c….csv", the start in local time and the uuid.
// The uuid is the record's: files whose names end otherwise are no records of the store.

bool isRecordUuid(std::string_view text);
std::string recordFileName(const RecordFacts& facts);
// While a file is being made.
std::string unfinishedFileName(const std::string& uuid);

struct RecordFiles
{
    std::map<std::string, std::filesystem::path> byUuid;
    std::vector<std::filesystem::path> twice; // of a uuid that another file has already
    std::vector<std::filesystem::path> unfinished;
};
// Empty when the directory cannot be read, with the reason in `error`.
RecordFiles findRecordFiles(const std::filesystem::path& directory, std::error_code& error);

} // namespace recorder
