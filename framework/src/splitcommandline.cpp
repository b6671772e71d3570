// SPDX-License-Identifier: Apache-2.0
#include "splitcommandline.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>

#include <algorithm>

namespace {

// The same file for two spellings of its path, also for programs of other machines, which do not exist here.
QString canonicalProgram(const QString& program)
{
    const QString canonical = QFileInfo(program).canonicalFilePath();
    return canonical.isEmpty() ? QDir::cleanPath(program) : canonical;
}

// "********" stands alone after "--password", and at the end of "--password=********" and "-a********".
bool argumentsEqual(const QString& left, const QString& right)
{
    if (left == right) {
        return true;
    }
    const auto isMaskOf = [](const QString& masked, const QString& other) {
        return masked.endsWith(SplitCommandLine::MASKED_VALUE)
            && other.startsWith(QStringView(masked).chopped(SplitCommandLine::MASKED_VALUE.size()));
    };
    return isMaskOf(left, right) || isMaskOf(right, left);
}

} // namespace

const QString SplitCommandLine::MASKED_VALUE = QStringLiteral("********");

SplitCommandLine::SplitCommandLine(const QString& commandLine)
    : _parts(QProcess::splitCommand(commandLine))
{
    for (qsizetype i = 1; i < _parts.size(); ++i) {
        _argumentsHash = qHashMulti(_argumentsHash, _parts.at(i));
        _hasMaskedValue = _hasMaskedValue || _parts.at(i).endsWith(MASKED_VALUE);
    }
}

bool SplitCommandLine::launchesSameAs(const SplitCommandLine& other) const
{
    if (_parts.size() != other._parts.size()) {
        return false;
    }
    if (_parts.isEmpty()) {
        return true;
    }
    if (_hasMaskedValue == other._hasMaskedValue) {
        if (_argumentsHash != other._argumentsHash
            || !std::equal(_parts.cbegin() + 1, _parts.cend(), other._parts.cbegin() + 1)) {
            return false;
        }
    } else if (!std::equal(_parts.cbegin() + 1, _parts.cend(), other._parts.cbegin() + 1, argumentsEqual)) {
        return false;
    }
    // Last, because it asks the file system.
    return _parts.constFirst() == other._parts.constFirst()
        || canonicalProgram(_parts.constFirst()) == canonicalProgram(other._parts.constFirst());
}

bool SplitCommandLine::isSameAs(const SplitCommandLine& other) const
{
    return _hasMaskedValue == other._hasMaskedValue && launchesSameAs(other);
}
