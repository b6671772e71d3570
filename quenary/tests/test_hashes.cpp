// SPDX-License-Identifier: Apache-2.0
// Whom others name is looked up by hashes that nobody else can tell.
#include "text.h"

#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <unordered_set>

using namespace qny;

namespace {

constexpr size_t mostTogether = 20; // of a thousand by chance there are six or seven

template <typename Set> size_t longestChain(const Set& set)
{
    size_t longest = 0;
    for (size_t i = 0; i < set.bucket_count(); ++i) {
        longest = std::max(longest, set.bucket_size(i));
    }
    return longest;
}

} // namespace

TEST(Hashes, UuidsThatAreChosenWithCareDoNotFallTogether)
{
    std::unordered_set<Uuid, UuidHash> set;
    set.reserve(1000);
    for (uint64_t i = 1; i <= 1000; ++i) {
        const uint64_t chosen = i * set.bucket_count();
        Uuid uuid {};
        std::memcpy(uuid.data(), &chosen, sizeof chosen);
        set.insert(uuid);
    }
    EXPECT_EQ(set.size(), 1000U);
    EXPECT_LE(longestChain(set), mostTogether);
}

TEST(Hashes, NamesThatAreChosenWithCareDoNotFallTogether)
{
    std::unordered_set<std::string, TextHash, std::equal_to<>> set;
    set.reserve(1000);
    const std::hash<std::string> known;
    for (uint64_t i = 0; set.size() < 1000; ++i) {
        const std::string name = "output " + std::to_string(i);
        if (known(name) % set.bucket_count() == 0) {
            set.insert(name);
        }
    }
    EXPECT_LE(longestChain(set), mostTogether);
}

TEST(Hashes, OfTheSameBytesAreTheSame)
{
    EXPECT_EQ(TextHash {}(std::string("pump")), TextHash {}(std::string_view("pump")));
    EXPECT_NE(TextHash {}("pump"), TextHash {}("pumq"));
}
