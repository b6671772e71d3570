// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "event.h"

#include <QByteArray>
#include <QProcess>
#include <QStringList>

#include <cstdint>

namespace recorder::testing {

// A recorder in a process of its own, which a test kills: this very program, whose main() calls childMain(). Its
// arguments, and what it prints:
//   --child PLACE UUID BURST MOST    records, "COUNT MICROSECONDS" after each burst of events
//   --import PLACE FILE ROWS         imports a file in chunks, "importing UUID", then "feeding EVENTS" before and
//                                    "fed EVENTS" after each chunk, counted from the beginning
//   --delete PLACE UUID,UUID…        deletes records, "deleting UUID" before and "deleted UUID" after each

// Event number i, whoever asks: an integer, or with `valueBytes` a text of at least so many.
Event numbered(std::int64_t i, std::int64_t timeUs, std::size_t valueBytes = 0);
std::int64_t numberOf(const Event& event);
// Of rows in a CSV file.
std::int64_t eventRowsIn(const std::string& rows);

// Ends the process with its own.
class Child
{
public:
    explicit Child(const QStringList& arguments);
    ~Child() { kill(); }

    bool waitForLine(int milliseconds = 20'000);
    bool waitForLines(int count);
    void kill();
    bool finish(int milliseconds = 30'000);
    // Everything that was not returned before.
    QByteArray output();

private:
    QByteArray m_read;
    QProcess m_process;
};

// How many events the child had appended by a moment, as its lines tell.
std::int64_t appendedBy(const QByteArray& lines, std::int64_t momentUs);
// The time in the last whole line.
std::int64_t lastSeen(const QByteArray& lines);

} // namespace recorder::testing
