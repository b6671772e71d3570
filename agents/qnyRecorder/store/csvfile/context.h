// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../../csv/filebackend.h"
#include "csvfilestore.h"
#include "recordfile.h"

#include <list>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <vector>

namespace recorder {

// What the parts of one store of CSV files share. Outlives writers and readers.
struct CsvFileContext
{
    // What a writer left: rows that could not be written yet, in a file that stays owned.
    struct Orphan
    {
        std::string uuid;
        RecordFile file;
        std::string rows;
    };

    CsvFileOptions options;
    std::mutex mutex; // guards the rest
    std::map<std::string, RecordSummary> live; // records that are being written here
    std::vector<Orphan> orphans;
    std::set<std::string> said;

    void say(const std::string& message) const
    {
        if (options.onMessage) {
            options.onMessage(message);
        }
    }
    // The same trouble is told once.
    void sayOnce(const std::string& message);
    // Tells every recorder on the directory that the list looks different now.
    void listChanged() const;
    void closeOrphans();

    // The index of a record's file, brought up to date. Those used last are kept.
    StoreResult indexOf(
        const std::string& uuid, const RecordFile& file, bool isGrowing, std::shared_ptr<csv::SharedIndex>& index);
    // The file was changed by this store in a way that the index need not look through again.
    void keepIndex(const std::string& uuid, const RecordFile& file, const RecordFile::Version& before);
    void forgetIndex(const std::string& uuid);

private:
    struct CachedIndex
    {
        std::string uuid;
        std::shared_ptr<csv::SharedIndex> index;
        RecordFile::Version version;
        bool isGrowing = false;
    };
    std::list<CachedIndex> m_indexes; // the one used last comes first
};

// Closes a record whose recorder is gone, or whose file was changed by other means, and says so. `file` has the locks
// of Owner and Editing. Refused, said once, and nothing touched when the file ends with what is no row of a record.
StoreResult repairFile(CsvFileContext& context, const std::string& uuid, RecordFile& file);
// Brings a file that nobody writes into the state of a closed record, when it is not. InUse when somebody writes it.
StoreResult repairIfAbandoned(CsvFileContext& context, const std::string& uuid, const std::filesystem::path& path);

} // namespace recorder
