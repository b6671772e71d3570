// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QtCore/QHash>
#include <QtCore/QObject>
#include <QtCore/QStringList>

/// What happens, in order: every signal of the objects that it follows, and every service of a recorder that is called
/// meanwhile.
//
/// A signal is written as its name, after the object's name when that was given one ("record.isLoadedChanged"); a call
/// as "call load". A log that is connected after an object's own connections writes what a signal sets off before the
/// signal itself.
class SignalLog : public QObject
{
    Q_OBJECT

public:
    /// Begins with the calls from now on.
    SignalLog();

    /// Follows every signal that the object's class adds to QObject.
    void follow(const QObject* object, const QString& name = QString());

    /// What happened since the last time.
    QStringList take();

private Q_SLOTS:
    void _onSignal();

private:
    void _takeCalls();

    QHash<const QObject*, QString> _names;
    QStringList _entries;
    qsizetype _knownCalls = 0;
};

/// The signals that objects of a class emit while a function of this test program runs, construction and destruction
/// included: in a process of its own, which tells of every signal.
QStringList signalsWhile(const char* testFunction, const QByteArray& className);
