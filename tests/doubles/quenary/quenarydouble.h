// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <quenary.h>

#include <QtCore/QList>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVariant>

/// A network library with nobody on the other side: it records what a program asks of quenary, and lets a test play the
/// network. It defines every function of quenary.h; linked into a test program it takes the place of libquenary for the
/// program and for every library that it loads.
///
/// Functions of this header may be called from any thread. Callbacks run on a thread of the double's own, as the
/// library's do; the functions that cause them return when they have run.
namespace QuenaryDouble {

/// Back to the beginning: agents that are on the network leave it, then nothing is recorded, scripted, declared or
/// started. Observers of agents stay, because a program may make its own once for the process.
void reset();

// ---- what was asked ---------------------------------------------------------------------------------------------

/// Every call of a function that changes something, in order, as one line: the function's name and its arguments,
/// separated by blanks ("qny_service_arg_add context replayId string"). Texts stand as they were given, even empty
/// ones. Calls of services are in serviceCalls().
QStringList calls();
/// Those of the named functions only.
QStringList calls(const QStringList& functions);

struct ServiceCall
{
    QString agent;
    QString service;
    /// bool, int, double, QString or QByteArray (data).
    QVariantList arguments;
    /// The list itself was given, be it empty.
    bool hasArgumentList = false;
    /// Null when none was sent.
    QString token;
};
/// The calls of services of other agents, in order.
QList<ServiceCall> serviceCalls();
/// The same, one name each.
QStringList calledServices();

/// Forgets what was recorded so far, and nothing else.
void clearCalls();

// ---- what the functions answer ----------------------------------------------------------------------------------

/// From now on the function returns this result and does nothing; with `firstArgument` only when called with that (a
/// function of an agent handle: the one after the handle). QNY_SUCCESS ends it.
void script(const QString& function, qny_result_t result, const QString& firstArgument = QString());

// ---- what others do ---------------------------------------------------------------------------------------------

/// A value that is handed over as these bytes, whatever they are: for what a sender of good will does not send, and
/// what the library itself would not let through. Goes into a list of arguments, or to an input, as
/// QVariant::fromValue().
struct RawValue
{
    qny_value_type_t type = QNY_UNKNOWN_T;
    /// As many as the type has. A string gets its final zero byte, and is a null pointer when these are null.
    QByteArray bytes;
};

struct Sender
{
    QString name = QStringLiteral("Recorder");
    QString uuid = QStringLiteral("00000000-0000-0000-0000-00000000000a");
};

/// Calls a service of the default agent as another agent would. A null token is none. False when nobody declared it.
bool callService(
    const QString& service, const QVariantList& arguments, const QString& token, const Sender& sender = Sender());
/// The same with a token that need not be UTF-8.
bool callServiceWithRawToken(
    const QString& service, const QVariantList& arguments, const QByteArray& token, const Sender& sender = Sender());
/// Writes to an input of the default agent. The value is converted to the input's type, and dropped when it does not
/// convert; a RawValue reaches the observers as it is. False when there is no such input.
bool writeInput(const QString& input, const QVariant& value);

struct Agent
{
    QString uuid;
    QString name;
    QString family;
    QString hostName;
    QString executable;
    QStringList arguments;
    qint64 processId = 4711;
    QString definition = QStringLiteral("{}");
    bool standIn = false;
    bool stoppable = true;
};
/// The agent enters the network, or changes if its uuid is there already.
void enter(const Agent& agent);
enum class Exit
{
    TakesLeave,
    FallsSilent // it may still run
};
/// The agent leaves. Nothing for an unknown one.
void leave(const QString& agentUuid, Exit how = Exit::TakesLeave);
/// Another agent asks this process to stop. False when it observes no such requests.
bool requestStop(const Sender& sender = Sender());

// ---- what is there ----------------------------------------------------------------------------------------------

QStringList services();
QStringList inputs();
/// "input agent output", in order of adding.
QStringList mappings();
/// Agents that were asked to stop, by uuid.
QStringList stopRequests();

} // namespace QuenaryDouble

Q_DECLARE_METATYPE(QuenaryDouble::RawValue)
