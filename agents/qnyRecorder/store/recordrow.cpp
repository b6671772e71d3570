// SPDX-License-Identifier: Apache-2.0
#include "recordrow.h"

#include "../chunk/packedchunk.h"

namespace recorder {

Completeness storedCompleteness(const std::string& json)
{
    Completeness completeness;
    std::string reason;
    if (!json.empty() && !Completeness::fromJson(json, completeness, reason)) {
        completeness = {};
        completeness.remarks.push_back("What was stored about its completeness cannot be read: " + reason);
    }
    return completeness;
}

std::string claimToStore(const Completeness& claimed)
{
    const bool claims = !claimed.outputs.empty() || !claimed.remarks.empty();
    return claims ? claimed.toJson() : std::string();
}

std::string packInitial(const OutputValue& initial)
{
    ChunkBuilder builder;
    builder.add(builder.declare(initial.agent, initial.output), 0, initial.value);
    return builder.finish(ChunkKind::State, 0);
}

bool unpackInitial(const std::string& packed, OutputValue& initial)
{
    ChunkHeader header;
    std::vector<EventView> events;
    std::string reason;
    const bool good = unpackChunk(packed, header, events, reason) && events.size() == 1;
    if (good) {
        initial.value = events.front().value;
    }
    return good;
}

void remarkRepair(Tally& tally, const RecordRow& row, int damaged)
{
    tally.remark(row.facts.origin == RecordOrigin::Imported
            ? "The import ended before its first part was whole."
            : "The recorder ended without closing this record: up to a second at its end may be missing.");
    if (damaged > 0) {
        tally.remark(std::to_string(damaged) + " chunks near its end are damaged.");
    }
}

std::string repairMessage(const RecordRow& row)
{
    return "The record \"" + row.facts.name + "\" (" + row.facts.uuid
        + ") was left open by a recorder that ended: it is closed now with " + std::to_string(row.extent.events)
        + " events.";
}

} // namespace recorder
