// SPDX-License-Identifier: Apache-2.0
#include "replication.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>

namespace recorder::cassandra {

namespace {

constexpr int mostReplicas = 100;

bool isReplicas(std::string_view text)
{
    int number = 0;
    const auto read = std::from_chars(text.data(), text.data() + text.size(), number);
    return read.ec == std::errc() && read.ptr == text.data() + text.size() && number >= 1 && number <= mostReplicas;
}

bool isDataCentre(std::string_view text)
{
    return !text.empty() && std::all_of(text.begin(), text.end(), [](unsigned char c) {
        return c < 128 && (std::isalnum(c) || c == '_' || c == '-' || c == '.' || c == ' ');
    });
}

} // namespace

std::optional<std::string> replicationMap(std::string_view text)
{
    const std::size_t colon = text.find(':');
    if (colon == std::string_view::npos) {
        return std::nullopt;
    }
    const std::string_view strategy = text.substr(0, colon);
    std::string_view rest = text.substr(colon + 1);
    if (strategy == "SimpleStrategy" && isReplicas(rest)) {
        return "{'class': 'SimpleStrategy', 'replication_factor': " + std::string(rest) + '}';
    }
    if (strategy != "NetworkTopologyStrategy") {
        return std::nullopt;
    }
    std::string map = "{'class': 'NetworkTopologyStrategy'";
    for (;;) {
        const std::size_t comma = rest.find(',');
        const std::string_view part = rest.substr(0, comma);
        const std::size_t equals = part.find('=');
        if (equals == std::string_view::npos || !isDataCentre(part.substr(0, equals))
            || !isReplicas(part.substr(equals + 1))) {
            return std::nullopt;
        }
        map += ", '" + std::string(part.substr(0, equals)) + "': " + std::string(part.substr(equals + 1));
        if (comma == std::string_view::npos) {
            return map + '}';
        }
        rest.remove_prefix(comma + 1);
    }
}

bool isConsistency(std::string_view text)
{
    static constexpr std::array names { "ONE", "TWO", "THREE", "QUORUM", "ALL", "LOCAL_ONE", "LOCAL_QUORUM" };
    return std::find(names.begin(), names.end(), text) != names.end();
}

} // namespace recorder::cassandra
