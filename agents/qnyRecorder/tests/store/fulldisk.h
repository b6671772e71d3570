// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "store/store.h"

#include <string>

namespace recorder::testing {

inline Event numberedText(int i, std::size_t bytes = 0)
{
    return { i, "agent", "o", ValueView::fromString(std::to_string(i) + std::string(bytes, '.')) };
}

struct UntilFull
{
    int appended = 0;
    int certain = 0; // stored before it became full
};

// Records until the store is full, and says of that what the store said.
inline UntilFull recordUntilFull(RecordWriter& writer, StoreResult& result)
{
    UntilFull until;
    result = StoreResult::done();
    while (result && until.appended < 2'000'000) {
        until.certain = static_cast<int>(writer.eventsStored());
        result = writer.append(numberedText(until.appended++, 1'000).view());
    }
    return until;
}

} // namespace recorder::testing
