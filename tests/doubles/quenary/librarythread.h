// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace QuenaryDouble {

/// The one thread on which the library calls back.
class LibraryThread
{
public:
    LibraryThread();
    ~LibraryThread();
    LibraryThread(const LibraryThread&) = delete;
    LibraryThread& operator=(const LibraryThread&) = delete;

    /// Runs something there and waits for it. From inside a callback: at once.
    void run(const std::function<void()>& action);

private:
    void _work();

    std::mutex _mutex; // this group
    std::condition_variable _changed;
    const std::function<void()>* _action = nullptr;
    bool _isStopping = false;

    std::mutex _callers; // one after another
    std::thread _thread;
};

} // namespace QuenaryDouble
