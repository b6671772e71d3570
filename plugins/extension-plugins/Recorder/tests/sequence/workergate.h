// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QtCore/QSemaphore>
#include <QtCore/QThreadPool>

/// Holds the worker thread on which imports run their tasks, so that they run when a test says so and not when the
/// machine finds time. While it lives, the process's thread pool has one thread.
///
/// A task that somebody waits for on the main thread meanwhile is run there by Qt: nothing waits for the gate.
class WorkerGate
{
public:
    WorkerGate()
        : _threadsBefore(_pool.maxThreadCount())
    {
        _pool.setMaxThreadCount(1);
        _close();
        _closed.acquire();
    }
    ~WorkerGate()
    {
        _opened.release();
        _pool.waitForDone();
        _pool.setMaxThreadCount(_threadsBefore);
    }
    Q_DISABLE_COPY_MOVE(WorkerGate)

    /// Every task that was started so far runs; returns when they have.
    void letPass()
    {
        _close();
        _opened.release();
        _closed.acquire();
    }

private:
    void _close()
    {
        _pool.start([this] {
            _closed.release();
            _opened.acquire();
        });
    }

    QThreadPool& _pool = *QThreadPool::globalInstance();
    const int _threadsBefore;
    QSemaphore _closed;
    QSemaphore _opened;
};
