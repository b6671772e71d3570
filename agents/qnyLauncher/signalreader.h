// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QObject>
#include <QSocketNotifier>

#include <memory>

namespace launcher {

/// SIGTERM, SIGINT and SIGHUP as signals of Qt. block() is called first in main(), before any other thread, so that
/// every thread inherits the blocked signals; the object is made once there is an application.
class SignalReader : public QObject
{
    Q_OBJECT

public:
    static void block();
    SignalReader();
    ~SignalReader() override;

Q_SIGNALS:
    void endAsked(int signal);
    void reloadAsked();

private:
    int _signals = -1;
    std::unique_ptr<QSocketNotifier> _notifier;
};

} // namespace launcher
