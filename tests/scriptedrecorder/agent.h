// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <quenary.h>

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QVariant>

#include <functional>

namespace scripted {

/// A call of one of the recorder's services.
struct Call
{
    QByteArray service;
    QVariantList arguments;
    /// Null when none was sent.
    QByteArray token;
    QByteArray callerUuid;
};

/// The recorder class's agent on the network: it declares the services and outputs of a recorder, hands every call on,
/// and calls reply services. One a process.
class Agent
{
public:
    /// Runs on the network library's thread.
    using CallHandler = std::function<void(const Call& call)>;

    explicit Agent(CallHandler onCall);
    ~Agent();
    Agent(const Agent&) = delete;
    Agent& operator=(const Agent&) = delete;

    /// Joins the network that QNY_DEVICE and QNY_PORT name. False with a sentence.
    bool start(const QString& name, int argc, const char* const* argv, QString& problem);

    /// `to`: uuid or name of an agent. Ints, doubles, bools and texts (QString or UTF-8) as arguments. Any thread.
    static bool call(
        const QByteArray& to, const QString& service, const QVariantList& arguments, const QByteArray& token);
    static bool publish(const QString& output, double value);

private:
    static void onCall(const char* senderName, const char* senderUuid, const char* service, qny_service_arg_t* first,
        size_t count, const char* token, void* self);

    const CallHandler _onCall;
};

} // namespace scripted
