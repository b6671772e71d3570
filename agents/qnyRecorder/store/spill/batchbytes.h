// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../chunkbackend.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace recorder {

// Facts and batches as bytes, as docs/spill-journal.md describes them. Reading refuses whatever does not fit.

std::string packFacts(const RecordFacts& facts);
bool unpackFacts(std::string_view bytes, RecordFacts& facts);

std::string packBatch(const Batch& batch);
bool unpackBatch(std::string_view bytes, Batch& batch);

// The events in a batch.
std::uint64_t eventsIn(const Batch& batch);

} // namespace recorder
