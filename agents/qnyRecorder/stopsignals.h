// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

namespace recorder {

/// Brings the ways in which the program is asked to end together: SIGINT, SIGTERM, SIGHUP and requests from the
/// network. Made first in main(), before any other thread, so that every thread inherits the blocked signals.
class StopSignals
{
public:
    StopSignals();
    ~StopSignals();
    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;

    /// From any thread: makes wait() return.
    void request();
    /// Blocks until somebody asks; says who, for the log.
    QString wait();

private:
    int _signals = -1;
    int _requests = -1;
};

} // namespace recorder
