// SPDX-License-Identifier: Apache-2.0
#include "filenames.h"

#include "../../csv/utf8.h"
#include "../../dates.h"

#include <algorithm>

namespace recorder {

namespace {

constexpr std::size_t uuidBytes = 36;
constexpr std::string_view suffix = ".csv";
constexpr std::string_view unfinishedPrefix = ".new-";
constexpr std::size_t mostNameBytes = 120; // of 255 that file systems take

// What a person can read of a record's name and every file system takes.
std::string safeName(const std::string& name)
{
    constexpr std::string_view unsafe = "/\\:*?\"<>|";
    std::string safe = name.substr(0, mostNameBytes);
    while (!csv::isUtf8(safe)) {
        safe.pop_back(); // the cut went through a character
    }
    for (char& c : safe) {
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f || unsafe.find(c) != std::string_view::npos) {
            c = '_';
        }
    }
    return safe;
}

} // namespace

bool isRecordUuid(std::string_view text)
{
    if (text.size() != uuidBytes) {
        return false;
    }
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool isDash = i == 8 || i == 13 || i == 18 || i == 23;
        const bool isDigit = (text[i] >= '0' && text[i] <= '9') || (text[i] >= 'a' && text[i] <= 'f');
        if (isDash ? text[i] != '-' : !isDigit) {
            return false;
        }
    }
    return true;
}

std::string recordFileName(const RecordFacts& facts)
{
    std::string name = toListDate(facts.startUs).substr(0, 19);
    std::replace(name.begin(), name.end(), ':', '-');
    if (!facts.name.empty()) {
        name += ' ' + safeName(facts.name);
    }
    return name + ' ' + facts.uuid + std::string(suffix);
}

std::string unfinishedFileName(const std::string& uuid)
{
    return std::string(unfinishedPrefix) + uuid;
}

RecordFiles findRecordFiles(const std::filesystem::path& directory, std::error_code& error)
{
    RecordFiles files;
    std::vector<std::filesystem::path> names;
    std::filesystem::directory_iterator entry(directory, error);
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        std::error_code unknown;
        if (entry->is_regular_file(unknown)) {
            names.push_back(entry->path().filename());
        }
    }
    std::sort(names.begin(), names.end());
    for (const std::filesystem::path& path : names) {
        const std::string name = path.string();
        if (name.starts_with(unfinishedPrefix)
            && isRecordUuid(std::string_view(name).substr(unfinishedPrefix.size()))) {
            files.unfinished.push_back(directory / path);
        }
        if (!name.ends_with(suffix) || name.size() < uuidBytes + suffix.size() + 1) {
            continue;
        }
        const std::size_t at = name.size() - suffix.size() - uuidBytes;
        const std::string uuid = name.substr(at, uuidBytes);
        if (name[at - 1] == ' ' && isRecordUuid(uuid) && !files.byUuid.emplace(uuid, directory / path).second) {
            files.twice.push_back(directory / path);
        }
    }
    return files;
}

} // namespace recorder
