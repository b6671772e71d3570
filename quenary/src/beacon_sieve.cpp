// SPDX-License-Identifier: Apache-2.0
#include "beacon_sieve.h"

#include <algorithm>

namespace qny {

namespace {

constexpr size_t budgetDatagrams = 256; // about what the system keeps for us
constexpr int64_t budgetMilliseconds = 20;
// A peer sends a beacon a second: within the longest time two of three may be lost.
constexpr uint32_t shortestMilliseconds = 500;
constexpr uint32_t longestMilliseconds = 3500;
constexpr uint32_t againMilliseconds = 10'000;
constexpr size_t places = 65'536;

} // namespace

size_t BeaconSieve::budget(int64_t now)
{
    if (now >= m_refill) {
        m_refill = now + budgetMilliseconds;
        m_left = budgetDatagrams;
    }
    return m_left;
}

bool BeaconSieve::isSteady(const wire::Beacon& beacon, const std::string& from, int64_t now)
{
    if (m_seen.empty()) {
        m_seen.resize(places);
    }
    std::string text(reinterpret_cast<const char*>(beacon.sender.data()), beacon.sender.size());
    text += std::to_string(beacon.port) + "/" + from;
    const uint64_t hash = hashOf(text.data(), text.size()); // nobody can aim at another's place
    Seen& seen = m_seen[hash % places];
    const auto tag = static_cast<uint32_t>(hash >> 32);
    const auto at = static_cast<uint32_t>(now);
    const uint32_t age = at - seen.first;
    if (seen.tag != tag) {
        seen = { tag, at, 0 };
        return false;
    }
    if (age > longestMilliseconds && (seen.tried == 0 || at - seen.tried > againMilliseconds)) {
        seen = { tag, at, 0 };
        return false;
    }
    if (age < shortestMilliseconds || seen.tried != 0) {
        return false;
    }
    seen.tried = std::max<uint32_t>(at, 1);
    return true;
}

} // namespace qny
