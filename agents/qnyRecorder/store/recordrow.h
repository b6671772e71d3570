// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "chunkbackend.h"
#include "tally.h"

#include <string>

namespace recorder {

// What a database's row of a record says, whatever the database.
struct RecordRow
{
    RecordFacts facts; // the completeness is the merged one
    RecordState state = RecordState::Recording;
    Extent extent;
    Completeness claimed; // by the file of an import
    Completeness counted; // over the chunks before countedThrough
    std::uint64_t countedThrough = 0;
};

// Of the JSON in a row; what cannot be read becomes a remark.
Completeness storedCompleteness(const std::string& json);
// The claim of an import as it is stored: nothing when there is none.
std::string claimToStore(const Completeness& claimed);

// An initial value as it is stored, and back. False when the bytes are damaged: that output starts without one.
std::string packInitial(const OutputValue& initial);
bool unpackInitial(const std::string& packed, OutputValue& initial);

// Closes a record whose recorder ended: the remarks that its completeness gets, and the sentence for the log.
void remarkRepair(Tally& tally, const RecordRow& row, int damaged);
std::string repairMessage(const RecordRow& row);

} // namespace recorder
