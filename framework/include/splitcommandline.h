// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvaneframework_global.h"

#include <QString>
#include <QStringList>

/// A launch command line, taken apart once so that it can be compared with many. A value; any thread.
class CORVANE_EXPORT SplitCommandLine
{
public:
    /// What the network shows in place of a password.
    static const QString MASKED_VALUE;

    explicit SplitCommandLine(const QString& commandLine);

    /// The program and then its arguments, as QProcess::splitCommand() gives them. Empty for a line of blanks.
    const QStringList& parts() const { return _parts; }
    /// No program: nothing that could be launched.
    bool isEmpty() const { return _parts.isEmpty(); }
    /// Whether an argument is masked, or ends so: the line cannot be launched as it stands.
    bool hasMaskedValue() const { return _hasMaskedValue; }

    /// The same canonical program and the same arguments. Between a line with masked values and one without, those
    /// equal any, so that two lines may equal a third and not each other.
    bool launchesSameAs(const SplitCommandLine& other) const;
    /// Likewise, but masked values equal masked ones only.
    bool isSameAs(const SplitCommandLine& other) const;

private:
    QStringList _parts;
    size_t _argumentsHash = 0;
    bool _hasMaskedValue = false;
};
