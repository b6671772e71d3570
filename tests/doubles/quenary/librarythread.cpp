// SPDX-License-Identifier: Apache-2.0
#include "librarythread.h"

namespace QuenaryDouble {

LibraryThread::LibraryThread()
    : _thread([this] { _work(); })
{
}

LibraryThread::~LibraryThread()
{
    {
        const std::lock_guard guard(_mutex);
        _isStopping = true;
    }
    _changed.notify_all();
    _thread.join();
}

void LibraryThread::run(const std::function<void()>& action)
{
    if (std::this_thread::get_id() == _thread.get_id()) {
        action();
        return;
    }
    const std::lock_guard turn(_callers);
    std::unique_lock guard(_mutex);
    _action = &action;
    _changed.notify_all();
    _changed.wait(guard, [this] { return !_action; });
}

void LibraryThread::_work()
{
    std::unique_lock guard(_mutex);
    while (true) {
        _changed.wait(guard, [this] { return _action || _isStopping; });
        if (!_action) {
            return;
        }
        guard.unlock();
        (*_action)();
        guard.lock();
        _action = nullptr;
        _changed.notify_all();
    }
}

} // namespace QuenaryDouble
