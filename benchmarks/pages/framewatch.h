// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QtCore/QCoreApplication>
#include <QtCore/QElapsedTimer>
#include <QtCore/QEventLoop>
#include <QtCore/QTimer>
#include <QtQuick/QQuickWindow>

#include <algorithm>
#include <ctime>
#include <vector>

/// What the interface thread works for a window, frame by frame: its own processor time, so that a machine that is busy
/// with something else does not count.
///
/// The work of a frame is all that the thread did since the frame before it was drawn, up to the end of this frame's
/// synchronisation: input, timers, bindings, rows that are made, layout (polish), and the hand-over to the renderer
/// (sync). Drawing does not count: on a desktop another thread and the graphics card do it; here it is done in software
/// by this thread, and is printed beside.
class FrameWatch
{
public:
    explicit FrameWatch(QQuickWindow& window)
        : _window(window)
    {
        _connections = {
            QObject::connect(&window, &QQuickWindow::afterSynchronizing, &window, [this] { _onSynchronized(); }, Qt::DirectConnection),
            QObject::connect(&window, &QQuickWindow::frameSwapped, &window, [this] { _onDrawn(); }, Qt::DirectConnection),
        };
    }
    ~FrameWatch()
    {
        for (const QMetaObject::Connection& connection : _connections) {
            QObject::disconnect(connection);
        }
    }
    Q_DISABLE_COPY_MOVE(FrameWatch)

    static double threadMs()
    {
        timespec time {};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
    }

    /// Forgets what was measured; the first frame's work begins now.
    void start()
    {
        _works.clear();
        _drawings.clear();
        _wall.start();
        _firstFrameWallMs = -1;
        _begin = threadMs();
    }
    /// Returns when the next frame is drawn, be it the same as before.
    void awaitFrame()
    {
        const size_t before = _drawings.size();
        _window.update();
        while (_drawings.size() == before) {
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        }
    }
    /// Returns when nothing asked for another frame for a while. Sleeps meanwhile: waiting is no work.
    void awaitRest()
    {
        QEventLoop loop;
        QTimer rest;
        rest.setInterval(60);
        QObject::connect(&rest, &QTimer::timeout, &loop, &QEventLoop::quit);
        QObject::connect(&_window, &QQuickWindow::frameSwapped, &rest, qOverload<>(&QTimer::start));
        rest.start();
        loop.exec();
    }

    /// Milliseconds, one a frame.
    const std::vector<double>& works() const { return _works; }
    const std::vector<double>& drawings() const { return _drawings; }
    double sumOfWorks() const
    {
        double sum = 0;
        for (const double work : _works) {
            sum += work;
        }
        return sum;
    }
    double firstFrameWallMs() const { return _firstFrameWallMs; }

private:
    void _onSynchronized()
    {
        _synchronized = threadMs();
        _works.push_back(_synchronized - _begin);
    }
    void _onDrawn()
    {
        _begin = threadMs();
        _drawings.push_back(_begin - _synchronized);
        if (_firstFrameWallMs < 0) {
            _firstFrameWallMs = static_cast<double>(_wall.nsecsElapsed()) / 1e6;
        }
    }

    QQuickWindow& _window;
    std::vector<QMetaObject::Connection> _connections;
    QElapsedTimer _wall;
    double _begin = 0;
    double _synchronized = 0;
    double _firstFrameWallMs = -1;
    std::vector<double> _works;
    std::vector<double> _drawings;
};
