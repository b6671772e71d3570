// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace recorder {

/// A thread that runs what it is given one after another, in the order given. With a tick it also calls a function at a
/// steady interval between tasks; a tick that is late because of a long task comes once, not several times.
class TaskThread
{
public:
    using Task = std::function<void()>;

    TaskThread() = default;
    explicit TaskThread(std::chrono::milliseconds tickInterval, Task tick);
    /// Runs what was given before, then ends.
    ~TaskThread() { stop(); }
    TaskThread(const TaskThread&) = delete;
    TaskThread& operator=(const TaskThread&) = delete;

    /// Begins to run tasks; those posted before are kept for it.
    void start();
    /// From any thread. Dropped after stop().
    void post(Task task);
    /// Runs what was given before, then ends the thread. Not from inside a task.
    void stop();

private:
    void run();

    std::mutex _mutex;
    std::condition_variable _changed;
    std::deque<Task> _tasks;
    bool _mustEnd = false;
    std::chrono::milliseconds _tickInterval { 0 };
    Task _tick;
    std::thread _thread;
};

} // namespace recorder
