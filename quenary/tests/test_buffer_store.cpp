// SPDX-License-Identifier: Apache-2.0
#include "buffer_store.h"

#include <gtest/gtest.h>

using qny::BufferStore;

TEST(BufferStoreTest, ALongBufferIsHandedOutAgainAndAShortOneIsNotKept)
{
    BufferStore store;
    std::string first = store.take(BufferStore::leastBytes);
    const char* const memory = first.data();
    first.append(100, 'x');
    store.give(std::move(first));
    EXPECT_NE(store.take(2 * BufferStore::leastBytes).data(), memory) << "it has no room for that";
    const std::string again = store.take(BufferStore::leastBytes);
    EXPECT_EQ(again.data(), memory);
    EXPECT_TRUE(again.empty());

    std::string brief;
    brief.reserve(BufferStore::leastBytes / 2);
    const char* const briefMemory = brief.data();
    store.give(std::move(brief));
    EXPECT_NE(store.take(100).data(), briefMemory);
}

TEST(BufferStoreTest, KeepsNoMoreThanItsBound)
{
    BufferStore store;
    size_t given = 0;
    while (given <= 2 * BufferStore::mostBytes) {
        std::string buffer = store.take(0);
        buffer.reserve(BufferStore::mostBytes / 4);
        given += buffer.capacity();
        store.give(std::move(buffer));
    }
    EXPECT_LE(store.keptBytes(), BufferStore::mostBytes);
    EXPECT_GT(store.keptBytes(), BufferStore::mostBytes / 2);
}

TEST(BufferStoreTest, GivesBackWhatNobodyHasTakenForAWhile)
{
    BufferStore store;
    std::string buffer = store.take(BufferStore::leastBytes);
    store.give(std::move(buffer));
    store.shrink();
    EXPECT_GT(store.keptBytes(), 0U) << "it came after the last look";
    store.shrink();
    EXPECT_EQ(store.keptBytes(), 0U);
}
