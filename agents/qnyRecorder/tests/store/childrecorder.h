// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "event.h"

#include <QByteArray>
#include <QProcess>
#include <QStringList>

#include <cstdint>

namespace recorder::testing {

// A recorder in a process of its own, which a test kills: this very program, whose main() calls childMain().

// Event number i, whoever asks.
Event numbered(std::int64_t i, std::int64_t timeUs);

// Ends the process with its own.
class Child
{
public:
    explicit Child(const QStringList& arguments);
    ~Child() { kill(); }

    bool waitForLine(int milliseconds = 20'000);
    void kill();
    bool finish(int milliseconds = 30'000);
    QByteArray output() { return m_process.readAllStandardOutput(); }

private:
    QProcess m_process;
};

// How many events the child had appended by a moment, as its lines tell.
std::int64_t appendedBy(const QByteArray& lines, std::int64_t momentUs);
// The time in the last whole line.
std::int64_t lastSeen(const QByteArray& lines);

} // namespace recorder::testing
