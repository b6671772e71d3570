// SPDX-License-Identifier: Apache-2.0
#include "recorderservicecall.h"

#include <QtCore/QDebug>

RecorderServiceCall::RecorderServiceCall(const char* service)
    : _service(service)
{
}

RecorderServiceCall::~RecorderServiceCall()
{
    qny_service_args_destroy(&_arguments);
}

RecorderServiceCall& RecorderServiceCall::addString(const QString& value)
{
    return addString(value.toUtf8());
}

RecorderServiceCall& RecorderServiceCall::addString(const QByteArray& utf8)
{
    if (utf8.contains('\0')) {
        qWarning(
            "An argument of service '%s' holds a zero byte and is cut there: the recorder gets only what is before",
            _service);
    }
    _noteAdded(qny_service_args_add_string(&_arguments, utf8.constData()));
    return *this;
}

RecorderServiceCall& RecorderServiceCall::addDouble(double value)
{
    _noteAdded(qny_service_args_add_double(&_arguments, value));
    return *this;
}

RecorderServiceCall& RecorderServiceCall::addInt(int value)
{
    _noteAdded(qny_service_args_add_int(&_arguments, value));
    return *this;
}

RecorderServiceCall& RecorderServiceCall::addBool(bool value)
{
    _noteAdded(qny_service_args_add_bool(&_arguments, value));
    return *this;
}

bool RecorderServiceCall::send(const QString& agentUuid, const QString& token)
{
    if (!_isWhole) {
        return false;
    }
    const QByteArray agent = agentUuid.toUtf8();
    const QByteArray tokenUtf8 = token.toUtf8();
    qny_service_call(agent.constData(), _service, _arguments ? &_arguments : nullptr,
        token.isNull() ? nullptr : tokenUtf8.constData());
    return true;
}

void RecorderServiceCall::_noteAdded(qny_result_t result)
{
    if (result != QNY_SUCCESS) {
        qWarning("An argument of service '%s' can not be sent: %s", _service, qny_last_error());
        _isWhole = false;
    }
}
