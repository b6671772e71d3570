// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "store/store.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <thread>

namespace recorder::testing {

// Records as fast as a lively network would until it is told to end, or the store is full; then the record is closed.
class Producer
{
public:
    Producer(std::unique_ptr<RecordWriter> writer, std::size_t valueBytes);
    ~Producer() { (void)finish(); }
    Producer(const Producer&) = delete;
    Producer& operator=(const Producer&) = delete;

    bool hasEnded() const { return m_hasEnded; }
    // Returns how many events were produced.
    std::int64_t finish();
    // After finish(): what ended it before its time.
    const StoreResult& fullness() const { return m_fullness; }
    const Completeness& completeness() const { return m_completeness; }

private:
    void run();

    std::unique_ptr<RecordWriter> m_writer;
    const std::size_t m_valueBytes;
    std::int64_t m_count = 0;
    StoreResult m_fullness;
    Completeness m_completeness;
    std::atomic<bool> m_mustEnd { false };
    std::atomic<bool> m_hasEnded { false };
    std::thread m_thread;
};

} // namespace recorder::testing
