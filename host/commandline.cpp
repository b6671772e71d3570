// SPDX-License-Identifier: Apache-2.0
#include "commandline.h"

#include <QtCore/QCommandLineOption>
#include <QtCore/QCommandLineParser>
#include <QtCore/QCoreApplication>

namespace {

QString translated(const char* text)
{
    return QCoreApplication::translate("CommandLine", text);
}

CommandLineEnd wrong(const QString& what)
{
    return { true, 2, translated("corvane: %1 (see corvane --help)\n").arg(what) };
}

} // namespace

CommandLineEnd parseCommandLine(const QStringList& arguments, CommandLine* commandLine)
{
    const QCommandLineOption device(
        QStringLiteral("device"), translated("Network device, by name or address."), QStringLiteral("D"));
    const QCommandLineOption port(QStringLiteral("port"),
        translated("UDP port of discovery, the same for all on a network."), QStringLiteral("N"));
    const QCommandLineOption peers(QStringLiteral("peers"),
        translated("Peers to try besides discovery: host:port,host:port."), QStringLiteral("LIST"));
    const QCommandLineOption plugins(
        QStringLiteral("plugins"), translated("Folder of the module plugins."), QStringLiteral("DIR"));
    const QCommandLineOption withPlant(
        QStringLiteral("with-plant"), translated("Start the sample plant, and end it with the program."));
    const QCommandLineOption journals(QStringLiteral("plant-journals"),
        translated("Folder in which each agent of the plant notes what it publishes."), QStringLiteral("DIR"));
    const QCommandLineOption tour(
        QStringLiteral("tour"), translated("Show what the parts do together, step by step, and end."));
    const QCommandLineOption output(
        QStringLiteral("output"), translated("Folder for what the tour leaves."), QStringLiteral("DIR"));
    const QCommandLineOption screenshot(
        QStringLiteral("screenshot"), translated("Draw the window into a PNG file, and end."), QStringLiteral("FILE"));
    const QCommandLineOption page(QStringLiteral("page"),
        translated("Page shown first: \"system\", or the tag of a module."), QStringLiteral("TAG"));
    const QCommandLineOption theme(
        QStringLiteral("theme"), translated("\"light\" or \"dark\"; else the desktop's."), QStringLiteral("THEME"));
    const QCommandLineOption help(QStringLiteral("help"), translated("Show this and end."));
    const QCommandLineOption version(QStringLiteral("version"), translated("Show the version and end."));

    QCommandLineParser parser;
    parser.setApplicationDescription(
        translated("Opens a system document, supervises its agents, and shows the modules' pages."));
    parser.addPositionalArgument(QStringLiteral("document"),
        translated("The system document; else the sample document."), QStringLiteral("[DOCUMENT]"));
    parser.addOptions(
        { device, port, peers, plugins, withPlant, journals, page, theme, screenshot, tour, output, help, version });

    if (!parser.parse(arguments)) {
        QString text = parser.errorText();
        if (text.endsWith(QLatin1Char('.'))) {
            text.chop(1);
        }
        return wrong(text);
    }
    if (parser.isSet(help)) {
        // The parser asks the application object for the name, which need not be there yet.
        const QString text = parser.helpText();
        return { true, 0, QStringLiteral("Usage: corvane") + text.mid(text.indexOf(QLatin1String(" [options]"))) };
    }
    if (parser.isSet(version)) {
        return { true, 0, QStringLiteral("corvane %1\n").arg(QStringLiteral(CORVANE_VERSION)) };
    }

    const QStringList documents = parser.positionalArguments();
    if (documents.size() > 1) {
        return wrong(translated("Only one document can be opened, but %1 were given").arg(documents.size()));
    }
    for (const QCommandLineOption* option : { &device, &peers, &plugins, &journals, &page, &screenshot, &output }) {
        if (parser.isSet(*option) && parser.value(*option).trimmed().isEmpty()) {
            return wrong(translated("Option '%1' needs a value").arg(option->names().first()));
        }
    }
    if (parser.isSet(output) && !parser.isSet(tour)) {
        return wrong(translated("Option 'output' belongs to '--tour'"));
    }
    if (parser.isSet(tour) && parser.isSet(screenshot)) {
        return wrong(translated("'--tour' and '--screenshot' exclude one another"));
    }

    HostOptions& host = commandLine->host;
    host.documentPath = documents.value(0);
    host.device = parser.value(device);
    host.peers = parser.value(peers);
    host.pluginsDirectory = parser.value(plugins);
    host.plantJournalDirectory = parser.value(journals);
    host.page = parser.value(page);
    host.withPlant = parser.isSet(withPlant);
    if (parser.isSet(port)) {
        bool isNumber = false;
        host.port = parser.value(port).toUShort(&isNumber);
        if (!isNumber || host.port == 0) {
            return wrong(translated("'%1' is no port (1 to 65535)").arg(parser.value(port)));
        }
    }
    host.theme = parser.value(theme);
    if (parser.isSet(theme) && host.theme != QLatin1String("light") && host.theme != QLatin1String("dark")) {
        return wrong(translated("'%1' is no theme (light or dark)").arg(host.theme));
    }
    commandLine->isTour = parser.isSet(tour);
    commandLine->tourDirectory = parser.value(output);
    commandLine->screenshotPath = parser.value(screenshot);
    return {};
}
