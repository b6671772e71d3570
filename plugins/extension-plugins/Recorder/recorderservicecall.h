// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <quenary.h>

#include <QtCore/QByteArray>
#include <QtCore/QString>

/// One call of a recorder agent's service: the arguments in order, then send(). Usable on any thread; an object that
/// was never sent frees its arguments. Nobody waits for the call: what the recorder has to say comes back through the
/// module's reply services.
class RecorderServiceCall
{
public:
    /// `service` must outlive the object (callers pass literals).
    explicit RecorderServiceCall(const char* service);
    ~RecorderServiceCall();
    Q_DISABLE_COPY_MOVE(RecorderServiceCall)

    RecorderServiceCall& addString(const QString& value);
    /// Text as the file held it. The network carries no bytes that are not UTF-8: a warning says so.
    RecorderServiceCall& addString(const QByteArray& utf8);
    RecorderServiceCall& addDouble(double value);
    RecorderServiceCall& addInt(int value);
    RecorderServiceCall& addBool(bool value);

    /// `agentUuid`: the recorder agent's uuid on the network. A null `token` sends none. False, and nothing is sent,
    /// when the call lacks an argument that could not be added.
    bool send(const QString& agentUuid, const QString& token);

private:
    void _noteAdded(qny_result_t result);

    const char* const _service;
    qny_service_arg_t* _arguments = nullptr;
    bool _isWhole = true;
};
