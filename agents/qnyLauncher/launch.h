// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "launchfiles.h"

#include <QObject>
#include <QSocketNotifier>

#include <memory>

namespace launcher {

/// One agent that is started or runs, as the launcher sees it: through its keeper. Destroying it leaves both alone.
class Launch : public QObject
{
    Q_OBJECT

public:
    Launch(const QString& uuid, const QString& folder);
    ~Launch() override;

    /// Starts a keeper, and through it the agent; started() or ended() follows. Returns the system's error, or 0.
    int start(const QString& keeperProgram, const KeeperOrder& order);
    /// Takes over what an earlier launcher started. False when it does not run any more.
    bool adopt();
    /// Tells the keeper to end the agent.
    void askToEnd();

    const QString& uuid() const { return _uuid; }
    LaunchFiles& files() { return _files; }
    /// Process id of the agent, 0 before it is known.
    pid_t agent() const { return _agent; }

Q_SIGNALS:
    void started();
    /// The keeper is gone; LaunchFiles::end() says how the agent ended, or nothing.
    void ended();

private:
    void _readReport();
    bool _follow(int keeperDescriptor);

    const QString _uuid;
    LaunchFiles _files;
    pid_t _keeper = 0;
    pid_t _agent = 0;
    int _keeperDescriptor = -1;
    int _report = -1;
    std::unique_ptr<QSocketNotifier> _reportNotifier;
    std::unique_ptr<QSocketNotifier> _endNotifier;
};

} // namespace launcher
