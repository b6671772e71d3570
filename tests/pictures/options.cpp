// SPDX-License-Identifier: Apache-2.0
#include "options.h"

#include <language.h>
#include <theme.h>

#include <QtCore/QCommandLineParser>
#include <QtCore/QRegularExpression>

namespace {

constexpr QSize SMALLEST { 800, 600 };
constexpr int LARGEST = 8192;

// No application object is needed for it: how large things are drawn must be known before there is one.
struct Parser
{
    QCommandLineOption theme { QStringLiteral("theme"), QStringLiteral("light, dark, or both (default)."),
        QStringLiteral("theme"), QStringLiteral("both") };
    QCommandLineOption language { QStringLiteral("language"), QStringLiteral("en (default) or fr."),
        QStringLiteral("language"), QStringLiteral("en") };
    QCommandLineOption size { QStringLiteral("size"), QStringLiteral("Pixels of each picture, 1280x800 unless given."),
        QStringLiteral("WIDTHxHEIGHT"), QStringLiteral("1280x800") };
    QCommandLineOption scale { QStringLiteral("scale"),
        QStringLiteral("How many pixels stand for one of the window, 1 to 4, as on a display of a high resolution."),
        QStringLiteral("factor"), QStringLiteral("1") };
    QCommandLineOption output { QStringLiteral("output"), QStringLiteral("Folder for the pictures."),
        QStringLiteral("folder"), QStringLiteral("build/pictures") };
    QCommandLineOption list { QStringLiteral("list"), QStringLiteral("Prints the names of the scenes.") };
    QCommandLineOption help { { QStringLiteral("h"), QStringLiteral("help") }, QStringLiteral("Prints this.") };
    QCommandLineParser line;

    Parser()
    {
        line.setApplicationDescription(
            QStringLiteral("Draws the pages in all their states into PNG files, SCENE-LANGUAGE-THEME.png."));
        line.addOptions({ theme, language, size, scale, output, list, help });
        line.addPositionalArgument(QStringLiteral("scene"), QStringLiteral("What to draw; everything unless given."),
            QStringLiteral("[scene ...]"));
    }
};

QString readTheme(const QString& text, PictureOptions* options)
{
    const bool isBoth = text == QLatin1String("both");
    if (isBoth || text == QLatin1String("light")) {
        options->themes.append(Theme::Light);
    }
    if (isBoth || text == QLatin1String("dark")) {
        options->themes.append(Theme::Dark);
    }
    return options->themes.isEmpty() ? QStringLiteral("There is no theme \"%1\": give light, dark or both.").arg(text)
                                     : QString();
}

QString readSize(const QString& sizeText, const QString& scaleText, PictureOptions* options)
{
    bool isNumber = false;
    options->scale = scaleText.toDouble(&isNumber);
    if (!isNumber || options->scale < 1 || options->scale > 4) {
        return QStringLiteral("The scale \"%1\" is not a number from 1 to 4.").arg(scaleText);
    }
    static const QRegularExpression form(QStringLiteral("^(\\d{1,5})x(\\d{1,5})$"));
    const QRegularExpressionMatch match = form.match(sizeText);
    options->size = QSize(match.captured(1).toInt(), match.captured(2).toInt());
    if (!match.hasMatch() || options->size.width() > LARGEST || options->size.height() > LARGEST) {
        return QStringLiteral("The size \"%1\" is not WIDTHxHEIGHT of at most %2 each, such as 1280x800.")
            .arg(sizeText)
            .arg(LARGEST);
    }
    const QSize window = options->windowSize();
    if (window.width() < SMALLEST.width() || window.height() < SMALLEST.height()) {
        return QStringLiteral("The window is never smaller than %1x%2: the size %3 at the scale %4 is.")
            .arg(SMALLEST.width())
            .arg(SMALLEST.height())
            .arg(sizeText, scaleText);
    }
    return {};
}

} // namespace

QString readPictureOptions(const QStringList& arguments, const QStringList& knownScenes, PictureOptions* options)
{
    Parser parser;
    // The parser takes the program's name for itself.
    if (!parser.line.parse(QStringList(QString()) + arguments)) {
        return parser.line.errorText();
    }
    options->isHelp = parser.line.isSet(parser.help);
    options->isList = parser.line.isSet(parser.list);
    options->output = parser.line.value(parser.output);
    options->language = parser.line.value(parser.language);
    options->scenes = parser.line.positionalArguments();
    if (options->output.isEmpty()) {
        return QStringLiteral("The folder for the pictures has no name.");
    }
    if (!Language::available().contains(options->language)) {
        return QStringLiteral("There is no language \"%1\": give %2.")
            .arg(options->language, Language::available().join(QStringLiteral(" or ")));
    }
    for (const QString& scene : std::as_const(options->scenes)) {
        if (!knownScenes.contains(scene)) {
            return QStringLiteral("There is no scene \"%1\": --list prints those that there are.").arg(scene);
        }
    }
    const QString problem = readTheme(parser.line.value(parser.theme), options);
    return !problem.isEmpty() ? problem
                              : readSize(parser.line.value(parser.size), parser.line.value(parser.scale), options);
}

QString pictureHelp()
{
    return Parser().line.helpText();
}
