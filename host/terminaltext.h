// SPDX-License-Identifier: Apache-2.0
#ifndef CORVANE_TERMINALTEXT_H
#define CORVANE_TERMINALTEXT_H

#include <QtCore/QString>

// Without what would control the terminal on which a text is told, or turn a line's reading around: documents, agents
// and certificates of others bring texts with them. Line ends stay.
QString terminalText(QString text);

// From now on Qt's messages are written as terminalText() has them. Before anything is said, once.
void installTerminalLog();

#endif
