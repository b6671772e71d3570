// SPDX-License-Identifier: Apache-2.0
#include "lateness.h"

#include <gtest/gtest.h>

using namespace qny;

TEST(Lateness, WhoIsInTimeAllowsOthersNothingMore)
{
    Lateness lateness;
    EXPECT_EQ(lateness.allowance(), 0);
    for (int64_t now = 0; now < 20'000; now += 100) {
        lateness.note(now, 100);
        ASSERT_EQ(lateness.allowance(), 0);
    }
}

TEST(Lateness, WhoWaitsLongForHisTurnAllowsOthersMoreUntilHeIsInTimeAgain)
{
    Lateness lateness;
    lateness.note(1'000, 600);
    EXPECT_EQ(lateness.allowance(), 0);
    lateness.note(1'700, 700);
    EXPECT_EQ(lateness.allowance(), 2'400);
    int64_t now = 1'800;
    for (; lateness.allowance() > 0 && now < 60'000; now += 100) {
        lateness.note(now, 100);
    }
    EXPECT_GT(now, 15'000) << "what was so a moment ago may be so again";
    EXPECT_LT(now, 32'000);
}

TEST(Lateness, WhoWasFrozenOnceIsInTimeAgainAtOnce)
{
    Lateness lateness;
    lateness.note(1'000, 100);
    lateness.note(9'000, 8'000);
    lateness.note(9'100, 100);
    EXPECT_EQ(lateness.allowance(), 0);
}

TEST(Lateness, NobodyIsWaitedForWithoutEnd)
{
    Lateness lateness;
    lateness.note(1'000, 60'000);
    lateness.note(2'000, 60'000);
    EXPECT_EQ(lateness.allowance(), 16'000);
}
