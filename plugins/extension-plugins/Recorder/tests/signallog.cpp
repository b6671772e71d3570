// SPDX-License-Identifier: Apache-2.0
#include "signallog.h"

#include <quenarydouble.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QMetaMethod>
#include <QtCore/QProcess>
#include <QtCore/QRegularExpression>

SignalLog::SignalLog()
    : _knownCalls(QuenaryDouble::serviceCalls().size())
{
}

void SignalLog::follow(const QObject* object, const QString& name)
{
    _names.insert(object, name.isEmpty() ? QString() : name + u'.');
    const QMetaMethod slot = staticMetaObject.method(staticMetaObject.indexOfSlot("_onSignal()"));
    const QMetaObject* const metaObject = object->metaObject();
    for (int i = QObject::staticMetaObject.methodCount(); i < metaObject->methodCount(); ++i) {
        if (metaObject->method(i).methodType() == QMetaMethod::Signal) {
            connect(object, metaObject->method(i), this, slot);
        }
    }
}

QStringList SignalLog::take()
{
    _takeCalls();
    return std::exchange(_entries, QStringList());
}

void SignalLog::_onSignal()
{
    _takeCalls();
    const QMetaMethod signal = sender()->metaObject()->method(senderSignalIndex());
    _entries.append(_names.value(sender()) + QString::fromLatin1(signal.name()));
}

void SignalLog::_takeCalls()
{
    const QStringList calls = QuenaryDouble::calledServices();
    // Calls may have been forgotten since.
    for (qsizetype i = _knownCalls <= calls.size() ? _knownCalls : 0; i < calls.size(); ++i) {
        _entries.append(QStringLiteral("call ") + calls.at(i));
    }
    _knownCalls = calls.size();
}

QStringList signalsWhile(const char* testFunction, const QByteArray& className)
{
    QProcess process;
    process.start(QCoreApplication::applicationFilePath(),
        { QStringLiteral("-vs"), QStringLiteral("-maxwarnings"), QStringLiteral("0"),
            QString::fromLatin1(testFunction) });
    if (!process.waitForFinished() || process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0) {
        return { QStringLiteral("%1 failed: %2")
                .arg(QString::fromLatin1(testFunction), QString::fromUtf8(process.readAll())) };
    }
    const QRegularExpression line(
        QStringLiteral(R"(Signal: %1\([0-9a-fx]+\) (\w+))").arg(QString::fromLatin1(className)));
    QStringList names;
    QRegularExpressionMatchIterator matches = line.globalMatch(QString::fromUtf8(process.readAll()));
    while (matches.hasNext()) {
        names.append(matches.next().captured(1));
    }
    return names;
}
