// SPDX-License-Identifier: Apache-2.0
#ifndef CORVANE_STARTLOG_H
#define CORVANE_STARTLOG_H

#include <QtCore/QString>
#include <QtCore/QStringList>

// Holds the warnings of all parts back while the host starts, so that what the host says itself is said once. One at a
// time; any thread may log meanwhile.
class StartLog
{
public:
    StartLog();
    ~StartLog();
    Q_DISABLE_COPY_MOVE(StartLog)

    // Lets messages through again, and writes those held back that are no part of what was said already.
    void release(const QStringList& saidAlready);
};

#endif
