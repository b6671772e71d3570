// SPDX-License-Identifier: Apache-2.0
#ifndef CORVANE_LANGUAGE_H
#define CORVANE_LANGUAGE_H

#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QTranslator>

// While it lives, the host's, the framework's and Qt's own texts are those of one language. Needs the application
// object, and goes before it; on the main thread, before any text is shown.
class Language
{
public:
    // A language of available(), or anything else for the first of the desktop's languages that is there, else English.
    // One that is asked for becomes the locale of the process, by which numbers and dates are written and modules
    // choose their texts: so before plugins are loaded.
    explicit Language(const QString& asked);

    static QStringList available();

private:
    QTranslator _qt;
    QTranslator _framework;
    QTranslator _host;
};

#endif
