// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QtCore/QElapsedTimer>
#include <QtCore/QTimer>

#include <algorithm>
#include <ctime>

/// How long the event loop of the thread that makes it is away from its turns, at most: a timer that wants a turn every
/// millisecond measures how long it waits beyond that. The thread's own processor time in that gap tells work apart
/// from a machine that is busy with something else.
class TurnWatch
{
public:
    TurnWatch()
    {
        _timer.setTimerType(Qt::PreciseTimer);
        QObject::connect(&_timer, &QTimer::timeout, [this] { _take(); });
    }

    void start()
    {
        _longestMs = 0.0;
        _processorMs = 0.0;
        _mostProcessorMs = 0.0;
        _wall.start();
        _processor = _threadMs();
        _timer.start(1);
    }
    void stop()
    {
        _take();
        _timer.stop();
    }

    double longestMs() const { return _longestMs; }
    /// Of the thread's work in the gap that was longest.
    double processorMsOfLongest() const { return _processorMs; }
    /// In whichever gap it worked most.
    double mostProcessorMs() const { return _mostProcessorMs; }

private:
    static double _threadMs()
    {
        timespec time {};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
    }
    void _take()
    {
        const double gap = static_cast<double>(_wall.nsecsElapsed()) / 1e6 - 1.0;
        const double processor = _threadMs();
        const double worked = processor - _processor;
        if (gap > _longestMs) {
            _longestMs = gap;
            _processorMs = worked;
        }
        _mostProcessorMs = std::max(_mostProcessorMs, worked);
        _wall.start();
        _processor = processor;
    }

    QTimer _timer;
    QElapsedTimer _wall;
    double _processor = 0.0;
    double _longestMs = 0.0;
    double _processorMs = 0.0;
    double _mostProcessorMs = 0.0;
};
