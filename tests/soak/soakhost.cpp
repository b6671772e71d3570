// SPDX-License-Identifier: Apache-2.0
//
// The host with its module and window, which does what a person does with records again and again. It is watched from
// outside: see lines.h for what it says and is told.

#include "churn.h"
#include "lines.h"

#include <hostapplication.h>

#include <QtCore/QCommandLineParser>
#include <QtCore/QDir>
#include <QtCore/QSocketNotifier>
#include <QtWidgets/QApplication>

#include <cstdio>

#include <unistd.h>

namespace {

void say(const char* word, const QString& rest)
{
    QString line = rest;
    line.replace(QLatin1Char('\n'), QLatin1String(" | "));
    std::printf("%s %s\n", word, qPrintable(line));
    std::fflush(stdout);
}

// What the platform without a display says of windows is of no interest; any other warning is a fault.
void onMessage(QtMsgType type, const QMessageLogContext&, const QString& message)
{
    if (type == QtDebugMsg || type == QtInfoMsg || message.startsWith(QLatin1String("This plugin does not support"))) {
        return;
    }
    say(soak::lines::FAULT, QStringLiteral("the host logs: ") + message);
}

// What the host is told on its standard input.
class Told
{
public:
    Told()
        : _notifier(STDIN_FILENO, QSocketNotifier::Read)
    {
        QObject::connect(&_notifier, &QSocketNotifier::activated, &_notifier, [this] { _read(); });
    }

    bool has(const char* word) const { return _text.contains(QByteArray(word) + '\n') || _isClosed; }
    bool isClosed() const { return _isClosed; }

private:
    void _read()
    {
        char part[64];
        const ssize_t size = read(STDIN_FILENO, part, sizeof part);
        _isClosed = size <= 0;
        _notifier.setEnabled(!_isClosed);
        _text += QByteArray(part, std::max<ssize_t>(size, 0));
    }

    QSocketNotifier _notifier;
    QByteArray _text;
    bool _isClosed = false;
};

void waitFor(const std::function<bool()>& condition)
{
    while (!condition()) {
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
    }
}

} // namespace

int main(int argc, char** argv)
{
    qInstallMessageHandler(onMessage);
    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("corvane"));
    QApplication::setOrganizationName(QStringLiteral("corvane"));
    QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);

    QCommandLineParser parser;
    const QCommandLineOption port(QStringLiteral("port"), QString(), QStringLiteral("number"));
    const QCommandLineOption folder(QStringLiteral("folder"), QString(), QStringLiteral("path"));
    const QCommandLineOption machine(QStringLiteral("machine"), QString(), QStringLiteral("name"));
    const QCommandLineOption endpoint(QStringLiteral("endpoint"), QString(), QStringLiteral("host:port"));
    const QCommandLineOption record(QStringLiteral("record-seconds"), QString(), QStringLiteral("seconds"));
    parser.addOptions({ port, folder, machine, endpoint, record });
    parser.process(application);

    HostOptions options;
    options.device = QStringLiteral("lo");
    options.port = static_cast<quint16>(parser.value(port).toUInt());
    options.rememberSettings = false;
    HostApplication host;
    QString error;
    if (!host.start(options, &error)) {
        say(soak::lines::FAULT, error);
        return 1;
    }

    soak::ChurnOptions churnOptions;
    churnOptions.machine = parser.value(machine);
    churnOptions.folder = parser.value(folder);
    churnOptions.endpoint = parser.value(endpoint);
    churnOptions.recordSeconds = parser.value(record).toDouble();
    soak::Churn churn(host, churnOptions, say);
    const Told told;
    if (!churn.prepare()) {
        host.stop();
        return 1;
    }
    churn.cycle();
    say(soak::lines::WARM, QString());
    waitFor([&] { return told.has(soak::lines::GO); });
    while (!told.has(soak::lines::END)) {
        churn.cycle();
    }
    churn.cycle();
    say(soak::lines::QUIET, QString());
    waitFor([&] { return told.isClosed(); });
    churn.finish();
    host.stop();
    return 0;
}
