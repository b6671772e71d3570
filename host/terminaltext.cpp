// SPDX-License-Identifier: Apache-2.0
#include "terminaltext.h"

#include <QtCore/QtLogging>

namespace {

QtMessageHandler writeAsQtDoes = nullptr;

void writeMessage(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    writeAsQtDoes(type, context, terminalText(message));
}

} // namespace

QString terminalText(QString text)
{
    for (QChar& character : text) {
        const bool isHarmful
            = character.category() == QChar::Other_Control || character.category() == QChar::Other_Format;
        if (isHarmful && character != u'\n' && character != u'\t') {
            character = u'?';
        }
    }
    return text;
}

void installTerminalLog()
{
    writeAsQtDoes = qInstallMessageHandler(writeMessage);
}
