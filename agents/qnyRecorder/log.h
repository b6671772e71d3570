// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QChar>

namespace recorder {

/// Whether a character of a foreign text may control the terminal that a log is read in, or turn a line's reading
/// around.
inline bool isHarmful(QChar character)
{
    return character.category() == QChar::Other_Control || character.category() == QChar::Other_Format;
}

/// Sends Qt's and the network library's messages to standard error, one line each with the local time. Debug messages
/// only when verbose. Called once, before any other thread runs.
void installLog(bool verbose);

} // namespace recorder
