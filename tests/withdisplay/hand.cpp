// SPDX-License-Identifier: Apache-2.0
#include "hand.h"

#include <QtCore/QProcess>

namespace {

constexpr int boundMs = 20'000;

} // namespace

void Hand::moveTo(const QPoint& point)
{
    _do({ "mousemove", QString::number(point.x()), QString::number(point.y()) });
}

void Hand::press()
{
    _do({ "mousedown", "1" });
}

void Hand::release()
{
    _do({ "mouseup", "1" });
}

void Hand::click(const QPoint& point)
{
    // Without --sync, which waits for ever when the pointer is there already.
    _do({ "mousemove", QString::number(point.x()), QString::number(point.y()), "click", "1" });
}

void Hand::key(const QString& combination)
{
    _do({ "key", "--clearmodifiers", combination });
}

void Hand::type(const QString& text)
{
    _do({ "type", "--delay", "4", text });
}

void Hand::_do(const QStringList& arguments)
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("DISPLAY", _display);
    process.setProcessEnvironment(environment);
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start("xdotool", arguments);
    if (!process.waitForFinished(boundMs) || process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0) {
        qWarning("xdotool %s: %s %s (scripts/setup installs it)", qPrintable(arguments.join(' ')),
            qPrintable(process.errorString()), process.readAll().constData());
        if (process.state() != QProcess::NotRunning) {
            process.kill();
            process.waitForFinished(boundMs);
        }
    }
}
