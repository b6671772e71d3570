// SPDX-License-Identifier: Apache-2.0
#include "language.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QLibraryInfo>
#include <QtCore/QLocale>

Language::Language(const QString& asked)
{
    if (available().contains(asked)) {
        QLocale::setDefault(QLocale(asked));
    }
    const QString folder = QStringLiteral(":/translations");
    // English has a file too, for its plurals.
    if (!_host.load(QLocale(), QStringLiteral("corvane"), QStringLiteral("_"), folder)
        && !_host.load(QStringLiteral("corvane_en"), folder)) {
        qFatal("The host's texts are not in its resources");
    }
    const QString language = _host.language();
    // What is not there stays English: the framework's texts have no plurals, and Qt's need not be installed.
    [[maybe_unused]] const bool hasFramework = _framework.load(QStringLiteral("CorvaneFramework_") + language, folder);
    [[maybe_unused]] const bool hasQt
        = _qt.load(QStringLiteral("qt_") + language, QLibraryInfo::path(QLibraryInfo::TranslationsPath));
    for (QTranslator* const translator : { &_qt, &_framework, &_host }) {
        if (!translator->isEmpty()) {
            QCoreApplication::installTranslator(translator);
        }
    }
}

QStringList Language::available()
{
    return { QStringLiteral("en"), QStringLiteral("fr") };
}
