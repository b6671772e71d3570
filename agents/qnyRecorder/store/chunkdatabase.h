// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "chunkedwriter.h"
#include "store.h"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace recorder {

// A database of chunks on other machines: it may be out of reach when the recorder starts, and at any moment after.
// Every write is by key, so whatever had an unknown outcome may be sent again. May be called from any thread.
class ChunkDatabase
{
public:
    virtual ~ChunkDatabase() = default;

    // As Store::describe().
    virtual std::string describe() const = 0;
    // Done at once while the database answers; else one attempt to reach it, of bounded length. NewerVersion and
    // Refused (wrong password, no permission) do not go away by waiting.
    virtual StoreResult connect() = 0;
    // Of this object among the owners of records.
    virtual std::string ownerToken() const = 0;

    virtual StoreResult records(std::string_view namePart, std::vector<RecordSummary>& list) = 0;
    virtual StoreResult listRevision(std::uint64_t& revision) = 0;
    virtual StoreResult open(const std::string& uuid, std::unique_ptr<RecordReader>& reader) = 0;
    virtual StoreResult rename(const std::string& uuid, const std::string& name) = 0;
    virtual StoreResult remove(const std::string& uuid) = 0;

    // Makes the record's row, owned by this object. Done as well when this object made it before, whoever closed it
    // meanwhile; NotFound when somebody deleted it meanwhile.
    virtual StoreResult create(const RecordFacts& facts) = 0;
    // Takes an imported record over that nobody writes, and says where to go on.
    virtual StoreResult adopt(const std::string& uuid, WriterStart& start) = 0;
    // Takes over a record that `formerOwner` left behind, whoever closed it meanwhile: an owner that has died, or this
    // object itself, which another recorder took for dead while the database was out of reach. NotFound when it was
    // deleted, or never made. InUse while anybody else alive owns it.
    virtual StoreResult reclaim(const std::string& uuid, const std::string& formerOwner) = 0;
    // Writes into a record that this object owns. Its writes fail while the database is out of reach; NotFound when the
    // record was deleted or taken over. Made at once, whether the database answers or not.
    virtual std::unique_ptr<ChunkSink> sink(const std::string& uuid) = 0;
    // Closes a record that this object owns and that nobody writes any more from what is stored of it, as it is done
    // with the record of an owner that died: state, length, counts and the remark that it was not closed. Gives up
    // ownership.
    virtual StoreResult repair(const std::string& uuid) = 0;
};

} // namespace recorder
