// SPDX-License-Identifier: Apache-2.0
#include "taskthread.h"

namespace recorder {

TaskThread::TaskThread(std::chrono::milliseconds tickInterval, Task tick)
    : _tickInterval(tickInterval)
    , _tick(std::move(tick))
{
}

void TaskThread::start()
{
    _thread = std::thread([this] { run(); });
}

void TaskThread::post(Task task)
{
    {
        const std::lock_guard lock(_mutex);
        if (_mustEnd) {
            return;
        }
        _tasks.push_back(std::move(task));
    }
    _changed.notify_one();
}

void TaskThread::stop()
{
    {
        const std::lock_guard lock(_mutex);
        _mustEnd = true;
    }
    _changed.notify_one();
    if (_thread.joinable()) {
        _thread.join();
    }
}

void TaskThread::run()
{
    auto nextTick = std::chrono::steady_clock::now() + _tickInterval;
    std::unique_lock lock(_mutex);
    for (;;) {
        if (_tick && std::chrono::steady_clock::now() >= nextTick) {
            lock.unlock();
            _tick();
            lock.lock();
            nextTick = std::chrono::steady_clock::now() + _tickInterval;
        }
        if (!_tasks.empty()) {
            const Task task = std::move(_tasks.front());
            _tasks.pop_front();
            lock.unlock();
            task();
            lock.lock();
            continue;
        }
        if (_mustEnd) {
            return;
        }
        const auto hasWork = [this] { return _mustEnd || !_tasks.empty(); };
        if (_tick) {
            _changed.wait_until(lock, nextTick, hasWork);
        } else {
            _changed.wait(lock, hasWork);
        }
    }
}

} // namespace recorder
