// SPDX-License-Identifier: Apache-2.0
#include "commandline.h"

#include "language.h"

#include <QtCore/QCommandLineOption>
#include <QtCore/QCommandLineParser>
#include <QtCore/QCoreApplication>
#include <QtCore/QRegularExpression>

namespace {

QCommandLineOption languageOption()
{
    return QCommandLineOption(QStringLiteral("language"), CommandLine::tr("\"en\" or \"fr\"; else the desktop's."),
        QStringLiteral("LANGUAGE"));
}

CommandLineEnd wrong(const QString& what)
{
    return { true, 2,
        QLatin1String("corvane: ") + CommandLine::tr("%1 (see corvane --help)").arg(what) + QLatin1Char('\n') };
}

} // namespace

QString languageAsked(const QStringList& arguments)
{
    QCommandLineParser parser;
    const QCommandLineOption language = languageOption();
    parser.addOption(language);
    // What it does not know is parseCommandLine()'s to refuse.
    parser.parse(arguments);
    return parser.value(language);
}

CommandLineEnd parseCommandLine(const QStringList& arguments, CommandLine* commandLine)
{
    const QCommandLineOption device(
        QStringLiteral("device"), CommandLine::tr("Network device, by name or address."), QStringLiteral("D"));
    const QCommandLineOption port(QStringLiteral("port"),
        CommandLine::tr("UDP port of discovery, the same for all on a network."), QStringLiteral("N"));
    const QCommandLineOption peers(QStringLiteral("peers"),
        CommandLine::tr("Peers to try besides discovery: host:port,host:port."), QStringLiteral("LIST"));
    const QCommandLineOption privateCertificate(QStringLiteral("qnyCert"),
        CommandLine::tr("This program's private certificate: with --publicCerts, the network is secured."),
        QStringLiteral("FILE"));
    const QCommandLineOption publicCertificates(QStringLiteral("publicCerts"),
        CommandLine::tr("Folder of the public certificates that are let in."), QStringLiteral("DIR"));
    const QCommandLineOption plugins(
        QStringLiteral("plugins"), CommandLine::tr("Folder of the module plugins."), QStringLiteral("DIR"));
    const QCommandLineOption withPlant(
        QStringLiteral("with-plant"), CommandLine::tr("Start the sample plant, and end it with the program."));
    const QCommandLineOption journals(QStringLiteral("plant-journals"),
        CommandLine::tr("Folder in which each agent of the plant notes what it publishes."), QStringLiteral("DIR"));
    const QCommandLineOption tour(
        QStringLiteral("tour"), CommandLine::tr("Show what the parts do together, step by step, and end."));
    const QCommandLineOption output(
        QStringLiteral("output"), CommandLine::tr("Folder for what the tour leaves."), QStringLiteral("DIR"));
    const QCommandLineOption store(QStringLiteral("store"),
        CommandLine::tr("What the tour's recorder keeps records in: \"embedded\", \"csv\" or a Cassandra's HOST:PORT."),
        QStringLiteral("STORE"));
    const QCommandLineOption screenshot(QStringLiteral("screenshot"),
        CommandLine::tr("Draw the window into a PNG file, and end."), QStringLiteral("FILE"));
    const QCommandLineOption page(QStringLiteral("page"),
        CommandLine::tr("Page shown first: \"system\", or the tag of a module."), QStringLiteral("TAG"));
    const QCommandLineOption theme(QStringLiteral("theme"),
        CommandLine::tr("\"light\" or \"dark\"; else the desktop's."), QStringLiteral("THEME"));
    const QCommandLineOption language = languageOption();
    const QCommandLineOption size(QStringLiteral("size"),
        CommandLine::tr("Size of the window at its start, such as 1280x800."), QStringLiteral("SIZE"));
    const QCommandLineOption reportControls(QStringLiteral("report-controls"),
        CommandLine::tr("Keep a JSON file that says what can be pressed in the window, and where."),
        QStringLiteral("FILE"));
    const QCommandLineOption help(QStringLiteral("help"), CommandLine::tr("Show this and end."));
    const QCommandLineOption version(QStringLiteral("version"), CommandLine::tr("Show the version and end."));

    QCommandLineParser parser;
    parser.setApplicationDescription(
        CommandLine::tr("Opens a system document, supervises its agents, and shows the modules' pages."));
    parser.addPositionalArgument(QStringLiteral("document"),
        CommandLine::tr("The system document; else the sample document."), QStringLiteral("[DOCUMENT]"));
    parser.addOptions({ device, port, peers, privateCertificate, publicCertificates, plugins, withPlant, journals, page, theme, size, language, screenshot,
        tour, output, store, reportControls, help, version });

    if (!parser.parse(arguments)) {
        QString text = parser.errorText();
        if (text.endsWith(QLatin1Char('.'))) {
            text.chop(1);
        }
        return wrong(text);
    }
    if (parser.isSet(help)) {
        // In its first line the parser shows the whole path of the program.
        const QString text = parser.helpText();
        const QString usage = CommandLine::tr("Usage: %1").arg(QLatin1String("corvane [options] [DOCUMENT]"));
        return { true, 0, usage + text.mid(text.indexOf(QLatin1Char('\n'))) };
    }
    if (parser.isSet(version)) {
        return { true, 0, QStringLiteral("corvane %1\n").arg(QStringLiteral(CORVANE_VERSION)) };
    }

    const QStringList documents = parser.positionalArguments();
    if (documents.size() > 1) {
        return wrong(CommandLine::tr("Only one document can be opened, but %1 were given").arg(documents.size()));
    }
    for (const QCommandLineOption* option :
        { &device, &peers, &privateCertificate, &publicCertificates, &plugins, &journals, &page, &screenshot, &output,
            &store, &reportControls }) {
        if (parser.isSet(*option) && parser.value(*option).trimmed().isEmpty()) {
            return wrong(CommandLine::tr("Option '%1' needs a value").arg(option->names().first()));
        }
    }
    if (parser.isSet(privateCertificate) != parser.isSet(publicCertificates)) {
        return wrong(CommandLine::tr("'--qnyCert' and '--publicCerts' need one another"));
    }
    for (const QCommandLineOption* option : { &output, &store }) {
        if (parser.isSet(*option) && !parser.isSet(tour)) {
            return wrong(CommandLine::tr("Option '%1' belongs to '--tour'").arg(option->names().first()));
        }
    }
    if (parser.isSet(tour) && parser.isSet(screenshot)) {
        return wrong(CommandLine::tr("'--tour' and '--screenshot' exclude one another"));
    }

    HostOptions& host = commandLine->host;
    host.documentPath = documents.value(0);
    host.device = parser.value(device);
    host.peers = parser.value(peers);
    host.privateCertificate = parser.value(privateCertificate);
    host.publicCertificates = parser.value(publicCertificates);
    host.pluginsDirectory = parser.value(plugins);
    host.plantJournalDirectory = parser.value(journals);
    host.page = parser.value(page);
    host.withPlant = parser.isSet(withPlant);
    if (parser.isSet(port)) {
        bool isNumber = false;
        host.port = parser.value(port).toUShort(&isNumber);
        if (!isNumber || host.port == 0) {
            return wrong(CommandLine::tr("'%1' is no port (1 to 65535)").arg(parser.value(port)));
        }
    }
    if (parser.isSet(size)) {
        static const QRegularExpression form(QStringLiteral("^([1-9][0-9]{2,3})x([1-9][0-9]{2,3})$"));
        const QRegularExpressionMatch match = form.match(parser.value(size));
        if (!match.hasMatch()) {
            return wrong(CommandLine::tr("'%1' is no size (such as 1280x800)").arg(parser.value(size)));
        }
        host.windowSize = QSize(match.captured(1).toInt(), match.captured(2).toInt());
    }
    host.theme = parser.value(theme);
    if (parser.isSet(theme) && host.theme != QLatin1String("light") && host.theme != QLatin1String("dark")) {
        return wrong(CommandLine::tr("'%1' is no theme (light or dark)").arg(host.theme));
    }
    commandLine->language = parser.value(language);
    if (parser.isSet(language) && !Language::available().contains(commandLine->language)) {
        return wrong(CommandLine::tr("'%1' is no language (en or fr)").arg(commandLine->language));
    }
    commandLine->isTour = parser.isSet(tour);
    commandLine->tourDirectory = parser.value(output);
    commandLine->tourStore = parser.value(store);
    static const QRegularExpression storeForm(QStringLiteral("^(embedded|csv|.+:[0-9]{1,5})$"));
    if (parser.isSet(store) && !storeForm.match(commandLine->tourStore).hasMatch()) {
        return wrong(CommandLine::tr("'%1' is no store (embedded, csv or HOST:PORT)").arg(commandLine->tourStore));
    }
    commandLine->screenshotPath = parser.value(screenshot);
    commandLine->controlReportPath = parser.value(reportControls);
    return {};
}
