// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../store/store.h"
#include "csv.h"

#include <string>
#include <string_view>

namespace recorder::csv {

// Facts that a recorder adds to the files that it keeps; readers let them pass.
inline constexpr std::string_view originFact = "origin"; // recordedOrigin or importedOrigin
inline constexpr std::string_view recordedOrigin = "recorded";
inline constexpr std::string_view importedOrigin = "imported";
inline constexpr std::string_view eventsFact = "events"; // how many
inline constexpr std::string_view closingFact = "closing_bytes"; // how long the closing rows before this one are

// Takes a fact into `facts`; unknown facts, and the name (an import is named after its file), change nothing. False
// with the reason when the fact's value cannot be read. `changed` becomes true when something was taken.
bool takeFact(const Fact& fact, RecordFacts& facts, bool& changed, std::string& reason);

// The rows that stand before the events: facts, definitions, initial values. One string a row, with its line end.
std::vector<std::string> headerRows(const RecordFacts& facts, const std::vector<AgentDefinition>& definitions,
    const std::vector<OutputValue>& initialValues);

} // namespace recorder::csv
