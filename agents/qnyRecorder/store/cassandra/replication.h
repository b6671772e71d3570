// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace recorder::cassandra {

// "SimpleStrategy:1" or "NetworkTopologyStrategy:dc1=3,dc2=2" as the map that CQL wants; nothing when it is neither.
std::optional<std::string> replicationMap(std::string_view text);

// "ONE", "LOCAL_QUORUM" and the like, in capitals.
bool isConsistency(std::string_view text);

} // namespace recorder::cassandra
