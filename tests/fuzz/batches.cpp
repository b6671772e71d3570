// SPDX-License-Identifier: Apache-2.0
// What a frame of the spill journal holds: batches and the facts of a record.
#include "fuzz.h"

#include "event.h"
#include "store/spill/batchbytes.h"

using namespace recorder;

namespace {

void checkCompleteness(std::string_view json)
{
    Completeness completeness;
    std::string reason;
    if (!Completeness::fromJson(json, completeness, reason)) {
        fuzz::expect(!reason.empty(), "what is wrong is told");
        return;
    }
    const std::string written = completeness.toJson();
    Completeness again;
    fuzz::expect(Completeness::fromJson(written, again, reason) && again == completeness && again.toJson() == written,
        "completeness reads as it was written");
    fuzz::expect(completeness.report(3).size() <= 5 + completeness.remarks.size(), "a report has an end");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    fuzz::Input input(data, size);
    const auto kind = input.number<uint8_t>() % 3;
    const std::string_view bytes = input.rest();
    if (kind == 0) {
        checkCompleteness(bytes);
    } else if (kind == 1) {
        RecordFacts facts;
        if (unpackFacts(bytes, facts)) {
            const std::string written = packFacts(facts);
            RecordFacts again;
            fuzz::expect(unpackFacts(written, again) && packFacts(again) == written, "facts read as they were written");
        }
    } else {
        Batch batch;
        if (unpackBatch(bytes, batch)) {
            fuzz::expect(batch.chunks.size() + batch.initials.size() + batch.definitions.size() <= size,
                "every row takes a byte at least");
            const std::string written = packBatch(batch);
            Batch again;
            fuzz::expect(
                unpackBatch(written, again) && packBatch(again) == written && eventsIn(again) == eventsIn(batch),
                "a batch reads as it was written");
        }
    }
    return 0;
}
